// SPDX-License-Identifier: GPL-3.0-or-later
// The two interfaces of a media player on the bus, as their specification declares them.
#pragma once
#include <QDBusAbstractAdaptor>
#include <QStringList>

#include "app/mpris.h"

namespace ondarix {

class LMprisRoot final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2")
    Q_PROPERTY(bool CanQuit READ Yes)
    Q_PROPERTY(bool CanRaise READ Yes)
    Q_PROPERTY(bool HasTrackList READ No)
    Q_PROPERTY(QString Identity READ Identity)
    Q_PROPERTY(QString DesktopEntry READ DesktopEntry)
    Q_PROPERTY(QStringList SupportedUriSchemes READ SupportedUriSchemes)
    Q_PROPERTY(QStringList SupportedMimeTypes READ SupportedMimeTypes)
  public:
    LMprisRoot(LMpris& player, QObject* object) : QDBusAbstractAdaptor(object), player_(player) {}
    bool Yes() const { return true; }
    bool No() const { return false; }
    QString Identity() const { return QStringLiteral("Ondarix"); }
    QString DesktopEntry() const { return QStringLiteral("works.vellmark.Ondarix"); }
    QStringList SupportedUriSchemes() const { return {QStringLiteral("file")}; }
    QStringList SupportedMimeTypes() const {
        return {QStringLiteral("audio/x-wav"), QStringLiteral("audio/wav"), QStringLiteral("audio/vnd.wave")};
    }
  public Q_SLOTS:
    void Raise() { player_.Raise(); }
    void Quit() { player_.Quit(); }

  private:
    LMpris& player_;
};

class LMprisPlayer final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
    Q_PROPERTY(QString PlaybackStatus READ PlaybackStatus)
    Q_PROPERTY(QString LoopStatus READ LoopStatus WRITE SetLoopStatus)
    Q_PROPERTY(double Rate READ Rate WRITE SetRate)
    Q_PROPERTY(QVariantMap Metadata READ Metadata)
    Q_PROPERTY(double Volume READ Volume WRITE SetVolume)
    Q_PROPERTY(qlonglong Position READ Position)
    Q_PROPERTY(double MinimumRate READ MinimumRate)
    Q_PROPERTY(double MaximumRate READ MaximumRate)
    Q_PROPERTY(bool CanGoNext READ CanGoNext)
    Q_PROPERTY(bool CanGoPrevious READ CanGoPrevious)
    Q_PROPERTY(bool CanPlay READ CanPlay)
    Q_PROPERTY(bool CanPause READ CanPause)
    Q_PROPERTY(bool CanSeek READ CanSeek)
    Q_PROPERTY(bool CanControl READ CanControl)
  public:
    LMprisPlayer(LMpris& player, QObject* object) : QDBusAbstractAdaptor(object), player_(player) {
        connect(&player_, &LMpris::Seeked, this, &LMprisPlayer::Seeked);
    }
    QString PlaybackStatus() const { return player_.Status(); }
    QString LoopStatus() const { return player_.LoopStatus(); }
    void SetLoopStatus(const QString& status) { player_.SetLoopStatus(status); }
    double Rate() const { return player_.Rate(); }
    void SetRate(double rate) { player_.SetRate(rate); }
    QVariantMap Metadata() const { return player_.Metadata(); }
    double Volume() const { return player_.Volume(); }
    void SetVolume(double volume) { player_.SetVolume(volume); }
    qlonglong Position() const { return player_.PositionUs(); }
    double MinimumRate() const { return PlaySpeedFactor(0); }
    double MaximumRate() const { return PlaySpeedFactor(kPlaySpeeds - 1); }
    bool CanGoNext() const { return Told("CanGoNext"); }
    bool CanGoPrevious() const { return Told("CanGoPrevious"); }
    bool CanPlay() const { return Told("CanPlay"); }
    bool CanPause() const { return Told("CanPause"); }
    bool CanSeek() const { return Told("CanSeek"); }
    bool CanControl() const { return true; }
  public Q_SLOTS:
    void Next() { player_.GoToBookmark(true); }
    void Previous() { player_.GoToBookmark(false); }
    void Play() { player_.Play(); }
    void Pause() { player_.Pause(); }
    void PlayPause() { player_.PlayPause(); }
    void Stop() { player_.Stop(); }
    void Seek(qlonglong Offset) { player_.SeekBy(Offset); }
    void SetPosition(const QDBusObjectPath& TrackId, qlonglong Position) {
        player_.SeekTo(TrackId, Position);
    }
    void OpenUri(const QString& Uri) { player_.OpenUri(Uri); }
  Q_SIGNALS:
    void Seeked(qlonglong Position);

  private:
    bool Told(const char* name) const { return player_.Properties().value(QLatin1String(name)).toBool(); }
    LMpris& player_;
};

}  // namespace ondarix
