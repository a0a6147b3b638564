// SPDX-License-Identifier: GPL-3.0-or-later
// Effects on documents: what is changed and what is not, marks, one channel alone, refusals and cancelling.
#include "effects/apply.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

#include "effects/filter.h"
#include "effects/stack.h"
#include "sound/edit_host_fixture.h"
#include "sound/marks.h"

namespace ondarix {
namespace {

// Each sample times `gain`, `times` times as long by repeating every frame.
struct LTestParams {
    float gain = 1;
    int times = 1;
    bool isMeasured = false;
    int64_t claimedLength = -1;
    bool hasNoMemory = false, throws = false;
};

class LTestFilter final : public LSoundFilter {
  public:
    LTestFilter(LSoundSourceRef source, const LTestParams& params)
        : LSoundFilter(std::move(source)), params_(params) {
        peak *= std::fabs(params.gain);
    }
    int64_t GetLength() override {
        return params_.claimedLength >= 0 ? params_.claimedLength : source_->GetLength() * params_.times;
    }
    int64_t GetPosition() override { return at_; }
    void Seek(int64_t frame) override { at_ = frame; }
    float* Read(float* dest, int32_t frames) override {
        for (int32_t i = 0; i < frames; ++i, ++at_) {
            if (at_ % params_.times == 0 || i == 0) {
                source_->Seek(at_ / params_.times);
                source_->Read(frame_, 1);
            }
            for (int c = 0; c < channels; ++c) *dest++ = frame_[c] * params_.gain;
        }
        return dest;
    }

  protected:
    void Process(float*, int32_t, int64_t) override {}

  private:
    LTestParams params_;
    int64_t at_ = 0;
    float frame_[255] = {};
};

class LTestEffect final : public LEffect {
  public:
    explicit LTestEffect(const LTestParams& params) : params_(params) {}
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override {
        if (params_.throws) throw std::bad_alloc();
        if (params_.hasNoMemory) return {};
        if (params_.gain == 1 && params_.times == 1 && params_.claimedLength < 0) return source;
        return WrapInFilter<LTestFilter>(std::move(source), params_);
    }
    QString GetName() const override { return QStringLiteral("Test"); }
    int32_t GetType() const override { return 0; }
    std::unique_ptr<LEffect> Clone() const override { return std::make_unique<LTestEffect>(*this); }
    bool NeedsMeasure() const override { return params_.isMeasured; }
    JobResult Measure(const LOpenSource& open, LProgress& progress) override {
        const LSoundSourceRef source = open();
        std::vector<float> block(static_cast<size_t>(kBlockFrames) * source->channels);
        for (int64_t left = source->GetLength(); left > 0; left -= kBlockFrames) {
            if (progress.IsCancelled()) return JobResult::kCancelled;
            source->Read(block.data(), static_cast<int32_t>(std::min<int64_t>(left, kBlockFrames)));
        }
        return JobResult::kSuccess;
    }

  private:
    LTestParams params_;
};

std::vector<float> Ramp(int64_t frames, int channels, float scale = 0.5f) {
    std::vector<float> samples;
    for (int64_t i = 0; i < frames * channels; ++i)
        samples.push_back(scale * static_cast<float>(i % 997) / 997.0f - scale / 2);
    return samples;
}

class ApplyTest : public SoundCacheTest {
  protected:
    void Fill(int64_t frames, int channels = 2, float scale = 0.5f) {
        samples = Ramp(frames, channels, scale);
        document->sound = Write(samples, {44100, static_cast<uint8_t>(channels)});
        document->title = QStringLiteral("test");
        document->PushUndo(QStringLiteral("Load File"), false);
        document->isModified = false;
    }
    JobResult Apply(const LTestParams& params, bool staysBusy = false) {
        JobResult result = JobResult::kFailed;
        int calls = 0;
        ApplyEffectToSelection(document, host, LTestEffect(params), QStringLiteral("Testing"),
                               [&](JobResult ended) {
                                   result = ended;
                                   ++calls;
                               });
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(document->isBusy, staysBusy);
        return result;
    }
    void Mark(int64_t position) { AddBookmark(*document, host, position); }
    std::vector<int64_t> Marks() const {
        std::vector<int64_t> places;
        for (const LBookmark& one : document->bookmarks) places.push_back(one.position);
        return places;
    }

    std::vector<float> samples;
    LTestEditHost host;
    LSoundDocumentRef document{new LSoundDocument};
};

TEST_F(ApplyTest, ChangesTheSelectionAloneInOneStepThatCanBeUndone) {
    Fill(100000);
    document->Select(30000, 70001);
    ASSERT_EQ(Apply({.gain = -0.5f}), JobResult::kSuccess);
    std::vector<float> expected = samples;
    for (size_t i = 60000; i < 140002; ++i) expected[i] *= -0.5f;
    EXPECT_EQ(ReadSound(document->sound), expected);
    EXPECT_EQ(document->UndoLabel(), "Testing");
    EXPECT_EQ(document->selectionStart, 30000);
    EXPECT_EQ(document->selectionEnd, 70001);
    EXPECT_TRUE(host.told.isEmpty());
    EXPECT_TRUE(UndoChange(*document, host));
    EXPECT_EQ(ReadSound(document->sound), samples);
    EXPECT_FALSE(document->CanUndo());
}

TEST_F(ApplyTest, WithoutASelectionEverythingChangesAndNothingIsSelected) {
    Fill(5000);
    document->cursor = document->selectionStart = document->selectionEnd = 1000;
    ASSERT_EQ(Apply({.gain = 0.25f, .times = 2}), JobResult::kSuccess);
    EXPECT_EQ(document->sound.Length(), 10000);
    EXPECT_FALSE(document->HasSelection());
    EXPECT_EQ(document->cursor, 2000);  // at the same place of what is heard
}

TEST_F(ApplyTest, AnEffectThatHasNothingToDoLeavesNoStep) {
    Fill(5000, 2, 3.0f);  // louder than full scale: that alone is no reason to change it
    ASSERT_EQ(Apply({}), JobResult::kSuccess);
    EXPECT_EQ(ReadSound(document->sound), samples);
    EXPECT_FALSE(document->CanUndo());
    EXPECT_FALSE(document->isModified);
}

TEST_F(ApplyTest, WhatGetsTooLoudIsLimitedAndOtherResultsAreNot) {
    Fill(60000, 1);
    ASSERT_EQ(Apply({.gain = 3.9f}), JobResult::kSuccess);
    std::vector<float> expected = samples;
    for (float& sample : expected) sample *= 3.9f;
    EXPECT_EQ(ReadSound(document->sound), expected);  // 0.975 at most
    ASSERT_EQ(Apply({.gain = 1.1f}), JobResult::kSuccess);
    const std::vector<float> loud = ReadSound(document->sound);
    const float most = std::fabs(*std::max_element(
        loud.begin(), loud.end(), [](float a, float b) { return std::fabs(a) < std::fabs(b); }));
    EXPECT_LE(most, kResultPeak);
    EXPECT_GT(most, 0.99f);
}

TEST_F(ApplyTest, OnlyWhatIsUnchangedClaimsToComeFromIntegers) {
    {
        LCacheFileWriter writer({44100, 1}, &document->sound);
        writer.SetSourceBits(16);
        const std::vector<float> grid(40000, 1000.0f / 32767.0f);
        writer.Write(grid.data(), 40000);
    }
    document->PushUndo(QStringLiteral("Load File"), false);
    ASSERT_TRUE(IsOnIntegerGrid(document->sound, 16));
    uint32_t bits = 0;
    EXPECT_TRUE(OpenForEffects(document->sound)->Query(kQueryIntegerBits, &bits));
    EXPECT_EQ(bits, 16u);
    document->Select(10000, 20000);
    ASSERT_EQ(Apply({.gain = 0.3f}), JobResult::kSuccess);
    LSound changed, before, behind;
    document->sound.CopyRange(10000, 20000, changed);
    document->sound.CopyRange(0, 10000, before);
    document->sound.CopyRange(20000, 40000, behind);
    EXPECT_FALSE(IsOnIntegerGrid(changed, 16));
    EXPECT_FALSE(OpenForEffects(document->sound)->Query(kQueryIntegerBits, &bits));
    EXPECT_TRUE(IsOnIntegerGrid(before, 16));
    EXPECT_TRUE(IsOnIntegerGrid(behind, 16));
}

TEST_F(ApplyTest, MarksStayWithWhatIsHeard) {
    Fill(10000);
    for (const int64_t at : {500, 1000, 1500, 2000, 3000}) Mark(at);
    AddRegion(*document, host, 1200, 2500);
    document->Select(1000, 2000);
    ASSERT_EQ(Apply({.gain = 0.5f}), JobResult::kSuccess);
    EXPECT_EQ(Marks(), (std::vector<int64_t>{500, 1000, 1500, 2000, 3000}));
    ASSERT_EQ(Apply({.gain = 0.5f, .times = 3}), JobResult::kSuccess);
    EXPECT_EQ(document->sound.Length(), 12000);
    EXPECT_EQ(Marks(), (std::vector<int64_t>{500, 1000, 2500, 4000, 5000}));
    ASSERT_EQ(document->regions.size(), 1u);
    EXPECT_EQ(document->regions[0].startFrame, 1600);
    EXPECT_EQ(document->regions[0].endFrame, 4500);
    EXPECT_EQ(document->selectionStart, 1000);
    EXPECT_EQ(document->selectionEnd, 4000);
    EXPECT_EQ(document->cursor, 4000);
}

// --- One channel alone

TEST_F(ApplyTest, OneChannelAloneIsReplacedAndTheOthersStay) {
    Fill(20000);
    ASSERT_EQ(EditChannel(*document, host, 1), JobResult::kSuccess);
    host.jobs.clear();
    document->Select(5000, 9000);
    ASSERT_EQ(Apply({.gain = 0.5f}), JobResult::kSuccess);
    EXPECT_EQ(host.jobs, (QStringList{"Testing", "Replacing the channel..."}));
    std::vector<float> expected = samples;
    for (size_t i = 5000; i < 9000; ++i) expected[i * 2 + 1] *= 0.5f;
    EXPECT_EQ(ReadSound(document->sound), expected);
    EXPECT_EQ(document->channelEditMode, LSoundDocument::kEditsChannel);
}

TEST_F(ApplyTest, ALongerChannelIsAskedAbout) {
    Fill(20000);
    Mark(15000);
    ASSERT_EQ(EditChannel(*document, host, 0), JobResult::kSuccess);
    document->Select(5000, 9410);
    EXPECT_EQ(Apply({.gain = 0.5f, .times = 2}), JobResult::kCancelled);  // the safe answer
    ASSERT_EQ(host.told.size(), 1);
    EXPECT_TRUE(host.told[0].startsWith(
        "Channel Length Changes|This operation will expand the audio in this channel by 100 milliseconds."))
        << host.told[0].toStdString();
    EXPECT_EQ(ReadSound(document->sound), samples);
    EXPECT_EQ(document->channelSound->Length(), 20000);
    EXPECT_EQ(document->selectionEnd, 9410);
    EXPECT_NE(document->UndoLabel(), "Testing");
    host.answers = {0};
    EXPECT_EQ(Apply({.gain = 0.5f, .times = 2}), JobResult::kSuccess);
    EXPECT_EQ(document->sound.Length(), 24410);
    EXPECT_EQ(Marks(), std::vector<int64_t>{15000});  // of the whole sound, whose other channel stays
}

// --- Refusals

TEST_F(ApplyTest, WhatCannotBeDoneIsToldAndChangesNothing) {
    Fill(20000);
    const QString memory = QString::fromLatin1(kMemoryTitle) + u'|' + QString::fromLatin1(kMemoryText);
    EXPECT_EQ(Apply({.hasNoMemory = true}), JobResult::kFailed);
    EXPECT_EQ(Apply({.throws = true}), JobResult::kFailed);
    EXPECT_EQ(host.told, (QStringList{memory, memory}));
    host.told.clear();
    document->Select(0, 100);
    EXPECT_EQ(Apply({.claimedLength = std::numeric_limits<int64_t>::max() - 19000}), JobResult::kFailed);
    ASSERT_EQ(host.told.size(), 1);
    EXPECT_EQ(host.told[0],
              QString::fromLatin1(kEffectLengthTitle) + u'|' + QString::fromLatin1(kEffectLengthText));
    host.told.clear();
    EXPECT_EQ(Apply({.claimedLength = int64_t{1} << 50}), JobResult::kFailed);  // no disk holds that
    ASSERT_EQ(host.told.size(), 1);
    EXPECT_TRUE(host.told[0].startsWith("Error|The result could not be written"));
    host.mayEdit = false;
    EXPECT_EQ(Apply({.gain = 0.5f}), JobResult::kCancelled);
    EXPECT_EQ(ReadSound(document->sound), samples);
    EXPECT_FALSE(document->CanUndo());
    EXPECT_FALSE(document->isModified);
}

TEST_F(ApplyTest, AnEmptySoundReachesNoEffect) {
    document->sound = LSound(44100, 2);
    EXPECT_EQ(Apply({.throws = true}), JobResult::kCancelled);
}

TEST_F(ApplyTest, MonoIsConvertedForStereoEffectsAfterAQuestion) {
    Fill(5000, 1);
    EXPECT_EQ(EnsureStereo(*document, host), JobResult::kCancelled);
    EXPECT_EQ(host.told, QStringList{QString::fromLatin1(kStereoRequiredTitle) + u'|' +
                                     QString::fromLatin1(kStereoRequiredText)});
    EXPECT_EQ(document->sound.channels, 1);
    host.answers = {1};
    EXPECT_EQ(EnsureStereo(*document, host), JobResult::kSuccess);
    EXPECT_EQ(document->sound.channels, 2);
    host.told.clear();
    EXPECT_EQ(EnsureStereo(*document, host), JobResult::kSuccess);
    EXPECT_TRUE(host.told.isEmpty());
    ASSERT_EQ(EditChannel(*document, host, 0), JobResult::kSuccess);
    EXPECT_EQ(EnsureStereo(*document, host), JobResult::kFailed);
    EXPECT_EQ(host.told, QStringList{QString::fromLatin1(kUnsupportedFormatTitle) + u'|' +
                                     QString::fromLatin1(kStereoOnlyText)});
}

// --- Cancelling

// At each call in turn, until the job is not cancelled any more.
TEST_F(ApplyTest, CancellingAtAnyPlaceLeavesNoTrace) {
    Fill(200000);  // long enough for the pump to read on its other thread
    ASSERT_EQ(EditChannel(*document, host, 1), JobResult::kSuccess);
    document->Select(10000, 180000);
    host.told.clear();
    const QStringList files = Files();
    const auto slots = document->HistorySlots();
    const bool modified = document->isModified;
    int cancelled = 0;
    for (host.cancelAfter = 0;; ++host.cancelAfter) {
        const JobResult result = Apply({.gain = 0.5f, .isMeasured = true});
        if (result == JobResult::kSuccess) break;
        ASSERT_EQ(result, JobResult::kCancelled) << host.cancelAfter;
        ++cancelled;
        ASSERT_EQ(Files(), files) << host.cancelAfter;
        ASSERT_EQ(document->HistorySlots(), slots);
        ASSERT_EQ(document->UndoLabel(), "");
        ASSERT_EQ(document->isModified, modified);
        ASSERT_EQ(document->selectionStart, 10000);
        ASSERT_EQ(document->selectionEnd, 180000);
        ASSERT_EQ(document->cursor, 180000);
        ASSERT_EQ(ReadSound(document->sound), samples);
    }
    EXPECT_GE(cancelled, 2 * 170000 / kBlockFrames);  // each block of both passes
    EXPECT_TRUE(host.told.isEmpty());
    EXPECT_EQ(document->UndoLabel(), "Testing");
}

// --- Busy documents

// Keeps the work until the test lets it run.
class LLaterHost final : public LEditHost {
  public:
    explicit LLaterHost(LTestEditHost& host) : host_(host) {}
    LMessageHost& Messages() override { return host_.Messages(); }
    JobResult RunJob(const QString& title, const std::function<JobResult(LProgress&)>& work) override {
        return host_.RunJob(title, work);
    }
    void RunDocumentJob(LSoundDocumentRef document, const QString&, LDocumentWork work,
                        LDocumentFinish finish) override {
        document->isBusy = true;
        end = [=] {
            LNullProgress progress;
            const JobResult result = work(progress);
            document->isBusy = false;
            finish(result);
        };
    }
    bool AddDocument(LSoundDocumentRef) override { return false; }
    std::function<void()> end;

  private:
    LTestEditHost& host_;
};

TEST_F(ApplyTest, ABusyDocumentRefusesEveryChange) {
    Fill(20000);
    Mark(100);
    document->Select(0, 1000);
    ASSERT_EQ(SilenceSelection(*document, host), JobResult::kSuccess);
    ASSERT_TRUE(UndoChange(*document, host));
    const std::vector<float> before = ReadSound(document->sound);
    const auto slots = document->HistorySlots();
    const int index = document->undoIndex;
    LLaterHost later(host);
    JobResult applied = JobResult::kFailed;
    ApplyEffectToSelection(document, later, LTestEffect({.gain = 0.5f}), QStringLiteral("Testing"),
                           [&](JobResult result) { applied = result; });
    ASSERT_TRUE(document->isBusy);
    const float drawn[2] = {};
    EXPECT_FALSE(UndoChange(*document, host));
    EXPECT_FALSE(RedoChange(*document, host));
    EXPECT_FALSE(RevertDocument(*document, host));
    for (const int slot : slots) EXPECT_FALSE(GoToChange(*document, host, slot));
    EXPECT_EQ(DeleteSelection(*document, host), JobResult::kCancelled);
    EXPECT_EQ(EditChannel(*document, host, 0), JobResult::kCancelled);
    EXPECT_EQ(WriteSamples(*document, host, 0, drawn, 1), JobResult::kCancelled);
    EXPECT_EQ(AddBookmark(*document, host, 50), JobResult::kCancelled);
    EXPECT_EQ(MoveBookmark(*document, host, document->bookmarks[0].index, 60), JobResult::kCancelled);
    EXPECT_EQ(DeleteAllBookmarks(*document, host), JobResult::kCancelled);
    EXPECT_EQ(AddRegion(*document, host, 0, 50), JobResult::kCancelled);
    EXPECT_EQ(ConvertSampleRate(*document, host, 8000), JobResult::kCancelled);
    EXPECT_EQ(Apply({.gain = 0.5f}, true), JobResult::kCancelled);
    EXPECT_EQ(document->HistorySlots(), slots);
    EXPECT_EQ(document->undoIndex, index);
    EXPECT_EQ(ReadSound(document->sound), before);
    document->Select(5000, 6000);  // looking and selecting goes on
    later.end();
    EXPECT_EQ(applied, JobResult::kSuccess);
    EXPECT_FALSE(document->isBusy);
    EXPECT_EQ(document->selectionStart, 0);
    EXPECT_EQ(document->selectionEnd, 1000);
    EXPECT_EQ(ReadSound(document->sound)[500], before[500] * 0.5f);
}

}  // namespace
}  // namespace ondarix
