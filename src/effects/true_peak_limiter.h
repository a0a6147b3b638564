// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "sound/source.h"

namespace ondarix {

// Holds the peaks between the samples, and so the samples, to `limit` (linear): the whole passages around a
// peak become softer, without a change of their wave form, and what needs no lowering is passed on bit for
// bit. Always a limiter: a peak bound of samples tells nothing about what lies between them.
LSoundSourceRef LimitTruePeaks(LSoundSourceRef source, float limit);

}  // namespace ondarix
