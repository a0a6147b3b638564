// SPDX-License-Identifier: GPL-3.0-or-later
// The edits that copy, and those that put a copy in.
#include <algorithm>
#include <utility>

#include "gen/settings.h"
#include "sound/edit_steps.h"

namespace ondarix {

JobResult (*gPasteMix)(LSoundDocument& document, LEditHost& host, const LSound& clip) = nullptr;
JobResult (*gSynthesizeSpeech)(const QString& text, LSound& out, LProgress& progress) = nullptr;

namespace {

bool MarksPastedClips() {
    return GetSettingBool(QStringLiteral("Settings"), QStringLiteral("MarkPastedClip"), true);
}

void MarkClip(LSoundDocument& document, int64_t start, const QString& clipName) {
    const QString comment = QStringLiteral("PastedClip");
    LBookmark mark;
    mark.name = clipName.isEmpty() ? comment : clipName;
    if (HasBookmark(document.bookmarks, mark.name))
        mark.name = FreeBookmarkName(document.bookmarks, mark.name);
    mark.comment = comment;
    mark.index = NextBookmarkIndex(document.bookmarks);
    mark.SetPosition(start, document.sound.sampleRate);
    document.bookmarks.push_back(mark);
}

void TakeOver(LSoundDocument& document, const LSound& inserted) {
    LSound taken = inserted;
    taken.SetLosslessMode(document.sound.losslessMode);
    // Bookmarks outlive the sound, at frame 0, and count in its rate.
    ScaleBookmarks(document.bookmarks, taken.sampleRate, document.sound.sampleRate);
    document.sound = std::move(taken);
    document.Select(0, inserted.Length());
}

JobResult SpeakText(LEditHost& host, const QString& text, LSound& out) {
    if (!gSynthesizeSpeech || text.isEmpty()) return JobResult::kCancelled;
    const int answer = host.Messages().Ask(
        QStringLiteral("Synthesize Speech?"),
        QStringLiteral("The clipboard contains text, not audio. Would you like to synthesize "
                       "the text to speech and paste it into your file?"),
        {QStringLiteral("Yes"), QStringLiteral("No")}, 1);
    if (answer != 0) return JobResult::kCancelled;
    return host.RunJob(QStringLiteral("Paste"),
                       [&](LProgress& progress) { return gSynthesizeSpeech(text, out, progress); });
}

// The clip that "Paste" sees, or the spoken text; kCancelled where there is neither.
JobResult FetchForPaste(LEditHost& host, LClipboardStore& clipboard, LSound& clip) {
    JobResult result = JobResult::kCancelled;
    if (clipboard.IsOwnClip()) {
        LNullProgress nobody;
        result = clipboard.FetchClip(clip, nobody);
    } else if (clipboard.HasClip()) {
        result = host.RunJob(QStringLiteral("Pasting audio..."),
                             [&](LProgress& progress) { return clipboard.FetchClip(clip, progress); });
    } else if (clipboard.HasOnlyText()) {
        result = SpeakText(host, clipboard.System()->Text(), clip);
    }
    if (result == JobResult::kSuccess && clip.Length() == 0) return JobResult::kCancelled;
    return result;
}

// `clip` at [start, end), or at the selection, remembered for "Paste Cycle".
JobResult PasteAt(LSoundDocument& document, LEditHost& host, LClipboardStore& clipboard, const LSound& clip,
                  bool isOfRing, int64_t start, int64_t end) {
    const LSelection replaced = start < 0 ? document.EditRange() : LSelection{start, end};
    LSound converted;
    QString mark;
    if (MarksPastedClips()) {
        mark = isOfRing ? clipboard.sourceName : QString();
        if (mark.isEmpty()) mark = QStringLiteral("PastedClip");
    }
    const JobResult result = InsertSound(document, host, clip, replaced.start, replaced.end,
                                         QStringLiteral("Paste"), mark, &converted);
    if (result != JobResult::kSuccess) return result;
    if (isOfRing && converted.Length() > 0) clipboard.ReplaceCurrent(converted);
    document.lastPaste = {document.historySerial, replaced, {document.selectionStart, document.selectionEnd}};
    return result;
}

bool IsStraightAfterPaste(const LSoundDocument& document) {
    const LSoundDocument::LLastPaste& last = document.lastPaste;
    return last.serial != 0 && last.serial == document.historySerial && document.CanUndo() &&
           document.selectionStart == last.pasted.start && document.selectionEnd == last.pasted.end &&
           !document.isFrequencySelection;
}

// The present state of a document, to go back to when an attempt fails.
struct LHeldState {
    explicit LHeldState(const LSoundDocument& document)
        : sound(document.sound), state(document), lastPaste(document.lastPaste) {
        if (document.channelSound) channel = *document.channelSound;
    }
    void PutBack(LSoundDocument& document) const {
        document.sound = sound;
        static_cast<LDocumentState&>(document) = state;
        if (document.channelSound) *document.channelSound = channel;
        document.lastPaste = lastPaste;
        document.lastPaste.serial = document.historySerial;
    }

    LSound sound, channel;
    LDocumentState state;
    LSoundDocument::LLastPaste lastPaste;
};

// The document before the last paste takes `clip`; otherwise than with success that paste is there again.
JobResult PasteInstead(LSoundDocument& document, LEditHost& host, LClipboardStore& clipboard,
                       const LSound& clip) {
    const LHeldState held(document);
    const LSelection place = document.lastPaste.replaced;
    const QString label = document.UndoLabel();
    document.TakeBack();
    const JobResult result = PasteAt(document, host, clipboard, clip, true, place.start, place.end);
    if (result != JobResult::kSuccess) {
        document.PushUndo(label, true);
        held.PutBack(document);
        host.DocumentChanged(document);
        host.Refresh(document);
    }
    return result;
}

}  // namespace

JobResult AddNewDocument(LEditHost& host, const LSound& sound, const QString& title) {
    LSoundDocumentRef document(new LSoundDocument);
    document->sound = sound;
    document->sound.SetLosslessMode(nullptr);
    document->title = title;
    document->isModified = document->isModifiedSinceLastAutosave = true;
    return host.AddDocument(document) ? JobResult::kSuccess : JobResult::kCancelled;
}

JobResult CopySelection(LSoundDocument& document, LEditHost& host, LClipboardStore& clipboard) {
    if (!MayChange(document, host)) return JobResult::kCancelled;
    const int64_t length = document.Edited().Length();
    if (!document.HasSelection()) {
        document.Select(0, length);
        host.Refresh(document);
    }
    const LSelection range = document.EditRange();
    LSound clip;
    document.Edited().CopyRange(range.start, range.end, clip);
    const int32_t rate = document.sound.sampleRate;
    clipboard.StoreClip(clip, document.title, FramesToMs(range.start, rate), FramesToMs(range.end, rate),
                        range.start == 0 && range.end == length);
    return JobResult::kSuccess;
}

JobResult CutSelection(LSoundDocument& document, LEditHost& host, LClipboardStore& clipboard) {
    const bool isBand = document.HasSelection() && document.isFrequencySelection;
    const JobResult copied = CopySelection(document, host, clipboard);
    if (copied != JobResult::kSuccess) return copied;
    if (isBand) return DeleteSelection(document, host);
    return Change(document, QStringLiteral("Cut"), host, [&] {
        DeleteFrames(document, document.selectionStart, document.selectionEnd);
        return JobResult::kSuccess;
    });
}

JobResult InsertSound(LSoundDocument& document, LEditHost& host, const LSound& inserted, int64_t start,
                      int64_t end, const QString& label, const QString& markName, LSound* converted) {
    const int64_t length = document.Edited().Length();
    LSelection range = start < 0 ? document.EditRange() : LSelection{start, std::max(start, end)};
    range = {std::min(range.start, length), std::min(range.end, length)};
    if (inserted.Length() == 0 || !MayChange(document, host, true) ||
        !HasRoomFor(document, inserted.Length(), host)) {
        return JobResult::kCancelled;
    }
    return Change(document, label, host, [&] {
        if (length == 0 && document.channelEditMode == LSoundDocument::kEditsWhole) {
            TakeOver(document, inserted);
            if (!markName.isEmpty()) MarkClip(document, 0, markName);
            return JobResult::kSuccess;
        }
        const LSoundFormat format = document.Edited().Format();
        LSound piece;
        const JobResult result = ConvertForEdit(host, label, inserted, format, piece);
        if (result != JobResult::kSuccess) return result;
        if (!HasRoomFor(document, piece.Length(), host)) return JobResult::kCancelled;
        ReplaceFrames(document, range.start, range.end, piece);
        if (!markName.isEmpty()) MarkClip(document, range.start, markName);
        if (converted && inserted.Format() != format) *converted = std::move(piece);
        return JobResult::kSuccess;
    });
}

JobResult PasteClip(LSoundDocument& document, LEditHost& host, LClipboardStore& clipboard, int64_t start,
                    int64_t end) {
    const bool isOfRing = clipboard.IsOwnClip();
    LSound clip;
    const JobResult fetched = FetchForPaste(host, clipboard, clip);
    if (fetched != JobResult::kSuccess) return fetched;
    return PasteAt(document, host, clipboard, clip, isOfRing, start, end);
}

JobResult PasteCycle(LSoundDocument& document, LEditHost& host, LClipboardStore& clipboard) {
    const int slot = clipboard.currentSlot;
    if (!clipboard.PreviousClip()) return JobResult::kCancelled;
    const LSound clip = clipboard.Current();
    JobResult result = JobResult::kCancelled;
    if (clip.Length() > 0) {
        result = IsStraightAfterPaste(document) ? PasteInstead(document, host, clipboard, clip)
                                                : PasteAt(document, host, clipboard, clip, true, -1, -1);
    }
    if (result != JobResult::kSuccess) clipboard.SelectSlot(slot);
    return result;
}

JobResult PasteToNew(LEditHost& host, LClipboardStore& clipboard, const QString& title) {
    LSound clip;
    const JobResult fetched = FetchForPaste(host, clipboard, clip);
    return fetched == JobResult::kSuccess ? AddNewDocument(host, clip, title) : fetched;
}

JobResult CopyToNew(LSoundDocument& document, LEditHost& host, const QString& title) {
    const LSelection range = SelectionOrAll(document);
    if (range.IsEmpty()) return JobResult::kCancelled;
    LSound copy;
    document.Edited().CopyRange(range.start, range.end, copy);
    return AddNewDocument(host, copy, title);
}

JobResult DuplicateSelection(LSoundDocument& document, LEditHost& host) {
    const LSelection range = SelectionOrAll(document);
    if (!MayChange(document, host) || !HasRoomFor(document, range.Length(), host))
        return JobResult::kCancelled;
    return Change(document, QStringLiteral("Duplicate"), host, [&] {
        LSound copy;
        document.Edited().CopyRange(range.start, range.end, copy);
        ReplaceFrames(document, range.end, range.end, copy);
        return JobResult::kSuccess;
    });
}

JobResult PasteMix(LSoundDocument& document, LEditHost& host, LClipboardStore& clipboard) {
    if (!gPasteMix || !MayChange(document, host)) return JobResult::kCancelled;
    LSound clip;
    const JobResult fetched = FetchForPaste(host, clipboard, clip);
    return fetched == JobResult::kSuccess ? gPasteMix(document, host, clip) : fetched;
}

}  // namespace ondarix
