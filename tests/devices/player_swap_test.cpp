// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>

#include "devices/attempts.h"
#include "devices/player_fixture.h"

namespace ondarix::test {
namespace {

constexpr int64_t kFade = 960;  // a block of the null device at 48 kHz
constexpr int64_t kLength = 40000;

class PlayerSwapTest : public PlayerTest {
  protected:
    bool Swap(const LSoundSourceRef& source, double scale = 1.0) {
        player_.Suspend();
        const bool done = player_.SwapSource(source, scale);
        player_.ResyncAfterSwap();
        player_.ResumeFeed();
        return done;
    }
    // The file is `from` up to some frame k, a fade over one block, then `to` from frame k times `scale` on.
    // k, or -1; no fade where k is 0, since nothing of `from` was heard.
    int64_t ExpectFade(const FunctionSource::Value& from, const FunctionSource::Value& to, int64_t toLength,
                       double scale = 1.0) {
        const auto played = Played();
        const auto total = static_cast<int64_t>(played.size() / 2);
        const auto at = [&](int64_t frame, int c) { return played[static_cast<size_t>(frame * 2 + c)]; };
        int64_t k = 0;
        while (k < total && at(k, 0) == from(k, 0) && at(k, 1) == from(k, 1)) ++k;
        if (k > 0) --k;  // the fade begins with the old frame whole
        const int64_t start = std::llround(static_cast<double>(k) * scale);
        EXPECT_EQ(total, k + toLength - start);
        int64_t wrong = 0;
        for (int64_t i = 0; k + i < total; ++i) {
            for (int c = 0; c < 2; ++c) {
                const float b = k > 0 && i < kFade ? static_cast<float>(i) / static_cast<float>(kFade) : 1.0f;
                const float expected = from(k + i, c) * (1.0f - b) + to(start + i, c) * b;
                wrong +=
                    b == 1.0f ? at(k + i, c) != to(start + i, c) : std::abs(at(k + i, c) - expected) > 1e-6f;
            }
        }
        EXPECT_EQ(wrong, 0) << "swapped at " << k;
        return k;
    }
};

TEST_F(PlayerSwapTest, FadesFromWhatWouldHaveBeenHeard) {
    for (const int64_t at : {0, 300, 5000, 20000}) {
        InOneOfSeveral([&] {
            events_ = RecordingEvents();
            ASSERT_TRUE(PlayTo(at, [&] { return Numbered(kLength); }));
            ASSERT_TRUE(Swap(Numbered(kLength, kStereo, NumberedB)));
            const int64_t soon = player_.GetPositionFrames() + 48 * 120;
            ASSERT_TRUE(WaitForEnd());
            const int64_t k = ExpectFade(NumberedA, NumberedB, kLength);
            EXPECT_GE(k, at);
            EXPECT_LT(k, soon) << "heard at once";
            ExpectMonotonic(kLength);
            EXPECT_EQ(events_.started, 1);
            EXPECT_EQ(events_.stopped, 1);
        });
    }
}

TEST_F(PlayerSwapTest, AtOnceBehindASeekNothingOldIsHeard) {
    ASSERT_TRUE(PlayTo(3000, [&] { return Numbered(kLength); }));
    player_.Pause();
    player_.SetPositionFrames(kLength - 5000);
    ASSERT_TRUE(Swap(Numbered(kLength, kStereo, NumberedB)));
    player_.Resume();
    ASSERT_TRUE(WaitForEnd());
    const auto played = Played();
    int64_t wrong = 0;
    // The feeder may have written a bridge of the old sound since the seek; then there is a fade behind it.
    int64_t k = 0;
    const auto total = static_cast<int64_t>(played.size() / 2);
    const int64_t first = total - 5000;
    ASSERT_GE(first, 3000);
    while (played[static_cast<size_t>((first + k) * 2)] == NumberedA(kLength - 5000 + k, 0)) ++k;
    EXPECT_LE(k, 48 * 60);
    const int64_t pure = k == 0 ? 0 : k - 1 + kFade;
    for (int64_t i = pure; i < 5000; ++i)
        wrong += played[static_cast<size_t>((first + i) * 2)] != NumberedB(kLength - 5000 + i, 0);
    EXPECT_EQ(wrong, 0);
}

TEST_F(PlayerSwapTest, WhilePausedItStaysPaused) {
    ASSERT_TRUE(PlayTo(3000, [&] { return Numbered(kLength); }));
    player_.Pause();
    ASSERT_TRUE(Swap(Numbered(kLength, kStereo, NumberedB)));
    EXPECT_TRUE(player_.IsPaused());
    const int64_t stands = player_.GetPositionFrames();
    LetPass(60);
    EXPECT_LT(player_.GetPositionFrames() - stands, 48 * 200);
    player_.Resume();
    ASSERT_TRUE(WaitForEnd());
    ExpectFade(NumberedA, NumberedB, kLength);
    ExpectMonotonic(kLength);
}

TEST_F(PlayerSwapTest, NearTheEndAndBehindIt) {
    ASSERT_TRUE(PlayTo(4000, [&] { return Numbered(12000); }));  // all is written
    ASSERT_TRUE(Swap(Numbered(12000, kStereo, NumberedB)));
    ASSERT_TRUE(WaitForEnd());
    ExpectFade(NumberedA, NumberedB, 12000);
    ExpectMonotonic(12000);

    events_ = RecordingEvents();
    ASSERT_TRUE(player_.Play(Numbered(4800)));
    SleepUntilItHasEnded(4800);
    ASSERT_TRUE(Swap(Numbered(12000, kStereo, NumberedB)));
    ASSERT_TRUE(WaitForEnd());
    const auto ended = [](int64_t frame, int c) { return frame < 4800 ? NumberedA(frame, c) : 0.0f; };
    EXPECT_EQ(ExpectFade(ended, NumberedB, 12000), 4800);
    ExpectMonotonic(12000);
    EXPECT_EQ(events_.stopped, 1);

    // To a sound that ends before this place: nothing more comes, and the position is its end.
    ASSERT_TRUE(PlayTo(9000, [&] { return Numbered(kLength); }));
    ASSERT_TRUE(Swap(Numbered(5000, kStereo, NumberedB)));
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(player_.GetPositionFrames(), 5000);
}

TEST_F(PlayerSwapTest, ManyInARowLoseAndRepeatNothing) {
    constexpr int64_t kLong = 4 * kLength;
    ASSERT_TRUE(player_.Play(Numbered(kLong)));
    for (int i = 0; i < 30; ++i) {
        LetPass(i % 7);
        ASSERT_TRUE(Swap(Numbered(kLong)));  // the same sound: fades from itself into itself
    }
    ASSERT_TRUE(WaitForEnd());
    const auto played = Played();
    ASSERT_EQ(played.size(), 2u * kLong);
    for (size_t i = 0; i < played.size(); ++i)
        ASSERT_NEAR(played[i], NumberedA(static_cast<int64_t>(i / 2), static_cast<int>(i % 2)), 1e-7f)
            << i / 2;
    ExpectMonotonic(kLong);
}

TEST_F(PlayerSwapTest, ASoundOfAnotherLengthGoesOnAtItsOwnPlace) {
    for (const double scale : {2.0, 0.5}) {
        const auto length = static_cast<int64_t>(kLength * scale);
        events_ = RecordingEvents();
        ASSERT_TRUE(PlayTo(12000, [&] { return Numbered(kLength); }));
        events_.frames.clear();
        events_.milliseconds.clear();
        QElapsedTimer timer;
        timer.start();
        const auto before = static_cast<double>(player_.GetPositionFrames());
        ASSERT_TRUE(Swap(Numbered(length, kStereo, NumberedB), scale));
        const auto now = static_cast<double>(player_.GetPositionFrames());
        const double passed = static_cast<double>(timer.nsecsElapsed()) * 48e-6;
        EXPECT_GT(now, (before - 4000) * scale);
        EXPECT_LT(now, (before + passed + 4000) * scale);
        ASSERT_TRUE(WaitForEnd());
        ExpectFade(NumberedA, NumberedB, length, scale);
        ExpectMonotonic(length);
    }
}

TEST_F(PlayerSwapTest, AnotherRateIsConvertedAndGoesOnInPhase) {
    const auto sine = [](double rate) {
        return [rate](int64_t frame, int) {
            return static_cast<float>(0.5 * std::sin(2 * M_PI * 100 * static_cast<double>(frame) / rate));
        };
    };
    ASSERT_TRUE(PlayTo(12000, [&] { return Numbered(48000, kStereo, sine(48000)); }));
    events_.frames.clear();
    events_.milliseconds.clear();
    ASSERT_TRUE(Swap(Numbered(44100, {44100, 2}, sine(44100)), 44100.0 / 48000));
    EXPECT_TRUE(WaitForPosition(20000));
    player_.SetPositionFrames(25000);  // in frames of what plays now
    EXPECT_EQ(events_.frames.back(), 25000);
    EXPECT_GE(player_.GetPositionFrames(), 25000);
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(events_.frames.back(), 44100);
    EXPECT_EQ(events_.milliseconds.back(), 1000);
    EXPECT_TRUE(std::is_sorted(events_.frames.begin(), events_.frames.end()));
    const auto played = Played();
    const auto expected = sine(48000);
    size_t i = 0;  // up to the seek, where the phase breaks
    while (i < played.size() && std::abs(played[i] - expected(static_cast<int64_t>(i / 2), 0)) < 0.004f) ++i;
    EXPECT_GE(i / 2, 20000u * 48000 / 44100);
    // From there on it is the sine from frame 25000 of 44100 on, 48000 - 27211 frames of the device.
    const int64_t rest = 48000 - 27211;
    const size_t first = played.size() - static_cast<size_t>(rest) * 2;
    for (size_t j = 0; j + 400 < static_cast<size_t>(rest) * 2; ++j)
        ASSERT_NEAR(played[first + j], expected(27211 + static_cast<int64_t>(j / 2), 0), 0.004) << j;
}

TEST_F(PlayerSwapTest, OtherChannelsAreNotFadedInto) {
    ASSERT_TRUE(PlayTo(6000, [&] { return Numbered(kLength); }));
    const auto mono = [](int64_t frame, int) { return NumberedB(frame, 0); };
    ASSERT_TRUE(Swap(Numbered(kLength, {48000, 1}, mono)));
    ASSERT_TRUE(WaitForEnd());
    const auto played = Played();
    ASSERT_EQ(played.size(), 2u * kLength);
    int64_t k = 0;
    while (k < kLength && played[static_cast<size_t>(k) * 2] == NumberedA(k, 0)) ++k;
    EXPECT_GE(k, 6000);
    EXPECT_EQ(Mismatches(played, 2, [&](int64_t n, int c) { return n < k ? NumberedA(n, c) : mono(n, c); }),
              0);
}

TEST_F(PlayerSwapTest, WhatIsNoSourceLeavesTheOldOne) {
    ASSERT_TRUE(PlayTo(2000, [&] { return Numbered(kLength); }));
    EXPECT_FALSE(Swap({}));
    EXPECT_FALSE(Swap(FailedSource(kSourceCannotOpen)));
    EXPECT_FALSE(Swap(Numbered(kLength), 0));
    player_.Suspend();
    player_.SetPositionFrames(1);  // not now
    player_.SetLowLatency(false);
    EXPECT_TRUE(player_.IsPlaying());
    player_.ResumeFeed();
    ASSERT_TRUE(WaitForEnd());
    const auto played = Played();
    ASSERT_EQ(played.size(), 2u * kLength);
    for (size_t i = 0; i < played.size(); ++i)
        ASSERT_NEAR(played[i], NumberedA(static_cast<int64_t>(i / 2), static_cast<int>(i % 2)), 1e-7f)
            << i / 2;
}

}  // namespace
}  // namespace ondarix::test
