// SPDX-License-Identifier: GPL-3.0-or-later
// Documents that are worked on while the frame stays usable.
#include <QApplication>

#include "app/frame.h"
#include "app/progress_dialog.h"

namespace ondarix {

void LMainFrame::RunDocumentJob(LSoundDocumentRef document, const QString& title, LDocumentWork work,
                                LDocumentFinish finish) {
    if (closing_) return finish(JobResult::kCancelled);
    jobs_->Start(std::move(document), title, std::move(work), std::move(finish));
}

// What a job ends with changes its document and may tell something: not under a dialog or a modal job, which
// counts on everything staying as it is.
bool LMainFrame::IsHeldUp() {
    return QApplication::activeModalWidget() || LProgressDialog::IsAnyRunning() || !isEnabled();
}

void LMainFrame::TellError(const QString& text) { Tell(QStringLiteral("Error"), text); }

void LMainFrame::BusyChanged(LSoundDocument& document) {
    if (closing_) return;
    RefreshActions();
    Q_EMIT notifier_.DocumentChanged(&document);
}

bool LMainFrame::IsHeldByJob(const LCommandRow& row) {
    LSoundWindow* sound = ActiveSound();
    return sound && sound->Document().isBusy && ChangesSound(row);
}

bool LMainFrame::RefuseWhileBusy(const LSoundDocument& document) {
    if (document.isBusy) ShowHint(BusyText(document));
    return document.isBusy;
}

bool LMainFrame::WaitForJob() {
    LSoundWindow* sound = ActiveSound();
    if (!sound) return true;
    const LSoundDocumentRef document(&sound->Document());
    return jobs_->Wait(*document) && !closing_;
}

bool LMainFrame::MayEndJob(const LSoundDocument& document) {
    if (!document.isBusy) return true;
    enum { kStop, kCancel };
    const int answer =
        messages_->Ask(QStringLiteral("Ondarix"),
                       QStringLiteral("\"%1\" is being worked on (%2). Stop that and close it?")
                           .arg(document.title, jobs_->TitleOf(document)),
                       {QStringLiteral("&Stop"), QStringLiteral("Cancel")}, kCancel);
    if (answer != kStop) return false;
    jobs_->Cancel(document);
    return !document.isBusy;
}

}  // namespace ondarix
