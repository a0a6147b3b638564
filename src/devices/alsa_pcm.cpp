// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/alsa_pcm.h"

#include <QByteArrayList>
#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>

#include "dsp/sample_convert.h"

namespace ondarix {
namespace {

constexpr unsigned kBufferUs = 100'000;
constexpr unsigned kPeriodUs = 20'000;
constexpr int kRateRefused = -ERANGE;  // not among what the library answers on open
constexpr unsigned kMostChannels = 255;
constexpr std::array kFormats = {SND_PCM_FORMAT_FLOAT_LE, SND_PCM_FORMAT_S32_LE, SND_PCM_FORMAT_S24_3LE,
                                 SND_PCM_FORMAT_S16_LE};
constexpr std::array kAlsaRates = {4000,  5512,  6000,  8000,  11025, 12000,  16000,  22050,  24000, 32000,
                                   44100, 48000, 64000, 88200, 96000, 176400, 192000, 352800, 384000};
constexpr int kOurConversions = SND_PCM_NO_AUTO_RESAMPLE | SND_PCM_NO_AUTO_CHANNELS | SND_PCM_NO_AUTO_FORMAT;
constexpr float kLeastPcm16 = -32768.0f / 32767.0f;

size_t SampleBytes(snd_pcm_format_t format) {
    if (format == SND_PCM_FORMAT_S16_LE) return 2;
    return format == SND_PCM_FORMAT_S24_3LE ? 3 : 4;
}

}  // namespace

LDeviceStatus LAlsaPcm::Open(const QByteArray& id, LSoundFormat& format) {
    const QByteArray byDefault = "default";
    QByteArrayList names = {id.isEmpty() ? byDefault : id};
    if (names.first() != byDefault) names << byDefault;
    for (const QByteArray& name : names) {
        const int result = OpenNamed(name, format);
        if (result >= 0) return kDeviceGood;
        Close();
        if (result == kRateRefused) return kDeviceRateUnsupported;
        if (result == -EBUSY) return kDeviceExclusive;
    }
    return kDeviceRefused;
}

// First as the device is; where none of our formats fits, through the library's conversions.
int LAlsaPcm::OpenNamed(const QByteArray& name, LSoundFormat& format) {
    const auto attempt = [&](const QByteArray& pcm, int flags) {
        int result =
            api_.snd_pcm_open(&pcm_, pcm.constData(), SND_PCM_STREAM_PLAYBACK, SND_PCM_NONBLOCK | flags);
        if (result < 0) {
            pcm_ = nullptr;
            return result;
        }
        result = SetHardware(format);
        return result < 0 ? result : SetSoftware();
    };
    const int direct = attempt(name, kOurConversions);
    if (direct >= 0 || !pcm_ || direct == kRateRefused || direct == -EBUSY) return direct;
    Close();
    return attempt(name.startsWith("hw:") ? "plug" + name : name, SND_PCM_NO_AUTO_RESAMPLE);
}

int LAlsaPcm::SetHardware(LSoundFormat& format) {
    snd_pcm_hw_params_t* made = nullptr;
    if (api_.snd_pcm_hw_params_malloc(&made) < 0) return -ENOMEM;
    const std::unique_ptr<snd_pcm_hw_params_t, decltype(api_.snd_pcm_hw_params_free)> parameters(
        made, api_.snd_pcm_hw_params_free);
    int result = api_.snd_pcm_hw_params_any(pcm_, made);
    if (result < 0) return result;
    api_.snd_pcm_hw_params_set_rate_resample(pcm_, made, 0);
    result = api_.snd_pcm_hw_params_set_access(pcm_, made, SND_PCM_ACCESS_RW_INTERLEAVED);
    if (result < 0) return result;
    const auto takes = [&](snd_pcm_format_t wanted) {
        return api_.snd_pcm_hw_params_test_format(pcm_, made, wanted) == 0;
    };
    const auto found = std::find_if(kFormats.begin(), kFormats.end(), takes);
    if (found == kFormats.end()) return -EINVAL;
    sampleFormat_ = *found;
    result = api_.snd_pcm_hw_params_set_format(pcm_, made, sampleFormat_);
    unsigned channels = format.channels;
    if (result >= 0) result = api_.snd_pcm_hw_params_set_channels_near(pcm_, made, &channels);
    if (result < 0 || channels > kMostChannels) return -EINVAL;
    NoteRates(made);
    const auto rate = static_cast<unsigned>(format.sampleRate);
    if (api_.snd_pcm_hw_params_set_rate(pcm_, made, rate, 0) < 0)
        return rates_.empty() ? -EINVAL : kRateRefused;
    unsigned buffer = kBufferUs, period = kPeriodUs;
    api_.snd_pcm_hw_params_set_period_time_near(pcm_, made, &period, nullptr);
    api_.snd_pcm_hw_params_set_buffer_time_near(pcm_, made, &buffer, nullptr);
    result = api_.snd_pcm_hw_params(pcm_, made);
    if (result < 0) return result;
    snd_pcm_uframes_t bufferFrames = 0, periodFrames = 0;
    api_.snd_pcm_hw_params_get_buffer_size(made, &bufferFrames);
    api_.snd_pcm_hw_params_get_period_size(made, &periodFrames, nullptr);
    bufferFrames_ = static_cast<int64_t>(bufferFrames);
    periodFrames_ = std::clamp<int64_t>(static_cast<int64_t>(periodFrames), 1, bufferFrames_);
    format.channels = channels_ = static_cast<uint8_t>(channels);
    return 0;
}

void LAlsaPcm::NoteRates(snd_pcm_hw_params_t* parameters) {
    const auto takes = [&](int32_t rate) {
        return api_.snd_pcm_hw_params_test_rate(pcm_, parameters, static_cast<unsigned>(rate), 0) == 0;
    };
    rates_.clear();
    std::copy_if(kAlsaRates.begin(), kAlsaRates.end(), std::back_inserter(rates_), takes);
    unsigned low = 0, high = 0;
    if (api_.snd_pcm_hw_params_get_rate_min(parameters, &low, nullptr) >= 0 &&
        api_.snd_pcm_hw_params_get_rate_max(parameters, &high, nullptr) >= 0)
        for (const unsigned end : {low, high})
            if (end > 0 && end <= INT32_MAX && takes(static_cast<int32_t>(end)))
                rates_.push_back(static_cast<int32_t>(end));
    std::sort(rates_.begin(), rates_.end());
    rates_.erase(std::unique(rates_.begin(), rates_.end()), rates_.end());
}

int LAlsaPcm::SetSoftware() {
    snd_pcm_sw_params_t* made = nullptr;
    if (api_.snd_pcm_sw_params_malloc(&made) < 0) return -ENOMEM;
    const std::unique_ptr<snd_pcm_sw_params_t, decltype(api_.snd_pcm_sw_params_free)> parameters(
        made, api_.snd_pcm_sw_params_free);
    int result = api_.snd_pcm_sw_params_current(pcm_, made);
    if (result < 0) return result;
    snd_pcm_uframes_t never = 0;
    if (api_.snd_pcm_sw_params_get_boundary(made, &never) >= 0)
        api_.snd_pcm_sw_params_set_start_threshold(pcm_, made, never);
    api_.snd_pcm_sw_params_set_avail_min(pcm_, made, static_cast<snd_pcm_uframes_t>(periodFrames_));
    result = api_.snd_pcm_sw_params(pcm_, made);
    if (result < 0) return result;
    bytes_.resize(static_cast<size_t>(bufferFrames_) * channels_ * SampleBytes(sampleFormat_));
    return api_.snd_pcm_prepare(pcm_);
}

void LAlsaPcm::Close() {
    if (pcm_) api_.snd_pcm_close(pcm_);
    pcm_ = nullptr;
}

int64_t LAlsaPcm::DelayFrames() const {
    snd_pcm_sframes_t delay = 0;
    if (api_.snd_pcm_delay(pcm_, &delay) < 0) return 0;
    return std::max<int64_t>(0, delay);
}

const void* LAlsaPcm::Convert(float* samples, int64_t count) {
    switch (sampleFormat_) {
        case SND_PCM_FORMAT_S32_LE:
            Pcm32FromFloat(samples, bytes_.data(), count);
            return bytes_.data();
        case SND_PCM_FORMAT_S24_3LE:
            Pcm24FromFloat(samples, bytes_.data(), count);
            return bytes_.data();
        case SND_PCM_FORMAT_S16_LE:
            // What is louder than full scale must not wrap round.
            for (int64_t i = 0; i < count; ++i) samples[i] = std::clamp(samples[i], kLeastPcm16, 1.0f);
            Pcm16FromFloat(samples, bytes_.data(), count);
            return bytes_.data();
        default:
            return samples;
    }
}

int64_t LAlsaPcm::Write(float* samples, int64_t frames) {
    frames = std::min(frames, bufferFrames_);
    const void* data = Convert(samples, frames * channels_);
    return api_.snd_pcm_writei(pcm_, data, static_cast<snd_pcm_uframes_t>(frames));
}

}  // namespace ondarix
