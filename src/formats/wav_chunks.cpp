// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/wav_chunks.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>

#include "formats/wav_source.h"
#include "gen/paths.h"

namespace ondarix {

namespace {

constexpr int64_t kSpoolBlock = 256 << 10;

// A file that has lost its name: it goes with its last descriptor, after a crash too.
struct Spool {
    int fd = -1;
    std::shared_ptr<LFileBytes> reader;
    int64_t size = 0;

    bool Open() {
        const QString folder = TempFolder();
        if (folder.isEmpty()) return false;
        QByteArray name = QFile::encodeName(folder + QStringLiteral("/chunks-XXXXXX"));
        fd = mkostemp(name.data(), O_CLOEXEC);
        if (fd < 0) return false;
        reader = std::make_shared<LFileBytes>(QFile::decodeName(name));
        unlink(name.constData());
        return reader->IsOpen();
    }
    ~Spool() {
        if (fd >= 0) close(fd);
    }
    bool Append(LByteSource& file, int64_t offset, int64_t bytes) {
        std::vector<char> block(static_cast<size_t>(std::min(bytes, kSpoolBlock)));
        while (bytes > 0) {
            const int64_t piece = std::min(bytes, kSpoolBlock);
            if (!file.ReadExactlyAt(offset, block.data(), piece)) return false;
            if (!WriteExactlyAt(fd, size, block.data(), piece)) return false;
            size += piece;
            offset += piece;
            bytes -= piece;
        }
        return true;
    }
};

// Whether a chunk header that makes sense stands at the offset: a printable name and a size within the file.
bool IsChunkAt(LByteSource& file, int64_t offset, int64_t fileSize) {
    uint8_t bytes[8];
    if (!file.ReadExactlyAt(offset, bytes, sizeof bytes)) return false;
    if (!std::all_of(bytes, bytes + 4, [](uint8_t c) { return c >= 0x20 && c < 0x7F; })) return false;
    return int64_t{LoadLe<uint32_t>(bytes + 4)} <= fileSize - offset - 8;
}

bool IsAboutSamples(const char* id) {
    for (const char* name : {"fmt ", "data", "fact", "PEAK", "levl", "ds64"}) {
        if (std::memcmp(id, name, 4) == 0) return true;
    }
    return false;
}

// Takes the chunks that begin at `offset` and before `limit`.
void TakeChunks(LByteSource& file, int64_t offset, int64_t limit, ChunkPlace place, LForeignChunks& found,
                Spool& spool) {
    const int64_t fileSize = file.Size();
    while (offset < limit && static_cast<int>(found.chunks.size()) < kMaxWavChunks &&
           IsChunkAt(file, offset, fileSize)) {
        uint8_t bytes[8];
        file.ReadAt(offset, bytes, sizeof bytes);
        LForeignChunk chunk{{}, place, LoadLe<uint32_t>(bytes + 4), 0, spool.size};
        std::memcpy(chunk.id, bytes, 4);
        const int64_t payload = offset + 8;
        offset = payload + chunk.size;
        if ((chunk.size & 1) != 0) file.ReadAt(offset++, &chunk.pad, 1);
        if (IsAboutSamples(chunk.id)) continue;
        const bool open = spool.fd >= 0 || spool.Open();
        chunk.spoolOffset = spool.size;
        if (!open || !spool.Append(file, payload, chunk.size)) {
            found.lost = true;
            return;
        }
        found.chunks.push_back(chunk);
    }
}

}  // namespace

int64_t LForeignChunks::BytesAt(ChunkPlace place) const {
    int64_t bytes = 0;
    for (const LForeignChunk& chunk : chunks) {
        if (chunk.place == place) bytes += 8 + int64_t{chunk.size} + (chunk.size & 1);
    }
    return bytes;
}

bool LForeignChunks::WriteAt(int fd, int64_t offset, ChunkPlace place) const {
    std::vector<char> block;
    for (const LForeignChunk& chunk : chunks) {
        if (chunk.place != place) continue;
        char header[8];
        std::memcpy(header, chunk.id, 4);
        StoreLe(header + 4, chunk.size);
        if (!WriteExactlyAt(fd, offset, header, sizeof header)) return false;
        offset += 8;
        for (int64_t done = 0; done < chunk.size;) {
            const int64_t piece = std::min<int64_t>(chunk.size - done, kSpoolBlock);
            block.resize(static_cast<size_t>(piece));
            if (!spool || !spool->ReadExactlyAt(chunk.spoolOffset + done, block.data(), piece)) return false;
            if (!WriteExactlyAt(fd, offset + done, block.data(), piece)) return false;
            done += piece;
        }
        offset += chunk.size;
        if ((chunk.size & 1) != 0 && !WriteExactlyAt(fd, offset++, &chunk.pad, 1)) return false;
    }
    return true;
}

LForeignChunks ReadForeignChunks(LByteSource& file) {
    LForeignChunks found;
    const LWavHeader header = ReadWavHeader(file);
    if (header.dataStart == 0 || header.chain.chunks.empty()) return found;
    Spool spool;
    const int64_t afterFormat = header.formatStart + 8 + header.format.size() + (header.format.size() & 1);
    TakeChunks(file, header.formStart + 12, header.formatStart, ChunkPlace::kBeforeFormat, found, spool);
    TakeChunks(file, afterFormat, header.dataStart - 8, ChunkPlace::kBeforeData, found, spool);
    if (!header.chain.open) {
        const LWavDataChunk& last = header.chain.chunks.back();
        int64_t behind = last.end + ((last.end - last.start) & 1);
        // Some writers leave the pad byte out.
        const int64_t fileSize = file.Size();
        if (behind != last.end && !IsChunkAt(file, behind, fileSize) && IsChunkAt(file, last.end, fileSize))
            behind = last.end;
        TakeChunks(file, behind, fileSize, ChunkPlace::kAfterData, found, spool);
    }
    found.spool = spool.reader;
    return found;
}

LForeignChunks ReadForeignChunks(const QString& path) {
    LFileBytes file(path);
    if (!file.IsOpen()) return {};
    return ReadForeignChunks(file);
}

}  // namespace ondarix
