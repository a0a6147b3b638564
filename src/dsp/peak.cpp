// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/peak.h"

#include <cmath>

#include "dsp/wide.h"

namespace ondarix {

namespace {

constexpr int kPeakLanes = 32;  // divides a block's floats for 1, 2, 4, 8, 16 and 32 channels

// Largest and smallest of the floats at each place of `kPeakLanes`, at least and at most 0. The comparisons
// are false for NaN, so that it is passed over.
inline void PeakLanes(const float* from, int64_t rows, float* __restrict high, float* __restrict low) {
    for (int lane = 0; lane < kPeakLanes; ++lane) high[lane] = low[lane] = 0.0f;
    for (int64_t row = 0; row < rows; ++row, from += kPeakLanes) {
        for (int lane = 0; lane < kPeakLanes; ++lane) {
            high[lane] = from[lane] > high[lane] ? from[lane] : high[lane];
            low[lane] = from[lane] < low[lane] ? from[lane] : low[lane];
        }
    }
}

inline uint16_t PeakOf(float v) {
    if (!(v > 0.0f)) return 0;
    if (v > kPeakCeiling) return 65535;
    const auto units = static_cast<uint16_t>(v * kPeakScale);
    return units == 0 ? uint16_t{1} : units;
}

inline void FoldLanes(const float* high, const float* low, int lanes, int channels, LPeakPair* out) {
    for (int channel = 0; channel < channels; ++channel) {
        float max = 0.0f, min = 0.0f;
        for (int lane = channel; lane < lanes; lane += channels) {
            max = high[lane] > max ? high[lane] : max;
            min = low[lane] < min ? low[lane] : min;
        }
        out[channel] = {PeakOf(max), PeakOf(-min)};
    }
}

// Any other channel count: rows of eight frames, so that the inner loop is long enough to be vectorised.
inline void PeaksOfOddBlock(const float* frames, int channels, LPeakPair* out) {
    constexpr int kRowFrames = 8;
    float high[kRowFrames * 255], low[kRowFrames * 255];
    const int width = kRowFrames * channels;
    for (int lane = 0; lane < width; ++lane) high[lane] = low[lane] = 0.0f;
    for (int row = 0; row < kPeakBlockFrames / kRowFrames; ++row, frames += width) {
        for (int lane = 0; lane < width; ++lane) {
            high[lane] = frames[lane] > high[lane] ? frames[lane] : high[lane];
            low[lane] = frames[lane] < low[lane] ? frames[lane] : low[lane];
        }
    }
    FoldLanes(high, low, width, channels, out);
}

}  // namespace

uint16_t PeakFromMagnitude(float v) { return PeakOf(v); }

float MagnitudeFromPeak(uint16_t p) { return p == 65535 ? 16.0f : static_cast<float>(p) * kPeakInverse; }

void AccumulatePeaks(const float* frames, int64_t count, int channels, float* max, float* min) {
    for (int64_t frame = 0; frame < count; ++frame, frames += channels) {
        for (int channel = 0; channel < channels; ++channel) {
            const float v = frames[channel];
            max[channel] = v > max[channel] ? v : max[channel];
            min[channel] = v < min[channel] ? v : min[channel];
        }
    }
}

ONDARIX_WIDE void PeaksOfBlocks(const float* frames, int64_t blocks, int channels, LPeakPair* out) {
    const int64_t blockFloats = int64_t{kPeakBlockFrames} * channels;
    for (int64_t block = 0; block < blocks; ++block, frames += blockFloats, out += channels) {
        if (kPeakLanes % channels != 0) {
            PeaksOfOddBlock(frames, channels, out);
            continue;
        }
        float high[kPeakLanes], low[kPeakLanes];
        PeakLanes(frames, blockFloats / kPeakLanes, high, low);
        FoldLanes(high, low, kPeakLanes, channels, out);
    }
}

ONDARIX_WIDE float MaxMagnitude(const float* samples, int64_t count) {
    float high[kPeakLanes], low[kPeakLanes];
    const int64_t rows = count / kPeakLanes;
    PeakLanes(samples, rows, high, low);
    float most = 0.0f;
    for (int64_t i = rows * kPeakLanes; i < count; ++i) {
        const float v = std::fabs(samples[i]);
        most = v > most ? v : most;
    }
    for (int lane = 0; lane < kPeakLanes; ++lane) {
        most = high[lane] > most ? high[lane] : most;
        most = -low[lane] > most ? -low[lane] : most;
    }
    return most;
}

void ScaleGraph(LPeakPair* pairs, int64_t count, float gain) {
    if (gain == 1.0f) return;
    const auto scaled = [gain](uint16_t p) {
        const float v = std::fabs(MagnitudeFromPeak(p) * gain);
        return std::isfinite(v) ? PeakOf(v) : uint16_t{0};
    };
    for (int64_t i = 0; i < count; ++i) pairs[i] = {scaled(pairs[i].max), scaled(pairs[i].min)};
}

}  // namespace ondarix
