// SPDX-License-Identifier: GPL-3.0-or-later
// What the commands do: one function each, in a table of each family, found by number. Their needs are met
// when they are called. [ui]
#pragma once
#include <optional>
#include <span>

#include "app/frame.h"

namespace ondarix {

struct LCommandCall {
    LMainFrame& frame;
    int id;
    LSoundWindow* sound;  // the active one; null: none is open

    LSoundDocument& Document() const { return sound->Document(); }
    LEditHost& Host() const { return frame.EditHost(); }
};

struct LCommandHandler {
    int id;
    void (*run)(LCommandCall& call);
};

std::span<const LCommandHandler> FileHandlers();
std::span<const LCommandHandler> EditHandlers();
std::span<const LCommandHandler> SelectHandlers();
std::span<const LCommandHandler> SplitHandlers();
std::span<const LCommandHandler> ControlHandlers();
std::span<const LCommandHandler> PlayHandlers();
std::span<const LCommandHandler> ViewHandlers();
std::span<const LCommandHandler> MarkHandlers();
std::span<const LCommandHandler> ToolHandlers();
std::span<const LCommandHandler> EffectHandlers();
std::span<const LCommandHandler> MixHandlers();  // envelope, crossfades, mixing
const LCommandHandler* FindHandler(int id);      // null: nothing carries it out

// Between the first and the second position marked in a sound; empty without both.
std::optional<LSelection> MarkedRange(const LSoundWindow& sound);
// Of the stored play speed 0 to 8.
int SpeedCommand(int index);
// Where the user is in the active sound: what is heard of it, otherwise its cursor.
int64_t PlaceHere(LCommandCall& call);
// Plays on from there where the active sound plays or is paused; otherwise as GoTo.
void GoOrSeek(LCommandCall& call, int64_t frame);
// Moves the cursor there, nothing selected, and the view with it.
void GoTo(LSoundWindow& sound, int64_t frame);

}  // namespace ondarix
