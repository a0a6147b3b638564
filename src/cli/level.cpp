// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/level.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace ondarix {
namespace {

void AddBlock(const float* block, int64_t frames, LLevels& levels, float& loudest) {
    const size_t channels = levels.peaks.size();
    for (int64_t frame = 0; frame < frames; ++frame) {
        for (size_t channel = 0; channel < channels; ++channel) {
            const float sample = *block++;
            if (!std::isfinite(sample)) {
                ++levels.notFinite;
                continue;
            }
            const float magnitude = std::fabs(sample);
            levels.peaks[channel] = std::max(levels.peaks[channel], magnitude);
            levels.squares[channel] += static_cast<double>(sample) * static_cast<double>(sample);
            if (magnitude > loudest) {
                loudest = magnitude;
                levels.peakFrame = levels.frames + frame;
            }
        }
    }
    levels.frames += frames;
}

}  // namespace

float LLevels::Peak() const { return peaks.empty() ? 0.0f : *std::max_element(peaks.begin(), peaks.end()); }

double LLevels::Rms() const {
    const double samples = static_cast<double>(frames) * static_cast<double>(squares.size());
    return samples > 0 ? std::sqrt(std::accumulate(squares.begin(), squares.end(), 0.0) / samples) : 0.0;
}

double LLevels::RmsOf(size_t channel) const {
    return frames > 0 ? std::sqrt(squares[channel] / static_cast<double>(frames)) : 0.0;
}

JobResult MeasureLevels(LSoundSource& source, LProgress& progress, LLevels& levels) {
    const size_t channels = source.channels;
    levels = {};
    levels.peaks.assign(channels, 0.0f);
    levels.squares.assign(channels, 0.0);
    std::vector<float> block(channels * kBlockFrames);
    float loudest = 0.0f;
    const int64_t length = source.GetLength();
    source.Seek(0);
    while (levels.frames < length) {
        if (progress.IsCancelled()) return JobResult::kCancelled;
        const auto count = static_cast<int32_t>(std::min<int64_t>(kBlockFrames, length - levels.frames));
        source.Read(block.data(), count);
        AddBlock(block.data(), count, levels, loudest);
        progress.SetFraction(static_cast<double>(levels.frames) / static_cast<double>(length));
    }
    return JobResult::kSuccess;
}

double LevelDb(double linear) { return 20.0 * std::log10(linear); }

}  // namespace ondarix
