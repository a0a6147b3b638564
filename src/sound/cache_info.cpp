// SPDX-License-Identifier: GPL-3.0-or-later
// The facts beside a working file: LSDF of kind 43.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "gen/clock.h"
#include "gen/lsdf.h"
#include "sound/cache_state.h"

namespace ondarix {

namespace {

constexpr auto kInfoKind = static_cast<uint32_t>(LsdfFileKind::kAudInfo);
constexpr uint16_t kInfoVersion = 1;

enum InfoChunk : uint16_t {
    kChunkRate = 16,
    kChunkChannels = 17,
    kChunkSpeech = 53,
    kChunkSource = 80,
    kChunkSourcePath = 81,
    kChunkSourceTime32 = 82,
    kChunkSourceSize = 83,
    kChunkLastUse = 84,
    kChunkSourceKind = 85,
    kChunkSourceTime = 86,
    kChunkSourceBits = 88,
    kChunkSourceTimeNs = 89,
};

constexpr uint32_t kSpeechDone = 4;

// Held while an info file is read or written: a reader that met half of an append would take the number for
// one without a source, and its files would go.
std::mutex& InfoLock() {
    static auto* const lock = new std::mutex;
    return *lock;
}

void ReadSourceGroup(LLsdfReader& reader, LCacheInfo& info) {
    LSourceFacts facts;
    bool hasPath = false, hasTime = false, hasSize = false;
    while (const auto chunk = reader.Next()) {
        if (chunk->id == kChunkSourcePath) {
            if (const auto path = reader.Text()) hasPath = true, facts.path = *path;
        } else if (chunk->id == kChunkSourceTime32 && !hasTime) {
            if (const auto time = reader.U32()) hasTime = true, facts.time = *time;
        } else if (chunk->id == kChunkSourceTime) {
            if (const auto time = reader.I64()) hasTime = true, facts.time = *time;
        } else if (chunk->id == kChunkSourceSize) {
            if (const auto size = reader.I64()) hasSize = true, facts.size = *size;
        } else if (chunk->id == kChunkSourceKind) {
            facts.kind = reader.U32().value_or(0);
        } else if (chunk->id == kChunkSourceTimeNs) {
            facts.timeNs = static_cast<int32_t>(reader.U32().value_or(UINT32_MAX));
        }
    }
    if (!hasPath || !hasTime || !hasSize) return;
    info.hasSource = true;
    info.source = facts;
}

void ReadRootChunk(LLsdfReader& reader, const LsdfChunk& chunk, LCacheInfo& info) {
    if (chunk.id == kChunkRate) {
        info.format.sampleRate = static_cast<int32_t>(reader.U32().value_or(0));
    } else if (chunk.id == kChunkChannels) {
        const uint32_t channels = reader.U32().value_or(0);
        info.format.channels = static_cast<uint8_t>(channels <= 255 ? channels : 0);
    } else if (chunk.id == kChunkLastUse) {
        if (const auto used = reader.U32()) info.lastUse = *used, info.lastUseAt = chunk.payload;
    } else if (chunk.id == kChunkSourceBits) {
        info.sourceBits = reader.U32().value_or(0);
    } else if (chunk.id == kChunkSpeech) {
        info.analysis |= kSpeechDone;
    } else if (chunk.id == kChunkSource && reader.Enter()) {
        ReadSourceGroup(reader, info);
        reader.Leave();
    }
}

LCacheInfo ReadInfoFile(const QString& name) {
    LCacheInfo info;
    if (name.isEmpty()) return info;
    auto file = std::make_shared<LFileBytes>(name);
    if (!file->IsOpen()) return info;
    LLsdfReader reader(std::move(file), kInfoKind);
    info.readable = reader.IsValid();
    while (info.readable) {
        const auto chunk = reader.Next();
        if (!chunk) break;
        ReadRootChunk(reader, *chunk, info);
    }
    return info;
}

bool AppendTo(const QString& name, const std::function<void(LLsdfWriter&)>& put) {
    if (name.isEmpty()) return false;
    const auto writer = LLsdfWriter::Append(name, kInfoKind);
    if (!writer || writer->Failed()) return false;
    put(*writer);
    writer->Close();
    return !writer->Failed();
}

// The value in place where the file has one, otherwise a new chunk. Under the info lock.
bool StampLastUse(const QString& name) {
    const auto now = static_cast<uint32_t>(UnixTime());
    const LCacheInfo info = ReadInfoFile(name);
    if (!info.readable) return false;
    if (info.lastUseAt < 0) {
        return AppendTo(name, [now](LLsdfWriter& writer) { writer.PutU32(kChunkLastUse, now); });
    }
    const int fd = ::open(QFile::encodeName(name).constData(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) return false;
    const bool written = WriteExactlyAt(fd, info.lastUseAt, &now, sizeof now);
    ::close(fd);
    return written;
}

void PutSourceGroup(LLsdfWriter& writer, const LSourceFacts& facts) {
    writer.Open(kChunkSource);
    writer.PutText(kChunkSourcePath, facts.path);
    writer.PutU32(kChunkSourceTime32, static_cast<uint32_t>(facts.time));
    writer.PutI64(kChunkSourceSize, facts.size);
    writer.PutU32(kChunkSourceKind, facts.kind);
    writer.PutI64(kChunkSourceTime, facts.time);
    if (facts.timeNs >= 0) writer.PutU32(kChunkSourceTimeNs, static_cast<uint32_t>(facts.timeNs));
    writer.CloseChunk();
}

}  // namespace

LSourceFacts LSourceFacts::Of(const QString& path, uint32_t kind) {
    LSourceFacts facts;
    facts.path = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    facts.kind = kind;
    facts.size = -1;
    struct stat entry {};
    if (::stat(QFile::encodeName(path).constData(), &entry) == 0 && S_ISREG(entry.st_mode)) {
        facts.time = entry.st_mtim.tv_sec;
        facts.timeNs = static_cast<int32_t>(entry.st_mtim.tv_nsec);
        facts.size = entry.st_size;
    }
    return facts;
}

// Paths compare exactly, as the file system does.
bool SameSourceFile(const LSourceFacts& a, const LSourceFacts& b) {
    const bool sameFraction = a.timeNs < 0 || b.timeNs < 0 || a.timeNs == b.timeNs;
    return a.path == b.path && a.time == b.time && a.size == b.size && sameFraction;
}

bool SourceIsUnchanged(const LCacheInfo& info) {
    return info.hasSource && info.source.size >= 0 &&
           SameSourceFile(info.source, LSourceFacts::Of(info.source.path));
}

LCacheInfo ReadCacheInfo(uint16_t id) {
    const QString name = CacheFileName(id, ".audinfo");
    const std::lock_guard guard(InfoLock());
    return ReadInfoFile(name);
}

bool WriteCacheInfo(uint16_t id, LSoundFormat format, uint32_t sourceBits) {
    const QString name = CacheFileName(id, ".audinfo");
    if (name.isEmpty()) return false;
    bool written = false;
    {
        const std::lock_guard guard(InfoLock());
        LLsdfWriter writer(name, kInfoKind, kInfoVersion);
        writer.PutU32(kChunkRate, static_cast<uint32_t>(format.sampleRate));
        writer.PutU32(kChunkChannels, format.channels);
        if (sourceBits != 0) writer.PutU32(kChunkSourceBits, sourceBits);
        writer.Close();
        written = !writer.Failed();
    }
    LCacheTable& table = CacheTable();
    const std::lock_guard guard(table.lock);
    table.analysisKnown[id] = 0;
    table.sourceBits[id] = kBitsUnknown;
    return written;
}

bool AppendCacheInfo(uint16_t id, const std::function<void(LLsdfWriter&)>& put) {
    if (!OwnsCache()) return false;
    const QString name = CacheFileName(id, ".audinfo");
    const std::lock_guard guard(InfoLock());
    return AppendTo(name, put);
}

bool RegisterSource(uint16_t id, const LSourceFacts& facts) {
    const auto put = [&facts](LLsdfWriter& writer) { PutSourceGroup(writer, facts); };
    return AppendCacheInfo(id, put) && TouchInfo(id);
}

bool TouchInfo(uint16_t id) {
    if (!OwnsCache()) return false;
    const QString name = CacheFileName(id, ".audinfo");
    const std::lock_guard guard(InfoLock());
    return StampLastUse(name);
}

LSoundFormat CacheFormat(uint16_t id) {
    const LCacheInfo info = ReadCacheInfo(id);
    return info.readable ? info.format : LSoundFormat{0, 0};
}

uint32_t CacheSourceBits(uint16_t id) {
    if (id >= kNoCacheId) return 0;
    LCacheTable& table = CacheTable();
    {
        const std::lock_guard guard(table.lock);
        if (table.sourceBits[id] != kBitsUnknown) return table.sourceBits[id];
    }
    const uint32_t bits = ReadCacheInfo(id).sourceBits;
    const std::lock_guard guard(table.lock);
    return table.sourceBits[id] = static_cast<uint8_t>(bits <= 32 ? bits : 0);
}

void SetCacheSourceBits(uint16_t id, uint32_t bits) {
    if (id >= kNoCacheId || bits > 32) return;
    AppendCacheInfo(id, [bits](LLsdfWriter& writer) { writer.PutU32(kChunkSourceBits, bits); });
    LCacheTable& table = CacheTable();
    const std::lock_guard guard(table.lock);
    table.sourceBits[id] = static_cast<uint8_t>(bits);
}

}  // namespace ondarix
