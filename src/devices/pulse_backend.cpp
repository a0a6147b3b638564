// SPDX-License-Identifier: GPL-3.0-or-later
// The sinks and sources of a PulseAudio server, and who tells when they change.
#include "devices/pulse_output.h"
#include "gen/background_thread.h"

namespace ondarix {
namespace {

constexpr int kAnswerMs = 700;
constexpr int kPulseListMs = 900;
constexpr int kRetryMs = 5000;
constexpr int kSettleMs = 100;

struct LPulseDevices {
    QByteArray defaultName;
    std::vector<LDeviceInfo> devices, monitors;

    template <typename Info>
    static LDeviceInfo Describe(const Info& info) {
        LDeviceInfo device;
        device.selection = {LDeviceMode::kPulseAudio, QString::fromUtf8(info.name),
                            QString::fromUtf8(info.description)};
        device.channels = info.sample_spec.channels;
        device.rate = static_cast<int32_t>(info.sample_spec.rate);
        return device;
    }
    static void OnSink(pa_context*, const pa_sink_info* info, int end, void* self) {
        if (!end && info) static_cast<LPulseDevices*>(self)->devices.push_back(Describe(*info));
    }
    static void OnSource(pa_context*, const pa_source_info* info, int end, void* self) {
        if (end || !info) return;
        auto& lists = *static_cast<LPulseDevices*>(self);
        (info->monitor_of_sink == PA_INVALID_INDEX ? lists.devices : lists.monitors)
            .push_back(Describe(*info));
    }
    static void OnServer(pa_context*, const pa_server_info* info, void* self, bool sink) {
        const char* name = !info ? nullptr : sink ? info->default_sink_name : info->default_source_name;
        static_cast<LPulseDevices*>(self)->defaultName = name;
    }
};

bool PulseAnswers() {
    const LPulseApi* api = PulseApi();
    return api && LPulseConnection(*api).Connect(LPulseConnection::Deadline(kAnswerMs));
}

pa_operation* AskDevices(const LPulseApi& api, LPulseConnection& connection, bool sinks,
                         LPulseDevices& answer) {
    const LPulseConnection::LLock lock(connection);
    return sinks
               ? api.pa_context_get_sink_info_list(connection.Context(), LPulseDevices::OnSink, &answer)
               : api.pa_context_get_source_info_list(connection.Context(), LPulseDevices::OnSource, &answer);
}

pa_operation* AskServer(const LPulseApi& api, LPulseConnection& connection, bool sinks,
                        LPulseDevices& answer) {
    const auto sink = [](pa_context* context, const pa_server_info* info, void* self) {
        LPulseDevices::OnServer(context, info, self, true);
    };
    const auto source = [](pa_context* context, const pa_server_info* info, void* self) {
        LPulseDevices::OnServer(context, info, self, false);
    };
    const LPulseConnection::LLock lock(connection);
    return api.pa_context_get_server_info(
        connection.Context(), sinks ? pa_server_info_cb_t(sink) : pa_server_info_cb_t(source), &answer);
}

// The monitors, which record what a sink plays, come last.
std::vector<LDeviceInfo> ListPulse(LDeviceDirection direction) {
    const LPulseApi* api = PulseApi();
    if (!api) return {};
    const QDeadlineTimer deadline = LPulseConnection::Deadline(kPulseListMs);
    const bool sinks = direction == LDeviceDirection::kPlayback;
    LPulseDevices found;
    LPulseConnection connection(*api);
    if (!connection.Connect(deadline) ||
        !connection.Complete(AskServer(*api, connection, sinks, found), deadline) ||
        !connection.Complete(AskDevices(*api, connection, sinks, found), deadline))
        return {};
    found.devices.insert(found.devices.end(), found.monitors.begin(), found.monitors.end());
    for (LDeviceInfo& device : found.devices)
        device.isDefault = device.selection.id == QString::fromUtf8(found.defaultName);
    return found.devices;
}

class LPulseWatch final : public LDeviceWatch, private LBackgroundThread {
  public:
    LPulseWatch(const LPulseApi& api, std::function<void()> changed)
        : LBackgroundThread("PAWA"), api_(api), changed_(std::move(changed)), connection_(api) {
        Start();
    }
    ~LPulseWatch() override { Stop(); }

  protected:
    void Run() override {
        while (!IsCancelled()) {
            if (Subscribe()) {
                if (wasLost_) changed_();
                Follow();
                wasLost_ = true;
                if (!IsCancelled()) changed_();
            }
            connection_.Close();
            wasLost_ = true;
            Sleep(kRetryMs);
        }
        connection_.Close();
    }

  private:
    bool Subscribe() {
        if (!connection_.Connect(LPulseConnection::Deadline(kAnswerMs))) return false;
        const LPulseConnection::LLock lock(connection_);
        api_.pa_context_set_subscribe_callback(
            connection_.Context(),
            [](pa_context*, pa_subscription_event_type_t event, uint32_t, void* self) {
                static_cast<LPulseWatch*>(self)->Note(event);
            },
            this);
        constexpr int kWatched =
            PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE | PA_SUBSCRIPTION_MASK_SERVER;
        connection_.Forget(api_.pa_context_subscribe(
            connection_.Context(), static_cast<pa_subscription_mask_t>(kWatched), nullptr, nullptr));
        return true;
    }

    // Devices change with their volume too, which is none of ours.
    void Note(pa_subscription_event_type_t event) {
        const int facility = event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
        const bool change = (event & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_CHANGE;
        if (change && facility != PA_SUBSCRIPTION_EVENT_SERVER) return;
        news_ = true;
        connection_.Signal();
    }

    // Until the server has gone. What happens within a moment is told once.
    void Follow() {
        LEvent& event = connection_.ChangedEvent();
        while (connection_.IsReady()) {
            if (WaitForHandle(event.Handle(), kWaitForever) == WaitResult::kCancelled) return;
            if (Sleep(kSettleMs) == WaitResult::kCancelled) return;
            event.Reset();
            if (news_.exchange(false)) changed_();
        }
    }

    const LPulseApi& api_;
    std::function<void()> changed_;
    LPulseConnection connection_;
    std::atomic<bool> news_{false};
    bool wasLost_ = false;  // also: was not there at first
};

constexpr LBackendRow kPulseRow = {
    LDeviceMode::kPulseAudio,
    "PulseAudio",
    "Default Playback Device",
    &PulseAnswers,
    &ListPulse,
    [] { return std::unique_ptr<LOutput>(std::make_unique<LPulseOutput>()); },
    [](std::function<void()> changed) {
        const LPulseApi* api = PulseApi();
        return std::unique_ptr<LDeviceWatch>(api ? std::make_unique<LPulseWatch>(*api, std::move(changed))
                                                 : nullptr);
    },
};

}  // namespace

const LBackendRow& PulseAudioBackend() { return kPulseRow; }

}  // namespace ondarix
