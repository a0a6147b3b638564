// SPDX-License-Identifier: GPL-3.0-or-later
// What the wave view paints.
#include <QAccessible>
#include <QProcess>
#include <QSignalSpy>
#include <QWheelEvent>

#include "app/wave_view_markers.h"
#include "gen/settings.h"
#include "patience.h"
#include "wave_view_fixture.h"

namespace ondarix {
namespace {

QRgb At(const QImage& image, QPoint at) { return image.pixel(at); }

// First and last row of one column that are painted in the colour of the line, which is darker than all else.
std::pair<double, double> LineRows(const QImage& image, int x, const LStrip& strip) {
    double first = -1, last = -1;
    for (int y = static_cast<int>(strip.top) + 3; y < strip.top + strip.height - 3; ++y) {
        const QColor pixel = image.pixelColor(x, y);
        if (pixel.red() > 170 || pixel.rgb() == WaveColours().centre.rgb()) continue;
        if (first < 0) first = y;
        last = y + 1;
    }
    return {first, last};
}

TEST_F(WaveViewTest, TheLineBetweenSamplesIsTheSignalTheyStandFor) {
    // 0.31 of the sampling rate: straight lines between the samples would be far off.
    const double turns = 0.31;
    const auto signal = [turns](double frame) {
        return 0.8 * std::sin(2 * std::numbers::pi * turns * frame + 0.4);
    };
    Make(2000, 1, [&](int64_t frame, int) { return signal(static_cast<double>(frame)); });
    ShowWindow({1100, 500});
    Range().Show(900, View().width() / 5);  // without dots, which would hide the line
    const QImage image = Shown();
    const LStrip strip = StripOf(0, 1, View().height());
    const double pixels = View().width() / static_cast<double>(Range().Frames());
    const auto rowAt = [&](double x) {
        const double frame = static_cast<double>(Range().Start()) + x / pixels - 0.5;
        return strip.Middle() - signal(frame) * strip.HalfSpan();
    };
    for (int x = 40; x < View().width() - 40; ++x) {
        const auto [first, last] = LineRows(image, x, strip);
        double high = 1e9, low = -1e9;
        for (double part = 0; part <= 1; part += 0.125) {
            high = std::min(high, rowAt(x + part));
            low = std::max(low, rowAt(x + part));
        }
        ASSERT_NEAR(first, high, 4) << x;
        ASSERT_NEAR(last, low, 4) << x;
    }
}

TEST_F(WaveViewTest, DotsStandOnTheSamplesAndOnlyFromSixPixelsOn) {
    Make(400, 1, [](int64_t frame, int) { return frame % 2 ? 0.5 : -0.25; });
    ShowWindow();
    for (const int pixels : {4, 12}) {
        Range().Show(100, View().width() / pixels);
        const QImage image = Shown();
        int dots = 0;
        for (int64_t frame = 110; frame < 130; ++frame) {
            const QPoint at = PlaceOf(frame, frame % 2 ? 0.5 : -0.25, 0);
            dots += At(image, at) == WaveColours().wave.rgb();
        }
        EXPECT_EQ(dots, pixels < 6 ? 0 : 20);
    }
}

TEST_F(WaveViewTest, WhatScrollingLeavesEqualsAFreshPaint) {
    MakeTone();
    document->sound.ScaleRangePercent(30000, 70000, 150);
    ShowWindow();
    Bookmark(40000, "here");
    View().Select(35000, 60000);
    for (const int64_t frames : {int64_t{100000}, int64_t{90001}, int64_t{7777}, int64_t{2003}, int64_t{1001},
                                 int64_t{333}, int64_t{40}}) {
        Range().Show(20000, frames);
        Shown();
        int64_t at = 20000;
        for (const double part : {0.01, 0.013, -0.2, 0.37, 0.9, -0.05, 1.6, 0.001, -0.0007}) {
            at += static_cast<int64_t>(part * static_cast<double>(frames));
            Range().MoveTo(at);
            const QImage scrolled = Shown();
            View().SetVerticalZoom(2);  // everything anew
            Shown();
            View().SetVerticalZoom(1);
            ASSERT_EQ(scrolled, Shown()) << frames << " frames from " << at;
            // And nothing that another window would show otherwise.
        }
    }
    Range().Show(20000, 50000);
    Range().MoveTo(30011);
    const QImage here = Shown();
    LSoundWindow fresh(document, host);
    fresh.resize(window->size());
    fresh.Range().Show(30011, 50000);
    fresh.show();
    ASSERT_TRUE(fresh.Complete());
    fresh.View().setFocus();
    QTest::qWait(1);
    EXPECT_EQ(here.convertToFormat(QImage::Format_RGB32).copy(2, 4, 900, 300),
              fresh.View().grab().toImage().convertToFormat(QImage::Format_RGB32).copy(2, 4, 900, 300));
}

// The scale of a screen is fixed when a program starts.
TEST(WaveViewScale, ScrollingIsExactOnScreensOfEveryScale) {
    for (const char* scale : {"1.25", "2"}) {
        QProcess self;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_SCALE_FACTOR"), QLatin1String(scale));
        environment.insert(QStringLiteral("QT_SCALE_FACTOR_ROUNDING_POLICY"), QStringLiteral("PassThrough"));
        self.setProcessEnvironment(environment);
        self.setProcessChannelMode(QProcess::MergedChannels);
        self.start(QCoreApplication::applicationFilePath(),
                   {QStringLiteral("--gtest_filter=WaveViewTest.WhatScrolling*:WaveMarkersTest.*")});
        ASSERT_TRUE(self.waitForFinished(60000));
        EXPECT_EQ(self.exitCode(), 0) << scale << ": " << self.readAll().toStdString();
    }
}

TEST_F(WaveViewTest, MonoViewLaysAllChannelsOverEachOther) {
    Make(50000, 2, [](int64_t, int channel) { return channel ? -0.75 : 0.5; });
    ShowWindow();
    EXPECT_EQ(View().Strips(), 2);
    View().SetMonoView(true);
    EXPECT_EQ(View().Strips(), 1);
    const LStrip strip = StripOf(0, 1, View().height());
    const auto isWave = [&](const QImage& image, double value) {
        const QColor pixel =
            image.pixelColor(400, static_cast<int>(strip.Middle() - value * strip.HalfSpan()));
        return pixel.lightness() < WaveColours().grid.lightness() - 20;
    };
    for (const int64_t frames : {50000, 4000}) {
        Range().Show(0, frames);
        const QImage image = Shown();
        EXPECT_TRUE(isWave(image, 0.45)) << frames;
        EXPECT_TRUE(isWave(image, -0.7)) << frames;
        EXPECT_FALSE(isWave(image, 0.6)) << frames;
        EXPECT_FALSE(isWave(image, -0.85)) << frames;
    }
    Range().Show(100, 50);
    const QImage image = Shown();
    EXPECT_EQ(At(image, PlaceOf(120, 0.5, 0)), WaveColours().wave.rgb()) << "a line for each of them";
    EXPECT_EQ(At(image, PlaceOf(120, -0.75, 0)), WaveColours().wave.rgb());
}

TEST_F(WaveViewTest, WhileOneChannelIsEditedTheOthersAreDimmed) {
    MakeTone();
    ShowWindow();
    View().Select(20000, 60000);
    const QImage whole = Shown();
    ASSERT_EQ(EditChannel(*document, host, 1), JobResult::kSuccess);
    window->Refresh();
    document->channelSound->Silence(0, 30000);
    window->Refresh();
    const QImage image = Shown();
    const LStrip left = StripOf(0, 2, View().height()), right = StripOf(1, 2, View().height());
    const auto contrast = [&](const QImage& of, const LStrip& strip, int x) {
        return std::abs(
            of.pixelColor(x, static_cast<int>(strip.Middle() - 0.3 * strip.HalfSpan())).lightness() -
            WaveColours().background.lightness());
    };
    const int outside = XOf(100000);
    EXPECT_LT(contrast(image, left, outside), contrast(whole, left, outside) / 2);
    EXPECT_EQ(contrast(image, right, outside), contrast(whole, right, outside));
    EXPECT_EQ(contrast(image, right, XOf(10000)), 0) << "shows the channel that is being edited";
    EXPECT_GT(contrast(image, left, XOf(10000)), 0);
    const int selected = XOf(40000);
    EXPECT_EQ(At(image, {selected, static_cast<int>(left.top) + 8}), WaveColours().background.rgb());
    EXPECT_EQ(At(image, {selected, static_cast<int>(right.top) + 8}), WaveColours().selection.rgb());
    auto* heads = window->findChild<LChannelBar*>();
    QSignalSpy clicked(window.get(), &LSoundWindow::ChannelClicked);
    auto* first = heads->findChild<QAbstractButton*>(QStringLiteral("channel0"));
    EXPECT_FALSE(first->isChecked());
    EXPECT_TRUE(heads->findChild<QAbstractButton*>(QStringLiteral("channel1"))->isChecked());
    EXPECT_EQ(first->accessibleName(), QStringLiteral("Channel Left"));
    QTest::mouseClick(first, Qt::LeftButton);
    ASSERT_EQ(clicked.size(), 1);
    EXPECT_EQ(clicked[0][0].toInt(), 0);
    EXPECT_FALSE(first->isChecked()) << "shows the document, which the window has not changed";
}

TEST_F(WaveViewTest, JointsAreTicksAndTenThousandCostNoMoreThanAPixelEach) {
    Make(kRate, 1, [](int64_t, int) { return 0.0; });
    LSound piece;
    document->sound.CopyRange(0, 10000, piece);
    LSound all(kRate, 1);
    for (int i = 0; i < 10000; ++i) all.Insert(0, piece);
    document->sound = all;
    ShowWindow();
    EXPECT_EQ(JointsOf(document->sound).size(), 9999u);
    const auto ticks = [&](const QImage& image) {
        int count = 0;
        for (int x = 0; x < image.width(); ++x) count += image.pixel(x, 2) == WaveColours().joint.rgb();
        return count;
    };
    EXPECT_GT(ticks(Shown()), View().width() - 10);
    Range().Show(5000, 50000);
    const QImage image = Shown();
    EXPECT_EQ(ticks(image), 5);
    for (int i = 1; i <= 5; ++i) {
        const bool left = At(image, {XOf(i * 10000), 2}) == WaveColours().joint.rgb();
        EXPECT_TRUE(left || At(image, {XOf(i * 10000) + 1, 2}) == WaveColours().joint.rgb()) << i;
    }
    QElapsedTimer timer;
    Range().ShowAll();
    Shown();
    timer.start();
    View().SetVerticalZoom(2);
    Shown();
    EXPECT_LT(timer.elapsed(), test::kPatienceMs);
}

TEST_F(WaveViewTest, LoudestPlaceAndDbRangeSetTheVerticalZoom) {
    Make(40000, 1, [](int64_t frame, int) { return frame > 30000 ? 0.5 : 0.125; });
    ShowWindow();
    View().ZoomToDbRange(-12.0412);
    EXPECT_NEAR(View().VerticalZoom(), 4, 0.001);
    View().ZoomToLoudest();
    EXPECT_NEAR(View().VerticalZoom(), 2, 0.01);
    View().Select(1000, 20000);
    View().ZoomToLoudest();
    EXPECT_NEAR(View().VerticalZoom(), 8, 0.05);
}

TEST_F(WaveViewTest, AVeryLongSoundIsThereByAndByAndThenExactly) {
    Make(20'000'000, 1, [](int64_t frame, int) { return frame / 256 % 1000 == 3 ? 0.9 : 0.2; });
    ShowWindow();
    const QImage image = Shown();
    const LStrip strip = StripOf(0, 1, View().height());
    int high = 0;
    for (int x = 0; x < image.width(); ++x)
        high +=
            image.pixelColor(x, static_cast<int>(strip.Middle() - 0.8 * strip.HalfSpan())).lightness() < 190;
    // A loud record every 256,000 frames is a spike of a column.
    EXPECT_NEAR(high, 20'000'000 / 256'000, 2 + 20'000'000 / 256'000 / 4);
}

TEST_F(WaveViewTest, ThePictureHoldsWavesRulersAndMarkers) {
    MakeTone();
    ShowWindow();
    Bookmark(60000, "here");
    QTest::qWait(1);
    const QImage picture = window->Picture();
    const QRect waves(View().mapTo(window.get(), QPoint(0, 0)), View().size());
    EXPECT_EQ(picture.width(), waves.right() + 1);
    EXPECT_EQ(picture.height(), waves.bottom() + 1) << "no scroll bar";
    EXPECT_NE(At(picture, {waves.left() + XOf(60000), waves.top() + 30}),
              At(picture, {waves.left() + XOf(60000) + 3, waves.top() + 30}));
    int dark = 0;
    for (int x = waves.left(); x < picture.width(); ++x) dark += qGray(picture.pixel(x, 10)) < 140;
    EXPECT_GT(dark, 20) << "labels of the times";
}

TEST_F(WaveViewTest, AssistiveProgramsReadAndSetTheCursor) {
    MakeTone();
    ShowWindow();
    View().Select(kRate, 2 * kRate);
    QAccessibleInterface* wave = QAccessible::queryAccessibleInterface(&View());
    ASSERT_NE(wave, nullptr);
    EXPECT_EQ(wave->text(QAccessible::Name), QStringLiteral("Waveform"));
    EXPECT_EQ(wave->text(QAccessible::Description),
              QStringLiteral("Cursor at 0:00:02.000, selected from 0:00:01.000 to 0:00:02.000"));
    ASSERT_NE(wave->valueInterface(), nullptr);
    EXPECT_EQ(wave->valueInterface()->currentValue().toDouble(), 2.0);
    EXPECT_EQ(wave->valueInterface()->maximumValue().toDouble(), 3.0);
    wave->valueInterface()->setCurrentValue(0.5);
    EXPECT_EQ(View().Cursor(), kRate / 2);
    wave->valueInterface()->setCurrentValue(1e300);
    EXPECT_EQ(View().Cursor(), 3 * kRate);
    for (QWidget* child : window->findChildren<QWidget*>())
        if (child->isVisible() && !child->objectName().startsWith(QStringLiteral("qt_")) &&
            child->parentWidget() == window.get()) {
            EXPECT_FALSE(child->accessibleName().isEmpty()) << child->objectName().toStdString();
        }
}

}  // namespace
}  // namespace ondarix
