// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QGridLayout>
#include <QSpinBox>

#include "app/crossfade_picture.h"
#include "app/effect_dialog.h"

namespace ondarix {

// The settings with the dialog's actions in the place of built-in presets: choosing one changes the present
// values. The first stands for "nothing chosen".
class LCrossfadeMenu final : public LSettingsForm<LCrossfadeMenu, LCrossfadeSettings> {
  public:
    static std::span<const LParamRow<LCrossfadeSettings>> Rows() { return LCrossfadeForm::Rows(); }
    QString GetName() const override { return QLatin1String(kCrossfadePresets); }
    int GetPresetCount() const override;
    QString GetPresetName(int index) const override;
    void SetPreset(int index) override;
    int GetCurrentPreset() const override;
};

// "Crossfade", "Crossfade to Other Clip" and "Crossfade Loop": what is faded as a drawing, and the join heard
// with a few seconds around it. [ui]
class LCrossfadeDialog final : public LEffectDialog {
  public:
    // `others`: what the fade may lead to, of kOther; at least one.
    LCrossfadeDialog(LEffectContext context, LCrossfadeKind kind, const QList<LSoundWindow*>& others = {});
    ~LCrossfadeDialog() override;

    // After it was accepted.
    const LCrossfadeSettings& Settings() const { return menu_.params; }
    const LSound& Other() const { return join_.second; }
    LCrossfadePicture& Curves() { return *curves_; }

  protected:
    LEffectList Effects() const override { return {}; }
    LPreviewStack BuildPreview() override { return PreviewOfJoin(join_, menu_.params); }
    LEffect* PresetEffect() override { return &menu_; }
    void ShowValues() override;
    void StoreValues() override { StoreCrossfade(menu_.params); }
    // Without the picture of the whole.
    void showEvent(QShowEvent* event) override {
        QDialog::showEvent(event);  // NOLINT(bugprone-parent-virtual-call)
    }

  private:
    void BuildOther(const QList<LSoundWindow*>& others);
    void BuildFades();
    void BuildGap();
    // A control of the parameter, under its id.
    QWidget* Control(const char* id, const QString& spoken, const QString& none = {});
    void Take(int index, double value);
    void TakeOther(int index);
    void ShowCurves();
    void ShowHeard(qint64 frame);

    LCrossfadeJoin join_;
    LCrossfadeMenu menu_;
    std::vector<LSound> others_;
    QList<QWidget*> controls_;  // in the order of the parameters; null: none
    LCrossfadePicture* curves_;
    bool shows_ = false;
};

}  // namespace ondarix
