// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/commands.h"

namespace ondarix {
namespace control_rows {

using enum LNeed;
using enum LSubsystem;
constexpr LMenuId kIn = LMenuId::kControl;
constexpr const char* kMarkHint = "Open an audio file to set bookmark";

constexpr LCommandRow kControlRows[] = {
    {kCmdPlay, kIn, 0, "&Play", "play", "Space; Media Play; Toggle Media Play/Pause", kContent,
     kInToolbar | kInPanel, kPlayback},
    {kCmdPlayAgain, kIn, 0, "Play &Again", "", "Shift+Space", kContent, kPlain, kPlayback},
    {kCmdStop, kIn, 0, "&Stop", "stop", "Esc; Media Stop", kPlaying, kInToolbar | kInPanel, kPlayback},
    {kCmdLoop, kIn, 0, "&Loop Playback", "loop", "", kNothing, kCheckable | kInToolbar, kPlayback},
    {kCmdRewind, kIn, 0, "&Rewind", "rewind", "", kContent, kCheckable, kPlayback},
    {kCmdForward, kIn, 0, "Fast For&ward", "forward", "", kContent, kCheckable, kPlayback},
    {kCmdScrub, kIn, 0, "Scrub", "scrub", "F6", kContent, kCheckable | kInToolbar, kPlayback},
    {kCmdScrubBack, kIn, 0, "Scrub Back", "", "Ctrl+Alt+,", kContent, kPlain, kPlayback},
    {kCmdScrubForward, kIn, 0, "Scrub Forward", "", "Ctrl+Alt+.", kContent, kPlain, kPlayback},
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
    {kCmdNextBookmark, kIn, 0, "Go to ne&xt bookmark", "nextmark", "Alt+Right; Media Next", kSound,
     kSeparatorBefore | kInToolbar, kEditor, kMarkHint},
    {kCmdPreviousBookmark, kIn, 0, "Go to pre&vious bookmark", "previousmark", "Alt+Left; Media Previous",
     kSound, kInToolbar, kEditor, kMarkHint},
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
    {kCmdSpeedTenth, kIn, 1, "0.1x (Slowest)", "", "", kNothing, kCheckable, kPlayback},
    {kCmdSpeedFifth, kIn, 1, "0.2x", "", "", kNothing, kCheckable, kPlayback},
    {kCmdSpeedHalf, kIn, 1, "0.5x", "", "", kNothing, kCheckable, kPlayback},
    {kCmdSpeedNormal, kIn, 1, "1x (Normal)", "", "", kNothing, kCheckable, kPlayback},
    {kCmdSpeedOneAndQuarter, kIn, 1, "1.25x", "", "", kNothing, kCheckable, kPlayback},
    {kCmdSpeedOneAndHalf, kIn, 1, "1.5x", "", "", kNothing, kCheckable, kPlayback},
    {kCmdSpeedDouble, kIn, 1, "2x", "", "", kNothing, kCheckable, kPlayback},
    {kCmdSpeedTriple, kIn, 1, "3x", "", "", kNothing, kCheckable, kPlayback},
    {kCmdSpeedFivefold, kIn, 1, "5x (Fastest)", "", "", kNothing, kCheckable, kPlayback},
};

}  // namespace control_rows

std::span<const LCommandRow> ControlCommandRows() { return control_rows::kControlRows; }

}  // namespace ondarix
