// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/channels.h"

#include "effects/dc_offset.h"
#include "effects/filter.h"
#include "effects/gain_fixture.h"
#include "effects/reverse.h"
#include "effects/stack.h"

namespace ondarix::test {
namespace {

TEST(StereoEffectsTest, ChangeStereoOnlyAndOneSideAsTheyShould) {
    for (const LTestSound& sound : TestSounds()) {
        const LSoundSourceRef source = Open(sound);
        if (sound.format.channels != 2) {
            EXPECT_EQ(LChannelSwapEffect().CreateFilter(source).Get(), source.Get()) << sound.name;
            EXPECT_EQ(LPhaseInversionEffect().CreateFilter(source).Get(), source.Get()) << sound.name;
            continue;
        }
        std::vector<float> swapped = sound.samples, inverted = sound.samples;
        for (size_t i = 0; i + 1 < swapped.size(); i += 2) {
            std::swap(swapped[i], swapped[i + 1]);
            inverted[i] = -inverted[i];
        }
        EXPECT_EQ(Through(LChannelSwapEffect(), sound, 777), swapped) << sound.name;
        EXPECT_EQ(Through(LPhaseInversionEffect(), sound, 777), inverted) << sound.name;
        ExpectSameFromAnywhere(LChannelSwapEffect(), sound);
    }
}

TEST(MuteTest, GivesZerosOfTheSameLengthEvenForWhatIsNoNumber) {
    LTestSound sound = SpokenWords();
    sound.samples[100] = std::nanf("");
    EXPECT_EQ(Through(LMuteEffect(), sound), std::vector<float>(sound.samples.size(), 0.0f));
    EXPECT_EQ(LMuteEffect().CreateFilter(Open(sound))->peak, 0.0f);
}

TEST(ReverseTest, TurnsFramesAroundAndKeepsTheirChannels) {
    for (const LTestSound& sound : TestSounds()) {
        std::vector<float> expected;
        for (int64_t i = sound.Frames() - 1; i >= 0; --i) {
            const auto frame = sound.samples.begin() + i * sound.format.channels;
            expected.insert(expected.end(), frame, frame + sound.format.channels);
        }
        EXPECT_EQ(Through(LReverseEffect(), sound), expected) << sound.name;
        ExpectSameFromAnywhere(LReverseEffect(), sound);
    }
}

TEST(ReverseTest, HoldsAtLengthsAroundItsBlocksAndOutsideOfTheSound) {
    for (const int64_t frames : {1, 2, 8191, 8192, 8193, 16384, 16385}) {
        const LTestSound sound = {"short", NoiseFrames(frames, 1), {44100, 1}};
        std::vector<float> expected(sound.samples.rbegin(), sound.samples.rend());
        const LSoundSourceRef reversed = LReverseEffect().CreateFilter(Open(sound));
        reversed->Seek(-3);
        expected.insert(expected.begin(), 3, 0.0f);
        if (frames == 1) continue;  // the source itself
        expected.insert(expected.end(), 4, 0.0f);
        EXPECT_EQ(ReadFrames(*reversed, frames + 7, 5000), expected) << frames;
    }
    const LSoundSourceRef source = Open({"nothing", {}, {44100, 2}});
    EXPECT_EQ(LReverseEffect().CreateFilter(source).Get(), source.Get());
}

TEST(ReverseTest, ManyInARowTakeAsManyTimesAsLong) {
    const LTestSound sound{"noise", NoiseFrames(50'000, 2), {44100, 2}};
    LSoundSourceRef source = Open(sound);
    for (int i = 0; i < 60; ++i) source = LReverseEffect().CreateFilter(std::move(source));
    std::vector<float> out(sound.samples.size());
    source->Read(out.data(), 50'000);  // with twice the work for each it would never end
    EXPECT_EQ(out, sound.samples);
}

class DcOffsetTest : public SoundCacheTest {
  protected:
    // Through measuring and filter, as applying does it.
    std::vector<float> Corrected(const LTestSound& sound, LDcOffsetEffect& effect) {
        LNullProgress progress;
        EXPECT_EQ(effect.Measure([&] { return Open(sound); }, progress), JobResult::kSuccess);
        return Through(effect, sound);
    }
};

TEST_F(DcOffsetTest, SubtractsTheMeanOfEachChannel) {
    for (LTestSound sound : TestSounds()) {
        const size_t channels = sound.format.channels;
        for (size_t i = 0; i < sound.samples.size(); ++i)
            sound.samples[i] += 0.01f * static_cast<float>(i % channels) - 0.03f;
        std::vector<double> means(channels);
        for (size_t i = 0; i < sound.samples.size(); ++i)
            means[i % channels] += sound.samples[i] / static_cast<double>(sound.Frames());
        LDcOffsetEffect effect;
        const std::vector<float> out = Corrected(sound, effect);
        double worst = 0;
        for (size_t i = 0; i < out.size(); ++i)
            worst = std::max(worst, std::fabs(out[i] - (sound.samples[i] - means[i % channels])));
        EXPECT_LE(worst, 3e-7) << sound.name;
        ExpectSameFromAnywhere(effect, sound);
    }
}

TEST_F(DcOffsetTest, LeavesTheSourceAloneWithoutAMeanToSubtract) {
    LDcOffsetEffect effect;
    const LTestSound balanced = {"balanced", {0.5f, -0.5f, 0.25f, -0.25f}, {44100, 1}};
    const LSoundSourceRef source = Open(balanced);
    EXPECT_EQ(effect.CreateFilter(source).Get(), source.Get()) << "nothing was measured";
    EXPECT_EQ(Corrected(balanced, effect), balanced.samples);
    EXPECT_EQ(effect.CreateFilter(source).Get(), source.Get());
    const LTestSound nothing = {"nothing", {}, {44100, 2}};
    EXPECT_TRUE(Corrected(nothing, effect).empty());

    const LTestSound broken = {"no number", {std::nanf(""), 0.5f, 0.5f, 0.5f}, {44100, 2}};
    EXPECT_EQ(Corrected(broken, effect)[1], 0.0f);
    EXPECT_EQ(effect.Means(), (std::vector<double>{0, 0.5}));
    LNullProgress progress;
    EXPECT_EQ(effect.Measure([] { return FailedSource(kSourceCannotOpen); }, progress), JobResult::kFailed);
    EXPECT_TRUE(effect.Means().empty());
}

TEST_F(DcOffsetTest, IsSuggestedForShiftedSoundsOnly) {
    const LTestSound speech = SpokenWords();
    const auto twoSeconds = [](std::vector<float> samples, double shift) {
        for (float& sample : samples) sample += static_cast<float>(shift);
        return samples;
    };
    // Every recording of the machine that is not told to be anything else.
    for (const QString& name : QDir("/usr/share/sounds/alsa").entryList({"*.wav"}, QDir::Files)) {
        const LSoundSourceRef file = OpenWav("/usr/share/sounds/alsa/" + name);
        const std::vector<float> samples = ReadFrames(*file, file->GetLength());
        EXPECT_FALSE(SuggestsDcOffset(Write(samples, file->Format()))) << name.toStdString();
        EXPECT_TRUE(SuggestsDcOffset(Write(twoSeconds(samples, 0.02), file->Format()))) << name.toStdString();
        EXPECT_TRUE(SuggestsDcOffset(Write(twoSeconds(samples, -0.05), file->Format())))
            << name.toStdString();
    }
    const LSoundFormat stereo = {44100, 2};
    EXPECT_FALSE(SuggestsDcOffset(Write(NoiseFrames(400'000, 2), stereo)));
    EXPECT_TRUE(SuggestsDcOffset(Write(twoSeconds(NoiseFrames(400'000, 2), 0.03), stereo)));
    // Waves slower than a block, one side only, and a single step are no offset; silence beside one is.
    EXPECT_FALSE(SuggestsDcOffset(Write(SineFrames(400'000, 2, 3, 44100), stereo)));
    EXPECT_FALSE(SuggestsDcOffset(Write(SineFrames(400'000, 2, 35, 44100), stereo)));
    EXPECT_FALSE(SuggestsDcOffset(Write(SineFrames(400'000, 2, 441, 44100, 0.002), stereo)));
    EXPECT_TRUE(SuggestsDcOffset(Write(SineFrames(400'000, 2, 441, 44100, 0.006), stereo)));
    std::vector<float> oneChannel = NoiseFrames(400'000, 2);
    for (size_t i = 1; i < oneChannel.size(); i += 2) oneChannel[i] = 0.01f;
    EXPECT_TRUE(SuggestsDcOffset(Write(oneChannel, stereo)));
    std::vector<float> burst(800'000, 0.0f);
    std::fill_n(burst.begin() + 100'000, 20'000, 0.9f);
    EXPECT_FALSE(SuggestsDcOffset(Write(burst, stereo)));
    EXPECT_FALSE(SuggestsDcOffset(LSound()));
    EXPECT_FALSE(SuggestsDcOffset(Write({0.5f, 0.5f}, stereo)));
}

TEST_F(DcOffsetTest, StopsWhereItIsCancelledAndThenCorrectsNothing) {
    class LCancelAfter final : public LProgress {
      public:
        explicit LCancelAfter(int blocks) : left(blocks) {}
        bool IsCancelled() override { return left-- == 0; }
        WaitResult Sleep(int) override { return WaitResult::kSignalled; }
        WaitResult WaitForHandle(LWaitHandle, int) override { return WaitResult::kSignalled; }
        WaitResult WaitForHandles(const LHandleList&, int) override { return WaitResult::kSignalled; }
        int left;
    };
    const LTestSound sound = {"five blocks", std::vector<float>(5 * 8192, 0.5f), {44100, 1}};
    LDcOffsetEffect effect;
    for (int blocks = 0; blocks < 5; ++blocks) {
        Corrected(sound, effect);
        LCancelAfter progress(blocks);
        EXPECT_EQ(effect.Measure([&] { return Open(sound); }, progress), JobResult::kCancelled);
        EXPECT_EQ(progress.left, -1) << "went on after it was cancelled";
        EXPECT_TRUE(effect.Means().empty());
    }
}

// Corrected, the same sound is not suggested again.
TEST_F(DcOffsetTest, IsGoneAfterTheCorrection) {
    LTestSound sound = SpokenWords();
    for (float& sample : sound.samples) sample += 0.04f;
    LDcOffsetEffect effect;
    EXPECT_FALSE(SuggestsDcOffset(Write(Corrected(sound, effect), sound.format)));
}

}  // namespace
}  // namespace ondarix::test
