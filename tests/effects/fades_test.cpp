// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/fades.h"

#include "effects/gain_fixture.h"
#include "sound/edit_host_fixture.h"

namespace ondarix::test {
namespace {

constexpr uint8_t kLinear = 0;

class FadeCommandsTest : public SoundCacheTest {
  protected:
    void SetUp() override {
        SoundCacheTest::SetUp();
        document_ = LSoundDocumentRef(new LSoundDocument);
        samples_ = NoiseFrames(kFrames, 2);
        document_->sound = Write(samples_, {44100, 2});
        document_->PushUndo("Load File", false);
        LBookmark mark;
        for (const int64_t at : {100, 30'000, 45'000}) {
            mark.index = NextBookmarkIndex(document_->bookmarks);
            mark.SetPosition(at, 44100);
            document_->bookmarks.push_back(mark);
        }
    }
    void TearDown() override {
        document_ = {};
        SoundCacheTest::TearDown();
    }

    // The samples of [start, end) times a gain in double.
    template <typename Gain>
    void ExpectSound(int64_t start, int64_t end, Gain gain) {
        const std::vector<float> out = ReadSound(document_->sound);
        ASSERT_EQ(static_cast<int64_t>(out.size()), (end - start) * 2);
        double worst = 0;
        for (int64_t i = start * 2; i < end * 2; ++i)
            worst = std::max(worst, std::fabs(out[static_cast<size_t>(i - start * 2)] -
                                              samples_[static_cast<size_t>(i)] * gain(i / 2)));
        EXPECT_LE(worst, 5e-7);
    }
    void ExpectUntouched() {
        EXPECT_EQ(ReadSound(document_->sound), samples_);
        EXPECT_FALSE(document_->CanUndo());
        EXPECT_EQ(document_->bookmarks.size(), 3u);
        EXPECT_FALSE(document_->isBusy);
    }
    std::vector<int64_t> Marks() const {
        std::vector<int64_t> marks;
        for (const LBookmark& mark : document_->bookmarks) marks.push_back(mark.position);
        return marks;
    }
    LApplied Remember() {
        return [this](JobResult result) { results_.push_back(result); };
    }

    static constexpr int64_t kFrames = 50'000;
    LSoundDocumentRef document_;
    LTestEditHost host_;
    std::vector<float> samples_;
    std::vector<JobResult> results_;
};

TEST_F(FadeCommandsTest, FadeInAndTrimIsOneStep) {
    document_->Select(20'000, 40'000);
    FadeInAndTrim(document_, host_, kLinear, Remember());
    EXPECT_EQ(results_, std::vector{JobResult::kSuccess});
    ExpectSound(20'000, kFrames, [](int64_t i) { return std::min(1.0, (i - 20'000) / 20'000.0); });
    EXPECT_EQ(Marks(), (std::vector<int64_t>{10'000, 25'000}));
    EXPECT_EQ(document_->selectionStart, 0);
    EXPECT_EQ(document_->selectionEnd, 20'000);
    EXPECT_EQ(document_->UndoLabel(), "Fade In and Trim");
    ASSERT_TRUE(document_->Undo());
    ExpectUntouched();
}

TEST_F(FadeCommandsTest, FadeOutAndTrimIsOneStep) {
    document_->Select(20'000, 40'000);
    FadeOutAndTrim(document_, host_, 3, Remember());
    EXPECT_EQ(results_, std::vector{JobResult::kSuccess});
    ExpectSound(0, 40'000, [](int64_t i) {
        return i < 20'000 ? 1.0 : std::sin((40'000.0 - i) / 20'000 * std::numbers::pi / 2);
    });
    EXPECT_EQ(Marks(), (std::vector<int64_t>{100, 30'000}));
    ASSERT_TRUE(document_->Undo());
    ExpectUntouched();
}

TEST_F(FadeCommandsTest, WithoutASelectionTheWholeSoundFadesAndNothingIsCut) {
    FadeOutAndTrim(document_, host_, kLinear, Remember());
    ExpectSound(0, kFrames, [](int64_t i) { return 1.0 - i / double{kFrames}; });
    EXPECT_FALSE(document_->HasSelection());
}

TEST_F(FadeCommandsTest, FadeAtTheEdgesOfTheClipWhateverIsSelected) {
    document_->Select(5'000, 6'000);
    FadeInClipStart(document_, host_, {.duration = 10'000, .type = kLinear}, Remember());
    ExpectSound(0, kFrames, [](int64_t i) { return std::min(1.0, i / 10'000.0); });
    FadeOutClipEnd(document_, host_, {.duration = 20'000, .type = kLinear}, Remember());
    ExpectSound(0, kFrames, [](int64_t i) {
        return std::min({1.0, i / 10'000.0, (kFrames - i) / 20'000.0});
    });
    EXPECT_EQ(document_->selectionStart, 5'000);
    EXPECT_EQ(document_->selectionEnd, 6'000);
    EXPECT_EQ(document_->UndoLabel(), "Fade Out Clip End");
    document_->Undo();
    EXPECT_EQ(document_->UndoLabel(), "Fade In Clip Start");
    document_->Undo();
    ExpectUntouched();
}

TEST_F(FadeCommandsTest, AStartOfItsOwnLeavesSilenceOutside) {
    FadeInClipStart(document_, host_, {.start = 8'000, .duration = 4'000}, Remember());
    ExpectSound(0, kFrames, [](int64_t i) { return std::clamp((i - 8'000) / 4'000.0, 0.0, 1.0); });
    document_->Undo();
    FadeOutClipEnd(document_, host_, {.start = 8'000, .duration = 4'000}, Remember());
    ExpectSound(0, kFrames, [](int64_t i) { return std::clamp(1 - (i - 8'000) / 4'000.0, 0.0, 1.0); });
    document_->Undo();
    // A duration that goes on behind the clip ends with it.
    FadeOutClipEnd(document_, host_, {.duration = std::numeric_limits<int64_t>::max()}, Remember());
    ExpectSound(0, kFrames, [](int64_t i) { return 1.0 - i / double{kFrames}; });
}

TEST_F(FadeCommandsTest, RefusalsAndCancellingChangeNothing) {
    FadeInClipStart(document_, host_, {.duration = 0}, Remember());
    FadeOutClipEnd(document_, host_, {.duration = -5}, Remember());
    EXPECT_EQ(host_.told, (QStringList{"Fade In Clip Start|Fade duration should not be 0.",
                                       "Fade Out Clip End|Fade duration should not be 0."}));
    FadeInClipStart(document_, host_, {.start = kFrames, .duration = 5}, Remember());
    document_->isBusy = true;
    FadeInAndTrim(document_, host_, kLinear, Remember());
    FadeOutClipEnd(document_, host_, {.duration = 5}, Remember());
    document_->isBusy = false;
    EXPECT_EQ(results_, std::vector<JobResult>(5, JobResult::kCancelled));
    document_->Select(20'000, 40'000);
    const QStringList files = Files();
    for (int blocks = 0; blocks < 3; ++blocks) {
        host_.cancelAfter = blocks;
        FadeInAndTrim(document_, host_, kLinear, Remember());
        FadeOutClipEnd(document_, host_, {.duration = 30'000}, Remember());
        EXPECT_EQ(results_.back(), JobResult::kCancelled) << blocks;
    }
    ExpectUntouched();
    EXPECT_EQ(Files(), files) << "a working file was left behind";
    LSoundDocumentRef empty(new LSoundDocument);
    FadeInAndTrim(empty, host_, kLinear, Remember());
    EXPECT_EQ(results_.back(), JobResult::kCancelled);
}

TEST_F(FadeCommandsTest, OneChannelAloneFadesAndTheOthersStay) {
    ASSERT_EQ(EditChannel(*document_, host_, 1), JobResult::kSuccess);
    FadeInClipStart(document_, host_, {.duration = 10'000}, Remember());
    EXPECT_EQ(results_, std::vector{JobResult::kSuccess});
    const std::vector<float> out = ReadSound(document_->sound);
    ASSERT_EQ(out.size(), samples_.size());
    for (size_t i = 0; i < out.size(); ++i) {
        const double gain = i % 2 ? std::min(1.0, static_cast<double>(i / 2) / 10'000) : 1.0;
        ASSERT_NEAR(out[i], samples_[i] * gain, 5e-7) << i;
    }
}

}  // namespace
}  // namespace ondarix::test
