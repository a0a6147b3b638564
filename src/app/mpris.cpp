// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/mpris.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QUrl>
#include <algorithm>
#include <cmath>

#include "app/commands.h"
#include "app/mpris_adaptors.h"
#include "app/sound_window.h"
#include "sound/marks.h"

namespace ondarix {
namespace {

const QString kObjectPath = QStringLiteral("/org/mpris/MediaPlayer2");
const QString kServiceName = QStringLiteral("org.mpris.MediaPlayer2.ondarix");
const QString kNoTrack = QStringLiteral("/org/mpris/MediaPlayer2/TrackList/NoTrack");
constexpr uint kDontQueue = 4, kNameTaken = 3;  // of the bus, for a name
constexpr int kTellMs = 40;                     // changes that come together are told together
constexpr double kJumpSeconds = 0.3;            // between two positions, beyond what time explains
constexpr double kQuietestVolumeDb = -60;

QString StatusText(LPlayState state) {
    return state == LPlayState::kPlaying  ? QStringLiteral("Playing")
           : state == LPlayState::kPaused ? QStringLiteral("Paused")
                                          : QStringLiteral("Stopped");
}

int NearestSpeed(double rate) {
    int nearest = kNormalSpeed;
    for (int index = 0; index < kPlaySpeeds; ++index)
        if (std::abs(PlaySpeedFactor(index) - rate) < std::abs(PlaySpeedFactor(nearest) - rate))
            nearest = index;
    return nearest;
}

// Its own for each open sound, as long as it is open.
QString TrackOf(LSoundWindow& sound) {
    static int last = 0;
    const char* name = "track";
    if (!sound.property(name).isValid()) sound.setProperty(name, ++last);
    return QStringLiteral("/works/vellmark/Ondarix/Sound/%1").arg(sound.property(name).toInt());
}

}  // namespace

LMpris::LMpris(LPlayback& playback, LFrameDocuments& documents, LFrameActions& actions)
    : playback_(playback),
      documents_(documents),
      actions_(actions),
      bus_(LBusConnection::Kind::kSession, this) {
    new LMprisRoot(*this, &object_);
    new LMprisPlayer(*this, &object_);
    tell_.setSingleShot(true);
    tell_.setInterval(kTellMs);
    connect(&tell_, &QTimer::timeout, this, &LMpris::TellChanges);
    connect(&bus_, &LBusConnection::Settled, this, &LMpris::Register);
    bus_.Connect();
}

LMpris::~LMpris() {
    if (!service_.isEmpty()) bus_.Bus().unregisterObject(kObjectPath);
}

// The object is there before its name is, so that who sees the name finds it.
void LMpris::Register() {
    if (bus_.GetState() != LBusConnection::State::kReady) return;
    bus_.Bus().registerObject(kObjectPath, &object_, QDBusConnection::ExportAdaptors);
    connect(&playback_, &LPlayback::StateChanged, this, &LMpris::StateChanged);
    connect(&playback_, &LPlayback::PositionChanged, this, &LMpris::FollowPosition);
    LDocumentNotifier& notifier = documents_.Notifier();
    const auto soon = [this] { tell_.start(); };
    connect(&playback_, &LPlayback::SettingsChanged, this, soon);
    connect(&notifier, &LDocumentNotifier::ActiveChanged, this, soon);
    connect(&notifier, &LDocumentNotifier::ListChanged, this, soon);
    connect(&notifier, &LDocumentNotifier::DocumentChanged, this, soon);
    told_ = Properties();
    TakeName(kServiceName, true);
}

// Asked without waiting, other than by QDBusConnection::registerService().
void LMpris::TakeName(const QString& name, bool first) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("RequestName"));
    call << name << kDontQueue;
    auto* watcher = new QDBusPendingCallWatcher(bus_.Bus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [=, this](QDBusPendingCallWatcher* done) {
        const QDBusPendingReply<uint> reply = *done;
        if (!reply.isError() && reply.value() != kNameTaken)
            service_ = name;
        else if (!reply.isError() && first)
            TakeName(QStringLiteral("%1.instance%2").arg(name).arg(QCoreApplication::applicationPid()),
                     false);
        done->deleteLater();
    });
}

// --- What is asked

LSoundWindow* LMpris::Sound() const {
    LSoundWindow* sound = playback_.Sound();
    return sound ? sound : documents_.ActiveSound();
}

bool LMpris::IsFree() const { return actions_.CanAcceptWork(); }

qint64 LMpris::ToUs(int64_t frames) const {
    const LSoundWindow* sound = Sound();
    const double rate = sound ? const_cast<LSoundWindow*>(sound)->Document().sound.sampleRate : 0;
    return rate > 0 ? std::llround(static_cast<double>(frames) * 1e6 / rate) : 0;
}

QString LMpris::Status() const { return StatusText(playback_.State()); }

QString LMpris::LoopStatus() const {
    return playback_.Loop() ? QStringLiteral("Track") : QStringLiteral("None");
}

void LMpris::SetLoopStatus(const QString& status) {
    const bool on = status == QStringLiteral("Track") || status == QStringLiteral("Playlist");
    if (on || status == QStringLiteral("None")) playback_.SetLoop(on);
}

double LMpris::Rate() const { return PlaySpeedFactor(playback_.SpeedIndex()); }

void LMpris::SetRate(double rate) {
    if (rate == 0) return Pause();
    if (std::isfinite(rate) && rate > 0) playback_.SetSpeedIndex(NearestSpeed(rate));
}

double LMpris::Volume() const {
    return playback_.Volume() <= kNoSignalDb ? 0 : std::pow(10, playback_.Volume() / 20.0);
}

void LMpris::SetVolume(double volume) {
    if (std::isnan(volume)) return;
    const double db = volume > 0 ? std::clamp(20 * std::log10(volume), kQuietestVolumeDb, 0.0) : kNoSignalDb;
    playback_.SetVolume(static_cast<int>(std::lround(db)));
}

qint64 LMpris::PositionUs() const {
    if (playback_.State() != LPlayState::kStopped) return ToUs(playback_.Position());
    LSoundWindow* sound = Sound();
    return sound ? ToUs(sound->Document().cursor) : 0;
}

QDBusObjectPath LMpris::Track() const {
    LSoundWindow* sound = Sound();
    return QDBusObjectPath(sound ? TrackOf(*sound) : kNoTrack);
}

QVariantMap LMpris::Metadata() const {
    QVariantMap data{{QStringLiteral("mpris:trackid"), QVariant::fromValue(Track())}};
    LSoundWindow* sound = Sound();
    if (!sound) return data;
    const LSoundDocument& document = sound->Document();
    data[QStringLiteral("mpris:length")] = ToUs(document.sound.Length());
    data[QStringLiteral("xesam:title")] = document.title;
    if (!document.path.isEmpty())
        data[QStringLiteral("xesam:url")] = QUrl::fromLocalFile(document.path).toString(QUrl::FullyEncoded);
    return data;
}

QVariantMap LMpris::Properties() const {
    LSoundWindow* sound = Sound();
    const bool content = sound && !sound->Document().sound.IsEmpty();
    const bool marks = sound && !sound->Document().bookmarks.empty();
    return {{QStringLiteral("PlaybackStatus"), Status()},
            {QStringLiteral("LoopStatus"), LoopStatus()},
            {QStringLiteral("Rate"), Rate()},
            {QStringLiteral("Volume"), Volume()},
            {QStringLiteral("Metadata"), Metadata()},
            {QStringLiteral("CanGoNext"), marks},
            {QStringLiteral("CanGoPrevious"), marks},
            {QStringLiteral("CanPlay"), content},
            {QStringLiteral("CanPause"), content},
            {QStringLiteral("CanSeek"), content}};
}

// --- What is ordered

void LMpris::Play() {
    if (playback_.State() != LPlayState::kPlaying) PlayPause();
}

void LMpris::Pause() {
    if (playback_.State() == LPlayState::kPlaying) playback_.Pause();
}

void LMpris::PlayPause() {
    if (playback_.State() == LPlayState::kPlaying)
        playback_.Pause();
    else if (playback_.State() == LPlayState::kPaused)
        playback_.Resume();
    else if (IsFree())
        documents_.RunCommand(kCmdPlay);
}

void LMpris::Stop() { playback_.Stop(); }

void LMpris::SeekBy(qint64 us) {
    LSoundWindow* sound = Sound();
    if (!sound) return;
    const double length = static_cast<double>(ToUs(sound->Document().sound.Length()));
    const double to = static_cast<double>(PositionUs()) + static_cast<double>(us);
    SeekTo(Track(), static_cast<qint64>(std::clamp(to, 0.0, length)));
}

void LMpris::SeekTo(const QDBusObjectPath& track, qint64 us) {
    LSoundWindow* sound = Sound();
    if (!sound || track != Track() || us < 0) return;
    const LSoundDocument& document = sound->Document();
    const int64_t frame = std::llround(static_cast<double>(us) * 1e-6 * document.sound.sampleRate);
    if (frame > document.sound.Length()) return;
    if (playback_.State() != LPlayState::kStopped)
        playback_.Seek(frame);
    else if (IsFree())
        sound->View().MoveCursor(frame, false);
}

// From where it plays, or from the cursor.
void LMpris::GoToBookmark(bool next) {
    if (playback_.State() == LPlayState::kStopped) {
        if (IsFree()) documents_.RunCommand(next ? kCmdNextBookmark : kCmdPreviousBookmark);
        return;
    }
    LSoundWindow* sound = playback_.Sound();
    if (!sound) return;
    // A bookmark that was just passed is not the one before.
    const int64_t slack = next ? 0 : sound->Document().sound.sampleRate;
    const int64_t at = playback_.Position() - slack;
    const LBookmark* mark =
        next ? BookmarkAfter(sound->Document(), at) : BookmarkBefore(sound->Document(), at);
    if (mark)
        playback_.Seek(mark->position);
    else if (!next)
        playback_.Seek(0);
}

void LMpris::OpenUri(const QString& uri) {
    const QUrl url(uri);
    if (url.isLocalFile() && IsFree() && actions_.OpenSound(url.toLocalFile()))
        documents_.RunCommand(kCmdPlay);
}

void LMpris::Raise() { actions_.BringForward(); }

// The question about unsaved sounds comes after the answer to who has called.
void LMpris::Quit() {
    if (IsFree())
        QMetaObject::invokeMethod(
            this, [this] { documents_.RunCommand(kCmdExit); }, Qt::QueuedConnection);
}

// --- What is told

void LMpris::StateChanged() {
    lastFrame_ = -1;
    tell_.start();
}

void LMpris::TellChanges() {
    const QVariantMap now = Properties();
    QVariantMap changed;
    for (auto value = now.begin(); value != now.end(); ++value)
        if (told_.value(value.key()) != value.value()) changed.insert(value.key(), value.value());
    told_ = now;
    if (changed.isEmpty()) return;
    QDBusMessage signal = QDBusMessage::createSignal(
        kObjectPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("PropertiesChanged"));
    signal << QStringLiteral("org.mpris.MediaPlayer2.Player") << changed << QStringList();
    bus_.Bus().send(signal);
}

// Jumps only: who is told once where it plays counts on by itself.
void LMpris::FollowPosition(int64_t frame) {
    LSoundWindow* sound = playback_.Sound();
    if (frame < 0 || !sound || playback_.Manner() != LPlayManner::kPlain) {
        lastFrame_ = frame < 0 ? -1 : lastFrame_;
        return;
    }
    const double passed = playback_.State() == LPlayState::kPlaying && clock_.isValid()
                              ? static_cast<double>(clock_.elapsed()) * 1e-3 * Rate()
                              : 0;
    const double moved = static_cast<double>(frame - lastFrame_) / sound->Document().sound.sampleRate;
    if (lastFrame_ < 0 || std::abs(moved - passed) > kJumpSeconds) Q_EMIT Seeked(ToUs(frame));
    lastFrame_ = frame;
    clock_.start();
}

}  // namespace ondarix
