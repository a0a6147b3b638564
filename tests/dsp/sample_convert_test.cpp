// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/sample_convert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace ondarix {
namespace {

struct Width {
    const char* name;
    int bytes;
    int64_t full;  // largest positive integer
    void (*toFloat)(const uint8_t*, float*, int64_t);
    void (*fromFloat)(const float*, uint8_t*, int64_t);
};

const Width kWidths[] = {
    {"8", 1, 127, FloatFromPcm8, Pcm8FromFloat},
    {"16", 2, 32767, FloatFromPcm16, Pcm16FromFloat},
    {"24", 3, 8388607, FloatFromPcm24, Pcm24FromFloat},
    {"32", 4, 2147483647, FloatFromPcm32, Pcm32FromFloat},
};

void PrintTo(const Width& width, std::ostream* out) { *out << width.name << " bits"; }

// The bytes of an integer in a file of the width; 8 bits are unsigned.
std::vector<uint8_t> Encode(const Width& width, const std::vector<int64_t>& values) {
    std::vector<uint8_t> bytes;
    for (int64_t value : values) {
        const auto bits = static_cast<uint64_t>(width.bytes == 1 ? value + 128 : value);
        for (int byte = 0; byte < width.bytes; ++byte)
            bytes.push_back(static_cast<uint8_t>(bits >> 8 * byte));
    }
    return bytes;
}

std::vector<int64_t> EdgesAndNoise(int64_t full) {
    std::vector<int64_t> values = {-full - 1, -full, 1 - full, -2, -1, 0, 1, 2, full - 1, full, full / 2};
    for (int64_t power = 4; power < full; power *= 2) values.insert(values.end(), {power, -power, power - 1});
    std::mt19937_64 random(7);
    std::uniform_int_distribution<int64_t> any(-full - 1, full);
    for (int i = 0; i < 5003; ++i) values.push_back(any(random));
    return values;
}

class EveryWidth : public testing::TestWithParam<Width> {};
INSTANTIATE_TEST_SUITE_P(Pcm, EveryWidth, testing::ValuesIn(kWidths));

TEST_P(EveryWidth, IsScaledByItsLargestPositiveValue) {
    const Width& width = GetParam();
    const auto values = EdgesAndNoise(width.full);
    std::vector<float> floats(values.size());
    width.toFloat(Encode(width, values).data(), floats.data(), static_cast<int64_t>(floats.size()));
    for (size_t i = 0; i < values.size(); ++i) {
        const double exact = static_cast<double>(values[i]) / static_cast<double>(width.full);
        ASSERT_NEAR(floats[i], exact, std::fabs(exact) * 1.2e-7) << values[i];
    }
    EXPECT_EQ(floats[9], 1.0f);
    EXPECT_EQ(floats[5], 0.0f);
}

TEST_P(EveryWidth, ComesBackBitForBit) {
    const Width& width = GetParam();
    const auto bytes = Encode(width, EdgesAndNoise(width.full));
    const auto count = static_cast<int64_t>(bytes.size()) / width.bytes;
    std::vector<float> floats(static_cast<size_t>(count)), again(floats.size());
    std::vector<uint8_t> written(bytes.size());
    width.toFloat(bytes.data(), floats.data(), count);
    width.fromFloat(floats.data(), written.data(), count);
    if (width.bytes < 4) {
        EXPECT_EQ(written, bytes);
    }
    width.toFloat(written.data(), again.data(), count);  // 32 bits are more than a float holds
    EXPECT_EQ(std::memcmp(again.data(), floats.data(), floats.size() * sizeof(float)), 0);
}

TEST_P(EveryWidth, RoundsHalvesAwayFromZero) {
    const Width& width = GetParam();
    if (width.bytes > 2) return;  // no float lies on a half there
    std::vector<float> floats;
    std::vector<int64_t> expected;
    for (int64_t whole : {0, 1, 5, 100}) {
        for (double part : {0.25, 0.4921875, 0.5078125, 0.75}) {
            const double value = static_cast<double>(whole) + part;
            floats.insert(floats.end(), {static_cast<float>(value / static_cast<double>(width.full)),
                                         static_cast<float>(-value / static_cast<double>(width.full))});
            expected.insert(expected.end(), {std::lround(value), -std::lround(value)});
        }
    }
    std::vector<uint8_t> written(expected.size() * static_cast<size_t>(width.bytes));
    width.fromFloat(floats.data(), written.data(), static_cast<int64_t>(floats.size()));
    EXPECT_EQ(written, Encode(width, expected));
}

TEST(Pcm, NarrowWidthsKeepLowBitsAndWideOnesSaturate) {
    constexpr float kInf = std::numeric_limits<float>::infinity();
    const float loud[] = {2.0f, -2.0f, 1e20f, -1e20f, std::numeric_limits<float>::quiet_NaN(), kInf, -kInf};
    uint8_t bytes[4 * 7];
    Pcm16FromFloat(loud, bytes, 7);
    EXPECT_EQ(bytes[0] | bytes[1] << 8, 65534) << "65534 in 16 bits, no clamp";
    EXPECT_EQ(bytes[2] | bytes[3] << 8, 2);
    for (int i = 4; i < 14; ++i) EXPECT_EQ(bytes[i], 0) << i;
    Pcm24FromFloat(loud, bytes, 7);
    const uint8_t wide24[] = {0xFF, 0xFF, 0x7F, 0, 0, 0x80, 0xFF, 0xFF, 0x7F, 0, 0, 0x80, 0, 0, 0};
    EXPECT_EQ(std::memcmp(bytes, wide24, sizeof wide24), 0);
    Pcm32FromFloat(loud, bytes, 7);
    const uint8_t wide32[] = {0xFF, 0xFF, 0xFF, 0x7F, 0, 0, 0, 0x80};
    EXPECT_EQ(std::memcmp(bytes, wide32, sizeof wide32), 0);
    EXPECT_EQ(std::memcmp(bytes + 16, "\0\0\0\0\xFF\xFF\xFF\x7F", 8), 0) << "NaN is 0, infinity full scale";
}

// Largest and smallest values and the two zeros as tables 1a to 2b of G.711 give them, on 16 bits.
TEST(G711, DecodesThePublishedValues) {
    const std::pair<uint8_t, int> aLaw[] = {{0xD5, 8},    {0x55, -8},  {0xAA, 32256}, {0x2A, -32256},
                                            {0x80, 5504}, {0xC5, 264}, {0x45, -264},  {0xE5, 1056}};
    const std::pair<uint8_t, int> muLaw[] = {{0xFF, 0},      {0x7F, 0},   {0x80, 32124},
                                             {0x00, -32124}, {0xFE, 8},   {0x7E, -8},
                                             {0xF0, 120},    {0xEF, 132}, {0x8F, 16764}};
    for (auto [code, value] : aLaw) {
        float x;
        FloatFromALaw(&code, &x, 1);
        EXPECT_EQ(std::lround(x * 32767.0), value) << int{code};
    }
    for (auto [code, value] : muLaw) {
        float x;
        FloatFromMuLaw(&code, &x, 1);
        EXPECT_EQ(std::lround(x * 32767.0), value) << int{code};
    }
}

// Decision values lie in the middle of two steps, and at the edge of two segments where the larger step ends.
TEST(G711, EncodesWithinHalfTheStepOfTheCode) {
    const auto check = [](auto decode, auto encode, int clip) {
        uint8_t codes[256];
        float values[256];
        for (int code = 0; code < 256; ++code) codes[code] = static_cast<uint8_t>(code);
        decode(codes, values, 256);
        for (int sample = -clip; sample <= clip; sample += 7) {
            const float x = static_cast<float>(sample) * kPcm16Step;
            uint8_t code;
            encode(&x, &code, 1);
            const float size = std::fabs(values[code]);
            float next = 1.0f + size;
            for (float value : values)
                next = std::fabs(value) > size ? std::min(next, std::fabs(value)) : next;
            const float half = std::min((next - size) / 2, 512 * kPcm16Step);
            ASSERT_LE(std::fabs(values[code] - x), half + 1.01f * kPcm16Step) << sample;
        }
    };
    check(FloatFromALaw, ALawFromFloat, 32767);
    check(FloatFromMuLaw, MuLawFromFloat, 32635);
}

TEST(G711, EveryCodeComesBack) {
    for (int code = 0; code < 256; ++code) {
        const auto from = static_cast<uint8_t>(code);
        float x;
        uint8_t back;
        FloatFromALaw(&from, &x, 1);
        ALawFromFloat(&x, &back, 1);
        EXPECT_EQ(back, from) << "A-law";
        FloatFromMuLaw(&from, &x, 1);
        MuLawFromFloat(&x, &back, 1);
        EXPECT_EQ(back, from == 0x7F ? 0xFF : from) << "mu-law, whose two zeros become one";
    }
}

}  // namespace
}  // namespace ondarix
