// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QDBusObjectPath>
#include <QElapsedTimer>
#include <QTimer>
#include <QVariantMap>

#include "app/bus_connection.h"
#include "app/frame_actions.h"
#include "app/playback.h"

namespace ondarix {

// The player as desktops see it: media keys, lock screens and remote controls speak to it over the session
// bus by the Media Player Remote Interfacing Specification, version 2.2. [ui]
class LMpris final : public QObject {
    Q_OBJECT
  public:
    LMpris(LPlayback& playback, LFrameDocuments& documents, LFrameActions& actions);
    ~LMpris() override;

    // "org.mpris.MediaPlayer2.ondarix", with ".instancePID" where another one has that; empty: not there yet.
    const QString& ServiceName() const { return service_; }

    // What the interfaces ask, in their own units.
    QString Status() const;
    QString LoopStatus() const;
    void SetLoopStatus(const QString& status);
    double Rate() const;
    void SetRate(double rate);  // the nearest one there is; 0 pauses
    double Volume() const;      // 1: as loud as the sound is
    void SetVolume(double volume);
    qint64 PositionUs() const;
    QVariantMap Metadata() const;
    QVariantMap Properties() const;  // of the player, but for the position
    void Play();
    void Pause();
    void PlayPause();
    void Stop();
    void SeekBy(qint64 us);
    void SeekTo(const QDBusObjectPath& track, qint64 us);
    void GoToBookmark(bool next);
    void OpenUri(const QString& uri);
    void Raise();
    void Quit();

  Q_SIGNALS:
    void Seeked(qint64 us);

  private:
    LSoundWindow* Sound() const;  // that plays, else the active one
    QDBusObjectPath Track() const;
    qint64 ToUs(int64_t frames) const;
    bool IsFree() const;
    void Register();
    void TakeName(const QString& name, bool first);
    void TellChanges();
    void FollowPosition(int64_t frame);
    void StateChanged();

    LPlayback& playback_;
    LFrameDocuments& documents_;
    LFrameActions& actions_;
    QObject object_;  // on the bus
    LBusConnection bus_;
    QString service_;
    QTimer tell_;
    QVariantMap told_;
    QElapsedTimer clock_;
    int64_t lastFrame_ = -1;  // at the start of the clock; -1: not known
};

}  // namespace ondarix
