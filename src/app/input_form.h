// SPDX-License-Identifier: GPL-3.0-or-later
// A small modal question: labelled controls above OK and Cancel. [ui]
#pragma once
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <functional>

#include "app/time_input.h"

namespace ondarix {

// Every control is added under a label, whose mnemonic leads to it and whose text is its accessible name;
// `name` is its object name.
class LInputForm {
  public:
    LInputForm(QWidget* owner, const QString& name, const QString& title);

    QDialog& Dialog() { return dialog_; }
    QLabel* Note(const QString& text);
    QLineEdit* Text(const QString& label, const QString& name, const QString& value);
    LTimeEdit* Time(const QString& label, const QString& name, int32_t sampleRate, int64_t least,
                    int64_t most);
    QSpinBox* Number(const QString& label, const QString& name, int least, int most, int value,
                     const QString& suffix = {});
    QDoubleSpinBox* Decimal(const QString& label, const QString& name, double least, double most,
                            double value, const QString& suffix);
    QComboBox* Choice(const QString& label, const QString& name, const QStringList& items, int chosen);
    QCheckBox* Switch(const QString& text, const QString& name, bool on);
    // Anything else; `control` gets the accessible name where it is not the row itself.
    void Row(const QString& label, const QString& name, QWidget* row, QWidget* control = nullptr);

    // Asked when the answer is given: what is wrong with it, shown in the dialog, which stays; empty: taken.
    std::function<QString()> refuse;
    // True when the user agreed.
    bool Run();

  private:
    void Accept();

    QDialog dialog_;
    QFormLayout* form_;
    QLabel* refusal_;
    QWidget* first_ = nullptr;  // of the controls
    std::vector<LTimeEdit*> times_;
};

}  // namespace ondarix
