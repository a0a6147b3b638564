// SPDX-License-Identifier: GPL-3.0-or-later
// What is said when nothing can be heard.
#include "app/playback_failures.h"

#include "app/playback.h"
#include "devices/device_list.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

const QString kQuietRateName = QStringLiteral("UnsupportedSampleRate");

struct LFailureText {
    QString title, text;
};

LFailureText FailureText(uint16_t status, const QString& device, LDeviceMode mode, bool whilePlaying) {
    if (status == kDeviceExclusive)
        return {QStringLiteral("Sound Device in Exclusive Mode"),
                QStringLiteral(
                    "Another program uses the device %1 and does not share it. Please close that program or "
                    "select another audio output device.")
                    .arg(device)};
    if (status == kDeviceRateUnsupported && mode == LDeviceMode::kJack)
        return {QStringLiteral("Unsupported sample rate"),
                QStringLiteral(
                    "The JACK device you have selected as your audio output can't play this file as the "
                    "sample rate is not supported by the driver. Please choose another audio output "
                    "option.")};
    if (whilePlaying)
        return {
            QStringLiteral("Playback Error"),
            QStringLiteral("The playback has ended because the device %1 does not answer any more. Playing "
                           "again uses the default device unless this one has come back.")
                .arg(device)};
    return {
        QStringLiteral("Playback Error"),
        QStringLiteral("The playback has failed to start on device %1. Please check the following:\n\n"
                       "1. Your device %1 is connected and turned on.\n\n"
                       "2. Try to select another audio output device in the Audio tab of Ondarix Options.")
            .arg(device)};
}

}  // namespace

// What plays instead of the chosen device is not a failure, but neither is it what is expected.
void LPlayback::TellStandIn(const LDeviceSelection& device) {
    const QString text = ChosenOutputText();
    const bool byDefault = text.isEmpty() || text == QString::fromUtf8(kDefaultSoundOut);
    if (text == ondarix::DeviceText(device) || (!byDefault && FindDevice(text))) return;
    if (device.mode == LDeviceMode::kNull)
        Q_EMIT Hint(QStringLiteral(
            "There are no audio playback devices available. Please check your audio settings."));
    else if (!byDefault)
        Q_EMIT Hint(QStringLiteral("%1 is not connected; the default device plays").arg(text));
}

void LPlayback::Fail(uint16_t status, bool whilePlaying) {
    const QString device = QStringLiteral("\"%1\"").arg(ondarix::DeviceText(player_.Device().Selection()));
    Finish(true);
    // Behind whatever has asked for the sound: the question waits for an answer.
    QMetaObject::invokeMethod(
        this, [this, status, device, whilePlaying] { TellFailure(status, device, whilePlaying); },
        Qt::QueuedConnection);
}

void LPlayback::TellFailure(uint16_t status, const QString& device, bool whilePlaying) {
    const LDeviceMode mode = player_.Device().Mode();
    if (TellPlayFailure(documents_.EditHost().Messages(), status, device, mode, whilePlaying) && openOptions)
        openOptions();
}

bool TellPlayFailure(LMessageHost& messages, uint16_t status, const QString& device, LDeviceMode mode,
                     bool whilePlaying) {
    const QString section = QStringLiteral("Settings");
    const bool aboutRate = status == kDeviceRateUnsupported && mode == LDeviceMode::kJack;
    if (aboutRate && GetSettingBool(section, kQuietRateName, false)) return false;
    const LFailureText failure = FailureText(status, device, mode, whilePlaying);
    const QStringList buttons{QStringLiteral("Open Options"), QStringLiteral("Cancel")};
    bool quiet = false;
    const int answer = messages.Ask(failure.title, failure.text, buttons, 1,
                                    aboutRate ? QStringLiteral("Do not show this again") : QString(),
                                    aboutRate ? &quiet : nullptr);
    if (quiet) SetSettingBool(section, kQuietRateName, true);
    return answer == 0;
}

}  // namespace ondarix
