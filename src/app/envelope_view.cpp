// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/envelope_view.h"

#include <QAccessible>
#include <QKeyEvent>
#include <QMouseEvent>
#include <algorithm>
#include <cmath>
#include <utility>

#include "app/time_text.h"

namespace ondarix {
namespace {

constexpr double kGrabDistance = 9;  // pixels from a point within which the mouse has it
constexpr int kLeftRoom = 58, kRightRoom = 12, kTopRoom = 12, kBottomRoom = 24;
constexpr int kFarKeyStep = 10;  // pixels, with Shift

}  // namespace

QString GainText(float gain, bool inDb) {
    if (gain <= 0) return inDb ? QStringLiteral("-inf dB") : QStringLiteral("0 %");
    const double shown = double{gain};
    if (inDb) return QStringLiteral("%1 dB").arg(20 * std::log10(shown), 0, 'f', 1);
    return QStringLiteral("%1 %").arg(QString::number(shown * 100, 'f', shown < 0.1 ? 1 : 0));
}

LEnvelopeView::LEnvelopeView(const LSound& sound, QWidget* parent)
    : QWidget(parent), curve_(std::max<int64_t>(1, sound.Length())), sampleRate_(sound.sampleRate) {
    setObjectName(QStringLiteral("envelopeView"));
    setAccessibleName(QStringLiteral("Envelope over the waveform"));
    setToolTip(
        QStringLiteral("Drag a point; double-click to add one, right-click to remove one.\nKeys: Tab, "
                       "arrows (Shift: by ten), Ins, Del, Home, End"));
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    InstallSpokenValues();
    worker_ = std::make_unique<LWaveColumnsWorker>([this] {
        QMetaObject::invokeMethod(
            this, [this] { TakeColumns(); }, Qt::QueuedConnection);
    });
    sound_ = worker_->SetSound(sound);
}

LEnvelopeView::~LEnvelopeView() { worker_.reset(); }

void LEnvelopeView::Show(std::vector<LEnvelopePoint> points, LCurve curve) {
    curve_.SetPoints(std::move(points));
    curve_.SetCurve(curve);
    selected_ = std::min(selected_, curve_.Count() - 1);
    FitScale();
    UpdateGains();
    Q_EMIT SelectionChanged();
}

void LEnvelopeView::SetInterpolation(LCurve curve) {
    curve_.SetCurve(curve);
    Changed();
}

void LEnvelopeView::SetInDb(bool on) {
    inDb_ = on;
    update();
}

// --- Where things stand

QRectF LEnvelopeView::Plot() const {
    return QRectF(rect()).adjusted(kLeftRoom, kTopRoom, -kRightRoom, -kBottomRoom);
}

double LEnvelopeView::HeightOf(double gain) const {
    if (!inDb_) return std::clamp(gain / top_, 0.0, 1.0);
    const double most = 20 * std::log10(top_);
    if (gain <= 0) return 0;
    return std::clamp((20 * std::log10(gain) - kLeastDb) / (most - kLeastDb), 0.0, 1.0);
}

double LEnvelopeView::GainAtHeight(double share) const {
    if (share <= 0) return 0;
    if (!inDb_) return std::min(share, 1.0) * top_;
    const double most = 20 * std::log10(top_);
    return std::pow(10, (kLeastDb + std::min(share, 1.0) * (most - kLeastDb)) / 20);
}

double LEnvelopeView::XOf(double frame) const {
    const QRectF plot = Plot();
    return plot.left() + frame / static_cast<double>(curve_.Length()) * plot.width();
}

double LEnvelopeView::YOf(double gain) const {
    const QRectF plot = Plot();
    return plot.bottom() - HeightOf(gain) * plot.height();
}

QPointF LEnvelopeView::PlaceOf(const LEnvelopePoint& point) const {
    return {XOf(static_cast<double>(point.frame)), YOf(double{point.gain})};
}

LEnvelopePoint LEnvelopeView::At(QPointF place) const {
    const QRectF plot = Plot();
    const double share = std::clamp((place.x() - plot.left()) / std::max(1.0, plot.width()), 0.0, 1.0);
    const double height = std::clamp((plot.bottom() - place.y()) / std::max(1.0, plot.height()), 0.0, 1.0);
    return {std::llround(share * static_cast<double>(curve_.Length())),
            static_cast<float>(GainAtHeight(height))};
}

// The selected one first where several are as near.
int LEnvelopeView::PointAt(QPointF place) const {
    int nearest = -1;
    double least = kGrabDistance;
    for (int i = 0; i < curve_.Count(); ++i) {
        const QPointF way = PlaceOf(curve_.Points()[static_cast<size_t>(i)]) - place;
        const double distance = std::hypot(way.x(), way.y());
        if (distance > least || (distance == least && nearest == selected_ && nearest >= 0)) continue;
        least = distance;
        nearest = i;
    }
    return nearest;
}

void LEnvelopeView::FitScale() {
    double most = 0;
    for (const LEnvelopePoint& point : curve_.Points()) most = std::max(most, double{point.gain});
    top_ = kUsualTop;
    for (const double higher : {4.0, 10.0, 100.0})
        if (most > top_) top_ = higher;
    update();
}

// --- Changes

void LEnvelopeView::Changed() {
    UpdateGains();
    Q_EMIT SelectionChanged();
    Q_EMIT CurveChanged();
}

void LEnvelopeView::Select(int index) {
    selected_ = std::clamp(index, -1, curve_.Count() - 1);
    update();
    Q_EMIT SelectionChanged();
    if (hasFocus()) Say(SpokenValue());
}

void LEnvelopeView::MoveSelected(LEnvelopePoint to) {
    if (!curve_.Move(selected_, to)) return;
    FitScale();
    Changed();
}

// Half-way to the next point; from the last one half-way to the end, or back where it stands there.
void LEnvelopeView::AddPoint() {
    const auto& points = curve_.Points();
    auto index = static_cast<size_t>(std::max(selected_, 0));
    if (index > 0 && points[index].frame >= curve_.Length()) --index;
    const int64_t from = points[index].frame;
    const int64_t to = index + 1 < points.size() ? points[index + 1].frame : curve_.Length();
    const int64_t frame = from + (to - from) / 2;
    selected_ = curve_.Add({frame, curve_.Gains({frame}).front()});
    Changed();
}

void LEnvelopeView::RemovePoint() {
    if (!curve_.Remove(selected_)) return;
    selected_ = std::min(selected_, curve_.Count() - 1);
    hovered_ = -1;
    FitScale();
    Changed();
}

// --- Mouse

void LEnvelopeView::mousePressEvent(QMouseEvent* event) {
    const int index = PointAt(event->position());
    if (event->button() == Qt::RightButton && index >= 0) {
        selected_ = index;
        return RemovePoint();
    }
    if (event->button() != Qt::LeftButton) return;
    Select(index);
    dragging_ = index >= 0;
    if (dragging_) grip_ = PlaceOf(curve_.Points()[static_cast<size_t>(index)]) - event->position();
}

void LEnvelopeView::mouseMoveEvent(QMouseEvent* event) {
    if (!dragging_) {
        const int index = PointAt(event->position());
        setCursor(index >= 0 ? Qt::SizeAllCursor : Qt::ArrowCursor);
        if (std::exchange(hovered_, index) != index) update();
        return;
    }
    if (curve_.Move(selected_, At(event->position() + grip_))) Changed();
}

void LEnvelopeView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !std::exchange(dragging_, false)) return;
    FitScale();
}

void LEnvelopeView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    if (PointAt(event->position()) < 0) {
        selected_ = curve_.Add(At(event->position()));
        Changed();
    }
    grip_ = {};
    dragging_ = true;  // until the button goes up
}

// The right button has removed a point already.
void LEnvelopeView::contextMenuEvent(QContextMenuEvent* event) { event->accept(); }

// --- Keys

bool LEnvelopeView::MoveByKey(const QKeyEvent& event) {
    QPointF way;
    if (event.key() == Qt::Key_Left) way = {-1, 0};
    if (event.key() == Qt::Key_Right) way = {1, 0};
    if (event.key() == Qt::Key_Up) way = {0, -1};
    if (event.key() == Qt::Key_Down) way = {0, 1};
    if (way.isNull() || selected_ < 0) return false;
    if (event.modifiers() & Qt::ShiftModifier) way *= kFarKeyStep;
    const LEnvelopePoint& point = curve_.Points()[static_cast<size_t>(selected_)];
    LEnvelopePoint to = At(PlaceOf(point) + way);
    // Only what the key means changes, by a frame at least.
    if (way.y() != 0) {
        to.frame = point.frame;
    } else {
        to.gain = point.gain;
        if (to.frame == point.frame) to.frame += way.x() > 0 ? 1 : -1;
    }
    if (curve_.Move(selected_, to)) {
        Changed();
        Say(SpokenValue());
    }
    return true;
}

void LEnvelopeView::keyPressEvent(QKeyEvent* event) {
    if (MoveByKey(*event)) return;
    switch (event->key()) {
        case Qt::Key_Home:
            return Select(0);
        case Qt::Key_End:
            return Select(curve_.Count() - 1);
        case Qt::Key_Delete:
        case Qt::Key_Backspace:
            return RemovePoint();
        case Qt::Key_Insert:
            return AddPoint();
        default:
            QWidget::keyPressEvent(event);
    }
}

void LEnvelopeView::focusInEvent(QFocusEvent* event) {
    if (event->reason() == Qt::TabFocusReason) Select(0);
    if (event->reason() == Qt::BacktabFocusReason) Select(curve_.Count() - 1);
    QWidget::focusInEvent(event);
    update();
}

bool LEnvelopeView::focusNextPrevChild(bool next) {
    const int to = selected_ + (next ? 1 : -1);
    if (selected_ < 0 || to < 0 || to >= curve_.Count()) return QWidget::focusNextPrevChild(next);
    Select(to);
    return true;
}

// --- Told to assistive programs

QString LEnvelopeView::SpokenValue() const {
    if (selected_ < 0) return QStringLiteral("%1 points, none selected").arg(curve_.Count());
    const LEnvelopePoint& point = curve_.Points()[static_cast<size_t>(selected_)];
    return QStringLiteral("Point %1 of %2, %3, %4")
        .arg(selected_ + 1)
        .arg(curve_.Count())
        .arg(TimeText(point.frame, sampleRate_), GainText(point.gain, inDb_));
}

void LEnvelopeView::Say(const QString& text) {
    setAccessibleDescription(text);
    QAccessibleEvent said(this, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&said);
}

void LEnvelopeView::ShowPlayed(int64_t frame) {
    if (std::exchange(played_, frame) != frame) update();
}

}  // namespace ondarix
