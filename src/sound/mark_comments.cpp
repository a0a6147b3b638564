// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/mark_comments.h"

#include <algorithm>

#include "gen/text.h"
#include "sound/mark_change.h"

namespace ondarix {
namespace {

template <typename Mark>
JobResult SetComment(LSoundDocument& document, LEditHost& host, Mark* mark, const QString& comment,
                     const QString& label) {
    const QString text = CutToFixedText(comment);
    if (!mark || mark->comment == text) return JobResult::kCancelled;
    return ChangeMarks(document, label, host, [&] { mark->comment = text; });
}

}  // namespace

JobResult SetBookmarkComment(LSoundDocument& document, LEditHost& host, uint32_t index,
                             const QString& comment) {
    const auto found = std::find_if(document.bookmarks.begin(), document.bookmarks.end(),
                                    [&](const LBookmark& one) { return one.index == index; });
    return SetComment(document, host, found == document.bookmarks.end() ? nullptr : &*found, comment,
                      QStringLiteral("Bookmark Comment"));
}

JobResult SetRegionComment(LSoundDocument& document, LEditHost& host, uint32_t serial,
                           const QString& comment) {
    const auto found = std::find_if(document.regions.begin(), document.regions.end(),
                                    [&](const LRegion& one) { return one.serial == serial; });
    return SetComment(document, host, found == document.regions.end() ? nullptr : &*found, comment,
                      QStringLiteral("Modify Region"));
}

}  // namespace ondarix
