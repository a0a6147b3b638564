// SPDX-License-Identifier: GPL-3.0-or-later
// The frame around the edit commands, what they share, and the way through the history.
#include "sound/edits.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "sound/edit_steps.h"

namespace ondarix {

JobResult (*gDeleteBand)(LSoundDocument& document, LEditHost& host) = nullptr;

bool MayChange(LSoundDocument& document, LEditHost& host, bool emptyToo) {
    if (document.isBusy || (!emptyToo && document.Edited().Length() <= 0)) return false;
    return CheckDiskSpace(document.sound, CacheFolder(), QString::fromLatin1(kLowDiskActionText),
                          host.Messages()) &&
           host.StopForEdit(document);
}

bool HasRoomFor(const LSoundDocument& document, int64_t added, LEditHost& host) {
    int64_t total = 0;
    if (!__builtin_add_overflow(document.Edited().Length(), added, &total) &&
        total < std::numeric_limits<int64_t>::max()) {
        return true;
    }
    host.Messages().Tell(QString::fromLatin1(kMaxLengthTitle), QString::fromLatin1(kMaxLengthText));
    return false;
}

void LEditHost::RunDocumentJob(LSoundDocumentRef document, const QString& title, LDocumentWork work,
                               LDocumentFinish finish) {
    const LSoundDocumentRef held = std::move(document);
    const LDocumentWork run = std::move(work);
    const LDocumentFinish end = std::move(finish);
    if (held->isBusy) return end(JobResult::kCancelled);
    held->isBusy = true;
    const JobResult result = RunJob(title, run);
    held->isBusy = false;
    end(result);
}

JobResult Change(LSoundDocument& document, const QString& label, LEditHost& host,
                 const std::function<JobResult()>& change) {
    document.BeginChange(label, host);
    if (const JobResult result = change(); result != JobResult::kSuccess) {
        document.CancelChange(host);
        return result;
    }
    return document.EndChange(host);
}

JobResult ChangeWhole(LSoundDocument& document, const QString& label, LEditHost& host,
                      const std::function<JobResult()>& change) {
    const int mode = std::exchange(document.channelEditMode, LSoundDocument::kEditsWhole);
    auto channel = std::exchange(document.channelSound, nullptr);
    const JobResult result = Change(document, label, host, change);
    if (result != JobResult::kSuccess && mode != LSoundDocument::kEditsWhole) {
        document.channelEditMode = mode;
        document.channelSound = std::move(channel);
        host.Refresh(document);
    }
    return result;
}

LSelection SelectionOrAll(const LSoundDocument& document) {
    if (document.HasSelection()) return {document.selectionStart, document.selectionEnd};
    return {0, document.Edited().Length()};
}

bool MovesMarks(const LSoundDocument& document) {
    return document.channelEditMode != LSoundDocument::kEditsChannel;
}

void ShiftMarks(LSoundDocument& document, int64_t pos, int64_t delta) {
    if (!MovesMarks(document)) return;
    ShiftBookmarks(document.bookmarks, pos, delta);
    ShiftRegions(document.regions, pos, delta);
}

void ShiftMarksForReplace(LSoundDocument& document, int64_t start, int64_t end, int64_t added) {
    // Behind the last frame that goes, so that what stands at `end` is moved as well.
    ShiftMarks(document, end > start ? end - 1 : start, added);
    if (end > start) ShiftMarks(document, start, start - end);
}

void DeleteFrames(LSoundDocument& document, int64_t start, int64_t end) {
    if (start >= end) return;
    document.Edited().Delete(start, end);
    ShiftMarks(document, start, start - end);
    document.AdjustPositionsAfterDelete(start, end);
}

void ReplaceFrames(LSoundDocument& document, int64_t start, int64_t end, const LSound& inserted) {
    const int64_t added = inserted.Length();
    document.Edited().Replace(start, end, inserted);
    ShiftMarksForReplace(document, start, end, added);
    document.Select(start, start + added);
}

void ReportWriteFailure(LProgress& progress) {
    progress.ReportError(
        QStringLiteral("The result could not be written to the working folder \"%1\". Please "
                       "make sure that there is enough free disk space and try again.")
            .arg(CacheFolder()));
}

JobResult RunEditJob(LEditHost& host, const QString& title,
                     const std::function<JobResult(LProgress&)>& work) {
    return host.RunJob(title, [&](LProgress& progress) {
        const JobResult result = work(progress);
        if (result == JobResult::kFailed) ReportWriteFailure(progress);
        return result;
    });
}

JobResult ConvertForEdit(LEditHost& host, const QString& title, const LSound& sound, LSoundFormat format,
                         LSound& out) {
    LNullProgress nobody;
    if (sound.Format() == format) {
        return sound.ConvertFormat(out, format.sampleRate, format.channels, nobody);
    }
    return RunEditJob(host, title, [&](LProgress& progress) {
        return sound.ConvertFormat(out, format.sampleRate, format.channels, progress);
    });
}

JobResult DeleteSelection(LSoundDocument& document, LEditHost& host) {
    if (!document.HasSelection() || !MayChange(document, host)) return JobResult::kCancelled;
    const bool isBand = document.isFrequencySelection;
    if (isBand && !gDeleteBand) return JobResult::kCancelled;
    return Change(document, QStringLiteral("Delete"), host, [&] {
        const LSelection range = document.EditRange();
        if (isBand) {
            const JobResult result = gDeleteBand(document, host);
            if (result != JobResult::kSuccess) return result;
        } else {
            DeleteFrames(document, range.start, range.end);
        }
        document.Select(range.start, range.start);
        return JobResult::kSuccess;
    });
}

JobResult SilenceSelection(LSoundDocument& document, LEditHost& host) {
    if (!document.HasSelection() || !MayChange(document, host)) return JobResult::kCancelled;
    return Change(document, QStringLiteral("Edit Silence"), host, [&] {
        document.Edited().Silence(document.selectionStart, document.selectionEnd);
        return JobResult::kSuccess;
    });
}

JobResult InsertSilence(LSoundDocument& document, LEditHost& host, int64_t pos, int64_t frames) {
    if (frames <= 0) {
        host.Messages().Tell(QStringLiteral("Invalid Silence Time"),
                             QStringLiteral("The specified silence time is not valid. Please try again."));
        return JobResult::kCancelled;
    }
    if (!MayChange(document, host, true) || !HasRoomFor(document, frames, host)) return JobResult::kCancelled;
    return Change(document, QStringLiteral("Insert Silence"), host, [&] {
        const int64_t place = std::clamp<int64_t>(pos, 0, document.Edited().Length());
        document.Edited().InsertSilence(place, frames);
        ShiftMarks(document, place, frames);
        document.Select(place, place + frames);
        return JobResult::kSuccess;
    });
}

namespace {

// Marks that lie in a stretch and go with it: a bookmark at its first frame does, one at its end does not.
struct LTravellingMarks {
    LTravellingMarks(LSoundDocument& document, LSelection range) {
        if (!MovesMarks(document)) return;
        const auto take = [](auto& from, auto& to, auto&& travels) {
            const auto staying = std::stable_partition(from.begin(), from.end(),
                                                       [&](const auto& one) { return !travels(one); });
            to.assign(staying, from.end());
            from.erase(staying, from.end());
        };
        take(document.bookmarks, bookmarks,
             [&](const LBookmark& one) { return one.position >= range.start && one.position < range.end; });
        take(document.regions, regions, [&](const LRegion& one) {
            return one.startFrame >= range.start && one.startFrame < range.end && one.endFrame <= range.end;
        });
    }
    void Arrive(LSoundDocument& document, int64_t way) {
        for (LBookmark& one : bookmarks) one.SetPosition(one.position + way, one.sampleRate);
        for (LRegion& one : regions) one.SetRange(one.startFrame + way, one.endFrame + way, one.sampleRate);
        document.bookmarks.insert(document.bookmarks.end(), bookmarks.begin(), bookmarks.end());
        document.regions.insert(document.regions.end(), regions.begin(), regions.end());
    }

    LBookmarks bookmarks;
    LRegions regions;
};

}  // namespace

JobResult MoveSelection(LSoundDocument& document, LEditHost& host, int64_t target) {
    const LSelection range = document.EditRange();
    target = std::clamp<int64_t>(target, 0, document.Edited().Length());
    if (range.IsEmpty() || (target >= range.start && target <= range.end) || !MayChange(document, host))
        return JobResult::kCancelled;
    return Change(document, QStringLiteral("Move"), host, [&] {
        LSound moved;
        document.Edited().CopyRange(range.start, range.end, moved);
        const int64_t place = target > range.end ? target - range.Length() : target;
        LTravellingMarks marks(document, range);
        DeleteFrames(document, range.start, range.end);
        ReplaceFrames(document, place, place, moved);
        marks.Arrive(document, place - range.start);
        return JobResult::kSuccess;
    });
}

// --- The history

namespace {

bool ShowStep(LSoundDocument& document, LEditHost& host, const std::function<bool()>& step) {
    if (document.isBusy) return false;
    const int channel =
        document.channelEditMode == LSoundDocument::kEditsChannel ? document.editedChannel : -1;
    if (!host.StopForEdit(document) || !step()) return false;
    if (channel >= 0 && document.channelEditMode != LSoundDocument::kEditsChannel)
        EditChannel(document, host, channel);
    host.DocumentChanged(document);
    host.Refresh(document);
    return true;
}

}  // namespace

bool UndoChange(LSoundDocument& document, LEditHost& host, int target) {
    return document.CanUndo() && ShowStep(document, host, [&] { return document.Undo(target); });
}

bool RedoChange(LSoundDocument& document, LEditHost& host, int target) {
    return document.CanRedo() && ShowStep(document, host, [&] { return document.Redo(target); });
}

bool RevertDocument(LSoundDocument& document, LEditHost& host) {
    return document.CanRevertToSaved() && ShowStep(document, host, [&] { return document.RevertToSaved(); });
}

bool GoToChange(LSoundDocument& document, LEditHost& host, int slot) {
    return ShowStep(document, host, [&] { return document.GoTo(slot); });
}

}  // namespace ondarix
