// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/loudness_report.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "effects/feed.h"
#include "sound/wrapper_source.h"

namespace ondarix {
namespace {

// The sound as far as `end`, as it is now.
class LPartOfSource final : public LWrapperSource {
  public:
    LPartOfSource(LSoundSourceRef child, int64_t end) : LWrapperSource(std::move(child)), end_(end) {}
    float* Read(float* dest, int32_t frames) override { return child_->Read(dest, frames); }
    int64_t GetLength() override { return end_; }
    bool IsGrowing() override { return false; }

  private:
    int64_t end_;
};

QString LoudnessDecimal(double value, const QString& unit) {
    return (std::isfinite(value) ? QString::number(value, 'f', 1) : QStringLiteral("-inf")) + ' ' + unit;
}

}  // namespace

LLoudnessReport MeasureLoudness(const LOpenSource& open, LProgress& progress, JobResult& result, int64_t from,
                                int64_t to) {
    LSoundSourceRef source = open();
    result = JobResult::kFailed;
    if (!source.IsUsable() && source->error != kSourceEmpty) return {};
    const int64_t length = source->GetLength();
    LPartOfSource range(source, to < 0 ? length : std::min(to, length));
    if (from != range.GetPosition()) range.Seek(from);
    LLoudnessMeter meter(range.sampleRate, range.channels, {.truePeak = true, .course = true});
    result =
        FeedFrom(range, progress, [&](const float* block, int64_t frames) { meter.Feed(block, frames); });
    if (result != JobResult::kSuccess) return {};
    return {range.Format(), meter.Finish(), meter.Momentary(), meter.ShortTerm()};
}

QString LufsText(double lufs) { return LoudnessDecimal(lufs, QStringLiteral("LUFS")); }

QString PeakText(float linear, const QString& unit) {
    return LoudnessDecimal(linear > 0 ? 20 * std::log10(double{linear}) : kNoLoudness, unit);
}

}  // namespace ondarix
