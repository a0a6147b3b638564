// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "effects/beat_match.h"

namespace ondarix {

// How far the second clip must move, later when positive, to be in phase with the first one: the place of the
// best normalised cross-correlation of 50 ms (half of the overlap, when that is less) around the middle of
// the overlap; among those that are as good within 2 % the nearest one. At most a quarter of the overlap. 0
// where either is silent. On the mono sums; both sources have one format.
int64_t PhaseShift(LSoundSource& first, LSoundSource& second, const LOverlap& overlap);

}  // namespace ondarix
