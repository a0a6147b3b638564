// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/bookmark.h"

#include <QSet>
#include <algorithm>
#include <atomic>
#include <limits>

#include "gen/text.h"

namespace ondarix {

namespace {

__extension__ using Int128 = __int128;

// value * factor / divisor, rounded down and held within 64 bits.
int64_t MulDiv(int64_t value, int64_t factor, int64_t divisor) {
    const Int128 product = Int128{value} * factor;
    Int128 quotient = product / divisor;
    if (product % divisor < 0) --quotient;
    if (quotient > std::numeric_limits<int64_t>::max()) return std::numeric_limits<int64_t>::max();
    if (quotient < std::numeric_limits<int64_t>::min()) return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(quotient);
}

// Where an edge goes that may not vanish.
int64_t ShiftedEdge(int64_t edge, int64_t pos, int64_t delta) {
    if (edge <= pos) return edge;
    return std::max(pos, edge + delta);
}

template <typename T>
QString FreeName(const std::vector<T>& taken, const QString& stem) {
    constexpr qsizetype kRoomForNumber = 12;
    QSet<QString> names;
    for (const T& one : taken) names.insert(one.name.toCaseFolded());
    const QString start = stem.left(kFixedTextLength - kRoomForNumber) + u' ';
    for (uint64_t number = 1;; ++number) {
        QString name = start + QString::number(number);
        if (!names.contains(name.toCaseFolded())) return name;
    }
}

bool SameName(const QString& a, const QString& b) { return a.compare(b, Qt::CaseInsensitive) == 0; }

}  // namespace

int64_t FramesToMs(int64_t frames, int32_t rate) { return rate < 1 ? 0 : MulDiv(frames, 1000, rate); }

int64_t MsToFrames(int64_t ms, int32_t rate) { return rate < 1 ? 0 : MulDiv(ms, rate, 1000); }

int64_t ScalePosition(int64_t value, int32_t newRate, int32_t oldRate) {
    return newRate < 1 || oldRate < 1 ? value : MulDiv(value, newRate, oldRate);
}

void LBookmark::SetPosition(int64_t frames, int32_t rate) {
    position = frames;
    sampleRate = rate;
    positionMs = FramesToMs(frames, rate);
}

void LRegion::SetRange(int64_t start, int64_t end, int32_t rate) {
    startFrame = start;
    endFrame = end;
    sampleRate = rate;
    startMs = FramesToMs(start, rate);
    endMs = FramesToMs(end, rate);
}

uint32_t NextRegionSerial() {
    static std::atomic<uint32_t> last{0};
    return ++last;
}

void ShiftBookmarks(LBookmarks& bookmarks, int64_t pos, int64_t delta) {
    if (delta < 0) {
        std::erase_if(bookmarks,
                      [&](const LBookmark& one) { return one.position > pos && one.position + delta < pos; });
    }
    for (LBookmark& one : bookmarks) {
        if (one.position > pos) one.SetPosition(one.position + delta, one.sampleRate);
    }
}

void ShiftRegions(LRegions& regions, int64_t pos, int64_t delta) {
    for (LRegion& one : regions) {
        one.SetRange(ShiftedEdge(one.startFrame, pos, delta), ShiftedEdge(one.endFrame, pos, delta),
                     one.sampleRate);
    }
    if (delta < 0) std::erase_if(regions, [](const LRegion& one) { return one.startFrame >= one.endFrame; });
}

void KeepBookmarks(LBookmarks& bookmarks, int64_t start, int64_t end) {
    std::erase_if(bookmarks,
                  [&](const LBookmark& one) { return one.position < start || one.position > end; });
    for (LBookmark& one : bookmarks) one.SetPosition(one.position - start, one.sampleRate);
}

void KeepRegions(LRegions& regions, int64_t start, int64_t end) {
    for (LRegion& one : regions) {
        one.SetRange(std::clamp(one.startFrame, start, end) - start,
                     std::clamp(one.endFrame, start, end) - start, one.sampleRate);
    }
    std::erase_if(regions, [](const LRegion& one) { return one.startFrame >= one.endFrame; });
}

void ScaleBookmarks(LBookmarks& bookmarks, int32_t newRate, int32_t oldRate) {
    for (LBookmark& one : bookmarks) one.SetPosition(ScalePosition(one.position, newRate, oldRate), newRate);
}

void ScaleRegions(LRegions& regions, int32_t newRate, int32_t oldRate) {
    for (LRegion& one : regions) {
        one.SetRange(ScalePosition(one.startFrame, newRate, oldRate),
                     ScalePosition(one.endFrame, newRate, oldRate), newRate);
    }
}

uint32_t NextBookmarkIndex(const LBookmarks& bookmarks) {
    uint32_t highest = 0;
    for (const LBookmark& one : bookmarks) highest = std::max(highest, one.index);
    if (highest < std::numeric_limits<uint32_t>::max()) return highest + 1;
    QSet<uint32_t> used;
    for (const LBookmark& one : bookmarks) used.insert(one.index);
    uint32_t free = 1;
    while (used.contains(free)) ++free;
    return free;
}

bool HasBookmark(const LBookmarks& bookmarks, const QString& name) {
    return std::any_of(bookmarks.begin(), bookmarks.end(),
                       [&](const LBookmark& one) { return SameName(one.name, name); });
}

bool RemoveBookmark(LBookmarks& bookmarks, const QString& name) {
    return std::erase_if(bookmarks, [&](const LBookmark& one) { return SameName(one.name, name); }) > 0;
}

bool BookmarkNear(const LBookmarks& bookmarks, int64_t frames, const QString& fileName) {
    const QString extension = LowerExtension(fileName);
    const bool loose =
        extension == ".wav" || extension == ".aif" || extension == ".aiff" || extension == ".aifc";
    const int64_t reach = loose ? 2 : 1;
    return std::any_of(bookmarks.begin(), bookmarks.end(), [&](const LBookmark& one) {
        return one.position - frames < reach && frames - one.position < reach;
    });
}

QString FreeBookmarkName(const LBookmarks& bookmarks, const QString& stem) {
    return FreeName(bookmarks, stem);
}

QString FreeRegionName(const LRegions& regions, const QString& stem) { return FreeName(regions, stem); }

}  // namespace ondarix
