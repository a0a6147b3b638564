// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/sample_convert.h"

#include <cmath>
#include <cstring>

#include "dsp/wide.h"

namespace ondarix {

namespace {

constexpr float kPcm24Step = 1.0f / 8388607.0f;
constexpr double kPcm24Scale = 8388607.0;
constexpr double kPcm32Scale = 2147483647.0;
constexpr double kPcm32Step = 1.0 / kPcm32Scale;

// Halves away from zero; 0 for what 32 bits do not hold, NaN too.
inline int32_t RoundPlain(float scaled) {
    const float moved = scaled + std::copysign(0.5f, scaled);
    const float held = std::fabs(moved) < 2147483648.0f ? moved : 0.0f;
    return static_cast<int32_t>(held);
}

// In double, whose 53 bits hold every product of a float and the scale closely enough to round right.
inline int32_t RoundSaturated(float x, double scale) {
    const double scaled = static_cast<double>(x) * scale;
    const double moved = scaled + std::copysign(0.5, scaled);
    const double low = moved < -scale - 1.0 ? -scale - 1.0 : moved;
    const double high = low > scale ? scale : low;
    return static_cast<int32_t>(high == high ? high : 0.0);
}

}  // namespace

ONDARIX_WIDE void FloatFromPcm8(const uint8_t* from, float* to, int64_t count) {
    for (int64_t i = 0; i < count; ++i) to[i] = static_cast<float>(from[i] - 128) * kPcm8Step;
}

ONDARIX_WIDE void FloatFromPcm16(const uint8_t* from, float* to, int64_t count) {
    for (int64_t i = 0; i < count; ++i) {
        int16_t value;
        std::memcpy(&value, from + 2 * i, sizeof value);
        to[i] = static_cast<float>(value) * kPcm16Step;
    }
}

ONDARIX_WIDE void FloatFromPcm24(const uint8_t* from, float* to, int64_t count) {
    for (int64_t i = 0; i < count; ++i, from += 3) {
        const uint32_t bits = uint32_t{from[0]} << 8 | uint32_t{from[1]} << 16 | uint32_t{from[2]} << 24;
        to[i] = static_cast<float>(static_cast<int32_t>(bits) >> 8) * kPcm24Step;
    }
}

ONDARIX_WIDE void FloatFromPcm32(const uint8_t* from, float* to, int64_t count) {
    for (int64_t i = 0; i < count; ++i) {
        int32_t value;
        std::memcpy(&value, from + 4 * i, sizeof value);
        to[i] = static_cast<float>(static_cast<double>(value) * kPcm32Step);
    }
}

void FloatFromF32(const uint8_t* from, float* to, int64_t count) {
    std::memcpy(to, from, static_cast<size_t>(count) * sizeof(float));
}

ONDARIX_WIDE void FloatFromF64(const uint8_t* from, float* to, int64_t count) {
    for (int64_t i = 0; i < count; ++i) {
        double value;
        std::memcpy(&value, from + 8 * i, sizeof value);
        to[i] = static_cast<float>(value);
    }
}

ONDARIX_WIDE void Pcm8FromFloat(const float* from, uint8_t* to, int64_t count) {
    for (int64_t i = 0; i < count; ++i) to[i] = static_cast<uint8_t>(RoundPlain(from[i] * 127.0f) + 128);
}

ONDARIX_WIDE void Pcm16FromFloat(const float* from, uint8_t* to, int64_t count) {
    for (int64_t i = 0; i < count; ++i) {
        const auto value = static_cast<uint16_t>(RoundPlain(from[i] * 32767.0f));
        std::memcpy(to + 2 * i, &value, sizeof value);
    }
}

ONDARIX_WIDE void Pcm24FromFloat(const float* from, uint8_t* to, int64_t count) {
    for (int64_t i = 0; i < count; ++i, to += 3) {
        const auto value = static_cast<uint32_t>(RoundSaturated(from[i], kPcm24Scale));
        to[0] = static_cast<uint8_t>(value);
        to[1] = static_cast<uint8_t>(value >> 8);
        to[2] = static_cast<uint8_t>(value >> 16);
    }
}

ONDARIX_WIDE void Pcm32FromFloat(const float* from, uint8_t* to, int64_t count) {
    for (int64_t i = 0; i < count; ++i) {
        const int32_t value = RoundSaturated(from[i], kPcm32Scale);
        std::memcpy(to + 4 * i, &value, sizeof value);
    }
}

}  // namespace ondarix
