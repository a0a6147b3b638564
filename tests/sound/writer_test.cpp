// SPDX-License-Identifier: GPL-3.0-or-later
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include <cmath>
#include <random>

#include "sound/cache_state.h"
#include "sound_fixture.h"

namespace ondarix {
namespace {

std::vector<float> Noise(int64_t count, unsigned seed, float level = 1.0f) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> value(-level, level);
    std::vector<float> samples;
    for (int64_t i = 0; i < count; ++i) samples.push_back(value(random));
    return samples;
}

class WriterTest : public SoundCacheTest {
  protected:
    std::vector<LPeakPair> Graph(uint16_t id) {
        QFile file(CacheFileName(id, ".grf"));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        std::vector<LPeakPair> pairs(static_cast<size_t>(bytes.size()) / sizeof(LPeakPair));
        std::memcpy(pairs.data(), bytes.constData(), pairs.size() * sizeof(LPeakPair));
        return pairs;
    }
    static std::vector<LPeakPair> GraphOf(const std::vector<float>& samples, int channels) {
        std::vector<LPeakPair> pairs;
        const auto frames = static_cast<int64_t>(samples.size()) / channels;
        for (int64_t block = 0; block * 256 < frames; ++block) {
            std::vector<float> max(static_cast<size_t>(channels)), min(max);
            AccumulatePeaks(samples.data() + block * 256 * channels,
                            std::min<int64_t>(256, frames - block * 256), channels, max.data(), min.data());
            for (size_t c = 0; c < max.size(); ++c) {
                pairs.push_back({PeakFromMagnitude(max[c]), PeakFromMagnitude(-min[c])});
            }
        }
        return pairs;
    }
};

TEST_F(WriterTest, SamplesAndGraphAreTheSameForAnyPieces) {
    for (int channels : {1, 2, 5}) {
        const auto samples = Noise(int64_t{3000} * channels, 3);
        for (int piece : {1, 100, 256, 257, 3000}) {
            LSound sound;
            LCacheFileWriter writer({32000, static_cast<uint8_t>(channels)}, &sound);
            for (int done = 0; done < 3000; done += piece) {
                writer.Write(samples.data() + done * channels, std::min(piece, 3000 - done));
            }
            writer.Write(nullptr, 5);
            EXPECT_EQ(writer.framesWritten, 3000);
            EXPECT_EQ(Graph(writer.Id()).size(), static_cast<size_t>(3000 / 256 * channels));
            writer.Finish();
            EXPECT_FALSE(writer.HasFailed());
            EXPECT_EQ(sound.Format(), (LSoundFormat{32000, static_cast<uint8_t>(channels)}));
            EXPECT_EQ(ReadSound(sound), samples);
            EXPECT_EQ(Graph(writer.Id()), GraphOf(samples, channels)) << channels << " channels by " << piece;
        }
    }
}

TEST_F(WriterTest, SeekingAndCuttingKeepTheGraphTrue) {
    std::mt19937 random(11);
    for (int round = 0; round < 60; ++round) {
        std::vector<float> model;
        LSound sound;
        LCacheFileWriter writer({44100, 2}, &sound);
        size_t at = 0;
        for (int step = 0; step < 12; ++step) {
            const auto pick = [&random](size_t high) { return static_cast<size_t>(random() % (high + 1)); };
            if (pick(3) == 0) {
                at = pick(model.size() / 2 + 300);
                writer.Seek(static_cast<int64_t>(at));
            } else if (pick(5) == 0) {
                at = pick(model.size() / 2);
                model.resize(at * 2);
                writer.Truncate(static_cast<int64_t>(at));
            } else {
                const size_t frames = 1 + pick(700);
                const auto samples = Noise(static_cast<int64_t>(frames * 2), random(),
                                           0.01f + 0.1f * static_cast<float>(step));
                writer.Write(samples.data(), static_cast<int32_t>(frames));
                model.resize(std::max(model.size(), (at + frames) * 2), 0.0f);
                std::copy(samples.begin(), samples.end(), model.begin() + static_cast<int64_t>(at * 2));
                at += frames;
            }
        }
        writer.Finish();
        ASSERT_EQ(ReadSound(sound), model) << round;
        ASSERT_EQ(Graph(writer.Id()), GraphOf(model, 2)) << round;
    }
}

TEST_F(WriterTest, ATailIsWrittenWhenFinishing) {
    LSound sound;
    {
        LCacheFileWriter writer({44100, 1}, &sound);
        const float head[] = {1, 2};
        writer.Write(head, 2);
        writer.SetTailSource(MakeSource<LVectorSource>(std::vector<float>{3, 4, 5}, LSoundFormat{}), 2);
        writer.Write(head, 1);
    }
    EXPECT_EQ(ReadSound(sound), (std::vector<float>{1, 2, 1, 3, 4}));
    const LCacheInfo info = ReadCacheInfo(sound.segments->cacheRef.cacheId);
    EXPECT_TRUE(info.readable);
    EXPECT_FALSE(info.hasSource);
    LSoundSinkRef sink = CreateCacheWriter(8000, 2, &sound);
    ASSERT_TRUE(sink.IsUsable());
    const float frame[] = {0.5f, -0.5f};
    sink->Write(frame, 1);
    sink.Reset();
    EXPECT_EQ(sound.Format(), (LSoundFormat{8000, 2}));
    EXPECT_EQ(ReadSound(sound), (std::vector<float>{0.5f, -0.5f}));
}

TEST_F(WriterTest, AFolderThatCannotBeWrittenFailsAtOnce) {
    CloseCache();
    LSound sound;
    LCacheFileWriter writer({44100, 1}, &sound);
    EXPECT_TRUE(writer.HasFailed());
    const float frame = 1;
    writer.Write(&frame, 1);
    writer.Finish();
    EXPECT_TRUE(sound.IsEmpty());
}

// --- Render

class LTestProgress final : public LProgress {
  public:
    bool IsCancelled() override { return asked++ >= cancelAfter; }
    WaitResult Sleep(int) override { return WaitResult::kSignalled; }
    WaitResult WaitForHandle(LWaitHandle, int) override { return WaitResult::kSignalled; }
    WaitResult WaitForHandles(const LHandleList&, int) override { return WaitResult::kSignalled; }
    void SetStatus(const QString& text, int line) override {
        if (line == 0) status = text;
    }
    void SetFraction(double fraction) override {
        EXPECT_GE(fraction, last);
        EXPECT_LE(fraction, 1.0);
        last = fraction;
    }
    int asked = 0, cancelAfter = 1 << 30;
    double last = 0;
    QString status;
};

TEST_F(WriterTest, RendersASourceIntoOneSegment) {
    const auto samples = Noise(100000, 5);
    LVectorSource source(samples, {8000, 2});
    source.Seek(100);
    source.bits = 16;
    LSound result = Write({9, 9, 9});
    LTestProgress progress;
    EXPECT_EQ(LSound::Render(result, progress, source, "Converting Rate"), JobResult::kSuccess);
    EXPECT_EQ(progress.status, "Converting Rate");
    EXPECT_GE(progress.asked, 50000 / kBlockFrames);
    EXPECT_EQ(result.Format(), (LSoundFormat{8000, 2}));
    EXPECT_EQ(ReadSound(result), std::vector<float>(samples.begin() + 200, samples.end()));
    EXPECT_EQ(CacheSourceBits(result.segments->cacheRef.cacheId), 16u);
    EXPECT_TRUE(IsOnIntegerGrid(result, 16));
    EXPECT_FALSE(IsOnIntegerGrid(result, 24)) << "another scale";
    result.InsertSilence(5, 5);
    EXPECT_TRUE(IsOnIntegerGrid(result, 16));
    result.ScaleBy(0.5f);
    EXPECT_FALSE(IsOnIntegerGrid(result, 16));
    EXPECT_EQ(Files().size(), 3) << "what the result held before has gone";

    EXPECT_EQ(LSound::Render(result, progress, *LSoundSourceRef::EmptySource()), JobResult::kSuccess);
    EXPECT_EQ(result.Format(), (LSoundFormat{44100, 1}));
    EXPECT_EQ(result.Length(), 0);
}

TEST_F(WriterTest, CancellingLeavesNothingBehind) {
    LVectorSource source(Noise(200000, 5), {});
    LSound result = Write({1, 2, 3});
    LTestProgress progress;
    progress.cancelAfter = 3;
    EXPECT_EQ(LSound::Render(result, progress, source), JobResult::kCancelled);
    EXPECT_EQ(ReadSound(result), (std::vector<float>{1, 2, 3}));
    EXPECT_EQ(Files().size(), 3);
}

TEST_F(WriterTest, AFullDiskFailsAndLeavesNothingBehind) {
    struct rlimit before {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto oldHandler = ::signal(SIGXFSZ, SIG_IGN);
    for (const rlim_t limit : {rlim_t{0}, rlim_t{100}, rlim_t{1000003}}) {
        LVectorSource source(Noise(600000, 5), {});
        LSound result = Write({1, 2, 3});
        LTestProgress progress;
        const struct rlimit small { limit, before.rlim_max };
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
        const JobResult job = LSound::Render(result, progress, source);
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
        EXPECT_EQ(job, JobResult::kFailed) << limit;
        EXPECT_EQ(ReadSound(result), (std::vector<float>{1, 2, 3}));
        EXPECT_EQ(Files().size(), 3);
    }
    ::signal(SIGXFSZ, oldHandler);
}

TEST_F(WriterTest, ASinkThatFillsTheDiskKeepsWholeFrames) {
    struct rlimit before {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto oldHandler = ::signal(SIGXFSZ, SIG_IGN);
    const auto samples = Noise(6000, 5);
    LSound recorded;
    LCacheFileWriter writer({44100, 3}, &recorded);
    writer.Write(samples.data(), 1000);
    const struct rlimit small { 1000 * 12 + 500, before.rlim_max };
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    writer.Write(samples.data() + 3000, 1000);
    writer.Finish();
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    ::signal(SIGXFSZ, oldHandler);
    EXPECT_TRUE(writer.HasFailed());
    EXPECT_EQ(ReadSound(recorded), std::vector<float>(samples.begin(), samples.begin() + 3000));
    EXPECT_EQ(QFile(CacheFileName(writer.Id(), ".aud")).size(), 12000);
}

TEST_F(WriterTest, TheReserveOnTheDiskIsKept) {
    struct LLongSource final : LSoundSource {
        explicit LLongSource(int64_t frames) : LSoundSource(44100, 2), length(frames) {}
        float* Read(float* dest, int32_t frames) override { return Silence(dest, frames); }
        int64_t GetPosition() override { return 0; }
        int64_t GetLength() override { return length; }
        int64_t length;
    };
    const int64_t fits = FreeBytes(folder_) / 8 - kRenderReserveSamples / 2;
    for (const int64_t frames :
         {fits + (1 << 20), std::numeric_limits<int64_t>::max() / 3, std::numeric_limits<int64_t>::max()}) {
        LLongSource source(frames);
        LSound result;
        LTestProgress progress;
        progress.cancelAfter = 1;
        EXPECT_EQ(LSound::Render(result, progress, source), JobResult::kFailed) << frames;
        EXPECT_EQ(progress.asked, 0);
    }
    EXPECT_EQ(Files(), QStringList());
}

TEST_F(WriterTest, PumpingFollowsAGrowingSourceToItsEnd) {
    const auto samples = Noise(30500, 8);
    for (const bool follow : {false, true}) {
        LVectorSource source(samples, {});
        source.growing = true;
        source.shown = 700;
        LSound sound;
        LCacheFileWriter writer({}, &sound);
        LTestProgress progress;
        EXPECT_EQ(PumpSource(source, writer, progress, follow), JobResult::kSuccess);
        writer.Finish();
        EXPECT_EQ(ReadSound(sound),
                  std::vector<float>(samples.begin(), samples.begin() + (follow ? 30500 : 700)));
    }
    LVectorSource early(samples, {});
    early.Seek(-5000);
    LSound sound;
    LCacheFileWriter writer({}, &sound);
    LTestProgress progress;
    EXPECT_EQ(PumpSource(early, writer, progress), JobResult::kSuccess);
    EXPECT_EQ(writer.framesWritten, 35500) << "the silence before the start belongs to it";
}

TEST_F(WriterTest, ConvertingNeedsAConverterOnlyWhenTheFormatDiffers) {
    const auto converter = std::exchange(gMakeFormatConverter, nullptr);
    const LSound sound = Write({1, 2, 3, 4}, {8000, 2});
    LSound result;
    LTestProgress progress;
    EXPECT_EQ(sound.ConvertFormat(result, 8000, 2, progress), JobResult::kSuccess);
    EXPECT_EQ(ReadSound(result), (std::vector<float>{1, 2, 3, 4}));
    EXPECT_EQ(sound.ConvertFormat(result, 16000, 2, progress), JobResult::kFailed);
    EXPECT_EQ(result.Format(), (LSoundFormat{8000, 2}));
    gMakeFormatConverter = [](LSoundSourceRef source, LSoundFormat target) {
        return MakeSource<LVectorSource>(ReadFrames(*source, 2), target);
    };
    EXPECT_EQ(sound.ConvertFormat(result, 16000, 1, progress), JobResult::kSuccess);
    EXPECT_EQ(progress.status, "Converting Rate");
    EXPECT_EQ(result.Format(), (LSoundFormat{16000, 1}));
    EXPECT_EQ(ReadSound(result), (std::vector<float>{1, 2, 3, 4}));
    gMakeFormatConverter = converter;
    LSound empty;
    EXPECT_EQ(empty.ConvertFormat(empty, 96000, 6, progress), JobResult::kSuccess);
    EXPECT_EQ(empty.Format(), (LSoundFormat{96000, 6}));
}

// --- The peak bound of a sound

float TruePeak(const LSound& sound) {
    float most = 0;
    for (const float v : ReadSound(sound)) most = std::max(most, std::fabs(v));
    return most;
}

TEST_F(WriterTest, ThePeakBoundIsNeverBelowAndAtMostAUnitAbove) {
    std::mt19937 random(4);
    for (int round = 0; round < 80; ++round) {
        const float level =
            std::pow(10.0f, static_cast<float>(static_cast<int>(random() % 400) - 200) / 100.0f);
        auto samples = Noise(40000, random(), level);
        for (int i = 0; i < 3; ++i) samples[random() % samples.size()] = level * 1.1f;
        LSound sound = Write(samples, {44100, 2});
        sound.Delete(static_cast<int64_t>(random() % 20000), 20000);
        sound.Delete(0, static_cast<int64_t>(random() % 700));
        sound.ScaleBy(round % 3 ? 1.0f : -0.7f);
        sound.InsertSilence(50, 50);
        const float truth = TruePeak(sound), bound = SoundPeak(sound);
        EXPECT_GE(bound, truth) << round;
        EXPECT_LE(bound, truth * 1.000002f + kPeakInverse * 1.01f) << round;
    }
}

TEST_F(WriterTest, ThePeakBoundIsExactAroundFullScale) {
    for (const float peak : {0.99998f, 0.999969482421875f, 0.9999695f, 1.0f, 1.0000001f}) {
        for (const float gain : {1.0f, -1.0f, 0.5f}) {
            auto samples = Noise(700000, 9, 0.9f);
            samples[654321] = -peak / gain;
            samples[100] = 0.99f / gain;
            LSound sound = Write(samples, {44100, 2});
            sound.ScaleBy(gain);
            EXPECT_EQ(SoundPeak(sound), peak) << peak << " gain " << gain;
        }
    }
    const LSound silent = Write(std::vector<float>(5000, 0.0f));
    EXPECT_EQ(SoundPeak(silent), 0.0f);
    EXPECT_EQ(SoundPeak(Write({1000.0f, 0.5f})), 1000.0f) << "beyond the scale of the graph";
}

TEST_F(WriterTest, ThePeakBoundIsUnknownWithoutAGraph) {
    LSound sound = Write(Noise(5000, 1));
    QFile graph(CacheFileName(sound.segments->cacheRef.cacheId, ".grf"));
    graph.resize(graph.size() - 1);
    EXPECT_EQ(SoundPeak(sound), kUnknownPeak);
    graph.remove();
    EXPECT_EQ(SoundPeak(sound), kUnknownPeak);
    sound.Clear();
    EXPECT_EQ(SoundPeak(sound), 0.0f);
}

}  // namespace
}  // namespace ondarix
