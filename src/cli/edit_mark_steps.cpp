// SPDX-License-Identifier: GPL-3.0-or-later
// Bookmarks and regions, which the command line knows by their names.
#include <algorithm>

#include "cli/edit_operations.h"
#include "sound/marks.h"

namespace ondarix {
namespace {

bool IsNamed(const QString& name, const QString& wanted) {
    return name.compare(wanted, Qt::CaseInsensitive) == 0;
}

std::vector<uint32_t> BookmarksNamed(const LSoundDocument& document, const QString& name) {
    std::vector<uint32_t> indexes;
    for (const LBookmark& one : document.bookmarks)
        if (IsNamed(one.name, name)) indexes.push_back(one.index);
    return indexes;
}

JobResult BookmarkStep(const LEditStep& step, const std::vector<int64_t>& at, LEditSession& session) {
    return AddBookmark(session.Doc(), session.host, at[0], step.texts[0]);
}

JobResult RenameBookmarkStep(const LEditStep& step, const std::vector<int64_t>&, LEditSession& session) {
    const auto found = BookmarksNamed(session.Doc(), step.texts[0]);
    if (found.empty()) return session.Fault(QString("there is no bookmark \"%1\"").arg(step.texts[0]));
    return session.Done(RenameBookmark(session.Doc(), session.host, found[0], step.texts[1]));
}

JobResult DeleteBookmarkStep(const LEditStep& step, const std::vector<int64_t>&, LEditSession& session) {
    const auto found = BookmarksNamed(session.Doc(), step.texts[0]);
    if (found.empty()) return session.Fault(QString("there is no bookmark \"%1\"").arg(step.texts[0]));
    return DeleteBookmarks(session.Doc(), session.host, found);
}

JobResult MarkPeaksStep(const LEditStep&, const std::vector<int64_t>& at, LEditSession& session) {
    const int64_t ms = FramesToMs(at[0], session.Doc().sound.sampleRate);
    if (ms < 1) return session.Fault("the stretches must be a millisecond long at least");
    return session.Done(MarkPeaks(session.Doc(), session.host, ms));
}

JobResult RegionStep(const LEditStep& step, const std::vector<int64_t>& at, LEditSession& session) {
    if (at[0] == at[1]) return session.Fault("the region is empty");
    return AddRegion(session.Doc(), session.host, at[0], at[1], step.texts[0]);
}

JobResult DeleteRegionStep(const LEditStep& step, const std::vector<int64_t>&, LEditSession& session) {
    std::vector<uint32_t> serials;
    for (const LRegion& one : session.Doc().regions)
        if (IsNamed(one.name, step.texts[0])) serials.push_back(one.serial);
    if (serials.empty()) return session.Fault(QString("there is no region \"%1\"").arg(step.texts[0]));
    return DeleteRegions(session.Doc(), session.host, serials);
}

constexpr LEditRow kMarkSteps[] = {
    {"bookmark", "QT", "AT NAME", "set a bookmark", &BookmarkStep},
    {"rename-bookmark", "TT", "OLD NEW", "give a bookmark another name", &RenameBookmarkStep},
    {"delete-bookmark", "T", "NAME", "delete a bookmark", &DeleteBookmarkStep},
    {"mark-peaks", "L", "EVERY", "set a bookmark at the loudest place of each stretch of EVERY",
     &MarkPeaksStep},
    {"region", "QQT", "START END NAME", "name a region", &RegionStep},
    {"delete-region", "T", "NAME", "delete the regions of that name; their sound stays", &DeleteRegionStep},
};

}  // namespace

std::span<const LEditRow> MarkSteps() { return kMarkSteps; }

}  // namespace ondarix
