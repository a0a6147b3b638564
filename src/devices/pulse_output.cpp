// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/pulse_output.h"

#include <algorithm>

#include "gen/realtime.h"

namespace ondarix {
namespace {

constexpr int kOpenMs = 800;
// Of the server's buffer and the device's together. A machine with two busy cores keeps a thread waiting for
// some tens of milliseconds now and then.
constexpr int kTargetMs = 200;
constexpr int kRequestMs = 20;
// What is kept there while there is nothing to play, so that sound that begins is heard soon.
constexpr int kSilenceMs = 80;
// The servers' resamplers do not take less.
constexpr int32_t kLeastPulseRate = 1000;
constexpr int32_t kMostPulseRate = PA_RATE_MAX;
constexpr int64_t kUsPerSecond = 1'000'000;

// The speakers of the WAVE order as files with so many channels mean them.
pa_channel_map WaveMap(const LPulseApi& api, int channels) {
    using Position = pa_channel_position_t;
    constexpr Position kFl = PA_CHANNEL_POSITION_FRONT_LEFT, kFr = PA_CHANNEL_POSITION_FRONT_RIGHT,
                       kFc = PA_CHANNEL_POSITION_FRONT_CENTER, kLfe = PA_CHANNEL_POSITION_LFE,
                       kRl = PA_CHANNEL_POSITION_REAR_LEFT, kRr = PA_CHANNEL_POSITION_REAR_RIGHT,
                       kRc = PA_CHANNEL_POSITION_REAR_CENTER, kSl = PA_CHANNEL_POSITION_SIDE_LEFT,
                       kSr = PA_CHANNEL_POSITION_SIDE_RIGHT, kMono = PA_CHANNEL_POSITION_MONO;
    static constexpr Position kMaps[8][8] = {
        {kMono},
        {kFl, kFr},
        {kFl, kFr, kFc},
        {kFl, kFr, kRl, kRr},
        {kFl, kFr, kFc, kRl, kRr},
        {kFl, kFr, kFc, kLfe, kRl, kRr},
        {kFl, kFr, kFc, kLfe, kRc, kSl, kSr},
        {kFl, kFr, kFc, kLfe, kRl, kRr, kSl, kSr},
    };
    pa_channel_map map;
    api.pa_channel_map_init(&map);
    map.channels = static_cast<uint8_t>(channels);
    std::copy_n(kMaps[channels - 1], channels, map.map);
    return map;
}

uint32_t BytesOfMs(LSoundFormat format, int ms) {
    return static_cast<uint32_t>(int64_t{format.sampleRate} * ms / 1000 * format.FrameBytes());
}

}  // namespace

pa_stream* LPulseOutput::NewStream() const {
    const pa_sample_spec spec = {PA_SAMPLE_FLOAT32NE, static_cast<uint32_t>(format_.sampleRate),
                                 format_.channels};
    const pa_channel_map map = WaveMap(*api_, format_.channels);
    pa_proplist* properties = api_->pa_proplist_new();
    api_->pa_proplist_sets(properties, PA_PROP_MEDIA_ROLE, kMediaRole);
    pa_stream* stream =
        api_->pa_stream_new_with_proplist(connection_->Context(), "Playback", &spec, &map, properties);
    api_->pa_proplist_free(properties);
    return stream;
}

bool LPulseOutput::ConnectStream(const QByteArray& sink, QDeadlineTimer deadline) {
    {
        const LPulseConnection::LLock lock(*connection_);
        stream_ = NewStream();
        if (!stream_) return false;
        api_->pa_stream_set_state_callback(
            stream_, [](pa_stream*, void* self) { static_cast<LPulseOutput*>(self)->StreamChanged(); }, this);
        api_->pa_stream_set_write_callback(
            stream_,
            [](pa_stream*, size_t bytes, void* self) { static_cast<LPulseOutput*>(self)->Feed(bytes); },
            this);
        api_->pa_stream_set_underflow_callback(
            stream_, [](pa_stream*, void* self) { static_cast<LPulseOutput*>(self)->Underflow(); }, this);
        // After a drop-out it goes on, with nothing lost, as soon as one request was met.
        const uint32_t request = BytesOfMs(format_, kRequestMs);
        const pa_buffer_attr buffer = {UINT32_MAX, BytesOfMs(format_, kTargetMs), request, request,
                                       UINT32_MAX};
        constexpr int kFlags = PA_STREAM_START_CORKED | PA_STREAM_INTERPOLATE_TIMING |
                               PA_STREAM_AUTO_TIMING_UPDATE | PA_STREAM_ADJUST_LATENCY;
        if (api_->pa_stream_connect_playback(stream_, sink.isEmpty() ? nullptr : sink.constData(), &buffer,
                                             static_cast<pa_stream_flags_t>(kFlags), nullptr, nullptr) < 0) {
            return false;
        }
    }
    pa_stream_state_t state = PA_STREAM_CREATING;
    connection_->WaitFor([&] { return (state = api_->pa_stream_get_state(stream_)) != PA_STREAM_CREATING; },
                         deadline);
    return state == PA_STREAM_READY;
}

LDeviceStatus LPulseOutput::Open(const LDeviceSelection& selection, LOutputSetup& setup) {
    if (!api_) return kDeviceNoLibrary;
    format_ = setup.format;
    if (PreferredRate(format_.sampleRate) != format_.sampleRate) return kDeviceRateUnsupported;
    const QDeadlineTimer deadline = LPulseConnection::Deadline(kOpenMs);
    connection_ = std::make_unique<LPulseConnection>(*api_);
    connection_->OnLost([this] {
        if (queue_) queue_->Fail(kDeviceLost);
    });
    if (connection_->Connect(deadline, true)) {
        if (ConnectStream(selection.id.toUtf8(), deadline)) return kDeviceGood;
        CloseStream();
        if (!selection.id.isEmpty() && ConnectStream({}, deadline)) return kDeviceGood;
    }
    Close();
    return kDeviceRefused;
}

bool LPulseOutput::Start(LPlayQueue& queue) {
    if (!stream_ || !connection_->IsReady()) return false;
    const LPulseConnection::LLock lock(*connection_);
    if (api_->pa_stream_get_state(stream_) != PA_STREAM_READY) return false;
    queue_ = &queue;
    Feed(api_->pa_stream_writable_size(stream_));
    connection_->Forget(api_->pa_stream_cork(stream_, 0, nullptr, nullptr));
    return true;
}

void LPulseOutput::Flush() {
    if (!stream_ || !connection_->IsReady()) return;
    const LPulseConnection::LLock lock(*connection_);
    heldFrames_ = 0;
    givesSound_ = false;
    NoteFlush();
    connection_->Forget(api_->pa_stream_flush(stream_, nullptr, nullptr));
}

void LPulseOutput::CloseStream() {
    if (!stream_) return;
    const LPulseConnection::LLock lock(*connection_);
    api_->pa_stream_set_state_callback(stream_, nullptr, nullptr);
    api_->pa_stream_set_write_callback(stream_, nullptr, nullptr);
    api_->pa_stream_set_underflow_callback(stream_, nullptr, nullptr);
    api_->pa_stream_disconnect(stream_);
    api_->pa_stream_unref(stream_);
    stream_ = nullptr;
    queue_ = nullptr;
}

void LPulseOutput::Close() {
    CloseStream();
    connection_.reset();
}

int32_t LPulseOutput::PreferredRate(int32_t rate) {
    return std::clamp(rate, kLeastPulseRate, kMostPulseRate);
}

int64_t LPulseOutput::DelayFrames() const {
    const pa_timing_info* info = api_->pa_stream_get_timing_info(stream_);
    pa_usec_t us = 0;
    int negative = 0;
    // Until the server has told of the flush the library counts from where the buffer once ended.
    if (!info || info->write_index_corrupt || api_->pa_stream_get_latency(stream_, &us, &negative) < 0)
        return heldFrames_;
    return negative ? 0 : static_cast<int64_t>(us) * format_.sampleRate / kUsPerSecond;
}

void LPulseOutput::Feed(size_t bytes) {
    const LRealTimeScope realTime;
    if (!queue_ || bytes == static_cast<size_t>(-1)) return;
    const auto frameBytes = static_cast<size_t>(format_.FrameBytes());
    const pa_buffer_attr* const buffer = api_->pa_stream_get_buffer_attr(stream_);
    const size_t target = buffer->tlength;
    if (!queue_->IsReady(static_cast<int32_t>(std::min(bytes, target) / frameBytes))) {
        // With less than `prebuf`, which a user's settings may enlarge, the server would never begin.
        const size_t least = std::max(BytesOfMs(format_, kSilenceMs), buffer->prebuf);
        bytes -= std::min(bytes, target - std::min<size_t>(target, least));
    }
    for (size_t left = bytes / frameBytes; left > 0;) {
        void* data = nullptr;
        size_t room = left * frameBytes;
        if (api_->pa_stream_begin_write(stream_, &data, &room) < 0 || !data || room < frameBytes) return;
        const auto frames = static_cast<int32_t>(std::min(left, room / frameBytes));
        const int32_t sound = queue_->Take(static_cast<float*>(data), frames, DelayFrames() + frames);
        givesSound_ = sound == frames;
        heldFrames_ = std::min<int64_t>(heldFrames_ + frames, static_cast<int64_t>(target / frameBytes));
        const size_t used = static_cast<size_t>(frames) * frameBytes;
        if (api_->pa_stream_write(stream_, data, used, nullptr, 0, PA_SEEK_RELATIVE) < 0) return;
        sinceFlush_ += static_cast<int64_t>(used);
        left -= static_cast<size_t>(frames);
    }
}

// The index of what is played stands still at a flush; that of what is written, which is known, falls to it.
void LPulseOutput::NoteFlush() {
    const pa_timing_info* info = api_->pa_stream_get_timing_info(stream_);
    flushedAt_ = info && !info->write_index_corrupt ? info->write_index
                                                    : std::max<int64_t>(flushedAt_, 0) + sinceFlush_;
    sinceFlush_ = 0;
}

void LPulseOutput::StreamChanged() {
    const pa_stream_state_t state = api_->pa_stream_get_state(stream_);
    const bool gone = state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED;
    if (gone && queue_) queue_->Fail(kDeviceLost);
    connection_->Signal();
}

// That a flush has left the server without sound it may tell after the next sound was given.
void LPulseOutput::Underflow() {
    const int64_t index = api_->pa_stream_get_underflow_index(stream_);
    const bool byFlush = index >= 0 && index <= flushedAt_;
    if (byFlush) flushedAt_ = index - 1;  // another one behind that is a gap
    if (queue_ && givesSound_ && !byFlush) queue_->CountGap();
    givesSound_ = false;
}

}  // namespace ondarix
