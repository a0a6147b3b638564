// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/envelope.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "dsp/wide.h"

namespace ondarix {
namespace {

constexpr double kSteepness = 4.0;  // the exponential runs over e^-4..1

// How a curve goes on within a group of frames.
struct LCurveGroup {
    float base, scale, shift;
};

bool IsRising(const LCurveSegment& segment) { return segment.to > segment.from; }

// The exponential that grows towards the end of the segment; the other one dies away from its start.
bool GrowsToEnd(const LCurveSegment& segment) {
    return (segment.curve == LCurve::kExponential) == IsRising(segment);
}

LCurveGroup GroupAt(const LCurveSegment& segment, int64_t x) {
    const double way = static_cast<double>(x) / static_cast<double>(segment.frames);
    const double from = segment.from, to = segment.to, d = to - from;
    if (segment.curve == LCurve::kLinear)
        return {static_cast<float>(from + d * way),
                static_cast<float>(d / static_cast<double>(segment.frames)), 0.0f};
    if (segment.curve == LCurve::kSinusoidal) {
        const double s = std::sin(way * std::numbers::pi / 2), c = std::cos(way * std::numbers::pi / 2);
        return IsRising(segment)
                   ? LCurveGroup{segment.from, static_cast<float>(d * s), static_cast<float>(d * c)}
                   : LCurveGroup{segment.to, static_cast<float>(-d * c), static_cast<float>(d * s)};
    }
    if (GrowsToEnd(segment))
        return {segment.from, static_cast<float>(d * std::exp(kSteepness * way - kSteepness)), 0.0f};
    return {segment.to, static_cast<float>(-d * std::exp(-kSteepness * way)), 0.0f};
}

}  // namespace

LCurveSegment::LCurveSegment(LCurve which, float fromGain, float toGain, int64_t length)
    : curve(which), from(fromGain), to(toGain), frames(length) {
    const double n = static_cast<double>(length);
    const double direction = GrowsToEnd(*this) ? kSteepness : -kSteepness;
    for (int i = 0; i < std::min<int64_t>(kGroup, length); ++i) {
        const double angle = i / n * std::numbers::pi / 2;
        if (which == LCurve::kLinear) {
            t1[i] = static_cast<float>(i);
        } else if (which == LCurve::kSinusoidal) {
            t1[i] = static_cast<float>(std::cos(angle));
            t2[i] = static_cast<float>(std::sin(angle));
        } else {
            t1[i] = static_cast<float>(std::exp(direction * i / n));
        }
    }
}

ONDARIX_WIDE void CurveGains(const LCurveSegment& segment, int64_t x, int count, float* gains) {
    const float least = std::min(segment.from, segment.to), most = std::max(segment.from, segment.to);
    while (count > 0) {
        const int in = static_cast<int>(x % LCurveSegment::kGroup);
        const int piece = std::min(LCurveSegment::kGroup - in, count);
        const LCurveGroup group = GroupAt(segment, x - in);
        const float* const t1 = segment.t1 + in;
        const float* const t2 = segment.t2 + in;
        for (int i = 0; i < piece; ++i) {
            const float gain = group.base + (group.scale * t1[i] + group.shift * t2[i]);
            gains[i] = gain < least ? least : gain > most ? most : gain;
        }
        gains += piece;
        x += piece;
        count -= piece;
    }
}

}  // namespace ondarix
