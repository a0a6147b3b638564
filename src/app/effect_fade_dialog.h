// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "app/effect_parameter_dialog.h"
#include "effects/fades.h"

namespace ondarix {

// "Fade In" and "Fade Out", and the same with what lies before or behind cut off: the type, and whether it is
// asked for from now on. [ui]
class LFadeDialog final : public LOneEffectDialog {
  public:
    // `title`: of the form of the fade.
    LFadeDialog(LEffectContext context, const LEffectRow& row, std::unique_ptr<LEffect> effect,
                const QString& title);

  protected:
    void StoreValues() override;

  private:
    QCheckBox* quiet_;
};

// Settings FadeInPrompt and FadeOutPrompt of section Effects.
bool AsksForFade(const LEffectRow& row);

// Duration, start and type of a fade at the edge of the clip, which begins or ends it; nothing: cancelled.
std::optional<LClipFade> AskClipFade(QWidget* owner, const LSoundDocument& document, bool in);

}  // namespace ondarix
