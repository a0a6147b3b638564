// SPDX-License-Identifier: GPL-3.0-or-later
// ITU-T Recommendation G.711 (11/88), tables 1 and 2, on a scale of 16 bits.
#include <array>
#include <bit>
#include <cstddef>

#include "dsp/sample_convert.h"

namespace ondarix {

namespace {

constexpr int32_t kMuLawBias = 132;    // puts the segments' edges on powers of two
constexpr int32_t kMuLawClip = 32635;  // the largest magnitude whose biased value stays below 32768

// Even bits are inverted on the line. The sign bit is set for positive values.
constexpr int32_t ALawValue(uint8_t code) {
    const int32_t bits = code ^ 0x55;
    const int32_t segment = bits >> 4 & 7;
    const int32_t middle = (bits & 15) * 16 + 8;
    const int32_t magnitude = segment == 0 ? middle : (middle + 256) << (segment - 1);
    return (bits & 0x80) != 0 ? magnitude : -magnitude;
}

// All bits are inverted on the line.
constexpr int32_t MuLawValue(uint8_t code) {
    const int32_t bits = ~code & 0xFF;
    const int32_t magnitude = (((bits & 15) * 8 + kMuLawBias) << (bits >> 4 & 7)) - kMuLawBias;
    return (bits & 0x80) != 0 ? -magnitude : magnitude;
}

template <typename F>
constexpr std::array<float, 256> FloatTable(F value) {
    std::array<float, 256> table{};
    for (std::size_t code = 0; code < table.size(); ++code)
        table[code] = static_cast<float>(value(static_cast<uint8_t>(code))) * kPcm16Step;
    return table;
}
constexpr auto kALawFloats = FloatTable(ALawValue);
constexpr auto kMuLawFloats = FloatTable(MuLawValue);

// Negative values as one's complement, so that -1 is as small as 0.
inline uint8_t ALawCode(int16_t value) {
    const uint32_t sign = value >= 0 ? 0x80 : 0;
    const auto magnitude = static_cast<uint32_t>(value >= 0 ? value : ~value);
    const auto segment = static_cast<uint32_t>(magnitude < 256 ? 0 : std::bit_width(magnitude) - 8);
    const uint32_t step = magnitude >> (segment == 0 ? 4 : segment + 3) & 15;
    return static_cast<uint8_t>((sign | segment << 4 | step) ^ 0x55);
}

inline uint8_t MuLawCode(int16_t value) {
    const uint32_t sign = value < 0 ? 0x80 : 0;
    const int32_t magnitude = value < 0 ? -int32_t{value} : value;
    const auto biased = static_cast<uint32_t>((magnitude < kMuLawClip ? magnitude : kMuLawClip) + kMuLawBias);
    const auto segment = static_cast<uint32_t>(std::bit_width(biased) - 8);
    return static_cast<uint8_t>(~(sign | segment << 4 | (biased >> (segment + 3) & 15)));
}

template <typename F>
void EncodeG711(const float* from, uint8_t* to, int64_t count, F code) {
    constexpr int64_t kPiece = 1024;
    std::array<uint8_t, kPiece * 2> integers;
    for (int64_t done = 0; done < count; done += kPiece) {
        const int64_t piece = count - done < kPiece ? count - done : kPiece;
        Pcm16FromFloat(from + done, integers.data(), piece);
        for (int64_t i = 0; i < piece; ++i) {
            const auto at = static_cast<std::size_t>(2 * i);
            to[done + i] = code(static_cast<int16_t>(integers[at] | integers[at + 1] << 8));
        }
    }
}

}  // namespace

void FloatFromALaw(const uint8_t* from, float* to, int64_t count) {
    for (int64_t i = 0; i < count; ++i) to[i] = kALawFloats[from[i]];
}

void FloatFromMuLaw(const uint8_t* from, float* to, int64_t count) {
    for (int64_t i = 0; i < count; ++i) to[i] = kMuLawFloats[from[i]];
}

void ALawFromFloat(const float* from, uint8_t* to, int64_t count) { EncodeG711(from, to, count, ALawCode); }

void MuLawFromFloat(const float* from, uint8_t* to, int64_t count) { EncodeG711(from, to, count, MuLawCode); }

}  // namespace ondarix
