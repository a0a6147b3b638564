// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>

#include "app/effect_param_control.h"
#include "app/effect_preset_bar.h"

namespace ondarix {

// The effect that is chosen in a chain, with its presets and a control for every parameter. [ui]
class LEffectChainValues final : public QFrame {
    Q_OBJECT
  public:
    LEffectChainValues(LEditHost& host, QWidget* parent);

    // Null: none is chosen. The effect outlives the next call.
    void SetEffect(LEffect* effect);
    void FocusFirst();  // where there is a control

  Q_SIGNALS:
    void ValuesChanged();
    void DialogAsked();        // its own dialog
    void BypassHeld(bool on);  // for as long as the button is held down

  private:
    void BuildControls();
    void DropControls();
    void ShowValues();

    LEffect* effect_ = nullptr;
    QLabel *name_, *help_;
    LEffectPresetBar* presets_;
    QScrollArea* scroll_;
    QPushButton *dialog_, *bypass_;
    QList<LParamControl*> controls_;
};

}  // namespace ondarix
