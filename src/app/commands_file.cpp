// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/commands.h"

namespace ondarix {
namespace file_rows {

using enum LNeed;
using enum LSubsystem;
constexpr LMenuId kIn = LMenuId::kFile;

constexpr LCommandRow kFileRows[] = {
    {kCmdNewFile, kIn, 0, "&New File...", "new", "Ctrl+N", kNothing, kInToolbar | kInPanel},
    {kCmdNewInWindow, kIn, 0, "New File in New &Window...", "", "Ctrl+Shift+N", kNothing},
    {kCmdOpen, kIn, 0, "&Open File...", "open", "Ctrl+O", kNothing, kInToolbar | kInPanel},
    {kCmdOpenInWindow, kIn, 0, "Open File in New W&indow...", "", "Ctrl+Shift+O", kNothing},
    {kCmdSave, kIn, 0, "&Save File", "save", "Ctrl+S", kSound, kSeparatorBefore | kInToolbar | kInPanel},
    {kCmdSaveAs, kIn, 0, "Save File &As...", "saveas", "Ctrl+Shift+S", kSound, kInToolbar | kInPanel},
    {kCmdSaveAll, kIn, 0, "Save A&ll Files", "", "Ctrl+Alt+S", kSound},
    {kCmdPreviewSaved, kIn, 0, "Preview Waveform from Previous Save", "", "", kRevert, kPlain, kPlayback},
    {kCmdClose, kIn, 0, "&Close File", "close", "Ctrl+W; Ctrl+F4", kSound, kSeparatorBefore | kInToolbar},
    {kCmdCloseAll, kIn, 0, "Close All", "", "Ctrl+Shift+W", kSound},
    {1011, kIn, 0, "Open Project...", "", "", kNothing, kSeparatorBefore, kProjects},
    {1012, kIn, 0, "Close Project", "", "", kNothing, kPlain, kProjects},
    {1013, kIn, 0, "Save Project", "", "", kNothing, kPlain, kProjects},
    {1014, kIn, 0, "Save Project As...", "", "", kNothing, kPlain, kProjects},
    {1007, kIn, 0, "Load Audio CD Track(s)...", "", "", kNothing, kSeparatorBefore, kDisc},
    {kCmdConvertRate, kIn, 0, "Convert Sample &Rate...", "rate", "", kSound, kSeparatorBefore | kInToolbar},
    {kCmdHeading, kIn, 0, "Convert C&hannels", "", "", kNothing},
    {kCmdMono, kIn, 1, "&Mono", "mono", "", kNothing},
    {kCmdStereo, kIn, 1, "&Stereo", "stereo", "", kNothing},
    {kCmdQuad, kIn, 1, "&Quad", "quad", "", kSound},
    {1018, kIn, 0, "Edit Audio Ta&gs...", "", "", kSound, kPlain, kTags},
    {kCmdExit, kIn, 0, "E&xit", "", "Ctrl+Q", kNothing, kSeparatorBefore | kRecentBefore},
};

}  // namespace file_rows

std::span<const LCommandRow> FileCommandRows() { return file_rows::kFileRows; }

}  // namespace ondarix
