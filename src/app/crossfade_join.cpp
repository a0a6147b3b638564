// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/crossfade_join.h"

#include <algorithm>
#include <utility>

#include "effects/mix.h"
#include "sound/rate_converter.h"
#include "sound/readers.h"

namespace ondarix {
namespace {

int64_t JoinPad(const LSound& sound) { return int64_t{sound.sampleRate} * kJoinSeconds; }

// `whole` from range.start to range.end, then from its beginning again.
LSoundSourceRef Stretch(const LSoundSourceRef& whole, const LJoinRange& range) {
    std::vector<LMixInput> inputs(range.goesOn > 0 ? 2 : 1);
    inputs[0].source = whole;
    inputs[0].from = range.start;
    inputs[0].length = range.end - range.start;
    if (range.goesOn > 0) {
        inputs[1].source = whole;
        inputs[1].at = range.end - range.start;
        inputs[1].length = range.goesOn;
    }
    const LSoundFormat format = whole->Format();
    LSoundSourceRef stretch =
        MakeSource<LMixSource>(std::move(inputs), format, range.end - range.start + range.goesOn);
    stretch->peak = whole->peak;  // one at a time
    return stretch;
}

}  // namespace

LCrossfadeSettings LCrossfadeJoin::Counting(const LCrossfadeSettings& settings) const {
    LCrossfadeSettings counting = settings;
    if (kind != LCrossfadeKind::kOther) counting.fadeOutStartMs = counting.fadeInStartMs = -1;
    return counting;
}

int64_t LCrossfadeJoin::SecondLength() const {
    if (second.sampleRate == first.sampleRate) return second.Length();
    return ConvertToFormat(MakeSource<LSoundReader>(second), {first.sampleRate, second.channels})
        ->GetLength();
}

LCrossfadePlan LCrossfadeJoin::Plan(const LCrossfadeSettings& settings) const {
    if (kind == LCrossfadeKind::kLoop) return PlanLoop(first.Length(), first.sampleRate, settings);
    return PlanCrossfade(first.Length(), SecondLength(), first.sampleRate, Counting(settings));
}

LSoundSourceRef LCrossfadeJoin::Build(const LCrossfadeSettings& settings, LCrossfadePlan& plan) const {
    if (kind == LCrossfadeKind::kLoop) return BuildLoop(first, settings, &plan);
    return BuildCrossfade(first, second, Counting(settings), &plan);
}

LJoinRange RangeOfJoin(const LCrossfadeJoin& join, const LCrossfadePlan& plan, int64_t resultLength) {
    const int64_t pad = JoinPad(join.first);
    LJoinRange range;
    if (join.kind != LCrossfadeKind::kLoop) {
        range.start = std::max<int64_t>(0, plan.ZoneStart() - pad);
        range.end = std::min(resultLength, plan.ZoneEnd() + pad);
        return range;
    }
    // A loop has lost its beginning to the end.
    range.end = resultLength;
    range.start = std::clamp<int64_t>(plan.ZoneStart() - plan.Overlap() - pad, 0, resultLength);
    const int64_t faded = std::max<int64_t>(0, plan.fadeIn - plan.Overlap());
    range.goesOn = std::min(range.start, faded + pad);
    return range;
}

LPreviewStack PreviewOfJoin(const LCrossfadeJoin& join, const LCrossfadeSettings& settings) {
    const auto make = [join, settings] {
        LCrossfadePlan plan;
        const LSoundSourceRef whole = join.Build(settings, plan);
        return Stretch(whole, RangeOfJoin(join, plan, whole->GetLength()));
    };
    LPreviewStack stack;
    if (!settings.beatMatch && !settings.phaseMatch) {
        stack.build = make;
        return stack;
    }
    auto made = std::make_shared<LSoundSourceRef>();
    stack.prepare = [made, make](LProgress& progress) {
        *made = make();
        return progress.IsCancelled() ? JobResult::kCancelled : JobResult::kSuccess;
    };
    stack.build = [made] { return *made; };
    return stack;
}

LSound PlainJoin(const LCrossfadeJoin& join, const LCrossfadePlan& plan) {
    const int64_t pad = JoinPad(join.first);
    LSound plain(join.first.sampleRate, join.first.channels);
    join.first.CopyRange(std::max<int64_t>(0, plan.ZoneStart() - pad), plan.outEnd, plain);
    if (join.second.Format() != join.first.Format()) return plain;
    LSound head(join.first.sampleRate, join.first.channels);
    const int64_t end = plan.inStart + std::max(plan.fadeIn, plan.Overlap()) + pad;
    join.second.CopyRange(plan.inStart, std::min(join.second.Length(), end), head);
    plain.Insert(plain.Length(), head);
    return plain;
}

}  // namespace ondarix
