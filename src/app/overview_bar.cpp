// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/overview_bar.h"

#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "app/theme.h"

namespace ondarix {

LOverviewBar::LOverviewBar(LSoundDocumentRef document, LViewRange* range, LWaveColumnsWorker& worker,
                           QWidget* parent)
    : QWidget(parent), document_(std::move(document)), range_(range), worker_(worker) {
    setObjectName(QStringLiteral("overview"));
    setAccessibleName(QStringLiteral("Overview"));
    setAccessibleDescription(QStringLiteral("The whole sound; drag the frame to move the view"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setCursor(Qt::PointingHandCursor);
    connect(range_, &LViewRange::Changed, this, QOverload<>::of(&QWidget::update));
}

void LOverviewBar::SoundChanged(uint64_t number) {
    columns_.SetSound(number);
    askedFrames_ = -1;
    Redraw();
}

void LOverviewBar::Redraw() {
    drawn_ = QPixmap();
    update();
}

void LOverviewBar::resizeEvent(QResizeEvent*) { drawn_ = QPixmap(); }

void LOverviewBar::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) Redraw();
    QWidget::changeEvent(event);
}

void LOverviewBar::TakeColumns() {
    bool other = false;
    for (const LColumnBatch& batch : worker_.Fetch(kWorkerView)) {
        const auto [from, to] = columns_.Take(batch);
        other = other || from != to;
    }
    if (other) Redraw();
}

bool LOverviewBar::Complete(int ms) {
    const int width = std::max(1, (QSizeF(size()) * devicePixelRatioF()).toSize().width());
    const LColumnGrid grid{0, std::max<int64_t>(1, document_->sound.Length()), width};
    columns_.Show(grid, 0, width);
    const auto missing = columns_.Missing();
    if (missing.first == missing.second) return true;
    if (askedFrames_ != grid.frames || askedColumns_ != width) {
        askedFrames_ = grid.frames;
        askedColumns_ = width;
        worker_.Ask(kWorkerView, grid, 0, width);
    }
    if (ms == 0 || !worker_.Wait(kWorkerView, ms)) return false;
    TakeColumns();
    return true;
}

// All channels in one, in pixels of the screen.
void LOverviewBar::DrawSound() {
    const LWaveColours& colours = WaveColours();
    const qreal ratio = devicePixelRatioF();
    drawn_ = QPixmap((QSizeF(size()) * ratio).toSize());
    drawn_.fill(colours.background);
    Complete(0);
    QPainter painter(&drawn_);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colours.wave);
    const double middle = drawn_.height() / 2.0, half = middle - 2 * ratio;
    QVector<QRect> bars;
    for (int x = 0; x < drawn_.width(); ++x) {
        const LWaveColumn* column = columns_.At(x);
        if (!column) continue;
        float top = column->top, bottom = column->bottom;
        for (int c = 1; c < columns_.Channels(); ++c) {
            top = std::max(top, column[c].top);
            bottom = std::min(bottom, column[c].bottom);
        }
        const int from = static_cast<int>(std::floor(middle - std::min(top, 1.0f) * half));
        const int to = static_cast<int>(std::ceil(middle - std::max(bottom, -1.0f) * half));
        bars.push_back(QRect(x, from, 1, std::max(1, to - from)));
    }
    painter.drawRects(bars);
    painter.end();
    drawn_.setDevicePixelRatio(ratio);
}

double LOverviewBar::XOf(int64_t frame) const {
    return static_cast<double>(frame) * width() / static_cast<double>(std::max<int64_t>(1, range_->Total()));
}

void LOverviewBar::SetPlayed(int64_t frame) {
    const int before = static_cast<int>(XOf(played_)), now = static_cast<int>(XOf(frame));
    const bool same = before == now && (played_ < 0) == (frame < 0);
    played_ = frame;
    if (same) return;
    for (const int x : {before, now}) update(x - 1, 0, 4, height());
}

QRectF LOverviewBar::Frame() const {
    const double left = XOf(range_->Start());
    return {left, 0, std::max(4.0, XOf(range_->End()) - left), static_cast<double>(height())};
}

void LOverviewBar::paintEvent(QPaintEvent*) {
    if (drawn_.isNull() || drawn_.devicePixelRatioF() != devicePixelRatioF()) DrawSound();
    const LWaveColours& colours = WaveColours();
    QPainter painter(this);
    painter.drawPixmap(0, 0, drawn_);
    const LSelection& selection = document_->EditRange();
    QColor shade = colours.selectedWave;
    shade.setAlpha(70);
    if (selection.IsEmpty())
        painter.fillRect(QRectF(XOf(selection.start), 0, 1, height()), colours.cursor);
    else
        painter.fillRect(QRectF(XOf(selection.start), 0,
                                std::max(1.0, XOf(selection.end) - XOf(selection.start)), height()),
                         shade);
    const QRectF frame = Frame();
    QColor veil = colours.gap;
    veil.setAlpha(170);
    painter.fillRect(QRectF(0, 0, frame.left(), height()), veil);
    painter.fillRect(QRectF(frame.right(), 0, width() - frame.right(), height()), veil);
    if (played_ >= 0) painter.fillRect(QRectF(std::floor(XOf(played_)), 0, 2, height()), colours.played);
    painter.setPen(QPen(colours.rulerText, 1));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.drawRoundedRect(frame.adjusted(0.5, 0.5, -0.5, -0.5), 2, 2);
}

void LOverviewBar::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    const QRectF frame = Frame();
    const double x = event->position().x();
    grabbed_ = x >= frame.left() && x < frame.right() ? x - frame.left() : frame.width() / 2;
    mouseMoveEvent(event);
}

void LOverviewBar::mouseMoveEvent(QMouseEvent* event) {
    if (!(event->buttons() & Qt::LeftButton)) return;
    const double part = (event->position().x() - grabbed_) / std::max(1, width());
    range_->MoveTo(static_cast<int64_t>(std::llround(part * static_cast<double>(range_->Total()))));
}

}  // namespace ondarix
