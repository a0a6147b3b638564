// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <vector>

#include "sound/source.h"

namespace ondarix {

// Where two clips overlap: `frames` of them, from `firstStart` in one and `secondStart` in the other; and how
// far the second one may move.
struct LOverlap {
    int64_t firstStart = 0, secondStart = 0, frames = 0;
    int64_t earlier = 0, later = 0;
};

// How far the second clip must move, later when positive, for a strong beat of it to fall on one of the first
// one: the least way among the onsets within the overlap (its first 30 s) that have half the strength of the
// strongest of their clip. 0 where there is none. On the mono sums; both
// sources have one format.
int64_t BeatShift(LSoundSource& first, LSoundSource& second, const LOverlap& overlap);

// `frames` frames from `start` on as the mean of all channels.
std::vector<float> ReadMono(LSoundSource& source, int64_t start, int64_t frames);

}  // namespace ondarix
