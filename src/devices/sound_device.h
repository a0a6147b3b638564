// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <memory>

#include "devices/output.h"
#include "gen/progress.h"

namespace ondarix {

// One way to a sound device, over any back end. Closed, by Open() to open, by Start() to running, by Pause()
// to paused; Close() from anywhere. Open, Start, Close, SetSelection: the interface thread. Write, DropQueue,
// BeginSwap, SetSource, EndSwap, SetPlayedBase: under the engine's lock. The rest: any thread.
class LSoundDevice {
  public:
    LSoundDevice();
    ~LSoundDevice();

    void SetSelection(const LDeviceSelection& selection);
    const LDeviceSelection& Selection() const { return selection_; }
    LDeviceMode Mode() const { return selection_.mode; }

    // Prepares the queue for this source; positions begin at the source's. False: closed, the source
    // released, and GetStatus() says why. More channels than the device has are mixed down; mono is played on
    // two. `startPaused`: Start() begins with silence.
    bool Open(LSoundSourceRef source, bool startPaused = false);
    // Begins output. GetStatus() is not 0 when that failed.
    void Start();
    void Close();

    // Pulls at most a block from the source into the queue.
    void Write(int32_t frames);
    bool HasFreeBlock() const { return queue_.HasFreeBlock(); }
    int32_t BlockFrames() const { return queue_.BlockFrames(); }
    // True while queued data remains that is not played yet.
    bool IsDrained() const { return queue_.QueuedFrames() > 0; }
    // Blocks until a block was taken, a second at most. False: `stop` was cancelled, or the device has
    // failed.
    bool WaitBlockDone(LProgress& stop);
    int64_t QueuedFrames() const { return queue_.QueuedFrames(); }
    // The end of the sound has been written, or is not the end any more.
    void MarkEnd(bool on) { queue_.MarkEnd(on); }
    // No more than so many milliseconds are queued ahead; 0: as many as there is room for.
    void SetQueueLimitMs(int ms);

    // A swap of the source: between BeginSwap and EndSwap SetSource and DropQueue.
    void BeginSwap() {}
    // At the device's rate; mixed to its channels. Its position is kept.
    void SetSource(LSoundSourceRef source);
    // Takes back what is queued but for a bridge of some 40 ms, two call-backs at least, which is heard until
    // the next write. The frames taken back.
    int64_t DropQueue();
    void EndSwap() {}

    // After a seek: all that is queued is gone, and the next frame written is `frame`.
    void SetPlayedBase(int64_t frame);
    // The position of the sound heard now is `frame`: its source counts otherwise after a swap.
    void Rebase(int64_t frame) { queue_.Rebase(frame); }
    int64_t PlayedFrames() const { return queue_.Played(); }
    int64_t PlayedMs() const;
    void Levels(LLevelBytes& levels) const { queue_.Levels(levels); }

    // dB; kNoSignalDb is silence. Heard within some milliseconds, without a step. JACK's is stored.
    void SetVolume(int8_t db);
    int8_t GetVolume() const { return volume_; }
    uint16_t GetStatus() const;  // LDeviceStatus
    void ClearStatus();
    bool Pause();  // false: not running
    bool Resume();
    bool IsPaused() const { return state_ & kPausedBit; }
    bool IsOpen() const { return state_ & kOpenBit; }
    bool IsClosed() const { return state_ == 0; }
    int32_t Rate() const { return queue_.Format().sampleRate; }  // while open
    int32_t PreferredRate(int32_t rate);
    uint32_t Gaps() const { return queue_.Gaps(); }  // drop-outs since Open

  private:
    static constexpr uint8_t kOpenBit = 1, kPausedBit = 2, kRunningBit = 4;
    LDeviceSelection selection_;
    std::unique_ptr<LOutput> output_;
    LSoundSourceRef source_;  // in the device's channels
    LPlayQueue queue_;
    int32_t bridgeFrames_ = 0;
    int limitMs_ = 0;
    std::atomic<int8_t> volume_{0};
    std::atomic<uint16_t> openStatus_{kDeviceGood};
    std::atomic<uint8_t> state_{0};
};

}  // namespace ondarix
