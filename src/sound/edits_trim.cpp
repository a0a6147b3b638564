// SPDX-License-Identifier: GPL-3.0-or-later
// Edits that keep a part, repeat one, or change the format of the whole.
#include <algorithm>
#include <limits>

#include "sound/edit_steps.h"

namespace ondarix {

namespace {

constexpr const char* kTooFewLoopsText =
    "Unable to repeat a loop %1 times. Please choose a number of loops higher than 0";
constexpr const char* kTooManyLoopsText =
    "Unable to repeat this loop %1 times, as this would cause the file to exceed the maximum length "
    "supported "
    "by Ondarix. Please choose a smaller number of loops.";

bool MayRepeat(const LSoundDocument& document, LSelection range, int64_t times, LEditHost& host) {
    if (times < 1) {
        host.Messages().Tell(QStringLiteral("Too few loops"),
                             QString::fromLatin1(kTooFewLoopsText).arg(times));
        return false;
    }
    LSound loop;
    document.Edited().CopyRange(range.start, range.end, loop);
    int64_t pieces = 1, added = 0, total = 0;
    for (const LSoundSegment* at = loop.segments.get(); at; at = at->next.get()) ++pieces;
    if (times <= LSound::kMaxRepeatedSegments / pieces &&
        !__builtin_mul_overflow(range.Length(), times, &added) &&
        !__builtin_add_overflow(document.Edited().Length(), added, &total) &&
        total < std::numeric_limits<int64_t>::max()) {
        return true;
    }
    host.Messages().Tell(QStringLiteral("Too many loops"), QString::fromLatin1(kTooManyLoopsText).arg(times));
    return false;
}

void ScalePositions(LSoundDocument& document, int32_t newRate, int32_t oldRate) {
    ScaleBookmarks(document.bookmarks, newRate, oldRate);
    ScaleRegions(document.regions, newRate, oldRate);
    for (int64_t* position : {&document.selectionStart, &document.selectionEnd, &document.cursor,
                              &document.viewStart, &document.viewEnd}) {
        *position = ScalePosition(*position, newRate, oldRate);
    }
}

JobResult ConvertDocument(LSoundDocument& document, LEditHost& host, const QString& label,
                          LSoundFormat target) {
    const LSoundFormat format = document.sound.Format();
    const bool emptyToo = document.sound.Length() <= 0;
    if (!target.IsValid() || target == format || !MayChange(document, host, emptyToo))
        return JobResult::kCancelled;
    return ChangeWhole(document, label, host, [&] {
        const JobResult result = ConvertForEdit(host, label, document.sound, target, document.sound);
        if (result == JobResult::kSuccess && target.sampleRate != format.sampleRate)
            ScalePositions(document, target.sampleRate, format.sampleRate);
        return result;
    });
}

}  // namespace

JobResult TrimToSelection(LSoundDocument& document, LEditHost& host) {
    if (!document.HasSelection() || !MayChange(document, host)) return JobResult::kCancelled;
    return Change(document, QStringLiteral("Trim"), host, [&] {
        const LSelection kept = document.EditRange();
        document.Edited().Keep(kept.start, kept.end);
        if (MovesMarks(document)) {
            KeepBookmarks(document.bookmarks, kept.start, kept.end);
            KeepRegions(document.regions, kept.start, kept.end);
        }
        document.AdjustPositionsAfterDelete(0, kept.start);
        document.viewStart = 0;
        document.viewEnd = document.Edited().Length();
        return JobResult::kSuccess;
    });
}

JobResult TrimStart(LSoundDocument& document, LEditHost& host) {
    const int64_t pos = document.EditRange().start;
    if (pos <= 0 || !MayChange(document, host)) return JobResult::kCancelled;
    return Change(document, QStringLiteral("Trim Start"), host, [&] {
        DeleteFrames(document, 0, pos);
        return JobResult::kSuccess;
    });
}

JobResult TrimEnd(LSoundDocument& document, LEditHost& host) {
    const int64_t pos = document.EditRange().end, length = document.Edited().Length();
    if (pos >= length || !MayChange(document, host)) return JobResult::kCancelled;
    return Change(document, QStringLiteral("Trim End"), host, [&] {
        DeleteFrames(document, pos, length);
        return JobResult::kSuccess;
    });
}

JobResult RepeatLoop(LSoundDocument& document, LEditHost& host, int64_t times) {
    const LSelection range = SelectionOrAll(document);
    if (!MayChange(document, host) || !MayRepeat(document, range, times, host)) return JobResult::kCancelled;
    return Change(document, QStringLiteral("Repeat Loop"), host, [&] {
        document.Edited().Repeat(range.start, range.end, times);
        ShiftMarks(document, range.end, range.Length() * times);
        document.Select(range.start, range.end + range.Length() * times);
        return JobResult::kSuccess;
    });
}

JobResult ConvertSampleRate(LSoundDocument& document, LEditHost& host, int32_t rate) {
    return ConvertDocument(document, host, QStringLiteral("Convert Sample Rate"),
                           {rate, document.sound.channels});
}

JobResult ConvertChannels(LSoundDocument& document, LEditHost& host, int channels) {
    if (channels < 1 || channels > 255) return JobResult::kCancelled;
    return ConvertDocument(document, host, QStringLiteral("Convert Channels"),
                           {document.sound.sampleRate, static_cast<uint8_t>(channels)});
}

JobResult JoinSounds(LSoundDocument& document, LEditHost& host, const std::vector<LSound>& others) {
    int64_t added = 0;
    for (const LSound& other : others) {
        if (__builtin_add_overflow(added, other.Length(), &added))
            added = std::numeric_limits<int64_t>::max();
    }
    const QString label = QStringLiteral("Join");
    if (added == 0 || !MayChange(document, host, true) || !HasRoomFor(document, added, host))
        return JobResult::kCancelled;
    return ChangeWhole(document, label, host, [&] {
        LSound joined = document.sound;
        for (const LSound& other : others) {
            if (other.Length() == 0) continue;
            const bool takesOver = joined.Length() == 0;
            LSound piece;
            const JobResult result =
                ConvertForEdit(host, label, other, takesOver ? other.Format() : joined.Format(), piece);
            if (result != JobResult::kSuccess) return result;
            if (!takesOver) {
                joined.Insert(joined.Length(), piece);
            } else {
                joined.Clear();
                joined.Insert(0, piece);
                joined.sampleRate = piece.sampleRate;
                joined.channels = piece.channels;
            }
        }
        ScaleBookmarks(document.bookmarks, joined.sampleRate, document.sound.sampleRate);
        document.sound = std::move(joined);
        return JobResult::kSuccess;
    });
}

}  // namespace ondarix
