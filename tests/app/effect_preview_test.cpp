// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_preview.h"

#include <atomic>

#include "app/effect_picture.h"
#include "effect_preview_fixture.h"
#include "effects/effect_table.h"
#include "effects/gain.h"

namespace ondarix {
namespace {

constexpr int64_t kNoiseFrames = 5003;  // no multiple of any block

LEffectList OneGain(int percent) {
    LEffectList effects;
    auto gain = std::make_unique<LAmplifyEffect>();
    gain->SetParameter(0, percent);
    effects.push_back(std::move(gain));
    return effects;
}

void SetRandomly(LEffect& effect, std::mt19937& random) {
    LEffectParam param;
    for (int i = 0; i < effect.GetParameterCount(); ++i) {
        ASSERT_TRUE(effect.GetParameterInfo(i, param));
        effect.SetParameter(i, std::uniform_real_distribution<double>(param.minimum, param.maximum)(random));
    }
}

// --- What is heard is what is written

class HeardEffect : public EffectPreviewTest, public testing::WithParamInterface<std::string> {};

TEST_P(HeardEffect, IsSampleForSampleWhatIsApplied) {
    const LEffectRow* row = FindEffect(QString::fromStdString(GetParam()));
    ASSERT_NE(row, nullptr);
    std::mt19937 random(static_cast<uint32_t>(std::hash<std::string>{}(GetParam())));
    for (int round = 0; round < 3; ++round) {
        LSoundWindow* window = OpenNoise(kNoiseFrames, 7u + static_cast<uint32_t>(round));
        ASSERT_NE(window, nullptr);
        if (round > 0) window->View().Select(113, 4001);
        std::unique_ptr<LEffect> effect = row->make();
        effect->SetFormat(window->Document().sound.Format());
        if (round > 0) SetRandomly(*effect, random);
        const LPreviewSoundRef sound = SoundOf(*window);
        const auto preview = MakePreview(sound, [&] {
            LEffectList effects;
            effects.push_back(effect->Clone());
            return StackOfEffects(sound, std::move(effects));
        });
        QFile::remove(In("played.raw"));  // of the round before
        ASSERT_TRUE(preview->Play());
        ASSERT_TRUE(HasPlayed(static_cast<size_t>(sound->Length()) * 2 * 2 + 4000));
        preview->Stop();
        const std::vector<float> played = Played();

        ApplyEffectToSelection(LSoundDocumentRef(&window->Document()), frame->EditHost(), *effect,
                               QStringLiteral("Effect"));
        ASSERT_TRUE(WorksOff());
        const LSoundDocument& document = window->Document();
        LSound result(document.sound.sampleRate, document.sound.channels);
        const LSelection range =
            document.HasSelection() ? document.EditRange() : LSelection{0, document.sound.Length()};
        document.sound.CopyRange(range.start, range.end, result);
        const std::vector<float> written = SamplesOf(result);
        ASSERT_FALSE(written.empty());
        const size_t other = FirstOther(played, 0, [&](size_t n) { return written[n % written.size()]; });
        EXPECT_EQ(other, played.size()) << "round " << round << ": " << played[other] << " rather than "
                                        << written[other % written.size()];
        frame->RunCommand(kCmdUndo);
        window->Document().isModified = false;
        frame->RunCommand(kCmdClose);
    }
}

std::vector<std::string> HeardIds() {
    std::vector<std::string> ids;
    for (const LEffectRow& row : EffectTable())
        if (row.make && !(row.flags & kEffectNoPreview)) ids.emplace_back(row.id);
    return ids;
}

std::string NameOf(const testing::TestParamInfo<std::string>& one) {
    std::string name = one.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}
INSTANTIATE_TEST_SUITE_P(Effects, HeardEffect, testing::ValuesIn(HeardIds()), NameOf);

// --- While it plays

class PreviewTest : public EffectPreviewTest {
  protected:
    void SetUp() override {
        EffectPreviewTest::SetUp();
        window = OpenNumbered("ramp.wav", kLength);
        sound = SoundOf(*window);
        preview = MakePreview(sound, [this] {
            playedAtMake = PlayedSoFar();
            return StackOfEffects(sound, OneGain(percent));
        });
    }
    // Of frame n of what was played, n from the start, at a gain.
    static float At(size_t n, float gain) { return Value(static_cast<int64_t>(n) % kLength) * gain; }

    static constexpr int64_t kLength = 12000;
    LSoundWindow* window = nullptr;
    LPreviewSoundRef sound;
    int percent = 100;
    size_t playedAtMake = 0;
    std::unique_ptr<LEffectPreview> preview;
};

TEST_F(PreviewTest, AChangeGoesOnAtTheSamePlaceWithoutAStep) {
    ASSERT_TRUE(preview->Play());
    ASSERT_TRUE(HasPlayed(9000));
    percent = 50;
    preview->Change();
    for (int i = 0; i < 20; ++i) preview->Change();  // of one drag
    ASSERT_TRUE(HasPlayed(40000));
    preview->Stop();
    const std::vector<float> played = Played();
    const size_t begin = FirstOther(played, 0, [](size_t n) { return At(n, 1); });
    ASSERT_LT(begin, played.size());
    size_t end = begin;
    for (size_t n = begin; n < played.size(); ++n) {
        if (played[n] == At(n, 0.5f)) continue;
        end = n + 1;
        // Between both, and by no more than the ramp of the fade from one frame to the next.
        EXPECT_LE(played[n], At(n, 1) * 1.0001f);
        EXPECT_GE(played[n], At(n, 0.5f) * 0.9999f);
    }
    EXPECT_LE(end - begin, 8192u);
    for (size_t n = begin + 1; n < end; ++n) {
        if (n % kLength == 0) continue;
        EXPECT_LT(std::abs(played[n] / At(n, 1) - played[n - 1] / At(n - 1, 1)), 0.02f);
    }
    EXPECT_GT(begin, playedAtMake) << "what was heard already is not changed";
    RecordProperty("heardAfterFrames", static_cast<int>(begin - playedAtMake));
    std::printf("a change was heard after %.0f ms\n",
                1000.0 * static_cast<double>(begin - playedAtMake) / kRate);
}

TEST_F(PreviewTest, BypassIsTheSoundItselfAtTheSamePlaceWhileItIsHeld) {
    percent = 50;
    ASSERT_TRUE(preview->Play());
    ASSERT_TRUE(HasPlayed(9000));
    preview->SetBypass(true);
    ASSERT_TRUE(HasPlayed(PlayedSoFar() + 20000));
    preview->SetBypass(false);
    ASSERT_TRUE(HasPlayed(PlayedSoFar() + 20000));
    preview->Stop();
    const std::vector<float> played = Played();
    const auto half = [](size_t n) { return At(n, 0.5f); };
    const auto plain = [](size_t n) { return At(n, 1); };
    size_t n = FirstOther(played, 0, half);
    ASSERT_LT(n, played.size());
    const auto fades = [&](size_t from, auto to) {
        size_t at = from;
        while (at < played.size() && played[at] != to(at)) {
            EXPECT_GE(played[at], half(at) * 0.9999f);
            EXPECT_LE(played[at], plain(at) * 1.0001f);
            ++at;
        }
        EXPECT_LE(at - from, 8192u);
        return at;
    };
    n = FirstOther(played, fades(n, plain), plain);
    ASSERT_LT(n, played.size()) << "the effect came back";
    n = FirstOther(played, fades(n, half), half);
    EXPECT_EQ(n, played.size());
}

TEST_F(PreviewTest, AnotherLengthScalesThePlace) {
    int64_t length = kLength;
    preview = MakePreview(sound, [&] {
        LPreviewStack stack;
        LSound part(sound->Range().sampleRate, 1);
        sound->Range().CopyRange(0, length, part);
        stack.build = [part = std::make_shared<LSound>(part)] { return OpenForEffects(*part); };
        return stack;
    });
    ASSERT_TRUE(preview->Play());
    ASSERT_TRUE(HasPlayed(16000));
    length = kLength / 2;
    preview->Change();
    ASSERT_TRUE(HasPlayed(45000));
    const int64_t position = preview->Position();
    EXPECT_TRUE(position >= 0 && position <= kLength) << position;
    preview->Stop();
    const std::vector<int64_t> played = PlayedFrames();
    size_t swap = 0;
    while (played[swap] == static_cast<int64_t>(swap) % kLength) ++swap;
    // Behind the fade: half of the place, and on from there at the same pace.
    const size_t later = swap + 9000;
    ASSERT_LT(later, played.size());
    const int64_t begin = static_cast<int64_t>(swap) / 2 + 9000;
    EXPECT_NEAR(static_cast<double>(played[later]), static_cast<double>(begin % length), 2);
    for (size_t n = later + 1; n < played.size(); ++n)
        ASSERT_EQ(played[n], (played[n - 1] + 1) % length) << n;
}

TEST_F(PreviewTest, MeasuringIsGivenUpForOtherValues) {
    std::atomic<int> begun{0}, givenUp{0};
    bool slow = true;
    preview = MakePreview(sound, [&] {
        LPreviewStack stack = StackOfEffects(sound, OneGain(percent));
        stack.prepare = [&, waits = slow](LProgress& progress) {
            ++begun;
            while (waits && !progress.IsCancelled()) progress.Sleep(1);
            if (waits) ++givenUp;
            return waits ? JobResult::kCancelled : JobResult::kSuccess;
        };
        return stack;
    });
    ASSERT_TRUE(preview->Play());
    EXPECT_EQ(preview->State(), LPreviewState::kMeasuring);
    EXPECT_TRUE(preview->IsMeasuring());
    ASSERT_TRUE(PumpUntil([&] { return begun == 1; }));
    EXPECT_EQ(preview->Position(), -1);
    slow = false;
    percent = 200;
    preview->Change();
    ASSERT_TRUE(HasPlayed(100));
    EXPECT_EQ(begun, 2);
    EXPECT_EQ(givenUp, 1);
    EXPECT_EQ(preview->State(), LPreviewState::kPlaying);
    EXPECT_EQ(Played()[50], At(50, 2));
    // While something plays, it goes on until the next is ready.
    slow = true;
    preview->Change();
    ASSERT_TRUE(PumpUntil([&] { return begun == 3; }));
    EXPECT_EQ(preview->State(), LPreviewState::kPlaying);
    EXPECT_TRUE(preview->IsMeasuring());
    preview->Stop();
    EXPECT_EQ(givenUp, 2);
    EXPECT_FALSE(preview->IsMeasuring());
}

TEST_F(PreviewTest, EndsWhatTheFramePlaysAndGivesWayToIt) {
    ASSERT_TRUE(Player().Play(*window));
    ASSERT_TRUE(preview->Play());
    EXPECT_TRUE(Stopped());
    EXPECT_EQ(preview->State(), LPreviewState::kPlaying);
    ASSERT_TRUE(Player().Play(*window));
    EXPECT_EQ(preview->State(), LPreviewState::kStopped);
    EXPECT_EQ(preview->Position(), -1);
    Player().Stop();
    // At the volume of the frame.
    Player().SetVolume(-20);
    ASSERT_TRUE(preview->Play());
    ASSERT_TRUE(HasPlayed(3000));
    preview->Stop();
    EXPECT_NEAR(Played()[2500], At(2500, 0.1f), 1e-7f);
}

TEST_F(PreviewTest, FailuresAreToldAsThoseOfPlaying) {
    StoreOutput(QStringLiteral("file:") + In("no/such/folder/played.raw"));
    EXPECT_FALSE(preview->Play());
    ASSERT_TRUE(PumpUntil([&] { return messages->asked.size() == 1; }));
    EXPECT_TRUE(messages->asked[0].contains(QStringLiteral("has failed to start")))
        << messages->asked[0].toStdString();
    StoreOutput(QStringLiteral("file:/dev/full"));
    ASSERT_TRUE(preview->Play());
    ASSERT_TRUE(PumpUntil([&] { return messages->asked.size() == 2; }));
    EXPECT_TRUE(messages->asked[1].contains(QStringLiteral("does not answer any more")));
    EXPECT_EQ(preview->State(), LPreviewState::kStopped);

    // No memory for the effect.
    StoreOutput(QStringLiteral("file:") + In("played.raw"));
    preview = MakePreview(sound, [] { return LPreviewStack{nullptr, [] { return LSoundSourceRef(); }}; });
    EXPECT_FALSE(preview->Play());
    ASSERT_TRUE(PumpUntil([&] { return messages->told.size() == 1; }));
    EXPECT_TRUE(messages->told[0].startsWith(QLatin1String(kMemoryTitle)));
}

TEST_F(PreviewTest, IsGoneWhileItMeasuresPlaysOrSwaps) {
    for (int wait = 0; wait < 40; wait += 2) {
        preview = MakePreview(sound, [&] {
            LPreviewStack stack = StackOfEffects(sound, OneGain(150));
            stack.prepare = [](LProgress& progress) {
                progress.Sleep(5);
                return progress.IsCancelled() ? JobResult::kCancelled : JobResult::kSuccess;
            };
            return stack;
        });
        ASSERT_TRUE(preview->Play());
        QTest::qWait(wait);
        preview->Change();
        if (wait % 4 == 0) QTest::qWait(1);
        preview.reset();
    }
    QTest::qWait(20);
}

// --- The picture

TEST_F(PreviewTest, ThePictureShowsBothAndIsOutOfDateOnceValuesChange) {
    LEffectPicture picture(frame.get());
    picture.Reload(sound, StackOfEffects(sound, OneGain(50)));
    ASSERT_TRUE(PumpUntil([&] { return picture.IsReady(); }));
    ASSERT_EQ(picture.Before().top.size(), static_cast<size_t>(kPictureColumns));
    for (int column = 0; column < kPictureColumns; ++column) {
        const auto at = static_cast<size_t>(column);
        const float largest = Value((column + 1) * kLength / kPictureColumns - 1);
        EXPECT_EQ(picture.Before().top[at], largest);
        EXPECT_EQ(picture.After().top[at], largest * 0.5f);
        EXPECT_EQ(picture.Before().bottom[at], Value(column * kLength / kPictureColumns));
    }
    EXPECT_FALSE(picture.IsOutdated());
    // What is asked for again and again ends with the last.
    for (const int gain : {10, 20, 30, 400}) picture.Reload(sound, StackOfEffects(sound, OneGain(gain)));
    ASSERT_TRUE(PumpUntil([&] { return picture.IsReady(); }));
    EXPECT_EQ(picture.After().top.back(), Value(kLength - 1) * 4);
}

TEST_F(PreviewTest, ThePictureOfALongSoundReadsNoMoreThanThatOfAShortOne) {
    LSound longSound(48000, 2);
    longSound.InsertSilence(0, int64_t{48000} * 3600 * 24);
    class LCounting final : public LSoundSource {
      public:
        explicit LCounting(int64_t length) : LSoundSource(48000, 2), length_(length) {}
        float* Read(float* dest, int32_t frames) override {
            read += frames;
            position_ += frames;
            return Silence(dest, frames);
        }
        int64_t GetPosition() override { return position_; }
        int64_t GetLength() override { return length_; }
        void Seek(int64_t frame) override { position_ = frame; }
        int64_t read = 0;

      private:
        int64_t length_, position_ = 0;
    } source(longSound.Length());
    LNullProgress progress;
    LPeakColumns columns;
    EXPECT_TRUE(ReadPeakColumns(source, kPictureColumns, columns, progress));
    EXPECT_LE(source.read, int64_t{kPictureColumns} * kPictureColumnFrames);
    // A sound of fewer frames than columns.
    LSound oneFrame(48000, 1);
    oneFrame.InsertSilence(0, 1);
    EXPECT_TRUE(ReadPeakColumns(*OpenForEffects(oneFrame), kPictureColumns, columns, progress));
    EXPECT_EQ(columns.top[0], 0);
}

}  // namespace
}  // namespace ondarix
