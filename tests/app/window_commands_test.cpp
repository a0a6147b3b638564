// SPDX-License-Identifier: GPL-3.0-or-later
// Commands on the way through the real frame: by menu, key and automation.
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QPushButton>
#include <QSpinBox>
#include <QStatusBar>
#include <QTabBar>
#include <QToolBar>

#include "app/command_line_processor.h"
#include "app/frame_handlers.h"
#include "app/progress_dialog.h"
#include "app/tool_tabs.h"
#include "gen/phase.h"
#include "gen/settings.h"
#include "sound/marks.h"
#include "window_dialogs.h"
#include "window_fixture.h"

namespace ondarix {
namespace {

class CommandWindowTest : public WindowTest {
  protected:
    void SetUp() override {
        WindowTest::SetUp();
        frame->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(frame.get()));
    }
    QString Hint() const { return frame->statusBar()->currentMessage(); }
    void Type(const char* keys) {
        if (!frame->isActiveWindow()) {  // a dialog was
            frame->activateWindow();
            ASSERT_TRUE(QTest::qWaitForWindowActive(frame.get()));
        }
        QWidget* focus = frame->focusWidget() ? frame->focusWidget() : frame.get();
        QTest::keySequence(focus, QKeySequence(QString::fromUtf8(keys)));
    }
    int Ask(const QStringList& arguments, QString& reply) {
        return LCommandLineProcessor(*frame).Process(QStringList{"ondarix"} + arguments, reply);
    }
    LSoundWindow* OpenTone(const char* name = "tone.wav") {
        LSoundWindow* window = Open(MakeWav(name));
        window->View().setFocus();
        return window;
    }
};

void Collect(const QMenu& menu, QSet<int>& ids) {
    EXPECT_FALSE(menu.isEmpty()) << menu.title().toStdString();
    for (const QAction* action : menu.actions()) {
        if (action->menu()) Collect(*action->menu(), ids);
        if (action->property("command").isValid()) ids.insert(action->property("command").toInt());
    }
}

TEST_F(CommandWindowTest, EveryVisibleCommandStandsInAMenuAndNoHiddenOneAnywhere) {
    QSet<int> inMenus, inTabs;
    for (const QAction* top : frame->menuBar()->actions()) Collect(*top->menu(), inMenus);
    for (const QToolBar* page : frame->findChild<LToolTabs*>()->findChildren<QToolBar*>())
        for (const QAction* action : page->actions())
            if (!action->isSeparator()) inTabs.insert(action->property("command").toInt());
    for (const LCommandRow& row : CommandTable()) {
        const QAction* action = frame->ActionOf(row.id);
        ASSERT_EQ(action != nullptr, IsVisible(row)) << row.text;
        EXPECT_EQ(inMenus.contains(row.id), IsVisible(row) && row.menu != LMenuId::kContext) << row.text;
        EXPECT_EQ(inTabs.contains(row.id), IsVisible(row) && row.flags & kInToolbar) << row.text;
        if (!action) {
            EXPECT_FALSE(frame->RunCommand(row.id)) << row.text;
            continue;
        }
        EXPECT_FALSE(action->text().isEmpty() || action->iconText().isEmpty() || action->toolTip().isEmpty());
        EXPECT_FALSE(row.flags & kInToolbar && action->icon().pixmap(22).isNull()) << row.icon;
    }
}

TEST_F(CommandWindowTest, WithoutASoundNothingHappensButAHint) {
    for (const LCommandRow& row : CommandTable()) {
        if (!IsVisible(row) || CommandHint(row).isEmpty()) continue;
        frame->statusBar()->clearMessage();
        EXPECT_FALSE(frame->RunCommand(row.id)) << row.text;
        EXPECT_EQ(Hint(), CommandHint(row)) << row.id;
        EXPECT_EQ(frame->ActionOf(row.id)->toolTip(), CommandHint(row)) << row.id;
    }
    EXPECT_TRUE(frame->Sounds().isEmpty());
    EXPECT_TRUE(messages->asked.isEmpty() && messages->told.isEmpty());
    frame->statusBar()->clearMessage();
    Type("Ctrl+X");
    EXPECT_EQ(Hint(), QStringLiteral("Open an audio file to use Cut")) << "by its key as well";
    EXPECT_FALSE(frame->RunCommand(kCmdPaste));
    EXPECT_FALSE(frame->RunCommand(4711));
}

// All others, each dialog cancelled.
TEST_F(CommandWindowTest, CommandsThatNeedNoSoundRunWithoutOne) {
    const LDialogCloser closer;
    for (const LCommandRow& row : CommandTable()) {
        if (!IsVisible(row) || row.need != LNeed::kNothing || row.id == kCmdExit) continue;
        EXPECT_TRUE(frame->RunCommand(row.id)) << row.text;
        EXPECT_TRUE(frame->isEnabled() && frame->isVisible()) << row.text;
    }
    EXPECT_TRUE(frame->Sounds().isEmpty());
    EXPECT_GE(closer.Closed(), 4) << "new, open, options, keys and about ask";
}

TEST_F(CommandWindowTest, AFileWithoutAFrameHasNoContent) {
    Sox({"-n", "-r", "44100", "-b", "16", In("empty.wav"), "trim", "0", "0"});
    ASSERT_TRUE(Open(In("empty.wav")));
    for (const LCommandRow& row : CommandTable()) {
        if (row.need != LNeed::kContent) continue;
        EXPECT_FALSE(frame->IsAvailable(row.id)) << row.text;
    }
}

TEST_F(CommandWindowTest, UndoAndRedoNameTheirStepAndSayWhenThereIsNone) {
    LSoundWindow* window = OpenTone();
    const auto text = [&](int id) { return frame->ActionOf(id)->text().remove(QLatin1Char('&')); };
    EXPECT_EQ(text(kCmdUndo), QStringLiteral("Undo"));
    EXPECT_FALSE(frame->RunCommand(kCmdUndo));
    EXPECT_EQ(Hint(), QStringLiteral("No changes detected to Undo"));
    EXPECT_FALSE(frame->RunCommand(kCmdRedo));
    EXPECT_EQ(Hint(), QStringLiteral("No changes detected to Redo"));
    Type("Ctrl+Z");
    EXPECT_EQ(Hint(), QStringLiteral("No changes detected to Undo"));

    window->View().Select(1000, 2000);
    Type("Del");
    EXPECT_EQ(text(kCmdUndo), QStringLiteral("Undo Delete"));
    window->View().Select(1000, 2000);
    Type("Ctrl+0");
    EXPECT_EQ(text(kCmdUndo), QStringLiteral("Undo Edit Silence"));
    Type("Ctrl+Z");
    EXPECT_EQ(text(kCmdUndo), QStringLiteral("Undo Delete"));
    EXPECT_TRUE(text(kCmdRedo).startsWith(QStringLiteral("Redo "))) << text(kCmdRedo).toStdString();
    Type("Ctrl+Z");
    EXPECT_EQ(window->Document().sound.Length(), 3 * 44100);
    EXPECT_FALSE(window->Document().isModified);
    EXPECT_EQ(text(kCmdUndo), QStringLiteral("Undo"));
    Type("Ctrl+Y");
    Type("Ctrl+Alt+Z");
    EXPECT_EQ(window->Document().sound.Length(), 3 * 44100 - 1000);
    EXPECT_FALSE(frame->ActionOf(kCmdRedo)->isEnabled());
}

TEST_F(CommandWindowTest, EditsByKeyboardEqualTheirCommandLines) {
    const QString source = MakeWav("tone.wav");
    const QByteArray all = Samples(source);
    const auto part = [&](int from, int to) { return all.mid(from * 8, (to - from) * 8); };
    LSoundWindow* window = OpenTone();
    LSoundDocument& document = window->Document();
    // The second second to the start, the last half silent, the rest of the third away.
    window->View().Select(44100, 88200);
    Type("Ctrl+X");
    Type("Home");
    Type("Ctrl+V");
    ASSERT_EQ(document.sound.Length(), 3 * 44100);
    EXPECT_EQ(document.EditRange().Length(), 44100);
    Type("Ctrl+End");
    EXPECT_EQ(document.cursor, 44100);
    Type("Ctrl+PgDown");
    EXPECT_EQ(document.cursor, 88200) << "where the cut was joined";
    Type("[");
    EXPECT_EQ(document.EditRange().start, 88200);
    EXPECT_EQ(document.EditRange().end, 3 * 44100);
    Type("Ctrl+0");
    Type("Ctrl+PgUp");
    window->View().Select(100000, 100000);
    Type("Alt+1");
    window->View().Select(110000, 110000);
    Type("Alt+2");
    Type("Home");
    Type("Alt+3");
    EXPECT_EQ(document.EditRange().start, 100000);
    EXPECT_EQ(document.EditRange().end, 110000);
    Type("Del");
    Type("Ctrl+S");
    EXPECT_FALSE(document.isModified);
    EXPECT_EQ(Samples(source), part(44100, 88200) + part(0, 44100) + QByteArray((44100 - 10000) * 8, '\0'));

    // Trim, duplicate and select to the ends.
    window->View().Select(20000, 20000);
    Type("Ctrl+Shift+Home");
    EXPECT_EQ(document.EditRange().Length(), 20000);
    Type("Ctrl+T");
    Type("Ctrl+D");
    Type("Ctrl+S");
    EXPECT_EQ(Samples(source), part(44100, 64100) + part(44100, 64100));
    EXPECT_TRUE(messages->told.isEmpty());
}

TEST_F(CommandWindowTest, ThePhaseIsTheCommandWhileItRuns) {
    LSoundWindow* window = OpenTone();
    window->View().Select(0, 1000);
    const int32_t before = ProgramPhase();
    SetProgramPhase(kPhaseRunning);
    int32_t during = 0;
    QObject::connect(&frame->Notifier(), &LDocumentNotifier::DocumentChanged, frame.get(),
                     [&] { during = ProgramPhase(); });
    EXPECT_TRUE(frame->RunCommand(kCmdDelete));
    EXPECT_EQ(during, kCmdDelete);
    EXPECT_EQ(ProgramPhase(), kPhaseRunning);
    EXPECT_EQ(LastCommand(), kCmdDelete);
    {
        const LCommandPhase outer(kCmdOpen);
        EXPECT_TRUE(frame->RunCommand(kCmdSelectAll));
        EXPECT_EQ(ProgramPhase(), kCmdOpen);
        EXPECT_EQ(LastCommand(), kCmdDelete) << "only what was started while nothing else ran";
    }
    SetProgramPhase(before);
}

TEST_F(CommandWindowTest, DuringAJobNoSecondCommandStarts) {
    LSoundWindow* window = OpenTone();
    window->View().Select(0, 1000);
    bool tried = false, ran = true;
    QTimer::singleShot(0, frame.get(), [&] {
        ran = frame->RunCommand(kCmdDelete);
        QTest::keyClick(&window->View(), Qt::Key_Delete);
        tried = true;
    });
    RunJob(frame.get(), QStringLiteral("Paste"), [&](LProgress& progress) {
        while (!tried)
            if (progress.IsCancelled()) break;
        return JobResult::kSuccess;
    });
    EXPECT_FALSE(ran);
    EXPECT_EQ(window->Document().sound.Length(), 3 * 44100);
    EXPECT_TRUE(frame->RunCommand(kCmdDelete));
}

TEST_F(CommandWindowTest, AHelperMayTakeACommand) {
    OpenTone();
    int offered = 0;
    frame->AddCommandHelper([&](int id) {
        offered = id;
        return id == kCmdSelectAll;
    });
    EXPECT_FALSE(frame->RunCommand(kCmdSelectAll));
    EXPECT_EQ(offered, kCmdSelectAll);
    EXPECT_FALSE(frame->ActiveSound()->Document().HasSelection());
    EXPECT_TRUE(frame->RunCommand(kCmdCopy));
}

TEST_F(CommandWindowTest, CopyWithoutASelectionTakesTheWholeSound) {
    LSoundWindow* window = OpenTone();
    Type("Ctrl+C");
    EXPECT_EQ(window->Document().EditRange().Length(), 3 * 44100);
    Type("Ctrl+Shift+V");
    ASSERT_EQ(frame->Sounds().size(), 2);
    EXPECT_EQ(frame->ActiveSound()->Document().sound.Length(), 3 * 44100);
    EXPECT_EQ(frame->ActiveSound()->Document().title, QStringLiteral("Untitled_1"));
    frame->ActiveSound()->View().Select(0, 100);
    Type("Del");
    EXPECT_TRUE(frame->IsAvailable(kCmdUndo)) << "the first change of a new sound too";
}

TEST_F(CommandWindowTest, AutomationRunsAndListsCommands) {
    QString reply;
    EXPECT_EQ(Ask({"-command", "cut"}, reply), LCommandLineProcessor::kNotNow);
    EXPECT_TRUE(reply.contains(QStringLiteral("Cut"))) << reply.toStdString();
    LSoundWindow* window = OpenTone();
    EXPECT_EQ(Ask({"-command", "2006"}, reply), LCommandLineProcessor::kSuccess);
    EXPECT_EQ(reply, QStringLiteral("Select All"));
    EXPECT_EQ(window->Document().EditRange().Length(), 3 * 44100);
    window->View().Select(44100, 3 * 44100);
    const QByteArray second = Samples(window->Document().path, {"trim", "0", "1"});
    EXPECT_EQ(Ask({"-command", "edit > DELETE", "-save"}, reply), LCommandLineProcessor::kSuccess);
    EXPECT_EQ(Samples(window->Document().path), second);
    EXPECT_EQ(Ask({"-command", "Cut", "-saveas", In("no.wav")}, reply), LCommandLineProcessor::kNotNow);
    EXPECT_FALSE(QFile::exists(In("no.wav"))) << "meant for the result of a command that did not run";
    EXPECT_EQ(Ask({"-command"}, reply), LCommandLineProcessor::kNoData);
    for (const char* unknown : {"4711", "No Such Thing", "65535", "4005", "Reverb", "Effects > Reverb"})
        EXPECT_EQ(Ask({"-command", unknown}, reply), LCommandLineProcessor::kNoCommand) << unknown;

    EXPECT_EQ(Ask({"-commands"}, reply), LCommandLineProcessor::kSuccess);
    EXPECT_LT(reply.toUtf8().size(), 16416) << "fits into one answer";
    QSet<int> listed;
    for (const QJsonValue one : QJsonDocument::fromJson(reply.toUtf8()).array())
        listed.insert(one.toObject()[QStringLiteral("id")].toInt());
    for (const LCommandRow& row : CommandTable())
        EXPECT_EQ(listed.contains(row.id), IsVisible(row) && row.menu != LMenuId::kContext) << row.text;
    EXPECT_EQ(Ask({"-commands", "edit"}, reply), LCommandLineProcessor::kSuccess);
    const QJsonArray edit = QJsonDocument::fromJson(reply.toUtf8()).array();
    ASSERT_FALSE(edit.isEmpty());
    EXPECT_EQ(edit[0].toObject()[QStringLiteral("path")].toString(), QStringLiteral("Edit > Undo"));
    EXPECT_TRUE(edit[0].toObject()[QStringLiteral("available")].toBool());
    EXPECT_TRUE(edit[0].toObject()[QStringLiteral("keys")].toString().startsWith(QStringLiteral("Ctrl+Z")));
}

TEST_F(CommandWindowTest, AnOpenFileIsDuplicatedOrLoadedAsTheUserSays) {
    enum { kDuplicate, kLoad, kCancel };
    const QString path = MakeWav("tone.wav");
    Open(path);
    EXPECT_FALSE(frame->OpenSound(path));
    ASSERT_EQ(messages->asked.size(), 1);
    EXPECT_EQ(messages->asked[0], QStringLiteral("This file is already open. Would you like to create a "
                                                 "duplicate file?"));
    messages->answers = {kDuplicate};
    EXPECT_TRUE(frame->OpenSound(path));
    EXPECT_EQ(frame->ActiveSound()->Document().title, QStringLiteral("tone_1.wav"));
    EXPECT_TRUE(frame->ActiveSound()->Document().path.isEmpty()) << "saving it must not replace the file";
    messages->answers = {kLoad};
    EXPECT_TRUE(frame->OpenSound(path));
    EXPECT_EQ(frame->ActiveSound()->Document().path, path);
    EXPECT_EQ(frame->Sounds().size(), 3);
}

TEST_F(CommandWindowTest, RegionsThatWouldBeLostAreWarnedOf) {
    LSoundWindow* window = OpenTone();
    window->View().Select(1000, 2000);
    Type("Ctrl+R");
    ASSERT_EQ(window->Document().regions.size(), 1u);
    Type("Ctrl+S");
    messages->answers = {1};
    EXPECT_FALSE(frame->CanClose());
    ASSERT_EQ(messages->asked.size(), 1) << "of the regions; the sound is saved";
    const QString section = QStringLiteral("Settings"), name = QStringLiteral("RegionsWarnUserWhenClosing");
    SetSettingBool(section, name, false);
    EXPECT_TRUE(frame->CanClose());
    DeleteSetting(section, name);
    messages->answers = {0};
    EXPECT_TRUE(frame->RunCommand(kCmdClose));
    QTest::qWait(1);
    EXPECT_TRUE(frame->Sounds().isEmpty());
}

TEST_F(CommandWindowTest, SoundsStandAsTabsOrAsWindows) {
    LSoundWindow* first = OpenTone("a.wav");
    LSoundWindow* second = OpenTone("b.wav");
    ASSERT_TRUE(frame->RunCommand(kCmdTabs));
    QTest::qWait(1);
    auto* tabs = frame->Area().findChild<QTabBar*>();
    ASSERT_NE(tabs, nullptr);
    EXPECT_EQ(tabs->count(), 2);
    EXPECT_TRUE(frame->ActionOf(kCmdTabs)->isChecked());
    EXPECT_EQ(second->width(), first->width());
    EXPECT_GT(second->width(), frame->Area().width() - 20) << "fills the area";
    second->View().setFocus();
    QTest::keyClick(&second->View(), Qt::Key_Tab, Qt::ControlModifier);
    QTest::keyRelease(&second->View(), Qt::Key_Control);
    EXPECT_EQ(frame->ActiveSound(), first);
    Type("Ctrl+F6");
    EXPECT_EQ(frame->ActiveSound(), second);
    ASSERT_TRUE(frame->RunCommand(kCmdTile));
    EXPECT_FALSE(frame->Area().ShowsTabs());
    EXPECT_FALSE(frame->ActionOf(kCmdTabs)->isChecked());
    EXPECT_FALSE(first->parentWidget()->geometry().intersects(second->parentWidget()->geometry()));
    frame.reset(new LMainFrame);
    EXPECT_FALSE(frame->Area().ShowsTabs()) << "as it was left";
}

// "R&B" stands in its tab as it is, and does not take Alt+B from the menu of the bookmarks.
TEST_F(CommandWindowTest, TitlesOfTabsAreNoKeysAndTheWaveKeepsTheFocus) {
    OpenTone("a.wav");
    ASSERT_TRUE(frame->RunCommand(kCmdTabs));
    LSoundWindow* window = OpenTone("R&B.wav");
    auto* tabs = frame->Area().findChild<QTabBar*>();
    ASSERT_NE(tabs, nullptr);
    EXPECT_EQ(tabs->tabText(1), QStringLiteral("R&&B.wav"));
    window->View().Select(0, 1000);
    ASSERT_TRUE(frame->RunCommand(kCmdDelete));
    EXPECT_EQ(tabs->tabText(1), QStringLiteral("R&&B.wav*"));
    ASSERT_TRUE(frame->RunCommand(kCmdUndo));
    EXPECT_EQ(tabs->tabText(1), QStringLiteral("R&&B.wav"));
    for (const int id : {kCmdTile, kCmdCascade, kCmdTabs, kCmdTabs}) {
        ASSERT_TRUE(frame->RunCommand(id));
        QTest::qWait(1);
        EXPECT_EQ(frame->ActiveSound(), window) << id;
        EXPECT_EQ(frame->focusWidget(), &window->View()) << id;
    }
}

TEST_F(CommandWindowTest, WhatCannotRunSaysWhy) {
    OpenTone();
    EXPECT_FALSE(frame->RunCommand(kCmdPaste));
    EXPECT_EQ(Hint(), QStringLiteral("Copy a sound to use Paste"));
    Type("F2");
    EXPECT_EQ(Hint(), QStringLiteral("The sound has no bookmarks"));
    Type("Ctrl+F6");
    EXPECT_EQ(Hint(), QStringLiteral("Open a second sound to use Next Sound"));
    ASSERT_TRUE(frame->RunCommand(kCmdMono));
    EXPECT_FALSE(frame->RunCommand(kCmdSplitChannels));
    EXPECT_EQ(Hint(), QStringLiteral("The sound has one channel only"));
}

TEST_F(CommandWindowTest, TheStartScreenOpensRecentFiles) {
    auto* start = frame->findChild<QWidget*>(QStringLiteral("startScreen"));
    ASSERT_NE(start, nullptr);
    EXPECT_TRUE(start->isVisible());
    LSoundWindow* window = OpenTone();
    const QString path = window->Document().path;
    EXPECT_FALSE(start->isVisible());
    frame->RunCommand(kCmdClose);
    ASSERT_TRUE(QTest::qWaitFor([&] { return start->isVisible(); }));
    auto* recent = start->findChild<QPushButton*>(QStringLiteral("startRecent0"));
    ASSERT_NE(recent, nullptr);
    EXPECT_EQ(recent->accessibleName(), QStringLiteral("Open tone.wav"));
    QTest::keyClick(recent, Qt::Key_Return);
    QTest::qWait(1);
    ASSERT_TRUE(frame->ActiveSound());
    EXPECT_EQ(frame->ActiveSound()->Document().path, path);
    for (const QPushButton* button : start->findChildren<QPushButton*>())
        EXPECT_FALSE(button->accessibleName().isEmpty()) << button->text().toStdString();
}

TEST_F(CommandWindowTest, ToolsAndPanelCanBeHiddenAndStaySo) {
    EXPECT_TRUE(frame->ShowsTools() && frame->ShowsSidePanel());
    Type("Ctrl+F1");
    Type("F9");
    EXPECT_FALSE(frame->ShowsTools() || frame->ShowsSidePanel());
    EXPECT_TRUE(frame->ActionOf(kCmdHideTools)->isChecked());
    frame.reset(new LMainFrame);
    EXPECT_FALSE(frame->ShowsTools() || frame->ShowsSidePanel());
    frame->RunCommand(kCmdHideTools);
    frame->RunCommand(kCmdSidePanel);
    EXPECT_TRUE(frame->ShowsTools() && frame->ShowsSidePanel());
}

TEST_F(CommandWindowTest, TheContextMenuActsWhereItWasAskedFor) {
    LSoundWindow* window = OpenTone();
    window->View().Select(0, 1000);
    Q_EMIT window->ContextMenuRequested(QPoint(300, 300), LViewPlace{.frame = 44100});
    auto* menu = frame->findChild<QMenu*>(QStringLiteral("contextMenu"));
    ASSERT_NE(menu, nullptr);
    EXPECT_TRUE(menu->isVisible());
    EXPECT_FALSE(frame->ActionOf(kCmdRenameHere)->isEnabled()) << "there is no mark";
    frame->ActionOf(kCmdBookmarkHere)->trigger();
    menu->close();
    LSoundDocument& document = window->Document();
    ASSERT_EQ(document.bookmarks.size(), 1u);
    EXPECT_EQ(document.bookmarks[0].position, 44100);
    EXPECT_EQ(document.EditRange().Length(), 1000);

    Q_EMIT window->ContextMenuRequested(
        QPoint(300, 300), LViewPlace{.frame = 44100, .bookmarkIndex = document.bookmarks[0].index});
    EXPECT_TRUE(frame->ActionOf(kCmdDeleteHere)->isEnabled());
    frame->ActionOf(kCmdDeleteHere)->trigger();
    menu->close();
    EXPECT_TRUE(document.bookmarks.empty());
    EXPECT_FALSE(frame->RunCommand(kCmdDeleteHere)) << "the place has been used";
}

TEST_F(CommandWindowTest, BookmarksAreSavedBesideTheSoundAndFoundByKeys) {
    LSoundWindow* window = OpenTone();
    const QString path = window->Document().path;
    for (const int64_t position : {1000, 50000, 90000}) {
        window->View().Select(position, position);
        Type("Ctrl+B");
    }
    Type("Home");
    std::vector<int64_t> visited;
    for (const char* key : {"Alt+Right", "Alt+Right", "Alt+Right", "Alt+Right", "Alt+Left"}) {
        Type(key);
        visited.push_back(window->Document().cursor);
    }
    EXPECT_EQ(visited, (std::vector<int64_t>{1000, 50000, 90000, 90000, 50000}));
    Type("Ctrl+Del");
    Type("Ctrl+S");
    frame->RunCommand(kCmdClose);
    QTest::qWait(1);
    EXPECT_TRUE(frame->Sounds().isEmpty());
    window = Open(path);
    ASSERT_EQ(window->Document().bookmarks.size(), 2u);
    EXPECT_EQ(window->Document().bookmarks[1].position, 90000);
    EXPECT_FALSE(window->Document().isModified);
}

TEST_F(CommandWindowTest, OneChannelIsEditedAlone) {
    const QString source = MakeWav("tone.wav");
    const QByteArray left = Samples(source, {"remix", "1"});
    LSoundWindow* window = OpenTone();
    ASSERT_TRUE(frame->RunCommand(kCmdEditFirstChannel + 1));
    EXPECT_TRUE(frame->ActionOf(kCmdEditFirstChannel + 1)->isChecked());
    EXPECT_FALSE(frame->IsAvailable(kCmdEditFirstChannel + 2));
    Type("Ctrl+A");
    Type("Ctrl+0");
    ASSERT_TRUE(frame->RunCommand(kCmdEditWhole));
    EXPECT_TRUE(frame->ActionOf(kCmdEditWhole)->isChecked());
    Type("Ctrl+S");
    EXPECT_EQ(Samples(source, {"remix", "1"}), left);
    EXPECT_EQ(Samples(source, {"remix", "2"}), QByteArray(left.size(), '\0'));
    EXPECT_FALSE(window->Document().isModified);
}

// --- Commands that ask first

void Fill(QDialog& dialog, const char* name, const QString& text) {
    auto* line = dialog.findChild<QLineEdit*>(QLatin1String(name));
    ASSERT_NE(line, nullptr) << name;
    line->setText(text);
}

TEST_F(CommandWindowTest, TimesAndCountsThatAreTypedCount) {
    const QString source = MakeWav("tone.wav");
    const QByteArray all = Samples(source);
    LSoundWindow* window = OpenTone();
    const LDialogCloser answers([](QDialog& dialog) {
        if (dialog.objectName() == QStringLiteral("silenceLengthDialog"))
            Fill(dialog, "length", "1000 frames");
        if (dialog.objectName() == QStringLiteral("positionDialog")) Fill(dialog, "position", "0:01.0");
        if (auto* times = dialog.findChild<QSpinBox*>(QStringLiteral("times"))) times->setValue(3);
    });
    Type("Ctrl+G");
    EXPECT_EQ(window->Document().cursor, 44100);
    Type("Ctrl+I");
    EXPECT_EQ(window->Document().sound.Length(), 3 * 44100 + 1000);
    frame->RunCommand(kCmdSilenceAtStart);
    frame->RunCommand(kCmdSilenceAtEnd);
    window->View().Select(1000, 1500);
    Type("Ctrl+L");
    Type("Ctrl+S");
    const QByteArray pause(1000 * 8, '\0');
    EXPECT_EQ(Samples(source), pause + all.left(500 * 8).repeated(4) + all.mid(500 * 8, (44100 - 500) * 8) +
                                   pause + all.mid(44100 * 8) + pause);
}

TEST_F(CommandWindowTest, AnEmptyNewFileTakesTheFormatOfWhatIsPasted) {
    Sox({"-D", "-n", "-r", "22050", "-b", "16", "-c", "1", In("mono.wav"), "synth", "1", "sine", "300"});
    Open(In("mono.wav"));
    Type("Ctrl+C");
    const LDialogCloser answers([](QDialog&) {});
    Type("Ctrl+N");
    LSoundDocument& made = frame->ActiveSound()->Document();
    ASSERT_EQ(made.sound.Length(), 0);
    EXPECT_EQ(made.sound.Format(), (LSoundFormat{44100, 2}));
    EXPECT_FALSE(frame->IsAvailable(kCmdCopy));
    Type("Ctrl+V");
    EXPECT_EQ(made.sound.Format(), (LSoundFormat{22050, 1}));
    EXPECT_EQ(made.sound.Length(), 22050);
    Type("Ctrl+Z");
    EXPECT_EQ(made.sound.Length(), 0);
}

TEST_F(CommandWindowTest, SoundsAreSplitIntoFilesAndDocumentsAndJoined) {
    const QString source = MakeWav("tone.wav");
    const QByteArray all = Samples(source);
    LSoundWindow* window = OpenTone();
    for (const int64_t position : {30000, 80000}) {
        window->View().Select(position, position);
        Type("Ctrl+B");
    }
    const QString parts = folder.filePath(QStringLiteral("parts"));
    const LDialogCloser answers([&](QDialog& dialog) {
        if (dialog.objectName() == QStringLiteral("pieceTargetDialog")) Fill(dialog, "folder", parts);
    });
    ASSERT_TRUE(QDir().mkpath(parts));
    ASSERT_TRUE(frame->RunCommand(kCmdSplitAtBookmarks));
    QByteArray together;
    const QStringList files = QDir(parts).entryList({"*.wav"}, QDir::Files, QDir::Name);
    ASSERT_EQ(files.size(), 3) << messages->told.join(QLatin1Char('|')).toStdString();
    QList<QByteArray> pieces;
    for (const QString& file : files) pieces.append(Samples(QDir(parts).filePath(file)));
    for (const auto& [from, to] : {std::pair{0, 30000}, {30000, 80000}, {80000, 3 * 44100}})
        EXPECT_TRUE(pieces.contains(all.mid(from * 8, (to - from) * 8))) << from;

    window->View().Select(50000, 50000);
    Type("Ctrl+K");
    ASSERT_EQ(frame->Sounds().size(), 3);
    frame->RunCommand(kCmdSplitChannels);
    EXPECT_EQ(frame->Sounds().size(), 5);
    EXPECT_EQ(frame->ActiveSound()->Document().sound.channels, 1);
    frame->Activate(*window);
    frame->RunCommand(kCmdUndo);
    frame->RunCommand(kCmdUndo);
    EXPECT_FALSE(window->Document().isModified) << "splitting makes no step";
    frame->RunCommand(kCmdJoin);
    EXPECT_GT(window->Document().sound.Length(), 3 * 44100);
    EXPECT_EQ(window->Document().UndoLabel(), QStringLiteral("Join"));
}

}  // namespace
}  // namespace ondarix
