// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/bookmark.h"

#include <cmath>
#include <limits>
#include <numeric>
#include <random>

namespace ondarix {
namespace {

LBookmarks BookmarksAt(std::initializer_list<int64_t> positions, int32_t rate = 44100) {
    LBookmarks bookmarks;
    for (const int64_t position : positions) {
        LBookmark one;
        one.name = QStringLiteral("Mark %1").arg(position);
        one.index = NextBookmarkIndex(bookmarks);
        one.SetPosition(position, rate);
        bookmarks.push_back(one);
    }
    return bookmarks;
}

std::vector<int64_t> PositionsOf(const LBookmarks& bookmarks) {
    std::vector<int64_t> positions;
    for (const LBookmark& one : bookmarks) {
        positions.push_back(one.position);
        EXPECT_EQ(one.positionMs, FramesToMs(one.position, one.sampleRate));
    }
    return positions;
}

using Positions = std::vector<int64_t>;

LRegion RegionOf(int64_t start, int64_t end) {
    LRegion region;
    region.SetRange(start, end, 44100);
    return region;
}

TEST(Bookmarks, TimesOfAnyLengthAreExact) {
    std::mt19937_64 random(7);
    for (const int32_t rate : {1, 8000, 11025, 44100, 48000, 192000, 2147483647}) {
        for (int i = 0; i < 200; ++i) {
            const auto frames = static_cast<int64_t>(random() >> (1 + random() % 50));
            const long double exact = static_cast<long double>(frames) * 1000 / rate;
            if (exact > 9e18L) continue;
            EXPECT_LE(std::fabs(static_cast<long double>(FramesToMs(frames, rate)) - exact), 1);
            const int64_t ms = FramesToMs(frames, rate);
            const int64_t back = MsToFrames(ms, rate);
            EXPECT_LE(back, frames) << rate;
            EXPECT_LE(frames - back, rate / 1000 + 1) << rate << ' ' << frames;
        }
    }
    EXPECT_EQ(FramesToMs(44099, 44100), 999);
    EXPECT_EQ(MsToFrames(1, 44100), 44);
    for (const int32_t none : {0, -1, std::numeric_limits<int32_t>::min()}) {
        EXPECT_EQ(FramesToMs(1000, none), 0);
        EXPECT_EQ(MsToFrames(1000, none), 0);
    }
    constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
    EXPECT_EQ(FramesToMs(kMost, 44100), kMost / 44100 * 1000 + kMost % 44100 * 1000 / 44100);
    EXPECT_EQ(FramesToMs(kMost, 1), kMost);  // would overflow
}

TEST(Bookmarks, FollowWhatIsRemovedAndPutIn) {
    LBookmarks bookmarks = BookmarksAt({0, 99, 100, 101, 150, 199, 200, 201, 1000});
    ShiftBookmarks(bookmarks, 100, -100);  // [100, 200) goes
    EXPECT_EQ(PositionsOf(bookmarks), (Positions{0, 99, 100, 100, 101, 900}));
    EXPECT_EQ(bookmarks[3].name, "Mark 200");  // stood at the end of what went

    bookmarks = BookmarksAt({0, 99, 100, 101});
    ShiftBookmarks(bookmarks, 100, 50);
    EXPECT_EQ(PositionsOf(bookmarks), (Positions{0, 99, 100, 151}));

    bookmarks = BookmarksAt({0, 99, 100, 150, 200, 201});
    KeepBookmarks(bookmarks, 100, 200);
    EXPECT_EQ(PositionsOf(bookmarks), (Positions{0, 50, 100}));
    EXPECT_EQ(bookmarks[0].name, "Mark 100");
}

// A sound as the list of its frames' names: what a region covers must be the same frames after any edit, as
// far as they are left.
TEST(Bookmarks, RegionsCoverTheSameFramesAfterEdits) {
    std::mt19937 random(11);
    for (int round = 0; round < 2000; ++round) {
        std::vector<int> frames(40);
        std::iota(frames.begin(), frames.end(), 0);
        const auto start = static_cast<int64_t>(random() % 39);
        const auto end = start + 1 + static_cast<int64_t>(random() % static_cast<size_t>(40 - start));
        const auto from = static_cast<int64_t>(random() % 40);
        const auto to = from + static_cast<int64_t>(random() % static_cast<size_t>(41 - from));
        std::vector<int> expected;
        for (int64_t f = start; f < end; ++f)
            if (f < from || f >= to) expected.push_back(static_cast<int>(f));

        LRegions regions{RegionOf(start, end)};
        ShiftRegions(regions, from, from - to);
        frames.erase(frames.begin() + from, frames.begin() + to);
        ASSERT_EQ(regions.size(), expected.empty() ? 0U : 1U);
        if (!regions.empty()) {
            const std::vector<int> covered(frames.begin() + regions[0].startFrame,
                                           frames.begin() + regions[0].endFrame);
            ASSERT_EQ(covered, expected) << start << ' ' << end << ' ' << from << ' ' << to;
            EXPECT_EQ(regions[0].endMs, FramesToMs(regions[0].endFrame, 44100));
        }

        std::vector<int> kept;
        for (int64_t f = std::max(start, from); f < std::min(end, to); ++f)
            kept.push_back(static_cast<int>(f));
        LRegions inside{RegionOf(start, end)};
        KeepRegions(inside, from, to);
        ASSERT_EQ(inside.size(), kept.empty() ? 0U : 1U);
        if (!kept.empty()) {
            EXPECT_EQ(inside[0].startFrame + from, kept.front());
            EXPECT_EQ(inside[0].endFrame - inside[0].startFrame, static_cast<int64_t>(kept.size()));
        }
    }
    LRegions regions{RegionOf(10, 20), RegionOf(20, 30), RegionOf(0, 10)};
    ShiftRegions(regions, 15, 100);
    EXPECT_EQ(regions[0].endFrame - regions[0].startFrame, 110);
    EXPECT_EQ(regions[1].startFrame, 120);
    EXPECT_EQ(regions[2].endFrame, 10);
}

TEST(Bookmarks, KeepTheirTimeThroughRateConversion) {
    std::mt19937_64 random(3);
    const int32_t rates[] = {8000, 11025, 22050, 44100, 48000, 96000, 192000};
    for (int i = 0; i < 5000; ++i) {
        const int32_t from = rates[random() % 7], to = rates[random() % 7];
        const auto position = static_cast<int64_t>(random() % (int64_t{from} * 360000));  // 100 hours
        LBookmarks bookmarks = BookmarksAt({position}, from);
        ScaleBookmarks(bookmarks, to, from);
        const long double error =
            static_cast<long double>(bookmarks[0].position) / to - static_cast<long double>(position) / from;
        EXPECT_LE(std::fabs(error) * to, 1.0L) << from << " to " << to;
        EXPECT_EQ(bookmarks[0].sampleRate, to);
    }
    LRegions regions{RegionOf(44100, 88200)};
    ScaleRegions(regions, 48000, 44100);
    EXPECT_EQ(regions[0].startFrame, 48000);
    EXPECT_EQ(regions[0].endFrame, 96000);
    EXPECT_EQ(regions[0].endMs, 2000);
    constexpr int64_t kFar = std::numeric_limits<int64_t>::max() / 2;
    EXPECT_EQ(ScalePosition(kFar, 44100, 88200), kFar / 2);  // 128 bits in between
    EXPECT_EQ(ScalePosition(5, 0, 44100), 5);
}

TEST(Bookmarks, NamesAndNumbersAreFoundWithoutCase) {
    LBookmarks bookmarks = BookmarksAt({100, 200});
    bookmarks[0].name = QString::fromUtf8("Straße Ä");
    bookmarks[1].name = "bookmark 1";
    EXPECT_TRUE(HasBookmark(bookmarks, QString::fromUtf8("STRAßE ä")));
    EXPECT_FALSE(HasBookmark(bookmarks, "Strasse"));
    EXPECT_EQ(FreeBookmarkName(bookmarks, "Bookmark"), "Bookmark 2");
    EXPECT_EQ(FreeBookmarkName({}, "Bookmark"), "Bookmark 1");
    EXPECT_LE(FreeBookmarkName({}, QString(500, u'x')).size(), 259);
    EXPECT_EQ(NextBookmarkIndex(bookmarks), 3U);
    bookmarks[1].index = std::numeric_limits<uint32_t>::max();
    EXPECT_EQ(NextBookmarkIndex(bookmarks), 2U);
    bookmarks.push_back(bookmarks[1]);
    EXPECT_TRUE(RemoveBookmark(bookmarks, "BOOKMARK 1"));
    EXPECT_EQ(bookmarks.size(), 1U);
    EXPECT_FALSE(RemoveBookmark(bookmarks, "BOOKMARK 1"));
}

TEST(Bookmarks, NearMeansLessThanTwoFramesInSomeFiles) {
    const LBookmarks bookmarks = BookmarksAt({100});
    for (const char* name : {"a.wav", "/x/A.WAV", "a.aif", "a.aiff", "a.AIFC"}) {
        for (int64_t at = 97; at <= 103; ++at)
            EXPECT_EQ(BookmarkNear(bookmarks, at, name), at >= 99 && at <= 101) << name << at;
    }
    for (const char* name : {"a.flac", "wav", "", "a.wav.mp3"}) {
        for (int64_t at = 97; at <= 103; ++at)
            EXPECT_EQ(BookmarkNear(bookmarks, at, name), at == 100) << name << at;
    }
}

}  // namespace
}  // namespace ondarix
