// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/sound_pieces.h"

#include <signal.h>
#include <sys/resource.h>

#include <QFileInfo>

#include "formats/load.h"
#include "formats/save.h"
#include "formats_test.h"
#include "gen/settings.h"
#include "sound/bookmark_file.h"
#include "sound/edit_host_fixture.h"

namespace ondarix {
namespace {

using namespace test;

// What sox reads of a file, in the coding named.
Bytes SoxReads(const QString& path, const QString& type) {
    return Shell(QStringLiteral("sox '%1' -t %2 -").arg(path, type));
}

class SoundPieces : public CacheTest {
  protected:
    SoundPieces() : document_(new LSoundDocument) { QDir().mkpath(Path("out")); }
    ~SoundPieces() override {
        host_.documents.clear();
        document_ = {};
    }
    LSoundDocument& Doc() { return *document_; }
    // A file made by sox, opened as the document.
    void Open(const QString& name, const QString& sox) {
        Shell(QStringLiteral("sox -n -R %1 '%2' synth 2 pinknoise vol 0.5").arg(sox, Path(name)));
        LLoadedSound loaded;
        ASSERT_EQ(LoadSound(Path(name), 0, loaded, progress_, host_.Messages()), JobResult::kSuccess);
        Doc().sound = loaded.sound;
        Doc().path = Path(name);
        Doc().title = name;
    }
    LPieceTarget Target(const QString& folder = "out") { return {Path(folder), ".wav"}; }
    QStringList Files(const QString& folder = "out") {
        return QDir(Path(folder)).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }
    CountingProgress progress_;
    LTestEditHost host_;
    LSoundDocumentRef document_;
    QStringList written_;
};

TEST_F(SoundPieces, FileNamesAreThoseThatEverySystemTakes) {
    for (const char* good :
         {"a", "Über uns 🎵", "Con text", "a.b", "COM", "COM10", "x (2)", ".hidden", "-n", "nul_"})
        EXPECT_TRUE(IsFileName(QString::fromUtf8(good))) << good;
    for (const char* bad : {"",   " ",     ".",       "..",   "a/b",      "a\\b",   "a:b",        "a*",
                            "a?", "\"a\"", "<a>",     "a|b",  "a\nb",     "\t",     "a\x7f",      "a.",
                            "a ", "con",   "NUL.txt", "Lpt1", "com9.wav", "aux .x", "COM\xC2\xB9"})
        EXPECT_FALSE(IsFileName(QString::fromUtf8(bad))) << bad;
    EXPECT_FALSE(IsFileName(QString(10000, u'x')));
    EXPECT_FALSE(IsFileName(QString(100, u'\u4E00')));  // 300 bytes
    EXPECT_FALSE(IsFileName(QString(QChar(0xD800))));
    EXPECT_FALSE(IsFileName(QString(QChar(u'a')) + QChar(u'\0')));
}

// Put one behind the other, the pieces are the source, to the bit, in its own coding.
TEST_F(SoundPieces, HoldEverySampleOfTheSource) {
    const std::pair<const char*, const char*> codings[] = {{"-r 44100 -c 2 -e float -b 32", "f32"},
                                                           {"-r 8000 -c 3 -b 24", "s32"},
                                                           {"-r 48000 -c 1 -b 16", "s16"}};
    for (const auto& [sox, type] : codings) {
        Open("source.wav", sox);
        const auto pieces = PiecesAt(Doc().sound.Length(), {1, 255, 256, 5000, 9001}, "part");
        ASSERT_EQ(SavePieces(Doc(), pieces, Target(), host_, written_), JobResult::kSuccess);
        ASSERT_EQ(written_.size(), 6);
        Bytes joined;
        for (const QString& path : written_) {
            const Bytes piece = SoxReads(path, type);
            joined.insert(joined.end(), piece.begin(), piece.end());
        }
        EXPECT_EQ(joined, SoxReads(Path("source.wav"), type)) << sox;
        EXPECT_EQ(host_.jobs.back(), "Saving...");
        written_.clear();
        host_.told.clear();
        host_.answers.assign(6, 0);  // the next coding replaces them
    }
}

TEST_F(SoundPieces, NamesAndFoldersAreCheckedBeforeAnythingIsWritten) {
    Open("source.wav", "-r 8000 -c 1 -b 16");
    const std::vector<LPiece> bad{{0, 10, "fine"}, {10, 20, "a/b"}};
    EXPECT_EQ(SavePieces(Doc(), bad, Target("new"), host_, written_), JobResult::kFailed);
    EXPECT_EQ(host_.told.takeLast(),
              "Invalid File Name|The name of the region \"a/b\" contains characters that are not valid for a "
              "file name. Please rename it with a new name that contains text only and try again.");
    const std::vector<LPiece> good{{0, 10, "fine"}};
    EXPECT_EQ(SavePieces(Doc(), good, Target("new"), host_, written_), JobResult::kCancelled);
    EXPECT_EQ(host_.told.takeLast(), "Destination Folder|The destination folder does not exist. Create it?");
    EXPECT_FALSE(QFileInfo::exists(Path("new")));
    host_.answers = {0};
    EXPECT_EQ(SavePieces(Doc(), good, Target("new/deep"), host_, written_), JobResult::kSuccess);
    EXPECT_EQ(written_, QStringList{Path("new/deep/fine.wav")});

    host_.told.clear();
    host_.answers = {0};
    EXPECT_EQ(SavePieces(Doc(), good, Target("source.wav/x"), host_, written_), JobResult::kFailed);
    EXPECT_EQ(host_.told.takeLast(),
              QStringLiteral("Unable to create directory|Unable to create '%1'. Region "
                             "export failed.")
                  .arg(Path("source.wav/x")));
    EXPECT_EQ(SavePieces(Doc(), {}, Target(), host_, written_), JobResult::kCancelled);
}

TEST_F(SoundPieces, NothingIsReplacedUnasked) {
    Open("source.wav", "-r 8000 -c 1 -b 16");
    WriteWhole(Path("out/keep.wav"), {'k'});
    WriteWhole(Path("out/go.wav"), {'g'});
    WriteBookmarkFile(BookmarkFileOf(Path("out/go.wav")), LBookmarks(1));
    host_.answers = {1, 0};
    const std::vector<LPiece> pieces{
        {0, 10, "keep"}, {0, 20, "go"}, {0, 30, "Go"}, {0, 40, "GO"}, {0, 50, "go (2)"}};
    ASSERT_EQ(SavePieces(Doc(), pieces, Target(), host_, written_), JobResult::kSuccess);
    EXPECT_EQ(
        host_.told,
        (QStringList{"Replace File|The region \"keep\" already exists in the output folder. Do you want to "
                     "replace it?",
                     "Replace File|The region \"go\" already exists in the output folder. Do you want to "
                     "replace it?"}));
    EXPECT_EQ(ReadWhole(Path("out/keep.wav")), Bytes{'k'});
    // The bookmarks of what was replaced are gone; names that some systems take for one are told apart.
    EXPECT_EQ(Files(), (QStringList{"GO (4).wav", "Go (3).wav", "go (2).wav", "go.wav", "keep.wav"}));
    EXPECT_EQ(SoxReads(Path("out/go.wav"), "s16").size(), 40U);
    EXPECT_EQ(SoxReads(Path("out/go (2).wav"), "s16").size(), 100U);
    EXPECT_EQ(written_.size(), 4);
}

// A limit on the size of files stands for a disk that fills up.
TEST_F(SoundPieces, AFullDiskLeavesWholeFilesOnly) {
    Open("source.wav", "-r 8000 -c 1 -b 16");
    signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit tight = before;
    tight.rlim_cur = 20000;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
    const std::vector<LPiece> pieces{{0, 1000, "one"}, {0, 16000, "two"}, {0, 10, "three"}};
    const JobResult result = SavePieces(Doc(), pieces, Target(), host_, written_);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_EQ(result, JobResult::kFailed);
    EXPECT_EQ(Files(), QStringList{"one.wav"});
    EXPECT_EQ(written_, QStringList{Path("out/one.wav")});
    ASSERT_EQ(host_.told.size(), 1);
    EXPECT_TRUE(host_.told[0].contains("two.wav")) << host_.told[0].toStdString();
    host_.cancelAfter = 0;
    EXPECT_EQ(SavePieces(Doc(), {{0, 16000, "four"}}, Target(), host_, written_), JobResult::kCancelled);
    EXPECT_EQ(Files(), QStringList{"one.wav"});
}

// The folder goes while the second piece is about to be written.
TEST_F(SoundPieces, AFolderThatVanishesIsTold) {
    Open("source.wav", "-r 8000 -c 1 -b 16");
    struct Host final : LEditHost {
        struct Progress final : LProgress {
            explicit Progress(QString folder) : folder_(std::move(folder)) {}
            bool IsCancelled() override { return false; }
            WaitResult Sleep(int) override { return WaitResult::kTimedOut; }
            WaitResult WaitForHandle(LWaitHandle, int) override { return WaitResult::kTimedOut; }
            WaitResult WaitForHandles(const LHandleList&, int) override { return WaitResult::kTimedOut; }
            void SetStatus(const QString& text, int) override {
                if (text == "b.wav") QDir(folder_).removeRecursively();
            }
            QString folder_;
        };
        LMessageHost& Messages() override { return messages; }
        JobResult RunJob(const QString&, const std::function<JobResult(LProgress&)>& work) override {
            Progress progress(folder);
            return work(progress);
        }
        bool AddDocument(LSoundDocumentRef) override { return false; }
        ScriptedHost messages;
        QString folder;
    } host;
    host.folder = Path("out");
    EXPECT_EQ(SavePieces(Doc(), {{0, 9, "a"}, {0, 9, "b"}, {0, 9, "c"}}, Target(), host, written_),
              JobResult::kFailed);
    EXPECT_EQ(written_, QStringList{Path("out/a.wav")});
    ASSERT_EQ(host.messages.told.size(), 1);
    EXPECT_TRUE(host.messages.told[0].contains("b.wav"));
}

TEST_F(SoundPieces, RegionsOfSeveralSoundsAreExported) {
    Open("source.wav", "-r 8000 -c 1 -b 16");
    AddRegion(Doc(), host_, 100, 300, "Intro");
    LSoundDocumentRef other(new LSoundDocument);
    other->sound = Doc().sound;
    AddRegion(*other, host_, 50, 60, "intro");
    const std::vector<LRegionRef> both{{&Doc(), Doc().regions[0].serial},
                                       {other.Get(), other->regions[0].serial}};
    ASSERT_EQ(ExportRegions(both, Target(), host_, written_), JobResult::kSuccess);
    EXPECT_EQ(Files(), (QStringList{"Intro.wav", "intro (2).wav"}));
    const Bytes source = SoxReads(Path("source.wav"), "s16");
    EXPECT_EQ(SoxReads(written_[0], "s16"), Bytes(source.begin() + 200, source.begin() + 600));
    EXPECT_EQ(SoxReads(written_[1], "s16"), Bytes(source.begin() + 100, source.begin() + 120));
    EXPECT_EQ(GetSettingString("Settings", "ExportRegionFolder", ""), Path("out"));
    EXPECT_EQ(GetSettingString("Settings", "ExportRegionFormat", ""), ".wav");

    ASSERT_EQ(RegionsToNew(both, host_), JobResult::kSuccess);
    ASSERT_EQ(host_.documents.size(), 2U);
    EXPECT_EQ(host_.documents[1]->title, "intro");
    EXPECT_EQ(host_.documents[1]->sound.Length(), 10);
    EXPECT_EQ(RegionsToNew({{&Doc(), 123456}}, host_), JobResult::kCancelled);
}

TEST_F(SoundPieces, NumberedRegionsCountOn) {
    Open("take one.wav", "-r 8000 -c 1 -b 16");
    QString saved;
    SetSettingInt(2, "Settings", "SaveRegionDigits");
    SetSettingInt(9, "Settings", "SaveRegionCount");
    WriteWhole(Path("take one-region-10.wav"), {'x'});
    Doc().Select(100, 200);
    for (const char* name : {"take one-region-09.wav", "take one-region-11.wav"}) {
        ASSERT_EQ(SaveNumberedRegion(Doc(), {}, host_, saved), JobResult::kSuccess);
        EXPECT_EQ(saved, Path(name));
        EXPECT_EQ(SoxReads(saved, "s16").size(), 200U);
    }
    EXPECT_EQ(GetSettingInt("Settings", "SaveRegionCount", 0), 12);
    Doc().Select(0, 0);
    ASSERT_EQ(SaveNumberedRegion(Doc(), Target(), host_, saved), JobResult::kSuccess);
    EXPECT_EQ(saved, Path("out/take one-region-12.wav"));
    EXPECT_EQ(SoxReads(saved, "s16"), SoxReads(Doc().path, "s16"));
    EXPECT_EQ(ReadWhole(Path("take one-region-10.wav")), Bytes{'x'});
    EXPECT_TRUE(host_.told.isEmpty());
}

TEST_F(SoundPieces, AFileIsInsertedAtTheCursor) {
    Open("source.wav", "-r 44100 -c 2 -b 16");
    Shell(QStringLiteral("sox -n -r 22050 -c 1 -b 16 '%1' synth 1 sine 1000 vol 0.5").arg(Path("tone.wav")));
    const auto before = ReadSound(Doc().sound);
    Doc().Select(0, 1000);
    AddBookmark(Doc(), host_, 2000);
    ASSERT_EQ(InsertFile(Doc(), Path("tone.wav"), host_), JobResult::kSuccess);
    EXPECT_EQ(Doc().UndoLabel(), "Insert File");
    const auto after = ReadSound(Doc().sound);
    ASSERT_EQ(after.size(), before.size() + 2 * 44100);
    EXPECT_TRUE(std::equal(before.begin(), before.begin() + 2000, after.begin()));
    EXPECT_TRUE(std::equal(before.begin() + 2000, before.end(), after.begin() + 2000 + 2 * 44100));
    EXPECT_EQ(Doc().bookmarks[0].position, 2000 + 44100);
    EXPECT_EQ(GetSettingString("Settings", "InsertFileFormat", ""), "wav");
    EXPECT_EQ(GetSettingString("Settings", "InsertFileDir", ""), QFileInfo(Path("tone.wav")).absolutePath());
    // A quarter into the tone: what sox makes of it at this rate.
    Shell(QStringLiteral("sox '%1' -r 44100 -e float -b 32 '%2'").arg(Path("tone.wav"), Path("same.wav")));
    const auto tone = As<float>(SoxReads(Path("same.wav"), "f32"));
    for (size_t i = 10000; i < 11000; ++i) {
        ASSERT_NEAR(after[2 * (1000 + i)], tone[i], 0.001) << i;
        ASSERT_EQ(after[2 * (1000 + i)], after[2 * (1000 + i) + 1]);
    }
    ASSERT_TRUE(Doc().Undo());
    EXPECT_EQ(ReadSound(Doc().sound), before);

    const QString label = Doc().UndoLabel();
    EXPECT_EQ(InsertFile(Doc(), Path("none.wav"), host_), JobResult::kFailed);
    EXPECT_TRUE(host_.told.takeLast().startsWith("File Not Found."));
    WriteWhole(Path("bad.wav"), {'b', 'a', 'd'});
    EXPECT_EQ(InsertFile(Doc(), Path("bad.wav"), host_), JobResult::kFailed);
    EXPECT_TRUE(host_.told.takeLast().startsWith("Error loading file|"));
    EXPECT_EQ(Doc().UndoLabel(), label);
}

// --- Bookmarks beside a sound that is opened and saved

class SavedBookmarks : public SoundPieces {
  protected:
    LLoadedSound Load() {
        LLoadedSound loaded;
        EXPECT_EQ(LoadSound(Path("s.wav"), 0, loaded, progress_, host_.Messages()), JobResult::kSuccess);
        return loaded;
    }
    LSaveOutcome Save(const LBookmarks* bookmarks) {
        LSaveRequest request;
        request.sound = &Doc().sound;
        request.path = Path("s.wav");
        request.bookmarks = bookmarks;
        return SaveSound(request, progress_, host_.Messages());
    }
    QString side_ = Path("s.wav.odxm");
};

TEST_F(SavedBookmarks, ComeAndGoWithTheSound) {
    Open("s.wav", "-r 8000 -c 1 -b 16");
    EXPECT_TRUE(Load().bookmarks.empty());
    LBookmarks bookmarks(2);
    bookmarks[0].name = "One";
    bookmarks[0].index = 1;
    bookmarks[0].SetPosition(44100, 44100);  // of another rate: a second in
    bookmarks[1].name = "Behind";
    bookmarks[1].index = 2;
    bookmarks[1].SetPosition(INT64_MAX, 8000);
    EXPECT_EQ(Save(&bookmarks).result, SaveResult::kSuccess);
    LBookmarks loaded = Load().bookmarks;
    ASSERT_EQ(loaded.size(), 2U);
    EXPECT_EQ(loaded[0].name, "One");
    EXPECT_EQ(loaded[0].position, 8000);
    EXPECT_EQ(loaded[0].sampleRate, 8000);
    EXPECT_EQ(loaded[0].positionMs, 1000);
    EXPECT_EQ(loaded[1].position, 16000);
    EXPECT_EQ(Save(nullptr).result, SaveResult::kSuccess);
    EXPECT_EQ(Load().bookmarks.size(), 2U);
    loaded.clear();
    EXPECT_EQ(Save(&loaded).result, SaveResult::kSuccess);
    EXPECT_FALSE(QFileInfo::exists(side_));
    EXPECT_TRUE(host_.told.isEmpty());
}

TEST_F(SavedBookmarks, TroubleWithThemIsToldAndHoldsNothingUp) {
    Open("s.wav", "-r 8000 -c 1 -b 16");
    WriteWhole(side_, {'r', 'u', 'b'});
    EXPECT_TRUE(Load().bookmarks.empty());
    ASSERT_EQ(host_.told.size(), 1);
    EXPECT_TRUE(host_.told.takeLast().contains(side_));
    const LBookmarks none;
    EXPECT_EQ(Save(&none).result, SaveResult::kSuccess);
    EXPECT_EQ(ReadWhole(side_ + ".bad"), (Bytes{'r', 'u', 'b'}));
    EXPECT_FALSE(QFileInfo::exists(side_));

    ASSERT_TRUE(QDir().mkpath(side_ + "/in the way"));
    const LBookmarks one(1);
    EXPECT_EQ(Save(&one).result, SaveResult::kSuccess);
    ASSERT_EQ(host_.told.size(), 1);
    EXPECT_TRUE(host_.told.takeLast().startsWith("Error saving file|"));
    EXPECT_EQ(SoxReads(Path("s.wav"), "s16").size(), 32000U);
}

}  // namespace
}  // namespace ondarix
