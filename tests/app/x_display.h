// SPDX-License-Identifier: GPL-3.0-or-later
// A screen of X in memory, with a window manager, for tests with several programs on it.
#pragma once
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <memory>

#include "gtest/gtest.h"

namespace ondarix {

class LXDisplay {
  public:
    // The server itself looks for a free number and tells it.
    LXDisplay() {
        server_.start(QStringLiteral("Xvfb"),
                      {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                       QStringLiteral("0"), QStringLiteral("1280x800x24"), QStringLiteral("-nolisten"),
                       QStringLiteral("tcp")});
        if (!server_.waitForStarted(10000)) return;
        QByteArray number;
        while (!number.endsWith('\n') && server_.waitForReadyRead(20000))
            number += server_.readAllStandardOutput();
        if (number.trimmed().isEmpty()) return;
        environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DISPLAY"),
                           QLatin1Char(':') + QString::fromLatin1(number.trimmed()));
        environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
        environment.remove(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"));
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        manager_.setProcessEnvironment(environment);
        manager_.start(QStringLiteral("openbox"), QStringList());
        works_ = manager_.waitForStarted(10000);
    }
    ~LXDisplay() {
        for (QProcess* process : {&manager_, &server_}) {
            process->terminate();
            if (process->state() != QProcess::NotRunning && !process->waitForFinished(5000)) process->kill();
            process->waitForFinished(2000);
        }
    }
    bool Works() const { return works_; }

    // Runs to its end; its standard output.
    QByteArray Run(const QString& program, const QStringList& arguments, const QByteArray& input = {}) const {
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(program, arguments);
        process.write(input);
        process.closeWriteChannel();
        EXPECT_TRUE(process.waitForFinished(60000) && process.exitCode() == 0)
            << program.toStdString() << ": " << process.readAllStandardError().toStdString();
        return process.readAllStandardOutput();
    }
    struct LEnd {
        void operator()(QProcess* process) const {
            process->kill();
            process->waitForFinished(5000);
            delete process;
        }
    };
    using LRunning = std::unique_ptr<QProcess, LEnd>;
    // Stays, for what it offers to others.
    LRunning Start(const QString& program, const QStringList& arguments, const QByteArray& input = {}) const {
        LRunning process(new QProcess);
        process->setProcessEnvironment(environment);
        process->start(program, arguments);
        EXPECT_TRUE(process->waitForStarted(10000)) << program.toStdString();
        process->write(input);
        while (process->bytesToWrite() > 0 && process->waitForBytesWritten(10000)) {
        }
        process->closeWriteChannel();
        return process;
    }

    QProcessEnvironment environment;

  private:
    QProcess server_, manager_;
    bool works_ = false;
};

}  // namespace ondarix
