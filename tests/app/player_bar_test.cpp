// SPDX-License-Identifier: GPL-3.0-or-later
// The bar of the player in the real frame, worked with mouse and keys.
#include "app/player_bar.h"

#include <QAccessible>
#include <QApplication>
#include <QMenu>
#include <QSlider>
#include <QStatusBar>
#include <QToolBar>
#include <cmath>

#include "app/clip_indicator.h"
#include "app/theme.h"
#include "app/time_text.h"
#include "playing_fixture.h"
#include "sound/marks.h"

namespace ondarix {
namespace {

class PlayerBar : public PlayingTest {
  protected:
    LPlayerBar& Bar() { return Child<LPlayerBar>("playerBar"); }
    QToolButton& Button(const char* name) { return Child<QToolButton>(name); }
    QString Time() { return Child<LTimeDisplay>("playTime").PositionText(); }
    // As the keyboard presses what has the focus: the window's shortcuts see the key first.
    void PressSpaceOn(QWidget& widget) {
        widget.setFocus();
        ASSERT_TRUE(widget.hasFocus()) << widget.objectName().toStdString();
        QTest::keyClick(frame->windowHandle(), Qt::Key_Space);
    }
};

TEST_F(PlayerBar, ItsButtonsDriveThePlayerAndShowWhatItDoes) {
    EXPECT_FALSE(Button("playerPlay").isEnabled()) << "there is no sound";
    Open(MakeWav("a.wav"));
    EXPECT_TRUE(Button("playerPlay").isEnabled());
    EXPECT_FALSE(Button("playerStop").isEnabled());
    EXPECT_EQ(Button("playerPlay").toolTip(), "Play (Space)");
    QTest::mouseClick(&Button("playerPlay"), Qt::LeftButton);
    ASSERT_TRUE(PlaysSoon());
    EXPECT_EQ(Button("playerPlay").accessibleName(), "Pause (Space)");
    EXPECT_TRUE(frame->ActiveSound()->View().hasFocus() || !frame->focusWidget() ||
                !Bar().isAncestorOf(frame->focusWidget()))
        << "a click leaves the keyboard where it was";
    QTest::mouseClick(&Button("playerPlay"), Qt::LeftButton);
    EXPECT_EQ(Playback().State(), LPlayState::kPaused);
    EXPECT_EQ(Button("playerPlay").toolTip(), "Play (Space)");
    QTest::mouseClick(&Button("playerStop"), Qt::LeftButton);
    EXPECT_EQ(Playback().State(), LPlayState::kStopped);
    EXPECT_FALSE(Button("playerStop").isEnabled());

    EXPECT_EQ(Button("playerLoop").toolTip(), "Turn loop on or off (Ctrl + F9)");
    EXPECT_EQ(Button("playerScrub").toolTip(), "Turn scrub on or off (F6)");
    QTest::mouseClick(&Button("playerLoop"), Qt::LeftButton);
    EXPECT_TRUE(Playback().Loop());
    frame->RunCommand(kCmdLoop);
    EXPECT_FALSE(Button("playerLoop").isChecked());
    QTest::mouseClick(&Button("playerScrub"), Qt::LeftButton);
    EXPECT_EQ(Playback().Manner(), LPlayManner::kScrub);
    EXPECT_TRUE(Button("playerScrub").isChecked());
    QTest::mouseClick(&Button("playerScrub"), Qt::LeftButton);
    EXPECT_EQ(Playback().Manner(), LPlayManner::kPlain);
    EXPECT_FALSE(Button("playerScrub").isChecked());
}

TEST_F(PlayerBar, SpacePressesTheButtonWithTheFocusAndNothingElse) {
    Open(MakeWav("a.wav"));
    int starts = 0;
    QObject::connect(&Playback(), &LPlayback::StateChanged, frame.get(),
                     [&] { starts += Playback().State() == LPlayState::kPlaying ? 1 : 0; });
    PressSpaceOn(Button("playerLoop"));
    EXPECT_TRUE(Playback().Loop());
    PressSpaceOn(Child<LClipIndicator>("clipIndicator"));
    EXPECT_EQ(starts, 0);
    PressSpaceOn(Button("playerPlay"));
    EXPECT_EQ(Playback().State(), LPlayState::kPlaying);
    EXPECT_EQ(starts, 1);
    PressSpaceOn(Button("playerStop"));
    EXPECT_EQ(Playback().State(), LPlayState::kStopped);
    EXPECT_EQ(starts, 1);
    frame->ActiveSound()->View().setFocus();
    QTest::keyClick(frame->windowHandle(), Qt::Key_Space);
    EXPECT_EQ(starts, 2) << "in the waveform it plays";
    // Home and the like move the slider that has the focus, not the cursor.
    auto& slider = Child<QSlider>("playerVolume");
    slider.setFocus();
    QTest::keyClick(frame->windowHandle(), Qt::Key_Home);
    EXPECT_EQ(Playback().Volume(), -60);
}

TEST_F(PlayerBar, KeysOfAKeyboardForMediaWorkInTheWindow) {
    LSoundWindow* sound = Open(MakeWav("a.wav"));
    AddBookmark(sound->Document(), *frame, 44100);
    const auto press = [&](Qt::Key key) {
        QTest::sendKeyEvent(QTest::Click, frame->windowHandle(), key, QString(), Qt::NoModifier);
    };
    press(Qt::Key_MediaTogglePlayPause);
    EXPECT_EQ(Playback().State(), LPlayState::kPlaying);
    press(Qt::Key_MediaPlay);
    EXPECT_EQ(Playback().State(), LPlayState::kPaused);
    press(Qt::Key_MediaStop);
    EXPECT_EQ(Playback().State(), LPlayState::kStopped);
    press(Qt::Key_MediaNext);
    EXPECT_EQ(sound->Document().cursor, 44100);
    EXPECT_EQ(frame->ActionOf(kCmdPlay)->shortcut(), QKeySequence(Qt::Key_Space)) << "what is shown";
}

TEST_F(PlayerBar, EveryControlIsReachedByTab) {
    Open(MakeWav("a.wav"));
    Playback().Play(*frame->ActiveSound());
    frame->ActiveSound()->View().setFocus();
    for (int i = 0; i < 100 && !Button("playerRewind").hasFocus(); ++i) {
        ASSERT_TRUE(frame->focusWidget());
        QTest::keyClick(frame->focusWidget(), Qt::Key_Tab);
    }
    EXPECT_TRUE(Button("playerRewind").hasFocus()) << "from the waveform";
    QStringList reached;
    for (int i = 0; i < 12 && frame->focusWidget(); ++i) {
        reached.append(frame->focusWidget()->objectName());
        QTest::keyClick(frame->focusWidget(), Qt::Key_Tab);
    }
    const QStringList wanted{"playerRewind", "playerPlay",  "playerStop", "playerForward", "playerLoop",
                             "playerScrub",  "playerSpeed", "playerMute", "playerVolume",  "playerDevice"};
    EXPECT_EQ(reached.mid(0, wanted.size()), wanted) << reached.join(' ').toStdString();
    Button("playerLoop").setFocus();
    Playback().Stop();
    QTest::keyClick(&Button("playerLoop"), Qt::Key_Escape);
    EXPECT_TRUE(frame->ActiveSound()->View().hasFocus());
}

TEST_F(PlayerBar, WindingLastsAsLongAsItsButtonIsHeld) {
    Open(MakeWav("a.wav", "16", "10"));
    for (const auto& [name, manner] :
         {std::pair{"playerForward", LPlayManner::kForward}, {"playerRewind", LPlayManner::kRewind}}) {
        Playback().Play(*frame->ActiveSound(), 44100, 400000);
        QTest::mousePress(&Button(name), Qt::LeftButton);
        EXPECT_EQ(Playback().Manner(), manner);
        QTest::mouseRelease(&Button(name), Qt::LeftButton);
        EXPECT_EQ(Playback().Manner(), LPlayManner::kPlain);
        EXPECT_EQ(Playback().State(), LPlayState::kPlaying);
        Button(name).setFocus();
        QTest::keyPress(&Button(name), Qt::Key_Space);
        EXPECT_EQ(Playback().Manner(), manner);
        frame->ActiveSound()->View().setFocus();
        EXPECT_EQ(Playback().Manner(), LPlayManner::kPlain) << "the key can come up elsewhere";
    }
}

TEST_F(PlayerBar, OffersAllSpeedsByTheirNames) {
    auto& speed = Button("playerSpeed");
    QStringList names;
    for (const QAction* action : speed.menu()->actions()) names.append(action->text());
    EXPECT_EQ(names.join('|'),
              "Play Speed 0.1x|Play Speed 0.2x|Play Speed 0.5x|Play Speed Normal|Play Speed 1.25x|"
              "Play Speed 1.5x|Play Speed 2x|Play Speed 3x|Play Speed 5x");
    EXPECT_TRUE(speed.menu()->actions()[3]->isChecked());
    EXPECT_EQ(speed.text(), "1x");
    speed.menu()->actions()[4]->trigger();
    EXPECT_EQ(GetSettingInt("Settings", "PlaySpeed", -1), 4);
    EXPECT_EQ(speed.text(), "1.25x");
    EXPECT_EQ(Button("playerPlay").toolTip(), "Play Speed 1.25x");
    Playback().SetSpeedIndex(6);
    EXPECT_EQ(speed.text(), "2x");
    EXPECT_TRUE(speed.menu()->actions()[6]->isChecked());
    SetSettingInt(77, "Settings", "PlaySpeed");
    Bar().ShowSettings();
    EXPECT_EQ(speed.text(), "1x") << "what is no speed plays normally";
}

TEST_F(PlayerBar, VolumeAndMuteGoTogether) {
    auto& slider = Child<QSlider>("playerVolume");
    EXPECT_EQ(slider.minimum(), -60);
    EXPECT_EQ(slider.maximum(), 0);
    slider.setValue(-18);
    EXPECT_EQ(Playback().Volume(), -18);
    EXPECT_EQ(slider.toolTip(), "Volume: -18 dB");
    Button("playerMute").click();
    EXPECT_EQ(Playback().Volume(), kNoSignalDb);
    EXPECT_TRUE(Button("playerMute").isChecked());
    EXPECT_EQ(slider.value(), -18);
    Button("playerMute").click();
    EXPECT_EQ(Playback().Volume(), -18);
    Button("playerMute").click();
    slider.setValue(-6);
    EXPECT_FALSE(Button("playerMute").isChecked()) << "who moves the slider wants to hear";
    EXPECT_EQ(Playback().Volume(), -6);
}

TEST_F(PlayerBar, ShowsTheCursorThenWhatIsHeard) {
    LSoundWindow* sound = Open(MakeWav("a.wav"));
    sound->View().Select(44100, 44100);
    EXPECT_EQ(Time(), "0:00:01.000");
    QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(&Child<LTimeDisplay>("playTime"));
    EXPECT_EQ(spoken->text(QAccessible::Value), "0:00:01.000 of 0:00:03.000");
    Playback().Play(*sound);
    ASSERT_TRUE(PumpUntil([&] { return Playback().Position() > 60000; }));
    EXPECT_TRUE(PumpUntil([&] {
        const double shown = Time().section(':', -1).toDouble();
        return shown > 1 && std::abs(shown - static_cast<double>(Playback().Position()) / 44100) < 0.1;
    })) << Time().toStdString();
    Playback().Stop();
    EXPECT_EQ(Time(), "0:00:01.000");
}

TEST_F(PlayerBar, TheMeterShowsTheLevelOfASineAndFallsAfterwards) {
    Open(MakeWav("a.wav"));  // sines of 0.7, which is -3.1 dB
    const LMeterBallistics& meter = Bar().Meter().Ballistics();
    Playback().Play(*frame->ActiveSound());
    ASSERT_TRUE(PumpUntil([&] { return meter.BarDb(0) > -10; }));
    const double level = std::trunc(20 * std::log10(0.7) - 0.5);
    const auto shows = [&](int row) { return std::abs(meter.BarDb(row) - level) <= 1; };
    EXPECT_TRUE(PumpUntil([&] { return shows(0) && shows(1); }));
    Playback().Stop();
    EXPECT_TRUE(PumpUntil([&] { return meter.BarDb(0) <= -60 && meter.BarDb(1) <= -60; }));
}

TEST_F(PlayerBar, WhatTheLimiterLowersIsToldUntilItIsReset) {
    Sox({"-n", "-r", "44100", "-e", "floating-point", "-b", "32", In("sine.wav"), "synth", "3", "sine",
         "441"});
    Sox({In("sine.wav"), "-t", "raw", "-e", "floating-point", "-b", "32", In("sine.raw")});
    QFile raw(In("sine.raw"));
    ASSERT_TRUE(raw.open(QIODevice::ReadOnly));
    QByteArray bytes = raw.readAll();
    auto* samples = reinterpret_cast<float*>(bytes.data());
    for (qsizetype i = 0; i < bytes.size() / qsizetype{sizeof(float)}; ++i) samples[i] *= 2;
    QFile loud(In("loud.raw"));
    ASSERT_TRUE(loud.open(QIODevice::WriteOnly));
    loud.write(bytes);
    loud.close();
    Sox({"-t", "raw", "-e", "floating-point", "-b", "32", "-r", "44100", "-c", "1", In("loud.raw"), "-e",
         "floating-point", In("loud.wav")});
    Open(In("loud.wav"));
    auto& lamp = Child<LClipIndicator>("clipIndicator");
    EXPECT_FALSE(lamp.IsClipped());
    Playback().Play(*frame->ActiveSound());
    ASSERT_TRUE(PumpUntil([&] { return lamp.IsClipped() && Bar().Meter().Ballistics().HasClipped(); }));
    Playback().Stop();
    QTest::qWait(50);
    EXPECT_TRUE(lamp.IsClipped()) << "also after the end";
    PressSpaceOn(lamp);
    EXPECT_FALSE(lamp.IsClipped());
    EXPECT_FALSE(Bar().Meter().Ballistics().HasClipped()) << "both warnings at once";
    EXPECT_EQ(Playback().State(), LPlayState::kStopped);
}

// Nothing sticks out, nothing overlaps, and the window gets as narrow as it was.
TEST_F(PlayerBar, FoldsInNarrowWindows) {
    Open(MakeWav("a.wav"));
    EXPECT_LE(frame->minimumSizeHint().width(), 640);
    int shownBefore = 0, widest = 0;
    for (const int width : {360, 420, 520, 640, 760, 900, 1100, 1600, 640}) {
        frame->resize(width, 600);
        QTest::qWait(20);
        ASSERT_EQ(frame->width(), width);
        int shown = 0, right = -1;
        for (QWidget* part : Bar().findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
            if (!part->isVisible() || part->isWindow()) continue;
            ++shown;
            EXPECT_GT(part->x(), right) << part->objectName().toStdString() << " at " << width;
            EXPECT_LT(part->geometry().right(), Bar().width())
                << part->objectName().toStdString() << " at " << width;
            EXPECT_GE(part->width(), part->minimumSizeHint().width()) << part->objectName().toStdString();
            right = part->geometry().right();
        }
        // Wider: never less than before. The last one is narrow again.
        EXPECT_TRUE(shown >= shownBefore || shownBefore == widest) << width;
        shownBefore = shown;
        widest = std::max(widest, shown);
        for (const char* name : {"playerPlay", "playerStop"}) EXPECT_TRUE(Button(name).isVisible()) << width;
        EXPECT_TRUE(width < 640 || (Bar().Meter().isVisible() && Button("playerDevice").isVisible()))
            << width;
        EXPECT_TRUE(width < 1100 || Child<QSlider>("playerVolume").isVisible());
    }
}

TEST_F(PlayerBar, TheCommandHidesItForGood) {
    auto& tools = Child<QToolBar>("playerTools");
    EXPECT_TRUE(tools.isVisible());
    EXPECT_TRUE(frame->RunCommand(5024));
    EXPECT_FALSE(tools.isVisible());
    EXPECT_FALSE(frame->ActionOf(5024)->isChecked());
    EXPECT_FALSE(LMainFrame().ShowsPlayer());
    EXPECT_TRUE(frame->RunCommand(5024));
    EXPECT_TRUE(tools.isVisible());
    EXPECT_TRUE(GetSettingBool("MainWindow", "PlayerBar", false));
}

TEST_F(PlayerBar, TheDeviceMenuListsWhatIsThereAndGoesOnOnAnother) {
    SetSettingBool("Player", "ShowNullDevice", true);
    StoreOutput("[PulseAudio] Unplugged & Gone");
    Bar().ShowSettings();
    QMenu* menu = Button("playerDevice").menu();
    const auto texts = [menu] {
        QStringList all;
        for (const QAction* action : menu->actions()) all.append(action->text().replace("&&", "&"));
        return all;
    };
    menu->popup({0, 0});
    ASSERT_TRUE(PumpUntil([&] { return texts().contains("[Null] Without Sound"); }, 10000))
        << texts().join('|').toStdString();
    EXPECT_EQ(texts().first(), "[Default Sound Out]");
    EXPECT_TRUE(texts().contains("[PulseAudio] Unplugged & Gone (not connected)"));
    StoreOutput("file:" + In("played.raw"));
    menu->hide();
    menu->popup({0, 0});
    EXPECT_TRUE(texts().contains("file:" + In("played.raw"))) << "a file is always there";

    Open(MakeWav("a.wav"));
    Playback().Play(*frame->ActiveSound(), 20000, 120000);
    ASSERT_TRUE(PumpUntil([&] { return Playback().Position() > 30000; }));
    for (QAction* action : menu->actions())
        if (action->text() == "[Null] Without Sound") {
            action->trigger();
            break;
        }
    EXPECT_EQ(ChosenOutputText(), "[Null] Without Sound");
    ASSERT_EQ(Playback().State(), LPlayState::kPlaying);
    EXPECT_GT(Playback().Position(), 25000);
    EXPECT_TRUE(Button("playerDevice").toolTip().contains("[Null] Without Sound"));
    menu->hide();
}

TEST_F(PlayerBar, IsDrawnInTheColoursOfTheTheme) {
    Open(MakeWav("a.wav"));
    ApplyTheme(LThemeChoice::kDark);
    QTest::qWait(1);
    const QImage dark = Bar().grab().toImage();
    ApplyTheme(LThemeChoice::kLight);
    QTest::qWait(1);
    const QImage light = Bar().grab().toImage();
    EXPECT_LT(dark.pixelColor(2, 2).lightness(), 80);
    EXPECT_GT(light.pixelColor(2, 2).lightness(), 180);
    // The drawing of the play button: light on dark, dark on light.
    const QRect play = Button("playerPlay").geometry();
    const auto extreme = [&](const QImage& image, bool lightest) {
        int found = lightest ? 0 : 255;
        for (int y = play.top(); y <= play.bottom(); ++y)
            for (int x = play.left(); x <= play.right(); ++x) {
                const int here = image.pixelColor(x, y).lightness();
                found = lightest ? std::max(found, here) : std::min(found, here);
            }
        return found;
    };
    EXPECT_GT(extreme(dark, true), 180);
    EXPECT_LT(extreme(light, false), 80);
    ApplyTheme(LThemeChoice::kSystem);
}

}  // namespace
}  // namespace ondarix
