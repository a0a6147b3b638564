// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QDBusVariant>
#include <QObject>

namespace ondarix {

// Asks the desktop whether it wants dark or light and follows its changes. Nothing waits for the answers;
// without a session bus or a portal nothing happens. [ui]
class LDesktopTheme : public QObject {
    Q_OBJECT
  public:
    LDesktopTheme();

  private Q_SLOTS:
    void OnSettingChanged(const QString& space, const QString& key, const QDBusVariant& value);
};

}  // namespace ondarix
