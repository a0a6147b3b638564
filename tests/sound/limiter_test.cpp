// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <random>

#include "sound/wrappers.h"
#include "sound_fixture.h"

namespace ondarix {
namespace {

constexpr float kLimit = 0.999969482421875f;

// Loud and quiet stretches of all lengths, the loud ones up to 12.
std::vector<float> Bursts(int64_t frames, int channels, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
    std::vector<float> samples;
    float level = 0.5f;
    for (int64_t i = 0; i < frames; ++i) {
        if (random() % 300 == 0) level = random() % 3 ? 0.9f : 12.0f * std::fabs(unit(random));
        for (int c = 0; c < channels; ++c) samples.push_back(level * unit(random));
    }
    return samples;
}

LSoundSourceRef Limiter(const std::vector<float>& samples, LSoundFormat format, float limit = kLimit) {
    return MakeSource<LPeakLimiterSource>(MakeSource<LVectorSource>(samples, format), limit);
}

TEST(PeakLimiter, NeverExceedsTheLimitAndAddsNoDelay) {
    for (const auto format :
         {LSoundFormat{100, 1}, LSoundFormat{8000, 2}, LSoundFormat{44100, 3}, LSoundFormat{700000, 1}}) {
        for (const float limit : {kLimit, 0.1f}) {
            const auto samples = Bursts(30000, format.channels, 5);
            auto limiter = Limiter(samples, format, limit);
            EXPECT_EQ(limiter->GetLength(), 30000);
            EXPECT_EQ(limiter->peak, limit);
            const auto out = ReadFrames(*limiter, 30000);
            float worst = 0, smallestGain = 1, largestGain = 0;
            for (size_t i = 0; i < out.size(); ++i) {
                worst = std::max(worst, std::fabs(out[i]));
                if (std::fabs(samples[i]) < 1e-6f) continue;
                smallestGain = std::min(smallestGain, out[i] / samples[i]);
                largestGain = std::max(largestGain, out[i] / samples[i]);
            }
            EXPECT_LE(worst, limit);
            EXPECT_GT(worst, limit * 0.999f) << "and uses it";
            EXPECT_GT(smallestGain, limit / 12.01f);
            EXPECT_LE(largestGain, 1.0f) << "frame n out is frame n in, turned down";
            EXPECT_TRUE(static_cast<LPeakLimiterSource*>(limiter.Get())->HasClipped());
        }
    }
}

TEST(PeakLimiter, LeavesWhatIsWithinTheLimitBitForBit) {
    auto samples = Bursts(20000, 2, 6);
    for (float& v : samples) v = std::clamp(v, -kLimit, kLimit);
    auto limiter = Limiter(samples, {44100, 2});
    EXPECT_EQ(ReadFrames(*limiter, 20000), samples);
    EXPECT_FALSE(static_cast<LPeakLimiterSource*>(limiter.Get())->HasClipped());
    // One loud sample changes the blocks next to its own, and no other.
    constexpr int64_t kBlock = 44100 / 35;
    samples[2 * (5 * kBlock + 7)] = 4.0f;
    const auto out = ReadFrames(*Limiter(samples, {44100, 2}), 20000);
    for (int64_t i = 0; i < 20000; ++i) {
        const int64_t block = i / kBlock;
        if (block >= 4 && block <= 6) continue;
        EXPECT_EQ(out[static_cast<size_t>(2 * i)], samples[static_cast<size_t>(2 * i)]) << i;
    }
}

TEST(PeakLimiter, GainIsAStraightLineBeforeAndAfterALoudBlock) {
    constexpr int64_t kBlock = 100;  // 3500 / 35
    std::vector<float> samples(1000, 0.5f);
    std::fill(samples.begin() + 3 * kBlock, samples.begin() + 4 * kBlock, 2.0f);
    const auto out = ReadFrames(*Limiter(samples, {3500, 1}, 1.0f), 1000);
    for (int64_t i = 0; i < 1000; ++i) {
        const double along = static_cast<double>(i % kBlock) / kBlock;
        const double gain = i / kBlock == 2   ? 1 - 0.5 * along
                            : i / kBlock == 3 ? 0.5
                            : i / kBlock == 4 ? 0.5 + 0.5 * along
                                              : 1;
        EXPECT_NEAR(out[static_cast<size_t>(i)], samples[static_cast<size_t>(i)] * gain, 1e-6) << i;
    }
}

TEST(PeakLimiter, GivesTheSameForAnyBlockAndAfterAnySeek) {
    const auto samples = Bursts(20000, 2, 8);
    const LSoundFormat format{22050, 2};
    const auto whole = ReadFrames(*Limiter(samples, format), 21000, 21000);
    for (int32_t block : {1, 7, 630, 631, 8192}) {
        EXPECT_EQ(ReadFrames(*Limiter(samples, format), 21000, block), whole) << block;
    }
    auto limiter = Limiter(samples, format);
    std::mt19937 random(3);
    for (int i = 0; i < 60; ++i) {
        const auto at = static_cast<int64_t>(random() % 19000);
        limiter->Seek(at);
        EXPECT_EQ(limiter->GetPosition(), at);
        const auto part = ReadFrames(*limiter, 900);
        EXPECT_TRUE(std::equal(part.begin(), part.end(), whole.begin() + at * 2)) << at;
        EXPECT_EQ(limiter->GetPosition(), at + 900);
    }
    limiter->Seek(-1000);
    const auto early = ReadFrames(*limiter, 2000);
    EXPECT_TRUE(std::all_of(early.begin(), early.begin() + 2000, [](float v) { return v == 0; }));
    EXPECT_TRUE(std::equal(early.begin() + 2000, early.end(), whole.begin()));
    auto child = MakeSource<LVectorSource>(samples, format);
    child->Seek(12345);
    LPeakLimiterSource inTheMiddle(child, kLimit);
    const auto part = ReadFrames(inTheMiddle, 500);
    EXPECT_TRUE(std::equal(part.begin(), part.end(), whole.begin() + 12345 * 2));
}

TEST(PeakLimiter, AChildThatCannotBeMovedIsTakenFromWhereItStands) {
    const auto samples = Bursts(20000, 1, 8);
    auto* source = new LVectorSource(samples, {});
    LSoundSourceRef child(source);
    child->Seek(777);
    source->canSeek = false;
    LPeakLimiterSource limiter(child, kLimit);
    EXPECT_EQ(limiter.GetPosition(), 777);
    const auto out = ReadFrames(limiter, 15000);
    for (size_t i = 0; i < out.size(); ++i) {
        ASSERT_LE(std::fabs(out[i]), kLimit);
        ASSERT_LE(std::fabs(out[i]), std::fabs(samples[i + 777]));
    }
}

TEST(PeakLimiter, AGrowingSourceIsNotReadAheadOfItsEnd) {
    const auto samples = Bursts(20000, 1, 8);
    auto* source = new LVectorSource(samples, {});
    LSoundSourceRef child(source);
    source->growing = true;
    source->shown = 700;
    LPeakLimiterSource limiter(child, kLimit);
    std::vector<float> out;
    while (true) {
        const bool growing = limiter.IsGrowing();
        const auto ready = static_cast<int32_t>(limiter.GetLength() - limiter.GetPosition());
        if (ready > 0) {
            const auto part = ReadFrames(limiter, ready);
            out.insert(out.end(), part.begin(), part.end());
            EXPECT_LE(child->GetPosition(), growing ? source->shown : 40000);
        } else if (growing) {
            limiter.WaitForData(1);
        } else {
            break;
        }
    }
    ASSERT_EQ(out.size(), samples.size());
    float worst = 0;
    for (size_t i = 0; i < out.size(); ++i) {
        worst = std::max(worst, std::fabs(out[i]));
        ASSERT_LE(std::fabs(out[i]), std::fabs(samples[i])) << i;
        ASSERT_EQ(out[i] == 0, samples[i] == 0) << "nothing is read before it is there: " << i;
    }
    EXPECT_LE(worst, kLimit);
}

TEST(PeakLimiter, StandsOnlyWhereTheBoundAsksForIt) {
    auto quiet = MakeSource<LVectorSource>(std::vector<float>{1}, LSoundFormat{});
    quiet->peak = kLimit;
    EXPECT_EQ(LimitPeaks(quiet, kLimit).Get(), quiet.Get());
    quiet->peak = 1.0f;
    EXPECT_NE(LimitPeaks(quiet, kLimit).Get(), quiet.Get());
    EXPECT_EQ(LimitPeaks(FailedSource(kSourceCannotOpen), kLimit)->error, kSourceCannotOpen);
}

TEST(GainSource, MultipliesSamplesAndBound) {
    auto child = MakeSource<LVectorSource>(std::vector<float>{1, -0.5f, 3}, LSoundFormat{});
    child->peak = 3.0f;
    LGainSource half(child, -0.5f);
    EXPECT_EQ(half.peak, 1.5f);
    EXPECT_EQ(ReadFrames(half, 4), (std::vector<float>{-0.5f, 0.25f, -1.5f, 0}));
    half.Seek(1);
    EXPECT_EQ(ReadFrames(half, 1), std::vector<float>{0.25f});
    child->peak = kUnknownPeak;
    EXPECT_EQ(LGainSource(child, 0.5f).peak, kUnknownPeak) << "half of unknown is unknown";
}

}  // namespace
}  // namespace ondarix
