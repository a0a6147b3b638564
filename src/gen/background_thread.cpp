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

void SetWorkerPriority(ThreadPriority priority) {
    sched_param parameters{};
    if (priority == ThreadPriority::kLowest) pthread_setschedparam(pthread_self(), SCHED_IDLE, &parameters);
    if (priority == ThreadPriority::kTimeCritical) {
        parameters.sched_priority = sched_get_priority_min(SCHED_RR);
        pthread_setschedparam(pthread_self(), SCHED_RR, &parameters);
    }
}

}  // namespace

LBackgroundThread::LBackgroundThread(const char* tag) : finished_(LEvent::Mode::kManualReset, true) {
    std::snprintf(tag_, sizeof tag_, "%s", tag);
}

LBackgroundThread::~LBackgroundThread() { Stop(); }

bool LBackgroundThread::Start(ThreadPriority priority) {
    const std::lock_guard guard(lock_);
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
    SetWorkerPriority(priority);
    Run();
    UnregisterThreadTag();
    finished_.Set();
}

void LBackgroundThread::SignalStop() {
    stopping_.store(true, std::memory_order_relaxed);
    stop_.Set();
}

void LBackgroundThread::Stop() {
    const std::lock_guard guard(lock_);
    if (!thread_.joinable()) return;
    SignalStop();
    int policy = SCHED_OTHER;
    sched_param parameters{};
    if (pthread_getschedparam(pthread_self(), &policy, &parameters) == 0) {
        pthread_setschedparam(thread_.native_handle(), policy, &parameters);
    }
    thread_.join();
    running_ = false;
}

bool LBackgroundThread::IsRunning() const { return !finished_.IsSet(); }

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
