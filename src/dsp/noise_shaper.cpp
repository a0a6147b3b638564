// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/noise_shaper.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "dsp/sample_convert.h"

namespace ondarix {

namespace {

constexpr float kShaperFirst = 0.9f;
constexpr float kShaperSecond = 0.45f;
constexpr int32_t kIdleAfter = 4;  // zeros in a row after which the level is nearly halved
constexpr int32_t kRunLimit = 1 << 30;

// The value kept in the low bits; 0 for what 32 bits do not hold.
inline int32_t ShaperRound(float scaled) {
    const float moved = scaled + std::copysign(0.5f, scaled);
    return std::fabs(moved) < 2147483648.0f ? static_cast<int32_t>(moved) : 0;
}

struct To16 {
    using Integer = int16_t;
    static constexpr float kStep = kPcm16Step;
    static Integer Round(float x) { return static_cast<int16_t>(ShaperRound(x * 32767.0f)); }
    static Integer RoundIdle(float x) { return Round(x * 0.52f); }
    static void Store(uint8_t* to, Integer value) { std::memcpy(to, &value, sizeof value); }
};

struct To8 {
    using Integer = int8_t;
    static constexpr float kStep = kPcm8Step;
    static Integer Round(float x) { return static_cast<int8_t>(ShaperRound(x * 127.0f)); }
    static Integer RoundIdle(float x) { return static_cast<int8_t>(ShaperRound(x * 66.04f)); }
    static void Store(uint8_t* to, Integer value) { *to = static_cast<uint8_t>(value + 128); }
};

template <typename To, typename State>
inline typename To::Integer ShapeOne(State& state, float x) {
    if (!(std::fabs(x) <= std::numeric_limits<float>::max())) x = 0.0f;  // would stay in the errors for ever
    typename To::Integer value = 0;
    bool decided = false;
    if (state.silentRun > 0) {
        value = state.silentRun > kIdleAfter ? To::RoundIdle(x) : To::Round(x);
        decided = value == 0;
    }
    if (!decided) value = To::Round(state.error1 * kShaperFirst + state.error2 * kShaperSecond + x);
    if (value != 0)
        state.silentRun = 0;
    else if (state.silentRun < kRunLimit)
        ++state.silentRun;
    state.error2 = state.error1;
    state.error1 = x - static_cast<float>(value) * To::kStep;
    return value;
}

// Channel by channel, so that a channel's state stays in registers over the block.
template <typename To, typename States>
void Shape(States& states, const float* from, uint8_t* to, int64_t frames, int channels) {
    constexpr auto kWidth = static_cast<int64_t>(sizeof(typename To::Integer));
    for (int channel = 0; channel < channels; ++channel) {
        auto state = states[static_cast<size_t>(channel)];
        for (int64_t at = channel; at < frames * channels; at += channels)
            To::Store(to + at * kWidth, ShapeOne<To>(state, from[at]));
        states[static_cast<size_t>(channel)] = state;
    }
}

}  // namespace

void LNoiseShaper::Quantise16(const float* from, uint8_t* to, int64_t frames, int channels) {
    Shape<To16>(channels_, from, to, frames, channels);
}

void LNoiseShaper::Quantise8(const float* from, uint8_t* to, int64_t frames, int channels) {
    Shape<To8>(channels_, from, to, frames, channels);
}

}  // namespace ondarix
