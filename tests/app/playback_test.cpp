// SPDX-License-Identifier: GPL-3.0-or-later
// Playing in the frame, proved by the samples that reach the device.
#include "app/playback.h"

#include <QMdiSubWindow>

#include "playback_fixture.h"
#include "sound/edits.h"

namespace ondarix {
namespace {

TEST_F(PlaybackTest, TheSelectionIsPlayedSampleBySample) {
    LSoundWindow* sound = OpenNumbered();
    sound->View().Select(30001, 50003);
    Press(Qt::Key_Space);
    ASSERT_TRUE(Plays());
    EXPECT_EQ(Player().Sound(), sound);
    EXPECT_TRUE(PlaysTo(31000));
    EXPECT_GE(sound->View().PlayLine(), 30001);
    EXPECT_TRUE(Status().startsWith(QStringLiteral("Playing "))) << Status().toStdString();
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(PlayedFrames(), Range(30001, 50003));
    EXPECT_EQ(sound->Document().selectionStart, 30001);
    EXPECT_EQ(sound->Document().selectionEnd, 50003);
    EXPECT_EQ(sound->View().PlayLine(), -1);
    EXPECT_EQ(Player().Position(), -1);
    EXPECT_EQ(Player().Sound(), nullptr);
    EXPECT_TRUE(Status().startsWith(QStringLiteral("Cursor "))) << Status().toStdString();
}

TEST_F(PlaybackTest, WithoutASelectionItGoesFromTheCursorToTheEnd) {
    LSoundWindow* sound = OpenNumbered("numbered.wav", kRate / 2);
    sound->View().Select(14000, 14000);
    Press(Qt::Key_Space);
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(PlayedFrames(), Range(14000, kRate / 2));
    EXPECT_EQ(sound->Document().cursor, 14000);
    sound->View().Select(kRate / 2, kRate / 2);
    Press(Qt::Key_Space);
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(PlayedFrames(), Range(0, kRate / 2)) << "at the end: from the start";
    EXPECT_EQ(sound->Document().cursor, kRate / 2);
}

TEST_F(PlaybackTest, APauseTakesTheCursorAlongAndLosesNothing) {
    LSoundWindow* sound = OpenNumbered();
    sound->View().Select(20000, 20000);
    Press(Qt::Key_Space);
    ASSERT_TRUE(PlaysTo(30000));
    Press(Qt::Key_Space);
    ASSERT_EQ(Player().State(), LPlayState::kPaused);
    const int64_t here = sound->Document().cursor;
    EXPECT_GE(here, 30000);
    EXPECT_NEAR(static_cast<double>(Player().Position()), static_cast<double>(here), kRate / 10.0);
    EXPECT_TRUE(Status().startsWith(QStringLiteral("Paused ")));
    QTest::qWait(100);
    Press(Qt::Key_Space);
    ASSERT_TRUE(Plays());
    ASSERT_TRUE(PlaysTo(here + 10000));
    Press(Qt::Key_Escape);
    EXPECT_TRUE(Stopped());
    EXPECT_EQ(sound->Document().cursor, 20000) << "where it was before";
    const auto played = PlayedFrames();
    EXPECT_EQ(played, Range(20000, 20000 + static_cast<int64_t>(played.size())));
}

TEST_F(PlaybackTest, ACursorMovedInThePauseBeginsAnew) {
    LSoundWindow* sound = OpenNumbered();
    Press(Qt::Key_Space);
    ASSERT_TRUE(PlaysTo(10000));
    Run(kCmdPlay);
    ASSERT_EQ(Player().State(), LPlayState::kPaused);
    sound->View().Select(80000, 84000);
    Run(kCmdPlay);
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(PlayedFrames(), Range(80000, 84000));
    EXPECT_EQ(sound->Document().selectionEnd, 84000);
    EXPECT_TRUE(Run(kCmdPlayAgain));
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(PlayedFrames(), Range(80000, 84000));
    // What somebody has put elsewhere since stays there.
    sound->View().Select(0, 0);
    Run(kCmdPlay);
    ASSERT_TRUE(PlaysTo(5000));
    sound->View().Select(60000, 60000);
    Run(kCmdStop);
    EXPECT_EQ(sound->Document().cursor, 60000);
}

TEST_F(PlaybackTest, ALoopOfTheSelectionEndsWithThePassInWhichItIsTurnedOff) {
    LSoundWindow* sound = OpenNumbered();
    sound->View().Select(10000, 50000);
    EXPECT_TRUE(Run(kCmdLoop));
    EXPECT_TRUE(Player().Loop());
    EXPECT_TRUE(frame->ActionOf(kCmdLoop)->isChecked());
    Press(Qt::Key_Space);
    // Well inside of the second pass: at a joint, the device has taken frames that are not heard yet.
    ASSERT_TRUE(PumpUntil([&] { return Played().size() > 40000U + 10000U; }));
    ASSERT_TRUE(Plays());
    EXPECT_TRUE(Run(kCmdLoop));
    ASSERT_TRUE(WaitForEnd());
    const auto played = PlayedFrames();
    ASSERT_EQ(played.size() % 40000, 0U) << played.size();
    EXPECT_GE(played.size(), 2 * 40000U);
    for (size_t i = 0; i < played.size(); ++i)
        ASSERT_EQ(played[i], 10000 + static_cast<int64_t>(i % 40000)) << "frame " << i;
    // And on while all of it is queued already.
    ASSERT_TRUE(PumpUntil([&] {
        if (!Plays()) Press(Qt::Key_Space);
        QTest::qWait(60);
        return Plays();  // not too late
    }));
    EXPECT_TRUE(Run(kCmdLoop));
    EXPECT_TRUE(PumpUntil([&] { return Played().size() > 40000U; }));
    EXPECT_TRUE(Plays());
    Run(kCmdStop);
}

TEST_F(PlaybackTest, ALoopWithoutASelectionIsTheWholeSound) {
    LSoundWindow* sound = OpenNumbered("numbered.wav", 12000);
    sound->View().Select(9000, 9000);
    Player().SetLoop(true);
    Press(Qt::Key_Space);
    ASSERT_TRUE(PumpUntil([&] { return Played().size() > 15000U; }));
    Run(kCmdStop);
    const auto played = PlayedFrames();
    for (size_t i = 0; i < played.size(); ++i)
        ASSERT_EQ(played[i], (9000 + static_cast<int64_t>(i)) % 12000) << "frame " << i;
}

TEST_F(PlaybackTest, AnotherSpeedGoesOnAtTheSamePlace) {
    LSoundWindow* sound = OpenNumbered("numbered.wav", 20 * kRate);
    Press(Qt::Key_Space);
    ASSERT_TRUE(PlaysTo(20000));
    QElapsedTimer clock;
    clock.start();
    const auto passed = [&] { return clock.restart() * 5 * kRate / 1000; };
    const int64_t before = Player().Position();
    EXPECT_TRUE(Run(kCmdSpeedFivefold));
    EXPECT_EQ(Player().SpeedIndex(), 8);
    EXPECT_TRUE(frame->ActionOf(kCmdSpeedFivefold)->isChecked());
    EXPECT_FALSE(frame->ActionOf(kCmdSpeedNormal)->isChecked());
    const int64_t after = Player().Position();
    EXPECT_LT(std::abs(after - before), kRate / 4 + passed()) << before << " " << after;
    // As a tape from here on.
    SetSettingBool(QStringLiteral("Settings"), QStringLiteral("PlaySpeedKeepPitch"), false);
    Player().OptionsChanged();
    const int64_t again = Player().Position();
    EXPECT_LT(std::abs(again - after), kRate / 4 + passed());
    clock.start();
    const int64_t from = Player().Position();
    QTest::qWait(800);
    const double speed = static_cast<double>(Player().Position() - from) / kRate /
                         (static_cast<double>(clock.elapsed()) / 1000);
    EXPECT_NEAR(speed, 5, 2);
    EXPECT_TRUE(Plays());
    EXPECT_TRUE(Run(kCmdSpeedNormal));
    Run(kCmdStop);
    EXPECT_EQ(sound->Document().cursor, 0);
    // What was played at five times the speed rises by five a frame.
    int fast = 0;
    const auto played = PlayedFrames();
    for (size_t i = 1; i < played.size(); ++i) fast += played[i] - played[i - 1] == 5;
    EXPECT_GT(fast, kRate / 5);
}

TEST_F(PlaybackTest, TheLabelsOfTheSpeeds) {
    const char* const labels[] = {"Play Speed 0.1x", "Play Speed 0.2x",  "Play Speed 0.5x",
                                  "Play (Space)",    "Play Speed 1.25x", "Play Speed 1.5x",
                                  "Play Speed 2x",   "Play Speed 3x",    "Play Speed 5x"};
    OpenNumbered("numbered.wav", 1000);
    for (int index = 0; index < kPlaySpeeds; ++index) {
        Player().SetSpeedIndex(index);
        EXPECT_EQ(PlayLabel(index), QLatin1String(labels[index]));
        EXPECT_EQ(frame->ActionOf(kCmdPlay)->toolTip(), QLatin1String(labels[index]));
    }
    EXPECT_EQ(frame->ActionOf(kCmdLoop)->toolTip(), QStringLiteral("Turn loop on or off (Ctrl + F9)"));
    EXPECT_EQ(frame->ActionOf(kCmdScrub)->toolTip(), QStringLiteral("Turn scrub on or off (F6)"));
}

TEST_F(PlaybackTest, GoingSomewhereMovesWhatIsHeard) {
    LSoundWindow* sound = OpenNumbered();
    LWaveView& view = sound->View();
    view.Select(50000, 50000);
    Press(Qt::Key_Space);
    ASSERT_TRUE(PlaysTo(55000));
    EXPECT_TRUE(Run(kCmdGoToStart));
    EXPECT_LT(Player().Position(), 50000);
    EXPECT_EQ(sound->Document().cursor, 50000) << "the cursor stays";
    ASSERT_TRUE(PlaysTo(4000));
    // A click: the cursor and the sound.
    const int x = view.width() * 3 / 4, y = view.height() / 2;
    QTest::mouseClick(&view, Qt::LeftButton, {}, {x, y});
    const int64_t clicked = sound->Document().cursor;
    EXPECT_NEAR(static_cast<double>(clicked), kFrames * 0.75, kFrames * 0.02);
    EXPECT_GE(Player().Position(), clicked - kRate / 10);
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(sound->Document().cursor, clicked);
    const auto played = PlayedFrames();
    EXPECT_EQ(played.front(), 50000);
    const auto start = std::find(played.begin(), played.end(), 0);
    ASSERT_NE(start, played.end());
    const auto jump = std::find(start, played.end(), clicked);
    ASSERT_NE(jump, played.end());
    EXPECT_EQ(std::vector<int64_t>(jump, played.end()), Range(clicked, kFrames));
}

TEST_F(PlaybackTest, AClickAboveTheWavesMovesWhatIsHeardToo) {
    LSoundWindow* sound = OpenNumbered();
    sound->View().Select(kRate, kRate);
    EXPECT_TRUE(Run(kCmdAddBookmark));
    sound->View().Select(0, 0);
    Press(Qt::Key_Space);
    ASSERT_TRUE(PlaysTo(5000));
    QWidget& row = sound->MarkerRow();
    ASSERT_TRUE(row.isVisible());
    QTest::mouseClick(&row, Qt::LeftButton, {}, {row.width() / 2 + 1, row.height() / 2});
    EXPECT_EQ(sound->Document().cursor, kRate);
    EXPECT_GE(Player().Position(), kRate - kRate / 10);
}

TEST_F(PlaybackTest, OutsideOfTheSelectionItGoesOnToTheEnd) {
    LSoundWindow* sound = OpenNumbered("numbered.wav", kRate);
    sound->View().Select(1000, 40000);
    Press(Qt::Key_Space);
    ASSERT_TRUE(PlaysTo(4000));
    EXPECT_TRUE(Run(kCmdGoToSelectionEnd));
    EXPECT_EQ(sound->Document().selectionStart, 1000);
    ASSERT_TRUE(WaitForEnd());
    const auto played = PlayedFrames();
    const auto jump = std::find(played.begin(), played.end(), 40000);
    EXPECT_EQ(std::vector<int64_t>(jump, played.end()), Range(40000, kRate));
    // Paused, the place is kept until it goes on, and the cursor is there.
    sound->View().Select(0, 0);
    Press(Qt::Key_Space);
    ASSERT_TRUE(PlaysTo(2000));
    Press(Qt::Key_Space);
    EXPECT_TRUE(Run(kCmdGoToEnd));
    Player().Seek(30000);
    EXPECT_EQ(Player().State(), LPlayState::kPaused);
    EXPECT_EQ(sound->Document().cursor, 30000);
    Press(Qt::Key_Space);
    ASSERT_TRUE(WaitForEnd());
    const auto again = PlayedFrames();
    EXPECT_EQ(std::vector<int64_t>(again.end() - 18000, again.end()), Range(30000, kRate));
    EXPECT_EQ(sound->Document().cursor, 0);
}

TEST_F(PlaybackTest, EditsDoNotDisturbWhatIsHeard) {
    LSoundWindow* sound = OpenNumbered();
    Press(Qt::Key_Space);
    ASSERT_TRUE(PlaysTo(10000));
    sound->View().Select(20000, 90000);
    EXPECT_TRUE(Run(kCmdDelete));
    EXPECT_EQ(sound->Document().Edited().Length(), kFrames - 70000);
    EXPECT_TRUE(Plays());
    EXPECT_TRUE(Run(kCmdAddBookmark));
    ASSERT_EQ(sound->Document().bookmarks.size(), 1U);
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(PlayedFrames(), Range(0, kFrames));
    // The state before, for comparison, and the present one.
    sound->View().Select(15000, 25000);
    EXPECT_TRUE(Run(kCmdPreviewSaved));
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(PlayedFrames(), Range(15000, 25000));
    Press(Qt::Key_Space);
    ASSERT_TRUE(WaitForEnd());
    auto now = Range(15000, 20000);
    for (int64_t n = 90000; n < 95000; ++n) now.push_back(n);
    EXPECT_EQ(PlayedFrames(), now);
    EXPECT_TRUE(Run(kCmdUndo));
    EXPECT_TRUE(Run(kCmdUndo));
    EXPECT_FALSE(Run(kCmdPreviewSaved)) << "as it was saved";
}

TEST_F(PlaybackTest, ABookmarkComesToWhatIsHeard) {
    LSoundWindow* sound = OpenNumbered();
    Press(Qt::Key_Space);
    ASSERT_TRUE(PlaysTo(20000));
    EXPECT_TRUE(Run(kCmdAddBookmark));
    const int64_t mark = sound->Document().bookmarks.at(0).position;
    EXPECT_GE(mark, 20000);
    EXPECT_EQ(sound->Document().cursor, 0);
    ASSERT_TRUE(PlaysTo(mark + kRate * 6 / 10));
    EXPECT_TRUE(Run(kCmdPreviousBookmark));
    EXPECT_GE(Player().Position(), mark - kRate / 10);
    EXPECT_LT(Player().Position(), mark + kRate * 6 / 10);
    EXPECT_TRUE(Run(kCmdPreviousBookmark)) << "nothing before it";
    EXPECT_TRUE(Run(kCmdPreviousCutpoint));
    EXPECT_LT(Player().Position(), 20000);
}

TEST_F(PlaybackTest, ClosingWhatPlaysEndsIt) {
    LSoundWindow* other = OpenNumbered("other.wav");
    LSoundWindow* sound = OpenNumbered();
    Press(Qt::Key_Space);
    ASSERT_TRUE(PlaysTo(5000));
    EXPECT_TRUE(Run(kCmdClose));
    EXPECT_TRUE(Stopped());
    PumpUntil([&] { return frame->Sounds().size() == 1; });
    EXPECT_EQ(frame->ActiveSound(), other);
    EXPECT_TRUE(Run(kCmdPlayAgain)) << "the active one instead";
    EXPECT_EQ(Player().Sound(), other);
    EXPECT_NE(sound, other);
    frame->PostClose(true);
    EXPECT_TRUE(PumpUntil([&] { return Stopped(); }));
}

TEST_F(PlaybackTest, SpacePlaysTheActiveSound) {
    LSoundWindow* first = OpenNumbered("first.wav");
    Press(Qt::Key_Space);
    ASSERT_TRUE(PlaysTo(5000));
    Press(Qt::Key_Space);
    EXPECT_GE(first->Document().cursor, 5000);
    LSoundWindow* second = OpenNumbered("second.wav", 20000);
    Press(Qt::Key_Space);
    EXPECT_EQ(Player().Sound(), second);
    EXPECT_EQ(first->Document().cursor, 0);
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(PlayedFrames(), Range(0, 20000));
}

TEST_F(PlaybackTest, OthersAskForPlayingToo) {
    LSoundWindow* sound = OpenNumbered();
    EXPECT_TRUE(frame->Play(1000, 9000));
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(PlayedFrames(), Range(1000, 9000));
    EXPECT_TRUE(frame->RestartPlayback());
    EXPECT_TRUE(frame->StopAll());
    EXPECT_FALSE(frame->StopAll());
    EXPECT_FALSE(Run(kCmdStop)) << "nothing to stop";
    SetSettingBool(QStringLiteral("Settings"), QStringLiteral("AutoPlaybackAfterEffects"), true);
    sound->View().Select(5000, 8000);
    EXPECT_TRUE(Run(kCmdSilence));
    ASSERT_TRUE(Plays());
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(Played(), std::vector<float>(3000, 0.0f));
}

}  // namespace
}  // namespace ondarix
