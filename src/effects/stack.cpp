// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/stack.h"

#include <sys/sysinfo.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "effects/filter.h"
#include "gen/part_progress.h"
#include "sound/readers.h"
#include "sound/wrapper_source.h"
#include "sound/wrappers.h"

namespace ondarix {
namespace {

constexpr int64_t kAlwaysGrantedBytes = 1'000'000;

constexpr int kIntegerWidths[] = {16, 24, 8, 32};  // silence is on the grid of each: the usual one first

bool IsOn(const LEffect& effect) { return effect.enabled && effect.IsEnabled() && effect.bypass == 0; }

bool Measures(const LEffect& effect) { return IsOn(effect) && effect.NeedsMeasure(); }

// Knows what the samples of the sound are, so that effects which only move them about can pass that on.
class LEffectInput final : public LWrapperSource {
  public:
    explicit LEffectInput(const LSound& sound) : LWrapperSource(MakeSource<LSoundReader>(sound)) {
        peak = SoundPeak(sound);
        for (const int bits : kIntegerWidths)
            if (integerBits_ == 0 && IsOnIntegerGrid(sound, bits)) integerBits_ = static_cast<uint32_t>(bits);
    }
    float* Read(float* dest, int32_t frames) override { return child_->Read(dest, frames); }
    bool Query(uint32_t id, void* result) override {
        if (id != kQueryIntegerBits || integerBits_ == 0) return LWrapperSource::Query(id, result);
        if (result) *static_cast<uint32_t*>(result) = integerBits_;
        return true;
    }

  private:
    uint32_t integerBits_ = 0;  // 0: floats, or of several widths
};

}  // namespace

LSoundSourceRef OpenForEffects(const LSound& sound) { return MakeSource<LEffectInput>(sound); }

LSoundSourceRef WrapInEffects(LSoundSourceRef source, std::span<const LEffect* const> effects) {
    for (const LEffect* effect : effects)
        if (IsOn(*effect)) source = effect->CreateFilter(std::move(source));
    return source;
}

LSoundSourceRef BuildEffectStack(const LSound& sound, std::span<const LEffect* const> effects) {
    return LimitPeaks(WrapInEffects(OpenForEffects(sound), effects), kResultPeak);
}

int CountMeasures(std::span<LEffect* const> effects) {
    return static_cast<int>(
        std::count_if(effects.begin(), effects.end(), [](const LEffect* one) { return Measures(*one); }));
}

JobResult MeasureEffects(const LSound& sound, std::span<LEffect* const> effects, LProgress& progress) {
    const int count = CountMeasures(effects);
    int done = 0;
    for (size_t i = 0; i < effects.size(); ++i) {
        if (!Measures(*effects[i])) continue;
        const std::vector<const LEffect*> before(effects.begin(), effects.begin() + static_cast<long>(i));
        const auto open = [&] { return WrapInEffects(OpenForEffects(sound), before); };
        LPartProgress part(progress, static_cast<double>(done) / count, (done + 1.0) / count);
        ++done;
        if (const JobResult result = effects[i]->Measure(open, part); result != JobResult::kSuccess)
            return result;
    }
    return JobResult::kSuccess;
}

int64_t MillisecondsToFrames(int64_t rate, int64_t ms) {
    if (rate <= 0 || ms <= 0) return 0;
    int64_t seconds = 0, rest = 0, total = 0;
    if (__builtin_mul_overflow(rate, ms / 1000, &seconds) || __builtin_mul_overflow(rate, ms % 1000, &rest) ||
        __builtin_add_overflow(seconds, rest / 1000, &total))
        return std::numeric_limits<int64_t>::max();
    return total;
}

bool MayAllocateSamples(int64_t samples) {
    if (samples < 0 || samples > std::numeric_limits<int64_t>::max() / 4) return false;
    const int64_t bytes = samples * 4;
    if (bytes <= kAlwaysGrantedBytes) return true;
    struct sysinfo info = {};
    if (sysinfo(&info) != 0) return false;
    const uint64_t free = (uint64_t{info.freeram} + info.bufferram) * info.mem_unit;
    return static_cast<uint64_t>(bytes) <= free / 2;
}

}  // namespace ondarix
