// SPDX-License-Identifier: GPL-3.0-or-later
// From a file to a sound in the cache, with the limits and messages that go with it.
#pragma once
#include <QString>

#include "formats/wav_chunks.h"
#include "gen/messages.h"
#include "gen/progress.h"
#include "sound/bookmark.h"
#include "sound/sound.h"

namespace ondarix {

inline constexpr int kMaxOpenDocuments = 45;

struct LLoadedSound {
    LSound sound;
    LForeignChunks foreignChunks;
    LBookmarks bookmarks;    // of the file beside it, in frames of the sound and inside it
    bool fromCache = false;  // an unchanged decode was found, nothing was read but headers
    bool readOnly = false;   // the user may not write the file
    bool takenOver = false;  // a hook opened it (project, playlist); there is no sound here
};

// `openDocuments`: how many are open now. Messages go to `host`; kFailed after one, kCancelled without. A
// file of bookmarks that cannot be read is told, and the sound is loaded without them. Projects and playlists
// go to gOpenProject and gOpenPlaylist.
JobResult LoadSound(const QString& path, int openDocuments, LLoadedSound& loaded, LProgress& progress,
                    LMessageHost& host);

// Hooks: true when they took the file over. Without them such a file gives the load failure message.
extern bool (*gOpenProject)(const QString& path, LMessageHost& host);  // .odxp, .aup, .stlp
// .m3u, .pls, .xml; `separately`: each entry as a document of its own, else all in one.
extern bool (*gOpenPlaylist)(const QString& path, bool separately, LProgress& progress, LMessageHost& host);

// Whether opening a file of `fileBytes` shows kWorkingDiskWarning: the working folder's disk has less room
// than the file's own and 100 MiB, and too little for the file and 100 MiB.
bool IsWorkingDiskShort(int64_t freeForCache, int64_t freeForFile, int64_t fileBytes);
inline constexpr const char* kWorkingDiskWarning =
    "You are running out of disk space. You can change your working folder to a different drive to load "
    "files or make changes to the currently open files.";

}  // namespace ondarix
