// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/attempts.h"
#include "devices/device_list.h"
#include "devices/pipewire_server.h"
#include "devices/server_playing.h"

namespace ondarix::test {
namespace {

constexpr int kGraphRate = 48000;
constexpr LDeviceStatus kNoFault = kDeviceGood;
const LDeviceSelection kDefaultNode{LDeviceMode::kPipeWire, {}, {}};

LDeviceSelection Node(const char* name) { return {LDeviceMode::kPipeWire, QString::fromUtf8(name), {}}; }

class PipeWireServers : public testing::Test {
  protected:
    void SetUp() override {
        server_.UseHere();
        ASSERT_TRUE(server_.Start());
    }
    QString Recording() const { return folder_.filePath(QStringLiteral("recording.wav")); }

    QTemporaryDir folder_;
    PipeWireServer server_;
    Feeder feeder_;
};

TEST_F(PipeWireServers, PlaysBitForBit) {
    ASSERT_TRUE(server_.AddSink(QStringLiteral("surround"), QStringLiteral("Surround"), 8));
    const struct {
        const char* sink;
        int channels, ofSink;
    } cases[] = {{"out", 1, 2}, {"out", 2, 2}, {"surround", 8, 8}};
    for (const auto& [sink, channels, ofSink] : cases) {
        InOneOfSeveral([&] {
            ASSERT_TRUE(server_.StartRecording(Recording(), QString::fromUtf8(sink), ofSink));
            ASSERT_TRUE(feeder_.PlaySoon(Node(sink), kGraphRate, channels, kGraphRate));
            ASSERT_TRUE(feeder_.Finish());
            EXPECT_EQ(feeder_.Device().GetStatus(), kNoFault);
            EXPECT_EQ(feeder_.Device().PlayedFrames(), feeder_.Length());
            EXPECT_EQ(feeder_.Device().Gaps(), 0u);
            EXPECT_FALSE(feeder_.WentBack());
            const Heard heard = FindNoise(server_.StopRecording(), ofSink, channels);
            EXPECT_EQ(heard.frames, kGraphRate) << sink << ", " << channels;
            EXPECT_TRUE(heard.gaps.empty());
            EXPECT_FALSE(heard.hasOther);
        });
        feeder_.Stop();
    }
}

TEST_F(PipeWireServers, APauseLosesNothingAndThePositionIsWhatWasHeard) {
    InOneOfSeveral([&] {
        ASSERT_TRUE(server_.StartRecording(Recording()));
        ASSERT_TRUE(feeder_.PlaySoon(kDefaultNode, kGraphRate, 2, 2 * kGraphRate));
        LSoundDevice& device = feeder_.Device();
        ASSERT_TRUE(feeder_.HasPlayed(kGraphRate / 2));
        ASSERT_TRUE(device.Pause());
        const int64_t before = device.PlayedFrames();
        std::this_thread::sleep_for(std::chrono::milliseconds(400));
        const int64_t paused = device.PlayedFrames();
        ASSERT_TRUE(device.Resume());
        ASSERT_TRUE(feeder_.Finish());
        const Heard heard = FindNoise(server_.StopRecording(), 2, 2);
        EXPECT_EQ(heard.frames, 2 * kGraphRate);
        EXPECT_FALSE(heard.hasOther);
        ASSERT_EQ(heard.gaps.size(), 1u);
        EXPECT_EQ(paused, kGraphRate / 10 + heard.gaps[0]);
        EXPECT_LE(paused - before, 8192);
        EXPECT_EQ(device.PlayedFrames(), feeder_.Length());
    });
}

TEST_F(PipeWireServers, MissedCyclesAreCounted) {
    ASSERT_TRUE(feeder_.PlaySoon(kDefaultNode, kGraphRate, 2, 60 * kGraphRate));
    ASSERT_TRUE(feeder_.HasPlayed(kGraphRate / 2));
    StallThreads();
    EXPECT_TRUE(WaitUntil(kPatienceMs, [&] { return feeder_.Device().Gaps() > 0; }));
    EXPECT_EQ(feeder_.Device().GetStatus(), kDeviceGood);
}

TEST_F(PipeWireServers, OtherRatesAndManyChannelsPlay) {
    const struct {
        int rate, channels;
    } cases[] = {{44100, 2}, {8000, 1}, {192000, 2}, {48000, 10}, {48000, 33}, {48000, 255}};
    for (const auto& [rate, channels] : cases) {
        ASSERT_TRUE(server_.StartRecording(Recording()));
        ASSERT_TRUE(feeder_.PlaySoon(kDefaultNode, rate, channels, rate / 2)) << rate << ", " << channels;
        ASSERT_TRUE(feeder_.Finish());
        EXPECT_EQ(feeder_.Device().GetStatus(), kNoFault);
        EXPECT_EQ(feeder_.Device().PlayedFrames(), feeder_.Length());
        feeder_.Stop();
        EXPECT_GT(LargestSample(server_.StopRecording()), 0.01f) << rate << ", " << channels;
    }
    EXPECT_FALSE(feeder_.Play(kDefaultNode, 100, 1, 100));
    EXPECT_EQ(feeder_.Device().GetStatus(), kDeviceRateUnsupported);
    EXPECT_EQ(feeder_.Device().PreferredRate(100), kGraphRate);
}

TEST_F(PipeWireServers, AServerThatDiesIsToldAtOnceAndPlaysAgainLater) {
    ASSERT_TRUE(feeder_.PlaySoon(kDefaultNode, kGraphRate, 2, 60 * kGraphRate));
    ASSERT_TRUE(feeder_.HasPlayed(kGraphRate / 2));
    std::atomic<int> changes{0};
    const auto watch = PipeWireBackend().watch([&] { ++changes; });
    std::this_thread::sleep_for(std::chrono::milliseconds(kWatchSettlesMs));
    const auto begin = std::chrono::steady_clock::now();
    server_.Kill();
    EXPECT_TRUE(feeder_.HasStatus(kDeviceLost));
    feeder_.Stop();
    EXPECT_LT(MsSince(begin), kPatienceMs);
    EXPECT_TRUE(WaitUntil(kPatienceMs, [&] { return changes > 0; }));
    const auto gone = std::chrono::steady_clock::now();
    EXPECT_FALSE(PipeWireBackend().answers());
    EXPECT_FALSE(feeder_.Play(kDefaultNode, kGraphRate, 2, kGraphRate));
    EXPECT_EQ(feeder_.Device().GetStatus(), kDeviceRefused);
    EXPECT_LT(MsSince(gone), kPatienceMs);
    const int before = changes;
    ASSERT_TRUE(server_.Start());
    EXPECT_TRUE(WaitUntil(kPatienceMs, [] { return PipeWireBackend().answers(); }));
    ASSERT_TRUE(feeder_.PlaySoon(kDefaultNode, kGraphRate, 2, kGraphRate / 4));
    EXPECT_TRUE(feeder_.Finish());
    EXPECT_EQ(feeder_.Device().PlayedFrames(), feeder_.Length());
    EXPECT_TRUE(WaitUntil(kPatienceMs, [&] { return changes > before; }));
}

TEST_F(PipeWireServers, ASlowServerIsThere) {
    EXPECT_TRUE(IsThereThoughSlow(server_, PipeWireBackend().answers));
}

TEST_F(PipeWireServers, AFrozenServerHoldsNobody) {
    ASSERT_TRUE(feeder_.PlaySoon(kDefaultNode, kGraphRate, 2, 60 * kGraphRate));
    ASSERT_TRUE(feeder_.HasPlayed(kGraphRate / 2));
    server_.Freeze();
    auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(PipeWireBackend().answers());
    EXPECT_LT(MsSince(begin), kPatienceMs);
    begin = std::chrono::steady_clock::now();
    feeder_.Stop();
    EXPECT_LT(MsSince(begin), kPatienceMs);
    begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(feeder_.Play(kDefaultNode, kGraphRate, 2, kGraphRate));
    EXPECT_LT(MsSince(begin), kPatienceMs);
    server_.Thaw();
    EXPECT_TRUE(WaitUntil(kPatienceMs, [] { return PipeWireBackend().answers(); }));
    ASSERT_TRUE(feeder_.PlaySoon(kDefaultNode, kGraphRate, 2, kGraphRate / 4));
    EXPECT_TRUE(feeder_.Finish());
    EXPECT_EQ(feeder_.Device().PlayedFrames(), feeder_.Length());
}

TEST_F(PipeWireServers, SinksAreListedWatchedAndReplacedWhenTheyGo) {
    std::atomic<int> changes{0};
    const auto watch = PipeWireBackend().watch([&] { ++changes; });
    std::vector<LDeviceInfo> devices;
    const auto lists = [&](size_t count) {
        return WaitUntil(kPatienceMs, [&] {
            devices = PipeWireBackend().list(LDeviceDirection::kPlayback);
            return devices.size() == count;
        });
    };
    ASSERT_TRUE(lists(1));
    EXPECT_EQ(devices[0].selection, (LDeviceSelection{LDeviceMode::kPipeWire, QStringLiteral("out"),
                                                      QStringLiteral("Test Output")}));
    EXPECT_TRUE(devices[0].isDefault);
    EXPECT_EQ(devices[0].channels, 2);
    EXPECT_TRUE(PipeWireBackend().list(LDeviceDirection::kCapture).empty());
    std::this_thread::sleep_for(std::chrono::milliseconds(kWatchSettlesMs));
    EXPECT_EQ(changes, 0);

    ASSERT_TRUE(server_.AddSink(QStringLiteral("second"), QStringLiteral("Test Output")));
    EXPECT_TRUE(WaitUntil(kPatienceMs, [&] { return changes > 0; }));
    ASSERT_TRUE(lists(2));
    EXPECT_NE(devices[0].selection.name, devices[1].selection.name);
    EXPECT_NE(devices[0].isDefault, devices[1].isDefault);

    // Taken away in the middle, it is replaced by the default.
    ASSERT_TRUE(server_.StartRecording(Recording()));
    ASSERT_TRUE(feeder_.PlaySoon(Node("second"), kGraphRate, 2, 3 * kGraphRate));
    ASSERT_TRUE(feeder_.HasPlayed(kGraphRate));
    ASSERT_TRUE(server_.RemoveNode(QStringLiteral("second")));
    ASSERT_TRUE(feeder_.Finish());
    EXPECT_EQ(feeder_.Device().GetStatus(), kNoFault);
    feeder_.Stop();
    EXPECT_GT(LargestSample(server_.StopRecording()), 0.5f);
    ASSERT_TRUE(feeder_.PlaySoon(Node("second"), kGraphRate, 2, kGraphRate / 4));
    ASSERT_TRUE(feeder_.Finish());
    EXPECT_EQ(feeder_.Device().PlayedFrames(), feeder_.Length());

    // The last one: there is nothing left to play to.
    ASSERT_TRUE(feeder_.PlaySoon(kDefaultNode, kGraphRate, 2, 60 * kGraphRate));
    ASSERT_TRUE(feeder_.HasPlayed(kGraphRate / 2));
    ASSERT_TRUE(server_.RemoveNode(QStringLiteral("out")));
    EXPECT_TRUE(feeder_.HasStatus(kDeviceLost));
    feeder_.Stop();
    EXPECT_FALSE(PipeWireBackend().answers());
    EXPECT_FALSE(feeder_.Play(kDefaultNode, kGraphRate, 2, kGraphRate));
}

}  // namespace
}  // namespace ondarix::test
