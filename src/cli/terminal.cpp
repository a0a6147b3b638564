// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/terminal.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <ctime>

namespace ondarix {
namespace {

volatile std::sig_atomic_t gSignalled = 0;
int gCancelDescriptor = -1;  // of an event that lives as long as the process

LEvent& CancelEvent() {
    static LEvent event;
    return event;
}

// Who ends a process may do so twice over, as timeout(1) does: to the process and to its group.
constexpr int64_t kSameRequestNanoseconds = 500'000'000;
int64_t gSignalTime = 0;  // of the first

extern "C" void OnCancelSignal(int number) {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const int64_t time = int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
    if (gSignalled) {
        if (time - gSignalTime < kSameRequestNanoseconds) return;
        signal(number, SIG_DFL);
        raise(number);
        return;
    }
    gSignalTime = time;
    gSignalled = 1;
    const uint64_t one = 1;
    const auto written = write(gCancelDescriptor, &one, sizeof one);
    static_cast<void>(written);  // the flag alone is enough between two blocks
}

}  // namespace

void CatchSignals() {
    gCancelDescriptor = CancelEvent().Handle().fd;
    struct sigaction action = {};
    action.sa_handler = &OnCancelSignal;
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&action.sa_mask, number);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before = {};
        // A shell starts background jobs with SIGINT ignored, nohup with SIGHUP ignored; that stays.
        if (sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) {
            sigaction(number, &action, nullptr);
        }
    }
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
}

void LTerminalHost::Tell(const QString& /*title*/, const QString& text) { notes_ += text; }

int LTerminalHost::Ask(const QString& /*title*/, const QString& text, const QStringList& buttons, int safe,
                       const QString& /*dontAskText*/, bool* dontAskAgain) {
    if (dontAskAgain) *dontAskAgain = false;
    const QString answer = safe >= 0 && safe < buttons.size() ? buttons[safe] : QString();
    notes_ += answer.isEmpty() ? text : QString("%1 (answered \"%2\")").arg(text, answer);
    return safe;
}

QStringList LTerminalHost::TakeNotes() { return std::exchange(notes_, {}); }

LTerminalProgress::LTerminalProgress(bool show, LTerminalHost& host)
    : host_(host), show_(show && isatty(STDERR_FILENO) == 1) {}

bool LTerminalProgress::IsCancelled() { return gSignalled != 0; }

WaitResult LTerminalProgress::Sleep(int ms) {
    const WaitResult result = WaitForAny({}, CancelEvent().Handle(), ms);
    return result == WaitResult::kTimedOut ? WaitResult::kSignalled : result;
}

WaitResult LTerminalProgress::WaitForHandle(LWaitHandle handle, int ms) {
    LHandleList list;
    list.Add(handle);
    return WaitForAny(list, CancelEvent().Handle(), ms);
}

WaitResult LTerminalProgress::WaitForHandles(const LHandleList& handles, int ms) {
    return WaitForAny(handles, CancelEvent().Handle(), ms);
}

void LTerminalProgress::SetStatus(const QString& text, int line) {
    if (!show_ || line != 0 || text == status_) return;
    status_ = text;
    Show();
}

void LTerminalProgress::SetFraction(double fraction) {
    if (!show_ || !(fraction >= 0.0)) return;
    const int percent = static_cast<int>(std::min(fraction, 1.0) * 100.0);
    if (percent == percent_) return;
    percent_ = percent;
    Show();
}

void LTerminalProgress::Show() {
    const QString line = QString("\r%1% %2\033[K").arg(std::max(percent_, 0), 3).arg(OneLine(status_));
    std::fputs(line.toUtf8().constData(), stderr);
    std::fflush(stderr);
    shown_ = true;
}

void LTerminalProgress::Clear() {
    if (!shown_) return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    shown_ = false;
    percent_ = -1;
}

ExitStatus LContext::Ended(JobResult result, const QString& fallback) {
    progress.Clear();
    const QStringList notes = host.TakeNotes();
    if (result == JobResult::kSuccess) {
        for (const QString& note : notes) console.Warn(note);
        return ExitStatus::kSuccess;
    }
    if (result == JobResult::kCancelled && progress.IsCancelled()) {
        return console.Fail("cancelled", ExitStatus::kCancelled);
    }
    return console.Fail(notes.isEmpty() ? fallback : notes.last());
}

}  // namespace ondarix
