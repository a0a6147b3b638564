// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/play_queue.h"

#include <cmath>
#include <thread>

#include "gtest/gtest.h"

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
    for (int turn = 0; taken < 2'000'000; ++turn) {
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
    queue.Write(source, 100);
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
    EXPECT_EQ(queue.Gaps(), 1u);
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

}  // namespace
}  // namespace ondarix::test
