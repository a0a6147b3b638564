// SPDX-License-Identifier: GPL-3.0-or-later
// Where something begins to sound: beats, words, notes.
#pragma once
#include <cstdint>
#include <span>
#include <vector>

namespace ondarix {

struct LOnset {
    int64_t frame = 0;
    float strength = 0;  // how much louder than what comes before, linear
};

// The rises of energy in `mono`, in order. The sound is pre-emphasised (x[n] - 0.95 x[n-1], so that beats
// show above a bass that goes on) and taken in hops of 5 ms; a hop with at least four times the mean energy
// of the eight hops before it begins an onset, and the next 50 ms belong to it. Its frame is the first sample
// that reaches half of the largest magnitude in that hop and the next. The first eight hops of `mono` are
// only what comes before.
std::vector<LOnset> FindOnsets(std::span<const float> mono, int32_t rate);
// Frames of those eight hops.
int64_t OnsetContext(int32_t rate);

}  // namespace ondarix
