// SPDX-License-Identifier: GPL-3.0-or-later
// Copied clips. A clip is a list over working files that live as long as its slot holds it, so it survives
// the closing of its source and costs no samples; other programs get them only when they ask.
#pragma once
#include <QString>
#include <array>
#include <cstdint>

#include "sound/edit_host.h"
#include "sound/sound.h"

namespace ondarix {

class LClipboardStore;

// The clipboard of the desktop, as the store sees it.
class LSystemClipboard {
  public:
    virtual ~LSystemClipboard() = default;
    virtual bool OffersOwnClip() const = 0;  // the newest copy on it is this program's clip
    virtual bool OffersSound() const = 0;    // of another program
    virtual bool OffersText() const = 0;
    virtual QString Text() const = 0;
    // Empties it and offers the store's current clip, rendered when it is asked for. False: it cannot be had.
    virtual bool Announce(LClipboardStore& store) = 0;
    // Another program's sound, through a temporary file.
    virtual JobResult FetchSound(LSound& out, LProgress& progress) = 0;
};

class LClipboardStore {
  public:
    static constexpr int kSlots = 10;

    // Without a desktop the ring alone is the clipboard. `system` must outlive the store's use.
    void SetSystem(LSystemClipboard* system) { system_ = system; }
    LSystemClipboard* System() const { return system_; }

    void StoreClip(const LSound& sound, const QString& name, int64_t startMs, int64_t endMs, bool isWhole);
    // Anything that "Paste" can take, text not counted.
    bool HasClip() const;
    // Text and no sound.
    bool HasOnlyText() const;
    // The clip that "Paste" sees, a copy.
    JobResult FetchClip(LSound& out, LProgress& progress);
    // "Paste Cycle": the slot before the current one, from 0 round to the newest of the used. False: none.
    bool PreviousClip();
    void SelectSlot(int slot);  // 0 to usedSlots - 1
    // The converted sound takes the current slot's place, so that the next paste need not convert. Only
    // where the clip came from the ring.
    void ReplaceCurrent(const LSound& sound);
    // Whether FetchClip would take the ring's own.
    bool IsOwnClip() const;
    const LSound& Current() const { return slots_[static_cast<size_t>(currentSlot)]; }
    void Clear();

    int nextSlot = 0, currentSlot = 0, usedSlots = 0;
    // Of the clip in the current slot.
    QString sourceName;  // file name of the copied clip, at most 259 units
    int64_t sourceStartMs = 0, sourceEndMs = 0;
    bool isWholeFile = false;

  private:
    struct LFacts {
        QString name;
        int64_t startMs = 0, endMs = 0;
        bool isWhole = false;
    };

    std::array<LSound, kSlots> slots_;
    std::array<LFacts, kSlots> facts_;
    LSystemClipboard* system_ = nullptr;
};

// The one of the program, built at first use. Its clips refer to working files: Clear() before the cache is
// closed for good lets go of them.
LClipboardStore& Clipboard();

}  // namespace ondarix
