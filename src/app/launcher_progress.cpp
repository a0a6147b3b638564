// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/launcher_progress.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QFileInfo>
#include <QVariantMap>

namespace ondarix {
namespace {

// A bus is never started for our sake.
bool HasSessionBus() {
    static const bool has =
        qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS") ||
        (qEnvironmentVariableIsSet("XDG_RUNTIME_DIR") &&
         QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus")));
    return has;
}

}  // namespace

void ShowLauncherProgress(LauncherState state, int percent) {
    static LauncherState shownState = LauncherState::kNone;
    static int shownPercent = 0;
    if (state == shownState && percent == shownPercent) return;
    shownState = state;
    shownPercent = percent;
    if (!HasSessionBus()) return;

    // The protocol knows no state without an end; such work shows as an empty bar.
    QVariantMap properties;
    properties[QStringLiteral("progress")] = state == LauncherState::kIndeterminate ? 0.0 : percent / 100.0;
    properties[QStringLiteral("progress-visible")] = state != LauncherState::kNone;
    properties[QStringLiteral("urgent")] = state == LauncherState::kError;
    QDBusMessage update = QDBusMessage::createSignal(QStringLiteral("/works/vellmark/Ondarix"),
                                                     QStringLiteral("com.canonical.Unity.LauncherEntry"),
                                                     QStringLiteral("Update"));
    update << QStringLiteral("application://works.vellmark.Ondarix.desktop") << properties;
    QDBusConnection::sessionBus().send(update);
}

}  // namespace ondarix
