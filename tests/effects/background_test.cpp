// SPDX-License-Identifier: GPL-3.0-or-later
#include <limits>

#include "effects/mix_background.h"
#include "effects/mix_duck.h"
#include "mix_fixture.h"

namespace ondarix::test {
namespace {

using B = LBackgroundSettings;
constexpr int kRate = 44100;
constexpr int64_t kSecond = kRate;

std::vector<float> Level(int64_t frames, float level) {
    return std::vector<float>(static_cast<size_t>(frames), level);
}

// Silence, two seconds of tone, silence: seven seconds.
std::vector<float> Voice() {
    std::vector<float> voice = Level(7 * kSecond, 0);
    const std::vector<float> tone = Sine(2 * kSecond, 300, 1, 0.4f);
    std::copy(tone.begin(), tone.end(), voice.begin() + 2 * kSecond);
    return voice;
}

B Ducking() {
    B settings;
    settings.duck = true;
    settings.leadIn.index = B::kLeadInTime;
    settings.leadInMs = 2000;
    settings.leadOut.index = B::kLeadOutTime;
    settings.leadOutMs = 4000;
    settings.leadOutDb.db = -3;
    return settings;
}

double Linear(double db) { return std::pow(10.0, db / 20); }

TEST_F(MixTest, MusicStandsAtItsLevelsAndIsDownBeforeTheFirstWord) {
    const std::vector<float> voice = Voice();
    LSoundDocumentRef document = Open(voice);
    Mark(*document, {0, 2 * kSecond, 7 * kSecond});
    constexpr float kMusic = 0.5f;
    MixBackground(document, host_, Write(Level(3 * kSecond, kMusic)), Ducking(), "Paste Background Music");
    const std::vector<float> out = ReadSound(document->sound);
    ASSERT_EQ(out.size(), static_cast<size_t>(13 * kSecond));
    EXPECT_EQ(Places(*document), (std::vector<int64_t>{2 * kSecond, 4 * kSecond, 13 * kSecond}));

    std::vector<double> gain(out.size());
    for (size_t i = 0; i < gain.size(); ++i) {
        const bool inVoice = i >= 2 * kSecond && i < 9 * kSecond;
        gain[i] = (out[i] - (inVoice ? voice[i - 2 * kSecond] : 0.0f)) / kMusic;
    }
    const auto at = [&](double seconds) { return gain[static_cast<size_t>(seconds * kRate)]; };
    EXPECT_EQ(at(0), 0);
    EXPECT_NEAR(at(0.02), 1, 1e-6);
    EXPECT_NEAR(at(0.99), 1, 1e-6);                    // lead-in at its own level
    EXPECT_NEAR(at(1.5), (1 + Linear(-6)) / 2, 1e-3);  // on its way down
    EXPECT_NEAR(at(2), Linear(-6), 1e-6);
    EXPECT_NEAR(at(3.79), Linear(-6), 1e-6);  // 200 ms before the tone it begins to go down
    EXPECT_NEAR(at(3.9), (Linear(-6) + Linear(-14)) / 2, 1e-3);
    for (double t = 4; t < 6.29; t += 0.01) ASSERT_NEAR(at(t), Linear(-14), 1e-6) << t;
    EXPECT_NEAR(at(6.6), (Linear(-6) + Linear(-14)) / 2, 3e-3);
    EXPECT_NEAR(at(6.92), Linear(-6), 1e-6);
    EXPECT_NEAR(at(9), Linear(-6), 1e-3);
    EXPECT_NEAR(at(10.5), Linear(-3), 1e-6);  // lead-out
    EXPECT_NEAR(at(12), Linear(-3) / 2, 1e-3);
    EXPECT_NEAR(gain.back(), 0, 1e-4);
    for (size_t i = 1; i < gain.size(); ++i) ASSERT_LT(std::fabs(gain[i] - gain[i - 1]), 1.01 / 441) << i;
}

TEST_F(MixTest, ShortMusicIsRepeatedAndEveryWayToReadItGivesTheSame) {
    const std::vector<float> music = Noise(1000, 1, 3), voice = Noise(50000, 1, 4, 0.2f);
    B settings;
    settings.fixedVolume = false;
    LBackgroundPlan plan;
    QString fault;
    ASSERT_TRUE(PlanBackground(50000, kRate, settings, plan, fault));
    const std::vector<float> out =
        ReadEveryWay(*BuildBackgroundMix(Write(voice), Write(music), plan, settings));
    for (size_t i = 441; i < 50000 - 441; ++i) ASSERT_NEAR(out[i], voice[i] + music[i % 1000], 1e-6) << i;

    const B ducking = Ducking();
    ASSERT_TRUE(PlanBackground(50000, kRate, ducking, plan, fault));
    const LSound other = Write(Noise(3000, 2, 5), {22050, 2});
    const std::vector<float> heard = ReadEveryWay(*BuildBackgroundMix(Write(voice), other, plan, ducking));
    LSoundDocumentRef document = Open(voice);
    MixBackground(document, host_, other, ducking, "Mix with File");
    EXPECT_EQ(ReadSound(document->sound), heard);
    EXPECT_EQ(document->UndoLabel(), "Mix with File");
}

TEST_F(MixTest, LeadInThatCannotFitIsRefusedWithItsText) {
    struct {
        uint8_t leadIn, leadOut, adjust;
        int32_t inMs, outMs;
        LBackgroundPlan want;
        const char* fault;
    } const table[] = {
        {0, 0, 0, 9, 9, {0, 1000, 0, 990, 1000}, ""},
        {1, 0, 0, 500, 9, {500, 1000, 0, 1490, 1500}, ""},
        {1, 1, 0, 500, 100, {500, 1000, 100, 1550, 1600}, ""},
        {1, 2, 0, 500, 800, {500, 1000, 0, 500, 800}, ""},
        {0, 2, 0, 500, 9000, {0, 1000, 8000, 6000, 9000}, ""},
        {0, 2, 1, 500, 1600, {600, 1000, 0, 1590, 1600}, ""},
        {0,
         2,
         1,
         500,
         1000,
         {},
         "Lead In not applicable. Lead In time (1000.000ms) should be greater than the Voice clip length "
         "(1000.000ms)"},
        {1,
         2,
         0,
         500,
         500,
         {},
         "Lead In not applicable due to Lead Out parameters. Please try adjusting Lead Out parameters."},
    };
    LSoundDocumentRef document = Open(Noise(1000, 1, 1), {1000, 1});
    for (const auto& row : table) {
        B settings;
        settings.leadIn.index = row.leadIn;
        settings.leadOut.index = row.leadOut;
        settings.leadOutAdjust.index = row.adjust;
        settings.leadInMs = row.inMs;
        settings.leadOutMs = row.outMs;
        LBackgroundPlan plan;
        QString fault;
        EXPECT_EQ(PlanBackground(1000, 1000, settings, plan, fault), !*row.fault);
        EXPECT_EQ(fault, row.fault);
        if (*row.fault) {
            host_.told.clear();
            MixBackground(document, host_, document->sound, settings, "Mix with File");
            EXPECT_EQ(host_.told, QStringList{QString("Start Lead In not applicable|") + row.fault});
            EXPECT_FALSE(document->CanUndo());
            continue;
        }
        EXPECT_EQ(plan.leadIn, row.want.leadIn);
        EXPECT_EQ(plan.leadOut, row.want.leadOut);
        EXPECT_EQ(plan.fadeStart, row.want.fadeStart);
        EXPECT_EQ(plan.fadeEnd, row.want.fadeEnd);
    }
}

TEST_F(MixTest, DuckingFollowsThePresenceOfTheVoice) {
    std::mt19937 random(7);
    constexpr int kHop = 80, kHops = 400;
    std::vector<double> presence(kHops);
    std::vector<float> voice(kHop * kHops);
    for (int hop = 0; hop < kHops; ++hop) {
        const double db = random() % 4 == 0 ? -60.0 + random() % 50 : -90.0;
        presence[static_cast<size_t>(hop)] = std::clamp((db + 50) / 20, 0.0, 1.0);
        voice[static_cast<size_t>(hop * kHop + static_cast<int>(random() % kHop))] =
            static_cast<float>(-Linear(db));
    }
    LDuckFollower follower(MakeSource<LVectorSource>(voice, LSoundFormat{8000, 1}));
    std::vector<float> amounts(kHop * (kHops + 60));
    follower.Amounts(-30 * kHop, static_cast<int32_t>(amounts.size()), amounts.data());
    for (int node = -30; node < kHops + 30; ++node) {
        double want = 0;
        for (int hop = 0; hop < kHops; ++hop) {
            const double ahead = std::max(0, hop - node) / 20.0;              // 200 ms before
            const double behind = std::max(0, node - (hop + 1) - 30) / 60.0;  // 300 ms held, 600 ms down
            want = std::max(want, presence[static_cast<size_t>(hop)] - std::max(ahead, behind));
        }
        ASSERT_NEAR(amounts[static_cast<size_t>((node + 30) * kHop)], want, 1e-4) << node;
    }
    for (const int64_t start : {5000, 20, 31000}) {
        std::vector<float> part(3000);
        for (int32_t done = 0; done < 3000; done += 125)
            follower.Amounts(start + done, 125, part.data() + done);
        EXPECT_TRUE(std::equal(part.begin(), part.end(), amounts.begin() + 30 * kHop + start)) << start;
    }
}

TEST_F(MixTest, BackgroundCancelledAtAnyBlockLeavesNothing) {
    LSoundDocumentRef document = Open(Voice());
    Mark(*document, {5, 9000});
    const LSound music = Write(Noise(5000, 2, 1), {48000, 2});
    ExpectCancelLeavesNothing(document, [&](LEditHost& host, LApplied done) {
        MixBackground(document, host, music, Ducking(), "Mix with File", std::move(done));
    });
}

}  // namespace
}  // namespace ondarix::test
