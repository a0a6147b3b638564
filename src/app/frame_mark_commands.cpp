// SPDX-License-Identifier: GPL-3.0-or-later
// Bookmarks and regions.
#include <cstdlib>

#include "app/bookmark_window.h"
#include "app/frame_handlers.h"
#include "app/input_dialogs.h"
#include "app/region_window.h"
#include "formats/sound_pieces.h"
#include "sound/edits.h"
#include "sound/marks.h"

namespace ondarix {
namespace {

constexpr int kPeakIntervalMs = 1000, kMostPeakIntervalMs = 24 * 3600 * 1000;

// There is at least one.
const LBookmark& NearestBookmark(const LSoundDocument& document) {
    const LBookmark* nearest = &document.bookmarks.front();
    for (const LBookmark& one : document.bookmarks)
        if (std::abs(one.position - document.cursor) < std::abs(nearest->position - document.cursor))
            nearest = &one;
    return *nearest;
}

void RenameNearest(LCommandCall& call) {
    const LBookmark bookmark = NearestBookmark(call.Document());
    const auto name =
        AskName(&call.frame, QStringLiteral("Rename Bookmark"), QStringLiteral("&Name:"), bookmark.name);
    if (name) RenameBookmark(call.Document(), call.Host(), bookmark.index, *name);
}

void DeleteNearest(LCommandCall& call) {
    DeleteBookmarks(call.Document(), call.Host(), {NearestBookmark(call.Document()).index});
}

void MarkPeaksEvery(LCommandCall& call) {
    const auto typed =
        AskName(&call.frame, QStringLiteral("Mark Peaks"),
                QStringLiteral("One bookmark in each stretch of (&ms):"), QString::number(kPeakIntervalMs));
    if (!typed) return;
    const int every = typed->trimmed().toInt();
    if (every < 1 || every > kMostPeakIntervalMs)
        call.Host().Messages().Tell(QStringLiteral("Mark Peaks"),
                                    QStringLiteral("The length of a stretch is a number of milliseconds."));
    else
        MarkPeaks(call.Document(), call.Host(), every);
}

void AddSelectedRegion(LCommandCall& call) {
    const LSoundDocument& document = call.Document();
    const LSelection range =
        document.HasSelection() ? document.EditRange() : LSelection{0, document.Edited().Length()};
    AddRegion(call.Document(), call.Host(), range.start, range.end);
}

std::vector<LRegionRef> AllRegions(LMainFrame& frame) {
    std::vector<LRegionRef> regions;
    for (LSoundWindow* window : frame.Sounds())
        for (const LRegion& region : window->Document().regions)
            regions.push_back({&window->Document(), region.serial});
    return regions;
}

void ExportAllRegions(LCommandCall& call) {
    const auto target =
        AskPieceTarget(&call.frame, QStringLiteral("Export Regions"), QStringLiteral("Settings"),
                       QStringLiteral("ExportRegionFolder"), QStringLiteral("ExportRegionFormat"));
    if (!target) return;
    QStringList written;
    if (ExportRegions(AllRegions(call.frame), *target, call.Host(), written) == JobResult::kSuccess)
        call.frame.ShowHint(QStringLiteral("%1 files written to %2").arg(written.size()).arg(target->folder));
}

void BookmarkList(LCommandCall& call) {
    call.frame.ShowBeside("bookmarks", [&call] { return new LBookmarkWindow(call.frame); });
}

void RegionList(LCommandCall& call) {
    call.frame.ShowBeside("regions", [&call] { return new LRegionWindow(call.frame); });
}

// --- At the place of the context menu; by the keyboard or from outside: at the cursor.

int64_t FrameHere(const LCommandCall& call) {
    return call.frame.ContextPlace() ? call.frame.ContextPlace()->frame : call.Document().cursor;
}

void RenameHere(LCommandCall& call) {
    const LViewPlace place = *call.frame.ContextPlace();
    const LBookmark* bookmark = FindBookmark(call.Document(), place.bookmarkIndex);
    const LRegion* region = FindRegion(call.Document(), place.regionSerial);
    const auto name = AskName(&call.frame, QStringLiteral("Rename"), QStringLiteral("&Name:"),
                              bookmark ? bookmark->name : region->name);
    if (!name) return;
    if (bookmark)
        RenameBookmark(call.Document(), call.Host(), place.bookmarkIndex, *name);
    else
        RenameRegion(call.Document(), call.Host(), place.regionSerial, *name);
}

void DeleteHere(LCommandCall& call) {
    const LViewPlace place = *call.frame.ContextPlace();
    if (FindBookmark(call.Document(), place.bookmarkIndex))
        DeleteBookmarks(call.Document(), call.Host(), {place.bookmarkIndex});
    else
        DeleteRegions(call.Document(), call.Host(), {place.regionSerial});
}

constexpr LCommandHandler kMarkHandlers[] = {
    {kCmdAddBookmark, [](LCommandCall& call) { AddBookmark(call.Document(), call.Host(), PlaceHere(call)); }},
    {kCmdRenameBookmark, RenameNearest},
    {kCmdDeleteBookmark, DeleteNearest},
    {kCmdDeleteAllBookmarks, [](LCommandCall& call) { DeleteAllBookmarks(call.Document(), call.Host()); }},
    {kCmdMarkPeaks, MarkPeaksEvery},
    {kCmdBookmarkList, BookmarkList},
    {kCmdAddRegion, AddSelectedRegion},
    {kCmdRegionList, RegionList},
    {kCmdExportRegions, ExportAllRegions},
    {kCmdBookmarkHere,
     [](LCommandCall& call) { AddBookmark(call.Document(), call.Host(), FrameHere(call)); }},
    {kCmdMoveHere, [](LCommandCall& call) { MoveSelection(call.Document(), call.Host(), FrameHere(call)); }},
    {kCmdSelectAround, [](LCommandCall& call) { call.sound->View().SelectAround(FrameHere(call)); }},
    {kCmdRenameHere, RenameHere},
    {kCmdDeleteHere, DeleteHere},
    {kCmdRegionsToNew, [](LCommandCall& call) { RegionsToNew(AllRegions(call.frame), call.Host()); }},
};

}  // namespace

std::span<const LCommandHandler> MarkHandlers() { return kMarkHandlers; }

}  // namespace ondarix
