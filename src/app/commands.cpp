// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/commands.h"

namespace ondarix {
namespace {

using enum LMenuId;
using enum LNeed;

constexpr LCommandRow kCommands[] = {
    {kCmdOpen, kFile, "&Open File...", "open", "Ctrl+O", kNothing, kInToolbar},
    {kCmdSave, kFile, "&Save File", "save", "Ctrl+S", kSound, kSeparatorBefore | kInToolbar},
    {kCmdSaveAs, kFile, "Save File &As...", "saveas", "Ctrl+Shift+S", kSound, kInToolbar},
    {kCmdSaveAll, kFile, "Save A&ll Files", "", "", kSound, kPlain},
    {kCmdClose, kFile, "&Close File", "close", "Ctrl+W; Ctrl+F4", kSound, kSeparatorBefore},
    {kCmdCloseAll, kFile, "Close All", "", "Ctrl+Shift+W", kSound, kPlain},
    {kCmdExit, kFile, "E&xit", "", "Ctrl+Q", kNothing, kSeparatorBefore | kRecentBefore},

    {kCmdCut, kEdit, "Cu&t", "cut", "Ctrl+X", kSelection, kSeparatorBefore | kInToolbar},
    {kCmdCopy, kEdit, "&Copy", "copy", "Ctrl+C", kSelection, kInToolbar},
    {kCmdPaste, kEdit, "&Paste", "paste", "Ctrl+V", kClip, kInToolbar},
    {kCmdPasteToNew, kEdit, "Paste to &New", "", "Ctrl+Shift+V", kClip, kPlain},
    {kCmdDelete, kEdit, "&Delete", "delete", "Del", kSelection, kInToolbar},
    {kCmdTrim, kEdit, "&Trim (Delete All but the Current Selection)", "trim", "Ctrl+T", kSelection,
     kSeparatorBefore | kInToolbar},
    {kCmdSilence, kEdit, "&Silence current selection", "silence", "Ctrl+0", kSelection, kInToolbar},
    {kCmdSelectAll, kEdit, "Select &All", "selectall", "Ctrl+A", kSound, kSeparatorBefore},
    {kCmdSelectNone, kEdit, "Select N&one", "", "Ctrl+Shift+A", kSound, kPlain},

    {kCmdZoomIn, kView, "Zoom &In", "zoomin", "Ctrl++; Ctrl+=", kSound, kSeparatorBefore | kInToolbar},
    {kCmdZoomOut, kView, "Zoom &Out", "zoomout", "Ctrl+-", kSound, kInToolbar},
    {kCmdZoomFull, kView, "Zoom &Full", "zoomfull", "Ctrl+Shift+F", kSound, kInToolbar},
    {kCmdZoomToSelection, kView, "Zoom to &Selection", "zoomselection", "Ctrl+Shift+Z", kSelection,
     kInToolbar},
    {kCmdVerticalIn, kView, "&Vertical Zoom In", "verticalin", "Ctrl+Up", kSound,
     kSeparatorBefore | kInToolbar},
    {kCmdVerticalOut, kView, "Vertical Zoom O&ut", "verticalout", "Ctrl+Down", kSound, kInToolbar},
    {kCmdVerticalDefault, kView, "Vertical Zoom &Default", "", "", kSound, kPlain},
    {kCmdShowDb, kView, "&Amplitude in dB", "", "", kNothing, kCheckable},
    {kCmdThemeSystem, kView, "Theme of the S&ystem", "", "", kNothing, kSeparatorBefore | kCheckable},
    {kCmdThemeLight, kView, "&Light Theme", "", "", kNothing, kCheckable},
    {kCmdThemeDark, kView, "Dar&k Theme", "", "", kNothing, kCheckable},
    {kCmdTile, kView, "&Tile Windows", "", "", kSound, kSeparatorBefore},
    {kCmdCascade, kView, "&Cascade Windows", "", "", kSound, kPlain},

    {kCmdAbout, kHelp, "&About Ondarix", "", "", kNothing, kPlain},
};

}  // namespace

std::span<const LCommandRow> CommandTable() { return kCommands; }

const LCommandRow* FindCommand(int id) {
    for (const LCommandRow& row : kCommands)
        if (row.id == id) return &row;
    return nullptr;
}

}  // namespace ondarix
