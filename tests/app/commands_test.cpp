// SPDX-License-Identifier: GPL-3.0-or-later
// The table of the commands: numbers, texts and keys that users, their scripts and their key settings rely
// on.
#include "app/commands.h"

#include <QKeySequence>
#include <QMap>
#include <QRegularExpression>
#include <QSet>

#include "app/frame_handlers.h"
#include "app/shortcuts.h"
#include "gtest/gtest.h"

namespace ondarix {
namespace {

std::string Name(const LCommandRow& row) { return std::to_string(row.id) + " " + row.text; }

// As they are published, menu by menu; "..." and the marks of mnemonics left out.
constexpr const char* kPublished =
    "1001 New File|1054 New File in New Window|1002 Open File|1023 Open File in New Window|1004 Save File|"
    "1005 Save File As|1006 Save All Files|1029 Preview Waveform from Previous Save|1003 Close File|"
    "1034 Close All|1011 Open Project|1012 Close Project|1013 Save Project|1014 Save Project As|"
    "1007 Load Audio CD Track(s)|1015 Convert Sample Rate|1016 Mono|1017 Stereo|1028 Quad|"
    "1018 Edit Audio Tags|"
    "2001 Undo|2002 Redo|2072 History Manager|2003 Cut|2004 Copy|2008 Duplicate|2005 Paste|2043 Paste Cycle|"
    "2009 Paste Mix Direct|2066 Paste Background Music|2053 Paste to New|2010 Delete|2006 Select All|"
    "2011 Select None|2012 Select To Start|2013 Select To End|2014 Select Specified Time|"
    "2048 Jump to Location|2016 Repeat Loop|2044 Mix with File|2068 Select File As Background Music|"
    "2030 Begin|2031 Current|2025 Silence current selection|2028 Insert silence at cursor|"
    "2027 Insert silence at beginning|2029 Insert silence at end|2037 Trim silences|"
    "2017 Trim (Delete All but the Current Selection)|"
    "2018 Trim Start (Delete Everything Before the Selection)|"
    "2019 Trim End (Delete Everything After the Selection)|2020 Auto Trim Start and End|"
    "2055 Auto Trim Start|2056 Auto Trim End|2076 Auto Delete All Silent Regions|"
    "2057 Ignore (Hide) Automatic Trim Regions|2058 Enable Automatic Trim Region Detection|"
    "2046 Redact/Beep|2021 Split at Cursor|2052 Split Automatically|2022 Split at Silences|"
    "2023 Split at Bookmarks|2038 Split into Component Channels|2050 Split into Equal Parts|2045 Join|"
    "2026 Save Selected Region As|2064 Clip Classification|2024 Sample Editing Mode|"
    "2033 Mark First Position|2034 Mark Second Position|2035 Recall Mark Selection|"
    "3002 Play|3020 Play Again|3006 Stop|3007 Go To Start|3012 Go to End|3008 Go to Selection Start|"
    "3009 Go to Selection End|3010 Page Forward|3011 Page Back|3018 Next Cutpoint|3019 Previous Cutpoint|"
    "3014 Inch Forward|3015 Inch Back|3016 Fine Forward|3017 Fine Back|3024 Go to next bookmark|"
    "3025 Go to previous bookmark|3026 Record - Overdub / Mix|3021 Record - Voice Activated|3055 Punch|"
    "3049 Record Audio Stream|3027 Listen while Recording|3028 Turn Metronome On / Off|"
    "3031 Turn Countdown Time On / Off|3029 Rec Option|3032 Custom Keys|3033 0.1x (Slowest)|3034 0.2x|"
    "3003 0.5x|3004 1x (Normal)|3035 1.25x|3005 1.5x|3038 5x (Fastest)|"
    "4001 Amplify|4005 Reverb|4006 Fade In|4007 Fade Out|4009 Automatic Gain Control (Quick)|"
    "4060 Automatic Gain Control (Advanced)|"
    "4010 Multi-band Noise Gating (faster speed, average quality)|4011 High-Pass Filter|"
    "4045 Low-Pass Filter|4018 DC Offset Correction|"
    "4024 Auto Spectral Subtraction (slower speed, best quality)|"
    "4026 Grab Noise Sample from Selected Area for Spectral Subtraction|"
    "4027 Spectral Subtraction based on Noise Sample|4028 Effect Chain|"
    "4043 Silence Gaps with Noise Gates|4046 Noise Removal Wizard|4047 De-esser|4057 Channel Swap|"
    "4058 L/R Channel Phase Inversion|4061 Reduce Reverb|4067 Noise Gate|"
    "5007 Zoom to Selection|5026 Hide top tools context menu|5029 Show All Effects|7009 Auto|"
    "7010 Parametric|7030 Noise Cleanup|7050 AI Vocal Cleanup|8004 Add region";

TEST(CommandTable, NumbersAndTextsAreThePublishedOnes) {
    for (const QString& entry : QString::fromUtf8(kPublished).split(QLatin1Char('|'))) {
        const LCommandRow* row = FindCommand(entry.section(QLatin1Char(' '), 0, 0).toInt());
        ASSERT_NE(row, nullptr) << entry.toStdString();
        EXPECT_EQ(PlainText(*row), entry.section(QLatin1Char(' '), 1)) << row->id;
    }
}

TEST(CommandTable, EveryNumberIsThereOnceAndInTheRangeOfItsFamily) {
    struct Range {
        LMenuId menu;
        int from, to;
    };
    constexpr Range kRanges[] = {
        {LMenuId::kFile, 1000, 1099},      {LMenuId::kEdit, 2000, 2099},
        {LMenuId::kEffects, 4000, 4499},   {LMenuId::kControl, 3000, 3099},
        {LMenuId::kControl, 112, 119},     {LMenuId::kView, 5000, 5099},
        {LMenuId::kTools, 7000, 7099},     {LMenuId::kTools, 10000, 10099},
        {LMenuId::kBookmarks, 8000, 8099}, {LMenuId::kHelp, 9000, 9199},
        {LMenuId::kContext, 13000, 13099}, {LMenuId::kFile, kCmdExit, kCmdExit},
    };
    QSet<int> seen;
    for (const LCommandRow& row : CommandTable()) {
        EXPECT_FALSE(seen.contains(row.id)) << Name(row);
        seen.insert(row.id);
        EXPECT_TRUE(std::any_of(std::begin(kRanges), std::end(kRanges), [&](const Range& range) {
            return range.menu == row.menu && row.id >= range.from && row.id <= range.to;
        })) << Name(row);
        EXPECT_FALSE(seen.contains(kCmdNoRecent) || seen.contains(kCmdMoreRecent)) << "menus of their own";
    }
}

// Of all commands, so that a subsystem that is added later finds its keys free.
TEST(CommandTable, NoTwoCommandsShareAKey) {
    QMap<QString, int> owners;
    for (const LCommandRow& row : CommandTable()) {
        for (const QString& text : QString::fromUtf8(row.shortcut).split(QStringLiteral("; "))) {
            if (text.isEmpty()) continue;
            const QKeySequence key(text, QKeySequence::PortableText);
            ASSERT_EQ(key.count(), 1) << Name(row) << " " << text.toStdString();
            ASSERT_NE(key[0].key(), Qt::Key_unknown) << Name(row) << " " << text.toStdString();
            const QString portable = key.toString(QKeySequence::PortableText);
            EXPECT_FALSE(owners.contains(portable)) << Name(row) << " and " << owners[portable];
            owners.insert(portable, row.id);
            // The key of recording a stream is lent to the loop while there is no recording.
            const int owner = IsVisible(row) ? row.id : portable == QStringLiteral("Ctrl+F9") ? kCmdLoop : 0;
            EXPECT_EQ(CommandOfKey(key), owner) << text.toStdString();
        }
    }
    const QMap<QString, int> published = {
        {"Ctrl+C", 2004},  {"Ctrl+X", 2003}, {"Ctrl+V", 2005},       {"Ctrl+Alt+V", 2009},
        {"Ctrl+0", 2025},  {"Alt+I", 4006},  {"Alt+O", 4007},        {"Ctrl+R", 8004},
        {"Ctrl+F9", 3049}, {"Space", 3002},  {"Ctrl+Shift+Z", 5007}, {"Ctrl+Shift+Q", kCmdSearch},
        {"Ctrl+Z", 2001},  {"Ctrl+Y", 2002}};
    for (auto key = published.begin(); key != published.end(); ++key)
        EXPECT_EQ(owners.value(key.key()), key.value()) << key.key().toStdString();
}

// With Alt and a letter each menu and each entry is reached at once.
TEST(CommandTable, MnemonicsAreUniqueInEachMenu) {
    QMap<QString, QString> seen;  // menu, heading and letter
    QMap<int, QString> headings;
    const auto letterOf = [](const char* text) {
        static const QRegularExpression mark(QStringLiteral("&(.)"));
        return mark.match(QString::fromUtf8(text)).captured(1).toUpper();
    };
    const auto take = [&](const QString& where, const char* text) {
        const QString letter = letterOf(text);
        if (letter.isEmpty()) return;
        EXPECT_FALSE(seen.contains(where + letter))
            << where.toStdString() << ": " << text << " and " << seen[where + letter].toStdString();
        seen.insert(where + letter, QString::fromUtf8(text));
    };
    for (int i = 0; i < kMenus; ++i) take(QStringLiteral("bar "), MenuTitle(static_cast<LMenuId>(i)));
    QString heading;
    for (const LCommandRow& row : MenuTable()) {
        const QString menu = QString::fromUtf8(MenuTitle(row.menu));
        if (row.id == kCmdHeading) heading = menu + QLatin1Char('>') + QString::fromUtf8(row.text);
        take(row.level > 0 ? heading : menu, row.text);
    }
}

TEST(CommandTable, WhatIsVisibleIsCarriedOutAndWhatIsHiddenIsNotNamed) {
    constexpr LSubsystem kThere[] = {
        LSubsystem::kEditor,    LSubsystem::kPlayback,   LSubsystem::kEffects, LSubsystem::kEffectChains,
        LSubsystem::kEnvelopes, LSubsystem::kCrossfades, LSubsystem::kMixing};
    int visible = 0;
    for (const LCommandRow& row : CommandTable()) {
        const bool there = std::find(std::begin(kThere), std::end(kThere), row.subsystem) != std::end(kThere);
        EXPECT_EQ(IsVisible(row), there) << Name(row);
        if (IsVisible(row)) {
            ++visible;
            EXPECT_NE(FindHandler(row.id), nullptr) << Name(row);
            EXPECT_EQ(FindCommand(CommandPath(row).toUpper()), &row) << Name(row);
        } else {
            EXPECT_EQ(FindCommand(CommandPath(row)), nullptr) << Name(row);
        }
    }
    EXPECT_GT(visible, 100);
    const LCommandRow* split = FindCommand(kCmdSplitAtCursor);
    EXPECT_EQ(CommandPath(*split), QStringLiteral("Edit > Split > Split at Cursor"));
    EXPECT_EQ(CommandPath(*FindCommand(kCmdPaste)), QStringLiteral("Edit > Paste"));
    EXPECT_EQ(FindCommand(kCmdHeading), nullptr);
}

TEST(CommandTable, HintsAreThePublishedOnes) {
    const auto hint = [](int id) { return CommandHint(*FindCommand(id)); };
    EXPECT_EQ(hint(2001), QStringLiteral("Open an audio file to use Undo"));
    EXPECT_EQ(hint(2002), QStringLiteral("Open an audio file to use Redo"));
    EXPECT_EQ(hint(2072), QStringLiteral("Open an audio file to see the History"));
    EXPECT_EQ(hint(2003), QStringLiteral("Open an audio file to use Cut"));
    EXPECT_EQ(hint(2004), QStringLiteral("Open an audio file to use Copy"));
    EXPECT_EQ(hint(2031), QStringLiteral("Open an audio file to use Insert File"));
    EXPECT_EQ(hint(2009), QStringLiteral("Open an audio file to use Paste Mix"));
    EXPECT_EQ(hint(2021), QStringLiteral("Open an audio file to use Split"));
    EXPECT_EQ(hint(kCmdAddBookmark), QStringLiteral("Open an audio file to set bookmark"));
    EXPECT_EQ(hint(1002), QString());
    EXPECT_EQ(hint(2005), QString()) << "pasting creates a file";
}

}  // namespace
}  // namespace ondarix
