// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_chain_values.h"

#include <QVBoxLayout>

#include "app/effect_chain_model.h"
#include "effects/effect_table.h"

namespace ondarix {
namespace {

const QString kNothingChosen = QStringLiteral("Choose an effect of the chain to set its values.");
const QString kKept = QStringLiteral(
    "This version does not have the effect. It stays in the chain as it is, is saved with it, and changes no "
    "sound.");
const QString kNoValues = QStringLiteral("This effect has no values to set.");

bool HasOwnDialog(const LEffect& effect) {
    const LEffectRow* row = FindEffect(effect.GetType());
    return row && row->make && (row->flags & kEffectOwnDialog);
}

// "Make the sound louder or softer.": the lines of the table have no full stop.
QString HelpOf(const LEffect& effect) {
    if (IsUnknownEffect(effect)) return kKept;
    const LEffectRow* row = FindEffect(effect.GetType());
    QString help = row ? QString::fromUtf8(row->help) : QString();
    if (!help.isEmpty() && !help.endsWith(u'.')) help += u'.';
    if (effect.GetParameterCount() == 0)
        help += (help.isEmpty() ? QString() : QStringLiteral(" ")) + kNoValues;
    return help;
}

}  // namespace

LEffectChainValues::LEffectChainValues(LEditHost& host, QWidget* parent) : QFrame(parent) {
    setObjectName(QStringLiteral("effectValues"));
    setFrameShape(QFrame::StyledPanel);
    setAccessibleName(QStringLiteral("Values of the effect"));
    name_ = new QLabel(this);
    name_->setObjectName(QStringLiteral("effectName"));
    name_->setTextFormat(Qt::PlainText);
    QFont bold = name_->font();
    bold.setBold(true);
    name_->setFont(bold);
    help_ = new QLabel(this);
    help_->setObjectName(QStringLiteral("effectHelp"));
    help_->setTextFormat(Qt::PlainText);
    help_->setWordWrap(true);
    presets_ = new LEffectPresetBar(host, this);
    scroll_ = new QScrollArea(this);
    scroll_->setFrameShape(QFrame::NoFrame);
    scroll_->setWidgetResizable(true);
    scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll_->setFocusPolicy(Qt::NoFocus);
    const auto button = [this](const char* text, const char* name, const char* help) {
        auto* one = new QPushButton(QLatin1String(text), this);
        one->setObjectName(QLatin1String(name));
        one->setToolTip(QLatin1String(help));
        one->setAutoDefault(false);
        return one;
    };
    bypass_ = button("Bypass &This Effect (Hold down)", "effectBypass",
                     "Hear the chain without this effect while the button is held down");
    dialog_ =
        button("&Open Its Dialog...", "effectDialog", "Set the values in the effect's own dialog (Enter)");

    auto* row = new QHBoxLayout;
    row->addWidget(bypass_);
    row->addStretch(1);
    row->addWidget(dialog_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(12, 10, 12, 10);
    layout->setSpacing(8);
    layout->addWidget(name_);
    layout->addWidget(help_);
    layout->addWidget(presets_);
    layout->addWidget(scroll_, 1);
    layout->addLayout(row);

    connect(presets_, &LEffectPresetBar::Taken, this, [this] {
        ShowValues();
        Q_EMIT ValuesChanged();
    });
    connect(dialog_, &QPushButton::clicked, this, &LEffectChainValues::DialogAsked);
    connect(bypass_, &QPushButton::pressed, this, [this] { Q_EMIT BypassHeld(true); });
    connect(bypass_, &QPushButton::released, this, [this] { Q_EMIT BypassHeld(false); });
    SetEffect(nullptr);
}

void LEffectChainValues::SetEffect(LEffect* effect) {
    DropControls();
    effect_ = effect;
    const bool isSet = effect && !IsUnknownEffect(*effect);
    name_->setText(effect ? ChainEffectName(*effect) : QString());
    name_->setVisible(effect != nullptr);
    help_->setText(effect ? HelpOf(*effect) : kNothingChosen);
    presets_->SetEffect(isSet && effect->GetParameterCount() > 0 ? effect : nullptr);
    presets_->setVisible(isSet && effect->GetParameterCount() > 0);
    dialog_->setVisible(isSet && HasOwnDialog(*effect));
    bypass_->setVisible(isSet);
    if (isSet) BuildControls();
}

// A field that loses the focus as it goes would put its text into an effect that may be gone.
void LEffectChainValues::DropControls() {
    for (LParamControl* control : controls_) control->disconnect();
    controls_.clear();
    delete scroll_->takeWidget();
}

void LEffectChainValues::BuildControls() {
    auto* rows = new QWidget;
    auto* form = new QFormLayout(rows);
    form->setContentsMargins(0, 4, 0, 0);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    controls_ = AddParamControls(*form, *effect_, rows, [this] {
        presets_->ShowPresetOfValues();
        Q_EMIT ValuesChanged();
    });
    scroll_->setWidget(rows);
    // Behind the presets, although they are younger than what comes after them.
    QWidget* before = presets_->LastStop();
    for (QWidget* stop : rows->findChildren<QWidget*>()) {
        if (!(stop->focusPolicy() & Qt::TabFocus) || stop->focusProxy()) continue;
        QWidget::setTabOrder(before, stop);
        before = stop;
    }
}

void LEffectChainValues::ShowValues() {
    LEffectParam param;
    for (int i = 0; i < controls_.size(); ++i)
        if (effect_->GetParameterInfo(i, param)) controls_[i]->SetValue(param.value);
}

void LEffectChainValues::FocusFirst() {
    if (!controls_.isEmpty()) controls_.first()->setFocus(Qt::OtherFocusReason);
}

}  // namespace ondarix
