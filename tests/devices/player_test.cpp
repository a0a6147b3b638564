// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <thread>

#include "devices/player_fixture.h"

namespace ondarix::test {
namespace {

TEST_F(PlayerTest, EverySampleIsHeardOnceAtAnyLength) {
    const int channelCounts[] = {1, 2, 3, 33};
    int round = 0;
    for (const int64_t length : {1, 959, 960, 961, 8191, 8192, 8193, 24000}) {
        const LSoundFormat format = {48000, static_cast<uint8_t>(channelCounts[round++ % 4])};
        events_ = RecordingEvents();
        ASSERT_TRUE(player_.Play(MakeSource<FunctionSource>(format, length, SixteenBits, kPlayLimit)));
        EXPECT_TRUE(player_.IsPlaying());
        ASSERT_TRUE(WaitForEnd()) << length;
        const auto played = Played();
        EXPECT_EQ(played.size(), static_cast<size_t>(length * format.channels));
        EXPECT_EQ(Mismatches(played, format.channels, SixteenBits), 0) << length;
        EXPECT_EQ(events_.started, 1);
        EXPECT_EQ(events_.stopped, 1);
        ExpectMonotonic(length);
        EXPECT_EQ(events_.milliseconds.back(), length * 1000 / 48000);
        EXPECT_EQ(player_.GetPositionFrames(), length);
        EXPECT_TRUE(length > 960 || player_.Device().Gaps() == 0) << length;  // the end is none
        EXPECT_FALSE(player_.HasClipped());
    }
}

TEST_F(PlayerTest, BeginsWhereTheSourceStands) {
    LSoundSourceRef source = Numbered(9000);
    source->Seek(4000);
    ASSERT_TRUE(player_.Play(source));
    EXPECT_GE(player_.GetPositionFrames(), 4000);
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(PlayedRuns(), (std::vector<Run>{{4000, 9000}}));
    ExpectMonotonic(9000);
    EXPECT_GE(events_.frames.front(), 4000);
}

TEST_F(PlayerTest, AnEmptySoundIsPlayedAndWhatIsNoneIsNot) {
    ASSERT_TRUE(player_.Play(Numbered(0)));
    EXPECT_EQ(events_.started, 1);
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(events_.stopped, 1);
    EXPECT_EQ(player_.LastStatus(), kDeviceGood);

    EXPECT_FALSE(player_.Play({}));
    EXPECT_EQ(player_.LastStatus(), kDeviceNoChannels);
    EXPECT_FALSE(player_.Play(FailedSource(kSourceCannotOpen)));
    EXPECT_EQ(player_.LastStatus(), kDeviceNoChannels);
    EXPECT_FALSE(player_.IsPlaying());
    EXPECT_EQ(events_.started, 1);
    EXPECT_EQ(events_.stopped, 1);
}

TEST_F(PlayerTest, StopsOnceFromEveryState) {
    const std::function<void()> states[] = {
        [] {},
        [this] { WaitForPosition(3000); },
        [this] { player_.Pause(); },
        [this] { player_.Suspend(); },
        [this] { player_.Pause(), player_.Suspend(), player_.SwapSource(Numbered(48000)); },
        [this] { player_.Suspend(), player_.SwapSource(Numbered(9)), player_.ResyncAfterSwap(); },
        [this] { player_.SetPositionFrames(48000), QThread::msleep(100); },  // ended, not told yet
    };
    for (const auto& reach : states) {
        events_ = RecordingEvents();
        ASSERT_TRUE(player_.Play(Numbered(48000)));
        reach();
        player_.Stop();
        player_.Stop();
        LetPass(20);
        EXPECT_EQ(events_.started, 1);
        EXPECT_EQ(events_.stopped, 1);
        EXPECT_FALSE(player_.IsPlaying());
        EXPECT_FALSE(player_.IsPaused());
    }
    EXPECT_FALSE(player_.Pause());
    EXPECT_FALSE(player_.Resume());
    player_.ResumeFeed();
    player_.ResyncAfterSwap();
    EXPECT_FALSE(player_.SwapSource(Numbered(9)));
}

TEST_F(PlayerTest, IsDestroyedInAnyState) {
    for (int state = 0; state < 5; ++state) {
        RecordingEvents events;
        LSoundPlayer player;
        player.SetListener(&events, 4711);
        if (state == 0) continue;
        ASSERT_TRUE(player.Play(Numbered(48000)));
        QThread::msleep(30);  // messages lie in the queue
        if (state == 2) player.Pause();
        if (state >= 3) player.Suspend();
        if (state == 4) player.SwapSource(Numbered(48000));
    }
    LetPass(20);
}

TEST_F(PlayerTest, APauseIsNoPartOfTheSound) {
    ASSERT_TRUE(player_.Play(Numbered(96000)));
    for (const int64_t at : {3000, 9000, 15000}) {
        ASSERT_TRUE(WaitForPosition(at));
        EXPECT_TRUE(player_.Pause());
        EXPECT_FALSE(player_.Pause());
        EXPECT_TRUE(player_.IsPaused());
        EXPECT_TRUE(player_.IsPlaying());
        LetPass(100);
        const int64_t stands = player_.GetPositionFrames();
        LetPass(40);
        EXPECT_EQ(player_.GetPositionFrames(), stands);
        EXPECT_TRUE(player_.Resume());
    }
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(PlayedRuns(), (std::vector<Run>{{0, 96000}}));
    EXPECT_EQ(events_.paused, 3);
    EXPECT_EQ(events_.started, 1);
    ExpectMonotonic(96000);
}

TEST_F(PlayerTest, ASeekIsHeardFromItsFrameOn) {
    ASSERT_TRUE(player_.Play(Numbered(100000)));
    ASSERT_TRUE(WaitForPosition(2000));
    player_.SetPositionFrames(50000);
    EXPECT_EQ(events_.frames.back(), 50000);
    ASSERT_TRUE(WaitForPosition(52000));
    player_.SetPositionMs(500);
    EXPECT_EQ(events_.milliseconds.back(), 500);
    ASSERT_TRUE(WaitForPosition(24500));
    player_.SetPositionFrames(-5);
    EXPECT_EQ(events_.frames.back(), 0);
    ASSERT_TRUE(WaitForPosition(700));
    player_.SetPositionFrames(98000);
    ASSERT_TRUE(WaitForEnd());
    const auto runs = PlayedRuns();
    ASSERT_EQ(runs.size(), 5u);
    const int64_t first[] = {0, 50000, 24000, 0, 98000}, least[] = {2000, 52000, 24500, 700, 100000};
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(runs[i].first, first[i]);
        EXPECT_GE(runs[i].end, least[i]);
    }
    EXPECT_EQ(events_.started, 1);
    EXPECT_EQ(events_.stopped, 1);
}

TEST_F(PlayerTest, ASeekWhilePausedStaysPausedAndOneBehindTheEndPlaysAgain) {
    ASSERT_TRUE(player_.Play(Numbered(20000)));
    player_.Pause();
    player_.SetPositionFrames(player_.GetPositionFrames());
    EXPECT_TRUE(player_.IsPaused());
    player_.SetPositionFrames(15000);
    LetPass(40);
    EXPECT_TRUE(player_.IsPaused());
    EXPECT_EQ(player_.GetPositionFrames(), 15000);
    EXPECT_EQ(player_.Device().GetStatus(), kDeviceGood);
    player_.SetPositionFrames(77777);  // the end; nothing ends while it is paused
    LetPass(40);
    EXPECT_TRUE(player_.IsPaused());
    EXPECT_EQ(player_.GetPositionFrames(), 20000);
    player_.SetPositionFrames(15000);
    player_.Resume();
    SleepUntilItHasEnded(20000);
    player_.SetPositionFrames(19000);
    ASSERT_TRUE(WaitForEnd());
    const auto runs = PlayedRuns();
    EXPECT_EQ((std::vector<Run>(runs.end() - 2, runs.end())),
              (std::vector<Run>{{15000, 20000}, {19000, 20000}}));
    EXPECT_EQ(events_.stopped, 1);
}

TEST_F(PlayerTest, AThousandSeeksInARow) {
    ASSERT_TRUE(player_.Play(Numbered(400000)));
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 1000; ++i) player_.SetPositionFrames(i * 300 + 1);
    EXPECT_LT(timer.elapsed(), kPatienceMs);
    EXPECT_EQ(events_.frames.size(), 1000u);
    player_.SetPositionFrames(396000);
    ASSERT_TRUE(WaitForEnd());
    const auto runs = PlayedRuns();
    ASSERT_FALSE(runs.empty());
    EXPECT_EQ(runs.back(), (Run{396000, 400000}));
}

TEST_F(PlayerTest, ABlockedInterfaceIsNotFloodedAfterwards) {
    ASSERT_TRUE(player_.Play(Numbered(48000)));
    QThread::msleep(400);  // 40 calls of the device, 20 blocks
    const size_t before = events_.levels.size();
    QCoreApplication::processEvents();
    EXPECT_GE(events_.levels.size(), before + 1);
    EXPECT_LE(events_.levels.size(), before + 2);
}

TEST_F(PlayerTest, AGrowingSourceIsPlayedToItsLastFrame) {
    auto* growing = new FunctionSource(kStereo, 0, NumberedA);
    growing->growing = true;
    LSoundSourceRef source(growing);
    ASSERT_TRUE(player_.Play(source));
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 12; ++i) {
        LetPass(10);
        player_.SetLowLatency(false);  // wants the lock
    }
    EXPECT_LT(timer.elapsed(), kPatienceMs);
    EXPECT_TRUE(player_.IsPlaying());
    std::thread writer([growing] {
        for (int i = 0; i < 40; ++i) {
            growing->length += 500 + i;
            QThread::msleep(3);
        }
        growing->growing = false;
    });
    ASSERT_TRUE(WaitForEnd());
    writer.join();
    EXPECT_EQ(PlayedRuns(), (std::vector<Run>{{0, 40 * 500 + 780}}));
    ExpectMonotonic(40 * 500 + 780);
}

TEST_F(PlayerTest, TheLimiterStandsInFromTheFirstPeakAboveItsLimit) {
    const auto loud = [](int64_t frame, int) { return frame % 100 == 0 ? 2.0f : 0.5f; };
    struct Case {
        float peak;
        bool enabled, limits;
    };
    const Case cases[] = {{0.999969482421875f, true, false},
                          {std::nextafter(0.999969482421875f, 2.0f), true, true},
                          {kUnknownPeak, true, true},
                          {2.0f, false, false}};
    for (const Case& the : cases) {
        events_ = RecordingEvents();
        player_.ResetClipped();
        player_.SetLimiterEnabled(the.enabled);
        ASSERT_TRUE(player_.Play(MakeSource<FunctionSource>(kStereo, 9600, loud, the.peak)));
        ASSERT_TRUE(WaitForEnd());
        const auto played = Played();
        ASSERT_EQ(played.size(), 2u * 9600);
        const float most = *std::max_element(played.begin(), played.end());
        if (the.limits) {
            EXPECT_LE(most, 0.999969482421875f);
        } else {
            EXPECT_EQ(Mismatches(played, 2, loud), 0) << the.peak;
        }
        EXPECT_EQ(player_.HasClipped(), the.limits) << the.peak;
        const auto over = std::count(events_.levels.begin(), events_.levels.end(), LLevelBytes{1, 1});
        EXPECT_EQ(over > 0, the.limits) << the.peak;
    }
    player_.ResetClipped();
    EXPECT_FALSE(player_.HasClipped());
}

TEST_F(PlayerTest, ADeviceThatFailsIsToldOnce) {
    player_.SelectDevice(FileDevice(QStringLiteral("/dev/full")));
    ASSERT_TRUE(player_.Play(Numbered(48000)));
    ASSERT_TRUE(WaitForEnd());
    LetPass(20);
    EXPECT_EQ(events_.started, 1);
    EXPECT_EQ(events_.stopped, 1);
    EXPECT_EQ(player_.LastStatus(), kDeviceLost);
    EXPECT_EQ(player_.GetDeviceStatus(), kDeviceGood);

    ASSERT_TRUE(player_.Play(Numbered(48000)));  // and while it is suspended
    player_.Pause();
    ASSERT_TRUE(WaitFor([this] { return player_.Device().QueuedFrames() > 0; }));
    player_.Suspend();
    EXPECT_TRUE(player_.SwapSource(Numbered(48000)));
    player_.Resume();
    ASSERT_TRUE(WaitForEnd());
    player_.ResyncAfterSwap();
    player_.ResumeFeed();
    EXPECT_EQ(events_.stopped, 2);

    player_.SelectDevice(FileDevice(folder_.filePath(QStringLiteral("none/there.raw"))));
    EXPECT_FALSE(player_.Play(Numbered(48000)));
    EXPECT_EQ(player_.LastStatus(), kDeviceRefused);
    EXPECT_EQ(events_.started, 2);
    EXPECT_EQ(events_.stopped, 2);

    player_.SelectDevice(FileDevice(path_));
    ASSERT_TRUE(player_.Play(Numbered(960)));
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(player_.LastStatus(), kDeviceGood);
}

TEST_F(PlayerTest, CallsFromWithinAreAnswered) {
    int more = 3;
    events_.onStopped = [&] {
        if (more-- > 0) player_.Play(Numbered(960));
    };
    ASSERT_TRUE(player_.Play(Numbered(960)));
    ASSERT_TRUE(WaitFor([&] { return events_.stopped == 4; }));
    EXPECT_EQ(events_.started, 4);

    // What the user starts wins over what the listener starts because of it.
    events_.onStopped = [&] { EXPECT_FALSE(player_.Play(Numbered(5))); };
    ASSERT_TRUE(player_.Play(Numbered(48000)));
    ASSERT_TRUE(player_.Play(Numbered(2000)));
    events_.onStopped = nullptr;
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(PlayedRuns(), (std::vector<Run>{{0, 2000}}));

    events_ = RecordingEvents();
    events_.onPosition = [&] { player_.Stop(); };
    ASSERT_TRUE(player_.Play(Numbered(48000)));
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(events_.stopped, 1);
    EXPECT_EQ(events_.milliseconds.size(), 1u);
    EXPECT_TRUE(events_.levels.empty());

    events_ = RecordingEvents();
    bool sought = false;
    events_.onPosition = [&] {
        if (!sought) sought = true, player_.SetPositionFrames(40000);
    };
    ASSERT_TRUE(player_.Play(Numbered(48000)));
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(PlayedRuns().back(), (Run{40000, 48000}));
    EXPECT_EQ(events_.stopped, 1);
}

TEST_F(PlayerTest, TwoPlayAtOnce) {
    RecordingEvents others;
    LSoundPlayer other;
    const QString otherPath = folder_.filePath(QStringLiteral("other.raw"));
    other.SetListener(&others, 4711);
    other.SelectDevice(FileDevice(otherPath));
    ASSERT_TRUE(player_.Play(Numbered(9600)));
    ASSERT_TRUE(other.Play(MakeSource<FunctionSource>(kStereo, 14400, NumberedB)));
    ASSERT_TRUE(WaitFor([&] { return others.stopped && events_.stopped; }));
    EXPECT_EQ(PlayedRuns(), (std::vector<Run>{{0, 9600}}));
    EXPECT_EQ(Mismatches(FileOf(otherPath), 2, NumberedB), 0);
    EXPECT_EQ(FileOf(otherPath).size(), 2u * 14400);
}

TEST_F(PlayerTest, LittleIsQueuedAtLowLatency) {
    const auto mostQueued = [this] {
        EXPECT_TRUE(player_.Play(Numbered(24000)));
        int64_t most = 0;
        for (int i = 0; i < 20; ++i) {
            LetPass(8);
            most = std::max(most, player_.Device().QueuedFrames());
        }
        return most;
    };
    EXPECT_TRUE(WaitFor([&] { return mostQueued() > 48 * 150; }));
    player_.SetLowLatency(true);
    EXPECT_LE(mostQueued(), 48 * 90);
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(PlayedRuns(), (std::vector<Run>{{0, 24000}}));
}

}  // namespace
}  // namespace ondarix::test
