// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/wave_view.h"

#include <QAccessible>
#include <QKeyEvent>
#include <algorithm>
#include <cmath>

#include "app/time_text.h"
#include "app/wave_view_access.h"
#include "display/wave_columns_curve.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

bool WaveSetting(const char* name, bool fallback) {
    return GetSettingBool(QStringLiteral("Settings"), QLatin1String(name), fallback);
}

}  // namespace

LWaveView::LWaveView(LSoundDocumentRef document, LViewRange* range, LWaveColumnsWorker& worker,
                     LEditHost& host, QWidget* parent)
    : QWidget(parent), document_(std::move(document)), range_(range), worker_(worker), host_(host) {
    InstallWaveAccessibility();
    setObjectName(QStringLiteral("waveView"));
    setAccessibleName(QStringLiteral("Waveform"));
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setCursor(Qt::IBeamCursor);
    setMouseTracking(true);
    setMinimumSize(80, 40);
    anchor_ = document_->selectionStart;
    cursor_ = document_->selectionEnd;
    scroll_.setStartValue(0.0);
    scroll_.setEndValue(1.0);
    scroll_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&scroll_, &QVariantAnimation::valueChanged, this, [this](const QVariant& part) {
        const double way = static_cast<double>(scrollTo_ - scrollFrom_) * part.toDouble();
        animating_ = true;
        range_->MoveTo(scrollFrom_ + std::llround(way));
        animating_ = false;
    });
    connect(range_, &LViewRange::Changed, this, [this] {
        if (!animating_) scroll_.stop();  // whoever else moves the view has the last word
        update();
    });
    scrollTimer_.setInterval(16);
    connect(&scrollTimer_, &QTimer::timeout, this, &LWaveView::ScrollWhileDragging);
    Describe();
}

void LWaveView::SoundChanged(uint64_t number) {
    columns_.SetSound(number);
    askedFrom_ = askedTo_ = 0;
    joints_ = JointsOf(document_->Edited());
    showsJoints_ = WaveSetting("ShowEditMarkers", true);
    stroke_ = {};
    if (drag_ == Drag::kPencil) drag_ = Drag::kNone;
    Spoil();
}

void LWaveView::SetVerticalZoom(double zoom) {
    verticalZoom_ = std::clamp(zoom, 1.0, 1000.0);
    Spoil();
    Q_EMIT LevelsChanged();
}

void LWaveView::ZoomToDbRange(double db) { SetVerticalZoom(std::pow(10.0, -std::min(db, 0.0) / 20)); }

void LWaveView::ZoomToLoudest() {
    if (!Complete(-1)) return;
    const LSelection selection = document_->EditRange();
    const int64_t from = selection.IsEmpty() ? range_->Start() : std::max(selection.start, range_->Start());
    const int64_t to = selection.IsEmpty() ? range_->End() : std::min(selection.end, range_->End());
    const LColumnGrid grid = ShowsSamples() ? LColumnGrid{0, 1, 1} : Grid();
    float loudest = 0;
    for (int64_t column = grid.ColumnOf(from); grid.Edge(column) < to; ++column)
        if (const LWaveColumn* at = columns_.At(column))
            for (int c = 0; c < columns_.Channels(); ++c)
                loudest = std::max({loudest, at[c].top, -at[c].bottom});
    if (loudest > 0) ZoomToDbRange(20 * std::log10(static_cast<double>(loudest)));
}

void LWaveView::SetShowsDb(bool on) {
    showsDb_ = on;
    Spoil();
    Q_EMIT LevelsChanged();
}

void LWaveView::SetMonoView(bool on) {
    if (monoView_ == on) return;
    TakeBackStroke();
    monoView_ = on;
    Spoil();
    Q_EMIT LevelsChanged();
}

// From here on single samples are drawn, joined by the signal that they stand for.
bool LWaveView::ShowsSamples() const { return range_->Frames() < DeviceColumns(); }

int LWaveView::DeviceColumns() const {
    return std::max(1, static_cast<int>(std::lround(width() * devicePixelRatioF())));
}

int64_t LWaveView::FirstColumn() const {
    __extension__ using Wide = __int128;
    return static_cast<int64_t>(Wide{range_->Start()} * DeviceColumns() / range_->Frames());
}

int64_t LWaveView::CanvasX(int64_t frame) const {
    if (!ShowsSamples()) return Grid().ColumnOf(frame) - FirstColumn();
    return static_cast<int64_t>(std::floor(range_->XOf(frame, DeviceColumns())));
}

const std::vector<LMarker>& LWaveView::Markers() const {
    static const std::vector<LMarker> none;
    return markers_ ? *markers_ : none;
}

// --- Columns

// Wants what is in view and not there yet, unless the worker is at it already.
bool LWaveView::Ask() {
    const bool samples = ShowsSamples();
    const LColumnGrid grid = samples ? LColumnGrid{0, 1, 1} : Grid();
    if (samples)  // and what the curve at both sides of the view follows from
        columns_.Show(grid, range_->Start() - 1 - kCurveReach,
                      static_cast<int>(range_->Frames()) + 3 + 2 * kCurveReach);
    else
        columns_.Show(grid, FirstColumn() - 1, DeviceColumns() + 2);
    const auto [from, to] = columns_.Missing();
    if (from == to || (askedGrid_ == grid && askedFrom_ <= from && askedTo_ >= to)) return false;
    askedGrid_ = grid;
    askedFrom_ = from;
    askedTo_ = to;
    worker_.Ask(kWorkerView, grid, from, static_cast<int>(to - from));
    return true;
}

void LWaveView::TakeColumns() {
    for (const LColumnBatch& batch : worker_.Fetch(kWorkerView)) {
        const auto [from, to] = columns_.Take(batch);
        if (from == to) continue;
        if (ShowsSamples())
            Spoil();
        else
            SpoilColumns(from, to + 1);  // a bar reaches to the one before it
    }
}

bool LWaveView::Complete(int ms) {
    Ask();
    const auto missing = columns_.Missing();
    if (missing.first == missing.second) return true;
    worker_.Wait(kWorkerView, ms);
    TakeColumns();
    const auto left = columns_.Missing();
    if (left.first == left.second) return true;
    askedFrom_ = askedTo_ = ms < 0 ? 0 : askedTo_;
    return false;
}

// --- What has to be painted anew

void LWaveView::Spoil() {
    spoiled_.assign(1, {0, canvas_.width()});
    update();
}

void LWaveView::SpoilColumns(int64_t from, int64_t to) {
    const int64_t first = FirstColumn();
    const int64_t width = DeviceColumns();
    const int left = static_cast<int>(std::clamp<int64_t>(from - first, 0, width));
    const int right = static_cast<int>(std::clamp<int64_t>(to - first, 0, width));
    if (left >= right) return;
    // By its place in the canvas, which may still show another part of the sound.
    const auto moved = static_cast<int>(std::clamp<int64_t>(first - canvasFirst_, -width, width));
    spoiled_.push_back({left + moved, right + moved});
    const qreal ratio = devicePixelRatioF();
    const int x = static_cast<int>(left / ratio) - 1;
    update(x, 0, static_cast<int>(right / ratio) + 2 - x, height());
}

// Only what lies between two frames looks different now.
void LWaveView::SpoilFrames(int64_t one, int64_t other) {
    if (one == other) return;
    const LColumnGrid grid = Grid();
    const int64_t reach = ShowsSamples() ? DeviceColumns() / std::max<int64_t>(1, range_->Frames()) + 8 : 1;
    SpoilColumns(grid.ColumnOf(std::min(one, other)) - reach, grid.ColumnOf(std::max(one, other)) + reach);
}

void LWaveView::UpdateAround(int64_t frame) {
    const double x = std::clamp<double>(range_->XOf(frame, width()), -10, width() + 10);
    update(static_cast<int>(x) - 3, 0, 6, height());
}

void LWaveView::SetPlayLine(int64_t frame) {
    const double before = PlayLineX();
    playLine_ = frame;
    const double now = PlayLineX();
    if (before == now) return;
    for (const double x : {before, now})
        if (x > -kPlayLineWidth && x < width())
            update(static_cast<int>(std::floor(x)) - 1, 0, static_cast<int>(kPlayLineWidth) + 3, height());
}

// In whole columns of the screen, far outside without one.
double LWaveView::PlayLineX() const {
    if (playLine_ < 0) return -1e6;
    return std::clamp(static_cast<double>(CanvasX(playLine_)) / devicePixelRatioF(), -1e6, 1e6);
}

bool LWaveView::event(QEvent* event) {
    // Escape belongs to what is being drawn or dragged before any command of the frame.
    if (event->type() == QEvent::ShortcutOverride && drag_ != Drag::kNone && drag_ != Drag::kScrub &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

void LWaveView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) Spoil();
    QWidget::changeEvent(event);
}

void LWaveView::Describe() {
    if (QAccessible::isActive()) {
        QAccessibleValueChangeEvent moved(this, static_cast<double>(cursor_) / SampleRate());
        QAccessible::updateAccessibility(&moved);
    }
    const int32_t rate = document_->sound.sampleRate;
    const LSelection selection = document_->EditRange();
    const QString cursor = QStringLiteral("Cursor at %1").arg(TimeText(cursor_, rate));
    setAccessibleDescription(selection.IsEmpty() ? cursor
                                                 : QStringLiteral("%1, selected from %2 to %3")
                                                       .arg(cursor, TimeText(selection.start, rate),
                                                            TimeText(selection.end, rate)));
}

}  // namespace ondarix
