// SPDX-License-Identifier: GPL-3.0-or-later
// Files that change or go while they are open.
#include "window_fixture.h"

namespace ondarix {
namespace {

void BringToFront(LMainFrame& frame) {
    QEvent change(QEvent::ActivationChange);
    frame.activateWindow();
    QTest::qWait(20);
    QCoreApplication::sendEvent(&frame, &change);
    QTest::qWait(20);
}

TEST_F(WindowTest, AChangedFileIsLoadedAgainOrKeptAsTheUserSays) {
    LSoundWindow* window = Open(MakeWav("tone.wav"));
    BringToFront(*frame);
    EXPECT_TRUE(messages->asked.isEmpty());

    MakeWav("tone.wav", "16", "1");
    BringToFront(*frame);
    ASSERT_EQ(messages->asked.size(), 1);
    EXPECT_EQ(window->Document().sound.Length(), 3 * 44100) << "kept without an answer";
    EXPECT_TRUE(window->Document().isModified);
    BringToFront(*frame);
    EXPECT_EQ(messages->asked.size(), 1) << "one question for one change";

    MakeWav("tone.wav", "16", "2");
    messages->answers = {0};
    BringToFront(*frame);
    EXPECT_EQ(window->Document().sound.Length(), 2 * 44100);
    EXPECT_FALSE(window->Document().isModified);
}

TEST_F(WindowTest, AFileThatIsGoneCanBeSavedAgainWhole) {
    const QString path = MakeWav("tone.wav");
    const QByteArray before = Samples(path);
    LSoundWindow* window = Open(path);
    ASSERT_TRUE(QFile::remove(path));
    BringToFront(*frame);
    ASSERT_EQ(messages->told.size(), 1);
    EXPECT_TRUE(window->Document().isModified);
    ASSERT_TRUE(frame->RunCommand(kCmdSave));
    EXPECT_EQ(Samples(path), before);
}

TEST_F(WindowTest, SavingOverAnotherProgramsChangeAsksFirst) {
    LSoundWindow* window = Open(MakeWav("tone.wav"));
    window->View().Select(0, 44100);
    ASSERT_TRUE(frame->RunCommand(kCmdDelete));
    const QByteArray other = Samples(MakeWav("tone.wav", "16", "1"));
    frame->RunCommand(kCmdSave);
    EXPECT_EQ(messages->asked.size(), 1);
    EXPECT_EQ(Samples(In("tone.wav")), other);
    EXPECT_TRUE(window->Document().isModified);
    messages->answers = {0};
    frame->RunCommand(kCmdSave);
    EXPECT_EQ(Samples(In("tone.wav")).size(), 2 * 44100 * 8);
    EXPECT_FALSE(window->Document().isModified);
}

}  // namespace
}  // namespace ondarix
