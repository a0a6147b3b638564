// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/resampler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>
#include <ostream>
#include <random>

namespace ondarix {

namespace {

struct RatePair {
    int32_t from, to;
    double Lower() const { return std::min(from, to); }
};

void PrintTo(const RatePair& pair, std::ostream* out) { *out << pair.from << " to " << pair.to; }

// An endless input by a function of the frame number and the channel.
template <typename F>
LResampler::Fetch Endless(int channels, F value) {
    return [=](float* dest, int64_t first, int64_t frames) {
        for (int64_t i = 0; i < frames; ++i) {
            for (int c = 0; c < channels; ++c) *dest++ = static_cast<float>(value(first + i, c));
        }
    };
}

LResampler::Fetch Sine(double hz, int32_t rate, double amplitude = 1) {
    const double step = 2 * std::numbers::pi * hz / rate;
    return Endless(
        1, [=](int64_t frame, int) { return amplitude * std::sin(step * static_cast<double>(frame)); });
}

std::vector<float> Make(LResampler& resampler, int64_t first, int64_t frames, int channels = 1) {
    std::vector<float> made(static_cast<size_t>(frames * channels), 777.0f);
    resampler.Produce(made.data(), first, frames);
    return made;
}

double Db(double ratio) { return 20 * std::log10(std::max(ratio, 1e-12)); }

double Rms(const std::vector<float>& samples) {
    double sum = 0;
    for (const float v : samples) sum += double{v} * v;
    return std::sqrt(sum / static_cast<double>(samples.size()));
}

struct Tone {
    double gainDb;   // of the tone, in the phase that it must have
    double noiseDb;  // everything else, the tone in a wrong phase too, below it
};

// What is made of a sine of amplitude 1, seen as a multiple of the exact sine and a rest.
Tone MakeTone(RatePair pair, double hz, int64_t first, int64_t frames) {
    LResampler resampler(pair.from, pair.to, 1, Sine(hz, pair.from));
    const std::vector<float> made = Make(resampler, first, frames);
    double same = 0, exact = 0, all = 0;
    for (size_t i = 0; i < made.size(); ++i) {
        const double at = static_cast<double>(first + static_cast<int64_t>(i)) / pair.to;
        const double sine = std::sin(2 * std::numbers::pi * hz * at);
        same += made[i] * sine;
        exact += sine * sine;
    }
    const double gain = same / exact;
    for (size_t i = 0; i < made.size(); ++i) {
        const double at = static_cast<double>(first + static_cast<int64_t>(i)) / pair.to;
        all += std::pow(made[i] - gain * std::sin(2 * std::numbers::pi * hz * at), 2);
    }
    return {Db(gain), Db(std::sqrt(exact / std::max(all, 1e-30)))};
}

// Gain of the part of `made` that has this frequency.
double GainAt(const std::vector<float>& made, double hz, int32_t rate) {
    double real = 0, imaginary = 0, weight = 0;
    for (size_t i = 0; i < made.size(); ++i) {
        const double x = static_cast<double>(i) / static_cast<double>(made.size());
        const double window = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * x);
        const double angle = 2 * std::numbers::pi * hz * static_cast<double>(i) / rate;
        real += made[i] * window * std::cos(angle);
        imaginary += made[i] * window * std::sin(angle);
        weight += window;
    }
    return 2 * std::hypot(real, imaginary) / weight;
}

constexpr RatePair kPairs[] = {
    {44100, 48000},  {48000, 44100}, {8000, 48000},  {48000, 8000},   {96000, 44100},
    {44100, 44101},  {44101, 44100}, {96000, 48000}, {11025, 192000}, {192000, 11025},
    {22050, 384000}, {44100, 8000},  {192000, 4001}, {6007, 1999},
};

class EveryRatePair : public ::testing::TestWithParam<RatePair> {};
INSTANTIATE_TEST_SUITE_P(Resampler, EveryRatePair, ::testing::ValuesIn(kPairs));

TEST_P(EveryRatePair, GivesTheExactSine) {
    const RatePair pair = GetParam();
    // At 44.1 kHz these are 997 Hz, 10 kHz and 19 kHz.
    for (const double part : {0.0226077, 0.226757, 0.430839}) {
        const Tone tone = MakeTone(pair, part * pair.Lower(), -100, 20000);
        EXPECT_GT(tone.noiseDb, 132) << part;
        EXPECT_NEAR(tone.gainDb, 0, part < 0.3 ? 2e-5 : 0.005) << part;
    }
    EXPECT_GT(MakeTone(pair, 0.4 * pair.Lower(), 7777777, 5000).noiseDb, 100)
        << "the sine's own angle is not so exact there";
}

TEST_P(EveryRatePair, IsFlatUpTo45PercentOfTheLowerRate) {
    const RatePair pair = GetParam();
    for (double part = 0.01; part <= 0.4501; part += 0.02) {
        const double hz = part * pair.Lower();
        LResampler resampler(pair.from, pair.to, 1, Sine(hz, pair.from));
        const auto frames = static_cast<int64_t>(4000.0 * pair.to / pair.Lower());
        EXPECT_NEAR(Db(GainAt(Make(resampler, 0, frames), hz, pair.to)), 0, part < 0.42 ? 0.001 : 0.1) << hz;
    }
}

TEST_P(EveryRatePair, RejectsAliasesAndImages) {
    const RatePair pair = GetParam();
    if (pair.to < pair.from) {
        for (double part = 0.55; part * pair.to < 0.5 * pair.from; part *= 1.037) {
            LResampler resampler(pair.from, pair.to, 1, Sine(part * pair.to, pair.from));
            EXPECT_LT(Db(Rms(Make(resampler, 0, 5000)) / std::sqrt(0.5)), part < 0.57 ? -110 : -130) << part;
        }
        return;
    }
    for (double part = 0.05; part < 0.4501; part += 0.05) {
        const double hz = part * pair.from;
        LResampler resampler(pair.from, pair.to, 1, Sine(hz, pair.from));
        const std::vector<float> made = Make(resampler, 0, 40000);
        for (int multiple = 1; multiple <= 3; ++multiple) {
            for (const double image : {multiple * pair.from - hz, multiple * pair.from + hz}) {
                const double seen = std::fabs(image - std::round(image / pair.to) * pair.to);
                if (std::fabs(seen - hz) < 30.0 * pair.to / 40000) continue;  // under the sine itself
                EXPECT_LT(Db(GainAt(made, seen, pair.to)), -110) << hz << ", image " << image;
            }
        }
    }
}

TEST_P(EveryRatePair, KeepsLevelSilenceAndPlace) {
    const RatePair pair = GetParam();
    LResampler level(pair.from, pair.to, 2, Endless(2, [](int64_t, int c) { return c == 0 ? 0.75 : 0.0; }));
    const std::vector<float> made = Make(level, 0, 3000, 2);
    for (size_t i = 0; i < made.size(); i += 2) {
        ASSERT_NEAR(made[i], 0.75f, 1e-6f);
        ASSERT_EQ(made[i + 1], 0.0f);
    }
    // An impulse, in the middle of whose answer the output has a frame, is symmetric around that one.
    const int64_t common = std::gcd(pair.from, pair.to);
    const int64_t centreIn = pair.from / common, centreOut = pair.to / common;
    LResampler impulse(pair.from, pair.to, 1,
                       Endless(1, [=](int64_t frame, int) { return frame == centreIn; }));
    constexpr int64_t kAround = 50;
    const std::vector<float> answer = Make(impulse, centreOut - kAround, 2 * kAround + 1);
    for (size_t i = 1; i <= kAround; ++i) {
        EXPECT_LE(std::fabs(answer[kAround + i]), answer[kAround]);
        EXPECT_NEAR(answer[kAround + i], answer[kAround - i], 2e-7f);
    }
}

TEST_P(EveryRatePair, DoesNotDependOnBlocksOrOrder) {
    const RatePair pair = GetParam();
    const auto noise = Endless(3, [](int64_t frame, int c) {
        return static_cast<double>((static_cast<uint64_t>(frame * 3 + c) * 0x9E3779B97F4A7C15u) >> 40) /
                   (1 << 23) -
               1;
    });
    LResampler whole(pair.from, pair.to, 3, noise);
    const std::vector<float> want = Make(whole, -50, 12000, 3);
    std::mt19937 random(11);
    for (const int most : {1, 7, 64, 1000, 9000}) {
        LResampler parts(pair.from, pair.to, 3, noise);
        for (int64_t at = 0; at < (most == 1 ? 600 : 12000);) {
            const auto frames = std::min<int64_t>(
                1 + static_cast<int64_t>(random() % static_cast<unsigned>(most)), 12000 - at);
            const std::vector<float> made = Make(parts, at - 50, frames, 3);
            ASSERT_TRUE(std::equal(made.begin(), made.end(), want.begin() + at * 3)) << at << ", " << most;
            at += frames;
        }
        for (int i = 0; i < 20; ++i) {
            const auto at = static_cast<int64_t>(random() % 11990);
            const std::vector<float> made = Make(parts, at - 50, 10, 3);
            ASSERT_TRUE(std::equal(made.begin(), made.end(), want.begin() + at * 3)) << at;
        }
    }
}

TEST_P(EveryRatePair, KnowsWhatLaterInputCannotChange) {
    const RatePair pair = GetParam();
    for (const int64_t known : {0, 10, 33, 5000, 20011}) {
        LResampler zeros(pair.from, pair.to, 1,
                         Endless(1, [=](int64_t frame, int) { return frame >= known ? 1e6 : 0.0; }));
        const int64_t ready = zeros.Ready(known);
        ASSERT_GE(ready, 0);
        const std::vector<float> made = Make(zeros, 0, ready + 200);
        const auto first =
            std::find_if(made.begin(), made.end(), [](float v) { return v != 0; }) - made.begin();
        EXPECT_GE(first, ready) << known;
        // All but the reach of the filters, which is 32 periods a stage of the lowest rate at most.
        EXPECT_GE(ready, static_cast<int64_t>(static_cast<double>(known) * pair.to / pair.from) -
                             70 * std::max(1, pair.to / pair.from + 1));
    }
}

TEST(Resampler, WorksAtTheEndsOfTheRanges) {
    // A sound of days, far inside: the input is a whole number of periods of four frames.
    constexpr int64_t kFar = int64_t{1} << 51;
    LResampler far(48000, 96000, 1, Endless(1, [](int64_t frame, int) {
                       return (frame & 3) == 1 ? 1.0 : (frame & 3) == 3 ? -1.0 : 0.0;
                   }));
    const std::vector<float> made = Make(far, kFar, 16);
    for (size_t i = 0; i < made.size(); ++i) {
        EXPECT_NEAR(made[i], std::sin(std::numbers::pi / 4 * static_cast<double>(i)), 1e-5) << i;
    }
    for (const RatePair pair :
         {RatePair{1, 3}, {3, 1}, {1, std::numeric_limits<int32_t>::max()}, {192000, 1}}) {
        LResampler level(pair.from, pair.to, 1, Endless(1, [](int64_t, int) { return -0.5; }));
        const std::vector<float> flat = Make(level, 5, 3);
        for (const float v : flat) EXPECT_NEAR(v, -0.5f, 2e-6f) << pair.from << " to " << pair.to;
    }
}

TEST(Resampler, ScalesLengthsExactly) {
    EXPECT_EQ(ScaledLength(0, 44100, 48000), 0);
    EXPECT_EQ(ScaledLength(441, 44100, 48000), 480);
    EXPECT_EQ(ScaledLength(1, 2, 1), 1) << "halves go up";
    EXPECT_EQ(ScaledLength(1, 44100, 8000), 0);
    EXPECT_EQ(ScaledLength(3, 2, 3), 5);
    EXPECT_EQ(ScaledLength((int64_t{1} << 51) + 1, 44100, 48000), 2450938572718638);
    EXPECT_EQ(ScaledLength(std::numeric_limits<int64_t>::max(), 1, 2), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(ScaledLength(std::numeric_limits<int64_t>::max() - 1, 2, 1), (int64_t{1} << 62) - 1);
    for (const RatePair pair : {RatePair{44100, 48000}, {44100, 44101}, {8000, 192000}, {1, 7}}) {
        for (int64_t frames = 0; frames < 3000; ++frames) {
            const int64_t there = ScaledLength(frames, pair.from, pair.to);
            EXPECT_EQ(ScaledLength(there, pair.to, pair.from), frames);
            const double exact = static_cast<double>(frames) * pair.to / pair.from;
            EXPECT_LE(std::fabs(static_cast<double>(there) - exact), 0.5 + 1e-9);
        }
    }
}

}  // namespace
}  // namespace ondarix
