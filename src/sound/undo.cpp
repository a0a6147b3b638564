// SPDX-License-Identifier: GPL-3.0-or-later
// The history of a document: a ring of whole states. Slots undoOldest to undoIndex hold the states that can
// be gone back to, the slot behind them the present one once it is stored, and what follows can be redone. At
// least one slot behind the last is always empty.
#include <QDateTime>
#include <QFileInfo>
#include <algorithm>

#include "gen/text.h"
#include "sound/document.h"

namespace ondarix {

namespace {

constexpr int kUndoRing = LSoundDocument::kUndoSlots;
constexpr int kStepsKept = kUndoRing - 2;

int SlotAt(int index) { return (index % kUndoRing + kUndoRing) % kUndoRing; }

void CopySelectionFields(const LDocumentState& from, LDocumentState& to) {
    to.selectionStart = from.selectionStart;
    to.selectionEnd = from.selectionEnd;
    to.frequencyLow = from.frequencyLow;
    to.frequencyHigh = from.frequencyHigh;
    to.isFrequencySelection = from.isFrequencySelection;
    to.cursor = from.cursor;
}

}  // namespace

void LSoundDocument::Store(LUndoEntry& entry, const QString& label) const {
    entry.sound = sound;
    entry.state = *this;
    if (!HasSelection()) entry.state.selectionStart = entry.state.selectionEnd = cursor;
    entry.label = label.isEmpty() ? QStringLiteral("Change") : CutToFixedText(label);
    entry.timeText = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    entry.channelSound = channelSound ? std::make_shared<const LSound>(*channelSound) : nullptr;
    entry.editedChannel = editedChannel;
}

void LSoundDocument::RestoreFrom(const LUndoEntry& entry, const LDocumentState& selectionOf) {
    sound = entry.sound;
    static_cast<LDocumentState&>(*this) = entry.state;
    CopySelectionFields(selectionOf, *this);
    if (!HasSelection()) selectionEnd = cursor = selectionStart;
    isModifiedSinceLastAutosave = true;  // whatever was true then, the autosave holds another state now
    if (channelEditMode == kEditsChannel) {
        if (entry.channelSound && entry.editedChannel == editedChannel) {
            *channelSound = *entry.channelSound;
        } else {
            channelEditMode = kEditsWhole;
            channelSound.reset();
        }
    }
    ClampPositions();
    ++historySerial;
}

void LSoundDocument::Displace(int slot) {
    LUndoEntry& entry = undo[static_cast<size_t>(slot)];
    if (!entry.label.isEmpty()) displaced_.entries.emplace_back(slot, std::move(entry));
    entry = {};
}

void LSoundDocument::ForgetDisplaced() {
    for (auto& [slot, entry] : displaced_.entries) {
        if (savedIndex == kNoSlot && !savedApart_ && !entry.state.isModified)
            savedApart_ = std::make_unique<LUndoEntry>(std::move(entry));
    }
    displaced_ = {};
}

void LSoundDocument::PushUndo(const QString& label, bool markModified) {
    ForgetDisplaced();
    displaced_.undoIndex = undoIndex;
    displaced_.undoOldest = undoOldest;
    displaced_.savedIndex = savedIndex;
    displaced_.canReturn = true;
    const int before = Entry(undoIndex).label.isEmpty() ? 0 : PlaceOf(undoIndex) + 1;
    const int kept = std::min(before, kStepsKept - 1);
    const int slot = SlotAt(undoIndex + 1);
    for (int ahead = 0; ahead < kUndoRing - kept; ++ahead) Displace(SlotAt(slot + ahead));
    if (savedIndex != slot && savedIndex != kNoSlot && Entry(savedIndex).label.isEmpty())
        savedIndex = kNoSlot;

    LUndoEntry& entry = undo[static_cast<size_t>(slot)];
    Store(entry, label);
    entry.isBase = before == 0 && !markModified;
    undoIndex = slot;
    undoOldest = SlotAt(slot - kept);
    if (markModified) isModified = isModifiedSinceLastAutosave = true;
    ++historySerial;
}

void LSoundDocument::PopUndo() {
    LUndoEntry& entry = undo[static_cast<size_t>(undoIndex)];
    if (entry.label.isEmpty()) return;
    isModified = entry.state.isModified;
    isModifiedSinceLastAutosave = entry.state.isModifiedSinceLastAutosave;
    entry = {};
    if (displaced_.canReturn) {
        for (auto& [slot, old] : displaced_.entries) undo[static_cast<size_t>(slot)] = std::move(old);
        undoIndex = displaced_.undoIndex;
        undoOldest = displaced_.undoOldest;
        savedIndex = displaced_.savedIndex;
        displaced_ = {};
    } else {
        undo[static_cast<size_t>(SlotAt(undoIndex + 1))] = {};
        if (savedIndex == SlotAt(undoIndex + 1)) savedIndex = undoIndex;
        undoIndex = SlotAt(undoIndex - 1);
    }
    ++historySerial;
}

void LSoundDocument::TakeBack() {
    if (Entry(undoIndex).label.isEmpty()) return;
    RestoreFrom(Entry(undoIndex), Entry(undoIndex).state);
    PopUndo();
}

bool LSoundDocument::CanUndo() const {
    const LUndoEntry& entry = Entry(undoIndex);
    return !entry.label.isEmpty() && !entry.isBase;
}

bool LSoundDocument::CanRedo() const { return !Entry(undoIndex + 2).label.isEmpty(); }

QString LSoundDocument::UndoLabel() const { return CanUndo() ? Entry(undoIndex).label : QString(); }

QString LSoundDocument::RedoLabel() const { return CanRedo() ? Entry(undoIndex + 1).label : QString(); }

int LSoundDocument::PlaceOf(int slot) const { return SlotAt(slot - undoOldest); }

void LSoundDocument::CapturePresent() {
    ForgetDisplaced();
    LUndoEntry& entry = undo[static_cast<size_t>(SlotAt(undoIndex + 1))];
    if (entry.label.isEmpty()) Store(entry, QStringLiteral("Redo"));
}

bool LSoundDocument::Undo(int target) {
    if (!CanUndo()) return false;
    if (target < 0) target = undoIndex;
    target = SlotAt(target);
    if (Entry(target).label.isEmpty() || PlaceOf(target) > PlaceOf(undoIndex)) return false;
    CapturePresent();
    if (Entry(target).isBase) target = SlotAt(target + 1);
    RestoreFrom(Entry(target), Entry(target).state);
    undoIndex = SlotAt(target - 1);
    return true;
}

bool LSoundDocument::Redo(int target) {
    if (!CanRedo()) return false;
    ForgetDisplaced();
    const bool oneStep = target < 0;
    target = SlotAt(oneStep ? undoIndex + 2 : target);
    if (Entry(target).label.isEmpty() || PlaceOf(target) <= PlaceOf(undoIndex + 1)) return false;
    RestoreFrom(Entry(target), oneStep ? Entry(target).state : Entry(SlotAt(target - 1)).state);
    undoIndex = SlotAt(target - 1);
    return true;
}

bool LSoundDocument::GoTo(int slot) {
    slot = SlotAt(slot);
    if (Entry(slot).label.isEmpty()) return false;
    if (Entry(slot).isBase) slot = SlotAt(slot + 1);
    const int place = PlaceOf(slot), here = PlaceOf(undoIndex + 1);
    if (place == here) return true;
    return place < here ? Undo(slot) : Redo(slot);
}

std::vector<int> LSoundDocument::HistorySlots() const {
    std::vector<int> slots;
    for (int place = 0; place < kUndoRing; ++place) {
        const int slot = SlotAt(undoOldest + place);
        if (!Entry(slot).label.isEmpty()) slots.push_back(slot);
    }
    return slots;
}

void LSoundDocument::MarkSaved() {
    ForgetDisplaced();
    MarkUnsaved();
    isModified = false;
    savedIndex = SlotAt(undoIndex + 1);
    undo[static_cast<size_t>(savedIndex)].state.isModified = false;
}

void LSoundDocument::MarkUnsaved() {
    for (LUndoEntry& entry : undo) entry.state.isModified = true;
    for (auto& [slot, entry] : displaced_.entries) entry.state.isModified = true;
    displaced_.savedIndex = savedIndex = kNoSlot;
    savedApart_.reset();
    isModified = true;
    ++historySerial;
}

const LUndoEntry* LSoundDocument::SavedEntry() {
    if (savedIndex != kNoSlot) return Entry(savedIndex).label.isEmpty() ? nullptr : &Entry(savedIndex);
    if (path.isEmpty() || !QFileInfo(path).isReadable()) return nullptr;
    const int before = Entry(undoIndex).label.isEmpty() ? 0 : PlaceOf(undoIndex) + 1;
    for (int back = 0; back < before; ++back) {
        const int slot = SlotAt(undoIndex - back);
        if (Entry(slot).state.isModified) continue;
        savedIndex = slot;
        return &Entry(slot);
    }
    return savedApart_.get();
}

bool LSoundDocument::CanRevertToSaved() {
    return isModified && savedIndex != SlotAt(undoIndex + 1) && SavedEntry() != nullptr;
}

bool LSoundDocument::RevertToSaved() {
    if (!CanRevertToSaved()) return false;
    const LUndoEntry saved = *SavedEntry();
    PushUndo(QStringLiteral("Revert"), true);
    RestoreFrom(saved, saved.state);
    isModified = false;
    savedIndex = SlotAt(undoIndex + 1);
    ForgetDisplaced();
    savedApart_.reset();
    return true;
}

}  // namespace ondarix
