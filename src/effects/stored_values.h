// SPDX-License-Identifier: GPL-3.0-or-later
// The values that an effect was last used with, and which effects were used last, in the settings. [any]
#pragma once
#include "effects/effect_table.h"

namespace ondarix {

// Every parameter from the row's section under its `setting`, or its id where it has none. What is not there
// keeps its value; what lies outside of the range is clamped. Nothing for a row without a section.
void LoadStoredValues(LEffect& effect, const LEffectRow& row);
// False where the settings cannot be written.
bool SaveStoredValues(const LEffect& effect, const LEffectRow& row);

// The effects used last, newest first; ids of EffectTable, at most two, only those of this version.
inline constexpr int kRecentEffects = 2;
void RememberEffect(const QString& id);
QStringList RecentEffects();

}  // namespace ondarix
