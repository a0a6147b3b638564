// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit_host_fixture.h"

namespace ondarix {
namespace {

class UndoTest : public SoundCacheTest {
  protected:
    // A sound whose only frame tells which edit was the last.
    void Load() {
        document_.sound = Write({0});
        document_.path = MakeFile("one.wav", "samples");
        document_.PushUndo("Load File", false);
    }
    void Edit(int number) {
        const JobResult result = Change(document_, QString("Edit %1").arg(number), host_, [&] {
            document_.sound = Write({static_cast<float>(number)});
            return JobResult::kSuccess;
        });
        EXPECT_EQ(result, JobResult::kSuccess);
    }
    float State() { return ReadSound(document_.sound).at(0); }
    QStringList History() {
        QStringList labels;
        for (const int slot : document_.HistorySlots()) labels << document_.Entry(slot).label;
        return labels;
    }

    LTestEditHost host_;
    LSoundDocument document_;
};

TEST_F(UndoTest, ALoadedFileCannotBeUndoneAndOneStepGoesBackToIt) {
    Load();
    EXPECT_FALSE(document_.CanUndo());
    EXPECT_FALSE(document_.CanRevertToSaved());
    EXPECT_EQ(History(), QStringList{"Load File"});
    EXPECT_TRUE(document_.GoTo(document_.HistorySlots()[0])) << "that is where it stands";
    EXPECT_FALSE(document_.Entry(document_.HistorySlots()[0]).timeText.isEmpty());
    document_.Select(0, 1);
    Edit(1);
    EXPECT_TRUE(document_.isModified);
    EXPECT_EQ(document_.UndoLabel(), "Edit 1");
    EXPECT_EQ(document_.RedoLabel(), QString());
    ASSERT_TRUE(UndoChange(document_, host_));
    EXPECT_EQ(State(), 0.0f);
    EXPECT_FALSE(document_.isModified);
    EXPECT_TRUE(document_.isModifiedSinceLastAutosave) << "the autosave holds the edit";
    EXPECT_FALSE(document_.CanUndo());
    EXPECT_EQ(document_.RedoLabel(), "Edit 1") << "the change that is made again";
    EXPECT_EQ(History(), (QStringList{"Load File", "Edit 1", "Redo"}));
    EXPECT_FALSE(UndoChange(document_, host_));
    ASSERT_TRUE(RedoChange(document_, host_));
    EXPECT_EQ(State(), 1.0f);
    EXPECT_EQ(document_.UndoLabel(), "Edit 1");
    EXPECT_FALSE(RedoChange(document_, host_));
}

TEST_F(UndoTest, TheLastThirtyOfFortyEditsCanBeUndone) {
    Load();
    for (int number = 1; number <= 40; ++number) Edit(number);
    EXPECT_EQ(Files().size(), 3 * (30 + 1 + 1)) << "thirty states, the present one and the one in the file";
    for (int round = 0; round < 3; ++round) {
        int steps = 0;
        for (; document_.Undo(); ++steps) EXPECT_EQ(State(), static_cast<float>(39 - steps));
        EXPECT_EQ(steps, 30);
        for (steps = 0; document_.Redo(); ++steps) EXPECT_EQ(State(), static_cast<float>(11 + steps));
        EXPECT_EQ(steps, 30);
    }
    EXPECT_EQ(document_.HistorySlots().size(), 31u);
    EXPECT_EQ(History().front(), "Edit 11");
    EXPECT_EQ(History().back(), "Redo");
    Edit(41);
    EXPECT_EQ(History().front(), "Edit 12");
    EXPECT_EQ(History().back(), "Edit 41");
}

TEST_F(UndoTest, ATargetLiesOnItsSideOfThePresent) {
    Load();
    for (int number = 1; number <= 4; ++number) Edit(number);
    document_.Undo();
    const std::vector<int> slots = document_.HistorySlots();  // Load File, four edits, Redo
    ASSERT_EQ(slots.size(), 6u);
    EXPECT_FALSE(document_.Undo(slots[5]));
    EXPECT_FALSE(document_.Undo(slots[4])) << "the present state";
    EXPECT_FALSE(document_.Redo(slots[4]));
    EXPECT_FALSE(document_.Redo(slots[2]));
    EXPECT_FALSE(document_.GoTo(slots[5] + 1)) << "an empty slot";
    EXPECT_EQ(State(), 3.0f);
    ASSERT_TRUE(document_.Undo(slots[0]));
    EXPECT_EQ(State(), 0.0f);
    ASSERT_TRUE(document_.Redo()) << "the base and the first entry are one state: no step leads nowhere";
    EXPECT_EQ(State(), 1.0f);
    ASSERT_TRUE(document_.Redo(slots[5]));
    EXPECT_EQ(State(), 4.0f);
    EXPECT_FALSE(document_.CanRedo());
}

TEST_F(UndoTest, ACursorWithoutASelectionComesBack) {
    document_.sound = Write(std::vector<float>(100, 1.0f));
    document_.Select(10, 10);
    document_.cursor = 70;  // moved on its own
    InsertSilence(document_, host_, 0, 5);
    ASSERT_TRUE(document_.Undo());
    EXPECT_FALSE(document_.HasSelection());
    EXPECT_EQ(document_.cursor, 70);
    document_.Select(10, 30);
    document_.cursor = 10;
    InsertSilence(document_, host_, 0, 5);
    ASSERT_TRUE(document_.Undo());
    EXPECT_EQ(document_.selectionEnd, 30);
    EXPECT_EQ(document_.cursor, 10) << "the edge that the keyboard moves";
}

TEST_F(UndoTest, AnEditAfterAnUndoEndsWhatCouldBeRedone) {
    Load();
    for (int number = 1; number <= 5; ++number) Edit(number);
    for (int i = 0; i < 3; ++i) document_.Undo();
    EXPECT_EQ(Files().size(), 3 * 6);
    Edit(9);
    EXPECT_FALSE(document_.CanRedo());
    EXPECT_EQ(Files().size(), 3 * 4);
    EXPECT_EQ(History(), (QStringList{"Load File", "Edit 1", "Edit 2", "Edit 9"}));
    for (const float state : {2.0f, 1.0f, 0.0f}) {
        ASSERT_TRUE(document_.Undo());
        EXPECT_EQ(State(), state);
    }
}

TEST_F(UndoTest, AChangeThatIsTakenBackReturnsWhatItPutAway) {
    Load();
    for (int number = 1; number <= 36; ++number) Edit(number);
    for (int i = 0; i < 2; ++i) document_.Undo();
    const QStringList before = History();
    document_.BeginChange("Attempt", host_);
    EXPECT_FALSE(document_.CanRedo());
    document_.CancelChange(host_);
    EXPECT_EQ(History(), before);
    EXPECT_TRUE(document_.Redo());
    EXPECT_TRUE(document_.Redo());
    EXPECT_EQ(State(), 36.0f);
    document_.MarkSaved();
    document_.PushUndo("Attempt", true);
    EXPECT_TRUE(document_.isModified);
    document_.PopUndo();
    EXPECT_FALSE(document_.isModified) << "nothing has changed";
    EXPECT_FALSE(document_.CanRevertToSaved());
    int steps = 0;
    while (document_.Undo()) ++steps;
    EXPECT_EQ(steps, 30) << "the oldest was not lost";
}

TEST_F(UndoTest, OnlyTheSavedStateIsNotModified) {
    Load();
    for (int number = 1; number <= 4; ++number) Edit(number);
    document_.Undo();
    document_.MarkSaved();
    EXPECT_FALSE(document_.isModified);
    for (const int slot : document_.HistorySlots()) {
        ASSERT_TRUE(document_.GoTo(slot));
        EXPECT_EQ(document_.isModified, State() != 3.0f) << State();
    }
    for (int round = 0; round < 2; ++round) {
        while (document_.Undo()) EXPECT_EQ(document_.isModified, State() != 3.0f);
        while (document_.Redo()) EXPECT_EQ(document_.isModified, State() != 3.0f);
    }
    document_.MarkUnsaved();
    while (document_.Undo()) EXPECT_TRUE(document_.isModified);
    EXPECT_FALSE(document_.CanRevertToSaved());
}

TEST_F(UndoTest, RevertingIsAChangeOfItsOwn) {
    Load();
    for (int number = 1; number <= 3; ++number) Edit(number);
    document_.MarkSaved();
    EXPECT_FALSE(RevertDocument(document_, host_));
    for (int number = 4; number <= 6; ++number) Edit(number);
    ASSERT_TRUE(RevertDocument(document_, host_));
    EXPECT_EQ(State(), 3.0f);
    EXPECT_FALSE(document_.isModified);
    EXPECT_EQ(document_.UndoLabel(), "Revert");
    EXPECT_EQ(History().back(), "Revert");
    EXPECT_FALSE(document_.CanRevertToSaved());
    ASSERT_TRUE(document_.Undo());
    EXPECT_EQ(State(), 6.0f);
    EXPECT_TRUE(document_.isModified);
    EXPECT_TRUE(document_.CanRevertToSaved());
    ASSERT_TRUE(document_.Undo());
    EXPECT_EQ(State(), 5.0f) << "what came before the revert is all there";
    ASSERT_TRUE(document_.Redo() && document_.Redo());
    EXPECT_EQ(State(), 3.0f);
    EXPECT_FALSE(document_.isModified);
}

TEST_F(UndoTest, TheSavedStateIsKeptWhenTheRingHasLostIt) {
    Load();
    for (int number = 1; number <= 3; ++number) Edit(number);
    document_.MarkSaved();
    document_.Undo();
    document_.Undo();
    Edit(9);
    for (int number = 20; number < 60; ++number) Edit(number);
    ASSERT_TRUE(RevertDocument(document_, host_));
    EXPECT_EQ(State(), 3.0f);
    EXPECT_FALSE(document_.isModified);
    ASSERT_TRUE(document_.Undo());
    EXPECT_EQ(State(), 59.0f);
    ASSERT_TRUE(QFile::remove(document_.path));
}

TEST_F(UndoTest, WithoutItsFileALoadedStateIsNoSavedOne) {
    Load();
    Edit(1);
    EXPECT_TRUE(document_.CanRevertToSaved());
    LSoundDocument other;
    other.sound = document_.sound;
    other.path = document_.path + ".gone";
    other.PushUndo("Load File", false);
    other.PushUndo("Edit", true);
    EXPECT_FALSE(other.CanRevertToSaved());
}

TEST_F(UndoTest, LongLabelsAreCutAndTheHostSeesEachStep) {
    Load();
    document_.BeginChange(QString(400, 'x'), host_);
    EXPECT_EQ(host_.changes, 1);
    document_.EndChange(host_);
    EXPECT_EQ(document_.UndoLabel().size(), 259);
    EXPECT_EQ(host_.refreshes, 1);
    UndoChange(document_, host_);
    EXPECT_EQ(host_.refreshes, 2);
    EXPECT_EQ(host_.changes, 3);
    host_.mayEdit = false;
    EXPECT_FALSE(RedoChange(document_, host_)) << "playback did not stop";
}

}  // namespace
}  // namespace ondarix
