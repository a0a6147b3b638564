// SPDX-License-Identifier: GPL-3.0-or-later
// RIFF WAVE, as published by Microsoft and IBM (1991) and in WAVEFORMATEXTENSIBLE; sounds beyond 4 GiB lie
// in a chain of "data" chunks within the one form.
#pragma once
#include <QString>
#include <memory>
#include <vector>

#include "gen/bytes.h"
#include "sound/source.h"

namespace ondarix {

struct LWavDataChunk {
    int64_t start = 0;  // file offset of the first byte
    int64_t end = 0;    // just past the last one, never beyond the file
};

// The adjacent "data" chunks of a form, which hold one stream of bytes: a frame may lie across two of them.
struct LWavDataChain {
    std::vector<LWavDataChunk> chunks;
    bool open = false;     // the last size is not final, the samples run to the end of the file
    bool growing = false;  // open, and not just an empty file
    int64_t Bytes() const;
};
// Sizes are looked up anew at each call. A size that was never written (0, or 0xFFFFFF01 and above in a chunk
// that stands alone) counts as open unless the form's own size says that the file is complete.
LWavDataChain ScanDataChain(LByteSource& file, int64_t formStart, int64_t dataStart);

// What the walk over a file's chunks found.
struct LWavHeader {
    LSoundError error = kSourceBadHeader;
    uint16_t tag = 0;  // the sub-format's tag for WAVE_FORMAT_EXTENSIBLE
    uint16_t channels = 0;
    uint32_t sampleRate = 0;
    uint16_t blockAlign = 0;
    uint16_t bits = 0;
    QByteArray format;        // the "fmt " chunk whole
    int64_t formStart = 0;    // of "RIFF"; another form may stand before it
    int64_t formatStart = 0;  // of the chunk header "fmt "
    int64_t dataStart = 0;    // of the first sample
    LWavDataChain chain;
};
LWavHeader ReadWavHeader(LByteSource& file);

// Chunks that a walk looks at before it gives the file up.
inline constexpr int kMaxWavChunks = 1 << 16;

// PCM, float, A-law and mu-law; frames are converted a block at a time. The file may still be written.
class LWavSource final : public LSoundSource {
  public:
    LWavSource(std::shared_ptr<LByteSource> file, const LWavHeader& header);
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override;
    void Seek(int64_t frame) override;  // negative positions stay, and read as silence up to frame 0
    bool Query(uint32_t id, void* result) override;
    bool IsGrowing() override;

    using Converter = void (*)(const uint8_t* from, float* to, int64_t count);

  private:
    void Refresh();
    int64_t ReadBytes(int64_t streamOffset, void* dest, int64_t bytes);

    std::shared_ptr<LByteSource> file_;
    LWavDataChain chain_;
    int64_t formStart_, dataStart_;
    int64_t length_ = 0;  // frames; of an open chain as last seen
    int64_t position_ = 0;
    size_t currentChunk_ = 0;
    int64_t chunkBase_ = 0;  // bytes of the stream before the current chunk
    int32_t bytesPerFrame_ = 1;
    uint32_t integerBits_ = 0;
    Converter convert_ = nullptr;
    std::vector<uint8_t> buffer_;
};

LSoundSourceRef OpenWav(const QString& path);
LSoundSourceRef OpenWav(std::shared_ptr<LByteSource> file);  // for memory and fuzzing

// Hooks for codec tags that have no reader here; empty handles when they cannot.
extern LSoundSourceRef (*gOpenWavCodec)(std::shared_ptr<LByteSource> file, const LWavHeader& header);

}  // namespace ondarix
