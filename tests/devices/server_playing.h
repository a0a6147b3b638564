// SPDX-License-Identifier: GPL-3.0-or-later
// Plays noise through a device and finds it again in what a server's own recorder has written.
#pragma once
#include <sys/syscall.h>

#include <QDir>
#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include "devices/server_process.h"
#include "devices/sound_device.h"
#include "gen/progress.h"

namespace ondarix::test {

// A tenth of a second of silence, while servers settle, then noise of 16-bit values, of which none is zero.
class NoiseSource final : public LSoundSource {
  public:
    NoiseSource(int rate, int channelCount, int64_t noiseFrames)
        : LSoundSource(rate, channelCount), silence_(rate / 10), length_(silence_ + noiseFrames) {}

    static float Sample(int64_t noiseFrame, int channel) {
        uint64_t x = static_cast<uint64_t>(noiseFrame) * 256 + static_cast<uint64_t>(channel) + 1;
        x *= 0x9e3779b97f4a7c15u;
        x ^= x >> 29;
        x *= 0xbf58476d1ce4e5b9u;
        return static_cast<float>(static_cast<int16_t>(x >> 40) | 1) / 32768.0f;
    }
    float* Read(float* dest, int32_t frames) override {
        for (int32_t i = 0; i < frames; ++i, ++position_)
            for (int c = 0; c < channels; ++c)
                *dest++ =
                    position_ < silence_ || position_ >= length_ ? 0.0f : Sample(position_ - silence_, c);
        return dest;
    }
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return length_; }
    void Seek(int64_t frame) override { position_ = frame; }

  private:
    int64_t silence_, length_, position_ = 0;
};

// Feeds a device as a player would, and notes its positions.
class Feeder {
  public:
    ~Feeder() { Stop(); }

    bool Play(const LDeviceSelection& selection, int rate, int channels, int64_t noiseFrames) {
        Stop();
        isStopping_ = false;
        device_.SetSelection(selection);
        LSoundSourceRef source = MakeSource<NoiseSource>(rate, channels, noiseFrames);
        left_ = length_ = source->GetLength();
        if (!device_.Open(source)) return false;
        device_.Start();
        thread_ = std::thread([this] { Feed(); });
        return device_.GetStatus() == kDeviceGood;
    }
    // A server that was just started or thawed may refuse at first.
    bool PlaySoon(const LDeviceSelection& selection, int rate, int channels, int64_t noiseFrames) {
        return WaitUntil(kPatienceMs, [&] { return Play(selection, rate, channels, noiseFrames); });
    }
    bool HasPlayed(int64_t frames) {
        return WaitUntil(kPatienceMs, [&] { return device_.PlayedFrames() > frames; });
    }
    bool HasStatus(LDeviceStatus status) {
        return WaitUntil(kPatienceMs, [&] { return device_.GetStatus() == status; });
    }
    // All was heard, or the device has failed.
    bool Finish() {
        return WaitUntil(3 * kPatienceMs, [&] { return isDone_.load(); });
    }
    void Stop() {
        isStopping_ = true;
        if (thread_.joinable()) thread_.join();
        device_.Close();
        isDone_ = false;
        wentBack_ = false;
    }
    LSoundDevice& Device() { return device_; }
    int64_t Length() const { return length_; }
    bool WentBack() const { return wentBack_; }

  private:
    void Feed() {
        int64_t last = 0;
        while (!isStopping_ && device_.GetStatus() == kDeviceGood) {
            const int64_t now = device_.PlayedFrames();
            if (now < last) wentBack_ = true;
            last = now;
            if (left_ > 0 && device_.HasFreeBlock()) {
                const auto frames = static_cast<int32_t>(std::min<int64_t>(left_, device_.BlockFrames()));
                device_.Write(frames);
                left_ -= frames;
                if (left_ == 0) device_.MarkEnd(true);
            } else {
                if (left_ == 0 && !device_.IsDrained()) break;
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }
        }
        isDone_ = true;
    }
    LSoundDevice device_;
    std::thread thread_;
    int64_t left_ = 0, length_ = 0;
    std::atomic<bool> isStopping_{false}, isDone_{false}, wentBack_{false};
};

// What of the noise is in a recording.
struct Heard {
    int64_t frames = 0;         // that were found, in order, one after the other
    std::vector<int64_t> gaps;  // after so many frames of it there was silence, and then the noise went on
    bool hasOther = false;      // something that is neither
};

// `sourceChannels` of the noise cyclically in the channels of the recording: 1 is the same in all of them.
inline Heard FindNoise(const std::vector<float>& recorded, int channels, int sourceChannels) {
    Heard heard;
    bool inSilence = false;
    for (size_t at = 0; at + static_cast<size_t>(channels) <= recorded.size();
         at += static_cast<size_t>(channels)) {
        bool isNoise = true, isSilent = true;
        for (int c = 0; c < channels; ++c) {
            const float sample = recorded[at + static_cast<size_t>(c)];
            isNoise = isNoise && sample == NoiseSource::Sample(heard.frames, c % sourceChannels);
            isSilent = isSilent && sample == 0.0f;
        }
        if (isNoise) {
            if (inSilence && heard.frames > 0) heard.gaps.push_back(heard.frames);
            ++heard.frames;
        }
        heard.hasOther = heard.hasOther || (!isNoise && !isSilent);
        inSilence = isSilent;
    }
    return heard;
}

inline float LargestSample(const std::vector<float>& samples) {
    float largest = 0.0f;
    for (const float sample : samples) largest = std::max(largest, std::abs(sample));
    return largest;
}

// Holds this thread, and then all others that have no name of their own, for a tenth of a second: those of
// client libraries among them, as on a machine that is too busy.
inline void StallThreads() {
    ::signal(SIGUSR1, [](int) { ::usleep(100'000); });
    const auto nameOf = [](const QString& task) {
        QFile name(task + QStringLiteral("/comm"));
        return name.open(QIODevice::ReadOnly) ? name.readAll() : QByteArray();
    };
    const QDir tasks(QStringLiteral("/proc/self/task"));
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        if (nameOf(tasks.filePath(task)) == nameOf(QStringLiteral("/proc/self")))
            ::syscall(SYS_tgkill, ::getpid(), task.toInt(), SIGUSR1);
}

// A watch has found its server by then.
inline constexpr int kWatchSettlesMs = 1000;

inline int64_t MsSince(std::chrono::steady_clock::time_point begin) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin)
        .count();
}

}  // namespace ondarix::test
