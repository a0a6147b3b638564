// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/alsa_stream.h"

#include <algorithm>
#include <cerrno>

#include "gen/realtime.h"

namespace ondarix {
namespace {

constexpr int kWaitSliceMs = 50;
constexpr int kSleepMs = 10;
constexpr int kSilenceMs = 40;  // kept in the PCM while there is nothing to play
constexpr int64_t kClockSpanMs = 1000;

}  // namespace

LAlsaStream::LAlsaStream(const LAlsaApi& api, const QString& id, LSoundFormat format)
    : LBackgroundThread("ALSA"), pcm_(api), id_(id.toUtf8()), format_(format) {}

void LAlsaStream::Run() {
    status_ = pcm_.Open(id_, format_);
    if (status_ == kDeviceGood) {
        block_.resize(static_cast<size_t>(pcm_.BufferFrames()) * format_.channels);
        silenceFrames_ =
            std::max<int64_t>(int64_t{format_.sampleRate} * kSilenceMs / 1000, 2 * pcm_.PeriodFrames());
    }
    isOpened_.store(true, std::memory_order_release);
    opened_.Set();
    if (status_ == kDeviceGood && WaitForHandle(play_.Handle(), kWaitForever) == WaitResult::kSignalled)
        Carry();
    pcm_.Close();
    ended_.Set();
}

void LAlsaStream::Play(LPlayQueue& queue) {
    {
        const std::lock_guard guard(takeLock_);
        queue_ = &queue;
    }
    // Not before: what the library starts for its own ends would inherit it.
    SetPriority(ThreadPriority::kTimeCritical);
    play_.Set();
}

void LAlsaStream::Flush() {
    const std::lock_guard guard(takeLock_);
    flush_ = true;
}

bool LAlsaStream::LetGo(int ms) {
    {
        const std::lock_guard guard(takeLock_);
        queue_ = nullptr;
    }
    SignalStop();
    return ended_.Wait(ms);
}

void LAlsaStream::Carry() {
    RestartClock();
    for (Next next = Next::kSleep; next != Next::kEnd && !IsCancelled();) {
        next = Step();
        if (next == Next::kSleep) Sleep(kSleepMs);
        if (next != Next::kWaitForRoom) continue;
        const int result = pcm_.Wait(kWaitSliceMs);
        if (result < 0) next = Recover(result);
    }
    if (IsCancelled()) return;
    const std::lock_guard guard(takeLock_);
    if (queue_) queue_->Fail(kDeviceLost);
}

void LAlsaStream::FlushNow() {
    {
        const std::unique_lock guard(takeLock_, std::try_to_lock);
        if (!guard || !flush_) return;
        flush_ = false;
    }
    givesSound_ = false;
    pcm_.Drop();
    pcm_.Prepare();
    RestartClock();
}

void LAlsaStream::RestartClock() {
    clockStart_ = Clock::now();
    written_ = 0;
    heldAtStart_ = 0;
}

int64_t LAlsaStream::ClockFrames() const {
    const std::chrono::duration<double> passed = Clock::now() - clockStart_;
    return static_cast<int64_t>(passed.count() * format_.sampleRate);
}

LAlsaStream::Next LAlsaStream::Step() {
    const LRealTimeScope realTime;
    FlushNow();
    const int64_t room = pcm_.FreeFrames();
    if (room < 0) return Recover(room);
    // What is neither in the buffer nor on its way to the ear has been consumed.
    const int64_t held = std::max(pcm_.BufferFrames() - room, pcm_.DelayFrames());
    return GiveTo(std::min(room, pcm_.BufferFrames()), held);
}

int64_t LAlsaStream::DueFrames(int64_t room, int64_t held) {
    const int64_t passed = ClockFrames();
    if (!freeRunning_) {
        const int64_t consumed = written_ + heldAtStart_ - held;
        freeRunning_ = consumed > passed + pcm_.BufferFrames() / 2;
        if (!freeRunning_ && passed > int64_t{format_.sampleRate} * kClockSpanMs / 1000) {
            RestartClock();
            heldAtStart_ = held;
        }
        if (!freeRunning_) return room;
    }
    // After the machine has slept the sound goes on where it was.
    if (passed - written_ > pcm_.BufferFrames()) {
        RestartClock();
        return 0;
    }
    return std::clamp<int64_t>(passed - written_, 0, room);
}

LAlsaStream::Next LAlsaStream::GiveTo(int64_t room, int64_t held) {
    int64_t due = DueFrames(room, held);
    bool silent = false;
    {
        const std::unique_lock guard(takeLock_, std::try_to_lock);
        const auto asked = static_cast<int32_t>(std::min(due, pcm_.BufferFrames()));
        silent = guard && queue_ && !queue_->IsReady(asked);
    }
    if (silent && !freeRunning_) due = std::min(due, std::max<int64_t>(0, silenceFrames_ - held));
    while (due > 0) {
        const int64_t ahead =
            freeRunning_ ? std::max<int64_t>(0, written_ - ClockFrames()) : pcm_.DelayFrames();
        const int32_t frames = TakeFrames(due, ahead);
        if (frames == 0) break;
        for (int64_t done = 0; done < frames;) {
            const int64_t now = pcm_.Write(block_.data() + done * format_.channels, frames - done);
            if (now == -EAGAIN && pcm_.Wait(kWaitSliceMs) >= 0 && !IsCancelled()) continue;
            if (now < 0) return Recover(now);
            done += now;
        }
        written_ += frames;
        due -= frames;
    }
    if (written_ > 0 && !pcm_.IsRunning()) pcm_.Begin();
    return silent || freeRunning_ ? Next::kSleep : Next::kWaitForRoom;
}

// Never waits for the engine, which holds the lock for moments only.
int32_t LAlsaStream::TakeFrames(int64_t frames, int64_t delay) {
    const std::unique_lock guard(takeLock_, std::try_to_lock);
    if (!guard || !queue_ || flush_) return 0;
    const auto now = static_cast<int32_t>(std::min<int64_t>(frames, pcm_.BufferFrames()));
    givesSound_ = queue_->Take(block_.data(), now, delay + now) == now;
    return now;
}

LAlsaStream::Next LAlsaStream::Recover(int64_t error) {
    if (error == -EAGAIN || error == -EINTR) return Next::kSleep;
    if (error == -ESTRPIPE) {
        const int result = pcm_.Resume();
        if (result == -EAGAIN) return Next::kSleep;  // the hardware is waking up
        RestartClock();
        return result >= 0 || pcm_.Prepare() >= 0 ? Next::kSleep : Next::kEnd;
    }
    if (error != -EPIPE) return Next::kEnd;
    if (givesSound_) {
        const std::unique_lock guard(takeLock_, std::try_to_lock);
        if (guard && queue_) queue_->CountGap();
    }
    givesSound_ = false;
    RestartClock();
    return pcm_.Prepare() >= 0 ? Next::kSleep : Next::kEnd;
}

}  // namespace ondarix
