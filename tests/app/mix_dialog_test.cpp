// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/mix_dialog.h"

#include <QCheckBox>
#include <QFileDialog>
#include <QLineEdit>
#include <atomic>

#include "app/crossfade_dialog.h"
#include "mixing_fixture.h"
#include "window_dialogs.h"

namespace ondarix {
namespace {

class CrossfadeTest : public MixingTest {
  protected:
    static LCrossfadePicture& Curves(QWidget& dialog) {
        return static_cast<LCrossfadeDialog&>(dialog).Curves();
    }
    static LCrossfadeSettings Halves() {
        LCrossfadeSettings settings;
        settings.fadeOutMs = 100;
        settings.fadeInMs = 60;
        settings.gapMs = -80;
        settings.fadeOutCurve.index = 0;
        settings.fadeInCurve.index = 2;
        return settings;
    }
    static void TypeHalves(QWidget& dialog) {
        TypeNumber(dialog, "fade-out", "100");
        TypeNumber(dialog, "fade-in", "60");
        TypeNumber(dialog, "gap", "-80");
        Choose(dialog, "fade-out-curve", "Linear");
        Choose(dialog, "fade-in-curve", "Logarithmic");
    }
};

TEST_F(CrossfadeTest, OnASelectionIsTheEnginesAndItsCurvesAreThoseThatAreApplied) {
    LSoundWindow* window = OpenNumbered("quiet.wav", 48000);  // mono, and never limited
    const Wave before = Now();
    Answered(kCmdCrossfade, {});
    ASSERT_EQ(messages->told.size(), 1) << "nothing is selected";
    window->View().Select(10000, 40000);
    const auto halves = HalvesOf(Document().sound, {10000, 40000});
    const Wave joined = Read(*BuildCrossfade(halves.first, halves.second, Halves()));
    Wave first = SamplesOf(halves.first), second = SamplesOf(halves.second);
    Answered(kCmdCrossfade, {[&](QWidget& dialog) {
                 TypeHalves(dialog);
                 EXPECT_EQ(dialog.findChild<QWidget*>(QStringLiteral("fade-out-start")), nullptr);
                 const LCrossfadePicture& curves = Curves(dialog);
                 EXPECT_TRUE(curves.SpokenValue().contains(QStringLiteral("overlap of 0.080 s")));
                 const int64_t inAt = 15000 - 3840;
                 for (int64_t x = 9000; x < 16000; x += 7) {
                     const auto at = static_cast<size_t>(x), in = static_cast<size_t>(x - inAt);
                     double sum = 0;
                     if (x < 15000) sum += double{first[at] * curves.FirstGain(x)};
                     if (x >= inAt) sum += double{second[in] * curves.SecondGain(x)};
                     EXPECT_NEAR(joined[at], sum, 1e-7) << x;
                 }
                 EXPECT_FALSE(dialog.grab().isNull());
                 PressOk(dialog);
             }});
    Wave expected(before.begin(), before.begin() + 10000);
    expected.insert(expected.end(), joined.begin(), joined.end());
    expected.insert(expected.end(), before.begin() + 40000, before.end());
    EXPECT_EQ(Now(), expected);
    EXPECT_EQ(LastCrossfade(), Halves());
    ExpectOneStep(before, "Crossfade");
}

TEST_F(CrossfadeTest, ActionsAndPresetsChangeTheValues) {
    LSoundWindow* window = OpenNoise(48000);
    window->View().Select(1000, 47000);
    const auto spin = [](QWidget& dialog, const char* name) { return In<QSpinBox>(dialog, name).value(); };
    const auto act = [](QWidget& dialog, int steps) {
        auto& presets = In<QComboBox>(dialog, "presets");
        presets.setFocus();
        QTest::keyClick(&presets, Qt::Key_Home);
        for (int i = 0; i < steps; ++i) QTest::keyClick(&presets, Qt::Key_Down, Qt::AltModifier);
        presets.setCurrentIndex(steps);
        Q_EMIT presets.activated(steps);
    };
    Answered(kCmdCrossfade, {[&](QWidget& dialog) {
                                 TypeHalves(dialog);
                                 auto& presets = In<QComboBox>(dialog, "presets");
                                 EXPECT_EQ(presets.count(), 6);
                                 EXPECT_EQ(presets.itemText(0),
                                           QStringLiteral("< Select Preset / Actions >"));
                                 EXPECT_EQ(presets.currentIndex(), 0);
                                 Click(dialog, "savePreset");
                                 EXPECT_EQ(presets.currentText(), QStringLiteral("Short"));
                                 act(dialog, 1);  // the fade-out as the fade-in
                                 EXPECT_EQ(spin(dialog, "fade-out"), 60);
                                 EXPECT_EQ(In<QComboBox>(dialog, "fade-out-curve").currentIndex(), 2);
                                 EXPECT_EQ(presets.currentIndex(), 0);
                                 TypeNumber(dialog, "fade-out", "90");
                                 act(dialog, 2);
                                 EXPECT_EQ(spin(dialog, "fade-in"), 90);
                                 TypeNumber(dialog, "fade-in", "50");
                                 act(dialog, 3);  // smooth
                                 EXPECT_EQ(spin(dialog, "fade-in"), 90);
                                 EXPECT_EQ(spin(dialog, "gap"), -90);
                                 EXPECT_EQ(In<QComboBox>(dialog, "fade-in-curve").currentIndex(), 3);
                                 act(dialog, 6);
                                 EXPECT_EQ(spin(dialog, "gap"), -80) << "the user's own";
                                 EXPECT_EQ(presets.currentText(), QStringLiteral("Short"));
                                 act(dialog, 5);
                                 EXPECT_EQ(spin(dialog, "fade-out"), 1000) << "defaults";
                                 PressOk(dialog);
                             },
                             [](QWidget& dialog) {
                                 TypeInto(dialog, "name", "Short");
                                 PressOk(dialog);
                             }});
    window->View().Select(1000, 9000);
    Answered(kCmdCrossfade, {[&](QWidget& dialog) {
                 TypeNumber(dialog, "fade-out", "10");
                 act(dialog, 4);  // as it was used last
                 EXPECT_EQ(spin(dialog, "fade-out"), 1000);
                 PressCancel(dialog);
             }});
    EXPECT_TRUE(SettingExists(QStringLiteral("EffectPresets\\Crossfade\\Short"), QStringLiteral("Values")));
}

TEST_F(CrossfadeTest, ToAnotherClipAsksWhichAndRefusesWithoutOne) {
    OpenNoise(30000, 1);
    Answered(kCmdCrossfadeOther, {});
    ASSERT_EQ(messages->told.size(), 1);
    EXPECT_TRUE(messages->told[0].startsWith(QStringLiteral("Crossfade to Other Clip: ")));
    OpenNumbered("numbered.wav", 20000);
    const LSound second = Document().sound;
    Open(MakeWav("third.wav", "16", "1"));
    LSoundWindow* const noise = frame->Sounds().front();
    frame->Activate(*noise);
    const Wave before = Now();
    LCrossfadeSettings settings = Halves();
    settings.fadeOutStartMs = 400;
    settings.fadeInStartMs = 50;
    settings.phaseMatch = true;
    const Wave expected = Read(*BuildCrossfade(Document().sound, second, settings));
    Answered(kCmdCrossfadeOther, {[&](QWidget& dialog) {
                 Choose(dialog, "otherClip", "numbered.wav");
                 TypeHalves(dialog);
                 TypeNumber(dialog, "fade-out-start", "400");
                 TypeNumber(dialog, "fade-in-start", "50");
                 QTest::keyClick(&In<QCheckBox>(dialog, "phase-match"), Qt::Key_Space);
                 PressOk(dialog);
             }});
    EXPECT_EQ(Now(), expected);
    ExpectOneStep(before, "Crossfade to Other Clip");
}

TEST_F(CrossfadeTest, OfALoopItsSeamIsHeardAndNotTheWholeSound) {
    OpenNoise(48000 * 20);
    const Wave before = Now();
    LCrossfadePlan plan;
    const Wave loop = Read(*BuildLoop(Document().sound, Halves(), &plan));
    Answered(kCmdCrossfadeLoop, {[&](QWidget& dialog) {
                 TypeHalves(dialog);
                 QTest::mouseClick(&In<QPushButton>(dialog, "previewPlay"), Qt::LeftButton);
                 LEffectPreview& preview = PreviewOf(dialog);
                 EXPECT_EQ(preview.State(), LPreviewState::kPlaying);
                 EXPECT_LT(preview.HeardLength(), 48000 * 5);
                 EXPECT_TRUE(HasPlayed(2 * 48000 * 5));
                 preview.Stop();
                 const Wave played = Played();
                 const size_t from = loop.size() - 2 * (4800 + 2 * 48000);
                 const size_t heard = static_cast<size_t>(4800 + 2 * 48000) * 2;
                 EXPECT_TRUE(played.size() > heard + 1000 &&
                             std::equal(played.begin(), played.begin() + int64_t(heard),
                                        loop.begin() + int64_t(from)));
                 EXPECT_TRUE(std::equal(loop.begin(), loop.begin() + 1000, played.begin() + int64_t(heard)))
                     << "round";
                 PressOk(dialog);
             }});
    EXPECT_EQ(Now(), loop);
    ExpectOneStep(before, "Crossfade Loop");
}

// --- Mixing

class MixDialogTest : public MixingTest {
  protected:
    // The clipboard holds noise, the active sound is the numbered one.
    LSoundWindow* OpenWithClip(int64_t clipFrames) {
        OpenNoise(clipFrames, 9);
        EXPECT_TRUE(Run(kCmdSelectAll));
        EXPECT_TRUE(Run(kCmdCopy));
        clip = Document().sound;
        Document().isModified = false;
        EXPECT_TRUE(Run(kCmdClose));
        OpenNoise(kRate, 4);
        return frame->ActiveSound();
    }
    LSound clip;
};

TEST_F(MixDialogTest, PasteMixAddsTheClipAtItsVolumeAndPlace) {
    OpenWithClip(3000)->View().Select(5000, 7000);
    const Wave before = Now(), mixed = SamplesOf(clip);
    Answered(kCmdPasteMixWith, {[&](QWidget& dialog) {
                 TypeNumber(dialog, "volume", "10");
                 TypeNumber(dialog, "pan", "-100");
                 QTest::keyClick(&dialog, Qt::Key_Return);
             }});
    Wave expected = before;
    for (size_t i = 0; i < 2000; ++i) expected[2 * (5000 + i)] += 0.1f * mixed[2 * i];
    const Wave now = Now();
    for (size_t i = 0; i < now.size(); ++i) ASSERT_NEAR(now[i], expected[i], 1e-6) << i;
    EXPECT_EQ(GetSettingInt(QStringLiteral("MixBasic"), QStringLiteral("Volume"), -1), 10);
    ExpectOneStep(before, "Paste Mix");
    // Without the question, the same.
    EXPECT_TRUE(Run(kCmdPasteMix));
    EXPECT_TRUE(WorksOff());
    EXPECT_EQ(Now(), now);
}

TEST_F(MixDialogTest, BackgroundMusicIsPutUnderTheSelectionAsTheDialogSays) {
    OpenWithClip(9000)->View().Select(8000, 32000);
    const Wave before = Now();
    LBackgroundSettings settings;
    settings.volumeDb.db = -12;
    settings.duck = true;
    settings.duckDb.db = -20;
    settings.leadIn.index = LBackgroundSettings::kLeadInTime;
    settings.leadInMs = 250;
    settings.leadOut.index = LBackgroundSettings::kLeadOutTime;
    settings.leadOutMs = 500;
    LSound voice;
    Document().sound.CopyRange(8000, 32000, voice);
    LBackgroundPlan plan;
    QString fault;
    ASSERT_TRUE(PlanBackground(24000, kRate, settings, plan, fault));
    const Wave result = Read(*BuildBackgroundMix(voice, clip, plan, settings));
    Answered(kCmdPasteBackground, {[&](QWidget& dialog) {
                 EXPECT_TRUE(In<QLabel>(dialog, "musicName").text().contains(QStringLiteral("noise")));
                 TypeNumber(dialog, "volume", "-12");
                 auto& under = In<QAbstractSpinBox>(dialog, "duck-volume");
                 EXPECT_FALSE(under.isEnabled());
                 QTest::keyClick(&In<QCheckBox>(dialog, "duck"), Qt::Key_Space);
                 EXPECT_TRUE(under.isEnabled());
                 TypeNumber(dialog, "duck-volume", "-20");
                 Choose(dialog, "lead-in", "Time");
                 TypeNumber(dialog, "lead-in-time", "0.25");
                 Choose(dialog, "lead-out", "Time");
                 TypeNumber(dialog, "lead-out-time", "0.5");
                 QTest::mouseClick(&In<QPushButton>(dialog, "previewPlay"), Qt::LeftButton);
                 EXPECT_TRUE(HasPlayed(result.size()));
                 PreviewOf(dialog).Stop();
                 const Wave played = Played();
                 EXPECT_TRUE(std::equal(result.begin(), result.end(), played.begin()));
                 PressOk(dialog);
             }});
    Wave expected(before.begin(), before.begin() + 16000);
    expected.insert(expected.end(), result.begin(), result.end());
    expected.insert(expected.end(), before.begin() + 64000, before.end());
    EXPECT_EQ(Now(), expected);
    LBackgroundForm stored;
    LoadForm(stored, kBackgroundSection);
    EXPECT_EQ(stored.params, settings);
    ExpectOneStep(before, "Paste Background Music");
}

TEST_F(MixDialogTest, LeadsThatCannotBeHadAreRefusedInWords) {
    OpenWithClip(9000);
    Answered(kCmdPasteBackground, {[&](QWidget& dialog) {
                 QTest::mouseClick(&In<QPushButton>(dialog, "previewPlay"), Qt::LeftButton);
                 Choose(dialog, "lead-out", "Total Time");
                 TypeNumber(dialog, "lead-out-time", "0.5");
                 Choose(dialog, "adjust", "Adjust Lead In for Total Time");
                 EXPECT_EQ(PreviewOf(dialog).State(), LPreviewState::kStopped);
                 EXPECT_FALSE(In<QPushButton>(dialog, "previewPlay").isEnabled());
                 PressOk(dialog);
                 EXPECT_TRUE(dialog.isVisible());
                 TypeNumber(dialog, "lead-out-time", "1.5");
                 EXPECT_TRUE(In<QPushButton>(dialog, "previewPlay").isEnabled());
                 Choose(dialog, "lead-in", "Time");
                 PressCancel(dialog);
             }});
    ASSERT_EQ(messages->told.size(), 1);
    EXPECT_EQ(messages->told[0],
              QStringLiteral("Start Lead In not applicable: Lead In not applicable. Lead In time (500.000ms) "
                             "should be greater than the Voice clip length (1000.000ms)"));
    EXPECT_FALSE(Document().CanUndo());
}

TEST_F(MixDialogTest, AFileIsMixedAndItsFolderRemembered) {
    const QString path = MakeWav("music.wav", "16", "1");
    OpenNoise(kRate, 4);
    const Wave before = Now();
    const auto choose = [&](QWidget& dialog) {
        EXPECT_EQ(dialog.objectName(), QStringLiteral("mixFileDialog"));
        auto* name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        if (!name) return dialog.close(), void();
        name->setText(path);
        QTest::keyClick(name, Qt::Key_Return);
    };
    Answered(kCmdMixWithFile, {choose, [](QWidget& dialog) {
                                   EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Mix with File"));
                                   PressOk(dialog);
                               }});
    EXPECT_NE(Now(), before);
    EXPECT_EQ(GetSettingString(QStringLiteral("Settings"), QStringLiteral("MixFileDir"), {}), folder.path());
    ExpectOneStep(before, "Mix with File");
    Answered(kCmdBackgroundFile, {choose, [](QWidget& dialog) { PressCancel(dialog); }});
    EXPECT_EQ(Now(), before);
}

// --- Every command

TEST_F(MixDialogTest, CommandsBearEverySoundAndWaitForAJob) {
    for (const LCommandHandler& handler : MixHandlers()) EXPECT_FALSE(Run(handler.id)) << handler.id;
    OpenWithClip(100);
    std::atomic<bool> goesOn = true;
    frame->RunDocumentJob(
        LSoundDocumentRef(&Document()), QStringLiteral("Work"),
        [&goesOn](LProgress& progress) {
            while (goesOn && !progress.IsCancelled()) QThread::msleep(1);
            return JobResult::kSuccess;
        },
        [](JobResult) {});
    for (const LCommandHandler& handler : MixHandlers()) EXPECT_FALSE(Run(handler.id)) << handler.id;
    goesOn = false;
    EXPECT_TRUE(WorksOff());
    for (const int channels : {1, 3}) {
        Sox({"-D", "-n", "-r", "8000", "-c", QString::number(channels), In("short.wav"), "synth", "0.1",
             "sine", "440"});
        for (const LCommandHandler& handler : MixHandlers()) {
            LSoundWindow* window = Open(In("short.wav"));
            ASSERT_NE(window, nullptr);
            window->View().Select(400, 402);
            const LDialogCloser agrees([](QDialog&) {});
            EXPECT_TRUE(Run(handler.id)) << handler.id;
            EXPECT_TRUE(WorksOff()) << handler.id;
            if (Document().CanUndo()) {
                EXPECT_TRUE(Run(kCmdUndo));
                EXPECT_EQ(Document().sound.Length(), 800) << handler.id;
                EXPECT_FALSE(Document().CanUndo()) << "one step of " << handler.id;
            }
            Document().isModified = false;
            Run(kCmdClose);
        }
    }
}

}  // namespace
}  // namespace ondarix
