// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/window_messages.h"

#include <QApplication>
#include <QCheckBox>
#include <QMessageBox>
#include <QPushButton>

namespace ondarix {

LKeepsWindowActive::LKeepsWindowActive() : window_(QApplication::activeWindow()) {}

LKeepsWindowActive::~LKeepsWindowActive() {
    if (window_ && window_->isVisible()) window_->activateWindow();
}

void LWindowMessages::Tell(const QString& title, const QString& text) {
    const LKeepsWindowActive active;
    QMessageBox box(QMessageBox::Information, title, text, QMessageBox::Ok, parent_);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

int LWindowMessages::Ask(const QString& title, const QString& text, const QStringList& buttons, int safe,
                         const QString& dontAskText, bool* dontAskAgain) {
    const LKeepsWindowActive active;
    QMessageBox box(QMessageBox::Question, title, text, QMessageBox::NoButton, parent_);
    box.setTextFormat(Qt::PlainText);
    QList<QAbstractButton*> choices;
    for (const QString& label : buttons) choices.append(box.addButton(label, QMessageBox::ActionRole));
    if (safe >= 0 && safe < choices.size()) {
        auto* button = static_cast<QPushButton*>(choices[safe]);
        box.setDefaultButton(button);
        box.setEscapeButton(button);
    }
    QCheckBox* dontAsk = nullptr;
    if (dontAskAgain) {
        dontAsk = new QCheckBox(dontAskText, &box);
        box.setCheckBox(dontAsk);
    }
    box.exec();
    if (dontAskAgain) *dontAskAgain = dontAsk->isChecked();
    const auto chosen = choices.indexOf(box.clickedButton());
    return chosen < 0 ? safe : static_cast<int>(chosen);
}

}  // namespace ondarix
