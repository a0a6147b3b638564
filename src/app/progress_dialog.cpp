// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/progress_dialog.h"

#include <QApplication>
#include <QMessageBox>
#include <QPointer>
#include <algorithm>
#include <chrono>
#include <cmath>

#include "app/deferred_delete.h"
#include "app/launcher_progress.h"
#include "app/progress_window.h"

namespace ondarix {
namespace {

using ProgressClock = std::chrono::steady_clock;
constexpr auto kPumpInterval = std::chrono::milliseconds(10);
constexpr auto kShowAfter = std::chrono::milliseconds(500);
constexpr auto kEstimateInterval = std::chrono::milliseconds(250);
constexpr int kWaitSliceMs = 10;

int64_t MsSince(ProgressClock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(ProgressClock::now() - start).count();
}

}  // namespace

struct LProgressDialog::State {
    QPointer<QWidget> owner;
    QString title;
    ProgressClock::time_point started, lastPump, lastEstimate;
    bool running = false;
    bool cancelled = false;

    bool ownerDisabled = false;  // by this job, which enables it again
    QPointer<QWidget> focus;

    QPointer<LProgressWindow> window;
    bool shown = false;
    QString status[2];
    double fraction = 0;
    bool indeterminate = false;

    int Percent() const { return static_cast<int>(fraction * 100); }
    static QList<State*>& Running();
    void DisableOwner();
    void Pump();
    void ShowWindow();
    void ShowEstimate();
    void Report() const;
    void Finish();
};

// The jobs that run, each started by the one before it. All of them keep their owners disabled while any of
// them lets events in, and the first to have disabled an owner enables it.
QList<LProgressDialog::State*>& LProgressDialog::State::Running() {
    static QList<State*> running;
    return running;
}

// Put off until events are first let in, so that short jobs leave the window and its focus as they are.
void LProgressDialog::State::DisableOwner() {
    if (ownerDisabled || !owner || !owner->isEnabled()) return;
    focus = QApplication::focusWidget();
    owner->setEnabled(false);
    ownerDisabled = true;
}

void LProgressDialog::State::Pump() {
    for (State* job : Running()) job->DisableOwner();
    if (!shown && ProgressClock::now() - started >= kShowAfter) ShowWindow();
    if (window) ShowEstimate();
    {
        const LDeferredDeleteList::PumpScope scope(DeferredDeletes());
        QCoreApplication::processEvents();
    }
    if (shown && !window) cancelled = true;
    lastPump = ProgressClock::now();
}

void LProgressDialog::State::ShowWindow() {
    shown = true;
    window = new LProgressWindow(owner, title, [this] { cancelled = true; });
    window->SetStatus(status[0], 0);
    window->SetStatus(status[1], 1);
    window->SetIndeterminate(indeterminate);
    if (!indeterminate) window->SetPercent(Percent());
    window->show();
    Report();
}

void LProgressDialog::State::ShowEstimate() {
    const auto now = ProgressClock::now();
    if (indeterminate || now - lastEstimate < kEstimateInterval) return;
    lastEstimate = now;
    window->SetRemaining(RemainingTimeText(fraction, MsSince(started)));
}

void LProgressDialog::State::Report() const {
    if (shown)
        ShowLauncherProgress(indeterminate ? LauncherState::kIndeterminate : LauncherState::kNormal,
                             Percent());
}

void LProgressDialog::State::Finish() {
    running = false;
    Running().removeOne(this);
    if (shown) ShowLauncherProgress(LauncherState::kNone, 0);
    if (ownerDisabled && owner) {
        owner->setEnabled(true);
        owner->activateWindow();
        if (focus) focus->setFocus();
    }
    ownerDisabled = false;
    delete window;  // its events were handled inside of Process()
}

LProgressDialog::LProgressDialog(QWidget* owner, const QString& title) : state_(std::make_unique<State>()) {
    state_->owner = owner ? owner->window() : nullptr;
    state_->title = title;
    state_->started = state_->lastPump = ProgressClock::now();
}

LProgressDialog::~LProgressDialog() = default;

void LProgressDialog::RunModal() {
    state_->cancelled = false;
    state_->shown = false;
    state_->running = true;
    State::Running().append(state_.get());
    state_->started = state_->lastPump = ProgressClock::now();
    Process();
    state_->Finish();
}

void LProgressDialog::CancelAll() {
    for (State* job : State::Running()) job->cancelled = true;
}

bool LProgressDialog::IsAnyRunning() { return !State::Running().isEmpty(); }

bool LProgressDialog::IsCancelled() {
    if (state_->cancelled) return true;
    if (!state_->running || ProgressClock::now() - state_->lastPump < kPumpInterval) return false;
    state_->Pump();
    return state_->cancelled;
}

WaitResult LProgressDialog::Sleep(int ms) {
    const WaitResult result = WaitForHandles({}, ms);
    return result == WaitResult::kTimedOut ? WaitResult::kSignalled : result;
}

WaitResult LProgressDialog::WaitForHandle(LWaitHandle handle, int ms) {
    LHandleList list;
    list.Add(handle);
    return WaitForHandles(list, ms);
}

WaitResult LProgressDialog::WaitForHandles(const LHandleList& handles, int ms) {
    const auto started = ProgressClock::now();
    for (;;) {
        if (IsCancelled()) return WaitResult::kCancelled;
        const int64_t left = ms < 0 ? kWaitSliceMs : std::max<int64_t>(0, ms - MsSince(started));
        const int slice = static_cast<int>(std::min<int64_t>(left, kWaitSliceMs));
        const WaitResult result = WaitForAny(handles, {}, slice);
        if (result != WaitResult::kTimedOut) return result;
        if (ms >= 0 && MsSince(started) >= ms) return WaitResult::kTimedOut;
    }
}

void LProgressDialog::ReportError(const QString& text) {
    for (State* job : State::Running()) job->DisableOwner();
    ShowLauncherProgress(LauncherState::kError, state_->Percent());
    if (state_->window) state_->window->SetError();
    QWidget* parent = state_->window ? static_cast<QWidget*>(state_->window) : state_->owner.data();
    QMessageBox box(QMessageBox::Critical, QStringLiteral("Error"), text, QMessageBox::Ok, parent);
    box.setTextFormat(Qt::PlainText);
    box.exec();
    if (!state_->shown) ShowLauncherProgress(LauncherState::kNone, 0);
}

void LProgressDialog::SetStatus(const QString& text, int line) {
    if (line < 0 || line > 1) return;
    state_->status[line] = text;
    if (state_->window) state_->window->SetStatus(text, line);
}

void LProgressDialog::SetFraction(double fraction) {
    const int before = state_->Percent();
    state_->fraction = fraction > 0 ? std::min(fraction, 1.0) : 0.0;
    if (state_->Percent() == before || state_->indeterminate) return;
    if (state_->window) state_->window->SetPercent(state_->Percent());
    state_->Report();
}

void LProgressDialog::SetIndeterminate() {
    state_->indeterminate = true;
    if (state_->window) state_->window->SetIndeterminate(true);
    state_->Report();
}

void LProgressDialog::SetDeterminate() {
    state_->indeterminate = false;
    if (state_->window) {
        state_->window->SetIndeterminate(false);
        state_->window->SetPercent(state_->Percent());
    }
    state_->Report();
}

namespace {

class LFunctionJob final : public LJob {
  public:
    LFunctionJob(QWidget* owner, const QString& title, const std::function<JobResult(LProgress&)>& work)
        : LJob(owner, title), work_(work) {}

  protected:
    void Process() override { result = work_(*this); }

  private:
    const std::function<JobResult(LProgress&)>& work_;
};

}  // namespace

JobResult RunJob(QWidget* owner, const QString& title, const std::function<JobResult(LProgress&)>& work) {
    LFunctionJob job(owner, title, work);
    return job.Run();
}

}  // namespace ondarix
