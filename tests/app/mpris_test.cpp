// SPDX-License-Identifier: GPL-3.0-or-later
// The player on a session bus of the test's own, driven by another program.
#include "app/mpris.h"

#include <QDBusInterface>
#include <QDBusMessage>
#include <QUrl>
#include <cmath>

#include "playing_fixture.h"
#include "private_bus.h"
#include "sound/marks.h"

namespace ondarix {
namespace {

const QString kName = QStringLiteral("org.mpris.MediaPlayer2.ondarix");
const QString kPath = QStringLiteral("/org/mpris/MediaPlayer2");
const QString kRoot = QStringLiteral("org.mpris.MediaPlayer2");
const QString kPlayer = QStringLiteral("org.mpris.MediaPlayer2.Player");

class Mpris : public PlayingTest {
  protected:
    void SetUp() override {
        PlayingTest::SetUp();
        mpris = std::make_unique<LMpris>(Playback(), *frame, *frame);
        ASSERT_TRUE(PumpUntil([&] { return !mpris->ServiceName().isEmpty(); }, 10000));
    }
    void TearDown() override {
        mpris.reset();
        PlayingTest::TearDown();
    }
    QString On(const QString& method, const QStringList& arguments = {}, QString* error = nullptr) {
        return bus.Gdbus(
            QStringList{"--dest", mpris->ServiceName(), "--object-path", kPath, "--method", method} +
                arguments,
            error);
    }
    QString Player(const char* method, const QStringList& arguments = {}) {
        return On(kPlayer + '.' + QLatin1String(method), arguments);
    }
    QString Get(const QString& interface, const char* property) {
        QString text = On("org.freedesktop.DBus.Properties.Get", {interface, QLatin1String(property)});
        // "(<'Playing'>,)"
        return text.startsWith("(<") && text.endsWith(">,)") ? text.mid(2, text.size() - 5) : text;
    }
    QString Get(const char* property) { return Get(kPlayer, property); }
    void Set(const char* property, const QString& value) {
        EXPECT_EQ(On("org.freedesktop.DBus.Properties.Set", {kPlayer, QLatin1String(property), value}), "()");
    }
    QString Track() { return Get("Metadata").section("objectpath '", 1).section('\'', 0, 0); }

    LPrivateBus bus;
    LScopedVariable address{"DBUS_SESSION_BUS_ADDRESS", bus.Address()};
    std::unique_ptr<LMpris> mpris;
};

TEST_F(Mpris, IsFoundAndSaysWhatItIs) {
    EXPECT_EQ(mpris->ServiceName(), kName);
    EXPECT_EQ(Get(kRoot, "Identity"), "'Ondarix'");
    EXPECT_EQ(Get(kRoot, "DesktopEntry"), "'works.vellmark.Ondarix'");
    EXPECT_EQ(Get(kRoot, "CanQuit"), "true");
    EXPECT_EQ(Get(kRoot, "HasTrackList"), "false");
    EXPECT_EQ(Get(kRoot, "SupportedUriSchemes"), "['file']");
    EXPECT_EQ(Get("PlaybackStatus"), "'Stopped'");
    EXPECT_EQ(Get("CanPlay"), "false");
    EXPECT_EQ(Get("CanControl"), "true");
    EXPECT_EQ(Track(), "/org/mpris/MediaPlayer2/TrackList/NoTrack");
    EXPECT_EQ(Player("PlayPause"), "()") << "nothing is open, and nothing happens";
    // A second editor has a name of its own, and both are there.
    LMpris second(Playback(), *frame, *frame);
    ASSERT_TRUE(PumpUntil([&] { return !second.ServiceName().isEmpty(); }, 10000));
    EXPECT_EQ(second.ServiceName(),
              kName + ".instance" + QString::number(QCoreApplication::applicationPid()));
}

TEST_F(Mpris, AnotherProgramPlaysPausesSeeksAndStops) {
    LSoundWindow* sound = Open(MakeWav("tone & more.wav", "16", "8"));
    const QString data = Get("Metadata");
    EXPECT_TRUE(data.contains("'xesam:title': <'tone & more.wav'>")) << data.toStdString();
    EXPECT_TRUE(data.contains("'mpris:length': <int64 8000000>")) << data.toStdString();
    EXPECT_TRUE(data.contains(QUrl::fromLocalFile(In("tone & more.wav")).toString(QUrl::FullyEncoded)));
    EXPECT_EQ(Player("Play"), "()");
    EXPECT_TRUE(PlaysSoon());
    EXPECT_EQ(Get("PlaybackStatus"), "'Playing'");
    EXPECT_EQ(Player("Play"), "()");
    EXPECT_EQ(Playback().State(), LPlayState::kPlaying) << "it plays already";
    EXPECT_EQ(Player("Pause"), "()");
    EXPECT_EQ(Get("PlaybackStatus"), "'Paused'");

    const auto seconds = [&] { return Get("Position").section(' ', -1).toDouble() * 1e-6; };
    EXPECT_EQ(Player("SetPosition", {Track(), "4000000"}), "()");
    EXPECT_NEAR(seconds(), 4.0, 0.02);
    EXPECT_EQ(Player("SetPosition", {"/some/other/track", "1000000"}), "()");
    EXPECT_EQ(Player("SetPosition", {Track(), "99000000"}), "()");
    EXPECT_NEAR(seconds(), 4.0, 0.02) << "of another sound, and outside of this one";
    EXPECT_EQ(Player("Seek", {"--", "-1500000"}), "()");
    EXPECT_NEAR(seconds(), 2.5, 0.02);
    EXPECT_EQ(Player("Seek", {"--", "-90000000"}), "()");
    EXPECT_NEAR(seconds(), 0, 0.02);
    AddBookmark(sound->Document(), *frame, 3 * 44100);
    AddBookmark(sound->Document(), *frame, 6 * 44100);
    EXPECT_EQ(Get("CanGoNext"), "true");
    EXPECT_EQ(Player("Next"), "()");
    EXPECT_NEAR(seconds(), 3, 0.02);
    EXPECT_EQ(Player("Next"), "()");
    EXPECT_NEAR(seconds(), 6, 0.02);
    EXPECT_EQ(Player("Previous"), "()");
    EXPECT_NEAR(seconds(), 3, 0.02);
    EXPECT_EQ(Player("Stop"), "()");
    EXPECT_EQ(Get("PlaybackStatus"), "'Stopped'");
    EXPECT_EQ(Player("PlayPause"), "()");
    EXPECT_TRUE(PlaysSoon());
    EXPECT_EQ(Player("PlayPause"), "()");
    EXPECT_TRUE(PlaysSoon(LPlayState::kPaused));
}

TEST_F(Mpris, LoopRateAndVolumeAreTheProgramsSettings) {
    Set("LoopStatus", "<'Track'>");
    EXPECT_TRUE(GetSettingBool("Settings", "PlayRepeat", false));
    Set("LoopStatus", "<'None'>");
    EXPECT_FALSE(Playback().Loop());
    Set("Rate", "<1.3>");
    EXPECT_EQ(Get("Rate"), "1.25") << "the nearest there is";
    Set("Rate", "<100.0>");
    EXPECT_EQ(Get("Rate"), Get("MaximumRate"));
    EXPECT_EQ(Get("MinimumRate"), "0.10000000000000001");
    Set("Volume", "<0.5>");
    EXPECT_EQ(Playback().Volume(), -6) << "half";
    EXPECT_NEAR(Get("Volume").toDouble(), std::pow(10, -6 / 20.0), 1e-9);
    Set("Volume", "<0.0>");
    EXPECT_EQ(Playback().Volume(), kNoSignalDb);
    EXPECT_EQ(Get("Volume"), "0.0");
    Set("Volume", "<7.0>");
    EXPECT_EQ(Playback().Volume(), 0) << "never louder than the sound";
}

TEST_F(Mpris, ChangesAreToldOnceAndJumpsToo) {
    QProcess monitor;
    monitor.start("gdbus", {"monitor", "--address", bus.Address(), "--dest", kName});
    ASSERT_TRUE(monitor.waitForStarted());
    QString heard;
    const auto hears = [&](const QString& what) {
        return PumpUntil([&] {
            heard += QString::fromUtf8(monitor.readAllStandardOutput());
            return heard.contains(what);
        });
    };
    ASSERT_TRUE(hears("is owned by"));
    LSoundWindow* sound = Open(MakeWav("a.wav", "16", "8"));
    EXPECT_TRUE(hears("'CanPlay': <true>")) << heard.toStdString();
    EXPECT_TRUE(hears("'xesam:title': <'a.wav'>"));
    heard.clear();
    Playback().Play(*sound);
    EXPECT_TRUE(hears("'PlaybackStatus': <'Playing'>"));
    EXPECT_TRUE(hears("Player.Seeked (int64 "));
    QTest::qWait(1000);
    monitor.readAllStandardOutput();
    QTest::qWait(700);
    EXPECT_EQ(monitor.readAllStandardOutput().toStdString(), "") << "it goes on, which needs no words";
    EXPECT_FALSE(heard.contains("CanPlay")) << "only what has changed: " << heard.toStdString();
    Playback().Seek(5 * 44100);
    EXPECT_TRUE(hears("Player.Seeked (int64 5")) << heard.toStdString();
    heard.clear();
    Playback().SetVolume(-20);
    EXPECT_TRUE(hears("'Volume': <0.1"));
    EXPECT_FALSE(heard.contains("PlaybackStatus"));
    monitor.kill();
    monitor.waitForFinished();
}

TEST(MprisWithoutABus, IsNotThereAndDisturbsNobody) {
    const QTemporaryDir empty;
    for (const QString& address : {QString("autolaunch:"), QString("unix:path=/no/such/socket"), QString()}) {
        const LScopedVariable bus("DBUS_SESSION_BUS_ADDRESS", address);
        const LScopedVariable folder("XDG_RUNTIME_DIR", empty.path());
        LBusConnection connection(LBusConnection::Kind::kSession, nullptr);
        connection.Connect();
        EXPECT_TRUE(PumpUntil([&] { return connection.GetState() == LBusConnection::State::kFailed; }));
    }
}

}  // namespace
}  // namespace ondarix
