// SPDX-License-Identifier: GPL-3.0-or-later
// Bookmarks and regions as the views of one window show them.
#pragma once
#include <QString>
#include <cstdint>
#include <vector>

#include "sound/document.h"

namespace ondarix {

enum class LMarkerKind : uint8_t { kBookmark, kRegion };

struct LMarker {
    LMarkerKind kind = LMarkerKind::kBookmark;
    uint32_t id = 0;             // index of a bookmark, serial of a region; 0: none
    int64_t start = 0, end = 0;  // frames; equal for a bookmark
    QString name;
    bool Is(const LMarker& other) const { return id != 0 && id == other.id && kind == other.kind; }
};

// What stands in a sound, by position, in the rate of the sound. `moved` stands in for the marker of its
// kind and number: where that one is being dragged to.
std::vector<LMarker> MarkersOf(const LSoundDocument& document, const LMarker& moved = {});

// What the user points at.
struct LViewPlace {
    int64_t frame = 0;
    int channel = -1;            // -1: none, or all of them
    uint32_t bookmarkIndex = 0;  // 0: none
    uint32_t regionSerial = 0;   // 0: none
};

// Where edits have joined pieces, in ascending order: each inner border of two segments.
std::vector<int64_t> JointsOf(const LSound& sound);

}  // namespace ondarix
