// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/dc_offset.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "dsp/gain.h"
#include "effects/filter.h"
#include "sound/readers.h"

namespace ondarix {
namespace {

constexpr int64_t kMeasureBlock = 8192;     // frames
constexpr int64_t kProbeBlocks = 64;        // of SuggestsDcOffset, spread over the sound
constexpr int64_t kMostProbeFrames = 4096;  // of each: some 90 ms, longer than the waves of music
constexpr int64_t kLeastProbeFrames = 512;
constexpr double kStandsOut = 6.0;  // mean over its standard error
constexpr double kMostLean = 0.9;   // share of the blocks on the side of the mean

class LDcOffsetFilter final : public LSoundFilter {
  public:
    LDcOffsetFilter(LSoundSourceRef source, const std::vector<double>& means)
        : LSoundFilter(std::move(source)), offsets_(means.begin(), means.end()) {
        float most = 0;
        for (const float offset : offsets_) most = std::max(most, std::fabs(offset));
        peak += most;
    }

  protected:
    void Process(float* block, int32_t frames, int64_t) override {
        SubtractFromChannels(block, frames, channels, offsets_.data());
    }

  private:
    std::vector<float> offsets_;
};

// Means of the blocks of a channel, one after another.
struct LLean {
    double sum = 0, squares = 0;
    int64_t above = 0, below = 0, blocks = 0;

    void Add(double mean) {
        sum += mean;
        squares += mean * mean;
        above += mean > 0;
        below += mean < 0;
        ++blocks;
    }
    bool IsOffset() const {
        const auto n = static_cast<double>(blocks);
        const double mean = sum / n;
        const double variance = std::max(0.0, squares / n - mean * mean);
        const auto leaning = static_cast<double>(mean > 0 ? above : below);
        return std::fabs(mean) >= kDcOffsetLeast && leaning >= kMostLean * n &&
               mean * mean * (n - 1) > kStandsOut * kStandsOut * variance;
    }
};

}  // namespace

LSoundSourceRef LDcOffsetEffect::CreateFilter(LSoundSourceRef source) const {
    const bool isCentred = std::all_of(means_.begin(), means_.end(), [](double mean) { return mean == 0; });
    if (isCentred || source->channels != means_.size()) return source;
    return WrapInFilter<LDcOffsetFilter>(std::move(source), means_);
}

JobResult LDcOffsetEffect::Measure(const LOpenSource& open, LProgress& progress) {
    progress.SetStatus(QStringLiteral("DC Offset Correction"), 0);
    progress.SetStatus(QStringLiteral("Please Wait..."), 1);
    means_.clear();
    LSoundSourceRef source = open();
    if (!source.IsUsable() && source->error != kSourceEmpty) return JobResult::kFailed;
    const int64_t length = std::max<int64_t>(1, source->GetLength());
    std::vector<float> block(static_cast<size_t>(kMeasureBlock * source->channels));
    std::vector<double> sums(source->channels);
    for (int64_t done = 0; done < length;) {
        if (progress.IsCancelled()) return JobResult::kCancelled;
        const int64_t piece = std::min(kMeasureBlock, length - done);
        source->Read(block.data(), static_cast<int32_t>(piece));
        SumChannels(block.data(), piece, source->channels, sums.data());
        done += piece;
        progress.SetFraction(static_cast<double>(done) / static_cast<double>(length));
    }
    // A channel with samples that are no numbers has no mean.
    for (double& sum : sums) sum = std::isfinite(sum) ? sum / static_cast<double>(length) : 0;
    means_ = std::move(sums);
    return JobResult::kSuccess;
}

bool SuggestsDcOffset(const LSound& sound) {
    const int64_t length = sound.Length();
    const int64_t frames = std::min(length / kProbeBlocks, kMostProbeFrames);
    if (frames < kLeastProbeFrames) return false;
    LSoundReader reader(sound);
    std::vector<float> block(static_cast<size_t>(frames * sound.channels));
    std::vector<LLean> leans(sound.channels);
    const int64_t step = length / kProbeBlocks;
    for (int64_t i = 0; i < kProbeBlocks; ++i) {
        reader.Seek(i * step);
        reader.Read(block.data(), static_cast<int32_t>(frames));
        std::vector<double> sums(sound.channels);
        SumChannels(block.data(), frames, sound.channels, sums.data());
        for (size_t c = 0; c < sums.size(); ++c) leans[c].Add(sums[c] / static_cast<double>(frames));
    }
    return std::any_of(leans.begin(), leans.end(), [](const LLean& lean) { return lean.IsOffset(); });
}

}  // namespace ondarix
