// SPDX-License-Identifier: GPL-3.0-or-later
// Finds the decode of a source file again. Which number was made from which path is remembered, so that
// opening a file reads one info file and not thousands; what another program changed in the folder is seen
// by time and size of the info files and read again.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <vector>

#include "dsp/peak.h"
#include "sound/cache_state.h"
#include "sound/sound.h"

namespace ondarix {

void (*gQueueForAnalysis)(uint16_t id) = nullptr;

namespace {

struct InfoStamp {
    int64_t seconds = 0, nanoseconds = 0, size = 0;
    uint64_t inode = 0;
    bool operator==(const InfoStamp&) const = default;
};

struct IndexEntry {
    InfoStamp stamp;
    QString path;  // empty: no source
};

struct SourceIndex {
    std::mutex lock;
    QString folder;
    std::map<uint16_t, IndexEntry> entries;
};

SourceIndex& Index() {
    static auto* const index = new SourceIndex;
    return *index;
}

bool StampOf(int folder, const QByteArray& name, InfoStamp& stamp) {
    struct stat facts {};
    if (::fstatat(folder, name.constData(), &facts, 0) != 0) return false;
    stamp = {facts.st_mtim.tv_sec, facts.st_mtim.tv_nsec, facts.st_size, facts.st_ino};
    return true;
}

void RefreshIndex(SourceIndex& index, const QString& folder) {
    if (index.folder != folder) index.entries.clear();
    index.folder = folder;
    const int fd = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return index.entries.clear();
    std::map<uint16_t, IndexEntry> now;
    for (const auto& [id, files] : ListCacheFiles(folder)) {
        IndexEntry entry;
        if (!(files & kHasInfo) || !StampOf(fd, QByteArray::number(id) + ".audinfo", entry.stamp)) continue;
        const auto known = index.entries.find(id);
        if (known != index.entries.end() && known->second.stamp == entry.stamp) {
            entry.path = known->second.path;
        } else {
            const LCacheInfo info = ReadCacheInfo(id);
            if (info.hasSource) entry.path = info.source.path;
        }
        now.emplace(id, std::move(entry));
    }
    ::close(fd);
    index.entries = std::move(now);
}

std::vector<uint16_t> NumbersMadeFrom(const QString& path) {
    std::vector<uint16_t> ids;
    const QString folder = CacheFolder();
    SourceIndex& index = Index();
    const std::lock_guard guard(index.lock);
    RefreshIndex(index, folder);
    for (const auto& [id, entry] : index.entries) {
        if (!entry.path.isEmpty() && entry.path == path) ids.push_back(id);
    }
    return ids;
}

// Frames of the working file; -1 when it is not whole: the graph must be as long as the samples ask for.
int64_t WholeLength(uint16_t id, LSoundFormat format) {
    if (!format.IsValid()) return -1;
    const int64_t bytes = FileSizeOf(CacheFileName(id, ".aud"));
    if (bytes < 0 || bytes % format.FrameBytes() != 0) return -1;
    const int64_t frames = bytes / format.FrameBytes();
    const int64_t records = (frames + kPeakBlockFrames - 1) / kPeakBlockFrames;
    return FileSizeOf(CacheFileName(id, ".grf")) == records * format.FrameBytes() ? frames : -1;
}

// A reference, unless the number's files are being removed.
bool ClaimNumber(uint16_t id) {
    LCacheTable& table = CacheTable();
    const std::lock_guard guard(table.lock);
    if (!table.owned || table.deleting[id]) return false;
    uint16_t count = table.refs[id].load();
    while (count < kSaturatedRefs &&
           !table.refs[id].compare_exchange_weak(count, static_cast<uint16_t>(count + 1))) {
    }
    return true;
}

// Gives the reference back and leaves the files to the next clean-up.
void UnclaimNumber(uint16_t id) {
    LCacheTable& table = CacheTable();
    const std::lock_guard guard(table.lock);
    uint16_t count = table.refs[id].load();
    while (count > 0 && count < kSaturatedRefs &&
           !table.refs[id].compare_exchange_weak(count, static_cast<uint16_t>(count - 1))) {
    }
}

}  // namespace

bool FindCachedSource(const LSourceFacts& facts, LSoundFormat& format, LSoundSegment& segment) {
    if (!OwnsCache() || facts.size < 0) return false;
    for (const uint16_t id : NumbersMadeFrom(facts.path)) {
        if (!ClaimNumber(id)) continue;
        const LCacheInfo info = ReadCacheInfo(id);
        const bool fits = info.hasSource && SameSourceFile(info.source, facts) &&
                          (facts.kind == 0 || facts.kind == info.source.kind) && SourceIsUnchanged(info);
        const int64_t frames = fits ? WholeLength(id, info.format) : -1;
        if (frames < 0) {
            UnclaimNumber(id);
            continue;
        }
        TouchInfo(id);
        format = info.format;
        segment.cacheRef = LSoundCacheRef::Adopt(id);
        segment.offset = 0;
        segment.length = frames;
        segment.gain = 1.0f;
        segment.unknownChunks.reset();
        if (gQueueForAnalysis && CacheAnalysisState(id) != kAnalysisUnusable) gQueueForAnalysis(id);
        return true;
    }
    return false;
}

}  // namespace ondarix
