// SPDX-License-Identifier: GPL-3.0-or-later
// What the edit commands and the windows beside the sounds find in the frame.
#include <QMdiSubWindow>

#include "app/frame.h"
#include "app/progress_dialog.h"

namespace ondarix {

LSoundWindow* LMainFrame::WindowOf(const LSoundDocument& document) {
    for (LSoundWindow* window : Sounds())
        if (&window->Document() == &document) return window;
    return nullptr;
}

JobResult LMainFrame::RunJob(const QString& title, const std::function<JobResult(LProgress&)>& work) {
    return ondarix::RunJob(this, title, work);
}

void LMainFrame::DocumentChanged(LSoundDocument& document) {
    if (LSoundWindow* window = WindowOf(document)) window->ShowTitle();
    RefreshActions();
    Q_EMIT notifier_.DocumentChanged(&document);
}

void LMainFrame::Refresh(LSoundDocument& document) {
    if (LSoundWindow* window = WindowOf(document)) window->Refresh();
    RefreshActions();
    Q_EMIT notifier_.DocumentChanged(&document);
    Q_EMIT notifier_.SelectionChanged();
}

bool LMainFrame::AddDocument(LSoundDocumentRef document) {
    if (!MayOpenMore()) {
        Tell(QStringLiteral("Error"),
             QStringLiteral(
                 "Maximum file count exceeded.  Please close some files before loading more files."));
        return false;
    }
    AddSound(std::move(document));
    return true;
}

void LMainFrame::Activate(LSoundWindow& window) {
    if (auto* child = qobject_cast<QMdiSubWindow*>(window.parentWidget())) area_->setActiveSubWindow(child);
}

}  // namespace ondarix
