// SPDX-License-Identifier: GPL-3.0-or-later
// What crossfades are matched with: correlation and onsets.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "dsp/correlation.h"
#include "dsp/onset.h"

namespace ondarix::test {
namespace {

std::vector<float> NoiseSamples(size_t count, uint32_t seed, float level) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> value(-level, level);
    std::vector<float> samples(count);
    for (float& one : samples) one = value(random);
    return samples;
}

TEST(CorrelationTest, AgreesWithTheFormulaAndFindsThePlace) {
    std::vector<float> signal = NoiseSamples(1500, 1, 0.5f);
    std::fill(signal.begin() + 900, signal.begin() + 1200, 0.0f);
    std::vector<float> pattern(signal.begin() + 400, signal.begin() + 605);
    for (float& one : pattern) one *= -0.3f;
    const std::vector<float> values = NormalisedCorrelation(signal, pattern);
    ASSERT_EQ(values.size(), signal.size() - pattern.size() + 1);
    for (size_t k = 0; k < values.size(); ++k) {
        double dot = 0, a = 0, b = 0;
        for (size_t i = 0; i < pattern.size(); ++i) {
            dot += double{signal[k + i]} * pattern[i];
            a += double{signal[k + i]} * signal[k + i];
            b += double{pattern[i]} * pattern[i];
        }
        ASSERT_NEAR(values[k], a > 0 ? dot / std::sqrt(a * b) : 0.0, 2e-6) << k;
    }
    EXPECT_NEAR(values[400], -1, 1e-6);
    EXPECT_TRUE(NormalisedCorrelation(pattern, signal).empty());
    EXPECT_TRUE(NormalisedCorrelation(signal, {}).empty());
}

TEST(CorrelationTest, TheNearestOfThePeaksThatAreAsGood) {
    const std::vector<float> values{0.9f, 0.1f, 0.99f, 0.2f, 0.0f, 0.1f, 1.0f, 0.3f, 0.95f};
    EXPECT_EQ(NearestPeak(values, 3, 0.02f), 2u);
    EXPECT_EQ(NearestPeak(values, 5, 0.02f), 6u);
    EXPECT_EQ(NearestPeak(values, 8, 0.02f), 6u);
    EXPECT_EQ(NearestPeak(values, 8, 0.06f), 8u);
    EXPECT_EQ(NearestPeak(values, 0, 0.2f), 0u);
    EXPECT_EQ(NearestPeak(std::vector<float>(9, 0.0f), 4, 0.02f), 4u);
    EXPECT_EQ(NearestPeak(std::vector<float>(9, -1.0f), 4, 0.02f), 4u);
    EXPECT_EQ(NearestPeak({}, 4, 0.02f), 4u);
}

TEST(OnsetTest, FindsWhereThingsBeginAndNothingInNoise) {
    for (const int rate : {8000, 44100, 192000}) {
        std::vector<float> sound = NoiseSamples(static_cast<size_t>(3 * rate), 5, 0.01f);
        EXPECT_TRUE(FindOnsets(sound, rate).empty()) << rate;
        std::vector<int64_t> begins;
        for (const double second : {0.31, 0.9, 1.503, 2.2}) {
            begins.push_back(static_cast<int64_t>(second * rate));
            // A tone under which the next one begins, each one louder than half of the whole.
            for (int64_t i = begins.back(); i < begins.back() + rate / 10; ++i)
                sound[static_cast<size_t>(i)] += i % 4 < 2 ? 0.5f : -0.5f;
        }
        for (size_t i = 0; i < sound.size(); ++i)
            sound[i] += static_cast<float>(0.3 * std::sin(2 * M_PI * 50 * static_cast<double>(i) / rate));
        const std::vector<LOnset> onsets = FindOnsets(sound, rate);
        ASSERT_EQ(onsets.size(), begins.size()) << rate;
        for (size_t i = 0; i < begins.size(); ++i)
            EXPECT_LE(std::abs(onsets[i].frame - begins[i]), rate / 500) << rate;  // 2 ms
    }
    EXPECT_TRUE(FindOnsets({}, 44100).empty());
    EXPECT_TRUE(FindOnsets(std::vector<float>(40, 1.0f), 1).empty());
}

}  // namespace
}  // namespace ondarix::test
