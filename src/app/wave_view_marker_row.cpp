// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/wave_view_marker_row.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>
#include <algorithm>
#include <cmath>

#include "app/theme.h"
#include "app/time_text.h"
#include "sound/marks.h"

namespace ondarix {
namespace {

constexpr double kFlagWidth = 8;    // of a bookmark's flag
constexpr double kGrabPixels = 4;   // how near the mouse has to come to an end
constexpr double kLeastLabel = 14;  // room for less than this holds no name
constexpr int kDragPixels = 3;      // a click that moves less is a click

QString MarkerText(const LMarker& marker, int32_t rate) {
    if (marker.kind == LMarkerKind::kBookmark)
        return QStringLiteral("%1 at %2").arg(marker.name, TimeText(marker.start, rate));
    return QStringLiteral("%1 from %2 to %3")
        .arg(marker.name, TimeText(marker.start, rate), TimeText(marker.end, rate));
}

}  // namespace

LMarkerRow::LMarkerRow(LSoundDocumentRef document, LViewRange* range, LEditHost& host, QWidget* parent)
    : QWidget(parent), document_(std::move(document)), range_(range), host_(host) {
    setObjectName(QStringLiteral("markerRow"));
    setAccessibleName(QStringLiteral("Bookmarks and regions"));
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    QFont small = font();
    small.setPointSizeF(std::max(7.0, small.pointSizeF() - 1));
    setFont(small);
    connect(range_, &LViewRange::Changed, this, QOverload<>::of(&QWidget::update));
    MarkersChanged();
}

void LMarkerRow::MarkersChanged() {
    moved_ = {};
    grabbed_ = {};
    dragging_ = false;
    const size_t before = markers_.size();
    const bool hadRegions = HasRegions();
    Rearrange();
    const auto same = std::find_if(markers_.begin(), markers_.end(),
                                   [this](const LMarker& marker) { return marker.Is(focused_); });
    Focus(same == markers_.end() ? LMarker{} : *same);
    setVisible(!markers_.empty());
    if (before != markers_.size() || hadRegions != HasRegions()) updateGeometry();
    update();
}

void LMarkerRow::Rearrange() {
    markers_ = MarkersOf(*document_, moved_);
    if (moved_.id != 0 && moved_.Is(focused_)) focused_ = moved_;
    update();
}

int LMarkerRow::LaneHeight() const { return fontMetrics().height() + 3; }

bool LMarkerRow::HasRegions() const {
    return std::any_of(markers_.begin(), markers_.end(),
                       [](const LMarker& marker) { return marker.kind == LMarkerKind::kRegion; });
}

double LMarkerRow::RegionTop() const {
    const bool bookmarks = std::any_of(markers_.begin(), markers_.end(), [](const LMarker& marker) {
        return marker.kind == LMarkerKind::kBookmark;
    });
    return bookmarks ? LaneHeight() : 0;
}

QSize LMarkerRow::sizeHint() const {
    return {100, static_cast<int>(RegionTop()) + (HasRegions() ? LaneHeight() : 0)};
}

void LMarkerRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), WaveColours().rulerBackground);
    painter.setRenderHint(QPainter::Antialiasing);
    PaintRegions(painter);
    PaintBookmarks(painter);
}

void LMarkerRow::PaintFocus(QPainter& painter, const QRectF& around) {
    painter.setPen(QPen(WaveColours().focus, 1.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(around, 2, 2);
}

// From the right to the left, so that each name knows where the next flag stands; of those that fall on one
// pixel one is drawn.
void LMarkerRow::PaintBookmarks(QPainter& painter) {
    const LWaveColours& colours = WaveColours();
    const double lane = LaneHeight();
    double next = width() + 400.0;
    for (auto marker = markers_.rbegin(); marker != markers_.rend(); ++marker) {
        if (marker->kind != LMarkerKind::kBookmark) continue;
        const double x = std::floor(range_->XOf(marker->start, width()));
        if (x > width() + kFlagWidth) {
            next = std::min(next, x);
            continue;
        }
        if (x < -400) break;
        if (next - x < 1 && !marker->Is(focused_)) continue;
        painter.setPen(Qt::NoPen);
        painter.setBrush(colours.bookmark);
        painter.drawPolygon(QPolygonF({{x, 2}, {x + kFlagWidth, 2 + lane / 4}, {x, 2 + lane / 2}}));
        painter.drawRect(QRectF(x, 2, 1, lane));
        const double room = next - x - kFlagWidth - 6;
        double used = 0;
        if (room >= kLeastLabel) {
            const QString text = fontMetrics().elidedText(marker->name, Qt::ElideRight,
                                                          static_cast<int>(std::min(room, 380.0)));
            used = fontMetrics().horizontalAdvance(text) + 3;
            painter.setPen(colours.bookmarkText);
            painter.drawText(QRectF(x + kFlagWidth + 2, 0, room + 2, lane), Qt::AlignVCenter, text);
        }
        if (hasFocus() && marker->Is(focused_))
            PaintFocus(painter, QRectF(x - 2, 0.75, kFlagWidth + 3 + used, lane - 1.5));
        next = x;
    }
}

void LMarkerRow::PaintRegions(QPainter& painter) {
    const LWaveColours& colours = WaveColours();
    const double top = RegionTop(), lane = LaneHeight();
    double labelEnd = -1;
    for (const LMarker& marker : markers_) {
        if (marker.kind != LMarkerKind::kRegion) continue;
        const double from = std::floor(range_->XOf(marker.start, width()));
        const double to = std::floor(range_->XOf(marker.end, width()));
        if (to < 0 || from > width()) continue;
        const QRectF span(std::max(from, -4.0), top + 1.5,
                          std::max(2.0, std::min(to, width() + 4.0) - std::max(from, -4.0)), lane - 3);
        QColor fill = colours.region;
        fill.setAlpha(marker.Is(focused_) && hasFocus() ? 110 : 60);
        painter.setPen(QPen(colours.region, 1));
        painter.setBrush(fill);
        painter.drawRoundedRect(span, 3, 3);
        const double textFrom = std::max({span.left() + 5, 5.0, labelEnd});
        const double room = span.right() - textFrom - 3;
        if (room >= kLeastLabel) {
            const QString text =
                fontMetrics().elidedText(marker.name, Qt::ElideRight, static_cast<int>(room));
            painter.setPen(colours.regionText);
            painter.drawText(QRectF(textFrom, top, room + 2, lane), Qt::AlignVCenter, text);
            labelEnd = textFrom + fontMetrics().horizontalAdvance(text) + 6;
        }
        if (hasFocus() && marker.Is(focused_)) PaintFocus(painter, span);
    }
}

// The nearest flag; among regions an end before a span, and the one that is painted last.
LMarkerRow::Hit LMarkerRow::HitAt(const QPointF& at) const {
    Hit hit;
    double nearest = kGrabPixels + kFlagWidth;
    const bool inBookmarks = at.y() < RegionTop();
    for (const LMarker& marker : markers_) {
        const double from = range_->XOf(marker.start, width()), to = range_->XOf(marker.end, width());
        if (marker.kind == LMarkerKind::kBookmark) {
            // The flag stands to the right of its place.
            const double away = at.x() < from ? (from - at.x()) * 2 : at.x() - from;
            if (!inBookmarks || away >= nearest) continue;
            nearest = away;
            hit = {marker, Part::kWhole};
        } else if (!inBookmarks && at.x() >= from - kGrabPixels && at.x() <= to + kGrabPixels) {
            const bool wide = to - from > 3 * kGrabPixels;
            Part part = Part::kWhole;
            if (at.x() > to - (wide ? kGrabPixels : 0))
                part = Part::kEnd;
            else if (at.x() < from + (wide ? kGrabPixels : 0))
                part = Part::kStart;
            if (part != Part::kWhole || hit.part == Part::kNone || hit.part == Part::kWhole)
                hit = {marker, part};
        }
    }
    return hit;
}

LViewPlace LMarkerRow::PlaceAt(const QPointF& at) const {
    const LMarker marker = HitAt(at).marker;
    LViewPlace place{range_->FrameAt(at.x(), width()), -1, 0, 0};
    (marker.kind == LMarkerKind::kBookmark ? place.bookmarkIndex : place.regionSerial) = marker.id;
    return place;
}

bool LMarkerRow::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        const LMarker marker = HitAt(QPointF(help->pos())).marker;
        if (marker.id == 0)
            QToolTip::hideText();
        else
            QToolTip::showText(help->globalPos(), MarkerText(marker, document_->sound.sampleRate), this);
        return true;
    }
    // The frame's own shortcuts give way.
    if (event->type() == QEvent::ShortcutOverride && HandlesKey(*static_cast<QKeyEvent*>(event))) {
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

// --- By mouse

void LMarkerRow::ShowHover(const QPointF& at) {
    switch (HitAt(at).part) {
        case Part::kNone:
            return unsetCursor();
        case Part::kWhole:
            return setCursor(Qt::OpenHandCursor);
        default:
            return setCursor(Qt::SizeHorCursor);
    }
}

void LMarkerRow::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    TakeBack();
    grabbed_ = HitAt(event->position());
    grabbedX_ = event->position().x();
    grabbedFrame_ = range_->FrameAt(grabbedX_, width());
    dragging_ = false;
    if (grabbed_.marker.id != 0)
        Focus(grabbed_.marker);
    else
        Q_EMIT GoTo(range_->FrameAt(grabbedX_, width()));
}

void LMarkerRow::mouseMoveEvent(QMouseEvent* event) {
    if (!(event->buttons() & Qt::LeftButton)) return ShowHover(event->position());
    if (grabbed_.marker.id == 0) return;
    const double x = event->position().x();
    dragging_ = dragging_ || std::fabs(x - grabbedX_) >= kDragPixels;
    if (!dragging_) return;
    setCursor(grabbed_.part == Part::kWhole ? Qt::ClosedHandCursor : Qt::SizeHorCursor);
    if (x < 0 || x > width())  // the view comes along
        range_->MoveTo(range_->Start() + (x < 0 ? -1 : 1) * std::max<int64_t>(1, range_->Frames() / 40));
    const int64_t edge = grabbed_.part == Part::kEnd ? grabbed_.marker.end : grabbed_.marker.start;
    int64_t to = edge + range_->FrameAt(x, width()) - grabbedFrame_;
    if (snap) to = snap(to, event->modifiers());
    MoveTo(grabbed_.part, grabbed_.marker, to - edge);
    QToolTip::showText(event->globalPosition().toPoint(), MarkerText(moved_, document_->sound.sampleRate),
                       this);
}

void LMarkerRow::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    const Hit grabbed = std::exchange(grabbed_, {});
    if (dragging_)
        Commit();
    else if (grabbed.marker.id != 0)
        Q_EMIT GoTo(grabbed.part == Part::kEnd ? grabbed.marker.end : grabbed.marker.start);
    dragging_ = false;
    ShowHover(event->position());
}

void LMarkerRow::mouseDoubleClickEvent(QMouseEvent* event) {
    const LMarker marker = HitAt(event->position()).marker;
    if (event->button() == Qt::LeftButton && marker.id != 0) Q_EMIT RenameRequested(marker);
}

void LMarkerRow::contextMenuEvent(QContextMenuEvent* event) {
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    if (!byKey) return Q_EMIT ContextMenuRequested(event->globalPos(), PlaceAt(QPointF(event->pos())));
    const double x = std::clamp<double>(range_->XOf(focused_.start, width()), 0, width());
    LViewPlace place{focused_.start, -1, 0, 0};
    (focused_.kind == LMarkerKind::kBookmark ? place.bookmarkIndex : place.regionSerial) = focused_.id;
    Q_EMIT ContextMenuRequested(mapToGlobal(QPoint(static_cast<int>(x), height() / 2)), place);
}

// --- Moving

// `part` of `from` goes `by` frames further, inside the sound and not past the other end.
void LMarkerRow::MoveTo(Part part, const LMarker& from, int64_t by) {
    moved_ = from;
    const int64_t total = range_->Total();
    if (part == Part::kStart) {
        moved_.start = std::clamp<int64_t>(from.start + by, 0, std::max<int64_t>(0, from.end - 1));
    } else if (part == Part::kEnd) {
        moved_.end = std::clamp(from.end + by, from.start + 1, std::max(from.start + 1, total));
    } else {
        const int64_t length = from.end - from.start;
        moved_.start = std::clamp<int64_t>(from.start + by, 0, std::max<int64_t>(0, total - length));
        moved_.end = moved_.start + length;
    }
    Rearrange();
    Q_EMIT Moving();
}

void LMarkerRow::Commit() {
    const LMarker moved = std::exchange(moved_, {});
    if (moved.id == 0) return;
    JobResult result = JobResult::kCancelled;
    if (moved.kind == LMarkerKind::kBookmark) {
        const LBookmark* bookmark = FindBookmark(*document_, moved.id);
        if (bookmark && bookmark->position != moved.start)
            result = MoveBookmark(*document_, host_, moved.id, moved.start);
    } else {
        const LRegion* region = FindRegion(*document_, moved.id);
        if (region && (region->startFrame != moved.start || region->endFrame != moved.end))
            result = ModifyRegion(*document_, host_, moved.id, moved.start, moved.end);
    }
    if (result != JobResult::kSuccess) Q_EMIT Moving();
    MarkersChanged();
}

void LMarkerRow::TakeBack() {
    if (moved_.id == 0) return;
    moved_ = {};
    grabbed_ = {};
    dragging_ = false;
    MarkersChanged();
    Q_EMIT Moving();
}

// --- By keyboard

void LMarkerRow::Focus(const LMarker& marker) {
    focused_ = marker;
    setAccessibleDescription(marker.id == 0 ? QStringLiteral("Arrow keys go from one to the next")
                                            : MarkerText(marker, document_->sound.sampleRate));
    update();
}

void LMarkerRow::FocusNeighbour(int by) {
    if (markers_.empty()) return;
    const auto at = std::find_if(markers_.begin(), markers_.end(),
                                 [this](const LMarker& marker) { return marker.Is(focused_); });
    const auto last = static_cast<ptrdiff_t>(markers_.size()) - 1;
    const ptrdiff_t index = at == markers_.end() ? (by > 0 ? 0 : last) : at - markers_.begin() + by;
    Focus(markers_[static_cast<size_t>(std::clamp<ptrdiff_t>(index, 0, last))]);
    range_->Reveal(focused_.start);
}

void LMarkerRow::MoveByKey(int pixels, bool endOnly) {
    if (focused_.id == 0) return;
    const bool end = endOnly && focused_.kind == LMarkerKind::kRegion;
    const auto frames = std::max<int64_t>(1, range_->Frames() / std::max(1, width()));
    MoveTo(end ? Part::kEnd : Part::kWhole, focused_, pixels * frames);
    range_->Reveal(end ? focused_.end : focused_.start);
}

bool LMarkerRow::Delete(const LMarker& marker) {
    if (marker.id == 0) return false;
    const bool bookmark = marker.kind == LMarkerKind::kBookmark;
    const int answer = host_.Messages().Ask(QStringLiteral("Confirm Delete"),
                                            bookmark ? QStringLiteral("Delete the selected bookmark(s)?")
                                                     : QStringLiteral("Delete the selected region(s)?"),
                                            {QStringLiteral("Delete"), QStringLiteral("Cancel")}, 1);
    if (answer != 0) return false;
    const JobResult result = bookmark ? DeleteBookmarks(*document_, host_, {marker.id})
                                      : DeleteRegions(*document_, host_, {marker.id});
    MarkersChanged();
    return result == JobResult::kSuccess;
}

bool LMarkerRow::HandlesKey(const QKeyEvent& event) const {
    const auto modifiers = event.modifiers() & ~Qt::KeypadModifier;
    switch (event.key()) {
        case Qt::Key_Left:
        case Qt::Key_Right:
            return !(modifiers & (Qt::AltModifier | Qt::MetaModifier));
        case Qt::Key_Home:
        case Qt::Key_End:
        case Qt::Key_F2:
        case Qt::Key_Delete:
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_Escape:
            return modifiers == Qt::NoModifier;
        default:
            return false;
    }
}

void LMarkerRow::keyPressEvent(QKeyEvent* event) {
    if (!HandlesKey(*event)) return QWidget::keyPressEvent(event);
    const bool move = event->modifiers() & Qt::ControlModifier;
    const int way = event->key() == Qt::Key_Left ? -1 : 1;
    switch (event->key()) {
        case Qt::Key_Left:
        case Qt::Key_Right:
            if (move) return MoveByKey(way, event->modifiers() & Qt::ShiftModifier);
            return FocusNeighbour(way);
        case Qt::Key_Home:
            return FocusNeighbour(-static_cast<int>(markers_.size()));
        case Qt::Key_End:
            return FocusNeighbour(static_cast<int>(markers_.size()));
        case Qt::Key_F2:
            if (focused_.id != 0) Q_EMIT RenameRequested(focused_);
            return;
        case Qt::Key_Delete:
            Delete(focused_);
            return;
        case Qt::Key_Escape:
            if (moved_.id != 0) return TakeBack();
            return Q_EMIT Left();
        default:
            if (focused_.id != 0) Q_EMIT GoTo(focused_.start);
    }
}

// Key after key moves on; letting go of them is the end of one change.
void LMarkerRow::keyReleaseEvent(QKeyEvent* event) {
    const bool arrow = event->key() == Qt::Key_Left || event->key() == Qt::Key_Right;
    if (moved_.id != 0 && !event->isAutoRepeat() && (arrow || event->key() == Qt::Key_Control) &&
        grabbed_.marker.id == 0)
        Commit();
    QWidget::keyReleaseEvent(event);
}

void LMarkerRow::focusInEvent(QFocusEvent* event) {
    if (focused_.id == 0 && event->reason() != Qt::MouseFocusReason) FocusNeighbour(1);
    QWidget::focusInEvent(event);
    update();
}

void LMarkerRow::focusOutEvent(QFocusEvent* event) {
    if (grabbed_.marker.id == 0) Commit();
    QWidget::focusOutEvent(event);
    update();
}

}  // namespace ondarix
