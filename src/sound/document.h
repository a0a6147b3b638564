// SPDX-License-Identifier: GPL-3.0-or-later
// An open file: its sound, what is selected in it, its bookmarks and regions, and the whole history of its
// changes. Main thread only. The commands on it are in sound/edits.h and sound/marks.h.
#pragma once
#include <QString>
#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "sound/bookmark.h"
#include "sound/sound.h"

namespace ondarix {

class LEditHost;

// A stretch of frames, `end` exclusive; empty when both are equal.
struct LSelection {
    int64_t start = 0;
    int64_t end = 0;
    bool IsEmpty() const { return end <= start; }
    int64_t Length() const { return end - start; }
};

// All of a document that a change may alter, beside its sound.
struct LDocumentState {
    int64_t selectionStart = 0, selectionEnd = 0;  // frames; equal: nothing is selected, `cursor` counts
    uint32_t frequencyLow = 0, frequencyHigh = 0;  // Hz, of a selection in the spectrum
    bool isFrequencySelection = false;
    int64_t cursor = 0;  // frames; the edge that the keyboard moves while there is a selection
    int64_t viewStart = 0, viewEnd = 0;  // frames in view; equal: never shown yet
    bool isModified = false;             // unsaved changes
    bool isModifiedSinceLastAutosave = false;
    LBookmarks bookmarks;
    LRegions regions;

    // A frequency selection with an empty band is none.
    bool HasSelection() const {
        return selectionStart < selectionEnd && (!isFrequencySelection || frequencyLow != frequencyHigh);
    }
    // The place of an edit: what is selected, otherwise the cursor twice.
    LSelection EditRange() const {
        return HasSelection() ? LSelection{selectionStart, selectionEnd} : LSelection{cursor, cursor};
    }
    // With the cursor at `end`, as after dragging from left to right.
    void Select(int64_t start, int64_t end) {
        selectionStart = start;
        selectionEnd = cursor = end;
        isFrequencySelection = false;
    }
};

// A whole state of the document. The labels say what was done to this state next.
struct LUndoEntry {
    LSound sound;
    LDocumentState state;
    QString label;        // at most 259 UTF-16 units; empty: the slot is empty
    QString timeText;     // local time of the change
    bool isBase = false;  // what the history starts from ("Load File"); the next entry holds the same state
    std::shared_ptr<const LSound> channelSound;  // of a channel that was edited alone; null: none
    int editedChannel = 0;
};

// Shared by atomic count; touched from the main thread only. Derived kinds of container data hang on
// `attachment`.
class LSoundDocument : public LDocumentState {
  public:
    static constexpr int kUndoSlots = 32;  // of which 30 can be undone
    static constexpr int kNoSlot = 32;
    static constexpr int kEditsWhole = 0, kEditsChannel = 2;  // channelEditMode

    LSound sound;
    QString path;       // empty: never saved
    LSourceFacts file;  // of the file at `path` when it was last read or written
    QString title;      // file name, or "Untitled_1"
    bool readOnly = false;
    bool loadFailed = false;
    bool isBusy = false;  // a job works on it (LEditHost::RunDocumentJob): nothing else may change it
    // Data of the container that saving gives back (foreign chunks of a WAV); known to src/formats only.
    std::shared_ptr<void> attachment;

    // --- The frame around every change
    // Pushes the undo entry `label`, marks the document as modified and tells the host.
    void BeginChange(const QString& label, LEditHost& host);
    // Writes an edited channel back (asked first when its length has changed), warns of a disk too full to
    // save to, shows the result. Otherwise than with kSuccess the change is taken back.
    JobResult EndChange(LEditHost& host);
    // The state before BeginChange, and no undo entry.
    void CancelChange(LEditHost& host);
    // What the edit commands change: the sound, or the channel that is edited alone.
    LSound& Edited() { return channelEditMode == kEditsChannel ? *channelSound : sound; }
    const LSound& Edited() const { return const_cast<LSoundDocument*>(this)->Edited(); }
    // For cursor and selection, after [start, end) has gone.
    void AdjustPositionsAfterDelete(int64_t start, int64_t end);
    // Selection, cursor and view moved into the sound as it is now.
    void ClampPositions();

    // --- The ring of whole states. The present state has the slot undoIndex + 1, which is filled by the next
    // push or undo. Menu texts: "Undo %s" with UndoLabel().

    // Stores the present state and ends what could be redone. The first entry of all, without `markModified`,
    // is the base: it can not be undone.
    void PushUndo(const QString& label, bool markModified);
    // Withdraws the entry just pushed; the present state stays, its modified flags and the rest of the
    // history are as before the push.
    void PopUndo();
    // Back to the newest entry, which is withdrawn: as if that change had never been made.
    void TakeBack();
    bool CanUndo() const;
    bool CanRedo() const;
    // One step, or to a slot of the ring: true when there was such a step. Afterwards the front shows the
    // state (LEditHost::Refresh).
    bool Undo(int target = -1);
    bool Redo(int target = -1);
    // Of the change that would be undone or made again; empty: none.
    QString UndoLabel() const;
    QString RedoLabel() const;
    void MarkSaved();
    // No file holds any of the states any more.
    void MarkUnsaved();
    // The state saved last, or the one loaded while the file is still there; false when it is the present
    // one.
    bool CanRevertToSaved();
    // Of that state; null where there is none to go back to. Until the history changes.
    const LSound* SavedSound() { return CanRevertToSaved() ? &SavedEntry()->sound : nullptr; }
    bool RevertToSaved();
    // To the state of a slot on either side, as the list of the history does.
    bool GoTo(int slot);
    // Labelled slots from the oldest on, in order.
    std::vector<int> HistorySlots() const;
    const LUndoEntry& Entry(int slot) const { return undo[static_cast<size_t>(slot) % kUndoSlots]; }

    std::array<LUndoEntry, kUndoSlots> undo;
    int undoIndex = 0;   // of the newest entry pushed
    int undoOldest = 0;  // of the oldest that lives
    int savedIndex = kNoSlot;
    uint64_t historySerial = 0;  // another value after each change, undo, redo and save

    // What "Paste Cycle" may take back: the paste that brought historySerial to `serial`.
    struct LLastPaste {
        uint64_t serial = 0;
        LSelection replaced, pasted;
    } lastPaste;

    // --- One channel edited as a sound of its own
    int channelEditMode = kEditsWhole;
    int editedChannel = 0;                 // from 0
    std::unique_ptr<LSound> channelSound;  // mono; null unless kEditsChannel

    std::atomic<uint32_t> refCount{0};

  private:
    void Store(LUndoEntry& entry, const QString& label) const;
    void RestoreFrom(const LUndoEntry& entry, const LDocumentState& selectionOf);
    void CapturePresent();
    void Displace(int slot);
    void ForgetDisplaced();
    const LUndoEntry* SavedEntry();
    int PlaceOf(int slot) const;  // counted from the oldest
    JobResult MergeChannel(LEditHost& host);
    void KeepWholeView();

    // What the newest push has put away, until the change is known to stay.
    struct LDisplaced {
        std::vector<std::pair<int, LUndoEntry>> entries;
        int undoIndex = 0, undoOldest = 0, savedIndex = kNoSlot;
        bool canReturn = false;
    } displaced_;
    std::unique_ptr<LUndoEntry> savedApart_;  // the saved state, when the ring has lost it
};

class LSoundDocumentRef {
  public:
    LSoundDocumentRef() = default;
    explicit LSoundDocumentRef(LSoundDocument* document) : document_(document) { Add(); }
    LSoundDocumentRef(const LSoundDocumentRef& other) : document_(other.document_) { Add(); }
    LSoundDocumentRef(LSoundDocumentRef&& other) noexcept : document_(other.document_) {
        other.document_ = nullptr;
    }
    LSoundDocumentRef& operator=(LSoundDocumentRef other) noexcept {
        std::swap(document_, other.document_);
        return *this;
    }
    ~LSoundDocumentRef() { Release(); }
    LSoundDocument* operator->() const { return document_; }
    LSoundDocument& operator*() const { return *document_; }
    LSoundDocument* Get() const { return document_; }
    explicit operator bool() const { return document_ != nullptr; }

  private:
    void Add() {
        if (document_) document_->refCount.fetch_add(1, std::memory_order_relaxed);
    }
    void Release() {
        if (document_ && document_->refCount.fetch_sub(1, std::memory_order_acq_rel) == 1) delete document_;
        document_ = nullptr;
    }
    LSoundDocument* document_ = nullptr;
};

}  // namespace ondarix
