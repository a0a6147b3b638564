// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/fades.h"

#include <algorithm>
#include <utility>

#include "effects/envelope.h"
#include "effects/stack.h"
#include "sound/edit_steps.h"

namespace ondarix {
namespace {

constexpr LParamRow<LFadeParams> kFadeInRows[] = {
    {"type", "Type", &LFadeParams::type, 0, 3, "", "FadeInType", kCurveNames},
};
constexpr LParamRow<LFadeParams> kFadeOutRows[] = {
    {"type", "Type", &LFadeParams::type, 0, 3, "", "FadeOutType", kCurveNames},
};

// What travels to the worker and back.
struct LFadeJob {
    LEffectOperation operation;
    LEnvelopeEffect envelope;  // its frames count from the operation's start
    LSound result;
};
using LFadeJobRef = std::shared_ptr<LFadeJob>;

LFadeJobRef MakeFadeJob(LEffectOperation operation, const std::vector<LEnvelopePoint>& points, uint8_t type) {
    auto job = std::make_shared<LFadeJob>();
    job->operation = std::move(operation);
    job->envelope.params.interpolation.index = type;
    job->envelope.SetPoints(points);
    return job;
}

JobResult RenderFade(LFadeJob& job, LProgress& progress) {
    const LEffect* const effects[] = {&job.envelope};
    const LSound range = job.operation.Range();
    return LSound::Render(job.result, progress, *BuildEffectStack(range, effects),
                          QStringLiteral("Please wait..."));
}

// `put` brings the result into the document.
void RunFade(const LSoundDocumentRef& document, LEditHost& host, const LFadeJobRef& job, const QString& name,
             std::function<JobResult()> put, LApplied done) {
    host.RunDocumentJob(
        document, name, [job](LProgress& progress) { return RenderFade(*job, progress); },
        [put = std::move(put), done = std::move(done)](JobResult result) {
            if (result == JobResult::kSuccess) result = put();
            if (done) done(result);
        });
}

void FadeAndTrim(const LSoundDocumentRef& document, LEditHost& host, uint8_t type, bool isFadeIn,
                 LApplied done) {
    auto operation = LEffectOperation::Of(*document);
    if (!operation || !MayChange(*document, host)) {
        if (done) done(JobResult::kCancelled);
        return;
    }
    const int64_t frames = operation->end - operation->start;
    const float first = isFadeIn ? 0.0f : 1.0f;
    const LFadeJobRef job = MakeFadeJob(std::move(*operation), {{0, first}, {frames, 1.0f - first}}, type);
    const QString name = QString::fromLatin1(isFadeIn ? kFadeInAndTrimName : kFadeOutAndTrimName);
    const auto put = [document, &host, job, name, isFadeIn] {
        return Change(*document, name, host, [&] {
            const int64_t start = job->operation.start, end = job->operation.end;
            document->Edited().Replace(start, end, job->result);
            if (isFadeIn)
                DeleteFrames(*document, 0, start);
            else
                DeleteFrames(*document, end, document->Edited().Length());
            return JobResult::kSuccess;
        });
    };
    RunFade(document, host, job, name, put, std::move(done));
}

// Behind the last frame of the fade; no fade goes on behind its clip.
int64_t EndOfFade(int64_t start, int64_t duration, int64_t length) {
    return start + std::min(duration, length - start);
}

// Checks in common; false: `done` has been told.
bool MayFadeClip(LSoundDocument& document, LEditHost& host, const LClipFade& fade, const QString& name,
                 const LApplied& done) {
    if (fade.duration <= 0) host.Messages().Tell(name, QString::fromLatin1(kNoFadeDurationText));
    if (fade.duration > 0 && fade.start < document.Edited().Length() && MayChange(document, host))
        return true;
    if (done) done(JobResult::kCancelled);
    return false;
}

// Over [start, end), whatever is selected.
LEffectOperation ClipStretch(const LSoundDocument& document, int64_t start, int64_t end) {
    LEffectOperation operation;
    operation.sound = document.Edited();
    operation.start = start;
    operation.end = end;
    operation.wholeFile = true;
    if (document.channelEditMode == LSoundDocument::kEditsChannel)
        operation.selectedChannel = document.editedChannel;
    return operation;
}

void FadeClip(const LSoundDocumentRef& document, LEditHost& host, const LFadeJobRef& job, const QString& name,
              LApplied done) {
    const auto put = [document, &host, job, name] {
        return PutResult(*document, host, job->operation, job->result, name);
    };
    RunFade(document, host, job, name, put, std::move(done));
}

}  // namespace

std::span<const LParamRow<LFadeParams>> LFadeInEffect::Rows() { return kFadeInRows; }
std::span<const LParamRow<LFadeParams>> LFadeOutEffect::Rows() { return kFadeOutRows; }

LSoundSourceRef LFadeInEffect::CreateFilter(LSoundSourceRef source) const {
    const int64_t length = source->GetLength();
    return FollowEnvelope(std::move(source), {{0, 0.0f}, {length, 1.0f}}, params.type.index);
}

LSoundSourceRef LFadeOutEffect::CreateFilter(LSoundSourceRef source) const {
    const int64_t length = source->GetLength();
    return FollowEnvelope(std::move(source), {{0, 1.0f}, {length, 0.0f}}, params.type.index);
}

void FadeInAndTrim(const LSoundDocumentRef& document, LEditHost& host, uint8_t type, LApplied done) {
    FadeAndTrim(document, host, type, true, std::move(done));
}

void FadeOutAndTrim(const LSoundDocumentRef& document, LEditHost& host, uint8_t type, LApplied done) {
    FadeAndTrim(document, host, type, false, std::move(done));
}

void FadeInClipStart(const LSoundDocumentRef& document, LEditHost& host, const LClipFade& fade,
                     LApplied done) {
    const QString name = QString::fromLatin1(kFadeInClipStartName);
    if (!MayFadeClip(*document, host, fade, name, done)) return;
    const int64_t start = std::max<int64_t>(0, fade.start);
    const int64_t end = EndOfFade(start, fade.duration, document->Edited().Length());
    const LFadeJobRef job =
        MakeFadeJob(ClipStretch(*document, 0, end), {{start, 0.0f}, {end, 1.0f}}, fade.type);
    FadeClip(document, host, job, name, std::move(done));
}

void FadeOutClipEnd(const LSoundDocumentRef& document, LEditHost& host, const LClipFade& fade,
                    LApplied done) {
    const QString name = QString::fromLatin1(kFadeOutClipEndName);
    if (!MayFadeClip(*document, host, fade, name, done)) return;
    const int64_t length = document->Edited().Length();
    const int64_t start = fade.start >= 0 ? fade.start : std::max<int64_t>(0, length - fade.duration);
    const LFadeJobRef job =
        MakeFadeJob(ClipStretch(*document, start, length),
                    {{0, 1.0f}, {EndOfFade(start, fade.duration, length) - start, 0.0f}}, fade.type);
    FadeClip(document, host, job, name, std::move(done));
}

}  // namespace ondarix
