// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/stack.h"

#include <sys/sysinfo.h>

#include <limits>
#include <utility>

#include "effects/filter.h"
#include "sound/readers.h"
#include "sound/wrappers.h"

namespace ondarix {
namespace {

constexpr int64_t kAlwaysGrantedBytes = 1'000'000;

bool IsOn(const LEffect& effect) { return effect.enabled && effect.IsEnabled() && effect.bypass == 0; }

}  // namespace

LSoundSourceRef OpenForEffects(const LSound& sound) {
    LSoundSourceRef reader = MakeSource<LSoundReader>(sound);
    reader->peak = SoundPeak(sound);
    return reader;
}

LSoundSourceRef WrapInEffects(LSoundSourceRef source, std::span<const LEffect* const> effects) {
    for (const LEffect* effect : effects)
        if (IsOn(*effect)) source = effect->CreateFilter(std::move(source));
    return source;
}

LSoundSourceRef BuildEffectStack(const LSound& sound, std::span<const LEffect* const> effects) {
    return LimitPeaks(WrapInEffects(OpenForEffects(sound), effects), kResultPeak);
}

JobResult MeasureEffects(const LSound& sound, std::span<LEffect* const> effects, LProgress& progress) {
    for (size_t i = 0; i < effects.size(); ++i) {
        if (!IsOn(*effects[i]) || !effects[i]->NeedsMeasure()) continue;
        const std::vector<const LEffect*> before(effects.begin(), effects.begin() + static_cast<long>(i));
        const auto open = [&] { return WrapInEffects(OpenForEffects(sound), before); };
        if (const JobResult result = effects[i]->Measure(open, progress); result != JobResult::kSuccess)
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
