// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/instance.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QFile>
#include <atomic>
#include <thread>

#include "app/argument_block.h"
#include "app/waiting.h"
#include "gen/bytes.h"
#include "gen/paths.h"
#include "patience.h"

namespace ondarix {
namespace {

QByteArray Header(uint32_t message, uint32_t size) {
    QByteArray header(8, '\0');
    StoreLe(header.data(), message);
    StoreLe(header.data() + 4, size);
    return header;
}

QByteArray Request(const QStringList& arguments) {
    return Header(74, 66564) + EncodeArgumentBlock(arguments);
}

// A client that knows nothing but the system's sockets.
class RawClient {
  public:
    explicit RawClient(const QString& path) : fd_(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray name = path.toUtf8();
        memcpy(address.sun_path, name.constData(), static_cast<size_t>(name.size()));
        connected = connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    ~RawClient() { close(fd_); }

    // Pushes all that the server takes while events are let in.
    bool Send(const QByteArray& bytes) {
        qsizetype sent = 0;
        PumpUntil([&] {
            const ssize_t count =
                send(fd_, bytes.constData() + sent, static_cast<size_t>(bytes.size() - sent), MSG_NOSIGNAL);
            const bool broken = count < 0 && errno != EAGAIN && errno != EINTR;
            if (count > 0) sent += count;
            return broken || sent == bytes.size();
        });
        return sent == bytes.size();
    }
    // `bytes` of answer, or fewer when the server closed the connection.
    QByteArray Receive(qsizetype bytes, int ms = test::kPatienceMs) {
        QByteArray got;
        PumpUntil([&] { return Poll(got, bytes) || got.size() == bytes; }, ms);
        return got;
    }
    bool IsClosed(int ms = test::kPatienceMs) {
        QByteArray rest;
        return PumpUntil([&] { return Poll(rest, 1 << 20); }, ms);
    }
    bool connected = false;

  private:
    bool Poll(QByteArray& got, qsizetype limit) {  // true at the end
        char buffer[4096];
        const auto want = static_cast<size_t>(std::min<qsizetype>(limit - got.size(), sizeof buffer));
        const ssize_t count = recv(fd_, buffer, want, 0);
        if (count > 0) got.append(buffer, count);
        return (count == 0 && want > 0) || (count < 0 && errno != EAGAIN && errno != EINTR);
    }
    int fd_;
};

class InstanceSockets : public testing::Test {
  protected:
    void SetUp() override {
        handlers.bringForward = [this] { ++forward; };
        handlers.handOver = [this](const QStringList& list) { handed.append(list); };
        handlers.automation = [this](const QStringList& list, QString& reply) {
            reply = answer.isNull() ? list.join(u'|') : answer;
            return static_cast<int>(list.size());
        };
        instance.emplace(LInstanceServer::Kind::kInstance, handlers);
        automation.emplace(LInstanceServer::Kind::kAutomation, handlers);
        ASSERT_TRUE(instance->Listen(InstanceSocketPath()));
        ASSERT_TRUE(automation->Listen(AutomationSocketPath()));
    }
    HandOverResult HandOverFromThread(const QStringList& arguments) {
        std::atomic<int> result{-1};
        std::thread sender([&] { result = static_cast<int>(HandOver(arguments, 3000)); });
        PumpUntil([&] { return result >= 0; });
        sender.join();
        return static_cast<HandOverResult>(result.load());
    }
    LInstanceServer::Handlers handlers;
    std::optional<LInstanceServer> instance, automation;
    int forward = 0;
    QList<QStringList> handed;
    QString answer;
};

const QStringList kTwoArguments{QStringLiteral("ondarix"), QStringLiteral("/a.wav")};

TEST_F(InstanceSockets, HandOverReachesTheEventLoop) {
    EXPECT_EQ(HandOverFromThread(kTwoArguments), HandOverResult::kAccepted);
    ASSERT_TRUE(PumpUntil([&] { return !handed.isEmpty(); }));
    EXPECT_EQ(handed, QList<QStringList>{kTwoArguments});
    EXPECT_EQ(HandOverFromThread({QStringLiteral("ondarix")}), HandOverResult::kAccepted);
    EXPECT_TRUE(PumpUntil([&] { return forward == 1; }));
    EXPECT_EQ(handed.size(), 1);
}

// Bringing a window forward costs the window manager's time, answers that nobody reads cost memory.
TEST_F(InstanceSockets, AFloodIsOneRequestAndStaysWithItsSender) {
    constexpr int kTimes = 4000;
    RawClient client(InstanceSocketPath());
    ASSERT_TRUE(client.Send(Header(32872, 0).repeated(kTimes)));
    EXPECT_EQ(client.Receive(4 * kTimes), QByteArray("\1\0\0\0", 4).repeated(kTimes));
    ASSERT_TRUE(PumpUntil([&] { return forward > 0; }));
    EXPECT_LE(forward, 20);

    answer = QString(16000, u'x');
    RawClient deaf(AutomationSocketPath());
    bool taken = true;
    for (int i = 0; taken && i < 200; ++i) taken = deaf.Send(Request(kTwoArguments));
    EXPECT_FALSE(taken) << "three megabytes of answers are kept for a client that reads none";
    EXPECT_EQ(HandOverFromThread(kTwoArguments), HandOverResult::kAccepted);
}

TEST_F(InstanceSockets, TheAnswerDoesNotWaitForTheWork) {
    handlers.handOver = [](const QStringList&) { usleep(300000); };
    instance.emplace(LInstanceServer::Kind::kInstance, handlers);
    ASSERT_TRUE(instance->Listen(InstanceSocketPath()));
    RawClient client(InstanceSocketPath());
    ASSERT_TRUE(client.Send(Request(kTwoArguments)));
    QElapsedTimer timer;
    timer.start();
    // The answer was written before the loop came to the work: it lies there when the work returns.
    EXPECT_EQ(client.Receive(4), QByteArray("\1\0\0\0", 4));
    EXPECT_LT(timer.elapsed(), test::kPatienceMs);
}

TEST_F(InstanceSockets, OtherMessagesAndSizesAreRefused) {
    const QByteArray block = EncodeArgumentBlock(kTwoArguments);
    const QByteArray requests[] = {
        Header(74, 66563) + block,
        Header(74, 66565) + block,
        Header(74, 0),
        Header(74, 0xffffffff),
        Header(75, 66564) + block,
        Header(1030, 0),
        Header(1126, 0),
        Header(32872, 4) + "abcd",
        Request({}),  // a count of zero
        QByteArray("GET / HTTP/1.1\r\n\r\n"),
    };
    for (const QString& path : {InstanceSocketPath(), AutomationSocketPath()}) {
        for (const QByteArray& request : requests) {
            RawClient client(path);
            ASSERT_TRUE(client.connected);
            client.Send(request.left(60000));
            if (request.size() > 60000) client.Send(request.mid(60000));
            EXPECT_EQ(client.Receive(4), QByteArray(4, '\0')) << request.left(8).toHex().constData();
            EXPECT_TRUE(client.IsClosed());
        }
    }
    RawClient client(AutomationSocketPath());
    client.Send(Header(32872, 0));
    EXPECT_EQ(client.Receive(4), QByteArray(4, '\0'));
    EXPECT_TRUE(handed.isEmpty());
    EXPECT_EQ(forward, 0);
}

TEST_F(InstanceSockets, AutomationAnswersCodeAndTextRequestByRequest) {
    RawClient client(AutomationSocketPath());
    ASSERT_TRUE(client.Send(Request(kTwoArguments) + Request({QStringLiteral("\u00e9")})));
    const QByteArray first = client.Receive(12 + 14);
    ASSERT_EQ(first.size(), 26);
    EXPECT_EQ(first.left(12), QByteArray("\1\0\0\0\2\0\0\0\x0e\0\0\0", 12));
    EXPECT_EQ(first.mid(12), QByteArray("ondarix|/a.wav"));
    EXPECT_EQ(client.Receive(14), QByteArray("\1\0\0\0\1\0\0\0\2\0\0\0\xc3\xa9", 14));
}

TEST_F(InstanceSockets, LongAnswersAreCutBetweenCharacters) {
    answer = QStringLiteral("x") + QString(9000, QChar(0xe9));  // 18001 bytes of UTF-8
    RawClient client(AutomationSocketPath());
    ASSERT_TRUE(client.Send(Request(kTwoArguments)));
    const QByteArray head = client.Receive(12);
    ASSERT_EQ(head.size(), 12);
    EXPECT_EQ(LoadLe<uint32_t>(head.constData() + 8), 16415u);
    EXPECT_EQ(client.Receive(16415), answer.toUtf8().left(16415));
}

TEST_F(InstanceSockets, SlowAndSilentClientsHoldNobodyUp) {
    std::vector<std::unique_ptr<RawClient>> silent;
    for (int i = 0; i < 12; ++i) {
        silent.push_back(std::make_unique<RawClient>(InstanceSocketPath()));
        silent.back()->Send(Request(kTwoArguments).left(i * 1000));
    }
    EXPECT_EQ(HandOverFromThread(kTwoArguments), HandOverResult::kAccepted);
    // A request in three pieces is one request.
    RawClient slow(InstanceSocketPath());
    const QByteArray request = Request(kTwoArguments);
    for (qsizetype from : {qsizetype{0}, qsizetype{5}, qsizetype{40000}}) {
        slow.Send(request.mid(from, from == 0 ? 5 : from == 5 ? 39995 : -1));
        EXPECT_EQ(slow.Receive(4, 30).size(), from == 40000 ? 4 : 0);
    }
    EXPECT_EQ(handed.size(), 2);
}

TEST_F(InstanceSockets, ClientsBeyondTheLimitWaitForTheirTurn) {
    std::vector<std::unique_ptr<RawClient>> idle;
    for (int i = 0; i < 16; ++i) idle.push_back(std::make_unique<RawClient>(InstanceSocketPath()));
    PumpUntil([] { return false; }, 50);
    RawClient waiting(InstanceSocketPath());
    ASSERT_TRUE(waiting.connected);
    waiting.Send(Header(32872, 0));
    EXPECT_EQ(waiting.Receive(4, 100).size(), 0);
    idle.pop_back();
    EXPECT_EQ(waiting.Receive(4), QByteArray("\1\0\0\0", 4));
    idle.clear();
    EXPECT_EQ(HandOverFromThread(kTwoArguments), HandOverResult::kAccepted);
}

TEST_F(InstanceSockets, ASenderThatDoesNotWaitIsHeardAllTheSame) {
    {
        RawClient client(InstanceSocketPath());
        ASSERT_TRUE(client.Send(Request(kTwoArguments)));
    }
    EXPECT_TRUE(PumpUntil([&] { return handed.size() == 1; }));
}

TEST_F(InstanceSockets, AClosingInstanceCountsAsNone) {
    std::atomic<int> result{-1};
    handlers.handOver = nullptr;
    std::thread sender([&] {
        usleep(50000);
        result = static_cast<int>(HandOver(kTwoArguments, test::kPatienceMs));
    });
    usleep(150000);  // connected and sent, nobody has looked yet
    instance->Close();
    sender.join();
    EXPECT_EQ(result, static_cast<int>(HandOverResult::kNoInstance));
    EXPECT_FALSE(QFile::exists(InstanceSocketPath()));
    EXPECT_EQ(HandOver(kTwoArguments, 100), HandOverResult::kNoInstance);
}

TEST_F(InstanceSockets, ConnectionsMayDieInsideTheirOwnRequest) {
    handlers.automation = [this](const QStringList&, QString&) {
        PumpUntil([] { return false; }, 50);
        ++forward;
        return 0;
    };
    automation.emplace(LInstanceServer::Kind::kAutomation, handlers);
    ASSERT_TRUE(automation->Listen(AutomationSocketPath()));
    {
        RawClient client(AutomationSocketPath());
        QByteArray request = Request(kTwoArguments) + Request(kTwoArguments);
        client.Send(request);
    }
    EXPECT_TRUE(PumpUntil([&] { return forward >= 1; }));
    PumpUntil([] { return false; }, 100);
    RawClient other(AutomationSocketPath());
    other.Send(Request(kTwoArguments));
    EXPECT_EQ(other.Receive(12).size(), 12);
}

TEST_F(InstanceSockets, AreForThisUserOnlyAndNeverTakenFromALivingOne) {
    struct stat facts {};
    ASSERT_EQ(stat(InstanceSocketPath().toUtf8().constData(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0600u);
    ASSERT_EQ(stat(RuntimeFolder().toUtf8().constData(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0700u);
    LInstanceServer second(LInstanceServer::Kind::kInstance, handlers);
    EXPECT_FALSE(second.Listen(InstanceSocketPath()));
    EXPECT_EQ(HandOverFromThread(kTwoArguments), HandOverResult::kAccepted);
}

TEST_F(InstanceSockets, AStaleFileIsReplaced) {
    instance->Close();
    const pid_t child = fork();
    if (child == 0) {  // binds and dies
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray name = InstanceSocketPath().toUtf8();
        memcpy(address.sun_path, name.constData(), static_cast<size_t>(name.size()));
        const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
        _exit(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 && listen(fd, 1) == 0
                  ? 0
                  : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    ASSERT_EQ(status, 0);
    ASSERT_TRUE(QFile::exists(InstanceSocketPath()));
    EXPECT_EQ(HandOver(kTwoArguments, 100), HandOverResult::kNoInstance);
    EXPECT_TRUE(instance->Listen(InstanceSocketPath()));
    EXPECT_EQ(HandOverFromThread(kTwoArguments), HandOverResult::kAccepted);
}

TEST(RuntimeLock, IsHeldByOneAndWaitedForByTheOther) {
    LRuntimeLock first("test.lock"), second("test.lock"), unrelated("other.lock");
    ASSERT_TRUE(first.Take(0));
    EXPECT_TRUE(first.Take(0));
    EXPECT_TRUE(unrelated.Take(0));
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(second.Take(120));
    EXPECT_GE(timer.elapsed(), 120);
    EXPECT_LT(timer.elapsed(), test::kPatienceMs);
    std::thread holder([&] {
        usleep(120000);
        first.Release();
    });
    EXPECT_TRUE(second.Take(5000));
    holder.join();
}

}  // namespace
}  // namespace ondarix
