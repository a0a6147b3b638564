// SPDX-License-Identifier: GPL-3.0-or-later
#include "gen/background_thread.h"

#include <pthread.h>
#include <sched.h>

#include <cstdio>
#include <system_error>

#include "gen/phase.h"

namespace ondarix {
namespace {

constexpr int kFinishedWaitMs = 1000;

bool SetPolicy(pthread_t thread, int policy, int level = 0) {
    sched_param parameters{};
    parameters.sched_priority = level;
    return pthread_setschedparam(thread, policy, &parameters) == 0;
}

// A thread starts with the policy of the one that made it, so every priority is set.
void SetThreadPriority(pthread_t thread, ThreadPriority priority) {
    const bool critical = priority == ThreadPriority::kTimeCritical;
    if (critical && SetPolicy(thread, SCHED_RR, sched_get_priority_min(SCHED_RR))) return;
    SetPolicy(thread, priority == ThreadPriority::kLowest ? SCHED_IDLE : SCHED_OTHER);
}

// To the priority of the calling thread, or to the normal one where the system refuses that.
void RaiseToCaller(pthread_t thread) {
    int policy = SCHED_OTHER;
    sched_param parameters{};
    const bool known = pthread_getschedparam(pthread_self(), &policy, &parameters) == 0;
    if (!known || !SetPolicy(thread, policy, parameters.sched_priority)) SetPolicy(thread, SCHED_OTHER);
}

}  // namespace

LBackgroundThread::LBackgroundThread(const char* tag) : finished_(LEvent::Mode::kManualReset, true) {
    std::snprintf(tag_, sizeof tag_, "%s", tag);
}

LBackgroundThread::~LBackgroundThread() { Stop(); }

bool LBackgroundThread::Start(ThreadPriority priority) {
    const std::lock_guard guard(lock_);
    if (stop_.Handle().fd < 0 || finished_.Handle().fd < 0) return false;
    if (running_ && !finished_.IsSet()) return true;
    if (thread_.joinable()) {
        if (!finished_.Wait(kFinishedWaitMs)) return false;
        thread_.join();
    }
    stop_.Reset();
    stopping_.store(false, std::memory_order_relaxed);
    finished_.Reset();
    try {
        thread_ = std::thread([this, priority] { Main(priority); });
    } catch (const std::system_error&) {
        finished_.Set();
        running_ = false;
        return false;
    }
    running_ = true;
    return true;
}

void LBackgroundThread::Main(ThreadPriority priority) {
    RegisterThreadTag(tag_);
    SetThreadPriority(pthread_self(), priority);
    // A stop that came first has raised the thread in vain.
    if (stopping_) SetThreadPriority(pthread_self(), ThreadPriority::kNormal);
    Run();
    UnregisterThreadTag();
    finished_.Set();
}

void LBackgroundThread::SignalStop() {
    stopping_ = true;
    stop_.Set();
}

void LBackgroundThread::Stop() {
    const std::lock_guard guard(lock_);
    if (!thread_.joinable()) return;
    SignalStop();
    RaiseToCaller(thread_.native_handle());
    thread_.join();
    running_ = false;
}

bool LBackgroundThread::IsRunning() const { return finished_.Handle().fd >= 0 && !finished_.IsSet(); }

void LBackgroundThread::SetPriority(ThreadPriority priority) {
    // The lock is held while Stop() waits, and what is about to end needs no other priority.
    const std::unique_lock guard(lock_, std::try_to_lock);
    if (guard && thread_.joinable()) SetThreadPriority(thread_.native_handle(), priority);
}

bool LBackgroundThread::IsCancelled() { return stopping_.load(std::memory_order_relaxed); }

WaitResult LBackgroundThread::Sleep(int ms) {
    const WaitResult result = WaitForAny({}, stop_.Handle(), ms);
    return result == WaitResult::kTimedOut ? WaitResult::kSignalled : result;
}

WaitResult LBackgroundThread::WaitForHandle(LWaitHandle handle, int ms) {
    LHandleList list;
    list.Add(handle);
    return WaitForAny(list, stop_.Handle(), ms);
}

WaitResult LBackgroundThread::WaitForHandles(const LHandleList& handles, int ms) {
    return WaitForAny(handles, stop_.Handle(), ms);
}

}  // namespace ondarix
