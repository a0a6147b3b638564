// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "app/effect_parameter_dialog.h"

namespace ondarix {

// The dialog of a row, of its own or the common one. [ui]
std::unique_ptr<LEffectDialog> MakeEffectDialog(LEffectContext context, const LEffectRow& row,
                                                std::unique_ptr<LEffect> effect);

// Measures what is selected, otherwise everything, and shows the result.
void ShowLoudness(LCommandCall& call);

}  // namespace ondarix
