// SPDX-License-Identifier: GPL-3.0-or-later
// Keeping the machine awake, with services that keep what they were asked.
#include "app/sleep_inhibitor.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <QProcess>
#include <QtTest/QTest>

#include "private_bus.h"

namespace ondarix {
namespace {

// A service of one interface; what it is asked goes to Answer().
class LFakeService : public QDBusVirtualObject {
  public:
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& call, const QDBusConnection& bus) override {
        if (call.interface() != interface) return false;
        const QVariant answer = Answer(call.member(), call.arguments());
        return bus.send(answer.isValid() ? call.createReply(answer) : call.createReply());
    }
    virtual QVariant Answer(const QString& method, const QVariantList& arguments) = 0;
    QString interface;
};

// As the login manager: gives out one end of a pipe and sees by the other one whether it is held.
class LFakeLogin final : public LFakeService {
  public:
    LFakeLogin() { interface = "org.freedesktop.login1.Manager"; }
    ~LFakeLogin() override { Close(); }
    bool IsHeld() const {
        pollfd watched{reader_, POLLIN, 0};
        return reader_ >= 0 && poll(&watched, 1, 0) == 0;
    }
    QVariant Answer(const QString& method, const QVariantList& arguments) override {
        QStringList texts{method};
        for (const QVariant& argument : arguments) texts.append(argument.toString());
        asked.append(texts.join('|'));
        Close();
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) return {};
        reader_ = ends[0];
        const QDBusUnixFileDescriptor given(ends[1]);
        close(ends[1]);
        return QVariant::fromValue(given);
    }
    QStringList asked;

  private:
    void Close() {
        if (reader_ >= 0) close(reader_);
        reader_ = -1;
    }
    int reader_ = -1;
};

class LFakeScreenSaver final : public LFakeService {
  public:
    LFakeScreenSaver() { interface = "org.freedesktop.ScreenSaver"; }
    QVariant Answer(const QString& method, const QVariantList& arguments) override {
        if (method == "Inhibit") {
            held.append(++last_);
            return last_;
        }
        held.removeAll(arguments.first().toUInt());
        return {};
    }
    QList<uint> held;

  private:
    uint last_ = 40;
};

void Offer(const LPrivateBus& bus, LFakeService& object, const char* name, const char* path) {
    QDBusConnection connection = bus.Connection();
    EXPECT_TRUE(connection.registerVirtualObject(QLatin1String(path), &object));
    EXPECT_TRUE(connection.registerService(QLatin1String(name)));
}
void OfferLogin(const LPrivateBus& bus, LFakeLogin& login) {
    Offer(bus, login, "org.freedesktop.login1", "/org/freedesktop/login1");
}

TEST(SleepInhibitor, HoldsTheLockOfTheLoginManagerWhileItIsWanted) {
    const LPrivateBus system;
    LFakeLogin login;
    OfferLogin(system, login);
    const LScopedVariable variable("DBUS_SYSTEM_BUS_ADDRESS", system.Address());
    {
        LSleepInhibitor inhibitor;
        QTest::qWait(50);
        EXPECT_TRUE(login.asked.isEmpty()) << "nothing plays yet";
        for (int i = 1; i <= 3; ++i) {
            inhibitor.Hold(true);
            inhibitor.Hold(true);
            ASSERT_TRUE(PumpUntil([&] { return inhibitor.IsHeld() && login.IsHeld(); }));
            EXPECT_EQ(login.asked.size(), i);
            inhibitor.Hold(false);
            EXPECT_TRUE(PumpUntil([&] { return !login.IsHeld(); }));
        }
        EXPECT_EQ(login.asked.first(), "Inhibit|sleep:idle|Ondarix|Sound is played|block");
        // Not wanted any more before the answer has come.
        inhibitor.Hold(true);
        inhibitor.Hold(false);
        QTest::qWait(100);
        EXPECT_FALSE(login.IsHeld());
        EXPECT_FALSE(inhibitor.IsHeld());
        inhibitor.Hold(true);
        ASSERT_TRUE(PumpUntil([&] { return login.IsHeld(); }));
    }
    EXPECT_TRUE(PumpUntil([&] { return !login.IsHeld(); })) << "at the end";
}

TEST(SleepInhibitor, AsksTheSessionWhereThereIsNoLoginManager) {
    const LPrivateBus system, session;  // a system bus without the service
    LFakeScreenSaver saver;
    Offer(session, saver, "org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver");
    const LScopedVariable variable("DBUS_SYSTEM_BUS_ADDRESS", system.Address());
    const LScopedVariable other("DBUS_SESSION_BUS_ADDRESS", session.Address());
    LSleepInhibitor inhibitor;
    inhibitor.Hold(true);
    ASSERT_TRUE(PumpUntil([&] { return saver.held.size() == 1; }));
    ASSERT_TRUE(PumpUntil([&] { return inhibitor.IsHeld(); }));
    inhibitor.Hold(false);
    EXPECT_TRUE(PumpUntil([&] { return saver.held.isEmpty(); }));
}

TEST(SleepInhibitor, WithoutAnyServiceNothingHappens) {
    const LScopedVariable variable("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/no/such/socket");
    const LScopedVariable other("DBUS_SESSION_BUS_ADDRESS", "unix:path=/no/such/socket");
    LSleepInhibitor inhibitor;
    for (int i = 0; i < 3; ++i) {
        inhibitor.Hold(true);
        QTest::qWait(30);
        EXPECT_FALSE(inhibitor.IsHeld());
        inhibitor.Hold(false);
    }
}

// The whole program: another one lets it play and quit, and the machine may sleep when it should.
TEST(SleepInhibitor, TheEditorHoldsItWhileItPlaysAndNoLonger) {
    const LPrivateBus bus;
    LFakeLogin login;
    OfferLogin(bus, login);
    const QTemporaryDir home;
    const QString sound = home.filePath("a.wav");
    QProcess::execute("sox", {"-D", "-n", "-r", "44100", "-c", "2", sound, "synth", "20", "sine", "300"});
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("ONDARIX_HOME", home.path());
    environment.insert("XDG_RUNTIME_DIR", home.path());
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.insert("DBUS_SESSION_BUS_ADDRESS", bus.Address());
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", bus.Address());
    for (const char* none : {"PIPEWIRE_REMOTE", "PULSE_SERVER"})
        environment.insert(none, "unix:/no/such/socket");
    QProcess editor;
    editor.setProcessEnvironment(environment);
    editor.start(ONDARIX_BIN, {sound});
    const auto call = [&](const char* method, QStringList more = {}) {
        return bus.Gdbus(QStringList{"--dest", "org.mpris.MediaPlayer2.ondarix", "--object-path",
                                     "/org/mpris/MediaPlayer2", "--method", QLatin1String(method)} +
                         more);
    };
    const auto can = [&] {
        return call("org.freedesktop.DBus.Properties.Get", {"org.mpris.MediaPlayer2.Player", "CanPlay"});
    };
    ASSERT_TRUE(PumpUntil([&] { return can() == "(<true>,)"; }, 20000));
    for (int i = 0; i < 2; ++i) {
        call("org.mpris.MediaPlayer2.Player.PlayPause");
        ASSERT_TRUE(PumpUntil([&] { return login.IsHeld(); })) << "playing";
        call("org.mpris.MediaPlayer2.Player.PlayPause");
        EXPECT_TRUE(PumpUntil([&] { return !login.IsHeld(); })) << "paused";
    }
    call("org.mpris.MediaPlayer2.Player.PlayPause");
    ASSERT_TRUE(PumpUntil([&] { return login.IsHeld(); }));
    call("org.mpris.MediaPlayer2.Quit");
    EXPECT_TRUE(editor.waitForFinished(15000));
    EXPECT_EQ(editor.exitCode(), 0);
    EXPECT_TRUE(PumpUntil([&] { return !login.IsHeld(); }));
}

}  // namespace
}  // namespace ondarix
