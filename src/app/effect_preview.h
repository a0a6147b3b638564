// SPDX-License-Identifier: GPL-3.0-or-later
// An effect heard before it is applied: over a stretch of a sound, endless, while its values change.
#pragma once
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <functional>
#include <memory>

#include "app/playback.h"
#include "effects/apply.h"

namespace ondarix {

class LPreviewPreparer;

// The sound that a preview works on, with the bound of its samples looked up once.
class LPreviewSound {
  public:
    explicit LPreviewSound(LSound range);
    const LSound& Range() const { return range_; }
    int64_t Length() const { return length_; }
    LSoundSourceRef Open() const;  // what OpenForEffects gives, at no cost. [any]
    // What BuildEffectStack gives: sample for sample what applying the effects writes. [any]
    LSoundSourceRef Stack(const LEffectList& effects) const;

  private:
    LSound range_;
    int64_t length_;
    float peak_;
};
using LPreviewSoundRef = std::shared_ptr<const LPreviewSound>;

// How that which is heard is made. Each is called once, `build` after `prepare` has succeeded; both are
// destroyed on the interface thread.
struct LPreviewStack {
    std::function<JobResult(LProgress&)> prepare;  // on a worker; null: there is nothing to prepare
    // A usable source of the sound's format, of any length, that Seek(0) leaves as fresh. Empty or failed:
    // there was not enough memory. [any]
    std::function<LSoundSourceRef()> build;
};
// The usual one: the effects, which are measured first where they need it.
LPreviewStack StackOfEffects(const LPreviewSoundRef& sound, LEffectList effects);

enum class LPreviewState : uint8_t {
    kStopped,
    kMeasuring,  // nothing is heard yet
    kPlaying,
};

// One player of its own, on the chosen device at the volume of the frame's playback, which it ends. What
// cannot be heard is told as that would tell it. [ui]
class LEffectPreview final : public QObject, private LSoundPlayerEvents {
    Q_OBJECT
  public:
    // `make` gives the stack for the values as they are when it is called.
    LEffectPreview(LPlayback& playback, LEditHost& host, LPreviewSoundRef sound,
                   std::function<LPreviewStack()> make);
    ~LEffectPreview() override;

    LPreviewState State() const { return state_; }
    bool IsMeasuring() const;  // also while something else still plays
    // From the start. False: nothing plays, which was told.
    bool Play();
    void Stop();
    // Values are others: the stack is made anew and goes on at the same place. Several at once are one.
    void Change();
    // The sound as it is, at the same place.
    void SetBypass(bool on);
    bool Bypass() const { return bypass_; }
    // Another sound, with the stack over it: from the start where it plays.
    void SetSound(LPreviewSoundRef sound);
    const LPreviewSoundRef& Sound() const { return sound_; }
    // Frame of the unprocessed sound that is heard, by the share of the way; -1: stopped. At any pace.
    int64_t Position() const;
    // The length of what is heard now, in frames.
    int64_t HeardLength() const { return heardLength_; }

  Q_SIGNALS:
    void StateChanged();                 // or measuring has begun or ended
    void PositionChanged(qint64 frame);  // some 30 times a second; -1: stopped

  private:
    void OnPlayStopped(uintptr_t userData) override;
    void Begin();  // makes the stack, measures it where it asks for that
    void Prepared(uint32_t run, JobResult result, const QString& error);
    void Hear();  // the stack that is ready, or the sound where it is passed over
    bool Start(const LSoundSourceRef& source);
    void SetState(LPreviewState state);
    void EndPreparing();
    void Finish();
    void Tell(const QString& title, const QString& text);

    LPlayback& playback_;
    LEditHost& host_;
    LPreviewSoundRef sound_;
    std::function<LPreviewStack()> make_;
    LSoundPlayer player_;
    std::unique_ptr<LPlayChain> chain_;
    std::unique_ptr<LPreviewPreparer> preparer_;
    std::function<LSoundSourceRef()> building_;  // of the stack that is measured
    LSoundSourceRef ready_;                      // over the present values; of one use
    uint32_t run_ = 0;                           // of measuring: an older one counts no more
    LPreviewState state_ = LPreviewState::kStopped;
    int64_t heardLength_ = 0;
    QTimer later_, tick_;
    QElapsedTimer sinceSwap_;
    bool bypass_ = false;
    bool ours_ = false;  // the player stops because it was told to
};

}  // namespace ondarix
