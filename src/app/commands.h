// SPDX-License-Identifier: GPL-3.0-or-later
// The commands of the frame, one row each: menus, tool tabs, context menu, keys, search, availability, hints
// and automation follow from it. Numbers are permanent.
#pragma once
#include <QString>
#include <cstdint>
#include <span>

namespace ondarix {

// The commands that have a handler in this version. Other numbers stand in the table alone.
enum LCommand : int {
    kCmdScrub = 112,
    kCmdLoop = 119,
    kCmdExit = 801,

    kCmdNewFile = 1001,
    kCmdOpen = 1002,
    kCmdClose = 1003,
    kCmdSave = 1004,
    kCmdSaveAs = 1005,
    kCmdSaveAll = 1006,
    kCmdConvertRate = 1015,
    kCmdMono = 1016,
    kCmdStereo = 1017,
    kCmdOpenInWindow = 1023,
    kCmdQuad = 1028,
    kCmdPreviewSaved = 1029,
    kCmdCloseAll = 1034,
    kCmdNewInWindow = 1054,
    kCmdNoRecent = 1081,

    kCmdUndo = 2001,
    kCmdRedo = 2002,
    kCmdCut = 2003,
    kCmdCopy = 2004,
    kCmdPaste = 2005,
    kCmdSelectAll = 2006,
    kCmdDuplicate = 2008,
    kCmdPasteMix = 2009,
    kCmdDelete = 2010,
    kCmdSelectNone = 2011,
    kCmdSelectToStart = 2012,
    kCmdSelectToEnd = 2013,
    kCmdSelectTime = 2014,
    kCmdRepeatLoop = 2016,
    kCmdTrim = 2017,
    kCmdTrimStart = 2018,
    kCmdTrimEnd = 2019,
    kCmdSplitAtCursor = 2021,
    kCmdSplitAtSilences = 2022,
    kCmdSplitAtBookmarks = 2023,
    kCmdSampleEditing = 2024,
    kCmdSilence = 2025,
    kCmdSaveRegionAs = 2026,
    kCmdSilenceAtStart = 2027,
    kCmdSilenceAtCursor = 2028,
    kCmdSilenceAtEnd = 2029,
    kCmdInsertAtBegin = 2030,
    kCmdInsertAtCursor = 2031,
    kCmdMarkFirst = 2033,
    kCmdMarkSecond = 2034,
    kCmdRecallMarks = 2035,
    kCmdSplitChannels = 2038,
    kCmdPasteCycle = 2043,
    kCmdJoin = 2045,
    kCmdJump = 2048,
    kCmdSplitParts = 2050,
    kCmdMixWithFile = 2044,
    kCmdPasteToNew = 2053,
    kCmdPasteBackground = 2066,
    kCmdPasteMixWith = 2067,
    kCmdBackgroundFile = 2068,
    kCmdHistory = 2072,
    kCmdRevert = 2080,
    kCmdCopyToNew = 2081,
    kCmdSelectionStartHere = 2082,
    kCmdSelectionEndHere = 2083,
    kCmdSnapSelection = 2084,
    kCmdCopyPicture = 2085,
    kCmdEditWhole = 2090,
    kCmdEditFirstChannel = 2091,  // and the seven after it

    kCmdPlay = 3002,
    kCmdSpeedHalf = 3003,
    kCmdSpeedNormal = 3004,
    kCmdSpeedOneAndHalf = 3005,
    kCmdStop = 3006,
    kCmdGoToStart = 3007,
    kCmdGoToSelectionStart = 3008,
    kCmdGoToSelectionEnd = 3009,
    kCmdPageForward = 3010,
    kCmdPageBack = 3011,
    kCmdGoToEnd = 3012,
    kCmdInchForward = 3014,
    kCmdInchBack = 3015,
    kCmdFineForward = 3016,
    kCmdFineBack = 3017,
    kCmdNextCutpoint = 3018,
    kCmdPreviousCutpoint = 3019,
    kCmdPlayAgain = 3020,
    kCmdNextBookmark = 3024,
    kCmdPreviousBookmark = 3025,
    kCmdCustomKeys = 3032,
    kCmdSpeedTenth = 3033,
    kCmdSpeedFifth = 3034,
    kCmdSpeedOneAndQuarter = 3035,
    kCmdSpeedDouble = 3036,
    kCmdSpeedTriple = 3037,
    kCmdSpeedFivefold = 3038,
    kCmdRewind = 3040,
    kCmdForward = 3041,
    kCmdScrubBack = 3042,
    kCmdScrubForward = 3043,

    kCmdAmplify = 4001,
    kCmdNormalize = 4002,
    kCmdAutoNormalize = 4003,
    kCmdFadeIn = 4006,
    kCmdFadeOut = 4007,
    kCmdReverse = 4008,
    kCmdEnvelope = 4012,
    kCmdFadeInTrim = 4013,
    kCmdFadeOutTrim = 4014,
    kCmdFadeInClip = 4015,
    kCmdFadeOutClip = 4016,
    kCmdCrossfade = 4017,
    kCmdDcOffset = 4018,
    kCmdCrossfadeOther = 4019,
    kCmdCrossfadeLoop = 4020,
    kCmdMute = 4021,
    kCmdAmplifyChannels = 4022,
    kCmdEffectChain = 4028,
    kCmdApplyChain = 4029,
    kCmdChannelSwap = 4057,
    kCmdPhaseInversion = 4058,

    kCmdZoomIn = 5001,
    kCmdZoomOut = 5002,
    kCmdZoomFull = 5003,
    kCmdZoomToDb = 5004,
    kCmdMonoView = 5005,
    kCmdMultiChannelView = 5006,
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
    kCmdTabs = 5020,
    kCmdNextSound = 5021,
    kCmdPreviousSound = 5022,
    kCmdSidePanel = 5023,
    kCmdPlayerBar = 5024,
    kCmdHideTools = 5026,

    kCmdOptions = 7001,
    kCmdSearch = 7002,
    kCmdLoudness = 7020,

    kCmdAddBookmark = 8001,
    kCmdRenameBookmark = 8002,
    kCmdDeleteBookmark = 8003,
    kCmdAddRegion = 8004,
    kCmdDeleteAllBookmarks = 8005,
    kCmdMarkPeaks = 8006,
    kCmdBookmarkList = 8007,
    kCmdRegionList = 8008,
    kCmdExportRegions = 8009,
    kCmdRegionsToNew = 8010,

    kCmdAbout = 9001,
    kCmdMoreRecent = 9049,
    kCmdFirstRecent = 9050,  // and the nine after it

    kCmdBookmarkHere = 13001,
    kCmdMoveHere = 13002,
    kCmdSelectAround = 13003,
    kCmdRenameHere = 13004,  // the bookmark or region under the mouse
    kCmdDeleteHere = 13005,
    kCmdHeading = 65535,
};

enum class LMenuId : uint8_t {
    kFile,
    kEdit,
    kEffects,
    kControl,
    kView,
    kTools,
    kBookmarks,
    kHelp,
    kContext,  // of the waveform only
};
inline constexpr int kMenus = 8;      // of the menu bar
const char* MenuTitle(LMenuId menu);  // with the mnemonic

// What a command needs to be available.
enum class LNeed : uint8_t {
    kNothing,
    kSound,      // one is open
    kContent,    // and has at least a frame
    kSelection,  // of it
    kClip,       // something to paste
    kSoundAndClip,
    kUndo,
    kRedo,
    kRevert,  // a saved state that differs
    kBookmarks,
    kRegions,   // of any open sound
    kSeveral,   // at least two sounds
    kChannels,  // at least two channels; for one channel alone, that one
    kMarks,     // both positions of the selection to be recalled
    kPlace,     // a bookmark or region under the mouse
    kPlaying,   // a sound plays or is paused
};

// Commands of a subsystem that is not there stand in the table, and nowhere else.
enum class LSubsystem : uint8_t {
    kEditor,
    kMixing,
    kEffects,
    kEffectChains,
    kEnvelopes,
    kCrossfades,
    kFilterEffects,
    kDynamics,
    kDelayEffects,
    kCleanup,
    kAnalysis,
    kPlayback,
    kRecording,
    kProjects,
    kTags,
    kDisc,
    kNeural,
    kBatch,
    kCount,
};
// At start, once what carries the commands out is there. [ui]
void RegisterSubsystem(LSubsystem subsystem);
bool IsRegistered(LSubsystem subsystem);

enum LCommandFlag : uint16_t {
    kPlain = 0,
    kInToolbar = 1,
    kSeparatorBefore = 2,
    kCheckable = 4,
    kRecentBefore = 8,  // the recent files stand before this entry
    kInContext = 16,    // in the context menu of the waveform too
    kInPanel = 32,      // in the side panel
};

struct LCommandRow {
    int id;  // kCmdHeading: the submenu of the rows behind it that have a higher level
    LMenuId menu;
    uint8_t level;  // 0: in the menu itself
    const char* text;
    const char* icon;      // "" none
    const char* shortcut;  // portable text, "" none; several separated by "; "
    LNeed need;
    uint16_t flags = kPlain;
    LSubsystem subsystem = LSubsystem::kEditor;
    const char* hint = "";  // without an open file; "": "Open an audio file to use %s"
};
// All commands without the headings, in menu order.
std::span<const LCommandRow> CommandTable();
// The same with the headings.
std::span<const LCommandRow> MenuTable();
const LCommandRow* FindCommand(int id);  // null: unknown
const LCommandRow* FindCommand(
    const QString& name);  // by PlainText or CommandPath, in any case; visible ones
bool IsVisible(const LCommandRow& row);
QString PlainText(const LCommandRow& row);    // without "&" and "..."
QString CommandPath(const LCommandRow& row);  // "Edit > Split > Split at Cursor"
// Whether it changes the active sound, its marks or its file: not available while a job works on that.
bool ChangesSound(const LCommandRow& row);
// "" for a command that needs no open file.
QString CommandHint(const LCommandRow& row);

// The parts of the table, one menu each.
std::span<const LCommandRow> FileCommandRows();
std::span<const LCommandRow> EditCommandRows();
std::span<const LCommandRow> EffectCommandRows();
std::span<const LCommandRow> ControlCommandRows();
std::span<const LCommandRow> ViewCommandRows();
std::span<const LCommandRow> MarkCommandRows();  // bookmarks, tools, help and the context menu

}  // namespace ondarix
