// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/commands.h"

namespace ondarix {
namespace view_rows {

using enum LNeed;
using enum LSubsystem;
constexpr LMenuId kIn = LMenuId::kView;

constexpr LCommandRow kViewRows[] = {
    {kCmdZoomIn, kIn, 0, "Zoom &In", "zoomin", "Ctrl++; Ctrl+=; +; =", kSound,
     kSeparatorBefore | kInToolbar | kInPanel},
    {kCmdZoomOut, kIn, 0, "Zoom &Out", "zoomout", "Ctrl+-; -", kSound, kInToolbar | kInPanel},
    {kCmdZoomFull, kIn, 0, "Zoom &Full", "zoomfull", "Ctrl+Shift+F", kSound, kInToolbar | kInContext},
    {kCmdZoomToSelection, kIn, 0, "Zoom to &Selection", "zoomselection", "Ctrl+Shift+Z", kSelection,
     kInToolbar | kInContext | kInPanel},
    {kCmdVerticalIn, kIn, 0, "&Vertical Zoom In", "verticalin", "Ctrl+Up", kSound,
     kSeparatorBefore | kInToolbar},
    {kCmdVerticalOut, kIn, 0, "Vertical Zoom O&ut", "verticalout", "Ctrl+Down", kSound, kInToolbar},
    {kCmdVerticalDefault, kIn, 0, "Vertical Zoom &Default", "", "Ctrl+Shift+0", kSound},
    {kCmdZoomToDb, kIn, 0, "Zoom to d&B Range...", "", "", kSound},
    {kCmdMonoView, kIn, 0, "&Mono View", "", "", kSound, kSeparatorBefore | kCheckable},
    {kCmdMultiChannelView, kIn, 0, "Multi-Channel View", "", "", kSound, kCheckable},
    {kCmdShowDb, kIn, 0, "&Amplitude in dB", "", "", kNothing, kCheckable},
    {kCmdThemeSystem, kIn, 0, "Theme of the S&ystem", "", "", kNothing, kSeparatorBefore | kCheckable},
    {kCmdThemeLight, kIn, 0, "&Light Theme", "", "", kNothing, kCheckable},
    {kCmdThemeDark, kIn, 0, "Dar&k Theme", "", "", kNothing, kCheckable},
    {kCmdHideTools, kIn, 0, "&Hide top tools context menu", "", "Ctrl+F1", kNothing,
     kSeparatorBefore | kCheckable},
    {kCmdSidePanel, kIn, 0, "Side &Panel", "panel", "F9", kNothing, kCheckable},
    {kCmdPlayerBar, kIn, 0, "Player", "", "", kNothing, kCheckable, kPlayback},
    {5029, kIn, 0, "Show All Effects...", "", "", kNothing, kPlain, kCleanup},
    {kCmdTabs, kIn, 0, "Sounds as Tabs", "tabs", "", kNothing, kSeparatorBefore | kCheckable | kInToolbar},
    {kCmdTile, kIn, 0, "&Tile Windows", "tile", "", kSound, kInToolbar},
    {kCmdCascade, kIn, 0, "&Cascade Windows", "", "", kSound},
    {kCmdNextSound, kIn, 0, "&Next Sound", "", "Ctrl+F6", kSeveral},
    {kCmdPreviousSound, kIn, 0, "P&revious Sound", "", "Ctrl+Shift+F6", kSeveral},
};

}  // namespace view_rows

std::span<const LCommandRow> ViewCommandRows() { return view_rows::kViewRows; }

}  // namespace ondarix
