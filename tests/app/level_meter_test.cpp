// SPDX-License-Identifier: GPL-3.0-or-later
// The level meter: its movement against closed formulas, and what it paints.
#include "app/level_meter.h"

#include <QAccessible>
#include <QApplication>
#include <QPaintEvent>
#include <QtTest/QTest>
#include <algorithm>
#include <cmath>

#include "app/clip_indicator.h"
#include "app/theme.h"
#include "waiting.h"

namespace ondarix {
namespace {

// The same after a second, however many steps it was made of.
TEST(MeterBallistics, FallsAsTheFormulaSaysWhateverTheSteps) {
    for (const double step : {1.0 / 240, 1.0 / 30, 0.1, 0.5}) {
        LMeterBallistics meter;
        meter.Put({-6, -20});
        EXPECT_EQ(meter.BarDb(0), -6) << "at once";
        EXPECT_EQ(meter.HoldDb(1), -20);
        meter.Put({});
        const auto steps = static_cast<int>(std::lround(3 / step));
        for (int i = 1; i <= steps; ++i) {
            const bool moves = meter.Advance(step);
            const double t = i * step;
            const double bar = std::max(-60.0, -6 - 26 * t);
            const double hold = std::max(bar, -6 - 20 * std::max(0.0, t - 1.5));
            ASSERT_NEAR(meter.BarDb(0), bar, 1e-6) << t;
            ASSERT_NEAR(meter.HoldDb(0), hold, 1e-6) << t;
            ASSERT_TRUE(moves) << t << ": the mark has not come down yet";
        }
        while (meter.Advance(step)) {
        }
        EXPECT_EQ(meter.HoldDb(0), -60);
    }
}

TEST(MeterBallistics, ARisingLevelLiftsBarAndMarkAndASteadyOneHoldsThem) {
    LMeterBallistics meter;
    meter.Put({-30});
    meter.Advance(1.4);
    meter.Put({-10});
    EXPECT_EQ(meter.BarDb(0), -10);
    for (int i = 0; i < 100; ++i) {
        meter.Put({-10});
        EXPECT_TRUE(meter.Advance(0.1));
        ASSERT_EQ(meter.BarDb(0), -10) << "it is still there";
        ASSERT_EQ(meter.HoldDb(0), -10);
    }
    meter.Put({kNoSignalDb});
    meter.Advance(1);
    EXPECT_NEAR(meter.BarDb(0), -36, 1e-9);
    EXPECT_EQ(meter.HoldDb(0), -10);
    meter.Put({-35});
    EXPECT_NEAR(meter.BarDb(0), -35, 1e-9) << "up at once again";
}

// Every channel is seen in a row, whatever their number.
TEST(MeterBallistics, NoChannelIsLostAmongMany) {
    for (const size_t channels : {1, 2, 6, 8, 9, 12, 16, 33, 255}) {
        for (size_t loud = 0; loud < channels; ++loud) {
            LMeterBallistics meter;
            LLevelBytes levels(channels, kNoSignalDb);
            levels[loud] = -3;
            meter.Put(levels);
            ASSERT_EQ(meter.Rows(), static_cast<int>(std::min<size_t>(channels, 8)));
            int shown = 0;
            for (int row = 0; row < meter.Rows(); ++row) shown += meter.BarDb(row) == -3 ? 1 : 0;
            ASSERT_EQ(shown, 1) << loud << " of " << channels;
        }
    }
}

TEST(MeterBallistics, OnlyTheLimiterLightsTheLampAndOnlyAResetPutsItOut) {
    LMeterBallistics meter;
    meter.Put({0, -127});
    EXPECT_FALSE(meter.HasClipped()) << "full scale is not beyond it";
    meter.Put({-40, 1});
    EXPECT_TRUE(meter.HasClipped());
    meter.Put({});
    while (meter.Advance(0.5)) {
    }
    EXPECT_TRUE(meter.HasClipped());
    meter.ResetClipped();
    EXPECT_FALSE(meter.HasClipped());
}

// Keeps what the meter was asked to paint.
class LPaintWatch final : public QObject {
  public:
    explicit LPaintWatch(QWidget& widget) { widget.installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) regions.append(static_cast<QPaintEvent*>(event)->region());
        return false;
    }
    QList<QRegion> regions;
};

class Meter : public testing::Test {
  protected:
    void SetUp() override {
        ApplyTheme(LThemeChoice::kLight);
        window.resize(420, 60);
        meter.setGeometry(10, 10, 400, 36);
        window.show();
        QTest::qWait(20);
    }
    // The column where a row's bar ends, found in the picture by its saturation.
    int LitColumns(int row, int rows) {
        const QImage picture = meter.grab().toImage();
        const int barsHeight = picture.height() - meter.fontMetrics().height() - 3;
        const int y = 2 + barsHeight * (2 * row + 1) / (2 * rows) - 1;
        int x = 1;
        while (x < picture.width() && picture.pixelColor(x, y).hsvSaturationF() > 0.5) ++x;
        return x - 1;
    }
    int Columns() const { return 400 - 2 - 8 - 3; }  // of -60 to +3 dB
    QWidget window;
    LLevelMeter meter{&window};
};

TEST_F(Meter, BarsEndWhereTheScaleSaysAndTheLampStaysUntilClicked) {
    meter.SetLevels({-24, -6});
    EXPECT_NEAR(LitColumns(0, 2), Columns() * 36 / 63.0, 1.0);
    EXPECT_NEAR(LitColumns(1, 2), Columns() * 54 / 63.0, 1.0);
    meter.SetLevels({1, -6});
    QTest::qWait(60);
    const QPoint lamp(395, 8);
    const auto red = [&] { return meter.grab().toImage().pixelColor(lamp); };
    const QColor lit = red();
    EXPECT_GT(lit.red(), 180);
    EXPECT_LT(lit.green(), 100);
    int resets = 0;
    QObject::connect(&meter, &LLevelMeter::ClippedReset, [&resets] { ++resets; });
    meter.Fall();
    ASSERT_TRUE(PumpUntil([&] { return !meter.Ballistics().BarDb(0) || meter.Ballistics().BarDb(0) < -30; }));
    EXPECT_EQ(red(), lit);
    QTest::mouseClick(&meter, Qt::LeftButton, {}, lamp);
    EXPECT_NE(red(), lit);
    EXPECT_EQ(resets, 1);
    QTest::mouseClick(&meter, Qt::LeftButton, {}, lamp);
    EXPECT_EQ(resets, 1) << "there is nothing to reset";
}

// Levels come faster than the eye sees them; the screen is asked for little, and at rest for nothing.
TEST_F(Meter, PaintsLittleAndAtRestNothing) {
    meter.SetLevels({-20, -30});
    QTest::qWait(60);
    LPaintWatch watch(meter);
    QElapsedTimer clock;
    clock.start();
    const auto painted = [&] { return watch.regions.size(); };
    for (int i = 0; clock.elapsed() < 1000 || (painted() < 10 && i < 2000); ++i) {
        meter.SetLevels({static_cast<int8_t>(-20 + i % 7), static_cast<int8_t>(-30 - i % 5)});
        QTest::qWait(4);
    }
    EXPECT_LE(painted(), 32 * clock.elapsed() / 1000);
    EXPECT_GE(painted(), 10);
    for (const QRegion& region : watch.regions) {
        int pixels = 0;
        for (const QRect& part : region) pixels += part.width() * part.height();
        EXPECT_LT(pixels, 400 * 36 / 3);
    }
    meter.Fall();
    ASSERT_TRUE(PumpUntil(
        [&] { return meter.Ballistics().HoldDb(0) <= -60 && meter.Ballistics().HoldDb(1) <= -60; }));
    QTest::qWait(80);
    watch.regions.clear();
    QTest::qWait(200);
    EXPECT_TRUE(watch.regions.isEmpty());
    EXPECT_EQ(LitColumns(0, 2), 0);
}

TEST_F(Meter, SaysItsLevelsWhenAskedAndTakesAnyNumberOfChannels) {
    QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(&meter);
    ASSERT_NE(spoken, nullptr);
    EXPECT_EQ(spoken->text(QAccessible::Name), "Level");
    meter.SetLevels({-12, -30});
    EXPECT_EQ(spoken->text(QAccessible::Value), "-12 dB, -30 dB");
    EXPECT_EQ(spoken->text(QAccessible::Description), "-12 dB, -30 dB");
    meter.SetLevels({1, 1});
    EXPECT_EQ(spoken->text(QAccessible::Value), "1 dB; peaks have been limited");
    for (const int size : {28, 36, 90}) {
        meter.resize(90, size);
        for (const size_t channels : {1, 8, 64}) {
            meter.SetLevels(LLevelBytes(channels, -1));
            QTest::qWait(60);
            const auto rows = static_cast<int>(std::min<size_t>(channels, 8));
            for (int row = 0; row < rows && size > 28; ++row) EXPECT_GT(LitColumns(row, rows), 60) << row;
        }
    }
}

TEST(ClipIndicator, SaysWhatItMeansAndSpacePressesIt) {
    QWidget window;
    LClipIndicator lamp(&window);
    window.show();
    int pressed = 0;
    QObject::connect(&lamp, &QAbstractButton::clicked, [&pressed] { ++pressed; });
    EXPECT_EQ(lamp.toolTip(), "Peak limiter: The audio output level is good");
    const QImage good = lamp.grab().toImage();
    lamp.SetClipped(true);
    EXPECT_EQ(
        lamp.toolTip(),
        "Peak limiter: The audio output level has exceeded its peak and has been clipped. Click to reset "
        "warning.");
    EXPECT_EQ(lamp.accessibleDescription(), lamp.toolTip());
    EXPECT_NE(lamp.grab().toImage(), good);
    QTest::keyClick(&lamp, Qt::Key_Space);
    QTest::mouseClick(&lamp, Qt::LeftButton);
    EXPECT_EQ(pressed, 2);
}

}  // namespace
}  // namespace ondarix
