// SPDX-License-Identifier: GPL-3.0-or-later
// What other programs do to the files that are open. The sounds themselves lie in working files, so nothing
// of them is lost; but what is on disk is no longer what is in the window, and the user has to know.
#include <QFileInfo>
#include <QPointer>

#include "app/frame.h"
#include "app/progress_dialog.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

bool WatchesFiles() {
    return GetSettingBool(QStringLiteral("Settings"), QStringLiteral("FileModAlert"), true);
}

}  // namespace

// Each time the frame comes to the front: until then nobody sees an answer, and saving asks for itself.
void LMainFrame::CheckFilesOnDisk() {
    if (checkingDisk_ || closing_ || LProgressDialog::IsAnyRunning() || !WatchesFiles()) return;
    checkingDisk_ = true;
    QList<QPointer<LSoundWindow>> windows;
    for (LSoundWindow* window : Sounds()) windows.append(window);
    for (const QPointer<LSoundWindow>& window : windows)
        if (window) AskAboutChangedFile(*window);
    checkingDisk_ = false;
}

void LMainFrame::AskAboutChangedFile(LSoundWindow& window) {
    LSoundDocument& document = window.Document();
    if (document.path.isEmpty() || document.isBusy) return;
    const LSourceFacts now = LSourceFacts::Of(document.path);
    if (SameSourceFile(now, document.file)) return;
    document.file = now;  // one question for each change
    enum { kLoadAgain, kKeep };
    int answer = kKeep;
    const QPointer<LSoundWindow> alive(&window);
    if (now.size < 0) {
        messages_->Tell(
            QStringLiteral("File Not Found."),
            QStringLiteral("The file \"%1\" is not there any more. Its sound is still open: save it "
                           "to keep it.")
                .arg(document.path));
    } else {
        answer = messages_->Ask(
            QStringLiteral("File changed"),
            QStringLiteral("The file \"%1\" has been changed by another program. Load it again, or keep the "
                           "sound as it is here?")
                .arg(document.path),
            {QStringLiteral("&Load Again"), QStringLiteral("&Keep")}, kKeep);
    }
    if (!alive) return;
    if (answer == kLoadAgain && LoadAgain(document)) return;
    if (!alive) return;
    document.isModified = true;  // no file holds this sound now
    DocumentChanged(document);
}

// A step of the history: what was here before can be had back.
bool LMainFrame::LoadAgain(LSoundDocument& document) {
    document.PushUndo(QStringLiteral("Load File"), true);
    if (!LoadInto(document, document.path, 0)) {
        document.PopUndo();
        return false;
    }
    document.channelEditMode = LSoundDocument::kEditsWhole;
    document.channelSound.reset();
    document.Select(0, 0);
    document.MarkSaved();
    Refresh(document);
    return true;
}

bool LMainFrame::MayOverwrite(const LSoundDocument& document, const QString& path) {
    if (document.path.isEmpty() || QFileInfo(path).absoluteFilePath() != document.path || !WatchesFiles())
        return true;
    const LSourceFacts now = LSourceFacts::Of(document.path);
    if (now.size < 0 || SameSourceFile(now, document.file)) return true;
    enum { kOverwrite, kCancel };
    return messages_->Ask(QStringLiteral("File changed"),
                          QStringLiteral("The file \"%1\" has been changed by another program since it was "
                                         "opened. Overwrite it?")
                              .arg(document.path),
                          {QStringLiteral("&Overwrite"), QStringLiteral("Cancel")}, kCancel) == kOverwrite;
}

}  // namespace ondarix
