// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QSpinBox>
#include <QStackedWidget>

#include "app/effect_parameter_dialog.h"
#include "effects/gain.h"

namespace ondarix {

// "Amplify": one gain, in percent or in dB. Which of them is kept (section Settings, AmplifyInDb). [ui]
class LAmplifyDialog final : public LOneEffectDialog {
  public:
    LAmplifyDialog(LEffectContext context, const LEffectRow& row, std::unique_ptr<LEffect> effect);

  protected:
    void ShowValues() override;

  private:
    LAmplifyEffect& Gain() { return static_cast<LAmplifyEffect&>(Effect()); }
    void ShowUnit(int unit);

    QSlider* slider_;
    QStackedWidget* fields_;
    QSpinBox* percent_;
    LDBEdit* db_;
    bool shows_ = false;
};

}  // namespace ondarix
