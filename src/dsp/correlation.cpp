// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/correlation.h"

#include <algorithm>
#include <cmath>

namespace ondarix {
namespace {

// Below it a stretch is silence, and what is left of a running sum is rounding.
constexpr double kLeastEnergy = 1e-12;

// In eight sums, which the compiler keeps in wide registers.
float Dot(const float* a, const float* b, size_t count) {
    float sums[8] = {};
    size_t i = 0;
    for (; i + 8 <= count; i += 8)
        for (size_t k = 0; k < 8; ++k) sums[k] += a[i + k] * b[i + k];
    float total = 0;
    for (; i < count; ++i) total += a[i] * b[i];
    for (const float sum : sums) total += sum;
    return total;
}

double Square(float value) { return static_cast<double>(value) * value; }

}  // namespace

std::vector<float> NormalisedCorrelation(std::span<const float> signal, std::span<const float> pattern) {
    if (pattern.empty() || signal.size() < pattern.size()) return {};
    double patternEnergy = 0, energy = 0;
    for (const float sample : pattern) patternEnergy += Square(sample);
    for (size_t i = 0; i < pattern.size(); ++i) energy += Square(signal[i]);
    std::vector<float> values(signal.size() - pattern.size() + 1);
    for (size_t lag = 0; lag < values.size(); ++lag) {
        if (energy > kLeastEnergy && patternEnergy > kLeastEnergy) {
            const double dot = Dot(signal.data() + lag, pattern.data(), pattern.size());
            values[lag] = static_cast<float>(std::clamp(dot / std::sqrt(energy * patternEnergy), -1.0, 1.0));
        }
        if (lag + 1 < values.size()) energy += Square(signal[lag + pattern.size()]) - Square(signal[lag]);
    }
    return values;
}

size_t NearestPeak(std::span<const float> values, size_t centre, float tolerance) {
    if (values.empty()) return centre;
    const float highest = *std::max_element(values.begin(), values.end());
    if (highest <= 0) return centre;
    size_t found = centre, distance = values.size() + centre;
    for (size_t i = 0; i < values.size(); ++i) {
        const bool isPeak =
            (i == 0 || values[i] >= values[i - 1]) && (i + 1 == values.size() || values[i] >= values[i + 1]);
        const size_t away = i > centre ? i - centre : centre - i;
        if (!isPeak || values[i] < highest - tolerance || away >= distance) continue;
        found = i;
        distance = away;
    }
    return found;
}

}  // namespace ondarix
