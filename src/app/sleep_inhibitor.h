// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QDBusPendingCall>
#include <QDBusUnixFileDescriptor>
#include <QObject>

#include "app/bus_connection.h"

namespace ondarix {

// Keeps the machine awake while something plays: a lock of the login manager ("sleep:idle", held as long as
// its descriptor is open), otherwise of the session's power management or screen saver. Waits for nothing.
// [ui]
class LSleepInhibitor final : public QObject {
    Q_OBJECT
  public:
    explicit LSleepInhibitor(QObject* parent = nullptr);
    ~LSleepInhibitor() override;

    void Hold(bool on);
    bool IsHeld() const { return holder_ >= 0; }

  private:
    void Update();
    void Ask();
    void Answered(const QDBusPendingCall& answer);
    void Release();
    LBusConnection& BusOf(int service);

    LBusConnection session_, system_;
    QDBusUnixFileDescriptor lock_;
    uint cookie_ = 0;
    int holder_ = -1;  // the service that holds it, -1: none
    int asked_ = 0;    // the service that is asked now or next
    bool wanted_ = false;
    bool asking_ = false;
};

}  // namespace ondarix
