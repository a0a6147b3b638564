// SPDX-License-Identifier: GPL-3.0-or-later
// The plain wrappers that saving and playing need: gain and the look-ahead peak limiter.
#pragma once
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

// Holds samples to `limit` by gain that ramps over a block ahead of a loud one. Block length: rate / 70 for
// a growing source, rate / 35 otherwise, held between 16 and 8192 frames.
class LPeakLimiterSource final : public LSoundSource {
  public:
    LPeakLimiterSource(LSoundSourceRef child, float limit);
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override;
    int64_t GetLength() override { return child_->GetLength(); }
    void Seek(int64_t frame) override;
    bool IsGrowing() override { return child_->IsGrowing(); }
    void WaitForData(uint32_t ms) override { child_->WaitForData(ms); }
    bool HasClipped() const { return clipped_; }
    void ResetClipped() { clipped_ = false; }

  private:
    void NextBlock();

    LSoundSourceRef child_;
    float limit_;
    int32_t blockFrames_;
    std::vector<float> ahead_, now_, out_;  // blockFrames_ * channels each
    float gainNow_ = 1.0f;                  // at the start of the block in `now_`
    float gainTarget_ = 1.0f;               // at its end
    float gainAhead_ = 1.0f;
    int32_t used_ = 0;  // frames of `out_` already given
    int64_t position_ = 0;
    bool primed_ = false;
    bool clipped_ = false;
};

// `source` itself when its peak bound is no larger than `limit`, otherwise a limiter over it.
LSoundSourceRef LimitPeaks(LSoundSourceRef source, float limit);

}  // namespace ondarix
