// SPDX-License-Identifier: GPL-3.0-or-later
// Gain curves between two points.
#pragma once
#include <cstdint>

namespace ondarix {

enum class LCurve : uint8_t { kLinear = 0, kExponential = 1, kLogarithmic = 2, kSinusoidal = 3 };

// Of the gain `from` at frame 0 to the gain `to` at frame n, with d = to - from, at frame x:
//
//   linear        from + d * x / n
//   exponential   rising  from + d * exp(4x/n - 4)     falling  to - d * exp(-4x/n)
//   logarithmic   rising  to - d * exp(-4x/n)          falling  from + d * exp(4x/n - 4)
//   sinusoidal    rising  from + d * sin(x * pi/2n)    falling  to - d * sin((n-x) * pi/2n)
//
// An exponential starts (falling: ends) e^-4 of the way along, a logarithmic one ends (falling: starts) as
// much before the other gain.
//
// Each is base + scale * t1[x % kGroup] + shift * t2[x % kGroup] in float, where base, scale and shift hold
// for a group of frames and are computed in double for it: within 5e-7 of the formula for gains up to 1, and
// the same at a frame whichever frames are asked for together.
struct LCurveSegment {
    static constexpr int kGroup = 256;  // frames
    LCurveSegment() = default;
    LCurveSegment(LCurve which, float fromGain, float toGain, int64_t length);

    LCurve curve = LCurve::kLinear;
    float from = 1, to = 1;
    int64_t frames = 0;
    float t1[kGroup] = {}, t2[kGroup] = {};
};

// The gains of the frames [x, x + count) of the segment, 0 <= x and x + count <= frames; never outside of
// `from` and `to`.
void CurveGains(const LCurveSegment& segment, int64_t x, int count, float* gains);

}  // namespace ondarix
