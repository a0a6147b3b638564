// SPDX-License-Identifier: GPL-3.0-or-later
// Operations that lay one sound over another. Their settings are given as NAME=VALUE and begin from the
// defaults, whatever the editor was last used with.
#include <utility>

#include "cli/edit_operations.h"
#include "effects/crossfade.h"
#include "effects/mix_background.h"

namespace ondarix {
namespace {

using Places = std::vector<int64_t>;

// The words from `first` on into the form. False: a fault says why not.
bool SetForm(LEffect& form, const LEditStep& step, qsizetype first, LEditSession& session) {
    for (const QString& word : step.texts.mid(first)) {
        const qsizetype split = word.indexOf('=');
        const QString fault = split < 1 ? QString("\"%1\" is not NAME=VALUE").arg(word)
                                        : form.SetOption(word.left(split), word.mid(split + 1));
        if (fault.isEmpty()) continue;
        session.Fault(fault);
        return false;
    }
    return true;
}

// What a job of the engine came to; jobs run at once here.
struct LAnswer {
    JobResult result = JobResult::kFailed;
    LApplied Take() {
        return [this](JobResult given) { result = given; };
    }
};

// With the file that the step names: `run(sound of it, form, what takes the result)`.
template <typename Form, typename Run>
JobResult WithFile(const LEditStep& step, LEditSession& session, const Run& run) {
    Form form;
    LSound other;
    if (!SetForm(form, step, 1, session)) return JobResult::kFailed;
    const JobResult opened = session.Load(step.texts[0], other);
    if (opened != JobResult::kSuccess) return opened;
    LAnswer answer;
    run(other, form, answer.Take());
    return answer.result;
}

JobResult MixStep(const LEditStep& step, const Places&, LEditSession& session) {
    return WithFile<LMixForm>(step, session, [&](const LSound& other, const LMixForm& form, LApplied done) {
        MixClip(session.document, session.host, other, form.params, "Mix with File", std::move(done));
    });
}

JobResult PasteMixStep(const LEditStep& step, const Places&, LEditSession& session) {
    LMixForm form;
    LSound clip;
    if (!SetForm(form, step, 0, session)) return JobResult::kFailed;
    if (!session.clipboard.HasClip()) return session.Fault("nothing was copied before");
    const JobResult fetched = session.clipboard.FetchClip(clip, session.context.progress);
    if (fetched != JobResult::kSuccess) return fetched;
    LAnswer answer;
    MixClip(session.document, session.host, clip, form.params, "Paste Mix", answer.Take());
    return answer.result;
}

JobResult BackgroundStep(const LEditStep& step, const Places&, LEditSession& session) {
    return WithFile<LBackgroundForm>(step, session,
                                     [&](const LSound& music, const LBackgroundForm& form, LApplied done) {
                                         MixBackground(session.document, session.host, music, form.params,
                                                       "Mix with File", std::move(done));
                                     });
}

JobResult CrossfadeStep(const LEditStep& step, const Places&, LEditSession& session) {
    return WithFile<LCrossfadeForm>(
        step, session, [&](const LSound& other, const LCrossfadeForm& form, LApplied done) {
            CrossfadeToClip(session.document, session.host, other, form.params, std::move(done));
        });
}

JobResult CrossfadeSelectionStep(const LEditStep& step, const Places&, LEditSession& session) {
    LCrossfadeForm form;
    if (!SetForm(form, step, 0, session) || !session.HasSelection()) return JobResult::kFailed;
    LAnswer answer;
    CrossfadeSelection(session.document, session.host, form.params, answer.Take());
    return answer.result;
}

JobResult CrossfadeLoopStep(const LEditStep& step, const Places&, LEditSession& session) {
    LCrossfadeForm form;
    if (!SetForm(form, step, 0, session)) return JobResult::kFailed;
    LAnswer answer;
    CrossfadeLoop(session.document, session.host, form.params, answer.Take());
    return answer.result;
}

constexpr LEditRow kMixSteps[] = {
    {"mix", "F[T+", "FILE [NAME=VALUE...]",
     "mix a file over the selection or from the cursor on (volume, pan)", &MixStep},
    {"paste-mix", "[T+", "[NAME=VALUE...]", "mix the clip so (volume, pan)", &PasteMixStep},
    {"background", "F[T+", "FILE [NAME=VALUE...]", "put music under the selection or everything",
     &BackgroundStep},
    {"crossfade", "F[T+", "FILE [NAME=VALUE...]", "let the end fade over into another file", &CrossfadeStep},
    {"crossfade-selection", "[T+", "[NAME=VALUE...]", "lay the halves of the selection over each other",
     &CrossfadeSelectionStep},
    {"crossfade-loop", "[T+", "[NAME=VALUE...]",
     "let the end of the selection, or of everything, run into its beginning", &CrossfadeLoopStep},
};

}  // namespace

std::span<const LEditRow> MixSteps() { return kMixSteps; }

}  // namespace ondarix
