// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/sleep_inhibitor.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace ondarix {
namespace {

struct LInhibitService {
    LBusConnection::Kind bus;
    const char* name;
    const char* path;
    const char* interface;
};
// In the order in which they are asked.
constexpr LInhibitService kServices[] = {
    {LBusConnection::Kind::kSystem, "org.freedesktop.login1", "/org/freedesktop/login1",
     "org.freedesktop.login1.Manager"},
    {LBusConnection::Kind::kSession, "org.freedesktop.PowerManagement",
     "/org/freedesktop/PowerManagement/Inhibit", "org.freedesktop.PowerManagement.Inhibit"},
    {LBusConnection::Kind::kSession, "org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
     "org.freedesktop.ScreenSaver"},
};
constexpr int kInhibitServices = std::size(kServices);
const QString kWho = QStringLiteral("Ondarix");
const QString kWhy = QStringLiteral("Sound is played");

QDBusMessage CallOf(int service, const char* method) {
    const LInhibitService& row = kServices[service];
    QDBusMessage call = QDBusMessage::createMethodCall(QLatin1String(row.name), QLatin1String(row.path),
                                                       QLatin1String(row.interface), QLatin1String(method));
    call.setAutoStartService(false);
    return call;
}

}  // namespace

LSleepInhibitor::LSleepInhibitor(QObject* parent)
    : QObject(parent),
      session_(LBusConnection::Kind::kSession, this),
      system_(LBusConnection::Kind::kSystem, this) {
    connect(&session_, &LBusConnection::Settled, this, &LSleepInhibitor::Update);
    connect(&system_, &LBusConnection::Settled, this, &LSleepInhibitor::Update);
}

LSleepInhibitor::~LSleepInhibitor() { Release(); }

LBusConnection& LSleepInhibitor::BusOf(int service) {
    return kServices[service].bus == LBusConnection::Kind::kSystem ? system_ : session_;
}

void LSleepInhibitor::Hold(bool on) {
    if (on == wanted_) return;
    wanted_ = on;
    if (on && !asking_) asked_ = 0;
    Update();
}

void LSleepInhibitor::Update() {
    if (!wanted_) return Release();
    if (IsHeld() || asking_) return;
    for (; asked_ < kInhibitServices; ++asked_) {
        LBusConnection& bus = BusOf(asked_);
        bus.Connect();
        if (bus.GetState() == LBusConnection::State::kReady) return Ask();
        if (bus.GetState() != LBusConnection::State::kFailed) return;  // comes back when that is settled
    }
}

void LSleepInhibitor::Ask() {
    asking_ = true;
    QDBusMessage call = CallOf(asked_, "Inhibit");
    if (asked_ == 0)
        call << QStringLiteral("sleep:idle") << kWho << kWhy << QStringLiteral("block");
    else
        call << kWho << kWhy;
    auto* watcher = new QDBusPendingCallWatcher(BusOf(asked_).Bus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* done) {
        Answered(*done);
        done->deleteLater();
    });
}

void LSleepInhibitor::Answered(const QDBusPendingCall& answer) {
    asking_ = false;
    bool granted = !answer.isError();
    if (granted && asked_ == 0) {
        const QDBusPendingReply<QDBusUnixFileDescriptor> reply = answer;
        lock_ = reply.isError() ? QDBusUnixFileDescriptor() : reply.value();
        granted = lock_.isValid();
    } else if (granted) {
        const QDBusPendingReply<uint> reply = answer;
        granted = !reply.isError();
        cookie_ = granted ? reply.value() : 0;
    }
    if (granted)
        holder_ = asked_;
    else
        ++asked_;
    Update();
}

void LSleepInhibitor::Release() {
    if (!IsHeld()) return;
    if (holder_ == 0) {
        lock_ = {};
    } else {
        QDBusMessage call = CallOf(holder_, "UnInhibit");
        call << cookie_;
        BusOf(holder_).Bus().send(call);
    }
    holder_ = -1;
}

}  // namespace ondarix
