// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/played_sound.h"

#include <QElapsedTimer>
#include <QThread>

#include "dsp/sample_convert.h"
#include "gtest/gtest.h"

namespace ondarix::test {
namespace {

constexpr int64_t kMostMs = 30000;
constexpr int64_t kSyncFrames = 64;

}  // namespace

int16_t LKnownNoise::Value(int64_t frame, int channel) {
    uint64_t x = static_cast<uint64_t>(frame) * 256 + static_cast<uint64_t>(channel) + 0x9e3779b97f4a7c15u;
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9u;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebu;
    const auto value = static_cast<int16_t>((x ^ (x >> 31)) & 0xffff);
    return value == 0 || value == -32768 ? int16_t{1} : value;
}

float ExactValue(int64_t frame, int channel) {
    return static_cast<float>(LKnownNoise::Value(frame, channel)) * kPcm16Step;
}

float* LKnownNoise::Read(float* dest, int32_t frames) {
    for (int32_t i = 0; i < frames; ++i, ++position_)
        for (int c = 0; c < channels; ++c)
            *dest++ = position_ < FirstFrame() || position_ >= length_ ? 0.0f : ExactValue(position_, c);
    return dest;
}

LPlayLog PlayAll(LSoundDevice& device, LKnownNoise* noise, const std::function<void()>& during) {
    LPlayLog log;
    LSoundSourceRef source(noise);
    LNullProgress progress;
    QElapsedTimer clock;
    log.opened = device.Open(source);
    log.status = device.GetStatus();
    if (!log.opened) return log;
    int64_t left = noise->GetLength() - noise->GetPosition();
    const auto feed = [&] {
        const auto now = static_cast<int32_t>(std::min<int64_t>(left, device.BlockFrames()));
        device.Write(now);
        left -= now;
        if (left == 0) device.MarkEnd(true);
    };
    device.Start();
    clock.start();
    for (int64_t last = device.PlayedFrames();
         clock.elapsed() < kMostMs && device.GetStatus() == kDeviceGood;) {
        if (left > 0 && device.HasFreeBlock())
            feed();
        else if (left > 0)
            device.WaitBlockDone(progress);
        else if (device.IsDrained())
            QThread::msleep(2);
        else
            break;
        log.monotonic = log.monotonic && device.PlayedFrames() >= last;
        last = device.PlayedFrames();
        if (during) during();
    }
    log.ms = clock.elapsed();
    log.drained = left == 0 && !device.IsDrained();
    log.played = device.PlayedFrames();
    log.gaps = device.Gaps();
    log.status = device.GetStatus();
    device.Close();
    return log;
}

int64_t MatchingFrames(const std::vector<float>& recorded, int channels, int64_t at, int64_t first,
                       int64_t frames, const LRecordedValue& value) {
    const auto have = static_cast<int64_t>(recorded.size()) / channels;
    for (int64_t i = 0; i < frames; ++i) {
        if (at + i >= have) return i;
        for (int c = 0; c < channels; ++c)
            if (recorded[static_cast<size_t>((at + i) * channels + c)] != value(first + i, c)) return i;
    }
    return frames;
}

int64_t FindNoise(const std::vector<float>& recorded, int channels, int64_t first,
                  const LRecordedValue& value) {
    const auto have = static_cast<int64_t>(recorded.size()) / channels;
    for (int64_t at = 0; at + kSyncFrames <= have; ++at)
        if (MatchingFrames(recorded, channels, at, first, kSyncFrames, value) == kSyncFrames) return at;
    return -1;
}

int64_t ExpectWholeAndExact(const LPlayLog& log, const std::vector<float>& recorded, int rate, int channels,
                            int64_t frames) {
    EXPECT_TRUE(log.opened);
    EXPECT_TRUE(log.drained);
    EXPECT_TRUE(log.monotonic);
    EXPECT_EQ(log.played, frames);
    EXPECT_EQ(log.gaps, 0u);
    EXPECT_EQ(log.status, kDeviceGood);
    const int64_t first = rate / 10, sound = frames - first;
    const int64_t at = FindNoise(recorded, channels, first, ExactValue);
    EXPECT_GE(at, 0) << "not heard, " << recorded.size() << " samples recorded";
    if (at >= 0) {
        EXPECT_EQ(MatchingFrames(recorded, channels, at, first, sound, ExactValue), sound);
    }
    return at;
}

}  // namespace ondarix::test
