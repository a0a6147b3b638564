// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/device_list.h"

#include <QJsonArray>

#include "cli/command.h"
#include "cli/terminal.h"

namespace ondarix {
namespace {

QJsonObject DeviceToJson(const LDeviceInfo& device, const LDeviceSelection* chosen) {
    const LDeviceSelection& selection = device.selection;
    QJsonObject json{{"device", DeviceText(selection)},
                     {"name", selection.name},
                     {"id", selection.id},
                     {"backend", BackendOf(selection.mode).name},
                     {"mode", static_cast<int>(selection.mode)},
                     {"channels", device.channels},
                     {"rate", device.rate},
                     {"default", device.isDefault}};
    if (chosen) json["chosen"] = selection == *chosen;
    return json;
}

QJsonArray DevicesToJson(const std::vector<LDeviceInfo>& devices, const LDeviceSelection* chosen) {
    QJsonArray array;
    for (const LDeviceInfo& device : devices) array += DeviceToJson(device, chosen);
    return array;
}

QString DeviceLine(const LDeviceInfo& device, bool isChosen) {
    QStringList facts;
    if (device.channels > 0) facts += QString("%1 channels").arg(device.channels);
    if (device.rate > 0) facts += QString("%1 Hz").arg(device.rate);
    if (device.isDefault) facts += "default";
    if (!device.selection.id.isEmpty()) facts += "id " + OneLine(device.selection.id);
    const QString text = (isChosen ? "> " : "  ") + OneLine(DeviceText(device.selection));
    return facts.isEmpty() ? text : QString("%1 (%2)").arg(text, facts.join(", "));
}

void PrintDevices(const char* title, const std::vector<LDeviceInfo>& devices, const LDeviceSelection* chosen,
                  LConsole& console) {
    console.Print(title);
    for (const LDeviceInfo& device : devices)
        console.Print(DeviceLine(device, chosen && device.selection == *chosen));
    if (devices.empty()) console.Print("  none");
}

QJsonArray BackendsToJson() {
    QJsonArray array;
    for (const LBackendRow* row : Backends()) {
        array += QJsonObject{
            {"name", row->name}, {"mode", static_cast<int>(row->mode)}, {"answers", row->answers()}};
    }
    return array;
}

}  // namespace

ExitStatus RunDevices(const LArguments& /*arguments*/, LContext& context) {
    const LDeviceSelection chosen = ChosenOutput();
    const auto outputs = ListDevices(LDeviceDirection::kPlayback);
    const auto inputs = ListDevices(LDeviceDirection::kCapture);
    LConsole& console = context.console;
    PrintDevices("Outputs", outputs, &chosen, console);
    PrintDevices("Inputs", inputs, nullptr, console);
    if (!console.IsJson()) return ExitStatus::kSuccess;
    console.Result() = {{"chosen", DeviceText(chosen)},
                        {"outputs", DevicesToJson(outputs, &chosen)},
                        {"inputs", DevicesToJson(inputs, nullptr)},
                        {"backends", BackendsToJson()}};
    return ExitStatus::kSuccess;
}

}  // namespace ondarix
