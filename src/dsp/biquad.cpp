// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/biquad.h"

#include <cmath>
#include <numbers>

namespace ondarix {

LBiquad PeakingBiquad(double rate, double hz, double q, double gainDb) {
    if (hz * 2 >= rate || hz <= 0) return {};
    const double a = std::pow(10.0, gainDb * 0.025);
    const double w0 = 2 * std::numbers::pi * hz / rate;
    const double alpha = std::sin(w0) / (2 * q);
    const double n = 1 / (1 + alpha / a);
    const double middle = -2 * std::cos(w0) * n;
    return {(1 + alpha * a) * n, middle, (1 - alpha * a) * n, middle, (1 - alpha / a) * n};
}

void LPeakingFilter::Process(float* block, int64_t frames, int channels) {
    const LBiquad s = section_;
    for (int64_t frame = 0; frame < frames; ++frame, block += channels) {
        const double past = s.b1 * x1_ + s.b2 * x2_ - s.a1 * y1_ - s.a2 * y2_;
        float x = 0;
        for (int channel = 0; channel < channels; ++channel) {
            x = block[channel];
            block[channel] = static_cast<float>(s.b0 * x + past);
        }
        x2_ = x1_;
        x1_ = x;
        y2_ = y1_;
        y1_ = block[channels - 1];
    }
}

}  // namespace ondarix
