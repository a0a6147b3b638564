// SPDX-License-Identifier: GPL-3.0-or-later
// Walking fast through a sound, and the sound under the hand.
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
        Take(*sound, sound->Document().Edited());
        at = sound->Document().cursor;
        TakeWhole();
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
        Swap(source, kFromStart);
        if (manner != LPlayManner::kScrub) player_.SetPositionFrames(chain_->FromSound(at, 0));
        if (state_ == LPlayState::kPaused) player_.Resume();
    }
    SetState(LPlayState::kPlaying);
    Show(at);
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
    if (at < start_ || at >= end_) TakeWhole();
    chain_ = MakeChain(InRange(at));
    Swap(chain_->Source(), kFromStart);
    scrub_.Reset();
    player_.SetPositionFrames(chain_->FromSound(at, 0));
    if (stateBefore_ == LPlayState::kPaused) PutCursor(at);
    SetState(stateBefore_);
    Show(at);
}

// It has run into an end of the sound.
void LPlayback::MannerEnded() {
    const bool back = manner_ == LPlayManner::kRewind;
    if (stateBefore_ != LPlayState::kPlaying) {
        PutCursor(back ? 0 : Length());
        return Finish(false);
    }
    if (!back) return Finish(true);
    manner_ = LPlayManner::kPlain;
    if (start_ > 0) TakeWhole();
    chain_ = MakeChain(0);
    if (!Start(chain_->Source())) return;
    SetState(LPlayState::kPlaying);
    Show(0);
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

}  // namespace ondarix
