// SPDX-License-Identifier: GPL-3.0-or-later
// One gain over a whole sound, and one for each of its channels.
#pragma once
#include <optional>
#include <vector>

#include "effects/effect_table.h"
#include "effects/param_table.h"

namespace ondarix {

struct LAmplifyParams {
    int32_t gainPercent = 100;
    bool operator==(const LAmplifyParams&) const = default;
};

// The parameter is a whole percent, also where the values that were used last are kept. A gain between two of
// them lives beside it: in the effect, in the user's presets and in chains; setting the parameter ends it.
class LAmplifyEffect final : public LTableEffect<LAmplifyEffect, LAmplifyParams> {
  public:
    static constexpr float kLeastGain = 0.01f, kMostGain = 4.0f;  // linear; the range of the parameter

    static std::span<const LParamRow<LAmplifyParams>> Rows();
    static std::span<const LPresetRow<LAmplifyParams>> Presets();
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override;
    QString GetName() const override { return QStringLiteral("Amplify"); }
    int32_t GetType() const override { return 1; }
    void SetParameter(int index, double value) override;
    void SetPreset(int index) override;
    void SetDefaults() override;
    int GetCurrentPreset() const override;
    void Save(LLsdfWriter& writer) const override;
    void Load(LLsdfReader& reader) override;
    QString PresetText() const override;  // the percent, behind it a gain that is none
    bool SetPresetText(const QString& text) override;
    // Also "db": the gain in dB, exactly.
    QString SetOption(const QString& name, const QString& value) override;
    std::vector<LEffectOption> GetOptions() const override;

    // Linear, clamped to the range; the parameter becomes the percent next to it. NaN changes nothing.
    void SetGain(float gain);
    float Gain() const;

  private:
    std::optional<float> exactGain_;  // where it is no whole percent
};

// A gain for each channel, in percent of which 0 is silence. There is one parameter for each channel of the
// format that was set, two before that; a sound with more channels keeps those at their level.
class LChannelGainsEffect final : public LEffect {
  public:
    static constexpr int kMaxChannels = 255;
    static constexpr int32_t kMostPercent = 400;

    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override;
    QString GetName() const override { return QStringLiteral("Amplify Advanced (Separate Channels)"); }
    int32_t GetType() const override { return 39; }
    std::unique_ptr<LEffect> Clone() const override { return std::make_unique<LChannelGainsEffect>(*this); }
    int GetParameterCount() const override { return channels_; }
    void SetParameter(int index, double value) override;
    bool GetParameterInfo(int index, LEffectParam& out) const override;
    // Of all channels that were ever set, shown or not: a chain that is tried on a stereo sound loses nothing
    // of what it holds for six channels.
    void Save(LLsdfWriter& writer) const override;
    void Load(LLsdfReader& reader) override;
    void SetDefaults() override { percents_.clear(); }
    void SetFormat(LSoundFormat format) override;

  private:
    int32_t Percent(int channel) const;
    void Put(int channel, int32_t percent);

    int channels_ = 2;
    std::vector<int32_t> percents_;  // 100 past its end
};

// Every sample times `gain`; at 1.0 the source itself.
LSoundSourceRef Amplify(LSoundSourceRef source, float gain);
// Every channel times its own; 1.0 past the end of `gains`. The source itself where nothing changes.
LSoundSourceRef AmplifyChannels(LSoundSourceRef source, std::vector<float> gains);

}  // namespace ondarix
