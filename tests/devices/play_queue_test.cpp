// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/play_queue.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <QTemporaryDir>
#include <cmath>
#include <thread>

#include "devices/sound_device.h"
#include "sound/channel_mix.h"
#include "sound/rate_converter.h"
#include "sound/wrappers.h"

namespace ondarix::test {
namespace {

// Frame n holds n in every channel, exactly up to 2^24.
class CountingSource final : public LSoundSource {
  public:
    explicit CountingSource(int channelCount) : LSoundSource(48000, channelCount) {}
    float* Read(float* dest, int32_t frames) override {
        for (int32_t i = 0; i < frames; ++i, ++position_)
            for (int c = 0; c < channels; ++c) *dest++ = static_cast<float>(position_);
        return dest;
    }
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return int64_t{1} << 40; }
    void Seek(int64_t frame) override { position_ = frame; }

  private:
    int64_t position_ = 0;
};

TEST(PlayQueue, RulesOfTheModes) {
    const auto rules = [](LDeviceMode mode, int32_t rate, int32_t buffer = 0) {
        return QueueRules(mode, {rate, 2}, buffer);
    };
    EXPECT_EQ(rules(LDeviceMode::kAlsa, 8000).blockFrames, 800);
    EXPECT_EQ(rules(LDeviceMode::kAlsa, 100).blockFrames, 20);
    EXPECT_EQ(rules(LDeviceMode::kAlsa, 192000).blockFrames, 8192);
    EXPECT_EQ(rules(LDeviceMode::kAlsa, 48000).capacityFrames, 64 * 4800);
    EXPECT_EQ(rules(LDeviceMode::kPulseAudio, 44100).blockFrames, 1323);
    EXPECT_EQ(rules(LDeviceMode::kPulseAudio, 44100).capacityFrames, 32 * 1323);
    EXPECT_EQ(rules(LDeviceMode::kJack, 48000, 256).blockFrames, 6 * 256);
    EXPECT_EQ(rules(LDeviceMode::kJack, 48000, 4096).blockFrames, 4096);
    EXPECT_EQ(rules(LDeviceMode::kJack, 48000, 256).capacityFrames, 8192);
    EXPECT_EQ(rules(LDeviceMode::kPipeWire, 48000).capacityFrames, 240000);
    EXPECT_LE(int64_t{255} * QueueRules(LDeviceMode::kPipeWire, {384000, 255}, 0).capacityFrames, 16 << 20);
}

TEST(PlayQueue, LevelBytes) {
    const std::pair<float, int> cases[] = {{0.0f, -127}, {4.4e-7f, -127}, {1.0f, 0},    {0.5f, -6},
                                           {0.1f, -20},  {10.0f, 19},     {1e30f, 127}, {5e-7f, -126}};
    for (const auto& [peak, byte] : cases) EXPECT_EQ(LevelByte(peak), byte) << peak;
    EXPECT_EQ(LevelByte(std::nanf("")), kNoSignalDb);
}

// Whatever is taken back comes again after the rewind, so the taker sees every frame once and in order.
TEST(PlayQueue, TakingBackLosesAndRepeatsNothingWhileItIsTaken) {
    LPlayQueue queue;
    queue.Configure({48000, 3}, {512, 4096});
    queue.SetPaused(false);
    std::atomic<bool> stop{false};
    std::atomic<int64_t> faults{0}, taken{0};
    std::thread taker([&] {
        std::vector<float> block(700 * 3);
        int64_t next = 0;
        for (int32_t size = 1; !stop; size = size * 7 % 691 + 1) {
            const int32_t count = queue.Take(block.data(), size, size);
            for (int32_t i = 0; i < count * 3; ++i)
                faults += block[static_cast<size_t>(i)] != static_cast<float>(next + i / 3);
            for (int32_t i = count * 3; i < size * 3; ++i) faults += block[static_cast<size_t>(i)] != 0.0f;
            next += count;
            taken = next;
            std::this_thread::yield();
        }
    });
    CountingSource source(3);
    for (int turn = 0; taken < 150'000; ++turn) {
        if (queue.HasFreeBlock()) queue.Write(source, 1 + turn * 31 % 512);
        if (turn % 5 == 0) source.Seek(source.GetPosition() - queue.Drop(turn % 64));
    }
    stop = true;
    taker.join();
    EXPECT_EQ(faults, 0);
    EXPECT_EQ(queue.WaitingFrames(), source.GetPosition() - taken);
}

TEST(PlayQueue, PositionFollowsTheEarAndIsDrainedWhenAllWasHeard) {
    LPlayQueue queue;
    queue.Configure({48000, 1}, {480, 4800});
    queue.SetPaused(false);
    CountingSource source(1);
    queue.SetBase(1000);
    queue.Write(source, 480);
    queue.MarkEnd(true);
    std::vector<float> block(480);
    EXPECT_EQ(queue.Take(block.data(), 480, 48000), 480);  // heard in a second from now
    EXPECT_LE(queue.Played(), 1000 + 240);
    EXPECT_GT(queue.QueuedFrames(), 200);
    EXPECT_EQ(queue.Take(block.data(), 480, 960), 0);  // 480 frames of silence, behind 480 of sound
    std::this_thread::sleep_for(std::chrono::milliseconds(15));
    EXPECT_EQ(queue.Played(), 1480);
    EXPECT_EQ(queue.QueuedFrames(), 0);
    EXPECT_EQ(queue.Gaps(), 0u);
    queue.SetBase(7);
    EXPECT_EQ(queue.Played(), 7);
    queue.Rebase(99);
    EXPECT_EQ(queue.Played(), 99);
}

TEST(PlayQueue, AGapIsCountedOnceAndPausesAndEndsAreNone) {
    LPlayQueue queue;
    queue.Configure({48000, 1}, {480, 4800});
    CountingSource source(1);
    std::vector<float> block(480);
    const auto take = [&] { return queue.Take(block.data(), 480, 480); };
    take();  // paused, nothing written yet
    queue.SetPaused(false);
    take();
    EXPECT_EQ(queue.Gaps(), 0u);
    queue.Write(source, 480);
    take();
    take();
    take();
    EXPECT_EQ(queue.Gaps(), 1u);
    queue.Write(source, 480);
    queue.SetPaused(true);
    take();
    queue.SetPaused(false);
    queue.MarkEnd(true);
    EXPECT_EQ(take(), 480);
    take();
    queue.MarkEnd(false);  // it has grown
    take();
    EXPECT_EQ(queue.Gaps(), 1u);
}

TEST(PlayQueue, ABeginningWaitsForAsMuchAsIsAskedFor) {
    LPlayQueue queue;
    queue.Configure({48000, 1}, {480, 4800});
    queue.SetPaused(false);
    CountingSource source(1);
    std::vector<float> block(8000);
    const auto take = [&](int32_t frames) { return queue.Take(block.data(), frames, frames); };
    const auto begin = [&](int32_t frames) {
        queue.Drop(0);
        queue.SetBase(source.GetPosition());
        for (; frames > 0; frames -= 480) queue.Write(source, frames);
    };
    begin(480);
    EXPECT_EQ(take(1000), 0);
    queue.Write(source, 480);
    EXPECT_EQ(take(1000), 0);
    queue.Write(source, 480);
    EXPECT_EQ(take(1000), 1000);
    begin(100);
    EXPECT_EQ(take(480), 0);
    queue.MarkEnd(true);
    EXPECT_EQ(take(480), 100) << "nothing more will come";
    begin(100);
    int32_t silent = 0;
    while (take(480) == 0 && silent <= 48000) silent += 480;
    EXPECT_EQ(silent, 4800) << "a source that hardly gives anything";
    begin(4800);
    EXPECT_EQ(take(8000), 4800) << "more than the queue can hold";
    EXPECT_EQ(queue.Gaps(), 2u);
}

// A seek empties the queue under the taker's hands: no call of it is answered in part, none counts as a gap.
TEST(PlayQueue, SeeksLeaveNoHolesBehindThem) {
    LPlayQueue queue;
    queue.Configure({48000, 1}, {32, 512});
    queue.SetPaused(false);
    std::atomic<bool> stop{false}, seeking{true};
    std::atomic<int64_t> holes{0}, taken{0};
    std::thread taker([&] {
        std::vector<float> block(64);
        for (int32_t count = 0; !stop;) {
            // One that is quicker than the writer would find holes of its own making.
            if (queue.WaitingFrames() < 64 && (!seeking || count > 0)) {
                std::this_thread::yield();
                if (!seeking) count = 0;
                continue;
            }
            count = queue.Take(block.data(), 64, 64);
            holes += count != 0 && count != 64;
            taken += count;
        }
    });
    CountingSource source(1);
    for (int seeks = 0; seeks < 2000; ++seeks) {
        seeking = true;
        queue.Drop(0);
        queue.SetBase(source.GetPosition());
        for (int i = 0; i < 8; ++i) queue.Write(source, 32);
        seeking = false;
        for (const int64_t until = taken + 64 * (seeks % 3); taken < until && queue.WaitingFrames() >= 64;)
            std::this_thread::yield();
    }
    stop = true;
    taker.join();
    EXPECT_EQ(holes, 0);
    EXPECT_EQ(queue.Gaps(), 0u);
    EXPECT_GT(taken, 0);
}

TEST(PlayQueue, ALimitWakesTheWriterBeforeTheQueueIsEmpty) {
    LPlayQueue queue;
    queue.Configure({48000, 1}, {8192, 240000});
    queue.SetPaused(false);
    queue.SetLimit(2000);
    CountingSource source(1);
    const auto fill = [&] {
        while (queue.HasFreeBlock()) queue.Write(source, queue.BlockFrames());
        queue.TakenEvent().Reset();
    };
    fill();
    EXPECT_LE(queue.WaitingFrames(), 2000);
    std::vector<float> block(4096);
    queue.Take(block.data(), 600, 600);
    EXPECT_TRUE(queue.TakenEvent().IsSet());
    EXPECT_TRUE(queue.HasFreeBlock());
    queue.Take(block.data(), 4096, 4096);  // a device with long call-backs gets two of them queued
    fill();
    EXPECT_EQ(queue.Take(block.data(), 4096, 4096), 4096);
    EXPECT_EQ(queue.Gaps(), 1u);
}

// Several threads ask for the position while one takes and one takes back.
TEST(PlayQueue, PositionsNeverGoBackAndNeverPassWhatWasTaken) {
    LPlayQueue queue;
    queue.Configure({48000, 1}, {480, 4800});
    queue.SetPaused(false);
    std::atomic<bool> stop{false};
    std::atomic<int64_t> faults{0}, taken{0};
    std::vector<std::thread> threads;
    threads.emplace_back([&] {
        std::vector<float> block(512);
        for (int32_t size = 1; !stop; size = size * 7 % 509 + 1) {
            taken += size;  // at most
            queue.Take(block.data(), size, size * 3 % 700);
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    });
    for (int i = 0; i < 2; ++i)
        threads.emplace_back([&] {
            for (int64_t last = 0; !stop; std::this_thread::yield()) {
                const int64_t now = queue.Played();
                faults += now < last || now > taken;
                last = now;
            }
        });
    CountingSource source(1);
    for (const auto begin = std::chrono::steady_clock::now();
         std::chrono::steady_clock::now() - begin < std::chrono::milliseconds(400);) {
        if (queue.HasFreeBlock()) queue.Write(source, 480);
        if (source.GetPosition() % 7 == 0) source.Seek(source.GetPosition() - queue.Drop(100));
        std::this_thread::yield();
    }
    stop = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(faults, 0);
    EXPECT_GT(queue.Played(), 0);
}

TEST(PlayQueue, LevelsAreThoseOfWhatIsHeardAlsoBehindATakingBack) {
    LPlayQueue queue;
    queue.Configure({48000, 2}, {480, 4800});
    queue.SetPaused(false);
    LLevelBytes levels;
    std::vector<float> block(2 * 480);
    CountingSource loud(2), quiet(2);
    loud.Seek(1000);
    queue.Write(loud, 480);
    queue.Write(loud, 480);
    EXPECT_EQ(queue.Drop(100), 860);
    queue.Write(quiet, 480);
    queue.Take(block.data(), 100, 48000);
    queue.Levels(levels);
    EXPECT_THAT(levels, testing::Each(62)) << "the peak of the stretch, 1479";
    queue.Take(block.data(), 20, 0);
    queue.Take(block.data(), 10, 10);
    queue.Levels(levels);
    EXPECT_THAT(levels, testing::ElementsAre(53, 53)) << "the peak of the new block, 479";
    queue.SetVolume(0.1f);
    queue.Levels(levels);
    EXPECT_EQ(levels[0], 33);
    queue.SetPaused(true);
    queue.Levels(levels);
    EXPECT_EQ(levels[1], kNoSignalDb);
}

class BrokenNumbers final : public LSoundSource {
  public:
    BrokenNumbers() : LSoundSource(48000, 1) {}
    float* Read(float* dest, int32_t frames) override {
        constexpr float kInfinite = std::numeric_limits<float>::infinity();
        const float values[] = {0.5f, std::nanf(""), -kInfinite, 3e38f, -std::nanf("1"), kInfinite, 1e-42f};
        for (int32_t i = 0; i < frames; ++i) *dest++ = values[i % 7];
        return dest;
    }
    int64_t GetPosition() override { return 0; }
    int64_t GetLength() override { return 1 << 20; }
};

TEST(PlayQueue, WhatIsNoNumberDoesNotReachTheDevice) {
    LPlayQueue queue;
    queue.Configure({48000, 1}, {480, 4800});
    queue.SetPaused(false);
    BrokenNumbers source;
    queue.Write(source, 480);
    std::vector<float> block(7);
    queue.Take(block.data(), 7, 7);
    EXPECT_THAT(block, testing::ElementsAre(0.5f, 0.0f, 0.0f, 3e38f, 0.0f, 0.0f, 1e-42f));
}

// A pipe without a reader would keep an ordinary open() waiting for ever, a full disk every write().
TEST(NullOutput, FilesThatCannotBeWritten) {
    const QTemporaryDir folder;
    const QString pipe = folder.filePath(QStringLiteral("pipe"));
    ASSERT_EQ(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    const auto open = [](const QString& path) {
        auto device = std::make_unique<LSoundDevice>();
        device->SetSelection({LDeviceMode::kNull, path, path});
        device->Open(MakeSource<CountingSource>(2));
        return device;
    };
    EXPECT_EQ(open(pipe)->GetStatus(), kDeviceRefused);
    EXPECT_EQ(open(folder.filePath(QStringLiteral("none/file")))->GetStatus(), kDeviceRefused);
    const auto full = open(QStringLiteral("/dev/full"));
    ASSERT_EQ(full->GetStatus(), kDeviceGood);
    full->Start();
    full->Write(full->BlockFrames());
    for (int i = 0; i < 2000 && full->GetStatus() == kDeviceGood; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(full->GetStatus(), kDeviceLost);
}

TEST(PlayQueue, VolumeIsReachedWithoutAStepAndOneIsExact) {
    LPlayQueue queue;
    queue.Configure({48000, 2}, {480, 4800});
    queue.SetPaused(false);
    CountingSource source(2);
    source.Seek(1);
    for (int i = 0; i < 4; ++i) queue.Write(source, 100);
    std::vector<float> block(200);
    queue.Take(block.data(), 100, 0);
    EXPECT_EQ(block[198], 100.0f);
    queue.SetVolume(0.5f);
    queue.Take(block.data(), 100, 0);
    for (size_t i = 0; i < 100; ++i)
        EXPECT_NEAR(block[2 * i + 1],
                    static_cast<float>(101 + i) * (1.0f - 0.005f * static_cast<float>(i + 1)), 1e-3f);
    queue.Take(block.data(), 100, 0);
    EXPECT_EQ(block[0], 100.5f);
}

// Twice full scale from the second half on; the limiter reads well ahead of what is heard.
class LateLoudSource final : public LSoundSource {
  public:
    LateLoudSource() : LSoundSource(48000, 1) {}
    float* Read(float* dest, int32_t frames) override {
        for (int32_t i = 0; i < frames; ++i) *dest++ = position_++ < 24000 ? 0.5f : 2.0f;
        return dest;
    }
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return 48000; }
    void Seek(int64_t frame) override { position_ = frame; }

  private:
    int64_t position_ = 0;
};

TEST(PlayQueue, TheLimiterShowsWhereItIsHeardNotWhereItIsRead) {
    const LSoundSourceRef source = ConvertRate(
        MixChannels(MakeSource<LPeakLimiterSource>(MakeSource<LateLoudSource>(), 1.0f), 2), 44100);
    LPlayQueue queue;
    queue.Configure({44100, 2}, {4096, 44100});
    queue.SetPaused(false);
    for (int32_t at = 0; at < 44100; at += 4096) queue.Write(*source, std::min(4096, 44100 - at));
    std::vector<float> block(2 * 1000);
    LLevelBytes levels;
    for (int32_t at = 0; at < 44100 - 1000; at += 1000) {
        queue.Take(block.data(), 1000, 0);
        queue.Levels(levels);
        if (at + 1000 < 22050 - 4096 - 2000) {
            EXPECT_EQ(levels, (LLevelBytes{-6, -6})) << at;
        } else if (at + 1000 > 22050 + 4096) {
            EXPECT_EQ(levels, (LLevelBytes{1, 1})) << at;
        }
    }
}

}  // namespace
}  // namespace ondarix::test
