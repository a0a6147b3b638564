// SPDX-License-Identifier: GPL-3.0-or-later
// The end of the program and of sounds while something else goes on.
#include <QMdiSubWindow>
#include <QTimer>
#include <utility>

#include "app/progress_dialog.h"
#include "app/window_dialogs.h"
#include "app/window_fixture.h"

namespace ondarix {
namespace {

bool WorkUntil(LProgress& progress, const bool& done) {
    while (!done)
        if (progress.IsCancelled()) return false;
    return true;
}

// The end is asked for while a message is open.
class LEndingMessages final : public LMessageHost {
  public:
    explicit LEndingMessages(LMainFrame& frame) : frame_(frame) {}
    void Tell(const QString&, const QString&) override {
        LProgressDialog::CancelAll();
        frame_.PostClose(false);
    }
    int Ask(const QString&, const QString&, const QStringList&, int safe, const QString&, bool*) override {
        return safe;
    }

  private:
    LMainFrame& frame_;
};

TEST_F(WindowTest, WhatWasToBeOpenedAfterTheEndIsNot) {
    const QString path = MakeWav("a.wav");
    frame->SetMessageHost(std::make_unique<LEndingMessages>(*frame));
    frame->OpenFiles({In("missing.wav"), path, path});
    EXPECT_TRUE(frame->Sounds().isEmpty());
    EXPECT_FALSE(frame->CanAcceptWork());
    EXPECT_FALSE(frame->OpenSound(path));
    QTest::qWait(1);
    EXPECT_FALSE(frame->isVisible());
}

// The frame is shut out for the time of a job, and a window manager's close does not ask about that.
TEST_F(WindowTest, ClosingTheFrameDuringAJobIsRefusedUnasked) {
    LSoundWindow* window = Open(MakeWav("tone.wav"));
    window->View().Select(0, 100);
    frame->RunCommand(kCmdDelete);
    bool tried = false, closed = true;
    QTimer::singleShot(0, frame.get(), [&] {
        closed = frame->close();
        tried = true;
    });
    EXPECT_EQ(RunJob(frame.get(), QStringLiteral("Saving..."),
                     [&](LProgress& progress) {
                         return WorkUntil(progress, tried) ? JobResult::kSuccess : JobResult::kCancelled;
                     }),
              JobResult::kSuccess);
    EXPECT_FALSE(closed);
    EXPECT_TRUE(messages->asked.isEmpty());
    EXPECT_TRUE(frame->isVisible());
}

TEST_F(WindowTest, NothingClosesWhenOneSoundCannotBeSaved) {
    enum { kSave, kDiscard, kCancel };
    LSoundWindow* whole = Open(MakeWav("whole.wav"));
    whole->View().Select(0, 44100);
    frame->RunCommand(kCmdDelete);
    LSoundWindow* empty = Open(MakeWav("empty.wav"));
    const QByteArray before = Samples(In("empty.wav"));
    frame->RunCommand(kCmdSelectAll);
    frame->RunCommand(kCmdDelete);
    EXPECT_EQ(empty->Document().sound.Length(), 0);
    for (const int id : {kCmdZoomIn, kCmdZoomOut, kCmdZoomFull, kCmdSelectAll, kCmdVerticalIn})
        EXPECT_TRUE(frame->RunCommand(id)) << id;
    frame->RunCommand(kCmdSave);
    ASSERT_EQ(messages->told.size(), 1);
    EXPECT_EQ(messages->told[0],
              QStringLiteral("Cannot Save Empty Files: This file does not contain any audio "
                             "data and cannot be saved."));
    for (const int command : {kCmdCloseAll, kCmdExit}) {
        whole->Document().isModified = true;
        messages->answers = {kSave, kSave};
        frame->RunCommand(command);
        EXPECT_EQ(frame->Sounds().size(), 2) << command;
        EXPECT_TRUE(frame->isVisible());
        EXPECT_TRUE(empty->Document().isModified);
    }
    EXPECT_EQ(Samples(In("empty.wav")), before) << "an empty sound has replaced the file";
    messages->answers = {kDiscard};
    frame->RunCommand(kCmdCloseAll);
    QTest::qWait(1);
    EXPECT_TRUE(frame->Sounds().isEmpty());
}

TEST_F(WindowTest, TheClipOutlivesItsSoundAndNeverGoesInUnconverted) {
    const QString path = MakeWav("tone.wav");
    const QByteArray second = Samples(path, {"trim", "44100s", "44100s"});
    LSoundWindow* window = Open(path);
    window->View().Select(44100, 88200);
    frame->RunCommand(kCmdCut);
    messages->answers = {1};
    frame->RunCommand(kCmdClose);
    QTest::qWait(1);
    ASSERT_TRUE(frame->Sounds().isEmpty());
    QFile::remove(path);
    frame->RunCommand(kCmdPaste);
    ASSERT_TRUE(frame->ActiveSound());
    ASSERT_TRUE(frame->SaveAs(*frame->ActiveSound(), In("clip.wav"), LFormatRecord::Plain(1, 16, 44100, 2)));
    EXPECT_EQ(Samples(In("clip.wav")), second);

    Sox({"-D", "-n", "-r", "22050", "-b", "16", "-c", "1", In("mono.wav"), "synth", "1", "sine", "300"});
    LSoundWindow* mono = Open(In("mono.wav"));
    const auto converter = std::exchange(gMakeFormatConverter, nullptr);
    const LDialogCloser error;
    frame->RunCommand(kCmdPaste);
    gMakeFormatConverter = converter;
    EXPECT_EQ(error.Closed(), 1) << "what went wrong is told";
    EXPECT_EQ(mono->Document().sound.Format(), (LSoundFormat{22050, 1}));
    EXPECT_EQ(mono->Document().sound.Length(), 22050);
    EXPECT_FALSE(mono->Document().isModified);
    EXPECT_FALSE(mono->Document().CanUndo());
}

TEST_F(WindowTest, WindowsOfSoundsAreReachedByKeys) {
    LSoundWindow* first = Open(MakeWav("a.wav"));
    LSoundWindow* second = Open(MakeWav("b.wav"));
    frame->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(frame.get()));
    ASSERT_EQ(frame->ActiveSound(), second);
    QTest::keySequence(&second->View(), QKeySequence(QStringLiteral("Ctrl+F6")));
    EXPECT_EQ(frame->ActiveSound(), first);
    EXPECT_TRUE(first->View().hasFocus());
    QTest::keySequence(&first->View(), QKeySequence(QStringLiteral("Ctrl+Shift+F6")));
    EXPECT_EQ(frame->ActiveSound(), second);
    QTest::keySequence(&second->View(), QKeySequence(QStringLiteral("Ctrl+F4")));
    QTest::qWait(1);
    EXPECT_EQ(frame->Sounds(), QList<LSoundWindow*>{first});
}

TEST_F(WindowTest, LongAndOddNamesArriveWhole) {
    QDir deep(folder.path());
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(deep.mkdir(QString(100, QLatin1Char('d'))));
        deep.cd(QString(100, QLatin1Char('d')));
    }
    const QString path = deep.filePath(QStringLiteral("take [*] & more.wav"));
    ASSERT_TRUE(QFile::rename(MakeWav("tone.wav"), path));
    LSoundWindow* window = Open(path);
    EXPECT_EQ(RecentFiles(), QStringList{path});
    EXPECT_EQ(window->windowTitle(), QStringLiteral("take [*][*] & more.wav[*]"));
    frame->RunCommand(kCmdClose);
    QTest::qWait(1);
    frame->RunCommand(kCmdFirstRecent);
    EXPECT_EQ(frame->Sounds().size(), 1);
    EXPECT_TRUE(messages->told.isEmpty());
}

}  // namespace
}  // namespace ondarix
