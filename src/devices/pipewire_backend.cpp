// SPDX-License-Identifier: GPL-3.0-or-later
// What PipeWire has: sinks and sources are devices, those that its session manager has chosen are defaults.
#include <algorithm>

#include "devices/output.h"
#include "devices/pipewire_output.h"
#include "devices/pipewire_session.h"
#include "gen/background_thread.h"

namespace ondarix {
namespace {

constexpr int kPipeWireAnswerMs = 700;
constexpr int kPipeWireListMs = 900;
constexpr int kPipeWireRetryMs = 2000;
constexpr int kPipeWireSettleMs = 50;  // a card brings several nodes

// False: no server answered within `ms`. `use` is called under the session's lock.
bool WithPipeWireGraph(int ms, const std::function<void(LPipeWireGraph&)>& use) {
    LPipeWireSession session;
    if (!session.Connect()) return false;
    const LPipeWireSession::LLock lock(session);
    LPipeWireGraph graph(session);
    if (!graph.Read(session.Deadline(ms))) return false;
    use(graph);
    return true;
}

// Some systems run the server for screens and cameras only: no audio device, no answer.
bool IsPipeWireAnswering() {
    bool hasDevices = false;
    WithPipeWireGraph(kPipeWireAnswerMs, [&](LPipeWireGraph& graph) {
        hasDevices = !graph.Nodes(LDeviceDirection::kPlayback).empty() ||
                     !graph.Nodes(LDeviceDirection::kCapture).empty();
    });
    return hasDevices;
}

// Two devices of one kind have the same description.
void TellApart(std::vector<LDeviceInfo>& devices) {
    std::vector<QString> twice;
    for (const LDeviceInfo& one : devices)
        if (std::count_if(devices.begin(), devices.end(), [&](const LDeviceInfo& other) {
                return other.selection.name == one.selection.name;
            }) > 1)
            twice.push_back(one.selection.name);
    for (LDeviceInfo& device : devices)
        if (std::find(twice.begin(), twice.end(), device.selection.name) != twice.end())
            device.selection.name += QStringLiteral(" (%1)").arg(device.selection.id);
}

std::vector<LDeviceInfo> ListPipeWire(LDeviceDirection direction) {
    std::vector<LDeviceInfo> devices;
    WithPipeWireGraph(kPipeWireListMs, [&](LPipeWireGraph& graph) {
        for (const LPipeWireNode& node : graph.Nodes(direction)) {
            const int channels = direction == LDeviceDirection::kPlayback ? node.inputs : node.outputs;
            const QString name = node.description.isEmpty() ? node.name : node.description;
            devices.push_back({{LDeviceMode::kPipeWire, node.name, name},
                               node.name == graph.DefaultName(direction),
                               channels,
                               0});
        }
    });
    TellApart(devices);
    return devices;
}

class LPipeWireWatch final : public LDeviceWatch, private LBackgroundThread {
  public:
    explicit LPipeWireWatch(std::function<void()> changed)
        : LBackgroundThread("PWWA"), changed_(std::move(changed)) {
        Start();
    }
    ~LPipeWireWatch() override { Stop(); }

  protected:
    void Run() override {
        LPipeWireSession session;
        session.SetLost([this] { news_.Set(); });
        for (bool isFirst = true;; isFirst = false) {
            if (session.Connect()) WatchGraph(session, isFirst);
            session.Disconnect();
            if (Sleep(kPipeWireRetryMs) == WaitResult::kCancelled) return;
        }
    }

  private:
    void WatchGraph(LPipeWireSession& session, bool isFirst) {
        LPipeWireGraph graph(session);
        {
            const LPipeWireSession::LLock lock(session);
            if (!graph.Read(session.Deadline(kPipeWireListMs))) return;
            graph.SetChanged([this] { news_.Set(); });
            news_.Reset();
        }
        if (!isFirst) changed_();
        while (!session.IsLost() && WaitForHandle(news_.Handle(), kWaitForever) == WaitResult::kSignalled) {
            if (Sleep(kPipeWireSettleMs) == WaitResult::kCancelled) break;
            news_.Reset();
            changed_();
        }
        const LPipeWireSession::LLock lock(session);
        graph.SetChanged({});
    }

    std::function<void()> changed_;
    LEvent news_;
};

std::unique_ptr<LDeviceWatch> WatchPipeWire(std::function<void()> changed) {
    if (!PipeWire()) return {};
    return std::make_unique<LPipeWireWatch>(std::move(changed));
}

constexpr LBackendRow kPipeWireRow = {LDeviceMode::kPipeWire, "PipeWire",    "",
                                      &IsPipeWireAnswering,   &ListPipeWire, &MakePipeWireOutput,
                                      &WatchPipeWire};

}  // namespace

const LBackendRow& PipeWireBackend() { return kPipeWireRow; }

}  // namespace ondarix
