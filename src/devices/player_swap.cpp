// SPDX-License-Identifier: GPL-3.0-or-later
// Another source in the middle of the sound: what is queued of the old one is taken back but for a bridge,
// and the new one is faded into from what would have been heard behind the bridge.
#include <algorithm>
#include <cmath>

#include "devices/player.h"
#include "devices/player_feeder.h"

namespace ondarix {

void LSoundPlayer::Suspend() {
    if (!device_.IsOpen() || suspended_) return;
    feed_->lock.lock();
    suspended_ = true;
    oldTop_ = feed_->stack.top;
    oldMap_ = map_;
    oldRate_ = givenRate_;
    suspendPosition_ = PlaceOf(*oldTop_);
    scale_ = 1.0;
}

bool LSoundPlayer::SwapSource(LSoundSourceRef source, double scale) {
    if (!suspended_ || source.IsEmpty() || !source.IsUsable() || !(scale > 0)) return false;
    ReleaseStack();
    givenRate_ = static_cast<int32_t>(source->sampleRate);
    scale_ = scale;
    feed_->stack = StackForDevice(std::move(source), limited_, device_.Rate(), tap_);
    PlaceSource(0);
    device_.BeginSwap();
    device_.SetSource(feed_->stack.top);
    device_.EndSwap();
    return true;
}

// Where the sound goes on behind what is queued, of which `dropped` frames were taken back.
void LSoundPlayer::PlaceSource(int64_t dropped) {
    LPlayFeed& feed = *feed_;
    LSoundSource& top = *feed.stack.top;
    const double perFrame = static_cast<double>(givenRate_) / device_.Rate();
    const double exact = static_cast<double>(oldMap_.ToGiven(feed.nextFrame)) * scale_;
    const bool same = scale_ == 1.0 && givenRate_ == oldRate_;
    // Rounded once: half a frame of the device off at most.
    const int64_t place = same ? suspendPosition_ - dropped : std::llround(exact / perFrame);
    const uint32_t tapPlace = tap_.Place();
    top.Seek(place);
    tap_.Return(tapPlace);
    const int64_t real = PlaceOf(top);  // another one at its end, or where it cannot be moved
    const double given = real == place ? exact : static_cast<double>(real) * perFrame;
    map_ = oldMap_;
    if (!same || real != place) map_.Continue(feed.nextFrame, std::llround(given), givenRate_, scale_);
    ForgetEnd();
}

void LSoundPlayer::ResyncAfterSwap() {
    if (!suspended_) return;
    LPlayFeed& feed = *feed_;
    device_.BeginSwap();
    const int64_t dropped = device_.DropQueue();
    device_.EndSwap();
    feed.nextFrame -= dropped;
    const uint32_t tapPlace = tap_.Place();
    const bool fade = ReadOnForFade(dropped);
    PlaceSource(dropped);
    tap_.Return(tapPlace);
    tap_.Move(-dropped * oldTop_->channels);
    if (fade) {
        tap_.ArmFade();
    } else {
        tap_.CancelFade();
    }
}

// The tap must know as much of the old source as the fade is long. False: there is nothing to fade from.
bool LSoundPlayer::ReadOnForFade(int64_t dropped) {
    const int channels = oldTop_->channels;
    if (channels != feed_->stack.top->channels) tap_.Reset();
    if (channels != feed_->stack.top->channels || channels > LPlaybackTap::kMostChannels) return false;
    if (feed_->nextFrame <= feed_->firstFrame) return false;  // nothing of it was, or will be, heard
    const int64_t missing = device_.BlockFrames() - dropped;
    if (missing <= 0) return true;
    std::vector<float> unheard(static_cast<size_t>(missing) * static_cast<size_t>(channels));
    oldTop_->Read(unheard.data(), static_cast<int32_t>(missing));
    return true;
}

void LSoundPlayer::ResumeFeed() {
    if (!suspended_) return;
    suspended_ = false;
    oldTop_.Reset();
    const bool ended = feed_->ended;
    feed_->lock.unlock();
    feed_->sourceSpace.Set();
    if (ended) RestartFeeder();
}

}  // namespace ondarix
