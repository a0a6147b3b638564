// SPDX-License-Identifier: GPL-3.0-or-later
// The file of bookmarks beside a sound: its path plus ".odxm".
#pragma once
#include <QString>

#include "sound/bookmark.h"

namespace ondarix {

enum class LBookmarkRead : uint8_t { kRead, kNone, kDamaged };

QString BookmarkFileOf(const QString& soundPath);
// From the file of bookmarks in any of its forms: LSDF, or one of the two flat ones. `rate` is taken for
// bookmarks that name none. kDamaged: nothing of it is in `bookmarks`.
LBookmarkRead ReadBookmarkFile(const QString& path, int32_t rate, LBookmarks& bookmarks);
// The same from bytes. Never more memory than the data's own size asks for.
LBookmarkRead ReadBookmarks(const QByteArray& data, int32_t rate, LBookmarks& bookmarks);
// Written beside and renamed; an empty list removes the file. False: it could not be written, or removed.
bool WriteBookmarkFile(const QString& path, const LBookmarks& bookmarks);

}  // namespace ondarix
