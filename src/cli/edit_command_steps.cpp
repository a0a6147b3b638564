// SPDX-License-Identifier: GPL-3.0-or-later
// The commands of the editor's menus: selection, clipboard, formats, history. Positions must lie in the
// sound.
#include <algorithm>

#include "cli/edit_operations.h"
#include "dsp/resampler.h"
#include "sound/snap.h"

namespace ondarix {
namespace {

using Places = std::vector<int64_t>;

constexpr int kSnapReachMs = 50;  // to each side

JobResult SelectStep(const LEditStep&, const Places& at, LEditSession& session) {
    session.Doc().Select(at[0], at[1]);
    return JobResult::kSuccess;
}

JobResult SelectAllStep(const LEditStep&, const Places&, LEditSession& session) {
    session.Doc().Select(0, session.Doc().Edited().Length());
    return JobResult::kSuccess;
}

JobResult SelectNoneStep(const LEditStep&, const Places&, LEditSession& session) {
    session.Doc().Select(session.Doc().cursor, session.Doc().cursor);
    return JobResult::kSuccess;
}

JobResult CursorStep(const LEditStep&, const Places& at, LEditSession& session) {
    session.Doc().Select(at[0], at[0]);
    return JobResult::kSuccess;
}

JobResult SnapStep(const LEditStep&, const Places& at, LEditSession& session) {
    LSoundDocument& document = session.Doc();
    const LSound& sound = document.Edited();
    const int64_t reach = std::max<int64_t>(2, int64_t{sound.sampleRate} * kSnapReachMs / 1000);
    LSnapOptions options;
    options.preferNearest = true;
    const int64_t place = SnapPosition(sound, at[0], std::max<int64_t>(0, at[0] - reach),
                                       std::min(sound.Length(), at[0] + reach), options);
    document.Select(place, place);
    return JobResult::kSuccess;
}

// Of a command that may be given a range.
bool SelectRange(const Places& at, LEditSession& session) {
    if (!at.empty()) session.Doc().Select(at[0], at[1]);
    return at.empty() || session.HasSelection();
}

JobResult CopyStep(const LEditStep&, const Places& at, LEditSession& session) {
    if (!SelectRange(at, session)) return JobResult::kFailed;
    return CopySelection(session.Doc(), session.host, session.clipboard);
}

JobResult CutStep(const LEditStep&, const Places& at, LEditSession& session) {
    if (!SelectRange(at, session) || !session.HasSelection()) return JobResult::kFailed;
    return CutSelection(session.Doc(), session.host, session.clipboard);
}

bool HasClip(LEditSession& session) {
    if (session.clipboard.HasClip()) return true;
    session.Fault("nothing was copied before");
    return false;
}

JobResult PasteStep(const LEditStep&, const Places& at, LEditSession& session) {
    if (!HasClip(session)) return JobResult::kFailed;
    const int64_t place = at.empty() ? -1 : at[0];
    return PasteClip(session.Doc(), session.host, session.clipboard, place, place);
}

JobResult PasteCycleStep(const LEditStep&, const Places&, LEditSession& session) {
    if (!HasClip(session)) return JobResult::kFailed;
    return PasteCycle(session.Doc(), session.host, session.clipboard);
}

JobResult DuplicateStep(const LEditStep&, const Places&, LEditSession& session) {
    return DuplicateSelection(session.Doc(), session.host);
}

JobResult MoveStep(const LEditStep&, const Places& at, LEditSession& session) {
    if (!SelectRange({at[0], at[1]}, session)) return JobResult::kFailed;
    return session.Done(MoveSelection(session.Doc(), session.host, at[2]));
}

JobResult TrimStep(const LEditStep&, const Places&, LEditSession& session) {
    return session.HasSelection() ? TrimToSelection(session.Doc(), session.host) : JobResult::kFailed;
}

JobResult TrimStartStep(const LEditStep&, const Places& at, LEditSession& session) {
    if (!at.empty()) session.Doc().Select(at[0], at[0]);
    return session.Done(TrimStart(session.Doc(), session.host));
}

JobResult TrimEndStep(const LEditStep&, const Places& at, LEditSession& session) {
    if (!at.empty()) session.Doc().Select(at[0], at[0]);
    return session.Done(TrimEnd(session.Doc(), session.host));
}

JobResult JoinStep(const LEditStep& step, const Places&, LEditSession& session) {
    std::vector<LSound> others(1);
    const JobResult opened = session.Load(step.texts[0], others[0]);
    if (opened != JobResult::kSuccess) return opened;
    return session.Done(JoinSounds(session.Doc(), session.host, others));
}

JobResult ConvertRateStep(const LEditStep& step, const Places&, LEditSession& session) {
    const LSound& sound = session.Doc().sound;
    if (ScaledLength(sound.Length(), sound.sampleRate, step.number) > kMostFrames)
        return session.Fault("the sound would become too long");
    return session.Done(ConvertSampleRate(session.Doc(), session.host, static_cast<int32_t>(step.number)));
}

JobResult ConvertChannelsStep(const LEditStep& step, const Places&, LEditSession& session) {
    return session.Done(ConvertChannels(session.Doc(), session.host, static_cast<int>(step.number)));
}

JobResult EditChannelStep(const LEditStep& step, const Places&, LEditSession& session) {
    const int channels = session.Doc().sound.channels;
    if (channels == 1 && step.number <= 1) return JobResult::kSuccess;
    if (step.number > channels) return session.Fault(QString("the sound has no channel %1").arg(step.number));
    return EditChannel(session.Doc(), session.host, static_cast<int>(step.number) - 1);
}

JobResult UndoStep(const LEditStep& step, const Places&, LEditSession& session) {
    for (int64_t i = 0; i < std::max<int64_t>(1, step.number); ++i) {
        if (!UndoChange(session.Doc(), session.host)) return session.Fault("there is nothing to undo");
    }
    return JobResult::kSuccess;
}

JobResult RedoStep(const LEditStep& step, const Places&, LEditSession& session) {
    for (int64_t i = 0; i < std::max<int64_t>(1, step.number); ++i) {
        if (!RedoChange(session.Doc(), session.host)) return session.Fault("there is nothing to redo");
    }
    return JobResult::kSuccess;
}

JobResult HistoryGoStep(const LEditStep& step, const Places&, LEditSession& session) {
    LSoundDocument& document = session.Doc();
    const std::vector<int> slots = document.HistorySlots();
    if (step.number > std::ssize(slots))
        return session.Fault(QString("the history has %1 entries").arg(slots.size()));
    if (!GoToChange(document, session.host, slots[static_cast<size_t>(step.number - 1)]))
        return session.Fault(QString("there is no way to entry %1").arg(step.number));
    return JobResult::kSuccess;
}

constexpr LEditRow kCommandSteps[] = {
    {"select", "QQ", "START END", "select the range", &SelectStep},
    {"select-all", "", "", "select everything", &SelectAllStep},
    {"select-none", "", "", "select nothing; the cursor stays", &SelectNoneStep},
    {"cursor", "Q", "AT", "put the cursor there, and select nothing", &CursorStep},
    {"snap", "Q", "AT", "put the cursor at the best place for a cut near it", &SnapStep},
    {"copy", "[QQ", "[START END]", "copy to the clipboard; everything when nothing is selected", &CopyStep},
    {"cut", "[QQ", "[START END]", "copy to the clipboard and take out", &CutStep},
    {"paste", "[Q", "[AT]", "put the clip in, or over the selection", &PasteStep},
    {"paste-cycle", "", "", "paste the clip copied before that one, in the place of the last paste",
     &PasteCycleStep},
    {"duplicate", "", "", "put a copy of the selection behind it", &DuplicateStep},
    {"move", "QQQ", "START END AT", "move the range to what is frame AT now", &MoveStep},
    {"trim", "", "", "take out all but the selection", &TrimStep},
    {"trim-start", "[Q", "[AT]", "take out all before AT", &TrimStartStep},
    {"trim-end", "[Q", "[AT]", "take out all from AT on", &TrimEndStep},
    {"join", "F", "FILE", "put another file behind the end, converted", &JoinStep},
    {"convert-rate", "R", "RATE", "convert to a sample rate", &ConvertRateStep},
    {"convert-channels", "C", "COUNT", "convert to a number of channels", &ConvertChannelsStep},
    {"edit-channel", "H", "NUMBER|all", "let what follows change one channel, from 1, or all again",
     &EditChannelStep},
    {"undo", "[K", "[COUNT]", "undo a change, or so many", &UndoStep},
    {"redo", "[K", "[COUNT]", "make a change again that was undone", &RedoStep},
    {"history-go", "K", "NUMBER", "go to an entry of the list that --history prints", &HistoryGoStep},
};

}  // namespace

std::span<const LEditRow> CommandSteps() { return kCommandSteps; }

}  // namespace ondarix
