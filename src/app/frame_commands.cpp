// SPDX-License-Identifier: GPL-3.0-or-later
// The way of every command, and what other processes may ask of the frame.
#include <QApplication>
#include <QStatusBar>

#include "app/frame.h"
#include "app/frame_handlers.h"
#include "app/recent_files.h"
#include "gen/phase.h"

namespace ondarix {

const LCommandHandler* FindHandler(int id) {
    static const QHash<int, const LCommandHandler*> handlers = [] {
        QHash<int, const LCommandHandler*> all;
        for (const auto part : {FileHandlers(), EditHandlers(), SelectHandlers(), SplitHandlers(),
                                ControlHandlers(), PlayHandlers(), ViewHandlers(), MarkHandlers(),
                                ToolHandlers(), EffectHandlers(), MixHandlers()})
            for (const LCommandHandler& handler : part) all.insert(handler.id, &handler);
        return all;
    }();
    return handlers.value(id, nullptr);
}

bool LMainFrame::RunCommand(int id) {
    if (!isEnabled() || closing_) return false;
    for (const auto& helper : helpers_)
        if (helper(id)) return false;
    bool ran = false;
    {
        const LCommandPhase phase(id);
        const LCommandHandler* handler = FindHandler(id);
        if (!IsAvailable(id)) {
            if (const LCommandRow* row = FindCommand(id); row && IsVisible(*row)) ExplainRefusal(*row);
        } else if (handler) {
            statusBar()->clearMessage();
            LCommandCall call{*this, id, ActiveSound()};
            handler->run(call);
            ran = true;
        }
    }
    AfterCommand();
    return ran;
}

void LMainFrame::AfterCommand() {
    contextPlace_.reset();
    RefreshActions();
}

// --- What the command line and other processes ask

bool LMainFrame::CanAcceptWork() const {
    return !closing_ && isEnabled() && !QApplication::activeModalWidget();
}

void LMainFrame::BringForward() {
    if (isMaximized())
        showMaximized();
    else
        showNormal();
    raise();
    activateWindow();
}

void LMainFrame::PostClose(bool) {
    closing_ = true;
    QMetaObject::invokeMethod(
        this, [this] { close(); }, Qt::QueuedConnection);
}

void LMainFrame::ResizeClient(std::optional<int> width, std::optional<int> height) {
    if (isMaximized() || isMinimized() || isFullScreen()) showNormal();
    resize(width.value_or(this->width()), height.value_or(this->height()));
}

void LMainFrame::AddListener(const QString& name) {
    if (!listeners_.contains(name)) listeners_.append(name);
}

}  // namespace ondarix
