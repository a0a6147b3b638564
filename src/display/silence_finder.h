// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <vector>

#include "gen/progress.h"
#include "sound/document.h"

namespace ondarix {

struct LSilenceSettings {
    double thresholdDb = -48;    // -90 to 0; a window is silent while none of its peaks lies above
    int64_t minSilenceMs = 500;  // shorter ones are sound
    int64_t marginMs = 0;        // kept of each silence on both of its sides
};

// Silent stretches of the sound, ascending, from the peak graphs alone (256 frames exact), in windows of
// 30 ms: a window counts as loud when the root of the mean squared excess of its peaks above the threshold is
// above 0.
std::vector<LSelection> FindSilences(const LSound& sound, const LSilenceSettings& settings,
                                     LProgress& progress);

}  // namespace ondarix
