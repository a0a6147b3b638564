// SPDX-License-Identifier: GPL-3.0-or-later
// Second-order sections: coefficients, and the peaking filter of the equalizers. [any], one thread at a time.
#pragma once
#include <cstdint>

namespace ondarix {

// y = b0 x + b1 x[-1] + b2 x[-2] - a1 y[-1] - a2 y[-2]
struct LBiquad {
    double b0 = 1, b1 = 0, b2 = 0, a1 = 0, a2 = 0;
};

// R. Bristow-Johnson, "Cookbook formulae for audio EQ biquad filter coefficients", peaking EQ. At and above
// half the rate, where the form has no stable meaning, the section that passes everything.
LBiquad PeakingBiquad(double rate, double hz, double q, double gainDb);

// One section over an interleaved stream, in double over a history in float. All channels share that history:
// it holds the last channel of the frames before, and moves on once a frame. Of one channel this is the plain
// filter.
class LPeakingFilter {
  public:
    explicit LPeakingFilter(const LBiquad& section) : section_(section) {}
    void Process(float* block, int64_t frames, int channels);
    void Reset() { x1_ = x2_ = y1_ = y2_ = 0; }

  private:
    LBiquad section_;
    float x1_ = 0, x2_ = 0, y1_ = 0, y2_ = 0;
};

}  // namespace ondarix
