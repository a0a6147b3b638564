// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/effect_table.h"

namespace ondarix {

std::span<const LEffectRow> NormalizeEffectRows() { return {}; }

}  // namespace ondarix
