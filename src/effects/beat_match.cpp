// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/beat_match.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

#include "dsp/onset.h"

namespace ondarix {
namespace {

constexpr int64_t kLongestSeconds = 30;
constexpr float kStrong = 0.5f;

// Frames of the strong onsets, counted from `start`.
std::vector<int64_t> StrongBeats(LSoundSource& source, int64_t start, int64_t frames) {
    const auto rate = static_cast<int32_t>(source.sampleRate);
    const int64_t context = OnsetContext(rate);
    const std::vector<LOnset> onsets = FindOnsets(ReadMono(source, start - context, frames + context), rate);
    float strongest = 0;
    for (const LOnset& one : onsets) strongest = std::max(strongest, one.strength);
    std::vector<int64_t> beats;
    for (const LOnset& one : onsets)
        if (one.strength >= kStrong * strongest) beats.push_back(one.frame - context);
    return beats;
}

}  // namespace

std::vector<float> ReadMono(LSoundSource& source, int64_t start, int64_t frames) {
    std::vector<float> mono(static_cast<size_t>(std::max<int64_t>(0, frames)));
    std::vector<float> block(static_cast<size_t>(kBlockFrames) * source.channels);
    const float share = 1.0f / static_cast<float>(source.channels);
    // Not every source takes a place before its start.
    size_t done = static_cast<size_t>(std::clamp<int64_t>(-start, 0, frames));
    source.Seek(std::max<int64_t>(0, start));
    while (done < mono.size()) {
        const auto piece = static_cast<int32_t>(std::min<size_t>(kBlockFrames, mono.size() - done));
        source.Read(block.data(), piece);
        const float* from = block.data();
        for (int32_t i = 0; i < piece; ++i, ++done) {
            float sum = 0;
            for (int c = 0; c < source.channels; ++c) sum += *from++;
            mono[done] = sum * share;
        }
    }
    return mono;
}

int64_t BeatShift(LSoundSource& first, LSoundSource& second, const LOverlap& overlap) {
    const int64_t frames = std::min(overlap.frames, kLongestSeconds * first.sampleRate);
    const std::vector<int64_t> targets = StrongBeats(first, overlap.firstStart, frames);
    std::optional<int64_t> best;
    for (const int64_t beat : StrongBeats(second, overlap.secondStart, frames)) {
        for (const int64_t target : targets) {
            const int64_t way = target - beat;
            if (way < -overlap.earlier || way > overlap.later) continue;
            if (!best || std::abs(way) < std::abs(*best)) best = way;
        }
    }
    return best.value_or(0);
}

}  // namespace ondarix
