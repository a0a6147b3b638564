// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/wav_chunks.h"

#include "formats/wav_sink.h"
#include "formats/wav_source.h"
#include "formats_test.h"

namespace ondarix {
namespace {

using namespace test;

class WavChunks : public HomeTest {
  protected:
    // What a file becomes when it is read and written again in the same format.
    Bytes Rewrite(const Bytes& bytes) {
        WriteWhole(Path("in.wav"), bytes);
        LWavSinkOptions options;
        options.foreign = ReadForeignChunks(Path("in.wav"));
        const auto source = OpenWav(Path("in.wav"));
        EXPECT_EQ(source->error, kSourceGood);
        const auto samples = ReadAll(*source);
        LWavSink sink(Path("out.wav"), LFormatRecord::Plain(1, 8, source->sampleRate, source->channels),
                      options);
        sink.Write(samples.data(), static_cast<int32_t>(samples.size() / source->channels));
        sink.Finish();
        EXPECT_FALSE(sink.HasFailed());
        return ReadWhole(Path("out.wav"));
    }
    static Bytes Payload(size_t size, uint8_t first = 1) {
        Bytes bytes(size);
        for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(first + i * 7);
        return bytes;
    }
};

TEST_F(WavChunks, StandWhereTheyStoodByteForByte) {
    for (size_t dataSize : {0u, 10u, 11u}) {
        const Bytes file = Riff()
                               .Chunk("JUNK", Payload(27), 0x5A)
                               .Chunk("bext", Payload(602))
                               .Format(1, 1, 44100, 8)
                               .Chunk("LIST", Payload(1), 0xFF)
                               .Chunk("cue ", {})
                               .Chunk("data", Payload(dataSize, 100))
                               .Chunk("id3 ", Payload(700001), 3)
                               .Chunk("JUNK", Payload(2))
                               .Chunk("smpl", Payload(60))
                               .Close();
        EXPECT_EQ(Rewrite(file), file) << dataSize;
        EXPECT_EQ(Shell("soxi -s " + Path("out.wav")), As<uint8_t>(Shell(QString("echo %1").arg(dataSize))))
            << "others still find the samples";
    }
}

TEST_F(WavChunks, LeavesOutWhatOnlyDescribesTheSamples) {
    const Bytes file = Riff()
                           .Chunk("ds64", Payload(28))
                           .Format(1, 2, 44100, 8)
                           .Chunk("fact", Payload(4))
                           .Chunk("LIST", Payload(8))
                           .Chunk("data", Payload(8))
                           .Chunk("PEAK", Payload(24))
                           .Chunk("levl", Payload(12))
                           .Chunk("cart", Payload(20))
                           .Close();
    EXPECT_EQ(Rewrite(file), Riff()
                                 .Format(1, 2, 44100, 8)
                                 .Chunk("LIST", Payload(8))
                                 .Chunk("data", Payload(8))
                                 .Chunk("cart", Payload(20))
                                 .Close());
}

TEST_F(WavChunks, StopsWhereTheStructureEnds) {
    const auto count = [&](Bytes bytes) {
        LMemoryBytes file(bytes);
        return ReadForeignChunks(file).chunks.size();
    };
    const Riff good = Riff().Format(1, 1, 44100, 8).Chunk("data", Payload(5)).Chunk("LIST", Payload(6));
    EXPECT_EQ(count(good.bytes), 1u);
    EXPECT_EQ(count(Riff(good).ChunkOfSize("huge", 500, Payload(6)).bytes), 1u) << "longer than the file";
    EXPECT_EQ(count(Riff(good).Chunk("\1\2\3\4", Payload(6)).Chunk("LIST", Payload(6)).bytes), 1u);
    Bytes unpadded = Riff().Format(1, 1, 44100, 8).Chunk("data", Payload(5)).bytes;
    unpadded.pop_back();
    const Bytes list = Riff().Chunk("LIST", Payload(6)).bytes;
    unpadded.insert(unpadded.end(), list.begin() + 12, list.end());
    EXPECT_EQ(count(unpadded), 1u) << "a writer that left the pad byte out";
    EXPECT_EQ(count(Payload(5000)), 0u);
    for (size_t size = 0; size < good.bytes.size(); ++size)
        EXPECT_LE(count(Bytes(good.bytes.begin(), good.bytes.begin() + static_cast<std::ptrdiff_t>(size))),
                  1u);
}

}  // namespace
}  // namespace ondarix
