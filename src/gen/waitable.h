// SPDX-License-Identifier: GPL-3.0-or-later
// Things that a thread can wait for, each of them one file descriptor, so that any mixture of
// events, processes and pipes goes into one poll().
#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

namespace ondarix {

inline constexpr int kWaitForever = -1;

// What a wait ended with.
enum class WaitResult : uint32_t {
    kSignalled = 0,  // the handle was signalled, or a plain sleep ran its time
    kCancelled = 1,
    kTimedOut = 2,
};

// A handle is any descriptor that poll() reports readable while the thing is signalled. Not owned.
struct LWaitHandle {
    int fd = -1;
    bool consumed = false;  // the wait that it ends reads its eight bytes: an automatic event
};

// An event of Win32 manner over an eventfd. A manual-reset event stays signalled until Reset();
// an automatic one is consumed by the wait that it ends. Thread-safe. [any]
class LEvent {
  public:
    enum class Mode : uint8_t { kManualReset, kAutoReset };
    explicit LEvent(Mode mode = Mode::kManualReset, bool signalled = false);
    ~LEvent();
    LEvent(const LEvent&) = delete;
    LEvent& operator=(const LEvent&) = delete;

    void Set();
    void Reset();
    bool IsSet() const;  // one poll() without a wait; never consumes
    // Waits at most `ms` milliseconds, kWaitForever for no limit. True when signalled.
    bool Wait(int ms);
    LWaitHandle Handle() const { return {fd_, mode_ == Mode::kAutoReset}; }

  private:
    int fd_;
    Mode mode_;
};

// A process seen through a pidfd: signalled when it has ended. The handle is invalid (fd -1) when the
// process does not exist.
class LProcessWaitable {
  public:
    explicit LProcessWaitable(int pid);
    ~LProcessWaitable();
    LProcessWaitable(const LProcessWaitable&) = delete;
    LProcessWaitable& operator=(const LProcessWaitable&) = delete;
    LWaitHandle Handle() const { return {fd_, false}; }

  private:
    int fd_;
};

// Up to 64 handles; a wait looks at no more than the first 63, which leaves room for the waiter's own.
class LHandleList {
  public:
    static constexpr int kCapacity = 64;
    static constexpr int kWaitedFor = 63;
    bool Add(LWaitHandle handle);  // false when full
    int Count() const { return count_; }
    LWaitHandle At(int index) const { return handles_[static_cast<size_t>(index)]; }

  private:
    std::array<LWaitHandle, kCapacity> handles_{};
    int count_ = 0;
};

// Waits until a handle of the list is signalled, or `cancel` (fd -1: none) is, at most `ms` milliseconds.
// `cancel` wins when both are, and of several the first in the list. EINTR is retried with what is left of
// the time. A list with a closed descriptor gives kTimedOut at once.
WaitResult WaitForAny(const LHandleList& handles, LWaitHandle cancel, int ms);

}  // namespace ondarix
