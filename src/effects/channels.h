// SPDX-License-Identifier: GPL-3.0-or-later
// Effects without a value to set: on the two channels of a stereo sound, and silence in the place of samples.
#pragma once
#include "effects/effect_table.h"
#include "effects/param_table.h"

namespace ondarix {

// Left and right exchanged; other layouts pass through.
class LChannelSwapEffect final : public LPlainEffect<LChannelSwapEffect> {
  public:
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override;
    QString GetName() const override { return QStringLiteral("Channel Swap"); }
    int32_t GetType() const override { return 0; }
};

// The left channel negated, the right as it was; other layouts pass through.
class LPhaseInversionEffect final : public LPlainEffect<LPhaseInversionEffect> {
  public:
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override;
    QString GetName() const override { return QStringLiteral("L/R Channel Phase Inversion"); }
    int32_t GetType() const override { return 0; }
};

// Zeros of the same length.
class LMuteEffect final : public LPlainEffect<LMuteEffect> {
  public:
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override;
    QString GetName() const override { return QStringLiteral("Mute"); }
    int32_t GetType() const override { return 0; }
};

}  // namespace ondarix
