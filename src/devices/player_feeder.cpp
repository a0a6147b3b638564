// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/player_feeder.h"

#include <QCoreApplication>
#include <QEvent>
#include <algorithm>

namespace ondarix {
namespace {

constexpr int kYieldMs = 5;
constexpr int kHurryMs = 50;  // with less queued than this the feeder does not yield
constexpr int kWaitForSpaceMs = 1000;
constexpr int kWaitForGrowthMs = 10;  // with the lock, which a caller may want

// Blocks that may be taken from a full queue before the feeder counts as late.
int32_t LateBlocks(LDeviceMode mode) {
    switch (mode) {
        case LDeviceMode::kAlsa:
            return 64 / 2;
        case LDeviceMode::kPulseAudio:
            return 32 / 2;
        default:
            return 0;
    }
}

void PutFirst(LBackgroundThread& behind, std::atomic<bool>& behindFlag, LBackgroundThread& ahead,
              std::atomic<bool>& aheadFlag) {
    if (!behindFlag.exchange(true)) behind.SetPriority(ThreadPriority::kTimeCritical);
    if (aheadFlag.exchange(false)) ahead.SetPriority(ThreadPriority::kNormal);
}

class LPlayDoneHandler final : public LBackgroundThread {
  public:
    LPlayDoneHandler(LPlayFeed& feed, LBackgroundThread& feeder)
        : LBackgroundThread("DONE"), feed_(feed), feeder_(feeder) {}
    ~LPlayDoneHandler() override { Stop(); }

  protected:
    void Run() override {
        const int32_t lateBlocks = LateBlocks(feed_.device.Mode());
        while (feed_.device.WaitBlockDone(*this)) {
            feed_.sourceSpace.Set();
            feed_.NotifyProgress();
            if (++feed_.missedBlocks > lateBlocks && !feed_.feederBoosted)
                PutFirst(feeder_, feed_.feederBoosted, *this, feed_.doneHandlerBoosted);
        }
        feed_.sourceSpace.Set();  // a device that has failed is not waited for
        if (feed_.device.GetStatus() != kDeviceGood) feed_.NotifyProgress();
    }

  private:
    LPlayFeed& feed_;
    LBackgroundThread& feeder_;
};

}  // namespace

void LPlayerMailbox::Post() {
    if (!posted_.exchange(true)) QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

bool LPlayerMailbox::event(QEvent* event) {
    if (event->type() != QEvent::User) return QObject::event(event);
    posted_ = false;
    read_();
    return true;
}

void LPlayFeed::NotifyProgress() {
    progressPending = true;
    mailbox.Post();
}

void LPlayFeed::NotifyFinished() {
    progressPending = false;
    finishedPending = true;
    mailbox.Post();
}

void LPlayFeeder::Run() {
    feed_.missedBlocks = 0;
    feed_.feederBoosted = feed_.doneHandlerBoosted = false;
    LPlayDoneHandler doneHandler(feed_, *this);
    doneHandler.Start();
    while (!IsCancelled() && Pass(doneHandler)) {
    }
    feed_.feederFinished.Set();
    feed_.feeding.Reset();
    doneHandler.Stop();
}

bool LPlayFeeder::Pass(LBackgroundThread& doneHandler) {
    if (feed_.lock.IsWanted()) {
        Sleep(1);
        return true;
    }
    Guard guard(feed_.lock);
    if (feed_.device.GetStatus() != kDeviceGood) {
        feed_.ended = true;
        feed_.NotifyFinished();
        return false;
    }
    // In this order: what stops growing in between does so with its last frames.
    LSoundSource& source = *feed_.stack.top;
    const bool growing = source.IsGrowing();
    int64_t remaining = 0;
    if (__builtin_sub_overflow(source.GetLength(), source.GetPosition(), &remaining))
        remaining = kBlockFrames;
    if (remaining > 0) {
        WriteBlock(static_cast<int32_t>(std::min<int64_t>(remaining, kBlockFrames)), doneHandler,
                   std::move(guard));
        return true;
    }
    if (!growing) return Drain(std::move(guard));
    AwaitGrowth(doneHandler, std::move(guard));
    return true;
}

void LPlayFeeder::WriteBlock(int32_t frames, LBackgroundThread& doneHandler, Guard guard) {
    if (feed_.device.HasFreeBlock()) {
        LSoundSource& source = *feed_.stack.top;
        const bool growing = source.IsGrowing();
        const int64_t before = PlaceOf(source);
        feed_.device.Write(frames);
        // A block of the device may be shorter.
        feed_.nextFrame =
            std::clamp(feed_.nextFrame + PlaceOf(source) - before, -kFarthestFrame, kFarthestFrame);
        if (!growing && source.GetPosition() >= source.GetLength()) feed_.device.MarkEnd(true);
        feed_.feeding.Set();
        const bool hurry = feed_.device.QueuedFrames() < int64_t{feed_.device.Rate()} * kHurryMs / 1000;
        guard.unlock();
        if (!hurry) Sleep(kYieldMs);
        return;
    }
    feed_.missedBlocks = 0;
    PutFirst(doneHandler, feed_.doneHandlerBoosted, *this, feed_.feederBoosted);
    guard.unlock();
    AwaitSpace();
}

void LPlayFeeder::AwaitGrowth(LBackgroundThread& doneHandler, Guard guard) {
    PutFirst(*this, feed_.feederBoosted, doneHandler, feed_.doneHandlerBoosted);
    feed_.stack.top->WaitForData(kWaitForGrowthMs);
    guard.unlock();
    Sleep(kYieldMs);
}

bool LPlayFeeder::Drain(Guard guard) {
    feed_.device.MarkEnd(true);
    feed_.endGiven = feed_.stack.given->GetLength();
    feed_.endFrame = feed_.nextFrame;
    // What is paused has not come to its end, even where the device has taken all of it.
    if (feed_.device.IsDrained() || feed_.device.IsPaused()) {
        feed_.NotifyProgress();
        guard.unlock();
        AwaitSpace();
        Sleep(kYieldMs);
        return true;
    }
    feed_.ended = true;
    feed_.NotifyFinished();
    return false;
}

void LPlayFeeder::AwaitSpace() {
    WaitForHandle(feed_.sourceSpace.Handle(), kWaitForSpaceMs);
    feed_.sourceSpace.Reset();
}

}  // namespace ondarix
