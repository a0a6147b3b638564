// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/measures.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "dsp/peak.h"
#include "dsp/wide.h"

namespace ondarix {
namespace {

constexpr int kSilentDb = -127, kLoudestDb = 127;
constexpr int64_t kMeasurePiece = 4096;
constexpr double kPerceivedQ = 5.0;
struct LPerceivedBand {
    double hz, gainDb;
};
constexpr LPerceivedBand kPerceivedBands[] = {{500, -3}, {1000, 0}, {2000, 0}, {4000, 0}, {8000, -1}};
const double kAbsoluteLevel = std::pow(10.0, -3.5);
const double kRelativeShare = std::pow(10.0, -0.5);
constexpr double kLevelWithoutFrames = 0.7071;

// In eight sums, so that one addition does not wait for the one before.
ONDARIX_WIDE double SumOfSquares(const float* samples, int64_t count) {
    double sums[8] = {};
    const int64_t whole = count / 8 * 8;
    for (int64_t i = 0; i < whole; i += 8)
        for (int k = 0; k < 8; ++k) {
            const double sample = samples[i + k];
            sums[k] += sample * sample;
        }
    for (int64_t i = whole; i < count; ++i) sums[0] += double{samples[i]} * double{samples[i]};
    double sum = 0;
    for (const double part : sums) sum += part;
    return sum;
}

void TakeLouder(LKWeightedPair& filter, const float* one, const float* other, int64_t frames, int stride,
                double* loudest) {
    LKWeightedPair local = filter;
    for (int64_t i = 0; i < frames; ++i, one += stride, other += stride) {
        const LPairOfDoubles y = local.Next(LPairOfDoubles{double{*one}, double{*other}});
        loudest[i] = std::max(loudest[i], std::max(y[0], y[1]));
    }
    filter = local;
    filter.Settle();
}

}  // namespace

int WholeDb(double meanSquare) {
    const double db = 10 * std::log10(meanSquare);
    return static_cast<int>(std::lround(std::clamp<double>(db, kSilentDb, kLoudestDb)));
}

double LinearOfWholeDb(int db) { return db <= kSilentDb ? 0.0 : std::pow(10.0, db * 0.05); }

void LPeakMeasure::Feed(const float* block, int64_t frames) {
    const int64_t samples = frames * channels_;
    if (const float peak = MaxMagnitude(block, samples); peak > peak_) {
        peak_ = peak;
        const float* const at =
            std::find_if(block, block + samples, [peak](float v) { return std::fabs(v) == peak; });
        peakFrame_ = frames_ + (at - block) / channels_;
    }
    frames_ += frames;
}

void LRmsMeasure::Feed(const float* block, int64_t frames) {
    squares_ += SumOfSquares(block, frames * channels_);
    samples_ += frames * channels_;
}

double LRmsMeasure::Finish() {
    const double meanSquare = squares_ / static_cast<double>(samples_);
    return std::isfinite(meanSquare) ? LinearOfWholeDb(WholeDb(meanSquare)) : std::nan("");
}

// --- LLoudWindowsMeasure

LLoudWindowsMeasure::LLoudWindowsMeasure(int channels, int64_t windowFrames, double percentile)
    : channels_(channels),
      windowFrames_(std::max<int64_t>(windowFrames, 1)),
      percentile_(std::clamp(percentile, 0.0, 100.0)) {}

void LLoudWindowsMeasure::Feed(const float* block, int64_t frames) {
    while (frames > 0) {
        const int64_t piece = std::min(frames, windowFrames_ - frames_);
        squares_ += SumOfSquares(block, piece * channels_);
        frames_ += piece;
        block += piece * channels_;
        frames -= piece;
        if (frames_ == windowFrames_) EndWindow();
    }
}

void LLoudWindowsMeasure::EndWindow() {
    const double meanSquare = squares_ / (static_cast<double>(frames_) * channels_);
    squares_ = 0;
    frames_ = 0;
    if (!std::isfinite(meanSquare)) return;
    const int bin = WholeDb(meanSquare) - kLeastDb;
    if (bin >= 0) ++bins_[static_cast<size_t>(std::min(bin, kBins - 1))];
}

double LLoudWindowsMeasure::Finish() {
    if (frames_ > 0) EndWindow();
    int64_t counted = 0;
    for (const int64_t windows : bins_) counted += windows;
    const double share = static_cast<double>(counted) * (100 - percentile_) / 100;
    int64_t reached = 0;
    for (int bin = kBins - 1; bin >= 0; --bin) {
        reached += bins_[static_cast<size_t>(bin)];
        if (reached > 0 && static_cast<double>(reached) >= share) return LinearOfWholeDb(bin + kLeastDb);
    }
    return std::nan("");
}

// --- LPerceivedMeasure

LPerceivedMeasure::LPerceivedMeasure(int64_t rate, int channels)
    : LRmsMeasure(channels), channels_(channels), filtered_(static_cast<size_t>(kMeasurePiece * channels)) {
    for (const LPerceivedBand& band : kPerceivedBands)
        if (band.gainDb != 0)  // the others pass everything
            filters_.emplace_back(
                PeakingBiquad(static_cast<double>(rate), band.hz, kPerceivedQ, band.gainDb));
}

void LPerceivedMeasure::Feed(const float* block, int64_t frames) {
    while (frames > 0) {
        const int64_t piece = std::min(frames, kMeasurePiece);
        std::copy_n(block, piece * channels_, filtered_.data());
        for (LPeakingFilter& filter : filters_) filter.Process(filtered_.data(), piece, channels_);
        LRmsMeasure::Feed(filtered_.data(), piece);
        block += piece * channels_;
        frames -= piece;
    }
}

// --- LRunningGateMeasure

LRunningGateMeasure::LRunningGateMeasure(int64_t rate, int channels, int64_t blockFrames)
    : channels_(channels),
      blockFrames_(blockFrames),
      filters_(static_cast<size_t>((channels + 1) / 2), LKWeightedPair(KWeightingFor(rate))),
      loudest_(static_cast<size_t>(kMeasurePiece)) {
    for (size_t i = 0; i < blocks_.size(); ++i)
        blocks_[i].start = blockFrames_ * static_cast<int64_t>(i) / static_cast<int64_t>(blocks_.size());
}

void LRunningGateMeasure::Weigh(const float* block, int64_t frames) {
    std::fill_n(loudest_.data(), frames, -std::numeric_limits<double>::infinity());
    for (int c = 0; c < channels_; c += 2)
        TakeLouder(filters_[static_cast<size_t>(c / 2)], block + c, block + std::min(c + 1, channels_ - 1),
                   frames, channels_, loudest_.data());
}

int64_t LRunningGateMeasure::ToNextEdge() const {
    int64_t nearest = kMeasurePiece;
    for (const LBlock& block : blocks_) {
        const bool open = frames_ >= block.start;
        nearest = std::min(nearest, open ? blockFrames_ - block.frames : block.start - frames_);
    }
    return std::max<int64_t>(nearest, 1);
}

void LRunningGateMeasure::Feed(const float* block, int64_t frames) {
    while (frames > 0) {
        const int64_t piece = std::min(frames, ToNextEdge());
        Weigh(block, piece);
        double squares = 0;
        for (int64_t i = 0; i < piece; ++i)
            squares += loudest_[static_cast<size_t>(i)] * loudest_[static_cast<size_t>(i)];
        for (LBlock& open : blocks_) {
            if (frames_ < open.start) continue;
            if (blockFrames_ > 0) open.frames += piece;
            open.squares += squares;
            if (open.frames == blockFrames_) EndBlock(open);
        }
        frames_ += piece;
        block += piece * channels_;
        frames -= piece;
    }
}

void LRunningGateMeasure::EndBlock(LBlock& block) {
    const double level =
        block.frames > 0 ? std::sqrt(block.squares / static_cast<double>(block.frames)) : kLevelWithoutFrames;
    block.squares = 0;
    block.frames = 0;
    if (!std::isfinite(level) || level < kAbsoluteLevel || level <= kRelativeShare * level_) return;
    const auto count = static_cast<double>(count_);
    level_ = std::sqrt((level_ * level_ * count + level * level) / (count + 1));
    least_ = count_ == 0 ? level_ : std::min(least_, level_);
    ++count_;
}

}  // namespace ondarix
