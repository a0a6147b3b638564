// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/view_range.h"

#include <algorithm>
#include <cmath>

namespace ondarix {

void LViewRange::SetTotal(int64_t frames) {
    const bool whole = ShowsAll() || total_ == 0;
    total_ = std::max<int64_t>(0, frames);
    if (whole)
        Show(0, total_);
    else
        Show(start_, frames_);
}

void LViewRange::Show(int64_t start, int64_t frames) {
    const int64_t most = std::max<int64_t>(1, total_);
    const int64_t shown = std::clamp(frames, std::min(kFewestFrames, most), most);
    const int64_t from = std::clamp<int64_t>(start, 0, std::max<int64_t>(0, total_ - shown));
    if (start_ == from && frames_ == shown && shownTotal_ == total_) return;
    start_ = from;
    frames_ = shown;
    shownTotal_ = total_;
    Q_EMIT Changed();
}

void LViewRange::Zoom(double factor, int64_t anchor) {
    const double wanted = std::round(static_cast<double>(frames_) * factor);
    const auto frames =
        static_cast<int64_t>(std::clamp(wanted, 1.0, static_cast<double>(std::max<int64_t>(1, total_))));
    const int64_t shown = std::max(frames, std::min(kFewestFrames, total_));
    const double part = static_cast<double>(anchor - start_) / static_cast<double>(frames_);
    Show(anchor - static_cast<int64_t>(std::llround(part * static_cast<double>(shown))), frames);
}

int64_t LViewRange::RevealedStart(int64_t frame) const {
    if (frame >= start_ && frame <= End()) return start_;
    const int64_t margin = frames_ / 10;
    const int64_t start = frame < start_ ? frame - margin : frame - frames_ + margin;
    return std::clamp<int64_t>(start, 0, std::max<int64_t>(0, total_ - frames_));
}

double LViewRange::XOf(int64_t frame, int width) const {
    return static_cast<double>(frame - start_) * width / static_cast<double>(frames_);
}

int64_t LViewRange::FrameAt(double x, int width) const {
    const double frames = x * static_cast<double>(frames_) / std::max(1, width);
    return std::clamp<int64_t>(start_ + static_cast<int64_t>(std::llround(frames)), 0, total_);
}

}  // namespace ondarix
