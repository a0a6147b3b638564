// SPDX-License-Identifier: GPL-3.0-or-later
// Chunks of a RIFF WAVE file that the program has no use for, kept through open and save.
#pragma once
#include <QString>
#include <cstdint>
#include <memory>
#include <vector>

#include "gen/bytes.h"

namespace ondarix {

// Where a chunk stood; saving puts it back there.
enum class ChunkPlace : uint8_t { kBeforeFormat, kBeforeData, kAfterData };

struct LForeignChunk {
    char id[4];
    ChunkPlace place;
    uint32_t size;        // payload bytes, without the pad
    uint8_t pad;          // the pad byte's value where the size is odd
    int64_t spoolOffset;  // payload in the spool file
};

// Kept in file order. Payloads lie in one unnamed scratch file, since they may be large; copies share it.
struct LForeignChunks {
    std::vector<LForeignChunk> chunks;
    std::shared_ptr<LFileBytes> spool;
    bool lost = false;  // some could not be kept: no scratch file, or no room in it
    bool IsEmpty() const { return chunks.empty(); }
    // Bytes that the chunks of one place take in a file, headers and pads included.
    int64_t BytesAt(ChunkPlace place) const;
    // Writes them at the offset; false on an error.
    bool WriteAt(int fd, int64_t offset, ChunkPlace place) const;
};

// Everything of a WAV file but its form, format and samples, and the chunks that only repeat facts about
// the samples and would lie after an edit ("fact", "PEAK", "levl", "ds64"). Stops where the structure ends to
// make sense. Empty for a file that is no WAV.
LForeignChunks ReadForeignChunks(LByteSource& file);
LForeignChunks ReadForeignChunks(const QString& path);

}  // namespace ondarix
