// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <atomic>
#include <mutex>
#include <thread>

#include "gen/progress.h"

namespace ondarix {

// Where the scheduler puts a worker. kLowest is SCHED_IDLE; kTimeCritical asks for SCHED_RR and stays
// normal, silently, where the system does not grant it.
enum class ThreadPriority : int8_t { kLowest, kNormal, kTimeCritical };

// A worker that is its own LProgress: IsCancelled() is the stop event. Derived classes implement Run() and
// call Stop() in their destructor, before anything that Run() uses is gone. Start, Stop and IsRunning may
// be called from any thread but the worker. [any]
class LBackgroundThread : public LProgress {
  public:
    // `tag`: up to four letters for failure reports.
    explicit LBackgroundThread(const char* tag);
    ~LBackgroundThread() override;

    // Nothing while the thread runs. An earlier thread that has finished is waited for, 1000 ms at most;
    // false when it is still there after that, or no thread could be made.
    bool Start(ThreadPriority priority = ThreadPriority::kNormal);
    // Sets the stop event, raises the worker to the priority of the caller and waits without limit. Where the
    // user may not take a thread out of SCHED_IDLE (no CAP_SYS_NICE, no RLIMIT_NICE) it stays there, and ends
    // on the small share of time that the class is always given.
    void Stop();
    // Sets the stop event only: for stopping many at once.
    void SignalStop();
    bool IsRunning() const;
    // Of the worker, while it runs; nothing where the system does not grant it.
    void SetPriority(ThreadPriority priority);

    bool IsCancelled() override;
    WaitResult Sleep(int ms) override;
    WaitResult WaitForHandle(LWaitHandle handle, int ms) override;
    WaitResult WaitForHandles(const LHandleList& handles, int ms) override;

  protected:
    virtual void Run() = 0;  // on the worker

  private:
    void Main(ThreadPriority priority);

    LEvent stop_;
    LEvent finished_;  // set by the worker as its last act
    mutable std::mutex lock_;
    std::thread thread_;
    std::atomic<bool> stopping_{false};  // the same as stop_, without a system call
    bool running_ = false;
    char tag_[5] = {};
};

}  // namespace ondarix
