// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <atomic>
#include <chrono>
#include <mutex>

#include "devices/alsa_pcm.h"
#include "devices/play_queue.h"
#include "gen/background_thread.h"

namespace ondarix {

// The thread that carries sound from the queue to a PCM. It opens the PCM too, because what stands behind one
// may hang: a caller then goes on without it.
class LAlsaStream final : public LBackgroundThread {
  public:
    LAlsaStream(const LAlsaApi& api, const QString& id, LSoundFormat format);
    ~LAlsaStream() override { Stop(); }

    // After Start(). False: it is not known yet, and the rest must not be asked.
    bool WaitOpened(int ms) { return opened_.Wait(ms) && isOpened_.load(std::memory_order_acquire); }
    LDeviceStatus Status() const { return status_; }
    LSoundFormat Format() const { return format_; }
    const std::vector<int32_t>& Rates() const { return pcm_.Rates(); }

    void Play(LPlayQueue& queue);
    // What was taken from the queue before is not to be heard.
    void Flush();
    // The queue is not touched from now on, and the thread ends. False: not within that time.
    bool LetGo(int ms);

  protected:
    void Run() override;

  private:
    using Clock = std::chrono::steady_clock;
    enum class Next : uint8_t { kWaitForRoom, kSleep, kEnd };

    void Carry();
    Next Step();
    Next GiveTo(int64_t room, int64_t held);
    // What is taken counts from here on. Of a PCM that waits for nobody, what is due by the clock.
    int64_t DueFrames(int64_t room, int64_t held);
    int64_t ClockFrames() const;
    void RestartClock();
    int32_t TakeFrames(int64_t frames, int64_t delay);
    Next Recover(int64_t error);
    void FlushNow();

    LAlsaPcm pcm_;
    QByteArray id_;
    LSoundFormat format_;
    LDeviceStatus status_ = kDeviceOpening;
    LEvent opened_, play_, ended_;
    std::atomic<bool> isOpened_{false};  // with opened_; what was set before is seen

    // Held for some microseconds: whether and from where sound is taken.
    std::mutex takeLock_;
    LPlayQueue* queue_ = nullptr;
    bool flush_ = false;

    // The thread's.
    std::vector<float> block_;
    int64_t silenceFrames_ = 0;
    Clock::time_point clockStart_;
    int64_t written_ = 0;      // since then
    int64_t heldAtStart_ = 0;  // by the PCM
    bool freeRunning_ = false;
    bool givesSound_ = false;
};

}  // namespace ondarix
