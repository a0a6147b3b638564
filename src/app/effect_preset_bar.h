// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QComboBox>
#include <QPushButton>
#include <QWidget>

#include "effects/presets.h"
#include "sound/edit_host.h"

namespace ondarix {

// The presets of an effect, the built-in ones before the user's: chosen, saved and deleted. [ui]
class LEffectPresetBar final : public QWidget {
    Q_OBJECT
  public:
    LEffectPresetBar(LEditHost& host, QWidget* parent);

    // Null: nothing to choose. The effect outlives the next call.
    void SetEffect(LEffect* effect);
    // After its values were changed elsewhere.
    void ShowPresetOfValues();
    QWidget* LastStop() const { return delete_; }  // of the keyboard's way through the bar

  Q_SIGNALS:
    void Taken();  // the effect has the values of a preset now

  private:
    void ShowPresets();
    void TakePreset(int index);
    void SavePreset();
    void DeletePreset();
    QString AskName();
    void Tell(LPresetResult result, const QString& name);
    bool IsBuiltIn(int index) const { return index < effect_->GetPresetCount(); }

    LEditHost& host_;
    LEffect* effect_ = nullptr;
    QComboBox* presets_;
    QPushButton *save_, *delete_;
};

}  // namespace ondarix
