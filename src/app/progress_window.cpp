// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/progress_window.h"

#include <QCloseEvent>
#include <QGridLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <algorithm>
#include <cmath>

namespace ondarix {

QString RemainingTimeText(double fraction, int64_t elapsedMs) {
    const int percent = static_cast<int>(fraction * 100);
    if (!(fraction > 0)) return QString::asprintf("%d%% Complete", percent);
    constexpr double kMaxSeconds = 99 * 3600 + 59 * 60 + 59;
    const double left = static_cast<double>(elapsedMs) / 1000 * (1 - fraction) / fraction;
    const int seconds = static_cast<int>(std::min(std::round(left), kMaxSeconds));
    return QString::asprintf("%d%% Complete, Estimated Time Remaining: %.2d:%.2d:%.2d", percent,
                             seconds / 3600, seconds / 60 % 60, seconds % 60);
}

LProgressWindow::LProgressWindow(QWidget* owner, const QString& title, std::function<void()> cancel)
    : QDialog(owner, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint), cancel_(std::move(cancel)) {
    setObjectName(QStringLiteral("LProgressWindow"));
    setWindowTitle(title);
    setWindowModality(owner ? Qt::WindowModal : Qt::ApplicationModal);
    auto* layout = new QGridLayout(this);
    for (int line = 0; line < 2; ++line) {
        status_[line] = new QLabel(this);
        status_[line]->setTextFormat(Qt::PlainText);
        layout->addWidget(status_[line], line, 0, 1, 2);
    }
    bar_ = new QProgressBar(this);
    bar_->setRange(0, 100);
    bar_->setValue(0);
    bar_->setTextVisible(false);
    layout->addWidget(bar_, 2, 0, 1, 2);
    remaining_ = new QLabel(this);
    layout->addWidget(remaining_, 3, 0, 1, 2);
    auto* etched = new QFrame(this);
    etched->setFrameStyle(QFrame::HLine | QFrame::Sunken);
    layout->addWidget(etched, 4, 0, 1, 2);
    auto* button = new QPushButton(QStringLiteral("Cancel"), this);
    connect(button, &QPushButton::clicked, this, &LProgressWindow::reject);
    layout->addWidget(button, 5, 1);
    layout->setColumnStretch(0, 1);
    setMinimumWidth(420);
}

void LProgressWindow::SetStatus(const QString& text, int line) {
    if (status_[line]->text() != text) status_[line]->setText(text);
}

void LProgressWindow::SetPercent(int percent) { bar_->setValue(percent); }

void LProgressWindow::SetIndeterminate(bool on) {
    bar_->setRange(0, on ? 0 : 100);
    if (on) remaining_->clear();
}

void LProgressWindow::SetError() {
    QPalette red = bar_->palette();
    red.setColor(QPalette::Highlight, QColor(0xC0, 0x30, 0x30));
    bar_->setPalette(red);
}

void LProgressWindow::SetRemaining(const QString& text) { remaining_->setText(text); }

// The window stays until the job has noticed.
void LProgressWindow::reject() { cancel_(); }

void LProgressWindow::closeEvent(QCloseEvent* event) {
    event->ignore();
    cancel_();
}

}  // namespace ondarix
