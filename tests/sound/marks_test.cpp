// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/marks.h"

#include <cmath>
#include <random>

#include "sound/edit_host_fixture.h"

namespace ondarix {
namespace {

class Marks : public SoundCacheTest {
  protected:
    void SetUp() override {
        SoundCacheTest::SetUp();
        document_ = LSoundDocumentRef(new LSoundDocument);
        document_->title = "Song";
    }
    void TearDown() override {
        host_.documents.clear();
        document_ = {};
        SoundCacheTest::TearDown();
    }
    LSoundDocument& Doc() { return *document_; }
    // Each sample tells its channel and its frame.
    void Fill(int64_t frames, LSoundFormat format = {1000, 1}) {
        std::vector<float> samples(static_cast<size_t>(frames) * format.channels);
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] = static_cast<float>(i / format.channels) / 65536.0f +
                         static_cast<float>(i % format.channels) * 0.25f;
        Doc().sound = Write(samples, format);
    }
    std::vector<int64_t> Positions() {
        std::vector<int64_t> positions;
        for (const LBookmark& one : Doc().bookmarks) positions.push_back(one.position);
        return positions;
    }
    QStringList Names() {
        QStringList names;
        for (const LBookmark& one : Doc().bookmarks) names << one.name;
        return names;
    }
    LTestEditHost host_;
    LSoundDocumentRef document_;
};

using Places = std::vector<int64_t>;

TEST_F(Marks, EachBookmarkCommandIsOneStepOfTheHistory) {
    Fill(1000);
    struct {
        const char* label;
        std::function<JobResult()> run;
        Places after;
    } const steps[] = {
        {"Bookmark", [&] { return AddBookmark(Doc(), host_, 100); }, {100}},
        {"Bookmark", [&] { return AddBookmark(Doc(), host_, 5000); }, {100, 1000}},
        {"Bookmark", [&] { return AddBookmark(Doc(), host_, -7, "Start"); }, {100, 1000, 0}},
        {"Rename Bookmark", [&] { return RenameBookmark(Doc(), host_, 1, "Chorus"); }, {100, 1000, 0}},
        {"Move Bookmark", [&] { return MoveBookmark(Doc(), host_, 1, 250); }, {250, 1000, 0}},
        {"Delete Bookmark",
         [&] {
             return DeleteBookmarks(Doc(), host_, {2, 77});
         },
         {250, 0}},
        {"Delete all bookmarks", [&] { return DeleteAllBookmarks(Doc(), host_); }, {}},
    };
    std::vector<std::pair<Places, QStringList>> before;
    for (const auto& step : steps) {
        before.emplace_back(Positions(), Names());
        const int refreshes = host_.refreshes;
        ASSERT_EQ(step.run(), JobResult::kSuccess) << step.label;
        EXPECT_EQ(Positions(), step.after) << step.label;
        EXPECT_EQ(Doc().UndoLabel(), step.label);
        EXPECT_GT(host_.refreshes, refreshes);
        EXPECT_TRUE(Doc().isModified);
    }
    for (size_t i = std::size(steps); i-- > 0;) {
        ASSERT_TRUE(Doc().Undo());
        EXPECT_EQ(Positions(), before[i].first) << steps[i].label;
        EXPECT_EQ(Names(), before[i].second);
    }
    EXPECT_FALSE(Doc().isModified);
    for (const auto& step : steps) {
        ASSERT_TRUE(Doc().Redo());
        EXPECT_EQ(Positions(), step.after) << step.label;
    }
    EXPECT_EQ(host_.played, 0);
}

TEST_F(Marks, NamesThatWillNotDoAreToldAndChangeNothing) {
    Fill(1000);
    AddBookmark(Doc(), host_, 10, "One");
    AddBookmark(Doc(), host_, 20, "Two");
    const QString label = Doc().UndoLabel();
    const QString exists = QStringLiteral("%1|%2").arg(kBookmarkExistsTitle, kBookmarkExistsText);
    const QString invalid = "Name Invalid|The name must contain text.";
    EXPECT_EQ(RenameBookmark(Doc(), host_, 2, "ONE"), JobResult::kFailed);
    EXPECT_EQ(RenameBookmark(Doc(), host_, 2, "  "), JobResult::kFailed);
    EXPECT_EQ(AddBookmark(Doc(), host_, 5, "two"), JobResult::kFailed);
    EXPECT_EQ(host_.told, (QStringList{exists, invalid, exists}));
    EXPECT_EQ(RenameBookmark(Doc(), host_, 2, "Two"), JobResult::kCancelled);
    EXPECT_EQ(RenameBookmark(Doc(), host_, 9, "Nine"), JobResult::kCancelled);
    EXPECT_EQ(MoveBookmark(Doc(), host_, 2, 20), JobResult::kCancelled);
    EXPECT_EQ(DeleteBookmarks(Doc(), host_, {5}), JobResult::kCancelled);
    EXPECT_EQ(Names(), (QStringList{"One", "Two"}));
    EXPECT_EQ(Doc().UndoLabel(), label);
    // A change of its own case is none of another's business; what is too long is cut.
    EXPECT_EQ(RenameBookmark(Doc(), host_, 2, "TWO"), JobResult::kSuccess);
    EXPECT_EQ(RenameBookmark(Doc(), host_, 1, QString(400, u'x')), JobResult::kSuccess);
    EXPECT_EQ(Names(), (QStringList{QString(259, u'x'), "TWO"}));
    EXPECT_EQ(host_.told.size(), 3);
}

TEST_F(Marks, FollowTheEditsOfTheSound) {
    Fill(1000);
    for (const int64_t at : {100, 150, 200, 300}) AddBookmark(Doc(), host_, at);
    AddRegion(Doc(), host_, 120, 250);
    Doc().Select(100, 200);
    ASSERT_EQ(DeleteSelection(Doc(), host_), JobResult::kSuccess);
    EXPECT_EQ(Positions(), (Places{100, 100, 200}));
    ASSERT_EQ(Doc().regions.size(), 1U);
    EXPECT_EQ(Doc().regions[0].startFrame, 100);
    EXPECT_EQ(Doc().regions[0].endFrame, 150);
    ASSERT_EQ(InsertSilence(Doc(), host_, 100, 1000), JobResult::kSuccess);
    EXPECT_EQ(Positions(), (Places{100, 100, 1200}));
    Doc().Select(1150, 1250);
    ASSERT_EQ(TrimToSelection(Doc(), host_), JobResult::kSuccess);
    EXPECT_EQ(Positions(), (Places{50}));
    while (Doc().CanUndo()) Doc().Undo();
    EXPECT_TRUE(Doc().bookmarks.empty());
    EXPECT_TRUE(Doc().regions.empty());
}

TEST_F(Marks, PeaksStandOnTheLoudestFrameOfEachStretch) {
    std::mt19937 random(5);
    constexpr int64_t kFrames = 100000, kStretch = 20000;
    std::vector<float> samples(kFrames * 2);
    for (float& sample : samples) sample = static_cast<float>(random() % 1000) / 4000.0f - 0.125f;
    std::fill(samples.begin() + 2 * 40000, samples.begin() + 2 * 60000, 0.0f);  // one silent stretch
    const Places loud{7, 20000, 60000 + 8192, 99999};
    for (size_t i = 0; i < loud.size(); ++i)
        samples[static_cast<size_t>(loud[i] * 2) + i % 2] = i % 2 ? 0.9f : -0.9f;
    Doc().sound = Write(samples, {20000, 2});
    AddBookmark(Doc(), host_, 20000, "Bookmark 2");
    ASSERT_EQ(MarkPeaks(Doc(), host_, kStretch * 1000 / 20000), JobResult::kSuccess);
    EXPECT_EQ(Positions(), (Places{20000, 7, 68192, 99999}));
    EXPECT_EQ(Names(), (QStringList{"Bookmark 2", "Bookmark 1", "Bookmark 3", "Bookmark 4"}));
    EXPECT_EQ(Doc().UndoLabel(), "Mark peak bookmarks");
    EXPECT_EQ(MarkPeaks(Doc(), host_, 1000), JobResult::kCancelled);  // all are there
    Doc().bookmarks.clear();
    host_.cancelAfter = 3;
    EXPECT_EQ(MarkPeaks(Doc(), host_, 1000), JobResult::kCancelled);
    EXPECT_TRUE(Doc().bookmarks.empty());
    EXPECT_EQ(MarkPeaks(Doc(), host_, 0), JobResult::kCancelled);
}

TEST_F(Marks, PartsAndIntervalsReplaceOlderBookmarks) {
    Fill(1000);
    AddBookmark(Doc(), host_, 1, "old");
    ASSERT_EQ(MarkEqualParts(Doc(), host_, 3), JobResult::kSuccess);
    EXPECT_EQ(Positions(), (Places{333, 666}));
    EXPECT_EQ(Doc().UndoLabel(), "Split into Equal Parts");
    ASSERT_EQ(MarkIntervals(Doc(), host_, 250), JobResult::kSuccess);
    EXPECT_EQ(Positions(), (Places{250, 500, 750}));
    EXPECT_EQ(Doc().UndoLabel(), "Split into intervals");
    EXPECT_EQ(MarkEqualParts(Doc(), host_, 1), JobResult::kCancelled);
    EXPECT_EQ(MarkIntervals(Doc(), host_, 0), JobResult::kCancelled);
    EXPECT_TRUE(host_.told.isEmpty());
    EXPECT_EQ(MarkIntervals(Doc(), host_, 1000), JobResult::kFailed);
    EXPECT_EQ(MarkEqualParts(Doc(), host_, 2000000000), JobResult::kFailed);
    ASSERT_EQ(host_.told.size(), 2);
    EXPECT_EQ(host_.told[0],
              "Interval too long|The interval length is longer than the file. No intervals can be created.");
    EXPECT_EQ(Positions(), (Places{250, 500, 750}));
    ASSERT_EQ(MarkEqualParts(Doc(), host_, 5000), JobResult::kSuccess);  // more parts than frames
    EXPECT_EQ(Doc().bookmarks.size(), 999U);
}

TEST_F(Marks, NeighboursAreFoundInAnyOrder) {
    Fill(1000);
    for (const int64_t at : {500, 100, 900, 100}) AddBookmark(Doc(), host_, at);
    EXPECT_EQ(BookmarkAfter(Doc(), 100)->position, 500);
    EXPECT_EQ(BookmarkAfter(Doc(), -1)->position, 100);
    EXPECT_EQ(BookmarkAfter(Doc(), 900), nullptr);
    EXPECT_EQ(BookmarkBefore(Doc(), 900)->position, 500);
    EXPECT_EQ(BookmarkBefore(Doc(), 100), nullptr);
}

TEST_F(Marks, RegionsStayInsideTheSound) {
    Fill(1000);
    ASSERT_EQ(AddRegion(Doc(), host_, -50, 400), JobResult::kSuccess);
    ASSERT_EQ(AddRegion(Doc(), host_, 900, 4000, "Tail"), JobResult::kSuccess);
    EXPECT_EQ(AddRegion(Doc(), host_, 1000, 4000), JobResult::kCancelled);
    EXPECT_EQ(AddRegion(Doc(), host_, 10, 10), JobResult::kCancelled);
    EXPECT_EQ(Doc().UndoLabel(), "Add region");
    ASSERT_EQ(Doc().regions.size(), 2U);
    EXPECT_EQ(Doc().regions[0].name, "Region 1");
    EXPECT_EQ(Doc().regions[0].startFrame, 0);
    EXPECT_EQ(Doc().regions[1].endFrame, 1000);
    EXPECT_GT(Doc().regions[1].serial, Doc().regions[0].serial);
    const uint32_t first = Doc().regions[0].serial, second = Doc().regions[1].serial;
    ASSERT_EQ(ModifyRegion(Doc(), host_, first, 10, 20), JobResult::kSuccess);
    EXPECT_EQ(Doc().UndoLabel(), "Modify Region");
    EXPECT_EQ(Doc().regions[0].endMs, 20);
    EXPECT_EQ(ModifyRegion(Doc(), host_, first, 10, 20), JobResult::kCancelled);
    EXPECT_EQ(ModifyRegion(Doc(), host_, first, 20, 10), JobResult::kCancelled);
    EXPECT_EQ(RenameRegion(Doc(), host_, second, ""), JobResult::kFailed);
    EXPECT_EQ(host_.told, QStringList{"Name Invalid|The name must contain text."});
    EXPECT_EQ(RenameRegion(Doc(), host_, second, "Region 1"), JobResult::kSuccess);
    ASSERT_EQ(DeleteRegions(Doc(), host_, {first, second}), JobResult::kSuccess);
    EXPECT_TRUE(Doc().regions.empty());
    Doc().Undo();
    EXPECT_EQ(FindRegion(Doc(), second)->name, "Region 1");
}

TEST_F(Marks, PiecesCoverTheSoundOnce) {
    Fill(1000);
    const auto pieces = PiecesAt(1000, {500, 0, 200, 1000, 200, -5, 2000}, "Song");
    ASSERT_EQ(pieces.size(), 3U);
    EXPECT_EQ(pieces[0].end, 200);
    EXPECT_EQ(pieces[2].start, 500);
    EXPECT_EQ(pieces[2].name, "Song_3");
    std::vector<int64_t> each;
    for (int64_t i = 1; i < 12; ++i) each.push_back(i);
    EXPECT_EQ(PiecesAt(1000, each, "S").front().name, "S_01");
    EXPECT_TRUE(PiecesAt(0, each, "S").empty());

    AddBookmark(Doc(), host_, 600, "Chorus");
    AddBookmark(Doc(), host_, 200, "Verse");
    AddBookmark(Doc(), host_, 200, "again");
    AddBookmark(Doc(), host_, 1000, "End");
    const auto named = PiecesAtBookmarks(Doc());
    ASSERT_EQ(named.size(), 3U);
    EXPECT_EQ(named[0].name, "Song");
    EXPECT_EQ(named[1].name, "Song_Verse");
    EXPECT_EQ(named[1].end, 600);
    EXPECT_EQ(named[2].name, "Song_Chorus");

    ASSERT_EQ(PiecesToNew(Doc(), host_, named), JobResult::kSuccess);
    ASSERT_EQ(host_.documents.size(), 3U);
    std::vector<float> joined;
    for (const LSoundDocumentRef& piece : host_.documents) {
        const auto part = ReadSound(piece->sound);
        joined.insert(joined.end(), part.begin(), part.end());
        EXPECT_TRUE(piece->isModified);
        EXPECT_TRUE(piece->path.isEmpty());
    }
    EXPECT_EQ(joined, ReadSound(Doc().sound));
    EXPECT_EQ(host_.documents[1]->title, "Song_Verse");
    host_.mayOpen = false;
    EXPECT_EQ(PiecesToNew(Doc(), host_, named), JobResult::kFailed);
}

TEST_F(Marks, ChannelsBecomeDocuments) {
    Fill(300, {1000, 2});
    ASSERT_EQ(SplitChannels(Doc(), host_), JobResult::kSuccess);
    ASSERT_EQ(host_.documents.size(), 2U);
    EXPECT_EQ(host_.documents[0]->title, "Song_Left");
    EXPECT_EQ(host_.documents[1]->title, "Song_Right");
    const auto both = ReadSound(Doc().sound);
    for (size_t c = 0; c < 2; ++c) {
        const auto one = ReadSound(host_.documents[c]->sound);
        ASSERT_EQ(one.size(), 300U);
        for (size_t i = 0; i < one.size(); ++i) ASSERT_EQ(one[i], both[2 * i + c]);
    }
    host_.documents.clear();
    Fill(10, {1000, 3});
    ASSERT_EQ(SplitChannels(Doc(), host_), JobResult::kSuccess);
    EXPECT_EQ(host_.documents[2]->title, "Song_3");
    Fill(10);
    EXPECT_EQ(SplitChannels(Doc(), host_), JobResult::kCancelled);
}

TEST_F(Marks, RegionsAreAssembledWithGapsInTheFirstFormat) {
    Fill(1000, {8000, 1});
    AddRegion(Doc(), host_, 100, 300);
    AddRegion(Doc(), host_, 50, 60);
    const auto samples = ReadSound(Doc().sound);
    const uint32_t a = Doc().regions[0].serial, b = Doc().regions[1].serial;
    LSound out;
    LNullProgress progress;
    ASSERT_EQ(AssembleRegions({{&Doc(), b}, {&Doc(), a}, {&Doc(), 999999}}, 25, out, progress),
              JobResult::kSuccess);
    std::vector<float> expected(samples.begin() + 50, samples.begin() + 60);
    expected.resize(expected.size() + 200);
    expected.insert(expected.end(), samples.begin() + 100, samples.begin() + 300);
    EXPECT_EQ(ReadSound(out), expected);

    LSoundDocumentRef other(new LSoundDocument);
    other->sound = Write(std::vector<float>(2 * 16000, 0.5f), {16000, 2});
    AddRegion(*other, host_, 0, 16000);
    ASSERT_EQ(AssembleRegions({{&Doc(), a}, {other.Get(), other->regions[0].serial}}, 0, out, progress),
              JobResult::kSuccess);
    EXPECT_EQ(out.Format(), (LSoundFormat{8000, 1}));
    EXPECT_EQ(out.Length(), 200 + 8000);
    EXPECT_NEAR(ReadSound(out)[4200], 0.5f, 0.01f);
    EXPECT_EQ(AssembleRegions({}, 0, out, progress), JobResult::kCancelled);
}

}  // namespace
}  // namespace ondarix
