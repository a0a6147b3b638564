// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace ondarix {

// From now on a wave view tells assistive programs what it is and where its cursor stands, as a value that
// they can set. Once for the program; later calls do nothing. [ui]
void InstallWaveAccessibility();

}  // namespace ondarix
