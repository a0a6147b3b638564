// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/device_list.h"

#include <array>
#include <chrono>
#include <future>

#include "gen/settings.h"

namespace ondarix {
namespace {

constexpr const char* kSection = "Player";
constexpr const char* kValue = "Device";
constexpr const char* kShowNull = "ShowNullDevice";
constexpr const char* kUnknownDevice = "(Unknown Device)";
constexpr const char* kFilePrefix = "file:";
constexpr int kLongestName = 255;
constexpr std::chrono::milliseconds kUsualAnswer{100};
constexpr std::array kDefaultOrder = {LDeviceMode::kPipeWire, LDeviceMode::kPulseAudio, LDeviceMode::kJack,
                                      LDeviceMode::kAlsa};

LDeviceSelection DefaultOf(const LBackendRow& row) {
    return {row.mode, {}, QString::fromUtf8(*row.defaultName ? row.defaultName : "Default Playback Device")};
}

bool SameText(const QString& one, const QString& other) {
    return one.compare(other, Qt::CaseInsensitive) == 0;
}

std::optional<LDeviceSelection> FileDevice(const QString& text) {
    if (!text.startsWith(QLatin1String(kFilePrefix))) return {};
    const QString path = text.mid(static_cast<int>(qstrlen(kFilePrefix)));
    if (path.isEmpty()) return {};
    return LDeviceSelection{LDeviceMode::kNull, path, text};
}

std::vector<LDeviceInfo> AllOf(const LBackendRow& row, LDeviceDirection direction) {
    if (row.mode == LDeviceMode::kNull || !row.answers()) return {};
    auto all = row.list(direction);
    if (*row.defaultName && direction == LDeviceDirection::kPlayback)
        all.insert(all.begin(), {DefaultOf(row), true, 0, 0});
    return all;
}

// Of a text that begins with the name of a back end ("[ALSA] HDA") no other one is asked: the slowest server
// is what a whole list waits for.
std::vector<LDeviceInfo> DevicesFor(const QString& text) {
    for (const LBackendRow* row : Backends()) {
        const QString prefix = QStringLiteral("[%1] ").arg(QString::fromUtf8(row->name));
        if (row->mode == LDeviceMode::kNull || !text.startsWith(prefix, Qt::CaseInsensitive)) continue;
        return AllOf(*row, LDeviceDirection::kPlayback);
    }
    return ListDevices(LDeviceDirection::kPlayback, true);
}

}  // namespace

QString DeviceText(const LDeviceSelection& selection) {
    const QString name =
        selection.name.isEmpty() ? QString::fromUtf8(kUnknownDevice) : selection.name.left(kLongestName);
    return QStringLiteral("[%1] %2").arg(QString::fromUtf8(BackendOf(selection.mode).name), name);
}

std::vector<LDeviceInfo> ListDevices(LDeviceDirection direction, bool withNull) {
    // At the same time: servers that hang cost no more than one of them.
    std::vector<std::future<std::vector<LDeviceInfo>>> lists;
    for (const LBackendRow* row : Backends())
        lists.push_back(std::async([row, direction] { return AllOf(*row, direction); }));
    std::vector<LDeviceInfo> all;
    for (auto& list : lists)
        for (LDeviceInfo& device : list.get()) all.push_back(std::move(device));
    if (direction == LDeviceDirection::kPlayback &&
        (withNull || all.empty() || GetSettingBool(kSection, kShowNull, false)))
        all.push_back({DefaultOf(NullBackend()), false, 0, 0});
    return all;
}

LDeviceSelection DefaultOutput() {
    // One that is slow to answer may just be busy, and then comes first all the same; the next ones are asked
    // meanwhile, so that servers that hang cost little more than one of them.
    std::vector<std::pair<const LBackendRow*, std::shared_future<bool>>> asked;
    for (const LDeviceMode mode : kDefaultOrder) {
        const LBackendRow& row = BackendOf(mode);
        if (row.mode != mode) continue;
        const std::shared_future<bool> answers = std::async(row.answers).share();
        asked.emplace_back(&row, answers);
        if (answers.wait_for(kUsualAnswer) == std::future_status::ready && answers.get()) break;
    }
    for (const auto& [row, answers] : asked)
        if (answers.get()) return DefaultOf(*row);
    return DefaultOf(NullBackend());
}

std::optional<LDeviceSelection> FindDevice(const QString& text) {
    if (text.isEmpty() || SameText(text, QString::fromUtf8(kDefaultSoundOut))) return DefaultOutput();
    if (auto file = FileDevice(text)) return file;
    for (const LBackendRow* row : Backends())
        if (SameText(text, QString::fromUtf8(row->name))) return DefaultOf(*row);
    const auto devices = DevicesFor(text);
    for (const LDeviceInfo& device : devices)
        if (SameText(text, DeviceText(device.selection))) return device.selection;
    for (const LDeviceInfo& device : devices)
        if (SameText(text, device.selection.name) || SameText(text, device.selection.id))
            return device.selection;
    return {};
}

LDeviceSelection ChosenOutput() {
    const auto found = FindDevice(ChosenOutputText());
    return found ? *found : DefaultOutput();
}

QString ChosenOutputText() { return GetSettingString(kSection, kValue, QString::fromUtf8(kDefaultSoundOut)); }

void StoreOutput(const QString& text) { SetSettingString(kSection, kValue, text); }

LDeviceWatcher::LDeviceWatcher(const std::function<void()>& changed) {
    for (const LBackendRow* row : Backends())
        if (auto watch = row->watch(changed)) watches_.push_back(std::move(watch));
}

}  // namespace ondarix
