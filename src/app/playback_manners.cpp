// SPDX-License-Identifier: GPL-3.0-or-later
// Walking fast through a sound, and the sound under the hand; and what is said when nothing can be heard.
#include <algorithm>

#include "app/playback.h"
#include "app/sound_window.h"
#include "devices/device_list.h"
#include "gen/settings.h"
#include "sound/readers.h"

namespace ondarix {
namespace {

constexpr double kSkip = 7;  // lengths of a piece from one to the next
constexpr int kScrubStepMs = 100;

}  // namespace

void LPlayback::SetManner(LPlayManner manner) {
    if (manner == manner_) return;
    if (manner == LPlayManner::kPlain)
        LeaveManner();
    else
        EnterManner(manner);
}

void LPlayback::EnterManner(LPlayManner manner) {
    LSoundWindow* sound = state_ == LPlayState::kStopped ? documents_.ActiveSound() : Sound();
    if (!sound || sound->Document().Edited().Length() == 0) return;
    if (manner_ == LPlayManner::kPlain) stateBefore_ = state_;
    int64_t at = Position();
    if (state_ == LPlayState::kStopped) {
        Take(*sound);
        at = sound->Document().cursor;
        start_ = 0;
        end_ = Length();
        part_ = false;
    }
    manner_ = manner;
    LSoundSourceRef source;
    if (manner == LPlayManner::kScrub) {
        LSoundSourceRef reader = MakeSource<LSoundReader>(snapshot_);
        reader->peak = peak_;
        source = scrub_ = MakeSource<LScrubSource>(reader, at);
    } else {
        chain_ = MakeChain(std::clamp<int64_t>(at, 0, Length() - 1),
                           manner == LPlayManner::kRewind ? -kSkip : kSkip);
        source = chain_->Source();
    }
    if (state_ == LPlayState::kStopped) {
        if (!Start(source)) return;
    } else {
        player_.SetLowLatency(manner == LPlayManner::kScrub);
        ApplyVolume();
        Swap(source, 0);
        if (manner != LPlayManner::kScrub) player_.SetPositionFrames(chain_->FromSound(at, 0));
        if (state_ == LPlayState::kPaused) player_.Resume();
    }
    SetState(LPlayState::kPlaying);
    ShowAt(at, true);
}

void LPlayback::LeaveManner() {
    const int64_t at = Position();
    if (stateBefore_ == LPlayState::kStopped) {
        PutCursor(at);
        before_ = placed_;
        return Stop();
    }
    if (stateBefore_ == LPlayState::kPaused) player_.Pause();
    manner_ = LPlayManner::kPlain;
    player_.SetLowLatency(false);
    ApplyVolume();
    if (at < start_ || at >= end_) {
        start_ = 0;
        end_ = Length();
        part_ = false;
    }
    chain_ = MakeChain(std::clamp(at, start_, std::max(start_, end_ - 1)));
    Swap(chain_->Source(), 0);
    scrub_.Reset();
    player_.SetPositionFrames(chain_->FromSound(at, 0));
    if (stateBefore_ == LPlayState::kPaused) PutCursor(at);
    SetState(stateBefore_);
    ShowAt(at, true);
}

void LPlayback::ScrubTo(int64_t frame) {
    SetManner(LPlayManner::kScrub);
    if (manner_ != LPlayManner::kScrub) return;
    static_cast<LScrubSource*>(scrub_.Get())->SetTarget(std::clamp<int64_t>(frame, 0, Length()));
}

void LPlayback::ScrubBy(int steps) {
    SetManner(LPlayManner::kScrub);
    if (manner_ == LPlayManner::kScrub)
        ScrubTo(Position() + int64_t{steps} * snapshot_.sampleRate * kScrubStepMs / 1000);
}

// --- Failures

void LPlayback::Fail(uint16_t status) {
    if (state_ != LPlayState::kStopped || Sound()) Finish(true);
    // Behind whatever has asked for the sound: the question waits for an answer.
    QMetaObject::invokeMethod(
        this, [this, status] { TellFailure(status); }, Qt::QueuedConnection);
}

void LPlayback::TellFailure(uint16_t /*status*/) {
    LMessageHost& messages = documents_.EditHost().Messages();
    const QString device = QStringLiteral("\"%1\"").arg(DeviceText());
    const QString text =
        QStringLiteral(
            "The playback has failed to start on device %1. Please check the following:\n\n"
            "1. Your device %1 is connected and turned on.\n\n"
            "2. Try to select another audio output device in the Audio tab of Ondarix Options.")
            .arg(device);
    if (messages.Ask(QStringLiteral("Playback Error"), text,
                     {QStringLiteral("Open Options"), QStringLiteral("Cancel")}, 1) == 0 &&
        openOptions)
        openOptions();
}

}  // namespace ondarix
