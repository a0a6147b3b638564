// SPDX-License-Identifier: GPL-3.0-or-later
// The points of an envelope while they are edited, and the curve through them as the filter follows it. [any]
#pragma once
#include <vector>

#include "dsp/envelope.h"
#include "effects/envelope.h"

namespace ondarix {

class LEnvelopeCurve {
  public:
    // Over a sound of so many frames, at least 1; points lie in [0, length].
    explicit LEnvelopeCurve(int64_t length) : length_(length), points_{{0, 1}, {length, 1}} {}

    int64_t Length() const { return length_; }
    const std::vector<LEnvelopePoint>& Points() const { return points_; }
    int Count() const { return static_cast<int>(points_.size()); }
    LCurve Curve() const { return curve_; }
    void SetCurve(LCurve curve) { curve_ = curve; }
    // In order of time; those outside of the sound come to its edge. None: one point of gain 1.
    void SetPoints(std::vector<LEnvelopePoint> points);

    // The index of the new point, behind those at the same frame.
    int Add(LEnvelopePoint point);
    // A point never passes its neighbours. The last one that is left stays. False: nothing changed.
    bool Move(int index, LEnvelopePoint to);
    bool Remove(int index);

    // The gain of each of `frames`, which rise: what the filter multiplies these frames with.
    std::vector<float> Gains(const std::vector<int64_t>& frames) const;
    // The curve from point `index` to the next one.
    LCurveSegment Segment(int index) const;

  private:
    int64_t length_;
    std::vector<LEnvelopePoint> points_;
    LCurve curve_ = LCurve::kLinear;
};

}  // namespace ondarix
