// SPDX-License-Identifier: GPL-3.0-or-later
// The cache's table and what its files share among themselves; nothing for the rest of the program.
#pragma once
#include <QString>
#include <array>
#include <atomic>
#include <map>
#include <mutex>
#include <optional>

#include "sound/cache.h"

namespace ondarix {

inline constexpr int kCacheNumbers = 65536;
inline constexpr uint16_t kSaturatedRefs = 65534;
inline constexpr uint8_t kBitsUnknown = 0xFF;

// One entry for each number. `lock` guards all of it; counts above 0 also change without it.
struct LCacheTable {
    std::mutex lock;
    QString folder;
    bool owned = false;
    bool isPrivate = false;
    bool scanned = false;
    int lockFd = -1;
    std::atomic<uint32_t> epoch{0};
    int freeFrom = 0;                       // no number below it is free
    std::map<uint16_t, QString> overrides;  // base paths of numbers outside the folder
    std::array<std::atomic<uint16_t>, kCacheNumbers> refs{};
    std::array<uint8_t, kCacheNumbers> isProtected{};
    std::array<uint8_t, kCacheNumbers> exists{};
    std::array<uint8_t, kCacheNumbers> deleting{};  // its files are going right now
    std::array<uint8_t, kCacheNumbers> sourceBits{};
    std::array<uint8_t, kCacheNumbers> analysisKnown{};
    std::array<uint32_t, kCacheNumbers> analysis{};

    void ForgetNumber(uint16_t id);
};
LCacheTable& CacheTable();

// Which of kCacheExtensions are there, one bit each. Names that the cache would not write ("007.aud",
// "1.wav") are none of its numbers.
using LCacheFiles = std::map<uint16_t, uint8_t>;
inline constexpr uint8_t kHasAud = 1, kHasGrf = 2, kHasInfo = 4, kHasComplete = 7;
LCacheFiles ListCacheFiles(const QString& folder);

// The only place where files of a number are removed: nothing while it is referenced, protected or outside
// the folder, or when the folder is not owned. False when nothing was removed.
bool DeleteCacheSet(uint16_t id);
// Those that lack one of .aud, .grf and .audinfo, such as what a process left that was killed while writing.
void DeleteIncompleteSets();
void DeleteUnreferencedSets();

struct LCacheInfo {
    bool readable = false;
    bool hasSource = false;
    LSoundFormat format;
    LSourceFacts source;
    int64_t lastUse = 0;
    int64_t lastUseAt = -1;  // offset of the value in the file
    uint32_t sourceBits = 0;
    uint32_t analysis = 0;
};
LCacheInfo ReadCacheInfo(uint16_t id);
// The source is there, as it was when the record was written.
bool SourceIsUnchanged(const LCacheInfo& info);
// Writes a new info file without a source.
bool WriteCacheInfo(uint16_t id, LSoundFormat format, uint32_t sourceBits);

// Takes the advisory lock of a folder that exists. kHeld: by another process.
enum class FolderLock : uint8_t { kTaken, kHeld, kUnwritable };
FolderLock TakeFolderLock(const QString& folder, int& fd);

// Size in bytes, -1 when there is no such file.
int64_t FileSizeOf(const QString& path);

}  // namespace ondarix
