// SPDX-License-Identifier: GPL-3.0-or-later
// The player at the bottom of the frame, and what the desktop learns of playing.
#include <QStatusBar>
#include <QToolBar>

#include "app/clip_indicator.h"
#include "app/frame.h"
#include "app/mpris.h"
#include "app/player_bar.h"
#include "app/sleep_inhibitor.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

const QString kPlayerPlace = QStringLiteral("MainWindow");
const QString kPlayerShown = QStringLiteral("PlayerBar");

}  // namespace

void LMainFrame::BuildPlayer() {
    playerBar_ = new LPlayerBar(*playback_, *this, this);
    playerTools_ = new QToolBar(QStringLiteral("Player"), this);
    playerTools_->setObjectName(QStringLiteral("playerTools"));
    playerTools_->setAccessibleName(QStringLiteral("Player"));
    playerTools_->setMovable(false);
    playerTools_->setContextMenuPolicy(Qt::PreventContextMenu);
    playerTools_->toggleViewAction()->setVisible(false);
    playerTools_->addWidget(playerBar_);
    addToolBar(Qt::BottomToolBarArea, playerTools_);

    auto* clip = new LClipIndicator(this);
    statusBar()->addPermanentWidget(clip);
    connect(clip, &QAbstractButton::clicked, playback_.get(), &LPlayback::ResetClipped);
    connect(playback_.get(), &LPlayback::ClippedChanged, clip,
            [this, clip] { clip->SetClipped(playback_->HasClipped()); });

    const bool plays = IsRegistered(LSubsystem::kPlayback);
    clip->setVisible(plays);
    playerTools_->setVisible(plays && GetSettingBool(kPlayerPlace, kPlayerShown, true));
}

bool LMainFrame::ShowsPlayer() const { return !playerTools_->isHidden(); }

void LMainFrame::ShowPlayer(bool on) {
    playerTools_->setVisible(on);
    SetSettingBool(kPlayerPlace, kPlayerShown, on);
    RefreshChecks();
}

void LMainFrame::StartPlayerServices() {
    if (!IsRegistered(LSubsystem::kPlayback)) return;
    mpris_ = std::make_unique<LMpris>(*playback_, *this, *this);
    inhibitor_ = std::make_unique<LSleepInhibitor>();
    connect(playback_.get(), &LPlayback::StateChanged, inhibitor_.get(),
            [this] { inhibitor_->Hold(playback_->State() == LPlayState::kPlaying); });
}

}  // namespace ondarix
