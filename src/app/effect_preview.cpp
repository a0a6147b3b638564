// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_preview.h"

#include <QScopedValueRollback>
#include <algorithm>
#include <utility>

#include "app/playback_failures.h"
#include "devices/device_list.h"
#include "effects/filter.h"
#include "effects/stack.h"
#include "gen/background_thread.h"
#include "sound/readers.h"
#include "sound/wrappers.h"

namespace ondarix {
namespace {

constexpr int kSwapPauseMs = 30;    // between two swaps; less would not be told apart
constexpr int kPreviewTickMs = 33;  // between two places that are shown

std::vector<const LEffect*> Viewed(const LEffectList& effects) {
    std::vector<const LEffect*> all;
    for (const auto& effect : effects) all.push_back(effect.get());
    return all;
}

}  // namespace

// --- What is heard

LPreviewSound::LPreviewSound(LSound range)
    : range_(std::move(range)), length_(range_.Length()), peak_(SoundPeak(range_)) {}

LSoundSourceRef LPreviewSound::Open() const {
    LSoundSourceRef reader = MakeSource<LSoundReader>(range_);
    reader->peak = peak_;
    return reader;
}

LSoundSourceRef LPreviewSound::Stack(const LEffectList& effects) const {
    return LimitPeaks(WrapInEffects(Open(), Viewed(effects)), kResultPeak);
}

LPreviewStack StackOfEffects(const LPreviewSoundRef& sound, LEffectList effects) {
    LPreviewStack stack;
    bool measured = false;
    for (const auto& effect : effects) {
        effect->SetFormat(sound->Range().Format());
        measured = measured || effect->NeedsMeasure();
    }
    auto list = std::make_shared<LEffectList>(std::move(effects));
    if (measured)
        stack.prepare = [sound, list](LProgress& progress) {
            std::vector<LEffect*> all;
            for (const auto& effect : *list) all.push_back(effect.get());
            return MeasureEffects(sound->Range(), all, progress);
        };
    stack.build = [sound, list] { return sound->Stack(*list); };
    return stack;
}

// --- Measuring, away from the interface

class LPreviewPreparer final : public LBackgroundThread {
  public:
    using LDone = std::function<void(JobResult, const QString&)>;
    LPreviewPreparer(std::function<JobResult(LProgress&)> work, LDone done)
        : LBackgroundThread("PREV"), work_(std::move(work)), done_(std::move(done)) {}
    ~LPreviewPreparer() override { Stop(); }
    void ReportError(const QString& text) override { error_ = text; }

  protected:
    void Run() override {
        const JobResult result = work_(*this);
        if (!IsCancelled()) done_(result, error_);
    }

  private:
    std::function<JobResult(LProgress&)> work_;
    LDone done_;
    QString error_;
};

// --- Playing

LEffectPreview::LEffectPreview(LPlayback& playback, LEditHost& host, LPreviewSoundRef sound,
                               std::function<LPreviewStack()> make)
    : playback_(playback), host_(host), sound_(std::move(sound)), make_(std::move(make)) {
    player_.SetListener(this);
    player_.SetLowLatency(true);
    later_.setSingleShot(true);
    connect(&later_, &QTimer::timeout, this, &LEffectPreview::Begin);
    tick_.setInterval(kPreviewTickMs);
    connect(&tick_, &QTimer::timeout, this, [this] { Q_EMIT PositionChanged(Position()); });
    connect(&playback_, &LPlayback::SettingsChanged, this,
            [this] { player_.SetVolume(static_cast<int8_t>(playback_.Volume())); });
    // Something else is to be heard.
    connect(&playback_, &LPlayback::StateChanged, this, [this] {
        if (playback_.State() == LPlayState::kPlaying) Stop();
    });
}

LEffectPreview::~LEffectPreview() {
    const QScopedValueRollback<bool> guard(ours_, true);
    preparer_.reset();
    player_.Stop();
    player_.SetListener(nullptr);
}

bool LEffectPreview::IsMeasuring() const { return preparer_ != nullptr; }

bool LEffectPreview::Play() {
    Stop();
    playback_.Stop();
    if (sound_->Length() <= 0) return false;
    state_ = LPreviewState::kMeasuring;
    Begin();
    if (state_ == LPreviewState::kMeasuring) Q_EMIT StateChanged();
    return state_ != LPreviewState::kStopped;
}

void LEffectPreview::Stop() {
    if (state_ == LPreviewState::kStopped) return;
    {
        const QScopedValueRollback<bool> guard(ours_, true);
        player_.Stop();
    }
    Finish();
}

void LEffectPreview::Finish() {
    later_.stop();
    tick_.stop();
    EndPreparing();
    chain_.reset();
    ready_.Reset();
    heardLength_ = 0;
    state_ = LPreviewState::kStopped;
    Q_EMIT PositionChanged(-1);
    Q_EMIT StateChanged();
}

void LEffectPreview::Change() {
    if (state_ == LPreviewState::kStopped || later_.isActive()) return;
    const qint64 since = sinceSwap_.isValid() ? sinceSwap_.elapsed() : kSwapPauseMs;
    later_.start(static_cast<int>(std::clamp<qint64>(kSwapPauseMs - since, 0, kSwapPauseMs)));
}

void LEffectPreview::SetBypass(bool on) {
    if (bypass_ == on) return;
    bypass_ = on;
    if (state_ == LPreviewState::kPlaying) Hear();
}

void LEffectPreview::SetSound(LPreviewSoundRef sound) {
    const bool plays = state_ != LPreviewState::kStopped;
    Stop();
    sound_ = std::move(sound);
    if (plays) Play();
}

int64_t LEffectPreview::Position() const {
    if (state_ != LPreviewState::kPlaying || !chain_ || heardLength_ <= 0) return -1;
    const int64_t heard = chain_->ToSound(player_.GetPositionFrames());
    const int64_t length = sound_->Length();
    if (heardLength_ == length) return std::clamp<int64_t>(heard, 0, length);
    const double share = static_cast<double>(heard) / static_cast<double>(heardLength_);
    return std::clamp<int64_t>(static_cast<int64_t>(share * static_cast<double>(length)), 0, length);
}

void LEffectPreview::EndPreparing() {
    ++run_;
    building_ = nullptr;
    preparer_.reset();
}

void LEffectPreview::Begin() {
    const bool wasMeasuring = IsMeasuring();
    EndPreparing();
    LPreviewStack stack = make_();
    if (!stack.prepare) {
        ready_ = stack.build();
        Hear();
        if (wasMeasuring) Q_EMIT StateChanged();
        return;
    }
    building_ = std::move(stack.build);
    const auto done = [this, run = run_](JobResult result, const QString& error) {
        QMetaObject::invokeMethod(
            this, [this, run, result, error] { Prepared(run, result, error); }, Qt::QueuedConnection);
    };
    preparer_ = std::make_unique<LPreviewPreparer>(std::move(stack.prepare), done);
    preparer_->Start();
    if (!wasMeasuring) Q_EMIT StateChanged();
}

void LEffectPreview::Prepared(uint32_t run, JobResult result, const QString& error) {
    if (run != run_ || state_ == LPreviewState::kStopped) return;
    const auto build = std::move(building_);
    EndPreparing();
    if (result != JobResult::kSuccess) {
        Stop();
        if (!error.isEmpty()) Tell(QStringLiteral("Audio Preview"), error);
        return;
    }
    ready_ = build();
    Hear();
    Q_EMIT StateChanged();
}

void LEffectPreview::Hear() {
    if (!ready_.IsUsable() || ready_->GetLength() <= 0) {
        Stop();
        return Tell(QLatin1String(kMemoryTitle), QLatin1String(kMemoryText));
    }
    LPlayRequest request;
    request.sound = bypass_ ? sound_->Open() : ready_;
    request.loops = kLoopForever;
    request.sound->Seek(0);
    const int64_t before = heardLength_;
    auto chain = std::make_unique<LPlayChain>(request);
    heardLength_ = request.sound->GetLength();
    sinceSwap_.start();
    if (state_ != LPreviewState::kPlaying) {
        chain_ = std::move(chain);
        if (!Start(chain_->Source())) return;
        return SetState(LPreviewState::kPlaying);
    }
    player_.Suspend();
    player_.SwapSource(chain->Source(), static_cast<double>(heardLength_) / static_cast<double>(before));
    player_.ResyncAfterSwap();
    player_.ResumeFeed();
    chain_ = std::move(chain);
}

bool LEffectPreview::Start(const LSoundSourceRef& source) {
    const LDeviceSelection chosen = ChosenOutput();
    bool plays = false;
    {
        const QScopedValueRollback<bool> guard(ours_, true);
        if (chosen != player_.Device().Selection()) player_.SelectDevice(chosen);
        player_.SetVolume(static_cast<int8_t>(playback_.Volume()));
        plays = player_.Play(source);
    }
    if (!plays) OnPlayStopped(0);
    return plays;
}

void LEffectPreview::SetState(LPreviewState state) {
    state_ = state;
    tick_.start();
    Q_EMIT StateChanged();
}

// Endless as it is, only a failure ends it.
void LEffectPreview::OnPlayStopped(uintptr_t) {
    if (ours_ || state_ == LPreviewState::kStopped) return;
    const uint16_t status = player_.LastStatus();
    const bool whilePlaying = state_ == LPreviewState::kPlaying;
    const LDeviceMode mode = player_.Device().Mode();
    const QString device = QStringLiteral("\"%1\"").arg(DeviceText(player_.Device().Selection()));
    Finish();
    if (status == kDeviceGood) return;
    QMetaObject::invokeMethod(
        this,
        [this, status, device, mode, whilePlaying] {
            if (TellPlayFailure(host_.Messages(), status, device, mode, whilePlaying) &&
                playback_.openOptions)
                playback_.openOptions();
        },
        Qt::QueuedConnection);
}

void LEffectPreview::Tell(const QString& title, const QString& text) {
    QMetaObject::invokeMethod(
        this, [this, title, text] { host_.Messages().Tell(title, text); }, Qt::QueuedConnection);
}

}  // namespace ondarix
