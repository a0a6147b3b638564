// SPDX-License-Identifier: GPL-3.0-or-later
// Dialogs of a single effect of the table. [ui]
#pragma once
#include "app/effect_dialog.h"
#include "app/effect_param_control.h"

namespace ondarix {

// The effect's presets, its last used values, and what is heard and applied of it; a derived dialog adds the
// controls and calls Complete().
class LOneEffectDialog : public LEffectDialog {
  public:
    // `effect` with the values to begin with. Object name: the row's id with "Dialog" behind it.
    LOneEffectDialog(LEffectContext context, const LEffectRow& row, std::unique_ptr<LEffect> effect);

  protected:
    LEffectList Effects() const override;
    QString PreviewRefusal() const override;
    LEffect* PresetEffect() override { return effect_.get(); }
    void ShowValues() override;
    void StoreValues() override;
    LEffect& Effect() { return *effect_; }
    const LEffect& Effect() const { return *effect_; }
    const LEffectRow& Row() const { return row_; }
    // A control for every parameter.
    void AddControls();
    const QList<LParamControl*>& Controls() const { return controls_; }

  private:
    const LEffectRow& row_;
    std::unique_ptr<LEffect> effect_;
    QList<LParamControl*> controls_;
};

// Of every effect that has no dialog of its own.
class LParameterDialog final : public LOneEffectDialog {
  public:
    LParameterDialog(LEffectContext context, const LEffectRow& row, std::unique_ptr<LEffect> effect);
};

}  // namespace ondarix
