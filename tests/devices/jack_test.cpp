// SPDX-License-Identifier: GPL-3.0-or-later
#include <QTemporaryDir>

#include "devices/device_list.h"
#include "devices/jack_server.h"
#include "devices/server_playing.h"

namespace ondarix::test {
namespace {

constexpr int kRate = 48000;
constexpr LDeviceStatus kGood = kDeviceGood;
const LDeviceSelection kDefault{LDeviceMode::kJack, {}, {}};

class Jack : public testing::Test {
  protected:
    void StartServer(int rate = kRate, int bufferFrames = 512, int channels = 2) {
        server_ = std::make_unique<JackServer>(rate, bufferFrames, channels);
        server_->UseHere();
        ASSERT_TRUE(server_->Start());
    }
    QString Recording() const { return folder_.filePath(QStringLiteral("recording.wav")); }

    QTemporaryDir folder_;
    std::unique_ptr<JackServer> server_;
    Feeder feeder_;
};

TEST_F(Jack, PlaysBitForBit) {
    ASSERT_NO_FATAL_FAILURE(StartServer(kRate, 2048, 4));
    for (const int channels : {1, 2, 4}) {
        const int recorded = std::max(2, channels);
        ASSERT_TRUE(server_->StartRecording(Recording(), recorded));
        ASSERT_TRUE(feeder_.PlaySoon(kDefault, kRate, channels, kRate));
        ASSERT_TRUE(feeder_.Finish());
        EXPECT_EQ(feeder_.Device().GetStatus(), kGood);
        EXPECT_EQ(feeder_.Device().PlayedFrames(), feeder_.Length());
        EXPECT_EQ(feeder_.Device().Gaps(), 0u);
        EXPECT_FALSE(feeder_.WentBack());
        const Heard heard = FindNoise(server_->StopRecording(), recorded, channels);
        EXPECT_EQ(heard.frames, kRate) << channels;
        EXPECT_TRUE(heard.gaps.empty());
        EXPECT_FALSE(heard.hasOther);
        feeder_.Stop();
    }
}

TEST_F(Jack, APauseLosesNothingAndThePositionIsWhatWasHeard) {
    ASSERT_NO_FATAL_FAILURE(StartServer());
    ASSERT_TRUE(server_->StartRecording(Recording()));
    ASSERT_TRUE(feeder_.PlaySoon(kDefault, kRate, 2, 2 * kRate));
    LSoundDevice& device = feeder_.Device();
    ASSERT_TRUE(feeder_.HasPlayed(kRate / 2));
    ASSERT_TRUE(device.Pause());
    const int64_t before = device.PlayedFrames();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const int64_t paused = device.PlayedFrames();
    ASSERT_TRUE(device.Resume());
    ASSERT_TRUE(feeder_.Finish());
    const Heard heard = FindNoise(server_->StopRecording(), 2, 2);
    EXPECT_EQ(heard.frames, 2 * kRate);
    EXPECT_FALSE(heard.hasOther);
    ASSERT_EQ(heard.gaps.size(), 1u);
    EXPECT_EQ(paused, kRate / 10 + heard.gaps[0]);
    // The server's three buffers, and another one for a busy machine.
    EXPECT_LE(paused - before, 4 * 512);
    EXPECT_EQ(device.PlayedFrames(), feeder_.Length());
}

TEST_F(Jack, MissedCyclesAreCounted) {
    ASSERT_NO_FATAL_FAILURE(StartServer());
    ASSERT_TRUE(feeder_.PlaySoon(kDefault, kRate, 2, 60 * kRate));
    ASSERT_TRUE(feeder_.HasPlayed(kRate / 2));
    StallThreads();
    EXPECT_TRUE(WaitUntil(kPatienceMs, [&] { return feeder_.Device().Gaps() > 0; }));
    EXPECT_EQ(feeder_.Device().GetStatus(), kDeviceGood);
}

TEST_F(Jack, MoreChannelsThanPortsAreMixedDown) {
    ASSERT_NO_FATAL_FAILURE(StartServer());
    for (const int channels : {10, 33, 255}) {
        ASSERT_TRUE(server_->StartRecording(Recording()));
        ASSERT_TRUE(feeder_.PlaySoon(kDefault, kRate, channels, kRate / 4)) << channels;
        ASSERT_TRUE(feeder_.Finish());
        EXPECT_EQ(feeder_.Device().PlayedFrames(), feeder_.Length());
        feeder_.Stop();
        EXPECT_GT(LargestSample(server_->StopRecording()), 0.01f) << channels;
    }
}

TEST_F(Jack, OnlyTheServersRateIsTaken) {
    ASSERT_NO_FATAL_FAILURE(StartServer());
    for (const int rate : {44100, 12000, 96000, 6000}) {
        // A server that still drops the client before may refuse this one.
        const auto isAsked = [&] {
            EXPECT_FALSE(feeder_.Play(kDefault, rate, 2, rate));
            return feeder_.Device().GetStatus() == kDeviceRateUnsupported;
        };
        EXPECT_TRUE(WaitUntil(kPatienceMs, isAsked)) << rate << ": " << feeder_.Device().GetStatus();
        EXPECT_EQ(feeder_.Device().PreferredRate(rate), kRate) << rate;
    }
    EXPECT_EQ(SearchRate(12000, [](int32_t asked) { return asked == kRate; }), -1);
}

TEST_F(Jack, AServerThatDiesIsToldAtOnceAndPlaysAgainLater) {
    ASSERT_NO_FATAL_FAILURE(StartServer());
    ASSERT_TRUE(feeder_.PlaySoon(kDefault, kRate, 2, 60 * kRate));
    ASSERT_TRUE(feeder_.HasPlayed(kRate / 2));
    server_->Kill();
    auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(feeder_.HasStatus(kDeviceLost));
    feeder_.Stop();
    EXPECT_LT(MsSince(begin), kPatienceMs);
    begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(JackBackend().answers());
    EXPECT_FALSE(feeder_.Play(kDefault, kRate, 2, kRate));
    EXPECT_EQ(feeder_.Device().GetStatus(), kDeviceRefused);
    EXPECT_LT(MsSince(begin), kPatienceMs);
    ASSERT_TRUE(server_->Start());
    EXPECT_TRUE(WaitUntil(kPatienceMs, [] { return JackBackend().answers(); }));
    ASSERT_TRUE(feeder_.PlaySoon(kDefault, kRate, 2, kRate / 4));
    EXPECT_TRUE(feeder_.Finish());
    EXPECT_EQ(feeder_.Device().PlayedFrames(), feeder_.Length());
}

TEST_F(Jack, ASlowServerIsThere) {
    ASSERT_NO_FATAL_FAILURE(StartServer());
    EXPECT_TRUE(IsThereThoughSlow(*server_, JackBackend().answers));
}

TEST_F(Jack, AFrozenServerHoldsNobody) {
    ASSERT_NO_FATAL_FAILURE(StartServer());
    EXPECT_TRUE(WaitUntil(kPatienceMs, [] { return JackBackend().answers(); }));
    ASSERT_TRUE(feeder_.PlaySoon(kDefault, kRate, 2, 60 * kRate));
    ASSERT_TRUE(feeder_.HasPlayed(kRate / 2));
    server_->Freeze();
    auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(JackBackend().answers());
    EXPECT_LT(MsSince(begin), kPatienceMs);
    begin = std::chrono::steady_clock::now();
    feeder_.Stop();
    EXPECT_LT(MsSince(begin), kPatienceMs);
    begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(feeder_.Play(kDefault, kRate, 2, kRate));
    EXPECT_TRUE(JackBackend().list(LDeviceDirection::kPlayback).empty());
    EXPECT_LT(MsSince(begin), kPatienceMs);
    server_->Thaw();
    EXPECT_TRUE(WaitUntil(kPatienceMs, [] { return JackBackend().answers(); }));
    ASSERT_TRUE(feeder_.PlaySoon(kDefault, kRate, 2, kRate / 4));
    EXPECT_TRUE(feeder_.Finish());
    EXPECT_EQ(feeder_.Device().PlayedFrames(), feeder_.Length());
}

TEST_F(Jack, ClientsWithPortsAreDevices) {
    ASSERT_NO_FATAL_FAILURE(StartServer());
    std::atomic<int> changes{0};
    const auto watch = JackBackend().watch([&] { ++changes; });
    std::vector<LDeviceInfo> devices;
    const auto lists = [&](LDeviceDirection direction, size_t count) {
        return WaitUntil(kPatienceMs, [&] {
            devices = JackBackend().list(direction);
            return devices.size() == count;
        });
    };
    ASSERT_TRUE(lists(LDeviceDirection::kCapture, 1));
    EXPECT_EQ(devices[0].channels, 4);  // with the monitors
    ASSERT_TRUE(lists(LDeviceDirection::kPlayback, 1));
    EXPECT_EQ(devices[0].selection.id, QStringLiteral("system"));
    EXPECT_TRUE(devices[0].isDefault);
    EXPECT_EQ(devices[0].channels, 2);
    EXPECT_EQ(devices[0].rate, kRate);
    EXPECT_EQ(DeviceText(devices[0].selection), QStringLiteral("[JACK] system"));

    // A recorder that connects nothing by itself is a client to play to.
    std::this_thread::sleep_for(std::chrono::milliseconds(kWatchSettlesMs));
    const int before = changes;
    ServerProcess other;
    ASSERT_TRUE(other.Start(server_->Environment(), QStringLiteral("jack_capture"),
                            {QStringLiteral("--no-stdin"), QStringLiteral("-as"), QStringLiteral("-mc"),
                             QStringLiteral("-b"), QStringLiteral("FLOAT"), QStringLiteral("-f"),
                             QStringLiteral("wav"), QStringLiteral("-c"), QStringLiteral("2"), Recording()}));
    ASSERT_TRUE(lists(LDeviceDirection::kPlayback, 2));
    EXPECT_TRUE(WaitUntil(kPatienceMs, [&] { return changes > before; }));
    EXPECT_EQ(devices[1].selection.id, QStringLiteral("jack_capture"));
    EXPECT_FALSE(devices[1].isDefault);
    ASSERT_TRUE(feeder_.PlaySoon(devices[1].selection, kRate, 2, 60 * kRate));
    ASSERT_TRUE(feeder_.HasPlayed(kRate));
    other.Stop(SIGINT);
    EXPECT_TRUE(feeder_.HasStatus(kDeviceLost));
    const Heard heard = FindNoise(ReadFloatWav(Recording()), 2, 2);
    EXPECT_GT(heard.frames, kRate / 2);
    EXPECT_FALSE(heard.hasOther);
    EXPECT_TRUE(heard.gaps.empty());
    // It has gone: the default plays.
    feeder_.Stop();
    ASSERT_TRUE(feeder_.PlaySoon(devices[1].selection, kRate, 2, kRate / 4));
    EXPECT_TRUE(feeder_.Finish());
    EXPECT_EQ(feeder_.Device().PlayedFrames(), feeder_.Length());
}

}  // namespace
}  // namespace ondarix::test
