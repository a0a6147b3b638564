// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <functional>
#include <memory>

#include "app/frame_documents.h"
#include "devices/play_chain.h"
#include "devices/player.h"
#include "sound/sound.h"

namespace ondarix {

enum class LPlayState : uint8_t { kStopped, kPlaying, kPaused };
// What is heard: the sound itself, a fast walk, or the tape under the hand.
enum class LPlayManner : uint8_t { kPlain, kRewind, kForward, kScrub };

// "Play (Space)" at normal speed, otherwise "Play Speed 1.25x" and the like.
QString PlayLabel(int speedIndex, const QString& keys = QStringLiteral("Space"));

// The frame's one player: which sound plays, from where to where, how fast, in a loop. What plays is the
// sound as it was when it began; edits do not disturb it. Positions are frames of that sound. [ui]
class LPlayback final : public QObject, private LSoundPlayerEvents {
    Q_OBJECT
  public:
    explicit LPlayback(LFrameDocuments& documents);
    ~LPlayback() override;

    LPlayState State() const { return state_; }
    LPlayManner Manner() const { return manner_; }
    LSoundWindow* Sound() const;  // that plays or is paused; null: none
    int64_t Position()
        const;  // frame of that sound that is heard now, -1 when stopped; may be asked at any pace
    // Whether the keyboard moves the playing of this sound rather than its cursor.
    bool Holds(const LSoundWindow& sound) const {
        return state_ != LPlayState::kStopped && Sound() == &sound;
    }

    // Space: begins, pauses, goes on. The active sound, where another one plays; anew, where cursor or
    // selection were moved during the pause.
    void PlayOrPause();
    // The selection, else from the cursor to the end (from the start where the cursor is at the end); -1, -1:
    // so; otherwise exactly [start, end). False: nothing to play, or the device does not take it, which is
    // told.
    bool Play(LSoundWindow& sound, int64_t start = -1, int64_t end = -1);
    // The same of the sound as it was saved last.
    bool PlaySaved(LSoundWindow& sound);
    bool PlayAgain();  // what was played last, from its beginning
    bool Pause();      // the cursor goes to what is heard, where nothing is selected
    bool Resume();
    void Forget(LSoundWindow& sound);  // that is closed: it is not played any more
    void Stop();  // the cursor goes back to where it was before, unless something else has moved it since
    // Outside of what plays: from there to the end of the sound.
    void Seek(int64_t frame);
    // A click into the sound that plays: from there to the end of the sound.
    void SeekByClick(int64_t frame);
    void SetManner(LPlayManner manner);  // kPlain goes back to what there was before
    // While scrubbing; turns it on otherwise.
    void ScrubTo(int64_t frame);
    void ScrubBy(int steps);

    bool Loop() const;  // setting "PlayRepeat"
    void SetLoop(bool on);
    int SpeedIndex() const;  // setting "PlaySpeed"
    void SetSpeedIndex(int index);
    int Volume() const;  // dB, setting "PlayVolume"
    void SetVolume(int db);
    const LLevelBytes& Levels() const { return levels_; }
    bool HasClipped() const { return player_.HasClipped(); }
    void ResetClipped();
    QString DeviceText() const;  // of the chosen output
    void DeviceChanged();        // another output was chosen in the options: goes on there
    void OptionsChanged();       // pitch at other speeds, loudness while winding

    std::function<void()> openOptions;  // where another output can be chosen

  Q_SIGNALS:
    void StateChanged();                 // state, manner or sound
    void PositionChanged(qint64 frame);  // some 30 times a second while it plays; -1: stopped
    void LevelsChanged();
    void ClippedChanged();
    void SettingsChanged();  // loop, speed, volume
    void Hint(const QString& text);

  private:
    struct LStretch {
        int64_t start = 0, end = 0, first = 0;
        bool part = false;  // rather than the whole sound
    };
    // Where cursor and selection of a sound are, and which of its states that is.
    struct LPlace {
        int64_t start = 0, end = 0, cursor = 0;
        uint64_t serial = 0;
        bool operator==(const LPlace&) const = default;
    };
    // A swap to a source that is moved to its place behind it: factor of the position.
    static constexpr double kFromStart = 1e-12;
    struct LLastPlayed {
        QPointer<LSoundWindow> sound;
        LStretch stretch;
    };

    void OnPlayStopped(uintptr_t userData) override;
    void OnLevels(uintptr_t userData, const LLevelBytes& levels) override;

    static LPlace PlaceOf(LSoundWindow& sound);
    // What the selection or the cursor means in a sound of that length.
    static LStretch StretchOf(LSoundWindow& window, int64_t total);
    void Take(LSoundWindow& window, const LSound& sound);  // what is to be played, as it is now
    bool Begin(LSoundWindow& window, const LSound& sound, const LStretch& stretch);
    std::unique_ptr<LPlayChain> MakeChain(int64_t first, double skip = 0) const;
    bool Start(const LSoundSourceRef& source);  // on the device
    void Exchange(double scale);                // the chain, for one with the settings of now
    void TellStandIn(const LDeviceSelection& device);
    void Swap(const LSoundSourceRef& source, double scale);
    void MoveTo(int64_t frame, bool wholeSound);
    void PutCursor(int64_t frame);
    void SetState(LPlayState state);
    void Finish(bool restoreCursor);
    void Tick();
    void ShowAt(int64_t frame, bool reveal);
    void Show(int64_t frame);  // and tells it
    void TakeWhole();
    int64_t InRange(int64_t frame) const;  // of what is played, its end excluded
    void ApplyVolume();
    void Fail(uint16_t status, bool whilePlaying);
    void TellFailure(uint16_t status, const QString& device, bool whilePlaying);
    int64_t Length() const;  // of the snapshot

    void EnterManner(LPlayManner manner);
    void LeaveManner();
    void MannerEnded();

    LFrameDocuments& documents_;
    LSoundPlayer player_;
    QPointer<QObject> sound_;
    LSound snapshot_;
    float peak_ = 0;
    std::unique_ptr<LPlayChain> chain_;
    LSoundSourceRef scrub_;
    LPlayState state_ = LPlayState::kStopped;
    LPlayState stateBefore_ = LPlayState::kStopped;  // of the manner
    LPlayManner manner_ = LPlayManner::kPlain;
    int64_t start_ = 0, end_ = 0;  // what is played of the sound
    bool part_ = false;            // not the whole of it
    LPlace before_, placed_;
    LLastPlayed last_;
    LLevelBytes levels_;
    QTimer tick_;
    int ticks_ = 0;
    int64_t shown_ = -1;
    bool hadClipped_ = false;
    bool ours_ = false;  // the player stops because it was told to
};

}  // namespace ondarix
