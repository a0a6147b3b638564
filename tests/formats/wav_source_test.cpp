// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/wav_source.h"

#include <cmath>

#include "dsp/sample_convert.h"
#include "formats/wav_sink.h"
#include "formats_test.h"

namespace ondarix {
namespace {

using namespace test;

// A file in memory that lives as long as its reader.
class OwnedBytes final : public LByteSource {
  public:
    explicit OwnedBytes(Bytes bytes) : bytes_(std::move(bytes)), memory_(bytes_) {}
    int64_t ReadAt(int64_t offset, void* dest, int64_t bytes) override {
        return memory_.ReadAt(offset, dest, bytes);
    }
    int64_t Size() override { return memory_.Size(); }

  private:
    Bytes bytes_;
    LMemoryBytes memory_;
};

LSoundSourceRef OpenBytes(Bytes bytes) { return OpenWav(std::make_shared<OwnedBytes>(std::move(bytes))); }

Bytes Ramp16(int samples, int first = 0) {
    Bytes bytes;
    for (int i = 0; i < samples; ++i) Riff::Append(bytes, static_cast<int16_t>(first + i));
    return bytes;
}

// --- What other programs write

struct Coding {
    const char* name;
    const char* make;  // shell command, %1 is the file
    double full;       // integer steps of full scale, 0: floats are compared as they are
    uint32_t bits;     // answered to kQueryIntegerBits
};

const char* const kTone =
    "-f lavfi -i 'aevalsrc=0.95*sin(2765*t)|0.6*sin(1300*t)+0.3*sin(9000*t):s=44100:d=0.4'";
const char* const kSixChannels =
    "-f lavfi -i 'aevalsrc=sin(99*t)|sin(t)|sin(5*t)|0|sin(70*t)|sin(8*t):s=48000:d=0.3'";

const Coding kCodings[] = {
    {"sox_u8", "sox -n -r 44100 -c 2 -e unsigned -b 8 %1 synth 0.4 sine 440 sine 3000 gain -1", 128, 8},
    {"sox_s16", "sox -n -r 22050 -c 1 -b 16 %1 synth 0.4 whitenoise", 32768, 16},
    {"sox_s24", "sox -n -r 96000 -c 2 -b 24 %1 synth 0.4 sine 440 sine 3000 gain -1", 8388608, 24},
    {"sox_s32", "sox -n -r 44100 -c 6 -b 32 %1 synth 0.4 pinknoise", 2147483648.0, 32},
    {"sox_f32", "sox -n -r 44100 -c 2 -e float -b 32 %1 synth 0.4 sine 440 sine 3000", 0, 0},
    {"sox_f64", "sox -n -r 44100 -c 1 -e float -b 64 %1 synth 0.4 whitenoise", 0, 0},
    {"sox_alaw", "sox -n -r 8000 -c 1 -e a-law %1 synth 1 whitenoise", 32768, 0},
    {"sox_mulaw", "sox -n -r 8000 -c 2 -e u-law %1 synth 1 whitenoise", 32768, 0},
    {"ff_u8", "ffmpeg -v error -y %2 -c:a pcm_u8 %1", 128, 8},
    {"ff_s16", "ffmpeg -v error -y %2 -c:a pcm_s16le %1", 32768, 16},
    {"ff_s24", "ffmpeg -v error -y %2 -c:a pcm_s24le %1", 8388608, 24},
    {"ff_s32", "ffmpeg -v error -y %2 -c:a pcm_s32le %1", 2147483648.0, 32},
    {"ff_f32", "ffmpeg -v error -y %2 -c:a pcm_f32le %1", 0, 0},
    {"ff_f64", "ffmpeg -v error -y %2 -c:a pcm_f64le %1", 0, 0},
    {"ff_alaw", "ffmpeg -v error -y %2 -c:a pcm_alaw %1", 32768, 0},
    {"ff_mulaw", "ffmpeg -v error -y %2 -c:a pcm_mulaw %1", 32768, 0},
    {"ff_s16_six", "ffmpeg -v error -y %3 -c:a pcm_s16le %1", 32768, 16},
    {"ff_s24_six", "ffmpeg -v error -y %3 -c:a pcm_s24le %1", 8388608, 24},
    {"ff_f32_six", "ffmpeg -v error -y %3 -c:a pcm_f32le %1", 0, 0},
    {"ff_piped", "ffmpeg -v error -y %2 -c:a pcm_s16le -f wav - > %1", 32768, 16},
    {"sox_piped", "sox -n -r 44100 -c 2 -b 16 -t wav - synth 0.4 whitenoise > %1", 32768, 16},
};

void PrintTo(const Coding& coding, std::ostream* out) { *out << coding.name; }

class EveryCoding : public HomeTest, public testing::WithParamInterface<Coding> {};
INSTANTIATE_TEST_SUITE_P(Wav, EveryCoding, testing::ValuesIn(kCodings),
                         [](const auto& row) { return std::string(row.param.name); });

// The reference is another program's decode, whose full scale is one step more than the largest sample.
TEST_P(EveryCoding, IsReadAsAnotherProgramReadsIt) {
    const Coding& coding = GetParam();
    const QString path = Path("in.wav");
    Shell(QString(coding.make).replace("%1", path).replace("%2", kTone).replace("%3", kSixChannels));
    const auto reference = As<float>(Shell("ffmpeg -v error -i " + path + " -c:a pcm_f32le -f f32le -"));
    ASSERT_GT(reference.size(), 4000u);

    const LSoundSourceRef source = OpenWav(path);
    ASSERT_EQ(source->error, kSourceGood);
    uint32_t bits = 0;
    EXPECT_EQ(source->Query(kQueryIntegerBits, &bits), coding.bits != 0);
    EXPECT_EQ(bits, coding.bits);
    EXPECT_EQ(source->peak, coding.full > 0 ? kPcmPeakBound : kUnknownPeak);
    const auto ours = ReadAll(*source, 1000);
    ASSERT_EQ(ours.size(), reference.size());
    for (size_t i = 0; i < ours.size(); ++i) {
        const double scale = coding.full > 0 ? coding.full / (coding.full - 1) : 1.0;
        const double expected = reference[i] * scale;
        ASSERT_NEAR(ours[i], expected, std::fabs(expected) * 2.4e-7) << i;
    }
}

// --- The walk over the chunks

TEST(WavHeader, SkipsOtherChunksAndOtherForms) {
    Bytes before = {'R', 'I', 'F', 'F', 9, 0, 0, 0, 'A', 'V', 'I', ' ', 1, 2, 3, 4, 5, 0};
    const Bytes wave = Riff()
                           .Chunk("JUNK", Bytes(27))
                           .Chunk("LIST", Bytes(8, 'x'))
                           .Format(1, 1, 8000, 16)
                           .Chunk("fact", Bytes(4))
                           .Chunk("data", Ramp16(50))
                           .Close();
    before.insert(before.end(), wave.begin(), wave.end());
    for (const Bytes& bytes : {wave, before}) {
        const auto source = OpenBytes(bytes);
        ASSERT_EQ(source->error, kSourceGood);
        const auto samples = ReadAll(*source);
        ASSERT_EQ(samples.size(), 50u);
        EXPECT_FLOAT_EQ(samples[49], 49 / 32767.0f);
    }
}

TEST(WavHeader, RefusesWhatTheRulesRefuse) {
    const auto error = [](Riff riff) { return int{OpenBytes(riff.Chunk("data", Ramp16(8)).Close())->error}; };
    EXPECT_EQ(error(Riff().Format(1, 0, 44100, 16)), kSourceBadHeader);
    EXPECT_EQ(error(Riff().Format(1, 256, 44100, 16)), kSourceBadHeader);
    EXPECT_EQ(error(Riff().Format(1, 255, 44100, 16)), kSourceGood);
    EXPECT_EQ(error(Riff().Format(1, 1, 0, 16)), kSourceBadHeader);
    EXPECT_EQ(error(Riff().Format(1, 1, 196000, 16)), kSourceGood);
    EXPECT_EQ(error(Riff().Format(1, 1, 196001, 16)), kSourceBadHeader);
    EXPECT_EQ(error(Riff().Format(1, 1, 0xFFFFFFFF, 16)), kSourceBadHeader);
    for (uint16_t tag : {34, 69, 624}) EXPECT_EQ(error(Riff().Format(tag, 1, 8000, 16)), kSourceRefused);
    for (uint16_t bits : {0, 16, 33, 80})
        EXPECT_EQ(error(Riff().Format(3, 1, 8000, bits)), kSourceUnsupported);
    for (uint16_t tag : {0, 2, 17, 85, 0xFFFE})
        EXPECT_EQ(error(Riff().Format(tag, 1, 8000, 4)), kSourceUnsupported);
    EXPECT_EQ(error(Riff().Chunk("fmt ", Bytes(15))), kSourceBadHeader);
    EXPECT_EQ(error(Riff().Chunk("fmt ", Bytes(8194))), kSourceBadHeader);
    EXPECT_EQ(error(Riff().ChunkOfSize("JUNK", 0x7FFFFFFF, {}).Format(1, 1, 8000, 16)), kSourceBadHeader);
    EXPECT_EQ(OpenBytes(Riff().Chunk("data", Ramp16(4)).Format(1, 1, 8000, 16).Close())->error,
              kSourceBadHeader)
        << "samples before their format";
    EXPECT_EQ(OpenBytes({})->error, kSourceBadHeader);
    EXPECT_EQ(OpenBytes(Bytes(1 << 20))->error, kSourceBadHeader);
}

TEST(WavHeader, ResolvesTheExtensibleForm) {
    const auto extensible = [](uint16_t tag, uint8_t last, uint16_t extra = 22) {
        Bytes more;
        Riff::Append(more, extra);
        Riff::Append(more, uint16_t{16});
        Riff::Append(more, uint32_t{3});
        Riff::Append(more, tag);
        for (uint8_t byte : {0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B}) more.push_back(byte);
        more.push_back(last);
        return OpenBytes(Riff().Format(0xFFFE, 2, 48000, 16, more).Chunk("data", Ramp16(10)).Close());
    };
    EXPECT_EQ(extensible(1, 0x71)->error, kSourceGood);
    EXPECT_EQ(extensible(1, 0x71)->GetLength(), 5);
    EXPECT_EQ(extensible(6, 0x71)->GetLength(), 10) << "A-law";
    EXPECT_EQ(extensible(2, 0x71)->error, kSourceUnsupported) << "ADPCM";
    EXPECT_EQ(extensible(1, 0x72)->error, kSourceUnsupported) << "an identifier of somebody else";
    EXPECT_EQ(extensible(1, 0x71, 21)->error, kSourceUnsupported) << "too short to hold one";
}

// Cut anywhere and with any size, a file gives what it really holds.
TEST(WavHeader, BelievesNoLengthBeyondTheFile) {
    const Bytes plain = Riff().Format(1, 2, 44100, 16).Chunk("data", Ramp16(20)).Close();
    const Bytes rich = Riff()
                           .Chunk("bext", Bytes(11))
                           .Format(1, 2, 44100, 16, {0, 0})
                           .Chunk("LIST", Bytes(6))
                           .Chunk("data", Ramp16(20))
                           .Close();
    for (const Bytes& whole : {plain, rich}) {
        const size_t header = whole.size() - 40;
        for (size_t size = 0; size < whole.size(); ++size) {
            const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
            const auto source = OpenBytes(cut);
            ASSERT_EQ(source->error, size < header ? kSourceBadHeader : kSourceGood) << size;
            const auto samples = ReadAll(*source);
            if (size >= header) {
                ASSERT_EQ(samples.size(), (size - header) / 4 * 2) << size;
            }
        }
    }
    for (uint32_t size : {41u, 0x7FFFF000u, 0xFFFFFF00u, 0xFFFFFF01u, 0xFFFFFFFFu}) {
        const auto source =
            OpenBytes(Riff().Format(1, 2, 44100, 16).ChunkOfSize("data", size, Ramp16(20)).bytes);
        EXPECT_EQ(source->GetLength(), 10) << size;
        EXPECT_EQ(source->IsGrowing(), size >= 0xFFFFFF01u) << size;
    }
    const auto lying = OpenBytes(Riff()
                                     .Chunk("fmt ", {1, 0, 2, 0, 0x44, 0xAC, 0, 0, 9, 9, 9, 9, 77, 0, 16, 0})
                                     .Chunk("data", Ramp16(20))
                                     .Close());
    EXPECT_EQ(lying->GetLength(), 10) << "block align is taken from the width";
}

TEST(WavSource, ReadsSilenceBeforeTheStartAndPastTheEnd) {
    const auto source = OpenBytes(Riff().Format(1, 1, 44100, 16).Chunk("data", Ramp16(30, 100)).Close());
    source->Seek(-5);
    EXPECT_EQ(source->GetPosition(), -5);
    std::vector<float> out(50, 9.0f);
    EXPECT_EQ(source->Read(out.data(), 50), out.data() + 50);
    for (int i = 0; i < 50; ++i)
        EXPECT_FLOAT_EQ(out[static_cast<size_t>(i)], i < 5 || i >= 35 ? 0.0f : (95 + i) / 32767.0f) << i;
    source->Seek(INT64_MIN);
    source->Read(out.data(), 50);
    EXPECT_EQ(out, std::vector<float>(50, 0.0f));
    EXPECT_EQ(source->GetPosition(), INT64_MIN + 50);
    source->Seek(1000);
    EXPECT_EQ(source->GetPosition(), 30) << "clamped to the length";
    source->Seek(7);
    source->Read(out.data(), 1);
    EXPECT_FLOAT_EQ(out[0], 107 / 32767.0f);
}

TEST(WavSource, GivesTheSameSamplesForAnyBlockAndSeek) {
    for (uint16_t channels : {1, 3, 255}) {
        const auto bytes =
            Riff().Format(1, channels, 44100, 16).Chunk("data", Ramp16(channels * 900)).Close();
        const auto source = OpenBytes(bytes);
        const auto whole = ReadAll(*source);
        for (int block : {1, 64, 777}) {
            source->Seek(0);
            EXPECT_EQ(ReadAll(*source, block), whole) << channels << " channels, blocks of " << block;
        }
        source->Seek(400);
        const auto tail = ReadAll(*source, 100);
        EXPECT_TRUE(std::equal(tail.begin(), tail.end(), whole.begin() + 400 * channels));
    }
}

// --- Chains and growth

TEST(WavChain, JoinsAdjacentDataChunks) {
    Bytes stream = Ramp16(30);  // frames of three channels, of which two lie across a boundary
    const auto part = [&](int from, int to) { return Bytes(stream.begin() + from, stream.begin() + to); };
    const auto source = OpenBytes(Riff()
                                      .Format(1, 3, 44100, 16)
                                      .Chunk("data", part(0, 20))
                                      .Chunk("data", part(20, 32))
                                      .Chunk("data", part(32, 60))
                                      .Chunk("LIST", Bytes(8))
                                      .Chunk("data", Ramp16(90))
                                      .Close());
    ASSERT_EQ(source->GetLength(), 10);
    for (int start = 0; start < 10; ++start) {
        source->Seek(start);
        const auto samples = ReadAll(*source, 4);
        for (size_t i = 0; i < samples.size(); ++i)
            ASSERT_FLOAT_EQ(samples[i], static_cast<float>(start * 3 + static_cast<int>(i)) / 32767.0f)
                << start;
    }
}

TEST(WavChain, AChunkWithoutSizeRunsToTheEndOfTheFile) {
    const auto open = [](const Riff& riff) { return OpenBytes(riff.bytes); };
    const auto crashed = open(Riff().Format(1, 1, 44100, 16).ChunkOfSize("data", 0, Ramp16(21)));
    EXPECT_EQ(crashed->GetLength(), 21);
    EXPECT_TRUE(crashed->IsGrowing());
    const auto chained =
        open(Riff().Format(1, 1, 44100, 16).Chunk("data", Ramp16(10)).ChunkOfSize("data", 0, Ramp16(7, 10)));
    EXPECT_EQ(chained->GetLength(), 17);
    EXPECT_TRUE(chained->IsGrowing());
    EXPECT_FLOAT_EQ(ReadAll(*chained)[16], 16 / 32767.0f);
    const auto empty = OpenBytes(Riff().Format(1, 1, 44100, 16).Chunk("data", {}).Close());
    EXPECT_EQ(empty->error, kSourceGood);
    EXPECT_EQ(empty->GetLength(), 0);
    EXPECT_FALSE(empty->IsGrowing());
    const auto tagged =
        OpenBytes(Riff().Format(1, 1, 44100, 16).Chunk("data", {}).Chunk("LIST", Bytes(40)).Close());
    EXPECT_EQ(tagged->GetLength(), 0) << "a complete file without samples: what follows is no sound";
}

class GrowingWav : public HomeTest {};

// A writer at work over several chunks, and a reader that was there from the first second.
TEST_F(GrowingWav, IsFollowedToItsEnd) {
    LWavSinkOptions options;
    options.limits = {600, 1000};
    options.shaper = false;
    const auto all = Noise(3001 * 2);
    auto sink = std::make_unique<LWavSink>(Path("grow.wav"), LFormatRecord::Plain(3, 32, 44100, 2), options);
    const LSoundSourceRef source = OpenWav(Path("grow.wav"));
    ASSERT_EQ(source->error, kSourceGood);
    std::vector<float> got;
    for (int64_t written = 0; written < 3001;) {
        const int32_t step = static_cast<int32_t>(std::min<int64_t>(1 + written % 97, 3001 - written));
        sink->Write(&all[static_cast<size_t>(written) * 2], step);
        written += step;
        ASSERT_EQ(source->GetLength(), written);
        ASSERT_TRUE(source->IsGrowing());
        const auto more = ReadAll(*source);
        got.insert(got.end(), more.begin(), more.end());
    }
    EXPECT_EQ(got, all);
    sink.reset();
    EXPECT_FALSE(source->IsGrowing());
    EXPECT_EQ(source->GetLength(), 3001);
    source->Seek(0);
    EXPECT_EQ(ReadAll(*source), all);
}

TEST_F(GrowingWav, CutWhileBeingReadGivesSilence) {
    WriteWhole(Path("cut.wav"), Riff().Format(1, 1, 44100, 16).Chunk("data", Ramp16(50000, 1)).Close());
    const LSoundSourceRef source = OpenWav(Path("cut.wav"));
    std::vector<float> out(50000, 9.0f);
    source->Read(out.data(), 10);
    ASSERT_TRUE(QFile::resize(Path("cut.wav"), 44 + 2001));
    EXPECT_EQ(source->Read(out.data() + 10, 49990), out.data() + 50000);
    EXPECT_FLOAT_EQ(out[999], 1000 / 32767.0f);
    for (size_t i = 1000; i < out.size(); ++i) ASSERT_EQ(out[i], 0.0f) << i;
}

}  // namespace
}  // namespace ondarix
