// SPDX-License-Identifier: GPL-3.0-or-later
// How long work reports and is stopped. The code that does the work never knows whether a modal dialog,
// a worker thread, a batch or the command line is behind the reference that it was given.
#pragma once
#include <QString>
#include <cstdint>

#include "gen/waitable.h"

namespace ondarix {

// How a job ended. The save path adds more values to the same scale, see SaveResult.
enum class JobResult : uint32_t { kSuccess = 0, kCancelled = 1, kFailed = 2 };

class LProgress {
  public:
    virtual ~LProgress() = default;

    // True when the job must stop. Inner loops ask once a block (some 8192 frames): an implementation
    // that pumps messages may cost one clock read when there is nothing to do, no more.
    virtual bool IsCancelled() = 0;

    // Waits; milliseconds, kWaitForever for no limit.
    virtual WaitResult Sleep(int ms) = 0;
    virtual WaitResult WaitForHandle(LWaitHandle handle, int ms) = 0;
    virtual WaitResult WaitForHandles(const LHandleList& handles, int ms) = 0;
    virtual WaitResult SleepForever() { return Sleep(kWaitForever); }
    virtual WaitResult WaitForHandleForever(LWaitHandle handle) {
        return WaitForHandle(handle, kWaitForever);
    }
    virtual WaitResult WaitForHandlesForever(const LHandleList& handles) {
        return WaitForHandles(handles, kWaitForever);
    }

    // Reports; nothing in the base.
    virtual void ReportError(const QString& /*text*/) {}
    virtual void SetStatus(const QString& /*text*/, int /*line: 0 or 1*/) {}
    virtual void SetFraction(double /*0.0 to 1.0*/) {}
    virtual void SetIndeterminate() {}
    virtual void SetDeterminate() {}
};

// For callers without anybody to report to: never cancelled, waits plainly.
class LNullProgress final : public LProgress {
  public:
    bool IsCancelled() override { return false; }
    WaitResult Sleep(int ms) override;
    WaitResult WaitForHandle(LWaitHandle handle, int ms) override;
    WaitResult WaitForHandles(const LHandleList& handles, int ms) override;
};

}  // namespace ondarix
