// SPDX-License-Identifier: GPL-3.0-or-later
// The plain wrappers that saving and playing need: gain and the look-ahead peak limiter.
#pragma once
#include <atomic>
#include <vector>

#include "sound/source.h"

namespace ondarix {

// A fixed gain; 1.0 passes the child's samples through untouched.
class LGainSource final : public LSoundSource {
  public:
    LGainSource(LSoundSourceRef child, float gain);
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override { return child_->GetPosition(); }
    int64_t GetLength() override { return child_->GetLength(); }
    void Seek(int64_t frame) override { child_->Seek(frame); }
    bool IsGrowing() override { return child_->IsGrowing(); }
    void WaitForData(uint32_t ms) override { child_->WaitForData(ms); }

  private:
    LSoundSourceRef child_;
    float gain_;
};

// Holds samples to `limit`: |out| <= limit always, and frame n of the output is frame n of the input.
//
// The sound is taken in blocks of rate / 35 frames (rate / 70 while it grows), 16 to 8192, that begin at
// multiples of the block length. A block with the peak p has the target t = limit / p, or 1 when p is within
// the limit. One block is read ahead. While block k is given out, the gain goes in a straight line from
// min(t[k-1], t[k]) to min(t[k], t[k+1]): it is down before a loud block begins, stays at or below the
// block's own target for its whole length, and comes up behind it. Blocks at gain 1 are passed on bit for
// bit. What comes out at a place depends on the input alone: not on how much is read at once, nor on where a
// seek came from. (A child that cannot be moved is taken from where it stands.)
//
// While the child grows, the length covers only blocks whose successor is there.
class LPeakLimiterSource final : public LSoundSource {
  public:
    LPeakLimiterSource(LSoundSourceRef child, float limit);
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override;
    void Seek(int64_t frame) override;
    bool IsGrowing() override { return child_->IsGrowing(); }
    void WaitForData(uint32_t ms) override { child_->WaitForData(ms); }
    // kQueryLimited is answered here, and integer samples are none any more; the rest is the child's to
    // answer.
    bool Query(uint32_t id, void* result) override;
    // Something was lowered since the last reset. [any]
    bool HasClipped() const { return clipped_.load(std::memory_order_relaxed); }
    void ResetClipped() { clipped_.store(false, std::memory_order_relaxed); }

  private:
    void Prime();
    void NextBlock();
    float* ReadBlocks(float* dest, int32_t blocks);  // two or more, from the start of one, past `now_`
    float TargetOf(const float* block) const;
    float ReadAhead();               // fills `ahead_`; its target
    bool Advance(float target);      // to the next block; whether it is lowered
    void Lower(float* block) const;  // the block that Advance came to

    LSoundSourceRef child_;
    float limit_;
    int32_t blockFrames_;
    std::vector<float> ahead_, now_;           // blockFrames_ * channels each; `now_` as it is given
    float gainStart_ = 1.0f, gainEnd_ = 1.0f;  // of the block that is given
    float targetNow_ = 1.0f, targetAhead_ = 1.0f;
    int32_t used_ = 0;    // frames of the block that are given already
    int64_t origin_ = 0;  // a place where a block begins
    int64_t position_ = 0;
    bool primed_ = false;
    std::atomic<bool> clipped_{false};
    std::atomic<bool> lowered_{false};     // the block that is given
    std::atomic<uint32_t> loudBlocks_{0};  // given so far
};

// `source` itself when its peak bound is no larger than `limit`, otherwise a limiter over it.
LSoundSourceRef LimitPeaks(LSoundSourceRef source, float limit);

}  // namespace ondarix
