// SPDX-License-Identifier: GPL-3.0-or-later
// The desktop's wish for dark or light, as published by the XDG desktop portal ("org.freedesktop.appearance",
// "color-scheme": 1 dark, 2 light, 0 none).
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QFileInfo>

#include "app/desktop_theme.h"
#include "app/theme.h"

namespace ondarix {
namespace {

const QString kPortal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kPortalSettings = QStringLiteral("org.freedesktop.portal.Settings");
const QString kAppearance = QStringLiteral("org.freedesktop.appearance");
const QString kColourScheme = QStringLiteral("color-scheme");

// Where there is no bus, asking for one would start one.
bool HasSessionBus() {
    return !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") ||
           QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
}

// The portal wraps a value in a variant once or twice.
uint SchemeOf(QVariant value) {
    while (value.canConvert<QDBusVariant>()) value = value.value<QDBusVariant>().variant();
    return value.toUInt();
}

void Follow(uint scheme) {
    if (scheme == 1 || scheme == 2) SetSystemPrefersDark(scheme == 1);
}

}  // namespace

LDesktopTheme::LDesktopTheme() {
    if (!HasSessionBus()) return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    bus.connect(kPortal, kPortalPath, kPortalSettings, QStringLiteral("SettingChanged"), this,
                SLOT(OnSettingChanged(QString, QString, QDBusVariant)));
    QDBusMessage ask =
        QDBusMessage::createMethodCall(kPortal, kPortalPath, kPortalSettings, QStringLiteral("Read"));
    ask << kAppearance << kColourScheme;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(ask), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [](QDBusPendingCallWatcher* done) {
        const QDBusPendingReply<QDBusVariant> reply = *done;
        if (!reply.isError()) Follow(SchemeOf(QVariant::fromValue(reply.value())));
        done->deleteLater();
    });
}

void LDesktopTheme::OnSettingChanged(const QString& space, const QString& key, const QDBusVariant& value) {
    if (space == kAppearance && key == kColourScheme) Follow(SchemeOf(QVariant::fromValue(value)));
}

}  // namespace ondarix
