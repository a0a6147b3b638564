// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/alsa_output.h"

#include <algorithm>
#include <system_error>
#include <thread>

namespace ondarix {
namespace {

constexpr int kOpenPcmMs = 800;
constexpr int kClosePcmMs = 700;

// One that hangs in the library is waited for, and freed, elsewhere.
void LetGoOf(std::unique_ptr<LAlsaStream> stream, int ms) {
    if (stream->LetGo(ms)) return;
    LAlsaStream* hanging = stream.release();
    try {
        std::thread([hanging] { delete hanging; }).detach();
    } catch (const std::system_error&) {
        // It ends by itself; what it occupies stays.
    }
}

}  // namespace

LDeviceStatus LAlsaOutput::Open(const LDeviceSelection& selection, LOutputSetup& setup) {
    const LAlsaApi* api = AlsaApi();
    if (!api) return kDeviceNoLibrary;
    stream_ = std::make_unique<LAlsaStream>(*api, selection.id, setup.format);
    if (!stream_->LBackgroundThread::Start() || !stream_->WaitOpened(kOpenPcmMs)) {
        LetGoOf(std::move(stream_), 0);
        return kDeviceRefused;
    }
    const LDeviceStatus status = stream_->Status();
    rates_ = stream_->Rates();
    setup.format = stream_->Format();
    openRate_ = status == kDeviceGood ? setup.format.sampleRate : 0;
    if (status != kDeviceGood) Close();
    return status;
}

bool LAlsaOutput::Start(LPlayQueue& queue) {
    if (!stream_) return false;
    stream_->Play(queue);
    return true;
}

void LAlsaOutput::Flush() {
    if (stream_) stream_->Flush();
}

void LAlsaOutput::Close() {
    if (stream_) LetGoOf(std::move(stream_), kClosePcmMs);
}

int32_t LAlsaOutput::PreferredRate(int32_t rate) {
    if (rates_.empty() || rate == openRate_) return rate;
    const auto found = std::lower_bound(rates_.begin(), rates_.end(), rate);
    return found == rates_.end() ? rates_.back() : *found;
}

}  // namespace ondarix
