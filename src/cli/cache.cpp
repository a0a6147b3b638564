// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/cache.h"

#include <QDateTime>
#include <QJsonArray>

#include "cli/positions.h"
#include "cli/terminal.h"

namespace ondarix {
namespace {

struct LCleanModeRow {
    const char* name;
    const char* number;
    CleanMode mode;
};
constexpr LCleanModeRow kCleanModes[] = {
    {"disk-pressure", "1", CleanMode::kDiskPressure},
    {"program-end", "2", CleanMode::kProgramEnd},
    {"moderate", "3", CleanMode::kModerate},
    {"all", "4", CleanMode::kAll},
};

QString TimeOfUse(int64_t seconds) {
    if (seconds <= 0) return "never";
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC).toString(Qt::ISODate);
}

QJsonObject EntryToJson(const LCacheEntry& entry) {
    return {{"id", entry.id},
            {"sampleRate", entry.format.sampleRate},
            {"channels", entry.format.channels},
            {"frames", JsonInt(entry.frames)},
            {"bytes", JsonInt(entry.bytes)},
            {"source", entry.sourcePath},
            {"sourceMatches", entry.sourceMatches},
            {"lastUse", JsonInt(entry.lastUse)},
            {"complete", entry.complete}};
}

QString EntryLine(const LCacheEntry& entry) {
    QString source = entry.sourcePath.isEmpty() ? QString("(no source)") : OneLine(entry.sourcePath);
    if (!entry.sourcePath.isEmpty() && !entry.sourceMatches) source += " (changed)";
    if (!entry.complete) source += " (incomplete)";
    return QString("%1 %2 %3 Hz %4 ch %5 bytes  %6  %7")
        .arg(entry.id, 5)
        .arg(TimeText(entry.frames, entry.format.sampleRate), 12)
        .arg(entry.format.sampleRate, 6)
        .arg(entry.format.channels)
        .arg(entry.bytes, 12)
        .arg(TimeOfUse(entry.lastUse), source);
}

int64_t TotalBytes(const QList<LCacheEntry>& entries) {
    int64_t bytes = 0;
    for (const LCacheEntry& entry : entries) bytes += entry.bytes;
    return bytes;
}

}  // namespace

ExitStatus RunCacheList(const LArguments& /*arguments*/, LContext& context) {
    OpenCacheForListing();
    const QString folder = CacheFolder();
    const QList<LCacheEntry> entries = ListCache();
    CloseCache();
    QJsonArray array;
    for (const LCacheEntry& entry : entries) {
        context.console.Print(EntryLine(entry));
        array += EntryToJson(entry);
    }
    context.console.Print(
        QString("%1: %2 sets, %3 bytes").arg(OneLine(folder)).arg(entries.size()).arg(TotalBytes(entries)));
    context.console.Result() = {
        {"folder", folder}, {"entries", array}, {"bytes", JsonInt(TotalBytes(entries))}};
    return ExitStatus::kSuccess;
}

ExitStatus RunCacheClean(const LArguments& arguments, LContext& context) {
    const QString wanted = arguments.operands[0];
    const LCleanModeRow* row = nullptr;
    for (const LCleanModeRow& candidate : kCleanModes) {
        if (wanted == candidate.name || wanted == candidate.number) row = &candidate;
    }
    if (!row) {
        return context.console.Fail(
            QString("cache clean: \"%1\" is none of disk-pressure, program-end, moderate, all").arg(wanted),
            ExitStatus::kUsage);
    }
    if (!OpenCache()) {
        return context.console.Fail(
            "cache clean: the folder of working files is in use by a running editor or cannot be written");
    }
    const QList<LCacheEntry> before = ListCache();
    CleanCache(row->mode);
    const QList<LCacheEntry> after = ListCache();
    CloseCache();
    const int64_t freed = TotalBytes(before) - TotalBytes(after);
    const auto removed = before.size() - after.size();
    context.console.Print(
        QString("%1 of %2 sets removed, %3 bytes").arg(removed).arg(before.size()).arg(freed));
    context.console.Result() = {
        {"removed", JsonInt(removed)}, {"left", JsonInt(after.size())}, {"freedBytes", JsonInt(freed)}};
    return ExitStatus::kSuccess;
}

}  // namespace ondarix
