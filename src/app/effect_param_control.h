// SPDX-License-Identifier: GPL-3.0-or-later
// Controls for the parameters of effects: a slider with a number field and its unit, a level in dB, a switch
// or a list. [ui]
#pragma once
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QSlider>
#include <QWidget>

#include <functional>

#include "effects/effect.h"

namespace ondarix {

// A level in dB. Where silence is allowed "-inf" stands below the least level, and Value() answers
// kMinusInfinityDb for it.
class LDBEdit final : public QDoubleSpinBox {
    Q_OBJECT
  public:
    LDBEdit(double least, double most, int decimals, bool mayBeSilent, QWidget* parent = nullptr);
    double Level() const;
    void SetLevel(double db);

  protected:
    QString textFromValue(double value) const override;
    double valueFromText(const QString& text) const override;
    QValidator::State validate(QString& text, int& position) const override;

  private:
    double silent_ = 0;  // the value of the field that stands for silence
    bool mayBeSilent_;
};

// One parameter as `param` describes it. Its object name is the parameter's id, that of the slider
// "ID-slider".
class LParamControl final : public QWidget {
    Q_OBJECT
  public:
    explicit LParamControl(const LEffectParam& param, QWidget* parent = nullptr);

    double Value() const { return value_; }
    void SetValue(double value);  // says nothing
    const LEffectParam& Param() const { return param_; }
    QWidget* Field() const { return field_; }          // what the label leads to
    bool IsSwitch() const { return box_ != nullptr; }  // has its own text

  Q_SIGNALS:
    void Changed(double value);  // by the user

  private:
    void BuildNumber();
    void Take(double value);
    void Show();
    double OfSlider(int place) const;
    double Rounded(double value) const;  // to what the field shows
    int ToSlider(double value) const;

    LEffectParam param_;
    double value_;
    bool logarithmic_ = false;
    bool showing_ = false;
    QWidget* field_ = nullptr;
    QCheckBox* box_ = nullptr;
    QComboBox* combo_ = nullptr;
    QSlider* slider_ = nullptr;
    QDoubleSpinBox* number_ = nullptr;
    LDBEdit* db_ = nullptr;
};

// A control for each parameter of `effect` as rows of a form; what the user changes is put into the effect,
// then `changed` is called. `effect` outlives them.
QList<LParamControl*> AddParamControls(QFormLayout& form, LEffect& effect, QWidget* owner,
                                       const std::function<void()>& changed);

}  // namespace ondarix
