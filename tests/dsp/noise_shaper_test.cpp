// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/noise_shaper.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <random>
#include <vector>

#include "dsp/sample_convert.h"

namespace ondarix {
namespace {

// The recurrence written out, one channel, straight from its definition.
struct Reference {
    int bits;
    float error1 = 0, error2 = 0;
    int silentRun = 1;

    int Wrap(float scaled) const {
        const auto whole = static_cast<long long>(std::trunc(scaled >= 0 ? scaled + 0.5f : scaled - 0.5f));
        return bits == 16 ? static_cast<int16_t>(whole) : static_cast<int8_t>(whole);
    }
    int Next(float x) {
        const float full = bits == 16 ? 32767.0f : 127.0f;
        const float step = bits == 16 ? 3.0518509e-5f : 0.007874016f;
        int q = 0;
        bool idle = false;
        if (silentRun > 0) {
            if (silentRun > 4)
                q = bits == 16 ? Wrap(x * 0.52f * full) : Wrap(x * 66.04f);
            else
                q = Wrap(x * full);
            idle = static_cast<float>(q) * step == 0.0f;
            if (idle) ++silentRun;
        }
        if (!idle) {
            const float shaped = error1 * 0.9f + error2 * 0.45f + x;
            q = Wrap(shaped * full);
            silentRun = q == 0 ? silentRun + 1 : 0;
        }
        error2 = error1;
        error1 = x - static_cast<float>(q) * step;
        return q;
    }
};

// A tone that fades to nothing and comes back over noise of less than a step, then a loud stretch.
std::vector<float> Passage(int channels) {
    std::mt19937 random(3);
    std::uniform_real_distribution<float> noise(-0.6f, 0.6f);
    std::vector<float> out;
    for (int frame = 0; frame < 20000; ++frame) {
        const double envelope = frame < 8000 ? std::exp(-frame / 700.0) : frame < 12000 ? 0.0 : 1.4;
        for (int channel = 0; channel < channels; ++channel) {
            const double tone = std::sin(frame * 0.05 * (channel + 1) * std::numbers::pi / 7);
            const bool silent = frame > 9000 && frame < 10000;
            out.push_back(silent ? 0.0f
                                 : static_cast<float>(envelope * 0.7 * tone) + noise(random) * kPcm16Step);
        }
    }
    return out;
}

std::vector<int> Shaped(int bits, const std::vector<float>& in, int channels, int64_t block) {
    LNoiseShaper shaper;
    std::vector<uint8_t> bytes(in.size() * 2);
    const auto width = static_cast<size_t>(bits / 8);
    const auto frames = static_cast<int64_t>(in.size()) / channels;
    for (int64_t at = 0; at < frames; at += block) {
        const auto first = static_cast<size_t>(at * channels);
        const int64_t count = std::min(block, frames - at);
        if (bits == 16)
            shaper.Quantise16(&in[first], &bytes[first * width], count, channels);
        else
            shaper.Quantise8(&in[first], &bytes[first * width], count, channels);
    }
    std::vector<int> out;
    for (size_t i = 0; i < in.size(); ++i)
        out.push_back(bits == 16 ? static_cast<int16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8)
                                 : bytes[i] - 128);
    return out;
}

TEST(NoiseShaper, FollowsTheRecurrenceForAnyBlockSizeAndChannels) {
    for (int bits : {16, 8}) {
        for (int channels : {1, 2, 16}) {
            const auto in = Passage(channels);
            std::vector<Reference> states(static_cast<size_t>(channels), Reference{bits});
            std::vector<int> expected;
            for (size_t i = 0; i < in.size(); ++i)
                expected.push_back(states[i % static_cast<size_t>(channels)].Next(in[i]));
            for (int64_t block : {1, 77, 8192})
                ASSERT_EQ(Shaped(bits, in, channels, block), expected)
                    << bits << " bits, " << channels << " channels, blocks of " << block;
        }
    }
}

TEST(NoiseShaper, KeepsSilenceSilentAndCountsIt) {
    LNoiseShaper shaper;
    std::vector<float> zeros(1000, 0.0f);
    std::vector<uint8_t> bytes(2000, 0xAA);
    shaper.Quantise16(zeros.data(), bytes.data(), 1000, 1);
    EXPECT_EQ(bytes, std::vector<uint8_t>(2000, 0));
    EXPECT_EQ(shaper.SilentRun(0), 1001);
    const float wake[] = {0.9f * kPcm16Step, 2.0f * kPcm16Step};
    shaper.Quantise16(wake, bytes.data(), 1, 1);
    EXPECT_EQ(shaper.SilentRun(0), 1002) << "nearly a step does not wake it";
    shaper.Quantise16(wake + 1, bytes.data(), 1, 1);
    EXPECT_EQ(shaper.SilentRun(0), 0);
    EXPECT_NE(bytes[0] | bytes[1], 0);
}

TEST(NoiseShaper, PassesSamplesOnTheGridUntouched) {
    std::vector<float> in;
    std::vector<int> expected;
    std::mt19937 random(5);
    std::uniform_int_distribution<int> any(-32768, 32767), small(-2, 2);
    for (int i = 0; i < 40000; ++i) {
        const int value = i == 0          ? -32768
                          : i == 1        ? 32767
                          : i % 400 < 200 ? small(random) * (i % 3 == 0)
                                          : any(random);
        expected.push_back(value);
        in.push_back(static_cast<float>(value) * kPcm16Step);
    }
    EXPECT_EQ(Shaped(16, in, 2, 8192), expected);
}

// Error feedback moves quantisation noise about, and never far: a tone far below one step is still there.
TEST(NoiseShaper, KeepsAToneBelowOneStep) {
    constexpr int kFrames = 1 << 16;
    std::vector<float> in(kFrames);
    for (int i = 0; i < kFrames; ++i)
        in[static_cast<size_t>(i)] =
            static_cast<float>(0.3 * std::sin(2 * std::numbers::pi * 64 * i / kFrames) + 40) * kPcm16Step;
    const auto out = Shaped(16, in, 1, 8192);
    double inPhase = 0;
    for (int i = 0; i < kFrames; ++i)
        inPhase += (out[static_cast<size_t>(i)] - 40) * std::sin(2 * std::numbers::pi * 64 * i / kFrames);
    EXPECT_NEAR(inPhase * 2 / kFrames, 0.3, 0.2);
}

TEST(NoiseShaper, RecoversFromWhatIsNoNumber) {
    std::vector<float> in(100, 0.25f);
    in[3] = std::nanf("");
    in[4] = HUGE_VALF;
    const auto out = Shaped(16, in, 1, 8192);
    for (size_t i = 10; i < out.size(); ++i) EXPECT_NEAR(out[i], 8192, 3) << i;
}

}  // namespace
}  // namespace ondarix
