// SPDX-License-Identifier: GPL-3.0-or-later
#include <QElapsedTimer>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QProcess>
#include <QSpinBox>

#include "app/bookmark_window.h"
#include "app/history_window.h"
#include "app/region_window.h"
#include "formats/registry.h"
#include "formats/sound_pieces.h"
#include "gen/settings.h"
#include "list_fixture.h"
#include "patience.h"
#include "sound/edits.h"
#include "sound/mark_comments.h"
#include "window_fixture.h"

namespace ondarix {
namespace {

constexpr int64_t kSecond = 44100;

QByteArray SoxSamples(const QString& path, const QStringList& effects = {}) {
    QProcess sox;
    sox.start(QStringLiteral("sox"),
              QStringList{QStringLiteral("-D"), path, QStringLiteral("-t"), QStringLiteral("raw"),
                          QStringLiteral("-e"), QStringLiteral("signed"), QStringLiteral("-b"),
                          QStringLiteral("32"), QStringLiteral("-")} +
                  effects);
    EXPECT_TRUE(sox.waitForFinished(30000) && sox.exitCode() == 0)
        << sox.readAllStandardError().toStdString();
    return sox.readAllStandardOutput();
}

class ListWindowTest : public ListTest {
  protected:
    void Show(LListWindow& one) {
        window = &one;
        list = one.findChild<LListView*>();
        one.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&one));
        list->setFocus();
    }
    static void LetEventsIn() { QTest::qWait(5); }
    // A column of the list from above.
    QStringList Column(int column) const {
        QStringList texts;
        for (int row = 0; row < list->Rows().rowCount(); ++row)
            texts.append(list->Rows().index(row, column).data().toString());
        return texts;
    }
    QPushButton* Button(const char* name) const {
        return window->findChild<QPushButton*>(QLatin1String(name));
    }
    void Press(const char* name) const {
        ASSERT_TRUE(Button(name)->isEnabled()) << name;
        QTest::mouseClick(Button(name), Qt::LeftButton);
        LetEventsIn();
    }
    QRect RowRect(int row) const { return list->visualRect(list->Rows().index(row, 0)); }
    void Click(int row, Qt::KeyboardModifiers modifiers = {}) const {
        QTest::mouseClick(list->viewport(), Qt::LeftButton, modifiers, RowRect(row).center());
        LetEventsIn();
    }
    void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const {
        QTest::keyClick(list, key, modifiers);
        LetEventsIn();
    }
    QLineEdit* OpenEditor() const {
        const auto all = list->findChildren<QLineEdit*>(QStringLiteral("cellEditor"));
        for (QLineEdit* editor : all)
            if (editor->isVisible()) return editor;
        return nullptr;
    }
    // What is typed into the cell that is being edited.
    void TypeIntoCell(const char* text, Qt::Key end = Qt::Key_Return) const {
        QLineEdit* editor = OpenEditor();
        // A window that is only now activated has closed it.
        for (int i = 0; i < 50 && !editor; ++i, editor = OpenEditor()) {
            QTest::qWait(20);
            Key(Qt::Key_F2);
        }
        ASSERT_NE(editor, nullptr);
        QTest::keyClick(editor, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(editor, Qt::Key_Delete);
        QTest::keyClicks(editor, QLatin1String(text));
        QTest::keyClick(editor, end);
        LetEventsIn();
    }

    LListWindow* window = nullptr;
    LListView* list = nullptr;
};

// --- History

TEST_F(ListWindowTest, TheHistoryGoesToAnyStepAndBack) {
    LSoundDocument& document = frame.AddSilence("a.wav");
    LHistoryWindow history(frame);
    Show(history);
    EXPECT_EQ(Column(1), QStringList({"Load File"}));
    for (int64_t seconds = 1; seconds <= 3; ++seconds) InsertSilence(document, frame, 0, seconds * kSecond);
    LetEventsIn();
    EXPECT_EQ(Column(1), QStringList({"Load File", "Insert Silence", "Insert Silence", "Insert Silence"}));
    EXPECT_EQ(document.sound.Length(), 126 * kSecond);

    Click(2);  // before the second insertion
    EXPECT_EQ(document.sound.Length(), 121 * kSecond);
    ASSERT_EQ(list->Rows().rowCount(), 5) << "the state that was left is kept";
    EXPECT_TRUE(list->Rows().Row(2).isPresent);
    EXPECT_EQ(list->currentIndex().row(), 2);
    list->setFocus();
    Key(Qt::Key_Down);
    EXPECT_EQ(document.sound.Length(), 121 * kSecond) << "only Enter goes there";
    Key(Qt::Key_Down);
    Key(Qt::Key_Return);
    EXPECT_EQ(document.sound.Length(), 126 * kSecond);
    EXPECT_TRUE(list->Rows().Row(4).isPresent);
    Click(0);
    EXPECT_EQ(document.sound.Length(), 120 * kSecond);
    EXPECT_FALSE(document.CanUndo());
    Click(4);
    EXPECT_EQ(document.sound.Length(), 126 * kSecond);
    Key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(document.sound.Length(), 123 * kSecond);
}

TEST_F(ListWindowTest, TheHistoryShowsTheSoundThatIsChosenAndFollowsTheActiveOne) {
    LSoundDocument& first = frame.AddSilence("a.wav");
    InsertSilence(first, frame, 0, kSecond);
    LSoundDocument& second = frame.AddSilence("b.wav");
    LHistoryWindow history(frame);
    Show(history);
    auto* sounds = history.findChild<QComboBox*>(QStringLiteral("sounds"));
    EXPECT_EQ(sounds->currentText(), QStringLiteral("b.wav"));
    EXPECT_EQ(list->Rows().rowCount(), 1);
    QTest::keyClick(sounds, Qt::Key_Up);
    LetEventsIn();
    EXPECT_EQ(list->Rows().rowCount(), 2);
    InsertSilence(second, frame, 0, kSecond);  // the other sound stays chosen
    LetEventsIn();
    EXPECT_EQ(sounds->currentText(), QStringLiteral("a.wav"));
    frame.Close(first);
    LetEventsIn();
    EXPECT_EQ(sounds->currentText(), QStringLiteral("b.wav"));
    EXPECT_EQ(list->Rows().rowCount(), 2);
    frame.Close(second);
    LetEventsIn();
    EXPECT_EQ(list->Rows().rowCount(), 0);
    EXPECT_FALSE(sounds->isEnabled());
    Key(Qt::Key_Return);
    Key(Qt::Key_Z, Qt::ControlModifier);
}

// --- Bookmarks

class BookmarkWindowTest : public ListWindowTest {
  protected:
    void SetUp() override {
        ListWindowTest::SetUp();
        document = &frame.AddSilence("tone.wav");
        for (const int64_t second : {30, 10, 20}) AddBookmark(*document, frame, second * kSecond);
        RenameBookmark(*document, frame, document->bookmarks[1].index, QStringLiteral("Verse"));
        bookmarks = std::make_unique<LBookmarkWindow>(frame);
        Show(*bookmarks);
    }
    LSoundDocument* document = nullptr;
    std::unique_ptr<LBookmarkWindow> bookmarks;
};

TEST_F(BookmarkWindowTest, GoesToABookmarkAndSelectsUpToIt) {
    EXPECT_EQ(Column(0), QStringList({"Verse", "Bookmark 3", "Bookmark 1"})) << "by position";
    EXPECT_EQ(Column(1).first(), QStringLiteral("0:00:10.000"));
    EXPECT_TRUE(Button("goTo")->isEnabled()) << "the first row is chosen at once";
    Key(Qt::Key_Return);
    EXPECT_EQ(document->cursor, 10 * kSecond);
    Click(1);
    Key(Qt::Key_Return);
    EXPECT_EQ(document->cursor, 20 * kSecond);
    EXPECT_FALSE(document->HasSelection());
    document->viewStart = 0;
    document->viewEnd = 5 * kSecond;
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, RowRect(2).center());
    EXPECT_EQ(document->cursor, 30 * kSecond);
    EXPECT_LT(document->viewStart, 30 * kSecond);
    EXPECT_GT(document->viewEnd, 30 * kSecond);

    Click(0);
    Press("selectFromCursor");
    EXPECT_EQ(document->selectionStart, 10 * kSecond);
    EXPECT_EQ(document->selectionEnd, 30 * kSecond);
    EXPECT_EQ(document->cursor, 10 * kSecond);
    {
        const LModalAnswers answers({[](QWidget& dialog) {
            EXPECT_EQ(dialog.findChild<QComboBox*>()->currentText(),
                      QStringLiteral("Bookmark 3 (0:00:20.000)"));
            PressOk(dialog);
        }});
        Press("selectTo");
    }
    EXPECT_EQ(document->selectionStart, 10 * kSecond);
    EXPECT_EQ(document->selectionEnd, 20 * kSecond);
    Click(2, Qt::ControlModifier);
    Press("selectTo");  // two are chosen: nothing is asked
    EXPECT_EQ(document->selectionStart, 10 * kSecond);
    EXPECT_EQ(document->selectionEnd, 30 * kSecond);
}

TEST_F(BookmarkWindowTest, NamesAndCommentsAreTypedInTheListWithOneUndoEntryEach) {
    Click(1);
    Key(Qt::Key_F2);
    TypeIntoCell("Chorus");
    EXPECT_EQ(Column(0)[1], QStringLiteral("Chorus"));
    EXPECT_EQ(document->UndoLabel(), QStringLiteral("Rename Bookmark"));
    EXPECT_EQ(list->currentIndex().row(), 1) << "the row stays the current one";

    Press("rename");
    TypeIntoCell("verse");
    EXPECT_EQ(frame.told.takeLast(),
              QString::fromUtf8(kBookmarkExistsTitle) + u'|' + QString::fromUtf8(kBookmarkExistsText));
    Press("rename");
    TypeIntoCell("");
    EXPECT_EQ(frame.told.takeLast(), QStringLiteral("Name Invalid|The name must contain text."));
    Press("rename");
    TypeIntoCell("Lost", Qt::Key_Escape);
    EXPECT_TRUE(frame.told.isEmpty());
    EXPECT_TRUE(bookmarks->isVisible());
    EXPECT_EQ(Column(0)[1], QStringLiteral("Chorus"));

    list->setCurrentIndex(list->Rows().index(1, 2));
    Key(Qt::Key_F2);
    TypeIntoCell("slower");
    EXPECT_EQ(Column(2)[1], QStringLiteral("slower"));
    EXPECT_EQ(document->UndoLabel(), QStringLiteral("Bookmark Comment"));
    Key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(Column(2)[1], QString());
    Key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(Column(0)[1], QStringLiteral("Bookmark 3"));
}

TEST_F(BookmarkWindowTest, DeletesWhatIsSelectedWhenTheUserAgrees) {
    Click(0);
    Click(1, Qt::ShiftModifier);
    Key(Qt::Key_Delete);
    EXPECT_EQ(frame.told.takeLast(), QStringLiteral("Confirm Delete|Delete the selected bookmark(s)?"));
    EXPECT_EQ(document->bookmarks.size(), 3u);
    frame.answers = {0};
    Press("delete");
    EXPECT_EQ(Column(0), QStringList({"Bookmark 1"}));
    EXPECT_EQ(document->UndoLabel(), QStringLiteral("Delete Bookmark"));
    Press("deleteAll");
    EXPECT_TRUE(document->bookmarks.empty());
    EXPECT_FALSE(Button("deleteAll")->isEnabled());
    Key(Qt::Key_Z, Qt::ControlModifier);
    Key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(Column(0), QStringList({"Verse", "Bookmark 3", "Bookmark 1"}));
}

TEST_F(BookmarkWindowTest, FollowsTheActiveSoundAndSurvivesItsEnd) {
    LSoundDocument& other = frame.AddSilence("other.wav");
    LetEventsIn();
    EXPECT_EQ(list->Rows().rowCount(), 0);
    AddBookmark(other, frame, kSecond);
    LetEventsIn();
    EXPECT_EQ(list->Rows().rowCount(), 1);
    Click(0);
    Key(Qt::Key_F2);  // the sound goes away under the open editor
    frame.Close(other);
    TypeIntoCell("late");
    EXPECT_EQ(list->Rows().rowCount(), 3);
    EXPECT_FALSE(HasBookmark(document->bookmarks, QStringLiteral("late")));
    frame.Close(*document);
    LetEventsIn();
    EXPECT_EQ(list->Rows().rowCount(), 0);
    for (const QPushButton* button : window->findChildren<QPushButton*>())
        EXPECT_FALSE(button->isEnabled()) << button->text().toStdString();
    Key(Qt::Key_Delete);
    Key(Qt::Key_Return);
    EXPECT_TRUE(frame.told.isEmpty());
}

TEST_F(BookmarkWindowTest, ColumnsAndPlaceAreThereAgain) {
    list->header()->resizeSection(0, 222);
    list->header()->moveSection(2, 0);
    QTest::mouseClick(list->header()->viewport(), Qt::LeftButton, {},
                      {list->header()->sectionViewportPosition(0) + 40, 8});
    EXPECT_EQ(Column(0), QStringList({"Bookmark 1", "Bookmark 3", "Verse"}));
    bookmarks->resize(701, 433);
    bookmarks->close();
    LBookmarkWindow again(frame);
    Show(again);
    EXPECT_EQ(again.size(), QSize(701, 433));
    EXPECT_EQ(list->header()->sectionSize(0), 222);
    EXPECT_EQ(list->header()->logicalIndex(0), 2);
    EXPECT_EQ(Column(0), QStringList({"Bookmark 1", "Bookmark 3", "Verse"}));
    for (const char* name : {"Columns", "SortedBy", "Left", "Top", "Width", "Height"})
        DeleteSetting(QStringLiteral("Bookmark List"), QLatin1String(name));
}

TEST_F(BookmarkWindowTest, TenThousandBookmarksStayFluid) {
    MarkIntervals(*document, frame, document->sound.Length() / 10001 + 1);
    QElapsedTimer timer;
    timer.start();
    LetEventsIn();
    ASSERT_GT(list->Rows().rowCount(), 9900);
    const int64_t shown = timer.restart();
    list->setFocus();
    Key(Qt::Key_A, Qt::ControlModifier);
    const int64_t selected = timer.restart();
    AddBookmark(*document, frame, 5, QStringLiteral("one more"));
    LetEventsIn();
    const int64_t added = timer.restart();
    EXPECT_EQ(list->Selected().size() + 1, static_cast<size_t>(list->Rows().rowCount()));
    list->sortByColumn(0, Qt::DescendingOrder);
    const int64_t sorted = timer.restart();
    frame.answers = {0};
    Press("delete");
    const int64_t removed = timer.elapsed();
    EXPECT_EQ(Column(0), QStringList({"one more"}));
    RecordProperty("ms", QStringLiteral("shown %1, selected %2, added %3, sorted %4, removed %5")
                             .arg(shown)
                             .arg(selected)
                             .arg(added)
                             .arg(sorted)
                             .arg(removed)
                             .toStdString());
    for (const int64_t ms : {shown, selected, added, sorted, removed}) EXPECT_LT(ms, test::kPatienceMs);
}

// --- Regions

class RegionWindowTest : public ListWindowTest {
  protected:
    void SetUp() override {
        ListWindowTest::SetUp();
        QProcess::execute(QStringLiteral("sox"),
                          {"-D", "-n", "-r", "44100", "-b", "16", "-c", "1", In("ramp.wav"), "synth", "8",
                           "sine", "200-4000", "vol", "0.6"});
        source = In("ramp.wav");
        StoreWavRecord(LFormatRecord::Plain(1, 16, 44100, 1));
        LSoundDocumentRef loaded(new LSoundDocument);
        loaded->title = QStringLiteral("inserted.wav");
        frame.AddDocument(loaded);
        ASSERT_EQ(InsertFile(*loaded, source, frame), JobResult::kSuccess);
        first = loaded.Get();
        second = &frame.AddSilence("silence.wav");
        AddRegion(*first, frame, 2 * kSecond, 3 * kSecond, QStringLiteral("B"));
        AddRegion(*second, frame, kSecond, 61 * kSecond, QStringLiteral("S"));
        AddRegion(*first, frame, 5 * kSecond, 5 * kSecond + 500, QStringLiteral("A"));
        for (const char* name : {"ExportRegionFolder", "AutoGap", "AutoGapTime", "RegionAssemble"})
            DeleteSetting(QStringLiteral("Settings"), QLatin1String(name));
        for (const char* name : {"Columns", "SortedBy"})
            DeleteSetting(QStringLiteral("RegionList"), QLatin1String(name));
        regions = std::make_unique<LRegionWindow>(frame);
        Show(*regions);
    }
    // What the samples [start, end) of the source are.
    QByteArray Stretch(const char* start, const char* end) const {
        return SoxSamples(source, {QStringLiteral("trim"), QLatin1String(start) + u's',
                                   QStringLiteral("=") + QLatin1String(end) + u's'});
    }
    QString source;
    LSoundDocument *first = nullptr, *second = nullptr;
    std::unique_ptr<LRegionWindow> regions;
};

TEST_F(RegionWindowTest, ListsTheRegionsOfAllSoundsInOrderOfCreationOrByAColumn) {
    EXPECT_EQ(Column(0), QStringList({"B", "S", "A"}));
    EXPECT_EQ(Column(1), QStringList({"inserted.wav", "silence.wav", "inserted.wav"}));
    EXPECT_EQ(Column(4), QStringList({"0:00:01.000", "0:01:00.000", "0:00:00.011"}));
    list->sortByColumn(4, Qt::AscendingOrder);
    EXPECT_EQ(Column(0), QStringList({"A", "B", "S"}));
    list->sortByColumn(-1, Qt::AscendingOrder);
    EXPECT_EQ(Column(0), QStringList({"B", "S", "A"}));
    EXPECT_EQ(frame.active->Document().title, QStringLiteral("silence.wav"));
    Click(0);
    Key(Qt::Key_Return);
    EXPECT_EQ(&frame.active->Document(), first);
    EXPECT_EQ(first->selectionStart, 2 * kSecond);
    EXPECT_EQ(first->selectionEnd, 3 * kSecond);
    EXPECT_FALSE(Button("play")->isHidden());
    Click(1);
    Press("play");
    EXPECT_EQ(frame.played, second) << "the region is selected and played";
    EXPECT_TRUE(second->HasSelection());
    EXPECT_TRUE(Button("toCd")->isHidden());
    frame.Close(*first);
    LetEventsIn();
    EXPECT_EQ(Column(0), QStringList({"S"}));
}

TEST_F(RegionWindowTest, ExportsSelectedRegionsAsFilesThatAnotherProgramReads) {
    Click(0);
    Click(2, Qt::ControlModifier);
    {
        const LModalAnswers answers({[&](QWidget& dialog) {
            TypeInto(dialog, "folder", In("out").toUtf8().constData());
            PressOk(dialog);
        }});
        frame.answers = {0};  // the folder is made
        Press("exportSelected");
    }
    EXPECT_EQ(QDir(In("out")).entryList(QDir::Files), QStringList({"A.wav", "B.wav"}));
    EXPECT_EQ(SoxSamples(In("out/B.wav")), Stretch("88200", "132300"));
    EXPECT_EQ(SoxSamples(In("out/A.wav")), Stretch("220500", "221000"));
    {
        const LModalAnswers answers({[&](QWidget& dialog) {
            EXPECT_EQ(dialog.findChild<QLineEdit*>(QStringLiteral("folder"))->text(), In("out"));
            PressOk(dialog);
        }});
        frame.told.clear();
        Press("exportAll");
    }
    EXPECT_EQ(frame.told.filter(QStringLiteral("already exists")).size(), 2);
    EXPECT_EQ(QDir(In("out")).entryList(QDir::Files), QStringList({"A.wav", "B.wav", "S.wav"}));
}

TEST_F(RegionWindowTest, SavesOneRegionWhereTheUserSays) {
    StoreWavRecord(LFormatRecord::Plain(3, 32, 44100, 1));
    Click(0);
    const LModalAnswers answers(
        {[&](QWidget& dialog) {
             dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(In("one.wav"));
             dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Save)->click();
         },
         [](QWidget& dialog) {
             auto* coding = dialog.findChild<QComboBox*>(QStringLiteral("wavCoding"));
             EXPECT_EQ(coding->currentText(), QStringLiteral("32-bit float"));
             coding->setCurrentText(QStringLiteral("16-bit PCM"));
             dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Save)->click();
         }});
    Press("save");
    EXPECT_EQ(SoxSamples(In("one.wav")), Stretch("88200", "132300"));
}

TEST_F(RegionWindowTest, AssemblesInListOrderWithTheGapThatIsAskedFor) {
    list->sortByColumn(0, Qt::AscendingOrder);  // A, B, S
    Click(0);
    Click(1, Qt::ShiftModifier);
    {
        const LModalAnswers answers({[](QWidget& dialog) {
            auto* time = dialog.findChild<QSpinBox*>(QStringLiteral("gapTime"));
            EXPECT_EQ(time->value(), 300);
            EXPECT_FALSE(time->isEnabled());
            QTest::keyClick(dialog.findChild<QWidget*>(QStringLiteral("gap")), Qt::Key_Space);
            TypeInto(dialog, "gapTime", "250");
            PressOk(dialog);
        }});
        Press("assemble");
    }
    LSoundDocument& joined = frame.active->Document();
    ASSERT_NE(&joined, second);
    EXPECT_EQ(joined.sound.Length(), 500 + 11025 + kSecond);
    EXPECT_TRUE(joined.isModified);
    EXPECT_EQ(GetSettingInt(QStringLiteral("Settings"), QStringLiteral("AutoGapTime"), 0), 250);
    EXPECT_FALSE(GetSettingBool(QStringLiteral("Settings"), QStringLiteral("RegionAssembling"), true));

    AddRegion(joined, frame, 0, joined.sound.Length(), QStringLiteral("joined"));
    LetEventsIn();
    const LModalAnswers answers({[&](QWidget& dialog) {
        TypeInto(dialog, "folder", folder.path().toUtf8().constData());
        PressOk(dialog);
    }});
    for (int row = 0; row < list->Rows().rowCount(); ++row)
        if (Column(0)[row] == QStringLiteral("joined")) Click(row);
    Press("exportSelected");
    EXPECT_EQ(SoxSamples(In("joined.wav")),
              Stretch("220500", "221000") + QByteArray(11025 * 4, '\0') + Stretch("88200", "132300"));
}

TEST_F(RegionWindowTest, NewSoundsDeletingAndRenamingReachTheRightSound) {
    Click(1);
    Press("copyToNew");
    EXPECT_EQ(frame.active->Document().sound.Length(), 60 * kSecond);
    EXPECT_EQ(frame.active->Document().title, QStringLiteral("S"));
    Press("allToNew");
    EXPECT_EQ(frame.windows.size(), 6u);

    Key(Qt::Key_F2);
    TypeIntoCell("Silent");
    EXPECT_EQ(second->regions[0].name, QStringLiteral("Silent"));
    EXPECT_EQ(second->UndoLabel(), QStringLiteral("Modify Region"));
    list->setCurrentIndex(list->Rows().index(1, 5));
    Key(Qt::Key_F2);
    TypeIntoCell("nothing in it");
    EXPECT_EQ(second->regions[0].comment, QStringLiteral("nothing in it"));
    EXPECT_EQ(second->UndoLabel(), QStringLiteral("Modify Region"));

    frame.answers = {0};
    Key(Qt::Key_Delete);
    EXPECT_EQ(frame.told.takeLast(), QStringLiteral("Confirm Delete|Delete the selected region(s)?"));
    EXPECT_TRUE(second->regions.empty());
    EXPECT_EQ(first->regions.size(), 2u);
    frame.answers = {0};
    Press("deleteAll");
    EXPECT_EQ(frame.told.takeLast(), QStringLiteral("Confirm Delete All|Delete all region(s)?"));
    EXPECT_EQ(list->Rows().rowCount(), 0);
    EXPECT_EQ(first->regions.size(), 0u);
    UndoChange(*first, frame);
    LetEventsIn();
    EXPECT_EQ(Column(0), QStringList({"B", "A"}));
}

// Texts are the system's own; what has a mnemonic must not share it.
TEST_F(RegionWindowTest, ButtonsHaveTheirTextsAndOneMnemonicEach) {
    QStringList texts;
    QSet<QChar> letters;
    for (const QPushButton* button : regions->findChildren<QPushButton*>()) {
        texts.append(button->text());
        const qsizetype at = button->text().indexOf(u'&');
        if (at < 0) continue;
        EXPECT_FALSE(letters.contains(button->text().at(at + 1).toLower())) << button->text().toStdString();
        letters.insert(button->text().at(at + 1).toLower());
    }
    EXPECT_EQ(texts,
              QStringList({"Play", "&Save...", "Rename", "Delete", "Delete All", "Copy To &New",
                           "Asse&mble...", "&Export Region(s) to Folder...", "&Copy Region(s) to CD...",
                           "Export All Regions to Folder...", "Export Selected Region(s) to New File(s)...",
                           "Export All Regions to New File(s)..."}));
    EXPECT_FALSE(list->accessibleName().isEmpty());
}

// --- Beside the real frame

TEST_F(WindowTest, ListsAreOpenedByCommandsAndFollowTheFrame) {
    LSoundWindow* sound = Open(MakeWav("tone.wav"));
    ASSERT_TRUE(frame->RunCommand(kCmdHistory) && frame->RunCommand(kCmdBookmarkList) &&
                frame->RunCommand(kCmdRegionList));
    auto* history = frame->findChild<LHistoryWindow*>();
    auto* bookmarks = frame->findChild<LBookmarkWindow*>();
    auto* regions = frame->findChild<LRegionWindow*>();
    ASSERT_TRUE(history && bookmarks && regions);
    const auto rows = [](const QDialog* one) { return one->findChild<LListView*>()->Rows().rowCount(); };
    EXPECT_EQ(rows(history), 1) << "what was loaded is where the history starts";

    sound->Document().Select(kSecond, 2 * kSecond);
    sound->Refresh();
    ASSERT_TRUE(frame->RunCommand(kCmdAddBookmark) && frame->RunCommand(kCmdAddRegion));
    ASSERT_TRUE(frame->RunCommand(kCmdDelete));
    QTest::qWait(5);
    EXPECT_EQ(rows(history), 4);
    EXPECT_EQ(rows(bookmarks), 1);
    EXPECT_EQ(rows(regions), 0) << "the region went with its frames";
    ASSERT_TRUE(frame->RunCommand(kCmdUndo));
    QTest::qWait(5);
    EXPECT_EQ(rows(regions), 1);

    LSoundWindow* other = Open(MakeWav("other.wav"));
    QTest::qWait(5);
    EXPECT_EQ(rows(bookmarks), 0);
    EXPECT_EQ(rows(regions), 1) << "of all sounds";
    auto* list = regions->findChild<LListView*>();
    list->setCurrentIndex(list->Rows().index(0, 0));
    QTest::keyClick(list, Qt::Key_Return);
    EXPECT_EQ(frame->ActiveSound(), sound);
    EXPECT_NE(frame->ActiveSound(), other);
    QTest::qWait(5);
    EXPECT_EQ(rows(bookmarks), 1);

    messages->answers = {1, 1, 1};  // nothing is saved
    ASSERT_TRUE(frame->RunCommand(kCmdCloseAll));
    QTest::qWait(5);
    EXPECT_TRUE(frame->Sounds().isEmpty()) << messages->asked.join(u'|').toStdString();
    EXPECT_EQ(rows(history) + rows(bookmarks) + rows(regions), 0);
    for (const QDialog* one : {static_cast<QDialog*>(bookmarks), static_cast<QDialog*>(regions)})
        for (const QPushButton* button : one->findChildren<QPushButton*>())
            EXPECT_FALSE(button->isEnabled()) << button->text().toStdString();
}

}  // namespace
}  // namespace ondarix
