// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <unistd.h>

#include "gen/lsdf.h"

namespace ondarix {
namespace {

constexpr int64_t kSizeFieldBytes = 8;  // stands right before a payload
constexpr char kTrailer[] = {'l', 's', 'd', 'f'};

}  // namespace

LLsdfWriter::LLsdfWriter(const QString& path, uint32_t kind, uint16_t formatVersion) {
    fd_ = open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    failed_ = fd_ < 0;
    uint8_t header[LLsdfReader::kRootPayload] = {'l', 's', 'd', 'f'};
    StoreLe<uint16_t>(header + 4, 1);
    StoreLe<uint32_t>(header + 6, kind);
    StoreLe<uint16_t>(header + 10, formatVersion);
    Write(header, sizeof header);
    open_.push_back(LLsdfReader::kRootPayload);
}

std::unique_ptr<LLsdfWriter> LLsdfWriter::Append(const QString& path, uint32_t kind) {
    std::unique_ptr<LLsdfWriter> writer(new LLsdfWriter);
    writer->open_.push_back(LLsdfReader::kRootPayload);
    const auto file = std::make_shared<LFileBytes>(path);
    const LLsdfReader reader(file, kind);
    const int64_t size = file->Size();
    char trailer[sizeof kTrailer] = {};
    const bool finished = reader.IsValid() && file->ReadExactlyAt(size - 4, trailer, sizeof trailer) &&
                          std::memcmp(trailer, kTrailer, sizeof trailer) == 0;
    if (finished) writer->fd_ = open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC);
    writer->failed_ = writer->fd_ < 0;
    writer->position_ = size - 4;
    return writer;
}

LLsdfWriter::~LLsdfWriter() { Close(); }

void LLsdfWriter::Write(const void* bytes, int64_t count) {
    if (!failed_ && !WriteExactlyAt(fd_, position_, bytes, count)) failed_ = true;
    position_ += count;
}

void LLsdfWriter::Open(uint16_t id, LsdfType type) {
    uint8_t header[12] = {};
    StoreLe<uint16_t>(header, id);
    StoreLe<uint16_t>(header + 2, static_cast<uint16_t>(type));
    Write(header, sizeof header);
    open_.push_back(position_);
}

void LLsdfWriter::CloseChunk() {
    if (open_.size() > 1) CloseInnermost();
}

void LLsdfWriter::CloseInnermost() {
    const int64_t payload = open_.back();
    open_.pop_back();
    uint8_t size[kSizeFieldBytes];
    StoreLe<int64_t>(size, position_ - payload);
    if (!failed_ && !WriteExactlyAt(fd_, payload - kSizeFieldBytes, size, sizeof size)) failed_ = true;
}

namespace {

// Header and value in one write; the size is known beforehand.
template <typename T>
QByteArray ValueChunk(uint16_t id, LsdfType type, T value) {
    QByteArray chunk(12 + static_cast<qsizetype>(sizeof value), '\0');
    StoreLe<uint16_t>(chunk.data(), id);
    StoreLe<uint16_t>(chunk.data() + 2, static_cast<uint16_t>(type));
    StoreLe<uint64_t>(chunk.data() + 4, sizeof value);
    StoreLe<T>(chunk.data() + 12, value);
    return chunk;
}

}  // namespace

void LLsdfWriter::PutBool(uint16_t id, bool value) {
    const QByteArray chunk = ValueChunk<uint8_t>(id, LsdfType::kBool, value ? 1 : 0);
    Write(chunk.constData(), chunk.size());
}

void LLsdfWriter::PutByte(uint16_t id, uint8_t value) {
    const QByteArray chunk = ValueChunk<uint8_t>(id, LsdfType::kBool, value);
    Write(chunk.constData(), chunk.size());
}

void LLsdfWriter::PutU32(uint16_t id, uint32_t value) {
    const QByteArray chunk = ValueChunk(id, LsdfType::kU32, value);
    Write(chunk.constData(), chunk.size());
}

void LLsdfWriter::PutI64(uint16_t id, int64_t value) {
    const QByteArray chunk = ValueChunk(id, LsdfType::kI64, value);
    Write(chunk.constData(), chunk.size());
}

void LLsdfWriter::PutI32As64(uint16_t id, int32_t value) {
    const QByteArray chunk = ValueChunk<int64_t>(id, LsdfType::kI32As64, value);
    Write(chunk.constData(), chunk.size());
}

void LLsdfWriter::PutF32(uint16_t id, float value) {
    const QByteArray chunk = ValueChunk(id, LsdfType::kF32, value);
    Write(chunk.constData(), chunk.size());
}

void LLsdfWriter::PutText(uint16_t id, const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    Open(id, LsdfType::kText);
    Write(utf8.constData(), utf8.size() + 1);
    CloseChunk();
}

void LLsdfWriter::PutBytes(uint16_t id, const QByteArray& bytes) {
    Open(id, LsdfType::kBytes);
    Write(bytes.constData(), bytes.size());
    CloseChunk();
}

void LLsdfWriter::Close() {
    if (open_.empty()) return;
    while (!open_.empty()) CloseInnermost();
    Write(kTrailer, sizeof kTrailer);
    if (fd_ >= 0 && close(fd_) != 0) failed_ = true;
    fd_ = -1;
}

}  // namespace ondarix
