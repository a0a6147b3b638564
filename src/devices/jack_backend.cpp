// SPDX-License-Identifier: GPL-3.0-or-later
// What JACK has: clients with audio ports are devices, the one with the physical ports is the default.
#include <algorithm>

#include "devices/jack_library.h"
#include "devices/jack_output.h"
#include "gen/background_thread.h"

namespace ondarix {
namespace {

constexpr const char* kProbeName = "Ondarix devices";
constexpr int kJackAnswerMs = 700;
constexpr int kJackListMs = 900;
constexpr int kJackRetryMs = 4000;
constexpr int kJackSettleMs = 50;  // ports come and go in groups

// Opens a client, hands it to `use` and closes it. False: no server answered within `ms`.
bool WithJackClient(int ms, std::function<void(jack_client_t*)> use) {
    if (!Jack()) return false;
    const auto hasAnswered = std::make_shared<std::atomic<bool>>(false);
    const auto call = [hasAnswered, use = std::move(use)] {
        jack_client_t* const client = OpenJackClient(kProbeName);
        if (!client) return;
        use(client);
        Jack()->clientClose(client);
        *hasAnswered = true;
    };
    return AskJack(call, ms) && *hasAnswered;
}

bool IsJackAnswering() {
    return WithJackClient(kJackAnswerMs, [](jack_client_t*) {});
}

std::vector<LDeviceInfo> DevicesOf(jack_client_t* client, LDeviceDirection direction) {
    const unsigned long flag = direction == LDeviceDirection::kPlayback ? JackPortIsInput : JackPortIsOutput;
    const auto rate = static_cast<int32_t>(Jack()->sampleRate(client));
    std::vector<LDeviceInfo> devices;
    for (const QString& port : JackPorts(client, flag)) {
        const QString name = JackClientOfPort(port);
        if (name.startsWith(QLatin1String(kClientName))) continue;
        auto device = std::find_if(devices.begin(), devices.end(),
                                   [&](const LDeviceInfo& known) { return known.selection.id == name; });
        if (device == devices.end())
            device = devices.insert(device, {{LDeviceMode::kJack, name, name}, false, 0, rate});
        ++device->channels;
    }
    const auto physical = JackPorts(client, flag | JackPortIsPhysical);
    const QString owner = physical.empty() ? QString() : JackClientOfPort(physical.front());
    for (LDeviceInfo& device : devices) device.isDefault = device.selection.id == owner;
    return devices;
}

std::vector<LDeviceInfo> ListJack(LDeviceDirection direction) {
    const auto devices = std::make_shared<std::vector<LDeviceInfo>>();
    const bool hasAnswered = WithJackClient(kJackListMs, [devices, direction](jack_client_t* client) {
        *devices = DevicesOf(client, direction);
    });
    return hasAnswered ? *devices : std::vector<LDeviceInfo>();
}

// A client that is told of ports. A server that is not there is looked for from time to time.
class LJackWatch final : public LDeviceWatch, private LBackgroundThread {
  public:
    explicit LJackWatch(std::function<void()> changed)
        : LBackgroundThread("JACW"), changed_(std::move(changed)) {
        Start();
    }
    ~LJackWatch() override { Stop(); }

  protected:
    void Run() override {
        for (bool isFirst = true;; isFirst = false) {
            std::shared_ptr<LClient> client = Connect();
            if (client && !isFirst) changed_();
            if (client) WatchClient(*client);
            if (client) RunJackCall([closed = std::move(client)] {}, kJackListMs);
            if (Sleep(kJackRetryMs) == WaitResult::kCancelled) return;
        }
    }

  private:
    struct LClient {
        ~LClient() {
            if (client) Jack()->clientClose(client);
        }
        jack_client_t* client = nullptr;
        std::atomic<bool> isLost{false};
        LEvent news;
    };

    std::shared_ptr<LClient> Connect() {
        auto made = std::make_shared<LClient>();
        const auto open = [made] {
            made->client = OpenJackClient(kProbeName);
            if (!made->client) return;
            Jack()->setPortRegistration(
                made->client, [](jack_port_id_t, int, void* news) { static_cast<LEvent*>(news)->Set(); },
                &made->news);
            Jack()->onShutdown(
                made->client,
                [](jack_status_t, const char*, void* self) {
                    static_cast<LClient*>(self)->isLost = true;
                    static_cast<LClient*>(self)->news.Set();
                },
                made.get());
            if (Jack()->activate(made->client) != 0) made->isLost = true;
        };
        return AskJack(open, kJackListMs) && made->client ? made : nullptr;
    }

    void WatchClient(LClient& client) {
        while (!client.isLost &&
               WaitForHandle(client.news.Handle(), kWaitForever) == WaitResult::kSignalled) {
            if (Sleep(kJackSettleMs) == WaitResult::kCancelled) return;
            client.news.Reset();
            changed_();
        }
    }

    std::function<void()> changed_;
};

std::unique_ptr<LDeviceWatch> WatchJack(std::function<void()> changed) {
    if (!Jack()) return {};
    return std::make_unique<LJackWatch>(std::move(changed));
}

constexpr LBackendRow kJackRow = {LDeviceMode::kJack, "JACK",          "",        &IsJackAnswering,
                                  &ListJack,          &MakeJackOutput, &WatchJack};

}  // namespace

const LBackendRow& JackBackend() { return kJackRow; }

}  // namespace ondarix
