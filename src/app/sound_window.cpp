// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/sound_window.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QSignalBlocker>

#include "gen/settings.h"

namespace ondarix {
namespace {

constexpr int64_t kMostScrollSteps = 1 << 30;

}  // namespace

LSoundWindow::LSoundWindow(LSoundDocumentRef document, LEditHost& host)
    : document_(std::move(document)), host_(host) {
    setObjectName(QStringLiteral("soundWindow"));
    range_.SetTotal(document_->Edited().Length());
    // Called on the worker, while this window lives: its destructor ends the worker first.
    worker_ = std::make_unique<LWaveColumnsWorker>(
        [this] { QMetaObject::invokeMethod(this, &LSoundWindow::TakeColumns, Qt::QueuedConnection); });
    view_ = new LWaveView(document_, &range_, *worker_, host_, this);
    markerRow_ = new LMarkerRow(document_, &range_, host_, this);
    channels_ = new LChannelBar(document_, this);
    timeRuler_ = new LTimeRuler(document_, &range_, this);
    levelRuler_ = new LLevelRuler(this);
    overview_ = new LOverviewBar(document_, &range_, *worker_, this);
    scrollBar_ = new QScrollBar(Qt::Horizontal, this);
    scrollBar_->setObjectName(QStringLiteral("scrollBar"));
    scrollBar_->setAccessibleName(QStringLiteral("Position of the view"));
    scrollBar_->setAccessibleDescription(QStringLiteral("Moves the part of the sound in view"));
    Arrange();
    Connect();
    ShowSound();
    view_->SetShowsDb(GetSettingBool(QStringLiteral("Settings"), QStringLiteral("ShowDBLines"), false));
    ShowRange();
    ShowTitle();
    setFocusProxy(view_);
}

LSoundWindow::~LSoundWindow() { worker_.reset(); }

void LSoundWindow::Arrange() {
    QGridLayout* const grid = grid_ = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(0);
    grid->addWidget(timeRuler_, 0, 2);
    grid->addWidget(markerRow_, 1, 2);
    grid->addWidget(channels_, 2, 0);
    grid->addWidget(levelRuler_, 2, 1);
    grid->addWidget(view_, 2, 2);
    grid->addWidget(scrollBar_, 3, 2);
    grid->addWidget(overview_, 4, 2);
    grid->setRowStretch(2, 1);
    grid->setColumnStretch(2, 1);
}

void LSoundWindow::Connect() {
    connect(&range_, &LViewRange::Changed, this, &LSoundWindow::ShowRange);
    connect(scrollBar_, &QScrollBar::valueChanged, this,
            [this](int value) { range_.MoveTo(int64_t{value} * framesPerStep_); });
    connect(view_, &LWaveView::SelectionChanged, this, [this] {
        timeRuler_->update();
        overview_->update();
        Q_EMIT SelectionChanged();
    });
    connect(view_, &LWaveView::LevelsChanged, this, &LSoundWindow::ShowLevels);
    connect(view_, &LWaveView::Hint, this, &LSoundWindow::Hint);
    connect(view_, &LWaveView::ContextMenuRequested, this, &LSoundWindow::ContextMenuRequested);
    connect(markerRow_, &LMarkerRow::ContextMenuRequested, this, &LSoundWindow::ContextMenuRequested);
    connect(markerRow_, &LMarkerRow::Moving, view_, QOverload<>::of(&QWidget::update));
    connect(markerRow_, &LMarkerRow::GoTo, this, [this](qint64 frame) { view_->MoveCursor(frame, false); });
    connect(markerRow_, &LMarkerRow::Left, this, [this] { view_->setFocus(); });
    connect(markerRow_, &LMarkerRow::RenameRequested, this, [this](const LMarker& marker) {
        if (marker.kind == LMarkerKind::kBookmark)
            Q_EMIT RenameBookmarkRequested(marker.id);
        else
            Q_EMIT RenameRegionRequested(marker.id);
    });
    connect(channels_, &LChannelBar::ChannelClicked, this, &LSoundWindow::ChannelClicked);
    connect(channels_, &LChannelBar::ContextMenuRequested, this, [this](QPoint global, int channel) {
        Q_EMIT ContextMenuRequested(global, {view_->Cursor(), channel, 0, 0});
    });
    view_->SetMarkers(&markerRow_->Markers());
    markerRow_->snap = [this](int64_t frame, Qt::KeyboardModifiers modifiers) {
        return view_->Snapped(frame, modifiers);
    };
}

void LSoundWindow::ShowBelow(QWidget* strip) {
    grid_->addWidget(strip, grid_->rowCount(), 0, 1, grid_->columnCount());
    strip->show();
}

// The sound or its marks are others.
void LSoundWindow::ShowSound() {
    const bool alone = document_->channelEditMode == LSoundDocument::kEditsChannel && document_->channelSound;
    const uint64_t number = worker_->SetSound(
        document_->sound, alone ? document_->channelSound.get() : nullptr, document_->editedChannel);
    view_->SoundChanged(number);
    overview_->SoundChanged(number);
    markerRow_->MarkersChanged();
    ShowLevels();
}

void LSoundWindow::ShowLevels() {
    levelRuler_->Set(view_->Strips(), view_->VerticalZoom(), view_->ShowsDb());
    channels_->Show(view_->MonoView());
}

void LSoundWindow::TakeColumns() {
    view_->TakeColumns();
    overview_->TakeColumns();
}

bool LSoundWindow::Complete(int ms) {
    const bool view = view_->Complete(ms);
    return overview_->Complete(ms) && view;
}

QImage LSoundWindow::Picture() {
    Complete();
    const QRect waves = view_->geometry().united(levelRuler_->geometry()).united(channels_->geometry());
    return grab(waves.united(timeRuler_->geometry())).toImage();
}

void LSoundWindow::ShowRange() {
    const QSignalBlocker quiet(scrollBar_);
    framesPerStep_ = std::max<int64_t>(1, range_.Total() / kMostScrollSteps + 1);
    const auto steps = [this](int64_t frames) { return static_cast<int>(frames / framesPerStep_); };
    scrollBar_->setRange(0, steps(range_.Total() - range_.Frames()));
    scrollBar_->setPageStep(std::max(1, steps(range_.Frames())));
    scrollBar_->setSingleStep(std::max(1, steps(range_.Frames() / 20)));
    scrollBar_->setValue(steps(range_.Start()));
    document_->viewStart = range_.Start();
    document_->viewEnd = range_.End();
}

// Where somebody has scrolled away from the line, the view stays there.
void LSoundWindow::ShowPlayed(int64_t frame, bool reveal, bool back) {
    const auto isInView = [this](int64_t at) { return at >= range_.Start() && at <= range_.End(); };
    const bool wasInView = view_->PlayLine() >= 0 && isInView(view_->PlayLine());
    view_->SetPlayLine(frame);
    timeRuler_->SetPlayed(frame);
    overview_->SetPlayed(frame);
    if (frame < 0 || isInView(frame) || !(wasInView || reveal) || view_->IsDragging()) return;
    if (!GetSettingBool(QStringLiteral("Settings"), QStringLiteral("AutoScroll"), true)) return;
    range_.MoveTo(back && !reveal ? frame - range_.Frames() : frame);
}

void LSoundWindow::Refresh() {
    document_->ClampPositions();
    const int64_t start = document_->viewStart, end = document_->viewEnd;
    ShowSound();
    range_.SetTotal(document_->Edited().Length());
    if (start < end) range_.Show(start, end - start);
    ShowRange();
    view_->ShowSelection();
    ShowTitle();
}

void LSoundWindow::ShowTitle() {
    QString name = document_->title;
    name.replace(QStringLiteral("[*]"), QStringLiteral("[*][*]"));  // shown as it stands
    setWindowTitle(name + QStringLiteral("[*]"));
    setWindowModified(document_->isModified);
    setToolTip({});
    setAccessibleName(document_->title);
    setAccessibleDescription(document_->path);
}

void LSoundWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Escape || !document_->isBusy) return QWidget::keyPressEvent(event);
    Q_EMIT CancelRequested();
}

void LSoundWindow::closeEvent(QCloseEvent* event) {
    if (mayClose && !mayClose(*this)) {
        event->ignore();
        return;
    }
    event->accept();
    Q_EMIT Closed();
}

}  // namespace ondarix
