// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_parameter_dialog.h"

#include <QScrollArea>
#include <utility>

#include "effects/stored_values.h"

namespace ondarix {
namespace {

constexpr int kMostRowsAtOnce = 10, kScrolledHeight = 300, kScrollBarRoom = 24;

}  // namespace

LOneEffectDialog::LOneEffectDialog(LEffectContext context, const LEffectRow& row,
                                   std::unique_ptr<LEffect> effect)
    : LEffectDialog(std::move(context), QLatin1String(row.id) + QStringLiteral("Dialog"),
                    QString::fromUtf8(row.name)),
      row_(row),
      effect_(std::move(effect)) {
    effect_->SetFormat(Context().Format());
}

LEffectList LOneEffectDialog::Effects() const {
    LEffectList effects;
    effects.push_back(effect_->Clone());
    return effects;
}

QString LOneEffectDialog::PreviewRefusal() const {
    return row_.flags & kEffectNoPreview
               ? QStringLiteral("Audio preview is not available for \"%1\"").arg(QString::fromUtf8(row_.name))
               : QString();
}

void LOneEffectDialog::AddControls() {
    auto* rows = new QWidget(this);
    auto* form = new QFormLayout(rows);
    form->setContentsMargins(0, 0, 0, 0);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    controls_ = AddParamControls(*form, *effect_, this, [this] { ValuesChanged(); });
    if (controls_.size() <= kMostRowsAtOnce) return Body()->addWidget(rows);
    auto* scroll = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setWidget(rows);
    scroll->setMinimumSize(rows->minimumSizeHint().width() + kScrollBarRoom, kScrolledHeight);
    Body()->addWidget(scroll, 1);
}

void LOneEffectDialog::ShowValues() {
    LEffectParam param;
    for (int i = 0; i < controls_.size(); ++i)
        if (effect_->GetParameterInfo(i, param)) controls_[i]->SetValue(param.value);
}

void LOneEffectDialog::StoreValues() { SaveStoredValues(*effect_, row_); }

LParameterDialog::LParameterDialog(LEffectContext context, const LEffectRow& row,
                                   std::unique_ptr<LEffect> effect)
    : LOneEffectDialog(std::move(context), row, std::move(effect)) {
    AddControls();
    Complete();
}

}  // namespace ondarix
