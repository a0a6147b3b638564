// SPDX-License-Identifier: GPL-3.0-or-later
// Progress on the program's icon in the desktop's launcher or task bar, by the launcher-entry signal on the
// session bus. Nothing happens where there is no bus; nothing is connected before the first report.
#pragma once

namespace ondarix {

enum class LauncherState : unsigned char { kNone, kNormal, kIndeterminate, kError };

// Repeated reports of the same state and percentage cost nothing. [ui]
void ShowLauncherProgress(LauncherState state, int percent);

}  // namespace ondarix
