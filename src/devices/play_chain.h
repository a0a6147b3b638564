// SPDX-License-Identifier: GPL-3.0-or-later
// What is put between a sound and the player: a range of it, a speed, a loop; or a walk back and forth.
#pragma once
#include <atomic>
#include <cstdint>
#include <memory>

#include "sound/source.h"

namespace ondarix {

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
    // Frame of the sound that the chain's frame `played` comes from.
    int64_t ToSound(int64_t played) const;
    // Frame of the chain, in the pass that `played` lies in, where `frame` of the sound is.
    int64_t FromSound(int64_t frame, int64_t played) const;
    // While it plays: off, the pass under way is the last one.
    void SetLooping(bool on);
    bool IsLooping() const;

  private:
    LPlayRequest request_;
    LSoundSourceRef source_;
};

// Factors of the stored play speed ("PlaySpeed", 0 to 8), 1.0 for any other index.
double PlaySpeedFactor(int index);
inline constexpr int kPlaySpeeds = 9, kNormalSpeed = 3;

// A sound under the hand: goes after a target as a finger drags a tape, and is silent where it has caught up.
// Endless.
class LScrubSource final : public LSoundSource {
  public:
    LScrubSource(LSoundSourceRef sound, int64_t frame);
    void SetTarget(int64_t frame);  // [any]
    int64_t SoundFrame() const;     // where it is now; [any]
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override;
    int64_t GetLength() override;  // beyond any sound's

  private:
    LSoundSourceRef sound_;
    std::atomic<int64_t> target_;
};

}  // namespace ondarix
