// SPDX-License-Identifier: GPL-3.0-or-later
// Turns a source into sound on the selected device.
#pragma once
#include <atomic>
#include <memory>
#include <mutex>

#include "devices/sound_device.h"
#include "gen/background_thread.h"

namespace ondarix {

// Called on the interface thread only. [ui]
class LSoundPlayerEvents {
  public:
    virtual ~LSoundPlayerEvents() = default;
    virtual void OnPlayStarted(uintptr_t /*userData*/) {}
    virtual void OnPlayStopped(uintptr_t /*userData*/) {}
    virtual void OnReserved(uintptr_t /*userData*/) {}
    virtual void OnPlayPaused(uintptr_t /*userData*/) {}
    virtual void OnPosition(uintptr_t /*userData*/, int64_t /*milliseconds*/) {}
    virtual void OnPositionFrames(uintptr_t /*userData*/, int64_t /*frames*/) {}
    virtual void OnLevels(uintptr_t /*userData*/, const LLevelBytes& /*levels*/) {}
};

// Largest sample that is played without the limiter.
inline constexpr float kPlayLimit = 0.999969482421875f;  // 1 - 1/32768

// All calls from the interface thread, which runs an event loop. Positions are frames of the source given to
// Play() (or to SwapSource() after it), also where the player converts its rate for the device. [ui]
class LSoundPlayer {
  public:
    LSoundPlayer();
    ~LSoundPlayer();
    LSoundPlayer(const LSoundPlayer&) = delete;
    LSoundPlayer& operator=(const LSoundPlayer&) = delete;

    // Null: none. It outlives the player or is taken away first.
    void SetListener(LSoundPlayerEvents* events, uintptr_t userData = 0);
    LSoundDevice& Device();
    void SelectDevice(const LDeviceSelection& selection);  // stops

    // From the source's own position on. False: no such source, or the device does not take it; LastStatus()
    // says why.
    bool Play(LSoundSourceRef source);
    uint16_t LastStatus() const;  // LDeviceStatus of the last Play() or of what ended the last playing
    void Stop();                  // from any state, any number of times
    void SetPositionMs(int64_t milliseconds);
    // While playing or paused; ignored while closed or suspended.
    void SetPositionFrames(int64_t frames);
    bool Pause();
    bool Resume();
    bool IsPaused() const;
    bool IsPlaying() const;  // open, paused or not

    // A swap without a click: Suspend, SwapSource, ResyncAfterSwap, ResumeFeed. The new source should be
    // ready before Suspend(), since nothing is queued meanwhile.
    void Suspend();
    // Goes on at the position of the old source times `scale`.
    bool SwapSource(LSoundSourceRef source, double scale = 1.0);
    void ResyncAfterSwap();
    void ResumeFeed();

    void SetLimiterEnabled(bool on);  // from the next Play() on; on at first
    // Whether the limiter has lowered something since the last reset.
    bool HasClipped() const;
    void ResetClipped();
    // Little is queued ahead, so that what a source does now is heard at once.
    void SetLowLatency(bool on);
    void SetVolume(int8_t db);
    int8_t GetVolume() const;
    int64_t GetPositionFrames() const;  // of what is heard now; any time, as often as wanted
    uint16_t GetDeviceStatus() const;
};

}  // namespace ondarix
