// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/document.h"

#include <QFileInfo>
#include <algorithm>

#include "gen/settings.h"
#include "sound/edit_host.h"

namespace ondarix {

namespace {

constexpr const char* kMightNotBeSavedText =
    "The last action you performed to the file \"%1\" might not be saved because you have very low free disk "
    "space. Please try saving the file to a different location or making more space by removing unwanted "
    "files "
    "then try again.";

int64_t AfterDelete(int64_t position, int64_t start, int64_t end) {
    if (position <= start) return position;
    return position < end ? start : position - (end - start);
}

}  // namespace

void LSoundDocument::BeginChange(const QString& label, LEditHost& host) {
    PushUndo(label, true);
    host.DocumentChanged(*this);
    host.BeforeEdit(*this);
}

JobResult LSoundDocument::EndChange(LEditHost& host) {
    if (channelEditMode == kEditsChannel) {
        if (const JobResult merged = MergeChannel(host); merged != JobResult::kSuccess) {
            CancelChange(host);
            return merged;
        }
    }
    ForgetDisplaced();
    KeepWholeView();
    ClampPositions();
    if (!path.isEmpty()) {
        CheckDiskSpace(sound, QFileInfo(path).absolutePath(),
                       QString::fromLatin1(kMightNotBeSavedText).arg(title), host.Messages());
    }
    host.DocumentChanged(*this);
    host.Refresh(*this);
    if (GetSettingBool(QStringLiteral("Settings"), QStringLiteral("AutoPlaybackAfterEffects"), false))
        host.PlaySelection(*this);
    return JobResult::kSuccess;
}

// Who saw all of the sound sees all of it after a change, too.
void LSoundDocument::KeepWholeView() {
    const LUndoEntry& before = Entry(undoIndex);
    const LSound& edited = before.channelSound ? *before.channelSound : before.sound;
    if (viewStart == 0 && viewEnd == before.state.viewEnd && viewEnd >= edited.Length())
        viewEnd = Edited().Length();
}

void LSoundDocument::CancelChange(LEditHost& host) {
    TakeBack();
    host.DocumentChanged(*this);
    host.Refresh(*this);
}

void LSoundDocument::AdjustPositionsAfterDelete(int64_t start, int64_t end) {
    for (int64_t* position : {&selectionStart, &selectionEnd, &cursor})
        *position = AfterDelete(*position, start, end);
}

void LSoundDocument::ClampPositions() {
    const int64_t length = Edited().Length();
    for (int64_t* position : {&selectionStart, &selectionEnd, &cursor, &viewStart, &viewEnd})
        *position = std::clamp<int64_t>(*position, 0, length);
}

}  // namespace ondarix
