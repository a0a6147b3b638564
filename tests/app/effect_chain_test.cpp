// SPDX-License-Identifier: GPL-3.0-or-later
#include "effect_chain_fixture.h"
#include "effects/presets.h"
#include "effects/stored_values.h"

namespace ondarix {
namespace {

using test::EcfByte;
using test::EcfCommon;
using test::EcfEffect;
using test::EcfFile;
using test::EcfU32;
using test::FileBytesOf;
using test::ParseEcf;

constexpr int kCancelAnswer = 2, kDiscardAnswer = 1;

// --- Building a chain

TEST_F(EffectChainWindowTest, KeysAndClicksBuildAChainThatIsOneStepWhenApplied) {
    OpenNoise(3000);
    const std::vector<float> before = Now();
    AddGain("50");
    AddGain("80");
    AddGain("70");
    EXPECT_EQ(Gains(), (std::vector<double>{50, 80, 70}));
    EXPECT_EQ(List().Effects().index(1).data().toString(), QStringLiteral("2. Amplify"));
    EXPECT_EQ(List().Effects().index(1).data(LEffectChainModel::kValuesRole).toString(),
              QStringLiteral("Gain Percentage: 80%"));
    EXPECT_EQ(RecentEffects().value(0), QStringLiteral("amplify"));
    EXPECT_EQ(In<QComboBox>(Chain(), "effectToAdd").itemData(0).toString(), QStringLiteral("amplify"));
    EXPECT_EQ(Text("chainHint"), QStringLiteral("Works on the whole of \"noise.wav\"."));

    // Off by its key, and by a click into the box.
    List().setFocus();
    QTest::keyClick(&List(), Qt::Key_Up);
    QTest::keyClick(&List(), Qt::Key_Space);
    EXPECT_FALSE(Chain().Chain().IsOn(1));
    const QRect row = List().visualRect(List().Effects().index(2));
    QTest::mouseClick(List().viewport(), Qt::LeftButton, {}, {row.left() + 12, row.center().y()});
    EXPECT_FALSE(Chain().Chain().IsOn(2));
    QTest::mouseClick(List().viewport(), Qt::LeftButton, {}, {row.left() + 12, row.center().y()});
    EXPECT_TRUE(Chain().Chain().IsOn(2));
    const std::vector<float> stacked = Stacked(Document().sound, {50, 70});
    Press("applyChain");
    EXPECT_TRUE(WorksOff());
    EXPECT_EQ(Now(), stacked);
    EXPECT_EQ(Document().UndoLabel(), QStringLiteral("Applying Effect"));
    EXPECT_TRUE(Chain().isVisible());
    QTest::keyClick(&Chain(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(Now(), before);
    EXPECT_FALSE(Document().CanUndo()) << "one step";

    // Over what is selected by now; with all effects off there is nothing to do.
    frame->ActiveSound()->View().Select(1000, 2000);
    EXPECT_EQ(Text("chainHint"), QStringLiteral("Works on what is selected in \"noise.wav\"."));
    Press("applyChain");
    EXPECT_TRUE(WorksOff());
    std::vector<float> part = before;
    std::copy(stacked.begin() + 2000, stacked.begin() + 4000, part.begin() + 2000);
    EXPECT_EQ(Now(), part);
    for (const int at : {0, 2}) {
        List().Choose(at);
        QTest::keyClick(&List(), Qt::Key_Space);
    }
    EXPECT_FALSE(Button("applyChain").isEnabled());
    EXPECT_EQ(Text("chainHint"), QStringLiteral("All effects are switched off."));
    EXPECT_TRUE(messages->told.isEmpty());
}

TEST_F(EffectChainWindowTest, RowsMoveByKeysButtonsAndMouse) {
    for (const char* gain : {"10", "20", "30", "40"}) AddGain(gain);
    List().setFocus();
    QTest::keyClick(&List(), Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(Gains(), (std::vector<double>{10, 20, 40, 30}));
    EXPECT_EQ(List().Row(), 2) << "the choice goes with the effect";
    QTest::keyClick(&List(), Qt::Key_Down, Qt::AltModifier);
    QTest::keyClick(&List(), Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(Gains(), (std::vector<double>{10, 20, 30, 40}));
    EXPECT_FALSE(Button("moveEffectDown").isEnabled());
    Press("moveEffectUp");
    Press("moveEffectUp");
    Press("moveEffectUp");
    EXPECT_EQ(Gains(), (std::vector<double>{40, 10, 20, 30}));
    EXPECT_FALSE(Button("moveEffectUp").isEnabled());
    Press("moveEffectDown");
    EXPECT_EQ(Gains(), (std::vector<double>{10, 40, 20, 30}));
    Type("gain", "45");
    EXPECT_EQ(Gains(), (std::vector<double>{10, 45, 20, 30})) << "the values shown are those of the row";

    // Dragged from the first row to below the last, and back before the second.
    LEffectChainModel& model = List().Effects();
    QWidget& viewport = *List().viewport();
    const auto dragged = [&](int row, QPointF at) {
        const std::unique_ptr<QMimeData> data(model.mimeData({model.index(row)}));
        Drop(viewport, at, data.get());
    };
    dragged(0, {60.0, double(List().visualRect(model.index(3)).bottom() + 8)});
    EXPECT_EQ(Gains(), (std::vector<double>{45, 20, 30, 10}));
    EXPECT_EQ(List().Row(), 3);
    dragged(3, {60.0, double(List().visualRect(model.index(1)).top() + 1)});
    EXPECT_EQ(Gains(), (std::vector<double>{45, 10, 20, 30}));
    EXPECT_EQ(List().Row(), 1);
    // Rows of another list mean nothing here.
    LEffectChainModel other;
    ASSERT_TRUE(other.Insert(0, MakeEffect(1)));
    const std::unique_ptr<QMimeData> foreign(other.mimeData({other.index(0)}));
    EXPECT_FALSE(model.dropMimeData(foreign.get(), Qt::MoveAction, 0, 0, {}));

    QTest::keyClick(&List(), Qt::Key_Delete);
    EXPECT_EQ(Gains(), (std::vector<double>{45, 20, 30}));
    EXPECT_EQ(List().Row(), 1);
    List().Choose(2);
    Press("removeEffect");
    EXPECT_EQ(List().Row(), 1);
    EXPECT_EQ(In<QDoubleSpinBox>(Chain(), "gain").value(), 20);
    Press("removeEffect");
    Press("removeEffect");
    EXPECT_EQ(Chain().Chain().Count(), 0);
    EXPECT_TRUE(Text("effectHelp").startsWith(QStringLiteral("Choose an effect")));
}

TEST_F(EffectChainWindowTest, WhatCannotBeDoneIsSaid) {
    OpenNoise(100);
    Press("addEffect");
    Press("removeEffect");
    Press("saveChain");
    Press("applyChain");
    Press("playChain");
    Add("amplify");
    List().setCurrentIndex({});
    Press("removeEffect");
    EXPECT_FALSE(Chain().Load(In("missing.ecf")));
    EXPECT_FALSE(Chain().Save(In("no folder/chain.ecf")));
    const QString none = QStringLiteral("No effects added, please add some effects and then try again.");
    EXPECT_EQ(messages->told,
              (QStringList{QStringLiteral("Effect Chain: Please select an effect to add"),
                           QStringLiteral("Effect Chain: No effect to remove"),
                           QStringLiteral("Save Effect Chain: ") + none,
                           QStringLiteral("Effect Chain: ") + none, QStringLiteral("Effect Chain: ") + none,
                           QStringLiteral("Effect Chain: Please select an effect to remove"),
                           QStringLiteral("Read Error: Can not open file to load the effects."),
                           QStringLiteral("Write Error: Can not open file to save the effects.")}));
    EXPECT_EQ(Chain().Chain().Count(), 1);
    EXPECT_FALSE(Document().CanUndo());
}

TEST_F(EffectChainWindowTest, PresetsAndTheOwnDialogSetTheValues) {
    OpenNoise(1000);
    Add("amplify");
    auto& presets = In<QComboBox>(Chain(), "presets");
    presets.setFocus();
    QTest::keyClick(&presets, Qt::Key_Home);
    EXPECT_EQ(Gains(), std::vector<double>{50});
    EXPECT_EQ(In<QDoubleSpinBox>(Chain(), "gain").value(), 50);
    Type("gain", "61");
    EXPECT_EQ(presets.currentIndex(), -1);
    {
        const LModalAnswers modal({[](QWidget& dialog) {
            TypeInto(dialog, "name", "Mine");
            PressOk(dialog);
        }});
        Press("savePreset");
    }
    EXPECT_EQ(presets.currentText(), QStringLiteral("Mine"));
    EXPECT_EQ(UserPresets(*MakeEffect(1)), QStringList{QStringLiteral("Mine")});
    messages->answers = {0};
    Press("deletePreset");
    EXPECT_TRUE(UserPresets(*MakeEffect(1)).isEmpty());
    EXPECT_EQ(Gains(), std::vector<double>{61}) << "the values stay";

    // By Tab from the presets over the values to what stands below them.
    Button("savePreset").setFocus();
    for (const char* next : {"gain-slider", "gain", "effectBypass", "effectDialog"}) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        EXPECT_EQ(QApplication::focusWidget()->objectName(), QLatin1String(next));
    }

    // Its own dialog knows dB; cancelled it changes nothing.
    List().setFocus();
    {
        const LModalAnswers modal({[](QWidget& dialog) {
                                       EXPECT_EQ(In<QSpinBox>(dialog, "gain").value(), 61);
                                       In<QSpinBox>(dialog, "gain").setValue(7);
                                       PressCancel(dialog);
                                   },
                                   [](QWidget& dialog) {
                                       In<QSpinBox>(dialog, "gain").setValue(33);
                                       PressOk(dialog);
                                   }});
        QTest::keyClick(&List(), Qt::Key_Return);
        EXPECT_EQ(Gains(), std::vector<double>{61});
        const QRect row = List().visualRect(List().Effects().index(0));
        QTest::mouseDClick(List().viewport(), Qt::LeftButton, {}, {row.left() + 90, row.center().y()});
    }
    EXPECT_EQ(Gains(), std::vector<double>{33});
    EXPECT_EQ(In<QDoubleSpinBox>(Chain(), "gain").value(), 33);
    EXPECT_FALSE(Document().CanUndo()) << "nothing is applied by the dialog";

    // As many gains as the sound has channels.
    Add("amplify-channels");
    EXPECT_NE(Chain().findChild<QWidget*>(QStringLiteral("gain2")), nullptr);
    OpenNumbered("mono.wav", 100);
    Chain();
    EXPECT_EQ(Chain().findChild<QWidget*>(QStringLiteral("gain2")), nullptr);
    EXPECT_NE(Chain().findChild<QWidget*>(QStringLiteral("gain1")), nullptr);
}

// --- Files

TEST_F(EffectChainWindowTest, AChainGoesThroughAFile) {
    AddGain("50");
    AddGain("150");
    List().setFocus();
    QTest::keyClick(&List(), Qt::Key_Space);
    EXPECT_EQ(Text("chainFile"), QStringLiteral("Untitled chain (changed)"));
    SetSettingString(QStringLiteral("Settings"), QStringLiteral("MultiEffectsFolder"), {});
    {
        const LModalAnswers modal({Named(In("warm"))});
        QTest::keyClick(&Chain(), Qt::Key_S, Qt::ControlModifier);
    }
    EXPECT_EQ(Text("chainFile"), QStringLiteral("warm.ecf"));
    EXPECT_EQ(GetSettingString(QStringLiteral("Settings"), QStringLiteral("MultiEffectsFolder"), {}),
              folder.path());
    const auto chunks = ParseEcf(FileBytesOf(In("warm.ecf")));
    ASSERT_TRUE(chunks.has_value());
    ASSERT_EQ(chunks->size(), 4u);
    EXPECT_EQ((*chunks)[0].U32(), 1u);
    EXPECT_EQ((*chunks)[1].children[1].U32(), 50u);
    EXPECT_EQ((*chunks)[3].children[0].children[0].payload, QByteArray(1, 1)) << "off: bypassed";
    LEffectChain read;
    ASSERT_EQ(ReadEffectChainFile(In("warm.ecf"), read), LChainRead::kRead);
    EXPECT_TRUE(read.IsOn(0));
    EXPECT_FALSE(read.IsOn(1));

    Press("newChain");
    EXPECT_EQ(Chain().Chain().Count(), 0);
    EXPECT_TRUE(messages->asked.isEmpty()) << "nothing was lost";
    {
        const LModalAnswers modal({Named(In("warm.ecf"))});
        Press("loadChain");
    }
    EXPECT_EQ(Gains(), (std::vector<double>{50, 150}));
    EXPECT_FALSE(Chain().Chain().IsOn(1));
    EXPECT_FALSE(Chain().IsModified());

    // What is not saved is asked for: cancelled, saved under its name, then given up.
    messages->answers = {kCancelAnswer, 0, kDiscardAnswer};
    List().Choose(1);
    Type("gain", "99");
    Press("newChain");
    EXPECT_EQ(Gains(), (std::vector<double>{50, 99}));
    Press("newChain");
    EXPECT_EQ(Chain().Chain().Count(), 0);
    ASSERT_TRUE(Chain().Load(In("warm.ecf")));
    EXPECT_EQ(Gains(), (std::vector<double>{50, 99}));
    EXPECT_EQ(List().Row(), 0);
    // Read again, the row stays by its place, the last one where it is gone.
    List().Choose(1);
    Press("removeEffect");
    AddGain("12");
    AddGain("13");
    EXPECT_EQ(List().Row(), 2);
    ASSERT_TRUE(Chain().Load(In("warm.ecf")));
    EXPECT_EQ(List().Row(), 1);
    EXPECT_EQ(messages->asked.size(), 3);
    EXPECT_TRUE(messages->told.isEmpty());
}

TEST_F(EffectChainWindowTest, AFileIsDroppedAndAnythingMayStandInIt) {
    AddGain("42");
    messages->answers = QList<int>(1000, kDiscardAnswer);
    const QByteArray gain = EcfEffect(1, EcfCommon() + EcfU32(8192, 70));
    const QByteArray unknown = EcfEffect(77, EcfCommon() + EcfU32(8200, 5) + EcfU32(30000, 6));
    const QByteArray whole =
        EcfFile(EcfU32(555, 1) + gain + EcfEffect(9, EcfCommon()) + unknown + EcfEffect(3, EcfCommon()) +
                EcfEffect(1, EcfCommon(1) + EcfU32(8192, 0xFFFFFFFF)));
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(Put("odd.ecf", whole))});
    Drop(Chain(), {5, 5}, &data);
    ASSERT_TRUE(PumpUntil([&] { return Chain().Chain().Count() == 4; }));
    EXPECT_EQ(List().Effects().index(1).data().toString(), QStringLiteral("2. Unknown (type 77)"));
    EXPECT_TRUE(List()
                    .Effects()
                    .index(2)
                    .data(LEffectChainModel::kValuesRole)
                    .toString()
                    .startsWith(QStringLiteral("Echo: not in this version")));
    EXPECT_FALSE(Chain().Chain().IsOn(3)) << "bypassed";
    List().Choose(1);
    EXPECT_TRUE(Chain().findChildren<LParamControl*>().isEmpty());
    EXPECT_TRUE(Button("effectBypass").isHidden());
    List().setFocus();
    QTest::keyClick(&List(), Qt::Key_Return);  // there is nothing to open
    ASSERT_TRUE(Chain().Save(In("again.ecf")));
    EXPECT_TRUE(FileBytesOf(In("again.ecf")).contains(unknown)) << "kept to the byte";
    OpenNoise(500);
    const std::vector<float> stacked = Stacked(Document().sound, {70});
    Press("applyChain");
    EXPECT_TRUE(WorksOff());
    EXPECT_EQ(Now(), stacked);

    // Cut short anywhere, or with another byte anywhere, it is read as far as it goes or refused.
    for (qsizetype i = 0; i < whole.size(); ++i) {
        const int before = Chain().Chain().Count();
        if (!Chain().Load(Put("cut.ecf", whole.left(i)))) {
            EXPECT_EQ(Chain().Chain().Count(), before);
            EXPECT_EQ(messages->told.last(),
                      QStringLiteral("Read Error: Can not open file to load the effects."));
        }
        QByteArray other = whole;
        other[i] = static_cast<char>(other[i] ^ 0xA5);
        Chain().Load(Put("other.ecf", other));
        for (int row = 0; row < Chain().Chain().Count(); ++row) List().Choose(row);
    }
    EXPECT_FALSE(Chain().Load(In("noise.wav")));
}

TEST_F(EffectChainWindowTest, WhatIsInItIsThereAgain) {
    AddGain("50");
    ASSERT_TRUE(Chain().Save(In("kept.ecf")));
    AddGain("60");
    List().setFocus();
    QTest::keyClick(&List(), Qt::Key_Space);
    Chain().resize(700, 500);
    CloseChain();
    EXPECT_TRUE(messages->asked.isEmpty());
    EXPECT_EQ(Gains(), (std::vector<double>{50, 60}));
    EXPECT_FALSE(Chain().Chain().IsOn(1));
    EXPECT_EQ(Text("chainFile"), QStringLiteral("kept.ecf (changed)"));
    EXPECT_EQ(Chain().size(), QSize(700, 500));
    messages->answers = {kDiscardAnswer};
    Press("newChain");
    CloseChain();
    EXPECT_EQ(Chain().Chain().Count(), 0);
}

TEST_F(EffectChainWindowTest, AStoredChainIsAppliedAtOnce) {
    OpenNoise(2000);
    const std::vector<float> stacked = Stacked(Document().sound, {50, 70});
    Put("two.ecf",
        EcfFile(EcfEffect(1, EcfCommon() + EcfU32(8192, 50)) + EcfEffect(1, EcfCommon(1) + EcfU32(8192, 10)) +
                EcfEffect(1, EcfCommon() + EcfU32(8192, 70))));
    Put("none.ecf", EcfFile({}));
    Put("no.ecf", "not a chain at all");
    const LModalAnswers modal({[](QWidget& dialog) { static_cast<QDialog&>(dialog).reject(); },
                               Named(In("none.ecf")), Named(In("no.ecf")), Named(In("two.ecf"))});
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(Run(kCmdApplyChain));
    EXPECT_FALSE(Document().CanUndo());
    EXPECT_TRUE(Run(kCmdApplyChain));
    EXPECT_TRUE(WorksOff());
    EXPECT_EQ(Now(), stacked);
    EXPECT_EQ(Document().UndoLabel(), QStringLiteral("Applying Effect"));
    ASSERT_EQ(messages->told.size(), 2);
    EXPECT_TRUE(messages->told[0].endsWith(
        QStringLiteral("No effects added, please add some effects and then try again.")));
    EXPECT_EQ(messages->told[1], QStringLiteral("Read Error: Can not open file to load the effects."));
    EXPECT_EQ(frame->findChild<LEffectChainWindow*>(), nullptr);
}

}  // namespace
}  // namespace ondarix
