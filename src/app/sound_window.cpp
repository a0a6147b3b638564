// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/sound_window.h"

#include <QCloseEvent>
#include <QGridLayout>
#include <QSignalBlocker>

#include "gen/settings.h"

namespace ondarix {
namespace {

constexpr int64_t kMostScrollSteps = 1 << 30;

}  // namespace

LSoundWindow::LSoundWindow(LSoundDocumentRef document, LEditHost& host)
    : document_(std::move(document)), host_(host) {
    setObjectName(QStringLiteral("soundWindow"));
    range_.SetTotal(document_->sound.Length());
    view_ = new LWaveView(document_, &range_, columns_, this);
    timeRuler_ = new LTimeRuler(document_, &range_, this);
    levelRuler_ = new LLevelRuler(this);
    overview_ = new LOverviewBar(document_, &range_, columns_, this);
    scrollBar_ = new QScrollBar(Qt::Horizontal, this);
    scrollBar_->setObjectName(QStringLiteral("scrollBar"));
    scrollBar_->setAccessibleName(QStringLiteral("Position of the view"));
    scrollBar_->setAccessibleDescription(QStringLiteral("Moves the part of the sound in view"));

    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(0);
    grid->addWidget(timeRuler_, 0, 1);
    grid->addWidget(levelRuler_, 1, 0);
    grid->addWidget(view_, 1, 1);
    grid->addWidget(scrollBar_, 2, 1);
    grid->addWidget(overview_, 3, 1);
    grid->setRowStretch(1, 1);
    grid->setColumnStretch(1, 1);

    connect(&range_, &LViewRange::Changed, this, &LSoundWindow::ShowRange);
    connect(scrollBar_, &QScrollBar::valueChanged, this,
            [this](int value) { range_.MoveTo(int64_t{value} * framesPerStep_); });
    connect(view_, &LWaveView::SelectionChanged, this, [this] {
        timeRuler_->update();
        overview_->update();
        Q_EMIT SelectionChanged();
    });
    connect(view_, &LWaveView::LevelsChanged, this,
            [this] { levelRuler_->Set(document_->sound.channels, view_->VerticalZoom(), view_->ShowsDb()); });
    view_->SetShowsDb(GetSettingBool(QStringLiteral("Settings"), QStringLiteral("ShowDBLines"), false));
    ShowRange();
    ShowTitle();
    setFocusProxy(view_);
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

void LSoundWindow::Refresh() {
    document_->ClampPositions();
    view_->SoundChanged();
    overview_->SoundChanged();
    const int64_t start = document_->viewStart, end = document_->viewEnd;
    range_.SetTotal(document_->sound.Length());
    if (start < end) range_.Show(start, end - start);
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

void LSoundWindow::closeEvent(QCloseEvent* event) {
    if (mayClose && !mayClose(*this)) {
        event->ignore();
        return;
    }
    event->accept();
    Q_EMIT Closed();
}

}  // namespace ondarix
