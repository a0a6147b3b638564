// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/cache.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <optional>
#include <thread>

#include "gen/clock.h"
#include "gen/lsdf.h"
#include "gen/messages.h"
#include "gen/settings.h"
#include "sound/cache_state.h"
#include "sound_fixture.h"

namespace ondarix {
namespace {

class CacheTest : public SoundCacheTest {
  protected:
    // A decoded file that nobody refers to any more; its number.
    uint16_t Decoded(const QString& path, uint32_t kind = 0) {
        const LSound sound = Write(std::vector<float>(1000, 0.5f), {22050, 2});
        const uint16_t id = sound.segments->cacheRef.cacheId;
        EXPECT_TRUE(RegisterSource(id, LSourceFacts::Of(path, kind)));
        return id;
    }
    bool Find(const QString& path, uint32_t kind = 0) {
        found_.emplace();
        return FindCachedSource(LSourceFacts::Of(path, kind), format_, *found_);
    }
    void SetLastUse(uint16_t id, int64_t time) {
        const LCacheInfo info = ReadCacheInfo(id);
        ASSERT_GE(info.lastUseAt, 0);
        QFile file(CacheFileName(id, ".audinfo"));
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        file.seek(info.lastUseAt);
        const auto stamp = static_cast<uint32_t>(time);
        file.write(reinterpret_cast<const char*>(&stamp), 4);
    }
    LSoundFormat format_;
    std::optional<LSoundSegment> found_{std::in_place};
};

TEST_F(CacheTest, NumbersAreTheLowestFreeOnesAndCounted) {
    const uint16_t first = AllocateCacheId(), second = AllocateCacheId();
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
    EXPECT_EQ(CacheRefCount(first), 1);
    EXPECT_TRUE(CacheIdExists(first));
    AddCacheRef(first);
    ReleaseCacheRef(first);
    ReleaseCacheRef(first);
    EXPECT_EQ(CacheRefCount(first), 0);
    ReleaseCacheRef(first);
    EXPECT_EQ(CacheRefCount(first), 0) << "a release too many does nothing";
    EXPECT_EQ(AllocateCacheId(), first);
    AddCacheRef(kSilenceId);
    AddCacheRef(kNoCacheId);
    ReleaseCacheRef(kSilenceId);
    EXPECT_EQ(CacheRefCount(kSilenceId), 0);
    EXPECT_EQ(CacheRefCount(kNoCacheId), 0);
    EXPECT_EQ(CacheFileName(12, ".aud"), folder_ + "/12.aud");
    EXPECT_EQ(CacheFileName(kSilenceId, ".aud"), "");
}

TEST_F(CacheTest, CountsSaturate) {
    const uint16_t id = AllocateCacheId();
    for (int i = 0; i < 70000; ++i) AddCacheRef(id);
    EXPECT_EQ(CacheRefCount(id), 65534);
    for (int i = 0; i < 70000; ++i) ReleaseCacheRef(id);
    EXPECT_EQ(CacheRefCount(id), 65534) << "nobody knows how many there were";
}

TEST_F(CacheTest, CountsHoldUnderManyThreads) {
    const LSound sound = Write(std::vector<float>(300, 0.5f));
    const uint16_t id = sound.segments->cacheRef.cacheId;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&sound] {
            for (int i = 0; i < 3000; ++i) {
                LSound copy = sound;
                LSoundCacheRef own = LSoundCacheRef::Adopt(AllocateCacheId());
                copy.segments->cacheRef = own;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(CacheRefCount(id), 1);
    EXPECT_EQ(Files().size(), 3);
    EXPECT_EQ(AllocateCacheId(), id == 0 ? 1 : 0) << "every number came back";
}

TEST_F(CacheTest, AnUnsavedEditGoesWithItsLastReferenceAndADecodeStays) {
    LSound edit = Write(std::vector<float>(300, 0.5f));
    EXPECT_EQ(Files(), (QStringList{"0.aud", "0.audinfo", "0.grf"}));
    LSound undo = edit;
    edit.Clear();
    EXPECT_EQ(Files().size(), 3);
    undo.Clear();
    EXPECT_EQ(Files(), QStringList());
    EXPECT_FALSE(CacheIdExists(0));

    const QString source = MakeFile("a.wav", "samples");
    const uint16_t id = Decoded(source);
    EXPECT_EQ(Files().size(), 3);
    QFile::remove(source);
    { const LSoundCacheRef last(id); }
    EXPECT_EQ(Files(), QStringList()) << "its source has gone";
}

TEST_F(CacheTest, ProtectedAndOutsideNumbersKeepTheirFiles) {
    LSound sound = Write(std::vector<float>(300, 0.5f));
    const uint16_t id = sound.segments->cacheRef.cacheId;
    ProtectCacheId(id, true);
    sound.Clear();
    CleanCache(CleanMode::kAll);
    EXPECT_EQ(Files().size(), 3);
    EXPECT_NE(AllocateCacheId(), id);
    ProtectCacheId(id, false);
    CleanCache(CleanMode::kAll);
    EXPECT_EQ(Files(), QStringList());

    const QString outside = MakeFile("project.aud", QByteArray(4000, '\0'));
    OverrideCachePath(7, home_.filePath("project"));
    EXPECT_EQ(CacheFileName(7, ".aud"), outside);
    { const LSoundCacheRef ref(7); }
    ProtectCacheId(7, false);
    CleanCache(CleanMode::kAll);
    EXPECT_TRUE(QFile::exists(outside));
}

TEST_F(CacheTest, AnUnchangedSourceIsFoundAgain) {
    const QString source = MakeFile("a.wav", "samples");
    const uint16_t id = Decoded(source, 9);
    SetLastUse(id, 1000);
    ASSERT_TRUE(Find(source));
    EXPECT_EQ(found_->cacheRef.cacheId, id);
    EXPECT_EQ(found_->length, 500);
    EXPECT_EQ(format_, (LSoundFormat{22050, 2}));
    EXPECT_EQ(CacheRefCount(id), 1);
    EXPECT_NEAR(static_cast<double>(ReadCacheInfo(id).lastUse), static_cast<double>(UnixTime()), 5);
    EXPECT_TRUE(Find(source, 9));
    EXPECT_FALSE(Find(source, 8)) << "another kind";
    EXPECT_FALSE(Find(home_.filePath("A.wav"))) << "another name";
    found_.emplace();
    EXPECT_EQ(CacheRefCount(id), 0);
    EXPECT_EQ(Files().size(), 3);
}

TEST_F(CacheTest, AChangedSourceIsAMissAndTheOldDecodeStaysUntilCleanUp) {
    const QString source = MakeFile("a.wav", "samples");
    const uint16_t id = Decoded(source);
    MakeFile("a.wav", "SAMPLES");  // within the same second, the same size
    EXPECT_FALSE(Find(source));
    EXPECT_EQ(Files().size(), 3);
    LSourceFacts asked = ReadCacheInfo(id).source;
    EXPECT_FALSE(FindCachedSource(asked, format_, *found_)) << "the record fits, the file on disk does not";
    asked.timeNs = -1;
    asked.time += 1;
    EXPECT_FALSE(FindCachedSource(asked, format_, *found_));
    EXPECT_EQ(CacheRefCount(id), 0);
    CleanCache(CleanMode::kAll);
    EXPECT_EQ(Files(), QStringList());
}

TEST_F(CacheTest, WhatACrashOrAnotherProgramLeftIsNotTakenForADecode) {
    const QString source = MakeFile("a.wav", "samples");
    const uint16_t id = Decoded(source);
    QFile aud(CacheFileName(id, ".aud"));
    const int64_t size = aud.size();
    aud.resize(size + 256 * 8);
    EXPECT_FALSE(Find(source)) << "the graph is shorter than the samples";
    aud.resize(size - 1);
    EXPECT_FALSE(Find(source));
    aud.resize(size);
    EXPECT_TRUE(Find(source));
    found_.emplace();
    // What changes behind the index is seen.
    QFile::rename(CacheFileName(id, ".audinfo"), folder_ + "/40.audinfo");
    EXPECT_FALSE(Find(source));
    QFile::rename(CacheFileName(id, ".aud"), folder_ + "/40.aud");
    QFile::rename(CacheFileName(id, ".grf"), folder_ + "/40.grf");
    ASSERT_TRUE(Find(source));
    EXPECT_EQ(found_->cacheRef.cacheId, 40);
    QFile info(CacheFileName(40, ".audinfo"));
    ASSERT_TRUE(info.open(QIODevice::WriteOnly));
    info.write(QByteArray(500, 'x'));
    info.close();
    EXPECT_FALSE(Find(source));
    EXPECT_EQ(CacheAnalysisState(40), kAnalysisUnusable);
}

TEST_F(CacheTest, ANewNumberInheritsNothingFromFilesOfItsName) {
    const QString source = MakeFile("a.wav", "samples");
    const uint16_t id = Decoded(source);
    CloseCache();
    QFile::remove(folder_ + QString("/%1.aud").arg(id));
    ASSERT_TRUE(SetCacheFolder(folder_));
    LCacheFileWriter writer({22050, 2}, nullptr);
    EXPECT_EQ(writer.Id(), id);
    EXPECT_FALSE(QFile::exists(CacheFileName(id, ".audinfo"))) << "a crash now must not make this a decode";
}

TEST_F(CacheTest, FactsCanBeWrittenAgainAndAdded) {
    const QString source = MakeFile("a.wav", "samples"), other = MakeFile("b.wav", "more samples");
    const uint16_t id = Decoded(source);
    ASSERT_TRUE(RegisterSource(id, LSourceFacts::Of(other, 3)));
    ASSERT_TRUE(AppendCacheInfo(id, [](LLsdfWriter& writer) { writer.PutU32(53, 1); }));
    SetCacheSourceBits(id, 24);
    const LCacheInfo info = ReadCacheInfo(id);
    EXPECT_EQ(info.source.path, other) << "the last record counts";
    EXPECT_EQ(info.source.kind, 3u);
    EXPECT_EQ(info.sourceBits, 24u);
    EXPECT_EQ(CacheSourceBits(id), 24u);
    EXPECT_EQ(info.analysis, 4u);
    EXPECT_TRUE(Find(other));
    EXPECT_FALSE(Find(source));
    EXPECT_FALSE(RegisterSource(4711, LSourceFacts::Of(source))) << "no such number";
}

TEST_F(CacheTest, AFullTableIsClearedBeforeItIsGivenUp) {
    const LSound held = Write(std::vector<float>(10, 0.5f));
    const uint16_t decoded = Decoded(MakeFile("a.wav", "samples"));
    MakeFile("numbers/500.aud", "left by a crash");
    MakeFile("numbers/65533.aud", "left by a crash");
    CacheTable().exists.fill(1);
    EXPECT_EQ(AllocateCacheId(), 500) << "incomplete sets go first";
    EXPECT_EQ(AllocateCacheId(), 65533);
    EXPECT_EQ(AllocateCacheId(), decoded) << "then what nobody refers to";
    EXPECT_EQ(AllocateCacheId(), kNoCacheId);
    EXPECT_EQ(ReadSound(held).size(), 10u);
    ReleaseCacheRef(500);
    EXPECT_EQ(AllocateCacheId(), 500);
    LCacheFileWriter writer({}, nullptr);
    EXPECT_TRUE(writer.HasFailed());
}

// --- Clean-up

TEST(CleanPolicy, FollowsFreeSpaceAndRetention) {
    struct Row {
        CleanMode mode;
        int64_t freeMiB;
        int days;
        int64_t seconds;  // -1: all
    };
    constexpr int64_t kDays = 86400;
    const Row rows[] = {
        {CleanMode::kDiskPressure, 400, 28, -1},
        {CleanMode::kDiskPressure, 499, 28, -1},
        {CleanMode::kDiskPressure, 500, 28, 3600},
        {CleanMode::kDiskPressure, 999, 28, 3600},
        {CleanMode::kDiskPressure, 1000, 28, kDays},
        {CleanMode::kDiskPressure, 1999, 28, kDays},
        {CleanMode::kDiskPressure, 2000, 1, 2419200},
        {CleanMode::kProgramEnd, 500000, 0, -1},
        {CleanMode::kProgramEnd, 500000, -3, -1},
        {CleanMode::kProgramEnd, 1999, 28, -1},
        {CleanMode::kProgramEnd, 2000, 28, kDays},
        {CleanMode::kProgramEnd, 9999, 28, kDays},
        {CleanMode::kProgramEnd, 10000, 28, 14 * kDays},
        {CleanMode::kProgramEnd, 50000, 60, 14 * kDays},
        {CleanMode::kProgramEnd, 50000, 3, 3 * kDays},
        {CleanMode::kProgramEnd, 99999, 28, 14 * kDays},
        {CleanMode::kProgramEnd, 100000, 60, 60 * kDays},
        {CleanMode::kProgramEnd, 100000, 2000000000, 2000000000 * kDays},
        {CleanMode::kModerate, 4999, 28, -1},
        {CleanMode::kModerate, 5000, 28, 1209600},
        {CleanMode::kAll, 1000000, 28, -1},
    };
    for (const Row& row : rows) {
        const LCleanAction action = CleanActionFor(row.mode, row.freeMiB, row.days);
        EXPECT_EQ(action.removeAll ? -1 : action.unusedSeconds, row.seconds)
            << "mode " << static_cast<int>(row.mode) << ", " << row.freeMiB << " MiB, " << row.days
            << " days";
    }
}

TEST_F(CacheTest, CleanUpTakesOldAndIncompleteSetsAndNothingElse) {
    const uint16_t recent = Decoded(MakeFile("recent.wav", "1"));
    const LSoundCacheRef holdRecent(recent);
    const uint16_t old = Decoded(MakeFile("old.wav", "2"));
    const LSoundCacheRef holdOld(old);
    const uint16_t oldInUse = Decoded(MakeFile("used.wav", "3"));
    const LSoundCacheRef ref(oldInUse);
    for (const uint16_t id : {old, oldInUse}) SetLastUse(id, UnixTime() - 2419201);
    for (const char* name : {"100.aud", "101.grf", "102.audinfo", "103.fft", "65533.vmkmp3"}) {
        MakeFile(QString("numbers/") + name, "left by a crash");
    }
    const QStringList foreign = {"007.aud",   "1.wav",      "65534.aud", "65535.grf", "99999999999.aud",
                                 "-1.aud",    "1.aud.bak",  ".aud",      "0x1.aud",   "1 .aud",
                                 "notes.txt", "01.audinfo", "+1.aud"};
    for (const QString& name : foreign) MakeFile("numbers/" + name, "somebody else's");
    ReleaseCacheRef(old);
    ReleaseCacheRef(recent);
    ASSERT_GT(FreeBytes(folder_) >> 20, 2000) << "this test needs a disk that is not nearly full";
    CleanCache(CleanMode::kDiskPressure);
    for (const QString& name : foreign) EXPECT_TRUE(QFile::exists(folder_ + '/' + name)) << qPrintable(name);
    QStringList kept;
    for (const uint16_t id : {recent, oldInUse}) {
        for (const char* extension : {".aud", ".audinfo", ".grf"}) kept << QString::number(id) + extension;
    }
    QStringList numbered = Files();
    for (const QString& name : foreign) numbered.removeAll(name);
    EXPECT_EQ(numbered, kept);
    AddCacheRef(recent);
    AddCacheRef(old);
    QFile::remove(CacheFileName(recent, ".grf"));
    ReleaseCacheRef(recent);
    CleanCache(CleanMode::kDiskPressure);
    EXPECT_FALSE(QFile::exists(CacheFileName(recent, ".aud"))) << "samples without a graph";
    AddCacheRef(recent);
}

TEST_F(CacheTest, AKilledProcessLeavesOrphansForTheNextCleanUp) {
    CloseCache();
    const QString source = MakeFile("a.wav", "samples");
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        if (!SetCacheFolder(folder_)) ::_exit(1);
        Decoded(source);
        LCacheFileWriter writer({44100, 2}, nullptr);
        const std::vector<float> half(20000, 0.5f);
        writer.Write(half.data(), 10000);
        if (::write(ready[1], "x", 1) != 1) ::_exit(2);
        ::pause();
    }
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    EXPECT_FALSE(SetCacheFolder(folder_)) << "one process owns a folder at a time";
    EXPECT_FALSE(OwnsCache());
    EXPECT_EQ(AllocateCacheId(), kNoCacheId);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::close(ready[0]);
    ::close(ready[1]);
    ASSERT_TRUE(SetCacheFolder(folder_));
    EXPECT_EQ(Files(), (QStringList{"0.aud", "0.audinfo", "0.grf", "1.aud", "1.grf"}));
    CleanCache(CleanMode::kDiskPressure);
    EXPECT_EQ(Files(), (QStringList{"0.aud", "0.audinfo", "0.grf"}));
    EXPECT_TRUE(Find(source)) << "the decode of the killed process is good";
}

// --- Folders

TEST_F(CacheTest, ReferencesOfAFolderThatWasLeftTouchNothingInTheNext) {
    LSound old = Write({1, 2, 3});
    const LSound other = Write({4});
    ASSERT_TRUE(SetCacheFolder(home_.filePath("next")));
    const LSound now = Write({5, 6, 7});
    ASSERT_EQ(now.segments->cacheRef.cacheId, old.segments->cacheRef.cacheId) << "the same number";
    EXPECT_EQ(ReadSound(old), (std::vector<float>{0, 0, 0})) << "not the samples of somebody else";
    EXPECT_FALSE(IsOnDisk(old));
    { const LSound copy = old; }
    old = LSound();
    EXPECT_EQ(CacheRefCount(now.segments->cacheRef.cacheId), 1);
    EXPECT_EQ(ReadSound(now), (std::vector<float>{5, 6, 7}));
    EXPECT_TRUE(IsOnDisk(now));
}

TEST_F(CacheTest, TheFolderIsLockedWhileItIsOwned) {
    int fd = -1;
    EXPECT_EQ(TakeFolderLock(folder_, fd), FolderLock::kHeld);
    const uint16_t id = AllocateCacheId();
    const QString other = home_.filePath("other");
    ASSERT_TRUE(SetCacheFolder(other));
    EXPECT_EQ(CacheFolder(), other);
    EXPECT_EQ(CacheRefCount(id), 0) << "counts belong to the folder";
    ASSERT_EQ(TakeFolderLock(folder_, fd), FolderLock::kTaken);
    EXPECT_FALSE(SetCacheFolder(folder_));
    EXPECT_EQ(CacheFolder(), other);
    EXPECT_TRUE(OwnsCache());
    ::close(fd);
    EXPECT_TRUE(SetCacheFolder(folder_ + "/"));
    EXPECT_EQ(CacheFolder(), folder_);
    CloseCache();
    EXPECT_EQ(CacheFolder(), "");
    EXPECT_EQ(CacheFileName(3, ".aud"), "");
    EXPECT_EQ(AllocateCacheId(), kNoCacheId);
}

TEST_F(CacheTest, TheWorkingFolderFollowsTheSettings) {
    CloseCache();
    ASSERT_TRUE(OpenCache());
    const QString data = CacheFolder();
    EXPECT_TRUE(QFileInfo(data + "/soundcache").isDir());
    EXPECT_EQ(QDir(data + "/soundcache").entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
    const QString chosen = home_.filePath("chosen/deep");
    SetSettingBool("Settings", "UseDefaultWorkingDir", false);
    SetSettingString("Settings", "WorkingFolder", chosen);
    ASSERT_TRUE(OpenCache());
    EXPECT_EQ(CacheFolder(), chosen);
    MakeFile("file", "");
    SetSettingString("Settings", "WorkingFolder", home_.filePath("file/impossible"));
    ASSERT_TRUE(OpenCache());
    EXPECT_EQ(CacheFolder(), data);
    EXPECT_TRUE(GetSettingBool("Settings", "UseDefaultWorkingDir", false)) << "set back to the default";
}

TEST_F(CacheTest, PrivateFoldersAreApartAndGoWithTheirProcess) {
    CloseCache();
    ASSERT_TRUE(OpenCache());
    const QString data = CacheFolder();
    const LSound editors = Write({1, 2, 3});
    const pid_t child = ::fork();
    if (child == 0) {
        if (!OpenPrivateCache() || AllocateCacheId() != 0) ::_exit(1);
        ::kill(::getpid(), SIGKILL);
    }
    ::waitpid(child, nullptr, 0);
    QDir privates(data + "/private");
    EXPECT_EQ(privates.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), 1);
    privates.mkdir("keep me");

    const pid_t second = ::fork();
    if (second == 0) {
        if (!OpenPrivateCache()) ::_exit(1);
        if (privates.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size() != 2) ::_exit(2);
        if (!QFileInfo(CacheFolder()).path().startsWith(data + "/private")) ::_exit(3);
        LSound own = Write({4, 5});
        if (own.segments->cacheRef.cacheId != 0 || ReadSound(own) != std::vector<float>{4, 5}) ::_exit(4);
        CloseCache();
        ::_exit(0);
    }
    int status = -1;
    ::waitpid(second, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(privates.entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList{"keep me"});
    EXPECT_EQ(ReadSound(editors), (std::vector<float>{1, 2, 3}));
}

TEST_F(CacheTest, ListsWhatIsThereEvenWithoutOwningIt) {
    const QString source = MakeFile("a.wav", "samples");
    const uint16_t id = Decoded(source);
    MakeFile("numbers/9.aud", "1234");
    MakeFile("numbers/readme", "");
    auto entries = ListCache();
    ASSERT_EQ(entries.size(), 2);
    EXPECT_EQ(entries[0].id, id);
    EXPECT_EQ(entries[0].frames, 500);
    EXPECT_EQ(entries[0].format, (LSoundFormat{22050, 2}));
    EXPECT_EQ(entries[0].sourcePath, source);
    EXPECT_TRUE(entries[0].complete && entries[0].sourceMatches);
    EXPECT_GT(entries[0].bytes, 4000);
    EXPECT_FALSE(entries[1].complete);
    CloseCache();
    SetSettingBool("Settings", "UseDefaultWorkingDir", false);
    SetSettingString("Settings", "WorkingFolder", folder_);
    OpenCacheForListing();
    EXPECT_FALSE(OwnsCache());
    EXPECT_EQ(ListCache().size(), 2);
    CleanCache(CleanMode::kAll);
    EXPECT_EQ(Files().size(), 5) << "only the owner cleans";
    EXPECT_FALSE(Find(source));
    EXPECT_FALSE(TouchInfo(id));
}

// --- Space and observers

struct LTellingHost final : LMessageHost {
    void Tell(const QString& title, const QString& text) override { told = title + '|' + text; }
    int Ask(const QString&, const QString&, const QStringList&, int safe, const QString&, bool*) override {
        return safe;
    }
    QString told;
};

TEST_F(CacheTest, KnowsWhatFitsOnTheDisk) {
    LSound sound = Write({1, 2, 3});
    LTellingHost host;
    EXPECT_TRUE(CheckDiskSpace(sound, folder_, kLowDiskActionText, host));
    EXPECT_TRUE(HasDiskSpaceFor(sound, folder_));
    sound.InsertSilence(0, int64_t{1} << 50);
    EXPECT_FALSE(HasDiskSpaceFor(sound, folder_));
    EXPECT_EQ(host.told, "");
    EXPECT_FALSE(CheckDiskSpace(sound, folder_, "Make room.", host));
    EXPECT_EQ(host.told, "Low Disk Space|Make room.");
    EXPECT_TRUE(HasDiskSpaceFor(sound, home_.filePath("no folder")));
    EXPECT_TRUE(HasDiskSpaceFor(LSound(), folder_));
    sound.InsertSilence(0, (int64_t{1} << 62) + (int64_t{1} << 61));
    EXPECT_FALSE(HasDiskSpaceFor(sound, folder_)) << "more bytes than an integer holds";
    EXPECT_EQ(FreeBytes(home_.filePath("no folder")), std::numeric_limits<int64_t>::max());
}

struct LTestObserver final : LCacheObserver {
    void OnAnalysisFinished(uint16_t id, uint32_t kind) override {
        told.push_back({id, kind});
        if (leave) RemoveCacheObserver(leave);
    }
    std::vector<std::pair<uint16_t, uint32_t>> told;
    LCacheObserver* leave = nullptr;
};

TEST_F(CacheTest, ObserversAreToldUntilTheyLeave) {
    LTestObserver first, second;
    AddCacheObserver(&first);
    AddCacheObserver(&first);
    AddCacheObserver(&second);
    first.leave = &second;
    NotifyAnalysisFinished(5, 8);
    EXPECT_EQ(first.told, (std::vector<std::pair<uint16_t, uint32_t>>{{5, 8}}));
    EXPECT_TRUE(second.told.empty()) << "it was taken out while the first was told";
    RemoveCacheObserver(&first);
    NotifyAnalysisFinished(6, 8);
    EXPECT_EQ(first.told.size(), 1u);
}

uint16_t gQueued = kNoCacheId;

TEST_F(CacheTest, AFoundNumberIsQueuedForAnalysis) {
    const QString source = MakeFile("a.wav", "samples");
    const uint16_t id = Decoded(source);
    gQueueForAnalysis = [](uint16_t queued) { gQueued = queued; };
    EXPECT_TRUE(Find(source));
    gQueueForAnalysis = nullptr;
    EXPECT_EQ(gQueued, id);
    LNullProgress progress;
    EXPECT_TRUE(ScanCache(progress));
    EXPECT_EQ(CacheAnalysisState(id), 0u);
    SetCacheAnalysisState(id, 8);
    EXPECT_EQ(CacheAnalysisState(id), 8u);
}

}  // namespace
}  // namespace ondarix
