// SPDX-License-Identifier: GPL-3.0-or-later
// What the frame shows of playing, and what others may ask of it.
#include "app/frame.h"
#include "app/frame_handlers.h"
#include "app/playback.h"
#include "app/time_text.h"

namespace ondarix {

void LMainFrame::ConnectPlayback() {
    playback_->openOptions = [this] { ShowOptions(QStringLiteral("Audio")); };
    connect(playback_.get(), &LPlayback::StateChanged, this, &LMainFrame::ShowPlayback);
    connect(playback_.get(), &LPlayback::PositionChanged, this, &LMainFrame::ShowHeard);
    connect(playback_.get(), &LPlayback::SettingsChanged, this, &LMainFrame::RefreshActions);
    connect(playback_.get(), &LPlayback::Hint, this, &LMainFrame::ShowHint);
}

void LMainFrame::ConnectPlayback(LSoundWindow& window) {
    connect(&window, &LSoundWindow::Closed, playback_.get(), [this, &window] { playback_->Forget(window); });
    const auto clicked = [this, &window](qint64 frame) {
        if (playback_->Holds(window)) playback_->SeekByClick(frame);
    };
    connect(&window.View(), &LWaveView::Clicked, playback_.get(), clicked);
    connect(&window.MarkerRow(), &LMarkerRow::GoTo, playback_.get(), clicked);
    connect(&window.View(), &LWaveView::Scrubbed, playback_.get(), [this, &window](qint64 frame) {
        if (playback_->Holds(window)) playback_->ScrubTo(frame);
    });
}

void LMainFrame::ShowPlayback() {
    if (closing_) return;
    const bool scrubs = playback_->Manner() == LPlayManner::kScrub;
    for (LSoundWindow* sound : Sounds()) sound->View().SetScrubbing(scrubs && playback_->Holds(*sound));
    RefreshActions();
}

void LMainFrame::ShowPlayChecks() {
    const auto check = [this](int id, bool on) {
        if (QAction* action = ActionOf(id)) action->setChecked(on);
    };
    check(kCmdLoop, playback_->Loop());
    check(kCmdRewind, playback_->Manner() == LPlayManner::kRewind);
    check(kCmdForward, playback_->Manner() == LPlayManner::kForward);
    check(kCmdScrub, playback_->Manner() == LPlayManner::kScrub);
    const int chosen = playback_->SpeedIndex();
    for (int index = 0; index < kPlaySpeeds; ++index) check(SpeedCommand(index), index == chosen);
}

void LMainFrame::ShowHeard() {
    if (closing_) return;
    LSoundWindow* sound = ActiveSound();
    if (!sound) return;
    const int32_t rate = sound->Document().sound.sampleRate;
    const bool holds = playback_->Holds(*sound);
    const char* what = !holds ? "Cursor" : playback_->State() == LPlayState::kPaused ? "Paused" : "Playing";
    const int64_t frame = holds ? playback_->Position() : sound->Document().cursor;
    position_->setText(QStringLiteral("%1 %2").arg(QLatin1String(what), TimeText(frame, rate)));
}

QString LMainFrame::PlayText(int id) const {
    const bool pauses = id == kCmdPlay && playback_->State() == LPlayState::kPlaying;
    return pauses ? QStringLiteral("&Pause") : QString();
}

QString LMainFrame::PlayTip(int id, const QString& keys) const {
    const auto with = [&](const char* text) {
        if (keys.isEmpty()) return QString::fromLatin1(text);
        return QStringLiteral("%1 (%2)").arg(QString::fromLatin1(text),
                                             QString(keys).replace(QLatin1Char('+'), QStringLiteral(" + ")));
    };
    if (id == kCmdScrub) return with("Turn scrub on or off");
    if (id == kCmdLoop) return with("Turn loop on or off");
    if (id != kCmdPlay || playback_->State() == LPlayState::kPlaying || keys.isEmpty()) return {};
    return PlayLabel(playback_->SpeedIndex(), keys);
}

// --- What others ask

bool LMainFrame::Play(int64_t startFrame, int64_t endFrame) {
    LSoundWindow* sound = ActiveSound();
    return sound && playback_->Play(*sound, startFrame, endFrame);
}

bool LMainFrame::StopAll() {
    const bool played = playback_->State() != LPlayState::kStopped;
    playback_->Stop();
    return played;
}

bool LMainFrame::RestartPlayback() { return playback_->PlayAgain(); }

void LMainFrame::PlaySelection(LSoundDocument& document) {
    if (LSoundWindow* window = WindowOf(document)) playback_->Play(*window);
}

}  // namespace ondarix
