// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/playback.h"

#include <QScopedValueRollback>
#include <algorithm>

#include "app/sound_window.h"
#include "devices/device_list.h"
#include "gen/settings.h"
#include "sound/readers.h"

namespace ondarix {
namespace {

constexpr int kTickMs = 16;                            // of the line in the waveform
constexpr int kTicksAPosition = 2;                     // between two that are told
constexpr int64_t kSamplesForPeak = int64_t{1} << 22;  // as many are read for the peak without being noticed
const QString kPlaySection = QStringLiteral("Settings");
const QString kLoopName = QStringLiteral("PlayRepeat");
const QString kSpeedName = QStringLiteral("PlaySpeed");
const QString kVolumeName = QStringLiteral("PlayVolume");
const QString kKeepPitchName = QStringLiteral("PlaySpeedKeepPitch");
const QString kReduceName = QStringLiteral("ReduceVolWhenRewind");
constexpr int kReduceDb = 8, kMostVolumeDb = 12;

}  // namespace

QString PlayLabel(int speedIndex, const QString& keys) {
    const double speed = PlaySpeedFactor(speedIndex);
    if (speedIndex == kNormalSpeed || speed == 1.0) return QStringLiteral("Play (%1)").arg(keys);
    const int decimals = speedIndex == 4 ? 2 : speedIndex < 6 ? 1 : 0;
    return QStringLiteral("Play Speed %1x").arg(speed, 0, 'f', decimals);
}

LPlayback::LPlayback(LFrameDocuments& documents) : documents_(documents) {
    player_.SetListener(this);
    tick_.setTimerType(Qt::PreciseTimer);
    tick_.setInterval(kTickMs);
    connect(&tick_, &QTimer::timeout, this, &LPlayback::Tick);
}

LPlayback::~LPlayback() {
    ours_ = true;
    player_.Stop();
    player_.SetListener(nullptr);
}

LSoundWindow* LPlayback::Sound() const { return static_cast<LSoundWindow*>(sound_.data()); }

int64_t LPlayback::Length() const { return snapshot_.Length(); }

int64_t LPlayback::InRange(int64_t frame) const {
    return std::clamp(frame, start_, std::max(start_, end_ - 1));
}

int64_t LPlayback::Position() const {
    if (state_ == LPlayState::kStopped) return -1;
    if (manner_ == LPlayManner::kScrub)
        return std::clamp<int64_t>(static_cast<const LScrubSource*>(scrub_.Get())->SoundFrame(), 0, Length());
    return std::clamp<int64_t>(chain_->ToSound(player_.GetPositionFrames()), 0, Length());
}

LPlayback::LPlace LPlayback::PlaceOf(LSoundWindow& sound) {
    const LSoundDocument& document = sound.Document();
    const LSelection selection = document.EditRange();
    return {selection.start, selection.end, document.cursor, document.historySerial};
}

// --- Beginning

LPlayback::LStretch LPlayback::StretchOf(LSoundWindow& window, int64_t total) {
    const LSelection place = window.Document().EditRange();
    if (!place.IsEmpty() && place.start < total)
        return {place.start, std::min(place.end, total), place.start, true};
    return {0, total, place.start < total ? place.start : 0, false};
}

bool LPlayback::Play(LSoundWindow& sound, int64_t start, int64_t end) {
    const LSound& now = sound.Document().Edited();
    const int64_t total = now.Length();
    LStretch stretch = StretchOf(sound, total);
    if (start >= 0 && end > start) stretch = {start, std::min(end, total), start, true};
    if (!Begin(sound, now, stretch)) return false;
    last_ = {&sound, stretch};
    return true;
}

bool LPlayback::PlaySaved(LSoundWindow& sound) {
    const LSound* saved = sound.Document().SavedSound();
    return saved && Begin(sound, *saved, StretchOf(sound, saved->Length()));
}

bool LPlayback::PlayAgain() {
    LSoundWindow* sound = last_.sound;
    if (!sound) {
        LSoundWindow* active = documents_.ActiveSound();
        return active && Play(*active);
    }
    const LSound& now = sound->Document().Edited();
    LStretch stretch = last_.stretch;
    stretch.end = stretch.part ? std::min(stretch.end, now.Length()) : now.Length();
    return stretch.first < stretch.end ? Begin(*sound, now, stretch) : Play(*sound);
}

void LPlayback::Take(LSoundWindow& window, const LSound& sound) {
    if (state_ != LPlayState::kStopped) Stop();
    sound_ = &window;
    snapshot_ = sound;
    const bool quick = snapshot_.Length() * snapshot_.channels <= kSamplesForPeak;
    peak_ = quick ? SoundPeak(snapshot_) : kUnknownPeak;
    before_ = placed_ = PlaceOf(window);
}

bool LPlayback::Begin(LSoundWindow& window, const LSound& sound, const LStretch& stretch) {
    if (stretch.start >= stretch.end) return false;
    Take(window, sound);
    start_ = stretch.start;
    end_ = stretch.end;
    part_ = stretch.part;
    chain_ = MakeChain(stretch.first);
    if (!Start(chain_->Source())) return false;
    SetState(LPlayState::kPlaying);
    Show(stretch.first);
    return true;
}

std::unique_ptr<LPlayChain> LPlayback::MakeChain(int64_t first, double skip) const {
    LPlayRequest request;
    request.sound = MakeSource<LSoundReader>(snapshot_);
    request.sound->peak = peak_;
    request.start = skip == 0 ? start_ : 0;
    request.end = skip == 0 ? end_ : Length();
    request.first = first;
    request.skip = skip;
    if (skip == 0) {
        request.speed = PlaySpeedFactor(SpeedIndex());
        request.keepPitch = GetSettingBool(kPlaySection, kKeepPitchName, true);
        request.loops = Loop() ? kLoopForever : 1;
    }
    return std::make_unique<LPlayChain>(request);
}

bool LPlayback::Start(const LSoundSourceRef& source) {
    const QScopedValueRollback<bool> guard(ours_, true);
    const LDeviceSelection chosen = ChosenOutput();
    if (chosen != player_.Device().Selection()) player_.SelectDevice(chosen);
    player_.SetLowLatency(manner_ == LPlayManner::kScrub);
    ApplyVolume();
    if (!player_.Play(source)) {
        Fail(player_.LastStatus(), false);
        return false;
    }
    TellStandIn(chosen);
    return true;
}

// --- While it plays

void LPlayback::PlayOrPause() {
    LSoundWindow* active = documents_.ActiveSound();
    if (state_ == LPlayState::kStopped || (active && active != Sound())) {
        if (active) Play(*active);
        return;
    }
    if (manner_ != LPlayManner::kPlain) {
        SetManner(LPlayManner::kPlain);
        if (state_ == LPlayState::kPlaying) return;
    }
    if (state_ == LPlayState::kPlaying)
        Pause();
    else if (LSoundWindow* sound = Sound(); sound && PlaceOf(*sound) == placed_ && Resume())
        return;
    else if (active)
        Play(*active);
}

bool LPlayback::Pause() {
    if (manner_ != LPlayManner::kPlain) SetManner(LPlayManner::kPlain);
    if (state_ != LPlayState::kPlaying || !player_.Pause()) return false;
    PutCursor(Position());
    SetState(LPlayState::kPaused);
    ShowAt(Position(), false);
    Q_EMIT PositionChanged(Position());
    return true;
}

bool LPlayback::Resume() {
    if (state_ != LPlayState::kPaused || !player_.Resume()) return false;
    SetState(LPlayState::kPlaying);
    return true;
}

void LPlayback::Stop() {
    if (state_ == LPlayState::kStopped) return;
    const QScopedValueRollback<bool> guard(ours_, true);
    player_.Stop();
    Finish(true);
}

void LPlayback::Forget(LSoundWindow& sound) {
    if (Holds(sound)) Stop();
    if (last_.sound == &sound) last_ = {};
}

void LPlayback::Seek(int64_t frame) {
    if (manner_ == LPlayManner::kScrub) return ScrubTo(frame);
    if (manner_ != LPlayManner::kPlain) SetManner(LPlayManner::kPlain);
    if (state_ != LPlayState::kStopped) MoveTo(frame, frame < start_ || frame >= end_);
}

void LPlayback::SeekByClick(int64_t frame) {
    if (state_ == LPlayState::kPlaying && manner_ == LPlayManner::kPlain) MoveTo(frame, true);
}

void LPlayback::MoveTo(int64_t frame, bool wholeSound) {
    frame = std::clamp<int64_t>(frame, 0, Length());
    if (wholeSound && part_) {
        TakeWhole();
        chain_ = MakeChain(frame);
        Swap(chain_->Source(), kFromStart);
    }
    player_.SetPositionFrames(chain_->FromSound(frame, player_.GetPositionFrames()));
    if (state_ == LPlayState::kPaused) PutCursor(frame);
    Show(frame);
}

void LPlayback::Swap(const LSoundSourceRef& source, double scale) {
    player_.Suspend();
    player_.SwapSource(source, scale);
    player_.ResyncAfterSwap();
    player_.ResumeFeed();
}

void LPlayback::TakeWhole() {
    start_ = 0;
    end_ = Length();
    part_ = false;
}

// A selection stays as it is.
void LPlayback::PutCursor(int64_t frame) {
    LSoundWindow* sound = Sound();
    if (!sound) return;
    if (sound->Document().EditRange().IsEmpty()) sound->View().Select(frame, frame);
    placed_ = PlaceOf(*sound);
}

void LPlayback::Finish(bool restoreCursor) {
    LSoundWindow* sound = Sound();
    const bool moved = !sound || PlaceOf(*sound) != placed_;
    if (restoreCursor && !moved && placed_ != before_) sound->View().Select(before_.cursor, before_.cursor);
    if (manner_ != LPlayManner::kPlain) {
        manner_ = LPlayManner::kPlain;
        player_.SetLowLatency(false);
        ApplyVolume();
    }
    ShowAt(-1, false);
    tick_.stop();
    state_ = LPlayState::kStopped;
    sound_ = nullptr;
    chain_.reset();
    scrub_.Reset();
    snapshot_.Clear();
    levels_.clear();
    Q_EMIT PositionChanged(-1);
    Q_EMIT LevelsChanged();
    Q_EMIT StateChanged();
}

void LPlayback::SetState(LPlayState state) {
    state_ = state;
    if (state == LPlayState::kPlaying)
        tick_.start();
    else
        tick_.stop();
    Q_EMIT StateChanged();
}

void LPlayback::OnPlayStopped(uintptr_t) {
    if (ours_ || state_ == LPlayState::kStopped) return;
    const uint16_t status = player_.LastStatus();
    if (status != kDeviceGood) return Fail(status, true);
    if (manner_ != LPlayManner::kPlain) return MannerEnded();
    Finish(true);
}

void LPlayback::OnLevels(uintptr_t, const LLevelBytes& levels) {
    levels_ = levels;
    Q_EMIT LevelsChanged();
}

void LPlayback::Tick() {
    const int64_t at = Position();
    ShowAt(at, false);
    if (++ticks_ % kTicksAPosition != 0) return;
    Q_EMIT PositionChanged(at);
    if (player_.HasClipped() == hadClipped_) return;
    hadClipped_ = !hadClipped_;
    Q_EMIT ClippedChanged();
}

void LPlayback::ShowAt(int64_t frame, bool reveal) {
    const bool back = manner_ == LPlayManner::kRewind || (manner_ == LPlayManner::kScrub && frame < shown_);
    shown_ = frame;
    if (LSoundWindow* sound = Sound()) sound->ShowPlayed(frame, reveal, back);
}

void LPlayback::Show(int64_t frame) {
    ShowAt(frame, true);
    Q_EMIT PositionChanged(frame);
}

// --- Settings

bool LPlayback::Loop() const { return GetSettingBool(kPlaySection, kLoopName, false); }

void LPlayback::SetLoop(bool on) {
    SetSettingBool(kPlaySection, kLoopName, on);
    if (state_ != LPlayState::kStopped && manner_ == LPlayManner::kPlain) {
        player_.Suspend();
        LSoundSource& source = *chain_->Source();
        const bool wasRead = source.GetPosition() >= source.GetLength();
        chain_->SetLooping(on, player_.GetPositionFrames());
        // What is queued of a pass that does not come, or the end that is not one.
        if (wasRead || source.GetPosition() > source.GetLength()) player_.ResyncAfterSwap();
        player_.ResumeFeed();
    }
    Q_EMIT SettingsChanged();
}

int LPlayback::SpeedIndex() const { return GetSettingInt(kPlaySection, kSpeedName, kNormalSpeed); }

void LPlayback::SetSpeedIndex(int index) {
    const double before = PlaySpeedFactor(SpeedIndex()), now = PlaySpeedFactor(index);
    SetSettingInt(index, kPlaySection, kSpeedName);
    if (before != now) Exchange(before / now);
    Q_EMIT SettingsChanged();
}

void LPlayback::Exchange(double scale) {
    if (state_ == LPlayState::kStopped || manner_ != LPlayManner::kPlain) return;
    chain_ = MakeChain(InRange(Position()));
    Swap(chain_->Source(), scale);
}

void LPlayback::OptionsChanged() {
    const bool keepPitch = GetSettingBool(kPlaySection, kKeepPitchName, true);
    if (chain_ && chain_->Request().speed != 1 && chain_->Request().keepPitch != keepPitch) Exchange(1);
    ApplyVolume();
}

int LPlayback::Volume() const {
    return std::clamp(GetSettingInt(kPlaySection, kVolumeName, 0), int{kNoSignalDb}, kMostVolumeDb);
}

void LPlayback::SetVolume(int db) {
    SetSettingInt(std::clamp(db, int{kNoSignalDb}, kMostVolumeDb), kPlaySection, kVolumeName);
    ApplyVolume();
    Q_EMIT SettingsChanged();
}

void LPlayback::ApplyVolume() {
    const bool fast = manner_ == LPlayManner::kRewind || manner_ == LPlayManner::kForward;
    const bool reduced = fast && GetSettingBool(kPlaySection, kReduceName, true);
    const int db = Volume() - (reduced ? kReduceDb : 0);
    player_.SetVolume(static_cast<int8_t>(std::clamp(db, int{kNoSignalDb}, kMostVolumeDb)));
}

void LPlayback::ResetClipped() {
    player_.ResetClipped();
    hadClipped_ = false;
    Q_EMIT ClippedChanged();
}

QString LPlayback::DeviceText() const { return ondarix::DeviceText(ChosenOutput()); }

void LPlayback::DeviceChanged() {
    if (state_ == LPlayState::kStopped) return;
    const bool paused = state_ == LPlayState::kPaused;
    const int64_t at = Position();
    if (manner_ != LPlayManner::kPlain) SetManner(LPlayManner::kPlain);
    if (state_ == LPlayState::kStopped) return;
    chain_ = MakeChain(InRange(at));
    if (Start(chain_->Source()) && paused) player_.Pause();
}

}  // namespace ondarix
