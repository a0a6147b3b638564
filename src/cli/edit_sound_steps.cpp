// SPDX-License-Identifier: GPL-3.0-or-later
// Operations that take their places as operands. These may lie outside the sound, of a range counts what lies
// in it, and to change nothing is no failure: a script need not know how long the sound is.
#include <algorithm>

#include "cli/edit_operations.h"

namespace ondarix {
namespace {

using Frames = std::vector<int64_t>;

int64_t LengthOf(LEditSession& session) { return session.Doc().Edited().Length(); }

LSelection Inside(LEditSession& session, int64_t start, int64_t end) {
    const int64_t length = LengthOf(session);
    return {std::clamp<int64_t>(start, 0, length), std::clamp<int64_t>(end, 0, length)};
}

// In double precision, which is enough for limits far below what 64 bits hold.
JobResult CheckGrowth(LEditSession& session, const Frames& at, double added, double pieces) {
    auto reach = static_cast<double>(LengthOf(session));
    for (const int64_t place : at) reach = std::max(reach, static_cast<double>(std::abs(place)));
    if (reach + added > static_cast<double>(kMostFrames))
        return session.Fault("the sound would become too long");
    if (static_cast<double>(CountPieces(session.Doc().Edited())) + pieces + 4 >
        static_cast<double>(kMostPieces)) {
        return session.Fault("the sound would fall into too many pieces");
    }
    return JobResult::kSuccess;
}

// An edit of the selection, on the range that is given or, without one, on what is selected already.
JobResult OnRange(const Frames& at, LEditSession& session, JobResult (*edit)(LSoundDocument&, LEditHost&)) {
    LSoundDocument& document = session.Doc();
    if (!at.empty()) {
        const LSelection range = Inside(session, at[0], at[1]);
        if (range.IsEmpty()) return JobResult::kSuccess;
        document.Select(range.start, range.end);
    } else if (!session.HasSelection()) {
        return JobResult::kFailed;
    }
    return edit(document, session.host);
}

JobResult DeleteStep(const LEditStep&, const Frames& at, LEditSession& session) {
    return OnRange(at, session, DeleteSelection);
}

JobResult KeepStep(const LEditStep&, const Frames& at, LEditSession& session) {
    LSoundDocument& document = session.Doc();
    const LSelection range = Inside(session, at[0], at[1]);
    if (LengthOf(session) == 0) return JobResult::kSuccess;
    document.Select(range.start, range.end);
    if (!range.IsEmpty()) return TrimToSelection(document, session.host);
    document.Select(0, LengthOf(session));
    return DeleteSelection(document, session.host);
}

JobResult SilenceStep(const LEditStep&, const Frames& at, LEditSession& session) {
    return OnRange(at, session, SilenceSelection);
}

// Of silence before frame 0 only what reaches it is put in; silence fills a gap behind the end.
JobResult InsertSilenceStep(const LEditStep&, const Frames& at, LEditSession& session) {
    const JobResult room = CheckGrowth(session, {at[0]}, static_cast<double>(at[1]), 0);
    if (room != JobResult::kSuccess) return room;
    const int64_t place = std::clamp<int64_t>(at[0], 0, LengthOf(session));
    const int64_t frames = at[1] + at[0] - place;
    if (at[1] == 0 || frames <= 0) return JobResult::kSuccess;
    return InsertSilence(session.Doc(), session.host, place, frames);
}

JobResult InsertStep(const LEditStep& step, const Frames& at, LEditSession& session) {
    LSound loaded;
    const JobResult opened = session.Load(step.texts[0], loaded);
    if (opened != JobResult::kSuccess) return opened;
    LSoundDocument& document = session.Doc();
    const LSoundFormat format = document.Edited().Format();
    LSound inserted;
    const JobResult converted =
        loaded.ConvertFormat(inserted, format.sampleRate, format.channels, session.context.progress);
    if (converted != JobResult::kSuccess) {
        session.Fault(QString("\"%1\" cannot be converted").arg(step.texts[0]));
        return converted;
    }
    const JobResult room = CheckGrowth(session, at, static_cast<double>(inserted.Length()),
                                       static_cast<double>(CountPieces(inserted)));
    if (room != JobResult::kSuccess) return room;
    const int64_t length = LengthOf(session), place = std::clamp<int64_t>(at[0], 0, length);
    if (at[0] > length) inserted.InsertSilence(0, at[0] - length);
    if (at[0] < 0) inserted.InsertSilence(inserted.Length(), -at[0]);
    return session.Done(InsertSound(document, session.host, inserted, place, place, "Insert File"));
}

JobResult RepeatStep(const LEditStep& step, const Frames& at, LEditSession& session) {
    LSoundDocument& document = session.Doc();
    const LSelection range = Inside(session, at[0], at[1]);
    if (step.number == 0 || range.IsEmpty()) return JobResult::kSuccess;
    LSound copied;
    document.Edited().CopyRange(range.start, range.end, copied);
    const auto times = static_cast<double>(step.number);
    const JobResult room = CheckGrowth(session, {}, static_cast<double>(range.Length()) * times,
                                       static_cast<double>(CountPieces(copied)) * times);
    if (room != JobResult::kSuccess) return room;
    document.Select(range.start, range.end);
    return RepeatLoop(document, session.host, step.number);
}

JobResult ScaleStep(const LEditStep& step, const Frames& at, LEditSession& session) {
    LSoundDocument& document = session.Doc();
    const LSelection range = Inside(session, at[0], at[1]);
    if (step.number == 100 || range.IsEmpty()) return JobResult::kSuccess;
    return Change(document, "Scale", session.host, [&] {
        document.Edited().ScaleRangePercent(range.start, range.end, static_cast<int>(step.number));
        return JobResult::kSuccess;
    });
}

constexpr LEditRow kSoundSteps[] = {
    {"delete", "[PP", "[START END]", "take the range or selection out", &DeleteStep},
    {"keep", "PP", "START END", "take everything else out", &KeepStep},
    {"silence", "[PP", "[START END]", "make the range or selection silent", &SilenceStep},
    {"insert-silence", "PL", "AT LENGTH", "put silence in", &InsertSilenceStep},
    {"insert", "PF", "AT FILE", "put all of another file in, converted to the rate and channels",
     &InsertStep},
    {"repeat", "PPN", "START END TIMES", "put so many further copies of the range behind it", &RepeatStep},
    {"scale", "PP%", "START END PERCENT", "change the level; 100 leaves it, -100 inverts it", &ScaleStep},
};

}  // namespace

std::span<const LEditRow> SoundSteps() { return kSoundSteps; }

}  // namespace ondarix
