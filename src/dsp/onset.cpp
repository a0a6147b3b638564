// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/onset.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace ondarix {
namespace {

constexpr int kHopsASecond = 200;
constexpr size_t kContextHops = 8;
constexpr size_t kDeadHops = 10;  // 50 ms
constexpr double kPreEmphasis = 0.95;
constexpr double kLeastRise = 4;
constexpr double kFloor = 1e-8;  // mean energy of a sample: -80 dB, below it nothing is heard to begin

size_t HopFrames(int32_t rate) { return static_cast<size_t>(std::max(1, rate / kHopsASecond)); }

std::vector<double> HopEnergies(std::span<const float> mono, size_t hop) {
    std::vector<double> energies(mono.size() / hop);
    for (size_t k = 0; k < energies.size(); ++k) {
        double sum = 0;
        for (size_t i = std::max<size_t>(1, k * hop); i < (k + 1) * hop; ++i) {
            const double emphasised = mono[i] - kPreEmphasis * mono[i - 1];
            sum += emphasised * emphasised;
        }
        energies[k] = sum / static_cast<double>(hop);
    }
    return energies;
}

int64_t FrameOfRise(std::span<const float> mono, size_t start, size_t hop) {
    const size_t end = std::min(mono.size(), start + 2 * hop);
    float loudest = 0;
    for (size_t i = start; i < end; ++i) loudest = std::max(loudest, std::fabs(mono[i]));
    size_t at = start;
    while (at + 1 < end && std::fabs(mono[at]) < loudest / 2) ++at;
    return static_cast<int64_t>(at);
}

}  // namespace

int64_t OnsetContext(int32_t rate) { return static_cast<int64_t>(kContextHops * HopFrames(rate)); }

std::vector<LOnset> FindOnsets(std::span<const float> mono, int32_t rate) {
    const size_t hop = HopFrames(rate);
    const std::vector<double> energies = HopEnergies(mono, hop);
    std::vector<LOnset> onsets;
    for (size_t k = kContextHops; k < energies.size(); ++k) {
        double before = 0;
        for (size_t i = k - kContextHops; i < k; ++i) before += energies[i] / kContextHops;
        if (energies[k] < kLeastRise * (before + kFloor)) continue;
        // The beginning may be cut by the border of the hop: the next one tells how loud it becomes.
        const double after = k + 1 < energies.size() ? std::max(energies[k], energies[k + 1]) : energies[k];
        onsets.push_back(
            {FrameOfRise(mono, k * hop, hop), static_cast<float>(std::sqrt(after) - std::sqrt(before))});
        k += kDeadHops;
    }
    return onsets;
}

}  // namespace ondarix
