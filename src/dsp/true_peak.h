// SPDX-License-Identifier: GPL-3.0-or-later
// Peaks between the samples, after ITU-R BS.1770-4, Annex 2: four times oversampling, twice from 96 kHz on,
// none from 192 kHz on. [any], one thread at a time.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ondarix {

class LTruePeakMeter {
  public:
    // Frames that interpolation looks back from the newest one, and how many of them lie behind the place
    // that it can tell about.
    static constexpr int kTaps = 24;
    static constexpr int kDelay = kTaps / 2;

    LTruePeakMeter(int64_t rate, int channels);
    // Interleaved. What it tells about reaches to kDelay frames before the end.
    void Feed(const float* block, int64_t frames);
    // The rest, as if silence followed.
    void Flush();
    // Full scale 1.0, since the last ResetPeaks; never below the largest sample.
    float Peak(int channel) const { return peaks_[static_cast<std::size_t>(channel)]; }
    float Peak() const;
    void ResetPeaks();
    void Reset();  // as fresh

  private:
    void FeedChannel(const float* first, int64_t frames, int channel);

    int channels_;
    int phases_;               // between two samples: 3, 1 or 0
    float mostGain_;           // of any of them
    std::vector<float> taps_;  // phases_ times kTaps, in the order of the samples
    std::vector<float> past_;  // kTaps - 1 for each channel
    std::vector<float> line_;  // past and new samples of one channel
    std::vector<float> peaks_;
};

}  // namespace ondarix
