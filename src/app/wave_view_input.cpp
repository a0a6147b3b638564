// SPDX-License-Identifier: GPL-3.0-or-later
// Selecting, scrolling and zooming in the wave view by mouse and keyboard.
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "app/wave_view.h"

namespace ondarix {
namespace {

constexpr double kZoomStep = 0.8;  // of a wheel notch

}  // namespace

void LWaveView::Select(int64_t start, int64_t end) {
    const int64_t total = range_->Total();
    const LSelection before = document_->EditRange();
    const int64_t cursorBefore = cursor_;
    anchor_ = std::clamp<int64_t>(start, 0, total);
    cursor_ = std::clamp<int64_t>(end, 0, total);
    document_->Select(std::min(anchor_, cursor_), std::max(anchor_, cursor_));
    document_->cursor = cursor_;
    UpdateBetween(before.start, document_->selectionStart);
    UpdateBetween(before.end, document_->selectionEnd);
    UpdateBetween(cursorBefore, cursor_);
    Q_EMIT SelectionChanged();
}

void LWaveView::ShowSelection() {
    const LSelection range = document_->EditRange();
    cursor_ = document_->cursor;
    anchor_ = cursor_ == range.start ? range.end : range.start;
    update();
    Q_EMIT SelectionChanged();
}

void LWaveView::ExtendTo(int64_t frame) { Select(anchor_, frame); }

void LWaveView::MoveCursor(int64_t frame, bool extend) {
    Select(extend ? anchor_ : frame, frame);
    range_->Reveal(cursor_);
}

int64_t LWaveView::PixelFrames(int pixels) const {
    const double perPixel = static_cast<double>(range_->Frames()) / std::max(1, width());
    return std::max<int64_t>(pixels > 0 ? 1 : 0, std::llround(perPixel * pixels));
}

void LWaveView::Zoom(double factor) {
    const bool inView = cursor_ >= range_->Start() && cursor_ <= range_->End();
    range_->Zoom(factor, inView ? cursor_ : range_->Start() + range_->Frames() / 2);
}

void LWaveView::ZoomToSelection() {
    const LSelection& selection = document_->EditRange();
    if (!selection.IsEmpty()) range_->Show(selection.start, selection.Length());
}

void LWaveView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
    const int64_t frame = range_->FrameAt(event->position().x(), width());
    if (event->modifiers() & Qt::ShiftModifier) {
        // The nearer end moves, the other one stays.
        const LSelection& selection = document_->EditRange();
        const bool nearStart = std::abs(frame - selection.start) < std::abs(frame - selection.end);
        Select(nearStart ? selection.end : selection.start, frame);
    } else {
        Select(frame, frame);
    }
    dragging_ = true;
    dragX_ = event->position().x();
}

void LWaveView::mouseMoveEvent(QMouseEvent* event) {
    if (!dragging_ || !(event->buttons() & Qt::LeftButton)) return;
    dragX_ = event->position().x();
    if (dragX_ < 0 || dragX_ > width()) {
        if (!scrollTimer_.isActive()) scrollTimer_.start();
    } else {
        scrollTimer_.stop();
    }
    DragTo(dragX_);
}

void LWaveView::DragTo(double x) { ExtendTo(range_->FrameAt(std::clamp<double>(x, 0, width()), width())); }

// The farther outside the mouse, the faster.
void LWaveView::ScrollWhileDragging() {
    const double outside = dragX_ < 0 ? dragX_ : dragX_ - width();
    const double pixels = std::clamp(outside, -200.0, 200.0) / 2;
    const auto frames =
        static_cast<int64_t>(pixels * static_cast<double>(range_->Frames()) / std::max(1, width()));
    range_->MoveTo(range_->Start() + (frames != 0 ? frames : outside < 0 ? -1 : 1));
    DragTo(dragX_);
}

void LWaveView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return QWidget::mouseReleaseEvent(event);
    dragging_ = false;
    scrollTimer_.stop();
}

void LWaveView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) SelectAll();
}

void LWaveView::wheelEvent(QWheelEvent* event) {
    const QPoint turn = event->angleDelta();
    const double notches = (turn.y() != 0 ? turn.y() : turn.x()) / 120.0;
    if (event->modifiers() & Qt::ControlModifier) {
        range_->Zoom(std::pow(kZoomStep, notches), range_->FrameAt(event->position().x(), width()));
    } else if (event->modifiers() & Qt::ShiftModifier) {
        SetVerticalZoom(verticalZoom_ * std::pow(1 / kZoomStep, notches));
    } else {
        const double part = event->pixelDelta().x() != 0
                                ? -event->pixelDelta().x() / std::max(1.0, width() * 1.0)
                                : -notches / 8;
        range_->MoveTo(range_->Start() + static_cast<int64_t>(part * static_cast<double>(range_->Frames())));
    }
    event->accept();
}

void LWaveView::keyPressEvent(QKeyEvent* event) {
    const bool extend = event->modifiers() & Qt::ShiftModifier;
    const int64_t step = PixelFrames(event->modifiers() & Qt::ControlModifier ? 10 : 1);
    switch (event->key()) {
        case Qt::Key_Left:
            return MoveCursor(cursor_ - step, extend);
        case Qt::Key_Right:
            return MoveCursor(cursor_ + step, extend);
        case Qt::Key_Home:
            return MoveCursor(0, extend);
        case Qt::Key_End:
            return MoveCursor(range_->Total(), extend);
        case Qt::Key_PageUp:
            range_->MoveTo(range_->Start() - range_->Frames());
            return MoveCursor(cursor_ - range_->Frames(), extend);
        case Qt::Key_PageDown:
            range_->MoveTo(range_->Start() + range_->Frames());
            return MoveCursor(cursor_ + range_->Frames(), extend);
        case Qt::Key_Plus:
        case Qt::Key_Equal:
            return Zoom(0.5);
        case Qt::Key_Minus:
            return Zoom(2);
        case Qt::Key_Escape:
            return SelectNone();
        default:
            QWidget::keyPressEvent(event);
    }
}

}  // namespace ondarix
