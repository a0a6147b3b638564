// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/apply.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

#include "effects/filter.h"
#include "effects/stack.h"
#include "gen/part_progress.h"
#include "sound/edit_steps.h"
#include "sound/edits.h"
#include "sound/source.h"
#include "sound/wrappers.h"

namespace ondarix {
namespace {

constexpr const char* kApplyStatus = "Please Wait...";
constexpr const char* kRenderStatus = "Please wait...";
constexpr const char* kCutStep = "Selection to Audio";
constexpr const char* kPutStep = "Paste Over Selection";

std::vector<LEffect*> Pointers(const LEffectList& effects) {
    std::vector<LEffect*> pointers;
    for (const auto& effect : effects) pointers.push_back(effect.get());
    return pointers;
}

// What travels to the worker and back.
struct LApplyJob {
    LEffectOperation operation;
    LEffectList effects;
    LSound result;
    bool isUnchanged = false;                         // the effects had nothing to do
    const char *failTitle = nullptr, *failText = "";  // of a message that waits for the interface
};

JobResult Fail(LApplyJob& job, const char* title, const char* text) {
    job.failTitle = title;
    job.failText = text;
    return JobResult::kFailed;
}

// Whether the sound, with `frames` in the place of the stretch, stays within what a sound can hold.
bool FitsIn(const LEffectOperation& operation, int64_t frames) {
    int64_t total = 0;
    const int64_t rest = operation.sound.Length() - (operation.end - operation.start);
    return !__builtin_add_overflow(rest, frames, &total) && total < std::numeric_limits<int64_t>::max();
}

JobResult RenderResult(LApplyJob& job, const LSoundSourceRef& stack, LProgress& progress) {
    const JobResult result = LSound::Render(job.result, progress, *stack, QString::fromLatin1(kRenderStatus));
    if (result == JobResult::kFailed) ReportWriteFailure(progress);
    if (result == JobResult::kSuccess) progress.SetStatus(QString::fromLatin1(kPutStep), 1);
    return result;
}

JobResult ApplySteps(LApplyJob& job, LProgress& progress) {
    progress.SetStatus(QString::fromLatin1(kApplyStatus), 0);
    progress.SetStatus(QString::fromLatin1(kCutStep), 1);
    const LSound range = job.operation.Range();
    const std::vector<LEffect*> effects = Pointers(job.effects);
    const int measures = CountMeasures(effects);
    const double share = static_cast<double>(measures) / (measures + 1);  // of the passes before the last
    LPartProgress measuring(progress, 0, share), rendering(progress, share, 1);
    if (const JobResult measured = MeasureEffects(range, effects, measuring); measured != JobResult::kSuccess)
        return measured;
    const std::vector<const LEffect*> used(effects.begin(), effects.end());
    const LSoundSourceRef source = OpenForEffects(range);
    const LSoundSourceRef stack = WrapInEffects(source, used);
    job.isUnchanged = stack.Get() == source.Get();
    if (job.isUnchanged) return JobResult::kSuccess;
    // The shared empty source is what an effect gives that has not got its memory.
    if (!stack.IsUsable()) return Fail(job, kMemoryTitle, kMemoryText);
    if (!FitsIn(job.operation, stack->GetLength())) return Fail(job, kEffectLengthTitle, kEffectLengthText);
    return RenderResult(job, LimitPeaks(stack, kResultPeak), rendering);
}

JobResult Work(LApplyJob& job, LProgress& progress) {
    try {
        return ApplySteps(job, progress);
    } catch (const std::bad_alloc&) {
        return Fail(job, kMemoryTitle, kMemoryText);
    }
}

// Where a place of the sound is after [start, start + before) has become `after` frames.
int64_t Moved(int64_t at, int64_t start, int64_t before, int64_t after) {
    if (at <= start) return at;
    if (at >= start + before) return at + (after - before);
    const long double share = static_cast<long double>(at - start) / static_cast<long double>(before);
    return start + std::clamp<int64_t>(std::llroundl(share * static_cast<long double>(after)), 0, after);
}

// Marks inside of the stretch stay at the same part of what is heard, those behind it go with what follows.
void MoveMarks(LSoundDocument& document, const LEffectOperation& operation, int64_t after) {
    const int64_t before = operation.end - operation.start;
    if (before == after) return;
    const auto moved = [&](int64_t at) { return Moved(at, operation.start, before, after); };
    if (MovesMarks(document)) {
        for (LBookmark& one : document.bookmarks) one.SetPosition(moved(one.position), one.sampleRate);
        for (LRegion& one : document.regions)
            one.SetRange(moved(one.startFrame), moved(one.endFrame), one.sampleRate);
        std::erase_if(document.regions, [](const LRegion& one) { return one.startFrame >= one.endFrame; });
    }
    for (int64_t* at : {&document.selectionStart, &document.selectionEnd, &document.cursor}) *at = moved(*at);
}

// The result, where something was selected when the effect began. The same selection keeps its cursor and its
// band of frequencies.
void SelectResult(LSoundDocument& document, const LEffectOperation& operation, int64_t after) {
    const int64_t end = operation.start + after;
    if (operation.wholeFile || (document.selectionStart == operation.start && document.selectionEnd == end))
        return;
    document.Select(operation.start, end);
}

}  // namespace

std::optional<LEffectOperation> LEffectOperation::Of(const LSoundDocument& document) {
    LEffectOperation operation;
    operation.sound = document.Edited();
    const LSelection range = SelectionOrAll(document);
    operation.start = range.start;
    operation.end = range.end;
    operation.wholeFile = !document.HasSelection();
    if (document.channelEditMode == LSoundDocument::kEditsChannel)
        operation.selectedChannel = document.editedChannel;
    if (range.IsEmpty()) return std::nullopt;
    return operation;
}

LSound LEffectOperation::Range() const {
    LSound range(sound.sampleRate, sound.channels);
    sound.CopyRange(start, end, range);
    return range;
}

void ApplyEffects(const LSoundDocumentRef& document, LEditHost& host, LEffectList effects,
                  const QString& undoName, LApplied done) {
    if (!done) done = [](JobResult) {};
    auto operation = LEffectOperation::Of(*document);
    if (!operation || !MayChange(*document, host)) return done(JobResult::kCancelled);
    auto job = std::make_shared<LApplyJob>();
    job->operation = std::move(*operation);
    job->effects = std::move(effects);
    for (const auto& effect : job->effects) effect->SetFormat(job->operation.sound.Format());
    host.RunDocumentJob(
        document, undoName, [job](LProgress& progress) { return Work(*job, progress); },
        [job, document, &host, undoName, done](JobResult result) {
            if (result == JobResult::kFailed && job->failTitle)
                host.Messages().Tell(QString::fromLatin1(job->failTitle), QString::fromLatin1(job->failText));
            if (result == JobResult::kSuccess && !job->isUnchanged)
                result = PutResult(*document, host, job->operation, job->result, undoName);
            done(result);
        });
}

void ApplyEffectToSelection(const LSoundDocumentRef& document, LEditHost& host, const LEffect& effect,
                            const QString& undoName, LApplied done) {
    LEffectList effects;
    effects.push_back(effect.Clone());
    ApplyEffects(document, host, std::move(effects), undoName, std::move(done));
}

JobResult PutResult(LSoundDocument& document, LEditHost& host, const LEffectOperation& operation,
                    const LSound& result, const QString& undoName) {
    const int64_t after = result.Length();
    if (!FitsIn(operation, after)) {
        host.Messages().Tell(QString::fromLatin1(kEffectLengthTitle), QString::fromLatin1(kEffectLengthText));
        return JobResult::kFailed;
    }
    if (!host.StopForEdit(document)) return JobResult::kCancelled;
    return Change(document, undoName, host, [&] {
        document.Edited().Replace(operation.start, operation.end, result);
        MoveMarks(document, operation, after);
        SelectResult(document, operation, after);
        document.ClampPositions();
        return JobResult::kSuccess;
    });
}

JobResult EnsureStereo(LSoundDocument& document, LEditHost& host) {
    if (document.Edited().channels == 2) return JobResult::kSuccess;
    if (document.sound.channels == 2) return RequireStereo(document, host);  // one of two is edited alone
    enum { kCancel, kContinue };
    const int answer = host.Messages().Ask(QString::fromLatin1(kStereoRequiredTitle),
                                           QString::fromLatin1(kStereoRequiredText),
                                           {QStringLiteral("Cancel"), QStringLiteral("Continue")}, kCancel);
    return answer == kContinue ? ConvertChannels(document, host, 2) : JobResult::kCancelled;
}

JobResult RequireStereo(const LSoundDocument& document, LEditHost& host) {
    if (document.Edited().channels == 2) return JobResult::kSuccess;
    host.Messages().Tell(QString::fromLatin1(kUnsupportedFormatTitle), QString::fromLatin1(kStereoOnlyText));
    return JobResult::kFailed;
}

}  // namespace ondarix
