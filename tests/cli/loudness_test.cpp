// SPDX-License-Identifier: GPL-3.0-or-later
// "loudness" on recordings, beside ffmpeg's measure of the same files.
#include <QDir>
#include <QJsonArray>
#include <QRegularExpression>

#include "cli/plain_wav.h"
#include "cli/program.h"

namespace ondarix::test {
namespace {

constexpr const char* kSpeech = "/usr/share/sounds/alsa";

// Voices with pauses at changing levels, made of the speech that comes with the sound system's tools.
QStringList MakeSpeech(const Home& home) {
    QStringList voices;
    for (const char* name : {"Front_Left", "Front_Center", "Rear_Right", "Side_Left"})
        voices += QString("%1/%2.wav").arg(kSpeech, name);
    const QString loud = home.File("loud.wav"), soft = home.File("soft.wav");
    RunTool("sox", voices + QStringList{loud, "gain", "-1"});
    RunTool("sox", voices + QStringList{soft, "gain", "-16", "pad", "1", "2"});
    const QStringList both = {loud, soft, loud};
    RunTool("sox", both + QStringList{home.File("mono.wav"), "rate", "44100"});
    RunTool("sox", both + QStringList{"-c", "2", home.File("stereo.wav"), "remix", "1", "1v0.4", "delay", "0",
                                      "0.02"});
    RunTool("sox", both + QStringList{home.File("fine.wav"), "rate", "96000", "remix", "1", "1v0.7"});
    RunTool("sox", both + QStringList{home.File("six.wav"), "remix", "1v0.5", "1v0.4", "1v0.8", "1", "1v0.3",
                                      "1v0.2"});
    return {"mono.wav", "stereo.wav", "fine.wav", "six.wav"};
}

// The figures that ffmpeg's summary ends with, in its order.
QList<double> ByFfmpeg(const QString& path) {
    QProcess ffmpeg;
    ffmpeg.start("ffmpeg", {"-hide_banner", "-nostats", "-i", path, "-af",
                            "ebur128=peak=true+sample:framelog=verbose", "-f", "null", "-"});
    EXPECT_TRUE(ffmpeg.waitForFinished(60'000));
    const QString text = QString::fromUtf8(ffmpeg.readAllStandardError());
    const QString summary = text.mid(text.lastIndexOf("Summary:"));
    QList<double> figures;
    for (const char* label :
         {"I:", "LRA:", "LRA low:", "LRA high:", "Sample peak:\n    Peak:", "True peak:\n    Peak:"}) {
        const QRegularExpression pattern(
            QString(" %1 +(-?[0-9.]+)").arg(QString(label).replace("\n    ", "\\s+")));
        figures += pattern.match(summary).captured(1).toDouble();
    }
    return figures;
}

TEST(CliLoudness, AgreesWithFfmpegOnRecordings) {
    const Home home;
    const QStringList names = MakeSpeech(home);
    const Outcome run = home.Run(QStringList{"loudness", "--json"} + names);
    ASSERT_EQ(run.status, 0) << run.err.toStdString();
    const QJsonArray files = run.Json()["files"].toArray();
    ASSERT_EQ(files.size(), names.size());
    for (int i = 0; i < names.size(); ++i) {
        SCOPED_TRACE(names[i].toStdString());
        const QJsonObject ours = files[i].toObject();
        const QList<double> theirs = ByFfmpeg(home.File(names[i]));
        EXPECT_LT(theirs[0], -5);
        // Theirs are rounded to a tenth.
        EXPECT_NEAR(ours["integrated"].toDouble(), theirs[0], 0.1);
        EXPECT_NEAR(ours["range"].toDouble(), theirs[1], 0.2);
        EXPECT_NEAR(ours["rangeLow"].toDouble(), theirs[2], 0.15);
        EXPECT_NEAR(ours["rangeHigh"].toDouble(), theirs[3], 0.15);
        EXPECT_NEAR(ours["samplePeak"].toDouble(), theirs[4], 0.06);
        EXPECT_NEAR(ours["truePeak"].toDouble(), theirs[5], 0.25);
        EXPECT_GE(ours["momentaryMax"].toDouble(), ours["shortTermMax"].toDouble());
        EXPECT_GE(ours["shortTermMax"].toDouble(), ours["integrated"].toDouble() - 1);
        EXPECT_EQ(ours["truePeaks"].toArray().size(), QList<int>({1, 2, 2, 6})[i]);
    }
}

TEST(CliLoudness, MeasuresAPartAndGoesOnAfterAFault) {
    const Home home;
    MakeSpeech(home);
    const Outcome part = home.Run({"loudness", "--json", "--from", "0.5s", "--to", "end-2s", "stereo.wav"});
    RunTool("sox", {home.File("stereo.wav"), home.File("part.wav"), "trim", "0.5", "-2"});
    const QJsonObject whole = home.Run({"loudness", "--json", "part.wav"}).Json()["files"][0].toObject();
    const QJsonObject same = part.Json()["files"][0].toObject();
    EXPECT_EQ(same["frames"], whole["frames"]);
    EXPECT_NEAR(same["integrated"].toDouble(), whole["integrated"].toDouble(), 0.001);

    WriteFile(home.File("brief.wav"), NoiseWav(1, 1, 16, 44100, 1, 10'000, 0.5).ToBytes());
    const Outcome mixed = home.Run({"loudness", "none.wav", "brief.wav"});
    EXPECT_EQ(mixed.status, 2);
    EXPECT_EQ(mixed.ErrorLines(), 1);
    EXPECT_TRUE(mixed.out.contains("Integrated  -inf LUFS")) << mixed.out.toStdString();
    EXPECT_TRUE(home.Run({"loudness", "--json", "brief.wav"}).Json()["files"][0]["integrated"].isNull());
    for (const QStringList& bad : {QStringList{"--from", "x"}, {"--to", "1:2:3:4"}})
        EXPECT_EQ(home.Run(QStringList{"loudness", "brief.wav"} + bad).status, 64);
    for (const QStringList& outside : {QStringList{"--from", "10001"}, {"--from", "9000", "--to", "8000"}})
        EXPECT_EQ(home.Run(QStringList{"loudness", "brief.wav"} + outside).status, 2);
    EXPECT_EQ(home.Leftovers(), QStringList());
}

}  // namespace
}  // namespace ondarix::test
