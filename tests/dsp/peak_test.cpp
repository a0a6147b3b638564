// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/peak.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace ondarix {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(PeakValue, CodesMagnitudes) {
    EXPECT_EQ(PeakFromMagnitude(0.0f), 0);
    EXPECT_EQ(PeakFromMagnitude(-1.0f), 0);
    EXPECT_EQ(PeakFromMagnitude(kNan), 0);
    EXPECT_EQ(PeakFromMagnitude(1e-9f), 1) << "any signal is told from silence";
    EXPECT_EQ(PeakFromMagnitude(std::numeric_limits<float>::denorm_min()), 1);
    EXPECT_EQ(PeakFromMagnitude(1.0f), 4134);
    EXPECT_EQ(PeakFromMagnitude(0.5f), 2067);
    EXPECT_EQ(PeakFromMagnitude(15.848932f), 65534);
    EXPECT_EQ(PeakFromMagnitude(15.85f), 65535);
    EXPECT_EQ(PeakFromMagnitude(31.6f), 65535) << "+30 dB";
    EXPECT_EQ(PeakFromMagnitude(kInfinity), 65535);
}

TEST(PeakValue, ComesBackWithinOneUnitAndInOrder) {
    EXPECT_EQ(MagnitudeFromPeak(0), 0.0f);
    EXPECT_EQ(MagnitudeFromPeak(65535), 16.0f);
    for (int p = 1; p < 65535; ++p) {
        const float v = MagnitudeFromPeak(static_cast<uint16_t>(p));
        EXPECT_NEAR(PeakFromMagnitude(v), p, 1);
        EXPECT_LT(v, MagnitudeFromPeak(static_cast<uint16_t>(p + 1)));
    }
}

// The definition in double, sample by sample.
LPeakPair RecordOf(const std::vector<float>& frames, int64_t block, int channels, int channel) {
    double max = 0, min = 0;
    for (int i = 0; i < kPeakBlockFrames; ++i) {
        const double v = frames[static_cast<size_t>((block * kPeakBlockFrames + i) * channels + channel)];
        if (std::isnan(v)) continue;
        max = std::max(max, v);
        min = std::min(min, v);
    }
    return {PeakFromMagnitude(static_cast<float>(max)), PeakFromMagnitude(static_cast<float>(-min))};
}

TEST(PeakBlocks, AgreeWithTheDefinitionForAnyChannelCount) {
    std::mt19937 random(7);
    std::normal_distribution<float> noise(0.0f, 1.0f);
    for (int channels : {1, 2, 3, 4, 5, 6, 7, 8, 16, 24, 32, 33, 255}) {
        constexpr int64_t kBlocks = 3;
        std::vector<float> frames(static_cast<size_t>(kBlocks * kPeakBlockFrames * channels));
        for (float& v : frames) v = std::pow(10.0f, noise(random)) * (noise(random) < 0 ? -1.0f : 1.0f);
        frames[0] = kNan;
        frames[frames.size() / 2] = kNan;
        frames[frames.size() - 1] = -kInfinity;
        std::vector<LPeakPair> records(static_cast<size_t>(kBlocks * channels + 1), LPeakPair{77, 77});
        PeaksOfBlocks(frames.data(), kBlocks, channels, records.data());
        for (int64_t i = 0; i < kBlocks * channels; ++i) {
            EXPECT_EQ(records[static_cast<size_t>(i)],
                      RecordOf(frames, i / channels, channels, static_cast<int>(i % channels)))
                << channels << " channels, record " << i;
        }
        EXPECT_EQ(records.back(), (LPeakPair{77, 77})) << "nothing is written behind the records";
    }
}

TEST(PeakBlocks, OneSampleAtAnyPlaceIsSeenInItsChannelOnly) {
    for (int channels : {1, 2}) {
        for (int at = 0; at < kPeakBlockFrames; ++at) {
            std::vector<float> frames(static_cast<size_t>(kPeakBlockFrames * channels), 0.0f);
            frames[static_cast<size_t>(at * channels + channels - 1)] = -0.25f;
            LPeakPair records[2];
            PeaksOfBlocks(frames.data(), 1, channels, records);
            EXPECT_EQ(records[channels - 1], (LPeakPair{0, 1033})) << at;
            if (channels == 2) {
                EXPECT_EQ(records[0], (LPeakPair{0, 0}));
            }
        }
    }
}

TEST(PeakBlocks, PiecesAccumulateToTheWhole) {
    std::vector<float> frames(512);
    for (size_t i = 0; i < frames.size(); ++i) frames[i] = std::sin(0.1f * static_cast<float>(i));
    float max[2] = {}, min[2] = {};
    for (int64_t done = 0, piece = 1; done < 256;
         done += piece, piece = std::min<int64_t>(piece + 6, 256 - done)) {
        AccumulatePeaks(frames.data() + done * 2, piece, 2, max, min);
    }
    LPeakPair whole[2];
    PeaksOfBlocks(frames.data(), 1, 2, whole);
    for (int channel : {0, 1}) {
        EXPECT_EQ(PeakFromMagnitude(max[channel]), whole[channel].max);
        EXPECT_EQ(PeakFromMagnitude(-min[channel]), whole[channel].min);
    }
}

TEST(PeakGraph, TakesAGain) {
    const std::vector<LPeakPair> source = {{0, 1}, {4134, 2000}, {65535, 65534}};
    auto pairs = source;
    ScaleGraph(pairs.data(), 3, 1.0f);
    EXPECT_EQ(pairs, source);
    ScaleGraph(pairs.data(), 3, -0.5f);
    EXPECT_EQ(pairs[0], (LPeakPair{0, 1})) << "a negative gain swaps nothing, and a signal stays a signal";
    EXPECT_NEAR(pairs[1].max, 2067, 1);
    EXPECT_NEAR(pairs[1].min, 1000, 1);
    EXPECT_NEAR(pairs[2].max, 33079, 1) << "65535 stands for 16.0";
    for (float gain : {0.0f, kNan, kInfinity}) {
        pairs = source;
        ScaleGraph(pairs.data(), 3, gain);
        EXPECT_EQ(pairs, std::vector<LPeakPair>(3)) << gain;
    }
}

}  // namespace
}  // namespace ondarix
