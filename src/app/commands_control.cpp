// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/commands.h"

namespace ondarix {
namespace control_rows {

using enum LNeed;
using enum LSubsystem;
constexpr LMenuId kIn = LMenuId::kControl;
constexpr const char* kMarkHint = "Open an audio file to set bookmark";

constexpr LCommandRow kControlRows[] = {
    {3002, kIn, 0, "&Play", "", "Space", kContent, kInToolbar, kPlayback},
    {3020, kIn, 0, "Play &Again", "", "", kContent, kPlain, kPlayback},
    {3006, kIn, 0, "&Stop", "", "", kNothing, kInToolbar, kPlayback},
    {112, kIn, 0, "Scrub", "", "", kContent, kPlain, kPlayback},
    {119, kIn, 0, "Loop Playback", "", "", kContent, kCheckable, kPlayback},
    {kCmdGoToStart, kIn, 0, "&Go To Start", "gotostart", "Home", kSound,
     kSeparatorBefore | kInToolbar | kInPanel},
    {kCmdGoToEnd, kIn, 0, "Go to &End", "gotoend", "End", kSound, kInToolbar | kInPanel},
    {kCmdGoToSelectionStart, kIn, 0, "Go to Selection S&tart", "selectionstart", "Ctrl+Home", kSelection,
     kInToolbar},
    {kCmdGoToSelectionEnd, kIn, 0, "Go to Selection E&nd", "selectionend", "Ctrl+End", kSelection,
     kInToolbar},
    {kCmdPageForward, kIn, 0, "Page &Forward", "pageforward", "PgDown", kSound,
     kSeparatorBefore | kInToolbar},
    {kCmdPageBack, kIn, 0, "Page &Back", "pageback", "PgUp", kSound, kInToolbar},
    {kCmdNextCutpoint, kIn, 0, "Next &Cutpoint", "nextcut", "Ctrl+PgDown", kSound, kInToolbar},
    {kCmdPreviousCutpoint, kIn, 0, "Previous C&utpoint", "previouscut", "Ctrl+PgUp", kSound, kInToolbar},
    {kCmdInchForward, kIn, 0, "&Inch Forward", "", ".", kSound, kSeparatorBefore},
    {kCmdInchBack, kIn, 0, "Inch Bac&k", "", ",", kSound},
    {kCmdFineForward, kIn, 0, "Fine F&orward", "", "Alt+.", kSound},
    {kCmdFineBack, kIn, 0, "Fine Back", "", "Alt+,", kSound},
    {kCmdNextBookmark, kIn, 0, "Go to ne&xt bookmark", "nextmark", "Alt+Right", kSound,
     kSeparatorBefore | kInToolbar, kEditor, kMarkHint},
    {kCmdPreviousBookmark, kIn, 0, "Go to pre&vious bookmark", "previousmark", "Alt+Left", kSound, kInToolbar,
     kEditor, kMarkHint},
    {3026, kIn, 0, "Record - Overdub / Mix", "", "", kSound, kSeparatorBefore, kRecording},
    {3021, kIn, 0, "Record - Voice Activated", "", "", kNothing, kPlain, kRecording},
    {3055, kIn, 0, "Punch", "", "", kSelection, kPlain, kRecording},
    {3049, kIn, 0, "Record Audio Stream", "", "Ctrl+F9", kNothing, kPlain, kRecording},
    {3027, kIn, 0, "Listen while Recording", "", "", kNothing, kCheckable, kRecording},
    {3028, kIn, 0, "Turn Metronome On / Off", "", "", kNothing, kCheckable, kRecording},
    {3031, kIn, 0, "Turn Countdown Time On / Off", "", "", kNothing, kCheckable, kRecording},
    {3029, kIn, 0, "Rec Option", "", "", kNothing, kPlain, kRecording},
    {kCmdCustomKeys, kIn, 0, "Custom Ke&ys", "keys", "Ctrl+Alt+K", kNothing, kSeparatorBefore},
    {kCmdHeading, kIn, 0, "Play Speed", "", "", kNothing, kPlain, kPlayback},
    {3033, kIn, 1, "0.1x (Slowest)", "", "", kNothing, kCheckable, kPlayback},
    {3034, kIn, 1, "0.2x", "", "", kNothing, kCheckable, kPlayback},
    {3003, kIn, 1, "0.5x", "", "", kNothing, kCheckable, kPlayback},
    {3004, kIn, 1, "1x (Normal)", "", "", kNothing, kCheckable, kPlayback},
    {3035, kIn, 1, "1.25x", "", "", kNothing, kCheckable, kPlayback},
    {3005, kIn, 1, "1.5x", "", "", kNothing, kCheckable, kPlayback},
    {3038, kIn, 1, "5x (Fastest)", "", "", kNothing, kCheckable, kPlayback},
};

}  // namespace control_rows

std::span<const LCommandRow> ControlCommandRows() { return control_rows::kControlRows; }

}  // namespace ondarix
