// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/save.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>

#include "dsp/sample_convert.h"
#include "formats/load.h"
#include "formats/registry.h"
#include "formats/save_steps.h"
#include "formats/wav_sink.h"
#include "formats/wav_source.h"
#include "formats_test.h"
#include "gen/settings.h"
#include "sound/readers.h"

namespace ondarix {
namespace {

using namespace test;

// A source of given samples.
class VectorSource final : public LSoundSource {
  public:
    VectorSource(LSoundFormat format, std::vector<float> samples)
        : LSoundSource(format.sampleRate, format.channels), samples_(std::move(samples)) {}
    float* Read(float* dest, int32_t frames) override {
        const auto count = static_cast<size_t>(frames) * channels;
        std::copy_n(samples_.begin() + position_ * channels, count, dest);
        position_ += frames;
        return dest + count;
    }
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return static_cast<int64_t>(samples_.size()) / channels; }

  private:
    std::vector<float> samples_;
    int64_t position_ = 0;
};

class Save : public CacheTest {
  protected:
    LSound Make(const std::vector<float>& samples, LSoundFormat format = {44100, 1}) {
        LSound sound;
        VectorSource source(format, samples);
        EXPECT_EQ(LSound::Render(sound, progress, source), JobResult::kSuccess);
        return sound;
    }
    LLoadedSound Open(const QString& name) {
        LLoadedSound loaded;
        EXPECT_EQ(LoadSound(Path(name), 0, loaded, progress, host), JobResult::kSuccess);
        return loaded;
    }
    LSaveOutcome Write(const LSound& sound, const QString& name, uint16_t tag = 1, uint16_t bits = 16) {
        LSaveRequest request;
        request.sound = &sound;
        request.path = Path(name);
        request.record = LFormatRecord::Plain(tag, bits, 1, 1);
        request.documentReadOnly = documentReadOnly;
        request.foreignChunks = foreign;
        return SaveSound(request, progress, host);
    }
    std::vector<float> Samples(const QString& name) { return ReadAll(*OpenWav(Path(name))); }
    QString Message() { return host.told.isEmpty() ? QString() : host.told.takeLast(); }
    QStringList Hidden() {
        return QDir(dir_.path()).entryList({"*.ondarix-part"}, QDir::Files | QDir::Hidden);
    }

    ScriptedHost host;
    CountingProgress progress;
    LForeignChunks foreign;
    bool documentReadOnly = false;
};

// --- The samples

TEST_F(Save, AnUntouchedIntegerSoundComesBackByteForByte) {
    std::mt19937 random(4);
    for (uint16_t bits : {8, 16, 24}) {
        Bytes data(6000);
        for (uint8_t& byte : data) byte = static_cast<uint8_t>(random());
        std::fill(data.begin() + 300, data.begin() + 900, bits == 8 ? 128 : 0);
        const Bytes extremes = bits == 8    ? Bytes{0, 255}
                               : bits == 16 ? Bytes{0, 0x80, 0xFF, 0x7F}
                                            : Bytes{0, 0, 0x80, 0xFF, 0xFF, 0x7F};
        std::copy(extremes.begin(), extremes.end(), data.begin());
        const Bytes file = Riff()
                               .Chunk("bext", Bytes(31, 1))
                               .Format(1, 2, 44100, bits)
                               .Chunk("data", data)
                               .Chunk("LIST", Bytes(9, 2))
                               .Close();
        WriteWhole(Path("in.wav"), file);
        const auto loaded = Open("in.wav");
        foreign = loaded.foreignChunks;
        EXPECT_EQ(Write(loaded.sound, "out.wav", 1, bits).result, SaveResult::kSuccess);
        EXPECT_EQ(ReadWhole(Path("out.wav")), file) << bits;
        EXPECT_EQ(progress.status.last(), "Saving...");
        EXPECT_TRUE(Open("out.wav").fromCache) << "its decode is known already";
    }
}

TEST_F(Save, FloatFilesKeepEverySampleWithinFullScale) {
    auto samples = Noise(5000, 1.0f);
    samples[7] = 1.0f;
    samples[8] = -1.0f;
    samples[9] = 1e-40f;
    samples[10] = -0.0f;
    const auto sound = Make(samples, {48000, 2});
    EXPECT_EQ(Write(sound, "f.wav", 3, 32).result, SaveResult::kSuccess);
    const Bytes file = ReadWhole(Path("f.wav"));
    ASSERT_EQ(file.size(), 44 + samples.size() * 4);
    EXPECT_EQ(std::memcmp(&file[44], samples.data(), samples.size() * 4), 0);
    EXPECT_EQ(LoadLe<uint32_t>(&file[24]), 48000u);

    WriteWhole(Path("full.wav"), Riff().Format(1, 1, 44100, 16).Chunk("data", {0, 0x80, 0xFF, 0x7F}).Close());
    EXPECT_EQ(Write(Open("full.wav").sound, "full_f.wav", 3, 32).result, SaveResult::kSuccess);
    EXPECT_EQ(Samples("full_f.wav"), Samples("full.wav")) << "full scale of 16 bits lies just above 1";
}

TEST_F(Save, LoudSoundsMeetTheLimiterAndNeverWrap) {
    std::vector<float> loud(44100);
    for (size_t i = 0; i < loud.size(); ++i)
        loud[i] = (i > 15000 && i < 30000 ? 1.7f : 0.3f) * std::sin(static_cast<float>(i) * 0.05f);
    const auto sound = Make(loud);
    for (const auto& [tag, bits] : {std::pair{1, 8}, {1, 16}, {1, 24}, {1, 32}, {3, 32}, {6, 8}, {7, 8}}) {
        ASSERT_EQ(Write(sound, "l.wav", static_cast<uint16_t>(tag), static_cast<uint16_t>(bits)).result,
                  SaveResult::kSuccess);
        const auto out = Samples("l.wav");
        ASSERT_EQ(out.size(), loud.size());
        for (size_t i = 0; i < out.size(); ++i) {
            ASSERT_LE(std::fabs(out[i]), bits == 8 ? 1.008f : 1.0f) << tag << ' ' << bits;
            ASSERT_GE(out[i] * loud[i], bits == 8 ? -0.02f : -1e-5f) << tag << ' ' << bits << " at " << i;
        }
        EXPECT_NEAR(*std::max_element(out.begin(), out.end()), 1.0, 0.05) << "limited, not turned down";
    }
    // Right below full scale the shaper's own noise must find room too.
    auto close = Noise(60000, 0.9999f);
    for (float& sample : close) sample = std::copysign(0.97f + 0.0299f * std::fabs(sample), sample);
    for (uint16_t bits : {8, 16}) {
        ASSERT_EQ(Write(Make(close), "close.wav", 1, bits).result, SaveResult::kSuccess);
        const auto out = Samples("close.wav");
        for (size_t i = 0; i < out.size(); ++i) ASSERT_GT(out[i] * close[i], 0.9f) << bits << " at " << i;
    }
    WriteWhole(Path("eight.wav"), Riff().Format(1, 1, 44100, 8).Chunk("data", {0, 128, 255, 0}).Close());
    ASSERT_EQ(Write(Open("eight.wav").sound, "sixteen.wav").result, SaveResult::kSuccess);
    EXPECT_LT(Samples("sixteen.wav")[0], -0.9f) << "the lowest of 8 bits lies beyond the lowest of 16";
}

TEST_F(Save, AChangedSoundIsDecodedAgain) {
    auto sound = Make(Noise(3000));
    EXPECT_EQ(Write(sound, "w.wav", 1, 16).result, SaveResult::kSuccess);
    EXPECT_FALSE(Open("w.wav").fromCache) << "16 bits are not these samples";
    EXPECT_EQ(Write(sound, "v.wav", 3, 32).result, SaveResult::kSuccess);
    EXPECT_TRUE(Open("v.wav").fromCache);
    sound.ScalePercent(50);
    EXPECT_EQ(Write(sound, "v.wav", 3, 32).result, SaveResult::kSuccess);
    EXPECT_FALSE(Open("v.wav").fromCache);
    EXPECT_NEAR(Samples("v.wav")[0], Noise(3000)[0] / 2, 1e-6);
    auto slower = Make(Noise(3000));
    slower.sampleRate = 8000;  // the same samples, played at another rate
    EXPECT_EQ(Write(slower, "s.wav", 3, 32).result, SaveResult::kSuccess);
    EXPECT_EQ(Open("s.wav").sound.sampleRate, 8000);
}

TEST_F(Save, AsksBeforeSilenceTakesThePlaceOfMissingSamples) {
    const auto sound = Make(Noise(3000));
    WriteWhole(Path("kept.wav"), Bytes(10, 'o'));
    ASSERT_TRUE(QFile::remove(CacheFileName(sound.segments->cacheRef.cacheId, ".aud")));
    host.answer = 1;
    EXPECT_EQ(Write(sound, "kept.wav").result, SaveResult::kCancelled);
    EXPECT_TRUE(Message().endsWith("saved as silence.|Save Anyway/Cancel"));
    EXPECT_EQ(ReadWhole(Path("kept.wav")), Bytes(10, 'o'));
    host.answer = 0;
    EXPECT_EQ(Write(sound, "kept.wav").result, SaveResult::kSuccess);
    EXPECT_EQ(Samples("kept.wav"), std::vector<float>(3000, 0.0f));
}

// --- The checks

TEST_F(Save, ChecksInOrderWithItsTexts) {
    const LSound empty, sound = Make(Noise(100));
    LSaveOutcome outcome = Write(empty, "e.wav");
    EXPECT_EQ(outcome.result, SaveResult::kEmptyFile);
    EXPECT_EQ(Message(),
              "Cannot Save Empty Files|This file does not contain any audio data and cannot be saved.");

    LSound endless = sound;
    endless.InsertSilence(0, int64_t{1} << 58);
    documentReadOnly = true;
    outcome = Write(endless, "big.wav");
    EXPECT_EQ(outcome.result, SaveResult::kFailed);
    EXPECT_TRUE(outcome.offerSaveAs);
    EXPECT_EQ(Message(),
              "Low Disk Space|Cannot save the file \"" + Path("big.wav") +
                  "\" because there is not enough free disk space. Please try saving the file to a "
                  "different location or making more space by removing unwanted files then try again.");

    outcome = Write(sound, "d.wav");
    EXPECT_EQ(outcome.result, SaveResult::kCancelled);
    EXPECT_EQ(Message(),
              "Read only file|File is read-only. Would you like to remove the restriction?|Cancel/Continue");
    host.answer = 1;
    outcome = Write(sound, "d.wav");
    EXPECT_EQ(outcome.result, SaveResult::kSuccess);
    EXPECT_TRUE(outcome.readOnlyDropped);
    documentReadOnly = false;
    host.told.clear();

    WriteWhole(Path("ro.wav"), Bytes(10, 'o'));
    ASSERT_EQ(chmod(qPrintable(Path("ro.wav")), 0444), 0);
    outcome = Write(sound, "ro.wav");
    EXPECT_EQ(outcome.result, SaveResult::kReadOnly);
    EXPECT_TRUE(outcome.offerSaveAs);
    EXPECT_EQ(
        Message(),
        "Read only file|The file " + Path("ro.wav") +
            " is a read only file. You cannot overwrite this file. Please save it under a different name");
    EXPECT_EQ(ReadWhole(Path("ro.wav")), Bytes(10, 'o'));

    host.answer = 0;
    outcome = Write(sound, "x.rm");
    EXPECT_EQ(outcome.result, SaveResult::kCancelled);
    EXPECT_TRUE(outcome.offerSaveAs);
    EXPECT_TRUE(Message().endsWith(
        "|Saving in real audio file format is not supported. Do you want to save in another "
        "format (wav, mp3, gsm, vox) instead?|Change Format/Cancel"));
    host.answer = 1;
    EXPECT_FALSE(Write(sound, "x.ra").offerSaveAs);
    for (const QString name : {"x.mp3", "x.odxp", "x.nonsense", "x"}) {
        EXPECT_EQ(Write(sound, name).result, SaveResult::kEncodingFailed) << name.toStdString();
        EXPECT_FALSE(QFile::exists(Path(name)));
    }
    EXPECT_EQ(Write(sound, "x.wav", 2, 4).result, SaveResult::kEncodingFailed) << "a coding without a writer";
    EXPECT_EQ(Write(sound, "no/such/folder.wav").result, SaveResult::kFailed);
    QDir().mkdir(Path("folder.wav"));
    EXPECT_EQ(Write(sound, "folder.wav").result, SaveResult::kFailed);
    EXPECT_TRUE(Hidden().isEmpty());
}

TEST_F(Save, LeavesAFileAloneThatAnotherHolds) {
    const LSound sound = Make(Noise(100));
    const Bytes old(10, 'o');
    WriteWhole(Path("held.wav"), old);
    const auto refused = [&] {
        EXPECT_EQ(Write(sound, "held.wav").result, SaveResult::kFailed);
        EXPECT_EQ(Message(), "File in use|The file " + Path("held.wav") +
                                 " is in use by another application. Please save it under a different name.");
        EXPECT_EQ(ReadWhole(Path("held.wav")), old);
    };
    const int fd = open(qPrintable(Path("held.wav")), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(fd, LOCK_SH), 0);
    refused();
    flock(fd, LOCK_UN);
    int ready[2], done[2];
    ASSERT_EQ(pipe(ready) + pipe(done), 0);
    const pid_t child = fork();
    if (child == 0) {  // record locks are held by processes
        struct flock lock {};
        lock.l_type = F_WRLCK;
        char byte = fcntl(fd, F_SETLK, &lock) == 0 ? 'y' : 'n';
        (void)!write(ready[1], &byte, 1);
        (void)!read(done[0], &byte, 1);
        _exit(0);
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    ASSERT_EQ(byte, 'y');
    refused();
    ASSERT_EQ(write(done[1], "x", 1), 1);
    waitpid(child, nullptr, 0);
    close(fd);
    EXPECT_EQ(Write(sound, "held.wav").result, SaveResult::kSuccess);
    for (int end : {ready[0], ready[1], done[0], done[1]}) close(end);
}

// Averages all channels into one and repeats it: enough of a converter to see that it is used.
class MixingSource final : public LSoundSource {
  public:
    MixingSource(LSoundSourceRef child, LSoundFormat target)
        : LSoundSource(target.sampleRate, target.channels), child_(std::move(child)) {}
    float* Read(float* dest, int32_t frames) override {
        std::vector<float> all(static_cast<size_t>(frames) * child_->channels);
        child_->Read(all.data(), frames);
        for (size_t frame = 0; frame < static_cast<size_t>(frames); ++frame) {
            float sum = 0;
            for (size_t c = 0; c < child_->channels; ++c) sum += all[frame * child_->channels + c];
            for (int c = 0; c < channels; ++c) *dest++ = sum / child_->channels;
        }
        return dest;
    }
    int64_t GetPosition() override { return child_->GetPosition(); }
    int64_t GetLength() override { return child_->GetLength(); }

  private:
    LSoundSourceRef child_;
};

TEST_F(Save, AsksBeforeItDownmixes) {
    const LSound surround = Make(Noise(600), {44100, 6});
    LSaveOutcome outcome;
    LSound sound = surround;
    EXPECT_TRUE(DownmixFor(".wav", sound, outcome, progress, host));
    EXPECT_TRUE(host.told.isEmpty()) << "nothing to mix";
    host.answer = 1;
    host.tick = true;
    EXPECT_FALSE(DownmixFor(".mp3", sound, outcome, progress, host));
    EXPECT_EQ(outcome.result, SaveResult::kCancelled);
    EXPECT_EQ(Message(),
              "Downmix to 2 channels (Stereo)?|Your audio has 6 channels (5.1 Surround), but Ondarix can "
              "only save up to 2 channels (Stereo) in MP3 format. In order to save to this format, the "
              "audio must be downmixed.|Downmix to Save/Cancel|Don't ask again for this format");
    EXPECT_FALSE(SettingExists("Settings", "DontAskToDownmixMP3")) << "a refusal is not remembered";
    host.answer = 0;
    const auto converter = gMakeFormatConverter;
    gMakeFormatConverter = nullptr;
    EXPECT_FALSE(DownmixFor(".amr", sound, outcome, progress, host));
    EXPECT_EQ(outcome.result, SaveResult::kFailed);
    EXPECT_TRUE(Message().startsWith("Error saving file|"));
    gMakeFormatConverter = [](LSoundSourceRef source, LSoundFormat target) {
        return MakeSource<MixingSource>(std::move(source), target);
    };
    EXPECT_TRUE(DownmixFor(".mp3", sound, outcome, progress, host));
    EXPECT_EQ(sound.Format(), (LSoundFormat{44100, 2}));
    EXPECT_EQ(sound.Length(), 100);
    host.told.clear();
    sound = surround;
    EXPECT_TRUE(DownmixFor(".mp3", sound, outcome, progress, host));
    EXPECT_TRUE(host.told.isEmpty()) << "asked no more for this format";
    sound = surround;
    EXPECT_TRUE(DownmixFor(".aac", sound, outcome, progress, host));
    EXPECT_EQ(host.told.size(), 1);
    gMakeFormatConverter = converter;
}

TEST(SaveTexts, AreAsTheUserReadsThem) {
    EXPECT_EQ(ChannelCountText(1), "1 channel (Mono)");
    EXPECT_EQ(ChannelCountText(2), "2 channels (Stereo)");
    EXPECT_EQ(ChannelCountText(6), "6 channels (5.1 Surround)");
    EXPECT_EQ(ChannelCountText(8), "8 channels (7.1 Surround)");
    EXPECT_EQ(ChannelCountText(3), "3 channels");
    EXPECT_EQ(SourceBitRate({8000, 1}), 128);
    EXPECT_EQ(SourceBitRate({11025, 1}), 176);
    EXPECT_EQ(SourceBitRate({44100, 2}), 320);
    EXPECT_EQ(SourceBitRate({INT32_MAX, 255}), 320);
    EXPECT_EQ(RegionFileName("a", 7, 3), "a-region-007");
    EXPECT_EQ(RegionFileName("%1", 1234, 2), "%1-region-1234");
    EXPECT_STREQ(SaveResultName(SaveResult::kEmptyFile), "EmptyFile");
}

// --- The file

TEST_F(Save, KeepsModeAndLinkOfTheFileItReplaces) {
    const LSound sound = Make(Noise(100));
    WriteWhole(Path("real.wav"), Bytes(10, 'o'));
    ASSERT_EQ(chmod(qPrintable(Path("real.wav")), 0640), 0);
    ASSERT_EQ(symlink("real.wav", qPrintable(Path("link.wav"))), 0);
    if (geteuid() == 0) {
        ASSERT_EQ(chown(qPrintable(Path("real.wav")), 1234, 4321), 0);
    }
    EXPECT_EQ(Write(sound, "link.wav").result, SaveResult::kSuccess);
    EXPECT_TRUE(QFileInfo(Path("link.wav")).isSymbolicLink());
    EXPECT_EQ(Samples("real.wav").size(), 100u);
    struct stat facts;
    ASSERT_EQ(stat(qPrintable(Path("real.wav")), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777, 0640u);
    if (geteuid() == 0) {
        EXPECT_EQ(facts.st_uid, 1234u);
        EXPECT_EQ(facts.st_gid, 4321u);
    }
    ASSERT_EQ(symlink("new.wav", qPrintable(Path("dangling.wav"))), 0);
    EXPECT_EQ(Write(sound, "dangling.wav").result, SaveResult::kSuccess);
    EXPECT_EQ(Samples("new.wav").size(), 100u);
    const QString longName = QString(83, QChar(0x4E2D)) + ".wav";  // 253 bytes
    EXPECT_EQ(Write(sound, longName).result, SaveResult::kSuccess);
    EXPECT_EQ(Samples(longName).size(), 100u);
}

TEST_F(Save, CancellingAndFailingLeaveTheOldFile) {
    const LSound sound = Make(Noise(500000));
    const Bytes old(1000, 'o');
    WriteWhole(Path("old.wav"), old);
    progress.cancelAt = progress.asked + 3;
    EXPECT_EQ(Write(sound, "old.wav").result, SaveResult::kCancelled);
    EXPECT_EQ(ReadWhole(Path("old.wav")), old);
    EXPECT_TRUE(host.told.isEmpty());
    progress.cancelAt = INT32_MAX;
    EXPECT_TRUE(Hidden().isEmpty());
    for (const rlim_t most :
         {rlim_t{0}, rlim_t{20}, rlim_t{44}, rlim_t{300000}, rlim_t{1000043}, rlim_t{1000044}}) {
        const pid_t child = fork();
        if (child == 0) {
            signal(SIGXFSZ, SIG_IGN);
            const rlimit limit{most, most};
            setrlimit(RLIMIT_FSIZE, &limit);
            _exit(static_cast<int>(Write(sound, "old.wav").result));
        }
        int status = 0;
        waitpid(child, &status, 0);
        ASSERT_TRUE(WIFEXITED(status));
        const bool fits = most == 1000044;
        EXPECT_EQ(WEXITSTATUS(status), static_cast<int>(fits ? SaveResult::kSuccess : SaveResult::kFailed))
            << most;
        if (!fits) {
            EXPECT_EQ(ReadWhole(Path("old.wav")), old) << most;
        }
        EXPECT_TRUE(Hidden().isEmpty());
    }
}

// Killed at any moment, a save leaves the old file or the new one; the next one clears away what is left.
TEST_F(Save, SurvivesBeingKilled) {
    LSound first = Make(Noise(450000, 0.9f, 1)), second = Make(Noise(450001, 0.9f, 2));
    first.ScalePercent(90);
    second.ScalePercent(90);
    ASSERT_EQ(Write(first, "first.wav").result, SaveResult::kSuccess);
    ASSERT_EQ(Write(second, "second.wav").result, SaveResult::kSuccess);
    const Bytes one = ReadWhole(Path("first.wav")), two = ReadWhole(Path("second.wav"));
    ASSERT_TRUE(QFile::copy(Path("first.wav"), Path("t.wav")));
    WriteWhole(Path(".t.wav.1.not-ours"), Bytes(1));
    std::mt19937 random(11);
    int ofFirst = 0, leftOvers = 0;
    for (int round = 0; round < 200; ++round) {
        const pid_t child = fork();
        if (child == 0) {
            for (int i = round;; ++i) Write(i % 2 == 0 ? second : first, "t.wav");
        }
        usleep(random() % 30000);
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        leftOvers += !Hidden().isEmpty();
        const Bytes now = ReadWhole(Path("t.wav"));
        ASSERT_TRUE(now == one || now == two) << "round " << round << ", " << now.size() << " bytes";
        ofFirst += now == one;
    }
    EXPECT_GT(leftOvers, 10) << "most kills must hit a write";
    EXPECT_GT(ofFirst, 0);
    EXPECT_LT(ofFirst, 200);
    EXPECT_EQ(Write(first, "t.wav").result, SaveResult::kSuccess);
    EXPECT_TRUE(Hidden().isEmpty()) << Hidden().join(' ').toStdString();
    EXPECT_TRUE(QFile::exists(Path(".t.wav.1.not-ours")));
}

// In a folder that may not be written the file itself is, with a copy to go back to.
TEST_F(Save, WritesInPlaceWhereTheFolderIsClosed) {
    const LSound sound = Make(Noise(500000));
    QDir().mkdir(Path("closed"));
    const Bytes old(2000000, 'o');
    WriteWhole(Path("closed/t.wav"), old);
    ASSERT_EQ(chmod(qPrintable(Path("closed/t.wav")), 0666), 0);
    ASSERT_EQ(chmod(qPrintable(Path("closed")), 0555), 0);
    const bool root = geteuid() == 0;
    if (root) {
        Shell("chmod a+rx " + dir_.path() + "; chmod -R a+rwX " + home());
        ASSERT_EQ(seteuid(65534), 0);
    }
    progress.cancelAt = progress.asked + 3;
    const auto cancelled = Write(sound, "closed/t.wav").result;
    const Bytes afterCancel = ReadWhole(Path("closed/t.wav"));
    progress.cancelAt = INT32_MAX;
    const auto saved = Write(sound, "closed/t.wav").result;
    const auto fresh = Write(sound, "closed/new.wav").result;
    if (root) {
        ASSERT_EQ(seteuid(0), 0);
    }
    EXPECT_EQ(cancelled, SaveResult::kCancelled);
    EXPECT_TRUE(afterCancel == old);
    EXPECT_EQ(saved, SaveResult::kSuccess) << host.told.join('/').toStdString();
    EXPECT_EQ(fresh, SaveResult::kFailed);
    EXPECT_EQ(Samples("closed/t.wav").size(), 500000u);
    EXPECT_TRUE(QDir(home() + "/tmp").entryList({"backup-*"}).isEmpty());
    chmod(qPrintable(Path("closed")), 0755);
}

}  // namespace
}  // namespace ondarix
