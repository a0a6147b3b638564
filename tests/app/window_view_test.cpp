// SPDX-License-Identifier: GPL-3.0-or-later
#include <QDragEnterEvent>
#include <QMimeData>
#include <QScreen>
#include <QScrollBar>
#include <QUrl>
#include <QWheelEvent>
#include <QWindow>
#include <cmath>

#include "app/theme.h"
#include "app/time_text.h"
#include "gen/settings.h"
#include "waiting.h"
#include "window_fixture.h"

namespace ondarix {
namespace {

// Rows from the first to the last one that shows wave in the columns given, of the strip of one channel.
std::pair<int, int> WaveRows(const QImage& image, int channel, int fromX, int toX) {
    const LWaveColours& colours = WaveColours();
    const LStrip strip = StripOf(channel, 2, image.height());
    const QRgb ignored[] = {colours.background.rgb(), colours.grid.rgb(), colours.centre.rgb(),
                            colours.cursor.rgb(), colours.selection.rgb()};
    int first = INT_MAX, last = -1;
    // The rows next to a border belong to the focus frame.
    for (int y = static_cast<int>(strip.top) + 2; y < static_cast<int>(strip.top + strip.height) - 2; ++y)
        for (int x = fromX; x < toX; ++x) {
            const QRgb pixel = image.pixel(x, y);
            if (std::find(std::begin(ignored), std::end(ignored), pixel) != std::end(ignored)) continue;
            first = std::min(first, y);
            last = std::max(last, y);
        }
    return {first, last};
}

TEST_F(WindowTest, EveryZoomPaintsTheSineAtItsHeight) {
    LSoundWindow* window = Open(MakeWav("tone.wav", "16", "60"));
    LWaveView& view = window->View();
    for (const bool dark : {false, true}) {
        ApplyTheme(dark ? LThemeChoice::kDark : LThemeChoice::kLight);
        for (int64_t frames = 60 * 44100; frames > 150; frames /= 3) {
            window->Range().Show(30 * 44100, frames);
            ASSERT_TRUE(window->Complete());
            const QImage image = view.grab().toImage();
            for (int channel = 0; channel < 2; ++channel) {
                const LStrip strip = StripOf(channel, 2, image.height());
                const auto [first, last] = WaveRows(image, channel, 20, image.width() - 20);
                const double height = 0.7 * strip.HalfSpan();
                EXPECT_NEAR(first, strip.Middle() - height, 2) << frames << " frames, channel " << channel;
                EXPECT_NEAR(last, strip.Middle() + height, 2) << frames << " frames, channel " << channel;
            }
        }
    }
    view.SetVerticalZoom(1.25);
    const QImage image = view.grab().toImage();
    const LStrip strip = StripOf(0, 2, image.height());
    EXPECT_NEAR(WaveRows(image, 0, 20, image.width() - 20).first,
                strip.Middle() - 0.7 * 1.25 * strip.HalfSpan(), 2);
}

TEST_F(WindowTest, ThemesChangeWhatIsPainted) {
    LSoundWindow* window = Open(MakeWav("tone.wav"));
    window->Range().Show(0, 44100);
    const auto backgroundOf = [&](int command) {
        EXPECT_TRUE(frame->RunCommand(command));
        QTest::qWait(1);
        const QImage view = window->View().grab().toImage();
        const QImage bar = frame->grab().toImage();
        return std::pair(QColor(view.pixel(view.width() / 2, 6)).lightness(),
                         QColor(bar.pixel(2, 2)).lightness());
    };
    const auto light = backgroundOf(kCmdThemeLight), dark = backgroundOf(kCmdThemeDark);
    EXPECT_GT(light.first, 200);
    EXPECT_GT(light.second, 200);
    EXPECT_LT(dark.first, 60);
    EXPECT_LT(dark.second, 80);
    EXPECT_EQ(StoredTheme(), LThemeChoice::kDark);
    EXPECT_TRUE(frame->findChild<QAction*>(QStringLiteral("command5017"))->isChecked());
    frame->RunCommand(kCmdThemeSystem);
    SetSystemPrefersDark(true);
    EXPECT_TRUE(IsDarkTheme());
    SetSystemPrefersDark(false);
    EXPECT_FALSE(IsDarkTheme());
}

TEST_F(WindowTest, KeysMoveTheCursorAndTheSelection) {
    LSoundWindow* window = Open(MakeWav("tone.wav"));
    LWaveView& view = window->View();
    const auto selection = [window] { return window->Document().EditRange(); };
    const auto key = [&](int which, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(&view, static_cast<Qt::Key>(which), modifiers);
    };
    const int64_t pixel = std::llround(3 * 44100.0 / view.width());
    key(Qt::Key_Right);
    EXPECT_EQ(selection().start, pixel);
    EXPECT_TRUE(selection().IsEmpty());
    key(Qt::Key_Right, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(selection().start, pixel);
    EXPECT_NEAR(static_cast<double>(selection().end), 11 * 3 * 44100.0 / view.width(), 6);
    key(Qt::Key_End, Qt::ShiftModifier);
    EXPECT_EQ(selection().end, 3 * 44100);
    key(Qt::Key_Home, Qt::ShiftModifier);
    EXPECT_EQ(selection().start, 0);
    EXPECT_EQ(selection().end, pixel) << "the other end stays where the selection began";
    key(Qt::Key_Home);
    key(Qt::Key_Left);
    EXPECT_EQ(view.Cursor(), 0);
    window->Range().Show(0, 40);
    key(Qt::Key_Right);
    EXPECT_EQ(view.Cursor(), 1) << "at least a frame";
    window->Range().Show(0, 10000);
    key(Qt::Key_PageDown);
    EXPECT_TRUE(PumpUntil([&] { return window->Range().Start() == 10000; }));
    EXPECT_EQ(view.Cursor(), 10001);
    key(Qt::Key_Plus);
    EXPECT_EQ(window->Range().Frames(), 5000);
    key(Qt::Key_Minus);
    EXPECT_EQ(window->Range().Frames(), 10000);
}

TEST_F(WindowTest, TheMouseSelectsExtendsScrollsAndZooms) {
    LSoundWindow* window = Open(MakeWav("tone.wav"));
    LWaveView& view = window->View();
    const auto selection = [window] { return window->Document().EditRange(); };
    QTest::mouseDClick(&view, Qt::LeftButton, {}, {300, 50});
    EXPECT_EQ(selection().start, 0);
    EXPECT_EQ(selection().end, 3 * 44100);
    Drag(view, 500, 400);
    EXPECT_LT(selection().start, selection().end);
    const int64_t end = selection().end;
    QTest::mouseClick(&view, Qt::LeftButton, Qt::ShiftModifier, {100, 50});
    EXPECT_EQ(selection().end, end);
    EXPECT_EQ(selection().start, window->Range().FrameAt(100, view.width()));

    const auto wheel = [&](double x, int delta, Qt::KeyboardModifiers modifiers) {
        const QPointF at(x, 50);
        QWheelEvent event(at, view.mapToGlobal(at), {}, {0, delta}, {}, modifiers, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&view, &event);
    };
    const int64_t under = window->Range().FrameAt(300, view.width());
    for (int i = 0; i < 10; ++i) wheel(300, 120, Qt::ControlModifier);
    EXPECT_LT(window->Range().Frames(), 3 * 44100 / 8);
    EXPECT_NEAR(window->Range().XOf(under, view.width()), 300, 1) << "what is under the mouse stays there";
    const int64_t start = window->Range().Start();
    wheel(300, -120, {});
    EXPECT_TRUE(PumpUntil([&] { return window->Range().Start() > start; }));
    wheel(300, 120, Qt::ShiftModifier);
    EXPECT_GT(view.VerticalZoom(), 1.0);

    // Dragging beyond the edge scrolls on by itself.
    window->Range().Show(0, 20000);
    QTest::mousePress(&view, Qt::LeftButton, {}, {view.width() - 50, 50});
    QTest::mouseMove(&view, {view.width() + 80, 50});
    EXPECT_TRUE(PumpUntil([&] { return window->Range().Start() > 5000; }));
    QTest::mouseRelease(&view, Qt::LeftButton, {}, {view.width() + 80, 50});
    EXPECT_EQ(selection().end, window->Range().End());
}

TEST_F(WindowTest, WhatIsRepaintedInPartsEqualsAWholePaint) {
    LSoundWindow* window = Open(MakeWav("tone.wav"));
    LWaveView& view = window->View();
    const auto shown = [&] {
        EXPECT_TRUE(window->Complete());
        QTest::qWait(5);
        return frame->windowHandle()->screen()->grabWindow(frame->winId()).toImage();
    };
    for (const auto& [start, frames] :
         {std::pair<int64_t, int64_t>{0, 3 * 44100}, {5000, 4000}, {5000, 60}}) {
        window->Range().Show(start, frames);
        view.Select(start + frames / 4, start + frames / 2);
        QTest::qWait(5);
        for (const auto& [from, to] : {std::pair{8, 3}, {2, 3}, {2, 2}, {7, 1}, {0, 9}}) {
            view.Select(start + frames * from / 9, start + frames * to / 9);
            QTest::qWait(5);
        }
        const QImage parts = shown();
        ASSERT_FALSE(parts.isNull());
        view.update();
        QTest::qWait(5);
        EXPECT_EQ(parts, shown()) << frames;
    }
}

TEST_F(WindowTest, DroppedFilesOpenAndAreRemembered) {
    const QString first = MakeWav("a.wav"), second = MakeWav("b.wav");
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(first), QUrl::fromLocalFile(second)});
    QDragEnterEvent enter({50, 50}, Qt::CopyAction, &data, Qt::LeftButton, {});
    QCoreApplication::sendEvent(frame.get(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop({50, 50}, Qt::CopyAction, &data, Qt::LeftButton, {});
    QCoreApplication::sendEvent(frame.get(), &drop);
    EXPECT_TRUE(PumpUntil([&] { return frame->Sounds().size() == 2; }));
    EXPECT_EQ(RecentFiles(), (QStringList{second, first}));

    QMimeData text;
    text.setText(QStringLiteral("no file"));
    QDragEnterEvent refused({50, 50}, Qt::CopyAction, &text, Qt::LeftButton, {});
    refused.ignore();
    QCoreApplication::sendEvent(frame.get(), &refused);
    EXPECT_FALSE(refused.isAccepted());
}

TEST_F(WindowTest, RecentFilesKeepTenAndForgetWhatIsGone) {
    for (int i = 0; i < 12; ++i) RememberRecentFile(QStringLiteral("/none/%1.wav").arg(i));
    RememberRecentFile(QStringLiteral("/none/5.wav"));
    const QStringList files = RecentFiles();
    ASSERT_EQ(files.size(), 10);
    EXPECT_EQ(files[0], QStringLiteral("/none/5.wav"));
    EXPECT_EQ(files[1], QStringLiteral("/none/11.wav"));
    EXPECT_EQ(files.count(QStringLiteral("/none/5.wav")), 1);
    frame->RunCommand(kCmdFirstRecent);
    EXPECT_EQ(messages->told.size(), 1) << "says that it cannot be opened";
    EXPECT_FALSE(RecentFiles().contains(QStringLiteral("/none/5.wav")));
}

TEST_F(WindowTest, TheScrollBarReachesTheEndOfWeeksOfSound) {
    LSoundDocumentRef document(new LSoundDocument);
    document->sound = LSound(192000, 2);
    document->sound.InsertSilence(0, 500'000'000'000);
    LSoundWindow window(document, *frame);
    window.resize(800, 400);
    window.Range().Show(0, 1000);
    auto* bar = window.findChild<QScrollBar*>(QStringLiteral("scrollBar"));
    bar->setValue(bar->maximum());
    EXPECT_GT(window.Range().End(), 500'000'000'000 - 1000);
    bar->setValue(bar->maximum() / 2);
    EXPECT_NEAR(static_cast<double>(window.Range().Start()), 250e9, 1000);
    window.Range().Zoom(0.5, window.Range().Start() + 500);
    EXPECT_NEAR(static_cast<double>(window.Range().Start()), 250e9, 1500)
        << "zooming is not bound to scroll steps";
    EXPECT_FALSE(window.grab().isNull());
}

TEST_F(WindowTest, TheStatusBarTellsTheSelection) {
    LSoundWindow* window = Open(MakeWav("tone.wav"));
    window->View().Select(44100 / 2, 44100 * 2);
    const auto text = [&](const char* name) {
        return frame->findChild<QLabel*>(QLatin1String(name))->text();
    };
    EXPECT_EQ(text("statusSelection"),
              QStringLiteral("Selection 0:00:00.500 \u2013 0:00:02.000 (0:00:01.500)"));
    EXPECT_EQ(text("statusLength"), QStringLiteral("Length 0:00:03.000"));
    EXPECT_EQ(text("statusFormat"), QStringLiteral("44100 Hz, Stereo"));
}

TEST_F(WindowTest, PlaceAndSizeComeBackOnlyWhereTheyCanBeSeen) {
    const QString section = QStringLiteral("MainWindow");
    frame->ResizeClient(640, std::nullopt);
    EXPECT_EQ(frame->size(), QSize(640, 700));
    frame->ResizeClient(std::nullopt, 420);
    EXPECT_EQ(frame->size(), QSize(640, 420));
    frame->move(33, 44);
    const QRect place = frame->geometry();
    ASSERT_TRUE(frame->close());
    EXPECT_FALSE(GetSettingBool(section, QStringLiteral("Maximized"), true));
    LMainFrame again;
    EXPECT_EQ(again.geometry(), place);
    EXPECT_FALSE(again.isMaximized());

    SetSettingInt(90000, section, QStringLiteral("Left"));
    SetSettingBool(section, QStringLiteral("Maximized"), true);
    LMainFrame elsewhere;
    elsewhere.show();
    EXPECT_TRUE(elsewhere.isMaximized());
    EXPECT_LT(elsewhere.normalGeometry().left(), 10000);
}

TEST_F(WindowTest, TheOverviewMovesTheViewAndWindowsGrowWithTheFrame) {
    LSoundWindow* window = Open(MakeWav("tone.wav"));
    window->Range().Show(0, 44100);
    auto* overview = window->findChild<QWidget*>(QStringLiteral("overview"));
    const int third = overview->width() / 3;
    QTest::mousePress(overview, Qt::LeftButton, {}, {third / 2, 10});
    QTest::mouseMove(overview, {third / 2 + third, 10});
    QTest::mouseRelease(overview, Qt::LeftButton, {}, {third / 2 + third, 10});
    EXPECT_NEAR(static_cast<double>(window->Range().Start()), 44100, 300);
    QTest::mouseClick(overview, Qt::LeftButton, {}, {overview->width() - 1, 10});
    EXPECT_EQ(window->Range().End(), 3 * 44100);

    const int before = window->width();
    frame->resize(frame->width() + 200, frame->height());
    QTest::qWait(1);
    EXPECT_EQ(window->width(), before + 200);
}

TEST(TimeText, RoundsToMillisecondsAndStepsAreWhole) {
    EXPECT_EQ(TimeText(0, 44100), QStringLiteral("0:00:00.000"));
    EXPECT_EQ(TimeText(44099, 44100), QStringLiteral("0:00:01.000"));
    EXPECT_EQ(TimeText(int64_t{192000} * 86399, 192000), QStringLiteral("23:59:59.000"));
    EXPECT_EQ(TimeText(-22050, 44100), QStringLiteral("-0:00:00.500"));
    for (double seconds = 1e-6; seconds < 1e6; seconds *= 1.37) {
        const LTimeStep step = TimeStepFor(seconds);
        EXPECT_GE(step.Seconds(), seconds);
        if (seconds < 43200) {
            EXPECT_LE(step.Seconds(), seconds * 3);
        }
        EXPECT_NE(TimeStepLabel(step, 1), TimeStepLabel(step, 2));
    }
    EXPECT_EQ(TimeStepLabel(TimeStepFor(0.0004), 3), QStringLiteral("0:00.0015"));
    EXPECT_EQ(TimeStepLabel(TimeStepFor(1500), 3), QStringLiteral("1:30:00"));
}

}  // namespace
}  // namespace ondarix
