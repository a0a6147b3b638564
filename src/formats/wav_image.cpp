// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/wav_image.h"

#include <algorithm>

#include "dsp/sample_convert.h"
#include "formats/format_record.h"
#include "formats/wav_source.h"
#include "sound/cache_writer.h"
#include "sound/readers.h"

namespace ondarix {

namespace {

constexpr int64_t kImageHeaderPcm = 44;
constexpr int64_t kImageHeaderFloat = 58;      // 18 bytes of format, and the "fact" chunk
constexpr int64_t kMemoryReserve = 256 << 20;  // left to everything else

// What the system could still give, INT64_MAX where it does not say.
int64_t AvailableMemory() {
    QFile facts(QStringLiteral("/proc/meminfo"));
    if (!facts.open(QIODevice::ReadOnly)) return INT64_MAX;
    const QByteArray text = facts.readAll();
    const QByteArray name("MemAvailable:");
    const qsizetype at = text.indexOf(name);
    if (at < 0) return INT64_MAX;
    const QByteArray line = text.mid(at + name.size(), 64);
    return line.left(line.indexOf("kB")).trimmed().toLongLong() * 1024;
}

QByteArray SizedChunk(const char* name, const QByteArray& payload) {
    QByteArray chunk(name, 4);
    chunk.resize(8);
    StoreLe(chunk.data() + 4, static_cast<uint32_t>(payload.size()));
    return chunk + payload;
}

QByteArray ImageHeader(LSoundFormat format, int bits, int64_t frames, int64_t dataBytes) {
    const bool isFloat = bits == 32;
    const auto record = LFormatRecord::Plain(isFloat ? 3 : 1, static_cast<uint16_t>(bits),
                                             static_cast<uint32_t>(format.sampleRate), format.channels);
    QByteArray header("RIFF\0\0\0\0WAVE", 12);
    header += SizedChunk("fmt ", isFloat ? record.ToBytes() : record.ToBytes().first(16));
    if (isFloat) {
        QByteArray count(4, '\0');
        StoreLe(count.data(), static_cast<uint32_t>(std::min<int64_t>(frames, UINT32_MAX)));
        header += SizedChunk("fact", count);
    }
    QByteArray data("data\0\0\0\0", 8);
    StoreLe(data.data() + 4, static_cast<uint32_t>(dataBytes));
    header += data;
    StoreLe(header.data() + 4, static_cast<uint32_t>(header.size() - 8 + dataBytes + (dataBytes & 1)));
    return header;
}

// Into a block of memory that has the room already.
class LMemoryWavSink final : public LSoundSink {
  public:
    LMemoryWavSink(LSoundFormat format, int bits, char* to)
        : LSoundSink(format), bits_(bits), to_(reinterpret_cast<uint8_t*>(to)) {}
    void Write(const float* src, int32_t frames) override {
        const int64_t samples = int64_t{frames} * channels;
        if (bits_ == 8)
            Pcm8FromFloat(src, to_, samples);
        else if (bits_ == 16)
            Pcm16FromFloat(src, to_, samples);
        else if (bits_ == 24)
            Pcm24FromFloat(src, to_, samples);
        else
            std::memcpy(to_, src, static_cast<size_t>(samples) * sizeof(float));
        to_ += samples * bits_ / 8;
        framesWritten += frames;
    }

  private:
    int bits_;
    uint8_t* to_;
};

// SoX, FFmpeg and others, where they cannot go back to the header.
bool IsPlaceholderSize(uint32_t size, uint32_t blockAlign) {
    constexpr uint32_t kSoxPlaceholder = 0x7FFFF000;
    if (size == 0 || size == 0xFFFFFFFF || size == 0x7FFFFFFF) return true;
    return size <= kSoxPlaceholder && kSoxPlaceholder - size < std::max(blockAlign, 128u);
}

}  // namespace

int64_t WavImageBytes(const LSound& sound, int& bits) {
    bits = 32;
    for (const int width : {24, 8, 16})
        if (IsOnIntegerGrid(sound, width)) bits = width;
    int64_t bytes = 0;
    if (__builtin_mul_overflow(sound.Length(), int64_t{sound.channels} * bits / 8, &bytes) ||
        __builtin_add_overflow(bytes, (bits == 32 ? kImageHeaderFloat : kImageHeaderPcm) + 1, &bytes))
        return INT64_MAX;
    return bytes - 1 + (bytes - 1) % 2;
}

LWavImageResult RenderWavImage(const LSound& sound, QByteArray& image, LProgress& progress) {
    image.clear();
    int bits = 0;
    const int64_t bytes = WavImageBytes(sound, bits);
    if (bytes > kMaxWavImageBytes) return LWavImageResult::kTooLong;
    if (bytes > AvailableMemory() - kMemoryReserve) return LWavImageResult::kNoMemory;
    if (!IsOnDisk(sound)) return LWavImageResult::kLost;
    const int64_t frames = sound.Length();
    const QByteArray header = ImageHeader(sound.Format(), bits, frames, frames * sound.channels * bits / 8);
    QByteArray made(bytes, Qt::Uninitialized);
    made.back() = '\0';  // the pad byte, where there is one
    std::memcpy(made.data(), header.constData(), static_cast<size_t>(header.size()));
    LMemoryWavSink sink(sound.Format(), bits, made.data() + header.size());
    LSoundReader reader(sound);
    const JobResult pumped = PumpSource(reader, sink, progress);
    if (pumped != JobResult::kSuccess) return LWavImageResult::kCancelled;
    if (sink.framesWritten != frames) return LWavImageResult::kLost;
    image = std::move(made);
    return LWavImageResult::kDone;
}

bool IsCutOffWav(const QByteArray& image) {
    LMemoryBytes bytes(
        {reinterpret_cast<const uint8_t*>(image.constData()), static_cast<size_t>(image.size())});
    const LWavHeader header = ReadWavHeader(bytes);
    if (header.error != kSourceGood || header.dataStart < 8) return false;
    const auto claimed = LoadLe<uint32_t>(image.constData() + header.dataStart - 4);
    if (IsPlaceholderSize(claimed, header.blockAlign)) return false;
    return claimed > image.size() - header.dataStart;
}

}  // namespace ondarix
