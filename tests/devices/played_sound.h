// SPDX-License-Identifier: GPL-3.0-or-later
// Sound that can be found again in what a server has recorded, and how it is played.
#pragma once
#include <functional>
#include <vector>

#include "devices/sound_device.h"

namespace ondarix::test {

// A tenth of a second of silence, then noise of 16-bit values, another one in each channel and frame.
class LKnownNoise final : public LSoundSource {
  public:
    LKnownNoise(int32_t rate, int channelCount, int64_t frames)
        : LSoundSource(rate, channelCount), length_(frames) {}
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return length_; }
    void Seek(int64_t frame) override { position_ = frame; }
    int64_t FirstFrame() const { return sampleRate / 10; }  // of the noise
    static int16_t Value(int64_t frame, int channel);       // never 0

  private:
    int64_t length_;
    int64_t position_ = 0;
};

struct LPlayLog {
    bool opened = false, drained = false, monotonic = true;
    int64_t played = 0;  // at the end
    uint32_t gaps = 0;
    uint16_t status = 0;
    int channels = 0;
    int64_t ms = 0;  // from Start() until it was drained
};
// Opens, plays all, waits until it is drained and closes. `during` is called with each turn of the feeding
// loop while the device is open.
LPlayLog PlayAll(LSoundDevice& device, LKnownNoise* noise, const std::function<void()>& during = {});

// Where the noise that begins at `first` lies in a recording of so many channels: its frame, or -1.
// `value(frame, channel)` is what one sample is recorded as.
using LRecordedValue = std::function<float(int64_t frame, int channel)>;
int64_t FindNoise(const std::vector<float>& recorded, int channels, int64_t first,
                  const LRecordedValue& value);
// How many frames from `at` on are the noise of frames first, first + 1, ... exactly.
int64_t MatchingFrames(const std::vector<float>& recorded, int channels, int64_t at, int64_t first,
                       int64_t frames, const LRecordedValue& value);
float ExactValue(int64_t frame, int channel);  // as it was played
// All of it was played without a gap, and lies in the recording bit for bit. Where that begins, or -1.
int64_t ExpectWholeAndExact(const LPlayLog& log, const std::vector<float>& recorded, int rate, int channels,
                            int64_t frames);

}  // namespace ondarix::test
