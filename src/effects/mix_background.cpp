// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/mix_background.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "effects/filter.h"
#include "effects/mix_duck.h"
#include "effects/mix_job.h"
#include "effects/stack.h"
#include "sound/edit_steps.h"
#include "sound/rate_converter.h"
#include "sound/wrappers.h"

namespace ondarix {
namespace {

constexpr int64_t kEdgeMs = 10;             // no click where the music begins or is cut
constexpr int64_t kTransitionMs = 1000;     // between a lead and the level under the voice
constexpr int64_t kFadeOutAtTimeMs = 3000;  // before the time by which the music is gone
constexpr int32_t kLongestMs = 24 * 3'600'000;
constexpr int64_t kLoopFrames = int64_t{1}
                                << 40;  // as good as endless, and scaled to any rate without overflow

using B = LBackgroundSettings;
constexpr LParamRow<B> kBackgroundRows[] = {
    {"fixed", "Fixed Volume", &B::fixedVolume, 0, 1, "", "bFixedVolume"},
    {"volume", "Volume", &B::volumeDb, -90, 12, "dB", "dbVolume"},
    {"duck", "Ducking", &B::duck, 0, 1, "", "bDuck"},
    {"duck-volume", "Ducking Volume", &B::duckDb, -90, 12, "dB", "dbDuck"},
    {"lead-in", "Lead In", &B::leadIn, 0, 1, "", "eLeadIn", "None|Time"},
    {"lead-in-time", "Lead In Time", &B::leadInMs, 0, kLongestMs, "ms", "msLeadIn"},
    {"lead-in-volume", "Lead In Volume", &B::leadInDb, -90, 12, "dB", "dbLeadIn"},
    {"lead-out", "Lead Out", &B::leadOut, 0, 2, "", "eLeadOut", "None|Time|Total Time"},
    {"lead-out-time", "Lead Out Time", &B::leadOutMs, 0, kLongestMs, "ms", "msLeadOut"},
    {"lead-out-volume", "Lead Out Volume", &B::leadOutDb, -90, 12, "dB", "dbLeadOut"},
    {"adjust", "Adjust", &B::leadOutAdjust, 0, 1, "", "eLeadOutAdjust",
     "Fade out Background at Time|Adjust Lead In for Total Time"},
};

double LinearOf(LDbByte level) {
    return level.db <= kMinusInfinityDb ? 0.0 : std::pow(10.0, level.db * 0.05);
}

double MsOf(int64_t frames, int32_t rate) { return static_cast<double>(frames) * 1000.0 / rate; }

// The child from its start again and again.
class LLoopSource final : public LSoundSource {
  public:
    explicit LLoopSource(LSoundSourceRef child)
        : LSoundSource(child->sampleRate, child->channels),
          child_(std::move(child)),
          period_(std::max<int64_t>(1, child_->GetLength())) {
        peak = child_->peak;
        error = child_->error;
    }
    float* Read(float* dest, int32_t frames) override {
        const auto before = static_cast<int32_t>(std::clamp<int64_t>(-position_, 0, frames));
        dest = Silence(dest, before);
        for (int32_t done = before; done < frames;) {
            const int64_t within = (position_ + done) % period_;
            const auto piece = static_cast<int32_t>(std::min<int64_t>(frames - done, period_ - within));
            if (child_->GetPosition() != within) child_->Seek(within);
            dest = child_->Read(dest, piece);
            done += piece;
        }
        position_ += frames;
        return dest;
    }
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return kLoopFrames; }
    void Seek(int64_t frame) override { position_ = frame; }

  private:
    LSoundSourceRef child_;
    int64_t period_;
    int64_t position_ = 0;
};

// A straight line from 0 at `start` to 1 at `end`; a step where both are one.
double Ramp(int64_t frame, int64_t start, int64_t end) {
    if (frame >= end) return 1;
    if (frame <= start) return 0;
    return static_cast<double>(frame - start) / static_cast<double>(end - start);
}

// The music at its level of each moment.
class LBackgroundSource final : public LSoundSource {
  public:
    LBackgroundSource(LSoundSourceRef music, LSoundSourceRef voice, const LBackgroundPlan& plan,
                      const LBackgroundSettings& settings)
        : LSoundSource(music->sampleRate, music->channels),
          music_(std::move(music)),
          follower_(std::move(voice)),
          plan_(plan),
          isDucked_(settings.duck),
          pause_(settings.fixedVolume ? LinearOf(settings.volumeDb) : 1.0),
          spoken_(settings.duck ? LinearOf(settings.duckDb) : pause_),
          leadIn_(LinearOf(settings.leadInDb)),
          leadOut_(LinearOf(settings.leadOutDb)),
          edge_(MillisecondsToFrames(sampleRate, kEdgeMs)) {
        const int64_t transition = MillisecondsToFrames(sampleRate, kTransitionMs);
        leadInTurn_ = plan.leadIn - std::min(transition, plan.leadIn);
        leadOutTurn_ = plan.leadIn + plan.voice + std::min(transition, plan.leadOut / 4);
        double loudest = std::max(pause_, spoken_);
        if (plan.leadIn > 0) loudest = std::max(loudest, leadIn_);
        if (plan.leadOut > 0) loudest = std::max(loudest, leadOut_);
        peak = music_->peak * static_cast<float>(loudest);
        error = music_->error;
    }
    float* Read(float* dest, int32_t frames) override {
        if (frames <= 0) return dest;
        float* const end = music_->Read(dest, frames);
        amounts_.assign(static_cast<size_t>(frames), 0.0f);
        if (isDucked_) follower_.Amounts(position_ - plan_.leadIn, frames, amounts_.data());
        for (int32_t i = 0; i < frames; ++i) {
            const auto gain = static_cast<float>(GainAt(position_ + i, amounts_[static_cast<size_t>(i)]));
            for (int c = 0; c < channels; ++c) *dest++ *= gain;
        }
        position_ += frames;
        return end;
    }
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return plan_.fadeEnd; }
    void Seek(int64_t frame) override {
        music_->Seek(frame);
        position_ = frame;
    }

  private:
    double GainAt(int64_t frame, float amount) const {
        const double bed = pause_ + (spoken_ - pause_) * amount;
        const int64_t voiceEnd = plan_.leadIn + plan_.voice;
        double level = bed;
        if (frame < plan_.leadIn)
            level = leadIn_ + (bed - leadIn_) * Ramp(frame, leadInTurn_, plan_.leadIn);
        else if (frame >= voiceEnd && plan_.leadOut > 0)
            level = bed + (leadOut_ - bed) * Ramp(frame, voiceEnd, leadOutTurn_);
        return level * Ramp(frame, 0, edge_) * (1 - Ramp(frame, plan_.fadeStart, plan_.fadeEnd));
    }

    LSoundSourceRef music_;
    LDuckFollower follower_;
    LBackgroundPlan plan_;
    bool isDucked_;
    double pause_, spoken_, leadIn_, leadOut_;
    int64_t edge_, leadInTurn_ = 0, leadOutTurn_ = 0;
    int64_t position_ = 0;
    std::vector<float> amounts_;
};

// Where the music fades for the modes in which its end follows from the rest.
void FadeAtEnd(LBackgroundPlan& plan, int32_t rate) {
    plan.fadeEnd = plan.Length();
    const int64_t edge = std::min(MillisecondsToFrames(rate, kEdgeMs), plan.fadeEnd);
    plan.fadeStart = plan.fadeEnd - std::max(edge, plan.leadOut / 2);
}

bool PlanTotalTime(int32_t rate, const LBackgroundSettings& settings, LBackgroundPlan& plan, QString& fault) {
    const int64_t total = MillisecondsToFrames(rate, settings.leadOutMs);
    if (settings.leadOutAdjust.index == B::kAdjustLeadIn) {
        plan.leadIn = total - plan.voice;
        if (plan.leadIn <= 0) {
            fault = QString::asprintf(
                "Lead In not applicable. Lead In time (%.3fms) should be greater than the Voice clip length "
                "(%.3fms)",
                MsOf(total, rate), MsOf(plan.voice, rate));
            return false;
        }
        FadeAtEnd(plan, rate);
        return true;
    }
    if (total <= plan.leadIn) {
        fault = QStringLiteral(
            "Lead In not applicable due to Lead Out parameters. Please try adjusting Lead Out parameters.");
        return false;
    }
    plan.leadOut = std::max<int64_t>(0, total - plan.leadIn - plan.voice);
    plan.fadeEnd = total;
    plan.fadeStart = total - std::min(MillisecondsToFrames(rate, kFadeOutAtTimeMs), total - plan.leadIn);
    return true;
}

std::vector<LMarkMove> MarksOfVoice(LSelection range, const LBackgroundPlan& plan) {
    return {{range.start, plan.leadIn}, {range.end, plan.leadIn + plan.leadOut}};
}

}  // namespace

std::span<const LParamRow<LBackgroundSettings>> LBackgroundForm::Rows() { return kBackgroundRows; }

bool PlanBackground(int64_t voiceFrames, int32_t rate, const LBackgroundSettings& settings,
                    LBackgroundPlan& plan, QString& fault) {
    plan = {};
    plan.voice = voiceFrames;
    if (settings.leadIn.index == B::kLeadInTime) plan.leadIn = MillisecondsToFrames(rate, settings.leadInMs);
    if (settings.leadOut.index == B::kTotalTime) return PlanTotalTime(rate, settings, plan, fault);
    if (settings.leadOut.index == B::kLeadOutTime)
        plan.leadOut = MillisecondsToFrames(rate, settings.leadOutMs);
    FadeAtEnd(plan, rate);
    return true;
}

LSoundSourceRef BuildBackgroundMix(const LSound& voice, const LSound& background, const LBackgroundPlan& plan,
                                   const LBackgroundSettings& settings) {
    std::vector<LMixInput> inputs(2);
    inputs[0].source = OpenForEffects(voice);
    inputs[0].at = plan.leadIn;
    if (!background.IsEmpty()) {
        LSoundSourceRef music =
            ConvertToFormat(MakeSource<LLoopSource>(OpenForEffects(background)), voice.Format());
        inputs[1].source =
            MakeSource<LBackgroundSource>(std::move(music), OpenForEffects(voice), plan, settings);
    }
    return LimitPeaks(MakeSource<LMixSource>(std::move(inputs), voice.Format(), plan.Length()), kResultPeak);
}

void MixBackground(const LSoundDocumentRef& document, LEditHost& host, const LSound& background,
                   const LBackgroundSettings& settings, const QString& label, LApplied done) {
    if (!done) done = [](JobResult) {};
    const LSelection range = SelectionOrAll(*document);
    if (range.IsEmpty() || background.Length() == 0 || !MayChange(*document, host))
        return done(JobResult::kCancelled);
    LBackgroundPlan plan;
    QString fault;
    if (!PlanBackground(range.Length(), document->Edited().sampleRate, settings, plan, fault)) {
        host.Messages().Tell(QString::fromLatin1(kLeadInTitle), fault);
        return done(JobResult::kCancelled);
    }
    if (!HasRoomFor(*document, plan.leadIn + plan.leadOut, host)) return done(JobResult::kCancelled);
    LSound voice(document->Edited().sampleRate, document->Edited().channels);
    document->Edited().CopyRange(range.start, range.end, voice);
    voice.SetLosslessMode(nullptr);
    const auto work = [range, plan, settings, voice, music = CopyForJob(background),
                       selects = document->HasSelection(),
                       cursor = document->cursor](LProgress& progress, LSplice& splice) {
        splice.start = range.start;
        splice.end = range.end;
        splice.selected = selects ? LSelection{range.start, range.start + plan.Length()}
                                  : LSelection{cursor + plan.leadIn, cursor + plan.leadIn};
        splice.moves = MarksOfVoice(range, plan);
        return LSound::Render(splice.piece, progress, *BuildBackgroundMix(voice, music, plan, settings),
                              QStringLiteral("Mixing the selected audio"));
    };
    RunSplice(document, host, label, label, work, std::move(done));
}

}  // namespace ondarix
