// SPDX-License-Identifier: GPL-3.0-or-later
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QListView>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <cmath>

#include "window_fixture.h"

namespace ondarix {
namespace {

QString Seconds(int64_t frame) { return QStringLiteral("%1s").arg(frame); }

TEST_F(WindowTest, CutByMouseAndSaveGivesWhatSoxTrimGives) {
    const QString source = MakeWav("tone.wav");
    LSoundWindow* window = Open(source);
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->Document().sound.Length(), 3 * 44100);
    Drag(window->View(), 200, 512);
    const LSelection selection = window->Document().EditRange();
    const double perPixel = 3 * 44100.0 / window->View().width();
    EXPECT_NEAR(static_cast<double>(selection.start), 200 * perPixel, 1);
    EXPECT_NEAR(static_cast<double>(selection.end), 512 * perPixel, 1);

    ASSERT_TRUE(frame->RunCommand(kCmdCut));
    EXPECT_TRUE(window->Document().isModified);
    EXPECT_EQ(window->Document().sound.Length(), 3 * 44100 - selection.Length());
    EXPECT_TRUE(window->Document().EditRange().IsEmpty());
    EXPECT_FALSE(frame->IsAvailable(kCmdCut));
    ASSERT_TRUE(frame->SaveAs(*window, In("cut.wav"), WavRecordFor(window->Document().sound.Format())))
        << messages->told.join(QLatin1Char('|')).toStdString();
    EXPECT_EQ(Samples(In("cut.wav")),
              Samples(source, {"trim", "0s", QLatin1Char('=') + Seconds(selection.start),
                               QLatin1Char('=') + Seconds(selection.end)}));
    EXPECT_EQ(Samples(source).size(), 3 * 44100 * 8) << "the opened file stays as it was";

    // What was cut, in a window of its own.
    ASSERT_TRUE(frame->RunCommand(kCmdPasteToNew));
    LSoundWindow* pasted = frame->ActiveSound();
    ASSERT_NE(pasted, window);
    EXPECT_TRUE(pasted->Document().title.startsWith(QStringLiteral("Untitled_")));
    ASSERT_TRUE(frame->SaveAs(*pasted, In("piece.wav"), WavRecordFor({44100, 2})));
    EXPECT_EQ(Samples(In("piece.wav")),
              Samples(source, {"trim", Seconds(selection.start), Seconds(selection.Length())}));
}

TEST_F(WindowTest, TrimSilencePasteAndDeleteEqualTheirCommandLines) {
    const QString source = MakeWav("tone.wav");
    LSoundWindow* window = Open(source);
    LWaveView& view = window->View();
    view.Select(10000, 20000);
    ASSERT_TRUE(frame->RunCommand(kCmdCopy));
    EXPECT_FALSE(window->Document().isModified);
    view.Select(50000, 50000);
    ASSERT_TRUE(frame->RunCommand(kCmdPaste));
    EXPECT_EQ(window->Document().selectionStart, 50000);
    EXPECT_EQ(window->Document().selectionEnd, 60000) << "what was pasted is selected";
    view.Select(5000, 100000);
    ASSERT_TRUE(frame->RunCommand(kCmdTrim));
    EXPECT_EQ(window->Document().sound.Length(), 95000);
    view.Select(0, 1000);
    ASSERT_TRUE(frame->RunCommand(kCmdDelete));
    view.Select(94000 - 3000, 94000);
    ASSERT_TRUE(frame->RunCommand(kCmdSilence));
    ASSERT_TRUE(frame->SaveAs(*window, In("out.wav"), WavRecordFor({44100, 2})));

    const QByteArray all = Samples(source);
    const auto part = [&](int from, int to) { return all.mid(from * 8, (to - from) * 8); };
    const QByteArray built = part(0, 50000) + part(10000, 20000) + part(50000, 132300);
    EXPECT_EQ(Samples(In("out.wav")), built.mid(6000 * 8, 91000 * 8) + QByteArray(3000 * 8, '\0'));
}

TEST_F(WindowTest, TheFileKeepsItsCodingOnSave) {
    for (const char* bits : {"8", "24", "32"}) {
        const QString source = MakeWav((QByteArray(bits) + ".wav").constData(), bits);
        const QByteArray before = Samples(source, {"trim", "1000s"});
        LSoundWindow* window = Open(source);
        window->View().Select(0, 1000);
        ASSERT_TRUE(frame->RunCommand(kCmdDelete));
        ASSERT_TRUE(frame->RunCommand(kCmdSave));
        EXPECT_FALSE(window->Document().isModified);
        QProcess soxi;
        soxi.start(QStringLiteral("soxi"), {"-b", source});
        soxi.waitForFinished();
        EXPECT_EQ(soxi.readAllStandardOutput().trimmed().toStdString(), bits);
        // A float holds 24 bits, so of 32-bit integers only those are the same.
        if (source.contains(QStringLiteral("32.wav"))) continue;
        EXPECT_EQ(Samples(source), before) << bits;
    }
}

TEST_F(WindowTest, SaveAsAsksForNameAndCodingAndWritesBoth) {
    LSoundWindow* window = Open(MakeWav("tone.wav"));
    const QStringList encodings = {"Unsigned Integer PCM",
                                   "Signed Integer PCM",
                                   "Signed Integer PCM",
                                   "Signed Integer PCM",
                                   "Floating Point PCM",
                                   "A-law",
                                   "u-law"};
    for (int row = 0; row < encodings.size(); ++row) {
        const QString path = folder.filePath(QStringLiteral("coded%1").arg(row));
        int ticks = 0;
        QTimer answers;  // fills in whichever dialog is in front
        QObject::connect(&answers, &QTimer::timeout, &answers, [&] {
            QWidget* dialog = QApplication::activeModalWidget();
            if (++ticks > 500 && dialog) return dialog->close(), void(ADD_FAILURE() << "no end");
            if (auto* box = qobject_cast<QMessageBox*>(dialog)) {
                ADD_FAILURE() << box->text().toStdString();
                box->reject();
            } else if (auto* files = qobject_cast<QFileDialog*>(dialog)) {
                EXPECT_EQ(files->nameFilters().value(0), QStringLiteral("Wave (*.wav)"));
                // What is typed counts where no file of the list is selected.
                auto* name = files->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
                files->findChild<QListView*>(QStringLiteral("listView"))->selectionModel()->clearSelection();
                name->setText(path);
                if (!files->selectedFiles().value(0).startsWith(path)) return;
                // Queued: a timer does not fire again inside of its own handler.
                QMetaObject::invokeMethod(
                    files->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Save), "click",
                    Qt::QueuedConnection);
            } else if (dialog && dialog->objectName() == QStringLiteral("wavFormatDialog")) {
                dialog->findChild<QComboBox*>()->setCurrentIndex(row);
                static_cast<QDialog*>(dialog)->accept();
            }
        });
        answers.start(20);
        ASSERT_TRUE(frame->RunCommand(kCmdSaveAs));
        EXPECT_EQ(window->Document().path, path + QStringLiteral(".wav"))
            << "the extension of the type is added";
        QProcess soxi;
        soxi.start(QStringLiteral("soxi"), {"-e", window->Document().path});
        soxi.waitForFinished();
        EXPECT_EQ(QString::fromUtf8(soxi.readAllStandardOutput().trimmed()), encodings[row]);
    }
}

TEST_F(WindowTest, TitleAndModifiedMarkFollowTheDocument) {
    LSoundWindow* window = Open(MakeWav("tone.wav"));
    auto* child = qobject_cast<QMdiSubWindow*>(window->parentWidget());
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(child->windowTitle(), QStringLiteral("tone.wav[*]"));
    EXPECT_FALSE(child->isWindowModified());
    window->View().Select(100, 200);
    frame->RunCommand(kCmdDelete);
    EXPECT_TRUE(child->isWindowModified());
    ASSERT_TRUE(frame->SaveAs(*window, In("other.wav"), WavRecordFor({44100, 2})));
    EXPECT_EQ(child->windowTitle(), QStringLiteral("other.wav[*]"));
    EXPECT_FALSE(child->isWindowModified());
}

TEST_F(WindowTest, ClosingAModifiedSoundAsksAndObeys) {
    enum { kSave, kDiscard, kCancel };
    const QString path = MakeWav("tone.wav");
    const QByteArray before = Samples(path);
    LSoundWindow* window = Open(path);
    window->View().Select(0, 44100);
    frame->RunCommand(kCmdDelete);

    messages->answers = {kCancel};
    frame->RunCommand(kCmdClose);
    EXPECT_EQ(frame->Sounds().size(), 1);
    messages->answers = {kCancel};
    EXPECT_FALSE(frame->CanClose());
    messages->answers = {kCancel};
    EXPECT_FALSE(frame->close());
    EXPECT_TRUE(frame->isVisible());
    EXPECT_EQ(messages->asked.size(), 3);
    EXPECT_TRUE(messages->asked[0].contains(QStringLiteral("tone.wav")));
    EXPECT_EQ(Samples(path), before);

    messages->answers = {kSave};
    frame->RunCommand(kCmdClose);
    QTest::qWait(1);
    EXPECT_TRUE(frame->Sounds().isEmpty());
    EXPECT_EQ(Samples(path), before.mid(44100 * 8));

    window = Open(path);
    window->View().Select(0, 100);
    frame->RunCommand(kCmdDelete);
    messages->answers = {kDiscard};
    EXPECT_TRUE(frame->close());
    EXPECT_EQ(Samples(path), before.mid(44100 * 8));
}

TEST_F(WindowTest, CommandsAreThereOnlyWhereTheyCanRun) {
    for (const int id : {kCmdSave, kCmdCut, kCmdZoomIn, kCmdPaste, kCmdSelectAll}) {
        EXPECT_FALSE(frame->IsAvailable(id)) << id;
        EXPECT_FALSE(frame->RunCommand(id)) << id;
    }
    auto* cut = frame->findChild<QAction*>(QStringLiteral("command2003"));
    ASSERT_NE(cut, nullptr);
    EXPECT_EQ(cut->toolTip(), QStringLiteral("Open an audio file to use Cut"));
    LSoundWindow* window = Open(MakeWav("tone.wav"));
    EXPECT_FALSE(cut->isEnabled());
    QTest::keyClick(&window->View(), Qt::Key_A, Qt::ControlModifier);
    EXPECT_TRUE(cut->isEnabled());
    EXPECT_TRUE(cut->toolTip().contains(QStringLiteral("Ctrl+X")));
    frame->RunCommand(kCmdCopy);
    window->parentWidget()->close();
    QTest::qWait(1);
    EXPECT_FALSE(cut->isEnabled());
    EXPECT_TRUE(frame->IsAvailable(kCmdPaste)) << "creates a sound where none is open";
    EXPECT_TRUE(frame->RunCommand(kCmdPaste));
    EXPECT_EQ(frame->ActiveSound()->Document().sound.Length(), 3 * 44100);
}

// The keys of media, too, which stand for no character.
void PressKeys(QWidget& widget, const QKeySequence& keys) {
    const QKeyCombination one = keys[0];
    if (one.key() < Qt::Key_Back || one.key() >= Qt::Key_unknown) return QTest::keySequence(&widget, keys);
    for (const bool press : {true, false})
        QTest::simulateEvent(&widget, press, one.key(), one.keyboardModifiers(), QString(), false);
}

TEST_F(WindowTest, EveryShortcutReachesItsCommandAndNoOther) {
    LSoundWindow* window = Open(MakeWav("tone.wav"));
    frame->activateWindow();
    window->View().setFocus();
    ASSERT_TRUE(QTest::qWaitForWindowActive(frame.get()));
    QHash<int, int> triggered;
    QHash<int, QAction*> actions;
    for (QAction* action : frame->findChildren<QAction*>()) {
        if (!action->property("command").isValid()) continue;
        const int id = action->property("command").toInt();
        actions[id] = action;
        action->disconnect();
        action->setEnabled(true);
        QObject::connect(action, &QAction::triggered, action, [&triggered, id] { ++triggered[id]; });
    }
    for (const LCommandRow& row : CommandTable()) {
        ASSERT_EQ(actions.contains(row.id), IsVisible(row)) << row.text;
        if (!IsVisible(row)) continue;
        for (const QKeySequence& keys : actions[row.id]->shortcuts()) {
            triggered.clear();
            PressKeys(window->View(), keys);
            EXPECT_EQ(triggered, (QHash<int, int>{{row.id, 1}})) << row.text << keys.toString().toStdString();
        }
    }
}

TEST_F(WindowTest, NoMoreThanFortyFiveSounds) {
    const QString path = MakeWav("tone.wav", "16", "0.1");
    enum { kDuplicate, kLoad };
    for (int i = 0; i < 45; ++i) {
        ASSERT_TRUE(frame->MayOpenMore());
        messages->answers = {kLoad};
        ASSERT_TRUE(frame->OpenSound(path));
    }
    EXPECT_FALSE(frame->MayOpenMore());
    EXPECT_TRUE(messages->told.isEmpty());
    frame->OpenFiles({path, path, path});
    EXPECT_EQ(frame->Sounds().size(), 45);
    ASSERT_EQ(messages->told.size(), 1);
    EXPECT_EQ(messages->told[0],
              QStringLiteral("Error: Maximum file count exceeded.  Please close some files before "
                             "loading more files."));
}

}  // namespace
}  // namespace ondarix
