// SPDX-License-Identifier: GPL-3.0-or-later
// A window of one sound with samples that a test has made, and the real edit commands behind it.
#pragma once
#include <QTemporaryDir>
#include <QtTest/QTest>
#include <cmath>
#include <functional>
#include <numbers>

#include "app/sound_window.h"
#include "app/theme.h"
#include "gen/settings.h"
#include "sound/edit_host_fixture.h"
#include "sound/marks.h"
#include "waiting.h"

namespace ondarix {

// Shows what commands have changed, as the frame does.
class LViewHost final : public LEditHost {
  public:
    LMessageHost& Messages() override { return inner.Messages(); }
    JobResult RunJob(const QString& title, const std::function<JobResult(LProgress&)>& work) override {
        return inner.RunJob(title, work);
    }
    void Refresh(LSoundDocument&) override {
        if (window) window->Refresh();
    }
    bool AddDocument(LSoundDocumentRef) override { return false; }

    LTestEditHost inner;
    LSoundWindow* window = nullptr;
};

class WaveViewTest : public testing::Test {
  protected:
    static constexpr int kRate = 44100;

    void SetUp() override {
        ASSERT_TRUE(OpenPrivateCache());
        ApplyTheme(LThemeChoice::kLight);
    }
    void TearDown() override {
        window.reset();
        document = {};
        CloseCache();
        SetSettingBool(QStringLiteral("Settings"), QStringLiteral("SnapSelection"), false);
    }

    // A sound of `channels` channels; of(frame, channel) is a sample.
    void Make(int64_t frames, uint8_t channels, const std::function<double(int64_t, int)>& of) {
        LSound sound;
        LCacheFileWriter writer({kRate, channels}, &sound);
        std::vector<float> samples(static_cast<size_t>(frames) * channels);
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] =
                static_cast<float>(of(static_cast<int64_t>(i / channels), static_cast<int>(i % channels)));
        writer.Write(samples.data(), static_cast<int32_t>(frames));
        writer.Finish();
        ASSERT_FALSE(writer.HasFailed());
        document = LSoundDocumentRef(new LSoundDocument);
        document->sound.CopyFrom(sound);
        document->title = QStringLiteral("made");
    }
    // Two sines of 0.7, three seconds.
    void MakeTone() {
        Make(3 * kRate, 2, [](int64_t frame, int channel) {
            return 0.7 * std::sin(2 * std::numbers::pi * (channel ? 630 : 441) * static_cast<double>(frame) /
                                  kRate);
        });
    }
    void ShowWindow(QSize size = {1000, 500}) {
        window = std::make_unique<LSoundWindow>(document, host);
        host.window = window.get();
        window->resize(size);
        window->show();
        QTest::qWait(1);
        window->activateWindow();
        View().setFocus();
        ASSERT_TRUE(window->Complete());
    }
    LWaveView& View() { return window->View(); }
    LMarkerRow& Row() { return window->MarkerRow(); }
    LViewRange& Range() { return window->Range(); }
    QImage Shown() {
        EXPECT_TRUE(window->Complete());
        return View().grab().toImage();
    }
    int XOf(int64_t frame) { return static_cast<int>(std::floor(Range().XOf(frame, View().width()))); }
    // Middle of a sample, at a value, in the strip of a channel.
    QPoint PlaceOf(int64_t frame, double value, int channel) {
        const double pixels = View().width() / static_cast<double>(Range().Frames());
        const LStrip strip = StripOf(channel, View().Strips(), View().height());
        return {
            static_cast<int>(std::floor(Range().XOf(frame, View().width()) + pixels / 2)),
            static_cast<int>(std::lround(strip.Middle() - value * strip.HalfSpan() * View().VerticalZoom()))};
    }
    void Key(QWidget& widget, int key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(&widget, static_cast<Qt::Key>(key), modifiers);
    }
    static void Drag(QWidget& widget, QPoint from, QPoint to, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mousePress(&widget, Qt::LeftButton, modifiers, from);
        MoveTo(widget, (from + to) / 2, modifiers);
        MoveTo(widget, to, modifiers);
        QTest::mouseRelease(&widget, Qt::LeftButton, modifiers, to);
    }
    static void MoveTo(QWidget& widget, QPoint to, Qt::KeyboardModifiers modifiers = {}) {
        QMouseEvent move(QEvent::MouseMove, QPointF(to), widget.mapToGlobal(QPointF(to)), Qt::NoButton,
                         Qt::LeftButton, modifiers);
        QCoreApplication::sendEvent(&widget, &move);
    }
    static void Hover(QWidget& widget, QPoint to) {
        QMouseEvent move(QEvent::MouseMove, QPointF(to), widget.mapToGlobal(QPointF(to)), Qt::NoButton,
                         Qt::NoButton, {});
        QCoreApplication::sendEvent(&widget, &move);
    }
    uint32_t Bookmark(int64_t at, const char* name) {
        EXPECT_EQ(AddBookmark(*document, host, at, QLatin1String(name)), JobResult::kSuccess);
        return document->bookmarks.back().index;
    }

    LViewHost host;
    LSoundDocumentRef document;
    std::unique_ptr<LSoundWindow> window;
};

}  // namespace ondarix
