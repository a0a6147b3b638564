// SPDX-License-Identifier: GPL-3.0-or-later
// What joins two sounds in a document: a job that makes a new stretch, and the one undo step that puts it in.
#pragma once
#include <limits>
#include <vector>

#include "effects/apply.h"

namespace ondarix {

// Bookmarks and edges of regions at `from` or behind it, up to the next row's, go so far; what stands before
// the first row stays. Rows are in order.
struct LMarkMove {
    static constexpr int64_t kGone = std::numeric_limits<int64_t>::min();
    static constexpr int64_t kPulled = kGone + 1;
    int64_t from = 0;
    // Frames; kGone: what they mark is in the sound no more; kPulled: nor that, but the mark comes to `from`.
    int64_t delta = 0;
};

struct LSplice {
    int64_t start = 0, end = 0;  // frames of the edited sound that give way
    LSound piece;                // in its format
    LSelection selected;         // afterwards
    std::vector<LMarkMove> moves;
};

// Of any thread; fills the splice.
using LSpliceWork = std::function<JobResult(LProgress& progress, LSplice& splice)>;

// Runs `work` as a job of the document; its splice becomes the undo step `label`. `done` as for ApplyEffects.
void RunSplice(const LSoundDocumentRef& document, LEditHost& host, const QString& title, const QString& label,
               LSpliceWork work, LApplied done);

// A copy that another thread may copy in turn: without the flag that the sounds of a document share.
LSound CopyForJob(const LSound& sound);

// Where a mark at `position` goes; kGone: away. Of a region that is partly gone what is left stays marked.
int64_t MovedMark(const std::vector<LMarkMove>& moves, int64_t position);

}  // namespace ondarix
