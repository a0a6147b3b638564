// SPDX-License-Identifier: GPL-3.0-or-later
// Playing through JACK: a client with ports out_1 to out_n, connected to the ports of another client. The
// server's rate and buffer are what they are.
#include "devices/jack_output.h"

#include <algorithm>
#include <array>
#include <thread>

#include "devices/jack_library.h"
#include "gen/realtime.h"

namespace ondarix {
namespace {

constexpr int kMostPorts = 32;
constexpr int kJackOpenMs = 900;
constexpr int kJackStartMs = 900;
constexpr int kJackCloseMs = 390;
constexpr int32_t kTakeFrames = 8192;

// What libjack's threads see of an output. It lives until the last call that was left alone has come back.
struct LJackStream {
    ~LJackStream() {
        if (client) Jack()->clientClose(client);
    }
    int Process(jack_nframes_t frames);
    void Give(float* const* ports, int32_t frames, int64_t delay, LPlayQueue* from);
    void Fail() {
        isLost = true;
        InUse([](LPlayQueue& to) { to.Fail(kDeviceLost); });
    }
    // Calls with the queue while it is there; Detach() waits for the end of such calls.
    template <typename Use>
    void InUse(Use use) {
        ++users;
        if (LPlayQueue* now = queue) use(*now);
        --users;
    }
    void Detach() {
        queue = nullptr;
        while (users > 0) std::this_thread::yield();
    }

    jack_client_t* client = nullptr;
    std::vector<jack_port_t*> ports;
    std::vector<QString> targets;  // of the ports, as many as the device has
    QString targetClient;          // empty: the default
    std::vector<float> block;      // interleaved
    LSoundFormat format;           // of the device
    int32_t serverRate = 0;
    int32_t bufferFrames = 0;
    LDeviceStatus status = kDeviceRefused;
    std::atomic<bool> isLost{false};
    std::atomic<LPlayQueue*> queue{nullptr};
    std::atomic<int> users{0};
};

int LJackStream::Process(jack_nframes_t frames) {
    const LRealTimeScope realTime;
    std::array<float*, kMostPorts> out{};
    for (size_t c = 0; c < ports.size(); ++c)
        out[c] = static_cast<float*>(Jack()->portBuffer(ports[c], frames));
    jack_latency_range_t latency{};
    Jack()->portLatency(ports[0], JackPlaybackLatency, &latency);
    ++users;
    LPlayQueue* const from = queue;
    for (jack_nframes_t done = 0; done < frames;) {
        const auto now = std::min(frames - done, jack_nframes_t{kTakeFrames});
        done += now;
        Give(out.data(), static_cast<int32_t>(now), int64_t{latency.max} + done, from);
        for (size_t c = 0; c < ports.size(); ++c) out[c] += now;
    }
    --users;
    return 0;
}

void LJackStream::Give(float* const* out, int32_t frames, int64_t delay, LPlayQueue* from) {
    if (!from) {
        for (size_t c = 0; c < ports.size(); ++c) std::fill_n(out[c], frames, 0.0f);
        return;
    }
    from->Take(block.data(), frames, delay);
    for (size_t c = 0; c < ports.size(); ++c) {
        const float* sample = block.data() + c;
        for (int32_t i = 0; i < frames; ++i, sample += ports.size()) out[c][i] = *sample;
    }
}

void SetCallbacks(LJackStream& stream) {
    const LJackLibrary& jack = *Jack();
    jack.setProcess(
        stream.client,
        [](jack_nframes_t frames, void* self) { return static_cast<LJackStream*>(self)->Process(frames); },
        &stream);
    jack.setXrun(
        stream.client,
        [](void* self) {
            static_cast<LJackStream*>(self)->InUse([](LPlayQueue& queue) { queue.CountGap(); });
            return 0;
        },
        &stream);
    jack.onShutdown(
        stream.client,
        [](jack_status_t, const char*, void* self) { static_cast<LJackStream*>(self)->Fail(); }, &stream);
    if (stream.targetClient.isEmpty()) return;
    jack.setClientRegistration(
        stream.client,
        [](const char* name, int registered, void* self) {
            auto* const ours = static_cast<LJackStream*>(self);
            if (!registered && ours->targetClient == QString::fromUtf8(name)) ours->Fail();
        },
        &stream);
}

// The ports to play to: those of the chosen client, or else the physical ones.
void ChooseTargets(LJackStream& stream, const QString& id) {
    if (!id.isEmpty())
        for (const QString& port : JackPorts(stream.client, JackPortIsInput))
            if (JackClientOfPort(port) == id) stream.targets.push_back(port);
    if (!stream.targets.empty())
        stream.targetClient = id;
    else
        stream.targets = JackPorts(stream.client, JackPortIsInput | JackPortIsPhysical);
    stream.targets.resize(std::min(stream.targets.size(), size_t{kMostPorts}));
}

// A server without any port to play to is no fault: people connect ports themselves.
int ChannelsFor(int channels, size_t targets) {
    const int there = targets == 0 ? 2 : static_cast<int>(targets);
    return std::min(std::max(2, channels), there);
}

LDeviceStatus OpenStream(LJackStream& stream, const QString& id) {
    const LJackLibrary& jack = *Jack();
    stream.client = OpenJackClient(kClientName);
    if (!stream.client) return kDeviceRefused;
    stream.serverRate = static_cast<int32_t>(jack.sampleRate(stream.client));
    if (stream.serverRate != stream.format.sampleRate) return kDeviceRateUnsupported;
    ChooseTargets(stream, id);
    stream.format.channels = static_cast<uint8_t>(ChannelsFor(stream.format.channels, stream.targets.size()));
    stream.bufferFrames = static_cast<int32_t>(jack.bufferSize(stream.client));
    stream.block.resize(static_cast<size_t>(kTakeFrames) * stream.format.channels);
    for (int c = 1; c <= stream.format.channels; ++c) {
        const QByteArray name = "out_" + QByteArray::number(c);
        jack_port_t* const port = jack.portRegister(stream.client, name.constData(), JACK_DEFAULT_AUDIO_TYPE,
                                                    JackPortIsOutput | JackPortIsTerminal, 0);
        if (!port) return kDeviceRefused;
        stream.ports.push_back(port);
    }
    SetCallbacks(stream);
    return kDeviceGood;
}

// Ports that cannot be connected (a server may forbid it to clients) stay for a patch bay.
bool ConnectStream(LJackStream& stream) {
    if (Jack()->activate(stream.client) != 0) return false;
    for (size_t c = 0; c < std::min(stream.ports.size(), stream.targets.size()); ++c)
        Jack()->connect(stream.client, Jack()->portName(stream.ports[c]),
                        stream.targets[c].toUtf8().constData());
    return true;
}

class LJackOutput final : public LOutput {
  public:
    ~LJackOutput() override { Close(); }

    LDeviceStatus Open(const LDeviceSelection& selection, LOutputSetup& setup) override {
        if (!Jack()) return kDeviceNoLibrary;
        auto stream = std::make_shared<LJackStream>();
        stream->format = setup.format;
        const QString id = selection.id;
        if (!AskJack([stream, id] { stream->status = OpenStream(*stream, id); }, kJackOpenMs))
            return kDeviceRefused;
        serverRate_ = stream->serverRate;
        stream_ = std::move(stream);
        const LDeviceStatus status = stream_->status;
        if (status != kDeviceGood) {
            Close();
            return status;
        }
        setup.format = stream_->format;
        setup.bufferFrames = stream_->bufferFrames;
        return kDeviceGood;
    }

    bool Start(LPlayQueue& queue) override {
        if (!stream_ || stream_->isLost) return false;
        const auto isGood = std::make_shared<bool>(false);
        if (!AskJack([stream = stream_, isGood] { *isGood = ConnectStream(*stream); }, kJackStartMs) ||
            !*isGood)
            return false;
        stream_->queue = &queue;  // not before it is connected: nothing is taken that nobody hears
        return !stream_->isLost;
    }

    void Close() override {
        if (!stream_) return;
        stream_->Detach();
        // Its last owner closes the client, which may never come back.
        RunJackCall([stream = std::move(stream_)] {}, kJackCloseMs);
        stream_.reset();
    }

    int32_t PreferredRate(int32_t rate) override {
        const int32_t found = SearchRate(rate, [&](int32_t asked) { return asked == serverRate_; });
        // Not a usual rate, or the server has not: all that it can take is its own all the same.
        return found < 0 && serverRate_ > 0 ? serverRate_ : found;
    }

  private:
    std::shared_ptr<LJackStream> stream_;
    int32_t serverRate_ = 0;
};

}  // namespace

std::unique_ptr<LOutput> MakeJackOutput() { return std::make_unique<LJackOutput>(); }

}  // namespace ondarix
