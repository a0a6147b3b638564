// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <limits>

#include "gen/lsdf.h"
#include "gen/text.h"

namespace ondarix {
namespace {

constexpr char kLsdfMagic[] = {'l', 's', 'd', 'f'};
constexpr int64_t kLsdfHeaderBytes = 24;
constexpr int64_t kLsdfShortestFile = 28;
constexpr int64_t kChunkHeaderBytes = 12;
constexpr int64_t kReadAhead = 8192;
constexpr int64_t kReadDirectlyAbove = 256;
constexpr int64_t kTextBuffer = 1560;

}  // namespace

LLsdfReader::LLsdfReader(std::shared_ptr<LByteSource> source, uint32_t kind) : source_(std::move(source)) {
    uint8_t header[kLsdfHeaderBytes];
    size_ = source_->Size();
    if (size_ < kLsdfShortestFile || !source_->ReadExactlyAt(0, header, sizeof header)) return;
    if (std::memcmp(header, kLsdfMagic, sizeof kLsdfMagic) != 0 || LoadLe<uint16_t>(header + 4) != 1) return;
    if (kind != kLsdfAnyKind && LoadLe<uint32_t>(header + 6) != kind) return;
    if (LoadLe<uint32_t>(header + 12) != 0) return;  // root: id 0, type 0
    version_ = LoadLe<uint16_t>(header + 10);

    // The trailer is no data; where it is missing or the root was never closed, the data runs to the end.
    char trailer[sizeof kLsdfMagic];
    const bool whole = source_->ReadExactlyAt(size_ - 4, trailer, sizeof trailer) &&
                       std::memcmp(trailer, kLsdfMagic, sizeof trailer) == 0;
    const uint64_t rootSize = LoadLe<uint64_t>(header + 16);
    const int64_t room = size_ - kRootPayload - (whole ? 4 : 0);
    const bool closed = rootSize != 0 || (whole && room == 0);
    const int64_t bytes =
        closed ? static_cast<int64_t>(std::min<uint64_t>(rootSize, static_cast<uint64_t>(room))) : room;
    cutShort_ = !closed;
    levels_.push_back({kRootPayload, kRootPayload + bytes});
    valid_ = true;
}

int64_t LLsdfReader::ReadBuffered(int64_t offset, void* dest, int64_t bytes) {
    const bool inside = offset >= aheadOffset_ && offset + bytes <= aheadOffset_ + ahead_.size();
    if (!inside) {
        if (bytes > kReadDirectlyAbove) return source_->ReadAt(offset, dest, bytes);
        ahead_.resize(kReadAhead);
        ahead_.resize(source_->ReadAt(offset, ahead_.data(), kReadAhead));
        aheadOffset_ = offset;
    }
    const int64_t from = offset - aheadOffset_;
    const int64_t count = std::clamp<int64_t>(ahead_.size() - from, 0, bytes);
    std::memcpy(dest, ahead_.constData() + from, static_cast<size_t>(count));
    return count;
}

std::optional<LsdfChunk> LLsdfReader::Next() {
    current_.reset();
    if (!valid_) return std::nullopt;
    Level& level = levels_.back();
    uint8_t header[kChunkHeaderBytes];
    if (level.end - level.next < kChunkHeaderBytes ||
        ReadBuffered(level.next, header, kChunkHeaderBytes) != kChunkHeaderBytes) {
        level.next = level.end;
        return std::nullopt;
    }
    LsdfChunk chunk;
    chunk.id = LoadLe<uint16_t>(header);
    chunk.type = LoadLe<uint16_t>(header + 2);
    chunk.payload = level.next + kChunkHeaderBytes;
    const int64_t room = level.end - chunk.payload;
    const uint64_t stated = LoadLe<uint64_t>(header + 4);
    chunk.size = static_cast<int64_t>(std::min<uint64_t>(stated, static_cast<uint64_t>(room)));
    if (cutShort_ && stated == 0) {
        for (Level& open : levels_) open.next = open.end;
        return std::nullopt;
    }
    level.next = chunk.payload + chunk.size;
    current_ = chunk;
    return chunk;
}

bool LLsdfReader::Enter() {
    if (!current_ || current_->type != static_cast<uint16_t>(LsdfType::kGroup)) return false;
    if (static_cast<int>(levels_.size()) >= kMaxDepth) return false;
    levels_.push_back({current_->payload, current_->payload + current_->size});
    current_.reset();
    return true;
}

void LLsdfReader::Leave() {
    if (levels_.size() > 1) levels_.pop_back();
    current_.reset();
}

namespace {

template <typename T>
bool HoldsValue(const std::optional<LsdfChunk>& chunk, LsdfType type) {
    return chunk && chunk->type == static_cast<uint16_t>(type) &&
           chunk->size == static_cast<int64_t>(sizeof(T));
}

}  // namespace

std::optional<bool> LLsdfReader::Bool() {
    const std::optional<uint8_t> value = Byte();
    if (!value) return std::nullopt;
    return *value != 0;
}

std::optional<uint8_t> LLsdfReader::Byte() {
    uint8_t value;
    if (!HoldsValue<uint8_t>(current_, LsdfType::kBool) || ReadBuffered(current_->payload, &value, 1) != 1)
        return std::nullopt;
    return value;
}

std::optional<uint32_t> LLsdfReader::U32() {
    uint32_t value;
    if (!HoldsValue<uint32_t>(current_, LsdfType::kU32) || ReadBuffered(current_->payload, &value, 4) != 4)
        return std::nullopt;
    return value;
}

std::optional<int64_t> LLsdfReader::I64() {
    int64_t value;
    const bool fits =
        HoldsValue<int64_t>(current_, LsdfType::kI64) || HoldsValue<int64_t>(current_, LsdfType::kI32As64);
    if (!fits || ReadBuffered(current_->payload, &value, 8) != 8) return std::nullopt;
    return value;
}

std::optional<float> LLsdfReader::F32() {
    float value;
    if (!HoldsValue<float>(current_, LsdfType::kF32) || ReadBuffered(current_->payload, &value, 4) != 4)
        return std::nullopt;
    return value;
}

std::optional<QString> LLsdfReader::Text() {
    if (!current_ || current_->type != static_cast<uint16_t>(LsdfType::kText)) return std::nullopt;
    QByteArray utf8 = Bytes(0, kTextBuffer);
    if (const qsizetype nul = utf8.indexOf('\0'); nul >= 0) utf8.truncate(nul);
    return CutToFixedText(QString::fromUtf8(utf8));
}

QByteArray LLsdfReader::Bytes(int64_t from, int64_t limit) {
    if (!current_ || from < 0 || from >= current_->size || limit <= 0) return {};
    QByteArray bytes;
    bytes.resize(std::min({limit, current_->size - from, size_}));
    bytes.resize(ReadBuffered(current_->payload + from, bytes.data(), bytes.size()));
    return bytes;
}

}  // namespace ondarix
