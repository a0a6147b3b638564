// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_param_control.h"

#include <QHBoxLayout>
#include <QScopedValueRollback>
#include <algorithm>
#include <cmath>

namespace ondarix {
namespace {

constexpr int kSliderSteps = 1000;     // of numbers that are not counted one by one
constexpr double kLeastLogRatio = 20;  // of a range of frequencies that is worth a logarithm
const QString kSilentText = QStringLiteral("-inf");

// 1, 2 or 5 times a power of ten, some hundredth of the range.
double NiceStep(double range) {
    const double exact = range / 100;
    const double power = std::pow(10, std::floor(std::log10(exact)));
    const double rest = exact / power;
    return power * (rest < 1.5 ? 1 : rest < 3.5 ? 2 : rest < 7.5 ? 5 : 10);
}

int DecimalsOf(const LEffectParam& param) {
    if (param.type != LParamType::kDouble) return 0;
    const double range = param.maximum - param.minimum;
    double finest = range <= 2 ? 0.001 : range <= 20 ? 0.01 : 0.1;
    if (param.minimum > 0) finest = std::min(finest, param.minimum);
    return std::clamp(static_cast<int>(std::ceil(-std::log10(finest) - 1e-9)), 1, 6);
}

}  // namespace

LDBEdit::LDBEdit(double least, double most, int decimals, bool mayBeSilent, QWidget* parent)
    : QDoubleSpinBox(parent), mayBeSilent_(mayBeSilent) {
    setDecimals(decimals);
    silent_ = least <= kMinusInfinityDb ? least : least - std::pow(10, -decimals);
    setRange(mayBeSilent ? silent_ : least, most);
    setSuffix(QStringLiteral(" dB"));
    setSingleStep(decimals == 0 ? 1 : 0.5);
}

double LDBEdit::Level() const {
    return mayBeSilent_ && value() <= silent_ ? double{kMinusInfinityDb} : value();
}

void LDBEdit::SetLevel(double db) { setValue(mayBeSilent_ && db <= kMinusInfinityDb ? silent_ : db); }

QString LDBEdit::textFromValue(double value) const {
    return mayBeSilent_ && value <= silent_ ? kSilentText : QDoubleSpinBox::textFromValue(value);
}

double LDBEdit::valueFromText(const QString& text) const {
    if (mayBeSilent_ && text.trimmed().startsWith(kSilentText, Qt::CaseInsensitive)) return silent_;
    return QDoubleSpinBox::valueFromText(text);
}

QValidator::State LDBEdit::validate(QString& text, int& position) const {
    QString word = text;
    if (word.endsWith(suffix())) word.chop(suffix().size());
    word = word.trimmed();
    if (mayBeSilent_ && word.compare(kSilentText, Qt::CaseInsensitive) == 0) return QValidator::Acceptable;
    if (mayBeSilent_ && !word.isEmpty() && kSilentText.startsWith(word, Qt::CaseInsensitive))
        return QValidator::Intermediate;
    return QDoubleSpinBox::validate(text, position);
}

// --- One parameter

LParamControl::LParamControl(const LEffectParam& param, QWidget* parent)
    : QWidget(parent), param_(param), value_(param.value) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    if (param.type == LParamType::kBool) {
        field_ = box_ = new QCheckBox(param.name, this);
        connect(box_, &QCheckBox::toggled, this, [this](bool on) { Take(on); });
        row->addWidget(box_);
    } else if (param.type == LParamType::kChoice && !param.choices.isEmpty()) {
        field_ = combo_ = new QComboBox(this);
        combo_->addItems(param.choices);
        connect(combo_, &QComboBox::currentIndexChanged, this, [this](int index) { Take(index); });
        row->addWidget(combo_, 1);
    } else {
        BuildNumber();
        row->addWidget(slider_, 1);
        row->addWidget(field_);
    }
    field_->setObjectName(param.id);
    field_->setAccessibleName(param.name);
    setFocusProxy(field_);
    Show();
}

void LParamControl::BuildNumber() {
    const double range = param_.maximum - param_.minimum;
    logarithmic_ = param_.unit == QLatin1String("Hz") && param_.minimum > 0 &&
                   param_.maximum / param_.minimum >= kLeastLogRatio;
    slider_ = new QSlider(Qt::Horizontal, this);
    slider_->setObjectName(param_.id + QStringLiteral("-slider"));
    slider_->setAccessibleName(param_.name + QStringLiteral(" slider"));
    slider_->setMinimumWidth(180);
    const bool counted = !logarithmic_ && param_.type != LParamType::kDouble && range <= kSliderSteps;
    slider_->setRange(0, counted ? static_cast<int>(range) : kSliderSteps);
    slider_->setPageStep(std::max(1, slider_->maximum() / 10));
    if (param_.type == LParamType::kDb) {
        number_ = db_ = new LDBEdit(param_.minimum, param_.maximum, 0, true, this);
    } else {
        number_ = new QDoubleSpinBox(this);
        number_->setDecimals(DecimalsOf(param_));
        number_->setRange(param_.minimum, param_.maximum);
        if (!param_.unit.isEmpty())
            number_->setSuffix((param_.unit == QLatin1String("%") ? QString() : QStringLiteral(" ")) +
                               param_.unit);
        if (logarithmic_)
            number_->setStepType(QAbstractSpinBox::AdaptiveDecimalStepType);
        else
            number_->setSingleStep(param_.type == LParamType::kDouble ? NiceStep(range)
                                                                      : std::max(1.0, NiceStep(range)));
        if (param_.type != LParamType::kDouble && range <= kSliderSteps) number_->setSingleStep(1);
    }
    field_ = number_;
    number_->setMinimumWidth(number_->sizeHint().width());
    number_->setAlignment(Qt::AlignRight);
    number_->setCorrectionMode(QAbstractSpinBox::CorrectToNearestValue);
    connect(slider_, &QSlider::valueChanged, this, [this](int place) { Take(OfSlider(place)); });
    connect(number_, &QDoubleSpinBox::valueChanged, this,
            [this](double value) { Take(db_ ? db_->Level() : value); });
}

double LParamControl::OfSlider(int place) const {
    const double share = static_cast<double>(place) / slider_->maximum();
    if (logarithmic_) {
        const double value = param_.minimum * std::pow(param_.maximum / param_.minimum, share);
        return std::clamp(Rounded(value), param_.minimum, param_.maximum);
    }
    return std::clamp(Rounded(param_.minimum + share * (param_.maximum - param_.minimum)), param_.minimum,
                      param_.maximum);
}

double LParamControl::Rounded(double value) const {
    if (param_.type != LParamType::kDouble) return std::round(value);
    const double fine = std::pow(10, number_->decimals());
    return std::round(value * fine) / fine;
}

int LParamControl::ToSlider(double value) const {
    const double inside = std::clamp(value, param_.minimum, param_.maximum);
    const double range = param_.maximum - param_.minimum;
    const double share = logarithmic_
                             ? std::log(inside / param_.minimum) / std::log(param_.maximum / param_.minimum)
                         : range > 0 ? (inside - param_.minimum) / range
                                     : 0;
    return static_cast<int>(std::lround(share * slider_->maximum()));
}

void LParamControl::SetValue(double value) {
    value_ = value;
    Show();
}

void LParamControl::Take(double value) {
    if (showing_ || value == value_) return;
    value_ = value;
    Show();
    Q_EMIT Changed(value_);
}

void LParamControl::Show() {
    const QScopedValueRollback<bool> guard(showing_, true);
    if (box_) box_->setChecked(value_ != 0);
    if (combo_) combo_->setCurrentIndex(static_cast<int>(value_));
    if (slider_) slider_->setValue(ToSlider(value_));
    // What is being typed is left as it stands.
    if (db_ && db_->Level() != value_)
        db_->SetLevel(value_);
    else if (number_ && !db_ && number_->value() != value_)
        number_->setValue(value_);
}

QList<LParamControl*> AddParamControls(QFormLayout& form, LEffect& effect, QWidget* owner,
                                       const std::function<void()>& changed) {
    QList<LParamControl*> controls;
    LEffectParam param;
    for (int i = 0; i < effect.GetParameterCount(); ++i) {
        if (!effect.GetParameterInfo(i, param)) continue;
        auto* control = new LParamControl(param, owner);
        QObject::connect(control, &LParamControl::Changed, owner, [&effect, i, changed](double value) {
            effect.SetParameter(i, value);
            changed();
        });
        if (control->IsSwitch()) {
            form.addRow(QString(), control);
        } else {
            auto* label = new QLabel(param.name + QLatin1Char(':'), owner);
            label->setBuddy(control->Field());
            form.addRow(label, control);
        }
        controls.append(control);
    }
    return controls;
}

}  // namespace ondarix
