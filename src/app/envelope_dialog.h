// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QStackedWidget>

#include "app/effect_parameter_dialog.h"
#include "app/envelope_view.h"
#include "app/time_input.h"

namespace ondarix {

// "Envelope": the curve over the wave of what is selected, heard while it is dragged. [ui]
class LEnvelopeDialog final : public LOneEffectDialog {
  public:
    // Begins with the envelope that was used last, stretched over this sound.
    LEnvelopeDialog(LEffectContext context, const LEffectRow& row, std::unique_ptr<LEffect> effect);
    LEnvelopeView& View() { return *view_; }

  protected:
    void ShowValues() override;
    void StoreValues() override;

  private:
    LEnvelopeEffect& Envelope() { return static_cast<LEnvelopeEffect&>(Effect()); }
    void BuildTop();
    void BuildPointRow();
    void TakeCurve();
    void TakeTime();
    void TakeLevel(double gain);
    void ShowPoint();
    void ShowUnit(int unit);
    void Reset();

    LEnvelopeView* view_;
    QComboBox *curve_ = nullptr, *unit_ = nullptr;
    QLabel* point_ = nullptr;
    LTimeEdit* time_ = nullptr;
    QStackedWidget* fields_ = nullptr;
    QDoubleSpinBox* percent_ = nullptr;
    LDBEdit* db_ = nullptr;
    QPushButton *add_ = nullptr, *remove_ = nullptr;
    bool shows_ = false;
};

}  // namespace ondarix
