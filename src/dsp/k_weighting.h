// SPDX-License-Identifier: GPL-3.0-or-later
// The frequency weighting of ITU-R BS.1770-4, Annex 1: a shelf for the effect of the head and a high-pass.
// [any], one thread at a time.
#pragma once
#include <cstdint>

#include "dsp/biquad.h"

namespace ondarix {

struct LKWeighting {
    LBiquad shelf, highPass;
};
// At 48 kHz the published coefficients. At other rates the bilinear transform of the same analogue filters,
// each exact at the frequency of its poles; where that lies beyond half the rate, as near as there is room.
LKWeighting KWeightingFor(int64_t rate);

// Two channels side by side.
using LPairOfDoubles = double __attribute__((vector_size(16)));

// Both stages over two channels. The association keeps only one product and one sum between a sample and the
// next, which is what bounds the speed.
class LKWeightedPair {
  public:
    explicit LKWeightedPair(const LKWeighting& k) : k_(k) {}
    LPairOfDoubles Next(LPairOfDoubles x) {
        const LBiquad& s = k_.shelf;
        const LBiquad& h = k_.highPass;
        const LPairOfDoubles m = (s.b0 * x + (s.b1 * x1_ + (s.b2 * x2_ - s.a2 * m2_))) - s.a1 * m1_;
        const LPairOfDoubles y = (h.b0 * m + (h.b1 * m1_ + (h.b2 * m2_ - h.a2 * y2_))) - h.a1 * y1_;
        x2_ = x1_;
        x1_ = x;
        m2_ = m1_;
        m1_ = m;
        y2_ = y1_;
        y1_ = y;
        return y;
    }
    // Now and then: what has decayed so far that arithmetic becomes slow is 0, and what is no finite number
    // is forgotten.
    void Settle();
    void Reset() { x1_ = x2_ = m1_ = m2_ = y1_ = y2_ = LPairOfDoubles{}; }

  private:
    LKWeighting k_;
    LPairOfDoubles x1_{}, x2_{}, m1_{}, m2_{}, y1_{}, y2_{};
};

// The sum of squares of `frames` weighted samples of each of two channels, whose first samples are `one` and
// `other` and whose next ones lie `stride` further.
LPairOfDoubles KWeightedEnergy(LKWeightedPair& filter, const float* one, const float* other, int64_t frames,
                               int stride);

}  // namespace ondarix
