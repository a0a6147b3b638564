// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/clipboard.h"

#include <algorithm>

#include "gen/text.h"

namespace ondarix {

void LClipboardStore::SelectSlot(int slot) {
    currentSlot = slot;
    const LFacts& facts = facts_[static_cast<size_t>(slot)];
    sourceName = facts.name;
    sourceStartMs = facts.startMs;
    sourceEndMs = facts.endMs;
    isWholeFile = facts.isWhole;
}

void LClipboardStore::StoreClip(const LSound& sound, const QString& name, int64_t startMs, int64_t endMs,
                                bool isWhole) {
    LSound& slot = slots_[static_cast<size_t>(nextSlot)];
    slot = sound;
    slot.SetLosslessMode(nullptr);  // the clip stays as it was copied
    facts_[static_cast<size_t>(nextSlot)] = {CutToFixedText(name), startMs, endMs, isWhole};
    SelectSlot(nextSlot);
    nextSlot = (nextSlot + 1) % kSlots;
    usedSlots = std::min(usedSlots + 1, kSlots);
    if (system_) system_->Announce(*this);
}

bool LClipboardStore::IsOwnClip() const { return usedSlots > 0 && (!system_ || system_->OffersOwnClip()); }

bool LClipboardStore::HasClip() const { return IsOwnClip() || (system_ && system_->OffersSound()); }

bool LClipboardStore::HasOnlyText() const { return !HasClip() && system_ && system_->OffersText(); }

JobResult LClipboardStore::FetchClip(LSound& out, LProgress& progress) {
    if (IsOwnClip()) {
        out = Current();
        return JobResult::kSuccess;
    }
    if (!system_ || !system_->OffersSound()) return JobResult::kCancelled;
    return system_->FetchSound(out, progress);
}

bool LClipboardStore::PreviousClip() {
    if (usedSlots == 0) return false;
    SelectSlot((currentSlot + usedSlots - 1) % usedSlots);
    return true;
}

void LClipboardStore::ReplaceCurrent(const LSound& sound) {
    if (usedSlots > 0) slots_[static_cast<size_t>(currentSlot)] = sound;
}

void LClipboardStore::Clear() {
    slots_ = {};
    facts_ = {};
    nextSlot = usedSlots = 0;
    SelectSlot(0);
}

LClipboardStore& Clipboard() {
    static LClipboardStore store;
    return store;
}

}  // namespace ondarix
