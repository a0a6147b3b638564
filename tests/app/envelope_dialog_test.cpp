// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/envelope_dialog.h"

#include <QAccessible>
#include <numbers>

#include "mixing_fixture.h"
#include "sound/wrappers.h"

namespace ondarix {
namespace {

// --- The points

// Silence at full scale, so to say: what comes out is the gain.
class LOnes final : public LSoundSource {
  public:
    explicit LOnes(int64_t length) : LSoundSource(44100, 1), length_(length) {}
    float* Read(float* dest, int32_t frames) override {
        position_ += frames;
        return std::fill_n(dest, frames, 1.0f);
    }
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return length_; }
    void Seek(int64_t frame) override { position_ = frame; }

  private:
    int64_t length_, position_ = 0;
};

TEST(EnvelopeCurve, IsWhatTheFilterMultipliesWithAfterAnyChange) {
    std::mt19937 random(5);
    constexpr int64_t kLength = 3000;
    LEnvelopeCurve curve(kLength);
    std::vector<int64_t> frames(kLength);
    for (int64_t i = 0; i < kLength; ++i) frames[static_cast<size_t>(i)] = i;
    const auto number = [&](int64_t least, int64_t most) {
        return std::uniform_int_distribution<int64_t>(least, most)(random);
    };
    for (int round = 0; round < 300; ++round) {
        const LEnvelopePoint point{number(-100, kLength + 100), static_cast<float>(number(0, 20)) / 10};
        const auto index = static_cast<int>(number(-1, curve.Count()));
        if (const int64_t what = number(0, 3); what == 0)
            ASSERT_EQ(curve.Points().at(static_cast<size_t>(curve.Add(point))).gain, point.gain);
        else if (what == 1)
            curve.Remove(index);
        else
            curve.Move(index, point);
        curve.SetCurve(static_cast<LCurve>(number(0, 3)));
        ASSERT_GE(curve.Count(), 1);
        for (int i = 0; i < curve.Count(); ++i) {
            const int64_t frame = curve.Points()[static_cast<size_t>(i)].frame;
            ASSERT_TRUE(frame >= 0 && frame <= kLength);
            ASSERT_TRUE(i == 0 || curve.Points()[static_cast<size_t>(i) - 1].frame <= frame);
        }
        LSoundSourceRef filter =
            FollowEnvelope(MakeSource<LOnes>(kLength), curve.Points(), static_cast<uint8_t>(curve.Curve()));
        std::vector<float> heard(kLength);
        filter->Read(heard.data(), static_cast<int32_t>(kLength));
        ASSERT_EQ(curve.Gains(frames), heard) << round;
    }
}

// --- The dialog

class EnvelopeTest : public MixingTest {
  protected:
    static LEnvelopeView& View(QWidget& dialog) { return static_cast<LEnvelopeDialog&>(dialog).View(); }
    static QPoint Place(LEnvelopeView& view, double share, double gain) {
        return view
            .PlaceOf(
                {std::llround(share * static_cast<double>(view.Curve().Length())), static_cast<float>(gain)})
            .toPoint();
    }
    static void Drag(LEnvelopeView& view, QPoint from, QPoint to) {
        QTest::mousePress(&view, Qt::LeftButton, {}, from);
        QTest::mouseMove(&view, (from + to) / 2);
        QTest::mouseMove(&view, to);
        QTest::mouseRelease(&view, Qt::LeftButton, {}, to);
    }
    // The formula of a curve in double, from one gain to the next.
    static double Formula(int curve, double from, double to, double x, double n) {
        const double d = to - from;
        if (curve == 0 || d == 0) return from + d * x / n;
        if (curve == 3)
            return d > 0 ? from + d * std::sin(x * std::numbers::pi / (2 * n))
                         : to - d * std::sin((n - x) * std::numbers::pi / (2 * n));
        const double late = std::exp(x * 4 / n - 4), early = std::exp((n - x) * 4 / n - 4);
        if (curve == 1) return d > 0 ? from + d * late : to - d * early;
        return d > 0 ? from + d - d * early : from + d * late;
    }
};

TEST_F(EnvelopeTest, WhatIsDrawnWithTheMouseIsApplied) {
    for (int interpolation = 0; interpolation < 4; ++interpolation) {
        OpenNoise(6000, 3u + static_cast<uint32_t>(interpolation));
        const Wave before = Now();
        std::vector<LEnvelopePoint> points;
        Answered(kCmdEnvelope, {[&](QWidget& dialog) {
                     LEnvelopeView& view = View(dialog);
                     Click(dialog, "reset");
                     EXPECT_EQ(view.Curve().Count(), 2);
                     Drag(view, Place(view, 0, 1), Place(view, 0, 0));
                     QTest::mouseDClick(&view, Qt::LeftButton, {}, Place(view, 0.5, 1.05));
                     QTest::mouseRelease(&view, Qt::LeftButton, {}, Place(view, 0.5, 1.05));
                     QTest::mouseDClick(&view, Qt::LeftButton, {}, Place(view, 0.75, 0.5));
                     EXPECT_EQ(view.Curve().Count(), 4);
                     // No further than its neighbour.
                     Drag(view, Place(view, 0.75, 0.5), Place(view, 0.2, 0.5));
                     EXPECT_EQ(view.Curve().Points()[2].frame, view.Curve().Points()[1].frame);
                     QTest::mouseClick(&view, Qt::RightButton, {}, Place(view, 0.5, 0.5));
                     EXPECT_EQ(view.Curve().Count(), 3);
                     auto& choice = In<QComboBox>(dialog, "interpolation");
                     choice.setFocus();
                     QTest::keyClick(&choice, Qt::Key_Home);
                     for (int i = 0; i < interpolation; ++i) QTest::keyClick(&choice, Qt::Key_Down);
                     points = view.Curve().Points();
                     PressOk(dialog);
                 }});
        ASSERT_EQ(points.size(), 3u);
        EXPECT_EQ(points[0], (LEnvelopePoint{0, 0}));
        EXPECT_NEAR(static_cast<double>(points[1].frame), 3000, 12);
        EXPECT_NEAR(points[1].gain, 1.05, 0.02);  // nothing is limited
        EXPECT_EQ(points[2], (LEnvelopePoint{6000, 1}));
        const Wave now = Now();
        for (size_t i = 0; i < now.size(); ++i) {
            const auto x = static_cast<int64_t>(i / 2);
            const LEnvelopePoint &from = points[x < points[1].frame ? 0 : 1],
                                 &to = points[x < points[1].frame ? 1 : 2];
            const double gain =
                Formula(interpolation, double{from.gain}, double{to.gain},
                        static_cast<double>(x - from.frame), static_cast<double>(to.frame - from.frame));
            ASSERT_NEAR(now[i], before[i] * gain, 2e-6) << interpolation << " " << i;
        }
        EXPECT_EQ(GetSettingInt(QStringLiteral("Settings"), QStringLiteral("EnvInterPolation"), -1),
                  interpolation);
        ExpectOneStep(before, "Envelope");
        Document().isModified = false;
        EXPECT_TRUE(Run(kCmdClose));
    }
}

TEST_F(EnvelopeTest, KeysAndFieldsDoWhatTheMouseDoes) {
    OpenNoise(48000);
    Answered(
        kCmdEnvelope, {[&](QWidget& dialog) {
            LEnvelopeView& view = View(dialog);
            const auto point = [&view](int i) { return view.Curve().Points()[static_cast<size_t>(i)]; };
            In<QComboBox>(dialog, "levelUnit").setFocus();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            EXPECT_TRUE(view.hasFocus());
            EXPECT_EQ(view.Selected(), 0);
            QTest::keyClick(&view, Qt::Key_Tab);
            EXPECT_EQ(view.Selected(), 1) << "to the next point";
            QTest::keyClick(&view, Qt::Key_Tab);
            EXPECT_FALSE(view.hasFocus()) << "and on";
            view.setFocus(Qt::BacktabFocusReason);
            EXPECT_EQ(view.Selected(), 1);
            QTest::keyClick(&view, Qt::Key_Tab, Qt::ShiftModifier);
            EXPECT_EQ(view.Selected(), 0);

            QTest::keyClick(&view, Qt::Key_Insert);
            EXPECT_EQ(view.Curve().Count(), 3);
            EXPECT_EQ(point(1), (LEnvelopePoint{24000, 1}));
            const QPointF place = view.PlaceOf(point(1));
            QTest::keyClick(&view, Qt::Key_Left);
            EXPECT_NEAR(view.PlaceOf(point(1)).x(), place.x() - 1, 0.02);
            EXPECT_EQ(point(1).gain, 1);
            QTest::keyClick(&view, Qt::Key_Down, Qt::ShiftModifier);
            EXPECT_NEAR(view.PlaceOf(point(1)).y(), place.y() + 10, 0.02);

            TypeInto(dialog, "pointTime", "0.25");
            TypeNumber(dialog, "pointLevel", "35");
            EXPECT_EQ(point(1), (LEnvelopePoint{12000, 0.35f}));
            EXPECT_EQ(QAccessible::queryAccessibleInterface(&view)->text(QAccessible::Value),
                      QStringLiteral("Point 2 of 3, 0:00:00.250, 35 %"));
            Choose(dialog, "levelUnit", "Decibels");
            TypeNumber(dialog, "pointLevelDb", "-6");
            EXPECT_NEAR(point(1).gain, std::pow(10, -6 / 20.0), 1e-6);
            QTest::keyClick(&In<QWidget>(dialog, "pointLevelDb"), Qt::Key_Up);
            EXPECT_NEAR(point(1).gain, std::pow(10, -5.5 / 20.0), 1e-6);
            EXPECT_TRUE(GetSettingBool(QStringLiteral("Settings"), QStringLiteral("EnvelopeInDb"), false));
            // The place of a level in dB leads back to it.
            const LEnvelopePoint back = view.At(view.PlaceOf(point(1)));
            EXPECT_NEAR(back.gain, point(1).gain, 1e-4);

            view.setFocus();
            QTest::keyClick(&view, Qt::Key_Delete);
            EXPECT_EQ(view.Curve().Count(), 2);
            QTest::keyClick(&view, Qt::Key_Delete);
            QTest::keyClick(&view, Qt::Key_Delete);
            EXPECT_EQ(view.Curve().Count(), 1) << "the last one stays";
            EXPECT_FALSE(In<QPushButton>(dialog, "removePoint").isEnabled());
            EXPECT_TRUE(view.Complete(10000));
            EXPECT_FALSE(view.grab().isNull());
            QTest::keyClick(&view, Qt::Key_Escape);
        }});
    EXPECT_FALSE(Document().CanUndo());
}

TEST_F(EnvelopeTest, TheLastOneIsStretchedOverTheNextSoundAndPresetsHoldThePoints) {
    OpenNoise(6000);
    Answered(kCmdEnvelope, {[&](QWidget& dialog) {
                                View(dialog).Select(0);
                                TypeNumber(dialog, "pointLevel", "0");
                                Click(dialog, "addPoint");
                                Click(dialog, "savePreset");
                                PressOk(dialog);
                            },
                            [](QWidget& dialog) {
                                TypeInto(dialog, "name", "Rise");
                                PressOk(dialog);
                            }});
    Document().isModified = false;
    EXPECT_TRUE(Run(kCmdClose));
    OpenNoise(18000, 2);
    const std::vector<LEnvelopePoint> longer{{0, 0}, {9000, 0.5f}, {18000, 1}};
    Answered(kCmdEnvelope, {[&](QWidget& dialog) {
                 LEnvelopeView& view = View(dialog);
                 EXPECT_EQ(view.Curve().Points(), longer);
                 auto& presets = In<QComboBox>(dialog, "presets");
                 EXPECT_EQ(presets.count(), 1);
                 Click(dialog, "reset");
                 EXPECT_EQ(presets.currentIndex(), -1);
                 EXPECT_EQ(view.Curve().Points()[0].gain, 1);
                 presets.setFocus();
                 QTest::keyClick(&presets, Qt::Key_Down);
                 EXPECT_EQ(presets.currentText(), QStringLiteral("Rise"));
                 EXPECT_EQ(view.Curve().Points(), longer);
                 Click(dialog, "reset");
                 PressCancel(dialog);
             }});
    Answered(kCmdEnvelope, {[&](QWidget& dialog) {
                 EXPECT_EQ(View(dialog).Curve().Points(), longer) << "what was cancelled is not kept";
                 PressCancel(dialog);
             }});
}

TEST_F(EnvelopeTest, IsHeardWhileAPointIsDraggedAndClosingEndsTheSound) {
    OpenNoise(4000);
    const Wave before = Now();
    Answered(kCmdEnvelope, {[&](QWidget& dialog) {
                 LEnvelopeView& view = View(dialog);
                 View(dialog).Select(0);
                 Click(dialog, "removePoint");
                 QTest::keyClick(&view, Qt::Key_Space);
                 EXPECT_EQ(PreviewOf(dialog).State(), LPreviewState::kPlaying);
                 EXPECT_TRUE(HasPlayed(10000));
                 Drag(view, Place(view, 1, 1), Place(view, 1, 0));
                 const size_t sofar = PlayedSoFar();
                 EXPECT_TRUE(HasPlayed(sofar + 60000));
                 EXPECT_EQ(Played().back(), 0);
                 QTest::keyClick(&view, Qt::Key_Escape);
             }});
    const size_t played = PlayedSoFar();
    QTest::qWait(60);
    EXPECT_EQ(PlayedSoFar(), played);
    EXPECT_EQ(Now(), before);
    EXPECT_FALSE(Document().CanUndo());
}

}  // namespace
}  // namespace ondarix
