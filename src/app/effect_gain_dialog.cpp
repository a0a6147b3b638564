// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_gain_dialog.h"

#include <QHBoxLayout>
#include <QScopedValueRollback>
#include <cmath>
#include <utility>

#include "gen/settings.h"

namespace ondarix {
namespace {

const QString kUnitSection = QStringLiteral("Settings");
const QString kUnitName = QStringLiteral("AmplifyInDb");
enum LGainUnit : int { kPercentUnit, kDbUnit };

double DbOf(float gain) { return 20 * std::log10(double{gain}); }

}  // namespace

LAmplifyDialog::LAmplifyDialog(LEffectContext context, const LEffectRow& row, std::unique_ptr<LEffect> effect)
    : LOneEffectDialog(std::move(context), row, std::move(effect)) {
    LEffectParam param;
    Gain().GetParameterInfo(0, param);
    const auto least = static_cast<int>(param.minimum), most = static_cast<int>(param.maximum);
    slider_ = new QSlider(Qt::Horizontal, this);
    slider_->setObjectName(QStringLiteral("gain-slider"));
    slider_->setAccessibleName(QStringLiteral("Gain slider"));
    slider_->setRange(least, most);
    slider_->setMinimumWidth(180);
    percent_ = new QSpinBox(this);
    percent_->setObjectName(QStringLiteral("gain"));
    percent_->setAccessibleName(QStringLiteral("Gain in percent"));
    percent_->setRange(least, most);
    percent_->setSuffix(QStringLiteral("%"));
    db_ = new LDBEdit(DbOf(LAmplifyEffect::kLeastGain), DbOf(LAmplifyEffect::kMostGain), 2, false, this);
    db_->setObjectName(QStringLiteral("gainDb"));
    db_->setAccessibleName(QStringLiteral("Gain in decibels"));
    fields_ = new QStackedWidget(this);
    fields_->addWidget(percent_);
    fields_->addWidget(db_);
    fields_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    auto* unit = new QComboBox(this);
    unit->setObjectName(QStringLiteral("gainUnit"));
    unit->setAccessibleName(QStringLiteral("Unit of the gain"));
    unit->addItems({QStringLiteral("Percent"), QStringLiteral("Decibels")});
    auto* line = new QHBoxLayout;
    auto* label = new QLabel(QStringLiteral("&Gain:"), this);
    label->setBuddy(fields_);
    line->addWidget(label);
    line->addWidget(slider_, 1);
    line->addWidget(fields_);
    line->addWidget(unit);
    Body()->addLayout(line);
    const auto taken = [this](float gain) {
        if (shows_) return;
        Gain().SetGain(gain);
        ShowValues();
        ValuesChanged();
    };
    const auto takenPercent = [taken](int percent) { taken(static_cast<float>(percent) / 100.0f); };
    connect(slider_, &QSlider::valueChanged, this, takenPercent);
    connect(percent_, &QSpinBox::valueChanged, this, takenPercent);
    connect(db_, &QDoubleSpinBox::valueChanged, this,
            [taken](double db) { taken(static_cast<float>(std::pow(10, db / 20))); });
    connect(unit, &QComboBox::currentIndexChanged, this, &LAmplifyDialog::ShowUnit);
    const bool inDb = GetSettingBool(kUnitSection, kUnitName, false);
    unit->setCurrentIndex(inDb ? kDbUnit : kPercentUnit);
    ShowUnit(unit->currentIndex());
    ShowValues();
    Complete();
}

void LAmplifyDialog::ShowUnit(int unit) {
    fields_->setCurrentIndex(unit);
    fields_->setFocusProxy(fields_->currentWidget());
    SetSettingBool(kUnitSection, kUnitName, unit == kDbUnit);
}

void LAmplifyDialog::ShowValues() {
    const QScopedValueRollback<bool> guard(shows_, true);
    const float gain = Gain().Gain();
    const auto percent = static_cast<int>(std::lround(gain * 100));
    slider_->setValue(percent);
    percent_->setValue(percent);
    if (std::abs(db_->value() - DbOf(gain)) > 0.005) db_->setValue(DbOf(gain));
}

}  // namespace ondarix
