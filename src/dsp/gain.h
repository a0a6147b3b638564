// SPDX-License-Identifier: GPL-3.0-or-later
// Plain arithmetic on blocks of interleaved samples. What comes out for a frame does not depend on how many
// frames are given at once.
#pragma once
#include <cstdint>

namespace ondarix {

void ScaleSamples(float* samples, int64_t count, float gain);

// Every frame by a gain of its own.
void ScaleFrames(float* frames, int64_t count, int channels, const float* gains);

// Every channel by a gain of its own: `gains[channels]`.
void ScaleChannels(float* frames, int64_t count, int channels, const float* gains);

// Every channel less a value of its own: `offsets[channels]`.
void SubtractFromChannels(float* frames, int64_t count, int channels, const float* offsets);

// Adds the samples of each channel to `sums[channels]`.
void SumChannels(const float* frames, int64_t count, int channels, double* sums);

// Stereo: left and right exchanged.
void SwapStereo(float* frames, int64_t count);

// Stereo: the left sample of each frame negated, the right left as it is.
void NegateLeft(float* frames, int64_t count);

// `to` becomes the frames of `from`, last first; the channels of a frame keep their order. No overlap.
void ReverseFrames(const float* from, float* to, int64_t count, int channels);

}  // namespace ondarix
