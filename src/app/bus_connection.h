// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QDBusConnection>
#include <QObject>

#include "gen/background_thread.h"

namespace ondarix {

// A connection of our own to one of the desktop's message buses, made in the background: a bus that does not
// answer holds up nobody. No bus is started for our sake. [ui]
class LBusConnection final : public QObject, private LBackgroundThread {
    Q_OBJECT
  public:
    enum class Kind : uint8_t { kSession, kSystem };
    enum class State : uint8_t { kNew, kConnecting, kReady, kFailed };

    LBusConnection(Kind kind, QObject* parent);
    ~LBusConnection() override;

    void Connect();  // once; Settled() follows
    State GetState() const { return state_; }
    QDBusConnection Bus() const { return QDBusConnection(name_); }

  Q_SIGNALS:
    void Settled();  // ready or failed

  private:
    void Run() override;

    QString address_, name_;
    State state_ = State::kNew;
};

}  // namespace ondarix
