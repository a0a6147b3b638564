// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/load.h"

#include <fcntl.h>
#include <unistd.h>

#include "formats/wav_sink.h"
#include "formats/wav_source.h"
#include "formats_test.h"
#include "sound/cache_writer.h"
#include "sound/readers.h"

namespace ondarix {
namespace {

using namespace test;

class Load : public CacheTest {
  protected:
    LLoadedSound Open(const QString& name, JobResult expected = JobResult::kSuccess, int documents = 0) {
        LLoadedSound loaded;
        EXPECT_EQ(LoadSound(name.startsWith('/') ? name : Path(name), documents, loaded, progress, host),
                  expected)
            << name.toStdString() << ": " << host.told.join(" / ").toStdString();
        return loaded;
    }
    uint16_t IdOf(const LLoadedSound& loaded) { return loaded.sound.segments->cacheRef.cacheId; }
    void MakeWav(const QString& name, int frames = 3000, uint32_t seed = 1) {
        LWavSink sink(Path(name), LFormatRecord::Plain(1, 16, 44100, 2));
        sink.Write(Noise(static_cast<size_t>(frames) * 2, 0.9f, seed).data(), frames);
    }
    std::vector<float> Samples(const LLoadedSound& loaded) {
        return ReadAll(*MakeSource<LSoundReader>(loaded.sound));
    }
    QString Message() { return host.told.isEmpty() ? QString() : host.told.takeLast(); }

    ScriptedHost host;
    CountingProgress progress;
};

TEST_F(Load, DecodesOnceAndFindsTheDecodeAgain) {
    MakeWav("a.wav");
    const auto first = Open("a.wav");
    EXPECT_FALSE(first.fromCache);
    EXPECT_EQ(progress.status, QStringList{"Loading Audio File Source"});
    EXPECT_EQ(first.sound.Length(), 3000);
    EXPECT_EQ(CacheSourceBits(IdOf(first)), 16u);
    EXPECT_EQ(Samples(first), ReadAll(*OpenWav(Path("a.wav"))));
    const auto second = Open("a.wav");
    EXPECT_TRUE(second.fromCache);
    EXPECT_EQ(IdOf(second), IdOf(first));
    EXPECT_EQ(second.sound.Format(), first.sound.Format());
    EXPECT_TRUE(host.told.isEmpty()) << host.told.join('/').toStdString();

    const timespec times[2] = {{1000000000, 0}, {1000000000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, qPrintable(Path("a.wav")), times, 0), 0);
    const auto touched = Open("a.wav");
    EXPECT_FALSE(touched.fromCache);
    EXPECT_NE(IdOf(touched), IdOf(first));
    MakeWav("a.wav", 3000, 2);
    const auto changed = Open("a.wav");
    EXPECT_FALSE(changed.fromCache);
    EXPECT_NE(Samples(changed), Samples(first));
}

TEST_F(Load, ReadsTheChunksThatItKeepsWithAndWithoutDecoding) {
    const Bytes file = Riff()
                           .Format(1, 1, 44100, 16)
                           .Chunk("data", Bytes(100))
                           .Chunk("cue ", Bytes(28))
                           .Chunk("id3 ", Bytes(9))
                           .Close();
    WriteWhole(Path("c.wav"), file);
    EXPECT_EQ(Open("c.wav").foreignChunks.chunks.size(), 2u);
    const auto again = Open("c.wav");
    EXPECT_TRUE(again.fromCache);
    EXPECT_EQ(again.foreignChunks.chunks.size(), 2u);
    EXPECT_FALSE(again.readOnly);

    ASSERT_TRUE(QDir(home() + "/tmp").removeRecursively());
    WriteWhole(home() + "/tmp", Bytes(1));  // no folder for scratch files
    EXPECT_TRUE(Open("c.wav").foreignChunks.lost);
    EXPECT_TRUE(Message().contains("Saving will leave it out"));
    QFile::remove(home() + "/tmp");
    EXPECT_FALSE(Open("c.wav").foreignChunks.lost);
    ASSERT_EQ(chmod(qPrintable(Path("c.wav")), 0444), 0);
    EXPECT_TRUE(Open("c.wav").readOnly);
}

TEST_F(Load, AFileBeingWrittenIsNotTakenForFinished) {
    LWavSink sink(Path("grow.wav"), LFormatRecord::Plain(1, 16, 44100, 1));
    sink.Write(Noise(5000).data(), 2000);
    const auto part = Open("grow.wav");
    EXPECT_EQ(part.sound.Length(), 2000);
    sink.Write(Noise(5000).data(), 3000);
    sink.Finish();
    const auto whole = Open("grow.wav");
    EXPECT_FALSE(whole.fromCache);
    EXPECT_EQ(whole.sound.Length(), 5000);
}

// Cuts its file short when the decode asks the second time.
class CuttingProgress final : public LProgress {
  public:
    explicit CuttingProgress(QString path) : path_(std::move(path)) {}
    bool IsCancelled() override {
        if (++asked_ == 2) QFile::resize(path_, 44 + 60000);
        return false;
    }
    WaitResult Sleep(int) override { return WaitResult::kTimedOut; }
    WaitResult WaitForHandle(LWaitHandle, int) override { return WaitResult::kTimedOut; }
    WaitResult WaitForHandles(const LHandleList&, int) override { return WaitResult::kTimedOut; }

  private:
    QString path_;
    int asked_ = 0;
};

TEST_F(Load, AFileCutWhileItIsReadBecomesSilenceAndIsNotRemembered) {
    MakeWav("cut.wav", 400000);
    CuttingProgress cutting(Path("cut.wav"));
    LLoadedSound loaded;
    ASSERT_EQ(LoadSound(Path("cut.wav"), 0, loaded, cutting, host), JobResult::kSuccess);
    EXPECT_EQ(loaded.sound.Length(), 400000);
    const auto samples = Samples(loaded);
    EXPECT_NE(samples[100], 0.0f);
    EXPECT_EQ(samples[799999], 0.0f);
    const auto again = Open("cut.wav");
    EXPECT_FALSE(again.fromCache);
    EXPECT_EQ(again.sound.Length(), 15000);
}

TEST_F(Load, CancellingLeavesNothing) {
    MakeWav("big.wav", 500000);
    progress.cancelAt = 2;
    const auto loaded = Open("big.wav", JobResult::kCancelled);
    EXPECT_TRUE(loaded.sound.IsEmpty());
    EXPECT_TRUE(host.told.isEmpty());
    EXPECT_TRUE(ListCache().isEmpty());
}

TEST_F(Load, TellsWhatItCannotOpenAndNeverBlocks) {
    const auto message = [&](const QString& name) {
        Open(name, JobResult::kFailed);
        return Message();
    };
    const auto cannot = [&](const QString& path) {
        return "Error loading file|Ondarix could not open the file \"" + path + "\" for editing.";
    };
    MakeWav("ok.wav");
    Open("ok.wav", JobResult::kSuccess, kMaxOpenDocuments - 1);
    Open("ok.wav", JobResult::kFailed, kMaxOpenDocuments);
    EXPECT_EQ(Message(),
              "Error|Maximum file count exceeded.  Please close some files before loading more files.");
    EXPECT_EQ(message("none.wav"), "File Not Found.|File Not Found: \"" + Path("none.wav") + "\".");
    ASSERT_EQ(symlink("nowhere", qPrintable(Path("dangling.wav"))), 0);
    EXPECT_TRUE(message("dangling.wav").startsWith("File Not Found."));
    ASSERT_EQ(mkfifo(qPrintable(Path("fifo.wav")), 0600), 0);
    EXPECT_EQ(message("fifo.wav"), cannot(Path("fifo.wav")));
    QDir().mkdir(Path("folder.wav"));
    EXPECT_EQ(message("folder.wav"), cannot(Path("folder.wav")));
    EXPECT_EQ(message("/dev/zero"), cannot("/dev/zero"));
    for (const QString name :
         {"bad.wav", "bad.mp3", "bad.xyz", "bad", "p.odxp", "p.aup", "p.stlp", "l.m3u", "l.pls"}) {
        WriteWhole(Path(name), Bytes(100, 'x'));
        EXPECT_EQ(message(name), cannot(Path(name)));
    }
    WriteWhole(Path("a.cda"), Bytes(44, 'x'));
    EXPECT_EQ(message("a.cda"),
              "Error loading file|To open .cda files please use \"Load Audio CD Track\" option from the File "
              "menu.");
    for (const QString name : {"a.dvf", "a.msv"}) {
        WriteWhole(Path(name), Bytes(44, 'x'));
        EXPECT_TRUE(
            message(name).startsWith("Error loading file|Cannot open the file \"" + Path(name) +
                                     "\". It is possible you do not have the Sony plugin installed or your "
                                     "recorder is not supported."));
    }
}

TEST_F(Load, HandsListsAndProjectsOver) {
    static QString seen;
    gOpenPlaylist = [](const QString& path, bool separately, LProgress&, LMessageHost&) {
        seen = path + (separately ? " apart" : " as one");
        return true;
    };
    gOpenProject = [](const QString& path, LMessageHost&) {
        seen = path;
        return true;
    };
    WriteWhole(Path("l.m3u"), Bytes(1, '#'));
    WriteWhole(Path("p.odxp"), Bytes(1, '#'));
    host.answer = 1;
    EXPECT_TRUE(Open("l.m3u").takenOver);
    EXPECT_EQ(seen, Path("l.m3u") + " apart");
    EXPECT_EQ(Message(),
              "Loading Playlist|Load contents of the playlist separately?|Load as one/Load Separately");
    EXPECT_TRUE(Open("p.odxp").takenOver);
    EXPECT_EQ(seen, Path("p.odxp"));
    gOpenPlaylist = nullptr;
    gOpenProject = nullptr;
}

TEST_F(Load, OpensAWorkingFileInItsOwnFormat) {
    LSound sound;
    {
        LCacheFileWriter writer({12345, 3}, &sound);
        writer.Write(Noise(3 * 1000).data(), 1000);
        writer.Finish();
    }
    const uint16_t id = sound.segments->cacheRef.cacheId;
    ASSERT_TRUE(QFile::copy(CacheFileName(id, ".aud"), Path("old.aud")));
    ASSERT_TRUE(QFile::copy(CacheFileName(id, ".audinfo"), Path("old.audinfo")));
    const auto loaded = Open("old.aud");
    EXPECT_EQ(loaded.sound.Format(), (LSoundFormat{12345, 3}));
    EXPECT_EQ(Samples(loaded), Noise(3 * 1000));
    ASSERT_TRUE(QFile::remove(Path("old.audinfo")));
    WriteWhole(Path("alone.aud"), Bytes(800));
    Open("alone.aud", JobResult::kFailed);
}

TEST_F(Load, WarnsOfALengthThatLooksCutOff) {
    for (int64_t frames : {int64_t{0x7FFFFFFF}, int64_t{0x7FFFFFFE}}) {
        const QString name = QString("long%1.wav").arg(frames);
        MakeWav(name, 10);
        LSound sound;
        {
            LCacheFileWriter writer({44100, 1}, &sound);
            writer.Write(Noise(10).data(), 10);
            writer.Finish();
        }
        const LSoundCacheRef ref = sound.segments->cacheRef;
        ASSERT_TRUE(QFile::resize(CacheFileName(ref.cacheId, ".aud"), frames * 4));  // sparse
        ASSERT_TRUE(QFile::resize(CacheFileName(ref.cacheId, ".grf"), (frames + 255) / 256 * 4));
        ASSERT_TRUE(RegisterSource(ref.cacheId, LSourceFacts::Of(Path(name))));
        const auto loaded = Open(name);
        ASSERT_EQ(loaded.sound.Length(), frames);
        EXPECT_EQ(Message(),
                  frames == 0x7FFFFFFF
                      ? "File Size Limit Exceeded|The file may have exceeded the maximum allowed "
                        "size.\r\n\r\nPlease confirm the file has loaded correctly before continuing."
                      : "");
    }
}

TEST(WorkingDisk, IsShortOnlyWhenTheFileWouldHardlyFit) {
    constexpr int64_t kMiB = 1 << 20;
    EXPECT_FALSE(IsWorkingDiskShort(5000 * kMiB, 5000 * kMiB, 10 * kMiB)) << "one disk for both";
    EXPECT_TRUE(IsWorkingDiskShort(105 * kMiB, 105 * kMiB, 10 * kMiB));
    EXPECT_FALSE(IsWorkingDiskShort(111 * kMiB, 5000 * kMiB, 10 * kMiB));
    EXPECT_TRUE(IsWorkingDiskShort(50 * kMiB, 5000 * kMiB, 0));
    EXPECT_FALSE(IsWorkingDiskShort(INT64_MAX, INT64_MAX, INT64_MAX)) << "cannot be told";
}

}  // namespace
}  // namespace ondarix
