// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/marks.h"

#include <QSet>
#include <algorithm>
#include <cmath>

#include "dsp/peak.h"
#include "gen/text.h"
#include "sound/mark_change.h"
#include "sound/readers.h"

namespace ondarix {

namespace {

constexpr const char* kBookmarkStem = "Bookmark";
constexpr int64_t kMostMarks = 100000;  // that one command sets

LBookmark MakeBookmark(const LBookmarks& bookmarks, const QString& name, int64_t position, int32_t rate) {
    LBookmark bookmark;
    bookmark.name = CutToFixedText(name);
    bookmark.index = NextBookmarkIndex(bookmarks);
    bookmark.SetPosition(position, rate);
    return bookmark;
}

// "Bookmark N" at each position, in order; one lookup of the names in use serves all.
void AppendBookmarks(LBookmarks& bookmarks, const std::vector<int64_t>& positions, int32_t rate) {
    QSet<QString> names;
    for (const LBookmark& one : bookmarks) names.insert(one.name.toCaseFolded());
    int64_t number = 0;
    uint32_t index = NextBookmarkIndex(bookmarks);
    for (const int64_t position : positions) {
        LBookmark bookmark;
        do bookmark.name = QStringLiteral("%1 %2").arg(QLatin1String(kBookmarkStem)).arg(++number);
        while (names.contains(bookmark.name.toCaseFolded()));
        bookmark.index = index++;
        bookmark.SetPosition(position, rate);
        bookmarks.push_back(std::move(bookmark));
    }
}

LBookmark* FindOwnBookmark(LSoundDocument& document, uint32_t index) {
    return const_cast<LBookmark*>(FindBookmark(document, index));
}

bool HasText(const QString& name, LEditHost& host) {
    if (!name.trimmed().isEmpty()) return true;
    host.Messages().Tell(kNameInvalidTitle, kNameInvalidText);
    return false;
}

bool IsTakenByAnother(const LBookmarks& bookmarks, const QString& name, uint32_t index) {
    return std::any_of(bookmarks.begin(), bookmarks.end(), [&](const LBookmark& one) {
        return one.index != index && one.name.compare(name, Qt::CaseInsensitive) == 0;
    });
}

bool IsTooMany(int64_t count, LEditHost& host) {
    if (count <= kMostMarks) return false;
    host.Messages().Tell(
        "Too Many Bookmarks",
        QStringLiteral("This would set more than %1 bookmarks. Please choose longer intervals.")
            .arg(kMostMarks));
    return true;
}

// The first frame of the largest magnitude in [from, to); -1 where all is silent or the work is stopped.
int64_t LoudestFrame(LSoundReader& reader, int64_t from, int64_t to, std::vector<float>& block,
                     LProgress& progress) {
    const int channels = reader.channels;
    float most = 0;
    int64_t found = -1;
    reader.Seek(from);
    for (int64_t at = from; at < to; at += kBlockFrames) {
        if (progress.IsCancelled()) return -1;
        const auto frames = static_cast<int32_t>(std::min<int64_t>(kBlockFrames, to - at));
        const float* end = reader.Read(block.data(), frames);
        const float blockMost = MaxMagnitude(block.data(), int64_t{frames} * channels);
        if (!(blockMost > most)) continue;
        most = blockMost;
        const float* first = std::find_if(static_cast<const float*>(block.data()), end,
                                          [&](float sample) { return std::fabs(sample) == most; });
        found = at + (first - block.data()) / channels;
    }
    return found;
}

JobResult FindPeaks(const LSound& sound, int64_t every, LProgress& progress, std::vector<int64_t>& peaks) {
    LSoundReader reader(sound);
    std::vector<float> block(static_cast<size_t>(kBlockFrames) * sound.channels);
    const int64_t length = sound.Length();
    for (int64_t from = 0; from < length; from += every) {
        const int64_t peak = LoudestFrame(reader, from, std::min(length, from + every), block, progress);
        if (progress.IsCancelled()) return JobResult::kCancelled;
        if (peak >= 0) peaks.push_back(peak);
        progress.SetFraction(static_cast<double>(from) / static_cast<double>(length));
    }
    return JobResult::kSuccess;
}

// All older bookmarks go, these come.
JobResult ReplaceBookmarks(LSoundDocument& document, const QString& label, LEditHost& host,
                           const std::vector<int64_t>& positions) {
    if (positions.empty()) return JobResult::kCancelled;
    return ChangeMarks(document, label, host, [&] {
        document.bookmarks.clear();
        AppendBookmarks(document.bookmarks, positions, document.sound.sampleRate);
    });
}

}  // namespace

const LBookmark* FindBookmark(const LSoundDocument& document, uint32_t index) {
    for (const LBookmark& one : document.bookmarks)
        if (one.index == index) return &one;
    return nullptr;
}

const LBookmark* BookmarkAfter(const LSoundDocument& document, int64_t position) {
    const LBookmark* found = nullptr;
    for (const LBookmark& one : document.bookmarks)
        if (one.position > position && (!found || one.position < found->position)) found = &one;
    return found;
}

const LBookmark* BookmarkBefore(const LSoundDocument& document, int64_t position) {
    const LBookmark* found = nullptr;
    for (const LBookmark& one : document.bookmarks)
        if (one.position < position && (!found || one.position > found->position)) found = &one;
    return found;
}

JobResult AddBookmark(LSoundDocument& document, LEditHost& host, int64_t position, const QString& name) {
    const QString wanted =
        CutToFixedText(name.isEmpty() ? FreeBookmarkName(document.bookmarks, kBookmarkStem) : name);
    if (!HasText(wanted, host)) return JobResult::kFailed;
    if (HasBookmark(document.bookmarks, wanted)) {
        host.Messages().Tell(kBookmarkExistsTitle, kBookmarkExistsText);
        return JobResult::kFailed;
    }
    const int64_t place = std::clamp<int64_t>(position, 0, document.sound.Length());
    return ChangeMarks(document, "Bookmark", host, [&] {
        document.bookmarks.push_back(
            MakeBookmark(document.bookmarks, wanted, place, document.sound.sampleRate));
    });
}

JobResult RenameBookmark(LSoundDocument& document, LEditHost& host, uint32_t index, const QString& name) {
    const LBookmark* present = FindBookmark(document, index);
    const QString wanted = CutToFixedText(name);
    if (!present || present->name == wanted) return JobResult::kCancelled;
    if (!HasText(wanted, host)) return JobResult::kFailed;
    if (IsTakenByAnother(document.bookmarks, wanted, index)) {
        host.Messages().Tell(kBookmarkExistsTitle, kBookmarkExistsText);
        return JobResult::kFailed;
    }
    return ChangeMarks(document, "Rename Bookmark", host,
                       [&] { FindOwnBookmark(document, index)->name = wanted; });
}

JobResult MoveBookmark(LSoundDocument& document, LEditHost& host, uint32_t index, int64_t position) {
    const LBookmark* present = FindBookmark(document, index);
    const int64_t place = std::clamp<int64_t>(position, 0, document.sound.Length());
    if (!present || present->position == place) return JobResult::kCancelled;
    return ChangeMarks(document, "Move Bookmark", host, [&] {
        FindOwnBookmark(document, index)->SetPosition(place, document.sound.sampleRate);
    });
}

JobResult DeleteBookmarks(LSoundDocument& document, LEditHost& host, const std::vector<uint32_t>& indexes) {
    const QSet<uint32_t> chosen(indexes.begin(), indexes.end());
    const auto goes = [&](const LBookmark& one) { return chosen.contains(one.index); };
    if (std::none_of(document.bookmarks.begin(), document.bookmarks.end(), goes))
        return JobResult::kCancelled;
    return ChangeMarks(document, "Delete Bookmark", host, [&] { std::erase_if(document.bookmarks, goes); });
}

JobResult DeleteAllBookmarks(LSoundDocument& document, LEditHost& host) {
    if (document.bookmarks.empty()) return JobResult::kCancelled;
    return ChangeMarks(document, "Delete all bookmarks", host, [&] { document.bookmarks.clear(); });
}

JobResult MarkPeaks(LSoundDocument& document, LEditHost& host, int64_t everyMs) {
    const QString label = QStringLiteral("Mark peak bookmarks");
    const int64_t every = MsToFrames(everyMs, document.sound.sampleRate);
    if (every < 1 || document.sound.Length() == 0) return JobResult::kCancelled;
    if (IsTooMany(document.sound.Length() / every, host)) return JobResult::kFailed;
    std::vector<int64_t> peaks;
    const JobResult found = host.RunJob(
        label, [&](LProgress& progress) { return FindPeaks(document.sound, every, progress, peaks); });
    if (found != JobResult::kSuccess) return found;
    QSet<int64_t> taken;
    for (const LBookmark& one : document.bookmarks) taken.insert(one.position);
    std::erase_if(peaks, [&](int64_t peak) { return taken.contains(peak); });
    if (peaks.empty()) return JobResult::kCancelled;
    return ChangeMarks(document, label, host,
                       [&] { AppendBookmarks(document.bookmarks, peaks, document.sound.sampleRate); });
}

JobResult MarkEqualParts(LSoundDocument& document, LEditHost& host, int parts) {
    const int64_t length = document.sound.Length();
    std::vector<int64_t> borders;
    if (IsTooMany(parts, host)) return JobResult::kFailed;
    for (int64_t part = 1; part < parts; ++part) {
        const int64_t border = length / parts * part + length % parts * part / parts;
        if (border > (borders.empty() ? 0 : borders.back())) borders.push_back(border);
    }
    return ReplaceBookmarks(document, "Split into Equal Parts", host, borders);
}

JobResult MarkIntervals(LSoundDocument& document, LEditHost& host, int64_t frames) {
    const int64_t length = document.sound.Length();
    if (frames < 1 || length == 0) return JobResult::kCancelled;
    if (frames >= length) {
        host.Messages().Tell("Interval too long",
                             "The interval length is longer than the file. No intervals can be created.");
        return JobResult::kFailed;
    }
    if (IsTooMany(length / frames, host)) return JobResult::kFailed;
    std::vector<int64_t> borders;
    for (int64_t border = frames; border < length; border += frames) borders.push_back(border);
    return ReplaceBookmarks(document, "Split into intervals", host, borders);
}

}  // namespace ondarix
