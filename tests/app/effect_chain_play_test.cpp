// SPDX-License-Identifier: GPL-3.0-or-later
// The effect chain window with sounds that play, are selected in, worked on and closed meanwhile.
#include <atomic>

#include "effect_chain_fixture.h"

namespace ondarix {
namespace {

constexpr size_t kHeardSoon = 60000;  // samples after which a change must have come through

class EffectChainPlayTest : public EffectChainWindowTest {
  protected:
    LPreviewState State() { return Chain().Preview() ? Chain().Preview()->State() : LPreviewState::kStopped; }
    // All samples played from some time on are `gain` times those of the sound, at the same place.
    bool IsHeardAt(const std::vector<float>& sound, int percent) {
        if (!HasPlayed(PlayedSoFar() + kHeardSoon)) return false;
        std::vector<float> played = Played();
        const size_t last = played.size() - played.size() % 2;
        for (size_t back = 1; back <= 2000; ++back) {
            const float expected = sound[(last - back) % sound.size()] * (static_cast<float>(percent) / 100);
            if (std::abs(played[last - back] - expected) > 1e-6f) return false;
        }
        return true;
    }
};

TEST_F(EffectChainPlayTest, ChangesAreHeardWhileItPlays) {
    OpenNoise(30000);
    const std::vector<float> sound = Now();
    AddGain("50");
    AddGain("40");
    Press("playChain");
    ASSERT_EQ(State(), LPreviewState::kPlaying);
    EXPECT_EQ(Button("playChain").text(), QStringLiteral("Sto&p"));
    EXPECT_TRUE(IsHeardAt(sound, 20));
    Type("gain", "80");
    EXPECT_TRUE(IsHeardAt(sound, 40));
    List().setFocus();
    QTest::keyClick(&List(), Qt::Key_Space);
    EXPECT_TRUE(IsHeardAt(sound, 50)) << "switched off";
    QTest::keyClick(&List(), Qt::Key_Space);
    QTest::mousePress(&Button("effectBypass"), Qt::LeftButton);
    EXPECT_TRUE(IsHeardAt(sound, 50)) << "passed over";
    EXPECT_TRUE(Chain().Chain().IsOn(1));
    QTest::mouseRelease(&Button("effectBypass"), Qt::LeftButton);
    EXPECT_TRUE(IsHeardAt(sound, 40));
    QTest::mousePress(&Button("bypassChain"), Qt::LeftButton);
    EXPECT_TRUE(IsHeardAt(sound, 100)) << "the sound as it is";
    QTest::mouseRelease(&Button("bypassChain"), Qt::LeftButton);
    QTest::keyClick(&List(), Qt::Key_Delete);
    EXPECT_TRUE(IsHeardAt(sound, 50));

    // A chain that is read is heard after a while.
    QFile file(In("ten.ecf"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(test::EcfFile(test::EcfEffect(1, test::EcfCommon() + test::EcfU32(8192, 10))));
    file.close();
    messages->answers = {1};
    ASSERT_TRUE(Chain().Load(In("ten.ecf")));
    EXPECT_TRUE(PumpUntil([&] { return IsHeardAt(sound, 10); }));
    QTest::keyClick(&Chain(), Qt::Key_Space, Qt::ControlModifier);
    EXPECT_EQ(State(), LPreviewState::kStopped);
    EXPECT_FALSE(Document().CanUndo());
    EXPECT_EQ(Now(), sound);
}

TEST_F(EffectChainPlayTest, TheNextPlayFollowsSelectionAndSound) {
    OpenNoise(30000);
    AddGain("50");
    Press("playChain");
    EXPECT_EQ(Chain().Preview()->Sound()->Length(), 30000);
    frame->ActiveSound()->View().Select(100, 5100);
    EXPECT_EQ(State(), LPreviewState::kPlaying) << "goes on";
    EXPECT_EQ(Chain().Preview()->Sound()->Length(), 30000);
    Press("playChain");
    Press("playChain");
    EXPECT_EQ(Chain().Preview()->Sound()->Length(), 5000);
    OpenNumbered("other.wav", 4000);
    EXPECT_EQ(Text("chainHint"), QStringLiteral("Works on the whole of \"other.wav\"."));
    Press("playChain");
    Press("playChain");
    EXPECT_EQ(Chain().Preview()->Sound()->Length(), 4000);
    EXPECT_EQ(Chain().Preview()->Sound()->Range().channels, 1);
    // The frame's own playing ends it, and the other way round.
    EXPECT_TRUE(Run(kCmdPlay));
    EXPECT_EQ(State(), LPreviewState::kStopped);
    Press("playChain");
    EXPECT_TRUE(Stopped());
    // Applying ends it too.
    Press("applyChain");
    EXPECT_EQ(State(), LPreviewState::kStopped);
    EXPECT_TRUE(WorksOff());
    EXPECT_TRUE(Document().CanUndo());
    Press("playChain");
    CloseChain();
    const size_t played = PlayedSoFar();
    QTest::qWait(60);
    EXPECT_EQ(PlayedSoFar(), played);
}

TEST_F(EffectChainPlayTest, SoundsMayBeMissingBusyOrClosedMeanwhile) {
    AddGain("50");
    const QString none = QStringLiteral("Open a sound to hear the effects and to apply them.");
    EXPECT_EQ(Text("chainHint"), none);
    EXPECT_FALSE(Button("playChain").isEnabled());
    EXPECT_FALSE(Button("applyChain").isEnabled());
    QTest::keyClick(&Chain(), Qt::Key_Space, Qt::ControlModifier);
    EXPECT_EQ(Chain().Preview(), nullptr);
    List().setFocus();
    QTest::keyClick(&List(), Qt::Key_Return);  // no sound for the dialog: its values here
    EXPECT_TRUE(In<QDoubleSpinBox>(Chain(), "gain").hasFocus());

    OpenNoise(30000);
    EXPECT_TRUE(Button("playChain").isEnabled());
    Press("playChain");
    ASSERT_TRUE(HasPlayed(2000));
    EXPECT_TRUE(Run(kCmdClose));
    ASSERT_TRUE(QTest::qWaitFor([&] { return frame->Sounds().isEmpty() && !Chain().Preview(); }))
        << "nothing of the sound is held";
    EXPECT_EQ(Text("chainHint"), none);
    EXPECT_FALSE(Button("playChain").isEnabled());
    const size_t played = PlayedSoFar();
    QTest::qWait(60);
    EXPECT_EQ(PlayedSoFar(), played);

    OpenNoise(1000);
    std::atomic<bool> go{false}, ended{false};
    frame->RunDocumentJob(
        LSoundDocumentRef(&Document()), QStringLiteral("Job"),
        [&](LProgress&) {
            while (!go) QThread::msleep(1);
            return JobResult::kSuccess;
        },
        [&](JobResult) { ended = true; });
    EXPECT_TRUE(PumpUntil([&] { return !Button("applyChain").isEnabled(); }));
    EXPECT_EQ(Text("chainHint"), QStringLiteral("\"noise.wav\" is being worked on."));
    QTest::mouseClick(&Button("applyChain"), Qt::LeftButton);
    go = true;
    EXPECT_TRUE(PumpUntil([&] { return ended.load() && Button("applyChain").isEnabled(); }));
    EXPECT_FALSE(Document().CanUndo());

    // The frame may go while it plays.
    Press("playChain");
    Document().isModified = false;
    frame.reset();
}

}  // namespace
}  // namespace ondarix
