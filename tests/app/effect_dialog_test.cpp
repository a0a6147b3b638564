// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_dialog.h"

#include <QPushButton>
#include <QSlider>
#include <QSpinBox>

#include "app/effect_dc_offer.h"
#include "app/effect_dialogs.h"
#include "app/effect_param_control.h"
#include "app/time_input.h"
#include "effect_preview_fixture.h"
#include "effects/presets.h"
#include "effects/stored_values.h"
#include "list_fixture.h"
#include "window_dialogs.h"

namespace ondarix {
namespace {

using Wave = std::vector<float>;

class EffectDialogTest : public EffectPreviewTest {
  protected:
    template <typename T>
    static T& In(QWidget& dialog, const char* name) {
        T* child = dialog.findChild<T*>(QLatin1String(name));
        EXPECT_NE(child, nullptr) << name;
        return *child;
    }
    using WindowTest::In;
    static LEffectPreview& PreviewOf(QWidget& dialog) {
        return static_cast<LEffectDialog&>(dialog).Preview();
    }
    static void TypeNumber(QAbstractSpinBox& field, const char* text) {
        field.setFocus();
        field.selectAll();
        QTest::keyClicks(&field, QLatin1String(text));
    }
    Wave Now() { return SamplesOf(frame->ActiveSound()->Document().sound); }
    LSoundDocument& Document() { return frame->ActiveSound()->Document(); }
    // Runs a command whose dialogs are answered in turn.
    void Answered(int id, std::vector<std::function<void(QWidget&)>> answers) {
        const LModalAnswers modal(std::move(answers));
        EXPECT_TRUE(Run(id));
        EXPECT_TRUE(WorksOff());
    }
};

Wave Times(Wave samples, float gain) {
    for (float& sample : samples) sample *= gain;
    return samples;
}

TEST_F(EffectDialogTest, KeysSetAValueAndApplyItAsOneStep) {
    OpenNoise(3000);
    const Wave before = Now();
    const uint64_t serial = Document().historySerial;
    Answered(kCmdAmplify, {[](QWidget& dialog) {
                 TypeNumber(In<QSpinBox>(dialog, "gain"), "50");
                 EXPECT_EQ(In<QSlider>(dialog, "gain-slider").value(), 50);
                 EXPECT_EQ(In<QComboBox>(dialog, "presets").currentText(), QStringLiteral("Half Volume"));
                 QTest::keyClick(&dialog, Qt::Key_Return);
             }});
    EXPECT_EQ(Now(), Times(before, 0.5f));
    EXPECT_EQ(Document().UndoLabel(), QStringLiteral("Amplify"));
    EXPECT_NE(Document().historySerial, serial);
    EXPECT_EQ(RecentEffects().value(0), QStringLiteral("amplify"));
    EXPECT_TRUE(Run(kCmdUndo));
    EXPECT_EQ(Now(), before);
    EXPECT_FALSE(Document().CanUndo()) << "one step";

    // The last value is there again; now in dB, over a part. Cancelling changes nothing.
    frame->ActiveSound()->View().Select(1000, 2000);
    Answered(kCmdAmplify, {[](QWidget& dialog) {
                 EXPECT_EQ(In<QSpinBox>(dialog, "gain").value(), 50);
                 QTest::keyClick(&In<QComboBox>(dialog, "gainUnit"), Qt::Key_Down);
                 auto& db = In<LDBEdit>(dialog, "gainDb");
                 EXPECT_TRUE(db.isVisible());
                 EXPECT_EQ(db.value(), -6.02);
                 TypeNumber(db, "6");
                 QTest::keyClick(&dialog, Qt::Key_Escape);
             }});
    EXPECT_EQ(Now(), before);
    EXPECT_FALSE(Document().CanUndo());
    Answered(kCmdAmplify, {[](QWidget& dialog) {
                 EXPECT_EQ(In<QSpinBox>(dialog, "gain").value(), 50) << "what was cancelled is not kept";
                 TypeNumber(In<LDBEdit>(dialog, "gainDb"), "-12");
                 PressOk(dialog);
             }});
    Wave expected = before;
    const auto gain = static_cast<float>(std::pow(10, -12 / 20.0));
    for (size_t i = 2000; i < 4000; ++i) expected[i] *= gain;
    EXPECT_EQ(Now(), expected);
    EXPECT_EQ(Document().selectionStart, 1000);
    EXPECT_EQ(Document().selectionEnd, 2000);
}

TEST_F(EffectDialogTest, SpacePlaysAndStopsAndApplyingEndsTheSound) {
    OpenNoise(30000);
    Answered(kCmdAmplify, {[&](QWidget& dialog) {
                 LEffectPreview& preview = PreviewOf(dialog);
                 In<QSlider>(dialog, "gain-slider").setFocus();
                 QTest::keyClick(&In<QSlider>(dialog, "gain-slider"), Qt::Key_Space);
                 EXPECT_EQ(preview.State(), LPreviewState::kPlaying);
                 EXPECT_EQ(In<QPushButton>(dialog, "previewPlay").text(), QStringLiteral("Sto&p"));
                 ASSERT_TRUE(HasPlayed(2000));
                 // A key of the slider is heard.
                 const size_t before = PlayedSoFar();
                 QTest::keyClick(&In<QSlider>(dialog, "gain-slider"), Qt::Key_Home);
                 EXPECT_EQ(In<QSpinBox>(dialog, "gain").value(), 1);
                 ASSERT_TRUE(HasPlayed(before + 40000));
                 EXPECT_LT(std::abs(Played().back()), 0.011f);
                 EXPECT_GE(preview.Position(), 0);

                 auto& bypass = In<QPushButton>(dialog, "previewBypass");
                 QTest::keyPress(&bypass, Qt::Key_Space);
                 EXPECT_TRUE(preview.Bypass());
                 QTest::keyRelease(&bypass, Qt::Key_Space);
                 EXPECT_FALSE(preview.Bypass());
                 QTest::mousePress(&bypass, Qt::LeftButton);
                 EXPECT_TRUE(preview.Bypass());
                 QTest::mouseRelease(&bypass, Qt::LeftButton);
                 EXPECT_FALSE(preview.Bypass());
                 EXPECT_EQ(preview.State(), LPreviewState::kPlaying)
                     << "Space holds the button and nothing else";

                 QTest::keyClick(&dialog, Qt::Key_Space, Qt::ControlModifier);
                 EXPECT_EQ(preview.State(), LPreviewState::kStopped);
                 QTest::mouseClick(&In<QPushButton>(dialog, "previewPlay"), Qt::LeftButton);
                 EXPECT_EQ(preview.State(), LPreviewState::kPlaying);

                 auto& picture = static_cast<LEffectDialog&>(dialog).Picture();
                 EXPECT_TRUE(picture.IsOutdated());
                 QTest::mouseClick(&In<QPushButton>(dialog, "previewReload"), Qt::LeftButton);
                 EXPECT_TRUE(PumpUntil([&] { return picture.IsReady(); }));
                 EXPECT_FALSE(picture.IsOutdated());
                 EXPECT_NEAR(picture.After().top[9], picture.Before().top[9] * 0.01f, 1e-6f);
                 PressOk(dialog);
                 EXPECT_EQ(preview.State(), LPreviewState::kStopped);
             }});
    const size_t played = PlayedSoFar();
    QTest::qWait(60);
    EXPECT_EQ(PlayedSoFar(), played);
}

TEST_F(EffectDialogTest, PresetsAreSavedReplacedAndDeleted) {
    OpenNoise(1000);
    const auto named = [](const char* name) {
        return [name](QWidget& dialog) {
            TypeInto(dialog, "name", name);
            PressOk(dialog);
        };
    };
    const auto press = [](QWidget& dialog, const char* button) {
        QTest::mouseClick(&In<QPushButton>(dialog, button), Qt::LeftButton);
    };
    messages->answers = {1, 0, 1, 0};  // not replaced; replaced; not deleted; deleted
    Answered(kCmdAmplify, {[&](QWidget& dialog) {
                               auto& presets = In<QComboBox>(dialog, "presets");
                               auto& gain = In<QSpinBox>(dialog, "gain");
                               const int builtIn = presets.count();
                               EXPECT_EQ(presets.currentIndex(), -1);
                               TypeNumber(gain, "123");
                               press(dialog, "savePreset");
                               EXPECT_EQ(presets.count(), builtIn + 1);
                               EXPECT_EQ(presets.currentText(), QStringLiteral("Mine & yours"));
                               TypeNumber(gain, "77");
                               EXPECT_EQ(presets.currentIndex(), -1);
                               press(dialog, "savePreset");  // the same name: No
                               press(dialog, "savePreset");  // the same name: Overwrite
                               press(dialog, "savePreset");  // a built-in one
                               press(dialog, "savePreset");  // not a name
                               press(dialog, "savePreset");  // cancelled
                               EXPECT_EQ(presets.count(), builtIn + 1);

                               presets.setFocus();
                               QTest::keyClick(&presets, Qt::Key_Home);
                               EXPECT_EQ(gain.value(), 50);
                               press(dialog, "deletePreset");
                               EXPECT_EQ(presets.count(), builtIn + 1);
                               QTest::keyClick(&presets, Qt::Key_End);
                               EXPECT_EQ(gain.value(), 77) << "replaced";
                               press(dialog, "deletePreset");  // Cancel
                               EXPECT_EQ(presets.count(), builtIn + 1);
                               press(dialog, "deletePreset");
                               EXPECT_EQ(presets.count(), builtIn);
                               EXPECT_EQ(gain.value(), 77) << "the values stay";
                               EXPECT_FALSE(In<QPushButton>(dialog, "deletePreset").isEnabled());
                               PressCancel(dialog);
                           },
                           named("Mine & yours"), named("Mine & yours"), named("mine & YOURS"),
                           named("Louder"), named("a\\b"), [](QWidget& dialog) { PressCancel(dialog); }});
    EXPECT_EQ(messages->asked.filter(QStringLiteral("already exists")).size(), 2);
    EXPECT_EQ(
        messages->asked.filter(QStringLiteral("Delete preset 'mine & YOURS'?"), Qt::CaseInsensitive).size(),
        2);
    ASSERT_EQ(messages->told.size(), 3);
    EXPECT_EQ(messages->told[0],
              QStringLiteral("Invalid Preset Name: You are not allowed to have a user preset name 'Louder' "
                             "same as Amplify's given preset name"));
    EXPECT_TRUE(messages->told[1].startsWith(QStringLiteral("Invalid Preset Name")));
    EXPECT_EQ(messages->told[2],
              QStringLiteral("Delete Not Permitted: You can't delete the 'Half Volume' Preset. You are only "
                             "allowed to delete the user-defined presets."));
}

TEST_F(EffectDialogTest, NormalizeShowsWhatItMeasuresAndWhatCounts) {
    OpenNoise(48000);
    float peak = 0;
    for (const float sample : Now()) peak = std::max(peak, std::abs(sample));
    Answered(kCmdNormalize, {[&](QWidget& dialog) {
                 auto& found = In<QLabel>(dialog, "measured");
                 const auto measured = [&] {
                     return PumpUntil([&] { return found.text().startsWith(QStringLiteral("Measured: ")); });
                 };
                 ASSERT_TRUE(measured());  // by the picture
                 EXPECT_EQ(found.text(), QStringLiteral("Measured: %1 dB, gain +%2 dB")
                                             .arg(20 * std::log10(peak), 0, 'f', 1)
                                             .arg(-20 * std::log10(peak), 0, 'f', 1));
                 EXPECT_FALSE(In<QWidget>(dialog, "loudness").isVisible());
                 EXPECT_FALSE(In<QWidget>(dialog, "percentile").isVisible());
                 auto& method = In<QComboBox>(dialog, "method");
                 method.setFocus();
                 QTest::keyClick(&method, Qt::Key_End);
                 EXPECT_TRUE(In<QWidget>(dialog, "loudness").isVisible());
                 EXPECT_FALSE(In<QWidget>(dialog, "level").isVisible());
                 TypeNumber(In<QDoubleSpinBox>(dialog, "loudness"), "-23");
                 In<QSlider>(dialog, "loudness-slider").setFocus();
                 QTest::keyClick(&In<QSlider>(dialog, "loudness-slider"), Qt::Key_Space);
                 ASSERT_TRUE(measured());
                 EXPECT_TRUE(found.text().contains(QStringLiteral("LUFS"))) << found.text().toStdString();
                 EXPECT_TRUE(HasPlayed(5000));
                 PressOk(dialog);
             }});
    EXPECT_EQ(Document().UndoLabel(), QStringLiteral("Normalize"));
    // The value is brought to -23 LUFS: noise of this kind lies some dB below its mean square.
    Answered(kCmdLoudness, {});
    auto* figures = frame->findChild<QDialog*>(QStringLiteral("loudnessDialog"));
    ASSERT_NE(figures, nullptr);
    EXPECT_EQ(In<QLabel>(*figures, "integrated").text(), QStringLiteral("-23.0 LUFS"));
    figures->close();
}

TEST_F(EffectDialogTest, LoudnessIsShownAndCopied) {
    // The standard's own tone: a sine of 997 Hz in both channels at -20 dBFS is -20 LUFS.
    Sox({"-D", "-n", "-r", "48000", "-b", "24", "-c", "2", In("tone.wav"), "synth", "5", "sine", "997", "vol",
         "0.1"});
    Open(In("tone.wav"));
    const uint64_t serial = Document().historySerial;
    Answered(kCmdLoudness, {});
    auto* dialog = frame->findChild<QDialog*>(QStringLiteral("loudnessDialog"));
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(In<QLabel>(*dialog, "integrated").text(), QStringLiteral("-20.0 LUFS"));
    EXPECT_EQ(In<QLabel>(*dialog, "shortTerm").text(), QStringLiteral("-20.0 LUFS"));
    EXPECT_EQ(In<QLabel>(*dialog, "range").text(), QStringLiteral("0.0 LU"));
    EXPECT_EQ(In<QLabel>(*dialog, "truePeak").text(), QStringLiteral("-20.0 dBTP"));
    QTest::mouseClick(&In<QPushButton>(*dialog, "copyLoudness"), Qt::LeftButton);
    EXPECT_TRUE(QGuiApplication::clipboard()->text().contains(QStringLiteral("Integrated: -20.0 LUFS\n")));
    EXPECT_EQ(Document().historySerial, serial);
    dialog->close();
}

// --- Fades

TEST_F(EffectDialogTest, AFadeAsksUntilItIsToldNotTo) {
    OpenNoise(4000);
    const Wave before = Now();
    const auto linear = [&](size_t i) { return before[i] * (static_cast<float>(i / 2) / 4000.0f); };
    {
        const LModalAnswers modal({[](QWidget& dialog) {
            EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Fade In"));
            QTest::keyClick(&In<QCheckBox>(dialog, "doNotAsk"), Qt::Key_Space);
            PressOk(dialog);
        }});
        Press(Qt::Key_I, Qt::AltModifier);
        EXPECT_TRUE(WorksOff());
    }
    Wave now = Now();
    for (size_t i = 0; i < now.size(); ++i) ASSERT_NEAR(now[i], linear(i), 1e-5) << i;
    EXPECT_TRUE(Run(kCmdUndo));
    frame->activateWindow();
    ASSERT_TRUE(PumpUntil([&] { return frame->isActiveWindow(); }));
    Press(Qt::Key_I, Qt::AltModifier);  // no dialog any more
    EXPECT_TRUE(WorksOff());
    now = Now();
    for (size_t i = 0; i < now.size(); ++i) ASSERT_NEAR(now[i], linear(i), 1e-5) << i;
    EXPECT_TRUE(Run(kCmdUndo));

    // With what lies before it cut off, in one step.
    frame->ActiveSound()->View().Select(1000, 3000);
    Answered(kCmdFadeInTrim, {});
    EXPECT_EQ(Document().sound.Length(), 3000);
    EXPECT_EQ(Now()[0], 0);
    EXPECT_EQ(Document().UndoLabel(), QStringLiteral("Fade In and Trim"));
    EXPECT_TRUE(Run(kCmdUndo));
    EXPECT_EQ(Now(), before);
    EXPECT_FALSE(Document().CanUndo());

    // At the end of the clip: a duration of 0 is refused in the dialog.
    Answered(kCmdFadeOutClip, {[](QWidget& dialog) {
                 TypeInto(dialog, "duration", "0");
                 PressOk(dialog);
                 EXPECT_EQ(In<QLabel>(dialog, "refusal").text(),
                           QStringLiteral("Fade duration should not be 0."));
                 TypeInto(dialog, "duration", "1000 frames");
                 EXPECT_EQ(static_cast<LTimeEdit&>(In<QLineEdit>(dialog, "start")).Frames(), 3000)
                     << "ends with the clip";
                 PressOk(dialog);
             }});
    now = Now();
    for (size_t i = 0; i < 6000; ++i) ASSERT_EQ(now[i], before[i]) << i;
    for (size_t i = 6000; i < now.size(); ++i)
        ASSERT_NEAR(now[i], before[i] * (1 - static_cast<float>(i / 2 - 3000) / 1000.0f), 1e-5) << i;
}

// --- Every command

TEST_F(EffectDialogTest, EveryCommandBearsEverySound) {
    for (const LCommandHandler& handler : EffectHandlers()) {
        if (FindCommand(handler.id)->need == LNeed::kNothing) continue;
        EXPECT_FALSE(Run(handler.id)) << handler.id;
        EXPECT_FALSE(frame->IsAvailable(handler.id));
    }
    {
        const LDialogCloser agrees([](QDialog&) {});
        Run(kCmdNewFile);
        ASSERT_NE(frame->ActiveSound(), nullptr);
        ASSERT_TRUE(Document().sound.IsEmpty());
        for (const LCommandHandler& handler : EffectHandlers())
            EXPECT_EQ(Run(handler.id), FindCommand(handler.id)->need == LNeed::kNothing) << handler.id;
    }
    for (const int channels : {1, 2, 3}) {
        Sox({"-D", "-n", "-r", "8000", "-c", QString::number(channels), In("short.wav"), "synth", "0.1",
             "sine", "440"});
        for (const LCommandHandler& handler : EffectHandlers()) {
            LSoundWindow* window = Open(In("short.wav"));
            ASSERT_NE(window, nullptr);
            window->View().Select(400, 401);
            Run(kCmdCopy);
            const LDialogCloser agrees([](QDialog&) {});
            EXPECT_TRUE(Run(handler.id)) << handler.id;
            EXPECT_TRUE(WorksOff()) << handler.id;
            const bool trims = handler.id == kCmdFadeInTrim || handler.id == kCmdFadeOutTrim;
            EXPECT_TRUE(trims || Document().sound.Length() == 800) << handler.id;
            if (Document().CanUndo()) {
                EXPECT_TRUE(Run(kCmdUndo));
                EXPECT_FALSE(Document().CanUndo()) << "one step of " << handler.id;
            }
            Document().isModified = false;
            Run(kCmdClose);
        }
    }
}

TEST_F(EffectDialogTest, EffectsForTwoChannelsRefuseOrAskFirst) {
    OpenNumbered("mono.wav", 1000);
    const Wave before = Now();
    Answered(kCmdChannelSwap, {});
    ASSERT_EQ(messages->told.size(), 1);
    EXPECT_EQ(messages->told[0],
              QStringLiteral(
                  "Unsupported File Format: This feature is applicable for stereo (2-channel) files only."));
    messages->answers = {0};  // Cancel
    Answered(kCmdPhaseInversion, {});
    EXPECT_EQ(Document().sound.channels, 1);
    EXPECT_FALSE(Document().CanUndo());
    messages->answers = {1};  // Continue
    Answered(kCmdPhaseInversion, {});
    ASSERT_EQ(Document().sound.channels, 2);
    const Wave now = Now();
    for (size_t i = 0; i < before.size(); ++i) {
        ASSERT_EQ(now[2 * i], -before[i]) << i;
        ASSERT_EQ(now[2 * i + 1], before[i]) << i;
    }
}

// --- The offer after opening

class DcOfferTest : public EffectDialogTest {
  protected:
    void SetUp() override {
        EffectDialogTest::SetUp();
        offers = std::make_unique<LDcOffsetOffers>(*frame);
    }
    void TearDown() override {
        offers.reset();
        EffectDialogTest::TearDown();
    }
    LSoundWindow* OpenShifted(const char* name, const char* shift) {
        Sox({"-D", "-n", "-r", "44100", "-b", "16", "-c", "2", In(name), "synth", "2", "sine", "441", "vol",
             "0.4", "dcshift", shift});
        LSoundWindow* window = Open(In(name));
        EXPECT_TRUE(PumpUntil([&] { return offers->IsIdle(); }, 20000));
        return window;
    }
    static QWidget* Strip(LSoundWindow& window) {
        auto* strip = window.findChild<QWidget*>(QStringLiteral("dcOffsetOffer"));
        return strip && !strip->isHidden() ? strip : nullptr;
    }
    std::unique_ptr<LDcOffsetOffers> offers;
};

TEST_F(DcOfferTest, StandsBelowASoundWithAnOffsetAndCorrectsIt) {
    LSoundWindow* clean = OpenShifted("clean.wav", "0");
    LSoundWindow* shifted = OpenShifted("shifted.wav", "0.1");
    EXPECT_EQ(Strip(*clean), nullptr);
    ASSERT_NE(Strip(*shifted), nullptr);
    shifted->View().Select(100, 200);
    QTest::mouseClick(Strip(*shifted)->findChild<QPushButton*>(QStringLiteral("correctDcOffset")),
                      Qt::LeftButton);
    ASSERT_TRUE(WorksOff());
    EXPECT_TRUE(PumpUntil([&] { return Strip(*shifted) == nullptr; }));
    EXPECT_EQ(Document().UndoLabel(), QStringLiteral("DC Offset Correction"));
    double sum = 0;
    for (const float sample : Now()) sum += double{sample};
    EXPECT_NEAR(sum / static_cast<double>(Now().size()), 0, 1e-6) << "of the whole sound";
}

TEST_F(DcOfferTest, GoesWhenItIsDismissedAndIsNotMadeWhereItIsTurnedOff) {
    LSoundWindow* shifted = OpenShifted("shifted.wav", "-0.1");
    ASSERT_NE(Strip(*shifted), nullptr);
    QTest::mouseClick(Strip(*shifted)->findChild<QPushButton*>(QStringLiteral("dismissDcOffset")),
                      Qt::LeftButton);
    EXPECT_TRUE(PumpUntil([&] { return Strip(*shifted) == nullptr; }));
    SetSettingBool(QStringLiteral("Analyzers"), QStringLiteral("EnableDCOffsetAnalyzer"), false);
    EXPECT_EQ(Strip(*OpenShifted("other.wav", "0.1")), nullptr);
}

}  // namespace
}  // namespace ondarix
