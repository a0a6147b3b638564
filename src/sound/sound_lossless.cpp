// SPDX-License-Identifier: GPL-3.0-or-later
// With lossless MP3 editing on, the first and the last segment reach over the delay and the padding of the
// encoder, which are frames of the stream and must be kept; with it off they are skipped.
#include <QFile>
#include <algorithm>

#include "sound/sound.h"

namespace ondarix {

namespace {

bool KnowsMp3Facts(LSoundCacheRef& ref) {
    if (ref.mp3FrameSize == 0 && gReadMp3Facts && QFile::exists(CacheFileName(ref.cacheId, ".vmkmp3"))) {
        gReadMp3Facts(ref);
    }
    return ref.mp3FrameSize != 0;
}

void AdjustHead(LSoundSegment& head, bool on) {
    const int64_t leadIn = head.cacheRef.mp3LeadIn;
    if (on && head.offset == leadIn) {
        head.length += leadIn;
        head.offset -= leadIn;
    } else if (!on && head.offset == 0) {
        const int64_t skipped = std::min(leadIn, head.length);  // an edit may have left less of it
        head.offset += skipped;
        head.length -= skipped;
    }
}

void AdjustTail(LSoundSegment& tail, bool on) {
    if (!QFile::exists(CacheFileName(tail.cacheRef.cacheId, ".vmkmp3"))) return;
    const int64_t soundEnd = tail.cacheRef.mp3LeadIn + tail.cacheRef.mp3Length;
    if (on && tail.EndInFile() >= soundEnd) {
        tail.length = soundEnd + tail.cacheRef.mp3LeadOut - tail.offset;
    } else if (!on && tail.EndInFile() > soundEnd) {
        tail.length = std::max<int64_t>(soundEnd - tail.offset, 0);  // it may lie in the padding as a whole
    }
}

}  // namespace

void LSound::OnLosslessModeChanged(bool on) {
    if (!segments) return;
    if (!segments->IsSilent() && KnowsMp3Facts(segments->cacheRef)) AdjustHead(*segments, on);
    LSoundSegment* tail = segments.get();
    while (tail->next) tail = tail->next.get();
    if (!tail->IsSilent() && KnowsMp3Facts(tail->cacheRef)) AdjustTail(*tail, on);
}

}  // namespace ondarix
