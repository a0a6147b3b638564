// SPDX-License-Identifier: GPL-3.0-or-later
// A gain that follows a curve through points of the sound.
#pragma once
#include <vector>

#include "effects/effect_table.h"
#include "effects/envelope_text.h"
#include "effects/param_table.h"

namespace ondarix {

struct LEnvelopePoint {
    int64_t frame = 0;
    float gain = 1;  // linear
    bool operator==(const LEnvelopePoint&) const = default;
};

struct LEnvelopeParams {
    LChoiceByte interpolation;  // LCurve; another number: the envelope does nothing
    bool operator==(const LEnvelopeParams&) const = default;
};

// Before the first and behind the last point the gain is that point's. Of several points at one frame the
// last counts from there on.
class LEnvelopeEffect final : public LTableEffect<LEnvelopeEffect, LEnvelopeParams> {
  public:
    LEnvelopeEffect();  // two points of gain 1, at the start and at the end
    static std::span<const LParamRow<LEnvelopeParams>> Rows();
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override;
    QString GetName() const override { return QStringLiteral("Envelope"); }
    int32_t GetType() const override { return 0; }
    void SetDefaults() override;
    int GetCurrentPreset() const override { return -1; }
    QString PresetText() const override;  // number of the interpolation, then the points
    bool SetPresetText(const QString& text) override;
    // Also "points": see ParseEnvelope.
    QString SetOption(const QString& name, const QString& value) override;
    std::vector<LEffectOption> GetOptions() const override;

    // In any order; none: a gain of 1. What is no gain (see LEnvelopePlace) is put into its range. With
    // `length`, the frames of the sound that they were set on, they move with the length of any other sound.
    void SetPoints(const std::vector<LEnvelopePoint>& points, int64_t length = 0);
    void SetPlaces(std::vector<LEnvelopePlace> places);
    const std::vector<LEnvelopePlace>& Places() const { return places_; }
    // On a sound of that rate and length in frames; in order, at least one.
    std::vector<LEnvelopePoint> PointsFor(int64_t rate, int64_t length) const;

  private:
    std::vector<LEnvelopePlace> places_;
};

// The filter itself. `points` in order; `source` where there is none, where all gains are 1, or for an
// unknown interpolation.
LSoundSourceRef FollowEnvelope(LSoundSourceRef source, std::vector<LEnvelopePoint> points,
                               uint8_t interpolation);

// "Linear|Exponential|Logarithmic|Sinusoidal", for rows of parameters.
inline constexpr const char* kCurveNames = "Linear|Exponential|Logarithmic|Sinusoidal";

}  // namespace ondarix
