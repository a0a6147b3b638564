// SPDX-License-Identifier: GPL-3.0-or-later
// A real editor on a display of its own, told what to do through its automation socket.
#pragma once
#include <QElapsedTimer>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <climits>
#include <thread>

#include "app/argument_block.h"
#include "app/instance.h"
#include "gen/bytes.h"
#include "x_display.h"

namespace ondarix {

struct LReply {
    int code = INT_MIN;
    QString text;
};

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
        EXPECT_TRUE(Until([&] { return Tell({QStringLiteral("-version")}).code == 0; }));
    }
    ~LDrivenEditor() {
        Tell({QStringLiteral("-exit")}, 1000);  // it may have a question of its own
        if (process_.waitForFinished(3000)) return;
        process_.kill();
        process_.waitForFinished(5000);
    }
    LReply Tell(const QStringList& arguments, int patienceMs = 30000) const {
        const QByteArray before = qgetenv("ONDARIX_HOME");
        qputenv("ONDARIX_HOME", home_.path().toUtf8());
        const QString path = AutomationSocketPath();
        qputenv("ONDARIX_HOME", before);
        QLocalSocket socket;
        socket.connectToServer(path);
        if (!socket.waitForConnected(1000)) return {};
        QByteArray request(8, '\0');
        StoreLe<uint32_t>(request.data(), 74);
        StoreLe<uint32_t>(request.data() + 4, 66564);
        socket.write(request + EncodeArgumentBlock(QStringList{QStringLiteral("test")} + arguments));
        QByteArray reply;
        while (reply.size() < 12 || reply.size() < 12 + LoadLe<int32_t>(reply.constData() + 8)) {
            if (!socket.waitForReadyRead(patienceMs)) return {};
            reply += socket.readAll();
        }
        return {LoadLe<int32_t>(reply.constData() + 4), QString::fromUtf8(reply.mid(12))};
    }
    // By their names, one after the other; the code of the last.
    int Run(const QStringList& commands) const {
        QStringList arguments;
        for (const QString& command : commands) arguments << QStringLiteral("-command") << command;
        return Tell(arguments).code;
    }
    template <typename Done>
    static bool Until(Done done, int ms = 20000) {
        QElapsedTimer timer;
        timer.start();
        while (!done()) {
            if (timer.hasExpired(ms)) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return true;
    }

  private:
    QTemporaryDir home_;
    QProcess process_;
};

}  // namespace ondarix
