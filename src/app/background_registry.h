// SPDX-License-Identifier: GPL-3.0-or-later
// The workers that must have ended before the program may. A worker's owner registers it and takes it out
// again before the worker dies. [any]
#pragma once

namespace ondarix {

class LBackgroundThread;

void RegisterBackgroundThread(LBackgroundThread* thread);
void UnregisterBackgroundThread(LBackgroundThread* thread);
// Signals all of them, then waits for each.
void StopBackgroundThreads();

}  // namespace ondarix
