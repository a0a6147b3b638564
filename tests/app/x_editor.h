// SPDX-License-Identifier: GPL-3.0-or-later
// A real editor on a display of its own, told what to do through its automation socket.
#pragma once
#include <QTemporaryDir>

#include "automation_client.h"
#include "x_display.h"

namespace ondarix {

// An editor with a home of its own, told what to do through its automation socket.
class LDrivenEditor {
  public:
    LDrivenEditor(const LXDisplay& display, const QStringList& files) {
        process_.setProcessEnvironment([&] {
            QProcessEnvironment environment = display.environment;
            environment.insert(QStringLiteral("ONDARIX_HOME"), home_.path());
            environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home_.path());
            return environment;
        }());
        process_.start(QStringLiteral(ONDARIX_BIN), files);
        EXPECT_TRUE(process_.waitForStarted(10000));
        EXPECT_TRUE(SleepUntil([&] { return Tell({QStringLiteral("-version")}).code == 0; }));
    }
    ~LDrivenEditor() {
        Tell({QStringLiteral("-exit")}, 1000);  // it may have a question of its own
        if (process_.waitForFinished(3000)) return;
        process_.kill();
        process_.waitForFinished(5000);
    }
    LAutomationReply Tell(const QStringList& arguments, int patienceMs = 30000) const {
        return AskEditor(home_.path(), arguments, patienceMs);
    }
    // By their names, one after the other; the code of the last.
    int Run(const QStringList& commands) const {
        QStringList arguments;
        for (const QString& command : commands) arguments << QStringLiteral("-command") << command;
        return Tell(arguments).code;
    }

    // Of main memory, now.
    int64_t Bytes() const {
        QFile status(QStringLiteral("/proc/%1/status").arg(process_.processId()));
        EXPECT_TRUE(status.open(QIODevice::ReadOnly));
        const QByteArray text = status.readAll();
        return text.mid(text.indexOf("VmRSS:") + 6).trimmed().split(' ')[0].toLongLong() * 1024;
    }

  private:
    QTemporaryDir home_;
    QProcess process_;
};

}  // namespace ondarix
