// SPDX-License-Identifier: GPL-3.0-or-later
// "apply" on real files, judged by other programs.
#include <sys/resource.h>

#include <QElapsedTimer>
#include <QFileInfo>
#include <QThread>
#include <cmath>
#include <csignal>
#include <cstring>

#include "cli/effect_runs.h"
#include "cli/plain_wav.h"

namespace ondarix::test {
namespace {

constexpr double kSameSamples = 1e-6;  // sox computes in 32-bit integers, and rounds fades once more

// Noise that an effect can be heard on: two different channels with a small constant part.
void WriteStereo(const Home& home, const QString& name = "in.wav", int frames = 20000) {
    PlainWav wav = NoiseWav(5, 3, 32, 44100, 2, frames, 0.3);
    for (int i = 0; i < frames * 2; ++i) {
        float sample;
        std::memcpy(&sample, wav.data.constData() + i * 4, 4);
        sample = i % 2 ? sample * 0.5f + 0.05f : sample;
        std::memcpy(wav.data.data() + i * 4, &sample, 4);
    }
    WriteFile(home.File(name), wav.ToBytes());
}

QStringList Line(const QString& words) {
    return QStringList{"apply", "in.wav", "out.wav"} + words.split(' ');
}

TEST(CliApply, ComputesWhatSoxComputes) {
    const Home home;
    WriteStereo(home);
    const struct {
        const char* words;
        const char* sox;
    } table[] = {
        {"amplify gain=50%", "vol 0.5"},
        {"amplify gain=150", "vol 1.5"},
        {"amplify db=-6dB", "vol -6dB"},
        {"amplify --preset Half\u00a0Volume gain=25", "vol 0.25"},
        {"amplify-channels gain1=50 gain2=200", "remix 1v0.5 2v2"},
        {"amplify-channels gain2=0", "remix 1 0"},
        {"reverse", "reverse"},
        {"phase-inversion", "remix 1v-1 2"},
        {"channel-swap", "remix 2 1"},
        {"mute", "vol 0"},
        {"envelope points=0:0.25,end:25%", "vol 0.25"},
        {"fade-in", "fade t 20000s"},
        {"fade-out", "fade t 0 20000s 20000s"},
        {"amplify gain=50 --then reverse --then channel-swap", "vol 0.5 reverse remix 2 1"},
        // Loud in between and soft at last: nothing is limited on the way.
        {"amplify gain=400 --then amplify gain=25", "vol 1"},
    };
    for (const auto& row : table) {
        QStringList words = QString::fromUtf8(row.words).split(' ');
        for (QString& word : words) word.replace(QChar(0xa0), ' ');
        const Outcome outcome = home.Run(QStringList{"apply", "in.wav", "out.wav"} + words);
        ASSERT_EQ(outcome.status, 0) << row.words << '\n' << outcome.err.toStdString();
        EXPECT_EQ(outcome.out, "");
        const QByteArray want = FloatSamples(home.File("in.wav"), QString(row.sox).split(' '));
        EXPECT_LT(LoudestDifference(FloatSamples(home.File("out.wav")), want), kSameSamples) << row.words;
    }
    EXPECT_EQ(home.Leftovers(), QStringList());
}

double MeanOf(const QByteArray& floats, int channel, int channels) {
    double sum = 0;
    int64_t count = 0;
    for (qsizetype at = channel * 4; at + 4 <= floats.size(); at += channels * 4, ++count) {
        float sample;
        std::memcpy(&sample, floats.constData() + at, 4);
        sum += sample;
    }
    return sum / static_cast<double>(count);
}

float PeakOf(const QByteArray& floats) {
    float peak = 0;
    for (qsizetype at = 0; at + 4 <= floats.size(); at += 4) {
        float sample;
        std::memcpy(&sample, floats.constData() + at, 4);
        peak = std::max(peak, std::fabs(sample));
    }
    return peak;
}

TEST(CliApply, MeasuresBeforeItBegins) {
    const Home home;
    WriteStereo(home);
    EXPECT_GT(MeanOf(FloatSamples(home.File("in.wav")), 1, 2), 0.04);
    ASSERT_EQ(home.Run(Line("dc-offset")).status, 0);
    const QByteArray centred = FloatSamples(home.File("out.wav"));
    for (const int channel : {0, 1}) EXPECT_NEAR(MeanOf(centred, channel, 2), 0, 1e-6);
    // What was measured is told.
    const QJsonObject told = home.Run(Line("--json normalize --then dc-offset")).Json();
    const QJsonArray effects = told["effects"].toArray();
    ASSERT_EQ(effects.size(), 2);
    const double peakDb = 20 * std::log10(double{PeakOf(FloatSamples(home.File("in.wav")))});
    EXPECT_NEAR(effects[0]["measured"]["levelDb"].toDouble(), peakDb, 1e-3);
    EXPECT_NEAR(effects[0]["measured"]["gainDb"].toDouble(), -peakDb, 1e-3);
    EXPECT_EQ(effects[1]["measured"]["means"].toArray().size(), 2);
    // What is measured is what the effects before give: the half is normalized as the whole is.
    ASSERT_EQ(home.Run(Line("normalize")).status, 0);
    const QByteArray loud = FloatSamples(home.File("out.wav"));
    EXPECT_NEAR(PeakOf(loud), 1.0f, 1e-4f);
    ASSERT_EQ(home.Run(Line("amplify gain=50 --then normalize")).status, 0);
    EXPECT_LT(LoudestDifference(FloatSamples(home.File("out.wav")), loud), 2e-6);
}

TEST(CliApply, ARangeAndAChannelLeaveTheRestBitForBit) {
    const Home home;
    WriteStereo(home);
    const QByteArray before = ReadPlainWav(home.File("in.wav")).data;
    const auto changed = [&](const QStringList& options, int64_t start, int64_t end, int channel) {
        const Outcome outcome = home.Run(Line("reverse --json") + options);
        ASSERT_EQ(outcome.status, 0) << outcome.err.toStdString();
        EXPECT_EQ(outcome.Json()["start"].toInteger(-1), start);
        EXPECT_EQ(outcome.Json()["end"].toInteger(-1), end);
        const QByteArray after = ReadPlainWav(home.File("out.wav")).data;
        ASSERT_EQ(after.size(), before.size());
        for (int64_t i = 0; i < 40000; ++i) {
            const int64_t frame = i / 2;
            const bool inside = frame >= start && frame < end && (channel < 0 || i % 2 == channel);
            const int64_t from = inside ? (start + end - 1 - frame) * 2 + i % 2 : i;
            ASSERT_EQ(std::memcmp(after.constData() + i * 4, before.constData() + from * 4, 4), 0) << i;
        }
    };
    changed({}, 0, 20000, -1);
    changed({"--start", "5000"}, 5000, 20000, -1);
    changed({"--end", "250ms"}, 0, 11025, -1);
    changed({"--start", "end-1000", "--end", "end-10"}, 19000, 19990, -1);
    changed({"--start", "7", "--end", "8"}, 7, 8, -1);
    changed({"--channel", "2"}, 0, 20000, 1);
    changed({"--channel", "1", "--start", "100", "--end", "20000"}, 100, 20000, 0);
}

// The result fits in any file, and 16-bit samples that nothing changes come through as they were.
TEST(CliApply, LimitsWhatIsTooLoudAndKeepsWhatIsNotChanged) {
    const Home home;
    WriteStereo(home);
    ASSERT_EQ(home.Run(Line("amplify gain=400")).status, 0);
    EXPECT_LE(PeakOf(FloatSamples(home.File("out.wav"))), 1.0f - std::ldexp(1.0f, -15));
    const PlainWav plain = NoiseWav(3, 1, 16, 44100, 1, 5000, 0.9);
    WriteFile(home.File("in.wav"), plain.ToBytes());
    ASSERT_EQ(home.Run(Line("amplify --start 100 --end 200")).status, 0);
    EXPECT_EQ(ReadPlainWav(home.File("out.wav")).data, plain.data);
    ASSERT_EQ(home.Run(Line("reverse")).status, 0);
    ASSERT_EQ(home.Run({"apply", "out.wav", "out.wav", "reverse"}).status, 0);
    EXPECT_EQ(ReadPlainWav(home.File("out.wav")).data, plain.data);
}

TEST(CliApply, BookmarksComeAlong) {
    const Home home;
    WriteStereo(home);
    ASSERT_EQ(home.Run({"edit", "in.wav", "in.wav", "bookmark", "1234", "Verse"}).status, 0);
    ASSERT_EQ(home.Run(Line("amplify gain=50")).status, 0);
    const Outcome outcome = home.Run({"edit", "--json", "out.wav", "out.wav", "select-all"});
    const QJsonArray bookmarks = outcome.Json()["bookmarks"].toArray();
    ASSERT_EQ(bookmarks.size(), 1);
    EXPECT_EQ(bookmarks[0]["frame"].toInteger(), 1234);
    EXPECT_EQ(bookmarks[0]["name"].toString(), "Verse");
}

// The result holds nothing but numbers, and the values told are those asked for.
void ExpectApplies(const Home& home, const QString& id, const QStringList& words, const QJsonObject& values) {
    const QStringList line = QStringList{"apply", "--json", "in.wav", "out.wav", id} + words;
    const std::string shown = line.join(' ').toStdString();
    const Outcome outcome = home.Run(line);
    ASSERT_EQ(outcome.status, 0) << shown << '\n' << outcome.err.toStdString();
    const QJsonArray told = outcome.Json()["effects"].toArray();
    ASSERT_EQ(told.size(), 1) << shown;
    EXPECT_EQ(told[0]["id"].toString(), id);
    EXPECT_EQ(told[0]["values"].toObject(), values) << shown;
    EXPECT_EQ(outcome.Json()["framesBefore"].toInteger(), 3000);
    const std::vector<float> samples = ReadPlainWav(home.File("out.wav")).Samples();
    EXPECT_EQ(std::ssize(samples), outcome.Json()["frames"].toInteger() * 2) << shown;
    for (const float sample : samples) ASSERT_TRUE(std::fabs(sample) <= 1.0f) << shown;
}

QString Word(const QJsonValue& value) {
    if (value.isNull()) return "-inf";
    if (value.isBool()) return value.toBool() ? "on" : "off";
    return value.isString() ? value.toString() : QString::number(value.toDouble(), 'g', 12);
}

// A run for the defaults, each preset, and both limits of each parameter; none beyond them.
TEST(CliApply, EveryEffectTakesWhatIsToldOfIt) {
    const Home home;
    WriteStereo(home, "in.wav", 3000);
    for (const auto& one : AllEffects(home)) {
        const QJsonObject effect = one.toObject();
        const QString id = effect["id"].toString();
        QJsonObject defaults;
        for (const auto& param : effect["parameters"].toArray())
            defaults[param.toObject()["id"].toString()] = param.toObject()["default"];
        for (const auto& option : effect["options"].toArray())
            if (option.toObject().contains("default"))
                defaults[option.toObject()["id"].toString()] = option.toObject()["default"];
        ExpectApplies(home, id, {}, defaults);
        const QString out = home.File("out.wav");
        const QByteArray read = RunTool("ffmpeg", {"-v", "error", "-i", out, "-f", "f32le", "-"});
        EXPECT_TRUE(read == ReadPlainWav(out).data) << id.toStdString();
        for (const auto& preset : effect["presets"].toArray()) {
            const QString name = preset.toObject()["name"].toString();
            ExpectApplies(home, id, {"--preset", name}, preset.toObject()["values"].toObject());
        }
        for (const auto& each : effect["parameters"].toArray()) {
            const QJsonObject param = each.toObject();
            const QString name = param["id"].toString();
            QJsonArray values = param["choices"].toArray();
            if (param["type"].toString() == "switch") values = {true, false};
            if (values.isEmpty()) values = {param["minimum"], param["maximum"]};
            for (const auto& value : values) {
                QJsonObject wanted = defaults;
                wanted[name] = value;
                ExpectApplies(home, id, {name + '=' + Word(value) + param["unit"].toString()}, wanted);
            }
            for (const char* bad : {"=nan", "=-1e300", "="})
                ExpectRefused(home, {"apply", "absent.wav", "out.wav", id, name + bad}, 64, {id, name});
        }
        ExpectRefused(home, {"apply", "absent.wav", "out.wav", id, "frobnicate=1"}, 64, {id, "frobnicate"});
        ExpectRefused(home, {"apply", "absent.wav", "out.wav", id, "--preset", "frobnicate"}, 64,
                      {id, "frobnicate"});
    }
    EXPECT_EQ(home.Leftovers(), QStringList());
}

TEST(CliApply, OtherLayoutsThanStereo) {
    const Home home;
    int stereoOnly = 0;
    for (const int channels : {1, 3, 255}) {
        const PlainWav wav = NoiseWav(9, 3, 32, 8000, channels, 300, 0.3);
        WriteFile(home.File("in.wav"), wav.ToBytes());
        for (const auto& one : AllEffects(home)) {
            const QString id = one.toObject()["id"].toString();
            if (one.toObject()["stereoOnly"].toBool()) {
                ExpectRefused(home, Line(id), 2, {id, "stereo"});
                ++stereoOnly;
                continue;
            }
            const Outcome outcome = home.Run(Line(id));
            ASSERT_EQ(outcome.status, 0) << id.toStdString() << outcome.err.toStdString();
            EXPECT_EQ(ReadPlainWav(home.File("out.wav")).channels, channels) << id.toStdString();
        }
        // A parameter for each channel: known only once the sound is open.
        const QString last = QString("amplify-channels gain%1=0").arg(channels);
        ASSERT_EQ(home.Run(Line(last)).status, 0);
        const std::vector<float> before = wav.Samples();
        const std::vector<float> after = ReadPlainWav(home.File("out.wav")).Samples();
        ASSERT_EQ(after.size(), before.size());
        for (size_t i = 0; i < after.size(); ++i) {
            const bool isLast = static_cast<int>(i) % channels == channels - 1;
            ASSERT_EQ(after[i], isLast ? 0.0f : before[i]) << i;
        }
        // More than any sound can have is no matter of this one.
        ExpectRefused(home, Line(QString("amplify-channels gain%1=0").arg(channels + 1)),
                      channels == 255 ? 64 : 2, {"amplify-channels", QString("gain%1").arg(channels + 1)});
    }
    EXPECT_GE(stereoOnly, 2);
}

TEST(CliApply, WrongLinesAreToldBeforeAnythingIsOpened) {
    const Home home;
    const struct {
        const char* words;
        const char* part;
    } table[] = {
        {"frobnicate", "\"frobnicate\""},
        {"amplify reverse", "--then"},
        {"amplify gain", "NAME=VALUE"},
        {"amplify =5", "NAME=VALUE"},
        {"amplify gain=50 gain=60", "given twice"},
        {"amplify gain=50 GAIN=60", "given twice"},
        {"amplify gain=401", "1% to 400%"},
        {"amplify gain=0", "1% to 400%"},
        {"amplify gain=50.5", "gain"},
        {"amplify gain=50ms", "gain"},
        {"amplify gian=50", "\"gian\""},
        {"reverse gain=50", "reverse"},
        {"amplify --then", "--then"},
        {"amplify --then --then reverse", "--then"},
        {"--then amplify", "--then"},
        {"amplify --preset", "--preset"},
        {"amplify --preset=", "--preset"},
        {"--preset Louder amplify", "--preset"},
        {"amplify --preset Louder --preset Louder", "given twice"},
        {"reverse --preset Louder", "there are none"},
        {"amplify --chain", "--chain"},
        {"amplify --chain a.ecf gain=50", "--then"},
        {"amplify --start 1x", "--start"},
        {"amplify --end nan", "--end"},
        {"amplify --start", "--start"},
        {"amplify --channel 0", "--channel"},
        {"amplify --channel 256", "--channel"},
        {"amplify --channel one", "--channel"},
        {"amplify --channel=1 --channel=1", "given twice"},
    };
    for (const auto& row : table)
        ExpectRefused(home, QStringList{"apply", "absent.wav", "out.wav"} + QString(row.words).split(' '), 64,
                      {row.part});
    ExpectRefused(home, {"apply", "absent.wav", "out.wav"}, 64);
    ExpectRefused(home, {"apply", "--then", "absent.wav", "out.wav", "amplify"}, 64, {"--then", "OUT"});
    ExpectRefused(home, {"convert", "absent.wav", "out.wav", "--then"}, 64, {"--then"});
    EXPECT_EQ(home.FileNames(), QStringList());
}

TEST(CliApply, WhatCannotBeAppliedWritesNothing) {
    const Home home;
    WriteStereo(home);
    WriteFile(home.File("empty.wav"), NoiseWav(1, 1, 16, 44100, 2, 0, 0.5).ToBytes());
    WriteFile(home.File("old.wav"), "the old file");
    for (const char* words : {"amplify --start 10 --end 9", "amplify --start 10 --end 10",
                              "amplify --start -1", "amplify --end 20001", "amplify --start end+1s",
                              "amplify --channel 3", "--chain absent.ecf", "--chain .", "--chain in.wav"})
        ExpectRefused(home, Line(words), 2);
    ExpectRefused(home, {"apply", "absent.wav", "out.wav", "amplify"}, 2, {"absent.wav"});
    ExpectRefused(home, {"apply", "empty.wav", "out.wav", "amplify", "gain=50"}, 2, {"empty"});
    ExpectRefused(home, {"apply", "in.wav", "out.xyz", "amplify"}, 2);
    ExpectRefused(home, {"apply", "--no-clobber", "in.wav", "old.wav", "amplify"}, 2, {"exists"});
}

// Behind "--" everything is a word, and keeps its meaning among the effects.
TEST(CliApply, FilesMayHaveAnyName) {
    const Home home;
    WriteStereo(home, "-in=1.wav");
    ASSERT_EQ(
        home.Run({"apply", "--", "-in=1.wav", "--out.wav", "amplify", "gain=50", "--then", "reverse"}).status,
        0);
    EXPECT_LT(LoudestDifference(FloatSamples(home.File("--out.wav")),
                                FloatSamples(home.File("-in=1.wav"), {"vol", "0.5", "reverse"})),
              kSameSamples);
}

// A run that measures for a long time before it writes anything, and has just opened its file. Its working
// file is the only one in the home.
std::unique_ptr<QProcess> StartLongRun(const Home& home) {
    PlainWav wav{1, 8, 44100, 1, QByteArray(10'000'000, '\x90')};
    WriteFile(home.File("in.wav"), wav.ToBytes());
    WriteFile(home.File("out.wav"), "the old file");
    QStringList line = Line("--json normalize");
    for (int i = 0; i < 40; ++i) line += {"--then", "amplify", "gain=99", "--then", "normalize"};
    auto process = home.Start(line);
    QElapsedTimer timer;
    timer.start();
    for (int64_t size = -1, before = -2; size != before && timer.elapsed() < 20'000;) {
        QThread::msleep(150);
        before = size;
        size = 0;
        for (const QString& path : home.Leftovers())
            if (path.endsWith(".aud")) size += QFileInfo(path).size();
        if (size == 0) before = -2;
    }
    EXPECT_EQ(process->state(), QProcess::Running);
    return process;
}

void ExpectOldFile(const Home& home) {
    EXPECT_EQ(home.FileNames(), (QStringList{"in.wav", "out.wav"}));
    EXPECT_EQ(FileContent(home.File("out.wav")), "the old file");
    EXPECT_EQ(home.Leftovers(), QStringList());
}

TEST(CliApply, ASignalLeavesTheOldFile) {
    const Home home;
    const auto process = StartLongRun(home);
    ASSERT_EQ(kill(static_cast<pid_t>(process->processId()), SIGINT), 0);
    const Outcome outcome = Wait(*process);
    EXPECT_EQ(outcome.status, 1) << outcome.err.toStdString();
    EXPECT_EQ(outcome.err, "ondarix-cli: cancelled\n");
    EXPECT_EQ(outcome.Json()["status"].toInt(), 1);
    ExpectOldFile(home);
}

// The disk fills up while the effects are computed.
TEST(CliApply, AFullDiskLeavesTheOldFile) {
    const Home home;
    const auto process = StartLongRun(home);
    const rlimit limit{1'000'000, 1'000'000};
    ASSERT_EQ(prlimit(static_cast<pid_t>(process->processId()), RLIMIT_FSIZE, &limit, nullptr), 0);
    const Outcome outcome = Wait(*process);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.ErrorLines(), 1) << outcome.err.toStdString();
    EXPECT_TRUE(outcome.err.contains("working folder")) << outcome.err.toStdString();
    ExpectOldFile(home);
}

}  // namespace
}  // namespace ondarix::test
