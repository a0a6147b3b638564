// SPDX-License-Identifier: GPL-3.0-or-later
// What the dialogs of the effects share: presets above, the controls of the effect, a picture of what it
// does, playing, bypass, and "Apply" for OK. Modal to the frame. [ui]
//
//   class LFadeDialog final : public LEffectDialog {
//     public:
//       explicit LFadeDialog(LEffectContext context) : LEffectDialog(std::move(context), "fadeDialog",
//       "Fade") {
//           Body()->addWidget(...);   // each control calls ValuesChanged()
//           Complete();
//       }
//     protected:
//       LEffectList Effects() const override;
//   };
#pragma once
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <memory>

#include "app/effect_picture.h"
#include "app/effect_preview.h"
#include "app/frame_handlers.h"
#include "effects/effect_table.h"

namespace ondarix {

// Where an effect is asked for, and what it would work on.
struct LEffectContext {
    LMainFrame& frame;
    LSoundWindow& window;
    LEffectOperation operation;
    QString help;  // one line below the title of the controls; empty: none

    LSoundFormat Format() const { return operation.sound.Format(); }
    // Nothing without a sound or with an empty one.
    static std::optional<LEffectContext> Of(LCommandCall& call);
};

class LEffectDialog : public QDialog {
    Q_OBJECT
  public:
    // `name`: object name.
    LEffectDialog(LEffectContext context, const QString& name, const QString& title);
    ~LEffectDialog() override;

    LEffectPreview& Preview() { return *preview_; }
    LEffectPicture& Picture() { return *picture_; }
    // After it was accepted: what is to be applied.
    LEffectList Applied() const { return Effects(); }
    void done(int result) override;  // ends the preview

  protected:
    // --- What a dialog gives

    // The effects with the values of the controls, as they are applied.
    virtual LEffectList Effects() const = 0;
    // What is heard: Effects() over the selection, unless a dialog has something else to play.
    virtual LPreviewStack BuildPreview();
    // Why nothing can be heard with the present values ("Audio preview is not available when ..."); empty:
    // it can. The play button is off meanwhile.
    virtual QString PreviewRefusal() const { return {}; }
    // Why the values cannot be applied, shown in the dialog, which stays; empty: they can.
    virtual QString Refusal() const { return {}; }
    // The effect that the preset combo reads and writes; null: there is no combo. Its values are those of the
    // controls.
    virtual LEffect* PresetEffect() { return nullptr; }
    // The controls show what a preset has put into PresetEffect().
    virtual void ShowValues() {}
    // Before the dialog closes with "Apply": last used values and what else is kept.
    virtual void StoreValues() {}

    // --- What a dialog uses

    // At the end of the constructor: with PresetEffect() as it is by then.
    void Complete();
    QVBoxLayout* Body() { return body_; }
    // After each change of a control: what plays follows, the picture is out of date.
    void ValuesChanged();
    const LEffectContext& Context() const { return context_; }
    const LPreviewSoundRef& Sound() const { return sound_; }
    // Shown below the controls; empty: nothing is wrong.
    void ShowRefusal(const QString& text);
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    void BuildPresets(QVBoxLayout* layout);
    void BuildTransport(QVBoxLayout* layout);
    void BuildButtons(QVBoxLayout* layout);
    void ShowPresets();
    void ShowPresetOfValues();
    void TakePreset(int index);
    void SavePreset();
    void DeletePreset();
    QString AskPresetName();
    void TogglePlay();
    void ReloadPicture();
    void ShowPreview();
    void Apply();

    LEffectContext context_;
    LPreviewSoundRef sound_;
    std::unique_ptr<LEffectPreview> preview_;
    QVBoxLayout* body_ = nullptr;
    LEffectPicture* picture_ = nullptr;
    QComboBox* presets_ = nullptr;
    QPushButton *deletePreset_ = nullptr, *play_ = nullptr, *bypass_ = nullptr, *reload_ = nullptr,
                *apply_ = nullptr;
    QLabel *status_ = nullptr, *refusal_ = nullptr;
    bool isComplete_ = false;
    bool showing_ = false;  // values go from an effect to the controls
};

}  // namespace ondarix
