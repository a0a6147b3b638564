// SPDX-License-Identifier: GPL-3.0-or-later
// The sound cache: the folder of numbered working files in which all samples live, and the table of who
// refers to which number. One number owns up to five files, named by the number in decimal:
//
//   .aud      frames of interleaved little-endian 32-bit floats from byte 0
//   .grf      peak graph, one record of `channels` LPeakPairs for every 256 frames
//   .audinfo  LSDF of kind 43: format, source file, time of last use, analyses
//   .fft      stored spectrum
//   .vmkmp3   verbatim copy of an MP3 source
//
// All operations may be called from any thread. One process owns a folder at a time (an advisory lock on
// the file "cache.lock" in it); a process that does not own it never allocates, deletes or stamps there.
#pragma once
#include <QList>
#include <QString>
#include <cstdint>
#include <functional>

#include "gen/progress.h"
#include "sound/format.h"

namespace ondarix {

class LLsdfWriter;
class LMessageHost;
class LSound;
class LSoundCacheRef;
struct LSoundSegment;

inline constexpr uint16_t kSilenceId = 65535;               // no file, no reference count
inline constexpr uint16_t kNoCacheId = 65534;               // no file could be allocated
inline constexpr int64_t kRenderReserveSamples = 26214400;  // 100 MiB of floats stay free

inline constexpr const char* kCacheExtensions[] = {".aud", ".grf", ".audinfo", ".fft", ".vmkmp3"};

enum class CleanMode : int { kDiskPressure = 1, kProgramEnd = 2, kModerate = 3, kAll = 4 };

// What RegisterSource keeps and FindCachedSource compares.
struct LSourceFacts {
    QString path;       // absolute
    int64_t time = 0;   // last write, seconds since 1970
    int64_t size = 0;   // bytes
    uint32_t kind = 0;  // passed through and compared when not 0
    // The part of the last write below a second, nanoseconds; -1 unknown, compared when both sides know it. A
    // file that is written twice within a second with the same size is told apart by it.
    int32_t timeNs = -1;
    // Of the file at `path` as it stands; size -1 when there is none.
    static LSourceFacts Of(const QString& path, uint32_t kind = 0);
};

// Path, time and size; the part below a second where both know it.
bool SameSourceFile(const LSourceFacts& a, const LSourceFacts& b);

struct LCacheEntry {  // for listings
    uint16_t id = 0;
    LSoundFormat format;
    int64_t frames = 0;
    int64_t bytes = 0;           // of all its files
    QString sourcePath;          // empty: no source record
    bool sourceMatches = false;  // the source is there with the time and size recorded
    int64_t lastUse = 0;         // seconds since 1970, 0 never stamped
    bool complete = false;       // .aud, .grf and .audinfo are all there
    uint16_t refs = 0;
};

// --- The folder

// Sets up the working folder as the settings say (UseDefaultWorkingDir, WorkingFolder) and takes its lock.
// False when another process owns it or it cannot be created or written.
bool OpenCache();
// A private folder under the data folder for a process that runs beside an editor: created, locked, and
// removed by CloseCache. Folders whose owner has died are removed first.
bool OpenPrivateCache();
// Looks at the folder that the settings name without owning it: listings only.
void OpenCacheForListing();
// Changes to `folder`: forgets all reference counts and overrides, the folder counts as not scanned. False:
// not changed.
bool SetCacheFolder(const QString& folder);
// Lets go of the folder and its lock. A private folder is removed whole.
void CloseCache();
QString CacheFolder();  // without a slash at the end; empty when unset
bool OwnsCache();
// Another value after each change of the folder: numbers of different epochs have nothing to do with each
// other.
uint32_t CacheEpoch();

// --- Numbers

// "%d%s" in the folder, or base path and extension of an override; empty above kNoCacheId.
QString CacheFileName(uint16_t id, const char* extension);
// Maps a number to a file outside the folder: `basePath` without extension. Such a number is protected.
void OverrideCachePath(uint16_t id, const QString& basePath);
// The lowest free number with one reference and the mark that it exists; kNoCacheId when there is none
// after incomplete and unreferenced sets have been removed.
uint16_t AllocateCacheId();
// A number is freed and taken up again under the cache lock only; between one and more references its count
// is changed without it, so that copying a list of thousands of segments stays cheap. A release that finds
// no reference (of a folder that has been left) does nothing.
void AddCacheRef(uint16_t id);      // saturates at 65534; kNoCacheId and kSilenceId are ignored
void ReleaseCacheRef(uint16_t id);  // the last one deletes the files unless the source record is valid
uint16_t CacheRefCount(uint16_t id);
void ProtectCacheId(uint16_t id, bool on);
bool CacheIdExists(uint16_t id);
// Bits of the analyses that are done; kAnalysisUnusable when the info file cannot be read. Read from the
// info file when first asked for, kept since.
inline constexpr uint32_t kAnalysisUnusable = 0xFFFFFFFF;
uint32_t CacheAnalysisState(uint16_t id);
void SetCacheAnalysisState(uint16_t id, uint32_t state);
// Reads which numbers are on disk (done by the first allocation too) and their analysis states. `progress`
// may stop the latter: false.
bool ScanCache(LProgress& progress);

// --- Sources

// The decode of an unchanged source file: a reference, the format, and the length in frames. Stamps the
// time of last use. False when nothing fits.
bool FindCachedSource(const LSourceFacts& facts, LSoundFormat& format, LSoundSegment& segment);
bool RegisterSource(uint16_t id, const LSourceFacts& facts);
bool TouchInfo(uint16_t id);
// Adds children to the root of the number's info file; `put` writes them. A chunk that is there again counts
// instead of the one before. Serialised: analyses and the writers of this file may come from any thread.
bool AppendCacheInfo(uint16_t id, const std::function<void(LLsdfWriter&)>& put);
// What a number was decoded to; an invalid format when its info file cannot be read.
LSoundFormat CacheFormat(uint16_t id);
// Width of the integer samples that a number was decoded from (8, 16, 24, 32), 0 for everything else. Kept in
// the facts (chunk 88), so that an untouched integer sound is known to be exact.
uint32_t CacheSourceBits(uint16_t id);
void SetCacheSourceBits(uint16_t id, uint32_t bits);
// Hook: called with each number that FindCachedSource found with missing analyses. Null by default.
extern void (*gQueueForAnalysis)(uint16_t id);

// --- Space and age

void CleanCache(CleanMode mode);
// The policy on its own: what a mode does with so much free space. `removeAll`, or entries unused for at
// least `unusedSeconds`.
struct LCleanAction {
    bool removeAll = false;
    int64_t unusedSeconds = 0;
};
LCleanAction CleanActionFor(CleanMode mode, int64_t freeMiB, int retentionDays);
QList<LCacheEntry> ListCache();
// Bytes free for this user on the disk of `folder`; INT64_MAX when that cannot be told.
int64_t FreeBytes(const QString& folder);
inline constexpr const char* kLowDiskTitle = "Low Disk Space";
inline constexpr const char* kLowDiskActionText =
    "The current action cannot be performed because you have very low free disk space. Please try making "
    "more space by removing unwanted files then try again.";
// True when `sound` needs less than what is free on `folder`. An empty sound and a folder that is none pass.
bool HasDiskSpaceFor(const LSound& sound, const QString& folder);
// The same, and tells `message` (such as kLowDiskActionText) when there is too little.
bool CheckDiskSpace(const LSound& sound, const QString& folder, const QString& message, LMessageHost& host);

// --- Observers of analyses that have ended

class LCacheObserver {
  public:
    virtual ~LCacheObserver() = default;
    virtual void OnAnalysisFinished(uint16_t id, uint32_t analyzerKind) = 0;  // on the analyzer's thread
};
void AddCacheObserver(LCacheObserver* observer);
void RemoveCacheObserver(LCacheObserver* observer);
void NotifyAnalysisFinished(uint16_t id, uint32_t analyzerKind);

}  // namespace ondarix
