// SPDX-License-Identifier: GPL-3.0-or-later
// What a back end must do to play, and the table of the back ends. Each one is one file; its client library
// is loaded at run time, so that a machine without it still starts.
#pragma once
#include <functional>
#include <memory>
#include <span>

#include "devices/play_queue.h"

namespace ondarix {

// How an output wants to be fed; filled by LOutput::Open.
struct LOutputSetup {
    LSoundFormat format;  // in: of the source; out: what the device takes. The engine mixes the channels.
    int32_t bufferFrames = 0;  // out: of one call-back, where the server has such a size
};

// One open stream of a back end. All but the call-back is for one thread at a time; every call comes back
// within a second, whatever the server does.
class LOutput {
  public:
    virtual ~LOutput() = default;  // closed by then

    // Connects, without sound yet. Another rate than the source's in `setup` is not allowed:
    // kDeviceRateUnsupported then, and PreferredRate() tells which one would do. Falls back to the default
    // device before it gives kDeviceRefused.
    virtual LDeviceStatus Open(const LDeviceSelection& selection, LOutputSetup& setup) = 0;
    // From now on frames are taken from the queue, which is configured and outlives Close().
    virtual bool Start(LPlayQueue& queue) = 0;
    // What the server or the hardware still holds is not to be heard (a seek). The stream goes on.
    virtual void Flush() {}
    // No call-back runs any more when it returns. From any state, also after a failure.
    virtual void Close() = 0;
    // What this device will take for a source of `rate` Hz, open or refused; -1: nothing.
    virtual int32_t PreferredRate(int32_t rate) { return rate; }
};

// Tells of devices that appear, vanish or become the default, on any thread, until it is destroyed.
class LDeviceWatch {
  public:
    virtual ~LDeviceWatch() = default;
};

struct LBackendRow {
    LDeviceMode mode;
    const char* name;         // "PipeWire", which is also the prefix of its devices in lists
    const char* defaultName;  // what heads its group in lists, "": nothing does
    // Whether its library is installed and its server answers: at once where there is none, within 0.8 s
    // where it hangs. Called on any thread.
    bool (*answers)();
    // Without the entry of `defaultName`; empty when it does not answer. Called on any thread.
    std::vector<LDeviceInfo> (*list)(LDeviceDirection direction);
    std::unique_ptr<LOutput> (*create)();
    // Null: changes are not told, the list is to be asked again when it is shown.
    std::unique_ptr<LDeviceWatch> (*watch)(std::function<void()> changed);
};

const LBackendRow& AlsaBackend();
const LBackendRow& PulseAudioBackend();
const LBackendRow& JackBackend();
const LBackendRow& PipeWireBackend();
const LBackendRow& NullBackend();
// In the order of lists.
std::span<const LBackendRow* const> Backends();
const LBackendRow& BackendOf(LDeviceMode mode);

// The rates that a device is asked for when it refuses the one of the sound: upwards from `rate` in a table
// of the usual ones, then downwards; the first that `takes` accepts. -1: none, or `rate` is not in the table.
int32_t SearchRate(int32_t rate, const std::function<bool(int32_t)>& takes);

// How this program names itself to the servers.
inline constexpr const char* kClientName = "Ondarix";
inline constexpr const char* kApplicationId = "works.vellmark.Ondarix";
inline constexpr const char* kMediaRole = "production";

}  // namespace ondarix
