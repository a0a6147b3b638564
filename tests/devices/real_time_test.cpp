// SPDX-License-Identifier: GPL-3.0-or-later
// Nothing that a device calls takes memory, a lock or a file. The watch looks at every test of this program;
// here is what the call-backs go through at their worst, and proof that the watch sees.
#include <gmock/gmock.h>

#include <QTemporaryDir>
#include <cmath>
#include <mutex>
#include <shared_mutex>
#include <thread>

#include "devices/real_time_watch.h"
#include "devices/sound_device.h"
#include "gen/realtime.h"

namespace ondarix::test {
namespace {

class LHumSource final : public LSoundSource {
  public:
    LHumSource(int64_t rate, int channelCount) : LSoundSource(rate, channelCount) {}
    float* Read(float* dest, int32_t frames) override {
        for (int32_t i = 0; i < frames; ++i, ++position_)
            for (int c = 0; c < channels; ++c) *dest++ = 0.25f + 0.001f * static_cast<float>(position_ % 100);
        return dest;
    }
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return int64_t{1} << 40; }
    void Seek(int64_t frame) override { position_ = frame; }

  private:
    int64_t position_ = 0;
};

uint32_t OffencesOf(const std::function<void()>& call) {
    TakeRealTimeOffences();
    {
        const LRealTimeScope realTime;
        call();
    }
    return TakeRealTimeOffences().Total();
}

int* volatile kept = nullptr;  // or the compiler would leave both out

void NewAndDelete() {
    kept = new int;
    delete kept;
}

TEST(RealTimeWatch, SeesMemoryOnlyWithinTheScope) {
    EXPECT_GE(OffencesOf([] { NewAndDelete(); }), kSeesNew ? 2u : 0u);
    EXPECT_EQ(OffencesOf([] {}), 0u);
    NewAndDelete();
    EXPECT_EQ(TakeRealTimeOffences().Total(), 0u);
    // Another thread's call is none of this one's business.
    const LRealTimeScope realTime;
    std::thread* other = nullptr;
    --realTimeDepth;
    other = new std::thread([] { NewAndDelete(); });
    other->join();
    delete other;
    ++realTimeDepth;
    EXPECT_EQ(TakeRealTimeOffences().Total(), 0u);
}

TEST(RealTimeWatch, SeesLocksFilesAndMemoryOfLibraries) {
    const uint32_t least = kSeesAll ? 1 : 0;
    std::mutex lock;
    std::shared_mutex shared;
    const QTemporaryDir folder;
    const QString name = folder.filePath(QStringLiteral("file"));
    EXPECT_GE(OffencesOf([&] { const std::lock_guard guard(lock); }), least);
    EXPECT_GE(OffencesOf([&] { const std::shared_lock guard(shared); }), least);
    EXPECT_GE(OffencesOf([&] { fclose(fopen("/dev/null", "w")); }), least);
    EXPECT_GE(OffencesOf([&] { QFile(name).open(QIODevice::WriteOnly); }), least);
    EXPECT_GE(OffencesOf([&] { QString::number(1234567); }), least);
    EXPECT_GE(OffencesOf([&] { std::this_thread::sleep_for(std::chrono::microseconds(1)); }), 0u);
}

// Pauses, gaps, beginnings, takings back, ramps of the volume, failures, and frames by the wrap-around.
TEST(RealTime, TakingFromTheQueueInEveryState) {
    for (const int channels : {1, 2, 33, 255}) {
        LPlayQueue queue;
        const LSoundFormat format{48000, static_cast<uint8_t>(channels)};
        queue.Configure(format,
                        QueueRules(channels > 2 ? LDeviceMode::kNull : LDeviceMode::kPipeWire, format, 0));
        std::vector<float> block(static_cast<size_t>(3000) * format.channels);
        LHumSource source(48000, channels);
        LLevelBytes levels;
        TakeRealTimeOffences();
        int64_t taken = 0;
        for (int turn = 0; turn < 400; ++turn) {
            if (turn % 4 != 3 && queue.HasFreeBlock()) queue.Write(source, queue.BlockFrames());
            queue.SetPaused(turn % 50 == 20);
            if (turn % 5 == 0) queue.SetVolume(0.01f * static_cast<float>(turn));
            if (turn % 60 == 0) queue.Drop(turn % 120);
            queue.SetLimit(turn % 90 > 60 ? 2000 : 0);
            queue.MarkEnd(turn % 100 == 99);
            if (turn == 300) queue.Fail(kDeviceLost);
            taken += queue.Take(block.data(), 1 + turn * 7 % 3000, turn % 4000);
            queue.CountGap();
            queue.Levels(levels);
        }
        EXPECT_GT(taken, 50'000) << channels;
        EXPECT_EQ(TakeRealTimeOffences().text, "") << channels;
    }
}

TEST(RealTime, TheNullDeviceWithItsClockAndAFile) {
    const QTemporaryDir folder;
    for (const QString& path : {QString(), folder.filePath(QStringLiteral("out"))}) {
        LSoundDevice device;
        device.SetSelection({LDeviceMode::kNull, path, {}});
        ASSERT_TRUE(device.Open(MakeSource<LHumSource>(96000, 6)));
        TakeRealTimeOffences();
        device.Start();
        for (int turn = 0; turn < 60 || (turn < 2000 && device.PlayedFrames() <= 9600); ++turn) {
            while (device.HasFreeBlock()) device.Write(device.BlockFrames());
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        EXPECT_GT(device.PlayedFrames(), 9600);
        device.Close();
        EXPECT_EQ(TakeRealTimeOffences().text, "");
    }
}

}  // namespace
}  // namespace ondarix::test
