// SPDX-License-Identifier: GPL-3.0-or-later
// One gain over a whole sound, and one for each of its channels.
#pragma once
#include <vector>

#include "effects/effect_table.h"
#include "effects/param_table.h"

namespace ondarix {

struct LAmplifyParams {
    int32_t gainPercent = 100;
    bool operator==(const LAmplifyParams&) const = default;
};

class LAmplifyEffect final : public LTableEffect<LAmplifyEffect, LAmplifyParams> {
  public:
    static std::span<const LParamRow<LAmplifyParams>> Rows();
    static std::span<const LPresetRow<LAmplifyParams>> Presets();
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override;
    QString GetName() const override { return QStringLiteral("Amplify"); }
    int32_t GetType() const override { return 1; }
};

// Every sample times `gain`; at 1.0 the source itself.
LSoundSourceRef Amplify(LSoundSourceRef source, float gain);

}  // namespace ondarix
