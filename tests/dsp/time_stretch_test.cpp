// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/time_stretch.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <vector>

#include "gtest/gtest.h"

namespace ondarix::test {
namespace {

constexpr int64_t kLength = 3 * 48000;
using Wave = std::function<float(int64_t frame, int channel)>;

struct Stretched {
    int rate = 48000, channels = 1;
    double speed = 1.0;
    Wave wave;
    int64_t block = 4096;

    int64_t Length() const { return std::llround(static_cast<double>(kLength) / speed); }
    LTimeStretch Make() const {
        return {rate, channels, std::llround(speed * 1000), 1000,
                [this](float* dest, int64_t first, int64_t frames) {
                    for (int64_t n = first; n < first + frames; ++n)
                        for (int c = 0; c < channels; ++c)
                            *dest++ = n >= 0 && n < kLength ? wave(n, c) : 0.0f;
                }};
    }
    std::vector<float> All() const {
        LTimeStretch stretch = Make();
        std::vector<float> out(static_cast<size_t>(Length() * channels));
        for (int64_t at = 0; at < Length(); at += block)
            stretch.Produce(out.data() + at * channels, at, std::min(block, Length() - at));
        return out;
    }
};

float Noise(int64_t frame, int channel) {
    auto x = static_cast<uint64_t>(frame * 255 + channel) * 0x9E3779B97F4A7C15u;
    x ^= x >> 29;
    return static_cast<float>(static_cast<int64_t>(x * 0xBF58476D1CE4E5B9u >> 40) - (1 << 23)) / (1 << 24);
}

Wave StretchSine(double hertz, double rate) {
    return [=](int64_t n, int) {
        return static_cast<float>(0.5 *
                                  std::sin(2 * std::numbers::pi * hertz * static_cast<double>(n) / rate));
    };
}

// Of one channel between its first and last upward crossing of zero, each to a part of a frame.
double Frequency(const std::vector<float>& out, double rate) {
    double first = -1, last = -1;
    int turns = -1;
    for (size_t i = out.size() / 10; i + 1 < out.size() * 9 / 10; ++i) {
        if (!(out[i] < 0 && out[i + 1] >= 0)) continue;
        last = static_cast<double>(i) + static_cast<double>(out[i] / (out[i] - out[i + 1]));
        if (first < 0) first = last;
        ++turns;
    }
    return turns * rate / (last - first);
}

class StretchOfSine : public testing::TestWithParam<std::tuple<double, double, int>> {};

TEST_P(StretchOfSine, KeepsPitchAndLevel) {
    const auto [speed, hertz, rate] = GetParam();
    const Stretched stretched{rate, 1, speed, StretchSine(hertz, rate)};
    const std::vector<float> out = stretched.All();
    EXPECT_NEAR(Frequency(out, rate), hertz, hertz * 0.001);
    // Level over stretches of two periods at least.
    const size_t span = static_cast<size_t>(std::max(256.0, 2 * std::ceil(rate / hertz)));
    for (size_t at = out.size() / 10; at + span < out.size() * 9 / 10; at += span / 2) {
        float peak = 0;
        for (size_t i = at; i < at + span; ++i) peak = std::max(peak, std::fabs(out[i]));
        ASSERT_GT(20 * std::log10(peak / 0.5), -1.0) << "at " << at;
        ASSERT_LT(peak, 0.5001f);
    }
}

INSTANTIATE_TEST_SUITE_P(Speeds, StretchOfSine,
                         testing::Combine(testing::Values(0.1, 0.5, 1.25, 2.0, 5.0),
                                          testing::Values(50.0, 440.0, 1234.5, 7013.0),
                                          testing::Values(44100, 96000)));

// Something like a voice: pulses stay as far apart as they are, none is lost or doubled.
TEST(TimeStretch, PulsesOfAVoiceKeepTheirDistance) {
    constexpr int64_t kPeriod = 400;  // 120 Hz
    const Wave voice = [](int64_t n, int) {
        const auto t = static_cast<double>(n % kPeriod);
        return static_cast<float>(std::exp(-t / 40) * std::cos(t * 0.13) * 0.8);
    };
    for (const double speed : {0.5, 0.7, 1.5, 2.0, 3.0}) {
        const std::vector<float> out = Stretched{48000, 1, speed, voice}.All();
        std::vector<int64_t> starts;
        for (size_t i = 1; i + 1 < out.size(); ++i)
            if (out[i] - out[i - 1] > 0.4f) starts.push_back(static_cast<int64_t>(i));
        for (size_t i = 1; i + 8 < starts.size(); ++i)
            ASSERT_NEAR(static_cast<double>(starts[i] - starts[i - 1]), kPeriod, 1) << speed << ", " << i;
        EXPECT_NEAR(static_cast<double>(starts.size()), static_cast<double>(out.size()) / kPeriod, 5)
            << speed;
    }
}

// The middle of each piece is taken within 16 ms of where it belongs, so nothing runs away.
TEST(TimeStretch, FollowsTheSoundOverItsWholeLength) {
    const Wave bursts = [](int64_t n, int c) { return n % 24000 < 4800 ? Noise(n, c) : 0.0f; };
    for (const double speed : {0.2, 0.5, 1.5, 2.0, 5.0}) {
        const std::vector<float> out = Stretched{48000, 1, speed, bursts}.All();
        for (int64_t burst = 0; burst < kLength; burst += 24000) {
            const auto loudness = [&](double from, double to) {
                float peak = 0;
                for (auto i = std::llround(from); i < std::llround(to); ++i)
                    peak = std::max(peak, std::fabs(out[static_cast<size_t>(i)]));
                return peak;
            };
            const double begin = static_cast<double>(burst) / speed, most = (0.016 / speed + 0.05) * 48000;
            const double end = begin + 4800 / speed, next = begin + 24000 / speed;
            EXPECT_GT(loudness(begin, end), 0.2f) << speed << ", " << burst;
            if (end + most >= next - most) continue;
            EXPECT_EQ(loudness(end + most, next - most), 0.0f) << speed;
        }
    }
}

TEST(TimeStretch, ChannelsStayTogether) {
    // The second channel is the first one inverted: their sum has nothing to compare.
    const Wave opposite = [wave = StretchSine(330, 48000)](int64_t n, int c) {
        return c == 0 ? wave(n, 0) : -wave(n, 0);
    };
    const std::vector<float> out = Stretched{48000, 2, 0.5, opposite}.All();
    float peak = 1;
    for (size_t at = 48000; at + 960 < out.size() - 48000; at += 480) {
        float now = 0;
        for (size_t i = at; i < at + 960; i += 2) {
            ASSERT_EQ(out[i], -out[i + 1]);
            now = std::max(now, std::fabs(out[i]));
        }
        peak = std::min(peak, now);
    }
    EXPECT_GT(peak, 0.45f);
    // Five channels alike come out alike.
    const std::vector<float> five =
        Stretched{48000, 5, 2.0, [](int64_t n, int) { return Noise(n, 0); }}.All();
    for (size_t i = 0; i < five.size(); i += 5)
        for (size_t c = 1; c < 5; ++c) ASSERT_EQ(five[i], five[i + c]);
}

TEST(TimeStretch, AnyBlockSizeGivesTheSameAndTheBeginningIsTheSounds) {
    for (const double speed : {0.3, 1.7}) {
        Stretched stretched{48000, 2, speed, Noise, 8192};
        const std::vector<float> whole = stretched.All();
        EXPECT_EQ(whole[0], Noise(0, 0));
        for (const int64_t block : {1, 7, 640, 1153}) {
            stretched.block = block;
            EXPECT_EQ(stretched.All(), whole) << block;
        }
    }
}

// From a place in the middle the sound of that place is heard, and what does not fit is finite.
TEST(TimeStretch, BeginsAnywhereAndTakesAnything) {
    const Stretched stretched{48000, 1, 2.0, StretchSine(1000, 48000)};
    LTimeStretch stretch = stretched.Make();
    std::vector<float> block(1152);
    stretch.Produce(block.data(), 1152 * 20, 1152);
    for (int64_t i = 0; i < 16; ++i)
        EXPECT_NEAR(block[static_cast<size_t>(i)], stretched.wave(2 * 1152 * 20 + i, 0), 0.01f);
    for (const float value : {0.0f, 1e30f, 1e-30f, 0.25f}) {
        const auto out = Stretched{8000, 1, 0.5, [=](int64_t, int) { return value; }}.All();
        EXPECT_TRUE(std::all_of(out.begin(), out.end(), [=](float v) { return v >= 0 && v <= value; }))
            << value;
        if (value == 0.25f) {
            EXPECT_TRUE(std::all_of(out.begin(), out.end() - 1000, [=](float v) { return v == value; }));
        }
    }
}

// What counts as ready does not change when more of the input comes.
TEST(TimeStretch, ReadyNeedsNoLaterInput) {
    for (const double speed : {0.1, 0.5, 1.25, 5.0}) {
        const auto whole = Stretched{44100, 1, speed, Noise}.All();
        for (const int64_t available : {100, 5000, 44100, 100001}) {
            const Stretched part{44100, 1, speed,
                                 [=](int64_t n, int c) { return n < available ? Noise(n, c) : 1000.0f; }};
            LTimeStretch stretch = part.Make();
            const int64_t ready = std::min(stretch.Ready(available), part.Length());
            std::vector<float> out(static_cast<size_t>(ready));
            stretch.Produce(out.data(), 0, ready);
            EXPECT_TRUE(std::equal(out.begin(), out.end(), whole.begin())) << speed << ", " << available;
            EXPECT_GE(static_cast<double>(ready),
                      static_cast<double>(available - 44100 * 0.041) / speed - 1100);
        }
    }
}

}  // namespace
}  // namespace ondarix::test
