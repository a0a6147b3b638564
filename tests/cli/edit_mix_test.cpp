// SPDX-License-Identifier: GPL-3.0-or-later
// Operations of "edit" that lay one sound over another, against what sox makes of the same files.
#include <cmath>

#include "cli/plain_wav.h"
#include "cli/program.h"

namespace ondarix::test {
namespace {

constexpr int kMixFrames = 30000;

void WriteFloats(const Home& home, const char* name, unsigned seed, int frames = kMixFrames,
                 int channels = 2) {
    WriteFile(home.File(name), NoiseWav(seed, 3, 32, 44100, channels, frames, 0.2).ToBytes());
}

Outcome MixEdit(const Home& home, const QString& operations) {
    return home.Run(QStringList{"edit", "in.wav", "out.wav"} + operations.split(' '));
}

QByteArray Sox(const Home& home, const QStringList& arguments) {
    RunTool("sox", arguments + QStringList{"-e", "float", "-b", "32", home.File("sox.wav")});
    return FloatSamples(home.File("sox.wav"));
}

TEST(CliMix, AgreesWithSox) {
    const Home home;
    WriteFloats(home, "in.wav", 1);
    WriteFloats(home, "other.wav", 2, 50000);
    const QString in = home.File("in.wav"), other = home.File("other.wav");
    const QByteArray mixed = Sox(home, {"-m", "-v", "1", in, "-v", "0.5", other});
    for (const char* operations : {"mix other.wav volume=50", "cursor 0 mix other.wav volume=50% pan=0"}) {
        ASSERT_EQ(MixEdit(home, operations).status, 0);
        EXPECT_LT(LoudestDifference(FloatSamples(home.File("out.wav")), mixed), 1e-6) << operations;
    }
    // From a place on: sox pads the second one.
    RunTool("sox", {other, home.File("later.wav"), "pad", "20000s"});
    const QByteArray later = Sox(home, {"-m", "-v", "1", in, "-v", "1", home.File("later.wav")});
    ASSERT_EQ(MixEdit(home, "cursor 20000 mix other.wav").status, 0);
    EXPECT_LT(LoudestDifference(FloatSamples(home.File("out.wav")), later), 1e-6);
    // The clip over a selection, once from the clipboard and once from a file.
    RunTool("sox", {in, home.File("clip.wav"), "trim", "100s", "5000s"});
    ASSERT_EQ(MixEdit(home, "copy 100 5100 select 9000 14000 paste-mix pan=-60").status, 0);
    const QByteArray pasted = FloatSamples(home.File("out.wav"));
    ASSERT_EQ(MixEdit(home, "select 9000 14000 mix clip.wav pan=-60").status, 0);
    EXPECT_LT(LoudestDifference(FloatSamples(home.File("out.wav")), pasted), 1e-7);  // sox rounds to 32 bits
    EXPECT_EQ(home.Leftovers(), QStringList());
}

TEST(CliMix, LinearCrossfadeIsSoxsSplice) {
    const Home home;
    WriteFloats(home, "in.wav", 1, 88200, 1);
    WriteFloats(home, "other.wav", 2, 88200, 1);
    const QString in = home.File("in.wav"), other = home.File("other.wav");
    // Both halves as sox fades them, the second one from 66150 on.
    RunTool("sox", {in, home.File("a.wav"), "fade", "t", "0", "-0", "0.5"});
    RunTool("sox", {other, home.File("b.wav"), "fade", "t", "0.5", "pad", "66150s"});
    const QByteArray want = Sox(home, {"-m", "-v", "1", home.File("a.wav"), "-v", "1", home.File("b.wav")});
    ASSERT_EQ(MixEdit(home,
                      "crossfade other.wav fade-out=500 fade-in=500 gap=-500 fade-out-curve=linear "
                      "fade-in-curve=lin")
                  .status,
              0);
    const QByteArray got = FloatSamples(home.File("out.wav"));
    ASSERT_EQ(got.size(), 4 * (88200 + 66150));
    EXPECT_LT(LoudestDifference(got, want), 1e-4);  // sox ends its fade a frame later

    ASSERT_EQ(MixEdit(home, "crossfade-loop fade-out=500 fade-in=500 gap=-500").status, 0);
    EXPECT_EQ(FloatSamples(home.File("out.wav")).size(), 4 * 66150);
    ASSERT_EQ(
        MixEdit(home, "select 10000 54100 crossfade-selection fade-out=200 fade-in=200 gap=-200").status, 0);
    const QByteArray joined = FloatSamples(home.File("out.wav"));
    const QByteArray before = FloatSamples(in);
    EXPECT_EQ(joined.size(), before.size() - 4 * 8820);
    EXPECT_TRUE(joined.startsWith(before.left(4 * 10000)));
    EXPECT_TRUE(joined.endsWith(before.mid(4 * 54100)));
}

TEST(CliMix, BackgroundKeepsTheVoiceAndFitsTheTime) {
    const Home home;
    WriteFloats(home, "in.wav", 1, 88200, 1);
    WriteFile(home.File("music.wav"), NoiseWav(3, 1, 16, 48000, 2, 20000, 0.3).ToBytes());
    ASSERT_EQ(MixEdit(home,
                      "background music.wav fixed=on volume=-inf lead-in=time lead-in-time=500 "
                      "lead-out=time lead-out-time=1000")
                  .status,
              0);
    const QByteArray out = FloatSamples(home.File("out.wav"));
    ASSERT_EQ(out.size(), 4 * (22050 + 88200 + 44100));
    EXPECT_TRUE(out.mid(4 * 22050, 4 * 88200) == FloatSamples(home.File("in.wav"))) << "no music under it";
    EXPECT_GT(LoudestDifference(out.left(4 * 11025), QByteArray(4 * 11025, 0)), 0.05);

    const Outcome refused =
        MixEdit(home, "background music.wav lead-out=total lead-out-time=1500 adjust=adjust");
    EXPECT_EQ(refused.status, 2);
    EXPECT_TRUE(
        refused.err.contains("Lead In time (1500.000ms) should be greater than the Voice clip length "
                             "(2000.000ms)"))
        << refused.err.toStdString();
    ASSERT_EQ(MixEdit(home, "background music.wav lead-out=total lead-out-time=2500 adjust=adjust").status,
              0);
    EXPECT_EQ(FloatSamples(home.File("out.wav")).size(), 4 * 110250);
}

TEST(CliMix, WrongSettingsAreNamed) {
    const Home home;
    WriteFloats(home, "in.wav", 1);
    WriteFloats(home, "other.wav", 2);
    for (const char* operations :
         {"mix other.wav volume=401", "mix other.wav loud=1", "mix other.wav nonsense", "mix missing.wav",
          "crossfade other.wav gap=x", "crossfade-loop fade-in-curve=round", "crossfade-selection",
          "paste-mix", "background other.wav lead-in=perhaps"}) {
        const Outcome outcome = MixEdit(home, operations);
        EXPECT_EQ(outcome.status, 2) << operations;
        EXPECT_EQ(outcome.ErrorLines(), 1) << operations << '\n' << outcome.err.toStdString();
        EXPECT_TRUE(outcome.err.startsWith("ondarix-cli: " + QByteArray(operations).split(' ')[0] + ": "))
            << outcome.err.toStdString();
    }
    EXPECT_FALSE(home.FileNames().contains("out.wav"));
    EXPECT_EQ(home.Leftovers(), QStringList());
}

}  // namespace
}  // namespace ondarix::test
