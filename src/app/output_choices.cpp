// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/output_choices.h"

#include "devices/device_list.h"

namespace ondarix {
namespace {

constexpr int kGatherMs = 100;  // servers tell of one new device several times

QStringList TextsNow() {
    QStringList texts{QString::fromUtf8(kDefaultSoundOut)};
    for (const LDeviceInfo& device : ListDevices(LDeviceDirection::kPlayback))
        texts.append(DeviceText(device.selection));
    texts.removeDuplicates();
    return texts;
}

}  // namespace

LOutputChoices::LOutputChoices(QObject* parent)
    : QObject(parent), LBackgroundThread("OUTC"), texts_{QString::fromUtf8(kDefaultSoundOut)} {}

LOutputChoices::~LOutputChoices() { LBackgroundThread::Stop(); }

void LOutputChoices::Follow() {
    if (IsCancelled()) LBackgroundThread::Stop();  // of the last time; long at its end as a rule
    again_.Set();
    LBackgroundThread::Start();
}

void LOutputChoices::EndFollow() { SignalStop(); }

bool LOutputChoices::IsThere(const QString& text) const {
    return texts_.contains(text, Qt::CaseInsensitive) || text.startsWith(QStringLiteral("file:"));
}

void LOutputChoices::Run() {
    const LDeviceWatcher watcher([this] { again_.Set(); });
    while (!IsCancelled()) {
        if (WaitForHandle(again_.Handle(), kWaitForever) == WaitResult::kCancelled) return;
        const QStringList texts = TextsNow();
        QMetaObject::invokeMethod(
            this, [this, texts] { Take(texts); }, Qt::QueuedConnection);
        Sleep(kGatherMs);
    }
}

void LOutputChoices::Take(const QStringList& texts) {
    const bool changed = !known_ || texts != texts_;
    known_ = true;
    texts_ = texts;
    if (changed) Q_EMIT Changed();
}

}  // namespace ondarix
