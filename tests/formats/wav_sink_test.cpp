// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/wav_sink.h"

#include <cmath>

#include "dsp/sample_convert.h"
#include "formats/wav_source.h"
#include "formats_test.h"

namespace ondarix {
namespace {

using namespace test;

class WavSink : public HomeTest {
  protected:
    Bytes Write(const LFormatRecord& record, const std::vector<float>& samples, LWavSinkOptions options = {},
                int32_t block = 1000) {
        LWavSink sink(Path("out.wav"), record, std::move(options));
        const auto frames = static_cast<int64_t>(samples.size()) / record.channels;
        for (int64_t at = 0; at < frames; at += block)
            sink.Write(&samples[static_cast<size_t>(at * record.channels)],
                       static_cast<int32_t>(std::min<int64_t>(block, frames - at)));
        sink.Finish();
        EXPECT_FALSE(sink.HasFailed());
        EXPECT_EQ(sink.framesWritten, frames);
        return ReadWhole(Path("out.wav"));
    }
    uint32_t U32(const Bytes& bytes, size_t at) { return LoadLe<uint32_t>(&bytes.at(at)); }
};

struct Kind {
    uint16_t tag, bits;
    const char* ffmpeg;  // raw coding of the samples as they are stored
    const char* sox;
};
const Kind kKinds[] = {{1, 8, "u8", "-e unsigned -b 8"},    {1, 16, "s16le", "-e signed -b 16"},
                       {1, 24, "s24le", "-e signed -b 24"}, {1, 32, "s32le", "-e signed -b 32"},
                       {3, 32, "f32le", "-e float -b 32"},  {6, 8, "alaw", "-e a-law -b 8"},
                       {7, 8, "mulaw", "-e u-law -b 8"}};

// Other programs hold samples as integers: mu-law has one zero there, and floats lose their last bit.
void ExpectSameSamples(Bytes theirs, Bytes ours, const Kind& kind) {
    if (kind.tag == 7) {
        std::replace(theirs.begin(), theirs.end(), uint8_t{0x7F}, uint8_t{0xFF});
        std::replace(ours.begin(), ours.end(), uint8_t{0x7F}, uint8_t{0xFF});
    }
    if (kind.tag != 3) {
        EXPECT_TRUE(theirs == ours) << kind.ffmpeg;
        return;
    }
    const auto a = As<float>(theirs), b = As<float>(ours);
    ASSERT_EQ(a.size(), b.size());
    for (size_t i = 0; i < a.size(); ++i) ASSERT_NEAR(a[i], b[i], 6e-8) << i;
}

TEST_F(WavSink, IsReadByOtherProgramsSampleForSample) {
    for (const Kind& kind : kKinds) {
        for (uint16_t channels : {1, 2, 6}) {
            const auto samples = Noise(3001u * channels);
            LWavSinkOptions options;
            options.shortHeader = channels != 2;
            const auto record = LFormatRecord::Plain(kind.tag, kind.bits, 32000, channels);
            const Bytes file = Write(record, samples, options);
            const bool isShort = options.shortHeader && kind.tag != 6 && kind.tag != 7;
            const size_t header = isShort ? 44 : 46, size = samples.size() * kind.bits / 8;
            ASSERT_EQ(file.size(), header + size + (size & 1));
            EXPECT_EQ(U32(file, 4), header - 8 + size);
            EXPECT_EQ(U32(file, header - 4), size);
            EXPECT_EQ(LoadLe<uint16_t>(&file[20]), kind.tag) << "never the extensible form";
            const Bytes data(file.begin() + static_cast<std::ptrdiff_t>(header),
                             file.begin() + static_cast<std::ptrdiff_t>(header + size));
            const QString path = Path("out.wav");
            const QString decode = "ffmpeg -v error -i %1 -c:a pcm_%2 -f %2 -";
            ExpectSameSamples(Shell(decode.arg(path, kind.ffmpeg)), data, kind);
            ExpectSameSamples(Shell("sox -D " + path + " -t raw " + kind.sox + " - 2>/dev/null"), data, kind);
            EXPECT_EQ(Shell("(soxi -r " + path + " && soxi -c " + path + ") 2>/dev/null"),
                      As<uint8_t>(Bytes(
                          {'3', '2', '0', '0', '0', '\n', static_cast<uint8_t>('0' + channels), '\n'})));
            const auto back = ReadAll(*OpenWav(path));
            ASSERT_EQ(back.size(), samples.size());
            const double step = kind.tag >= 6     ? 0.035
                                : kind.bits == 8  ? 2.6 / 127
                                : kind.bits == 16 ? 2.6 / 32767
                                                  : 2e-7;
            for (size_t i = 0; i < back.size(); ++i)
                ASSERT_NEAR(back[i], samples[i], step) << kind.ffmpeg << i;
        }
    }
}

TEST_F(WavSink, ShapesOnlyAboveTheRateAndUpToTheChannels) {
    const auto plain = [](const std::vector<float>& samples) {
        Bytes bytes(samples.size() * 2);
        Pcm16FromFloat(samples.data(), bytes.data(), static_cast<int64_t>(samples.size()));
        return bytes;
    };
    const auto isPlain = [&](uint32_t rate, uint16_t channels, bool shaper) {
        const auto samples = Noise(500u * channels, 0.01f);
        LWavSinkOptions options;
        options.shaper = shaper;
        const Bytes file = Write(LFormatRecord::Plain(1, 16, rate, channels), samples, options);
        return Bytes(file.begin() + 44, file.end()) == plain(samples);
    };
    EXPECT_TRUE(isPlain(8000, 1, true));
    EXPECT_FALSE(isPlain(8001, 1, true));
    EXPECT_FALSE(isPlain(44100, 16, true));
    EXPECT_TRUE(isPlain(44100, 17, true));
    EXPECT_TRUE(isPlain(44100, 2, false));
}

TEST_F(WavSink, PadsAnOddLengthAndCountsThePadNowhere) {
    const Bytes file = Write(LFormatRecord::Plain(1, 8, 44100, 1), std::vector<float>(5, 0.5f));
    ASSERT_EQ(file.size(), 50u);
    EXPECT_EQ(file[49], 0);
    EXPECT_EQ(U32(file, 4), 41u);
    EXPECT_EQ(U32(file, 40), 5u);
}

// Small limits stand for the real ones: the first chunk and the later ones differ, frames lie across.
TEST_F(WavSink, GoesOnInFurtherDataChunks) {
    LWavSinkOptions options;
    options.limits = {40, 48};
    for (uint16_t channels : {1, 5}) {
        for (int frames : {8, 9, 20, 21, 32, 33, 200}) {
            const auto samples = Noise(static_cast<size_t>(frames) * channels);
            const Bytes file = Write(LFormatRecord::Plain(3, 32, 44100, channels), samples, options, 7);
            // The file as the rules say it must be.
            Bytes stream(samples.size() * 4);
            std::memcpy(stream.data(), samples.data(), stream.size());
            Riff expected;
            expected.Format(3, channels, 44100, 32);
            const size_t first = std::min<size_t>(stream.size(), 40);
            for (size_t at = 0, limit = 40; at < stream.size(); at += limit, limit = 48) {
                const size_t end = std::min(stream.size(), at + limit);
                expected.Chunk("data", Bytes(stream.begin() + static_cast<std::ptrdiff_t>(at),
                                             stream.begin() + static_cast<std::ptrdiff_t>(end)));
            }
            expected.Close();
            const auto formSize = static_cast<uint32_t>(36 + first);
            std::memcpy(&expected.bytes[4], &formSize, 4);
            ASSERT_EQ(file, expected.bytes) << frames << " frames, " << channels << " channels";
            const auto source = OpenWav(Path("out.wav"));
            EXPECT_FALSE(source->IsGrowing());
            EXPECT_EQ(ReadAll(*source), samples);
        }
    }
}

TEST_F(WavSink, TruncatesAcrossChunksAndGoesOn) {
    const auto samples = Noise(300), more = Noise(40, 0.5f, 9);
    for (int keep : {0, 1, 9, 10, 11, 21, 22, 23, 100, 300}) {
        LWavSinkOptions options;
        options.limits = {40, 48};
        {
            LWavSink sink(Path("cut.wav"), LFormatRecord::Plain(3, 32, 44100, 1), options);
            sink.Write(samples.data(), 300);
            sink.Truncate(301);
            EXPECT_EQ(sink.framesWritten, 300) << "more than there is";
            sink.Truncate(keep == 0 ? -5 : keep);
            EXPECT_EQ(sink.framesWritten, keep);
            EXPECT_EQ(OpenWav(Path("cut.wav"))->GetLength(), keep) << "as a reader sees it meanwhile";
            sink.Write(more.data(), 40);
        }
        std::vector<float> expected(samples.begin(), samples.begin() + keep);
        expected.insert(expected.end(), more.begin(), more.end());
        EXPECT_EQ(ReadAll(*OpenWav(Path("cut.wav"))), expected) << keep;
        const Bytes cut = ReadWhole(Path("cut.wav"));
        EXPECT_EQ(cut, Write(LFormatRecord::Plain(3, 32, 44100, 1), expected, options)) << keep;
    }
}

TEST_F(WavSink, CutsAnExistingFileBackAndFailsWhereItCannotWrite) {
    WriteWhole(Path("out.wav"), Bytes(100000, 7));
    EXPECT_EQ(Write(LFormatRecord::Plain(1, 16, 44100, 1), std::vector<float>(3, 0.0f)).size(), 50u);
    const auto record = LFormatRecord::Plain(1, 16, 44100, 1);
    EXPECT_TRUE(LWavSink(Path("no/such/folder.wav"), record).HasFailed());
    EXPECT_TRUE(LWavSink(dir_.path(), record).HasFailed()) << "a folder";
    ASSERT_EQ(mkfifo(qPrintable(Path("fifo.wav")), 0600), 0);
    EXPECT_TRUE(LWavSink(Path("fifo.wav"), record).HasFailed());
    for (const auto& [tag, bits] : {std::pair{2, 4}, {3, 64}, {85, 0}}) {
        LWavSink sink(Path("never.wav"),
                      LFormatRecord::Plain(static_cast<uint16_t>(tag), static_cast<uint16_t>(bits), 8000, 1));
        EXPECT_TRUE(sink.HasFailed());
    }
    EXPECT_FALSE(QFile::exists(Path("never.wav")));
    LWavSink full("/dev/full", record);
    EXPECT_TRUE(full.HasFailed());
}

TEST_F(WavSink, ARecordSurvivesItsStoredForm) {
    LFormatRecord record = LFormatRecord::Plain(7, 8, 8000, 2);
    record.extra = QByteArray("\1\2\3", 3);
    const LFormatRecord back = LFormatRecord::FromBytes(record.ToBytes());
    EXPECT_EQ(back.tag, 7);
    EXPECT_EQ(back.bytesPerSecond, 16000u);
    EXPECT_EQ(back.blockAlign, 2);
    EXPECT_EQ(back.extra, record.extra);
    for (qsizetype size = 0; size < record.ToBytes().size(); ++size)
        EXPECT_EQ(LFormatRecord::FromBytes(record.ToBytes().first(size)).tag, 1) << "cut short: the default";
    const Bytes file = Write(record, std::vector<float>(4, 0.1f));
    EXPECT_EQ(file.size(), 46u + 3 + 4) << "the extra bytes stand in the file";
    EXPECT_EQ(U32(file, 4), file.size() - 8);
}

}  // namespace
}  // namespace ondarix
