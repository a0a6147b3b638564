// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/resampler.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <numbers>
#include <numeric>
#include <utility>

#include "dsp/wide.h"

namespace ondarix {

namespace {

constexpr double kTaps = 63;  // in periods of the lower rate
// The filter as a sum of cosines of 0, 1, 2 ... turns over its length, all but the first of them twice: half
// of its spectrum. Made by scripts/rate_filter.py.
constexpr double kCosines[] = {
    0.999999869417,     1.00000013331,      0.999999866965,     1.00000013253,     0.999999868286,
    1.00000013048,      0.999999871288,     1.00000012626,      0.999999877016,    1.00000011874,
    0.999999886706,     1.00000010615,      0.999999903583,     1.000000083,       0.999999934763,
    1.00000004192,      0.999999990121,     0.999999968375,     1.00000008438,     0.99999985449,
    1.00000028008,      0.999999538723,     1.00000077065,      0.999998571071,    1.00000293333,
    0.999994130375,     1.00000381003,      1.00019897289,      0.998683842516,    0.941512146399,
    0.720069396038,     0.373468334189,     0.110677908219,     0.0147362401906,   0.000470565101396,
    -8.03505722413e-07, -8.35381705822e-08, -1.3238279847e-07,  1.23073395423e-07, -5.85855908671e-08,
    6.23909384047e-09,  2.638301173e-08,    -4.09424622554e-08, 3.92226208201e-08,
};
constexpr int kLanes = 8;
constexpr int64_t kTableFloats = int64_t{1} << 18;  // more phases than fit are interpolated
constexpr int kSteps = 2048;      // of an interpolated table, to a period of the lower rate: -140 dB
constexpr int64_t kPiece = 4096;  // frames of input or output that are worked on at once
constexpr int64_t kLargestStep = 4;

// The filter at `t` periods of the lower rate from its middle, not scaled. The sum by the recurrence of C. W.
// Clenshaw, "A note on the summation of Chebyshev series", 1955.
double Prototype(double t) {
    if (std::fabs(t) >= kTaps / 2) return 0;
    const double cosine = std::cos(2 * std::numbers::pi * t / kTaps);
    double sum = 0, before = 0;
    for (size_t k = std::size(kCosines) - 1; k > 0; --k) {
        const double next = kCosines[k] + 2 * cosine * sum - before;
        before = sum;
        sum = next;
    }
    return kCosines[0] + 2 * (cosine * sum - before);
}

// What one stage computes, as the inner loop sees it. Output frame i of a piece lies `phase / up` behind
// input frame `frame`; tap k of its row is for input frame `frame` - before + k.
struct LRateKernel {
    const float* table;  // rows of `taps`
    int taps;            // a multiple of kLanes
    int64_t up, down;    // the reduced rates
    int64_t steps;       // 0: a row for each phase; otherwise rows are interpolated
};

typedef float LLanes __attribute__((vector_size(kLanes * sizeof(float)), aligned(4), may_alias));
constexpr int kSums = 4;  // that run side by side, so that no addition waits for the one before it

inline __attribute__((always_inline)) const LLanes& LanesAt(const float* from) {
    return *reinterpret_cast<const LLanes*>(from);
}

// One output frame of `Count` channels, which share the loading of the row. The order of the additions does
// not depend on the count.
template <int Count>
inline __attribute__((always_inline)) void ConvolveFrame(const float* row, int taps,
                                                         const float* const* planes, int64_t at,
                                                         float* dest) {
    LLanes sums[Count][kSums] = {};
    int k = 0;
    for (; k + kSums * kLanes <= taps; k += kSums * kLanes) {
        for (int s = 0; s < kSums; ++s) {
            const LLanes& factor = LanesAt(row + k + s * kLanes);
            for (int c = 0; c < Count; ++c) sums[c][s] += factor * LanesAt(planes[c] + at + k + s * kLanes);
        }
    }
    for (; k < taps; k += kLanes) {
        const LLanes& factor = LanesAt(row + k);
        for (int c = 0; c < Count; ++c) sums[c][0] += factor * LanesAt(planes[c] + at + k);
    }
    for (int c = 0; c < Count; ++c) {
        const LLanes sum = (sums[c][0] + sums[c][1]) + (sums[c][2] + sums[c][3]);
        dest[c] = ((sum[0] + sum[4]) + (sum[1] + sum[5])) + ((sum[2] + sum[6]) + (sum[3] + sum[7]));
    }
}

// `planes`: one pointer a channel to the input of the first output frame's first tap. `row`: room for one.
ONDARIX_WIDE void ConvolvePiece(const LRateKernel& kernel, const float* const* planes, int channels,
                                int64_t phase, float* row, float* dest, int64_t frames) {
    const int64_t whole = kernel.down / kernel.up, rest = kernel.down % kernel.up;
    const int taps = kernel.taps;
    int64_t at = 0;
    for (int64_t i = 0; i < frames; ++i) {
        const float* taken = kernel.table + phase * taps;
        if (kernel.steps != 0) {
            const int64_t place = phase * kernel.steps;
            const float part =
                static_cast<float>(static_cast<double>(place % kernel.up) / static_cast<double>(kernel.up));
            const float* const low = kernel.table + place / kernel.up * taps;
            const float* const high = low + taps;
            for (int k = 0; k < taps; ++k) row[k] = low[k] + part * (high[k] - low[k]);
            taken = row;
        }
        int channel = 0;
        for (; channel + 2 <= channels; channel += 2) {
            ConvolveFrame<2>(taken, taps, planes + channel, at, dest + channel);
        }
        if (channel < channels) ConvolveFrame<1>(taken, taps, planes + channel, at, dest + channel);
        dest += channels;
        at += whole;
        phase += rest;
        if (phase >= kernel.up) {
            phase -= kernel.up;
            ++at;
        }
    }
}

}  // namespace

int64_t ScaledLength(int64_t frames, int64_t from, int64_t to) {
    const int64_t rest = frames % from;
    int64_t scaled = 0;
    if (__builtin_mul_overflow(frames / from, to, &scaled) ||
        __builtin_add_overflow(scaled, (rest * to + from / 2) / from, &scaled)) {
        return std::numeric_limits<int64_t>::max();
    }
    return scaled;
}

// One filter between two rates of which the second is at least a quarter of the first.
class LResampler::Stage {
  public:
    Stage(int64_t from, int64_t to, int channels, Fetch fetch);
    void Produce(float* dest, int64_t first, int64_t frames);
    int64_t Ready(int64_t available) const;

  private:
    void BuildTable(double ratio);
    void FillRow(float* row, double offset, double ratio) const;
    void Hold(int64_t first, int64_t end);   // has the input frames in the planes, from `first` on
    int64_t FrameOf(int64_t number) const {  // rounded down
        const int64_t rest = number % up_ < 0 ? number % up_ + up_ : number % up_;
        return (number - rest) / up_ * down_ + rest * down_ / up_;
    }
    int64_t PhaseOf(int64_t number) const {
        const int64_t rest = number % up_ < 0 ? number % up_ + up_ : number % up_;
        return rest * down_ % up_;
    }

    int64_t up_, down_;
    int channels_;
    Fetch fetch_;
    int64_t before_;  // input frames ahead of the one an output frame lies behind; one more follows it
    int taps_;
    int64_t steps_ = 0;
    std::vector<float> table_, row_;
    std::vector<float> scratch_;              // interleaved input
    std::vector<std::vector<float>> planes_;  // one a channel
    std::vector<const float*> starts_;
    int64_t base_ = 0, held_ = 0;  // input frames in the planes
    int64_t pieceOut_;
};

LResampler::Stage::Stage(int64_t from, int64_t to, int channels, Fetch fetch)
    : channels_(channels), fetch_(std::move(fetch)) {
    const int64_t common = std::gcd(from, to);
    up_ = to / common;
    down_ = from / common;
    const double ratio = std::max(1.0, static_cast<double>(from) / static_cast<double>(to));
    before_ = static_cast<int64_t>(kTaps / 2 * ratio);
    const auto used = static_cast<int>(2 * before_ + 2);
    taps_ = (used + kLanes - 1) / kLanes * kLanes;
    BuildTable(ratio);
    pieceOut_ = std::clamp<int64_t>(kPiece * up_ / down_, 1, kPiece);
    const auto room = static_cast<size_t>(pieceOut_ * down_ / up_ + 2 + taps_);
    planes_.assign(static_cast<size_t>(channels), std::vector<float>(room + kLanes));
    scratch_.resize(room * static_cast<size_t>(channels));
    starts_.resize(static_cast<size_t>(channels));
}

// Row for an output frame `offset` of an input period behind its input frame.
void LResampler::Stage::FillRow(float* row, double offset, double ratio) const {
    std::vector<double> exact(static_cast<size_t>(2 * before_ + 2));
    double sum = 0;
    for (size_t k = 0; k < exact.size(); ++k) {
        exact[k] = Prototype((static_cast<double>(k) - static_cast<double>(before_) - offset) / ratio);
        sum += exact[k];
    }
    for (size_t k = 0; k < exact.size(); ++k) row[k] = static_cast<float>(exact[k] / sum);
}

void LResampler::Stage::BuildTable(double ratio) {
    if (up_ > kTableFloats / taps_) steps_ = static_cast<int64_t>(std::ceil(kSteps / ratio));
    const int64_t phases = steps_ != 0 ? steps_ : up_;
    const int64_t rows = steps_ != 0 ? steps_ + 1 : up_;
    table_.assign(static_cast<size_t>(rows * taps_), 0.0f);
    row_.assign(static_cast<size_t>(taps_), 0.0f);
    for (int64_t i = 0; i < rows; ++i) {
        FillRow(table_.data() + i * taps_, static_cast<double>(i) / static_cast<double>(phases), ratio);
    }
}

void LResampler::Stage::Hold(int64_t first, int64_t end) {
    const int64_t have = base_ + held_;
    if (first < base_ || first > have) {
        held_ = 0;
    } else if (first > base_) {
        held_ = have - first;
        for (auto& plane : planes_) {
            std::copy_n(plane.begin() + (first - base_), held_, plane.begin());
        }
    }
    base_ = first;
    const int64_t missing = end - base_ - held_;
    if (missing <= 0) return;
    fetch_(scratch_.data(), base_ + held_, missing);
    for (int channel = 0; channel < channels_; ++channel) {
        const float* from = scratch_.data() + channel;
        float* const to = planes_[static_cast<size_t>(channel)].data() + held_;
        for (int64_t i = 0; i < missing; ++i) to[i] = from[i * channels_];
        std::fill_n(to + missing, kLanes, 0.0f);  // under the taps that only fill up a row
    }
    held_ += missing;
}

void LResampler::Stage::Produce(float* dest, int64_t first, int64_t frames) {
    const LRateKernel kernel{table_.data(), taps_, up_, down_, steps_};
    while (frames > 0) {
        const int64_t piece = std::min(frames, pieceOut_);
        const int64_t start = FrameOf(first) - before_;
        Hold(start, FrameOf(first + piece - 1) + before_ + 2);
        for (size_t c = 0; c < planes_.size(); ++c) starts_[c] = planes_[c].data();
        ConvolvePiece(kernel, starts_.data(), channels_, PhaseOf(first), row_.data(), dest, piece);
        dest += piece * channels_;
        first += piece;
        frames -= piece;
    }
}

int64_t LResampler::Stage::Ready(int64_t available) const {
    const int64_t usable = available - before_ - 1;
    if (usable <= 0) return 0;
    int64_t whole = 0;
    if (__builtin_mul_overflow(usable / down_, up_, &whole)) return std::numeric_limits<int64_t>::max() / 2;
    return whole + (usable % down_ * up_ + down_ - 1) / down_;
}

LResampler::LResampler(int32_t from, int32_t to, int channels, Fetch fetch) {
    // A target below a quarter of the source is reached over twice the target, that one by the same rule.
    std::vector<int64_t> rates{to};
    while (from > kLargestStep * rates.back()) rates.push_back(2 * rates.back());
    rates.push_back(from);
    for (size_t i = rates.size() - 1; i-- > 0;) {
        stages_.push_back(std::make_unique<Stage>(rates[i + 1], rates[i], channels, std::move(fetch)));
        fetch = [stage = stages_.back().get()](float* dest, int64_t first, int64_t frames) {
            stage->Produce(dest, first, frames);
        };
    }
}

LResampler::~LResampler() = default;

void LResampler::Produce(float* dest, int64_t first, int64_t frames) {
    stages_.back()->Produce(dest, first, frames);
}

int64_t LResampler::Ready(int64_t available) const {
    for (const auto& stage : stages_) available = stage->Ready(available);
    return available;
}

}  // namespace ondarix
