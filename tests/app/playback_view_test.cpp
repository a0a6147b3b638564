// SPDX-License-Identifier: GPL-3.0-or-later
// What playing shows in the window, winding and scrubbing, and devices that fail.
#include <sys/resource.h>

#include <QAbstractButton>
#include <QSignalSpy>
#include <QToolButton>
#include <cmath>

#include "app/theme.h"
#include "playback_fixture.h"

namespace ondarix {
namespace {

TEST_F(PlaybackTest, TheViewFollowsUntilSomebodyScrollsAway) {
    LSoundWindow* sound = OpenNumbered("numbered.wav", 8 * kRate);
    LViewRange& range = sound->Range();
    range.Show(0, kRate / 5);
    Press(Qt::Key_Space);
    ASSERT_TRUE(PlaysTo(kRate / 2));
    EXPECT_TRUE(PumpUntil([&] {
        const int64_t heard = Player().Position();
        return range.Start() >= kRate / 5 && heard >= range.Start() && heard <= range.End();
    })) << "paged on";
    const int64_t heard = Player().Position();
    sound->View().Select(range.Start(), range.Start());
    Press(Qt::Key_Minus);
    for (int i = 0; i < 6; ++i) Press(Qt::Key_Plus);
    EXPECT_TRUE(range.End() >= heard - kRate / 10 && range.Start() <= Player().Position())
        << "zooms in on what is heard, not on the cursor";
    range.Show(6 * kRate, kRate / 5);
    QTest::qWait(400);
    EXPECT_EQ(range.Start(), 6 * kRate) << "left alone";
    EXPECT_TRUE(Run(kCmdGoToStart));
    EXPECT_LT(range.Start(), kRate / 5) << "until it is sent somewhere";
    SetSettingBool(QStringLiteral("Settings"), QStringLiteral("AutoScroll"), false);
    const int64_t start = range.Start();
    QTest::qWait(500);
    EXPECT_EQ(range.Start(), start);
}

// In the colour of its own, over the whole height, and gone without a trace.
TEST_F(PlaybackTest, TheLineIsDrawnWhereTheSoundIsHeard) {
    LSoundWindow* sound = OpenNumbered();
    LWaveView& view = sound->View();
    ASSERT_TRUE(sound->Complete());
    for (const auto theme : {LThemeChoice::kLight, LThemeChoice::kDark}) {
        ApplyTheme(theme);
        const QImage before = view.grab().toImage();
        view.SetPlayLine(kFrames / 2);
        const QImage now = view.grab().toImage();
        const int x = static_cast<int>(sound->Range().XOf(kFrames / 2, view.width()));
        int line = 0, elsewhere = 0;
        for (int y = 0; y < now.height(); ++y)
            for (int at = 0; at < now.width(); ++at) {
                const bool near = at >= x - 1 && at <= x + 2;
                if (near) line += now.pixelColor(at, y) == WaveColours().played;
                if (!near) elsewhere += now.pixel(at, y) != before.pixel(at, y);
            }
        EXPECT_GE(line, now.height() * 9 / 10);
        EXPECT_EQ(elsewhere, 0);
        EXPECT_NE(WaveColours().played, WaveColours().cursor);
        view.SetPlayLine(-1);
        EXPECT_EQ(view.grab().toImage(), before);
    }
}

// Of a frame that shows all of it in a large window.
TEST_F(PlaybackTest, TheLineCostsLittle) {
    frame->resize(1920, 1080);
    LSoundWindow* sound = OpenNumbered("numbered.wav", 20 * kRate);
    frame->ActiveSound()->parentWidget()->showMaximized();
    sound->Range().Show(0, 5 * kRate);
    QTest::qWait(100);
    const auto used = [] {
        rusage usage;
        getrusage(RUSAGE_THREAD, &usage);
        const auto seconds = [](const timeval& time) {
            return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
        };
        return seconds(usage.ru_utime) + seconds(usage.ru_stime);
    };
    Press(Qt::Key_Space);
    QTest::qWait(300);
    const double before = used();
    QElapsedTimer clock;
    clock.start();
    QTest::qWait(2000);
    const double share = (used() - before) / (static_cast<double>(clock.elapsed()) / 1000);
    EXPECT_TRUE(Plays());
    RecordProperty("percent_of_a_core", static_cast<int>(share * 1000) / 10.0);
    EXPECT_LT(share, 0.5) << "with a reserve for loaded machines";
}

TEST_F(PlaybackTest, WindingRunsSevenTimesAsFastAndMoreQuietly) {
    SetSettingBool(QStringLiteral("Settings"), QStringLiteral("ReduceVolWhenRewind"), true);
    LSoundWindow* sound =
        Open(MakeFloats("level.wav", std::vector<float>(static_cast<size_t>(20 * kRate), 0.5f)));
    sound->View().Select(kRate, kRate);
    EXPECT_TRUE(Run(kCmdForward));
    EXPECT_TRUE(frame->ActionOf(kCmdForward)->isChecked());
    QElapsedTimer clock;
    clock.start();
    ASSERT_TRUE(PumpUntil([&] { return Player().Position() > 3 * kRate && Played().size() > 9000U; }));
    const int64_t reached = Player().Position();
    EXPECT_LT(reached, 2 * kRate + clock.elapsed() * 8 * kRate / 1000);
    const auto played = Played();
    EXPECT_NEAR(static_cast<double>(played[8000]), 0.5 * std::pow(10, -8 / 20.0), 1e-4);
    EXPECT_TRUE(Run(kCmdForward));
    EXPECT_TRUE(Stopped()) << "as before";
    EXPECT_GE(sound->Document().cursor, reached);
    EXPECT_LT(sound->Document().cursor, 2 * kRate + clock.elapsed() * 8 * kRate / 1000);
    // While it plays: on from the place that was wound back to, as loud as before.
    sound->View().Select(15 * kRate, 15 * kRate);
    Press(Qt::Key_Space);
    ASSERT_TRUE(PlaysTo(15 * kRate + kRate / 5));
    EXPECT_TRUE(Run(kCmdRewind));
    EXPECT_EQ(Player().Manner(), LPlayManner::kRewind);
    const int64_t from = Player().Position();
    EXPECT_TRUE(PumpUntil([&] { return Player().Position() < from - kRate / 2; }));
    EXPECT_TRUE(Run(kCmdRewind));
    EXPECT_TRUE(Plays());
    EXPECT_EQ(Player().Manner(), LPlayManner::kPlain);
    EXPECT_TRUE(PumpUntil([&] { return Played().back() == 0.5f; }));
    // Back to the start it plays on from there.
    Player().Seek(kRate);
    Player().SetManner(LPlayManner::kRewind);
    EXPECT_TRUE(PumpUntil([&] { return Player().Manner() == LPlayManner::kPlain; }));
    EXPECT_TRUE(Plays());
    EXPECT_LT(Player().Position(), 10 * kRate);
}

TEST_F(PlaybackTest, WindingInAPauseLeavesItPausedFartherOn) {
    LSoundWindow* sound = OpenNumbered("numbered.wav", 10 * kRate);
    Press(Qt::Key_Space);
    ASSERT_TRUE(PlaysTo(5000));
    Press(Qt::Key_Space);
    EXPECT_TRUE(Run(kCmdForward));
    ASSERT_TRUE(PlaysTo(2 * kRate));
    EXPECT_TRUE(Run(kCmdForward));
    ASSERT_EQ(Player().State(), LPlayState::kPaused);
    const int64_t here = sound->Document().cursor;
    EXPECT_GE(here, 2 * kRate);
    EXPECT_EQ(Player().Position(), here);
    const size_t before = Played().size();
    QTest::qWait(100);
    EXPECT_EQ(Played().size(), before) << "nothing is heard";
    Press(Qt::Key_Space);
    ASSERT_TRUE(PlaysTo(here + 9000));
    Run(kCmdStop);
    const auto played = PlayedFrames();
    ASSERT_GT(played.size(), before + 8000);
    EXPECT_EQ(std::vector<int64_t>(played.end() - 8000, played.end()),
              Range(played.back() - 7999, played.back() + 1));
    EXPECT_NE(std::find(played.begin() + static_cast<ptrdiff_t>(before), played.end(), here), played.end());
}

TEST_F(PlaybackTest, ScrubbingFollowsTheMouseAndSelectsNothing) {
    LSoundWindow* sound = OpenNumbered();
    LWaveView& view = sound->View();
    sound->View().Select(10000, 10000);
    const int y = view.height() / 2;
    const auto xOf = [&](int64_t at) { return static_cast<int>(sound->Range().XOf(at, view.width())); };
    Press(Qt::Key_F6);
    ASSERT_EQ(Player().Manner(), LPlayManner::kScrub);
    EXPECT_TRUE(frame->ActionOf(kCmdScrub)->isChecked());
    QTest::mousePress(&view, Qt::LeftButton, {}, {xOf(10000), y});
    QTest::mouseMove(&view, {xOf(30000), y});
    EXPECT_TRUE(PlaysTo(29000));
    QTest::mouseMove(&view, {xOf(20000), y});
    EXPECT_TRUE(PumpUntil([&] { return Player().Position() <= 20500; }));
    QTest::mouseRelease(&view, Qt::LeftButton, {}, {xOf(20000), y});
    EXPECT_TRUE(PumpUntil([&] { return std::abs(view.PlayLine() - 20000) < 500; }));
    EXPECT_FALSE(sound->Document().HasSelection());
    EXPECT_TRUE(Run(kCmdScrubForward));
    EXPECT_TRUE(PumpUntil([&] { return std::abs(Player().Position() - 24800) < 500; }));
    EXPECT_TRUE(Run(kCmdScrubBack));
    EXPECT_TRUE(PumpUntil([&] { return std::abs(Player().Position() - 20000) < 500; }));
    const auto played = Played();
    const auto loudest = *std::max_element(played.begin(), played.end());
    EXPECT_NEAR(static_cast<double>(FrameOf(loudest)), 30000, 1000) << "it was heard";
    Press(Qt::Key_F6);
    EXPECT_TRUE(Stopped());
    EXPECT_NEAR(static_cast<double>(sound->Document().cursor), 20000, 500);
    Drag(view, xOf(10000), xOf(30000));
    EXPECT_TRUE(sound->Document().HasSelection()) << "the mouse selects again";
}

TEST_F(PlaybackTest, WhatPlayedBeforeScrubbingGoesOnBehindIt) {
    LSoundWindow* sound = OpenNumbered();
    Press(Qt::Key_Space);
    ASSERT_TRUE(PlaysTo(10000));
    EXPECT_TRUE(Run(kCmdScrub));
    Player().ScrubTo(60000);
    ASSERT_TRUE(PlaysTo(59500));
    EXPECT_TRUE(Run(kCmdScrub));
    ASSERT_TRUE(Plays());
    EXPECT_GE(Player().Position(), 59000);
    ASSERT_TRUE(WaitForEnd());
    const auto played = PlayedFrames();
    EXPECT_EQ(std::vector<int64_t>(played.end() - 30000, played.end()), Range(kFrames - 30000, kFrames));
    EXPECT_EQ(sound->Document().cursor, 0);
}

TEST_F(PlaybackTest, TheSpaceBarPressesAButtonThatHasTheKeyboard) {
    LSoundWindow* sound = OpenNumbered();
    sound->View().Select(1000, 2000);
    frame->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(frame.get()));
    QAbstractButton* button = nullptr;
    for (auto* one : frame->findChildren<QToolButton*>())
        if (one->defaultAction() == frame->ActionOf(kCmdGoToEnd) && one->focusPolicy() != Qt::NoFocus)
            button = one;
    ASSERT_NE(button, nullptr);
    button->setFocus(Qt::TabFocusReason);
    QTest::keyClick(button, Qt::Key_Space);
    EXPECT_TRUE(Stopped());
    EXPECT_EQ(sound->Document().cursor, kFrames);
}

// --- Devices

TEST_F(PlaybackTest, ADeviceThatRefusesIsToldWithAWayToTheOptions) {
    LSoundWindow* sound = OpenNumbered();
    StoreOutput(QStringLiteral("file:") + In("missing/played.raw"));
    int opened = 0;
    Player().openOptions = [&] { ++opened; };
    sound->View().Select(5000, 5000);
    Press(Qt::Key_Space);
    EXPECT_TRUE(Stopped());
    QTest::qWait(1);
    const QString device = QStringLiteral("\"[Null] file:%1\"").arg(In("missing/played.raw"));
    EXPECT_EQ(messages->asked,
              QStringList(
                  QStringLiteral("The playback has failed to start on device %1. Please check the following:"
                                 "\n\n1. Your device %1 is connected and turned on.\n\n2. Try to select "
                                 "another audio output device in the Audio tab of Ondarix Options.")
                      .arg(device)));
    EXPECT_EQ(opened, 0);
    EXPECT_EQ(sound->Document().cursor, 5000);
    messages->answers = {0};
    Press(Qt::Key_Space);
    QTest::qWait(1);
    EXPECT_EQ(opened, 1);
    StoreOutput(QStringLiteral("file:") + In("played.raw"));
    Press(Qt::Key_Space);
    EXPECT_TRUE(Plays()) << "the choice counts at once";
}

TEST_F(PlaybackTest, ADeviceThatGoesEndsThePlayingAndNothingElse) {
    StoreOutput(QStringLiteral("file:/dev/full"));
    LSoundWindow* sound = OpenNumbered();
    sound->View().Select(100, 30000);
    Press(Qt::Key_Space);
    ASSERT_TRUE(PumpUntil([&] { return !messages->asked.isEmpty(); }));
    EXPECT_TRUE(messages->asked[0].startsWith(
        QStringLiteral("The playback has ended because the device \"[Null] file:/dev/full\"")));
    EXPECT_TRUE(Stopped());
    EXPECT_EQ(sound->Document().selectionEnd, 30000);
    EXPECT_EQ(sound->View().PlayLine(), -1);
}

TEST_F(PlaybackTest, AnotherDeviceGoesOnWithTheSound) {
    OpenNumbered();
    Press(Qt::Key_Space);
    ASSERT_TRUE(PlaysTo(10000));
    StoreOutput(QStringLiteral("file:") + In("second.raw"));
    Player().DeviceChanged();
    const int64_t changed = Player().Position();
    ASSERT_TRUE(WaitForEnd());
    QFile second(In("second.raw"));
    ASSERT_TRUE(second.open(QIODevice::ReadOnly));
    EXPECT_GE(second.size(), (kFrames - changed) * 4);
    EXPECT_LT(second.size(), (kFrames - 10000) * 4 + 4);
}

TEST_F(PlaybackTest, WhatPlaysInsteadOfTheChosenDeviceIsTold) {
    OpenNumbered();
    QSignalSpy hints(&Player(), &LPlayback::Hint);
    Press(Qt::Key_Space);
    ASSERT_TRUE(Plays());
    EXPECT_EQ(hints.count(), 0) << "it is the chosen one";
    Run(kCmdStop);
    StoreOutput(QStringLiteral("[PulseAudio] Nowhere"));
    Press(Qt::Key_Space);
    ASSERT_TRUE(PumpUntil([&] { return hints.count() > 0 || !messages->asked.isEmpty(); }));
    ASSERT_EQ(hints.count(), 1);
    const bool silent = DefaultOutput().mode == LDeviceMode::kNull;
    EXPECT_EQ(hints[0].at(0).toString(),
              silent ? QStringLiteral("There are no audio playback devices available. Please check your "
                                      "audio settings.")
                     : QStringLiteral("[PulseAudio] Nowhere is not connected; the default device plays"));
}

TEST_F(PlaybackTest, WithoutAnySoundServerThereIsAClock) {
    StoreOutput(QStringLiteral("[Null] Without Sound"));
    LSoundWindow* sound = OpenNumbered("numbered.wav", kRate / 4);
    QSignalSpy positions(&Player(), &LPlayback::PositionChanged);
    QSignalSpy levels(&Player(), &LPlayback::LevelsChanged);
    Press(Qt::Key_Space);
    ASSERT_TRUE(WaitForEnd());
    EXPECT_GT(positions.count(), 3);
    EXPECT_EQ(positions.last().at(0).toLongLong(), -1);
    EXPECT_GT(levels.count(), 1);
    int64_t before = -1;
    for (int i = 0; i + 1 < positions.count(); ++i) {
        EXPECT_GE(positions[i].at(0).toLongLong(), before);
        before = positions[i].at(0).toLongLong();
    }
    EXPECT_EQ(sound->Document().cursor, 0);
}

}  // namespace
}  // namespace ondarix
