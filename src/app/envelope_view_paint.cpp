// SPDX-License-Identifier: GPL-3.0-or-later
// How the wave and the curve over it are painted: bars and curve at the resolution of the screen.
#include <QEvent>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include "app/envelope_view.h"
#include "app/theme.h"
#include "app/time_text.h"

namespace ondarix {
namespace {

constexpr double kPointRadius = 4.5, kChosenRadius = 6;
constexpr double kDimmed = 0.30;   // the wave as it is
constexpr double kLabelRoom = 90;  // pixels between two labels of time
constexpr double kOutline = 2.2, kHalo = 5;

struct LGainMark {
    double gain;
    QString text;
};

std::vector<LGainMark> GainMarks(double top, bool inDb) {
    std::vector<LGainMark> marks;
    if (!inDb) {
        for (int i = 0; i <= 4; ++i) {
            const double gain = top * i / 4;
            marks.push_back({gain, QStringLiteral("%1 %").arg(std::lround(gain * 100))});
        }
        return marks;
    }
    for (const int db : {40, 20, 6, 0, -6, -12, -20, -30, -40, -50})
        if (std::pow(10, db / 20.0) <= top * 1.001)
            marks.push_back({std::pow(10, db / 20.0), QStringLiteral("%1 dB").arg(db)});
    marks.push_back({0, QStringLiteral("-inf")});
    return marks;
}

}  // namespace

// --- The wave

void LEnvelopeView::AskColumns() {
    columnCount_ = std::max(1, static_cast<int>(std::lround(Plot().width() * devicePixelRatioF())));
    columns_.assign(static_cast<size_t>(columnCount_), {});
    worker_->Ask(0, {0, curve_.Length(), columnCount_}, 0, columnCount_);
    UpdateGains();
}

void LEnvelopeView::TakeColumns() {
    for (const LColumnBatch& batch : worker_->Fetch(0)) {
        if (batch.sound != sound_ || batch.grid.columns != columnCount_) continue;
        for (int i = 0; i < batch.Count(); ++i) {
            const int64_t column = batch.first + i;
            if (column < 0 || column >= columnCount_) continue;
            LWaveColumn all;
            for (int c = 0; c < batch.channels; ++c) {
                const LWaveColumn& one =
                    batch.columns[static_cast<size_t>(i) * static_cast<size_t>(batch.channels) +
                                  static_cast<size_t>(c)];
                all.top = c == 0 ? one.top : std::max(all.top, one.top);
                all.bottom = c == 0 ? one.bottom : std::min(all.bottom, one.bottom);
            }
            columns_[static_cast<size_t>(column)] = all;
        }
    }
    update();
}

bool LEnvelopeView::Complete(int ms) {
    const bool done = worker_->Wait(0, ms);
    TakeColumns();
    return done;
}

void LEnvelopeView::UpdateGains() {
    const LColumnGrid grid{0, curve_.Length(), std::max(1, columnCount_)};
    std::vector<int64_t> frames;
    frames.reserve(static_cast<size_t>(std::max(0, columnCount_)));
    for (int i = 0; i < columnCount_; ++i) frames.push_back((grid.Edge(i) + grid.Edge(i + 1)) / 2);
    columnGains_ = curve_.Gains(frames);
    update();
}

void LEnvelopeView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    AskColumns();
}

void LEnvelopeView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) update();
    QWidget::changeEvent(event);
}

void LEnvelopeView::PaintWave(QPainter& painter, const QRectF& plot) {
    const LWaveColours& colours = WaveColours();
    const double middle = plot.center().y(), unit = plot.height() / 2;
    const double step = plot.width() / std::max(1, columnCount_);
    QColor dim = colours.wave;
    dim.setAlphaF(kDimmed);
    painter.setRenderHint(QPainter::Antialiasing, false);
    const auto bar = [&](size_t i, double gain, const QColor& colour) {
        const double top = std::clamp(double{columns_[i].top} * gain, -1.0, 1.0);
        const double bottom = std::clamp(double{columns_[i].bottom} * gain, -1.0, 1.0);
        painter.fillRect(QRectF(plot.left() + static_cast<double>(i) * step, middle - top * unit, step,
                                std::max((top - bottom) * unit, 1 / devicePixelRatioF())),
                         colour);
    };
    for (size_t i = 0; i < columns_.size() && i < columnGains_.size(); ++i) {
        const double gain = double{columnGains_[i]};
        const double loudest = std::max(double{columns_[i].top}, -double{columns_[i].bottom}) * gain;
        bar(i, 1, dim);
        bar(i, gain, loudest > 1 ? colours.clip : colours.wave);
    }
    painter.setPen(QPen(colours.centre, 1));
    painter.drawLine(QPointF(plot.left(), middle), QPointF(plot.right(), middle));
}

// --- The curve

void LEnvelopeView::PaintCurve(QPainter& painter, const QRectF& plot) {
    const LWaveColours& colours = WaveColours();
    const auto& points = curve_.Points();
    QPainterPath path(QPointF(plot.left(), YOf(double{points.front().gain})));
    for (int i = 0; i < curve_.Count(); ++i) {
        const LEnvelopePoint& from = points[static_cast<size_t>(i)];
        path.lineTo(PlaceOf(from));
        if (i + 1 == curve_.Count()) break;
        const LEnvelopePoint& to = points[static_cast<size_t>(i) + 1];
        const int64_t frames = to.frame - from.frame;
        const double pixels =
            (XOf(static_cast<double>(to.frame)) - XOf(static_cast<double>(from.frame))) * devicePixelRatioF();
        const auto steps = std::min<int64_t>(frames, std::lround(std::ceil(pixels)));
        if (steps <= 1) continue;
        const LCurveSegment segment = curve_.Segment(i);
        const LColumnGrid grid{0, frames, static_cast<int>(steps)};
        for (int s = 0; s < steps; ++s) {
            float gain = 1;
            CurveGains(segment, grid.Edge(s), 1, &gain);
            path.lineTo(XOf(static_cast<double>(from.frame + grid.Edge(s))), YOf(double{gain}));
        }
    }
    path.lineTo(plot.right(), YOf(double{points.back().gain}));
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setBrush(Qt::NoBrush);
    QColor halo = colours.background;
    halo.setAlphaF(0.7);
    painter.setPen(QPen(halo, kHalo, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(path);
    painter.setPen(QPen(colours.region, kOutline, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(path);
    for (int i = 0; i < curve_.Count(); ++i) {
        const bool isChosen = i == selected_;
        const double radius = isChosen || i == hovered_ ? kChosenRadius : kPointRadius;
        painter.setBrush(isChosen ? colours.region : colours.background);
        painter.setPen(QPen(isChosen && hasFocus() ? colours.focus : colours.region, isChosen ? 2.5 : 2));
        painter.drawEllipse(PlaceOf(points[static_cast<size_t>(i)]), radius, radius);
    }
}

// Time and level of the chosen point beside it, inside of the plot.
void LEnvelopeView::PaintLabel(QPainter& painter, const QRectF& plot) {
    if (selected_ < 0) return;
    const LWaveColours& colours = WaveColours();
    const LEnvelopePoint& point = curve_.Points()[static_cast<size_t>(selected_)];
    const QString text =
        TimeText(point.frame, sampleRate_) + QStringLiteral("   ") + GainText(point.gain, inDb_);
    const QFontMetricsF metrics(font());
    QRectF box(0, 0, metrics.horizontalAdvance(text) + 14, metrics.height() + 6);
    const QPointF place = PlaceOf(point);
    box.moveTo(place + QPointF(10, -10 - box.height()));
    if (box.right() > plot.right()) box.moveRight(place.x() - 10);
    if (box.top() < plot.top()) box.moveTop(place.y() + 10);
    painter.setRenderHint(QPainter::Antialiasing, true);
    QColor ground = colours.rulerBackground;
    ground.setAlphaF(0.92);
    painter.setPen(QPen(colours.rulerTick, 1));
    painter.setBrush(ground);
    painter.drawRoundedRect(box, 4, 4);
    painter.setPen(colours.regionText);
    painter.drawText(box, Qt::AlignCenter, text);
}

// --- The scales

void LEnvelopeView::PaintScale(QPainter& painter, const QRectF& plot) {
    const LWaveColours& colours = WaveColours();
    const QFontMetricsF metrics(painter.font());
    double last = plot.bottom() + metrics.height() * 2;
    auto marks = GainMarks(top_, inDb_);
    std::sort(marks.begin(), marks.end(), [](const auto& a, const auto& b) { return a.gain < b.gain; });
    for (const LGainMark& mark : marks) {
        const double y = YOf(mark.gain);
        const bool isNeutral = std::abs(mark.gain - 1) < 1e-9;
        painter.setPen(QPen(isNeutral ? colours.rulerTick : colours.grid, 1));
        painter.drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
        if (last - y < metrics.height() && !isNeutral) continue;
        last = y;
        painter.setPen(colours.rulerText);
        painter.drawText(QRectF(0, y - metrics.height() / 2, plot.left() - 6, metrics.height()),
                         Qt::AlignRight | Qt::AlignVCenter, mark.text);
    }
}

void LEnvelopeView::PaintTimes(QPainter& painter, const QRectF& plot) {
    const LWaveColours& colours = WaveColours();
    const double seconds = static_cast<double>(curve_.Length()) / sampleRate_;
    const double perPixel = seconds / std::max(1.0, plot.width());
    const LTimeStep step = TimeStepFor(perPixel * kLabelRoom);
    const QFontMetricsF metrics(painter.font());
    for (int64_t n = 0; static_cast<double>(n) * step.Seconds() <= seconds; ++n) {
        const double x = plot.left() + static_cast<double>(n) * step.Seconds() / perPixel;
        painter.setPen(QPen(colours.rulerTick, 1));
        painter.drawLine(QPointF(x, plot.bottom()), QPointF(x, plot.bottom() + 4));
        const QString text = TimeStepLabel(step, n);
        const double wide = metrics.horizontalAdvance(text);
        const double left = std::clamp(x - wide / 2, plot.left(), plot.right() - wide);
        painter.setPen(colours.rulerText);
        painter.drawText(QPointF(left, plot.bottom() + 5 + metrics.ascent()), text);
    }
}

void LEnvelopeView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const LWaveColours& colours = WaveColours();
    const QRectF plot = Plot();
    painter.fillRect(rect(), colours.rulerBackground);
    painter.fillRect(plot, colours.background);
    QFont small = font();
    small.setPointSizeF(small.pointSizeF() * 0.85);
    painter.save();
    painter.setFont(small);
    PaintScale(painter, plot);
    PaintTimes(painter, plot);
    painter.restore();
    PaintWave(painter, plot);
    if (played_ >= 0) {
        painter.setPen(QPen(colours.played, 1));
        const double x = XOf(static_cast<double>(std::min(played_, curve_.Length())));
        painter.drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom()));
    }
    PaintCurve(painter, plot);
    PaintLabel(painter, plot);
    if (hasFocus()) {
        painter.setBrush(Qt::NoBrush);
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.setPen(QPen(colours.focus, 1));
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
    }
}

}  // namespace ondarix
