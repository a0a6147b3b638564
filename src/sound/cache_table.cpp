// SPDX-License-Identifier: GPL-3.0-or-later
// Numbers: who refers to them, which are free, and where their files are.
#include <unistd.h>

#include <QFile>
#include <QStringList>
#include <algorithm>

#include "sound/cache_state.h"

namespace ondarix {

namespace {

// Marks what is on disk. Under the lock.
void ScanFolder(LCacheTable& table) {
    if (table.scanned) return;
    for (const auto& [id, files] : ListCacheFiles(table.folder)) {
        if (files & kHasAud) table.exists[id] = 1;
    }
    table.scanned = true;
}

QString FileNameIn(const LCacheTable& table, uint16_t id, const char* extension) {
    const auto outside = table.overrides.find(id);
    if (outside != table.overrides.end()) return outside->second + extension;
    if (table.folder.isEmpty()) return {};
    return table.folder + '/' + QString::number(id) + extension;
}

// Under the lock, so that a removal stays in its folder when the cache moves to another one meanwhile.
QStringList FileNamesOf(const LCacheTable& table, uint16_t id) {
    QStringList names;
    for (const char* extension : kCacheExtensions) names.append(FileNameIn(table, id, extension));
    return names;
}

void RemoveFiles(const QStringList& names) {
    for (const QString& name : names) ::unlink(QFile::encodeName(name).constData());
}

// The lowest free number, which then has one reference. Under the lock.
uint16_t TakeFreeNumber(LCacheTable& table) {
    for (; table.freeFrom < kNoCacheId; ++table.freeFrom) {
        const auto id = static_cast<uint16_t>(table.freeFrom);
        if (table.exists[id] || table.isProtected[id] || table.deleting[id] || table.refs[id].load() != 0)
            continue;
        table.ForgetNumber(id);
        table.refs[id].store(1);
        table.exists[id] = 1;
        table.freeFrom = id + 1;
        return id;
    }
    return kNoCacheId;
}

// One reference less; true when it was the last. A saturated count does not shrink.
bool DropReference(LCacheTable& table, uint16_t id) {
    uint16_t count = table.refs[id].load(std::memory_order_relaxed);
    while (count > 1) {
        if (count >= kSaturatedRefs) return false;
        if (table.refs[id].compare_exchange_weak(count, static_cast<uint16_t>(count - 1))) return false;
    }
    const std::lock_guard guard(table.lock);
    count = table.refs[id].load();
    while (count > 0 && count < kSaturatedRefs) {
        if (table.refs[id].compare_exchange_weak(count, static_cast<uint16_t>(count - 1))) return count == 1;
    }
    return false;
}

bool GrowReference(std::atomic<uint16_t>& refs, bool fromZero) {
    uint16_t count = refs.load(std::memory_order_relaxed);
    while (count > 0 || fromZero) {
        if (count >= kSaturatedRefs || refs.compare_exchange_weak(count, static_cast<uint16_t>(count + 1))) {
            return true;
        }
    }
    return false;
}

}  // namespace

LCacheTable& CacheTable() {
    // Never destroyed: sounds of static duration let go of their numbers after main() has ended.
    static LCacheTable* const table = [] {
        auto* made = new LCacheTable;
        made->sourceBits.fill(kBitsUnknown);
        return made;
    }();
    return *table;
}

void LCacheTable::ForgetNumber(uint16_t id) {
    exists[id] = isProtected[id] = analysisKnown[id] = 0;
    analysis[id] = 0;
    sourceBits[id] = kBitsUnknown;
    freeFrom = std::min<int>(freeFrom, id);
}

QString CacheFileName(uint16_t id, const char* extension) {
    if (id > kNoCacheId) return {};
    LCacheTable& table = CacheTable();
    const std::lock_guard guard(table.lock);
    return FileNameIn(table, id, extension);
}

void OverrideCachePath(uint16_t id, const QString& basePath) {
    if (id >= kNoCacheId) return;
    LCacheTable& table = CacheTable();
    const std::lock_guard guard(table.lock);
    table.ForgetNumber(id);
    table.overrides[id] = basePath;
    table.isProtected[id] = table.exists[id] = 1;
}

uint16_t AllocateCacheId() {
    LCacheTable& table = CacheTable();
    for (int attempt = 0; attempt < 3; ++attempt) {
        if (attempt == 1) DeleteIncompleteSets();
        if (attempt == 2) DeleteUnreferencedSets();
        uint16_t id = kNoCacheId;
        QStringList names;
        {
            const std::lock_guard guard(table.lock);
            if (!table.owned) return kNoCacheId;
            ScanFolder(table);
            id = TakeFreeNumber(table);
            names = FileNamesOf(table, id);
        }
        if (id == kNoCacheId) continue;
        RemoveFiles(names);  // facts of an earlier user without samples must not be taken for this one's
        return id;
    }
    return kNoCacheId;
}

void AddCacheRef(uint16_t id) {
    if (id >= kNoCacheId) return;
    LCacheTable& table = CacheTable();
    if (GrowReference(table.refs[id], false)) return;
    const std::lock_guard guard(table.lock);
    GrowReference(table.refs[id], true);
}

void ReleaseCacheRef(uint16_t id) {
    if (id >= kNoCacheId) return;
    if (!DropReference(CacheTable(), id)) return;
    if (!OwnsCache() || SourceIsUnchanged(ReadCacheInfo(id))) return;
    DeleteCacheSet(id);
}

uint16_t CacheRefCount(uint16_t id) { return CacheTable().refs[id].load(); }

void ProtectCacheId(uint16_t id, bool on) {
    if (id >= kNoCacheId) return;
    LCacheTable& table = CacheTable();
    const std::lock_guard guard(table.lock);
    table.isProtected[id] = on || table.overrides.count(id) != 0;
    table.freeFrom = std::min<int>(table.freeFrom, id);
}

bool CacheIdExists(uint16_t id) {
    LCacheTable& table = CacheTable();
    const std::lock_guard guard(table.lock);
    ScanFolder(table);
    return table.exists[id] != 0;
}

bool DeleteCacheSet(uint16_t id) {
    LCacheTable& table = CacheTable();
    QStringList names;
    uint32_t epoch = 0;
    {
        const std::lock_guard guard(table.lock);
        if (!table.owned || id >= kNoCacheId || table.deleting[id]) return false;
        if (table.isProtected[id] || table.overrides.count(id) != 0 || table.refs[id].load() != 0)
            return false;
        table.deleting[id] = 1;
        names = FileNamesOf(table, id);
        epoch = table.epoch;
    }
    RemoveFiles(names);
    const std::lock_guard guard(table.lock);
    table.deleting[id] = 0;
    if (epoch == table.epoch) table.ForgetNumber(id);
    return true;
}

uint32_t CacheAnalysisState(uint16_t id) {
    if (id >= kNoCacheId) return kAnalysisUnusable;
    LCacheTable& table = CacheTable();
    {
        const std::lock_guard guard(table.lock);
        if (table.analysisKnown[id]) return table.analysis[id];
    }
    const LCacheInfo info = ReadCacheInfo(id);
    const std::lock_guard guard(table.lock);
    if (!table.analysisKnown[id]) {
        table.analysis[id] = info.readable ? info.analysis : kAnalysisUnusable;
        table.analysisKnown[id] = 1;
    }
    return table.analysis[id];
}

void SetCacheAnalysisState(uint16_t id, uint32_t state) {
    if (id >= kNoCacheId) return;
    LCacheTable& table = CacheTable();
    const std::lock_guard guard(table.lock);
    table.analysis[id] = state;
    table.analysisKnown[id] = 1;
}

bool ScanCache(LProgress& progress) {
    LCacheTable& table = CacheTable();
    {
        const std::lock_guard guard(table.lock);
        ScanFolder(table);
    }
    for (uint16_t id = 0; id < kNoCacheId; ++id) {
        if (!CacheIdExists(id)) continue;
        if (progress.IsCancelled()) return false;
        CacheAnalysisState(id);
    }
    return true;
}

}  // namespace ondarix
