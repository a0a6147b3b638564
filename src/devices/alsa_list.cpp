// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/alsa_list.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <system_error>
#include <thread>

#include "devices/alsa_library.h"
#include "devices/server_patience.h"

namespace ondarix {
namespace {

constexpr int kAlsaAnswerMs = 700;
constexpr int kAlsaListMs = 900;
// Servers that have back ends of their own are here too.
constexpr std::array kPlumbing = {
    "a52",   "arcam_av",  "center_lfe", "dca",        "default", "dmix",      "dshare",     "dsnoop",
    "front", "hdmi",      "hw",         "iec958",     "jack",    "lavrate",   "modem",      "null",
    "oss",   "phoneline", "pipewire",   "plughw",     "pulse",   "rear",      "samplerate", "side",
    "spdif", "speex",     "speexrate",  "sysdefault", "upmix",   "usbstream", "vdownmix"};

LServerPatience alsaPatience;

// What a configuration names may hang, so it is asked on a thread that is left to itself when it does.
template <typename Answer>
Answer WithinMs(int ms, Answer (*work)(LDeviceDirection), LDeviceDirection direction) {
    auto promise = std::make_shared<std::promise<Answer>>();
    std::future<Answer> answer = promise->get_future();
    try {
        std::thread([promise, work, direction] { promise->set_value(work(direction)); }).detach();
    } catch (const std::system_error&) {
        return {};
    }
    const std::chrono::milliseconds limit(alsaPatience.Ms(ms));
    if (answer.wait_for(limit) != std::future_status::ready) {
        alsaPatience.NoteSilence();
        return {};
    }
    alsaPatience.NoteAnswer();
    return answer.get();
}

bool AskAnswers(LDeviceDirection) {
    const LAlsaApi& api = *AlsaApi();
    int card = -1;
    if (api.snd_card_next(&card) >= 0 && card >= 0) return true;
    snd_pcm_t* pcm = nullptr;
    const int result = api.snd_pcm_open(&pcm, "default", SND_PCM_STREAM_PLAYBACK, SND_PCM_NONBLOCK);
    if (result >= 0) api.snd_pcm_close(pcm);
    return result >= 0 || result == -EBUSY;
}

LDeviceInfo AlsaDevice(const QString& id, const QString& name) {
    LDeviceInfo device;
    device.selection = {LDeviceMode::kAlsa, id, name};
    return device;
}

struct LCardInfo {
    const LAlsaApi& api;
    snd_ctl_t* control = nullptr;
    snd_ctl_card_info_t* card = nullptr;
    snd_pcm_info_t* pcm = nullptr;

    LCardInfo(const LAlsaApi& library, int index) : api(library) {
        const QByteArray name = "hw:" + QByteArray::number(index);
        if (api.snd_ctl_open(&control, name.constData(), SND_CTL_NONBLOCK) < 0) control = nullptr;
        api.snd_ctl_card_info_malloc(&card);
        api.snd_pcm_info_malloc(&pcm);
    }
    ~LCardInfo() {
        if (control) api.snd_ctl_close(control);
        if (card) api.snd_ctl_card_info_free(card);
        if (pcm) api.snd_pcm_info_free(pcm);
    }
    LCardInfo(const LCardInfo&) = delete;
    LCardInfo& operator=(const LCardInfo&) = delete;
    bool IsUsable() const { return control && card && pcm && api.snd_ctl_card_info(control, card) >= 0; }
};

void ListCard(const LAlsaApi& api, int index, snd_pcm_stream_t stream, std::vector<LDeviceInfo>& devices) {
    const LCardInfo info(api, index);
    if (!info.IsUsable()) return;
    const QString id = QString::fromUtf8(api.snd_ctl_card_info_get_id(info.card));
    const QString name = QString::fromUtf8(api.snd_ctl_card_info_get_name(info.card));
    int device = -1;
    while (api.snd_ctl_pcm_next_device(info.control, &device) >= 0 && device >= 0) {
        api.snd_pcm_info_set_device(info.pcm, static_cast<unsigned>(device));
        api.snd_pcm_info_set_subdevice(info.pcm, 0);
        api.snd_pcm_info_set_stream(info.pcm, stream);
        if (api.snd_ctl_pcm_info(info.control, info.pcm) < 0) continue;  // none in this direction
        const QString part = QString::fromUtf8(api.snd_pcm_info_get_name(info.pcm));
        devices.push_back(AlsaDevice(QStringLiteral("hw:CARD=%1,DEV=%2").arg(id).arg(device),
                                     part.isEmpty() ? name : name + QStringLiteral(", ") + part));
    }
}

bool IsPlumbing(const QString& id) {
    const QString kind = id.section(u':', 0, 0);
    return kind.startsWith(QStringLiteral("surround")) ||
           std::any_of(kPlumbing.begin(), kPlumbing.end(),
                       [&](const char* name) { return kind == QLatin1String(name); });
}

QString HintText(const LAlsaApi& api, const void* hint, const char* what) {
    char* text = api.snd_device_name_get_hint(hint, what);
    QString result = QString::fromUtf8(text);
    std::free(text);
    return result;
}

void ListNamed(const LAlsaApi& api, LDeviceDirection direction, std::vector<LDeviceInfo>& devices) {
    void** hints = nullptr;
    if (api.snd_device_name_hint(-1, "pcm", &hints) < 0) return;
    const QString other =
        direction == LDeviceDirection::kPlayback ? QStringLiteral("Input") : QStringLiteral("Output");
    for (void** hint = hints; *hint; ++hint) {
        const QString id = HintText(api, *hint, "NAME");
        if (id.isEmpty() || IsPlumbing(id) || HintText(api, *hint, "IOID") == other) continue;
        const QString text = HintText(api, *hint, "DESC").section(u'\n', 0, 0);
        devices.push_back(AlsaDevice(id, text.isEmpty() ? id : text));
    }
    api.snd_device_name_free_hint(hints);
}

std::vector<LDeviceInfo> AskList(LDeviceDirection direction) {
    const LAlsaApi& api = *AlsaApi();
    const auto stream =
        direction == LDeviceDirection::kPlayback ? SND_PCM_STREAM_PLAYBACK : SND_PCM_STREAM_CAPTURE;
    std::vector<LDeviceInfo> devices;
    for (int card = -1; api.snd_card_next(&card) >= 0 && card >= 0;) ListCard(api, card, stream, devices);
    ListNamed(api, direction, devices);
    return devices;
}

}  // namespace

bool AlsaAnswers() { return AlsaApi() && WithinMs(kAlsaAnswerMs, &AskAnswers, LDeviceDirection::kPlayback); }

std::vector<LDeviceInfo> ListAlsa(LDeviceDirection direction) {
    if (!AlsaApi()) return {};
    return WithinMs(kAlsaListMs, &AskList, direction);
}

}  // namespace ondarix
