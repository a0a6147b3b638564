// SPDX-License-Identifier: GPL-3.0-or-later
// The page "Audio" of the options.
#include "app/options_device.h"

#include <QCheckBox>
#include <QListWidget>

#include "app/options_dialog.h"
#include "playing_fixture.h"

namespace ondarix {
namespace {

class AudioOptions : public PlayingTest {
  protected:
    void SetUp() override {
        PlayingTest::SetUp();
        SetSettingBool("Player", "ShowNullDevice", true);
    }
    static QComboBox& Choice(LOptionsDialog& dialog) { return *dialog.findChild<QComboBox*>("Device"); }
    static QPushButton& TestButton(LOptionsDialog& dialog) {
        return *dialog.findChild<QPushButton*>("testDevice");
    }
    static QStringList Entries(LOptionsDialog& dialog) {
        QStringList all;
        for (int i = 0; i < Choice(dialog).count(); ++i) all.append(Choice(dialog).itemText(i));
        return all;
    }
    LScriptedMessages told;
};

TEST_F(AudioOptions, OpensAtItsPageAndKeepsADeviceThatIsGone) {
    StoreOutput("[JACK] Studio Rack");
    LOptionsDialog dialog(nullptr, &told);
    dialog.ShowPage("Audio");
    dialog.show();
    EXPECT_EQ(dialog.findChild<QListWidget*>()->currentItem()->text(), "Audio");
    EXPECT_EQ(Choice(dialog).currentText(), "[JACK] Studio Rack") << "before the list is known";
    ASSERT_TRUE(PumpUntil([&] { return Entries(dialog).contains("[Null] Without Sound"); }, 10000));
    EXPECT_EQ(Entries(dialog).first(), "[Default Sound Out]");
    EXPECT_EQ(Choice(dialog).currentText(), "[JACK] Studio Rack (not connected)");
    EXPECT_TRUE(dialog.Apply());
    EXPECT_EQ(ChosenOutputText(), "[JACK] Studio Rack") << "nothing was changed";
    Choice(dialog).setCurrentText("[Null] Without Sound");
    EXPECT_TRUE(dialog.Apply());
    EXPECT_EQ(ChosenOutputText(), "[Null] Without Sound");
    for (const char* name : {"AutoScroll", "PlaySpeedKeepPitch", "ReduceVolWhenRewind"})
        EXPECT_TRUE(dialog.findChild<QCheckBox*>(name)->isVisible()) << name;
    for (auto* button : dialog.findChildren<QPushButton*>())
        if (button->text() == "De&faults") button->click();
    EXPECT_EQ(Choice(dialog).currentText(), "[Default Sound Out]");
}

// The tone goes to the chosen device, whether it is stored yet or not.
TEST_F(AudioOptions, TheTestPlaysASoftToneOnTheChosenDevice) {
    StoreOutput("file:" + In("tone.raw"));
    LOptionsDialog dialog(nullptr, &told);
    dialog.show();
    auto& device = *dialog.findChild<LDeviceOption*>();
    TestButton(dialog).click();
    EXPECT_TRUE(device.IsTesting());
    EXPECT_EQ(TestButton(dialog).text(), "S&top");
    ASSERT_TRUE(PumpUntil([&] { return !device.IsTesting(); }, 5000));
    EXPECT_EQ(TestButton(dialog).text(), "&Test");
    EXPECT_TRUE(told.told.isEmpty()) << told.told.join('|').toStdString();
    // What another program finds in the file: a tone of 440 Hz at -18 dB that neither begins nor ends with a
    // click.
    QProcess sox;
    sox.start("sox", {"-t", "raw", "-e", "floating-point", "-b", "32", "-r", "48000", "-c", "2",
                      In("tone.raw"), "-n", "remix", "1", "stat"});
    ASSERT_TRUE(sox.waitForFinished(10000));
    const QString stat = QString::fromUtf8(sox.readAllStandardError());
    const auto figure = [&](const char* name) {
        return stat.section(name, 1).section(':', 1).section('\n', 0, 0).trimmed().toDouble();
    };
    EXPECT_NEAR(figure("Maximum amplitude"), 0.125, 0.001);
    EXPECT_NEAR(figure("Rough   frequency"), 440, 10);
    EXPECT_NEAR(figure("Length (seconds)"), 0.9, 0.05);
    EXPECT_LT(figure("Maximum delta"), 0.125 * 2 * 3.15 * 440 / 48000);
    TestButton(dialog).click();
    TestButton(dialog).click();
    EXPECT_FALSE(device.IsTesting()) << "a second click ends it";
}

TEST_F(AudioOptions, WhyNothingCanBeHeardIsTold) {
    StoreOutput("[PulseAudio] Nowhere");
    {
        LOptionsDialog dialog(nullptr, &told);
        TestButton(dialog).click();
    }
    ASSERT_EQ(told.told.size(), 1);
    EXPECT_EQ(told.told.takeFirst(),
              "Sound Device Error: Cannot open the sound device for playback. Please verify your device is "
              "operational.");
    StoreOutput("file:/no/such/folder/tone.raw");
    {
        LOptionsDialog dialog(nullptr, &told);
        TestButton(dialog).click();
        EXPECT_EQ(TestButton(dialog).text(), "&Test");
    }
    ASSERT_EQ(told.told.size(), 1);
    EXPECT_TRUE(told.told.takeFirst().contains("Please verify your device is operational."));
    if (DefaultOutput().mode != LDeviceMode::kNull) return;
    StoreOutput(kDefaultSoundOut);
    LOptionsDialog dialog(nullptr, &told);
    TestButton(dialog).click();
    ASSERT_EQ(told.told.size(), 1);
    EXPECT_EQ(told.told.takeFirst(),
              "No Playback Devices: There are no audio playback devices available. Please check your audio "
              "settings.");
}

}  // namespace
}  // namespace ondarix
