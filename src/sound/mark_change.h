// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "sound/edit_host.h"

namespace ondarix {

// The frame around a change of bookmarks or regions: one undo entry, then shown. No sample changes, so that
// playback goes on, disk space does not matter, and an edited channel is not written back. Not while a job
// works on the document.
template <typename Alter>
JobResult ChangeMarks(LSoundDocument& document, const QString& label, LEditHost& host, Alter&& alter) {
    if (document.isBusy) return JobResult::kCancelled;
    document.PushUndo(label, true);
    alter();
    host.DocumentChanged(document);
    host.Refresh(document);
    return JobResult::kSuccess;
}

}  // namespace ondarix
