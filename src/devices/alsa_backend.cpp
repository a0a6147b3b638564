// SPDX-License-Identifier: GPL-3.0-or-later
#include <sys/inotify.h>
#include <unistd.h>

#include <QFile>
#include <QFileInfo>
#include <cstring>

#include "devices/alsa_list.h"
#include "devices/alsa_output.h"

namespace ondarix {
namespace {

constexpr const char* kDeviceNodes = "/dev/snd";
constexpr uint32_t kNodeEvents = IN_CREATE | IN_DELETE | IN_ATTRIB | IN_MOVED_FROM | IN_MOVED_TO;
constexpr uint32_t kFolderEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ONLYDIR;
// A card makes some ten nodes, and who may use them is settled a moment later.
constexpr int kNodesSettleMs = 300;

}  // namespace

LDeviceNodeWatch::LDeviceNodeWatch(const QString& folder, std::function<void()> changed)
    : LBackgroundThread("ALWA"), changed_(std::move(changed)) {
    const QFileInfo info(folder);
    folder_ = QFile::encodeName(folder);
    parent_ = QFile::encodeName(info.path());
    name_ = QFile::encodeName(info.fileName());
    notify_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (notify_ < 0) return;
    inotify_add_watch(notify_, parent_.constData(), kFolderEvents);
    Look();
    Start();
}

LDeviceNodeWatch::~LDeviceNodeWatch() {
    Stop();
    if (notify_ >= 0) close(notify_);
}

void LDeviceNodeWatch::Look() { inside_ = inotify_add_watch(notify_, folder_.constData(), kNodeEvents); }

// True when the folder was concerned.
bool LDeviceNodeWatch::ReadEvents() {
    alignas(inotify_event) char buffer[4096];
    bool concerned = false;
    for (ssize_t bytes; (bytes = read(notify_, buffer, sizeof buffer)) > 0;) {
        for (ssize_t at = 0; at < bytes;) {
            inotify_event event;
            std::memcpy(&event, buffer + at, sizeof event);
            const char* name = event.len > 0 ? buffer + at + sizeof event : "";
            concerned = concerned || event.wd == inside_ || name_ == name;
            at += static_cast<ssize_t>(sizeof event + event.len);
        }
    }
    return concerned;
}

void LDeviceNodeWatch::Run() {
    while (WaitForHandle({notify_}, kWaitForever) != WaitResult::kCancelled) {
        if (!ReadEvents()) continue;
        Look();
        if (Sleep(kNodesSettleMs) == WaitResult::kCancelled) return;
        ReadEvents();
        Look();
        changed_();
    }
}

namespace {

constexpr LBackendRow kAlsaRow = {
    LDeviceMode::kAlsa,
    "ALSA",
    "Default Playback Device",
    &AlsaAnswers,
    &ListAlsa,
    [] { return std::unique_ptr<LOutput>(std::make_unique<LAlsaOutput>()); },
    [](std::function<void()> changed) {
        return std::unique_ptr<LDeviceWatch>(
            std::make_unique<LDeviceNodeWatch>(QString::fromUtf8(kDeviceNodes), std::move(changed)));
    },
};

}  // namespace

const LBackendRow& AlsaBackend() { return kAlsaRow; }

}  // namespace ondarix
