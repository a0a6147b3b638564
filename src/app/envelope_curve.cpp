// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/envelope_curve.h"

#include <algorithm>
#include <utility>

namespace ondarix {
namespace {

bool IsBefore(int64_t frame, const LEnvelopePoint& point) { return frame < point.frame; }

}  // namespace

void LEnvelopeCurve::SetPoints(std::vector<LEnvelopePoint> points) {
    if (points.empty()) points.push_back({0, 1});
    for (LEnvelopePoint& point : points) point.frame = std::clamp<int64_t>(point.frame, 0, length_);
    std::stable_sort(points.begin(), points.end(),
                     [](const auto& a, const auto& b) { return a.frame < b.frame; });
    points_ = std::move(points);
}

int LEnvelopeCurve::Add(LEnvelopePoint point) {
    point.frame = std::clamp<int64_t>(point.frame, 0, length_);
    const auto behind = std::upper_bound(points_.begin(), points_.end(), point.frame, IsBefore);
    const auto added = points_.insert(behind, point);
    return static_cast<int>(added - points_.begin());
}

bool LEnvelopeCurve::Move(int index, LEnvelopePoint to) {
    if (index < 0 || index >= Count()) return false;
    const auto at = points_.begin() + index;
    const int64_t least = index > 0 ? at[-1].frame : 0;
    const int64_t most = index + 1 < Count() ? at[1].frame : length_;
    to.frame = std::clamp(to.frame, least, most);
    to.gain = std::clamp(to.gain, 0.0f, LEnvelopePlace::kMostGain);
    if (*at == to) return false;
    *at = to;
    return true;
}

bool LEnvelopeCurve::Remove(int index) {
    if (index < 0 || index >= Count() || Count() == 1) return false;
    points_.erase(points_.begin() + index);
    return true;
}

std::vector<float> LEnvelopeCurve::Gains(const std::vector<int64_t>& frames) const {
    std::vector<float> gains;
    gains.reserve(frames.size());
    LCurveSegment segment;
    int known = -1;
    for (const int64_t frame : frames) {
        const auto next = std::upper_bound(points_.begin(), points_.end(), frame, IsBefore);
        if (next == points_.begin() || next == points_.end()) {
            gains.push_back(next == points_.begin() ? next->gain : points_.back().gain);
            continue;
        }
        const int index = static_cast<int>(next - points_.begin()) - 1;
        if (index != known) segment = Segment(index);
        known = index;
        float gain = 1;
        CurveGains(segment, frame - next[-1].frame, 1, &gain);
        gains.push_back(gain);
    }
    return gains;
}

LCurveSegment LEnvelopeCurve::Segment(int index) const {
    const LEnvelopePoint &from = points_[static_cast<size_t>(index)],
                         &to = points_[static_cast<size_t>(index) + 1];
    return {curve_, from.gain, to.gain, to.frame - from.frame};
}

}  // namespace ondarix
