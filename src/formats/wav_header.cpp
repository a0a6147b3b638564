// SPDX-License-Identifier: GPL-3.0-or-later
// The walk over the chunks of a RIFF WAVE file. No size is believed before it is checked.
#include <algorithm>

#include "formats/wav_source.h"

namespace ondarix {

namespace {

constexpr uint32_t kOpenSize = 0xFFFFFF01;  // sizes from here on mean "not known yet" in a lone chunk
constexpr uint16_t kExtensibleTag = 0xFFFE;
constexpr uint32_t kMaxSampleRate = 196000;

struct ChunkHeader {
    char id[4];
    uint32_t size;
    bool Is(const char* name) const { return std::memcmp(id, name, 4) == 0; }
    int64_t Padded() const { return (int64_t{size} + 1) & ~int64_t{1}; }
};

bool ReadChunkHeader(LByteSource& file, int64_t offset, ChunkHeader& header) {
    uint8_t bytes[8];
    if (!file.ReadExactlyAt(offset, bytes, sizeof bytes)) return false;
    std::memcpy(header.id, bytes, 4);
    header.size = LoadLe<uint32_t>(bytes + 4);
    return true;
}

// Offset of the first "RIFF" form of the type "WAVE", -1 without one. Other forms before it are skipped.
int64_t FindWaveForm(LByteSource& file) {
    int64_t offset = 0;
    for (int forms = 0; forms < kMaxWavChunks; ++forms) {
        uint8_t bytes[12];
        if (!file.ReadExactlyAt(offset, bytes, sizeof bytes)) return -1;
        if (std::memcmp(bytes, "RIFF", 4) == 0 && std::memcmp(bytes + 8, "WAVE", 4) == 0) return offset;
        const int64_t size = (int64_t{LoadLe<uint32_t>(bytes + 4)} + 1) & ~int64_t{1};
        if (size < 5 || size > 0xFFFFFFFF) return -1;
        offset += 8 + size;
    }
    return -1;
}

// Offset of the header of the next chunk `name` from `offset` on, -1 without one.
int64_t FindChunk(LByteSource& file, int64_t offset, const char* name, ChunkHeader& header) {
    for (int chunks = 0; chunks < kMaxWavChunks; ++chunks) {
        if (!ReadChunkHeader(file, offset, header)) return -1;
        if (header.Is(name)) return offset;
        if (header.Padded() >= 0x80000000) return -1;
        offset += 8 + header.Padded();
    }
    return -1;
}

// The tag of a KSDATAFORMAT_SUBTYPE identifier: the tag in front, a common rest behind it. 0 for others.
uint16_t TagOfSubFormat(const uint8_t* guid) {
    static constexpr uint8_t kRest[14] = {0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};
    if (std::memcmp(guid + 2, kRest, sizeof kRest) != 0) return 0;
    const auto tag = LoadLe<uint16_t>(guid);
    return tag == 1 || tag == 2 || tag == 3 || tag == 6 || tag == 7 ? tag : uint16_t{0};
}

void TakeFormat(LWavHeader& header) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(header.format.constData());
    header.tag = LoadLe<uint16_t>(bytes);
    header.channels = LoadLe<uint16_t>(bytes + 2);
    header.sampleRate = LoadLe<uint32_t>(bytes + 4);
    header.blockAlign = LoadLe<uint16_t>(bytes + 12);
    header.bits = LoadLe<uint16_t>(bytes + 14);
    const int extra = header.format.size() < 18 ? 0 : LoadLe<uint16_t>(bytes + 16);
    if (header.tag == kExtensibleTag && extra >= 22 && header.format.size() >= 40) {
        if (const uint16_t tag = TagOfSubFormat(bytes + 24)) header.tag = tag;
    }
}

LSoundError JudgeFormat(const LWavHeader& header) {
    if (header.channels < 1 || header.channels > 255) return kSourceBadHeader;
    if (header.sampleRate < 1 || header.sampleRate > kMaxSampleRate) return kSourceBadHeader;
    if (header.tag == 34 || header.tag == 69 || header.tag == 624) return kSourceRefused;
    if (header.tag == 3 && header.bits != 32 && header.bits != 64) return kSourceUnsupported;
    return kSourceGood;
}

bool IsCompleteForm(LByteSource& file, int64_t formStart, int64_t fileSize) {
    ChunkHeader form;
    return ReadChunkHeader(file, formStart, form) && formStart + 8 + form.size == fileSize;
}

}  // namespace

int64_t LWavDataChain::Bytes() const {
    int64_t bytes = 0;
    for (const LWavDataChunk& chunk : chunks) bytes += chunk.end - chunk.start;
    return bytes;
}

LWavDataChain ScanDataChain(LByteSource& file, int64_t formStart, int64_t dataStart) {
    LWavDataChain chain;
    const int64_t fileSize = file.Size();
    ChunkHeader header;
    for (int64_t start = dataStart; static_cast<int>(chain.chunks.size()) < kMaxWavChunks;) {
        if (!ReadChunkHeader(file, start - 8, header)) break;
        const bool first = chain.chunks.empty();
        const int64_t end = start + header.size;
        ChunkHeader next;
        const bool goesOn = header.size > 0 && ReadChunkHeader(file, end, next) && next.Is("data");
        const bool unwritten = header.size == 0 || (first && !goesOn && header.size >= kOpenSize);
        if (unwritten && (start >= fileSize || !IsCompleteForm(file, formStart, fileSize))) {
            chain.chunks.push_back({start, std::max(start, fileSize)});
            chain.open = true;
            chain.growing = !first || header.size != 0 || fileSize > start;
            break;
        }
        chain.chunks.push_back({start, std::clamp(end, start, std::max(start, fileSize))});
        if (!goesOn) break;
        start = end + 8;
    }
    return chain;
}

LWavHeader ReadWavHeader(LByteSource& file) {
    LWavHeader found;
    ChunkHeader chunk;
    found.formStart = FindWaveForm(file);
    if (found.formStart < 0) return found;
    found.formatStart = FindChunk(file, found.formStart + 12, "fmt ", chunk);
    if (found.formatStart < 0 || chunk.size < 16 || chunk.size > 8192) return found;
    const int64_t afterFormat = found.formatStart + 8 + chunk.Padded();
    found.format.resize(static_cast<qsizetype>(chunk.size));
    if (!file.ReadExactlyAt(found.formatStart + 8, found.format.data(), chunk.size)) return found;
    TakeFormat(found);
    const int64_t data = FindChunk(file, afterFormat, "data", chunk);
    if (data < 0) return found;
    found.dataStart = data + 8;
    found.error = JudgeFormat(found);
    found.chain = ScanDataChain(file, found.formStart, found.dataStart);
    return found;
}

}  // namespace ondarix
