// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/mix_job.h"

#include <algorithm>
#include <utility>

#include "sound/edit_steps.h"

namespace ondarix {
namespace {

void MoveBookmarks(LBookmarks& bookmarks, const std::vector<LMarkMove>& moves) {
    std::erase_if(bookmarks, [&](LBookmark& one) {
        const int64_t place = MovedMark(moves, one.position);
        if (place == LMarkMove::kGone) return true;
        if (place != one.position) one.SetPosition(place, one.sampleRate);
        return false;
    });
}

const LMarkMove* MoveOf(const std::vector<LMarkMove>& moves, int64_t position) {
    const LMarkMove* found = nullptr;
    for (const LMarkMove& row : moves)
        if (position >= row.from) found = &row;
    return found;
}

// False for a region that marks nothing any more. An end, which is exclusive, goes where the frame before it
// goes.
bool MoveRegion(LRegion& region, const std::vector<LMarkMove>& moves) {
    const int64_t start = MovedMark(moves, region.startFrame);
    if (start == LMarkMove::kGone) return false;
    int64_t end = start;
    if (region.endFrame > region.startFrame) {
        const LMarkMove* const move = MoveOf(moves, region.endFrame - 1);
        const bool isCut = move && move->delta <= LMarkMove::kPulled;
        // Up to where the part begins that is gone.
        end = isCut ? MovedMark(moves, move->from - 1) + 1 : MovedMark(moves, region.endFrame - 1) + 1;
        if (end <= start) return false;
    }
    if (start != region.startFrame || end != region.endFrame) region.SetRange(start, end, region.sampleRate);
    return true;
}

JobResult PutSplice(LSoundDocument& document, LEditHost& host, const QString& label, const LSplice& splice) {
    if (!HasRoomFor(document, splice.piece.Length() - (splice.end - splice.start), host))
        return JobResult::kCancelled;
    return Change(document, label, host, [&] {
        document.Edited().Replace(splice.start, splice.end, splice.piece);
        if (MovesMarks(document)) {
            MoveBookmarks(document.bookmarks, splice.moves);
            std::erase_if(document.regions, [&](LRegion& one) { return !MoveRegion(one, splice.moves); });
        }
        document.Select(splice.selected.start, splice.selected.end);
        document.ClampPositions();
        return JobResult::kSuccess;
    });
}

}  // namespace

int64_t MovedMark(const std::vector<LMarkMove>& moves, int64_t position) {
    const LMarkMove* const move = MoveOf(moves, position);
    if (!move) return position;
    if (move->delta == LMarkMove::kGone) return LMarkMove::kGone;
    return std::max<int64_t>(0, move->delta == LMarkMove::kPulled ? move->from : position + move->delta);
}

LSound CopyForJob(const LSound& sound) {
    LSound copy = sound;
    copy.SetLosslessMode(nullptr);
    return copy;
}

void RunSplice(const LSoundDocumentRef& document, LEditHost& host, const QString& title, const QString& label,
               LSpliceWork work, LApplied done) {
    if (!done) done = [](JobResult) {};
    auto splice = std::make_shared<LSplice>();
    const auto run = [splice, work = std::move(work)](LProgress& progress) {
        const JobResult result = work(progress, *splice);
        if (result == JobResult::kFailed) ReportWriteFailure(progress);
        return result;
    };
    const auto finish = [splice, document, &host, label, done = std::move(done)](JobResult result) {
        if (result == JobResult::kSuccess) result = PutSplice(*document, host, label, *splice);
        done(result);
    };
    host.RunDocumentJob(document, title, run, finish);
}

}  // namespace ondarix
