// SPDX-License-Identifier: GPL-3.0-or-later
// One user runs one editing process. A second process finds the first through a socket in the run-time folder
// and hands its arguments over.
//
// Wire format, little-endian, of both sockets. Any number of requests may follow each other on a connection;
// each is answered before the next is read:
//
//   request  u32 message, u32 size, payload of `size` bytes
//   reply    i32 result; 0: refused, nothing happened
//            and from the automation socket, when the result is 1:
//            i32 code of the command line processor, u32 length, UTF-8 text of at most 16416 bytes
//
//   message  size    socket      meaning
//   74       66564   both        an ArgumentBlock: "instance" queues it to the event loop and answers at
//   once,
//                                "automation" works through it and then answers
//   32872    0       instance    bring the window forward
//
// Another message, or a size that is not the message's, is answered 0 and the connection is closed, since
// what follows cannot be trusted to be a request. A connection that is silent for ten seconds is closed, and
// so is one that leaves 64 KiB of answers unread; no more than sixteen are served at once. Requests to bring
// the window forward that come before the event loop has got to an earlier one are one with it.
#pragma once
#include <QByteArray>
#include <QLocalServer>
#include <QObject>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>

namespace ondarix {

inline constexpr uint32_t kMessageArguments = 74;
inline constexpr uint32_t kMessageBringForward = 32872;
inline constexpr int kReplyTextBytes = 16416;

QString InstanceSocketPath();
QString AutomationSocketPath();

// An advisory lock on a file in the run-time folder, gone with the process at the latest. [any]
class LRuntimeLock {
  public:
    // `name`: the file's name, for instance "start.lock".
    explicit LRuntimeLock(const char* name) : name_(name) {}
    ~LRuntimeLock() { Release(); }
    LRuntimeLock(const LRuntimeLock&) = delete;
    LRuntimeLock& operator=(const LRuntimeLock&) = delete;
    // Tries every 50 ms until `budgetMs` is used; the first try is made in any case.
    bool Take(int budgetMs);
    void Release();
    bool IsTaken() const { return fd_ >= 0; }

  private:
    const char* name_;
    int fd_ = -1;
};
inline constexpr const char* kStartLockName =
    "start.lock";  // from the search until the first command line is done
inline constexpr const char* kRunLockName = "run.lock";  // for the life of the instance
inline constexpr int kStartLockBudgetMs = 20000;

enum class HandOverResult : uint8_t {
    kNoInstance,  // nobody listens, or it was closing and never answered
    kAccepted,
    kRefused,
    kNoAnswer,  // it listens, but did not answer in time
};
// Sends the arguments (argument 0 included), or the request to bring the window forward when there are none
// beside argument 0. Plain system calls, so that no application object is needed. [any]
HandOverResult HandOver(const QStringList& arguments, int timeoutMs = 10000);

// The listening side. Reads never block; what the handlers do may run events, even those that destroy the
// connection they came from. [ui]
class LInstanceServer : public QObject {
  public:
    enum class Kind : uint8_t { kInstance, kAutomation };
    struct Handlers {
        std::function<void()> bringForward;
        std::function<void(const QStringList&)> handOver;             // called from the event loop
        std::function<int(const QStringList&, QString&)> automation;  // answers code and text
    };
    LInstanceServer(Kind kind, Handlers handlers);
    ~LInstanceServer() override;
    // Makes the socket, for this user only, in the place of a file that a dead process left. False with
    // somebody listening there or when the system refuses.
    bool Listen(const QString& path);
    // Lets go of all connections; a sender that waits for its answer sees the end instead.
    void Close();

  private:
    class Connection;
    void Accept();
    void QueueBringForward();

    Kind kind_;
    Handlers handlers_;
    QLocalServer server_;
    QString path_;
    int connections_ = 0;
    bool forwardQueued_ = false;
};

}  // namespace ondarix
