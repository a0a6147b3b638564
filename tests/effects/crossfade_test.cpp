// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/crossfade.h"

#include "effects/filter.h"
#include "gen/settings.h"
#include "mix_fixture.h"
#include "sound/rate_converter.h"

namespace ondarix::test {
namespace {

using C = LCrossfadeSettings;

// The curves of fades, from 0 to 1 and from 1 to 0, at frame x of n.
double FadedIn(int curve, double x, double n) {
    switch (curve) {
        case 0:
            return x / n;
        case 1:
            return std::exp(4 * x / n - 4);
        case 2:
            return 1 - std::exp(-4 * x / n);
        default:
            return std::sin(x * M_PI / (2 * n));
    }
}
double FadedOut(int curve, double x, double n) { return FadedIn(curve, n - x, n); }

C Settings(int rate1000Out, int in, int gap, uint8_t outCurve, uint8_t inCurve) {
    C settings;
    settings.fadeOutMs = rate1000Out;
    settings.fadeInMs = in;
    settings.gapMs = gap;
    settings.fadeOutCurve.index = outCurve;
    settings.fadeInCurve.index = inCurve;
    return settings;
}

// `first` up to `outEnd` and `second` from `inStart` on, at 1000 Hz so that ms are frames.
std::vector<double> Joined(const std::vector<float>& first, const std::vector<float>& second,
                           const C& settings, int64_t outEnd, int64_t inStart) {
    const int64_t inAt = outEnd + settings.gapMs;
    std::vector<double> out(
        static_cast<size_t>(std::max<int64_t>(outEnd, inAt + std::ssize(second) - inStart)));
    for (int64_t i = 0; i < outEnd; ++i) {
        const int64_t into = i - (outEnd - settings.fadeOutMs);
        const double gain =
            into < 0 ? 1
                     : FadedOut(settings.fadeOutCurve.index, static_cast<double>(into), settings.fadeOutMs);
        out[static_cast<size_t>(i)] += gain * first[static_cast<size_t>(i)];
    }
    for (int64_t i = inStart; i < std::ssize(second); ++i) {
        const int64_t into = i - inStart;
        const double gain = into >= settings.fadeInMs ? 1
                                                      : FadedIn(settings.fadeInCurve.index,
                                                                static_cast<double>(into), settings.fadeInMs);
        out[static_cast<size_t>(inAt + into)] += gain * second[static_cast<size_t>(i)];
    }
    return out;
}

double Rms(const std::vector<float>& samples, size_t from, size_t to) {
    double sum = 0;
    for (size_t i = from; i < to; ++i) sum += double{samples[i]} * samples[i];
    return std::sqrt(sum / static_cast<double>(to - from));
}

TEST_F(MixTest, CrossfadeIsTheSumOfTwoFadesByTheFormulas) {
    constexpr LSoundFormat kSlow{1000, 1};
    const std::vector<float> a = Noise(5000, 1, 1), b = Noise(4000, 1, 2);
    const LSound first = Write(a, kSlow), second = Write(b, kSlow);
    for (uint8_t curve = 0; curve < 4; ++curve) {
        const auto inCurve = static_cast<uint8_t>((curve + 1) % 4);
        for (const auto& [out, in, gap] : {std::tuple{1000, 1000, -1000},
                                           {700, 1300, -900},
                                           {1500, 100, -300},
                                           {200, 900, 400},
                                           {0, 0, -500},
                                           {0, 0, 0},
                                           {300, 0, 0}}) {
            SCOPED_TRACE(QString("%1 %2 %3 %4").arg(curve).arg(out).arg(in).arg(gap).toStdString());
            C settings = Settings(out, in, gap, curve, inCurve);
            const std::vector<float> heard = ReadEveryWay(*BuildCrossfade(first, second, settings));
            ExpectClose(heard, Joined(a, b, settings, 5000, 0), 2e-6);
            settings.fadeOutStartMs = 3000;
            settings.fadeInStartMs = 250;
            const std::vector<double> want = Joined(a, b, settings, 3000 + out, 250);
            LSoundDocumentRef document = Open(a, kSlow);
            CrossfadeToClip(document, host_, second, settings);
            const std::vector<float> written = ReadSound(document->sound);
            ExpectClose(written, want, 2e-6);
            EXPECT_EQ(written, ReadEveryWay(*BuildCrossfade(first, second, settings)));
        }
    }
}

TEST_F(MixTest, FadesAreNoLongerThanTheClips) {
    const LCrossfadePlan plan = PlanCrossfade(300, 500, 1000, Settings(1000, 1000, -1000, 0, 0));
    EXPECT_EQ(plan.fadeOut, 300);
    EXPECT_EQ(plan.fadeIn, 500);
    EXPECT_EQ(plan.gap, -300);
    const LCrossfadePlan loop = PlanLoop(301, 1000, Settings(1000, 100, -1000, 0, 0));
    EXPECT_EQ(loop.fadeOut, 150);
    EXPECT_EQ(loop.fadeIn, 100);
    EXPECT_EQ(loop.gap, -150);
    constexpr LSoundFormat kSlow{1000, 1};
    const LSound one = Write({0.5f}, kSlow);
    EXPECT_EQ(BuildCrossfade(one, one, C{})->GetLength(), 1);
    C late = Settings(100, 100, -100, 0, 0);
    late.fadeOutStartMs = late.fadeInStartMs = 5000;
    EXPECT_EQ(BuildCrossfade(one, one, late)->GetLength(), 1);
}

TEST_F(MixTest, OtherClipIsConvertedAndTheMarksOfWhatIsCutGo) {
    const std::vector<float> a = Noise(90000, 2, 1);
    LSoundDocumentRef document = Open(a, {44100, 2});
    Mark(*document, {100, 44100, 80000});
    const LSound other = Write(Noise(50000, 1, 2), {48000, 1});
    C settings = Settings(500, 500, -500, 3, 3);
    settings.fadeOutStartMs = 1000;
    CrossfadeToClip(document, host_, other, settings);
    const std::vector<float> out = ReadSound(document->sound);
    // 1.5 s, the converted clip from 1 s on.
    ASSERT_EQ(out.size(), 2u * (44100 + 45938));
    EXPECT_TRUE(std::equal(a.begin(), a.begin() + 88200, out.begin()));
    const std::vector<float> rest =
        ReadFrames(*ConvertToFormat(MakeSource<LSoundReader>(other), {44100, 2}), 45938);
    EXPECT_TRUE(std::equal(rest.begin() + 44100, rest.end(), out.end() - (2 * 45938 - 44100)));
    EXPECT_EQ(Places(*document), (std::vector<int64_t>{100, 44100}));
    EXPECT_EQ(document->selectionStart, 44100);
    EXPECT_EQ(document->selectionEnd, 66150);
    EXPECT_EQ(document->UndoLabel(), "Crossfade to Other Clip");
}

TEST_F(MixTest, SelectionsHalvesAreLaidOverEachOther) {
    constexpr LSoundFormat kSlow{1000, 1};
    const std::vector<float> a = Noise(5000, 1, 1);
    LSoundDocumentRef document = Open(a, kSlow);
    Mark(*document, {500, 1200, 2500, 4000});
    LRegion region;
    region.SetRange(1000, 3000, 1000);
    document->regions.push_back(region);
    document->Select(1000, 3000);
    const C settings = Settings(400, 400, -400, 0, 3);
    CrossfadeSelection(document, host_, settings);
    const std::vector<double> middle =
        Joined({a.begin() + 1000, a.begin() + 2000}, {a.begin() + 2000, a.begin() + 3000}, settings, 1000, 0);
    std::vector<double> want(a.begin(), a.begin() + 1000);
    want.insert(want.end(), middle.begin(), middle.end());
    want.insert(want.end(), a.begin() + 3000, a.end());
    ExpectClose(ReadSound(document->sound), want, 2e-6);
    EXPECT_EQ(Places(*document), (std::vector<int64_t>{500, 1200, 2100, 3600}));
    EXPECT_EQ(document->regions[0].endFrame, 2600);
    EXPECT_EQ(document->selectionEnd, 2600);
    EXPECT_EQ(document->UndoLabel(), "Crossfade");

    JobResult result = JobResult::kFailed;
    document->Select(7, 7);
    CrossfadeSelection(document, host_, settings, [&](JobResult given) { result = given; });
    EXPECT_EQ(result, JobResult::kCancelled);
}

TEST_F(MixTest, LoopRunsFromItsEndIntoItsBeginning) {
    constexpr LSoundFormat kSlow{1000, 1};
    constexpr int64_t kLength = 3000;
    const std::vector<float> s = Noise(kLength + 200, 1, 1);
    for (const auto& [out, in, gap] :
         {std::tuple{800, 800, -800}, {300, 900, -500}, {900, 300, -400}, {200, 100, 250}}) {
        LSoundDocumentRef document = Open(s, kSlow);
        document->Select(100, 100 + kLength);
        Mark(*document, {150, 2000, 3150});
        CrossfadeLoop(document, host_, Settings(out, in, gap, 1, 2));
        // Every period is the whole with both fades, laid from end + gap on over the one before.
        std::vector<double> want(kLength + gap);
        const int64_t start = std::max(0, -gap);
        for (int64_t r = 0; r < std::ssize(want); ++r) {
            for (const int64_t i : {start + r, start + r - (kLength + gap)}) {
                if (i < 0 || i >= kLength) continue;
                double gain = i < in ? FadedIn(2, static_cast<double>(i), in) : 1;
                const int64_t into = i - (kLength - out);
                if (into >= 0) gain *= FadedOut(1, static_cast<double>(into), out);
                want[static_cast<size_t>(r)] += gain * s[static_cast<size_t>(100 + i)];
            }
        }
        const std::vector<float> whole = ReadSound(document->sound);
        ASSERT_EQ(std::ssize(whole), std::ssize(s) + gap);
        ExpectClose({whole.begin() + 100, whole.end() - 100}, want, 2e-6);
        EXPECT_EQ(std::vector<float>(whole.end() - 100, whole.end()),
                  std::vector<float>(s.end() - 100, s.end()));
        const int64_t moved = gap < 0 ? gap : 0;
        EXPECT_EQ(Places(*document), (std::vector<int64_t>{gap < 0 ? 100 : 150, 2000 + moved, 3150 + gap}));
    }
}

TEST_F(MixTest, PhaseMatchKeepsTwoTonesFromCancellingEachOther) {
    const auto lowest = [&](bool match, double phase) {
        C settings = Settings(1000, 1000, -1000, 0, 0);
        settings.phaseMatch = match;
        LCrossfadePlan plan;
        const auto out = ReadFrames(
            *BuildCrossfade(Write(Sine(100000, 220, 0)), Write(Sine(100000, 220, phase)), settings, &plan),
            150000);
        EXPECT_LE(std::abs(plan.gap + 44100), 201) << "nearest of equal phase";
        float least = 1;
        for (size_t i = 20000; i + 402 < 130000; i += 100) {  // two periods hold a crest
            float crest = 0;
            for (size_t k = i; k < i + 402; ++k) crest = std::max(crest, std::fabs(out[k]));
            least = std::min(least, crest);
        }
        return least;
    };
    for (const double phase : {0.7, 2.0, M_PI, 4.5, 6.1}) EXPECT_GT(lowest(true, phase), 0.499f) << phase;
    // Against the phase that the first one has where the overlap begins, at frame 55900.
    EXPECT_LT(lowest(false, 2 * M_PI * 220 * 55900 / 44100 + M_PI), 0.02f);
}

TEST_F(MixTest, BeatMatchLinesClicksUpWithClicks) {
    constexpr int64_t kBeat = 22050;
    const auto clicks = [](int64_t offset) {
        std::vector<float> track = Noise(8 * kBeat, 1, 9, 0.001f);
        for (int64_t at = offset; at < std::ssize(track); at += kBeat)
            for (int64_t k = 0; k < 300; ++k)
                track[static_cast<size_t>(std::min(at + k, 8 * kBeat - 1))] += static_cast<float>(
                    0.7 * std::exp(-static_cast<double>(k) / 60) * std::cos(0.3 * static_cast<double>(k)));
        return track;
    };
    C settings = Settings(3000, 3000, -3000, 0, 0);
    settings.beatMatch = true;
    for (const int64_t offset : {0, 1234, 9000, 21000}) {
        LCrossfadePlan plan;
        BuildCrossfade(Write(clicks(500)), Write(clicks(offset)), settings, &plan);
        const int64_t apart = (plan.InAt() + offset - 500) % kBeat;
        EXPECT_TRUE(apart <= 1 || apart >= kBeat - 1) << offset << ": " << apart;
        EXPECT_LE(std::abs(plan.gap + 3 * 44100), kBeat / 2 + 1) << "the nearest beat";
        EXPECT_EQ(plan.fadeOut, plan.Overlap()) << "no dip beside the overlap";
    }
}

TEST_F(MixTest, NoiseKeepsItsPowerAndItsPlace) {
    const std::vector<float> a = Noise(200000, 1, 1), b = Noise(200000, 1, 2);
    C settings = Settings(2000, 2000, -2000, 3, 3);
    settings.beatMatch = true;
    LCrossfadePlan plan;
    const auto out = ReadFrames(*BuildCrossfade(Write(a), Write(b), settings, &plan), 300000);
    EXPECT_EQ(plan.gap, -88200);
    for (size_t from = 100000; from < 210000; from += 10000)
        EXPECT_NEAR(Rms(out, from, from + 10000) / Rms(a, 0, 100000), 1, 0.03) << from;
}

TEST_F(MixTest, PresetsAndStoredValues) {
    C settings = Settings(100, 300, -50, 1, 2);
    MirrorFadeIn(settings);
    EXPECT_EQ(settings, Settings(300, 300, -50, 2, 2));
    settings = Settings(100, 300, -50, 1, 2);
    MirrorFadeOut(settings);
    EXPECT_EQ(settings, Settings(100, 100, -50, 1, 1));
    SmoothAtCenter(settings);
    EXPECT_EQ(settings, Settings(100, 100, -100, 3, 3));
    settings.phaseMatch = true;
    settings.fadeInStartMs = 77;
    ASSERT_TRUE(StoreCrossfade(settings));
    EXPECT_EQ(GetSettingInt("CrossFade", "FadeOutTimeMS", 0), 100);
    EXPECT_EQ(GetSettingInt("CrossFade", "GapTimeMS", 0), -100);
    EXPECT_EQ(GetSettingInt("CrossFade", "FadeInInterPolation", 0), 3);
    EXPECT_EQ(GetSettingInt("CrossFade", "FadeInStart", 0), 77);
    EXPECT_TRUE(GetSettingBool("CrossFade", "PhaseMatch", false));
    EXPECT_EQ(LastCrossfade(), settings);
    SetSettingInt(99999999, "CrossFade", "FadeInTimeMS");
    SetSettingInt(9, "CrossFade", "FadeInInterPolation");
    EXPECT_EQ(LastCrossfade().fadeInMs, 600000);
    EXPECT_EQ(LastCrossfade().fadeInCurve.index, 3);
}

// Writes down what progress is told.
class LTellingHost final : public LEditHost {
  public:
    LMessageHost& Messages() override { return inner_.Messages(); }
    JobResult RunJob(const QString& title, const std::function<JobResult(LProgress&)>& work) override {
        struct LTold final : LProgress {
            explicit LTold(QStringList& list) : told(list) {}
            bool IsCancelled() override { return false; }
            WaitResult Sleep(int) override { return WaitResult::kSignalled; }
            WaitResult WaitForHandle(LWaitHandle, int) override { return WaitResult::kSignalled; }
            WaitResult WaitForHandles(const LHandleList&, int) override { return WaitResult::kSignalled; }
            void SetStatus(const QString& text, int) override { told << text; }
            QStringList& told;
        } progress(told);
        told << title;
        return work(progress);
    }
    bool AddDocument(LSoundDocumentRef) override { return false; }
    QStringList told;

  private:
    LTestEditHost inner_;
};

TEST_F(MixTest, ProgressTellsThePhases) {
    LTellingHost host;
    const LSound other = Write(Noise(9000, 1, 2));
    const C settings = Settings(100, 100, -50, 0, 0);
    LSoundDocumentRef document = Open(Noise(9000, 1, 1));
    CrossfadeToClip(document, host, other, settings);
    EXPECT_EQ(host.told, (QStringList{"Crossfade to Other Clip", "Preparing...", "Processing Fade-Out Clip",
                                      "Processing Crossfade", "Processing Fade-In Clip", "Finalizing"}));
    host.told.clear();
    document->Select(0, 9000);
    CrossfadeSelection(document, host, settings);
    host.told.removeDuplicates();
    EXPECT_EQ(host.told, (QStringList{"Crossfade", "Preparing...", "Applying Cross Fade", "Finalizing"}));
}

TEST_F(MixTest, CrossfadesCancelledAtAnyBlockLeaveNothing) {
    C settings = Settings(500, 700, -400, 3, 3);
    settings.phaseMatch = settings.beatMatch = true;
    const LSound other = Write(Noise(60000, 1, 2), {48000, 1});
    for (int which = 0; which < 3; ++which) {
        LSoundDocumentRef document = Open(Noise(90000, 2, 1), {44100, 2});
        Mark(*document, {10, 40000, 80000});
        document->Select(10, 80000);
        ExpectCancelLeavesNothing(document, [&](LEditHost& host, LApplied done) {
            if (which == 0) CrossfadeSelection(document, host, settings, std::move(done));
            if (which == 1) CrossfadeToClip(document, host, other, settings, std::move(done));
            if (which == 2) CrossfadeLoop(document, host, settings, std::move(done));
        });
    }
}

}  // namespace
}  // namespace ondarix::test
