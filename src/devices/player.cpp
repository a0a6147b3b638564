// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/player.h"

#include <algorithm>

#include "devices/player_feeder.h"

namespace ondarix {
namespace {

constexpr int32_t kUsualRate = 44100;
constexpr int kLowLatencyMs = 60;

LSoundPlayerEvents& NoEvents() {
    static LSoundPlayerEvents none;
    return none;
}

}  // namespace

LSoundPlayer::LSoundPlayer()
    : events_(&NoEvents()),
      mailbox_(std::make_unique<LPlayerMailbox>([this] { OnThreadNotify(); })),
      feed_(std::make_unique<LPlayFeed>(device_, *mailbox_)),
      feeder_(std::make_unique<LPlayFeeder>(*feed_)) {}

LSoundPlayer::~LSoundPlayer() {
    SetListener(nullptr);
    Stop();
}

void LSoundPlayer::SetListener(LSoundPlayerEvents* events, uintptr_t userData) {
    events_ = events ? events : &NoEvents();
    userData_ = userData;
}

void LSoundPlayer::SelectDevice(const LDeviceSelection& selection) {
    Stop();
    device_.SetSelection(selection);
}

// --- Play and stop

// A handle of its own: stopping may let go of the one that the caller has.
bool LSoundPlayer::Play(LSoundSourceRef source) {  // NOLINT(performance-unnecessary-value-param)
    if (starting_) return false;
    starting_ = true;
    Stop();
    starting_ = false;
    if (source.IsEmpty() || !source.IsUsable()) return Fail(kDeviceNoChannels);
    if (!source->Format().IsValid()) return Fail(kDeviceRateUnsupported);
    tap_.Reset();
    limited_ = limiterEnabled_;
    if (!OpenDevice(source)) return Fail(device_.GetStatus());
    Begin();
    if (!feeder_->Start()) return Fail(kDeviceRefused);
    device_.Start();
    if (const uint16_t status = device_.GetStatus(); status != kDeviceGood) return Fail(status);
    lastStatus_ = kDeviceGood;
    started_ = true;
    events_->OnPlayStarted(userData_);
    return true;
}

bool LSoundPlayer::Fail(uint16_t status) {
    Stop();
    lastStatus_ = status;
    return false;
}

bool LSoundPlayer::OpenDevice(const LSoundSourceRef& source) {
    const auto rate = static_cast<int32_t>(source->sampleRate);
    feed_->stack = StackForDevice(source, limited_, rate, tap_);
    if (device_.Open(feed_->stack.top)) return true;
    if (device_.GetStatus() != kDeviceRateUnsupported) return false;
    int32_t preferred = device_.PreferredRate(rate);
    if (preferred < 1) preferred = device_.PreferredRate(kUsualRate);
    feed_->stack = StackForDevice(source, limited_, preferred < 1 ? kUsualRate : preferred, tap_);
    return device_.Open(feed_->stack.top);
}

void LSoundPlayer::Begin() {
    LPlayFeed& feed = *feed_;
    givenRate_ = static_cast<int32_t>(feed.stack.given->sampleRate);
    feed.firstFrame = feed.nextFrame = PlaceOf(*feed.stack.top);
    map_.Begin(feed.nextFrame, PlaceOf(*feed.stack.given), givenRate_, device_.Rate());
    feed.ended = false;
    ForgetEnd();
    feed.sourceSpace.Reset();
    feed.feederFinished.Reset();
    ++run_;
}

void LSoundPlayer::ForgetEnd() {
    feed_->endFrame = feed_->endGiven = -1;
    device_.MarkEnd(false);
}

void LSoundPlayer::Stop() {
    if (suspended_) {
        suspended_ = false;
        feed_->lock.unlock();
    }
    feeder_->Stop();
    if (device_.IsOpen()) {
        lastPosition_ = GetPositionFrames();
        if (device_.GetStatus() != kDeviceGood) lastStatus_ = device_.GetStatus();
    }
    device_.Close();
    device_.ClearStatus();
    ReleaseStack();
    oldTop_.Reset();
    tap_.Reset();
    feed_->finishedPending = feed_->progressPending = false;
    ++run_;
    if (!started_) return;
    started_ = false;
    events_->OnPlayStopped(userData_);
}

void LSoundPlayer::ReleaseStack() {
    LPlayStack& stack = feed_->stack;
    clipped_ = clipped_ || (stack.limiter && stack.limiter->HasClipped());
    stack.Release();
}

// The thread that has ended, or is about to, is waited for.
void LSoundPlayer::RestartFeeder() {
    feeder_->Stop();
    feed_->ended = false;
    feed_->finishedPending = false;
    feed_->feederFinished.Reset();
    feeder_->Start();
}

// --- While it plays

void LSoundPlayer::SetPositionMs(int64_t milliseconds) {
    const int64_t ms = std::max<int64_t>(0, milliseconds);
    SetPositionFrames(ms / 1000 * givenRate_ + ms % 1000 * givenRate_ / 1000);
}

void LSoundPlayer::SetPositionFrames(int64_t frames) {
    if (!device_.IsOpen() || suspended_) return;
    LPlayFeed& feed = *feed_;
    bool ended = false;
    {
        const std::lock_guard guard(feed.lock);
        LSoundSource& top = *feed.stack.top;
        frames = std::clamp<int64_t>(frames, 0, std::max<int64_t>(0, feed.stack.given->GetLength()));
        const int64_t place = map_.ToDeviceRate(frames);
        top.Seek(place);
        tap_.CancelFade();
        feed.firstFrame = feed.nextFrame = PlaceOf(top);
        if (feed.nextFrame != place) frames = map_.ToGivenRate(feed.nextFrame);
        map_.Begin(feed.nextFrame, frames, givenRate_, device_.Rate());
        device_.SetPlayedBase(feed.nextFrame);
        ForgetEnd();
        feed.finishedPending = feed.progressPending = false;
        ended = feed.ended;
    }
    feed.sourceSpace.Set();
    if (ended) RestartFeeder();
    ++run_;
    ReportPosition(frames);
}

bool LSoundPlayer::Pause() {
    if (!device_.Pause()) return false;
    events_->OnPlayPaused(userData_);
    return true;
}

bool LSoundPlayer::Resume() {
    if (!device_.Resume()) return false;
    feed_->sourceSpace.Set();
    if (started_) return true;
    started_ = true;
    events_->OnPlayStarted(userData_);
    return true;
}

bool LSoundPlayer::HasClipped() const {
    const LPeakLimiterSource* limiter = feed_->stack.limiter;
    return clipped_ || (limiter && limiter->HasClipped());
}

void LSoundPlayer::ResetClipped() {
    clipped_ = false;
    if (feed_->stack.limiter) feed_->stack.limiter->ResetClipped();
}

void LSoundPlayer::SetLowLatency(bool on) {
    std::unique_lock guard(feed_->lock, std::defer_lock);
    if (!suspended_) guard.lock();
    device_.SetQueueLimitMs(on ? kLowLatencyMs : 0);
}

int64_t LSoundPlayer::GetPositionFrames() const {
    if (!device_.IsOpen()) return lastPosition_;
    const int64_t played = device_.PlayedFrames();
    const int64_t frames = map_.ToGiven(played);
    const int64_t end = feed_->endFrame;
    if (end < 0) return frames;
    return played >= end ? feed_->endGiven.load() : std::min(frames, feed_->endGiven.load());
}

// --- What the threads report

void LSoundPlayer::OnThreadNotify() {
    if (!device_.IsOpen()) return;
    if (device_.GetStatus() != kDeviceGood) return Stop();  // suspended or not
    if (feed_->finishedPending && !suspended_) {
        const uint32_t run = run_;
        ReportProgress();
        if (run == run_) Stop();
    } else if (feed_->progressPending.exchange(false)) {
        ReportProgress();
    }
}

// False: the run was ended from within.
bool LSoundPlayer::ReportPosition(int64_t frames) {
    const uint32_t run = run_;
    events_->OnPositionFrames(userData_, frames);
    if (run != run_) return false;
    events_->OnPosition(userData_, frames / givenRate_ * 1000 + frames % givenRate_ * 1000 / givenRate_);
    return run == run_;
}

void LSoundPlayer::ReportProgress() {
    if (!ReportPosition(GetPositionFrames())) return;
    LLevelBytes levels;
    device_.Levels(levels);
    events_->OnLevels(userData_, levels);
}

}  // namespace ondarix
