// SPDX-License-Identifier: GPL-3.0-or-later
// The one stack that applying, preview, chains, batch and the command line pull: what is heard is what is
// written.
#pragma once
#include <span>

#include "effects/effect.h"
#include "sound/sound.h"

namespace ondarix {

// A reader over a private copy of `sound` whose peak bound is that of its samples, and which answers
// kQueryIntegerBits where all of them come from integers of one width.
LSoundSourceRef OpenForEffects(const LSound& sound);

// The effects in order over `source`, those that are off (`enabled`, IsEnabled(), `bypass`) left out; without
// the limiter. The source itself where nothing is to be done.
LSoundSourceRef WrapInEffects(LSoundSourceRef source, std::span<const LEffect* const> effects);

// The same, behind it a limiter at kResultPeak where the peak bound asks for one: exactly what is written as
// the result.
LSoundSourceRef BuildEffectStack(const LSound& sound, std::span<const LEffect* const> effects);

// The measuring passes of those effects that need one, in order, each over what the effects before it give.
// Any thread, while nobody else uses the effects. `status`: line 0 of the progress for effects that set none.
JobResult MeasureEffects(const LSound& sound, std::span<LEffect* const> effects, LProgress& progress);
int CountMeasures(std::span<LEffect* const> effects);  // passes that MeasureEffects makes

// floor(rate * ms / 1000) without overflow; saturates. Negative times count as 0.
int64_t MillisecondsToFrames(int64_t rate, int64_t ms);

// For delay lines: true when `samples` floats may be taken. Requests above 1,000,000 bytes are refused when
// they are more than half of the memory that is free; the effect then uses kFallbackSamples.
bool MayAllocateSamples(int64_t samples);
inline constexpr int64_t kFallbackSamples = 20;

}  // namespace ondarix
