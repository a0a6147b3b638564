// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QDeadlineTimer>
#include <functional>

#include "devices/pulse_library.h"
#include "gen/waitable.h"

namespace ondarix {

// A connection to a PulseAudio server with the thread that serves it. No wait is without a limit, so that a
// server that hangs takes nobody along; none is ever started by us.
class LPulseConnection {
  public:
    explicit LPulseConnection(const LPulseApi& api) : api_(api) {}
    ~LPulseConnection() { Close(); }
    LPulseConnection(const LPulseConnection&) = delete;
    LPulseConnection& operator=(const LPulseConnection&) = delete;

    // In `ms`, or sooner while the server was silent a moment ago.
    static QDeadlineTimer Deadline(int ms);
    // `critical`: its thread asks for real-time scheduling. False: no server has answered in that time.
    bool Connect(QDeadlineTimer deadline, bool critical = false);
    void Close();
    // On the connection's thread, locked, when the server has gone.
    void OnLost(std::function<void()> lost) { lost_ = std::move(lost); }

    pa_context* Context() const { return context_; }
    bool IsReady();
    // Ends WaitFor's sleep; for call-backs.
    void Signal() { changed_.Set(); }
    LEvent& ChangedEvent() { return changed_; }
    // Until `holds`, which is asked under the lock. False: the time is over, or the server has gone.
    bool WaitFor(const std::function<bool()>& holds, QDeadlineTimer deadline);
    // Waits for an operation and lets it go: its call-back does not come any more. False where it is null,
    // was not done in time, or the server has gone. Not under the lock.
    bool Complete(pa_operation* operation, QDeadlineTimer deadline);
    // Lets an operation go on by itself. Under the lock.
    void Forget(pa_operation* operation) const {
        if (operation) api_.pa_operation_unref(operation);
    }

    // Everything of the library is to be called under this.
    class LLock {
      public:
        explicit LLock(const LPulseConnection& connection) : connection_(connection) {
            connection_.api_.pa_threaded_mainloop_lock(connection_.loop_);
        }
        ~LLock() { connection_.api_.pa_threaded_mainloop_unlock(connection_.loop_); }
        LLock(const LLock&) = delete;
        LLock& operator=(const LLock&) = delete;

      private:
        const LPulseConnection& connection_;
    };

  private:
    bool Begin();
    void StateChanged();

    const LPulseApi& api_;
    pa_threaded_mainloop* loop_ = nullptr;
    pa_context* context_ = nullptr;
    bool critical_ = false;
    std::function<void()> lost_;
    LEvent changed_;
};

}  // namespace ondarix
