// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/clip_indicator.h"

#include <QKeyEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>

#include "app/theme.h"

namespace ondarix {
namespace {

const QString kGood = QStringLiteral("Peak limiter: The audio output level is good");
const QString kExceeded = QStringLiteral(
    "Peak limiter: The audio output level has exceeded its peak and has been clipped. Click to reset "
    "warning.");
constexpr double kLampRadius = 5;

}  // namespace

LClipIndicator::LClipIndicator(QWidget* parent) : QAbstractButton(parent) {
    setObjectName(QStringLiteral("clipIndicator"));
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(QStringLiteral("Peak limiter"));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    ShowState();
}

void LClipIndicator::SetClipped(bool on) {
    if (on == clipped_) return;
    clipped_ = on;
    ShowState();
    update();
}

void LClipIndicator::ShowState() {
    setToolTip(clipped_ ? kExceeded : kGood);
    setAccessibleDescription(toolTip());
}

// Space presses a button that has the focus, although it is a command's key.
bool LClipIndicator::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Space) {
        event->accept();
        return true;
    }
    return QAbstractButton::event(event);
}

// The mark in the lamp tells apart what colours may not.
void LClipIndicator::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPointF middle = QRectF(rect()).center();
    const QColor good = IsDarkTheme() ? QColor(0x3d, 0xbb, 0x85) : QColor(0x2a, 0x9d, 0x6f);
    painter.setPen(Qt::NoPen);
    painter.setBrush(clipped_ ? WaveColours().clip : good);
    painter.drawEllipse(middle, kLampRadius, kLampRadius);
    if (clipped_) {
        painter.setPen(QPen(Qt::white, 1.6, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(middle + QPointF(0, -2.8), middle + QPointF(0, 0.4));
        painter.drawPoint(middle + QPointF(0, 2.8));
    }
    if (!hasFocus()) return;
    QStyleOptionFocusRect focus;
    focus.initFrom(this);
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
}

}  // namespace ondarix
