// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/gain.h"

#include <QTemporaryDir>
#include <limits>

#include "effects/chain_file.h"
#include "effects/gain_fixture.h"
#include "gen/bytes.h"

namespace ondarix::test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

LEffectParam Param(const LEffect& effect, int index) {
    LEffectParam param;
    EXPECT_TRUE(effect.GetParameterInfo(index, param));
    return param;
}

// As a chain that was written and read makes it.
LAmplifyEffect ThroughChainFile(const LAmplifyEffect& effect) {
    QTemporaryDir folder;
    LEffectChain written, read;
    written.Add(effect.Clone());
    EXPECT_EQ(WriteEffectChainFile(folder.filePath("one.ecf"), written), LChainWrite::kWritten);
    EXPECT_EQ(ReadEffectChainFile(folder.filePath("one.ecf"), read), LChainRead::kRead);
    const auto* amplify = dynamic_cast<const LAmplifyEffect*>(std::as_const(read).At(0));
    return amplify ? *amplify : LAmplifyEffect();
}

TEST(AmplifyTest, MultipliesEverySampleOfEverySound) {
    LAmplifyEffect effect;
    for (const LTestSound& sound : TestSounds()) {
        for (const int percent : {1, 33, 141, 400}) {
            effect.SetParameter(0, percent);
            ExpectGains(
                Through(effect, sound), sound, [&](int64_t, int) { return percent / 100.0; }, 4e-7);
        }
        ExpectSameFromAnywhere(effect, sound);
    }
}

TEST(AmplifyTest, LeavesTheSourceAloneAtOneHundredPercentAndWhenItFailed) {
    const LSoundSourceRef source = Open(TestSounds()[0]);
    LAmplifyEffect effect;
    EXPECT_EQ(effect.CreateFilter(source).Get(), source.Get());
    effect.SetParameter(0, 200);
    const LSoundSourceRef failed = FailedSource(kSourceCannotOpen);
    EXPECT_EQ(effect.CreateFilter(failed).Get(), failed.Get());
    EXPECT_EQ(effect.CreateFilter(source)->peak, 2.0f);
    effect.SetParameter(0, 50);
    EXPECT_EQ(effect.CreateFilter(source)->peak, 0.5f);
}

TEST(AmplifyTest, TakesGainsBetweenTwoPercents) {
    LAmplifyEffect effect;
    EXPECT_EQ(effect.SetOption("db", "+3.5 dB"), QString());
    EXPECT_EQ(Param(effect, 0).value, 150);
    EXPECT_EQ(effect.GetCurrentPreset(), -1) << "no preset has 149.6 percent";
    const double gain = std::pow(10, 3.5 / 20);
    const LTestSound sound = SpokenWords();
    ExpectGains(
        Through(effect, sound), sound, [&](int64_t, int) { return gain; }, 2e-7);

    LAmplifyEffect other;
    ASSERT_TRUE(other.SetPresetText(effect.PresetText()));
    EXPECT_EQ(other.Gain(), effect.Gain());
    EXPECT_EQ(static_cast<const LAmplifyEffect&>(*effect.Clone()).Gain(), effect.Gain());
    EXPECT_EQ(effect.GetOptions()[0].value, "3.5") << "what was asked for, not the decimals of a float";
    EXPECT_EQ(ThroughChainFile(effect).Gain(), effect.Gain());

    effect.SetParameter(0, 150);
    EXPECT_EQ(ThroughChainFile(effect).Gain(), 1.5f);
    EXPECT_EQ(effect.Gain(), 1.5f) << "a percent ends it, also the one that was shown";
    EXPECT_EQ(effect.GetPresetName(effect.GetCurrentPreset()), "Louder");
    effect.SetGain(0.1234f);
    effect.SetPreset(0);
    EXPECT_EQ(effect.Gain(), 0.5f);
    effect.SetGain(0.1234f);
    effect.SetPreset(99);
    EXPECT_EQ(effect.Gain(), 0.1234f);
    effect.SetGain(1000);
    EXPECT_EQ(effect.Gain(), 4.0f);
    effect.SetGain(std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(effect.Gain(), 4.0f);
    for (const char* bad : {"", "loud", "12.1", "-41", "nan", "inf", "1e999"})
        EXPECT_NE(effect.SetOption("db", bad), QString()) << bad;
    EXPECT_EQ(effect.Gain(), 4.0f);
}

TEST(ChannelGainsTest, NamesItsParametersByTheLayout) {
    LChannelGainsEffect effect;
    const auto names = [&](uint8_t channels) {
        effect.SetFormat({44100, channels});
        QStringList all;
        for (int i = 0; i < effect.GetParameterCount(); ++i) all << Param(effect, i).name;
        return all;
    };
    EXPECT_EQ(names(1), QStringList{"Left Gain"});
    EXPECT_EQ(names(2), (QStringList{"Left Gain", "Right Gain"}));
    const QStringList speakers = {"FL Gain",  "FR Gain",  "Center Gain", "LFE Gain",
                                  "RL Gain ", "RR Gain ", "SL Gain",     "SR Gain"};
    EXPECT_EQ(names(6), speakers.first(6));
    EXPECT_EQ(names(8), speakers);
    EXPECT_EQ(names(255).size(), 255);
    EXPECT_EQ(names(9).last(), "Channle 9 Gain Percentage");
}

TEST(ChannelGainsTest, GivesEachChannelItsOwn) {
    for (const LTestSound& sound : TestSounds()) {
        LChannelGainsEffect effect;
        effect.SetFormat(sound.format);
        const auto percent = [](int channel) { return (channel * 37 + 61) % 401; };
        for (int c = 0; c < sound.format.channels; ++c) effect.SetParameter(c, percent(c));
        ExpectGains(
            Through(effect, sound), sound, [&](int64_t, int c) { return percent(c) / 100.0; }, 4e-7);
        ExpectSameFromAnywhere(effect, sound);
    }
}

TEST(ChannelGainsTest, ClampsValuesAndChangesNothingWhereItHasNothingToDo) {
    LChannelGainsEffect effect;
    const LSoundSourceRef source = Open(TestSounds()[0]);  // mono
    effect.SetParameter(1, 300);
    effect.SetParameter(7, 300);
    EXPECT_EQ(effect.CreateFilter(source).Get(), source.Get()) << "only the right channel has a gain";
    for (const auto& [value, kept] : {std::pair{-5.0, 0.0},
                                      {1e300, 400.0},
                                      {kInfinity, 400.0},
                                      {-kInfinity, 0.0},
                                      {std::nan(""), 0.0},
                                      {49.6, 50.0}}) {
        effect.SetParameter(0, value);
        EXPECT_EQ(Param(effect, 0).value, kept) << value;
    }
}

TEST(ChannelGainsTest, KeepsTheGainsOfChannelsThatASoundHasNot) {
    LChannelGainsEffect effect;
    effect.SetFormat({44100, 6});
    effect.SetParameter(5, 25);
    effect.SetFormat({44100, 1});
    EXPECT_EQ(effect.GetParameterCount(), 1);
    const auto copy = effect.Clone();
    copy->SetFormat({44100, 6});
    EXPECT_EQ(Param(*copy, 5).value, 25);

    const QTemporaryDir folder;
    LLsdfWriter writer(folder.filePath("gains"), 11, 1);
    effect.Save(writer);
    writer.Close();
    LLsdfReader reader(std::make_shared<LFileBytes>(folder.filePath("gains")), 11);
    ASSERT_TRUE(reader.IsValid());
    LChannelGainsEffect loaded;
    loaded.Load(reader);
    EXPECT_EQ(loaded.GetParameterCount(), 2) << "the format is that of the sound, not of the file";
    loaded.SetFormat({44100, 6});
    EXPECT_EQ(Param(loaded, 0).value, 100);
    EXPECT_EQ(Param(loaded, 5).value, 25);
}

}  // namespace
}  // namespace ondarix::test
