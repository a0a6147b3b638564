// SPDX-License-Identifier: GPL-3.0-or-later
// How well a short stretch of a sound fits at each place of a longer one.
#pragma once
#include <cstddef>
#include <span>
#include <vector>

namespace ondarix {

// Normalised cross-correlation: for each lag k of 0 to signal.size() - pattern.size()
//
//   sum(signal[k + i] * pattern[i]) / sqrt(sum(signal[k + i]^2) * sum(pattern[i]^2))
//
// of -1 to 1, and 0 where one of them is silent. Sums of squares run in double. Nothing for an empty pattern
// or one that is longer than the signal.
std::vector<float> NormalisedCorrelation(std::span<const float> signal, std::span<const float> pattern);

// Of the peaks that come within `tolerance` of the highest value, the one nearest to `centre`; `centre` where
// nothing is above 0. A value at an edge counts when nothing beside it is higher.
size_t NearestPeak(std::span<const float> values, size_t centre, float tolerance);

}  // namespace ondarix
