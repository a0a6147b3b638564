// SPDX-License-Identifier: GPL-3.0-or-later
// What is asked of a crossfade, and how it works out for two clips.
#include "effects/crossfade.h"

#include <algorithm>

#include "effects/phase_match.h"
#include "effects/stack.h"

namespace ondarix {
namespace {

constexpr int32_t kLongestFadeMs = 600'000;
constexpr int32_t kLastStartMs = 2'000'000'000;
constexpr const char* kCurves = "Linear|Exponential|Logarithmic|Sinusoidal";

constexpr int64_t kBeatReachMs = 1000;
constexpr int64_t kPhaseReachMs = 50;
constexpr int64_t kPhaseReachAtBeatMs = 5;  // the beat is not left again

using C = LCrossfadeSettings;
constexpr LParamRow<C> kCrossfadeRows[] = {
    {"fade-out", "Fade Out Time", &C::fadeOutMs, 0, kLongestFadeMs, "ms", "FadeOutTimeMS"},
    {"fade-in", "Fade In Time", &C::fadeInMs, 0, kLongestFadeMs, "ms", "FadeInTimeMS"},
    {"gap", "Gap Time", &C::gapMs, -kLongestFadeMs, kLongestFadeMs, "ms", "GapTimeMS"},
    {"fade-out-curve", "Fade Out Type", &C::fadeOutCurve, 0, 3, "", "FadeOutInterPolation", kCurves},
    {"fade-in-curve", "Fade In Type", &C::fadeInCurve, 0, 3, "", "FadeInInterPolation", kCurves},
    {"fade-out-start", "Fade Out Start", &C::fadeOutStartMs, -1, kLastStartMs, "ms", "FadeOutStart"},
    {"fade-in-start", "Fade In Start", &C::fadeInStartMs, -1, kLastStartMs, "ms", "FadeInStart"},
    {"beat-match", "Beat Match", &C::beatMatch, 0, 1, "", "BeatMatch"},
    {"phase-match", "Phase Match", &C::phaseMatch, 0, 1, "", "PhaseMatch"},
};

// As it is asked for, whatever the clips.
LCrossfadePlan AskedPlan(int32_t rate, const LCrossfadeSettings& settings) {
    LCrossfadePlan plan;
    plan.fadeOut = MillisecondsToFrames(rate, settings.fadeOutMs);
    plan.fadeIn = MillisecondsToFrames(rate, settings.fadeInMs);
    plan.gap =
        MillisecondsToFrames(rate, settings.gapMs) - MillisecondsToFrames(rate, -int64_t{settings.gapMs});
    plan.fadeOutCurve = static_cast<LCurve>(settings.fadeOutCurve.index);
    plan.fadeInCurve = static_cast<LCurve>(settings.fadeInCurve.index);
    return plan;
}

LOverlap OverlapOf(const LCrossfadePlan& plan, int64_t reach) {
    const int64_t overlap = plan.Overlap();
    const int64_t way = std::min(reach, overlap / 2);
    return {plan.outEnd - overlap, plan.inStart, overlap, std::min(way, plan.mostOverlap - overlap), way};
}

}  // namespace

std::span<const LParamRow<LCrossfadeSettings>> LCrossfadeForm::Rows() { return kCrossfadeRows; }

void MirrorFadeIn(LCrossfadeSettings& settings) {
    settings.fadeOutMs = settings.fadeInMs;
    settings.fadeOutCurve = settings.fadeInCurve;
}

void MirrorFadeOut(LCrossfadeSettings& settings) {
    settings.fadeInMs = settings.fadeOutMs;
    settings.fadeInCurve = settings.fadeOutCurve;
}

void SmoothAtCenter(LCrossfadeSettings& settings) {
    const int32_t length = std::max(settings.fadeOutMs, settings.fadeInMs);
    settings.fadeOutMs = settings.fadeInMs = length;
    settings.gapMs = -length;
    settings.fadeOutCurve.index = settings.fadeInCurve.index = static_cast<uint8_t>(LCurve::kSinusoidal);
}

LCrossfadeSettings LastCrossfade() {
    LCrossfadeForm form;
    LoadForm(form, kCrossfadeSection);
    return form.params;
}

bool StoreCrossfade(const LCrossfadeSettings& settings) {
    LCrossfadeForm form;
    form.params = settings;
    return StoreForm(form, kCrossfadeSection);
}

int64_t LCrossfadePlan::ZoneStart() const { return std::min(outEnd - fadeOut, outEnd - Overlap()); }

int64_t LCrossfadePlan::ZoneEnd() const { return std::max(outEnd, InAt() + fadeIn); }

void LCrossfadePlan::Shift(int64_t frames) {
    const int64_t before = Overlap();
    gap += frames;
    for (int64_t* fade : {&fadeOut, &fadeIn})
        if (*fade == before) *fade = Overlap();
}

LCrossfadePlan PlanCrossfade(int64_t firstFrames, int64_t secondFrames, int32_t rate,
                             const LCrossfadeSettings& settings) {
    LCrossfadePlan plan = AskedPlan(rate, settings);
    plan.outEnd = firstFrames;
    if (settings.fadeOutStartMs >= 0) {
        const int64_t start = std::min(firstFrames, MillisecondsToFrames(rate, settings.fadeOutStartMs));
        plan.outEnd = std::min(firstFrames, start + plan.fadeOut);
        plan.fadeOut = plan.outEnd - start;
    }
    plan.inStart = std::min(secondFrames, MillisecondsToFrames(rate, settings.fadeInStartMs));
    plan.fadeOut = std::min(plan.fadeOut, plan.outEnd);
    plan.fadeIn = std::min(plan.fadeIn, secondFrames - plan.inStart);
    plan.mostOverlap = std::min(plan.outEnd, secondFrames - plan.inStart);
    plan.gap = std::max(plan.gap, -plan.mostOverlap);
    return plan;
}

LCrossfadePlan PlanLoop(int64_t frames, int32_t rate, const LCrossfadeSettings& settings) {
    LCrossfadePlan plan = AskedPlan(rate, settings);
    plan.outEnd = frames;
    plan.mostOverlap = frames / 2;
    plan.fadeOut = std::min(plan.fadeOut, plan.mostOverlap);
    plan.fadeIn = std::min(plan.fadeIn, plan.mostOverlap);
    plan.gap = std::max(plan.gap, -plan.mostOverlap);
    return plan;
}

void MatchClips(LSoundSource& first, LSoundSource& second, const LCrossfadeSettings& settings,
                LCrossfadePlan& plan) {
    const auto rate = static_cast<int64_t>(first.sampleRate);
    int64_t reachMs = kPhaseReachMs;
    if (settings.beatMatch && plan.Overlap() > 0) {
        plan.Shift(BeatShift(first, second, OverlapOf(plan, MillisecondsToFrames(rate, kBeatReachMs))));
        reachMs = kPhaseReachAtBeatMs;
    }
    if (settings.phaseMatch && plan.Overlap() > 0)
        plan.Shift(PhaseShift(first, second, OverlapOf(plan, MillisecondsToFrames(rate, reachMs))));
}

}  // namespace ondarix
