// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QStringList>

namespace ondarix {

inline constexpr int kMostRecentFiles = 10;

// Section "RecentFileList", values "File0" (the latest) to "File9".
QStringList RecentFiles();
// Puts it first; a path already there moves up. Nothing for an empty path.
void RememberRecentFile(const QString& path);
void ForgetRecentFile(const QString& path);

}  // namespace ondarix
