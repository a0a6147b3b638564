// SPDX-License-Identifier: GPL-3.0-or-later
// What loading and saving ask about a file before they touch it. None of these blocks.
#pragma once
#include <QString>

namespace ondarix {

// There and not writable for this user. A file without any write bit counts as read-only for the
// superuser too, whom the system would let through.
bool IsReadOnlyFile(const QString& path);

// An advisory lock (flock, or a record lock of fcntl) on the file is held elsewhere.
bool IsHeldByAnother(const QString& path);

// The file that a path leads to when symbolic links are followed, whether or not it exists; the path itself
// for a circle of links.
QString ResolveLinks(const QString& path);

}  // namespace ondarix
