// SPDX-License-Identifier: GPL-3.0-or-later
// The commands on bookmarks and regions. Each pushes one undo entry and shows the result; playback goes on.
// Results as in sound/edits.h; a name that is refused is told here, kFailed.
#pragma once
#include <QStringList>

#include "sound/edit_host.h"

namespace ondarix {

inline constexpr const char* kNameInvalidTitle = "Name Invalid";
inline constexpr const char* kNameInvalidText = "The name must contain text.";
inline constexpr const char* kBookmarkExistsTitle = "Bookmark Name Exists";
inline constexpr const char* kBookmarkExistsText =
    "The bookmark cannot be renamed because another bookmark with the same name already exists. Please try "
    "another name.";

// Bookmarks are named by their `index`, regions by their `serial`: both stay while lists change.

// An empty name: the first free "Bookmark N". A position outside is moved to the nearest end. A second one
// with the same name is refused. Label "Bookmark".
JobResult AddBookmark(LSoundDocument& document, LEditHost& host, int64_t position, const QString& name = {});
JobResult RenameBookmark(LSoundDocument& document, LEditHost& host, uint32_t index, const QString& name);
JobResult MoveBookmark(LSoundDocument& document, LEditHost& host, uint32_t index, int64_t position);
// Asks nothing; the windows do.
JobResult DeleteBookmarks(LSoundDocument& document, LEditHost& host, const std::vector<uint32_t>& indexes);
JobResult DeleteAllBookmarks(LSoundDocument& document, LEditHost& host);
// A bookmark at the loudest place of each stretch of `everyMs` that is not silent, label "Mark peak
// bookmarks". Where one stands already none is added.
JobResult MarkPeaks(LSoundDocument& document, LEditHost& host, int64_t everyMs);
// Bookmarks at the inner borders of equal parts or of intervals, all older ones away first; label
// "Split into Equal Parts" and "Split into intervals".
JobResult MarkEqualParts(LSoundDocument& document, LEditHost& host, int parts);
JobResult MarkIntervals(LSoundDocument& document, LEditHost& host, int64_t frames);
// The next bookmark behind, or the last before `position`; null: none.
const LBookmark* BookmarkAfter(const LSoundDocument& document, int64_t position);
const LBookmark* BookmarkBefore(const LSoundDocument& document, int64_t position);
const LBookmark* FindBookmark(const LSoundDocument& document, uint32_t index);

// [start, end), as far as it lies in the sound. An empty name: the first free "Region N". Label "Add region".
JobResult AddRegion(LSoundDocument& document, LEditHost& host, int64_t start, int64_t end,
                    const QString& name = {});
// Label "Modify Region", of a rename too.
JobResult ModifyRegion(LSoundDocument& document, LEditHost& host, uint32_t serial, int64_t start,
                       int64_t end);
JobResult RenameRegion(LSoundDocument& document, LEditHost& host, uint32_t serial, const QString& name);
JobResult DeleteRegions(LSoundDocument& document, LEditHost& host, const std::vector<uint32_t>& serials);
const LRegion* FindRegion(const LSoundDocument& document, uint32_t serial);

// A stretch of a document that becomes a sound of its own.
struct LPiece {
    int64_t start = 0, end = 0;
    QString name;  // without folder and extension
};
// The name that pieces begin with: of the file without folder and extension, otherwise the title.
QString BaseTitle(const LSoundDocument& document);
// Cut at `positions` in any order; pieces of no length are left out. Named "%title_1" on, with as many digits
// as the count needs.
std::vector<LPiece> PiecesAt(int64_t length, std::vector<int64_t> positions, const QString& title);
// At each bookmark, in order; a piece is named "title_bookmark" from the bookmark that it starts at, what
// comes before the first one just "title".
std::vector<LPiece> PiecesAtBookmarks(const LSoundDocument& document);
// Each piece as a new document; no undo entry. kFailed: not all could be opened.
JobResult PiecesToNew(const LSoundDocument& document, LEditHost& host, const std::vector<LPiece>& pieces);
// One mono document a channel: "title_Left", "title_Right", otherwise "title_1" on.
JobResult SplitChannels(const LSoundDocument& document, LEditHost& host);

// A region of any document. The documents must stay while it is used.
struct LRegionRef {
    const LSoundDocument* document;
    uint32_t serial;
};
// The regions in the order given, with `gapMs` of silence between two where it is above 0, all in the format
// of the first one's sound. `out` is changed on success only.
JobResult AssembleRegions(const std::vector<LRegionRef>& regions, int64_t gapMs, LSound& out,
                          LProgress& progress);

}  // namespace ondarix
