// SPDX-License-Identifier: GPL-3.0-or-later
// The two threads behind a player: one writes blocks to the device, the other tells it of room. Whichever is
// behind is given the processor first.
#pragma once
#include <QObject>
#include <atomic>
#include <functional>
#include <mutex>

#include "devices/player_stack.h"
#include "devices/sound_device.h"
#include "gen/background_thread.h"

namespace ondarix {

// The one way from the threads to the interface thread. However often they post, one message at most lies in
// the queue of the event loop.
class LPlayerMailbox final : public QObject {
  public:
    explicit LPlayerMailbox(std::function<void()> read) : read_(std::move(read)) {}
    void Post();  // [any]
    bool event(QEvent* event) override;

  private:
    std::function<void()> read_;
    std::atomic<bool> posted_{false};
};

// The feeder holds its lock nearly always where a source is slow, and takes it again before a waiter has
// woken up: it lets those go first who want it.
class LPlayLock {
  public:
    void lock() {
        ++callers_;
        mutex_.lock();
        --callers_;
    }
    void unlock() { mutex_.unlock(); }
    bool IsWanted() const { return callers_ > 0; }

  private:
    std::mutex mutex_;
    std::atomic<int> callers_{0};
};

// What the threads and the player share.
struct LPlayFeed {
    LPlayFeed(LSoundDevice& itsDevice, LPlayerMailbox& itsMailbox) : device(itsDevice), mailbox(itsMailbox) {}
    void NotifyProgress();
    void NotifyFinished();

    LSoundDevice& device;
    LPlayerMailbox& mailbox;

    // Guards the source and all use of the device but its clock, and what stands below. The interface thread
    // keeps it while the player is suspended.
    LPlayLock lock;
    LPlayStack stack;
    int64_t firstFrame = 0;  // the device's count where this run or the last seek began
    int64_t nextFrame = 0;   // of the next frame to be written
    bool ended = false;      // the feeder has left its loop by itself, or is about to

    // The end, once it is written: the device's count, and the given source's length. -1: not known yet.
    std::atomic<int64_t> endFrame{-1}, endGiven{-1};

    LEvent sourceSpace;     // a block was taken, or there is room for another reason
    LEvent feeding;         // a block was written
    LEvent feederFinished;  // the feeder has left its loop
    std::atomic<bool> finishedPending{false}, progressPending{false};
    std::atomic<bool> feederBoosted{false}, doneHandlerBoosted{false};
    std::atomic<int32_t> missedBlocks{0};  // taken since the queue was last full
};

class LPlayFeeder final : public LBackgroundThread {
  public:
    explicit LPlayFeeder(LPlayFeed& feed) : LBackgroundThread("PLAY"), feed_(feed) {}
    ~LPlayFeeder() override { Stop(); }

  protected:
    void Run() override;

  private:
    using Guard = std::unique_lock<LPlayLock>;
    bool Pass(LBackgroundThread& doneHandler);  // false: left by itself
    void WriteBlock(int32_t frames, LBackgroundThread& doneHandler, Guard guard);
    void AwaitGrowth(LBackgroundThread& doneHandler, Guard guard);
    bool Drain(Guard guard);
    void AwaitSpace();

    LPlayFeed& feed_;
};

}  // namespace ondarix
