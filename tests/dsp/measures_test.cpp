// SPDX-License-Identifier: GPL-3.0-or-later
// Each measure beside its formula, written out over the whole sound in double.
#include "dsp/measures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

namespace ondarix {
namespace {

using MeasuredSamples = std::vector<float>;

struct Sound {
    MeasuredSamples samples;
    int rate, channels;
    int64_t Frames() const { return static_cast<int64_t>(samples.size()) / channels; }
    double At(int64_t frame, int channel) const {
        return static_cast<double>(samples[static_cast<size_t>(frame * channels + channel)]);
    }
};

Sound SineSound(double hz, double amplitude, int rate, int channels, double seconds) {
    Sound sound{{}, rate, channels};
    for (int64_t i = 0; i < std::llround(seconds * rate); ++i)
        for (int c = 0; c < channels; ++c)
            sound.samples.push_back(static_cast<float>(
                amplitude * std::sin(2 * std::numbers::pi * hz * static_cast<double>(i) / rate + 0.3 * c)));
    return sound;
}

// Loud and soft passages, not alike in the channels.
Sound NoiseSound(int rate, int channels, double seconds) {
    std::mt19937 random(5);
    std::normal_distribution<double> values;
    Sound sound{{}, rate, channels};
    for (int64_t i = 0; i < std::llround(seconds * rate); ++i) {
        const double level = std::pow(10.0, -3 + 2.6 * std::fabs(std::sin(static_cast<double>(i) / rate)));
        for (int c = 0; c < channels; ++c)
            sound.samples.push_back(static_cast<float>(values(random) * level / (c + 1)));
    }
    return sound;
}

std::vector<Sound> Sounds() {
    return {SineSound(441, 0.5, 44100, 1, 2), SineSound(997, 0.03, 48000, 2, 1.5),
            NoiseSound(44100, 2, 6.37),       NoiseSound(48000, 1, 5),
            NoiseSound(11025, 3, 7),          NoiseSound(8000, 6, 4)};
}

double Fed(LLevelMeasure& measure, const Sound& sound, int64_t piece = 8192) {
    for (int64_t at = 0; at < sound.Frames(); at += piece)
        measure.Feed(sound.samples.data() + at * sound.channels, std::min(piece, sound.Frames() - at));
    return measure.Finish();
}

double MeanSquare(const Sound& sound, int64_t from, int64_t to) {
    double sum = 0;
    for (int64_t i = from; i < to; ++i)
        for (int c = 0; c < sound.channels; ++c) sum += sound.At(i, c) * sound.At(i, c);
    return sum / static_cast<double>((to - from) * sound.channels);
}

double Db(double meanSquare) { return std::round(10 * std::log10(meanSquare)); }
double Linear(double db) { return std::pow(10.0, db / 20); }

TEST(PeakMeasure, FindsTheLargestMagnitudeAndItsPlace) {
    Sound sound{MeasuredSamples(50'000), 44100, 2};
    sound.samples[30'001] = -0.75f;
    sound.samples[40'000] = 0.75f;
    for (const int64_t piece : {1, 999, 8192, 25'000}) {
        LPeakMeasure measure(2);
        EXPECT_EQ(Fed(measure, sound, piece), 0.75);
        EXPECT_EQ(measure.PeakFrame(), 15'000);
    }
    LPeakMeasure silent(2);
    EXPECT_EQ(Fed(silent, {MeasuredSamples(1000), 44100, 2}), 0);
    EXPECT_EQ(silent.PeakFrame(), -1);
}

TEST(RmsMeasure, IsTheMeanSquareInWholeDecibels) {
    for (const Sound& sound : Sounds()) {
        LRmsMeasure measure(sound.channels);
        EXPECT_NEAR(Fed(measure, sound), Linear(Db(MeanSquare(sound, 0, sound.Frames()))), 1e-12);
    }
    LRmsMeasure sine(1);
    EXPECT_NEAR(Fed(sine, SineSound(100, 0.5, 44100, 1, 1)), Linear(-9), 1e-12) << "-9.03 dB";
    LRmsMeasure silent(2), nothing(2);
    EXPECT_EQ(Fed(silent, {MeasuredSamples(1000), 44100, 2}), 0);
    EXPECT_TRUE(std::isnan(nothing.Finish()));
}

TEST(LoudWindowsMeasure, TakesTheLevelAtThePercentile) {
    for (const Sound& sound : Sounds())
        for (const double percentile : {0.0, 50.0, 90.0, 95.0, 100.0})
            for (const int64_t window : {441, 2205, 1'000'000}) {
                std::vector<double> levels;
                for (int64_t at = 0; at < sound.Frames(); at += window) {
                    const double db = Db(MeanSquare(sound, at, std::min(at + window, sound.Frames())));
                    if (db >= -48) levels.push_back(std::min(db, 9.0));
                }
                ASSERT_FALSE(levels.empty());
                std::sort(levels.rbegin(), levels.rend());
                const double share = static_cast<double>(levels.size()) * (100 - percentile) / 100;
                const auto rank = static_cast<size_t>(std::max(1.0, std::ceil(share)));
                LLoudWindowsMeasure measure(sound.channels, window, percentile);
                EXPECT_NEAR(Fed(measure, sound, 1000), Linear(levels[rank - 1]), 1e-12)
                    << percentile << " % of windows of " << window;
            }
}

TEST(LoudWindowsMeasure, CountsFrom48DecibelsBelowTo9Above) {
    const auto level = [](float value) {
        LLoudWindowsMeasure measure(1, 100, 95);
        return Fed(measure, {MeasuredSamples(1050, value), 44100, 1});
    };
    EXPECT_TRUE(std::isnan(level(static_cast<float>(Linear(-48.6)))));
    EXPECT_NEAR(level(static_cast<float>(Linear(-48.4))), Linear(-48), 1e-12);
    EXPECT_NEAR(level(100.0f), Linear(9), 1e-12);
    LLoudWindowsMeasure part(1, 1000, 95);
    EXPECT_NEAR(Fed(part, {MeasuredSamples(10, 0.1f), 44100, 1}), 0.1, 1e-12) << "a part of a window counts";
}

TEST(PerceivedMeasure, HearsThroughItsFilters) {
    const struct { double hz, wholeDb; } kTones[] = {{60, -9}, {500, -12}, {1000, -9}, {8000, -10}};
    for (const auto& tone : kTones)
        for (const int rate : {44100, 48000, 96000}) {
            LPerceivedMeasure measure(rate, 1);
            EXPECT_NEAR(Fed(measure, SineSound(tone.hz, 0.5, rate, 1, 4)), Linear(tone.wholeDb), 1e-12)
                << tone.hz;
        }
    for (const int rate : {1, 100, 1000, 8000, 11025, 16000}) {
        LPerceivedMeasure measure(rate, 2);
        EXPECT_LT(Fed(measure, NoiseSound(rate, 2, 20)), 1) << "bands that the rate cannot hold are left out";
    }
}

// The filter of the text, sample by sample: one history, which holds the last channel of the frames before.
TEST(PeakingFilter, SharesItsHistoryBetweenTheChannels) {
    for (const int channels : {1, 2, 3}) {
        Sound sound = NoiseSound(44100, channels, 0.2);
        const MeasuredSamples in = sound.samples;
        const double gainDb = -6, hz = 700, q = 2;
        const double a = std::pow(10.0, gainDb / 40), w = 2 * std::numbers::pi * hz / 44100;
        const double alpha = std::sin(w) / (2 * q);
        LPeakingFilter filter(PeakingBiquad(44100, hz, q, gainDb));
        filter.Process(sound.samples.data(), 100, channels);
        filter.Process(sound.samples.data() + 100 * channels, sound.Frames() - 100, channels);
        double x1 = 0, x2 = 0, y1 = 0, y2 = 0, worst = 0;
        for (int64_t i = 0; i < sound.Frames(); ++i) {
            double x = 0, y = 0;
            for (int c = 0; c < channels; ++c) {
                x = static_cast<double>(in[static_cast<size_t>(i * channels + c)]);
                y = ((1 + alpha * a) * x - 2 * std::cos(w) * (x1 - y1) + (1 - alpha * a) * x2 -
                     (1 - alpha / a) * y2) /
                    (1 + alpha / a);
                worst = std::max(worst, std::fabs(y - sound.At(i, c)));
            }
            x2 = x1, x1 = x, y2 = y1, y1 = y;
        }
        EXPECT_LT(worst, 1e-5) << channels;
    }
}

// K-weighting by the analogue parameters that the published coefficients stand for.
std::vector<double> Weighted(const Sound& sound, int channel) {
    const double rate = sound.rate;
    const auto run = [](std::vector<double>& values, const double(&b)[3], const double(&a)[3]) {
        double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
        for (double& value : values) {
            const double x = value;
            value = (b[0] * x + b[1] * x1 + b[2] * x2 - a[1] * y1 - a[2] * y2) / a[0];
            x2 = x1, x1 = x, y2 = y1, y1 = value;
        }
    };
    std::vector<double> values;
    for (int64_t i = 0; i < sound.Frames(); ++i) values.push_back(sound.At(i, channel));
    const double k = std::tan(std::numbers::pi * 1681.974450955533 / rate), q = 0.7071752369554196;
    const double vh = std::pow(10.0, 3.999843853973347 / 20), vb = std::pow(vh, 0.4996667741545416);
    run(values, {vh + vb * k / q + k * k, 2 * (k * k - vh), vh - vb * k / q + k * k},
        {1 + k / q + k * k, 2 * (k * k - 1), 1 - k / q + k * k});
    const double l = std::tan(std::numbers::pi * 38.13547087602444 / rate), p = 0.5003270373238773;
    constexpr double kGain = 1.004995;  // what the published second stage has far above
    run(values, {kGain, -2 * kGain, kGain}, {1 + l / p + l * l, 2 * (l * l - 1), 1 - l / p + l * l});
    return values;
}

TEST(RunningGateMeasure, IsTheGateAsItIsWrittenDown) {
    for (const Sound& sound : Sounds()) {
        std::vector<double> loudest = Weighted(sound, 0);
        for (int c = 1; c < sound.channels; ++c) {
            const std::vector<double> other = Weighted(sound, c);
            for (size_t i = 0; i < loudest.size(); ++i) loudest[i] = std::max(loudest[i], other[i]);
        }
        const int64_t block = sound.rate * 2 / 5;
        std::vector<std::pair<int64_t, double>> blocks;  // where each ends, and its level
        for (int64_t quarter = 0; quarter < 4; ++quarter)
            for (int64_t at = block * quarter / 4; at + block <= sound.Frames(); at += block) {
                double sum = 0;
                for (int64_t i = at; i < at + block; ++i)
                    sum += loudest[static_cast<size_t>(i)] * loudest[static_cast<size_t>(i)];
                blocks.emplace_back(at + block, std::sqrt(sum / static_cast<double>(block)));
            }
        std::sort(blocks.begin(), blocks.end());
        double level = 0, least = 10, count = 0;
        for (const auto& [end, own] : blocks) {
            if (own < std::pow(10.0, -3.5) || own <= std::pow(10.0, -0.5) * level) continue;
            level = std::sqrt((level * level * count + own * own) / (count + 1));
            least = std::min(least, level);
            count += 1;
        }
        ASSERT_GT(count, 3);
        for (const int64_t piece : {int64_t{311}, int64_t{8192}, sound.Frames()}) {
            LRunningGateMeasure measure(sound.rate, sound.channels, block);
            EXPECT_NEAR(Fed(measure, sound, piece) / level, 1, 1e-4) << sound.rate << ", " << piece;
            EXPECT_NEAR(measure.LeastLevel() / least, 1, 1e-4);
        }
    }
}

TEST(RunningGateMeasure, AtItsEdges) {
    LRunningGateMeasure silent(44100, 2, 17640), brief(44100, 2, 17640), noFrames(1, 1, 0);
    EXPECT_EQ(Fed(silent, {MeasuredSamples(200'000), 44100, 2}), 0);
    EXPECT_EQ(Fed(brief, SineSound(440, 0.5, 44100, 2, 0.39)), 0) << "no block has ended";
    EXPECT_NEAR(Fed(noFrames, {MeasuredSamples(5, 0.1f), 1, 1}), 0.7071, 1e-9) << "a block without frames";
    LRunningGateMeasure soft(48000, 1, 19200);
    EXPECT_EQ(Fed(soft, SineSound(1000, 0.0003, 48000, 1, 2)), 0) << "below the absolute gate";
}

}  // namespace
}  // namespace ondarix
