// SPDX-License-Identifier: GPL-3.0-or-later
// Selecting in the wave view by mouse and keyboard.
#include <QApplication>
#include <QContextMenuEvent>
#include <QCursor>
#include <QKeyEvent>
#include <QMouseEvent>
#include <algorithm>
#include <cmath>

#include "app/wave_view.h"
#include "gen/settings.h"
#include "sound/snap.h"

namespace ondarix {
namespace {

constexpr double kEdgePixels = 4;  // how near the mouse has to come to an edge of the selection
constexpr int kSnapPixels = 10;    // how far an edge goes to a better place
constexpr int kClickPixels = 2;    // a press that moves less is a click

}  // namespace

void LWaveView::Select(int64_t start, int64_t end) {
    const int64_t total = range_->Total();
    const LSelection before = document_->EditRange();
    const int64_t cursorBefore = cursor_;
    anchor_ = std::clamp<int64_t>(start, 0, total);
    cursor_ = std::clamp<int64_t>(end, 0, total);
    document_->Select(std::min(anchor_, cursor_), std::max(anchor_, cursor_));
    document_->cursor = cursor_;
    const LSelection now = document_->EditRange();
    if (before.IsEmpty() != now.IsEmpty()) {
        SpoilFrames(std::min(before.start, now.start), std::max(before.end, now.end));
    } else if (!now.IsEmpty()) {
        SpoilFrames(before.start, now.start);
        SpoilFrames(before.end, now.end);
    }
    UpdateAround(cursorBefore);
    UpdateAround(cursor_);
    Describe();
    Q_EMIT SelectionChanged();
}

void LWaveView::ShowSelection() {
    const LSelection range = document_->EditRange();
    cursor_ = document_->cursor;
    anchor_ = cursor_ == range.start ? range.end : range.start;
    Spoil();
    Describe();
    Q_EMIT SelectionChanged();
}

void LWaveView::ExtendTo(int64_t frame) { Select(anchor_, frame); }

void LWaveView::MoveCursor(int64_t frame, bool extend) {
    Select(extend ? anchor_ : frame, frame);
    const int64_t target = range_->RevealedStart(cursor_);
    if (std::abs(target - range_->Start()) <= range_->Frames())
        ScrollTo(target);
    else
        range_->MoveTo(target);
}

int64_t LWaveView::PixelFrames(int pixels) const {
    const double perPixel = static_cast<double>(range_->Frames()) / std::max(1, width());
    return std::max<int64_t>(pixels > 0 ? 1 : 0, std::llround(perPixel * pixels));
}

void LWaveView::SelectAround(int64_t frame) {
    const LMarker* region = nullptr;
    int64_t from = 0, to = range_->Total();
    bool bookmarks = false;
    for (const LMarker& marker : Markers()) {
        if (marker.kind == LMarkerKind::kRegion) {
            const bool here = frame >= marker.start && frame < marker.end;
            if (here && (!region || marker.end - marker.start < region->end - region->start))
                region = &marker;
            continue;
        }
        bookmarks = true;
        if (marker.start <= frame)
            from = std::max(from, marker.start);
        else
            to = std::min(to, marker.start);
    }
    if (region) return Select(region->start, region->end);
    if (!bookmarks) return SelectAll();
    Select(from, to);
}

// --- By mouse

int64_t LWaveView::Snapped(int64_t frame, Qt::KeyboardModifiers modifiers) const {
    const bool wanted = GetSettingBool(QStringLiteral("Settings"), QStringLiteral("SnapSelection"), false);
    if (wanted == static_cast<bool>(modifiers & Qt::AltModifier)) return frame;
    const LSound& sound = document_->Edited();
    // Far out a few pixels are minutes; an edge goes no further than a second.
    const int64_t reach = std::min<int64_t>(PixelFrames(kSnapPixels), std::max(1, sound.sampleRate));
    LSnapOptions options;
    options.preferNearest = true;
    return SnapPosition(sound, frame, std::max<int64_t>(0, frame - reach),
                        std::min(range_->Total(), frame + reach), options);
}

LViewPlace LWaveView::PlaceAt(const QPointF& at) const {
    LViewPlace place{range_->FrameAt(at.x(), width()), monoView_ ? -1 : StripAt(at.y()), 0, 0};
    double nearest = kEdgePixels;
    int64_t shortest = 0;
    for (const LMarker& marker : Markers()) {
        const double away = std::fabs(range_->XOf(marker.start, width()) - at.x());
        if (marker.kind == LMarkerKind::kBookmark && away <= nearest) {
            nearest = away;
            place.bookmarkIndex = marker.id;
        }
        const bool inside = place.frame >= marker.start && place.frame < marker.end;
        const int64_t length = marker.end - marker.start;
        if (marker.kind == LMarkerKind::kRegion && inside && (shortest == 0 || length < shortest)) {
            shortest = length;
            place.regionSerial = marker.id;
        }
    }
    return place;
}

int LWaveView::EdgeAt(double x) const {
    const LSelection selection = document_->EditRange();
    if (selection.IsEmpty()) return 0;
    const double start = std::fabs(range_->XOf(selection.start, width()) - x);
    const double end = std::fabs(range_->XOf(selection.end, width()) - x);
    if (std::min(start, end) > kEdgePixels) return 0;
    return start < end ? 1 : 2;
}

void LWaveView::ShowHover(const QPointF& at) {
    if (scrubbing_) return setCursor(Qt::ClosedHandCursor);
    if (sampleEditing_ && CanEditSamples()) return setCursor(Qt::CrossCursor);
    setCursor(EdgeAt(at.x()) != 0 ? Qt::SizeHorCursor : Qt::IBeamCursor);
}

void LWaveView::SetScrubbing(bool on) {
    if (scrubbing_ == on) return;
    scrubbing_ = on;
    if (drag_ == Drag::kScrub) drag_ = Drag::kNone;
    ShowHover(mapFromGlobal(QCursor::pos()));
}

void LWaveView::PressToSelect(double x, Qt::KeyboardModifiers modifiers) {
    scroll_.stop();
    drag_ = Drag::kSelect;
    dragX_ = x;
    pressX_ = x;
    dragModifiers_ = modifiers;
    const LSelection selection = document_->EditRange();
    const int64_t frame = range_->FrameAt(x, width());
    pressedEdge_ = EdgeAt(x) != 0 && !(modifiers & Qt::ShiftModifier);
    if (modifiers & Qt::ShiftModifier) {
        // The nearer end moves, the other one stays.
        const bool nearStart = std::abs(frame - selection.start) < std::abs(frame - selection.end);
        Select(nearStart ? selection.end : selection.start, Snapped(frame, modifiers));
    } else if (pressedEdge_) {
        const bool start = EdgeAt(x) == 1;
        Select(start ? selection.end : selection.start, start ? selection.start : selection.end);
    } else {
        const int64_t at = Snapped(frame, modifiers);
        Select(at, at);
    }
}

void LWaveView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
    const bool third =
        lastDoubleClick_.isValid() && lastDoubleClick_.elapsed() < QApplication::doubleClickInterval();
    lastDoubleClick_.invalidate();
    if (scrubbing_) {
        drag_ = Drag::kScrub;
        return Q_EMIT Scrubbed(range_->FrameAt(event->position().x(), width()));
    }
    if (third) return SelectAll();
    if (sampleEditing_ && CanEditSamples()) return PressPencil(event->position());
    if (sampleEditing_) HintAtPencil();
    PressToSelect(event->position().x(), event->modifiers());
}

void LWaveView::mouseMoveEvent(QMouseEvent* event) {
    if (drag_ == Drag::kNone || !(event->buttons() & Qt::LeftButton)) return ShowHover(event->position());
    if (drag_ == Drag::kPencil) return Draw(event->position());
    if (drag_ == Drag::kScrub) {
        const double x = std::clamp<double>(event->position().x(), 0, width());
        return Q_EMIT Scrubbed(range_->FrameAt(x, width()));
    }
    dragX_ = event->position().x();
    dragModifiers_ = event->modifiers();
    if (dragX_ < 0 || dragX_ > width()) {
        if (!scrollTimer_.isActive()) scrollTimer_.start();
    } else {
        scrollTimer_.stop();
    }
    if (pressedEdge_ && std::fabs(dragX_ - pressX_) < kClickPixels) return;
    pressedEdge_ = false;
    DragTo(dragX_, dragModifiers_);
}

void LWaveView::DragTo(double x, Qt::KeyboardModifiers modifiers) {
    ExtendTo(Snapped(range_->FrameAt(std::clamp<double>(x, 0, width()), width()), modifiers));
}

// The farther outside the mouse, the faster.
void LWaveView::ScrollWhileDragging() {
    const double outside = dragX_ < 0 ? dragX_ : dragX_ - width();
    const double pixels = std::clamp(outside, -200.0, 200.0) / 4;
    const auto frames =
        static_cast<int64_t>(pixels * static_cast<double>(range_->Frames()) / std::max(1, width()));
    range_->MoveTo(range_->Start() + (frames != 0 ? frames : outside < 0 ? -1 : 1));
    DragTo(dragX_, dragModifiers_);
}

void LWaveView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return QWidget::mouseReleaseEvent(event);
    scrollTimer_.stop();
    const Drag drag = std::exchange(drag_, Drag::kNone);
    if (drag == Drag::kPencil) {
        CommitStroke();
    } else if (drag == Drag::kSelect && std::exchange(pressedEdge_, false)) {
        const int64_t frame = Snapped(range_->FrameAt(pressX_, width()), event->modifiers());
        Select(frame, frame);  // a click on an edge is a click
    }
    const bool still = std::fabs(event->position().x() - pressX_) < kClickPixels;
    if (drag == Drag::kSelect && still && !(event->modifiers() & Qt::ShiftModifier)) Q_EMIT Clicked(cursor_);
}

void LWaveView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    if (scrubbing_) return mousePressEvent(event);
    if (sampleEditing_ && CanEditSamples()) return PressPencil(event->position());
    lastDoubleClick_.start();
    drag_ = Drag::kNone;
    SelectAround(range_->FrameAt(event->position().x(), width()));
}

void LWaveView::contextMenuEvent(QContextMenuEvent* event) {
    QPointF at(event->pos());
    if (event->reason() == QContextMenuEvent::Keyboard)
        at = {std::clamp<double>(range_->XOf(cursor_, width()), 0, width()), height() / 2.0};
    LViewPlace place = PlaceAt(at);
    if (event->reason() == QContextMenuEvent::Keyboard) place.frame = cursor_;
    Q_EMIT ContextMenuRequested(mapToGlobal(at.toPoint()), place);
}

// --- By keyboard

void LWaveView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && (drag_ == Drag::kPencil || !stroke_.IsEmpty()))
        return TakeBackStroke();
    if (MoveSampleByKey(event) || MoveByKey(event)) return;
    switch (event->key()) {
        case Qt::Key_Plus:
        case Qt::Key_Equal:
            return Zoom(0.5);
        case Qt::Key_Minus:
            return Zoom(2);
        case Qt::Key_Escape:
            if (document_->isBusy) return QWidget::keyPressEvent(event);  // the window's, for its job
            return SelectNone();
        default:
            QWidget::keyPressEvent(event);
    }
}

bool LWaveView::MoveByKey(QKeyEvent* event) {
    const bool extend = event->modifiers() & Qt::ShiftModifier;
    const int64_t step = PixelFrames(event->modifiers() & Qt::ControlModifier ? 10 : 1);
    const int64_t page = range_->Frames();
    switch (event->key()) {
        case Qt::Key_Left:
            MoveCursor(cursor_ - step, extend);
            return true;
        case Qt::Key_Right:
            MoveCursor(cursor_ + step, extend);
            return true;
        case Qt::Key_Home:
            MoveCursor(0, extend);
            return true;
        case Qt::Key_End:
            MoveCursor(range_->Total(), extend);
            return true;
        case Qt::Key_PageUp:
        case Qt::Key_PageDown: {
            const int64_t by = event->key() == Qt::Key_PageUp ? -page : page;
            const int64_t from = scroll_.state() == QAbstractAnimation::Running ? scrollTo_ : range_->Start();
            Select(extend ? anchor_ : cursor_ + by, cursor_ + by);
            ScrollTo(from + by);
            return true;
        }
        default:
            return false;
    }
}

void LWaveView::keyReleaseEvent(QKeyEvent* event) {
    const bool vertical = event->key() == Qt::Key_Up || event->key() == Qt::Key_Down;
    if (vertical && !event->isAutoRepeat() && drag_ != Drag::kPencil) CommitStroke();
    QWidget::keyReleaseEvent(event);
}

void LWaveView::focusOutEvent(QFocusEvent* event) {
    if (drag_ != Drag::kPencil) CommitStroke();
    QWidget::focusOutEvent(event);
}

}  // namespace ondarix
