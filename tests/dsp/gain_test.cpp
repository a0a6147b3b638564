// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/gain.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace ondarix::test {
namespace {

std::vector<float> RandomSamples(size_t count) {
    std::mt19937 random(3);
    std::uniform_real_distribution<float> level(-1, 1);
    std::vector<float> samples(count);
    for (float& sample : samples) sample = level(random);
    return samples;
}

// Each kernel at every channel count and at frame counts around the widths of its rows, with a value behind
// the block that must stay.
class GainKernels : public ::testing::TestWithParam<int> {
  protected:
    template <typename Kernel, typename Expected>
    void Check(Kernel kernel, Expected expected) {
        const int channels = GetParam();
        for (const int frames : {0, 1, 2, 3, 7, 8, 15, 16, 17, 31, 64, 100}) {
            const size_t count = static_cast<size_t>(frames * channels);
            const std::vector<float> before = RandomSamples(count);
            std::vector<float> block = before;
            block.push_back(777.0f);
            kernel(block.data(), frames, channels);
            for (int i = 0; i < frames; ++i)
                for (int c = 0; c < channels; ++c) {
                    const auto at = static_cast<size_t>(i * channels + c);
                    ASSERT_EQ(block[at], expected(before[at], i, c)) << frames << " frames, channel " << c;
                }
            EXPECT_EQ(block.back(), 777.0f);
        }
    }
    const std::vector<float> values_ = RandomSamples(300);
};

TEST_P(GainKernels, ScaleAndShiftEachSampleByTheRightValue) {
    Check([](float* b, int n, int c) { ScaleSamples(b, int64_t{n} * c, 0.3f); },
          [](float x, int, int) { return x * 0.3f; });
    Check([&](float* b, int n, int c) { ScaleFrames(b, n, c, values_.data()); },
          [&](float x, int i, int) { return x * values_[static_cast<size_t>(i)]; });
    Check([&](float* b, int n, int c) { ScaleChannels(b, n, c, values_.data()); },
          [&](float x, int, int c) { return x * values_[static_cast<size_t>(c)]; });
    Check([&](float* b, int n, int c) { SubtractFromChannels(b, n, c, values_.data()); },
          [&](float x, int, int c) { return x - values_[static_cast<size_t>(c)]; });
}

TEST_P(GainKernels, SumAndReverse) {
    const int channels = GetParam();
    for (const int frames : {0, 1, 15, 16, 17, 100}) {
        const std::vector<float> from = RandomSamples(static_cast<size_t>(frames * channels));
        std::vector<double> sums(static_cast<size_t>(channels), 5.0), expected = sums;
        for (size_t i = 0; i < from.size(); ++i) expected[i % sums.size()] += from[i];
        SumChannels(from.data(), frames, channels, sums.data());
        for (size_t c = 0; c < sums.size(); ++c) EXPECT_NEAR(sums[c], expected[c], 1e-12);

        std::vector<float> to(from.size() + 1, 777.0f);
        ReverseFrames(from.data(), to.data(), frames, channels);
        for (size_t i = 0; i < from.size(); ++i) {
            const size_t frame = i / sums.size(), channel = i % sums.size();
            ASSERT_EQ(to[i], from[(static_cast<size_t>(frames) - 1 - frame) * sums.size() + channel]);
        }
        EXPECT_EQ(to.back(), 777.0f);
    }
}

INSTANTIATE_TEST_SUITE_P(Channels, GainKernels, ::testing::Values(1, 2, 3, 5, 6, 8, 16, 32, 33, 255));

}  // namespace
}  // namespace ondarix::test
