// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/time_ruler.h"

#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "app/theme.h"
#include "app/time_text.h"

namespace ondarix {

LTimeRuler::LTimeRuler(LSoundDocumentRef document, LViewRange* range, QWidget* parent)
    : QWidget(parent), document_(std::move(document)), range_(range) {
    setObjectName(QStringLiteral("timeRuler"));
    setAccessibleName(QStringLiteral("Time scale"));
    setAccessibleDescription(QStringLiteral("Times of the part of the sound in view"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(range_, &LViewRange::Changed, this, QOverload<>::of(&QWidget::update));
}

void LTimeRuler::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.fillRect(rect(), WaveColours().rulerBackground);
    PaintSelection(painter);
    PaintTicks(painter, event->rect());
    painter.setPen(WaveColours().rulerTick);
    painter.drawLine(0, height() - 1, width(), height() - 1);
    PaintPlayed(painter);
}

void LTimeRuler::PaintSelection(QPainter& painter) {
    const LWaveColours& colours = WaveColours();
    const LSelection& selection = document_->EditRange();
    const double from = range_->XOf(selection.start, width()), to = range_->XOf(selection.end, width());
    if (selection.IsEmpty()) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(colours.cursor);
        const double bottom = height() - 1;
        painter.drawPolygon(QPolygonF({{from - 5, bottom - 7}, {from + 5, bottom - 7}, {from, bottom}}));
        painter.setRenderHint(QPainter::Antialiasing, false);
        return;
    }
    painter.fillRect(QRectF(from, height() - 6, to - from, 5), colours.selectedWave);
}

void LTimeRuler::SetPlayed(int64_t frame) {
    const auto place = [this](int64_t at) {
        return at < 0 ? -1000 : std::clamp(static_cast<int>(range_->XOf(at, width())), -1000, width() + 1000);
    };
    const int before = place(played_), now = place(frame);
    played_ = frame;
    if (before == now) return;
    for (const int x : {before, now}) update(x - 6, height() - 9, 13, 9);
}

void LTimeRuler::PaintPlayed(QPainter& painter) {
    if (played_ < 0) return;
    const double x = std::floor(range_->XOf(played_, width())) + 1, bottom = height() - 1;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(WaveColours().played);
    painter.drawPolygon(QPolygonF({{x - 5, bottom - 7}, {x + 5, bottom - 7}, {x, bottom}}));
}

void LTimeRuler::PaintTicks(QPainter& painter, const QRect& dirty) {
    const LWaveColours& colours = WaveColours();
    const double rate = std::max(1, document_->sound.sampleRate);
    const double secondsPerPixel = static_cast<double>(range_->Frames()) / rate / std::max(1, width());
    QFont small = font();
    small.setPointSizeF(std::max(7.0, small.pointSizeF() - 1));
    painter.setFont(small);
    const double widest = painter.fontMetrics().horizontalAdvance(QStringLiteral("0:00:00.000000")) + 24;
    const double least = painter.fontMetrics().horizontalAdvance(QStringLiteral("0:00:00")) + 28;
    LTimeStep step = TimeStepFor(least * secondsPerPixel);
    if (step.perSecond > 1)
        step = TimeStepFor((step.perSecond > 1000 ? widest : least + 14) * secondsPerPixel);
    const double first = static_cast<double>(range_->Start()) / rate;
    const auto begin = static_cast<int64_t>(std::floor(first / step.Seconds()));
    const double pixels = step.Seconds() / secondsPerPixel;
    for (int64_t n = begin; n <= begin + 4000; ++n) {
        const double x = (static_cast<double>(n) * step.Seconds() - first) / secondsPerPixel;
        if (x > dirty.right() + 1) break;
        if (x + pixels < dirty.left()) continue;  // its label, too, ends before the next tick
        painter.setPen(colours.rulerTick);
        painter.drawLine(QLineF(x, height() - 10, x, height() - 1));
        for (int part = 1; part < step.minorParts; ++part) {
            const double minor = x + pixels * part / step.minorParts;
            painter.drawLine(QLineF(minor, height() - 5, minor, height() - 1));
        }
        painter.setPen(colours.rulerText);
        painter.drawText(QPointF(x + 4, height() - 11), TimeStepLabel(step, n));
    }
}

}  // namespace ondarix
