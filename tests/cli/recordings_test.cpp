// SPDX-License-Identifier: GPL-3.0-or-later
// Files of other programs through "convert" and "info", and what those programs read from the results.
#include <QDir>
#include <QJsonArray>
#include <QRegularExpression>
#include <cmath>
#include <cstring>

#include "cli/plain_wav.h"
#include "cli/program.h"

namespace ondarix::test {
namespace {

std::vector<float> ReadBySox(const QString& path) {
    const QByteArray raw = RunTool("sox", {path, "-t", "f32", "-"});
    std::vector<float> samples(static_cast<size_t>(raw.size()) / 4);
    std::memcpy(samples.data(), raw.constData(), samples.size() * 4);
    return samples;
}

struct Recording {
    QString name;
    bool isInteger;    // other programs divide integers by a power of two, this one by the largest value
    double tolerance;  // after that
};

// Two seconds that start and end in silence and are loud between, in every coding that the two tools write.
QList<Recording> MakeRecordings(const Home& home) {
    const struct {
        const char *encoding, *bits;
        bool isInteger;
        double tolerance;
    } kinds[] = {{"unsigned-integer", "8", true, 1e-6},
                 {"signed-integer", "16", true, 1e-6},
                 {"signed-integer", "24", true, 1e-6},
                 {"signed-integer", "32", true, 1e-6},
                 {"floating-point", "32", false, 0},
                 {"floating-point", "64", false, 1e-7},
                 {"a-law", "8", true, 1e-6},
                 {"u-law", "8", true, 1e-6}};
    QList<Recording> recordings;
    for (const auto& kind : kinds) {
        for (const char* channels : {"1", "2", "6"}) {
            const QString name = QString("sox-%1-%2-%3.wav").arg(kind.encoding, kind.bits, channels);
            RunTool("sox", {"-D",          "-n",  "-r",      "44100",         "-c",    channels, "-e",
                            kind.encoding, "-b",  kind.bits, home.File(name), "synth", "1",      "pluck",
                            "fade",        "0.3", "1",       "0.3",           "gain",  "-3",     "pad",
                            "0.1",         "0.1"});
            recordings += {name, kind.isInteger, kind.tolerance};
        }
    }
    const struct {
        const char* codec;
        bool isInteger;
        double tolerance;
    } codecs[] = {{"pcm_u8", true, 1e-6},    {"pcm_s16le", true, 1e-6}, {"pcm_s24le", true, 1e-6},
                  {"pcm_s32le", true, 1e-6}, {"pcm_f32le", false, 0},   {"pcm_f64le", false, 1e-7},
                  {"pcm_alaw", true, 1e-6},  {"pcm_mulaw", true, 1e-6}};
    for (const auto& codec : codecs) {
        const QString name = QString("ffmpeg-%1.wav").arg(codec.codec);
        RunTool("ffmpeg", {"-v", "error", "-f", "lavfi", "-i", "aevalsrc=0.4*sin(880*t)|0.3*sin(999*t):d=1",
                           "-c:a", codec.codec, "-metadata", "title=Trial", home.File(name)});
        recordings += {name, codec.isInteger, codec.tolerance};
    }
    const QDir packaged("/usr/share/sounds/alsa", "*.wav");
    for (const QString& name : packaged.entryList()) {
        if (QFile::copy(packaged.filePath(name), home.File(name))) recordings += {name, true, 1e-6};
    }
    return recordings;
}

TEST(CliRecordings, KeepTheirSamplesInEveryCoding) {
    const Home home;
    for (const Recording& recording : MakeRecordings(home)) {
        const QString in = home.File(recording.name);
        const std::string shown = recording.name.toStdString();
        // Unless told otherwise the coding stays, and every sample with it, to the bit.
        const Outcome same = home.Run({"convert", in, "same.wav"});
        ASSERT_EQ(same.status, 0) << shown << same.err.toStdString();
        const auto want = ReadBySox(in);
        EXPECT_EQ(RunTool("soxi", {"-e", home.File("same.wav")}), RunTool("soxi", {"-e", in})) << shown;
        const auto kept = ReadBySox(home.File("same.wav"));
        ASSERT_EQ(kept.size(), want.size()) << shown;
        // 32-bit integers and 64-bit floats have more digits than the samples of the program.
        const bool isWider = recording.name.contains(QRegularExpression("integer-32|s32|64"));
        for (size_t i = 0; i < want.size(); ++i) {
            ASSERT_LE(std::fabs(kept[i] - want[i]), isWider ? 1.2e-7f : 0.0f) << shown << ", sample " << i;
        }

        const Outcome floats = home.Run({"convert", in, "float.wav", "--bits", "float"});
        ASSERT_EQ(floats.status, 0) << shown << floats.err.toStdString();
        const auto got = ReadBySox(home.File("float.wav"));
        ASSERT_EQ(got.size(), want.size()) << shown;
        const int bits = recording.name.contains("8") || recording.name.contains("u8") ? 8 : 16;
        const bool isG711 = recording.name.contains("law");
        double scale = 1;
        if (recording.isInteger) scale = isG711 || bits == 16 ? 32768.0 / 32767 : 128.0 / 127;
        if (recording.name.contains("24") || recording.name.contains("32")) scale = 1;
        for (size_t i = 0; i < want.size(); ++i) {
            ASSERT_NEAR(got[i], want[i] * scale, recording.tolerance) << shown << ", sample " << i;
        }
    }
    EXPECT_EQ(home.Leftovers(), QStringList());
}

TEST(CliRecordings, InfoAgreesWithAnotherProgram) {
    const Home home;
    for (const Recording& recording : MakeRecordings(home)) {
        const QString in = home.File(recording.name);
        const std::string shown = recording.name.toStdString();
        const Outcome outcome = home.Run({"info", "--json", "--level", in});
        ASSERT_EQ(outcome.status, 0) << shown << outcome.err.toStdString();
        const QJsonObject facts = outcome.Json()["files"][0].toObject();
        EXPECT_EQ(facts["sampleRate"].toInt(), RunTool("soxi", {"-r", in}).toInt()) << shown;
        EXPECT_EQ(facts["channels"].toInt(), RunTool("soxi", {"-c", in}).toInt()) << shown;
        EXPECT_EQ(facts["frames"].toInteger(), RunTool("soxi", {"-s", in}).toLongLong()) << shown;
        EXPECT_EQ(facts["bytes"].toInteger(), QFileInfo(in).size()) << shown;
        const auto samples = ReadBySox(in);
        double peak = 0, squares = 0;
        for (const float sample : samples) {
            peak = std::max(peak, std::fabs(static_cast<double>(sample)));
            squares += static_cast<double>(sample) * static_cast<double>(sample);
        }
        const QJsonObject level = facts["level"].toObject();
        EXPECT_NEAR(level["peak"].toDouble(), peak, 0.008 * peak) << shown;
        EXPECT_NEAR(level["rmsDb"].toDouble(), 10 * std::log10(squares / static_cast<double>(samples.size())),
                    0.08)
            << shown;
        EXPECT_EQ(level["perChannel"].toArray().size(), facts["channels"].toInt()) << shown;
        const auto frame = static_cast<size_t>(level["peakFrame"].toInteger() * facts["channels"].toInt());
        ASSERT_LT(frame, samples.size()) << shown;
        double there = 0;
        for (int c = 0; c < facts["channels"].toInt(); ++c) {
            there = std::max(there, std::fabs(static_cast<double>(samples[frame + static_cast<size_t>(c)])));
        }
        EXPECT_NEAR(there, peak, 1.2e-7) << shown;
    }
}

// Chunks that other programs have written stay in the file, and "info" names them.
TEST(CliRecordings, ForeignChunksAreToldAndKept) {
    const Home home;
    RunTool("ffmpeg", {"-v", "error", "-f", "lavfi", "-i", "sine=d=0.2", "-write_bext", "1", "-metadata",
                       "title=Trial", "-metadata", "description=A note", home.File("in.wav")});
    for (const char* name : {"in.wav", "out.wav"}) {
        const Outcome outcome = home.Run({"info", "--json", name});
        QStringList ids;
        for (const auto& chunk : outcome.Json()["files"][0]["foreignChunks"].toArray())
            ids += chunk.toObject()["id"].toString();
        EXPECT_EQ(ids, (QStringList{"bext", "LIST"})) << name;
        if (!QFile::exists(home.File("out.wav"))) {
            ASSERT_EQ(home.Run({"edit", "in.wav", "out.wav", "delete", "0", "50ms"}).status, 0);
        }
    }
    const auto tags = [&](const char* name) {
        return RunTool("ffprobe",
                       {"-v", "error", "-show_entries", "format_tags", "-of", "csv", home.File(name)});
    };
    EXPECT_TRUE(tags("in.wav").contains("Trial")) << tags("in.wav").toStdString();
    EXPECT_EQ(tags("out.wav"), tags("in.wav"));
}

TEST(CliRecordings, EveryCodingCanBeAskedFor) {
    const Home home;
    RunTool("sox", {"-n", "-r", "22050", "-c", "2", "-b", "16", home.File("in.wav"), "synth", "0.5", "sine",
                    "500", "gain", "-6"});
    const auto want = ReadBySox(home.File("in.wav"));
    const struct {
        const char *coding, *encoding, *bits;
        double tolerance;
    } table[] = {{"8", "Unsigned Integer PCM", "8", 0.016},
                 {"16", "Signed Integer PCM", "16", 1e-7},
                 {"24", "Signed Integer PCM", "24", 2e-5},
                 {"32", "Signed Integer PCM", "32", 2e-5},
                 {"float", "Floating Point PCM", "32", 2e-5},
                 {"alaw", "A-law", "8", 0.02},
                 {"mulaw", "u-law", "8", 0.02}};
    for (const auto& row : table) {
        const QString out = home.File("out.wav");
        ASSERT_EQ(home.Run({"convert", "in.wav", out, QString("--bits=") + row.coding}).status, 0)
            << row.coding;
        EXPECT_EQ(RunTool("soxi", {"-e", out}).trimmed(), row.encoding) << row.coding;
        EXPECT_EQ(RunTool("soxi", {"-b", out}).trimmed(), row.bits) << row.coding;
        const auto got = ReadBySox(out);
        ASSERT_EQ(got.size(), want.size()) << row.coding;
        for (size_t i = 0; i < want.size(); ++i)
            ASSERT_NEAR(got[i], want[i], row.tolerance) << row.coding << i;
    }
}

// Plain rounding is a closed formula; with shaping the same sound comes out otherwise.
TEST(CliRecordings, WithoutShapingSamplesAreRoundedPlainly) {
    const Home home;
    const PlainWav in = NoiseWav(5, 3, 32, 44100, 2, 20'000, 0.9);
    WriteFile(home.File("in.wav"), in.ToBytes());
    const std::vector<float> samples = in.Samples();
    for (const int bits : {8, 16}) {
        const QString coding = QString::number(bits);
        ASSERT_EQ(home.Run({"convert", "--no-shaping", "--bits", coding, "in.wav", "plain.wav"}).status, 0);
        ASSERT_EQ(home.Run({"convert", "--bits", coding, "in.wav", "shaped.wav"}).status, 0);
        const PlainWav plain = ReadPlainWav(home.File("plain.wav"));
        ASSERT_EQ(plain.bits, bits);
        const std::vector<float> got = plain.Samples();
        ASSERT_EQ(got.size(), samples.size());
        const float top = bits == 8 ? 127.0f : 32767.0f;
        for (size_t i = 0; i < got.size(); ++i) {
            ASSERT_EQ(std::lround(got[i] * top), std::lround(samples[i] * top)) << bits << " bits, " << i;
        }
        EXPECT_FALSE(ReadPlainWav(home.File("shaped.wav")).data == plain.data);
    }
    EXPECT_EQ(home.Leftovers(), QStringList());
}

// What the listing promises: each kind that can be saved is saved, and what can be opened is opened again.
TEST(CliRecordings, TheFormatListKeepsItsWord) {
    const Home home;
    RunTool("sox",
            {"-n", "-r", "8000", "-c", "1", "-b", "16", home.File("in.wav"), "synth", "0.5", "sine", "500"});
    const QJsonObject formats = home.Run({"formats", "--json"}).Json();
    QStringList readable;
    for (const auto& row : formats["readers"].toArray()) {
        for (const auto& extension : row.toObject()["extensions"].toArray()) readable += extension.toString();
    }
    EXPECT_TRUE(readable.contains(".wav"));
    int saved = 0;
    for (const auto& row : formats["writers"].toArray()) {
        for (const auto& value : row.toObject()["extensions"].toArray()) {
            const QString out = home.File("out" + value.toString());
            const Outcome outcome = home.Run({"convert", "in.wav", out});
            EXPECT_EQ(outcome.status, 0) << value.toString().toStdString() << outcome.err.toStdString();
            EXPECT_GT(QFileInfo(out).size(), 0);
            if (readable.contains(value.toString())) {
                EXPECT_EQ(home.Run({"info", "--level", out}).status, 0) << value.toString().toStdString();
            }
            ++saved;
        }
    }
    EXPECT_GE(saved, 1);
}

}  // namespace
}  // namespace ondarix::test
