// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/instance.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <QFile>
#include <chrono>
#include <cstring>
#include <thread>

#include "app/argument_block.h"
#include "gen/bytes.h"
#include "gen/paths.h"

namespace ondarix {
namespace {

using InstanceClock = std::chrono::steady_clock;

int MsUntil(InstanceClock::time_point end) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - InstanceClock::now());
    return static_cast<int>(std::max<int64_t>(0, left.count()));
}

bool FillSocketAddress(const QString& path, sockaddr_un& address) {
    const QByteArray name = QFile::encodeName(path);
    address = {};
    address.sun_family = AF_UNIX;
    if (name.isEmpty() || static_cast<size_t>(name.size()) >= sizeof address.sun_path) return false;
    std::memcpy(address.sun_path, name.constData(), static_cast<size_t>(name.size()));
    return true;
}

// The connected socket, -1 when nobody listens.
int ConnectTo(const QString& path) {
    sockaddr_un address;
    if (!FillSocketAddress(path, address)) return -1;
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) return -1;
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return fd;
    close(fd);
    return -1;
}

bool SendBytes(int fd, const QByteArray& bytes, InstanceClock::time_point end) {
    qsizetype sent = 0;
    while (sent < bytes.size()) {
        pollfd ready{fd, POLLOUT, 0};
        const int events = poll(&ready, 1, MsUntil(end));
        if (events == 0) return false;
        if (events < 0 && errno == EINTR) continue;
        const ssize_t count =
            send(fd, bytes.constData() + sent, static_cast<size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (count > 0) sent += count;
        if (count < 0 && errno != EINTR && errno != EAGAIN) return false;
    }
    return true;
}

HandOverResult ReceiveReply(int fd, InstanceClock::time_point end) {
    char reply[4];
    size_t received = 0;
    while (received < sizeof reply) {
        pollfd ready{fd, POLLIN, 0};
        const int events = poll(&ready, 1, MsUntil(end));
        if (events == 0) return HandOverResult::kNoAnswer;
        if (events < 0 && errno == EINTR) continue;
        const ssize_t count = recv(fd, reply + received, sizeof reply - received, 0);
        if (count > 0) received += static_cast<size_t>(count);
        if (count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN))
            return HandOverResult::kNoInstance;
    }
    return LoadLe<int32_t>(reply) == 1 ? HandOverResult::kAccepted : HandOverResult::kRefused;
}

QByteArray RequestHeader(uint32_t message, uint32_t size) {
    QByteArray header(8, '\0');
    StoreLe(header.data(), message);
    StoreLe(header.data() + 4, size);
    return header;
}

QString InRuntimeFolder(const QString& name) {
    const QString folder = RuntimeFolder();
    return folder.isEmpty() ? QString() : folder + name;
}

}  // namespace

QString InstanceSocketPath() { return InRuntimeFolder(QStringLiteral("/instance")); }
QString AutomationSocketPath() { return InRuntimeFolder(QStringLiteral("/automation")); }

bool LRuntimeLock::Take(int budgetMs) {
    if (IsTaken()) return true;
    const QString folder = RuntimeFolder();
    if (folder.isEmpty()) return false;
    const QByteArray path = QFile::encodeName(folder) + '/' + name_;
    const int fd = open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0) return false;
    const auto end = InstanceClock::now() + std::chrono::milliseconds(budgetMs);
    while (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || InstanceClock::now() >= end) {
            close(fd);
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    fd_ = fd;
    return true;
}

void LRuntimeLock::Release() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
}

HandOverResult HandOver(const QStringList& arguments, int timeoutMs) {
    const int fd = ConnectTo(InstanceSocketPath());
    if (fd < 0) return HandOverResult::kNoInstance;
    const auto end = InstanceClock::now() + std::chrono::milliseconds(timeoutMs);
    const QByteArray request = arguments.size() > 1 ? RequestHeader(kMessageArguments, kArgumentBlockBytes) +
                                                          EncodeArgumentBlock(arguments)
                                                    : RequestHeader(kMessageBringForward, 0);
    // A connection that breaks while sending may still hold the answer why.
    SendBytes(fd, request, end);
    const HandOverResult result = ReceiveReply(fd, end);
    close(fd);
    return result;
}

}  // namespace ondarix
