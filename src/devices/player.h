// SPDX-License-Identifier: GPL-3.0-or-later
// Turns a source into sound on the selected device.
#pragma once
#include <memory>

#include "devices/player_map.h"
#include "devices/player_stack.h"
#include "devices/sound_device.h"

namespace ondarix {

class LPlayFeeder;
class LPlayerMailbox;
struct LPlayFeed;

// Called on the interface thread only, from its event loop or from within a call of the player. Every call
// may be answered with calls of the player; only Play() within the OnPlayStopped() that another Play() has
// caused is refused. [ui]
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

// All calls from the interface thread, which runs an event loop. Positions are frames of the source given to
// Play() (or to SwapSource() after it), also where the player converts its rate for the device. [ui]
class LSoundPlayer {
  public:
    LSoundPlayer();
    ~LSoundPlayer();  // stops from any state; the listener is not called any more
    LSoundPlayer(const LSoundPlayer&) = delete;
    LSoundPlayer& operator=(const LSoundPlayer&) = delete;

    // Null: none. It outlives the player or is taken away first.
    void SetListener(LSoundPlayerEvents* events, uintptr_t userData = 0);
    LSoundDevice& Device() { return device_; }
    void SelectDevice(const LDeviceSelection& selection);  // stops

    // From the source's own position on. False: no such source, or the device does not take it; LastStatus()
    // says why.
    bool Play(LSoundSourceRef source);
    // LDeviceStatus of the last Play() or of what ended the last playing; kDeviceNoChannels for a source that
    // is none.
    uint16_t LastStatus() const { return lastStatus_; }
    void Stop();  // from any state, any number of times
    void SetPositionMs(int64_t milliseconds);
    // While playing or paused; ignored while closed or suspended.
    void SetPositionFrames(int64_t frames);
    bool Pause();
    bool Resume();
    bool IsPaused() const { return device_.IsPaused(); }
    bool IsPlaying() const { return device_.IsOpen(); }  // paused or not

    // A swap without a click: Suspend, SwapSource, ResyncAfterSwap, ResumeFeed. The new source should be
    // ready before Suspend(), since nothing is queued meanwhile.
    void Suspend();
    // Goes on at the position of the old source times `scale` (above 0). False: not suspended, or no such
    // source; what plays stays.
    bool SwapSource(LSoundSourceRef source, double scale = 1.0);
    // Takes back what is queued of the old source; the first block of the new one is faded into.
    void ResyncAfterSwap();
    void ResumeFeed();

    void SetLimiterEnabled(bool on) { limiterEnabled_ = on; }  // from the next Play() on; on at first
    // Whether the limiter has lowered something since the last reset.
    bool HasClipped() const;
    void ResetClipped();
    // Little is queued ahead, so that what a source does now is heard at once.
    void SetLowLatency(bool on);
    void SetVolume(int8_t db) { device_.SetVolume(db); }
    int8_t GetVolume() const { return device_.GetVolume(); }
    // Of what is heard now, as often as wanted; when stopped, where it stopped.
    int64_t GetPositionFrames() const;
    uint16_t GetDeviceStatus() const { return device_.GetStatus(); }

  private:
    bool OpenDevice(const LSoundSourceRef& source);
    bool Fail(uint16_t status);
    void Begin();
    void RestartFeeder();
    void ReleaseStack();
    void ForgetEnd();
    void PlaceSource(int64_t dropped);
    bool ReadOnForFade(int64_t dropped);
    void OnThreadNotify();
    bool ReportPosition(int64_t frames);
    void ReportProgress();

    LSoundPlayerEvents* events_;
    uintptr_t userData_ = 0;
    LSoundDevice device_;
    LPlaybackTap tap_;
    std::unique_ptr<LPlayerMailbox> mailbox_;
    std::unique_ptr<LPlayFeed> feed_;
    std::unique_ptr<LPlayFeeder> feeder_;
    LPlayMap map_;
    int32_t givenRate_ = 44100;
    int64_t lastPosition_ = 0;
    uint16_t lastStatus_ = kDeviceGood;
    uint32_t run_ = 0;  // another number after each Play, Stop and seek: a report of the run before is over
    bool limiterEnabled_ = true, limited_ = true;  // from the next Play() on; now
    bool clipped_ = false;                         // by a limiter that is gone
    bool started_ = false, starting_ = false, suspended_ = false;

    // While suspended.
    LSoundSourceRef oldTop_;
    LPlayMap oldMap_;
    int32_t oldRate_ = 0;
    int64_t suspendPosition_ = 0;  // of oldTop_
    double scale_ = 1.0;
};

}  // namespace ondarix
