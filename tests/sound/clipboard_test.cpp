// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit_host_fixture.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

class LFakeDesktop final : public LSystemClipboard {
  public:
    bool OffersOwnClip() const override { return own; }
    bool OffersSound() const override { return !own && foreign.Length() > 0; }
    bool OffersText() const override { return !text.isEmpty(); }
    QString Text() const override { return text; }
    bool Announce(LClipboardStore&) override { return own = canAnnounce; }
    JobResult FetchSound(LSound& out, LProgress& progress) override {
        if (progress.IsCancelled()) return JobResult::kCancelled;
        out = foreign;
        return fetched;
    }
    bool own = false, canAnnounce = true;
    LSound foreign;
    QString text;
    JobResult fetched = JobResult::kSuccess;
};

class ClipboardTest : public SoundCacheTest {
  protected:
    void SetUp() override {
        SoundCacheTest::SetUp();
        SetSettingBool("Settings", "MarkPastedClip", false);
    }
    void Store(float value) { store_.StoreClip(Write({value}), QString("%1.wav").arg(value), 5, 6, true); }
    float Current() { return ReadSound(store_.Current()).at(0); }
    std::vector<float> Fetched() {
        LSound out;
        LNullProgress progress;
        return store_.FetchClip(out, progress) == JobResult::kSuccess ? ReadSound(out) : std::vector<float>{};
    }

    LTestEditHost host_;
    LClipboardStore store_;
    LFakeDesktop desktop_;
};

TEST_F(ClipboardTest, TheLastTenClipsStayAndTheCycleWraps) {
    EXPECT_FALSE(store_.PreviousClip());
    EXPECT_FALSE(store_.HasClip());
    for (int clip = 1; clip <= 3; ++clip) Store(static_cast<float>(clip));
    for (const float clip : {2.0f, 1.0f, 3.0f, 2.0f}) {
        ASSERT_TRUE(store_.PreviousClip());
        EXPECT_EQ(Current(), clip);
        EXPECT_EQ(store_.sourceName, QString("%1.wav").arg(clip));
    }
    for (int clip = 4; clip <= 11; ++clip) Store(static_cast<float>(clip));
    EXPECT_EQ(Files().size(), 3 * 10);
    for (int clip = 10; clip >= 2; --clip) {
        ASSERT_TRUE(store_.PreviousClip());
        EXPECT_EQ(Current(), static_cast<float>(clip));
    }
    ASSERT_TRUE(store_.PreviousClip());
    EXPECT_EQ(Current(), 11.0f);
    store_.Clear();
    EXPECT_EQ(Files(), QStringList());
    EXPECT_FALSE(store_.HasClip());
}

TEST_F(ClipboardTest, AClipOutlivesItsDocument) {
    {
        LSoundDocument document;
        document.sound = Write({1, 2, 3, 4, 5}, {8000, 1});
        document.title = "source.wav";
        document.Select(1, 3);
        ASSERT_EQ(CopySelection(document, host_, store_), JobResult::kSuccess);
    }
    EXPECT_EQ(Fetched(), (std::vector<float>{2, 3}));
    EXPECT_EQ(store_.sourceName, "source.wav");
    EXPECT_FALSE(store_.isWholeFile);
    ASSERT_EQ(PasteToNew(host_, store_, "Untitled_7"), JobResult::kSuccess);
    ASSERT_EQ(host_.documents.size(), 1u);
    EXPECT_EQ(ReadSound(host_.documents[0]->sound), (std::vector<float>{2, 3}));
    EXPECT_EQ(host_.documents[0]->sound.sampleRate, 8000);
    EXPECT_EQ(host_.documents[0]->title, "Untitled_7");
    EXPECT_TRUE(host_.documents[0]->isModified);
    host_.mayOpen = false;
    EXPECT_EQ(PasteToNew(host_, store_, "Untitled_8"), JobResult::kCancelled);
}

TEST_F(ClipboardTest, WhatAnotherProgramCopiedComesFirst) {
    store_.SetSystem(&desktop_);
    Store(1);
    EXPECT_EQ(Fetched(), std::vector<float>{1});
    desktop_.own = false;
    EXPECT_FALSE(store_.HasClip());
    EXPECT_EQ(PasteToNew(host_, store_, "x"), JobResult::kCancelled);
    desktop_.foreign = Write({7, 8});
    EXPECT_TRUE(store_.HasClip());
    EXPECT_EQ(Fetched(), (std::vector<float>{7, 8}));
    LSoundDocument document;
    ASSERT_EQ(PasteClip(document, host_, store_), JobResult::kSuccess);
    EXPECT_EQ(host_.jobs, QStringList{"Pasting audio..."});
    EXPECT_EQ(ReadSound(document.sound), (std::vector<float>{7, 8}));
    for (const JobResult bad : {JobResult::kFailed, JobResult::kCancelled}) {
        desktop_.fetched = bad;
        EXPECT_EQ(PasteClip(document, host_, store_), bad);
        EXPECT_EQ(document.sound.Length(), 2);
    }
    EXPECT_EQ(document.HistorySlots().size(), 1u);
    ASSERT_EQ(PasteCycle(document, host_, store_), JobResult::kSuccess);
    EXPECT_EQ(ReadSound(document.sound), std::vector<float>{1}) << "the ring still has it";

    desktop_.canAnnounce = false;
    Store(2);
    EXPECT_EQ(Current(), 2.0f) << "kept, though nobody was told";
    EXPECT_FALSE(store_.IsOwnClip());
}

TEST_F(ClipboardTest, TextIsSpokenOnlyWhenTheUserAgrees) {
    store_.SetSystem(&desktop_);
    desktop_.text = "Hello";
    EXPECT_TRUE(store_.HasOnlyText());
    LSoundDocument document;
    EXPECT_EQ(PasteClip(document, host_, store_), JobResult::kCancelled);
    EXPECT_EQ(host_.told, QStringList()) << "nobody can speak";
    gSynthesizeSpeech = [](const QString& text, LSound& out, LProgress&) {
        out.InsertSilence(0, text.size());
        return JobResult::kSuccess;
    };
    EXPECT_EQ(PasteClip(document, host_, store_), JobResult::kCancelled);
    EXPECT_TRUE(host_.told.value(0).startsWith("Synthesize Speech?|The clipboard contains text, not audio."));
    host_.answers = {0};
    EXPECT_EQ(PasteClip(document, host_, store_), JobResult::kSuccess);
    EXPECT_EQ(document.sound.Length(), 5);
    gSynthesizeSpeech = nullptr;
}

TEST_F(ClipboardTest, CyclingStraightAfterAPasteTakesItsPlace) {
    for (int clip = 1; clip <= 3; ++clip) Store(static_cast<float>(clip));
    LSoundDocument document;
    document.sound = Write({10, 20, 30});
    document.PushUndo("Load File", false);
    document.Select(1, 2);
    ASSERT_EQ(PasteClip(document, host_, store_), JobResult::kSuccess);
    EXPECT_EQ(ReadSound(document.sound), (std::vector<float>{10, 3, 30}));
    for (const float clip : {2.0f, 1.0f, 3.0f, 2.0f}) {
        ASSERT_EQ(PasteCycle(document, host_, store_), JobResult::kSuccess);
        EXPECT_EQ(ReadSound(document.sound), (std::vector<float>{10, clip, 30}));
    }
    ASSERT_TRUE(document.Undo());
    EXPECT_EQ(ReadSound(document.sound), (std::vector<float>{10, 20, 30}));
    EXPECT_EQ(document.selectionStart, 1);
    EXPECT_EQ(document.selectionEnd, 2);
    EXPECT_FALSE(document.CanUndo()) << "one step for all of them";
    ASSERT_TRUE(document.Redo());
    document.Select(3, 3);
    ASSERT_EQ(PasteCycle(document, host_, store_), JobResult::kSuccess);
    EXPECT_EQ(ReadSound(document.sound), (std::vector<float>{10, 2, 30, 1})) << "somewhere else";
    document.Select(2, 4);
    ASSERT_EQ(PasteCycle(document, host_, store_), JobResult::kSuccess);
    EXPECT_EQ(ReadSound(document.sound), (std::vector<float>{10, 2, 3})) << "over another selection";
    ASSERT_EQ(SilenceSelection(document, host_), JobResult::kSuccess);
    ASSERT_EQ(PasteCycle(document, host_, store_), JobResult::kSuccess);
    ASSERT_TRUE(document.Undo());
    EXPECT_EQ(ReadSound(document.sound), (std::vector<float>{10, 2, 0})) << "what came between stays a step";
}

TEST_F(ClipboardTest, ACycleThatFailsLeavesThePasteAndTheClip) {
    Store(1);
    store_.StoreClip(Write(std::vector<float>(200000, 2.0f), {22050, 1}), "slow.wav", 0, 1, true);
    Store(3);
    LSoundDocument document;
    document.sound = Write({10, 20});
    document.path = MakeFile("saved.wav", "x");
    document.PushUndo("Load File", false);
    document.Select(1, 1);
    ASSERT_EQ(PasteClip(document, host_, store_), JobResult::kSuccess);
    const int slot = store_.currentSlot;
    host_.cancelAfter = 2;
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_EQ(PasteCycle(document, host_, store_), JobResult::kCancelled);
        EXPECT_EQ(ReadSound(document.sound), (std::vector<float>{10, 3, 20}));
        EXPECT_EQ(store_.currentSlot, slot);
        EXPECT_EQ(document.UndoLabel(), "Paste");
        EXPECT_TRUE(document.isModified);
        EXPECT_EQ(document.selectionEnd, 2);
    }
    host_.cancelAfter = 1 << 30;
    ASSERT_EQ(PasteCycle(document, host_, store_), JobResult::kSuccess);
    EXPECT_NEAR(static_cast<double>(document.sound.Length()), 400002, 2);
    ASSERT_TRUE(document.Undo());
    EXPECT_EQ(ReadSound(document.sound), (std::vector<float>{10, 20}));
    EXPECT_FALSE(document.isModified);
    EXPECT_FALSE(document.CanUndo());
}

}  // namespace
}  // namespace ondarix
