// SPDX-License-Identifier: GPL-3.0-or-later
// Against a real PulseAudio server with null sinks.
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <algorithm>
#include <atomic>
#include <cmath>

#include "devices/attempts.h"
#include "devices/device_list.h"
#include "devices/played_sound.h"
#include "devices/server_process.h"
#include "devices/sound_servers.h"
#include "gtest/gtest.h"

namespace ondarix::test {
namespace {

constexpr int kRate = 48000;
constexpr int64_t kSecond = kRate;

LDeviceSelection PulseSelection(const QString& sink = {}) {
    return {LDeviceMode::kPulseAudio, sink, QStringLiteral("test")};
}

QString SinkOf(const QString& name, int rate, int channels, const QString& more = {}) {
    return QStringLiteral("sink_name=%1 rate=%2 channels=%3 %4").arg(name).arg(rate).arg(channels).arg(more);
}

class PulseAudio : public ::testing::Test {
  protected:
    void StartServer(const QStringList& sinks = {SinkOf(QStringLiteral("out"), kRate, 2)}) {
        ASSERT_TRUE(server_.Start(sinks));
        device_.SetSelection(PulseSelection());
    }
    // What a recorder of a sink hears while noise is played, and the log of that.
    LPlayLog PlayRecorded(const QString& sink, LKnownNoise* noise, std::vector<float>& recorded,
                          const std::function<void()>& during = {}, const char* map = nullptr) {
        const int channels = noise->channels, rate = static_cast<int>(noise->sampleRate);
        EXPECT_TRUE(
            recorder_.Start(sink + QStringLiteral(".monitor"), rate, channels, QString::fromUtf8(map)));
        const LPlayLog log = PlayAll(device_, noise, during);
        const int64_t enough = recorder_.Frames() + rate / 2;
        WaitUntil([&] { return recorder_.Frames() >= enough; });
        recorder_.Interrupt();
        recorded = recorder_.Samples();
        return log;
    }
    // Plays until the server or the sink was taken away by `trouble`, half a second after the start: how
    // long the device took to say so, in ms.
    qint64 MsUntilLost(const std::function<void()>& trouble) {
        QElapsedTimer start, since;
        start.start();
        LPlayLog log = PlayAll(device_, new LKnownNoise(kRate, 2, 20 * kSecond), [&] {
            if (since.isValid() || start.elapsed() < 500) return;
            trouble();
            since.start();
        });
        EXPECT_EQ(log.status, kDeviceLost);
        return since.elapsed();
    }

    LPulseServer server_;
    LScopedEnvironment environment_{server_.Environment()};
    LPulseRecorder recorder_{server_};
    LSoundDevice device_;
};

TEST_F(PulseAudio, WhatIsPlayedIsHeardBitForBitAndWhenThePositionSaysSo) {
    StartServer();
    InOneOfSeveral([&] {
        std::vector<float> recorded;
        std::vector<std::pair<int64_t, int64_t>> moments;  // heard, recorded
        const auto note = [&] {
            const int64_t heard = device_.PlayedFrames(), frames = recorder_.Frames();
            if (device_.PlayedFrames() - heard < kRate / 100) moments.emplace_back(heard, frames);
        };
        const LPlayLog log =
            PlayRecorded(QStringLiteral("out"), new LKnownNoise(kRate, 2, 2 * kSecond), recorded, note);
        const int64_t at = ExpectWholeAndExact(log, recorded, kRate, 2, 2 * kSecond);
        EXPECT_GT(log.ms, 1750);
        // The recorder is told of every 20 ms when they are over, and on a busy machine later.
        std::vector<int64_t> leads;
        for (const auto& [heard, frames] : moments) {
            if (heard < kSecond / 2 || heard >= 2 * kSecond - kSecond / 10) continue;
            leads.push_back(heard - (frames - at + kRate / 10));
        }
        std::sort(leads.begin(), leads.end());
        ASSERT_GT(leads.size(), 50u);
        EXPECT_LT(std::abs(leads[leads.size() / 2]), kRate / 10);
        EXPECT_GT(leads.front(), -kRate / 10);
    });
}

TEST_F(PulseAudio, APauseIsSilentAndLosesNothing) {
    StartServer();
    InOneOfSeveral([&] {
        QElapsedTimer clock;
        clock.start();
        int64_t atPause = -1, atResume = -1;
        const auto pauseOnce = [&] {
            if (atPause < 0 && device_.PlayedFrames() > kSecond / 2) {
                device_.Pause();
                clock.restart();
                atPause = 0;
            } else if (atPause == 0 && clock.elapsed() > 300) {
                atPause = device_.PlayedFrames();
            } else if (atPause > 0 && atResume < 0 && clock.elapsed() > 600) {
                atResume = device_.PlayedFrames();
                device_.Resume();
            }
        };
        std::vector<float> recorded;
        constexpr int64_t kFrames = kSecond * 3 / 2, kFirst = kRate / 10;
        const LPlayLog log =
            PlayRecorded(QStringLiteral("out"), new LKnownNoise(kRate, 2, kFrames), recorded, pauseOnce);
        EXPECT_TRUE(log.drained && log.monotonic);
        EXPECT_EQ(log.gaps, 0u);
        EXPECT_EQ(atPause, atResume) << "the position stands while it is paused";
        const int64_t at = FindNoise(recorded, 2, kFirst, ExactValue);
        ASSERT_GE(at, 0);
        const int64_t before = MatchingFrames(recorded, 2, at, kFirst, kFrames - kFirst, ExactValue);
        EXPECT_EQ(before, atPause - kFirst) << "what is heard until the pause is what the position counts";
        const int64_t rest = kFrames - kFirst - before;
        const int64_t again = FindNoise(recorded, 2, kFirst + before, ExactValue);
        ASSERT_GT(again, at + before + kRate / 2);
        EXPECT_EQ(MatchingFrames(recorded, 2, again, kFirst + before, rest, ExactValue), rest);
        EXPECT_EQ(MatchingFrames(recorded, 2, at + before, 0, again - at - before,
                                 [](int64_t, int) { return 0.0f; }),
                  again - at - before);
    });
}

// What was queued before a seek is not heard any more, and of what comes behind it nothing is missing.
TEST_F(PulseAudio, ASeekIsHeardFromItsFirstFrame) {
    StartServer();
    InOneOfSeveral([&] {
        constexpr int64_t kFrames = 10 * kSecond, kTarget = 9 * kSecond, kFirst = kRate / 10;
        ASSERT_TRUE(recorder_.Start(QStringLiteral("out.monitor"), kRate, 2));
        const LSoundSourceRef source(new LKnownNoise(kRate, 2, kFrames));
        ASSERT_TRUE(device_.Open(source));
        device_.Start();
        const auto playUntil = [&](int64_t frame) {
            while (device_.PlayedFrames() < frame && device_.GetStatus() == kDeviceGood)
                device_.HasFreeBlock() ? device_.Write(device_.BlockFrames()) : QThread::msleep(2);
        };
        playUntil(kSecond / 2);
        const int64_t left = device_.PlayedFrames();
        QElapsedTimer seeking;  // on a busy machine that takes its time
        seeking.start();
        source->Seek(kTarget);
        device_.SetPlayedBase(kTarget);
        const int64_t begins = device_.PlayedFrames();
        const auto sought = static_cast<double>(seeking.nsecsElapsed()) * kRate / 1e9;
        EXPECT_LT(static_cast<double>(begins), kTarget + kRate / 100 + sought);
        playUntil(kTarget + kSecond / 2);
        EXPECT_EQ(device_.Gaps(), 0u);
        device_.Close();
        recorder_.Interrupt();
        const std::vector<float> recorded = recorder_.Samples();
        const int64_t at = FindNoise(recorded, 2, kFirst, ExactValue);
        ASSERT_GE(at, 0);
        const int64_t before = MatchingFrames(recorded, 2, at, kFirst, kSecond, ExactValue);
        EXPECT_NEAR(static_cast<double>(kFirst + before), static_cast<double>(left), kRate * 0.05 + sought);
        const int64_t again = FindNoise(recorded, 2, kTarget, ExactValue);
        ASSERT_GE(again, at + before);
        EXPECT_LT(again - at - before, kRate / 5 + static_cast<int64_t>(sought)) << "silence between";
        EXPECT_GE(MatchingFrames(recorded, 2, again, kTarget, kSecond, ExactValue), kSecond * 2 / 5);
    });
}

TEST_F(PulseAudio, EveryRateReachesTheSinkUnchanged) {
    const int rates[] = {8000, 12000, 44100, 96000, 1000, 384000};
    QStringList sinks;
    for (const int rate : rates) sinks << SinkOf(QStringLiteral("at%1").arg(rate), rate, 2);
    StartServer(sinks);
    for (const int rate : rates) {
        SCOPED_TRACE(rate);
        const QString sink = QStringLiteral("at%1").arg(rate);
        device_.SetSelection(PulseSelection(sink));
        InOneOfSeveral([&] {
            std::vector<float> recorded;
            const LPlayLog log = PlayRecorded(sink, new LKnownNoise(rate, 2, rate / 2), recorded);
            ExpectWholeAndExact(log, recorded, rate, 2, rate / 2);
        });
    }
}

TEST_F(PulseAudio, RatesThatNoServerTakesAreAnsweredWithTheNearest) {
    StartServer();
    for (const auto& [rate, nearest] : {std::pair{1, 1000}, {999, 1000}, {768000, 384000}}) {
        EXPECT_FALSE(device_.Open(LSoundSourceRef(new LKnownNoise(rate, 1, 100))));
        EXPECT_EQ(device_.GetStatus(), kDeviceRateUnsupported);
        EXPECT_EQ(device_.PreferredRate(rate), nearest);
        EXPECT_EQ(device_.PreferredRate(44100), 44100);
    }
    const LPlayLog log = PlayAll(device_, new LKnownNoise(1000, 1, 200));  // the server converts 1 : 48
    EXPECT_TRUE(log.drained);
}

// Each channel arrives at the speaker that the WAVE order names.
TEST_F(PulseAudio, ChannelsAreTheSpeakersOfTheWaveOrder) {
    const std::pair<int, const char*> layouts[] = {
        {1, "mono"},
        {4, "front-left,front-right,rear-left,rear-right"},
        {6, "front-left,front-right,front-center,lfe,rear-left,rear-right"},
        {8, "front-left,front-right,front-center,lfe,rear-left,rear-right,side-left,side-right"}};
    QStringList sinks;
    for (const auto& [channels, map] : layouts)
        sinks << SinkOf(QStringLiteral("with%1").arg(channels), kRate, channels,
                        QStringLiteral("channel_map=") + QString::fromUtf8(map));
    StartServer(sinks);
    for (const auto& [channels, map] : layouts) {
        SCOPED_TRACE(channels);
        const QString sink = QStringLiteral("with%1").arg(channels);
        device_.SetSelection(PulseSelection(sink));
        InOneOfSeveral([&] {
            std::vector<float> recorded;
            const LPlayLog log =
                PlayRecorded(sink, new LKnownNoise(kRate, channels, kSecond / 2), recorded, {}, map);
            ExpectWholeAndExact(log, recorded, kRate, channels, kSecond / 2);
        });
    }
}

TEST_F(PulseAudio, MoreChannelsThanEightPlayAsEight) {
    StartServer();
    for (const int channels : {10, 33, 255}) {
        SCOPED_TRACE(channels);
        int opened = 0;
        std::vector<float> recorded;
        ASSERT_TRUE(recorder_.Start(QStringLiteral("out.monitor"), kRate, 2));
        const LPlayLog log = PlayAll(device_, new LKnownNoise(kRate, channels, kSecond / 2), [&] {
            LLevelBytes levels;
            device_.Levels(levels);
            opened = static_cast<int>(levels.size());
        });
        recorder_.Interrupt();
        recorded = recorder_.Samples();
        EXPECT_TRUE(log.drained);
        EXPECT_EQ(opened, 8);
        EXPECT_GT(std::count_if(recorded.begin(), recorded.end(), [](float x) { return x != 0.0f; }),
                  kSecond / 2);
    }
}

TEST_F(PulseAudio, AServerThatDiesIsReportedAndAFreshOnePlays) {
    StartServer();
    EXPECT_LT(MsUntilLost([this] { server_.Kill(); }), kPatienceMs);
    ASSERT_TRUE(device_.IsClosed());
    EXPECT_FALSE(device_.Open(LSoundSourceRef(new LKnownNoise(kRate, 2, kSecond))));
    EXPECT_EQ(device_.GetStatus(), kDeviceRefused);
    ASSERT_TRUE(server_.Start());
    device_.ClearStatus();
    InOneOfSeveral([&] {
        std::vector<float> recorded;
        const LPlayLog log =
            PlayRecorded(QStringLiteral("out"), new LKnownNoise(kRate, 2, kSecond), recorded);
        ExpectWholeAndExact(log, recorded, kRate, 2, kSecond);
    });
}

TEST_F(PulseAudio, ASlowServerIsThere) {
    StartServer();
    EXPECT_TRUE(IsThereThoughSlow(server_, PulseAudioBackend().answers));
}

TEST_F(PulseAudio, AServerThatHangsHoldsNobodyUp) {
    StartServer();
    QElapsedTimer clock;
    const LSoundSourceRef source(new LKnownNoise(kRate, 2, 10 * kSecond));
    ASSERT_TRUE(device_.Open(source));
    device_.Start();
    for (clock.start(); clock.elapsed() < 300; QThread::msleep(2))
        if (device_.HasFreeBlock()) device_.Write(device_.BlockFrames());
    server_.Freeze();
    clock.restart();
    device_.SetPlayedBase(0);
    device_.Close();
    EXPECT_LT(clock.restart(), kPatienceMs);
    EXPECT_FALSE(device_.Open(source));
    EXPECT_EQ(device_.GetStatus(), kDeviceRefused);
    EXPECT_LT(clock.restart(), kPatienceMs);
    EXPECT_FALSE(PulseAudioBackend().answers());
    EXPECT_LT(clock.restart(), kPatienceMs);
    EXPECT_TRUE(PulseAudioBackend().list(LDeviceDirection::kPlayback).empty());
    EXPECT_LT(clock.restart(), kPatienceMs);
    const auto watch = PulseAudioBackend().watch([] {});
    QThread::msleep(50);
    clock.restart();
    server_.Thaw();
    EXPECT_TRUE(WaitUntil(PulseAudioBackend().answers));
}

TEST_F(PulseAudio, ASinkThatVanishesHandsOverToTheDefaultAndTheLastOneIsLost) {
    StartServer({SinkOf(QStringLiteral("out"), kRate, 2), SinkOf(QStringLiteral("second"), kRate, 2)});
    device_.SetSelection(PulseSelection(QStringLiteral("second")));
    const auto unload = [this](const char* index) {
        EXPECT_FALSE(
            server_.Control({QStringLiteral("list"), QStringLiteral("short"), QStringLiteral("sinks")})
                .isEmpty());
        server_.Control({QStringLiteral("unload-module"), QString::fromUtf8(index)});
    };
    bool moved = false;
    std::vector<float> recorded;
    const LPlayLog log =
        PlayRecorded(QStringLiteral("out"), new LKnownNoise(kRate, 2, kSecond * 3 / 2), recorded, [&] {
            if (moved || device_.PlayedFrames() < kSecond / 2) return;
            unload("1");
            moved = true;
        });
    EXPECT_TRUE(moved && log.drained);
    EXPECT_EQ(log.status, kDeviceGood);
    EXPECT_GE(FindNoise(recorded, 2, kSecond, ExactValue), 0);
    EXPECT_LT(MsUntilLost([&] { unload("0"); }), kPatienceMs);
}

TEST_F(PulseAudio, ASinkThatIsNotThereFallsBackToTheDefault) {
    StartServer();
    device_.SetSelection(PulseSelection(QStringLiteral("no_such_sink")));
    InOneOfSeveral([&] {
        std::vector<float> recorded;
        const LPlayLog log =
            PlayRecorded(QStringLiteral("out"), new LKnownNoise(kRate, 2, kSecond / 2), recorded);
        ExpectWholeAndExact(log, recorded, kRate, 2, kSecond / 2);
    });
}

TEST_F(PulseAudio, TheServerKnowsWhoPlaysWhat) {
    StartServer();
    QByteArray streams;
    PlayAll(device_, new LKnownNoise(kRate, 2, kSecond / 2), [&] {
        if (streams.isEmpty() && device_.PlayedFrames() > kSecond / 4)
            streams = server_.Control({QStringLiteral("list"), QStringLiteral("sink-inputs")});
    });
    const QByteArray id = QByteArray("application.id = \"") + kApplicationId + '"';
    for (const char* property : {"application.name = \"Ondarix\"", id.constData(),
                                 "media.role = \"production\"", "media.name = \"Playback\""})
        EXPECT_TRUE(streams.contains(property)) << property << " is not in\n" << streams.constData();
}

TEST_F(PulseAudio, SinksAreListedAndTheirComingIsTold) {
    EXPECT_FALSE(PulseAudioBackend().answers());
    std::atomic<int> changes{0};
    StartServer(
        {SinkOf(QStringLiteral("out"), kRate, 2, QStringLiteral("sink_properties=device.description=Desk")),
         SinkOf(QStringLiteral("big"), 96000, 6)});
    server_.Control({QStringLiteral("set-default-sink"), QStringLiteral("big")});
    const auto watch = PulseAudioBackend().watch([&] { ++changes; });
    ASSERT_TRUE(WaitUntil(PulseAudioBackend().answers));
    const auto sinks = PulseAudioBackend().list(LDeviceDirection::kPlayback);
    ASSERT_EQ(sinks.size(), 2u);
    EXPECT_EQ(DeviceText(sinks[0].selection), QStringLiteral("[PulseAudio] Desk"));
    EXPECT_EQ(sinks[0].selection.id, QStringLiteral("out"));
    EXPECT_FALSE(sinks[0].isDefault);
    EXPECT_TRUE(sinks[1].isDefault);
    EXPECT_EQ(sinks[1].channels, 6);
    EXPECT_EQ(sinks[1].rate, 96000);
    const auto sources = PulseAudioBackend().list(LDeviceDirection::kCapture);
    ASSERT_EQ(sources.size(), 2u);
    EXPECT_EQ(sources[1].selection.id, QStringLiteral("big.monitor"));

    const auto change = [&](const QStringList& arguments) {
        const int before = changes;
        server_.Control(arguments);
        return WaitUntil([&] { return changes > before; });
    };
    EXPECT_TRUE(change({QStringLiteral("load-module"), QStringLiteral("module-null-sink"),
                        QStringLiteral("sink_name=third")}));
    EXPECT_EQ(PulseAudioBackend().list(LDeviceDirection::kPlayback).size(), 3u);
    const auto settle = [&] {
        for (int last = -1; last != changes; QThread::msleep(1000)) last = changes;
    };
    settle();
    EXPECT_TRUE(change({QStringLiteral("set-default-sink"), QStringLiteral("third")}));
    settle();
    const int before = changes;
    server_.Control({QStringLiteral("set-sink-volume"), QStringLiteral("out"), QStringLiteral("50%")});
    QThread::msleep(500);
    EXPECT_EQ(changes, before) << "a volume is no news";
    server_.Kill();
    EXPECT_TRUE(WaitUntil([&] { return changes > before; }));
    const int lost = changes;
    ASSERT_TRUE(server_.Start());
    EXPECT_TRUE(WaitUntil([&] { return changes > lost; }, 2 * kPatienceMs)) << "the server's return is told";
}

TEST_F(PulseAudio, WithoutAServerNothingAnswersAndNoneIsStarted) {
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(PulseAudioBackend().answers());
    EXPECT_LT(clock.restart(), kPatienceMs);
    EXPECT_TRUE(PulseAudioBackend().list(LDeviceDirection::kPlayback).empty());
    device_.SetSelection(PulseSelection());
    EXPECT_FALSE(device_.Open(LSoundSourceRef(new LKnownNoise(kRate, 2, kSecond))));
    EXPECT_EQ(device_.GetStatus(), kDeviceRefused);
    EXPECT_FALSE(QFile::exists(server_.Path(QStringLiteral("pulse/native"))));
}

}  // namespace
}  // namespace ondarix::test
