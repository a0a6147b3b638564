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
    int64_t end = 0;    // just past the last one
};

// What the walk over a file's chunks found.
struct LWavHeader {
    LSoundError error = kSourceBadHeader;
    uint16_t tag = 0;  // the sub-format's tag for WAVE_FORMAT_EXTENSIBLE
    uint16_t channels = 0;
    uint32_t sampleRate = 0;
    uint16_t blockAlign = 0;
    uint16_t bits = 0;
    QByteArray format;  // the "fmt " chunk whole
    int64_t dataStart = 0;
    std::vector<LWavDataChunk> chunks;
    bool lengthKnown = true;
};
LWavHeader ReadWavHeader(LByteSource& file);

// PCM, float, A-law and mu-law; frames are converted a block at a time. The file may still be written.
class LWavSource final : public LSoundSource {
  public:
    LWavSource(std::shared_ptr<LByteSource> file, const LWavHeader& header);
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override;
    void Seek(int64_t frame) override;
    bool Query(uint32_t id, void* result) override;
    bool IsGrowing() override;

    using Converter = void (*)(const uint8_t* from, float* to, int64_t count);

  private:
    std::shared_ptr<LByteSource> file_;
    std::vector<LWavDataChunk> chunks_;
    int64_t dataStart_;
    int64_t length_;  // frames, -1 unknown
    int64_t position_ = 0;
    size_t currentChunk_ = 0;
    int32_t bytesPerSample_;
    int32_t bytesPerFrame_;
    Converter convert_;
    std::vector<uint8_t> buffer_;
};

LSoundSourceRef OpenWav(const QString& path);
LSoundSourceRef OpenWav(std::shared_ptr<LByteSource> file);  // for memory and fuzzing

// Hooks for codec tags that have no reader here; empty handles when they cannot. `kMpeg` is for tag 85.
extern LSoundSourceRef (*gOpenWavCodec)(std::shared_ptr<LByteSource> file, const LWavHeader& header);

}  // namespace ondarix
