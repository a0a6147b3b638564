// SPDX-License-Identifier: GPL-3.0-or-later
// Normalize: what is measured is brought to the target by one gain, and nothing goes over its ceiling.
#include "effects/normalize.h"

#include <functional>

#include "dsp/loudness.h"
#include "effects/effect_fixture.h"
#include "effects/gain_fixture.h"
#include "effects/loudness_report.h"
#include "effects/stored_values.h"
#include "effects/true_peak_limiter.h"
#include "gen/settings.h"

namespace ondarix::test {
namespace {

LNormalizeEffect Normalizer(LNormalizeMethod method, double levelDb) {
    LNormalizeEffect effect;
    effect.params.method.index = static_cast<uint8_t>(method);
    effect.params.levelDb = levelDb;
    return effect;
}

LNormalizeEffect Measured(LNormalizeEffect effect, const LTestSound& sound) {
    Prepare(effect, sound.samples, sound.format);
    return effect;
}

double Magnitude(const Samples& samples) {
    double most = 0;
    for (const float one : samples) most = std::max(most, std::fabs(double{one}));
    return most;
}

double WholeRms(const Samples& samples) {
    double sum = 0;
    for (const float one : samples) sum += double{one} * double{one};
    return std::pow(10.0, std::round(10 * std::log10(sum / static_cast<double>(samples.size()))) / 20);
}

LLoudness LoudnessOf(const Samples& samples, LSoundFormat format) {
    LLoudnessMeter meter(format.sampleRate, format.channels, {.truePeak = true});
    meter.Feed(samples.data(), static_cast<int64_t>(samples.size()) / format.channels);
    return meter.Finish();
}

// Speech three times over: longer than the windows of loudness.
LTestSound LongSpeech() {
    LTestSound sound = SpokenWords();
    const Samples once = sound.samples;
    for (int i = 0; i < 2; ++i) sound.samples.insert(sound.samples.end(), once.begin(), once.end());
    return sound;
}

TEST(Normalize, TheGainIsTargetOverMeasure) {
    for (const LTestSound& sound : TestSounds()) {
        const auto check = [&](LNormalizeMethod method, double db, double measure) {
            const LNormalizeEffect effect = Measured(Normalizer(method, db), sound);
            const double gain = std::pow(10.0, db / 20) / measure;
            EXPECT_NEAR(effect.Gain() / gain, 1, 1e-6) << sound.name;
            ExpectGains(
                Through(effect, sound), sound, [&](int64_t, int) { return gain; }, gain * 1e-6);
        };
        for (const double db : {0.0, -3.5, -60.0}) {
            check(LNormalizeMethod::kPeak, db, Magnitude(sound.samples));
            check(LNormalizeMethod::kAverage, db, WholeRms(sound.samples));
        }
    }
}

TEST(Normalize, NothingIsChangedWhereNothingIsHeard) {
    const LTestSound silence{"silence", Samples(100'000), {44100, 2}};
    LTestSound soft{"soft", NoiseFrames(50'000, 2), {44100, 2}};
    for (float& sample : soft.samples) sample *= 0.002f;
    const LTestSound nothing{"nothing", {}, {44100, 2}};
    for (int method = 0; method <= 5; ++method) {
        for (const LTestSound* sound : {&silence, &nothing}) {
            const LSoundSourceRef source = Open(*sound);
            const auto effect = Measured(Normalizer(static_cast<LNormalizeMethod>(method), -1), *sound);
            EXPECT_EQ(effect.CreateFilter(source).Get(), source.Get()) << method << ", " << sound->name;
        }
    }
    const LSoundSourceRef source = Open(soft);
    const auto windows = Measured(Normalizer(LNormalizeMethod::kLoudWindows, -1), soft);
    EXPECT_EQ(windows.CreateFilter(source).Get(), source.Get()) << "all of it is below -48 dB";
    const auto peak = Measured(Normalizer(LNormalizeMethod::kPeak, 0), soft);
    EXPECT_NE(peak.CreateFilter(source).Get(), source.Get());

    // Not measured, and measured in another way than is asked for now.
    EXPECT_EQ(LNormalizeEffect().CreateFilter(source).Get(), source.Get());
    LNormalizeEffect changed = peak;
    changed.params.method.index = 1;
    EXPECT_EQ(changed.CreateFilter(source).Get(), source.Get());
    changed = peak;
    changed.params.levelDb = -6;
    EXPECT_NEAR(changed.Gain() / peak.Gain(), std::pow(10.0, -0.3), 1e-6)
        << "another level needs no new pass";
}

TEST(Normalize, SamplesThatAreNoNumbersSilenceNothing) {
    for (const float bad :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        LTestSound sound = SpokenWords();
        sound.samples[sound.samples.size() / 2] = bad;
        for (int method = 0; method <= 5; ++method) {
            const auto effect = Measured(Normalizer(static_cast<LNormalizeMethod>(method), -20), sound);
            EXPECT_TRUE(std::isfinite(effect.Gain())) << method << " " << bad;
            EXPECT_GT(effect.Gain(), 0.01f) << method << " " << bad;
        }
    }
}

TEST(Normalize, TheEbuMethodIsRelativeToItsReferenceAndNeverGoesOverItsCeiling) {
    const LTestSound sound = LongSpeech();
    LRunningGateMeasure measure(48000, 1, 19200);
    measure.Feed(sound.samples.data(), sound.Frames());
    const LNormalizeEffect soft = Measured(Normalizer(LNormalizeMethod::kRunningGate, -60), sound);
    const double gain = std::pow(10.0, -3) / std::pow(10.0, -1.15) / measure.Finish();
    EXPECT_NEAR(soft.Gain() / gain, 1, 1e-6);
    ExpectGains(
        Through(soft, sound), sound, [&](int64_t, int) { return gain; }, 1e-6);
    for (const double db : {0.0, -10.0, -23.0}) {
        const LNormalizeEffect loud = Measured(Normalizer(LNormalizeMethod::kRunningGate, db), sound);
        EXPECT_GT(loud.Gain() * Magnitude(sound.samples), 1) << "the ceiling is needed";
        const double most = Magnitude(Through(loud, sound));
        EXPECT_LE(most, std::pow(10.0, -0.05) + 1e-6);
        EXPECT_GT(most, 0.85);
    }
}

TEST(Normalize, BringsSpeechToTheLoudnessOfTheStandard) {
    const LTestSound sound = LongSpeech();
    LNormalizeEffect effect;
    for (int preset = 0; preset < effect.GetPresetCount(); ++preset) {
        effect.SetPreset(preset);
        Prepare(effect, sound.samples, sound.format);
        const LLoudness result = LoudnessOf(Through(effect, sound), sound.format);
        EXPECT_LE(20 * std::log10(result.TruePeak()), -1 + 0.1) << preset;
        // Speech has peaks far above its loudness: where they are held down it may stay softer.
        EXPECT_NEAR(result.integrated, effect.params.loudness, preset == 0 ? 0.1 : 1.5) << preset;
    }
    effect.params.loudness = -40;
    Prepare(effect, sound.samples, sound.format);
    ExpectGains(
        Through(effect, sound), sound, [&](int64_t, int) { return double{effect.Gain()}; }, 1e-6);
}

TEST(TruePeakLimiter, HoldsWhatLiesBetweenTheSamplesAndLeavesTheRestAlone) {
    for (const int rate : {8000, 44100, 96000}) {
        // Tones whose peaks the samples miss, in bursts between soft noise.
        Samples samples = NoiseFrames(3 * rate, 2, 9);
        for (size_t i = 0; i < samples.size(); ++i) {
            const size_t frame = i / 2, second = frame / static_cast<size_t>(rate);
            const double turn = static_cast<double>(frame) / 4 + 0.125;
            samples[i] *= 0.1f;
            if (second == 1)
                samples[i] =
                    static_cast<float>(1.2 * std::sin(2 * std::numbers::pi * turn) * (frame % 977 < 500));
        }
        const LTestSound sound{"bursts", samples, {rate, 2}};
        const float limit = 0.5f;
        const LSoundSourceRef whole = LimitTruePeaks(Open(sound), limit);
        const Samples held = ReadFrames(*whole, sound.Frames());
        EXPECT_GT(LoudnessOf(samples, sound.format).TruePeak(), 1.15f);
        EXPECT_LE(LoudnessOf(held, sound.format).TruePeak(), limit * 1.012f) << rate;
        EXPECT_LE(Magnitude(held), limit);
        const auto quiet = static_cast<ptrdiff_t>(rate);
        EXPECT_TRUE(std::equal(samples.begin(), samples.begin() + quiet, held.begin())) << "bit for bit";
        for (const int64_t from : {int64_t{1}, int64_t{rate}, int64_t{rate} + 777, int64_t{2} * rate + 5}) {
            const LSoundSourceRef part = LimitTruePeaks(Open(sound), limit);
            part->Seek(from);
            const Samples rest = ReadFrames(*part, 2000, 97);
            EXPECT_TRUE(std::equal(rest.begin(), rest.end(), held.begin() + from * 2))
                << rate << ", " << from;
        }
    }
}

TEST(Normalize, IsCancelledAtEveryBlockWithNothingMeasured) {
    const LTestSound sound{"noise", NoiseFrames(400'000, 2), {44100, 2}};
    for (int method = 0; method <= 5; ++method)
        for (int at = 0;; at += 7) {
            LNormalizeEffect effect = Normalizer(static_cast<LNormalizeMethod>(method), -6);
            CancellingProgress progress(at);
            const JobResult result = effect.Measure([&] { return Open(sound); }, progress);
            if (!progress.WasCancelled()) {
                EXPECT_EQ(result, JobResult::kSuccess);
                EXPECT_GT(at, 20);
                break;
            }
            EXPECT_EQ(result, JobResult::kCancelled);
            const LSoundSourceRef source = Open(sound);
            EXPECT_EQ(effect.CreateFilter(source).Get(), source.Get());
        }
}

TEST(Normalize, SaysWhatItFindsAndIsSetByName) {
    class Labels final : public LProgress {
      public:
        bool IsCancelled() override { return false; }
        WaitResult Sleep(int) override { return {}; }
        WaitResult WaitForHandle(LWaitHandle, int) override { return {}; }
        WaitResult WaitForHandles(const LHandleList&, int) override { return {}; }
        void SetStatus(const QString& text, int) override { label = text; }
        QString label;
    };
    const LTestSound sound{"noise", NoiseFrames(1000, 1), {44100, 1}};
    for (int method = 0; method <= 5; ++method) {
        Labels labels;
        LNormalizeEffect effect = Normalizer(static_cast<LNormalizeMethod>(method), 0);
        effect.Measure([&] { return Open(sound); }, labels);
        EXPECT_EQ(labels.label, method == 0 ? "Finding Peak for Normalization"
                                            : "Finding Average Volume (RMS) for Normalization");
    }
    LNormalizeEffect effect;
    EXPECT_EQ(effect.BatchText(), "Normalize Peak Level (%) = 100, Method = Peak");
    EXPECT_EQ(effect.SetOption("percent", "50%"), "");
    EXPECT_NEAR(effect.Target(), 0.5, 1e-12);
    EXPECT_EQ(effect.SetOption("method", "average loudness"), "");
    EXPECT_EQ(effect.BatchText(), "Normalize Peak Level (%) = 50, Method = Average Loudness (RMS)");
    EXPECT_EQ(effect.SetOption("level", "-6 dB"), "");
    EXPECT_NEAR(effect.Target(), std::pow(10.0, -0.3), 1e-12);
    for (const char* bad : {"0", "101", "x", ""}) EXPECT_NE(effect.SetOption("percent", bad), "") << bad;
    EXPECT_NE(effect.SetOption("level", "7"), "");
}

class AutoNormalizeTest : public SoundCacheTest {};  // settings of its own

// The target is kept as a linear level, 1.0 where nothing is kept; the other command uses what is kept.
TEST_F(AutoNormalizeTest, UsesTheValuesThatWereUsedLast) {
    const LEffectRow& row = *FindEffect(QStringLiteral("normalize"));
    LNormalizeEffect used;
    used.params.levelDb = -6;
    ASSERT_TRUE(SaveStoredValues(used, row));
    EXPECT_NEAR(GetSettingDouble("Settings", "NormalizeTargetPeak", 0), std::pow(10.0, -0.3), 1e-9);
    const LTestSound sound{"noise", NoiseFrames(1000, 2), {44100, 2}};
    const auto expectLevel = [&](double peak) {
        LAutoNormalizeEffect effect;
        Prepare(effect, sound.samples, sound.format);
        EXPECT_NEAR(Magnitude(Through(effect, sound)), peak, 1e-6);
    };
    expectLevel(std::pow(10.0, -0.3));
    EXPECT_TRUE(SetSettingDouble("Settings", "NormalizeTargetPeak", 0.25));
    expectLevel(0.25);
    for (const double odd : {0.0, -3.0})  // no level: the softest there is, or the default
        EXPECT_TRUE(SetSettingDouble("Settings", "NormalizeTargetPeak", odd)),
            expectLevel(odd < 0 ? 1 : 0.001);
    for (const char* name : {"NormalizeTargetPeak", "NormalizeMethod", "NormalizePercentile",
                             "NormalizeWindow", "NormalizeLoudness", "NormalizeCeiling"})
        EXPECT_TRUE(DeleteSetting("Settings", name)) << name;
    expectLevel(1);
}

TEST(LoudnessReport, IsOfThePartThatIsAskedFor) {
    Samples samples = NoiseFrames(5 * 48000, 2);
    for (size_t i = 0; i < samples.size() / 2; ++i) samples[i] *= 0.1f;
    const LTestSound sound{"two levels", samples, {48000, 2}};
    const auto open = [&] { return Open(sound); };
    LNullProgress progress;
    JobResult result = JobResult::kFailed;
    const auto soft = MeasureLoudness(open, progress, result, 0, 120'000).loudness;
    const auto loud = MeasureLoudness(open, progress, result, 120'000).loudness;
    EXPECT_EQ(result, JobResult::kSuccess);
    EXPECT_NEAR(loud.integrated - soft.integrated, 20, 0.1);
    EXPECT_EQ(soft.frames, 120'000);
    EXPECT_EQ(loud.truePeaks.size(), 2u);
    const LLoudnessReport all = MeasureLoudness(open, progress, result);
    EXPECT_EQ(all.momentary.Steps().size(), 50u);
    CancellingProgress cancelled(3);
    EXPECT_TRUE(MeasureLoudness(open, cancelled, result).loudness.truePeaks.empty());
    EXPECT_EQ(result, JobResult::kCancelled);
    MeasureLoudness([] { return FailedSource(kSourceCannotOpen); }, progress, result);
    EXPECT_EQ(result, JobResult::kFailed);
    EXPECT_EQ(LufsText(kNoLoudness), "-inf LUFS");
    EXPECT_EQ(PeakText(0.5f, "dBTP"), "-6.0 dBTP");
}

}  // namespace
}  // namespace ondarix::test
