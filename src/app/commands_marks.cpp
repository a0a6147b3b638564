// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/commands.h"

namespace ondarix {
namespace marks_rows {

using enum LNeed;
constexpr LMenuId kInTools = LMenuId::kTools, kInMarks = LMenuId::kBookmarks, kInHelp = LMenuId::kHelp,
                  kInWave = LMenuId::kContext;
constexpr LSubsystem kEditor = LSubsystem::kEditor;
constexpr LSubsystem kAnalysis = LSubsystem::kAnalysis;
constexpr const char* kMarkHint = "Open an audio file to set bookmark";

constexpr LCommandRow kMarkRows[] = {
    {kCmdOptions, kInTools, 0, "&Options...", "options", "Ctrl+,", kNothing, kInToolbar},
    {kCmdSearch, kInTools, 0, "Command &Search", "search", "Ctrl+Shift+Q", kNothing, kInToolbar},
    {kCmdHeading, kInTools, 0, "Click/Pop", "", "", kNothing, kPlain, LSubsystem::kCleanup},
    {7009, kInTools, 1, "Auto", "", "", kContent, kPlain, LSubsystem::kCleanup},
    {7010, kInTools, 1, "Parametric...", "", "", kContent, kPlain, LSubsystem::kCleanup},
    {7030, kInTools, 0, "Noise Cleanup", "", "", kContent, kPlain, LSubsystem::kCleanup},
    {7050, kInTools, 0, "AI Vocal Cleanup", "", "", kContent, kPlain, LSubsystem::kNeural},
    {kCmdLoudness, kInTools, 0, "&Loudness...", "", "", kContent, kSeparatorBefore, LSubsystem::kEffects,
     "Open an audio file to measure its loudness"},
    {10001, kInTools, 0, "FFT Frequency Analysis...", "", "", kContent, kSeparatorBefore, kAnalysis,
     "Open an audio file to open the FFT dialog"},
    {10002, kInTools, 0, "TFFT Analysis...", "", "", kContent, kPlain, kAnalysis,
     "Open an audio file to open the TFFT dialog"},
    {10003, kInTools, 0, "Detect Key", "", "", kContent, kPlain, kAnalysis,
     "Open an audio file to detect the key"},
    {10004, kInTools, 0, "Find Loudest Point", "", "", kContent, kPlain, kAnalysis,
     "Open an audio file to find the loudest point of selected region"},

    {kCmdAddBookmark, kInMarks, 0, "&Add Bookmark", "bookmark", "Ctrl+B", kSound, kInToolbar | kInPanel,
     kEditor, kMarkHint},
    {kCmdRenameBookmark, kInMarks, 0, "&Rename Bookmark...", "", "F2", kBookmarks, kPlain, kEditor,
     kMarkHint},
    {kCmdDeleteBookmark, kInMarks, 0, "&Delete Bookmark", "", "Ctrl+Del", kBookmarks, kPlain, kEditor,
     kMarkHint},
    {kCmdDeleteAllBookmarks, kInMarks, 0, "Delete All &Bookmarks", "", "", kBookmarks, kPlain, kEditor,
     kMarkHint},
    {kCmdMarkPeaks, kInMarks, 0, "&Mark Peaks...", "peaks", "", kContent, kInToolbar, kEditor, kMarkHint},
    {kCmdBookmarkList, kInMarks, 0, "Bookmark &List", "bookmarks", "Ctrl+Shift+B", kSound,
     kInToolbar | kInPanel, kEditor, kMarkHint},
    {kCmdAddRegion, kInMarks, 0, "Add re&gion", "region", "Ctrl+R", kContent,
     kSeparatorBefore | kInToolbar | kInContext | kInPanel},
    {kCmdRegionList, kInMarks, 0, "Reg&ion List", "regions", "Ctrl+Shift+R", kSound, kInToolbar | kInPanel},
    {kCmdExportRegions, kInMarks, 0, "&Export All Regions to Folder...", "export", "", kRegions, kInToolbar},
    {kCmdRegionsToNew, kInMarks, 0, "Export All Regions to &New File(s)...", "", "", kRegions},

    {kCmdAbout, kInHelp, 0, "&About Ondarix", "about", "", kNothing, kInToolbar},

    {kCmdBookmarkHere, kInWave, 0, "Add &Bookmark Here", "bookmark", "", kContent, kSeparatorBefore},
    {kCmdMoveHere, kInWave, 0, "&Move Selection Here", "", "", kSelection},
    {kCmdSelectAround, kInWave, 0, "&Select Between Bookmarks", "", "", kContent},
    {kCmdRenameHere, kInWave, 0, "Re&name...", "", "", kPlace, kSeparatorBefore},
    {kCmdDeleteHere, kInWave, 0, "D&elete", "", "", kPlace},
};

}  // namespace marks_rows

std::span<const LCommandRow> MarkCommandRows() { return marks_rows::kMarkRows; }

}  // namespace ondarix
