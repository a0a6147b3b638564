// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/wave_view.h"

#include <QEvent>
#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "app/start_trace.h"
#include "app/theme.h"

namespace ondarix {
namespace {

constexpr double kDotsFromPixels = 5;  // a sample's width from which it is drawn as a dot

// Rows of one strip in pixels of the screen.
struct LRows {
    double middle, perUnit, top, bottom;
    double Of(double value) const { return std::clamp(middle - value * perUnit, top, bottom); }
};

QLinearGradient BodyGradient(const LRows& rows, const QColor& outer, const QColor& core) {
    QLinearGradient gradient(0, rows.top, 0, rows.bottom);
    gradient.setColorAt(0.15, outer);
    gradient.setColorAt(0.5, core);
    gradient.setColorAt(0.85, outer);
    return gradient;
}

}  // namespace

LWaveView::LWaveView(LSoundDocumentRef document, LViewRange* range, LWaveColumns& columns, QWidget* parent)
    : QWidget(parent), document_(std::move(document)), range_(range), columns_(columns) {
    setObjectName(QStringLiteral("waveView"));
    setAccessibleName(QStringLiteral("Waveform"));
    setAccessibleDescription(
        QStringLiteral("Drag to select; arrow keys move the cursor, with Shift they extend the selection"));
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setCursor(Qt::IBeamCursor);
    setMinimumSize(80, 40);
    anchor_ = document_->selectionStart;
    cursor_ = document_->selectionEnd;
    connect(range_, &LViewRange::Changed, this, QOverload<>::of(&QWidget::update));
    scrollTimer_.setInterval(30);
    connect(&scrollTimer_, &QTimer::timeout, this, &LWaveView::ScrollWhileDragging);
}

void LWaveView::SoundChanged() {
    drawnStart_ = -1;
    update();
}

void LWaveView::SetVerticalZoom(double zoom) {
    verticalZoom_ = std::clamp(zoom, 1.0, 1000.0);
    update();
    Q_EMIT LevelsChanged();
}

void LWaveView::SetShowsDb(bool on) {
    showsDb_ = on;
    update();
    Q_EMIT LevelsChanged();
}

// Only what lies between two frames looks different now.
void LWaveView::UpdateBetween(int64_t one, int64_t other) {
    const double a = range_->XOf(std::min(one, other), width()),
                 b = range_->XOf(std::max(one, other), width());
    const int from = static_cast<int>(std::clamp<double>(a, -10, width() + 10)) - 4;
    const int to = static_cast<int>(std::clamp<double>(b, -10, width() + 10)) + 5;
    update(from, 0, to - from, height());
}

void LWaveView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) update();
    QWidget::changeEvent(event);
}

// From here on single samples are drawn, joined by lines.
bool LWaveView::ShowsSamples() const {
    return static_cast<double>(range_->Frames()) < width() * devicePixelRatioF();
}

void LWaveView::UpdateColumns(int columns) {
    if (drawnStart_ == range_->Start() && drawnFrames_ == range_->Frames() && drawnColumns_ == columns)
        return;
    drawnStart_ = range_->Start();
    drawnFrames_ = range_->Frames();
    drawnColumns_ = columns;
    // Samples: one more on both sides, for the lines that leave the view.
    drawn_ = ShowsSamples() ? columns_.Compute(document_->sound, drawnStart_ - 1, drawnFrames_ + 2,
                                               static_cast<int>(drawnFrames_) + 2)
                            : columns_.Compute(document_->sound, drawnStart_, drawnFrames_, columns);
}

void LWaveView::paintEvent(QPaintEvent* event) {
    UpdateColumns(static_cast<int>(std::lround(width() * devicePixelRatioF())));
    const LWaveColours& colours = WaveColours();
    QPainter painter(this);
    painter.fillRect(rect(), colours.gap);
    for (int channel = 0; channel < document_->sound.channels; ++channel)
        PaintStrip(painter, channel, event->rect());
    const double x = std::floor(range_->XOf(cursor_, width()));
    if (x >= -1 && x <= width())
        painter.fillRect(QRectF(std::min(x, width() - 1.0), 0, 1, height()), colours.cursor);
    TraceStart("waveform");
    if (hasFocus()) {
        QColor ring = colours.selectedWave;
        ring.setAlpha(110);
        painter.setPen(ring);
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
    }
}

void LWaveView::PaintStrip(QPainter& painter, int channel, const QRect& dirty) {
    const LWaveColours& colours = WaveColours();
    const LStrip strip = StripOf(channel, document_->sound.channels, height());
    const QRectF area(0, strip.top, std::min<double>(width(), range_->XOf(range_->Total(), width())),
                      strip.height);
    painter.fillRect(area, colours.background);
    painter.setPen(colours.grid);
    for (const LLevelMark& mark : LevelMarks(strip, verticalZoom_, showsDb_))
        for (const double sign : {-1.0, 1.0}) {
            const double row = strip.Middle() + sign * mark.level * strip.HalfSpan() * verticalZoom_;
            painter.drawLine(QLineF(0, row, area.right(), row));
        }
    const LSelection& selection = document_->EditRange();
    if (!selection.IsEmpty()) {
        const double from = std::clamp(range_->XOf(selection.start, width()), 0.0, area.right());
        const double to = std::clamp(range_->XOf(selection.end, width()), 0.0, area.right());
        painter.fillRect(QRectF(from, strip.top, to - from, strip.height), colours.selection);
    }
    painter.setPen(colours.centre);
    painter.drawLine(QLineF(0, strip.Middle(), area.right(), strip.Middle()));
    if (ShowsSamples())
        PaintSamples(painter, channel, strip);
    else
        PaintBars(painter, channel, strip, dirty);
}

void LWaveView::PaintBars(QPainter& painter, int channel, const LStrip& strip, const QRect& dirty) {
    const qreal ratio = devicePixelRatioF();
    const auto channels = static_cast<size_t>(document_->sound.channels);
    const size_t count = drawn_.size() / channels;
    const LRows rows{strip.Middle() * ratio, strip.HalfSpan() * verticalZoom_ * ratio, strip.top * ratio,
                     (strip.top + strip.height) * ratio};
    const LSelection& selection = document_->EditRange();
    const bool fromSamples = range_->Frames() < static_cast<int64_t>(count) * kPeakBlockFrames;
    const int selectedFrom = static_cast<int>(std::floor(range_->XOf(selection.start, width()) * ratio));
    const int selectedTo = static_cast<int>(std::ceil(range_->XOf(selection.end, width()) * ratio));
    QVector<QRectF> plain, selected, clipped;
    const auto first = static_cast<size_t>(std::max(0.0, (dirty.left() - 2) * ratio));
    const size_t end = std::min(count, static_cast<size_t>((dirty.right() + 3) * ratio));
    plain.reserve(static_cast<qsizetype>(count));
    const LWaveColumn* before = nullptr;
    for (size_t i = first; i < end; ++i) {
        const LWaveColumn& column = drawn_[i * channels + static_cast<size_t>(channel)];
        float high = column.top, low = column.bottom;
        if (fromSamples && before) {  // touch the neighbour, as the signal does
            high = std::max(high, before->bottom);
            low = std::min(low, before->top);
        }
        before = &column;
        const int x = static_cast<int>(i);
        const double from = std::floor(rows.Of(high)), to = std::ceil(rows.Of(low));
        auto& list = !selection.IsEmpty() && x >= selectedFrom && x < selectedTo ? selected : plain;
        list.push_back(QRectF(x, from, 1, std::max(1.0, to - from)));
        if (column.top > 1) clipped.push_back(QRectF(x, std::floor(rows.Of(1)), 1, 3 * ratio));
        if (column.bottom < -1)
            clipped.push_back(QRectF(x, std::ceil(rows.Of(-1)) - 3 * ratio, 1, 3 * ratio));
    }
    const LWaveColours& colours = WaveColours();
    painter.save();
    painter.scale(1 / ratio, 1 / ratio);
    painter.setPen(Qt::NoPen);
    painter.setBrush(BodyGradient(rows, colours.wave, colours.waveCore));
    painter.drawRects(plain);
    painter.setBrush(BodyGradient(rows, colours.selectedWave, colours.selectedCore));
    painter.drawRects(selected);
    painter.setBrush(colours.clip);
    painter.drawRects(clipped);
    painter.restore();
}

void LWaveView::PaintSamples(QPainter& painter, int channel, const LStrip& strip) {
    const auto channels = static_cast<size_t>(document_->sound.channels);
    const LRows rows{strip.Middle(), strip.HalfSpan() * verticalZoom_, strip.top, strip.top + strip.height};
    const LWaveColours& colours = WaveColours();
    const double pixels = width() / static_cast<double>(range_->Frames());
    QPolygonF line;
    for (size_t i = 0; i < drawn_.size() / channels; ++i) {
        const int64_t frame = drawnStart_ - 1 + static_cast<int64_t>(i);
        if (frame < 0 || frame >= range_->Total()) continue;
        // A sample stands in the middle of its frame, between the two borders that can be selected.
        const float value = drawn_[i * channels + static_cast<size_t>(channel)].top;
        line.push_back({range_->XOf(frame, width()) + pixels / 2, rows.Of(value)});
    }
    painter.save();
    painter.setClipRect(QRectF(0, strip.top, width(), strip.height));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colours.waveCore, 1.4));
    painter.drawPolyline(line);
    if (pixels >= kDotsFromPixels) {
        const double radius = std::min(3.5, 1.2 + pixels / 12);
        painter.setPen(Qt::NoPen);
        for (qsizetype i = 0; i < line.size(); ++i) {
            const int64_t frame = range_->FrameAt(line[i].x() - pixels / 2, width());
            const LSelection& selection = document_->EditRange();
            const bool inside = frame >= selection.start && frame < selection.end;
            painter.setBrush(inside ? colours.selectedCore : colours.wave);
            painter.drawEllipse(line[i], radius, radius);
        }
    }
    painter.restore();
}

}  // namespace ondarix
