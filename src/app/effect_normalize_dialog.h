// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "app/effect_parameter_dialog.h"
#include "effects/normalize.h"

namespace ondarix {

// "Normalize": only what the chosen method asks for is shown, and what was measured. The sound is measured
// anew only where the way of measuring has changed. [ui]
class LNormalizeDialog final : public LOneEffectDialog {
  public:
    LNormalizeDialog(LEffectContext context, const LEffectRow& row, std::unique_ptr<LEffect> effect);

  protected:
    LPreviewStack BuildPreview() override;
    void ShowValues() override;

  private:
    using LMeasured = std::shared_ptr<const LNormalizeEffect>;
    const LNormalizeEffect& Normalize() const { return static_cast<const LNormalizeEffect&>(Effect()); }
    bool IsMeasured() const;
    void Take(const LMeasured& measured);
    void ShowMethod();

    LMeasured measured_;
    QLabel *found_, *note_;
};

}  // namespace ondarix
