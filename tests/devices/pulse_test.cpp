// SPDX-License-Identifier: GPL-3.0-or-later
// Against a real PulseAudio server with null sinks.
#include <QElapsedTimer>
#include <QThread>
#include <cmath>
#include <thread>

#include "devices/device_list.h"
#include "devices/played_sound.h"
#include "devices/sound_servers.h"
#include "gtest/gtest.h"

namespace ondarix::test {
namespace {

constexpr int kRate = 48000;

LDeviceSelection PulseSelection(const QString& sink = {}) {
    return {LDeviceMode::kPulseAudio, sink, QStringLiteral("test")};
}

class PulseAudio : public ::testing::Test {
  protected:
    void StartServer(const QStringList& sinks = {QStringLiteral("sink_name=out rate=48000 channels=2")}) {
        ASSERT_TRUE(server_.Start(sinks));
    }
    // What a recorder of `source` hears of `frames` frames of noise, by the log of playing them.
    LPlayLog PlayRecorded(const QString& source, int rate, int channels, int64_t frames,
                          std::vector<float>& recorded, const std::function<void()>& during = {}) {
        LPulseRecorder recorder(server_);
        EXPECT_TRUE(recorder.Start(source, rate, channels));
        const LPlayLog log = PlayAll(device_, new LKnownNoise(rate, channels, frames), during);
        QThread::msleep(300);
        recorder.Interrupt();
        recorded = recorder.Samples();
        return log;
    }

    LPulseServer server_;
    LScopedEnvironment environment_{server_.Environment()};
    LSoundDevice device_;
};

void ExpectWholeAndExact(const LPlayLog& log, const std::vector<float>& recorded, int rate, int channels,
                         int64_t frames) {
    EXPECT_TRUE(log.opened);
    EXPECT_TRUE(log.drained);
    EXPECT_TRUE(log.monotonic);
    EXPECT_EQ(log.played, frames);
    EXPECT_EQ(log.gaps, 0u);
    EXPECT_EQ(log.status, kDeviceGood);
    const int64_t first = rate / 10, sound = frames - first;
    const int64_t at = FindNoise(recorded, channels, first, ExactValue);
    ASSERT_GE(at, 0) << "not heard, " << recorded.size() << " samples recorded";
    EXPECT_EQ(MatchingFrames(recorded, channels, at, first, sound, ExactValue), sound);
}

TEST_F(PulseAudio, WhatIsPlayedIsHeardBitForBit) {
    StartServer();
    device_.SetSelection(PulseSelection());
    std::vector<float> recorded;
    const LPlayLog log = PlayRecorded(QStringLiteral("out.monitor"), kRate, 2, 2 * kRate, recorded);
    ExpectWholeAndExact(log, recorded, kRate, 2, 2 * kRate);
}

}  // namespace
}  // namespace ondarix::test
