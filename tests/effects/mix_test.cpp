// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/mix.h"

#include "effects/filter.h"
#include "gen/settings.h"
#include "mix_fixture.h"
#include "sound/clipboard.h"

namespace ondarix::test {
namespace {

constexpr LSoundFormat kTwoChannels{44100, 2};

TEST_F(MixTest, PasteMixAddsTheClipWithVolumeAndPanAndReachesPastTheEnd) {
    const std::vector<float> base = Noise(20000, 2, 1), clip = Noise(9000, 2, 2);
    SetSettingInt(50, "MixBasic", "Volume");
    SetSettingInt(40, "MixBasic", "Pan");
    RegisterMixing();
    LClipboardStore clipboard;
    clipboard.StoreClip(Write(clip, kTwoChannels), "clip", 0, 0, true);
    LSoundDocumentRef document = Open(base, kTwoChannels);
    Mark(*document, {10, 17000, 19999});
    document->Select(17000, 17000);
    ASSERT_EQ(PasteMix(*document, host_, clipboard), JobResult::kSuccess);

    std::vector<double> want(26000 * 2);
    for (size_t i = 0; i < want.size(); ++i) {
        want[i] = i < base.size() ? base[i] : 0.0;
        if (i >= 34000) want[i] += clip[i - 34000] * 0.5 * (i % 2 == 0 ? 0.6 : 1.0);
    }
    ExpectClose(ReadSound(document->sound), want, 1e-6);
    EXPECT_EQ(document->selectionStart, 17000);
    EXPECT_EQ(document->selectionEnd, 26000);
    EXPECT_EQ(Places(*document), (std::vector<int64_t>{10, 17000, 19999}));
    EXPECT_EQ(document->UndoLabel(), "Paste Mix");
    EXPECT_EQ(host_.jobs, QStringList{"Pasting Mix"});
    ASSERT_TRUE(document->Undo());
    EXPECT_EQ(ReadSound(document->sound), base);
}

TEST_F(MixTest, OverASelectionNothingBehindItChanges) {
    const std::vector<float> base = Noise(9000, 1, 1), clip = Noise(5000, 1, 2);
    LSoundDocumentRef document = Open(base);
    document->Select(2000, 4000);
    MixClip(document, host_, Write(clip), {}, "Mix with File");
    std::vector<double> want(base.begin(), base.end());
    for (size_t i = 2000; i < 4000; ++i) want[i] += clip[i - 2000];
    ExpectClose(ReadSound(document->sound), want, 1e-7);
    EXPECT_EQ(document->selectionEnd, 4000);
}

TEST_F(MixTest, WhatIsHeardIsWhatIsWrittenAndNeverTooLoud) {
    const LSound base = Write(Sine(30000, 440, 0, 0.9f)),
                 clip = Write(Sine(20000, 440, 0.1, 0.9f, 48000), {48000, 1});
    LSoundDocumentRef document(new LSoundDocument);
    document->sound = base;
    document->Select(5000, 5000);
    const LMixPlace place = PlaceOfMix(*document, clip);
    EXPECT_EQ(place.length, 18375);  // 20000 * 44100 / 48000
    const std::vector<float> heard = ReadEveryWay(*BuildMix(base, place, clip, {}));
    MixClip(document, host_, clip, {}, "Mix with File");
    std::vector<float> written = ReadSound(document->sound);
    EXPECT_TRUE(std::equal(heard.begin(), heard.end(), written.begin() + 5000));
    float loudest = 0;
    for (const float one : written) loudest = std::max(loudest, std::fabs(one));
    EXPECT_LE(loudest, kResultPeak);
    EXPECT_GT(loudest, 0.99f);
}

TEST_F(MixTest, PanLowersTheSideThatIsTurnedAwayFrom) {
    EXPECT_EQ(PanGains(1, -1), (std::vector<float>{1}));
    EXPECT_EQ(PanGains(2, -1), (std::vector<float>{1, 0}));
    EXPECT_EQ(PanGains(2, 0.25), (std::vector<float>{0.75f, 1}));
    EXPECT_EQ(PanGains(6, 1), (std::vector<float>{0, 1, 1, 1, 0, 1}));
    EXPECT_EQ(PanGains(255, 1), std::vector<float>(255, 1.0f));
}

TEST_F(MixTest, RefusesWhatCannotBeMixed) {
    LSoundDocumentRef document = Open(Noise(100, 1, 1));
    const LSound clip = Write(Noise(50, 1, 2));
    const auto mix = [&](const LSound& other) {
        JobResult result = JobResult::kFailed;
        MixClip(document, host_, other, {}, "Mix", [&](JobResult given) { result = given; });
        return result;
    };
    EXPECT_EQ(mix(LSound()), JobResult::kCancelled);
    document->isBusy = true;
    EXPECT_EQ(mix(clip), JobResult::kCancelled);
    document->isBusy = false;
    host_.mayEdit = false;
    EXPECT_EQ(mix(clip), JobResult::kCancelled);
    EXPECT_FALSE(document->CanUndo());
    EXPECT_TRUE(host_.jobs.isEmpty());
}

TEST_F(MixTest, CancelledAtAnyBlockItLeavesNothing) {
    LSoundDocumentRef document = Open(Noise(60000, 2, 1), kTwoChannels);
    const LSound clip = Write(Noise(50000, 1, 2));
    ExpectCancelLeavesNothing(document, [&](LEditHost& host, LApplied done) {
        MixClip(document, host, clip, {}, "Paste Mix", std::move(done));
    });
}

}  // namespace
}  // namespace ondarix::test
