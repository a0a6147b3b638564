// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/wav_source.h"

#include <algorithm>

#include "dsp/sample_convert.h"

namespace ondarix {

LSoundSourceRef (*gOpenWavCodec)(std::shared_ptr<LByteSource> file, const LWavHeader& header) = nullptr;

namespace {

constexpr int64_t kWavReadBytes = 128 << 10;

struct WavCoding {
    LWavSource::Converter convert = nullptr;
    int bytesPerSample = 0;
    uint32_t integerBits = 0;
    float peak = kPcmPeakBound;
};

WavCoding CodingOf(const LWavHeader& header) {
    if (header.tag == 1) {
        if (header.bits < 9) return {FloatFromPcm8, 1, 8};
        if (header.bits < 17) return {FloatFromPcm16, 2, 16};
        if (header.bits < 25) return {FloatFromPcm24, 3, 24};
        return {FloatFromPcm32, 4, 32};
    }
    if (header.tag == 3 && header.bits == 32) return {FloatFromF32, 4, 0, kUnknownPeak};
    if (header.tag == 3 && header.bits == 64) return {FloatFromF64, 8, 0, kUnknownPeak};
    if (header.tag == 6) return {FloatFromALaw, 1};
    if (header.tag == 7) return {FloatFromMuLaw, 1};
    return {};
}

}  // namespace

LWavSource::LWavSource(std::shared_ptr<LByteSource> file, const LWavHeader& header)
    : LSoundSource(header.sampleRate, header.channels),
      file_(std::move(file)),
      chain_(header.chain),
      formStart_(header.formStart),
      dataStart_(header.dataStart) {
    const WavCoding coding = CodingOf(header);
    if (!coding.convert) {
        error = kSourceUnsupported;
        return;
    }
    convert_ = coding.convert;
    integerBits_ = coding.integerBits;
    peak = coding.peak;
    bytesPerFrame_ = coding.bytesPerSample * channels;
    length_ = chain_.Bytes() / bytesPerFrame_;
    buffer_.resize(
        static_cast<size_t>(std::max<int64_t>(kWavReadBytes / bytesPerFrame_, 1) * bytesPerFrame_));
}

// The writer fills in sizes and goes on to further chunks while this reads.
void LWavSource::Refresh() {
    chain_ = ScanDataChain(*file_, formStart_, dataStart_);
    length_ = chain_.Bytes() / bytesPerFrame_;
    currentChunk_ = 0;
    chunkBase_ = 0;
}

int64_t LWavSource::GetLength() {
    if (chain_.open) Refresh();
    return length_;
}

bool LWavSource::IsGrowing() {
    if (chain_.open) Refresh();
    return chain_.growing;
}

void LWavSource::Seek(int64_t frame) { position_ = std::min(frame, GetLength()); }

bool LWavSource::Query(uint32_t id, void* result) {
    if (id != kQueryIntegerBits || integerBits_ == 0) return false;
    *static_cast<uint32_t*>(result) = integerBits_;
    return true;
}

int64_t LWavSource::ReadBytes(int64_t streamOffset, void* dest, int64_t bytes) {
    if (streamOffset < chunkBase_) currentChunk_ = 0, chunkBase_ = 0;
    int64_t done = 0;
    while (done < bytes && currentChunk_ < chain_.chunks.size()) {
        const LWavDataChunk& chunk = chain_.chunks[currentChunk_];
        const int64_t into = streamOffset + done - chunkBase_;
        const int64_t left = chunk.end - chunk.start - into;
        if (left <= 0) {
            chunkBase_ += chunk.end - chunk.start;
            ++currentChunk_;
            continue;
        }
        const int64_t piece = std::min(left, bytes - done);
        const int64_t got = file_->ReadAt(chunk.start + into, static_cast<uint8_t*>(dest) + done, piece);
        done += got;
        if (got < piece) break;
    }
    return done;
}

float* LWavSource::Read(float* dest, int32_t frames) {
    int64_t wanted = frames;
    if (position_ < 0 && wanted > 0) {
        const int64_t before = position_ < -wanted ? wanted : -position_;
        dest = Silence(dest, before);
        position_ += before;
        wanted -= before;
    }
    if (chain_.open && length_ - position_ < wanted) Refresh();
    const auto room = static_cast<int64_t>(buffer_.size()) / std::max(bytesPerFrame_, 1);
    while (wanted > 0 && position_ < length_ && room > 0) {
        const int64_t piece = std::min({wanted, length_ - position_, room});
        const int64_t bytes = piece * bytesPerFrame_;
        const int64_t got = ReadBytes(position_ * bytesPerFrame_, buffer_.data(), bytes);
        const int64_t samples = got / (bytesPerFrame_ / channels);
        convert_(buffer_.data(), dest, samples);
        std::fill(dest + samples, dest + piece * channels, 0.0f);
        dest += piece * channels;
        position_ += piece;
        wanted -= piece;
    }
    return wanted > 0 ? Silence(dest, wanted) : dest;
}

LSoundSourceRef OpenWav(std::shared_ptr<LByteSource> file) {
    const LWavHeader header = ReadWavHeader(*file);
    if (header.error != kSourceGood) return FailedSource(header.error);
    if (CodingOf(header).convert) return MakeSource<LWavSource>(std::move(file), header);
    if (gOpenWavCodec) {
        LSoundSourceRef source = gOpenWavCodec(std::move(file), header);
        if (!source.IsEmpty()) return source;
    }
    return FailedSource(kSourceUnsupported);
}

LSoundSourceRef OpenWav(const QString& path) {
    auto file = std::make_shared<LFileBytes>(path);
    if (!file->IsOpen()) return FailedSource(kSourceCannotOpen);
    return OpenWav(std::move(file));
}

}  // namespace ondarix
