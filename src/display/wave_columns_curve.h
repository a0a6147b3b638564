// SPDX-License-Identifier: GPL-3.0-or-later
// The continuous signal that samples stand for (Shannon, "Communication in the presence of noise", 1949),
// by a sinc cut off with a window of Kaiser and Schafer ("On the use of the I0-sinh window", 1980).
#pragma once

namespace ondarix {

// Samples on either side of a place that its value is computed from.
inline constexpr int kCurveReach = 16;

// The signal `part` (0 to below 1) of a sample behind `samples[0]`; samples[1 - kCurveReach] to
// samples[kCurveReach] are read. At a sample it is that sample. Below 0.8 of half the sampling rate it
// follows a sine within 0.001.
float CurveAt(const float* samples, double part);

}  // namespace ondarix
