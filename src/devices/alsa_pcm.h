// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <vector>

#include "devices/alsa_library.h"
#include "devices/device_types.h"
#include "sound/format.h"

namespace ondarix {

// A PCM that is open for playback, for one thread. Its hardware is given what it takes by itself, as far as
// we can make that; the library converts only where we cannot. Any call may hang as long as what stands
// behind the PCM does. Results below 0 are the library's (negative errno).
class LAlsaPcm {
  public:
    explicit LAlsaPcm(const LAlsaApi& api) : api_(api) {}
    ~LAlsaPcm() { Close(); }
    LAlsaPcm(const LAlsaPcm&) = delete;
    LAlsaPcm& operator=(const LAlsaPcm&) = delete;

    // `id` or, where it is not there, "default". The channels of `format` become those of the device.
    LDeviceStatus Open(const QByteArray& id, LSoundFormat& format);
    void Close();
    // After Open, also when that was refused for its rate: ascending, the usual rates that the device takes.
    const std::vector<int32_t>& Rates() const { return rates_; }

    int64_t BufferFrames() const { return bufferFrames_; }
    int64_t PeriodFrames() const { return periodFrames_; }
    int64_t FreeFrames() { return api_.snd_pcm_avail_update(pcm_); }
    int64_t DelayFrames() const;  // until what is written next is heard
    bool IsRunning() const { return api_.snd_pcm_state(pcm_) == SND_PCM_STATE_RUNNING; }
    // Floats, which are changed; the frames written.
    int64_t Write(float* samples, int64_t frames);
    int Wait(int ms) { return api_.snd_pcm_wait(pcm_, ms); }
    int Begin() { return api_.snd_pcm_start(pcm_); }
    int Resume() { return api_.snd_pcm_resume(pcm_); }
    int Prepare() { return api_.snd_pcm_prepare(pcm_); }
    int Drop() { return api_.snd_pcm_drop(pcm_); }

  private:
    int OpenNamed(const QByteArray& name, LSoundFormat& format);
    int SetHardware(LSoundFormat& format);
    int SetSoftware();
    void NoteRates(snd_pcm_hw_params_t* parameters);
    const void* Convert(float* samples, int64_t count);

    const LAlsaApi& api_;
    snd_pcm_t* pcm_ = nullptr;
    snd_pcm_format_t sampleFormat_ = SND_PCM_FORMAT_FLOAT_LE;
    uint8_t channels_ = 0;
    int64_t bufferFrames_ = 0, periodFrames_ = 0;
    std::vector<int32_t> rates_;
    std::vector<uint8_t> bytes_;
};

}  // namespace ondarix
