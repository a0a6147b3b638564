// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QString>
#include <vector>

#include "dsp/noise_shaper.h"
#include "formats/format_record.h"
#include "formats/wav_chunks.h"
#include "sound/sink.h"

namespace ondarix {

// Largest sizes of the "data" chunks of one form; smaller ones make the chain testable.
struct LWavChunkLimits {
    int64_t first = 0xFFFFFFD8;
    int64_t later = 0xFFFFFFF0;
};

// Bits that a sample of the record takes in a file (8, 16, 24 or 32); 0 for a record that LWavSink refuses.
int StoredWavBits(const LFormatRecord& record);

struct LWavSinkOptions {
    bool shaper = true;       // also needs more than 8000 Hz, at most 16 channels, 8 or 16 bits of PCM
    bool shortHeader = true;  // 44 bytes, else 46 with cbSize; A-law and mu-law always take the long one
    LWavChunkLimits limits;
    LForeignChunks foreign;
};

// PCM of 8, 16, 24 and 32 bits, 32-bit float, A-law and mu-law; any other record fails. Opens an existing
// file and cuts it back. The header is always the plain form, also for more than two channels. The chunk
// being written has size 0 until it is full or Finish writes the true sizes, which also tells a concurrent
// reader to follow.
class LWavSink final : public LSoundSink {
  public:
    LWavSink(const QString& path, const LFormatRecord& record, LWavSinkOptions options = {});
    ~LWavSink() override;
    void Write(const float* src, int32_t frames) override;
    void Truncate(int64_t frames) override;
    void Finish() override;

  private:
    void Convert(const float* src, int64_t frames);
    void WriteHeader();
    uint32_t FormSize(int64_t firstChunkSize) const;
    void WriteBytes(const uint8_t* from, int64_t bytes);
    void WriteSizeOf(int64_t chunk, int64_t size);
    int64_t ChunkOf(int64_t dataByte) const;  // number of the chunk that holds the byte
    int64_t ChunkBegin(int64_t chunk) const;  // its first data byte
    int64_t FileOffsetOf(int64_t dataByte) const;
    int64_t EndOffset(int64_t bytes) const;  // behind so many data bytes
    void Fail() { flags |= kFailed; }

    int fd_ = -1;
    LFormatRecord record_;
    LWavSinkOptions options_;
    LNoiseShaper shaper_;
    bool shaperOn_ = false;
    int64_t dataStart_ = 0;  // file offset of the first sample
    int64_t dataBytes_ = 0;  // sample bytes written, headers between chunks not counted
    int32_t bytesPerFrame_ = 0;
    int32_t blockFrames_ = 0;  // frames that the buffer holds
    std::vector<uint8_t> buffer_;
    bool finished_ = false;
};

}  // namespace ondarix
