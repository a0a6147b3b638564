// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/commands.h"

#include <QHash>
#include <array>
#include <vector>

namespace ondarix {
namespace {

struct LWholeTable {
    std::vector<LCommandRow> menus, commands;
    QHash<int, const LCommandRow*> byId;
    QHash<int, QString> headings;  // of a command below one

    LWholeTable() {
        for (const auto part : {FileCommandRows(), EditCommandRows(), EffectCommandRows(),
                                ControlCommandRows(), ViewCommandRows(), MarkCommandRows()})
            menus.insert(menus.end(), part.begin(), part.end());
        for (const LCommandRow& row : menus)
            if (row.id != kCmdHeading) commands.push_back(row);
        for (const LCommandRow& row : commands) byId.insert(row.id, &row);
        QString heading;
        for (const LCommandRow& row : menus) {
            if (row.id == kCmdHeading)
                heading = PlainText(row);
            else if (row.level > 0)
                headings.insert(row.id, heading);
        }
    }
};

const LWholeTable& Whole() {
    static const LWholeTable table;
    return table;
}

constexpr int kSplitAutomatically = 2052, kHideTrimRegions = 2057;
constexpr int kAutoClicks = 7009, kClicks = 7010, kNoiseCleanup = 7030, kVocalCleanup = 7050;

// Of the edit menu: copies, selects, or makes other sounds of the active one.
bool OnlyLooks(int id) {
    switch (id) {
        case kCmdHistory:
        case kCmdCopy:
        case kCmdCopyToNew:
        case kCmdCopyPicture:
        case kCmdPasteToNew:
        case kCmdSelectAll:
        case kCmdSelectNone:
        case kCmdSelectToStart:
        case kCmdSelectToEnd:
        case kCmdSelectTime:
        case kCmdSelectionStartHere:
        case kCmdSelectionEndHere:
        case kCmdSnapSelection:
        case kCmdMarkFirst:
        case kCmdMarkSecond:
        case kCmdRecallMarks:
        case kCmdJump:
        case kCmdSplitAtCursor:
        case kCmdSplitAtSilences:
        case kCmdSplitAtBookmarks:
        case kCmdSplitChannels:
        case kCmdSaveRegionAs:
        case kCmdSampleEditing:
        case kSplitAutomatically:
        case kHideTrimRegions:
            return true;
        default:
            return false;
    }
}

std::array<bool, static_cast<size_t>(LSubsystem::kCount)>& Registered() {
    static std::array<bool, static_cast<size_t>(LSubsystem::kCount)> registered{true};
    return registered;
}

}  // namespace

std::span<const LCommandRow> CommandTable() { return Whole().commands; }
std::span<const LCommandRow> MenuTable() { return Whole().menus; }

const LCommandRow* FindCommand(int id) { return Whole().byId.value(id, nullptr); }

const LCommandRow* FindCommand(const QString& name) {
    const QString wanted = name.trimmed();
    for (const LCommandRow& row : CommandTable()) {
        if (!IsVisible(row)) continue;
        if (PlainText(row).compare(wanted, Qt::CaseInsensitive) == 0 ||
            CommandPath(row).compare(wanted, Qt::CaseInsensitive) == 0)
            return &row;
    }
    return nullptr;
}

const char* MenuTitle(LMenuId menu) {
    static constexpr const char* kTitles[] = {"&File",  "&Edit",      "Effe&cts", "Cont&rol",    "&View",
                                              "&Tools", "&Bookmarks", "&Help",    "Wave Context"};
    return kTitles[static_cast<size_t>(menu)];
}

void RegisterSubsystem(LSubsystem subsystem) { Registered()[static_cast<size_t>(subsystem)] = true; }
bool IsRegistered(LSubsystem subsystem) { return Registered()[static_cast<size_t>(subsystem)]; }
bool IsVisible(const LCommandRow& row) { return IsRegistered(row.subsystem); }

QString PlainText(const LCommandRow& row) {
    return QString::fromUtf8(row.text).remove(QLatin1Char('&')).remove(QStringLiteral("..."));
}

QString CommandPath(const LCommandRow& row) {
    const QString arrow = QStringLiteral(" > ");
    QString path = QString::fromUtf8(MenuTitle(row.menu)).remove(QLatin1Char('&')) + arrow;
    const QString heading = Whole().headings.value(row.id);
    if (!heading.isEmpty()) path += heading + arrow;
    return path + PlainText(row);
}

bool ChangesSound(const LCommandRow& row) {
    switch (row.menu) {
        case LMenuId::kEffects:
            return row.need != LNeed::kNothing;
        case LMenuId::kEdit:
            return row.need != LNeed::kNothing && !OnlyLooks(row.id);
        case LMenuId::kFile:
            return row.id == kCmdSave || row.id == kCmdSaveAs || row.id == kCmdConvertRate ||
                   row.id == kCmdMono || row.id == kCmdStereo || row.id == kCmdQuad;
        case LMenuId::kBookmarks:
            return row.id >= kCmdAddBookmark && row.id <= kCmdMarkPeaks;
        case LMenuId::kTools:
            return row.id == kAutoClicks || row.id == kClicks || row.id == kNoiseCleanup ||
                   row.id == kVocalCleanup;
        case LMenuId::kContext:
            return row.id != kCmdSelectAround;
        default:
            return false;
    }
}

QString CommandHint(const LCommandRow& row) {
    if (row.need == LNeed::kNothing || row.need == LNeed::kClip || row.need == LNeed::kPlaying) return {};
    if (*row.hint) return QString::fromUtf8(row.hint);
    return QStringLiteral("Open an audio file to use %1").arg(PlainText(row));
}

}  // namespace ondarix
