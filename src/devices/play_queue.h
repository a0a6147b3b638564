// SPDX-License-Identifier: GPL-3.0-or-later
// The frames between the engine, which writes blocks, and a back end, which takes them on its own thread. One
// writer, one taker; neither ever waits for the other. The same queue stands in front of every back end, with
// the sizes that its mode gives.
#pragma once
#include <array>
#include <atomic>
#include <mutex>
#include <vector>

#include "devices/device_types.h"
#include "gen/waitable.h"
#include "sound/source.h"

namespace ondarix {

struct LQueueRules {
    int32_t blockFrames = 0;     // of one write at most
    int32_t capacityFrames = 0;  // of the whole queue
};
// ALSA: 64 blocks of a tenth of a second, each 20 to 8192 frames. PulseAudio: 32 segments of 30 ms. JACK:
// 8192 frames, in blocks of rate / bufferFrames / 30 (at least 1) buffers of the server. PipeWire: five
// seconds, blocks of 8192. Null: 16 blocks of 20 ms. No queue holds more than 16 Mi samples nor fewer than
// four blocks.
LQueueRules QueueRules(LDeviceMode mode, LSoundFormat format, int32_t bufferFrames);

class LPlayQueue {
  public:
    LPlayQueue();

    // --- The engine's side; one thread at a time

    // Empty, at base 0, paused; the taker must not run.
    void Configure(LSoundFormat format, LQueueRules rules);
    const LQueueRules& Rules() const { return rules_; }
    LSoundFormat Format() const { return format_; }
    // No more than so many frames are queued at once; 0: all that there is room for. For sound that must
    // follow the hand. Two call-backs of the device are queued in any case.
    void SetLimit(int32_t frames) { limitFrames_ = frames; }
    bool HasFreeBlock() const;
    // What one write takes at most: a block, less under a limit.
    int32_t BlockFrames() const;
    // Pulls `frames`, at most BlockFrames(), from a source of the queue's format, and measures them. Samples
    // that are no numbers or infinite become zero: a server that mixes would spread them over everything.
    void Write(LSoundSource& source, int32_t frames);
    // Takes back what is queued behind the next `keepFrames` frames: the number of frames taken back. What is
    // left bridges the time until the next write.
    int64_t Drop(int32_t keepFrames);
    // The frame queued next is `frame` of the source, and nothing else is queued (after Drop(0)) or heard.
    void SetBase(int64_t frame);
    // Played() is `frame` at this moment.
    void Rebase(int64_t frame);
    // No further write is expected: running empty is the end, not a gap. Until the next write or Drop(0).
    void MarkEnd(bool on) { ended_.store(on, std::memory_order_release); }
    void SetPaused(bool on) { paused_.store(on, std::memory_order_relaxed); }
    void SetVolume(float factor) { volume_.store(factor, std::memory_order_relaxed); }

    // --- The back end's side, on its own thread [rt]

    // The next `frames` frames into `dest`, interleaved; zeros for those that are not there, while paused all
    // of them. `delayFrames`: from the end of what is taken now to the ear, with what is taken now. The
    // number of frames of the sound. A new volume is reached in a straight line over the frames taken.
    // At the start, after Drop(0) and after a gap nothing is given until the queue holds all that is asked
    // for, can hold no more, has its end, or a tenth of a second has passed: a beginning has no hole in it.
    int32_t Take(float* dest, int32_t frames, int64_t delayFrames);
    // Whether Take() of so many would give sound now, also when the queue does not hold them all.
    bool IsReady(int32_t frames) const {
        return IsPrimed(beginning_.load(std::memory_order_relaxed), static_cast<uint32_t>(WaitingFrames()),
                        frames) &&
               WaitingFrames() > 0;
    }
    // The device has failed: reported by Status() from now on, and waiters wake up. The first one stays.
    void Fail(LDeviceStatus status);
    // A gap that the server or the hardware has reported.
    void CountGap() { gaps_.fetch_add(1, std::memory_order_relaxed); }

    // --- Any thread

    // Signalled each time a block was taken, at the end, and by Fail(). Manual reset, by whoever has waited.
    LEvent& TakenEvent() { return taken_; }
    uint16_t Status() const { return status_.load(std::memory_order_acquire); }
    void ClearStatus() { status_.store(kDeviceGood, std::memory_order_release); }
    int64_t WaitingFrames() const;  // written, not taken
    // What the device takes at once: the largest of its latest calls.
    int32_t AskedFrames() const { return asked_.load(std::memory_order_relaxed); }
    // Written, not heard yet.
    int64_t QueuedFrames() const;
    // The frame of the source that is heard now; never goes back but by SetBase and Rebase.
    int64_t Played() const;
    // Of what is heard now, with the volume; kLimitedLevelDb for all while a limiter was at work. One a
    // channel of the format.
    void Levels(LLevelBytes& levels) const;
    uint32_t Gaps() const { return gaps_.load(std::memory_order_relaxed); }

  private:
    struct LRecord {  // of a short stretch [start, end) of what was written; its peaks lie in recordPeaks_
        int64_t start = 0, end = 0;
        bool isLimited = false;
    };
    // Frame counters modulo 2^32 of what is claimed by the taker and what is written, in one word, so that
    // taking and taking back exclude each other without a lock.
    static constexpr uint64_t Pack(uint32_t claimed, uint32_t written) {
        return uint64_t{claimed} << 32 | written;
    }
    static constexpr uint32_t Claimed(uint64_t span) { return static_cast<uint32_t>(span >> 32); }
    static constexpr uint32_t Written(uint64_t span) { return static_cast<uint32_t>(span); }
    int32_t RoomFrames() const;  // capacity, or the limit
    int64_t Heard() const;       // frames of all that was taken
    bool IsPrimed(uint32_t beginning, uint32_t waiting, int32_t frames) const;
    int32_t Claim(int32_t frames, uint32_t& at);
    void CopyIn(const float* from, uint32_t at, int32_t frames);
    void CopyOut(float* to, uint32_t at, int32_t frames) const;
    void Measure(float* samples, int32_t frames, bool isLimited);
    void Scale(float* samples, int32_t frames);
    void NoteAsked(int32_t frames);
    void NoteEmpty();
    void NoteMoment(int64_t taken, int64_t delayFrames);

    LSoundFormat format_;
    LQueueRules rules_;
    std::atomic<int32_t> limitFrames_{0};
    uint32_t mask_ = 0;  // of a frame counter
    std::vector<float> ring_, work_;

    std::atomic<uint64_t> span_{0};          // Pack(claimed, written)
    std::atomic<uint32_t> released_{0};      // frames that the taker has copied out
    std::atomic<int64_t> writtenFrames_{0};  // those taken back are subtracted

    // The taker's.
    int64_t takenFrames_ = 0;
    int64_t silentFrames_ = 0;  // given behind the last frame of the sound
    int64_t heldFrames_ = 0;    // silence given while there was sound, at a beginning
    uint32_t primed_ = 1;       // the beginning that is under way; odd: none, a new one is waited for
    float gain_ = 1.0f;         // reached at the end of the last call

    // What the last call of Take() knew, under a counter that is odd while it changes.
    std::atomic<uint32_t> momentSerial_{0};
    std::atomic<int64_t> momentTaken_{0}, momentDelay_{0}, momentNs_{0};
    mutable std::atomic<int64_t> latestHeard_{0};

    std::atomic<float> volume_{1.0f};
    std::atomic<bool> paused_{true};
    std::atomic<bool> ended_{false};
    std::atomic<uint32_t> beginning_{0};  // counts by two with each Drop(0); odd while that runs
    std::atomic<int32_t> asked_{0};
    std::atomic<uint16_t> status_{kDeviceGood};
    std::atomic<uint32_t> gaps_{0};
    LEvent taken_;

    // Position and peaks for the meters; the taker knows nothing of them.
    mutable std::mutex readLock_;
    int64_t base_ = 0, baseFrames_ = 0;  // the source's frame that goes with a count of written frames
    std::vector<LRecord> records_;
    std::vector<float> recordPeaks_;
    size_t nextRecord_ = 0;
    int32_t recordFrames_ = 1;
};

}  // namespace ondarix
