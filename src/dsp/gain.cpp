// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/gain.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "dsp/wide.h"

namespace ondarix {
namespace {

constexpr int kMaxRowChannels = 32;
constexpr int kMaxRow = 64;  // floats

// A row of several frames, so that inner loops are long enough for wide registers whatever the channel count.
struct LChannelRow {
    LChannelRow(const float* perChannel, int channelCount)
        : frames(channelCount <= kMaxRowChannels ? kMaxRow / channelCount : 0), width(frames * channelCount) {
        for (int i = 0; i < width; ++i) values[i] = perChannel[i % channelCount];
    }
    int frames, width;
    float values[kMaxRow] = {};
};

}  // namespace

ONDARIX_WIDE void ScaleSamples(float* samples, int64_t count, float gain) {
    for (int64_t i = 0; i < count; ++i) samples[i] *= gain;
}

ONDARIX_WIDE void ScaleFrames(float* frames, int64_t count, int channels, const float* gains) {
    if (channels == 1) {
        for (int64_t i = 0; i < count; ++i) frames[i] *= gains[i];
    } else if (channels == 2) {
        for (int64_t i = 0; i < count; ++i) {
            frames[2 * i] *= gains[i];
            frames[2 * i + 1] *= gains[i];
        }
    } else {
        for (int64_t i = 0; i < count; ++i, frames += channels)
            for (int c = 0; c < channels; ++c) frames[c] *= gains[i];
    }
}

ONDARIX_WIDE void ScaleChannels(float* frames, int64_t count, int channels, const float* gains) {
    const LChannelRow row(gains, channels);
    for (; row.frames > 0 && count >= row.frames; count -= row.frames, frames += row.width)
        for (int i = 0; i < row.width; ++i) frames[i] *= row.values[i];
    for (; count > 0; --count, frames += channels)
        for (int c = 0; c < channels; ++c) frames[c] *= gains[c];
}

ONDARIX_WIDE void SubtractFromChannels(float* frames, int64_t count, int channels, const float* offsets) {
    const LChannelRow row(offsets, channels);
    for (; row.frames > 0 && count >= row.frames; count -= row.frames, frames += row.width)
        for (int i = 0; i < row.width; ++i) frames[i] -= row.values[i];
    for (; count > 0; --count, frames += channels)
        for (int c = 0; c < channels; ++c) frames[c] -= offsets[c];
}

ONDARIX_WIDE void SumChannels(const float* frames, int64_t count, int channels, double* sums) {
    constexpr int kLanes = 16;  // divides by 1, 2, 4, 8 and 16 channels
    if (kLanes % channels == 0) {
        double lanes[kLanes] = {};
        for (const int64_t step = kLanes / channels; count >= step; count -= step, frames += kLanes)
            for (int i = 0; i < kLanes; ++i) lanes[i] += static_cast<double>(frames[i]);
        for (int i = 0; i < kLanes; ++i) sums[i % channels] += lanes[i];
    }
    for (; count > 0; --count, frames += channels)
        for (int c = 0; c < channels; ++c) sums[c] += static_cast<double>(frames[c]);
}

ONDARIX_WIDE void SwapStereo(float* frames, int64_t count) {
    for (int64_t i = 0; i < count; ++i) std::swap(frames[2 * i], frames[2 * i + 1]);
}

void NegateLeft(float* frames, int64_t count) {
    constexpr float kSigns[] = {-1.0f, 1.0f};
    ScaleChannels(frames, count, 2, kSigns);
}

ONDARIX_WIDE void ReverseFrames(const float* from, float* to, int64_t count, int channels) {
    if (channels == 1) {
        for (int64_t i = 0; i < count; ++i) to[i] = from[count - 1 - i];
    } else if (channels == 2) {
        for (int64_t i = 0; i < count; ++i) {
            to[2 * i] = from[2 * (count - 1 - i)];
            to[2 * i + 1] = from[2 * (count - 1 - i) + 1];
        }
    } else {
        const auto bytes = static_cast<size_t>(channels) * sizeof(float);
        for (int64_t i = 0; i < count; ++i)
            std::memcpy(to + i * channels, from + (count - 1 - i) * channels, bytes);
    }
}

}  // namespace ondarix
