// SPDX-License-Identifier: GPL-3.0-or-later
// Asks a running editor through its automation socket, as another program does.
#pragma once
#include <QElapsedTimer>
#include <QLocalSocket>
#include <QString>
#include <QStringList>
#include <thread>

#include "app/argument_block.h"
#include "app/instance.h"
#include "gen/bytes.h"

namespace ondarix {

struct LAutomationReply {
    int32_t result = -1;  // -1: no answer
    int32_t code = INT32_MIN;
    QString text;
};

// `home` is the editor's ONDARIX_HOME.
inline QString AutomationSocketOf(const QString& home) {
    const QByteArray before = qgetenv("ONDARIX_HOME");
    qputenv("ONDARIX_HOME", home.toUtf8());
    const QString path = AutomationSocketPath();
    qputenv("ONDARIX_HOME", before);
    return path;
}

inline LAutomationReply AskEditor(const QString& home, const QStringList& arguments, int patienceMs = 30000) {
    QLocalSocket socket;
    socket.connectToServer(AutomationSocketOf(home));
    if (!socket.waitForConnected(1000)) return {};
    QByteArray request(8, '\0');
    StoreLe<uint32_t>(request.data(), 74);
    StoreLe<uint32_t>(request.data() + 4, 66564);
    socket.write(request + EncodeArgumentBlock(QStringList{QStringLiteral("test")} + arguments));
    QByteArray reply;
    while (reply.size() < 12 || reply.size() < 12 + LoadLe<int32_t>(reply.constData() + 8)) {
        if (!socket.waitForReadyRead(patienceMs)) break;
        reply += socket.readAll();
    }
    if (reply.size() < 12) return {};
    return {LoadLe<int32_t>(reply.constData()), LoadLe<int32_t>(reply.constData() + 4),
            QString::fromUtf8(reply.mid(12))};
}

// Looks again and again, without letting events of this process in.
template <typename Done>
bool SleepUntil(Done done, int ms = 20000) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.hasExpired(ms)) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

}  // namespace ondarix
