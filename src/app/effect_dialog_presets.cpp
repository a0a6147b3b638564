// SPDX-License-Identifier: GPL-3.0-or-later
// The presets of an effect's dialog: the built-in ones, then the user's.
#include <QHBoxLayout>
#include <QLineEdit>
#include <QScopedValueRollback>

#include "app/effect_dialog.h"
#include "app/input_form.h"
#include "effects/presets.h"

namespace ondarix {

void LEffectDialog::BuildPresets(QVBoxLayout* layout) {
    auto* row = new QHBoxLayout;
    auto* label = new QLabel(QStringLiteral("Prese&t:"), this);
    presets_ = new QComboBox(this);
    presets_->setObjectName(QStringLiteral("presets"));
    presets_->setAccessibleName(QStringLiteral("Preset"));
    presets_->setPlaceholderText(QStringLiteral("Custom"));
    // Names may be long.
    presets_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    presets_->setMinimumContentsLength(18);
    label->setBuddy(presets_);
    auto* save = new QPushButton(QStringLiteral("&Save Preset..."), this);
    save->setObjectName(QStringLiteral("savePreset"));
    deletePreset_ = new QPushButton(QStringLiteral("&Delete Preset"), this);
    deletePreset_->setObjectName(QStringLiteral("deletePreset"));
    for (QPushButton* button : {save, deletePreset_}) button->setAutoDefault(false);
    connect(presets_, &QComboBox::activated, this, &LEffectDialog::TakePreset);
    connect(save, &QPushButton::clicked, this, &LEffectDialog::SavePreset);
    connect(deletePreset_, &QPushButton::clicked, this, &LEffectDialog::DeletePreset);
    row->addWidget(label);
    row->addWidget(presets_, 1);
    row->addWidget(save);
    row->addWidget(deletePreset_);
    layout->insertLayout(0, row);
    setTabOrder(presets_, save);
    setTabOrder(save, deletePreset_);
}

void LEffectDialog::ShowPresets() {
    if (!presets_) return;
    const QScopedValueRollback<bool> guard(showing_, true);
    presets_->clear();
    LEffect& effect = *PresetEffect();
    for (int i = 0; i < effect.GetPresetCount(); ++i) presets_->addItem(effect.GetPresetName(i));
    presets_->addItems(UserPresets(effect));
    ShowPresetOfValues();
}

// A user's preset stays shown while its values are those of the controls.
void LEffectDialog::ShowPresetOfValues() {
    if (!presets_) return;
    const LEffect& effect = *PresetEffect();
    int index = effect.GetCurrentPreset();
    if (const int shown = presets_->currentIndex(); index < 0 && shown >= effect.GetPresetCount()) {
        const auto text = PresetTextOf(PresetOwner(effect), presets_->itemText(shown));
        if (text && *text == effect.PresetText()) index = shown;
    }
    presets_->setCurrentIndex(index);
    deletePreset_->setEnabled(index >= 0);
}

void LEffectDialog::TakePreset(int index) {
    LEffect& effect = *PresetEffect();
    if (index < effect.GetPresetCount()) {
        effect.SetPreset(index);
    } else {
        const QString name = presets_->itemText(index);
        const LPresetResult result = LoadUserPreset(effect, name);
        if (result != LPresetResult::kDone) {
            const LPresetMessage message = PresetMessage(result, PresetOwner(effect), name);
            context_.frame.Messages().Tell(message.title, message.text);
            return ShowPresets();
        }
    }
    {
        const QScopedValueRollback<bool> guard(showing_, true);
        ShowValues();
    }
    presets_->setCurrentIndex(index);
    ValuesChanged();
}

QString LEffectDialog::AskPresetName() {
    LInputForm form(this, QStringLiteral("presetName"), QLatin1String(kPresetNameTitle));
    const QString shown =
        presets_->currentIndex() >= PresetEffect()->GetPresetCount() ? presets_->currentText() : QString();
    QLineEdit* name = form.Text(QStringLiteral("&Name:"), QStringLiteral("name"), shown);
    return form.Run() ? name->text().trimmed() : QString();
}

void LEffectDialog::SavePreset() {
    const LEffect& effect = *PresetEffect();
    const LPresetOwner owner = PresetOwner(effect);
    const QString name = AskPresetName();
    if (name.isNull()) return;
    LMessageHost& messages = context_.frame.Messages();
    LPresetResult result = SaveUserPreset(effect, name, false);
    if (result == LPresetResult::kExists) {
        const LPresetMessage message = PresetMessage(result, owner, name);
        const QStringList buttons{QLatin1String(kOverwriteButton), QStringLiteral("No")};
        if (messages.Ask(message.title, message.text, buttons, 1) != 0) return;
        result = SaveUserPreset(effect, name, true);
    }
    if (result != LPresetResult::kDone) {
        const LPresetMessage message = PresetMessage(result, owner, name);
        return messages.Tell(message.title, message.text);
    }
    ShowPresets();
    presets_->setCurrentIndex(presets_->findText(name, Qt::MatchFixedString));
    ShowPresetOfValues();
}

void LEffectDialog::DeletePreset() {
    const QString name = presets_->currentText();
    const LPresetOwner owner = PresetOwner(*PresetEffect());
    LMessageHost& messages = context_.frame.Messages();
    LPresetResult result = LPresetResult::kNotYours;
    if (presets_->currentIndex() >= PresetEffect()->GetPresetCount()) {
        const QStringList buttons{QStringLiteral("Delete"), QStringLiteral("Cancel")};
        if (messages.Ask(QStringLiteral("Delete Preset"), DeletePresetQuestion(name), buttons, 1) != 0)
            return;
        result = DeleteUserPreset(owner, name);
    }
    const LPresetMessage message = PresetMessage(result, owner, name);
    if (!message.text.isEmpty()) messages.Tell(message.title, message.text);
    ShowPresets();
}

}  // namespace ondarix
