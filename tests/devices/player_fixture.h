// SPDX-License-Identifier: GPL-3.0-or-later
// Sources whose every sample is known, a listener that keeps what it hears, and a player on the null device
// whose file shows what was played.
#pragma once
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <algorithm>
#include <atomic>
#include <functional>
#include <vector>

#include "devices/player.h"
#include "patience.h"

namespace ondarix::test {

template <typename Done>
bool WaitFor(Done done, int ms = 2 * kPatienceMs) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.hasExpired(ms)) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(1);
    }
    return true;
}
inline void LetPass(int ms) {
    WaitFor([] { return false; }, ms);
}

// Sample c of frame n is value(n, c); silence around it.
class FunctionSource final : public LSoundSource {
  public:
    using Value = std::function<float(int64_t frame, int channel)>;
    FunctionSource(LSoundFormat format, int64_t frames, Value value, float itsPeak = 0.5f)
        : LSoundSource(format.sampleRate, format.channels), length(frames), value_(std::move(value)) {
        peak = itsPeak;
    }
    float* Read(float* dest, int32_t frames) override {
        for (int32_t i = 0; i < frames; ++i, ++position_)
            for (int c = 0; c < channels; ++c)
                *dest++ = position_ >= 0 && position_ < length ? value_(position_, c) : 0.0f;
        return dest;
    }
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return length; }
    void Seek(int64_t frame) override { position_ = std::min<int64_t>(frame, length); }
    bool IsGrowing() override { return growing; }

    std::atomic<int64_t> length;
    std::atomic<bool> growing{false};

  private:
    Value value_;
    int64_t position_ = 0;
};

inline constexpr LSoundFormat kStereo = {48000, 2};

// Tells its frame and channel, in steps that floats hold exactly.
inline float NumberedA(int64_t frame, int channel) {
    return static_cast<float>(frame * 2 + channel % 2 + 1) * 0x1p-20f;
}
inline float NumberedB(int64_t frame, int channel) { return -0.25f - NumberedA(frame, channel); }
// All the values of 16 bits that the limiter lets pass.
inline float SixteenBits(int64_t frame, int channel) {
    return static_cast<float>((frame * 7919 + channel * 104729) % 65535 - 32767) / 32768.0f;
}

inline LSoundSourceRef Numbered(int64_t frames, LSoundFormat format = kStereo,
                                FunctionSource::Value value = NumberedA) {
    return MakeSource<FunctionSource>(format, frames, std::move(value));
}

class RecordingEvents : public LSoundPlayerEvents {
  public:
    void OnPlayStarted(uintptr_t data) override { Note(data), ++started; }
    void OnPlayStopped(uintptr_t data) override {
        Note(data), ++stopped;
        if (onStopped) onStopped();
    }
    void OnPlayPaused(uintptr_t data) override { Note(data), ++paused; }
    void OnPosition(uintptr_t data, int64_t ms) override {
        Note(data), milliseconds.push_back(ms);
        if (onPosition) onPosition();
    }
    void OnPositionFrames(uintptr_t data, int64_t at) override { Note(data), frames.push_back(at); }
    void OnLevels(uintptr_t data, const LLevelBytes& bytes) override { Note(data), levels.push_back(bytes); }

    int started = 0, stopped = 0, paused = 0;
    std::vector<int64_t> frames, milliseconds;
    std::vector<LLevelBytes> levels;
    std::function<void()> onStopped, onPosition;

  private:
    void Note(uintptr_t data) {
        EXPECT_EQ(data, 4711u);
        EXPECT_EQ(QThread::currentThread(), QCoreApplication::instance()->thread());
    }
};

class PlayerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        player_.SetListener(&events_, 4711);
        player_.SelectDevice(FileDevice(path_));
    }
    void TearDown() override { player_.SetListener(nullptr); }

    static LDeviceSelection FileDevice(const QString& path) {
        return {LDeviceMode::kNull, path, QStringLiteral("file:") + path};
    }
    bool WaitForEnd() {
        return WaitFor([this] { return !player_.IsPlaying(); });
    }
    // It plays, from `at` on. On a busy machine it may have come to its end before anybody has seen that.
    bool PlayTo(int64_t at, const std::function<LSoundSourceRef()>& make) {
        return WaitFor([&] {
            events_ = RecordingEvents();
            return player_.Play(make()) && WaitForPosition(at) && player_.IsPlaying();
        });
    }
    bool WaitForPosition(int64_t frame) {
        return WaitFor([this, frame] { return player_.GetPositionFrames() >= frame; });
    }
    // The sound has ended at `length`, and nobody was told yet.
    void SleepUntilItHasEnded(int64_t length) {
        for (int i = 0; i < kPatienceMs && player_.GetPositionFrames() < length; ++i) QThread::msleep(1);
        QThread::msleep(60);
    }
    static std::vector<float> FileOf(const QString& path) {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        std::vector<float> samples(static_cast<size_t>(bytes.size()) / sizeof(float));
        std::copy_n(bytes.constData(), samples.size() * sizeof(float),
                    reinterpret_cast<char*>(samples.data()));
        return samples;
    }
    std::vector<float> Played() const { return FileOf(path_); }

    struct Run {
        int64_t first, end;
        bool operator==(const Run&) const = default;
    };
    // The played file as stretches of frames of NumberedA that follow on to each other.
    std::vector<Run> PlayedRuns(int channels = 2) const {
        const std::vector<float> samples = Played();
        std::vector<Run> runs;
        for (size_t i = 0; i + static_cast<size_t>(channels) <= samples.size();
             i += static_cast<size_t>(channels)) {
            const auto frame = static_cast<int64_t>(samples[i] * 0x1p+19f - 0.5f);
            for (int c = 0; c < channels; ++c)
                EXPECT_EQ(samples[i + static_cast<size_t>(c)], NumberedA(frame, c)) << "frame " << frame;
            if (runs.empty() || runs.back().end != frame) runs.push_back({frame, frame});
            ++runs.back().end;
        }
        return runs;
    }
    // Mismatches of the played file with what `value` says, from a frame of the file on.
    int64_t Mismatches(const std::vector<float>& samples, int channels,
                       const FunctionSource::Value& value) const {
        int64_t wrong = 0;
        for (size_t i = 0; i < samples.size(); ++i)
            wrong += samples[i] != value(static_cast<int64_t>(i) / channels, static_cast<int>(i) % channels);
        return wrong;
    }
    void ExpectMonotonic(int64_t last) const {
        EXPECT_TRUE(std::is_sorted(events_.frames.begin(), events_.frames.end()));
        EXPECT_TRUE(std::is_sorted(events_.milliseconds.begin(), events_.milliseconds.end()));
        ASSERT_FALSE(events_.frames.empty());
        EXPECT_EQ(events_.frames.back(), last);
    }

    QTemporaryDir folder_;
    QString path_ = folder_.filePath(QStringLiteral("played.raw"));
    RecordingEvents events_;
    LSoundPlayer player_;
};

}  // namespace ondarix::test
