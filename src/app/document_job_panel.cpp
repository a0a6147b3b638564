// SPDX-License-Identifier: GPL-3.0-or-later
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include "app/document_job.h"

namespace ondarix {
namespace {

QLabel* JobLabel(const char* name, QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setObjectName(QLatin1String(name));
    label->setTextFormat(Qt::PlainText);
    return label;
}

void ShowText(QLabel* label, const QString& text) {
    if (label->text() != text) label->setText(text);
}

}  // namespace

LDocumentJobPanel::LDocumentJobPanel(const QString& title, const QString& documentTitle, QWidget* parent)
    : QWidget(parent) {
    setObjectName(QStringLiteral("jobPanel"));
    setAccessibleName(QStringLiteral("%1 of \"%2\"").arg(title, documentTitle));
    title_ = JobLabel("jobTitle", this);
    QFont bold = title_->font();
    bold.setBold(true);
    title_->setFont(bold);
    title_->setText(title);
    status_[0] = JobLabel("jobStatus", this);
    status_[1] = JobLabel("jobStep", this);
    remaining_ = JobLabel("jobRemaining", this);
    bar_ = new QProgressBar(this);
    bar_->setObjectName(QStringLiteral("jobBar"));
    bar_->setAccessibleName(QStringLiteral("Progress of %1").arg(title));
    bar_->setRange(0, 100);
    bar_->setTextVisible(false);
    bar_->setMaximumHeight(fontMetrics().height());
    cancel_ = new QPushButton(QStringLiteral("Cancel"), this);
    cancel_->setObjectName(QStringLiteral("jobCancel"));
    cancel_->setAccessibleName(QStringLiteral("Cancel %1").arg(title));
    cancel_->setToolTip(QStringLiteral("Stop, and leave the sound as it is (Esc)"));
    connect(cancel_, &QPushButton::clicked, this, &LDocumentJobPanel::Cancelled);
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(8, 4, 8, 4);
    grid->setVerticalSpacing(2);
    grid->addWidget(title_, 0, 0);
    grid->addWidget(status_[0], 0, 1);
    grid->addWidget(status_[1], 0, 2);
    grid->addWidget(bar_, 1, 0, 1, 3);
    grid->addWidget(remaining_, 2, 0, 1, 3);
    grid->addWidget(cancel_, 0, 3, 3, 1, Qt::AlignVCenter);
    grid->setColumnStretch(2, 1);
}

void LDocumentJobPanel::SetStatus(const QString& text, int line) { ShowText(status_[line], text); }

void LDocumentJobPanel::SetPercent(int percent) { bar_->setValue(percent); }

void LDocumentJobPanel::SetIndeterminate(bool on) {
    bar_->setMaximum(on ? 0 : 100);
    if (on) remaining_->clear();
}

void LDocumentJobPanel::SetRemaining(const QString& text) { ShowText(remaining_, text); }

void LDocumentJobPanel::SetCancelling() {
    cancel_->setEnabled(false);
    cancel_->setText(QStringLiteral("Stopping..."));
}

void LDocumentJobPanel::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Escape) return QWidget::keyPressEvent(event);
    if (cancel_->isEnabled()) Q_EMIT Cancelled();
}

}  // namespace ondarix
