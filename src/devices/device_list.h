// SPDX-License-Identifier: GPL-3.0-or-later
// The devices of this machine as lists, settings and the command line name them.
#pragma once
#include <memory>
#include <optional>

#include "devices/device_types.h"
#include "devices/output.h"

namespace ondarix {

inline constexpr const char* kDefaultSoundOut = "[Default Sound Out]";

// "[ALSA] HDA Intel PCH"; "(Unknown Device)" stands for a name that could not be read.
QString DeviceText(const LDeviceSelection& selection);
// Each back end that answers, in order, its default first where it has an entry for it. The null device is
// there when nothing else is, or when `withNull`, the setting "ShowNullDevice" of section "Player" or a file
// of the null device as the stored choice asks for it.
std::vector<LDeviceInfo> ListDevices(LDeviceDirection direction, bool withNull = false);
// What plays where nothing was chosen: the default of PipeWire, PulseAudio, JACK, ALSA, the first that
// answers; else the null device.
LDeviceSelection DefaultOutput();
// By the text of the list, its name or id alone, the name of a back end ("pipewire": its default), "null",
// "file:PATH" (the null device with a file; a path from here on), kDefaultSoundOut or an empty text. Nothing:
// there is no such device.
std::optional<LDeviceSelection> FindDevice(const QString& text);
// The stored choice (section "Player", value "Device"); a device that is not there now falls back to the
// default.
LDeviceSelection ChosenOutput();
QString ChosenOutputText();
void StoreOutput(const QString& text);

// Calls back, on any thread, after devices have appeared, vanished or become the default. Until it is
// destroyed.
class LDeviceWatcher {
  public:
    explicit LDeviceWatcher(const std::function<void()>& changed);

  private:
    std::vector<std::unique_ptr<LDeviceWatch>> watches_;
};

}  // namespace ondarix
