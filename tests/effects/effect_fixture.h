// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "effects/chain.h"
#include "effects/effect_table.h"
#include "effects/stack.h"
#include "sound/sound_fixture.h"

namespace ondarix::test {

using Samples = std::vector<float>;

// Noise with stretches of silence, of full scale, of values so small that they lose precision, and with peaks
// beyond full scale.
inline Samples RoughNoise(int64_t frames, int channels, uint32_t seed = 1) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> level(-0.9f, 0.9f);
    Samples samples(static_cast<size_t>(frames * channels));
    for (size_t i = 0; i < samples.size(); ++i) {
        const float value = level(random);
        switch (i / 700 % 6) {
            case 2:
                samples[i] = 0;
                break;
            case 3:
                samples[i] = value < 0 ? -1.0f : 1.0f;
                break;
            case 4:
                samples[i] = value * 1e-39f;
                break;
            default:
                samples[i] = random() % 97 == 0 ? value * 2 : value;
        }
    }
    return samples;
}

// The peak bound is exactly that of the samples.
inline LSoundSourceRef SourceOf(const Samples& samples, LSoundFormat format) {
    LSoundSourceRef source = MakeSource<LVectorSource>(samples, format);
    source->peak = 0;
    for (const float one : samples) source->peak = std::max(source->peak, std::fabs(one));
    return source;
}

inline Samples Filtered(const LEffect& effect, const Samples& samples, LSoundFormat format,
                        int32_t block = kBlockFrames) {
    LSoundSourceRef filter = effect.CreateFilter(SourceOf(samples, format));
    return ReadFrames(*filter, filter->GetLength(), block);
}

// NaN never equals itself, so that samples are compared by their bits.
inline bool SameBits(const Samples& a, const Samples& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

// Asks are counted; the one with the number `cancelAt` is answered with yes.
class CancellingProgress final : public LProgress {
  public:
    explicit CancellingProgress(int cancelAt) : cancelAt_(cancelAt) {}
    bool IsCancelled() override { return asked_++ >= cancelAt_; }
    WaitResult Sleep(int ms) override { return none_.Sleep(ms); }
    WaitResult WaitForHandle(LWaitHandle handle, int ms) override { return none_.WaitForHandle(handle, ms); }
    WaitResult WaitForHandles(const LHandleList& handles, int ms) override {
        return none_.WaitForHandles(handles, ms);
    }
    void SetFraction(double fraction) override {
        EXPECT_GE(fraction, 0.0);
        EXPECT_LE(fraction, 1.0);
    }
    bool WasCancelled() const { return asked_ > cancelAt_; }

  private:
    LNullProgress none_;
    int cancelAt_, asked_ = 0;
};

struct Variant {
    std::string what;
    std::unique_ptr<LEffect> effect;
};
using Variants = std::vector<Variant>;

inline LEffectParam InfoOf(const LEffect& effect, int index) {
    LEffectParam param;
    EXPECT_TRUE(effect.GetParameterInfo(index, param));
    return param;
}

// Anywhere in its range, at the limits now and then.
inline double AnyValue(const LEffectParam& param, std::mt19937& random) {
    if (random() % 8 == 0) return param.minimum;
    if (random() % 8 == 0) return param.maximum;
    if (param.type == LParamType::kDb && random() % 8 == 0) return kMinusInfinityDb;
    return std::uniform_real_distribution<double>(param.minimum, param.maximum)(random);
}

inline void SetAnyValues(LEffect& effect, std::mt19937& random) {
    for (int i = 0; i < effect.GetParameterCount(); ++i)
        effect.SetParameter(i, AnyValue(InfoOf(effect, i), random));
}

// The defaults, every preset, every parameter (of the first eight) at both ends, and some of everything.
inline Variants VariantsOf(const LEffectRow& row, LSoundFormat format) {
    Variants all;
    const auto add = [&](const std::string& what) -> LEffect& {
        all.push_back({std::string(row.id) + ", " + what, row.make()});
        all.back().effect->SetFormat(format);
        return *all.back().effect;
    };
    const LEffect& plain = add("defaults");
    const int parameters = std::min(plain.GetParameterCount(), 8), presets = plain.GetPresetCount();
    for (int i = 0; i < presets; ++i) {
        LEffect& effect = add("preset " + std::to_string(i));
        effect.SetPreset(i);
    }
    for (int i = 0; i < parameters; ++i) {
        LEffect& low = add("least of " + std::to_string(i));
        low.SetParameter(i, InfoOf(low, i).minimum);
        LEffect& high = add("most of " + std::to_string(i));
        high.SetParameter(i, InfoOf(high, i).maximum);
    }
    // Curves through points, where the effect has such.
    for (const char* points : {"0:0,10%:1.5,50%:2,50%:-20dB,end:0.5", "end-3:0.25", "-100:0,1500:3"}) {
        for (int curve = 0; row.make()->SetOption("points", points).isEmpty() && curve < 4; ++curve) {
            LEffect& effect = add(std::string("curve ") + std::to_string(curve) + " through " + points);
            effect.SetOption("points", points);
            effect.SetParameter(0, curve);
        }
    }
    std::mt19937 random(77);
    for (int i = 0; i < 4 && parameters > 0; ++i) SetAnyValues(add("any " + std::to_string(i)), random);
    return all;
}

// Measured over the samples where it needs that.
inline void Prepare(LEffect& effect, const Samples& samples, LSoundFormat format) {
    if (!effect.NeedsMeasure()) return;
    LNullProgress progress;
    EXPECT_EQ(effect.Measure([&] { return SourceOf(samples, format); }, progress), JobResult::kSuccess);
}

inline std::vector<const LEffectRow*> RowsOfThisVersion() {
    std::vector<const LEffectRow*> rows;
    for (const LEffectRow& row : EffectTable())
        if (row.make) rows.push_back(&row);
    return rows;
}

inline std::vector<double> ValuesOf(const LEffect& effect) {
    std::vector<double> values;
    for (int i = 0; i < effect.GetParameterCount(); ++i) values.push_back(InfoOf(effect, i).value);
    return values;
}

}  // namespace ondarix::test
