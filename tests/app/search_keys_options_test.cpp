// SPDX-License-Identifier: GPL-3.0-or-later
// Finding commands, their keys, and the options.
#include <gmock/gmock.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDirIterator>
#include <QLineEdit>
#include <QListView>
#include <QRegularExpression>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include "app/command_search.h"
#include "app/custom_keys.h"
#include "app/options_dialog.h"
#include "app/search_bar.h"
#include "app/shortcuts.h"
#include "app/theme.h"
#include "devices/device_list.h"
#include "gen/paths.h"
#include "gen/settings.h"
#include "waiting.h"

namespace ondarix {
namespace {

using testing::ElementsAre;

// A window that says which commands are available and keeps which were run.
class LCommandFrame final : public QWidget, public LFrameDocuments, public LEditHost, private LMessageHost {
  public:
    QList<LSoundWindow*> Sounds() override { return {}; }
    LSoundWindow* ActiveSound() override { return nullptr; }
    void Activate(LSoundWindow&) override {}
    LEditHost& EditHost() override { return *this; }
    LDocumentNotifier& Notifier() override { return notifier; }
    bool RunCommand(int id) override {
        run.append(id);
        return true;
    }
    bool IsAvailable(int id) override { return !unavailable.contains(id); }
    QWidget* Window() override { return this; }
    LMessageHost& Messages() override { return *this; }
    JobResult RunJob(const QString&, const std::function<JobResult(LProgress&)>&) override {
        return JobResult::kFailed;
    }
    bool AddDocument(LSoundDocumentRef) override { return false; }

    LDocumentNotifier notifier;
    QList<int> run, unavailable, answers;
    QStringList asked;

  private:
    void Tell(const QString&, const QString&) override {}
    int Ask(const QString&, const QString& text, const QStringList&, int safe, const QString&,
            bool*) override {
        asked.append(text);
        return answers.isEmpty() ? safe : answers.takeFirst();
    }
};

QKeySequence Key(const char* text) {
    return QKeySequence(QString::fromUtf8(text), QKeySequence::PortableText);
}
QList<QKeySequence> KeysOf(int id) { return ShortcutsOf(*FindCommand(id)); }

class Keys : public testing::Test {
  protected:
    void SetUp() override {
        ResetShortcuts();
        frame.resize(1000, 700);
        frame.show();
    }
    void TearDown() override { ResetShortcuts(); }
    LCommandFrame frame;
};

TEST_F(Keys, NoTwoVisibleCommandsShareAKeyAtFirst) {
    QHash<QKeySequence, int> owner;
    for (const LCommandRow& row : CommandTable()) {
        if (!IsVisible(row)) continue;
        for (const QKeySequence& key : ShortcutsOf(row)) {
            EXPECT_FALSE(owner.contains(key))
                << key.toString().toStdString() << ": " << owner.value(key) << " and " << row.id;
            owner.insert(key, row.id);
        }
        // Every text in the table is a key.
        const QString text = QString::fromUtf8(row.shortcut);
        const bool lent = row.id == kCmdLoop;  // from a command that is not there yet
        EXPECT_EQ(TableShortcuts(row).size(), lent             ? 1
                                              : text.isEmpty() ? 0
                                                               : text.split("; ").size())
            << row.id;
    }
    EXPECT_EQ(owner.value(Key("Ctrl+Shift+Q")), kCmdSearch);
    EXPECT_EQ(CommandOfKey(Key("Ctrl+V")), kCmdPaste);
}

TEST_F(Keys, AKeyIsTakenFromWhoHadItAndEverythingCanBeReset) {
    const QList<QKeySequence> first = KeysOf(kCmdCopy), pasteFirst = KeysOf(kCmdPaste);
    StoreShortcuts(kCmdPaste, {Key("Ctrl+C"), Key("F7"), Key("Ctrl+;")});
    EXPECT_THAT(KeysOf(kCmdPaste), ElementsAre(Key("Ctrl+C"), Key("F7"), Key("Ctrl+;")))
        << "as stored text too";
    EXPECT_FALSE(KeysOf(kCmdCopy).contains(Key("Ctrl+C")));
    EXPECT_EQ(CommandOfKey(Key("Ctrl+C")), kCmdPaste);
    StoreShortcuts(kCmdPaste, {});
    EXPECT_TRUE(KeysOf(kCmdPaste).isEmpty()) << "none at all, not those of the table";
    EXPECT_EQ(CommandOfKey(Key("Ctrl+C")), 0);
    EXPECT_EQ(CommandOfKey(QKeySequence()), 0);
    ResetShortcuts(kCmdCopy);
    EXPECT_EQ(KeysOf(kCmdCopy), first);
    EXPECT_FALSE(HasOwnShortcuts(*FindCommand(kCmdCopy)));
    // What is written by hand and is no key counts for nothing.
    SetSettingString("CustomKeys", QString::number(kCmdPaste), "Ctrl+NoSuchKey; ");
    EXPECT_EQ(KeysOf(kCmdPaste), pasteFirst);
    EXPECT_EQ(AllShortcuts().value(kCmdPaste), pasteFirst);
    ResetShortcuts();
    EXPECT_TRUE(ListSettings("CustomKeys").isEmpty());
}

TEST_F(Keys, TheDialogTellsOfAConflictBeforeItTakesAKeyAway) {
    LCustomKeysDialog dialog(frame);
    dialog.show();
    dialog.Choose(kCmdPaste);
    int changes = 0;
    QObject::connect(&dialog, &LCustomKeysDialog::Changed, &dialog, [&changes] { ++changes; });
    auto* key = dialog.findChild<QKeySequenceEdit*>();
    const auto press = [&](const char* text) {
        for (auto* button : dialog.findChildren<QPushButton*>())
            if (button->text() == QLatin1String(text)) return button->click();
        ADD_FAILURE() << text;
    };
    QTest::keyClick(key, Qt::Key_Z, Qt::ControlModifier);
    const auto tells = [&dialog] {
        const auto labels = dialog.findChildren<QLabel*>();
        return std::any_of(labels.begin(), labels.end(),
                           [](const QLabel* label) { return label->text().contains("Edit > Undo"); });
    };
    ASSERT_TRUE(PumpUntil(tells, 500)) << "without waiting for more keys";
    press("&Assign");
    EXPECT_EQ(frame.asked.size(), 1);
    EXPECT_EQ(CommandOfKey(Key("Ctrl+Z")), kCmdUndo) << "refused";
    EXPECT_EQ(changes, 0);
    frame.answers = {0};
    key->setKeySequence(Key("Ctrl+Z"));
    press("A&dd");
    EXPECT_EQ(CommandOfKey(Key("Ctrl+Z")), kCmdPaste);
    EXPECT_TRUE(KeysOf(kCmdPaste).contains(Key("Ctrl+V")));
    key->setKeySequence(Key("F12"));
    press("&Assign");
    EXPECT_THAT(KeysOf(kCmdPaste), ElementsAre(Key("F12")));
    EXPECT_EQ(frame.asked.size(), 2) << "a free key needs no question";
    EXPECT_EQ(changes, 2);
    press("Re&move Keys");
    EXPECT_TRUE(KeysOf(kCmdPaste).isEmpty());
    frame.answers = {0};
    press("Reset A&ll...");
    EXPECT_EQ(CommandOfKey(Key("Ctrl+Z")), kCmdUndo);
    EXPECT_EQ(changes, 4);
    // The keys that open menus stay with them.
    key->setKeySequence(Key("Alt+F"));
    press("&Assign");
    EXPECT_EQ(CommandOfKey(Key("Alt+F")), 0);
}

TEST_F(Keys, TheDialogFindsCommandsByNameAndByKey) {
    LCustomKeysDialog dialog(frame);
    auto* filter = dialog.findChild<QLineEdit*>();
    auto* list = dialog.findChild<QTreeWidget*>();
    const auto shown = [&] {
        QStringList names;
        for (int i = 0; i < list->topLevelItemCount(); ++i)
            if (!list->topLevelItem(i)->isHidden()) names.append(list->topLevelItem(i)->text(0));
        return names;
    };
    EXPECT_GT(shown().size(), 60);
    filter->setText("Ctrl+Shift+Q");
    EXPECT_EQ(shown(), QStringList{PlainText(*FindCommand(kCmdSearch))});
    filter->setText("undo");
    EXPECT_TRUE(shown().contains("Undo"));
    EXPECT_EQ(list->currentItem()->isHidden(), false);
    filter->setText("no such thing at all");
    EXPECT_TRUE(shown().isEmpty());
}

int FirstFor(const char* query) {
    const auto rows = SearchCommands(QString::fromUtf8(query));
    return rows.empty() ? 0 : rows.front()->id;
}

TEST(CommandSearch, FindsWhatIsMeantFirst) {
    const struct {
        const char* query;
        int id;
    } kMeant[] = {
        {"paste", kCmdPaste},
        {"Paste", kCmdPaste},
        {"past", kCmdPaste},
        {"paste new", kCmdPasteToNew},
        {"ptn", kCmdPasteToNew},
        {"psate", kCmdPaste},
        {"undp", kCmdUndo},
        {"edit undo", kCmdUndo},
        {"sel all", kCmdSelectAll},
        {"silen sel", kCmdSilence},
        {"ctrl+shift+q", kCmdSearch},
        {"2005", kCmdPaste},
        {"split silences", kCmdSplitAtSilences},
    };
    for (const auto& [query, id] : kMeant) EXPECT_EQ(FirstFor(query), id) << query;
    EXPECT_EQ(FirstFor("xqzwv"), 0);
    size_t visible = 0;
    for (const LCommandRow& row : CommandTable()) visible += IsVisible(row) ? 1 : 0;
    EXPECT_EQ(SearchCommands({}).size(), visible);
    // What does not exist in this program is not offered.
    for (const LCommandRow* row : SearchCommands("a")) EXPECT_TRUE(IsVisible(*row));
}

TEST(CommandSearch, ACloserFitCountsMore) {
    int before = INT_MAX;
    for (const char* text : {"paste", "paste to new", "old paste", "repasted"}) {
        const int fit = FitOf("paste", QLatin1String(text));
        EXPECT_GT(fit, 0) << text;
        EXPECT_LT(fit, before) << text;
        before = fit;
    }
    for (const char* mistyped : {"pste", "pasxte", "psate", "pasta", "paste"})
        EXPECT_GT(FitOf(QLatin1String(mistyped), "the paste"), 0) << mistyped;
    for (const char* other : {"pxxte", "setap", "paper"})
        EXPECT_EQ(FitOf(QLatin1String(other), "the paste"), 0) << other;
    EXPECT_EQ(FitOf("", "paste"), 0);
    EXPECT_EQ(FitOf("paste", ""), 0);
}

TEST_F(Keys, TheSearchBarRunsTheChosenCommandAndSaysWhyNot) {
    LSearchBar bar(frame);
    bar.Open();
    auto* line = bar.findChild<QLineEdit*>();
    auto* list = bar.findChild<QListView*>();
    ASSERT_TRUE(bar.isVisible());
    QTest::keyClicks(line, "paste");
    EXPECT_EQ(list->currentIndex().data().toString(), "Paste");
    EXPECT_TRUE(line->accessibleDescription().contains("Edit > Paste"));
    EXPECT_TRUE(line->accessibleDescription().contains("Ctrl+V"));
    QTest::keyClick(line, Qt::Key_Down);
    const QString second = list->currentIndex().data().toString();
    EXPECT_NE(second, "Paste");
    QTest::keyClick(line, Qt::Key_Up);
    QTest::keyClick(line, Qt::Key_Up);
    EXPECT_EQ(list->currentIndex().row(), list->model()->rowCount() - 1) << "round the end";
    QTest::keyClick(line, Qt::Key_Down);
    QTest::keyClick(line, Qt::Key_Return);
    EXPECT_FALSE(bar.isVisible());
    ASSERT_TRUE(PumpUntil([&] { return !frame.run.isEmpty(); }));
    EXPECT_THAT(frame.run, ElementsAre(kCmdPaste));

    frame.unavailable = {kCmdUndo};
    bar.Open();
    EXPECT_EQ(line->text(), QString());
    QTest::keyClicks(line, "undo");
    EXPECT_TRUE(line->accessibleDescription().contains("Open an audio file to use Undo"));
    QTest::keyClick(line, Qt::Key_Return);
    EXPECT_TRUE(bar.isVisible()) << "it stays, with the reason";
    QTest::keyClicks(line, "nothing like it");
    QTest::keyClick(line, Qt::Key_Return);
    QTest::keyClick(line, Qt::Key_Escape);
    EXPECT_FALSE(bar.isVisible());
    bar.Open();
    QTest::keyClick(line, Qt::Key_Q, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_FALSE(bar.isVisible()) << "the key that opened it closes it";
    QTest::qWait(1);
    EXPECT_EQ(frame.run.size(), 1);
}

// --- Options

class Options : public testing::Test {
  protected:
    void SetUp() override {
        for (const LOptionRow& row : OptionTable())
            DeleteSetting(QLatin1String(row.section), QLatin1String(row.name));
    }
    void TearDown() override {
        SetUp();
        ApplyTheme(LThemeChoice::kSystem);
    }
    static const LOptionRow& Row(const char* name) {
        for (const LOptionRow& row : OptionTable())
            if (QByteArray(row.name) == name) return row;
        ADD_FAILURE() << name;
        return OptionTable().front();
    }
};

// The program's sources, one text a file.
QStringList Sources() {
    QStringList texts;
    QDirIterator files(QFileInfo(QStringLiteral(__FILE__)).dir().filePath("../../src"), {"*.cpp", "*.h"},
                       QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        if (QFileInfo(files.next()).fileName().startsWith("options_")) continue;
        QFile file(files.filePath());
        if (file.open(QIODevice::ReadOnly)) texts.append(QString::fromUtf8(file.readAll()));
    }
    return texts;
}

// What a default at a place of use stands for, in the table's form.
QString ValueOf(QString text, const QString& source) {
    text = text.trimmed();
    if (text == "true") return "1";
    if (text == "false") return "0";
    if (text == "DataFolder()" || text == "{}") return "";
    static const QRegularExpression quoted("^(?:QStringLiteral\\()?\"(.*)\"\\)?$");
    if (const auto match = quoted.match(text); match.hasMatch()) return match.captured(1);
    const QRegularExpression constant("\\b" + QRegularExpression::escape(text) + "\\s*=\\s*([-0-9'.]+)");
    if (const auto match = constant.match(source); match.hasMatch()) text = match.captured(1);
    return text.remove('\'');
}

// The defaults with which the code reads a setting.
QStringList DefaultsInCode(const QString& name, const QStringList& sources) {
    QStringList found;
    const QString quoted = "\"" + QRegularExpression::escape(name) + "\"";
    const QString literal = "(?:QStringLiteral\\()?" + quoted + "\\)?";
    const QString rest = "\\s*,\\s*((?:[^();]|\\([^()]*\\))*)\\)";
    for (const QString& source : sources) {
        QStringList names{literal};
        const QRegularExpression variable("(\\w+)\\s*=\\s*QStringLiteral\\(" + quoted + "\\)");
        for (auto at = variable.globalMatch(source); at.hasNext();)
            names.append("\\b" + at.next().captured(1) + "\\b");
        for (const QString& one : names) {
            const QRegularExpression use("\\b(\\w*Setting\\w*)\\((?:[^;]*?,)?\\s*" + one + rest);
            for (auto at = use.globalMatch(source); at.hasNext();) {
                const auto match = at.next();
                if (!match.captured(1).startsWith("Set")) found.append(ValueOf(match.captured(2), source));
            }
        }
    }
    return found;
}

TEST_F(Options, EveryRowIsReadSomewhereWithTheSameDefault) {
    const QStringList sources = Sources();
    ASSERT_GT(sources.size(), 100);
    for (const LOptionRow& row : OptionTable()) {
        if (row.kind == LOptionKind::kDevice) {  // one function reads it for all
            EXPECT_EQ(ChosenOutputText(), QString::fromUtf8(row.fallback));
            continue;
        }
        const QStringList defaults = DefaultsInCode(QLatin1String(row.name), sources);
        EXPECT_FALSE(defaults.isEmpty()) << row.name << " is read nowhere";
        for (const QString& one : defaults) EXPECT_EQ(one, QString::fromUtf8(row.fallback)) << row.name;
    }
    EXPECT_TRUE(DefaultsInCode("NoSuchSetting", sources).isEmpty());
}

TEST_F(Options, TheTableIsSound) {
    QStringList names, pages;
    for (const LOptionRow& row : OptionTable()) {
        names.append(QByteArray(row.section) + '/' + row.name);
        if (pages.isEmpty() || pages.last() != QLatin1String(row.page)) pages.append(QLatin1String(row.page));
        const QString fallback = QString::fromUtf8(row.fallback);
        if (row.kind == LOptionKind::kNumber || row.kind == LOptionKind::kChoice) {
            EXPECT_GE(fallback.toInt(), row.least) << row.name;
            EXPECT_LE(fallback.toInt(), row.most) << row.name;
        }
        const auto choices = QString::fromUtf8(row.choices).split('|').size();
        EXPECT_TRUE(row.kind != LOptionKind::kChoice || choices == row.most + 1) << row.name;
        if (row.kind != LOptionKind::kFolder) {
            EXPECT_EQ(WhyNotOption(row, fallback), QString()) << row.name;
            EXPECT_EQ(StoredOption(row), fallback) << row.name;
        }
        if (*row.onlyWith) Row(row.onlyWith + (*row.onlyWith == '!' ? 1 : 0));
    }
    QStringList unique = names, uniquePages = pages;
    unique.removeDuplicates();
    uniquePages.removeDuplicates();
    EXPECT_EQ(unique, names);
    EXPECT_EQ(uniquePages, pages) << "the rows of a page stand together";
}

TEST_F(Options, OnlyWhatWasChangedIsStoredAndOnlyWhenAgreed) {
    {
        LOptionsDialog dialog(nullptr);
        dialog.findChild<QSpinBox*>("DefaultSampleRate")->setValue(96000);
        dialog.findChild<QCheckBox*>("MarkPastedClip")->setChecked(false);
        dialog.reject();
    }
    EXPECT_FALSE(SettingExists("Settings", "DefaultSampleRate"));
    LOptionsDialog dialog(nullptr);
    int applied = 0;
    QObject::connect(&dialog, &LOptionsDialog::Applied, &dialog, [&applied] { ++applied; });
    dialog.findChild<QSpinBox*>("DefaultSampleRate")->setValue(96000);
    dialog.findChild<QCheckBox*>("MarkPastedClip")->setChecked(false);
    dialog.findChild<QComboBox*>("Theme")->setCurrentIndex(2);
    ASSERT_TRUE(dialog.Apply());
    EXPECT_EQ(GetSettingInt("Settings", "DefaultSampleRate", 0), 96000);
    EXPECT_FALSE(GetSettingBool("Settings", "MarkPastedClip", true));
    EXPECT_TRUE(IsDarkTheme()) << "at once";
    EXPECT_FALSE(SettingExists("Settings", "DefaultChannels"));
    EXPECT_EQ(applied, 1);
    EXPECT_TRUE(dialog.Apply());
    EXPECT_EQ(applied, 1) << "nothing more to store";
}

TEST_F(Options, WhatCannotBeStoredIsToldAndNothingIsStored) {
    const QTemporaryDir good;
    LOptionsDialog dialog(nullptr);
    dialog.show();
    auto* folder = dialog.findChild<QLineEdit*>("WorkingFolder");
    auto* own = dialog.findChild<QCheckBox*>("UseDefaultWorkingDir");
    auto* name = dialog.findChild<QLineEdit*>("FileNameFormat");
    EXPECT_FALSE(folder->isEnabled());
    EXPECT_EQ(folder->text(), DataFolder());
    own->setChecked(false);
    EXPECT_TRUE(folder->isEnabled());
    name->setText("New %autonumber%");
    QFile(good.filePath("file")).open(QIODevice::WriteOnly);
    for (const QString& bad :
         {QString(), QString("relative/folder"), good.filePath("file"), good.filePath("file/below"),
          QString("/proc/nowhere"), '/' + QString(300, 'a')}) {
        folder->setText(bad);
        EXPECT_FALSE(dialog.Apply()) << bad.toStdString();
        bool told = false;
        for (auto* label : dialog.findChildren<QLabel*>())
            told = told || (label->isVisible() && !label->text().isEmpty() &&
                            label->text() == WhyNotOption(Row("WorkingFolder"), bad));
        EXPECT_TRUE(told) << bad.toStdString();
    }
    EXPECT_FALSE(SettingExists("Settings", "UseDefaultWorkingDir"));
    EXPECT_FALSE(SettingExists("Settings", "FileNameFormat"));
    folder->setText(good.filePath("new/one/"));
    name->setText("a/b");
    EXPECT_FALSE(dialog.Apply());
    name->setText("Take %autonumber%");
    EXPECT_TRUE(dialog.Apply());
    EXPECT_EQ(GetSettingString("Settings", "WorkingFolder", {}), good.filePath("new/one"));
    EXPECT_FALSE(GetSettingBool("Settings", "UseDefaultWorkingDir", true));
    EXPECT_EQ(GetSettingString("Settings", "FileNameFormat", {}), "Take %autonumber%");
}

TEST_F(Options, FoundByTheirWordsAndResetByPage) {
    LOptionsDialog dialog(nullptr);
    dialog.show();
    auto* filter = dialog.findChild<QLineEdit*>(QString(), Qt::FindDirectChildrenOnly);
    auto* pages = dialog.findChild<QListWidget*>();
    filter->setText("decibel");
    EXPECT_TRUE(dialog.findChild<QCheckBox*>("ShowDBLines")->isVisible());
    EXPECT_EQ(pages->currentItem()->text(), "View");
    EXPECT_TRUE(pages->item(0)->isHidden());
    filter->clear();
    EXPECT_FALSE(pages->item(0)->isHidden());
    // Playing does not exist yet, and neither does its option.
    EXPECT_EQ(dialog.findChild<QCheckBox*>("AutoPlaybackAfterEffects") != nullptr,
              IsRegistered(LSubsystem::kPlayback));
    dialog.findChild<QCheckBox*>("ShowDBLines")->setChecked(true);
    dialog.findChild<QSpinBox*>("SaveRegionDigits")->setValue(7);
    for (auto* button : dialog.findChildren<QPushButton*>())
        if (button->text() == "De&faults") button->click();
    EXPECT_FALSE(dialog.findChild<QCheckBox*>("ShowDBLines")->isChecked());
    EXPECT_EQ(dialog.findChild<QSpinBox*>("SaveRegionDigits")->value(), 7) << "of another page";
    SetSettingString("Settings", "SaveRegionDigits", "4000");
    EXPECT_EQ(StoredOption(Row("SaveRegionDigits")), "9");
}

}  // namespace
}  // namespace ondarix
