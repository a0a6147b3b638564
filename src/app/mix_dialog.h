// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "app/effect_dialog.h"
#include "app/effect_param_control.h"
#include "effects/mix_background.h"

namespace ondarix {

// "Mix with File", "Paste Background Music": how loud the music is under the selected voice, and what is
// heard of it before and behind. [ui]
class LBackgroundDialog final : public LEffectDialog {
  public:
    // Over the context's stretch as the voice. `musicName`: shown.
    LBackgroundDialog(LEffectContext context, const QString& title, const LSound& music,
                      const QString& musicName);

    const LBackgroundSettings& Settings() const { return form_.params; }  // after it was accepted

  protected:
    LEffectList Effects() const override { return {}; }
    LPreviewStack BuildPreview() override;
    QString PreviewRefusal() const override;
    QString Refusal() const override;
    LEffect* PresetEffect() override { return &form_; }
    void ShowValues() override;
    void StoreValues() override { StoreForm(form_, kBackgroundSection); }

  private:
    void BuildLevels();
    void BuildLeads();
    void AddRow(QFormLayout& form, const char* id, const QString& label);
    void Take(int index, double value);
    void ShowModes();
    void ShowPlan();
    // False: the settings have no plan, and why.
    bool Plan(LBackgroundPlan& plan, QString& fault) const;
    QFormLayout* Group(const QString& title, QBoxLayout& layout);

    struct LRow {
        QFormLayout* form = nullptr;
        QWidget* field = nullptr;
        LParamControl* control = nullptr;  // null: a time
        QDoubleSpinBox* seconds = nullptr;
    };
    LRow& RowOf(int index) { return rows_[static_cast<size_t>(index)]; }

    LBackgroundForm form_;
    LSound music_;
    std::vector<LRow> rows_;  // in the order of the parameters
    QLabel* plan_ = nullptr;
    bool shows_ = false;
};

// "Paste Mix": volume and place of the clip that is mixed over the selection. [ui]
class LMixDialog final : public LEffectDialog {
  public:
    LMixDialog(LEffectContext context, const LSound& clip);
    const LMixSettings& Settings() const { return form_.params; }  // after it was accepted

  protected:
    LEffectList Effects() const override { return {}; }
    LPreviewStack BuildPreview() override;
    LEffect* PresetEffect() override { return &form_; }
    void ShowValues() override;
    void StoreValues() override { StoreForm(form_, kMixSection); }

  private:
    LMixForm form_;
    LSound clip_;
    QList<LParamControl*> controls_;
};

// The context of mixing: for the clip, what it is mixed over, for the preview; the document's stretch as the
// operation's, lengthened by silence where the clip reaches past the end.
std::optional<LEffectContext> MixContext(LCommandCall& call, const LSound& clip);

}  // namespace ondarix
