// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/pipewire_session.h"

#include <pipewire/extensions/metadata.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>

#include "devices/output.h"
#include "devices/server_patience.h"

namespace ondarix {
namespace {

constexpr int64_t kNsPerMs = 1'000'000;
// With real-time scheduling for the thread that feeds the server, where the system grants it.
constexpr const char* kClientConfiguration = "client-rt.conf";

LServerPatience pipeWirePatience;

const char* ValueOf(const spa_dict* values, const char* key) {
    const char* const value = values ? spa_dict_lookup(values, key) : nullptr;
    return value ? value : "";
}

// {"name":"alsa_output.pci"}
QString NameInside(const char* json) {
    return QJsonDocument::fromJson(QByteArray(json)).object().value(QStringLiteral("name")).toString();
}

void DestroyProxy(void* proxy, spa_hook& hook) {
    if (!proxy) return;
    spa_hook_remove(&hook);
    PipeWire()->proxyDestroy(static_cast<pw_proxy*>(proxy));
}

}  // namespace

bool LPipeWireSession::Connect() {
    const LPipeWireLibrary* const pipewire = PipeWire();
    if (!pipewire) return false;
    if (!loop_) {
        loop_ = pipewire->loopNew("ondarix-pw", nullptr);
        if (!loop_) return false;
        auto* const properties = pipewire->propertiesNew(
            PW_KEY_CONFIG_NAME, kClientConfiguration, PW_KEY_APP_NAME, kClientName, PW_KEY_APP_ID,
            kApplicationId, PW_KEY_APP_ICON_NAME, kApplicationId, nullptr);
        context_ = pipewire->contextNew(pipewire->loopLoop(loop_), properties, 0);
        if (!context_ || pipewire->loopStart(loop_) != 0) return false;
    }
    const LLock lock(*this);
    isLost_ = false;
    doneSerial_ = -1;
    core_ = pipewire->contextConnect(context_, nullptr, 0);
    if (!core_) return false;
    static const pw_core_events events = [] {
        pw_core_events all{};
        all.version = PW_VERSION_CORE_EVENTS;
        all.done = [](void* self, uint32_t id, int serial) {
            static_cast<LPipeWireSession*>(self)->OnDone(id, serial);
        };
        all.error = [](void* self, uint32_t id, int, int result, const char*) {
            static_cast<LPipeWireSession*>(self)->OnError(id, result);
        };
        return all;
    }();
    coreHook_ = {};
    pw_core_add_listener(core_, &coreHook_, &events, this);
    return true;
}

void LPipeWireSession::Disconnect() {
    const LLock lock(*this);
    if (!core_) return;
    spa_hook_remove(&coreHook_);
    PipeWire()->coreDisconnect(core_);
    core_ = nullptr;
}

void LPipeWireSession::Close() {
    if (!loop_) return;
    Disconnect();
    PipeWire()->loopStop(loop_);
    if (context_) PipeWire()->contextDestroy(context_);
    PipeWire()->loopDestroy(loop_);
    context_ = nullptr;
    loop_ = nullptr;
}

void LPipeWireSession::OnDone(uint32_t id, int serial) {
    if (id != PW_ID_CORE) return;
    doneSerial_ = serial;
    Signal();
}

void LPipeWireSession::OnError(uint32_t id, int result) {
    if (id != PW_ID_CORE || result != -EPIPE || isLost_) return;
    isLost_ = true;
    Signal();
    if (onLost_) onLost_();
}

timespec LPipeWireSession::Deadline(int ms) const {
    timespec deadline{};
    PipeWire()->loopTime(loop_, &deadline, pipeWirePatience.Ms(ms) * kNsPerMs);
    return deadline;
}

bool LPipeWireSession::Sync(const timespec& deadline) {
    const int serial = pw_core_sync(core_, PW_ID_CORE, 0);
    while (doneSerial_ != serial && !isLost_)
        if (!Wait(deadline)) return false;
    return !isLost_;
}

struct LPipeWireGraph::LObject {
    ~LObject() { DestroyProxy(proxy, hook); }
    LPipeWireGraph* graph = nullptr;
    uint32_t id = 0;
    void* proxy = nullptr;
    spa_hook hook{};
    bool isNode = false;
    LPipeWireNode node;
};

LPipeWireGraph::LPipeWireGraph(LPipeWireSession& session) : session_(session) {}
LPipeWireGraph::~LPipeWireGraph() { Clear(); }

bool LPipeWireGraph::Read(const timespec& deadline) {
    static const pw_registry_events events = [] {
        pw_registry_events all{};
        all.version = PW_VERSION_REGISTRY_EVENTS;
        all.global = [](void* self, uint32_t id, uint32_t, const char* type, uint32_t,
                        const spa_dict* values) {
            static_cast<LPipeWireGraph*>(self)->OnGlobal(id, type, values);
        };
        all.global_remove = [](void* self, uint32_t id) {
            static_cast<LPipeWireGraph*>(self)->OnRemoved(id);
        };
        return all;
    }();
    registry_ = pw_core_get_registry(session_.Core(), PW_VERSION_REGISTRY, 0);
    if (!registry_) return false;
    pw_registry_add_listener(registry_, &registryHook_, &events, this);
    // The first answer brings the names of all objects, the second what those say that were bound meanwhile.
    const bool hasAnswered = session_.Sync(deadline) && session_.Sync(deadline);
    if (hasAnswered)
        pipeWirePatience.NoteAnswer();
    else if (!session_.IsLost())
        pipeWirePatience.NoteSilence();
    return hasAnswered;
}

void LPipeWireGraph::Clear() {
    const LPipeWireSession::LLock lock(session_);
    objects_.clear();
    DestroyProxy(registry_, registryHook_);
    registry_ = nullptr;
    defaultSink_.clear();
    defaultSource_.clear();
}

void LPipeWireGraph::OnGlobal(uint32_t id, const char* type, const spa_dict* values) {
    auto object = std::make_unique<LObject>();
    object->graph = this;
    object->id = id;
    if (spa_streq(type, PW_TYPE_INTERFACE_Metadata)) {
        static const pw_metadata_events events = {
            PW_VERSION_METADATA_EVENTS,
            [](void* self, uint32_t, const char* key, const char*, const char* value) {
                static_cast<LObject*>(self)->graph->OnValue(key, value);
                return 0;
            }};
        object->proxy = pw_registry_bind(registry_, id, type, PW_VERSION_METADATA, 0);
        if (!object->proxy) return;
        pw_metadata_add_listener(static_cast<pw_metadata*>(object->proxy), &object->hook, &events,
                                 object.get());
        objects_.push_back(std::move(object));
        return;
    }
    const QLatin1String kind(ValueOf(values, PW_KEY_MEDIA_CLASS));
    LPipeWireNode& node = object->node;
    node.plays = kind == QLatin1String("Audio/Sink") || kind == QLatin1String("Audio/Duplex");
    node.records = kind.startsWith(QLatin1String("Audio/Source")) || kind == QLatin1String("Audio/Duplex");
    if (!spa_streq(type, PW_TYPE_INTERFACE_Node) || (!node.plays && !node.records)) return;
    object->isNode = true;
    node.name = QString::fromUtf8(ValueOf(values, PW_KEY_NODE_NAME));
    node.description = QString::fromUtf8(ValueOf(values, PW_KEY_NODE_DESCRIPTION));
    static const pw_node_events events = {PW_VERSION_NODE_EVENTS,
                                          [](void* self, const pw_node_info* info) {
                                              LPipeWireNode& known = static_cast<LObject*>(self)->node;
                                              known.inputs = static_cast<int>(info->n_input_ports);
                                              known.outputs = static_cast<int>(info->n_output_ports);
                                          },
                                          nullptr};
    object->proxy = pw_registry_bind(registry_, id, type, PW_VERSION_NODE, 0);
    if (!object->proxy) return;
    pw_node_add_listener(static_cast<pw_node*>(object->proxy), &object->hook, &events, object.get());
    objects_.push_back(std::move(object));
    Changed();
}

void LPipeWireGraph::OnRemoved(uint32_t id) {
    const auto object =
        std::find_if(objects_.begin(), objects_.end(), [&](auto& one) { return one->id == id; });
    if (object == objects_.end()) return;
    const bool wasNode = (*object)->isNode;
    objects_.erase(object);
    if (wasNode) Changed();
}

void LPipeWireGraph::OnValue(const char* key, const char* value) {
    const char* const text = value ? value : "";
    if (spa_streq(key, "clock.rate")) clockRate_ = QByteArray(text).toInt();
    const bool isSink = spa_streq(key, "default.audio.sink");
    if (!isSink && !spa_streq(key, "default.audio.source")) return;
    (isSink ? defaultSink_ : defaultSource_) = NameInside(text);
    Changed();
}

std::vector<LPipeWireNode> LPipeWireGraph::Nodes(LDeviceDirection direction) const {
    std::vector<LPipeWireNode> nodes;
    for (const auto& object : objects_) {
        const LPipeWireNode& node = object->node;
        if (direction == LDeviceDirection::kPlayback ? node.plays : node.records) nodes.push_back(node);
    }
    return nodes;
}

}  // namespace ondarix
