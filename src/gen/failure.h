// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace ondarix {

// Memory that cannot be had ends the process in one place: a line on standard error with phase and thread,
// and an abort, so that working files stay for recovery. Once at start.
void InstallOutOfMemoryHandler();

}  // namespace ondarix
