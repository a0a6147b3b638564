// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "gen/progress.h"
#include "sound/sound.h"

namespace ondarix {

// Puts `sound` on the grid of 8- or 16-bit integers by plain rounding, so that saving it at that width shapes
// no noise. Louder samples than the integers hold are limited first. Nothing to do for a sound that was
// decoded from that width and is unchanged. On anything but success the sound is as it was.
JobResult RoundToIntegers(LSound& sound, int bits, LProgress& progress);

}  // namespace ondarix
