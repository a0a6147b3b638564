// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_preset_bar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>

#include "app/input_form.h"
#include "app/theme.h"

namespace ondarix {

LEffectPresetBar::LEffectPresetBar(LEditHost& host, QWidget* parent) : QWidget(parent), host_(host) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    auto* label = new QLabel(QStringLiteral("Pr&eset:"), this);
    presets_ = new QComboBox(this);
    presets_->setObjectName(QStringLiteral("presets"));
    presets_->setAccessibleName(QStringLiteral("Preset"));
    presets_->setPlaceholderText(QStringLiteral("Custom"));
    // Names may be long.
    presets_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    presets_->setMinimumContentsLength(14);
    label->setBuddy(presets_);
    const auto button = [this](const char* icon, const char* text, const char* name) {
        auto* one = new QPushButton(ThemedIcon(QLatin1String(icon)), QString(), this);
        one->setObjectName(QLatin1String(name));
        one->setToolTip(QLatin1String(text));
        one->setAccessibleName(QLatin1String(text));
        one->setAutoDefault(false);
        return one;
    };
    save_ = button("save", "Save Preset...", "savePreset");
    delete_ = button("delete", "Delete Preset", "deletePreset");
    row->addWidget(label);
    row->addWidget(presets_, 1);
    row->addWidget(save_);
    row->addWidget(delete_);
    connect(presets_, &QComboBox::activated, this, &LEffectPresetBar::TakePreset);
    connect(save_, &QPushButton::clicked, this, &LEffectPresetBar::SavePreset);
    connect(delete_, &QPushButton::clicked, this, &LEffectPresetBar::DeletePreset);
    SetEffect(nullptr);
}

void LEffectPresetBar::SetEffect(LEffect* effect) {
    effect_ = effect;
    setEnabled(effect_ != nullptr);
    ShowPresets();
}

void LEffectPresetBar::ShowPresets() {
    presets_->clear();
    if (!effect_) return;
    for (int i = 0; i < effect_->GetPresetCount(); ++i) presets_->addItem(effect_->GetPresetName(i));
    presets_->addItems(UserPresets(*effect_));
    ShowPresetOfValues();
}

// A user's preset stays shown while its values are those of the effect.
void LEffectPresetBar::ShowPresetOfValues() {
    if (!effect_) return;
    int index = effect_->GetCurrentPreset();
    if (const int shown = presets_->currentIndex(); index < 0 && shown >= 0 && !IsBuiltIn(shown)) {
        const auto text = PresetTextOf(PresetOwner(*effect_), presets_->itemText(shown));
        if (text && *text == effect_->PresetText()) index = shown;
    }
    presets_->setCurrentIndex(index);
    delete_->setEnabled(index >= 0);
}

void LEffectPresetBar::TakePreset(int index) {
    const QString name = presets_->itemText(index);
    LPresetResult result = LPresetResult::kDone;
    if (IsBuiltIn(index))
        effect_->SetPreset(index);
    else
        result = LoadUserPreset(*effect_, name);
    if (result != LPresetResult::kDone) {
        Tell(result, name);
        return ShowPresets();
    }
    presets_->setCurrentIndex(index);
    delete_->setEnabled(true);
    Q_EMIT Taken();
}

QString LEffectPresetBar::AskName() {
    LInputForm form(window(), QStringLiteral("presetName"), QLatin1String(kPresetNameTitle));
    const bool isUsers = presets_->currentIndex() >= 0 && !IsBuiltIn(presets_->currentIndex());
    QLineEdit* name = form.Text(QStringLiteral("&Name:"), QStringLiteral("name"),
                                isUsers ? presets_->currentText() : QString());
    return form.Run() ? name->text().trimmed() : QString();
}

void LEffectPresetBar::SavePreset() {
    const QString name = AskName();
    if (name.isNull() || !effect_) return;
    LPresetResult result = SaveUserPreset(*effect_, name, false);
    if (result == LPresetResult::kExists) {
        const LPresetMessage message = PresetMessage(result, PresetOwner(*effect_), name);
        const QStringList buttons{QLatin1String(kOverwriteButton), QStringLiteral("No")};
        if (host_.Messages().Ask(message.title, message.text, buttons, 1) != 0) return;
        result = SaveUserPreset(*effect_, name, true);
    }
    if (result != LPresetResult::kDone) return Tell(result, name);
    ShowPresets();
    presets_->setCurrentIndex(presets_->findText(name, Qt::MatchFixedString));
    ShowPresetOfValues();
}

void LEffectPresetBar::DeletePreset() {
    const QString name = presets_->currentText();
    LPresetResult result = LPresetResult::kNotYours;
    if (!IsBuiltIn(presets_->currentIndex())) {
        const QStringList buttons{QStringLiteral("Delete"), QStringLiteral("Cancel")};
        if (host_.Messages().Ask(QStringLiteral("Delete Preset"), DeletePresetQuestion(name), buttons, 1) !=
            0)
            return;
        result = DeleteUserPreset(*effect_, name);
    }
    Tell(result, name);
    ShowPresets();
}

void LEffectPresetBar::Tell(LPresetResult result, const QString& name) {
    const LPresetMessage message = PresetMessage(result, PresetOwner(*effect_), name);
    if (!message.text.isEmpty()) host_.Messages().Tell(message.title, message.text);
}

}  // namespace ondarix
