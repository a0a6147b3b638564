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

struct LWavSinkOptions {
    bool shaper = true;       // also needs more than 8000 Hz, at most 16 channels, 8 or 16 bits of PCM
    bool shortHeader = true;  // 44 bytes, else 46 with cbSize; A-law and mu-law always take the long one
    LWavChunkLimits limits;
    LForeignChunks foreign;
};

// PCM of 8, 16, 24 and 32 bits, 32-bit float, A-law and mu-law. Opens an existing file and cuts it back.
// Headers have size 0 until Finish writes the true ones, which also tells a concurrent reader to follow.
class LWavSink final : public LSoundSink {
  public:
    LWavSink(const QString& path, const LFormatRecord& record, LWavSinkOptions options = {});
    ~LWavSink() override;
    void Write(const float* src, int32_t frames) override;
    void Truncate(int64_t frames) override;
    void Finish() override;

  private:
    void WriteHeader(uint32_t dataSize);
    void WriteBytes(const uint8_t* from, int64_t bytes);
    int64_t FileOffsetOf(int64_t dataByte) const;

    int fd_ = -1;
    LFormatRecord record_;
    LWavSinkOptions options_;
    LNoiseShaper shaper_;
    bool shaperOn_ = false;
    int64_t dataStart_ = 0;  // file offset of the first sample
    int64_t dataBytes_ = 0;  // sample bytes written, headers between chunks not counted
    int32_t bytesPerFrame_ = 0;
    std::vector<uint8_t> buffer_;
    bool finished_ = false;
};

}  // namespace ondarix
