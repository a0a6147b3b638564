// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/input_dialogs.h"

#include <QFileDialog>
#include <QLabel>
#include <QListWidget>
#include <QSpinBox>

#include "app/time_input.h"
#include "formats/registry.h"
#include "gen/settings.h"
#include "list_fixture.h"

namespace ondarix {
namespace {

TEST(TimeInput, ReadsEveryFormToTheNearestFrame) {
    const struct {
        const char* text;
        int32_t rate;
        int64_t frames;
    } kRows[] = {
        {"1:02.5", 44100, 2756250},
        {"1:02:03.004", 1000, 3723004},
        {"500 ms", 44100, 22050},
        {"500ms", 8000, 4000},
        {"44100 frames", 8000, 44100},
        {"1 frame", 44100, 1},
        {"2", 44100, 88200},
        {" 0,25 S ", 48000, 12000},
        {".5", 44100, 22050},
        {"0", 44100, 0},
        {"0.00001", 44100, 0},
        {"0.0000114", 44100, 1},
        {"1:2", 10, 620},
        {"90:00", 1, 5400},
        {"0.33333333333333", 3, 1},
        {"12:00:00", 384000, int64_t{43200} * 384000},
    };
    for (const auto& row : kRows) {
        const auto frames = ParseTimeInput(QLatin1String(row.text), row.rate);
        ASSERT_TRUE(frames.has_value()) << row.text;
        EXPECT_EQ(*frames, row.frames) << row.text;
    }
    for (const char* text : {"",       " ",      ".",           ":",       "abc",
                             "-1",     "1:60",   "1:60:00",     "1:2:3:4", "1.2.3",
                             "1:.5",   "1.5:00", "1.5 frames",  "frames",  "ms",
                             "1 m",    "1e5",    "99999999999", "0x10",    "9223372036854775807 frames",
                             "1:00 ms"})
        EXPECT_FALSE(ParseTimeInput(QLatin1String(text), 44100).has_value()) << text;
}

TEST(TimeInput, WhatIsShownLeadsBackToTheSameFrame) {
    for (const int32_t rate : {1, 3, 8000, 11025, 44100, 48000, 192000, 384000, 2147483647})
        for (const int64_t frames : {int64_t{0}, int64_t{1}, int64_t{7}, int64_t{44099}, int64_t{1234567},
                                     int64_t{rate} * 3599 + rate - 1, int64_t{rate} * 360000 + 1}) {
            if (rate > 1000000 && frames % rate != 0) continue;  // beyond a billionth of a second
            EXPECT_EQ(ParseTimeInput(TimeInputText(frames, rate), rate), frames) << frames << " at " << rate;
            EXPECT_EQ(ParseTimeInput(FramesInputText(frames), rate), frames);
        }
    EXPECT_EQ(TimeInputText(2756250, 44100), QStringLiteral("0:01:02.500"));
    EXPECT_EQ(TimeInputText(1, 44100), QStringLiteral("0:00:00.000023"));
}

class InputDialogTest : public ListTest {
  protected:
    void SetUp() override {
        ListTest::SetUp();
        document = &frame.AddSilence("tone.wav");
        for (const char* name : {"StartSel", "EndSel", "Cursor", "SilenceLength", "Parts", "PartsKind"})
            DeleteSetting(QStringLiteral("Temp"), QLatin1String(name));
        DeleteSetting(QStringLiteral("Settings"), QStringLiteral("IsRegionSelectTimeBased"));
    }
    LSoundDocument* document = nullptr;
};

QString RefusalOf(const QWidget& dialog) {
    const auto* label = dialog.findChild<QLabel*>(QStringLiteral("refusal"));
    return label->isVisible() ? label->text() : QString();
}

TEST_F(InputDialogTest, ATimeRangeIsCheckedBeforeItIsTaken) {
    std::optional<LSelection> answer;
    {
        const LModalAnswers answers({[](QWidget& dialog) {
            TypeInto(dialog, "start", "1:x0");  // a letter that no time has is not let in
            EXPECT_EQ(dialog.findChild<QLineEdit*>(QStringLiteral("start"))->text(), QStringLiteral("1:0"));
            TypeInto(dialog, "start", "1:75");
            PressOk(dialog);
            EXPECT_EQ(RefusalOf(dialog), QString::fromUtf8(kTimeInputHelp));
            TypeInto(dialog, "start", "1:40");
            TypeInto(dialog, "end", "2:00.001");
            PressOk(dialog);
            EXPECT_EQ(RefusalOf(dialog), QStringLiteral("The time must be at most 0:02:00.000."));
            TypeInto(dialog, "end", "90000 ms");
            PressOk(dialog);
            EXPECT_TRUE(RefusalOf(dialog).contains(QStringLiteral("behind its start")));
            EXPECT_TRUE(dialog.isVisible());
            TypeInto(dialog, "end", "4410001 frames");
            PressOk(dialog);
        }});
        answer = AskTimeRange(&frame, *document);
    }
    ASSERT_TRUE(answer.has_value());
    EXPECT_EQ(answer->start, 100 * 44100);
    EXPECT_EQ(answer->end, 4410001);
    const LModalAnswers answers({[](QWidget& dialog) {  // the last answer, then in frames
        EXPECT_EQ(dialog.findChild<QLineEdit*>(QStringLiteral("start"))->text(),
                  QStringLiteral("0:01:40.000"));
        auto* unit = dialog.findChild<QComboBox*>(QStringLiteral("timeOrFrames"));
        QTest::keyClick(unit, Qt::Key_Down);
        EXPECT_EQ(dialog.findChild<QLineEdit*>(QStringLiteral("end"))->text(),
                  QStringLiteral("4410001 frames"));
        PressCancel(dialog);
    }});
    EXPECT_FALSE(AskTimeRange(&frame, *document).has_value());
    EXPECT_FALSE(GetSettingBool(QStringLiteral("Settings"), QStringLiteral("IsRegionSelectTimeBased"), true));
}

// What is typed goes into the first field at once, and the Tab key leads on to the next.
TEST_F(InputDialogTest, TheFirstFieldIsTypedIntoAtOnce) {
    {
        const LModalAnswers answers({[](QWidget& dialog) {
            ASSERT_NE(dialog.focusWidget(), nullptr);
            QTest::keyClicks(dialog.focusWidget(), QStringLiteral("2"));
            QTest::keyClick(dialog.focusWidget(), Qt::Key_Tab);
            QTest::keyClicks(dialog.focusWidget(), QStringLiteral("4"));
            QTest::keyClick(dialog.focusWidget(), Qt::Key_Return);
        }});
        const auto range = AskTimeRange(&frame, *document);
        ASSERT_TRUE(range.has_value());
        EXPECT_EQ(range->start, 2 * 44100);
        EXPECT_EQ(range->end, 4 * 44100);
    }
    const auto type = [](const char* text) {
        return [text](QWidget& dialog) {
            ASSERT_NE(dialog.focusWidget(), nullptr);
            QTest::keyClicks(dialog.focusWidget(), QLatin1String(text));
            QTest::keyClick(dialog.focusWidget(), Qt::Key_Return);
        };
    };
    const LModalAnswers answers({type("0:03"), type("7"), type("Verse"), type("0.5"), type("22050")});
    EXPECT_EQ(AskPosition(&frame, *document), 3 * 44100);
    EXPECT_EQ(AskRepeatCount(&frame), 7);
    EXPECT_EQ(AskName(&frame, QStringLiteral("Rename"), QStringLiteral("&Name:"), QStringLiteral("Old")),
              QStringLiteral("Verse"));
    EXPECT_EQ(AskSilenceLength(&frame, {44100, 1}), 22050);
    EXPECT_EQ(AskSampleRate(&frame, 44100), 22050);
}

TEST_F(InputDialogTest, AnswersAreRememberedAndCancellingAnswersNothing) {
    {
        const LModalAnswers answers({[](QWidget& dialog) {
                                         TypeInto(dialog, "length", "0");
                                         PressOk(dialog);
                                         EXPECT_FALSE(RefusalOf(dialog).isEmpty());
                                         TypeInto(dialog, "length", "250 ms");
                                         PressOk(dialog);
                                     },
                                     [](QWidget& dialog) {
                                         EXPECT_EQ(
                                             dialog.findChild<QLineEdit*>(QStringLiteral("length"))->text(),
                                             QStringLiteral("250 ms"));
                                         PressCancel(dialog);
                                     }});
        EXPECT_EQ(AskSilenceLength(&frame, {48000, 2}), 12000);
        EXPECT_FALSE(AskSilenceLength(&frame, {48000, 2}).has_value());
    }
    {
        const LModalAnswers answers({[](QWidget& dialog) {
                                         auto* times = dialog.findChild<QSpinBox*>(QStringLiteral("times"));
                                         EXPECT_EQ(times->minimum(), 1);
                                         EXPECT_EQ(times->maximum(), 9999);
                                         TypeInto(dialog, "times", "7");
                                         PressOk(dialog);
                                     },
                                     [](QWidget& dialog) { PressOk(dialog); }});
        EXPECT_EQ(AskRepeatCount(&frame), 7);
        EXPECT_EQ(AskRepeatCount(&frame), 7);
    }
    {
        const LModalAnswers answers({[](QWidget& dialog) {
                                         TypeInto(dialog, "rate", "7999");
                                         PressOk(dialog);
                                         EXPECT_TRUE(RefusalOf(dialog).contains(QStringLiteral("8000 Hz")));
                                         TypeInto(dialog, "rate", "50000");
                                         auto* channels =
                                             dialog.findChild<QComboBox*>(QStringLiteral("channels"));
                                         channels->setCurrentIndex(channels->findData(6));
                                         PressOk(dialog);
                                     },
                                     [](QWidget& dialog) { PressOk(dialog); }});
        const auto format = AskNewFile(&frame);
        ASSERT_TRUE(format.has_value());
        EXPECT_EQ(*format, (LSoundFormat{50000, 6}));
        EXPECT_EQ(AskNewFile(&frame), format);
    }
    SetSettingInt(44100, QStringLiteral("Settings"), QStringLiteral("DefaultSampleRate"));
    SetSettingInt(2, QStringLiteral("Settings"), QStringLiteral("DefaultChannels"));
}

TEST_F(InputDialogTest, PartsAreACountOrALength) {
    const LModalAnswers answers({[](QWidget& dialog) {
                                     TypeInto(dialog, "parts", "12");
                                     PressOk(dialog);
                                 },
                                 [](QWidget& dialog) {
                                     auto* kind = dialog.findChild<QComboBox*>(QStringLiteral("kind"));
                                     QTest::keyClick(kind, Qt::Key_Down);
                                     EXPECT_FALSE(
                                         dialog.findChild<QSpinBox*>(QStringLiteral("parts"))->isEnabled());
                                     TypeInto(dialog, "interval", "10 s");
                                     PressOk(dialog);
                                 }});
    const auto parts = AskParts(&frame, *document);
    ASSERT_TRUE(parts.has_value());
    EXPECT_EQ(parts->parts, 12);
    const auto interval = AskParts(&frame, *document);
    ASSERT_TRUE(interval.has_value());
    EXPECT_EQ(interval->parts, 0);
    EXPECT_EQ(interval->interval, 441000);
}

TEST_F(InputDialogTest, PiecesGoToAFullPathInAFormatThatCanBeWritten) {
    const QString section = QStringLiteral("Splitting"), folderName = QStringLiteral("SaveFolder"),
                  format = QStringLiteral("OutputFormat");
    const QString chosen = In("pieces");
    ASSERT_TRUE(QDir().mkpath(chosen));
    const LModalAnswers answers(
        {[&](QWidget& dialog) {
             TypeInto(dialog, "folder", "pieces");
             PressOk(dialog);
             EXPECT_FALSE(RefusalOf(dialog).isEmpty());
             const auto* formats = dialog.findChild<QComboBox*>(QStringLiteral("format"));
             EXPECT_GT(formats->count(), 0);
             for (int i = 0; i < formats->count(); ++i)
                 EXPECT_TRUE(FormatCanBeWritten(formats->itemData(i).toString()));
             QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("browse")), Qt::LeftButton);
             PressOk(dialog);
         },
         [&](QWidget& dialog) {
             auto& files = dynamic_cast<QFileDialog&>(dialog);
             files.setDirectory(chosen);
             dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(chosen);
             files.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Open)->click();
         }});
    const auto target = AskPieceTarget(&frame, QStringLiteral("Split"), section, folderName, format);
    ASSERT_TRUE(target.has_value());
    EXPECT_EQ(target->folder, chosen);
    EXPECT_EQ(target->extension, QStringLiteral(".wav"));
    EXPECT_EQ(GetSettingString(section, folderName, {}), chosen);
    EXPECT_EQ(GetSettingString(section, format, {}), QStringLiteral(".wav"));
}

TEST_F(InputDialogTest, SoundsAreJoinedInTheOrderThatTheyAreMovedInto) {
    const LModalAnswers answers({[](QWidget& dialog) {
        auto* list = dialog.findChild<QListWidget*>(QStringLiteral("sounds"));
        list->setFocus();
        list->setCurrentRow(2);
        QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("moveUp")), Qt::LeftButton);
        QTest::keyClick(list, Qt::Key_Up, Qt::AltModifier);
        list->setCurrentRow(1);
        QTest::keyClick(list, Qt::Key_Space);  // not this one
        PressOk(dialog);
    }});
    const QStringList titles = {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
    EXPECT_EQ(AskJoin(&frame, titles), QList<int>({2, 1}));
}

// With a keyboard alone and with a screen reader.
TEST_F(InputDialogTest, EveryControlHasANameAndMnemonicsDoNotClash) {
    const auto check = [](QWidget& dialog) {
        QSet<QChar> letters;
        for (const QLabel* label : dialog.findChildren<QLabel*>()) {
            const qsizetype at = label->text().indexOf(u'&');
            if (at < 0 || !label->buddy()) continue;
            const QChar letter = label->text().at(at + 1).toLower();
            EXPECT_FALSE(letters.contains(letter)) << label->text().toStdString();
            letters.insert(letter);
            EXPECT_FALSE(label->buddy()->accessibleName().isEmpty()) << label->text().toStdString();
        }
        for (const QLineEdit* field : dialog.findChildren<QLineEdit*>()) {
            if (qobject_cast<const QAbstractSpinBox*>(field->parentWidget())) continue;
            EXPECT_FALSE(field->accessibleName().isEmpty()) << field->objectName().toStdString();
        }
        PressCancel(dialog);
    };
    const LModalAnswers answers({check, check, check, check, check, check, check, check});
    AskTimeRange(&frame, *document);
    AskPosition(&frame, *document);
    AskSampleRate(&frame, 44100);
    AskNewFile(&frame);
    AskName(&frame, QStringLiteral("Name"), QStringLiteral("&Name:"), QStringLiteral("x"));
    AskParts(&frame, *document);
    AskSilences(&frame, QStringLiteral("Trim silences"));
    AskPieceTarget(&frame, QStringLiteral("x"), QStringLiteral("Temp"), QStringLiteral("F"),
                   QStringLiteral("X"));
}

}  // namespace
}  // namespace ondarix
