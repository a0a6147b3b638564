// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/time_display.h"

#include <QEvent>
#include <QPainter>
#include <algorithm>

#include "app/time_text.h"

namespace ondarix {
namespace {

constexpr double kLargeFont = 1.5;
constexpr int kTimeGap = 6, kTimeMargin = 4;
const QString kWidestTime = QStringLiteral("0:00:00.000");

}  // namespace

LTimeDisplay::LTimeDisplay(QWidget* parent) : QWidget(parent) {
    InstallSpokenValues();
    setObjectName(QStringLiteral("playTime"));
    setAccessibleName(QStringLiteral("Play position"));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    Show(0, 0, 0);
}

void LTimeDisplay::Show(int64_t position, int64_t length, int32_t rate) {
    const QString now = rate > 0 ? TimeText(position, rate) : QString();
    const QString total = rate > 0 ? QStringLiteral("/ ") + TimeText(length, rate) : QString();
    if (now == position_ && total == length_) return;
    const bool otherSize = now.size() != position_.size() || total.size() != length_.size();
    position_ = now;
    length_ = total;
    if (otherSize) updateGeometry();
    update();
}

void LTimeDisplay::SetLengthShown(bool on) {
    if (on == lengthShown_) return;
    lengthShown_ = on;
    updateGeometry();
    update();
}

QString LTimeDisplay::SpokenValue() const {
    return position_.isEmpty() ? QStringLiteral("no sound")
                               : QStringLiteral("%1 of %2").arg(position_, length_.mid(2));
}

QFont LTimeDisplay::Large() const {
    QFont large = font();
    large.setPointSizeF(large.pointSizeF() * kLargeFont);
    return large;
}

int LTimeDisplay::LargeWidth() const {
    const QFontMetrics metrics(Large());
    int width = metrics.horizontalAdvance(kWidestTime);
    for (const QString& time : {position_, length_.mid(2)})
        if (time.size() > kWidestTime.size()) width = std::max(width, metrics.horizontalAdvance(time));
    return width;
}

QSize LTimeDisplay::sizeHint() const {
    const int small = std::max(fontMetrics().horizontalAdvance(QStringLiteral("/ ") + kWidestTime),
                               fontMetrics().horizontalAdvance(length_));
    return {LargeWidth() + 2 * kTimeMargin + (lengthShown_ ? kTimeGap + small : 0),
            QFontMetrics(Large()).height() + 4};
}

void LTimeDisplay::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QFont large = Large();
    const QFontMetrics metrics(large);
    const int base = (height() + metrics.ascent() - metrics.descent()) / 2;
    const int right = kTimeMargin + LargeWidth();
    painter.setFont(large);
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(right - metrics.horizontalAdvance(position_), base, position_);
    if (!lengthShown_) return;
    painter.setFont(font());
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(right + kTimeGap, base, length_);
}

void LTimeDisplay::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange) updateGeometry();
    QWidget::changeEvent(event);
}

}  // namespace ondarix
