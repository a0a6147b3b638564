// SPDX-License-Identifier: GPL-3.0-or-later
// A message bus of a test's own, and another program that speaks on it.
#pragma once
#include <QDBusConnection>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include "gtest/gtest.h"
#include "waiting.h"

namespace ondarix {

class LPrivateBus {
  public:
    LPrivateBus() {
        static int number = 0;
        name_ = QStringLiteral("test-bus-%1").arg(++number);
        QFile config(folder_.filePath(QStringLiteral("bus.conf")));
        EXPECT_TRUE(config.open(QIODevice::WriteOnly));
        config.write(
            "<busconfig><type>session</type><listen>unix:path=" +
            folder_.filePath(QStringLiteral("socket")).toUtf8() +
            "</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow send_destination=\"*\" "
            "eavesdrop=\"true\"/><allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>");
        config.close();
        daemon_.start(QStringLiteral("dbus-daemon"),
                      {QStringLiteral("--config-file=") + config.fileName(), QStringLiteral("--nofork"),
                       QStringLiteral("--print-address")});
        EXPECT_TRUE(daemon_.waitForStarted() && daemon_.waitForReadyRead(10000)) << "dbus-daemon";
        address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
    }
    ~LPrivateBus() {
        QDBusConnection::disconnectFromBus(name_);
        daemon_.kill();
        daemon_.waitForFinished(5000);
    }
    const QString& Address() const { return address_; }
    // Of the test itself.
    QDBusConnection Connection() const { return QDBusConnection::connectToBus(address_, name_); }

    // What gdbus prints; events go on meanwhile. "" after an error, which `error` receives.
    QString Gdbus(const QStringList& arguments, QString* error = nullptr) const {
        QProcess gdbus;
        gdbus.start(QStringLiteral("gdbus"),
                    QStringList{QStringLiteral("call"), QStringLiteral("--address"), address_} + arguments);
        EXPECT_TRUE(PumpUntil([&] { return gdbus.state() == QProcess::NotRunning; }, 20000)) << "gdbus";
        if (error) *error = QString::fromUtf8(gdbus.readAllStandardError());
        return gdbus.exitCode() == 0 ? QString::fromUtf8(gdbus.readAllStandardOutput()).trimmed() : QString();
    }

  private:
    QTemporaryDir folder_;
    QProcess daemon_;
    QString address_, name_;
};

// Sets an environment variable while it lives.
class LScopedVariable {
  public:
    LScopedVariable(const char* name, const QString& value) : name_(name), before_(qgetenv(name)) {
        had_ = qEnvironmentVariableIsSet(name);
        qputenv(name, value.toUtf8());
    }
    ~LScopedVariable() { had_ ? qputenv(name_, before_) : qunsetenv(name_); }

  private:
    const char* name_;
    QByteArray before_;
    bool had_;
};

}  // namespace ondarix
