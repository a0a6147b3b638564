// SPDX-License-Identifier: GPL-3.0-or-later
// Commands in any order, with every question cancelled: nothing breaks, and what is open stays in itself.
#include <random>

#include "gen/phase.h"
#include "sound/marks.h"
#include "window_dialogs.h"
#include "window_fixture.h"

namespace ondarix {
namespace {

constexpr int kCommands = 500, kMostSounds = 8;

// What holds for every document at any time.
void ExpectWhole(const LSoundDocument& document) {
    const int64_t length = document.Edited().Length(), whole = document.sound.Length();
    EXPECT_LE(0, document.selectionStart);
    EXPECT_LE(document.selectionStart, document.selectionEnd);
    EXPECT_LE(document.selectionEnd, length);
    EXPECT_TRUE(document.cursor >= 0 && document.cursor <= length) << document.cursor << " of " << length;
    EXPECT_TRUE(!document.HasSelection() || document.cursor == document.selectionStart ||
                document.cursor == document.selectionEnd);
    EXPECT_TRUE(document.viewStart >= 0 && document.viewStart <= document.viewEnd);
    EXPECT_LE(document.viewEnd, std::max<int64_t>(length, 1));
    for (const LBookmark& one : document.bookmarks)
        EXPECT_TRUE(one.position >= 0 && one.position <= whole) << one.position << " of " << whole;
    for (const LRegion& one : document.regions)
        EXPECT_TRUE(one.startFrame >= 0 && one.startFrame <= one.endFrame && one.endFrame <= whole);
    EXPECT_EQ(document.CanUndo(), !document.UndoLabel().isEmpty());
    EXPECT_EQ(document.channelEditMode == LSoundDocument::kEditsChannel, document.channelSound != nullptr);
    int64_t sum = 0;
    for (const LSoundSegment* segment = document.sound.segments.get(); segment; segment = segment->next.get())
        sum += segment->length;
    EXPECT_EQ(sum, whole);
}

class LStorm {
  public:
    LStorm(LMainFrame& frame, uint64_t seed) : frame_(frame), random_(seed) {
        for (const LCommandRow& row : CommandTable())
            if (IsVisible(row) && row.id != kCmdExit && row.id != kCmdCloseAll) ids_.push_back(row.id);
    }
    int Below(int64_t end) { return static_cast<int>(random_() % static_cast<uint64_t>(end)); }
    int NextCommand() { return ids_[static_cast<size_t>(Below(static_cast<int64_t>(ids_.size())))]; }
    void SelectSomething() {
        LSoundWindow* sound = frame_.ActiveSound();
        if (!sound) return;
        const int64_t end = sound->Document().Edited().Length() + 1;
        sound->View().Select(Below(end), Below(end));
    }

  private:
    LMainFrame& frame_;
    std::vector<int> ids_;
    std::mt19937_64 random_;
};

// Whether dialogs are agreed to, and the seed.
class StormTest : public WindowTest, public testing::WithParamInterface<std::tuple<bool, uint64_t>> {};

TEST_P(StormTest, NoOrderOfCommandsBreaksADocument) {
    const QStringList sources = {MakeWav("a.wav", "16", "1"), MakeWav("b.wav", "24", "0.3"),
                                 MakeWav("c.wav", "8", "0.02")};
    SetSettingString(QStringLiteral("Settings"), QStringLiteral("SaveAsDir"), folder.path());
    SetSettingBool(QStringLiteral("Settings"), QStringLiteral("RegionsWarnUserWhenClosing"), false);
    const auto [agrees, seed] = GetParam();
    const LDialogCloser closer(agrees ? [](QDialog&) {} : std::function<void(QDialog&)>());
    LStorm storm(*frame, seed);
    const int32_t phase = ProgramPhase();
    int ran = 0, opened = 0;
    for (int i = 0; i < kCommands && !HasFailure(); ++i) {
        // What asks is thrown away, or done all the same.
        messages->answers = QList<int>(60, 1);
        if (frame->Sounds().isEmpty()) Open(sources[opened++ % sources.size()]);
        while (frame->Sounds().size() > kMostSounds) {  // a split may have made a hundred
            messages->answers = QList<int>(60, 1);
            frame->RunCommand(kCmdClose);
            QTest::qWait(1);
        }
        if (storm.Below(2) == 0) storm.SelectSomething();
        const int id = storm.NextCommand();
        SCOPED_TRACE(std::to_string(i) + ": " + std::to_string(id) + " " + FindCommand(id)->text);
        ran += frame->RunCommand(id);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
        EXPECT_EQ(ProgramPhase(), phase);
        EXPECT_TRUE(frame->isEnabled());
        for (LSoundWindow* window : frame->Sounds()) ExpectWhole(window->Document());
    }
    EXPECT_GT(ran, kCommands / 3);
    EXPECT_GT(closer.Closed(), kCommands / 50);
    for (LSoundWindow* window : frame->Sounds()) window->mayClose = nullptr;
    while (LSoundWindow* window = frame->ActiveSound()) {
        window->parentWidget()->close();
        QTest::qWait(1);
    }
    EXPECT_TRUE(frame->Sounds().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Dialogs, StormTest,
                         testing::Combine(testing::Bool(), testing::Values(1u, 2u, 20260614u)),
                         [](const auto& one) {
                             return std::string(std::get<0>(one.param) ? "AgreedTo" : "Cancelled") +
                                    std::to_string(std::get<1>(one.param));
                         });

}  // namespace
}  // namespace ondarix
