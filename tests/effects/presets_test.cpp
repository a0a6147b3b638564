// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/presets.h"

#include <QTemporaryDir>

#include "effects/effect_fixture.h"
#include "effects/stored_values.h"
#include "gen/settings.h"

namespace ondarix::test {
namespace {

class PresetsTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(home_.isValid());
        qputenv("ONDARIX_HOME", home_.path().toUtf8());
    }
    LPresetResult Save(const QString& name, int percent, bool overwrite = false) {
        effect_->SetParameter(0, percent);
        return SaveUserPreset(*effect_, name, overwrite);
    }
    // -1: there is none.
    double Load(const QString& name) {
        effect_->SetDefaults();
        return LoadUserPreset(*effect_, name) == LPresetResult::kDone ? ValuesOf(*effect_)[0] : -1;
    }
    QStringList SectionsBelow(const QString& section) const {
        QStringList names;
        for (const SettingRow& row : ListSettings())
            if (row.section.startsWith(section)) names += row.section + '/' + row.name;
        return names;
    }

    QTemporaryDir home_;
    std::unique_ptr<LEffect> effect_ = MakeEffect(1);
};

TEST_F(PresetsTest, AreSavedOverwrittenAndDeletedInTheirOrder) {
    EXPECT_TRUE(UserPresets(*effect_).isEmpty());
    EXPECT_EQ(Save("Quiet", 10), LPresetResult::kDone);
    EXPECT_EQ(Save("  Loud  ", 300), LPresetResult::kDone);
    EXPECT_EQ(Save(QString::fromUtf8("Größe /:*?\"<>| 100%1"), 77), LPresetResult::kDone);
    EXPECT_EQ(Save("loud", 200), LPresetResult::kExists);
    EXPECT_EQ(Load("Loud"), 300);
    EXPECT_EQ(Save("lOUD", 200, true), LPresetResult::kDone);
    EXPECT_EQ(Load("LOUD "), 200);
    const QString third = QString::fromUtf8("Größe /:*?\"<>| 100%1");
    EXPECT_EQ(UserPresets(*effect_), (QStringList{"Quiet", "Loud", third}));
    EXPECT_EQ(Load(QString::fromUtf8("GRÖSSE /:*?\"<>| 100%1").replace("SS", QString::fromUtf8("ß"))), 77);
    EXPECT_EQ(Load(third.normalized(QString::NormalizationForm_D)), 77) << "typed on another keyboard";
    EXPECT_EQ(Save(QString::fromUtf8("GRÖßE /:*?\"<>| 100%1"), 78, true), LPresetResult::kDone);
    EXPECT_EQ(Load(third), 78);
    EXPECT_EQ(DeleteUserPreset(*effect_, "quiet"), LPresetResult::kDone);
    EXPECT_EQ(DeleteUserPreset(*effect_, "quiet"), LPresetResult::kUnknown);
    EXPECT_EQ(UserPresets(*effect_), (QStringList{"Loud", third}));
    EXPECT_EQ(GetSettingInt("EffectPresets\\Amplify", "PresetCount", -1), 2);
    EXPECT_EQ(GetSettingString("EffectPresets\\Amplify", "0", ""), "Loud");
    EXPECT_EQ(Load("Quiet"), -1);
    EXPECT_EQ(Load("Loud"), 200);
    EXPECT_EQ(DeleteUserPreset(*effect_, "Loud"), LPresetResult::kDone);
    EXPECT_EQ(DeleteUserPreset(*effect_, third), LPresetResult::kDone);
    EXPECT_EQ(SectionsBelow("EffectPresets"), QStringList{"EffectPresets\\Amplify/PresetCount"})
        << "a deleted preset leaves something behind";
}

TEST_F(PresetsTest, RefusesNamesThatCouldDoHarm) {
    const QString hostile[] = {"",
                               " ",
                               "\t\n",
                               "back\\slash",
                               "\\",
                               "line\nbreak",
                               QString::fromLatin1("nul\0x", 5),
                               QString(QChar(0x7f)) + "x",
                               QString("a") + QChar(0x2028) + "b",
                               QString("a") + QChar(0x202E) + "txt",
                               QString("a") + QChar(0xD800) + "b",
                               QString(300, 'x'),
                               QString(260, 'x')};
    for (const QString& name : hostile) {
        EXPECT_EQ(Save(name, 50), LPresetResult::kInvalidName) << name.toStdString();
        EXPECT_EQ(Save(name, 50, true), LPresetResult::kInvalidName);
        EXPECT_EQ(DeleteUserPreset(*effect_, name), LPresetResult::kUnknown);
    }
    EXPECT_TRUE(SectionsBelow("EffectPresets").isEmpty());
    EXPECT_EQ(Save(QString(259, 'x'), 50), LPresetResult::kDone);
    EXPECT_EQ(Load(QString(259, 'X')), 50);
    EXPECT_EQ(Save(QString::fromUtf8("\U0001F50A louder"), 60), LPresetResult::kDone);
    EXPECT_EQ(Load(QString::fromUtf8("\U0001F50A Louder")), 60);
}

TEST_F(PresetsTest, TheEffectsOwnStandFirstAndCannotBeTouched) {
    ASSERT_GT(effect_->GetPresetCount(), 0);
    const QString own = effect_->GetPresetName(0);
    EXPECT_EQ(Save(own.toLower() + " ", 50, true), LPresetResult::kBuiltInName);
    EXPECT_EQ(DeleteUserPreset(*effect_, own.toUpper()), LPresetResult::kNotYours);
    effect_->SetPreset(0);
    const std::vector<double> expected = ValuesOf(*effect_);
    effect_->SetDefaults();
    EXPECT_EQ(LoadPreset(*effect_, own.toUpper()), LPresetResult::kDone);
    EXPECT_EQ(ValuesOf(*effect_), expected);
    EXPECT_EQ(Save("Mine", 42), LPresetResult::kDone);
    effect_->SetDefaults();
    EXPECT_EQ(LoadPreset(*effect_, "mine"), LPresetResult::kDone);
    EXPECT_EQ(ValuesOf(*effect_)[0], 42);
    EXPECT_EQ(LoadPreset(*effect_, "nobody's"), LPresetResult::kUnknown);
}

TEST_F(PresetsTest, SaysWhatIsWrongInTheWordsOfTheDialogs) {
    const LPresetOwner owner = PresetOwner(*effect_);
    const auto said = [&](LPresetResult result) {
        const LPresetMessage message = PresetMessage(result, owner, "A %1 B");
        return message.title + "|" + message.text;
    };
    EXPECT_EQ(said(LPresetResult::kDone), "|");
    EXPECT_TRUE(said(LPresetResult::kInvalidName).startsWith("Invalid Preset Name|"));
    EXPECT_EQ(
        said(LPresetResult::kBuiltInName),
        "Invalid Preset Name|You are not allowed to have a user preset name 'A %1 B' same as Amplify's given "
        "preset name");
    EXPECT_EQ(said(LPresetResult::kExists),
              "Preset Already Exists|'A %1 B'  already exists. Do you want to overwrite it?");
    EXPECT_EQ(said(LPresetResult::kNotYours),
              "Delete Not Permitted|You can't delete the 'A %1 B' Preset. You are only allowed to delete the "
              "user-defined presets.");
    EXPECT_EQ(DeletePresetQuestion("A %1 B"), "Delete preset 'A %1 B'?");
}

TEST_F(PresetsTest, ADamagedListGivesWhatIsLeftOfIt) {
    ASSERT_EQ(Save("One", 10), LPresetResult::kDone);
    ASSERT_EQ(Save("Two", 20), LPresetResult::kDone);
    const QString section = "EffectPresets\\Amplify";
    SetSettingInt(2'000'000'000, section, "PresetCount");
    EXPECT_EQ(UserPresets(*effect_), (QStringList{"One", "Two"}));
    SetSettingInt(-5, section, "PresetCount");
    EXPECT_TRUE(UserPresets(*effect_).isEmpty());
    SetSettingInt(4, section, "PresetCount");
    SetSettingString(section, "2", "two");
    SetSettingString(section, "3", "..\\..\\Settings");
    EXPECT_EQ(UserPresets(*effect_), (QStringList{"One", "Two"}));
    EXPECT_EQ(Load("..\\..\\Settings"), -1);
    SetSettingString(section + "\\One", "Values", "no numbers");
    EXPECT_EQ(Load("One"), -1);
    SetSettingString(section + "\\One", "Values", "1000000");
    EXPECT_EQ(Load("One"), 400);
    DeleteSetting(section + "\\Two", "Values");
    EXPECT_EQ(Load("Two"), -1);
    EXPECT_EQ(DeleteUserPreset(*effect_, "Two"), LPresetResult::kDone);
    EXPECT_EQ(UserPresets(*effect_), QStringList{"One"});
}

TEST_F(PresetsTest, OfOneEffectDoNotMeetThoseOfAnother) {
    const LPresetOwner crossfade{"Crossfade", {"Restore Defaults"}};
    ASSERT_EQ(Save("Same", 10), LPresetResult::kDone);
    ASSERT_EQ(SavePresetText(crossfade, "Same", "anything; 3 ; \xc3\xa4", false), LPresetResult::kDone);
    EXPECT_EQ(PresetTextOf(crossfade, "same"), "anything; 3 ; \xc3\xa4");
    EXPECT_EQ(Load("Same"), 10);
    EXPECT_EQ(SavePresetText(crossfade, "restore defaults", "", false), LPresetResult::kBuiltInName);
    EXPECT_EQ(DeleteUserPreset(crossfade, "Same"), LPresetResult::kDone);
    EXPECT_EQ(PresetTextOf(crossfade, "Same"), std::nullopt);
    EXPECT_EQ(Load("Same"), 10);
}

TEST_F(PresetsTest, RecentEffectsAreTheLastTwo) {
    EXPECT_TRUE(RecentEffects().isEmpty());
    RememberEffect("amplify");
    EXPECT_EQ(RecentEffects(), QStringList{"amplify"});
    RememberEffect("reverse");
    RememberEffect("nothing of that kind");
    EXPECT_EQ(RecentEffects(), (QStringList{"reverse", "amplify"}));
    RememberEffect("Amplify");
    EXPECT_EQ(RecentEffects(), (QStringList{"amplify", "reverse"}));
    RememberEffect("amplify");
    EXPECT_EQ(RecentEffects(), (QStringList{"amplify", "reverse"}));
    RememberEffect("mute");
    EXPECT_EQ(RecentEffects(), (QStringList{"mute", "amplify"}));
    EXPECT_EQ(GetSettingString("Settings", "RecentEffect0", ""), "mute");
    SetSettingString("Settings", "RecentEffect0", "of another version");
    EXPECT_EQ(RecentEffects(), QStringList{"amplify"});
}

}  // namespace
}  // namespace ondarix::test
