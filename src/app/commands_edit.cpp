// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/commands.h"

namespace ondarix {
namespace edit_rows {

using enum LNeed;
using enum LSubsystem;
constexpr LMenuId kIn = LMenuId::kEdit;
constexpr const char* kHistoryHint = "Open an audio file to see the History";
constexpr const char* kInsertHint = "Open an audio file to use Insert File";
constexpr const char* kMixHint = "Open an audio file to use Paste Mix";
constexpr const char* kSplitHint = "Open an audio file to use Split";

constexpr LCommandRow kEditRows[] = {
    {kCmdUndo, kIn, 0, "&Undo", "undo", "Ctrl+Z; Alt+Backspace", kUndo, kInToolbar | kInContext | kInPanel},
    {kCmdRedo, kIn, 0, "&Redo", "redo", "Ctrl+Y; Ctrl+Alt+Z", kRedo, kInToolbar | kInContext | kInPanel},
    {kCmdHistory, kIn, 0, "&History Manager", "history", "Ctrl+H", kSound, kInToolbar, kEditor, kHistoryHint},
    {kCmdRevert, kIn, 0, "Re&vert to Saved", "", "", kRevert},
    {kCmdCut, kIn, 0, "Cu&t", "cut", "Ctrl+X; Shift+Del", kSelection,
     kSeparatorBefore | kInToolbar | kInContext | kInPanel},
    {kCmdCopy, kIn, 0, "&Copy", "copy", "Ctrl+C; Ctrl+Ins", kContent, kInToolbar | kInContext | kInPanel},
    {kCmdCopyToNew, kIn, 0, "Copy to Ne&w", "copynew", "Ctrl+Shift+C", kContent},
    {kCmdCopyPicture, kIn, 0, "Copy Wave Picture", "picture", "Ctrl+Shift+P", kSound},
    {kCmdDuplicate, kIn, 0, "Duplicate", "duplicate", "Ctrl+D", kContent},
    {kCmdPaste, kIn, 0, "P&aste", "paste", "Ctrl+V; Shift+Ins", kClip,
     kSeparatorBefore | kInToolbar | kInContext | kInPanel},
    {kCmdPasteCycle, kIn, 0, "Paste C&ycle", "", "Ctrl+Alt+P", kSoundAndClip},
    {kCmdPasteMix, kIn, 0, "Paste Mix Direct", "", "Ctrl+Alt+V", kSoundAndClip, kInContext, kEffects,
     kMixHint},
    {kCmdPasteMixWith, kIn, 0, "Paste Mix...", "", "", kSoundAndClip, kPlain, kMixing, kMixHint},
    {kCmdPasteBackground, kIn, 0, "Paste Background Music", "", "", kSoundAndClip, kPlain, kMixing, kMixHint},
    {kCmdPasteToNew, kIn, 0, "Paste to &New", "pastenew", "Ctrl+Shift+V", kClip, kInToolbar},
    {kCmdDelete, kIn, 0, "&Delete", "delete", "Del", kSelection, kInToolbar | kInContext | kInPanel},

    {kCmdSelectAll, kIn, 0, "Select Al&l", "selectall", "Ctrl+A", kSound,
     kSeparatorBefore | kInToolbar | kInContext},
    {kCmdHeading, kIn, 0, "&Select", "", "", kNothing},
    {kCmdSelectNone, kIn, 1, "Select &None", "", "Ctrl+Shift+A", kSound},
    {kCmdSelectToStart, kIn, 1, "Select To &Start", "", "Ctrl+Shift+Home", kContent},
    {kCmdSelectToEnd, kIn, 1, "Select To &End", "", "Ctrl+Shift+End", kContent},
    {kCmdSelectTime, kIn, 1, "Select Specified &Time...", "", "Ctrl+Shift+G", kContent},
    {kCmdSelectionStartHere, kIn, 1, "Selection Starts at &Cursor", "", "[", kContent, kSeparatorBefore},
    {kCmdSelectionEndHere, kIn, 1, "Selection Ends at C&ursor", "", "]", kContent},
    {kCmdSnapSelection, kIn, 1, "Sna&p Selection to Sound", "", "Ctrl+Alt+N", kContent},
    {kCmdMarkFirst, kIn, 1, "Mark &First Position", "", "Alt+1", kContent, kSeparatorBefore},
    {kCmdMarkSecond, kIn, 1, "Mark Sec&ond Position", "", "Alt+2", kContent},
    {kCmdRecallMarks, kIn, 1, "&Recall Mark Selection", "", "Alt+3", kMarks},
    {kCmdJump, kIn, 0, "&Jump to Location...", "jump", "Ctrl+G", kContent},
    {kCmdRepeatLoop, kIn, 0, "Repeat Loo&p...", "repeat", "Ctrl+L", kContent, kSeparatorBefore},
    {kCmdMixWithFile, kIn, 0, "Mix with File...", "", "", kSound, kPlain, kMixing},
    {kCmdBackgroundFile, kIn, 0, "Select File As Background Music", "", "", kSound, kPlain, kMixing},
    {kCmdHeading, kIn, 0, "Insert &File", "", "", kNothing},
    {kCmdInsertAtBegin, kIn, 1, "&Begin", "", "", kSound, kPlain, kEditor, kInsertHint},
    {kCmdInsertAtCursor, kIn, 1, "&Current", "insert", "Ctrl+Shift+I", kSound, kPlain, kEditor, kInsertHint},
    {kCmdHeading, kIn, 0, "S&ilence", "", "", kNothing},
    {kCmdSilence, kIn, 1, "&Silence current selection", "silence", "Ctrl+0", kSelection,
     kInToolbar | kInContext | kInPanel},
    {kCmdSilenceAtCursor, kIn, 1, "Insert silence at &cursor...", "insertsilence", "Ctrl+I", kSound,
     kInToolbar},
    {kCmdSilenceAtStart, kIn, 1, "Insert silence at &beginning...", "", "", kSound},
    {kCmdSilenceAtEnd, kIn, 1, "Insert silence at &end...", "", "", kSound},
    {2037, kIn, 1, "Trim silences...", "", "", kContent, kPlain, kCleanup},

    {kCmdHeading, kIn, 0, "Tri&m", "", "", kNothing},
    {kCmdTrim, kIn, 1, "&Trim (Delete All but the Current Selection)", "trim", "Ctrl+T", kSelection,
     kInToolbar | kInContext | kInPanel},
    {kCmdTrimStart, kIn, 1, "Trim &Start (Delete Everything Before the Selection)", "", "Ctrl+Alt+Home",
     kContent},
    {kCmdTrimEnd, kIn, 1, "Trim &End (Delete Everything After the Selection)", "", "Ctrl+Alt+End", kContent},
    {2020, kIn, 1, "Auto Trim Start and End", "", "", kContent, kSeparatorBefore, kCleanup},
    {2055, kIn, 1, "Auto Trim Start", "", "", kContent, kPlain, kCleanup},
    {2056, kIn, 1, "Auto Trim End", "", "", kContent, kPlain, kCleanup},
    {2076, kIn, 1, "Auto Delete All Silent Regions...", "", "", kContent, kPlain, kCleanup},
    {2057, kIn, 1, "Ignore (Hide) Automatic Trim Regions", "", "", kContent, kPlain, kCleanup},
    {2058, kIn, 1, "Enable Automatic Trim Region Detection", "", "", kNothing, kCheckable, kCleanup},
    {2046, kIn, 0, "Redact/Beep", "", "", kSelection, kPlain, kCleanup},

    {kCmdHeading, kIn, 0, "Split", "", "", kNothing},
    {kCmdSplitAtCursor, kIn, 1, "Split at &Cursor", "split", "Ctrl+K", kContent, kInToolbar, kEditor,
     kSplitHint},
    {2052, kIn, 1, "Split Automatically", "", "", kContent, kPlain, kAnalysis, kSplitHint},
    {kCmdSplitAtSilences, kIn, 1, "Split at &Silences", "", "", kContent, kPlain, kEditor, kSplitHint},
    {kCmdSplitAtBookmarks, kIn, 1, "Split at &Bookmarks", "", "", kBookmarks, kPlain, kEditor, kSplitHint},
    {kCmdSplitChannels, kIn, 1, "Split into Component C&hannels", "", "", kChannels, kPlain, kEditor,
     kSplitHint},
    {kCmdSplitParts, kIn, 1, "Split into &Equal Parts", "", "", kContent, kPlain, kEditor, kSplitHint},
    {kCmdJoin, kIn, 0, "Join", "join", "Ctrl+Shift+J", kSeveral},
    {kCmdSaveRegionAs, kIn, 0, "Save Selected Re&gion As...", "saveregion", "Ctrl+Alt+R", kContent},
    {2064, kIn, 0, "Clip Classification", "", "", kContent, kPlain, kNeural},
    {kCmdSampleEditing, kIn, 0, "Sampl&e Editing Mode", "pencil", "Ctrl+Alt+E", kSound,
     kSeparatorBefore | kCheckable},
    {kCmdHeading, kIn, 0, "Edit &One Channel", "", "", kNothing},
    {kCmdEditWhole, kIn, 1, "&All Channels", "", "Ctrl+Alt+0", kChannels, kCheckable},
    {kCmdEditFirstChannel, kIn, 1, "Channel &1 (Left)", "", "Ctrl+Alt+1", kChannels, kCheckable},
    {kCmdEditFirstChannel + 1, kIn, 1, "Channel &2 (Right)", "", "Ctrl+Alt+2", kChannels, kCheckable},
    {kCmdEditFirstChannel + 2, kIn, 1, "Channel &3", "", "", kChannels, kCheckable},
    {kCmdEditFirstChannel + 3, kIn, 1, "Channel &4", "", "", kChannels, kCheckable},
    {kCmdEditFirstChannel + 4, kIn, 1, "Channel &5", "", "", kChannels, kCheckable},
    {kCmdEditFirstChannel + 5, kIn, 1, "Channel &6", "", "", kChannels, kCheckable},
    {kCmdEditFirstChannel + 6, kIn, 1, "Channel &7", "", "", kChannels, kCheckable},
    {kCmdEditFirstChannel + 7, kIn, 1, "Channel &8", "", "", kChannels, kCheckable},
};

}  // namespace edit_rows

std::span<const LCommandRow> EditCommandRows() { return edit_rows::kEditRows; }

}  // namespace ondarix
