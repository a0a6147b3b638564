// SPDX-License-Identifier: GPL-3.0-or-later
// The commands of the frame, one row each: menu, toolbar, shortcut and availability follow from it. Numbers
// are permanent.
#pragma once
#include <cstdint>
#include <span>

namespace ondarix {

enum LCommand : int {
    kCmdExit = 801,
    kCmdOpen = 1002,
    kCmdClose = 1003,
    kCmdSave = 1004,
    kCmdSaveAs = 1005,
    kCmdSaveAll = 1006,
    kCmdCloseAll = 1034,
    kCmdNoRecent = 1081,
    kCmdCut = 2003,
    kCmdCopy = 2004,
    kCmdPaste = 2005,
    kCmdSelectAll = 2006,
    kCmdDelete = 2010,
    kCmdSelectNone = 2011,
    kCmdTrim = 2017,
    kCmdSilence = 2025,
    kCmdPasteToNew = 2053,
    kCmdZoomIn = 5001,
    kCmdZoomOut = 5002,
    kCmdZoomFull = 5003,
    kCmdZoomToSelection = 5007,
    kCmdVerticalIn = 5008,
    kCmdVerticalOut = 5009,
    kCmdVerticalDefault = 5010,
    kCmdShowDb = 5011,
    kCmdThemeSystem = 5015,
    kCmdThemeLight = 5016,
    kCmdThemeDark = 5017,
    kCmdTile = 5018,
    kCmdCascade = 5019,
    kCmdAbout = 9001,
    kCmdMoreRecent = 9049,
    kCmdFirstRecent = 9050,  // and the nine after it
};

enum class LMenuId : uint8_t { kFile, kEdit, kView, kHelp };

// What a command needs to be available.
enum class LNeed : uint8_t { kNothing, kSound, kSelection, kClip };

enum LCommandFlag : uint8_t {
    kPlain = 0,
    kInToolbar = 1,
    kSeparatorBefore = 2,
    kCheckable = 4,
    kRecentBefore = 8,  // the recent files stand before this entry
};

struct LCommandRow {
    int id;
    LMenuId menu;
    const char* text;
    const char* icon;      // "" none
    const char* shortcut;  // portable text, "" none; several separated by "; "
    LNeed need;
    uint8_t flags;
};
std::span<const LCommandRow> CommandTable();
const LCommandRow* FindCommand(int id);  // null: unknown

}  // namespace ondarix
