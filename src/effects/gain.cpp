// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/gain.h"

#include <cmath>
#include <utility>

#include "effects/filter.h"

namespace ondarix {
namespace {

constexpr LParamRow<LAmplifyParams> kAmplifyRows[] = {
    {"gain", "Gain Percentage", &LAmplifyParams::gainPercent, 1, 400, "%", "AmplifyGain"},
};
constexpr LPresetRow<LAmplifyParams> kAmplifyPresets[] = {
    {"Half Volume", {50}}, {"Slightly Louder", {125}}, {"Louder", {150}}, {"Double Volume", {200}}};

class LGainFilter final : public LSoundFilter {
  public:
    LGainFilter(LSoundSourceRef source, float gain) : LSoundFilter(std::move(source)), gain_(gain) {
        peak *= std::fabs(gain);
    }

  protected:
    void Process(float* block, int32_t frames, int64_t) override {
        const int64_t samples = int64_t{frames} * channels;
        for (int64_t i = 0; i < samples; ++i) block[i] *= gain_;
    }

  private:
    float gain_;
};

constexpr LEffectRow kGainRows[] = {
    {1, "amplify", "Amplify", "Amplify", 4001, kEffectInChain | kEffectOwnDialog, "Settings",
     [] { return std::unique_ptr<LEffect>(new LAmplifyEffect); }, "Make the sound louder or softer"},
};

}  // namespace

std::span<const LEffectRow> GainEffectRows() { return kGainRows; }

std::span<const LParamRow<LAmplifyParams>> LAmplifyEffect::Rows() { return kAmplifyRows; }
std::span<const LPresetRow<LAmplifyParams>> LAmplifyEffect::Presets() { return kAmplifyPresets; }

LSoundSourceRef LAmplifyEffect::CreateFilter(LSoundSourceRef source) const {
    return Amplify(std::move(source), static_cast<float>(params.gainPercent) / 100.0f);
}

LSoundSourceRef Amplify(LSoundSourceRef source, float gain) {
    if (gain == 1.0f) return source;
    return WrapInFilter<LGainFilter>(std::move(source), gain);
}

}  // namespace ondarix
