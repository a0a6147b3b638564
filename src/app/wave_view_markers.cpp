// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/wave_view_markers.h"

#include <algorithm>

namespace ondarix {

std::vector<LMarker> MarkersOf(const LSoundDocument& document, const LMarker& moved) {
    const int32_t rate = document.sound.sampleRate;
    const auto inRate = [rate](int64_t frames, int32_t own) {
        return own == rate || own < 1 ? frames : ScalePosition(frames, rate, own);
    };
    std::vector<LMarker> markers;
    markers.reserve(document.bookmarks.size() + document.regions.size());
    for (const LBookmark& bookmark : document.bookmarks) {
        const int64_t at = inRate(bookmark.position, bookmark.sampleRate);
        markers.push_back({LMarkerKind::kBookmark, bookmark.index, at, at, bookmark.name});
    }
    for (const LRegion& region : document.regions)
        markers.push_back({LMarkerKind::kRegion, region.serial, inRate(region.startFrame, region.sampleRate),
                           inRate(region.endFrame, region.sampleRate), region.name});
    for (LMarker& marker : markers)
        if (marker.Is(moved)) {
            marker.start = moved.start;
            marker.end = moved.end;
        }
    std::stable_sort(markers.begin(), markers.end(),
                     [](const LMarker& a, const LMarker& b) { return a.start < b.start; });
    return markers;
}

std::vector<int64_t> JointsOf(const LSound& sound) {
    std::vector<int64_t> joints;
    int64_t at = 0;
    for (const LSoundSegment* segment = sound.segments.get(); segment; segment = segment->next.get()) {
        if (segment->length > 0 && at > 0) joints.push_back(at);
        at += segment->length;
    }
    return joints;
}

}  // namespace ondarix
