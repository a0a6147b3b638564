// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/phase_match.h"

#include <algorithm>

#include "dsp/correlation.h"
#include "effects/stack.h"

namespace ondarix {
namespace {

constexpr int64_t kWindowMs = 50;
constexpr float kAsGood = 0.02f;

}  // namespace

int64_t PhaseShift(LSoundSource& first, LSoundSource& second, const LOverlap& overlap) {
    const int64_t window = std::min(overlap.frames / 2, MillisecondsToFrames(first.sampleRate, kWindowMs));
    const int64_t earlier = std::min(overlap.earlier, overlap.frames / 4);
    const int64_t later = std::min(overlap.later, overlap.frames / 4);
    if (window < 2) return 0;
    const int64_t start = overlap.frames / 2 - window / 2;
    const std::vector<float> pattern = ReadMono(second, overlap.secondStart + start, window);
    const std::vector<float> signal =
        ReadMono(first, overlap.firstStart + start - earlier, window + earlier + later);
    const std::vector<float> fit = NormalisedCorrelation(signal, pattern);
    return static_cast<int64_t>(NearestPeak(fit, static_cast<size_t>(earlier), kAsGood)) - earlier;
}

}  // namespace ondarix
