// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/input_form.h"

#include <QAccessible>
#include <QPushButton>
#include <QVBoxLayout>

#include "gen/text.h"

namespace ondarix {

LInputForm::LInputForm(QWidget* owner, const QString& name, const QString& title) : dialog_(owner) {
    dialog_.setObjectName(name);
    dialog_.setWindowTitle(title);
    dialog_.setMinimumWidth(360);
    form_ = new QFormLayout;
    form_->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    refusal_ = new QLabel(&dialog_);
    refusal_->setObjectName(QStringLiteral("refusal"));
    refusal_->setWordWrap(true);
    refusal_->setTextFormat(Qt::PlainText);
    refusal_->hide();
    QFont bold = refusal_->font();
    bold.setBold(true);
    refusal_->setFont(bold);
    auto* layout = new QVBoxLayout(&dialog_);
    layout->setSpacing(10);
    layout->addLayout(form_, 1);
    layout->addWidget(refusal_);
}

void LInputForm::Row(const QString& label, const QString& name, QWidget* row, QWidget* control) {
    QWidget* named = control ? control : row;
    named->setObjectName(name);
    if (!first_) first_ = named;
    auto* text = new QLabel(label, &dialog_);
    text->setBuddy(named);
    form_->addRow(text, row);
    QString spoken = label;
    spoken.remove(u'&');
    if (spoken.endsWith(u':')) spoken.chop(1);
    named->setAccessibleName(spoken);
}

QLabel* LInputForm::Note(const QString& text) {
    auto* note = new QLabel(text, &dialog_);
    note->setTextFormat(Qt::PlainText);
    note->setWordWrap(true);
    form_->addRow(note);
    return note;
}

QLineEdit* LInputForm::Text(const QString& label, const QString& name, const QString& value) {
    auto* edit = new QLineEdit(value, &dialog_);
    edit->setMaxLength(kFixedTextLength);
    edit->selectAll();
    Row(label, name, edit);
    return edit;
}

LTimeEdit* LInputForm::Time(const QString& label, const QString& name, int32_t sampleRate, int64_t least,
                            int64_t most) {
    auto* edit = new LTimeEdit(sampleRate, least, most, &dialog_);
    Row(label, name, edit);
    times_.push_back(edit);
    return edit;
}

QSpinBox* LInputForm::Number(const QString& label, const QString& name, int least, int most, int value,
                             const QString& suffix) {
    auto* spin = new QSpinBox(&dialog_);
    spin->setRange(least, most);
    spin->setValue(value);
    spin->setSuffix(suffix);
    spin->selectAll();
    Row(label, name, spin);
    return spin;
}

QDoubleSpinBox* LInputForm::Decimal(const QString& label, const QString& name, double least, double most,
                                    double value, const QString& suffix) {
    auto* spin = new QDoubleSpinBox(&dialog_);
    spin->setRange(least, most);
    spin->setDecimals(1);
    spin->setValue(value);
    spin->setSuffix(suffix);
    Row(label, name, spin);
    return spin;
}

QComboBox* LInputForm::Choice(const QString& label, const QString& name, const QStringList& items,
                              int chosen) {
    auto* combo = new QComboBox(&dialog_);
    combo->addItems(items);
    combo->setCurrentIndex(std::clamp(chosen, 0, std::max(0, combo->count() - 1)));
    Row(label, name, combo);
    return combo;
}

QCheckBox* LInputForm::Switch(const QString& text, const QString& name, bool on) {
    auto* box = new QCheckBox(text, &dialog_);
    box->setObjectName(name);
    box->setChecked(on);
    if (!first_) first_ = box;
    form_->addRow(QString(), box);
    return box;
}

void LInputForm::Accept() {
    QString reason;
    for (LTimeEdit* edit : times_) {
        if (!edit->isEnabled() || !reason.isEmpty()) continue;
        reason = edit->Refusal();
        if (reason.isEmpty()) continue;
        edit->setFocus();
        edit->selectAll();
    }
    if (reason.isEmpty() && refuse) reason = refuse();
    if (reason.isEmpty()) return dialog_.accept();
    refusal_->setText(reason);
    refusal_->show();
    QAccessibleEvent alert(refusal_, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

// The buttons come last: the order in which controls are made is that of the Tab key.
bool LInputForm::Run() {
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog_);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog_, [this] { Accept(); });
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog_, &QDialog::reject);
    buttons->button(QDialogButtonBox::Ok)->setDefault(true);
    dialog_.layout()->addWidget(buttons);
    if (first_) first_->setFocus(Qt::TabFocusReason);
    return dialog_.exec() == QDialog::Accepted;
}

}  // namespace ondarix
