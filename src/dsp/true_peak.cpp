// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/true_peak.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "dsp/peak.h"
#include "dsp/wide.h"

namespace ondarix {
namespace {

constexpr int kOversampleLanes = 8;
constexpr int64_t kOversamplePiece = 2048;
constexpr int64_t kOversampleChunk = 64;  // places that are left out together where nothing can be louder
constexpr double kKaiserBeta = 7.0;
using LOversampled = float __attribute__((vector_size(kOversampleLanes * sizeof(float))));

int PhasesAt(int64_t rate) { return rate >= 192000 ? 0 : rate >= 96000 ? 1 : 3; }

double Kaiser(double x) {  // -1 to 1
    return std::cyl_bessel_i(0.0, kKaiserBeta * std::sqrt(std::max(0.0, 1 - x * x))) /
           std::cyl_bessel_i(0.0, kKaiserBeta);
}

// A windowed sinc for the place `share` of a sample behind tap kTaps / 2 - 1, with unity gain at 0 Hz.
void MakePhase(double share, float* taps) {
    constexpr int kCentre = LTruePeakMeter::kTaps / 2 - 1;
    double values[LTruePeakMeter::kTaps], sum = 0;
    for (int t = 0; t < LTruePeakMeter::kTaps; ++t) {
        const double x = t - kCentre - share;
        values[t] = std::sin(std::numbers::pi * x) / (std::numbers::pi * x) *
                    Kaiser(x / (LTruePeakMeter::kTaps / 2.0));
        sum += values[t];
    }
    for (int t = 0; t < LTruePeakMeter::kTaps; ++t) taps[t] = static_cast<float>(values[t] / sum);
}

// The largest magnitude at `count` places (a multiple of kOversampleLanes), of one phase; `line` holds count
// + kTaps - 1 samples. No number is as good as 0.
ONDARIX_WIDE float LargestBetween(const float* line, int64_t count, const float* taps) {
    LOversampled most{};
    for (int64_t i = 0; i < count; i += 2 * kOversampleLanes) {
        const bool both = i + kOversampleLanes < count;
        LOversampled sum{}, next{}, x;
        for (int t = 0; t < LTruePeakMeter::kTaps; ++t) {
            std::memcpy(&x, line + i + t, sizeof x);
            sum += x * taps[t];
            if (!both) continue;
            std::memcpy(&x, line + i + t + kOversampleLanes, sizeof x);
            next += x * taps[t];
        }
        most = sum > most ? sum : most;
        most = -sum > most ? -sum : most;
        most = next > most ? next : most;
        most = -next > most ? -next : most;
    }
    float largest = 0;
    for (int lane = 0; lane < kOversampleLanes; ++lane) largest = std::max(largest, most[lane]);
    return largest;
}

float OneBetween(const float* line, const float* taps) {
    float sum = 0;
    for (int t = 0; t < LTruePeakMeter::kTaps; ++t) sum += line[t] * taps[t];
    return std::isnan(sum) ? 0.0f : std::fabs(sum);
}

}  // namespace

LTruePeakMeter::LTruePeakMeter(int64_t rate, int channels)
    : channels_(channels),
      phases_(PhasesAt(rate)),
      mostGain_(1),
      taps_(static_cast<std::size_t>(phases_) * kTaps),
      past_(static_cast<std::size_t>(channels) * (kTaps - 1)),
      line_(static_cast<std::size_t>(kOversamplePiece) + kTaps - 1),
      peaks_(static_cast<std::size_t>(channels)) {
    for (int phase = 0; phase < phases_; ++phase) {
        float* const taps = taps_.data() + static_cast<std::ptrdiff_t>(phase) * kTaps;
        MakePhase((phase + 1.0) / (phases_ + 1.0), taps);
        float gain = 0;
        for (int t = 0; t < kTaps; ++t) gain += std::fabs(taps[t]);
        mostGain_ = std::max(mostGain_, gain);
    }
}

float LTruePeakMeter::Peak() const {
    return peaks_.empty() ? 0.0f : *std::max_element(peaks_.begin(), peaks_.end());
}

void LTruePeakMeter::ResetPeaks() { std::fill(peaks_.begin(), peaks_.end(), 0.0f); }

void LTruePeakMeter::Reset() {
    ResetPeaks();
    std::fill(past_.begin(), past_.end(), 0.0f);
}

void LTruePeakMeter::Feed(const float* block, int64_t frames) {
    while (frames > 0) {
        const int64_t piece = std::min(frames, kOversamplePiece);
        for (int channel = 0; channel < channels_; ++channel) FeedChannel(block + channel, piece, channel);
        block += piece * channels_;
        frames -= piece;
    }
}

void LTruePeakMeter::FeedChannel(const float* first, int64_t frames, int channel) {
    float* const past = past_.data() + static_cast<std::ptrdiff_t>(channel) * (kTaps - 1);
    float* const line = std::copy_n(past, kTaps - 1, line_.data());
    for (int64_t i = 0; i < frames; ++i) line[i] = first[i * channels_];
    float& peak = peaks_[static_cast<std::size_t>(channel)];
    peak = std::max(peak, MaxMagnitude(line, frames));
    for (int64_t at = 0; phases_ > 0 && at < frames; at += kOversampleChunk) {
        const float* const from = line_.data() + at;
        const int64_t count = std::min(kOversampleChunk, frames - at);
        if (MaxMagnitude(from, count + kTaps - 1) * mostGain_ <= peak) continue;
        const int64_t whole = count / kOversampleLanes * kOversampleLanes;
        for (int phase = 0; phase < phases_; ++phase) {
            const float* const taps = taps_.data() + static_cast<std::ptrdiff_t>(phase) * kTaps;
            peak = std::max(peak, LargestBetween(from, whole, taps));
            for (int64_t i = whole; i < count; ++i) peak = std::max(peak, OneBetween(from + i, taps));
        }
    }
    std::copy_n(line_.data() + frames, kTaps - 1, past);
}

void LTruePeakMeter::Flush() {
    const std::vector<float> silence(static_cast<std::size_t>(kTaps - 1) *
                                     static_cast<std::size_t>(channels_));
    Feed(silence.data(), kTaps - 1);
}

}  // namespace ondarix
