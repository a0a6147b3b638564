// SPDX-License-Identifier: GPL-3.0-or-later
// Real processes of the editor, each test in a home of its own, watched through the automation socket.
#include <gmock/gmock.h>
#include <signal.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include "automation_client.h"
#include "patience.h"

namespace ondarix {
namespace {

class Editors : public testing::Test {
  protected:
    void SetUp() override {
        environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("ONDARIX_HOME"), home.path());
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.path());
        environment.remove(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"));
    }
    void TearDown() override {
        for (const auto& process : processes) process->kill();
        for (const auto& process : processes) process->waitForFinished(5000);
    }
    QProcess& Start(const QStringList& arguments, const QString& folder = {}) {
        processes.push_back(std::make_unique<QProcess>());
        QProcess& process = *processes.back();
        process.setProcessEnvironment(environment);
        if (!folder.isEmpty()) process.setWorkingDirectory(folder);
        process.start(QStringLiteral(ONDARIX_BIN), arguments);
        EXPECT_TRUE(process.waitForStarted(10000));
        return process;
    }
    QString SocketPath() const { return AutomationSocketOf(home.path()); }
    LAutomationReply Automate(const QStringList& arguments) const {
        return AskEditor(home.path(), arguments, 10000);
    }
    QJsonObject State() const {
        return QJsonDocument::fromJson(Automate({QStringLiteral("-state")}).text.toUtf8()).object();
    }
    qint64 RunningPid() const { return State()[QStringLiteral("pid")].toInteger(); }
    QStringList Listeners() const { return State()[QStringLiteral("listeners")].toVariant().toStringList(); }
    QStringList OpenSounds() const { return State()[QStringLiteral("open")].toVariant().toStringList(); }
    // Told to end by a switch; the exit status.
    int Exit(QProcess& process) {
        Automate({QStringLiteral("-exit")});
        return process.waitForFinished(15000) && process.exitStatus() == QProcess::NormalExit
                   ? process.exitCode()
                   : -1;
    }
    QString MakeSound(const QString& name, double seconds = 0.1) const {
        const QString path = home.filePath(name);
        QProcess::execute(QStringLiteral("sox"),
                          {QStringLiteral("-n"), QStringLiteral("-r"), QStringLiteral("48000"),
                           QStringLiteral("-c"), QStringLiteral("2"), path, QStringLiteral("synth"),
                           QString::number(seconds), QStringLiteral("sine"), QStringLiteral("440")});
        return path;
    }
    QStringList Markers() const {
        return QDir(home.filePath(QStringLiteral("tmp")))
            .entryList({QStringLiteral("_ondarix_rl_*")}, QDir::Files);
    }
    QTemporaryDir home;
    QProcessEnvironment environment;
    std::vector<std::unique_ptr<QProcess>> processes;
};

const QString kListener = QStringLiteral("-addlistener");

TEST_F(Editors, OneStartsEndsAndLeavesNothingBehind) {
    QProcess& editor = Start({kListener, QStringLiteral("first")});
    ASSERT_TRUE(SleepUntil([&] { return RunningPid() == editor.processId(); }));
    EXPECT_EQ(Listeners(), QStringList{QStringLiteral("first")});
    EXPECT_EQ(Markers().size(), 1);
    const LAutomationReply version = Automate({QStringLiteral("-version")});
    EXPECT_EQ(version.result, 1);
    EXPECT_EQ(version.text, QStringLiteral(ONDARIX_VERSION));
    EXPECT_EQ(Automate({}).code, -2);
    EXPECT_EQ(Exit(editor), 0);
    EXPECT_TRUE(Markers().isEmpty());
    EXPECT_FALSE(QFile::exists(SocketPath()));
    // The offscreen platform has remarks of its own.
    EXPECT_FALSE(editor.readAllStandardError().contains("ondarix"));
}

TEST_F(Editors, OfTwoStartedTogetherOneIsTheWindowAndHearsTheOther) {
    for (int round = 0; round < 20; ++round) {
        const QStringList names{QStringLiteral("a%1").arg(round), QStringLiteral("b%1").arg(round)};
        QProcess& one = Start({kListener, names[0]});
        QProcess& two = Start({kListener, names[1]});
        ASSERT_TRUE(SleepUntil([&] { return Listeners().size() == 2; })) << "round " << round;
        EXPECT_THAT(Listeners(), testing::UnorderedElementsAre(names[0], names[1]));
        const qint64 pid = RunningPid();
        ASSERT_TRUE(pid == one.processId() || pid == two.processId());
        QProcess& window = pid == one.processId() ? one : two;
        QProcess& sender = pid == one.processId() ? two : one;
        EXPECT_TRUE(sender.waitForFinished(10000));
        EXPECT_EQ(sender.exitCode(), 0);
        ASSERT_EQ(window.state(), QProcess::Running);
        ASSERT_EQ(Exit(window), 0) << "round " << round;
    }
}

TEST_F(Editors, ArgumentsCrossAsTheSenderMeantThem) {
    const QString sound = MakeSound(QStringLiteral("here.wav"));
    QProcess& editor = Start({});
    ASSERT_TRUE(SleepUntil([&] { return RunningPid() > 0; }));
    QElapsedTimer timer;
    timer.start();
    QProcess& sender = Start({QStringLiteral("here.wav")}, home.path());
    ASSERT_TRUE(sender.waitForFinished(10000));
    RecordProperty("hand_over_ms", static_cast<int>(timer.elapsed()));
    EXPECT_TRUE(SleepUntil([&] { return OpenSounds() == QStringList{sound}; }));

    // 129 with argument 0: the last listener is the 129th and stays away.
    QStringList many(126, QStringLiteral("-block"));
    many << kListener << QStringLiteral("too late");
    ASSERT_TRUE(Start(many).waitForFinished(10000));
    many.removeFirst();
    many.last() = QString(300, u'n');
    ASSERT_TRUE(Start(many).waitForFinished(10000));
    EXPECT_TRUE(SleepUntil([&] { return !Listeners().isEmpty(); }));
    EXPECT_EQ(Listeners(), QStringList{QString(259, u'n')});
    EXPECT_EQ(Exit(editor), 0);
}

TEST_F(Editors, AKilledOneIsReplacedAndAskedAboutOnce) {
    QProcess& first = Start({});
    ASSERT_TRUE(SleepUntil([&] { return RunningPid() == first.processId(); }));
    first.kill();
    ASSERT_TRUE(first.waitForFinished(5000));
    EXPECT_TRUE(QFile::exists(SocketPath()));
    EXPECT_EQ(Markers().size(), 1);
    // The question of this start waits for nobody: hand-over and exit work beside it.
    QProcess& second = Start({kListener, QStringLiteral("x")});
    ASSERT_TRUE(SleepUntil([&] { return RunningPid() == second.processId(); }));
    ASSERT_TRUE(Start({kListener, QStringLiteral("y")}).waitForFinished(10000));
    EXPECT_TRUE(SleepUntil([&] { return Listeners().size() == 2; }));
    EXPECT_EQ(Exit(second), 0);
    EXPECT_TRUE(Markers().isEmpty());
}

TEST_F(Editors, SignalsEndInOrder) {
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        QProcess& editor = Start({});
        ASSERT_TRUE(SleepUntil([&] { return RunningPid() == editor.processId(); }));
        ::kill(static_cast<pid_t>(editor.processId()), number);
        ASSERT_TRUE(editor.waitForFinished(10000)) << number;
        EXPECT_EQ(editor.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(editor.exitCode(), 0);
        EXPECT_TRUE(Markers().isEmpty());
        EXPECT_FALSE(QFile::exists(SocketPath()));
    }
}

// A start while the other one is closing becomes the next instance, and its arguments are not lost.
TEST_F(Editors, AStartDuringAnotherOnesEndTakesItsPlace) {
    for (int delayMs : {0, 5, 10, 20, 40, 80}) {
        QProcess& first = Start({});
        ASSERT_TRUE(SleepUntil([&] { return RunningPid() == first.processId(); }));
        ::kill(static_cast<pid_t>(first.processId()), SIGTERM);
        std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
        QProcess& second = Start({kListener, QStringLiteral("next")});
        ASSERT_TRUE(first.waitForFinished(10000));
        ASSERT_TRUE(SleepUntil([&] { return RunningPid() == second.processId(); })) << delayMs;
        EXPECT_EQ(Listeners(), QStringList{QStringLiteral("next")});
        ASSERT_EQ(Exit(second), 0);
    }
}

// A file manager starts one process for each file; all of them arrive while the first is being loaded.
TEST_F(Editors, FilesOpenedTogetherAreAllOpened) {
    QStringList sounds;
    for (int i = 0; i < 6; ++i) sounds.append(MakeSound(QStringLiteral("s%1.wav").arg(i), 120));
    QProcess& editor = Start({});
    ASSERT_TRUE(SleepUntil([&] { return RunningPid() == editor.processId(); }));
    std::vector<QProcess*> senders;
    for (const QString& sound : sounds) senders.push_back(&Start({sound}));
    for (QProcess* sender : senders) ASSERT_TRUE(sender->waitForFinished(20000));
    EXPECT_TRUE(SleepUntil([&] { return OpenSounds().size() == 6; }));
    QStringList open = OpenSounds();
    open.sort();
    EXPECT_EQ(open, sounds);
    EXPECT_EQ(Exit(editor), 0);
}

// The box that says so is open before the first event loop runs.
TEST_F(Editors, ASignalEndsOneWithADialogOpen) {
    QProcess& editor = Start({home.filePath(QStringLiteral("missing.wav"))});
    ASSERT_TRUE(SleepUntil([&] { return RunningPid() == editor.processId(); }));
    ::kill(static_cast<pid_t>(editor.processId()), SIGTERM);
    ASSERT_TRUE(editor.waitForFinished(10000));
    EXPECT_EQ(editor.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(editor.exitCode(), 0);
    EXPECT_TRUE(Markers().isEmpty());
}

TEST_F(Editors, AHiddenOneLivesOnComesBackAndEnds) {
    QProcess& editor = Start({});
    ASSERT_TRUE(SleepUntil([&] { return RunningPid() == editor.processId(); }));
    EXPECT_EQ(Automate({QStringLiteral("-close")}).code, 0);
    EXPECT_FALSE(editor.waitForFinished(300));
    ASSERT_TRUE(Start({}).waitForFinished(10000));
    EXPECT_EQ(RunningPid(), editor.processId());
    EXPECT_EQ(Automate({QStringLiteral("-close")}).code, 0);
    EXPECT_EQ(Exit(editor), 0);
    EXPECT_TRUE(Markers().isEmpty());
}

TEST_F(Editors, HomesKeepInstancesApart) {
    QProcess& first = Start({});
    ASSERT_TRUE(SleepUntil([&] { return RunningPid() == first.processId(); }));
    const QTemporaryDir otherHome;
    environment.insert(QStringLiteral("ONDARIX_HOME"), otherHome.path());
    QProcess& second = Start({kListener, QStringLiteral("elsewhere")});
    EXPECT_FALSE(second.waitForFinished(1500));
    EXPECT_TRUE(Listeners().isEmpty());
    EXPECT_EQ(RunningPid(), first.processId());
}

TEST_F(Editors, GarbageDoesNotDisturbTheWindow) {
    QProcess& editor = Start({});
    ASSERT_TRUE(SleepUntil([&] { return RunningPid() == editor.processId(); }));
    std::vector<std::unique_ptr<QLocalSocket>> clients;
    for (int i = 0; i < 12; ++i) {
        clients.push_back(std::make_unique<QLocalSocket>());
        clients.back()->connectToServer(SocketPath());
        clients.back()->waitForConnected(1000);
        clients.back()->write(QByteArray(i * 7000, static_cast<char>(i % 3 ? 'J' : 0)));
        clients.back()->flush();
    }
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(Automate({QStringLiteral("-testapi"), QStringLiteral("%n")}).text,
              QStringLiteral("API Test OK [%n]."));
    EXPECT_LT(timer.elapsed(), test::kPatienceMs);
    EXPECT_EQ(Exit(editor), 0);
}

TEST_F(Editors, NeedNoDisplayToAnswerAndSayWhenTheyDo) {
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        environment.remove(QString::fromLatin1(name));
    QProcess& version = Start({QStringLiteral("--version")});
    ASSERT_TRUE(version.waitForFinished(10000));
    EXPECT_EQ(version.readAllStandardOutput(), QByteArray("ondarix " ONDARIX_VERSION "\n"));
    EXPECT_EQ(version.exitCode(), 0);
    QProcess& help = Start({QStringLiteral("--help")});
    ASSERT_TRUE(help.waitForFinished(10000));
    EXPECT_TRUE(help.readAllStandardOutput().startsWith("Usage: ondarix"));
    QProcess& editor = Start({});
    ASSERT_TRUE(editor.waitForFinished(10000));
    EXPECT_EQ(editor.exitCode(), 2);
    EXPECT_EQ(editor.readAllStandardError(), QByteArray("ondarix: no display; use ondarix-cli\n"));
}

}  // namespace
}  // namespace ondarix
