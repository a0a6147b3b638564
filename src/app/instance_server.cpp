// SPDX-License-Identifier: GPL-3.0-or-later
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <QFile>
#include <QLocalSocket>
#include <QPointer>
#include <QTimer>
#include <cstring>
#include <utility>

#include "app/argument_block.h"
#include "app/instance.h"
#include "gen/bytes.h"

namespace ondarix {
namespace {

constexpr int kMaxConnections = 16;
constexpr int kSilenceMs = 10000;
constexpr int kRequestHeaderBytes = 8;
constexpr qint64 kMaxUnread = 64 * 1024;  // answers beyond what the system keeps for the client

// -1 when somebody listens there already, or the system refuses.
int MakeListeningSocket(const QByteArray& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.isEmpty() || static_cast<size_t>(path.size()) >= sizeof address.sun_path) return -1;
    std::memcpy(address.sun_path, path.constData(), static_cast<size_t>(path.size()));
    const auto* generic = reinterpret_cast<const sockaddr*>(&address);

    const int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (probe < 0) return -1;
    const bool alive = connect(probe, generic, sizeof address) == 0;
    close(probe);
    if (alive) return -1;
    unlink(path.constData());

    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) return -1;
    const mode_t before = umask(0177);
    const bool bound = bind(fd, generic, sizeof address) == 0;
    umask(before);
    if (bound && listen(fd, kMaxConnections) == 0) return fd;
    close(fd);
    return -1;
}

// At most kReplyTextBytes, and no half of a character.
QByteArray CutReply(const QString& text) {
    QByteArray bytes = text.toUtf8();
    if (bytes.size() <= kReplyTextBytes) return bytes;
    qsizetype end = kReplyTextBytes;
    while (end > 0 && (static_cast<uint8_t>(bytes[end]) & 0xC0) == 0x80) --end;
    bytes.truncate(end);
    return bytes;
}

}  // namespace

// Collects one request at a time from a socket that it owns.
class LInstanceServer::Connection : public QObject {
  public:
    Connection(LInstanceServer& server, QLocalSocket* socket)
        : QObject(&server), server_(server), socket_(socket) {
        ++server_.connections_;
        socket_->setParent(this);
        // More than one request is not read ahead, so a flood stays with its sender.
        socket_->setReadBufferSize(kRequestHeaderBytes + kArgumentBlockBytes);
        silence_.setSingleShot(true);
        silence_.setInterval(kSilenceMs);
        connect(&silence_, &QTimer::timeout, this, &QObject::deleteLater);
        connect(socket_, &QLocalSocket::disconnected, this, &QObject::deleteLater);
        connect(socket_, &QLocalSocket::readyRead, this, &Connection::Read);
        silence_.start();
        Read();
    }
    ~Connection() override {
        --server_.connections_;
        QMetaObject::invokeMethod(
            &server_, [server = &server_] { server->Accept(); }, Qt::QueuedConnection);
    }

  private:
    void Read();
    bool Refuse();
    bool WorkThrough(uint32_t message, const QByteArray& payload);
    void Reply(int32_t result, const QByteArray& rest = {});
    bool Fits(uint32_t message, uint32_t size) const;

    LInstanceServer& server_;
    QLocalSocket* socket_;
    QTimer silence_;
    bool working_ = false;
    bool refused_ = false;
};

bool LInstanceServer::Connection::Fits(uint32_t message, uint32_t size) const {
    if (message == kMessageArguments) return size == static_cast<uint32_t>(kArgumentBlockBytes);
    return server_.kind_ == Kind::kInstance && message == kMessageBringForward && size == 0;
}

void LInstanceServer::Connection::Read() {
    const QPointer<Connection> self = this;
    while (self && !working_ && !refused_ && socket_->bytesAvailable() >= kRequestHeaderBytes) {
        if (socket_->bytesToWrite() > kMaxUnread) {
            refused_ = true;
            deleteLater();
            return;
        }
        char header[kRequestHeaderBytes];
        if (socket_->peek(header, sizeof header) != kRequestHeaderBytes) return;
        const auto message = LoadLe<uint32_t>(header);
        const auto size = LoadLe<uint32_t>(header + 4);
        if (!Fits(message, size)) {
            Refuse();
            return;
        }
        if (socket_->bytesAvailable() < kRequestHeaderBytes + static_cast<qint64>(size)) return;
        socket_->skip(kRequestHeaderBytes);
        const QByteArray payload = socket_->read(size);
        silence_.stop();
        working_ = true;
        if (!WorkThrough(message, payload)) return;
        working_ = false;
        silence_.start();
    }
}

bool LInstanceServer::Connection::Refuse() {
    refused_ = true;
    silence_.start();
    Reply(0);
    socket_->disconnectFromServer();  // after what is written has gone
    return false;
}

// False when this object is gone or done with.
bool LInstanceServer::Connection::WorkThrough(uint32_t message, const QByteArray& payload) {
    const auto& handlers = server_.handlers_;
    if (message == kMessageBringForward) {
        Reply(1);
        server_.QueueBringForward();
        return true;
    }
    const auto arguments = DecodeArgumentBlock(
        {reinterpret_cast<const uint8_t*>(payload.constData()), static_cast<size_t>(payload.size())});
    if (!arguments) return Refuse();
    if (server_.kind_ == Kind::kInstance) {
        Reply(1);
        QMetaObject::invokeMethod(
            &server_, [work = handlers.handOver, list = *arguments] { work(list); }, Qt::QueuedConnection);
        return true;
    }
    const QPointer<Connection> self = this;
    QString text;
    const int32_t code = handlers.automation(*arguments, text);
    if (!self) return false;
    const QByteArray bytes = CutReply(text);
    QByteArray rest(8, '\0');
    StoreLe(rest.data(), code);
    StoreLe(rest.data() + 4, static_cast<uint32_t>(bytes.size()));
    Reply(1, rest + bytes);
    return true;
}

void LInstanceServer::Connection::Reply(int32_t result, const QByteArray& rest) {
    QByteArray reply(4, '\0');
    StoreLe(reply.data(), result);
    socket_->write(reply + rest);
    socket_->flush();
}

LInstanceServer::LInstanceServer(Kind kind, Handlers handlers) : kind_(kind), handlers_(std::move(handlers)) {
    server_.setMaxPendingConnections(kMaxConnections);
    connect(&server_, &QLocalServer::newConnection, this, &LInstanceServer::Accept);
}

LInstanceServer::~LInstanceServer() { Close(); }

bool LInstanceServer::Listen(const QString& path) {
    Close();
    const QByteArray name = QFile::encodeName(path);
    const int fd = MakeListeningSocket(name);
    if (fd < 0) return false;
    if (!server_.listen(fd)) {
        close(fd);
        unlink(name.constData());
        return false;
    }
    path_ = path;
    return true;
}

void LInstanceServer::Close() {
    if (path_.isEmpty()) return;
    unlink(QFile::encodeName(path_).constData());
    path_.clear();
    server_.close();
    const QObjectList connections = children();
    qDeleteAll(connections);
}

void LInstanceServer::QueueBringForward() {
    if (std::exchange(forwardQueued_, true)) return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            forwardQueued_ = false;
            handlers_.bringForward();
        },
        Qt::QueuedConnection);
}

void LInstanceServer::Accept() {
    // The others wait in the queue of the socket until one that is served has ended.
    while (connections_ < kMaxConnections && server_.hasPendingConnections())
        new Connection(*this, server_.nextPendingConnection());
}

}  // namespace ondarix
