// SPDX-License-Identifier: GPL-3.0-or-later
// What is put between a sound and the player: a range of it, a speed, a loop; or a walk back and forth.
#pragma once
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "devices/play_speed.h"
#include "sound/source.h"

namespace ondarix {

class LLoopSource;
class LSkipSource;
inline constexpr int kLoopForever = -1;

struct LPlayRequest {
    LSoundSourceRef sound;  // may grow
    int64_t start = 0,
            end = -1;       // of what is played, [start, end); -1: to the end of the sound, also as it grows
    int64_t first = -1;     // where it begins within that; -1: at `start`
    double speed = 1.0;     // 0.1 to 5
    bool keepPitch = true;  // at other speeds; otherwise as a tape that runs faster
    int loops = 1;          // passes, at least 1, or kLoopForever
    // Rewind (below 0) or fast forward (above 0): short pieces of the sound, each so many of its lengths from
    // the one before; 0: neither.
    double skip = 0;
};

// A chain of sources with the way back from what is played to the sound. Positions of the chain never go back
// while it loops. Made and asked on the interface thread; the sources belong to the player's feeder. [ui]
class LPlayChain {
  public:
    explicit LPlayChain(const LPlayRequest& request);

    // What the player gets, standing at the first frame. At the rate and channels of the sound, bit for bit
    // the sound where the speed is 1.
    LSoundSourceRef Source() const { return source_; }
    const LPlayRequest& Request() const { return request_; }
    // Frame of the sound that the chain's frame `played` comes from; at the end of the chain, where it ends.
    int64_t ToSound(int64_t played) const;
    // Frame of the chain, in the pass that `played` lies in, where `frame` of the sound is.
    int64_t FromSound(int64_t frame, int64_t played) const;
    // While it plays: off, the pass under way is the last one. What is under way is what has been read, so as
    // many passes follow as are queued. With `played`, the frame that is heard, its pass is the last: while
    // the player is suspended, with ResyncAfterSwap() behind it, which takes back what is queued of the next.
    void SetLooping(bool on, int64_t played = -1);
    bool IsLooping() const { return looping_; }

  private:
    int64_t ToPasses(int64_t played) const;  // frame of all passes at normal speed

    LPlayRequest request_;
    LSoundSourceRef source_;
    LPlayRatio speed_;
    // Parts of `source_`; one of them is there.
    LLoopSource* loop_ = nullptr;
    LSkipSource* skip_ = nullptr;
    bool looping_ = false;
};

// Factors of the stored play speed ("PlaySpeed", 0 to 8), 1.0 for any other index.
double PlaySpeedFactor(int index);
inline constexpr int kPlaySpeeds = 9, kNormalSpeed = 3;

// A sound under the hand: goes after a target as a finger drags a tape, at up to four times the normal speed,
// and is silent where it has caught up. It sounds the softer the slower it goes below a quarter of the normal
// speed, so that it begins, turns and ends without a click. Endless; its own positions count what was played.
class LScrubSource final : public LSoundSource {
  public:
    LScrubSource(LSoundSourceRef sound, int64_t frame);
    void SetTarget(int64_t frame) { target_.store(frame, std::memory_order_relaxed); }  // [any]
    int64_t SoundFrame() const { return soundFrame_.load(std::memory_order_relaxed); }  // now; [any]
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override;                             // beyond any sound's
    void Seek(int64_t frame) override { position_ = frame; }  // moves nothing but the count

  private:
    void Step(int64_t target);
    const float* Around();  // the frame before the place and the three behind it
    void Interpolate(float* dest, float gain);

    LSoundSourceRef sound_;
    std::atomic<int64_t> target_, soundFrame_;
    int64_t position_ = 0;
    int64_t frame_;              // whole part of the place
    double part_ = 0;            // 0 to 1
    double velocity_ = 0;        // frames of the sound a frame
    double acceleration_;        // the largest change of it
    double approach_;            // frames over which a rest of the way is spread
    std::vector<float> window_;  // of the sound
    int64_t windowFirst_ = 0, windowFrames_ = 0;
    int64_t length_ = 0;  // of the sound when it was last asked
};

}  // namespace ondarix
