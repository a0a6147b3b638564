// SPDX-License-Identifier: GPL-3.0-or-later
// From a sound to a file. The new file is written beside the target, synced and renamed over it, so that a
// crash at any moment leaves the old file or the new one, whole.
#pragma once
#include <QString>

#include "formats/format_record.h"
#include "formats/wav_chunks.h"
#include "gen/messages.h"
#include "gen/progress.h"
#include "sound/bookmark.h"
#include "sound/sound.h"

namespace ondarix {

enum class SaveResult : uint32_t {
    kSuccess = 0,
    kCancelled = 1,
    kEmptyFile = 3,
    kReadOnly = 4,
    kEncodingFailed = 5,
    kFailed = 6,
};
const char* SaveResultName(SaveResult result);  // "Success", "Cancelled", "EmptyFile", ...

struct LSaveRequest {
    const LSound* sound = nullptr;
    QString path;
    LFormatRecord record;  // for ".wav"; its rate and channels are replaced by the sound's
    LForeignChunks foreignChunks;
    bool shaping = true;            // noise shaping of 8- and 16-bit samples; false: plain rounding
    bool documentReadOnly = false;  // asks before it goes on
    // Null: the file of bookmarks beside the target stays as it is. Otherwise it is written after the sound,
    // or removed when there are none; a failure of that is told, and the save counts as done.
    const LBookmarks* bookmarks = nullptr;
};

struct LSaveOutcome {
    SaveResult result = SaveResult::kFailed;
    bool offerSaveAs = false;      // the window shows "Save As" next
    bool readOnlyDropped = false;  // the user lifted the document's restriction
};

// All checks in their order, then the writing under "Saving...". On success the file is registered as the
// source of the sound's working file where the sound is one whole segment over it, unscaled, and the format
// gives back exactly these samples.
LSaveOutcome SaveSound(const LSaveRequest& request, LProgress& progress, LMessageHost& host);

// Hook: saves a project (".odxp"). Null: the type cannot be written.
extern LSaveOutcome (*gSaveProject)(const LSaveRequest& request, LProgress& progress, LMessageHost& host);

// kbit/s that MP3 and AAC settings match: channels * rate * 16 / 1000, at most 320.
int SourceBitRate(LSoundFormat format);
// "%s-region-%0*d"
QString RegionFileName(const QString& base, int number, int digits);
// "1 channel (Mono)", "2 channels (Stereo)", "6 channels (5.1 Surround)", "8 channels (7.1 Surround)", "%d
// channels"
QString ChannelCountText(int channels);

}  // namespace ondarix
