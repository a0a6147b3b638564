// SPDX-License-Identifier: GPL-3.0-or-later
// One gain that brings a sound to a level, which is measured first.
#pragma once
#include <optional>

#include "dsp/measures.h"
#include "effects/param_table.h"

namespace ondarix {

// Numbers of stored settings, and permanent.
enum class LNormalizeMethod : uint8_t {
    kPeak = 0,
    kAverage = 1,
    kLoudWindows = 2,
    kPerceived = 3,
    kRunningGate = 4,
    kStandard = 5,  // ITU-R BS.1770-4
};

struct LNormalizeParams {
    LChoiceByte method{};
    double levelDb = 0;      // of all but kStandard
    double percentile = 95;  // kLoudWindows
    int32_t windowMs = 50;   // kLoudWindows
    double loudness = -23;   // kStandard, LUFS
    double ceilingDb = -1;   // kStandard, dBTP
    bool operator==(const LNormalizeParams&) const = default;
    LNormalizeMethod Method() const { return static_cast<LNormalizeMethod>(method.index); }
};

// 10^(-0.05): what kRunningGate holds the result to.
inline constexpr float kRunningGateCeiling = 0.891250938f;

class LNormalizeEffect final : public LTableEffect<LNormalizeEffect, LNormalizeParams> {
  public:
    static std::span<const LParamRow<LNormalizeParams>> Rows();
    static std::span<const LPresetRow<LNormalizeParams>> Presets();
    // The source itself before Measure, when the way of measuring was changed since, and where there was
    // nothing to measure.
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override;
    QString GetName() const override { return QStringLiteral("Normalize"); }
    int32_t GetType() const override { return 0; }
    bool GetParameterInfo(int index, LEffectParam& out) const override;
    // Also "percent": the level of a peak, 0.1 to 100.
    QString SetOption(const QString& name, const QString& value) override;
    std::vector<LEffectOption> GetOptions() const override;
    bool NeedsMeasure() const override { return true; }
    JobResult Measure(const LOpenSource& open, LProgress& progress) override;

    // Linear; what the measure is brought to.
    double Target() const;
    // Of the sound that was measured; 1 where nothing is to be changed.
    float Gain() const;
    // Linear, what was measured; nothing before Measure, when the way of measuring was changed since, and
    // where there was nothing to measure.
    std::optional<double> MeasuredLevel() const;
    // "Normalize Peak Level (%) = 100, Method = Peak"
    QString BatchText() const;

  private:
    // What one pass found, and what it had been asked.
    struct LFound {
        LNormalizeParams asked;
        double level = 0;     // linear; 0 or not finite: nothing to normalize
        double truePeak = 0;  // kStandard
    };
    std::unique_ptr<LLevelMeasure> MakeMeasure(LSoundFormat format) const;
    JobResult MeasureLevel(LSoundSource& source, LProgress& progress, LFound& found) const;
    JobResult MeasureLoudness(LSoundSource& source, LProgress& progress, LFound& found) const;
    bool IsMeasured() const;
    bool HasLevel() const;

    std::optional<LFound> found_;
};

// Normalize with the values that were used last, without a question.
class LAutoNormalizeEffect final : public LPlainEffect<LAutoNormalizeEffect> {
  public:
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override {
        return normalize_.CreateFilter(std::move(source));
    }
    QString GetName() const override { return QStringLiteral("Auto Normalize"); }
    int32_t GetType() const override { return 0; }
    bool NeedsMeasure() const override { return true; }
    JobResult Measure(const LOpenSource& open, LProgress& progress) override;

  private:
    LNormalizeEffect normalize_;
};

}  // namespace ondarix
