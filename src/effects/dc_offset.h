// SPDX-License-Identifier: GPL-3.0-or-later
// A constant value in a channel: how to find it and to take it out.
#pragma once
#include <vector>

#include "effects/param_table.h"
#include "sound/sound.h"

namespace ondarix {

// Measures the mean of each channel and subtracts it.
class LDcOffsetEffect final : public LPlainEffect<LDcOffsetEffect> {
  public:
    // The source itself before Measure, and for another number of channels than was measured.
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override;
    QString GetName() const override { return QStringLiteral("DC Offset Correction"); }
    int32_t GetType() const override { return 0; }
    bool NeedsMeasure() const override { return true; }
    JobResult Measure(const LOpenSource& open, LProgress& progress) override;
    const std::vector<double>& Means() const { return means_; }  // one a channel; empty before Measure

  private:
    std::vector<double> means_;
};

// Whether a channel clearly has an offset, from some blocks of the sound: quick at any length. The mean must
// reach kDcOffsetLeast, stand out from what the blocks' own means scatter, and most blocks must lean to its
// side. What fades out, slow waves, clicks and rumble do not pass for an offset.
bool SuggestsDcOffset(const LSound& sound);
inline constexpr double kDcOffsetLeast = 0.004;  // of full scale, -48 dB

}  // namespace ondarix
