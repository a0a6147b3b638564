// SPDX-License-Identifier: GPL-3.0-or-later
// A connection to the PipeWire server with a thread of its own, and what the server has: nodes that play or
// record, which of them is the default, and the rate that it runs at.
#pragma once
#include <QString>
#include <functional>
#include <memory>
#include <vector>

#include "devices/device_types.h"
#include "devices/pipewire_library.h"

namespace ondarix {

class LPipeWireSession {
  public:
    LPipeWireSession() = default;
    ~LPipeWireSession() { Close(); }
    LPipeWireSession(const LPipeWireSession&) = delete;
    LPipeWireSession& operator=(const LPipeWireSession&) = delete;

    // Called on the session's thread, once, when the server has gone. Set before Connect().
    void SetLost(std::function<void()> lost) { onLost_ = std::move(lost); }
    // False: no library or no server. Again after Disconnect().
    bool Connect();
    void Disconnect();
    void Close();  // whatever uses the session is gone by then

    // Waits, at most until the clock of the loop is at `deadline` (see Deadline()), until the server has
    // answered all that it was asked. False: it has not, or has gone. Under the lock.
    bool Sync(const timespec& deadline);
    // In `ms`, or sooner while the server was silent a moment ago.
    timespec Deadline(int ms) const;
    // Wakes up whoever waits. On the session's thread.
    void Signal() { PipeWire()->loopSignal(loop_, false); }
    // Waits for a Signal(); false at the deadline. Under the lock.
    bool Wait(timespec deadline) { return PipeWire()->loopWait(loop_, &deadline) == 0; }

    bool IsLost() const { return isLost_; }
    pw_core* Core() const { return core_; }
    pw_loop* Loop() const { return PipeWire()->loopLoop(loop_); }

    // Held while anything of the session is touched from another thread.
    class LLock {
      public:
        explicit LLock(const LPipeWireSession& session) : loop_(session.loop_) {
            if (loop_) PipeWire()->loopLock(loop_);
        }
        ~LLock() {
            if (loop_) PipeWire()->loopUnlock(loop_);
        }
        LLock(const LLock&) = delete;
        LLock& operator=(const LLock&) = delete;

      private:
        pw_thread_loop* loop_;
    };

  private:
    void OnDone(uint32_t id, int serial);
    void OnError(uint32_t id, int result);
    pw_thread_loop* loop_ = nullptr;
    pw_context* context_ = nullptr;
    pw_core* core_ = nullptr;
    spa_hook coreHook_{};
    int doneSerial_ = -1;
    std::atomic<bool> isLost_{false};
    std::function<void()> onLost_;
};

struct LPipeWireNode {
    QString name, description;
    bool plays = false, records = false;
    int inputs = 0, outputs = 0;  // ports, one a channel
};

// What a connected session's server has. Everything under the session's lock; it goes before the session is
// disconnected.
class LPipeWireGraph {
  public:
    explicit LPipeWireGraph(LPipeWireSession& session);
    ~LPipeWireGraph();
    LPipeWireGraph(const LPipeWireGraph&) = delete;
    LPipeWireGraph& operator=(const LPipeWireGraph&) = delete;

    // Called on the session's thread after audio nodes have come or gone, or others are the default.
    void SetChanged(std::function<void()> changed) { onChanged_ = std::move(changed); }
    // Asks for all there is and waits for it. False: it did not all come in time.
    bool Read(const timespec& deadline);
    void Clear();

    std::vector<LPipeWireNode> Nodes(LDeviceDirection direction) const;
    QString DefaultName(LDeviceDirection direction) const {
        return direction == LDeviceDirection::kPlayback ? defaultSink_ : defaultSource_;
    }
    int32_t ClockRate() const { return clockRate_; }  // Hz, 0: not known

  private:
    struct LObject;  // a node or a table of values, bound
    void OnGlobal(uint32_t id, const char* type, const spa_dict* values);
    void OnRemoved(uint32_t id);
    void OnValue(const char* key, const char* value);
    void Changed() {
        if (onChanged_) onChanged_();
    }
    LPipeWireSession& session_;
    pw_registry* registry_ = nullptr;
    spa_hook registryHook_{};
    std::vector<std::unique_ptr<LObject>> objects_;
    QString defaultSink_, defaultSource_;
    int32_t clockRate_ = 0;
    std::function<void()> onChanged_;
};

}  // namespace ondarix
