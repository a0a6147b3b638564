// SPDX-License-Identifier: GPL-3.0-or-later
// From peak-graph records to pixel columns.
#pragma once
#include <cstdint>
#include <vector>

#include "dsp/peak.h"

namespace ondarix {

// State between two calls of ReadColumns over consecutive records.
struct LGraphCursor {
    void Init(int64_t framesTotal, int64_t pixelCount);

    int32_t remainder = 0;       // frames of the present record that count for the next column
    int64_t framesPerPixel = 0;  // total frames over pixels, at least 1 once known
    int64_t framesTotal = 0;
    int64_t pixelCount = 0;
    int64_t pixelPos = 0;  // columns completed so far
    int channels = 0;
    int64_t framesInColumn = 0;           // frames counted in the column that is open
    std::vector<LPeakPair> pendingPairs;  // that column so far, one pair a channel; empty: none is open
};

// Consumes `pairCount` records of `channels` pairs each and writes each completed column (channels pairs)
// behind the other to `outColumns`. A column holds the peak of every record that it touches; a record on a
// border counts in both. Answers the number of columns completed; 0 with no frames in view.
int64_t ReadColumns(const LPeakPair* pairs, int channels, int64_t pairCount, LPeakPair* outColumns,
                    LGraphCursor& cursor);

// Merges each `step` consecutive records into one by maximum: (pairCount + step - 1) / step records. In place
// is allowed.
int64_t MaxPairs(LPeakPair* dest, int channels, const LPeakPair* pairs, int64_t pairCount, int64_t step);

}  // namespace ondarix
