// SPDX-License-Identifier: GPL-3.0-or-later
// Loudness by the signals of EBU Tech 3341 and 3342, and beside libebur128.
#include "dsp/loudness.h"

#include <ebur128.h>
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>

namespace ondarix {
namespace {

using Samples = std::vector<float>;

// `seconds` of a tone at so many dBFS in each channel; a level of -200 is silence.
struct Part {
    double seconds;
    std::vector<double> dbfs;
};

Samples Tone(const std::vector<Part>& parts, int rate, double hz = 1000, double degrees = 0) {
    Samples samples;
    int64_t at = 0;
    for (const Part& part : parts)
        for (const int64_t end = at + std::llround(part.seconds * rate); at < end; ++at) {
            const double turn = hz * static_cast<double>(at) / rate + degrees / 360;
            const double sine = std::sin(2 * std::numbers::pi * turn);
            for (const double db : part.dbfs)
                samples.push_back(static_cast<float>(db <= -200 ? 0 : std::pow(10.0, db / 20) * sine));
        }
    return samples;
}

// Noise whose level wanders, so that both gates have something to do.
Samples Wandering(int rate, int channels, int seconds) {
    std::mt19937 random(static_cast<unsigned>(rate + channels));
    std::normal_distribution<double> values;
    Samples samples;
    std::vector<double> low(static_cast<size_t>(channels));
    for (int64_t i = 0; i < int64_t{rate} * seconds; ++i) {
        const double level = std::pow(10.0, (-35 + 25 * std::sin(static_cast<double>(i) / rate * 0.4)) / 20);
        for (double& state : low) {
            state = 0.7 * state + 0.3 * values(random);
            samples.push_back(static_cast<float>(state * level));
        }
    }
    return samples;
}

LLoudness Measured(const Samples& samples, int rate, int channels, LLoudnessWants wants = {},
                   int64_t piece = 8192) {
    LLoudnessMeter meter(rate, channels, wants);
    const auto frames = static_cast<int64_t>(samples.size()) / channels;
    for (int64_t at = 0; at < frames; at += piece)
        meter.Feed(samples.data() + at * channels, std::min(piece, frames - at));
    return meter.Finish();
}

TEST(KWeighting, HasTheResponseOfThePublishedFilterAtEveryRate) {
    const auto gainDb = [](int rate, double hz) {
        const auto [shelf, highPass] = KWeightingFor(rate);
        std::complex<double> gain = 1;
        const auto z = std::polar(1.0, -2 * std::numbers::pi * hz / rate);
        for (const LBiquad& s : {shelf, highPass})
            gain *= (s.b0 + s.b1 * z + s.b2 * z * z) / (1.0 + s.a1 * z + s.a2 * z * z);
        return 20 * std::log10(std::abs(gain));
    };
    EXPECT_NEAR(gainDb(48000, 997), 0.691, 0.01) << "the calibration of the standard";
    for (const int rate : {22050, 32000, 44100, 88200, 96000, 176400, 192000, 196000})
        for (const double hz : {20.0, 60.0, 200.0, 1000.0, 2000.0, 4000.0})
            EXPECT_NEAR(gainDb(rate, hz), gainDb(48000, hz), 0.06) << rate << " Hz, at " << hz;
}

TEST(Loudness, MeetsTheMinimumRequirementsOfTech3341) {
    const auto stereo = [](double seconds, double db) { return Part{seconds, {db, db}}; };
    const struct {
        std::vector<Part> parts;
        double integrated;
    } kCases[] = {
        {{stereo(20, -23)}, -23},
        {{stereo(20, -33)}, -33},
        {{stereo(10, -36), stereo(60, -23), stereo(10, -36)}, -23},
        {{stereo(10, -72), stereo(10, -36), stereo(60, -23), stereo(10, -36), stereo(10, -72)}, -23},
        {{stereo(20, -26), stereo(20.1, -20), stereo(20, -26)}, -23},
    };
    for (const int rate : {44100, 48000, 96000})
        for (const auto& one : kCases)
            EXPECT_NEAR(Measured(Tone(one.parts, rate), rate, 2).integrated, one.integrated, 0.1) << rate;
    const std::vector<Part> surround = {{20, {-28, -28, -24, -30, -30}}};
    EXPECT_NEAR(Measured(Tone(surround, 48000), 48000, 5).integrated, -23, 0.1);
    const std::vector<Part> withLow = {{20, {-28, -28, -24, 0, -30, -30}}};
    EXPECT_NEAR(Measured(Tone(withLow, 48000), 48000, 6).integrated, -23, 0.1) << "a loud LFE counts nothing";

    std::vector<Part> slow, quick;
    for (int i = 0; i < 5; ++i) slow.insert(slow.end(), {stereo(1.34, -20), stereo(1.66, -30)});
    for (int i = 0; i < 25; ++i) quick.insert(quick.end(), {stereo(0.18, -20), stereo(0.22, -30)});
    EXPECT_NEAR(Measured(Tone(slow, 48000), 48000, 2).shortTermMax, -23, 0.1);
    EXPECT_NEAR(Measured(Tone(quick, 48000), 48000, 2).momentaryMax, -23, 0.1);
}

TEST(Loudness, RangeMeetsTech3342) {
    const struct {
        std::vector<double> levels;
        double range;
    } kCases[] = {{{-20, -30}, 10}, {{-20, -15}, 5}, {{-40, -20}, 20}, {{-50, -35, -20, -35, -50}, 15}};
    for (const auto& one : kCases) {
        std::vector<Part> parts;
        for (const double db : one.levels) parts.push_back({20, {db, db}});
        EXPECT_NEAR(Measured(Tone(parts, 48000), 48000, 2).range, one.range, 1) << one.range;
    }
}

TEST(TruePeak, MeetsTech3341) {
    const struct {
        double hzShare, degrees, amplitude, dbtp;
    } kCases[] = {{4, 0, 0.5, -6}, {4, 45, 0.5, -6}, {6, 60, 0.5, -6}, {8, 67.5, 0.5, -6}, {4, 45, 1.41, 3}};
    for (const int rate : {44100, 48000, 96000})
        for (const auto& one : kCases) {
            const double db = 20 * std::log10(one.amplitude);
            Samples tone = Tone({{0.5, {db, db}}}, rate, rate / one.hzShare, one.degrees);
            // The signals of the standard begin and end softly.
            const size_t edge = static_cast<size_t>(rate) / 10;
            for (size_t i = 0; i < edge; ++i) {
                const float gain = static_cast<float>(i) / static_cast<float>(edge);
                tone[i] *= gain;
                tone[tone.size() - 1 - i] *= gain;
            }
            const LLoudness found = Measured(tone, rate, 2, {.truePeak = true});
            const double dbtp = 20 * std::log10(found.TruePeak());
            EXPECT_LE(dbtp, one.dbtp + 0.2) << rate << ", " << one.hzShare << ", " << one.degrees;
            EXPECT_GE(dbtp, one.dbtp - 0.4) << rate << ", " << one.hzShare << ", " << one.degrees;
            EXPECT_GE(found.TruePeak(), found.SamplePeak());
        }
    // From 192 kHz on the samples are taken as they are.
    const LLoudness plain = Measured(Tone({{0.5, {0}}}, 192000, 48000, 45), 192000, 1, {.truePeak = true});
    EXPECT_EQ(plain.TruePeak(), plain.SamplePeak());
}

// A peak between the last samples before the end is found too, and none is invented where the sound stops.
TEST(TruePeak, ReachesToBothEnds) {
    for (const int64_t frames : {1, 2, 7, 8, 9, 63, 64, 65, 2047, 2048, 2049, 5000})
        for (const int64_t at : {int64_t{0}, frames / 2, frames - 1}) {
            Samples click(static_cast<size_t>(frames));
            click[static_cast<size_t>(at)] = 0.5f;
            if (at + 1 < frames) click[static_cast<size_t>(at) + 1] = 0.5f;
            const float peak = Measured(click, 48000, 1, {.truePeak = true}).TruePeak();
            // Two equal samples have 4 / pi times their height between them.
            EXPECT_NEAR(peak, at + 1 < frames ? 0.5 * 4 / std::numbers::pi : 0.5, 0.005)
                << frames << ", " << at;
        }
}

// EBU Tech 3342 over short-term values.
double RangeOf(std::vector<double> lufs) {
    std::erase_if(lufs, [](double one) { return one < -70; });
    double power = 0;
    for (const double one : lufs) power += std::pow(10.0, one / 10);
    const double gate = 10 * std::log10(power / static_cast<double>(lufs.size())) - 20;
    std::erase_if(lufs, [gate](double one) { return one < gate; });
    std::sort(lufs.begin(), lufs.end());
    const auto last = static_cast<double>(lufs.size() - 1);
    return lufs[static_cast<size_t>(std::round(last * 0.95))] -
           lufs[static_cast<size_t>(std::round(last * 0.1))];
}

TEST(Loudness, IsThatOfLibebur128) {
    constexpr channel kPlaces[][6] = {
        {EBUR128_CENTER},
        {EBUR128_LEFT, EBUR128_RIGHT},
        {EBUR128_LEFT, EBUR128_RIGHT, EBUR128_CENTER},
        {EBUR128_LEFT, EBUR128_RIGHT, EBUR128_LEFT_SURROUND, EBUR128_RIGHT_SURROUND},
        {EBUR128_LEFT, EBUR128_RIGHT, EBUR128_CENTER, EBUR128_LEFT_SURROUND, EBUR128_RIGHT_SURROUND},
        {EBUR128_LEFT, EBUR128_RIGHT, EBUR128_CENTER, EBUR128_UNUSED, EBUR128_LEFT_SURROUND,
         EBUR128_RIGHT_SURROUND}};
    const struct {
        int rate, channels;
    } kFormats[] = {{44100, 1},  {44100, 2}, {48000, 2}, {22050, 2}, {96000, 2},
                    {192000, 1}, {48000, 3}, {48000, 4}, {44100, 5}, {48000, 6}};
    for (const auto [rate, channels] : kFormats) {
        SCOPED_TRACE(testing::Message() << rate << " Hz, " << channels << " channels");
        const Samples samples = Wandering(rate, channels, 30);
        ebur128_state* theirs =
            ebur128_init(static_cast<unsigned>(channels), static_cast<unsigned long>(rate),
                         EBUR128_MODE_I | EBUR128_MODE_S | EBUR128_MODE_TRUE_PEAK);
        for (int c = 0; c < channels; ++c)
            ebur128_set_channel(theirs, static_cast<unsigned>(c), kPlaces[channels - 1][c]);
        // Their greatest momentary and short-term values are those after each tenth of a second.
        double momentary = kNoLoudness, shortTerm = kNoLoudness, now = 0;
        std::vector<double> shortTerms;
        for (int tenth = 0; tenth < 300; ++tenth) {
            ebur128_add_frames_float(theirs, samples.data() + int64_t{tenth} * (rate / 10) * channels,
                                     static_cast<size_t>(rate / 10));
            ebur128_loudness_momentary(theirs, &now);
            if (tenth >= 3) momentary = std::max(momentary, now);
            ebur128_loudness_shortterm(theirs, &now);
            if (tenth >= 29) shortTerms.push_back(now);
        }
        const LLoudness ours = Measured(samples, rate, channels, {.truePeak = true});
        ebur128_loudness_global(theirs, &now);
        EXPECT_NEAR(ours.integrated, now, 0.1);
        ebur128_relative_threshold(theirs, &now);
        EXPECT_NEAR(ours.relativeGate, now, 0.1);
        shortTerm = *std::max_element(shortTerms.begin(), shortTerms.end());
        EXPECT_NEAR(ours.range, RangeOf(shortTerms), 0.1);
        EXPECT_NEAR(ours.momentaryMax, momentary, 0.1);
        EXPECT_NEAR(ours.shortTermMax, shortTerm, 0.1);
        for (int c = 0; c < channels; ++c) {
            ebur128_sample_peak(theirs, static_cast<unsigned>(c), &now);
            EXPECT_EQ(ours.samplePeaks[static_cast<size_t>(c)], static_cast<float>(now));
            ebur128_true_peak(theirs, static_cast<unsigned>(c), &now);
            EXPECT_NEAR(20 * std::log10(ours.truePeaks[static_cast<size_t>(c)] / now), 0, 0.3);
        }
        ebur128_destroy(&theirs);
    }
}

TEST(Loudness, IsTheSameForAnySizeOfThePieces) {
    for (const int channels : {1, 2, 6}) {
        const Samples samples = Wandering(11025, channels, 5);
        const LLoudness whole = Measured(samples, 11025, channels, {.truePeak = true}, 1 << 20);
        for (const int64_t piece : {1, 7, 64, 1000, 5000}) {
            const LLoudness pieces = Measured(samples, 11025, channels, {.truePeak = true}, piece);
            EXPECT_NEAR(pieces.integrated, whole.integrated, 1e-9) << piece;
            EXPECT_NEAR(pieces.range, whole.range, 1e-9) << piece;
            for (size_t c = 0; c < whole.truePeaks.size(); ++c)
                EXPECT_NEAR(pieces.truePeaks[c], whole.truePeaks[c], 1e-6) << piece;
        }
    }
}

TEST(Loudness, IsNoneWhereThereIsNothingToHear) {
    const LLoudness silent = Measured(Samples(48000 * 2 * 5), 48000, 2, {.truePeak = true});
    EXPECT_EQ(silent.integrated, kNoLoudness);
    EXPECT_EQ(silent.shortTermMax, kNoLoudness);
    EXPECT_EQ(silent.range, 0);
    EXPECT_EQ(silent.TruePeak(), 0);
    const LLoudness brief = Measured(Tone({{0.399, {-10, -10}}}, 48000), 48000, 2);
    EXPECT_EQ(brief.momentaryMax, kNoLoudness) << "shorter than a block";
    EXPECT_NEAR(Measured(Tone({{0.4, {-10, -10}}}, 48000), 48000, 2).integrated, -10, 0.1);
    EXPECT_EQ(Measured({}, 48000, 2).integrated, kNoLoudness);
}

// At any rate and number of channels, and after samples that are no numbers or beyond all measure.
TEST(Loudness, StaysANumber) {
    for (const int rate : {1, 3, 9, 10, 50, 100, 1000, 3363, 8000, 196000})
        for (const int channels : {1, 2, 7, 8, 9, 255}) {
            if (int64_t{rate} * channels > 2'000'000) continue;
            const auto frames = static_cast<size_t>(rate) * (rate > 1000 ? 1 : 20);
            Samples samples(frames * static_cast<size_t>(channels));
            std::mt19937 random(1);
            for (float& sample : samples) sample = static_cast<float>(random()) / 4294967296.0f - 0.5f;
            const LLoudness found = Measured(samples, rate, channels, {.truePeak = true, .course = true});
            EXPECT_TRUE(std::isfinite(found.integrated)) << rate << ", " << channels;
            EXPECT_LT(std::fabs(found.integrated), 40) << rate << ", " << channels;
            EXPECT_GE(found.TruePeak(), found.SamplePeak());
        }
    const Samples good = Tone({{5, {-20, -20}}}, 48000);
    for (const float evil : {std::numeric_limits<float>::infinity(), std::nanf(""), 3e38f}) {
        Samples samples = good;
        samples[1000] = evil;
        const LLoudness found = Measured(samples, 48000, 2, {.truePeak = true});
        EXPECT_FALSE(std::isnan(found.integrated)) << evil;
        EXPECT_TRUE(std::isfinite(evil) || std::fabs(found.integrated + 20) < 0.5) << evil;
    }
}

TEST(LoudnessCourse, FollowsTheSoundInBoundedMemory) {
    LLoudnessMeter meter(48000, 2, {.course = true});
    const Samples tone = Tone({{5, {-20, -20}}, {5, {-40, -40}}}, 48000);
    meter.Feed(tone.data(), static_cast<int64_t>(tone.size() / 2));
    const std::vector<float>& steps = meter.Momentary().Steps();
    ASSERT_EQ(steps.size(), 100u);
    EXPECT_EQ(steps[2], -std::numeric_limits<float>::infinity());
    EXPECT_NEAR(steps[40], -20, 0.1);
    EXPECT_NEAR(steps[60], -40, 0.1);
    EXPECT_NEAR(meter.ShortTerm().Steps()[99], -40, 0.1);

    LLoudnessCourse days;
    for (int i = 0; i < 3 * 864'000; ++i) days.Add(i == 1'000'000 ? -10.0f : -30.0f);
    EXPECT_LE(days.Steps().size(), LLoudnessCourse::kMostSteps);
    EXPECT_NEAR(days.StepSeconds() * static_cast<double>(days.Steps().size()), 3 * 86'400,
                days.StepSeconds());
    EXPECT_EQ(days.Steps()[static_cast<size_t>(100'000 / days.StepSeconds())], -10.0f);
}

}  // namespace
}  // namespace ondarix
