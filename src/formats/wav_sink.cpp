// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/wav_sink.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <algorithm>

#include "dsp/sample_convert.h"
#include "gen/bytes.h"

namespace ondarix {

namespace {

constexpr int64_t kWavWriteBytes = 128 << 10;
constexpr int64_t kChunkHeaderBytes = 8;

// The record that is written: the width as it is stored, sizes that agree with it. Tag 0: cannot be written.
LFormatRecord Normalised(const LFormatRecord& asked) {
    const int bits = StoredWavBits(asked);
    LFormatRecord record = LFormatRecord::Plain(bits ? asked.tag : uint16_t{0}, static_cast<uint16_t>(bits),
                                                asked.sampleRate, asked.channels);
    if (asked.tag == 6 || asked.tag == 7) record.extra = asked.extra;
    return record;
}

}  // namespace

int StoredWavBits(const LFormatRecord& record) {
    if (record.channels < 1 || record.channels > 255 || record.sampleRate < 1) return 0;
    if (record.tag == 1) return record.bits < 9 ? 8 : record.bits > 24 ? 32 : record.bits > 16 ? 24 : 16;
    if (record.tag == 3) return record.bits == 32 ? 32 : 0;
    return record.tag == 6 || record.tag == 7 ? 8 : 0;
}

LWavSink::LWavSink(const QString& path, const LFormatRecord& record, LWavSinkOptions options)
    : LSoundSink({static_cast<int32_t>(record.sampleRate), static_cast<uint8_t>(record.channels)}),
      record_(Normalised(record)),
      options_(std::move(options)) {
    flags |= kFailed;  // until the header is written
    if (record_.tag == 0) return;
    bytesPerFrame_ = record_.blockAlign;
    blockFrames_ = static_cast<int32_t>(std::max<int64_t>(kWavWriteBytes / bytesPerFrame_, 1));
    buffer_.resize(static_cast<size_t>(blockFrames_) * static_cast<size_t>(bytesPerFrame_));
    shaperOn_ = options_.shaper && record_.tag == 1 && record_.bits <= 16 &&
                record_.sampleRate > LNoiseShaper::kRateAbove && channels <= LNoiseShaper::kMaxChannels;
    if (record_.tag == 6 || record_.tag == 7) options_.shortHeader = false;
    fd_ = open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666);
    struct stat facts;
    if (fd_ < 0) return;
    if (fstat(fd_, &facts) != 0 || !S_ISREG(facts.st_mode)) {
        close(fd_);
        fd_ = -1;
        return;
    }
    flags &= static_cast<uint8_t>(~kFailed);
    WriteHeader();
    if (ftruncate(fd_, dataStart_) != 0) Fail();
}

LWavSink::~LWavSink() {
    Finish();
    if (fd_ >= 0) close(fd_);
}

// Counts no pad byte unless other chunks stand behind it.
uint32_t LWavSink::FormSize(int64_t firstChunkSize) const {
    const int64_t behind = options_.foreign.BytesAt(ChunkPlace::kAfterData);
    return static_cast<uint32_t>(dataStart_ - 8 + firstChunkSize +
                                 (behind > 0 ? (dataBytes_ & 1) + behind : 0));
}

void LWavSink::WriteHeader() {
    const LForeignChunks& foreign = options_.foreign;
    const QByteArray format = options_.shortHeader ? record_.ToBytes().first(16) : record_.ToBytes();
    QByteArray formatChunk("fmt \0\0\0\0", 8);
    StoreLe(formatChunk.data() + 4, static_cast<uint32_t>(format.size()));
    formatChunk += format;
    const int64_t formatAt = 12 + foreign.BytesAt(ChunkPlace::kBeforeFormat);
    const int64_t foreignAt = formatAt + formatChunk.size();
    dataStart_ = foreignAt + foreign.BytesAt(ChunkPlace::kBeforeData) + kChunkHeaderBytes;
    char form[12] = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E'};
    StoreLe(form + 4, FormSize(0));
    const bool written = WriteExactlyAt(fd_, 0, form, sizeof form) &&
                         foreign.WriteAt(fd_, 12, ChunkPlace::kBeforeFormat) &&
                         WriteExactlyAt(fd_, formatAt, formatChunk.constData(), formatChunk.size()) &&
                         foreign.WriteAt(fd_, foreignAt, ChunkPlace::kBeforeData);
    if (!written) Fail();
    WriteSizeOf(0, 0);
}

int64_t LWavSink::ChunkOf(int64_t dataByte) const {
    const LWavChunkLimits& limits = options_.limits;
    return dataByte < limits.first ? 0 : 1 + (dataByte - limits.first) / limits.later;
}

int64_t LWavSink::ChunkBegin(int64_t chunk) const {
    return chunk == 0 ? 0 : options_.limits.first + (chunk - 1) * options_.limits.later;
}

int64_t LWavSink::FileOffsetOf(int64_t dataByte) const {
    return dataStart_ + dataByte + ChunkOf(dataByte) * kChunkHeaderBytes;
}

int64_t LWavSink::EndOffset(int64_t bytes) const {
    return bytes == 0 ? dataStart_ : FileOffsetOf(bytes - 1) + 1;
}

void LWavSink::WriteSizeOf(int64_t chunk, int64_t size) {
    uint8_t header[8] = {'d', 'a', 't', 'a'};
    StoreLe(header + 4, static_cast<uint32_t>(size));
    const int64_t at = FileOffsetOf(ChunkBegin(chunk)) - kChunkHeaderBytes;
    if (!WriteExactlyAt(fd_, at, header, sizeof header)) Fail();
}

// A chunk that is full gets its size when the next one begins: what a crash leaves is a chain to its end.
void LWavSink::WriteBytes(const uint8_t* from, int64_t bytes) {
    while (bytes > 0) {
        const int64_t chunk = ChunkOf(dataBytes_);
        if (chunk > 0 && dataBytes_ == ChunkBegin(chunk)) {
            WriteSizeOf(chunk, 0);
            WriteSizeOf(chunk - 1, dataBytes_ - ChunkBegin(chunk - 1));
        }
        const int64_t piece = std::min(bytes, ChunkBegin(chunk + 1) - dataBytes_);
        if (!WriteExactlyAt(fd_, FileOffsetOf(dataBytes_), from, piece)) return Fail();
        dataBytes_ += piece;
        from += piece;
        bytes -= piece;
    }
}

void LWavSink::Convert(const float* src, int64_t frames) {
    uint8_t* to = buffer_.data();
    const int64_t samples = frames * channels;
    if (record_.tag == 6) return ALawFromFloat(src, to, samples);
    if (record_.tag == 7) return MuLawFromFloat(src, to, samples);
    if (record_.bits == 32) return Pcm32FromFloat(src, to, samples);
    if (record_.bits == 24) return Pcm24FromFloat(src, to, samples);
    if (record_.bits == 16 && shaperOn_) return shaper_.Quantise16(src, to, frames, channels);
    if (record_.bits == 16) return Pcm16FromFloat(src, to, samples);
    if (shaperOn_) return shaper_.Quantise8(src, to, frames, channels);
    Pcm8FromFloat(src, to, samples);
}

void LWavSink::Write(const float* src, int32_t frames) {
    if (!src || finished_ || fd_ < 0 || bytesPerFrame_ == 0) return;
    for (int64_t left = frames; left > 0;) {
        const int64_t piece = record_.tag == 3 ? left : std::min<int64_t>(left, blockFrames_);
        const auto* bytes = buffer_.data();
        if (record_.tag == 3)
            bytes = reinterpret_cast<const uint8_t*>(src);
        else
            Convert(src, piece);
        const int64_t before = dataBytes_;
        WriteBytes(bytes, piece * bytesPerFrame_);
        if (dataBytes_ - before < piece * bytesPerFrame_) {
            dataBytes_ = before;  // whole frames only; the next call goes on here
            return;
        }
        framesWritten += piece;
        src += piece * channels;
        left -= piece;
    }
}

void LWavSink::Truncate(int64_t frames) {
    if (finished_ || fd_ < 0 || bytesPerFrame_ == 0 || frames > framesWritten) return;
    framesWritten = std::max<int64_t>(frames, 0);
    dataBytes_ = framesWritten * bytesPerFrame_;
    if (ftruncate(fd_, EndOffset(dataBytes_)) != 0) Fail();
    WriteSizeOf(dataBytes_ == 0 ? 0 : ChunkOf(dataBytes_ - 1), 0);
}

void LWavSink::Finish() {
    if (finished_ || fd_ < 0 || bytesPerFrame_ == 0) return;
    finished_ = true;
    int64_t end = EndOffset(dataBytes_);
    const int64_t lastChunk = dataBytes_ == 0 ? 0 : ChunkOf(dataBytes_ - 1);
    const auto sizeOf = [&](int64_t chunk) {
        return std::min(dataBytes_, ChunkBegin(chunk + 1)) - ChunkBegin(chunk);
    };
    const uint32_t formSize = FormSize(sizeOf(0));
    if (!WriteExactlyAt(fd_, 4, &formSize, sizeof formSize)) Fail();
    for (int64_t chunk = 0; chunk <= lastChunk; ++chunk) WriteSizeOf(chunk, sizeOf(chunk));
    if (dataBytes_ & 1) {
        const uint8_t pad = 0;
        if (!WriteExactlyAt(fd_, end, &pad, 1)) Fail();
        ++end;
    }
    if (!options_.foreign.WriteAt(fd_, end, ChunkPlace::kAfterData)) Fail();
    end += options_.foreign.BytesAt(ChunkPlace::kAfterData);
    if (ftruncate(fd_, end) != 0) Fail();
}

}  // namespace ondarix
