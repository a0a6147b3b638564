// SPDX-License-Identifier: GPL-3.0-or-later
// The edit commands on a document. Each makes its checks, pushes one undo entry, changes sound, marks,
// selection and cursor together, and shows the result through the host. kSuccess: done. kCancelled: nothing
// to do, refused by a check or by the user. kFailed: after a message. Otherwise than with kSuccess document
// and history are as before.
#pragma once
#include "sound/clipboard.h"
#include "sound/edit_host.h"

namespace ondarix {

inline constexpr const char* kMaxLengthTitle = "Max file length reached";
inline constexpr const char* kMaxLengthText = "File length exceeds maximum limit. Please use a smaller file.";

// Before any command that changes a sound: not empty (unless `emptyToo`), room on the working disk, and the
// host has stopped what plays or records.
bool MayChange(LSoundDocument& document, LEditHost& host, bool emptyToo = false);
// `added` frames more, told when there is no room for them.
bool HasRoomFor(const LSoundDocument& document, int64_t added, LEditHost& host);
// The frame around any change: BeginChange, `change`, EndChange or CancelChange. `change` alters sound,
// marks and selection.
JobResult Change(LSoundDocument& document, const QString& label, LEditHost& host,
                 const std::function<JobResult()>& change);

// Selects everything first when nothing is selected.
JobResult CopySelection(LSoundDocument& document, LEditHost& host, LClipboardStore& clipboard);
JobResult CutSelection(LSoundDocument& document, LEditHost& host, LClipboardStore& clipboard);
JobResult DeleteSelection(LSoundDocument& document, LEditHost& host);
// Over the selection, or at `start` with everything up to `end` replaced; -1, -1: at the selection or cursor.
JobResult PasteClip(LSoundDocument& document, LEditHost& host, LClipboardStore& clipboard, int64_t start = -1,
                    int64_t end = -1);
// PasteClip with the clip before the current one of the ring. Straight after a paste, while what was pasted
// is still selected, the older clip takes its place: one undo entry for both.
JobResult PasteCycle(LSoundDocument& document, LEditHost& host, LClipboardStore& clipboard);
// Hook of speaking a text; null: text on the clipboard is not pasted.
extern JobResult (*gSynthesizeSpeech)(const QString& text, LSound& out, LProgress& progress);
// A new document with the clip, or with a copy of the selection; `title` is its name.
JobResult PasteToNew(LEditHost& host, LClipboardStore& clipboard, const QString& title);
JobResult CopyToNew(LSoundDocument& document, LEditHost& host, const QString& title);
// A copy of the selection, of everything when nothing is selected, comes right behind it and is selected.
JobResult DuplicateSelection(LSoundDocument& document, LEditHost& host);
// The selection starts at what is frame `target` now. A target inside the selection is no move.
JobResult MoveSelection(LSoundDocument& document, LEditHost& host, int64_t target);
// Hook of mixing a clip into the sound, with the frame around the change; null: PasteMix answers kCancelled.
extern JobResult (*gPasteMix)(LSoundDocument& document, LEditHost& host, const LSound& clip);
JobResult PasteMix(LSoundDocument& document, LEditHost& host, LClipboardStore& clipboard);
// Hook of deleting a band of the spectrum from the selected range, whose length stays; inside the change that
// DeleteSelection makes. Null: kCancelled.
extern JobResult (*gDeleteBand)(LSoundDocument& document, LEditHost& host);

JobResult TrimToSelection(LSoundDocument& document, LEditHost& host);
JobResult TrimStart(LSoundDocument& document, LEditHost& host);  // before the selection or cursor
JobResult TrimEnd(LSoundDocument& document, LEditHost& host);    // behind the selection or cursor
JobResult SilenceSelection(LSoundDocument& document, LEditHost& host);
JobResult InsertSilence(LSoundDocument& document, LEditHost& host, int64_t pos, int64_t frames);
// Any sound, converted to the document's format where it differs; an empty document takes its format. What
// was put in is selected. `markName` not empty: marked as a pasted clip of that name.
JobResult InsertSound(LSoundDocument& document, LEditHost& host, const LSound& inserted, int64_t start,
                      int64_t end, const QString& label, const QString& markName = {},
                      LSound* converted = nullptr);
// The selection ends up times + 1 times in a row.
JobResult RepeatLoop(LSoundDocument& document, LEditHost& host, int64_t times);
JobResult ConvertSampleRate(LSoundDocument& document, LEditHost& host, int32_t rate);
JobResult ConvertChannels(LSoundDocument& document, LEditHost& host, int channels);
// The sounds of `others`, in order, behind this one, label "Join".
JobResult JoinSounds(LSoundDocument& document, LEditHost& host, const std::vector<LSound>& others);

// One step, to a slot, or to the last saved state; shown through the host.
bool UndoChange(LSoundDocument& document, LEditHost& host, int target = -1);
bool RedoChange(LSoundDocument& document, LEditHost& host, int target = -1);
bool RevertDocument(LSoundDocument& document, LEditHost& host);
// To a slot on either side; true also when its state is the present one.
bool GoToChange(LSoundDocument& document, LEditHost& host, int slot);

// --- One channel alone (sound/channel_edit.cpp). Bookmarks and regions name places of the whole sound, whose
// other channels do not move: edits of one channel leave them where they are. A command that changes the
// format, or joins, ends the editing of one channel.

// channel -1: the whole sound again. kSuccess also when that is the state already.
JobResult EditChannel(LSoundDocument& document, LEditHost& host, int channel);
// The samples of one channel, mono; rendered.
JobResult ExtractChannel(const LSound& sound, int channel, LSound& out, LProgress& progress);
// `whole` with one channel replaced by the mono `replacement`; the longer of both lengths, the rest of the
// shorter being silence.
JobResult ReplaceChannel(const LSound& whole, int channel, const LSound& replacement, LSound& out,
                         LProgress& progress);
// Samples drawn by hand: `frames` interleaved frames (of the channel that is edited alone) from `start`,
// label "Edit Samples".
JobResult WriteSamples(LSoundDocument& document, LEditHost& host, int64_t start, const float* samples,
                       int64_t frames);

}  // namespace ondarix
