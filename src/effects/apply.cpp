// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/apply.h"

#include <utility>

#include "effects/stack.h"
#include "sound/edit_steps.h"
#include "sound/edits.h"
#include "sound/source.h"

namespace ondarix {
namespace {

constexpr const char* kPleaseWait = "Please wait...";

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
    bool isUnchanged = false;  // the effects had nothing to do
};

JobResult Work(LApplyJob& job, LProgress& progress) {
    progress.SetStatus(QString::fromLatin1(kPleaseWait), 0);
    const LSound range = job.operation.Range();
    const std::vector<LEffect*> effects = Pointers(job.effects);
    if (const JobResult measured = MeasureEffects(range, effects, progress); measured != JobResult::kSuccess)
        return measured;
    const std::vector<const LEffect*> used(effects.begin(), effects.end());
    LSoundSourceRef source = OpenForEffects(range);
    LSoundSourceRef stack = WrapInEffects(source, used);
    job.isUnchanged = stack.Get() == source.Get();
    if (job.isUnchanged) return JobResult::kSuccess;
    return LSound::Render(job.result, progress, *BuildEffectStack(range, used));
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

void ApplyEffects(LSoundDocumentRef document, LEditHost& host, LEffectList effects, const QString& undoName,
                  LApplied done) {
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
            if (result == JobResult::kSuccess && !job->isUnchanged)
                result = PutResult(*document, host, job->operation, job->result, undoName);
            done(result);
        });
}

void ApplyEffectToSelection(LSoundDocumentRef document, LEditHost& host, const LEffect& effect,
                            const QString& undoName, LApplied done) {
    LEffectList effects;
    effects.push_back(effect.Clone());
    ApplyEffects(std::move(document), host, std::move(effects), undoName, std::move(done));
}

JobResult PutResult(LSoundDocument& document, LEditHost& host, const LEffectOperation& operation,
                    const LSound& result, const QString& undoName) {
    const int64_t longer = result.Length() - (operation.end - operation.start);
    if (!HasRoomFor(document, longer, host)) return JobResult::kCancelled;
    return Change(document, undoName, host, [&] {
        document.Edited().Replace(operation.start, operation.end, result);
        ShiftMarks(document, operation.end, longer);
        if (!operation.wholeFile) document.Select(operation.start, operation.start + result.Length());
        document.ClampPositions();
        return JobResult::kSuccess;
    });
}

}  // namespace ondarix
