// SPDX-License-Identifier: GPL-3.0-or-later
// Long sources are read on a thread of their own while the caller writes.
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <new>
#include <set>
#include <thread>

#include "sound_fixture.h"

namespace ondarix {
namespace {

using Threads = std::set<std::thread::id>;
constexpr int64_t kLongFrames = 700000;

float NumberedSample(int64_t index) { return static_cast<float>(index % 65521) / 65536.0f - 0.5f; }

// Numbered samples; remembers who reads, and may be slow or run out of memory.
class LNumberedSource final : public LSoundSource {
  public:
    LNumberedSource(int64_t frames, int channelCount) : LSoundSource(44100, channelCount), frames_(frames) {}
    float* Read(float* dest, int32_t frames) override {
        readers.insert(std::this_thread::get_id());
        if (position_ >= failAt) throw std::bad_alloc();
        if (position_ >= slowFrom) std::this_thread::sleep_for(std::chrono::milliseconds(300));
        for (int64_t i = 0; i < int64_t{frames} * channels; ++i)
            *dest++ = NumberedSample(position_ * channels + i);
        position_ += frames;
        return dest;
    }
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return frames_; }
    void Seek(int64_t frame) override { position_ = frame; }

    Threads readers;  // unguarded: one thread at a time uses a source
    int64_t failAt = INT64_MAX, slowFrom = INT64_MAX;

  private:
    int64_t frames_, position_ = 0;
};

class LCountingProgress final : public LProgress {
  public:
    explicit LCountingProgress(int cancelAfter = 1 << 30) : left_(cancelAfter) {}
    bool IsCancelled() override {
        threads.insert(std::this_thread::get_id());
        ++asked;
        return left_-- <= 0;
    }
    WaitResult Sleep(int) override { return WaitResult::kSignalled; }
    WaitResult WaitForHandle(LWaitHandle, int) override { return WaitResult::kSignalled; }
    WaitResult WaitForHandles(const LHandleList&, int) override { return WaitResult::kSignalled; }
    void SetFraction(double fraction) override {
        threads.insert(std::this_thread::get_id());
        EXPECT_GE(fraction, last);
        last = fraction;
    }
    Threads threads;
    int asked = 0;
    double last = 0;

  private:
    int left_;
};

// Takes frames until it has no room any more.
class LSmallSink final : public LSoundSink {
  public:
    LSmallSink(LSoundFormat format, int64_t room) : LSoundSink(format), room_(room) {}
    void Write(const float*, int32_t frames) override {
        if (framesWritten + frames > room_) flags |= kFailed;
        framesWritten += frames;
    }

  private:
    int64_t room_;
};

class ReadAheadTest : public SoundCacheTest {
  protected:
    const Threads here{std::this_thread::get_id()};
};

TEST_F(ReadAheadTest, EverySampleArrivesInItsPlace) {
    for (const int channels : {1, 2, 17}) {
        LNumberedSource source(kLongFrames + 4711, channels);
        source.Seek(4711);
        LCountingProgress progress;
        LSound result;
        ASSERT_EQ(LSound::Render(result, progress, source), JobResult::kSuccess);
        ASSERT_EQ(source.readers.size(), 1u);
        EXPECT_NE(source.readers, here);
        EXPECT_EQ(progress.threads, here);
        EXPECT_GE(progress.asked, kLongFrames / kPumpFrames);
        const std::vector<float> samples = ReadSound(result);
        ASSERT_EQ(samples.size(), static_cast<size_t>(kLongFrames * channels));
        int64_t wrong = 0;
        for (size_t i = 0; i < samples.size(); ++i)
            wrong += samples[i] != NumberedSample(4711 * channels + static_cast<int64_t>(i));
        EXPECT_EQ(wrong, 0) << channels;
    }
}

TEST_F(ReadAheadTest, ShortAndGrowingSourcesStayOnTheThreadOfTheCaller) {
    LNumberedSource source(kPumpFrames * 3 + 5, 2);
    LCountingProgress progress;
    LSound result;
    ASSERT_EQ(LSound::Render(result, progress, source), JobResult::kSuccess);
    EXPECT_EQ(source.readers, here);
    EXPECT_EQ(result.Length(), kPumpFrames * 3 + 5);
}

TEST_F(ReadAheadTest, CancellingAtEachBlockLeavesNoFileAndNoReader) {
    const QStringList files = Files();
    int blocks = 0;
    for (JobResult end = JobResult::kCancelled; end == JobResult::kCancelled; ++blocks) {
        LNumberedSource source(kPumpFrames * 18, 2);
        LCountingProgress progress(blocks);
        LSound result;
        end = LSound::Render(result, progress, source);
        if (end == JobResult::kSuccess) break;
        ASSERT_EQ(end, JobResult::kCancelled);
        const int64_t left = source.GetPosition();  // ours again
        EXPECT_LE(left, kPumpFrames * 18);
        EXPECT_TRUE(result.IsEmpty());
        EXPECT_EQ(Files(), files);
    }
    EXPECT_GE(blocks, 18);
}

TEST_F(ReadAheadTest, AFullSinkAndAFullMemoryEndIt) {
    LNumberedSource source(kLongFrames, 2);
    LNullProgress progress;
    LSmallSink sink({44100, 2}, kLongFrames / 2);
    EXPECT_EQ(PumpSource(source, sink, progress), JobResult::kFailed);
    EXPECT_LT(sink.framesWritten, kLongFrames / 2 + 2 * kPumpFrames);

    const QStringList files = Files();
    LNumberedSource hungry(kLongFrames, 2);
    hungry.failAt = kLongFrames / 2;
    LSound result;
    EXPECT_EQ(LSound::Render(result, progress, hungry), JobResult::kFailed);
    EXPECT_TRUE(result.IsEmpty());
    EXPECT_EQ(Files(), files);
}

// Room is taken before the samples come, and given back where fewer come.
TEST_F(ReadAheadTest, RoomThatIsNotUsedIsGivenBack) {
    LSound sound;
    LCacheFileWriter writer({44100, 2}, &sound);
    writer.Expect(5'000'000);
    const std::vector<float> samples(2 * 10000, 0.5f);
    writer.Write(samples.data(), 10000);
    const QByteArray path = CacheFileName(writer.Id(), ".aud").toLocal8Bit();
    struct stat facts {};
    ASSERT_EQ(::stat(path.constData(), &facts), 0);
    EXPECT_EQ(facts.st_size, 80000);  // what readers that follow may read
    writer.Finish();
    ASSERT_EQ(::stat(path.constData(), &facts), 0);
    EXPECT_EQ(facts.st_size, 80000);
    EXPECT_LT(facts.st_blocks * 512, 1'000'000);
    EXPECT_EQ(ReadSound(sound), samples);
}

TEST_F(ReadAheadTest, ASlowSourceIsWaitedForWithProgressAsked) {
    LNumberedSource source(kPumpFrames * 20, 2);
    source.slowFrom = kPumpFrames * 19;
    LCountingProgress progress;
    LSound result;
    ASSERT_EQ(LSound::Render(result, progress, source), JobResult::kSuccess);
    EXPECT_EQ(result.Length(), kPumpFrames * 20);
    EXPECT_GT(progress.asked, 21);  // once for each block and for the end, and while nothing came
    EXPECT_EQ(progress.threads, here);
}

}  // namespace
}  // namespace ondarix
