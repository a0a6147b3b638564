// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/graph_cursor.h"

#include <algorithm>

namespace ondarix {
namespace {

void FoldRecord(LPeakPair* into, const LPeakPair* record, int channels) {
    for (int c = 0; c < channels; ++c) {
        into[c].max = std::max(into[c].max, record[c].max);
        into[c].min = std::max(into[c].min, record[c].min);
    }
}

// Gives the open column away; the record at its border begins the next one with `remainder` frames.
LPeakPair* CompleteColumn(LGraphCursor& cursor, LPeakPair* out, const LPeakPair* border) {
    out = std::copy(cursor.pendingPairs.begin(), cursor.pendingPairs.end(), out);
    ++cursor.pixelPos;
    cursor.framesInColumn = cursor.remainder;
    if (cursor.remainder > 0)
        cursor.pendingPairs.assign(border, border + cursor.channels);
    else
        cursor.pendingPairs.clear();
    return out;
}

}  // namespace

void LGraphCursor::Init(int64_t total, int64_t pixels) {
    *this = {};
    framesTotal = total;
    pixelCount = pixels;
}

int64_t ReadColumns(const LPeakPair* pairs, int channels, int64_t pairCount, LPeakPair* outColumns,
                    LGraphCursor& cursor) {
    if (cursor.framesTotal <= 0 || cursor.pixelCount <= 0 || channels <= 0) return 0;
    if (cursor.framesPerPixel < 1)
        cursor.framesPerPixel = std::max<int64_t>(1, cursor.framesTotal / cursor.pixelCount);
    cursor.channels = channels;
    const int64_t before = cursor.pixelPos;
    for (int64_t i = 0; i < pairCount && cursor.pixelPos < cursor.pixelCount; ++i) {
        const LPeakPair* record = pairs + i * channels;
        if (cursor.pendingPairs.empty()) cursor.pendingPairs.assign(static_cast<size_t>(channels), {});
        FoldRecord(cursor.pendingPairs.data(), record, channels);
        const int64_t left = cursor.framesPerPixel - cursor.framesInColumn;
        if (left > kPeakBlockFrames) {
            cursor.framesInColumn += kPeakBlockFrames;
            continue;
        }
        cursor.remainder = static_cast<int32_t>(kPeakBlockFrames - left);
        outColumns = CompleteColumn(cursor, outColumns, record);
        // Columns narrower than a record lie wholly inside it.
        while (cursor.framesInColumn >= cursor.framesPerPixel && cursor.pixelPos < cursor.pixelCount) {
            cursor.remainder = static_cast<int32_t>(cursor.framesInColumn - cursor.framesPerPixel);
            outColumns = CompleteColumn(cursor, outColumns, record);
        }
    }
    return cursor.pixelPos - before;
}

int64_t MaxPairs(LPeakPair* dest, int channels, const LPeakPair* pairs, int64_t pairCount, int64_t step) {
    if (pairCount <= 0 || step < 1 || channels < 1) return 0;
    const int64_t groups = (pairCount + step - 1) / step;
    for (int64_t group = 0; group < groups; ++group) {
        const LPeakPair* from = pairs + group * step * channels;
        const int64_t count = std::min(step, pairCount - group * step);
        LPeakPair* to = dest + group * channels;
        for (int c = 0; c < channels; ++c) {
            LPeakPair most;
            for (int64_t i = 0; i < count; ++i) {
                const LPeakPair& one = from[i * channels + c];
                most.max = std::max(most.max, one.max);
                most.min = std::max(most.min, one.min);
            }
            to[c] = most;
        }
    }
    return groups;
}

}  // namespace ondarix
