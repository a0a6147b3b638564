// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QString>

namespace ondarix {

// Writes `count` values of its own and as many of one that all share; 0 when every write was taken.
int RunSettingsWorker(const QString& name, int count);

}  // namespace ondarix
