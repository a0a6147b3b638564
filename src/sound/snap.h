// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <cstdint>
#include <vector>

#include "sound/sound.h"

namespace ondarix {

struct LSnapOptions {
    bool boundaries = true;  // of segments: where edits have joined
    bool beats = true;       // of the list below
    bool silentValleys = true;
    bool zeroCrossings = true;
    bool preferNearest = false;  // the nearest valley rather than the longest rise behind one
    const std::vector<int64_t>* beatList = nullptr;  // ascending frames
};

// The best place for an edge of a selection near `pos`, inside [near, far]: a boundary, else a beat, else a
// silent valley; from a valley on, the nearest upward zero crossing of all channels. 0 or less gives 0, the
// end or more the length; a window narrower than 4 frames gives `pos`. Reads at most the window.
int64_t SnapPosition(const LSound& sound, int64_t pos, int64_t near, int64_t far,
                     const LSnapOptions& options);

}  // namespace ondarix
