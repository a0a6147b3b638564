// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <vector>

#include "gen/progress.h"
#include "sound/document.h"

namespace ondarix {

struct LSilenceSettings {
    double thresholdDb = -48;    // -90 to 0 of full scale
    int64_t minSilenceMs = 500;  // shorter ones are sound; never below the window of 30 ms
    int64_t marginMs = 0;        // of each silence that stays where it borders on sound
};

// Silent stretches of the sound, ascending, from the peak graphs alone: the borders are those of graph
// records, 256 frames exact. A window of 30 ms, moved record by record, is silent while the mean squared
// excess of its peaks over the threshold, in peak units, is 0: while none lies above. A silence is all that
// silent windows cover. Peak units are coarse far down: below -66 dB they cannot tell a sound from the
// threshold, and it counts as silent. What has no graph counts as sound. Empty when cancelled.
std::vector<LSelection> FindSilences(const LSound& sound, const LSilenceSettings& settings,
                                     LProgress& progress);

}  // namespace ondarix
