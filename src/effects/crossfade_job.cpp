// SPDX-License-Identifier: GPL-3.0-or-later
// The commands of crossfading.
#include <utility>

#include "effects/crossfade.h"
#include "effects/mix_job.h"
#include "effects/stack.h"
#include "gen/part_progress.h"
#include "sound/edit_steps.h"

namespace ondarix {
namespace {

void SetPhase(LProgress& progress, const char* text) { progress.SetStatus(QString::fromLatin1(text), 0); }

// Faded parts become working files, the others stay the samples that they are. `phase` stands for those of
// the parts where it is given.
JobResult RenderParts(const std::vector<LFadePart>& parts, LSoundFormat format, LProgress& progress,
                      LSound& out, const char* phase = nullptr) {
    out = LSound(format.sampleRate, format.channels);
    int64_t total = 0, done = 0;
    for (const LFadePart& part : parts) total += part.phase ? part.length : 0;
    for (const LFadePart& part : parts) {
        if (!part.phase) {
            out.Insert(out.Length(), part.kept);
            continue;
        }
        const auto share = [&](int64_t frames) {
            return static_cast<double>(frames) / static_cast<double>(total);
        };
        LPartProgress whole(progress, share(done), share(done + part.length));
        LSound piece;
        const JobResult result =
            LSound::Render(piece, whole, *part.source, QString::fromLatin1(phase ? phase : part.phase));
        if (result != JobResult::kSuccess) return result;
        out.Insert(out.Length(), piece);
        done += part.length;
    }
    SetPhase(progress, "Finalizing");
    return progress.IsCancelled() ? JobResult::kCancelled : JobResult::kSuccess;
}

JobResult WorkOnSelection(const LSound& sound, LSelection range, const LCrossfadeSettings& settings,
                          LProgress& progress, LSplice& splice) {
    SetPhase(progress, "Preparing...");
    const auto [first, second] = HalvesOf(sound, range);
    LCrossfadeSettings inside = settings;
    inside.fadeOutStartMs = inside.fadeInStartMs = -1;
    LCrossfadePlan plan = PlanCrossfade(first.Length(), second.Length(), sound.sampleRate, inside);
    MatchClips(*OpenForEffects(first), *OpenForEffects(second), inside, plan);
    splice.start = range.start;
    splice.end = range.end;
    splice.selected = {range.start, range.end + plan.gap};
    splice.moves = {{range.start + plan.outEnd, plan.gap}};
    return RenderParts(CrossfadeParts(first, second, plan), sound.Format(), progress, splice.piece,
                       "Applying Cross Fade");
}

JobResult WorkOnClips(const LSound& first, const LSound& other, const LCrossfadeSettings& settings,
                      LProgress& progress, LSplice& splice) {
    SetPhase(progress, "Preparing...");
    LSound second;
    const JobResult converted = other.ConvertFormat(second, first.sampleRate, first.channels, progress);
    if (converted != JobResult::kSuccess) return converted;
    LCrossfadePlan plan = PlanCrossfade(first.Length(), second.Length(), first.sampleRate, settings);
    MatchClips(*OpenForEffects(first), *OpenForEffects(second), settings, plan);
    splice.end = first.Length();
    splice.selected = {plan.ZoneStart(), plan.ZoneEnd()};
    if (plan.outEnd < first.Length()) splice.moves = {{plan.outEnd, LMarkMove::kGone}};
    return RenderParts(CrossfadeParts(first, second, plan), first.Format(), progress, splice.piece);
}

JobResult WorkOnLoop(const LSound& sound, LSelection range, const LCrossfadeSettings& settings,
                     LProgress& progress, LSplice& splice) {
    SetPhase(progress, "Preparing...");
    LSound loop(sound.sampleRate, sound.channels);
    sound.CopyRange(range.start, range.end, loop);
    LCrossfadePlan plan = PlanLoop(range.Length(), sound.sampleRate, settings);
    MatchClips(*OpenForEffects(loop), *OpenForEffects(loop), settings, plan);
    splice.start = range.start;
    splice.end = range.end;
    splice.selected = {range.start, range.end + plan.gap};
    // Marks in what the beginning has lent to the end come to the start of what is left.
    if (plan.gap < 0) {
        splice.moves = {{range.start, LMarkMove::kPulled}, {range.start + plan.Overlap(), plan.gap}};
    } else {
        splice.moves = {{range.end, plan.gap}};
    }
    return RenderParts(LoopParts(loop, plan), sound.Format(), progress, splice.piece);
}

// Of what is edited, as it is now.
void RunCrossfade(const LSoundDocumentRef& document, LEditHost& host, const QString& label, LApplied done,
                  std::function<JobResult(const LSound&, LProgress&, LSplice&)> work) {
    const LSound sound = CopyForJob(document->Edited());
    RunSplice(
        document, host, label, label,
        [sound, work = std::move(work)](LProgress& progress, LSplice& splice) {
            return work(sound, progress, splice);
        },
        std::move(done));
}

// For jobs that may lengthen the sound by `added` frames: true when they may begin.
bool MayCrossfade(LSoundDocument& document, LEditHost& host, int64_t added) {
    return MayChange(document, host) && (added <= 0 || HasRoomFor(document, added, host));
}

}  // namespace

std::pair<LSound, LSound> HalvesOf(const LSound& sound, LSelection range) {
    const int64_t middle = range.start + range.Length() / 2;
    std::pair<LSound, LSound> halves;
    sound.CopyRange(range.start, middle, halves.first);
    sound.CopyRange(middle, range.end, halves.second);
    return halves;
}

void CrossfadeSelection(const LSoundDocumentRef& document, LEditHost& host,
                        const LCrossfadeSettings& settings, LApplied done) {
    if (!done) done = [](JobResult) {};
    const LSelection range = document->EditRange();
    const int64_t added = MillisecondsToFrames(document->sound.sampleRate, settings.gapMs);
    if (range.Length() < 2 || !MayCrossfade(*document, host, added)) return done(JobResult::kCancelled);
    RunCrossfade(document, host, QStringLiteral("Crossfade"), std::move(done),
                 [range, settings](const LSound& sound, LProgress& progress, LSplice& splice) {
                     return WorkOnSelection(sound, range, settings, progress, splice);
                 });
}

void CrossfadeToClip(const LSoundDocumentRef& document, LEditHost& host, const LSound& other,
                     const LCrossfadeSettings& settings, LApplied done) {
    if (!done) done = [](JobResult) {};
    if (other.Length() == 0 || !MayCrossfade(*document, host, other.Length()))
        return done(JobResult::kCancelled);
    RunCrossfade(
        document, host, QStringLiteral("Crossfade to Other Clip"), std::move(done),
        [other = CopyForJob(other), settings](const LSound& sound, LProgress& progress, LSplice& splice) {
            return WorkOnClips(sound, other, settings, progress, splice);
        });
}

void CrossfadeLoop(const LSoundDocumentRef& document, LEditHost& host, const LCrossfadeSettings& settings,
                   LApplied done) {
    if (!done) done = [](JobResult) {};
    const LSelection range = SelectionOrAll(*document);
    const int64_t added = MillisecondsToFrames(document->sound.sampleRate, settings.gapMs);
    if (range.Length() < 2 || !MayCrossfade(*document, host, added)) return done(JobResult::kCancelled);
    RunCrossfade(document, host, QStringLiteral("Crossfade Loop"), std::move(done),
                 [range, settings](const LSound& sound, LProgress& progress, LSplice& splice) {
                     return WorkOnLoop(sound, range, settings, progress, splice);
                 });
}

}  // namespace ondarix
