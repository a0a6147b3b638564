// SPDX-License-Identifier: GPL-3.0-or-later
// Zooming and scrolling of the wave view.
#include <QStyle>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "app/wave_view.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

constexpr double kZoomStep = 0.8;       // of a wheel notch
constexpr double kNotchPart = 1.0 / 8;  // of the view that a notch scrolls
constexpr int kMostScrollMs = 160;

}  // namespace

void LWaveView::ZoomAround(double factor, int64_t anchor) {
    if (scroll_.state() == QAbstractAnimation::Running) scroll_.stop();
    const auto samples = static_cast<double>(DeviceColumns());
    const auto now = static_cast<double>(range_->Frames());
    if (factor < 1 && now * factor < samples &&
        !GetSettingBool(QStringLiteral("Settings"), QStringLiteral("ExtendZoom"), true)) {
        if (now <= samples) return;
        factor = samples / now;
    }
    range_->Zoom(factor, anchor);
}

// Around what is heard, else the cursor, else the middle.
void LWaveView::Zoom(double factor) {
    for (const int64_t frame : {PlayLine(), cursor_})
        if (frame >= range_->Start() && frame <= range_->End()) return ZoomAround(factor, frame);
    ZoomAround(factor, range_->Start() + range_->Frames() / 2);
}

void LWaveView::ZoomToSelection() {
    const LSelection selection = document_->EditRange();
    if (!selection.IsEmpty()) range_->Show(selection.start, selection.Length());
}

void LWaveView::ScrollTo(int64_t start) {
    scroll_.stop();
    const int64_t target =
        std::clamp<int64_t>(start, 0, std::max<int64_t>(0, range_->Total() - range_->Frames()));
    const int ms =
        std::min(style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this), kMostScrollMs);
    if (ms <= 0 || !isVisible()) return range_->MoveTo(target);
    if (target == range_->Start()) return;
    scrollFrom_ = range_->Start();
    scrollTo_ = target;
    scroll_.setDuration(ms);
    scroll_.start();
}

void LWaveView::Wheel(double notches, const QPointF& at, Qt::KeyboardModifiers modifiers) {
    if (modifiers & Qt::ShiftModifier)
        return SetVerticalZoom(verticalZoom_ * std::pow(1 / kZoomStep, notches));
    const double factor = std::pow(kZoomStep, notches);
    if (GetSettingBool(QStringLiteral("Settings"), QStringLiteral("bZoomToMouse"), true))
        ZoomAround(factor, range_->FrameAt(at.x(), width()));
    else
        Zoom(factor);
}

void LWaveView::wheelEvent(QWheelEvent* event) {
    event->accept();
    const QPoint turn = event->angleDelta(), pixels = event->pixelDelta();
    const bool sideways = std::abs(turn.x()) > std::abs(turn.y());
    const double notches = (sideways ? turn.x() : turn.y()) / 120.0;
    if (!sideways && event->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier))
        return Wheel(notches, event->position(), event->modifiers());
    const auto frames = static_cast<double>(range_->Frames());
    if (pixels.isNull()) {
        const int64_t from = scroll_.state() == QAbstractAnimation::Running ? scrollTo_ : range_->Start();
        return ScrollTo(from - std::llround(notches * kNotchPart * frames));
    }
    // A touch pad: as far as the fingers go.
    scroll_.stop();
    const double by = -(sideways ? pixels.x() : pixels.y()) * frames / std::max(1, width()) + wheelRest_;
    const double whole = std::trunc(by);
    wheelRest_ = by - whole;
    range_->MoveTo(range_->Start() + static_cast<int64_t>(whole));
}

}  // namespace ondarix
