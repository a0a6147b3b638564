// SPDX-License-Identifier: GPL-3.0-or-later
// Space and age.
#include <sys/statvfs.h>

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cerrno>
#include <limits>
#include <vector>

#include "gen/clock.h"
#include "gen/messages.h"
#include "gen/settings.h"
#include "sound/cache_state.h"
#include "sound/sound.h"

namespace ondarix {

namespace {

constexpr int64_t kHour = 3600, kDay = 24 * kHour;

void DeleteUnusedFor(int64_t seconds) {
    const int64_t latest = UnixTime() - seconds;
    for (const auto& [id, files] : ListCacheFiles(CacheFolder())) {
        if (!(files & kHasInfo) || CacheRefCount(id) != 0) continue;
        if (ReadCacheInfo(id).lastUse <= latest) DeleteCacheSet(id);
    }
}

LCacheEntry DescribeNumber(uint16_t id, uint8_t files) {
    LCacheEntry entry;
    const LCacheInfo info = ReadCacheInfo(id);
    entry.id = id;
    entry.format = info.format;
    entry.complete = (files & kHasComplete) == kHasComplete;
    entry.refs = CacheRefCount(id);
    entry.lastUse = info.lastUse;
    if (info.hasSource) entry.sourcePath = info.source.path;
    entry.sourceMatches = SourceIsUnchanged(info);
    for (const char* extension : kCacheExtensions) {
        entry.bytes += std::max<int64_t>(FileSizeOf(CacheFileName(id, extension)), 0);
    }
    const int64_t samples = std::max<int64_t>(FileSizeOf(CacheFileName(id, ".aud")), 0);
    if (info.format.IsValid()) entry.frames = samples / info.format.FrameBytes();
    return entry;
}

struct CacheObservers {
    std::recursive_mutex lock;  // an observer may leave while it is told
    std::vector<LCacheObserver*> list;
};

CacheObservers& Observers() {
    static auto* const observers = new CacheObservers;
    return *observers;
}

}  // namespace

void DeleteIncompleteSets() {
    for (const auto& [id, files] : ListCacheFiles(CacheFolder())) {
        if ((files & kHasComplete) != kHasComplete) DeleteCacheSet(id);
    }
}

void DeleteUnreferencedSets() {
    for (const auto& entry : ListCacheFiles(CacheFolder())) DeleteCacheSet(entry.first);
}

LCleanAction CleanActionFor(CleanMode mode, int64_t freeMiB, int retentionDays) {
    const LCleanAction all{true, 0};
    switch (mode) {
        case CleanMode::kDiskPressure:
            if (freeMiB < 500) return all;
            return {false, freeMiB < 1000 ? kHour : freeMiB < 2000 ? kDay : 28 * kDay};
        case CleanMode::kProgramEnd:
            if (retentionDays <= 0 || freeMiB < 2000) return all;
            if (freeMiB < 10000) return {false, kDay};
            return {false, (freeMiB < 100000 ? std::min(retentionDays, 14) : int64_t{retentionDays}) * kDay};
        case CleanMode::kModerate:
            if (freeMiB < 5000) return all;
            return {false, 14 * kDay};
        case CleanMode::kAll:
            return all;
    }
    return {false, 28 * kDay};
}

void CleanCache(CleanMode mode) {
    if (!OwnsCache()) return;
    DeleteIncompleteSets();
    const int64_t freeMiB = FreeBytes(CacheFolder()) >> 20;
    const LCleanAction action = CleanActionFor(mode, freeMiB, GetSettingInt("Cache", "RetentionDays", 28));
    if (action.removeAll) {
        DeleteUnreferencedSets();
    } else {
        DeleteUnusedFor(action.unusedSeconds);
    }
}

QList<LCacheEntry> ListCache() {
    QList<LCacheEntry> entries;
    for (const auto& [id, files] : ListCacheFiles(CacheFolder())) entries.append(DescribeNumber(id, files));
    return entries;
}

int64_t FreeBytes(const QString& folder) {
    struct statvfs facts {};
    if (::statvfs(QFile::encodeName(folder).constData(), &facts) != 0)
        return std::numeric_limits<int64_t>::max();
    int64_t bytes = 0;
    if (__builtin_mul_overflow(facts.f_bavail, facts.f_frsize, &bytes))
        return std::numeric_limits<int64_t>::max();
    return bytes;
}

bool HasDiskSpaceFor(const LSound& sound, const QString& folder) {
    if (sound.IsEmpty() || !QFileInfo(folder).isDir()) return true;
    int64_t bytes = 0;
    if (__builtin_mul_overflow(sound.Length(), sound.Format().FrameBytes(), &bytes)) return false;
    return FreeBytes(folder) > bytes;
}

bool CheckDiskSpace(const LSound& sound, const QString& folder, const QString& message, LMessageHost& host) {
    if (HasDiskSpaceFor(sound, folder)) return true;
    host.Tell(kLowDiskTitle, message);
    return false;
}

void AddCacheObserver(LCacheObserver* observer) {
    CacheObservers& observers = Observers();
    const std::lock_guard guard(observers.lock);
    auto& list = observers.list;
    if (std::find(list.begin(), list.end(), observer) == list.end()) list.push_back(observer);
}

void RemoveCacheObserver(LCacheObserver* observer) {
    CacheObservers& observers = Observers();
    const std::lock_guard guard(observers.lock);
    std::erase(observers.list, observer);
}

void NotifyAnalysisFinished(uint16_t id, uint32_t analyzerKind) {
    CacheObservers& observers = Observers();
    const std::lock_guard guard(observers.lock);
    const auto told = observers.list;
    for (LCacheObserver* observer : told) {
        const auto& list = observers.list;
        if (std::find(list.begin(), list.end(), observer) == list.end()) continue;
        observer->OnAnalysisFinished(id, analyzerKind);
    }
}

}  // namespace ondarix
