// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/sound_device.h"

#include <algorithm>

#include "gen/settings.h"
#include "sound/channel_mix.h"

namespace ondarix {
namespace {

constexpr int kWaitMs = 1000;
constexpr int kBridgeMs = 40;
constexpr int kMostPulseChannels = 8;
constexpr const char* kSettings = "Settings";
constexpr const char* kJackVolume = "ASIOPlayVolume";

}  // namespace

LSoundDevice::LSoundDevice() = default;
LSoundDevice::~LSoundDevice() { Close(); }

void LSoundDevice::SetSelection(const LDeviceSelection& selection) {
    Close();
    selection_ = selection;
    if (selection.mode == LDeviceMode::kJack)
        volume_ =
            static_cast<int8_t>(std::clamp(GetSettingInt(kSettings, kJackVolume, volume_.load()), -127, 127));
}

bool LSoundDevice::Open(LSoundSourceRef source, bool startPaused) {
    Close();
    openStatus_ = kDeviceOpening;
    if (source->channels < 1) {
        openStatus_ = kDeviceNoChannels;
        return false;
    }
    LOutputSetup setup{source->Format(), 0};
    if (!setup.format.IsValid()) {  // a rate beyond 2^31
        openStatus_ = kDeviceRateUnsupported;
        return false;
    }
    if (selection_.mode == LDeviceMode::kPulseAudio)
        setup.format.channels = std::min<uint8_t>(setup.format.channels, kMostPulseChannels);
    output_ = BackendOf(selection_.mode).create();
    openStatus_ = output_->Open(selection_, setup);
    if (openStatus_ != kDeviceGood) return false;  // kept for PreferredRate()
    queue_.SetVolume(VolumeFactor(volume_));
    queue_.Configure(setup.format, QueueRules(selection_.mode, setup.format, setup.bufferFrames));
    queue_.SetPaused(startPaused);
    SetQueueLimitMs(limitMs_);
    source_ = MixChannels(std::move(source), setup.format.channels);
    queue_.SetBase(source_->GetPosition());
    const auto bridge = static_cast<int32_t>(int64_t{setup.format.sampleRate} * kBridgeMs / 1000);
    bridgeFrames_ = std::max(bridge, 2 * setup.bufferFrames);
    state_ = startPaused ? kOpenBit | kPausedBit : kOpenBit;
    return true;
}

void LSoundDevice::Start() {
    if (!IsOpen() || (state_ & kRunningBit)) return;
    if (!output_->Start(queue_)) queue_.Fail(kDeviceRefused);
    state_ = state_ | kRunningBit;
}

void LSoundDevice::Close() {
    if (output_) output_->Close();
    output_.reset();
    source_.Reset();
    state_ = 0;
}

void LSoundDevice::Write(int32_t frames) { queue_.Write(*source_, frames); }

bool LSoundDevice::WaitBlockDone(LProgress& stop) {
    const WaitResult result = stop.WaitForHandle(queue_.TakenEvent().Handle(), kWaitMs);
    queue_.TakenEvent().Reset();
    return result != WaitResult::kCancelled && queue_.Status() == kDeviceGood;
}

void LSoundDevice::SetQueueLimitMs(int ms) {
    limitMs_ = ms;
    const int64_t frames = int64_t{Rate()} * ms / 1000;
    queue_.SetLimit(ms > 0 ? static_cast<int32_t>(std::clamp<int64_t>(frames, 4, INT32_MAX)) : 0);
}

void LSoundDevice::SetSource(LSoundSourceRef source) {
    source_ = MixChannels(std::move(source), queue_.Format().channels);
}

int64_t LSoundDevice::DropQueue() { return queue_.Drop(std::max(bridgeFrames_, 2 * queue_.AskedFrames())); }

void LSoundDevice::SetPlayedBase(int64_t frame) {
    queue_.Drop(0);
    if (output_) output_->Flush();
    queue_.SetBase(frame);
}

int64_t LSoundDevice::PlayedMs() const {
    const int64_t frames = PlayedFrames(), rate = std::max(1, Rate());
    return frames / rate * 1000 + frames % rate * 1000 / rate;
}

void LSoundDevice::SetVolume(int8_t db) {
    volume_ = std::max(db, kNoSignalDb);
    queue_.SetVolume(VolumeFactor(volume_));
    if (selection_.mode == LDeviceMode::kJack) SetSettingInt(volume_.load(), kSettings, kJackVolume);
}

uint16_t LSoundDevice::GetStatus() const {
    const uint16_t opened = openStatus_;
    return opened != kDeviceGood ? opened : queue_.Status();
}

void LSoundDevice::ClearStatus() {
    openStatus_ = kDeviceGood;
    queue_.ClearStatus();
}

bool LSoundDevice::Pause() {
    if (!IsOpen() || IsPaused()) return false;
    queue_.SetPaused(true);
    state_ = state_ | kPausedBit;
    return true;
}

bool LSoundDevice::Resume() {
    if (!IsOpen() || !IsPaused()) return false;
    queue_.SetPaused(false);
    state_ = state_ & static_cast<uint8_t>(~kPausedBit);
    return true;
}

int32_t LSoundDevice::PreferredRate(int32_t rate) { return output_ ? output_->PreferredRate(rate) : rate; }

}  // namespace ondarix
