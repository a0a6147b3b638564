// SPDX-License-Identifier: GPL-3.0-or-later
// The comments of bookmarks and regions. Results as in sound/edits.h; kCancelled: the mark is gone, or the
// comment is the same.
#pragma once
#include "sound/edit_host.h"

namespace ondarix {

JobResult SetBookmarkComment(LSoundDocument& document, LEditHost& host, uint32_t index,
                             const QString& comment);  // label "Bookmark Comment"
JobResult SetRegionComment(LSoundDocument& document, LEditHost& host, uint32_t serial,
                           const QString& comment);  // label "Modify Region"

}  // namespace ondarix
