// SPDX-License-Identifier: GPL-3.0-or-later
// Peak values: magnitudes of samples in 16 bits with 24 dB of headroom over full scale, 4134.916 a unit.
#pragma once
#include <cstdint>

namespace ondarix {

inline constexpr int kPeakBlockFrames = 256;    // frames that one graph record covers
inline constexpr float kPeakScale = 4134.916f;  // peak units per full scale
inline constexpr float kPeakInverse = 0.00024184288f;
inline constexpr float kPeakCeiling = 15.848932f;  // +24 dB; above it a peak is 65535

// One channel of one graph record: the largest sample, and the negated smallest. Never negative.
struct LPeakPair {
    uint16_t max = 0;
    uint16_t min = 0;
    bool operator==(const LPeakPair&) const = default;
};
static_assert(sizeof(LPeakPair) == 4);

// 0 for 0, negative values and NaN; 65535 above the ceiling; otherwise trunc(v * 4134.916), at least 1.
uint16_t PeakFromMagnitude(float v);
// p * 0.00024184288, and 16.0 for 65535.
float MagnitudeFromPeak(uint16_t p);

// Widens `max` and `min` of each channel by `frames` interleaved frames. `max[c]` and `min[c]` are plain
// sample values (min is not negated); start both at 0 for each block.
void AccumulatePeaks(const float* frames, int64_t count, int channels, float* max, float* min);

// Records of `blocks` whole blocks of kPeakBlockFrames frames: blocks * channels pairs. The fast form for
// one and two channels; equal to AccumulatePeaks and PeakFromMagnitude on each block. NaN samples are
// ignored.
void PeaksOfBlocks(const float* frames, int64_t blocks, int channels, LPeakPair* out);

// The largest magnitude of `count` samples; NaN is ignored.
float MaxMagnitude(const float* samples, int64_t count);

// Multiplies peaks by a gain: float, product's magnitude, back to a peak; 0 and non-finite results give 0,
// gain 1.0 leaves them as they are. A negative gain swaps nothing.
void ScaleGraph(LPeakPair* pairs, int64_t count, float gain);

}  // namespace ondarix
