// SPDX-License-Identifier: GPL-3.0-or-later
// What a crossfade is made of: stretches that stay as they are, and sources of what is faded.
#include <algorithm>
#include <utility>

#include "effects/crossfade.h"
#include "effects/filter.h"
#include "effects/mix.h"
#include "effects/stack.h"
#include "sound/rate_converter.h"
#include "sound/wrappers.h"

namespace ondarix {
namespace {

constexpr const char* kFadeOutPhase = "Processing Fade-Out Clip";
constexpr const char* kFadeInPhase = "Processing Fade-In Clip";
constexpr const char* kOverlapPhase = "Processing Crossfade";

// A fade in from `start` on and a fade out up to `end`; silence before and behind.
class LFadeFilter final : public LSoundFilter {
  public:
    LFadeFilter(LSoundSourceRef source, const LCrossfadePlan& plan, bool fadesIn, bool fadesOut)
        : LSoundFilter(std::move(source)) {
        if (fadesIn && plan.fadeIn > 0) {
            in_ = LCurveSegment(plan.fadeInCurve, 0, 1, plan.fadeIn);
            inStart_ = plan.inStart;
        }
        if (fadesOut && plan.fadeOut > 0) {
            out_ = LCurveSegment(plan.fadeOutCurve, 1, 0, plan.fadeOut);
            outStart_ = plan.outEnd - plan.fadeOut;
        }
    }

  protected:
    void Process(float* block, int32_t frames, int64_t position) override {
        Fade(in_, inStart_, block, frames, position);
        Fade(out_, outStart_, block, frames, position);
    }

  private:
    void Fade(const LCurveSegment& segment, int64_t start, float* block, int32_t frames, int64_t position) {
        const int64_t from = std::max(position, start);
        const int64_t to = std::min(position + frames, start + segment.frames);
        if (from >= to) return;
        gains_.resize(static_cast<size_t>(to - from));
        CurveGains(segment, from - start, static_cast<int>(to - from), gains_.data());
        float* at = block + (from - position) * channels;
        for (const float gain : gains_)
            for (int c = 0; c < channels; ++c) *at++ *= gain;
    }

    LCurveSegment in_, out_;  // 0 frames: none
    int64_t inStart_ = 0, outStart_ = 0;
    std::vector<float> gains_;
};

LSoundSourceRef OpenAs(const LSound& sound, LSoundFormat format) {
    return ConvertToFormat(OpenForEffects(sound), format);
}

LSoundSourceRef WindowOf(LSoundSourceRef source, int64_t from, int64_t length) {
    const LSoundFormat format = source->Format();
    std::vector<LMixInput> one(1);
    one[0].source = std::move(source);
    one[0].from = from;
    one[0].length = length;
    return MakeSource<LMixSource>(std::move(one), format, length);
}

void AddKept(std::vector<LFadePart>& parts, const LSound& sound, LSoundFormat format, int64_t from,
             int64_t to) {
    if (from >= to) return;
    LFadePart part;
    part.length = to - from;
    part.source = WindowOf(OpenAs(sound, format), from, part.length);
    if (sound.Format() == format) sound.CopyRange(from, to, part.kept);
    parts.push_back(std::move(part));
}

void AddFaded(std::vector<LFadePart>& parts, LSoundSourceRef source, int64_t from, int64_t to,
              const char* phase) {
    if (from >= to) return;
    LFadePart part;
    part.length = to - from;
    part.source = WindowOf(std::move(source), from, part.length);
    part.phase = phase;
    parts.push_back(std::move(part));
}

// Frames [ZoneStart, ZoneEnd) of the result.
LSoundSourceRef ZoneSource(const LSound& first, const LSound& second, const LCrossfadePlan& plan) {
    const LSoundFormat format = first.Format();
    const int64_t zone = plan.ZoneStart();
    std::vector<LMixInput> inputs(2);
    inputs[0].source = WrapInFilter<LFadeFilter>(OpenForEffects(first), plan, false, true);
    inputs[0].from = zone;
    inputs[0].length = plan.outEnd - zone;
    inputs[1].source = WrapInFilter<LFadeFilter>(OpenAs(second, format), plan, true, false);
    inputs[1].at = plan.InAt() - zone;
    inputs[1].from = plan.inStart;
    return LimitPeaks(MakeSource<LMixSource>(std::move(inputs), format, plan.ZoneEnd() - zone), kResultPeak);
}

// The end of the loop, from ZoneStart on, with its beginning over it.
LSoundSourceRef SeamSource(const LSound& loop, const LCrossfadePlan& plan, int64_t length) {
    const int64_t zone = plan.ZoneStart();
    std::vector<LMixInput> inputs(2);
    inputs[0].source = WrapInFilter<LFadeFilter>(OpenForEffects(loop), plan, false, true);
    inputs[0].from = zone;
    inputs[0].length = plan.outEnd - zone;
    inputs[1].source = WrapInFilter<LFadeFilter>(OpenForEffects(loop), plan, true, false);
    inputs[1].at = plan.InAt() - zone;
    inputs[1].length = plan.Overlap();
    return LimitPeaks(MakeSource<LMixSource>(std::move(inputs), loop.Format(), length), kResultPeak);
}

}  // namespace

std::vector<LFadePart> CrossfadeParts(const LSound& first, const LSound& second, const LCrossfadePlan& plan) {
    const LSoundFormat format = first.Format();
    const int64_t zone = plan.ZoneStart(), zoneEnd = plan.ZoneEnd();
    const int64_t fadedTo = std::min(plan.outEnd, plan.InAt());
    std::vector<LFadePart> parts;
    AddKept(parts, first, format, 0, zone);
    const auto faded = [&](int64_t from, int64_t to, const char* phase) {
        AddFaded(parts, ZoneSource(first, second, plan), from - zone, to - zone, phase);
    };
    faded(zone, fadedTo, kFadeOutPhase);
    faded(fadedTo, plan.outEnd, kOverlapPhase);
    faded(plan.outEnd, zoneEnd, kFadeInPhase);
    const int64_t rest = zoneEnd - plan.InAt() + plan.inStart;
    AddKept(parts, second, format, rest, OpenAs(second, format)->GetLength());
    return parts;
}

std::vector<LFadePart> LoopParts(const LSound& loop, const LCrossfadePlan& plan) {
    const LSoundFormat format = loop.Format();
    const int64_t start = plan.Overlap(), fadedTo = std::max(start, plan.fadeIn);
    const int64_t zone = plan.ZoneStart();
    const int64_t end = plan.outEnd + std::max<int64_t>(0, plan.gap);
    std::vector<LFadePart> parts;
    AddFaded(parts, WrapInFilter<LFadeFilter>(OpenForEffects(loop), plan, true, false), start, fadedTo,
             kFadeInPhase);
    AddKept(parts, loop, format, fadedTo, zone);
    AddFaded(parts, SeamSource(loop, plan, end - zone), 0, end - zone, kOverlapPhase);
    return parts;
}

LSoundSourceRef JoinParts(const std::vector<LFadePart>& parts, LSoundFormat format) {
    std::vector<LMixInput> inputs;
    int64_t length = 0;
    float loudest = 0;
    for (const LFadePart& part : parts) {
        LMixInput input;
        input.source = part.source;
        input.at = length;
        inputs.push_back(std::move(input));
        length += part.length;
        loudest = std::max(loudest, std::min(part.source->peak, part.phase ? kResultPeak : kUnknownPeak));
    }
    LSoundSourceRef joined = MakeSource<LMixSource>(std::move(inputs), format, length);
    joined->peak = loudest;  // one at a time
    return joined;
}

LSoundSourceRef BuildCrossfade(const LSound& first, const LSound& second, const LCrossfadeSettings& settings,
                               LCrossfadePlan* planOut) {
    const LSoundFormat format = first.Format();
    LSoundSourceRef converted = OpenAs(second, format);
    LCrossfadePlan plan = PlanCrossfade(first.Length(), converted->GetLength(), format.sampleRate, settings);
    MatchClips(*OpenForEffects(first), *converted, settings, plan);
    if (planOut) *planOut = plan;
    return JoinParts(CrossfadeParts(first, second, plan), format);
}

LSoundSourceRef BuildLoop(const LSound& loop, const LCrossfadeSettings& settings, LCrossfadePlan* planOut) {
    LCrossfadePlan plan = PlanLoop(loop.Length(), loop.sampleRate, settings);
    MatchClips(*OpenForEffects(loop), *OpenForEffects(loop), settings, plan);
    if (planOut) *planOut = plan;
    return JoinParts(LoopParts(loop, plan), loop.Format());
}

}  // namespace ondarix
