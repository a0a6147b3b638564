// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/bus_connection.h"

#include <QFileInfo>

namespace ondarix {
namespace {

QString SocketAddress(const QString& path) {
    return QFileInfo::exists(path) ? QStringLiteral("unix:path=") + path : QString();
}

// As the D-Bus specification has it; empty: there is none.
QString AddressOf(LBusConnection::Kind kind) {
    if (kind == LBusConnection::Kind::kSystem) {
        QString given = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
        if (!given.isEmpty()) return given;
        return SocketAddress(QStringLiteral("/run/dbus/system_bus_socket"));
    }
    QString given = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (given.startsWith(QStringLiteral("autolaunch:"))) return {};
    if (!given.isEmpty()) return given;
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return folder.isEmpty() ? QString() : SocketAddress(folder + QStringLiteral("/bus"));
}

QString NextName() {
    static int number = 0;
    return QStringLiteral("ondarix-bus-%1").arg(++number);
}

}  // namespace

LBusConnection::LBusConnection(Kind kind, QObject* parent)
    : QObject(parent), LBackgroundThread("DBUS"), address_(AddressOf(kind)), name_(NextName()) {}

LBusConnection::~LBusConnection() {
    LBackgroundThread::Stop();
    QDBusConnection::disconnectFromBus(name_);
}

void LBusConnection::Connect() {
    if (state_ != State::kNew) return;
    state_ = State::kConnecting;
    if (!address_.isEmpty() && LBackgroundThread::Start()) return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            state_ = State::kFailed;
            Q_EMIT Settled();
        },
        Qt::QueuedConnection);
}

void LBusConnection::Run() {
    const bool connected = QDBusConnection::connectToBus(address_, name_).isConnected();
    QMetaObject::invokeMethod(
        this,
        [this, connected] {
            state_ = connected ? State::kReady : State::kFailed;
            Q_EMIT Settled();
        },
        Qt::QueuedConnection);
}

}  // namespace ondarix
