// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/document_job.h"

#include <QEventLoop>
#include <algorithm>
#include <utility>

#include "app/background_registry.h"
#include "app/launcher_progress.h"
#include "app/progress_window.h"
#include "app/sound_window.h"

namespace ondarix {
namespace {

constexpr int kShowJobAfterMs = 500;
constexpr int kJobTickMs = 100;

}  // namespace

// --- LDocumentJob

LDocumentJob::LDocumentJob(LSoundDocumentRef document, const QString& title, LDocumentWork work,
                           LDocumentFinish finish)
    : LBackgroundThread("JOB"),
      document_(std::move(document)),
      title_(title),
      work_(std::move(work)),
      finish_(std::move(finish)) {
    RegisterBackgroundThread(this);
}

LDocumentJob::~LDocumentJob() {
    UnregisterBackgroundThread(this);
    Stop();
    if (!panel_) return;
    // Its own event may be the one that leads here.
    QWidget* const window = panel_->parentWidget();
    const bool hadKeyboard = window && panel_->isAncestorOf(window->focusWidget());
    panel_->hide();
    panel_->deleteLater();
    if (hadKeyboard) window->setFocus();
}

bool LDocumentJob::Begin() {
    clock_.start();
    return Start();
}

void LDocumentJob::AskToCancel() {
    SignalStop();
    cancelling_ = true;
    if (panel_) panel_->SetCancelling();
}

void LDocumentJob::CancelAndWait() {
    Stop();
    ended_ = true;
}

void LDocumentJob::Run() {
    result_ = work_(*this);
    QMetaObject::invokeMethod(
        this,
        [this] {
            ended_ = true;
            Q_EMIT Ended();
        },
        Qt::QueuedConnection);
}

void LDocumentJob::ReportError(const QString& text) {
    const std::lock_guard guard(lock_);
    state_.errors.append(text);
}

void LDocumentJob::SetStatus(const QString& text, int line) {
    if (line < 0 || line > 1) return;
    const std::lock_guard guard(lock_);
    state_.status[line] = text;
}

void LDocumentJob::SetFraction(double fraction) {
    const std::lock_guard guard(lock_);
    state_.fraction = fraction > 0 ? std::min(fraction, 1.0) : 0.0;
}

void LDocumentJob::SetKnown(bool known) {
    const std::lock_guard guard(lock_);
    state_.indeterminate = !known;
}

LDocumentJob::State LDocumentJob::Look() const {
    const std::lock_guard guard(lock_);
    return state_;
}

QStringList LDocumentJob::Errors() const { return Look().errors; }

std::optional<int> LDocumentJob::Percent() const {
    const State state = Look();
    if (state.indeterminate) return std::nullopt;
    return static_cast<int>(state.fraction * 100);
}

void LDocumentJob::Show(LSoundWindow* window) {
    if (!panel_) {
        if (!window || clock_.elapsed() < kShowJobAfterMs) return;
        panel_ = new LDocumentJobPanel(title_, document_->title, window);
        connect(panel_, &LDocumentJobPanel::Cancelled, this, &LDocumentJob::AskToCancel);
        if (cancelling_) panel_->SetCancelling();
        ShowState(Look());
        window->ShowBelow(panel_);
        return;
    }
    ShowState(Look());
}

void LDocumentJob::ShowState(const State& state) {
    panel_->SetStatus(state.status[0], 0);
    panel_->SetStatus(state.status[1], 1);
    panel_->SetIndeterminate(state.indeterminate);
    if (state.indeterminate) return;
    panel_->SetPercent(static_cast<int>(state.fraction * 100));
    panel_->SetRemaining(RemainingTimeText(state.fraction, clock_.elapsed()));
}

QString BusyText(const LSoundDocument& document) {
    return QStringLiteral("\"%1\" is being worked on").arg(document.title);
}

// --- LDocumentJobs

LDocumentJobs::LDocumentJobs(LDocumentJobOwner& owner) : owner_(owner) {
    tick_.setInterval(kJobTickMs);
    connect(&tick_, &QTimer::timeout, this, &LDocumentJobs::Tick);
}

LDocumentJobs::~LDocumentJobs() { CancelAll(); }

LDocumentJob* LDocumentJobs::Find(const LSoundDocument& document) const {
    for (const auto& job : jobs_)
        if (&job->Document() == &document) return job.get();
    return nullptr;
}

QString LDocumentJobs::TitleOf(const LSoundDocument& document) const {
    const LDocumentJob* job = Find(document);
    return job ? job->Title() : QString();
}

void LDocumentJobs::Start(LSoundDocumentRef document, const QString& title, LDocumentWork work,
                          LDocumentFinish finish) {
    if (document->isBusy) return finish(JobResult::kCancelled);
    LSoundDocument& one = *document;
    jobs_.push_back(
        std::make_unique<LDocumentJob>(std::move(document), title, std::move(work), std::move(finish)));
    LDocumentJob& job = *jobs_.back();
    connect(&job, &LDocumentJob::Ended, this, &LDocumentJobs::FinishEnded);
    one.isBusy = true;
    if (!job.Begin()) {
        owner_.TellError(QStringLiteral("Not enough resources to begin this. Please try again."));
        return Finish(job, JobResult::kFailed);
    }
    tick_.start();
    owner_.BusyChanged(one);
}

void LDocumentJobs::AskToCancel(const LSoundDocument& document) {
    if (LDocumentJob* job = Find(document)) job->AskToCancel();
}

void LDocumentJobs::Cancel(const LSoundDocument& document) {
    LDocumentJob* job = Find(document);
    if (!job) return;
    job->CancelAndWait();
    Finish(*job, JobResult::kCancelled);
}

void LDocumentJobs::CancelAll() {
    for (const auto& job : jobs_) job->AskToCancel();
    while (!jobs_.empty()) Cancel(jobs_.back()->Document());
}

void LDocumentJobs::Tick() {
    for (const auto& job : jobs_) job->Show(owner_.WindowOfDocument(job->Document()));
    ShowLauncher();
    FinishEnded();
}

// What is told here opens loops in which other jobs may end: they wait for their turn.
void LDocumentJobs::FinishEnded() {
    while (!finishing_ && !owner_.IsHeldUp()) {
        const auto ended =
            std::find_if(jobs_.begin(), jobs_.end(), [](const auto& job) { return job->HasEnded(); });
        if (ended == jobs_.end()) return;
        LDocumentJob& job = **ended;
        finishing_ = true;
        const QPointer<LDocumentJob> alive(&job);
        const QPointer<LDocumentJobs> self(this);
        for (const QString& text : job.Errors())
            if (alive) owner_.TellError(text);
        if (!self) return;
        finishing_ = false;
        if (alive) Finish(job, job.Result());
    }
}

void LDocumentJobs::Finish(LDocumentJob& job, JobResult result) {
    const auto at =
        std::find_if(jobs_.begin(), jobs_.end(), [&](const auto& one) { return one.get() == &job; });
    const std::unique_ptr<LDocumentJob> ended = std::move(*at);
    jobs_.erase(at);
    if (jobs_.empty()) tick_.stop();
    ShowLauncher();
    LSoundDocument& document = ended->Document();
    document.isBusy = false;
    const LDocumentFinish finish = ended->TakeFinish();
    const QPointer<LDocumentJobs> self(this);
    if (finish) finish(result);
    if (self) owner_.BusyChanged(document);
    if (self) Q_EMIT Finished(&document, result == JobResult::kSuccess);
}

bool LDocumentJobs::Wait(const LSoundDocument& document) {
    bool well = true;
    QPointer<LDocumentJobs> self(this);
    while (well && self && Find(document)) {
        QEventLoop loop;
        well = false;
        connect(this, &LDocumentJobs::Finished, &loop, [&](const LSoundDocument* ended, bool successfully) {
            if (ended != &document) return;
            well = successfully;
            loop.quit();
        });
        connect(this, &QObject::destroyed, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return well;
}

// The icon shows the job that has the longest way to go.
void LDocumentJobs::ShowLauncher() {
    bool shown = false;
    std::optional<int> least = 100;
    for (const auto& job : jobs_) {
        if (!job->IsShown()) continue;
        shown = true;
        const std::optional<int> percent = job->Percent();
        least = percent && least ? std::optional(std::min(*percent, *least)) : std::nullopt;
    }
    if (shown)
        ShowLauncherProgress(least ? LauncherState::kNormal : LauncherState::kIndeterminate,
                             least.value_or(0));
    else if (showsLauncher_)
        ShowLauncherProgress(LauncherState::kNone, 0);
    showsLauncher_ = shown;
}

}  // namespace ondarix
