// SPDX-License-Identifier: GPL-3.0-or-later
// Playing through PipeWire: a stream of interleaved floats at the sound's own rate, which the server converts
// where its graph runs at another one. The graph's real-time thread takes straight from the queue into the
// server's buffer.
#include "devices/pipewire_output.h"

#include <spa/param/audio/format-utils.h>

#include <algorithm>

#include "devices/pipewire_session.h"
#include "gen/clock.h"
#include "gen/realtime.h"

namespace ondarix {
namespace {

constexpr int kPipeWireOpenMs = 900;
constexpr int32_t kLowestRate = 1000, kHighestRate = 768000;  // that a server is asked to convert
constexpr int kMostNamedChannels = 8;
constexpr int kMostStreamChannels = SPA_AUDIO_MAX_CHANNELS;
// A graph cycle of some 40 ms: an editor follows the hand well enough with it, and a busy machine with two
// cores keeps up. Another program that wants less gets less for all.
constexpr int kCycleMs = 43;
// A device may need some time to wake up. A stream that lost its device is moved to another one at once, if
// there is one.
constexpr int kWakeUpMs = 3000, kMoveMs = 700;

using Positions = std::array<uint32_t, kMostNamedChannels>;

// The order of channels in WAVE files, by count.
const Positions& WavePositions(int channels) {
    constexpr uint32_t left = SPA_AUDIO_CHANNEL_FL, right = SPA_AUDIO_CHANNEL_FR;
    constexpr uint32_t centre = SPA_AUDIO_CHANNEL_FC, low = SPA_AUDIO_CHANNEL_LFE;
    constexpr uint32_t rearLeft = SPA_AUDIO_CHANNEL_RL, rearRight = SPA_AUDIO_CHANNEL_RR;
    constexpr uint32_t sideLeft = SPA_AUDIO_CHANNEL_SL, sideRight = SPA_AUDIO_CHANNEL_SR;
    static constexpr Positions kOrders[kMostNamedChannels] = {
        {SPA_AUDIO_CHANNEL_MONO},
        {left, right},
        {left, right, centre},
        {left, right, rearLeft, rearRight},
        {left, right, centre, rearLeft, rearRight},
        {left, right, centre, low, rearLeft, rearRight},
        {left, right, centre, low, SPA_AUDIO_CHANNEL_RC, sideLeft, sideRight},
        {left, right, centre, low, rearLeft, rearRight, sideLeft, sideRight},
    };
    return kOrders[channels - 1];
}

spa_audio_info_raw StreamFormat(LSoundFormat format) {
    spa_audio_info_raw info{};
    info.format = SPA_AUDIO_FORMAT_F32;
    info.rate = static_cast<uint32_t>(format.sampleRate);
    info.channels = format.channels;
    for (uint32_t c = 0; c < info.channels; ++c)
        info.position[c] = info.channels > kMostNamedChannels ? SPA_AUDIO_CHANNEL_AUX0 + c
                                                              : WavePositions(format.channels)[c];
    return info;
}

// Up to eight channels the server mixes by their positions; more are the device's own.
int StreamChannels(int channels, int ofDevice) {
    if (channels <= kMostNamedChannels) return channels;
    return std::min({channels, ofDevice > 0 ? ofDevice : 2, kMostStreamChannels});
}

class LPipeWireOutput final : public LOutput {
  public:
    ~LPipeWireOutput() override { Close(); }

    LDeviceStatus Open(const LDeviceSelection& selection, LOutputSetup& setup) override {
        if (!PipeWire()) return kDeviceNoLibrary;
        const LDeviceStatus status = OpenStream(selection.id, setup);
        if (status != kDeviceGood) Close();
        return status;
    }

    bool Start(LPlayQueue& queue) override {
        if (!stream_ || hasFailed_) return false;
        const LPipeWireSession::LLock lock(session_);
        queue_ = &queue;
        Arm(kWakeUpMs);
        return PipeWire()->streamSetActive(stream_, true) == 0 && !hasFailed_;
    }

    void Close() override {
        {
            const LPipeWireSession::LLock lock(session_);
            // Waits for the graph's thread to be out of Process().
            if (stream_) PipeWire()->streamDestroy(stream_);
            if (timer_) pw_loop_destroy_source(session_.Loop(), timer_);
            stream_ = nullptr;
            timer_ = nullptr;
            queue_ = nullptr;
        }
        session_.Close();
    }

    int32_t PreferredRate(int32_t rate) override { return clockRate_ > 0 ? clockRate_ : rate; }

  private:
    LDeviceStatus OpenStream(const QString& id, LOutputSetup& setup) {
        session_.SetLost([this] { Fail(); });
        if (!session_.Connect()) return kDeviceRefused;
        const LPipeWireSession::LLock lock(session_);
        const timespec deadline = session_.Deadline(kPipeWireOpenMs);
        QString target;
        const LDeviceStatus status = FindTarget(id, deadline, setup, target);
        if (status != kDeviceGood) return status;
        format_ = setup.format;
        if (!Connect(target)) return kDeviceRefused;
        while (state_ == PW_STREAM_STATE_CONNECTING && !hasFailed_)
            if (!session_.Wait(deadline)) return kDeviceRefused;
        return state_ >= PW_STREAM_STATE_PAUSED && !hasFailed_ ? kDeviceGood : kDeviceRefused;
    }

    // `target` stays empty for the default. A server that has nothing to play to would never take a frame.
    LDeviceStatus FindTarget(const QString& id, const timespec& deadline, LOutputSetup& setup,
                             QString& target) {
        LPipeWireGraph graph(session_);
        if (!graph.Read(deadline)) return kDeviceRefused;
        clockRate_ = graph.ClockRate();
        const auto nodes = graph.Nodes(LDeviceDirection::kPlayback);
        if (nodes.empty()) return kDeviceRefused;
        if (setup.format.sampleRate < kLowestRate || setup.format.sampleRate > kHighestRate)
            return kDeviceRateUnsupported;
        const auto named = [&](const QString& name) {
            return std::find_if(nodes.begin(), nodes.end(), [&](auto& node) { return node.name == name; });
        };
        auto node = id.isEmpty() ? nodes.end() : named(id);
        if (node != nodes.end()) target = id;
        if (node == nodes.end()) node = named(graph.DefaultName(LDeviceDirection::kPlayback));
        const int inputs = node == nodes.end() ? 0 : node->inputs;
        setup.format.channels = static_cast<uint8_t>(StreamChannels(setup.format.channels, inputs));
        return kDeviceGood;
    }

    pw_properties* Properties(const QString& target) const {
        const auto set = PipeWire()->propertiesSet;
        const int32_t rate = format_.sampleRate;
        pw_properties* const all = PipeWire()->propertiesNew(
            PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback", PW_KEY_MEDIA_ROLE, "Production",
            PW_KEY_MEDIA_NAME, kClientName, PW_KEY_NODE_NAME, kClientName, PW_KEY_APP_NAME, kClientName,
            PW_KEY_APP_ID, kApplicationId, PW_KEY_APP_ICON_NAME, kApplicationId, nullptr);
        const QByteArray latency =
            QByteArray::number(int64_t{rate} * kCycleMs / 1000) + '/' + QByteArray::number(rate);
        set(all, PW_KEY_NODE_LATENCY, latency.constData());
        if (!target.isEmpty()) set(all, PW_KEY_TARGET_OBJECT, target.toUtf8().constData());
        return all;
    }

    bool Connect(const QString& target) {
        static const pw_stream_events events = [] {
            pw_stream_events all{};
            all.version = PW_VERSION_STREAM_EVENTS;
            all.state_changed = [](void* self, pw_stream_state, pw_stream_state now, const char*) {
                static_cast<LPipeWireOutput*>(self)->OnState(now);
            };
            all.process = [](void* self) { static_cast<LPipeWireOutput*>(self)->Process(); };
            return all;
        }();
        stream_ = PipeWire()->streamNew(session_.Core(), kClientName, Properties(target));
        if (!stream_) return false;
        timer_ = pw_loop_add_timer(
            session_.Loop(), [](void* self, uint64_t) { static_cast<LPipeWireOutput*>(self)->Fail(); }, this);
        PipeWire()->streamAddListener(stream_, &hook_, &events, this);
        std::array<uint8_t, 1024> space;
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, space.data(), static_cast<uint32_t>(space.size()));
        spa_audio_info_raw info = StreamFormat(format_);
        const spa_pod* parameters[] = {spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &info)};
        state_ = PW_STREAM_STATE_CONNECTING;
        const auto flags =
            static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                         PW_STREAM_FLAG_INACTIVE | PW_STREAM_FLAG_RT_PROCESS);
        return timer_ &&
               PipeWire()->streamConnect(stream_, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, parameters, 1) == 0;
    }

    // Fails after `ms` unless the stream runs by then; 0: not.
    void Arm(int ms) {
        timespec after{ms / 1000, ms % 1000 * 1'000'000L};
        pw_loop_update_timer(session_.Loop(), timer_, &after, nullptr, false);
    }

    void OnState(pw_stream_state now) {
        const pw_stream_state before = state_;
        state_ = now;
        if (now == PW_STREAM_STATE_ERROR || now == PW_STREAM_STATE_UNCONNECTED) Fail();
        hasMoved_ = true;
        if (now == PW_STREAM_STATE_STREAMING) Arm(0);
        if (now == PW_STREAM_STATE_PAUSED && before == PW_STREAM_STATE_STREAMING) Arm(kMoveMs);
        session_.Signal();
    }

    void Fail() {
        hasFailed_ = true;
        if (LPlayQueue* queue = queue_) queue->Fail(kDeviceLost);
    }

    void Process();
    int64_t DelayFrames(const pw_time& time) const;
    void NoteCycle(const pw_time& time, uint32_t frames, LPlayQueue& queue);

    LPipeWireSession session_;
    pw_stream* stream_ = nullptr;
    spa_source* timer_ = nullptr;
    spa_hook hook_{};
    LSoundFormat format_;
    int32_t clockRate_ = 0;
    pw_stream_state state_ = PW_STREAM_STATE_UNCONNECTED;  // under the session's lock
    std::atomic<bool> hasFailed_{false};
    std::atomic<LPlayQueue*> queue_{nullptr};

    std::atomic<bool> hasMoved_{true};  // the graph's clock may be another one than at the last cycle
    // The graph's thread's: its clock at the last cycle, and how long that was, in units of pw_time::rate.
    uint64_t lastTicks_ = 0;
    double lastCycle_ = 0.0;
};

double SecondsOf(const spa_fraction& unit) { return static_cast<double>(unit.num) / unit.denom; }

// From the next frame given to the ear, in frames of the stream.
int64_t LPipeWireOutput::DelayFrames(const pw_time& time) const {
    const int64_t sinceNs = std::clamp<int64_t>(MonotonicNs() - time.now, 0, kNsPerSecond);
    const double delay =
        static_cast<double>(time.delay) * SecondsOf(time.rate) - static_cast<double>(sinceNs) / kNsPerSecond;
    return static_cast<int64_t>(delay * format_.sampleRate) +
           static_cast<int64_t>(time.queued + time.buffered);
}

// The server tells of cycles that went by without this stream only by the time that they took. With a
// resampler between, cycles are not all alike.
void LPipeWireOutput::NoteCycle(const pw_time& time, uint32_t frames, LPlayQueue& queue) {
    const auto passed = static_cast<double>(time.ticks - lastTicks_);
    if (!hasMoved_.exchange(false) && passed > 1.5 * lastCycle_) queue.CountGap();
    lastTicks_ = time.ticks;
    lastCycle_ = frames / (SecondsOf(time.rate) * format_.sampleRate);
}

void LPipeWireOutput::Process() {
    const LRealTimeScope realTime;
    pw_buffer* const buffer = PipeWire()->streamDequeue(stream_);
    if (!buffer) return;
    spa_data& data = buffer->buffer->datas[0];
    const auto stride = static_cast<uint32_t>(format_.FrameBytes());
    uint32_t frames = data.maxsize / stride;
    if (buffer->requested > 0) frames = std::min(frames, static_cast<uint32_t>(buffer->requested));
    pw_time time{};
    LPlayQueue* const queue = queue_;
    if (!data.data || !queue || PipeWire()->streamTime(stream_, &time, sizeof time) != 0) frames = 0;
    if (frames > 0) {
        const bool hasClock = time.rate.num > 0 && time.rate.denom > 0;
        const int64_t delay = hasClock ? DelayFrames(time) : 0;
        const int32_t taken =
            queue->Take(static_cast<float*>(data.data), static_cast<int32_t>(frames), delay + frames);
        if (!hasClock || taken == 0) hasMoved_ = true;
        if (hasClock) NoteCycle(time, frames, *queue);
    }
    data.chunk->offset = 0;
    data.chunk->stride = static_cast<int32_t>(stride);
    data.chunk->size = frames * stride;
    buffer->size = frames;
    PipeWire()->streamQueue(stream_, buffer);
}

}  // namespace

std::unique_ptr<LOutput> MakePipeWireOutput() { return std::make_unique<LPipeWireOutput>(); }

}  // namespace ondarix
