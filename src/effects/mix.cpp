// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/mix.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "effects/filter.h"
#include "effects/mix_job.h"
#include "effects/stack.h"
#include "sound/edits.h"
#include "sound/rate_converter.h"
#include "sound/readers.h"
#include "sound/wrappers.h"

namespace ondarix {
namespace {

// Of the speaker layouts with 1 to 8 channels.
constexpr const char* kSides[] = {"0", "LR", "LR0", "LRLR", "LR0LR", "LR00LR", "LR000LR", "LR00LRLR"};

constexpr LParamRow<LMixSettings> kMixRows[] = {
    {"volume", "Volume", &LMixSettings::volumePercent, 0, 400, "%", "Volume"},
    {"pan", "Pan", &LMixSettings::panPercent, -100, 100, "%", "Pan"},
};

int64_t MixSum(int64_t a, int64_t b) {
    int64_t sum = 0;
    if (!__builtin_add_overflow(a, b, &sum)) return sum;
    return a < 0 ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
}

// An answer that comes later counts as success: the command is under way.
JobResult PasteMixNow(LSoundDocument& document, LEditHost& host, const LSound& clip) {
    LMixForm form;
    LoadForm(form, kMixSection);
    auto answer = std::make_shared<JobResult>(JobResult::kSuccess);
    MixClip(LSoundDocumentRef(&document), host, clip, form.params, QStringLiteral("Paste Mix"),
            [answer](JobResult result) { *answer = result; });
    return *answer;
}

}  // namespace

LMixSource::LMixSource(std::vector<LMixInput> inputs, LSoundFormat format, int64_t length)
    : LSoundSource(format.sampleRate, format.channels), length_(std::max<int64_t>(0, length)) {
    peak = 0;
    for (LMixInput& input : inputs) {
        if (input.source->error == kSourceEmpty) continue;
        LVoice voice;
        voice.source = ConvertToFormat(std::move(input.source), Format());
        if (voice.source->error != kSourceGood) error = kFilterSourceFailed;
        const int64_t there = std::max<int64_t>(0, voice.source->GetLength() - input.from);
        const int64_t taken = input.length < 0 ? there : std::min(there, input.length);
        voice.at = input.at;
        voice.from = input.from;
        voice.end = MixSum(input.at, taken);
        voice.gains = PanGains(channels, input.pan);
        for (float& gain : voice.gains) gain = static_cast<float>(gain * input.gain);
        peak += voice.source->peak * static_cast<float>(std::fabs(input.gain));
        voices_.push_back(std::move(voice));
    }
}

float* LMixSource::Read(float* dest, int32_t frames) {
    if (frames <= 0) return dest;
    float* const end = Silence(dest, frames);
    const int64_t inside = std::min<int64_t>(frames, length_ - std::min(position_, length_));
    for (LVoice& voice : voices_) Add(voice, dest, static_cast<int32_t>(inside));
    position_ += frames;
    return end;
}

void LMixSource::Add(LVoice& voice, float* dest, int32_t frames) {
    const int64_t start = std::max({position_, voice.at, int64_t{0}});
    const int64_t end = std::min(MixSum(position_, frames), voice.end);
    if (start >= end) return;
    const auto count = static_cast<int32_t>(end - start);
    const int64_t wanted = start - voice.at + voice.from;
    if (voice.source->GetPosition() != wanted) voice.source->Seek(wanted);
    block_.resize(static_cast<size_t>(count) * channels);
    voice.source->Read(block_.data(), count);
    float* to = dest + (start - position_) * channels;
    const float* from = block_.data();
    for (int32_t i = 0; i < count; ++i)
        for (const float gain : voice.gains) *to++ += *from++ * gain;
}

std::vector<float> PanGains(int channels, double pan) {
    std::vector<float> gains(static_cast<size_t>(std::max(channels, 0)), 1.0f);
    if (channels > static_cast<int>(std::size(kSides)) || channels < 1) return gains;
    const double inside = std::clamp(pan, -1.0, 1.0);
    for (size_t c = 0; c < gains.size(); ++c) {
        const char side = kSides[channels - 1][c];
        if (side == 'L') gains[c] = static_cast<float>(std::min(1.0, 1.0 - inside));
        if (side == 'R') gains[c] = static_cast<float>(std::min(1.0, 1.0 + inside));
    }
    return gains;
}

std::span<const LParamRow<LMixSettings>> LMixForm::Rows() { return kMixRows; }

LMixPlace PlaceOfMix(const LSoundDocument& document, const LSound& clip) {
    const LSelection range = document.EditRange();
    const LSoundFormat format = document.Edited().Format();
    const int64_t length =
        ConvertToFormat(MakeSource<LSoundReader>(clip), {format.sampleRate, clip.channels})->GetLength();
    if (clip.Length() == 0) return {range.start, 0};
    return {range.start, range.IsEmpty() ? length : std::min(length, range.Length())};
}

LSoundSourceRef BuildMix(const LSound& sound, LMixPlace place, const LSound& clip,
                         const LMixSettings& settings) {
    LSound under(sound.sampleRate, sound.channels);
    sound.CopyRange(place.start, place.start + place.length, under);
    std::vector<LMixInput> inputs(2);
    inputs[0].source = OpenForEffects(under);
    inputs[1].source = OpenForEffects(clip);
    inputs[1].gain = settings.volumePercent / 100.0;
    inputs[1].pan = settings.panPercent / 100.0;
    return LimitPeaks(MakeSource<LMixSource>(std::move(inputs), sound.Format(), place.length), kResultPeak);
}

void MixClip(const LSoundDocumentRef& document, LEditHost& host, const LSound& clip,
             const LMixSettings& settings, const QString& label, LApplied done) {
    if (!done) done = [](JobResult) {};
    const LMixPlace place = PlaceOfMix(*document, clip);
    const int64_t length = document->Edited().Length();
    if (place.length == 0 || !MayChange(*document, host)) return done(JobResult::kCancelled);
    const int64_t behind = MixSum(MixSum(place.start, place.length), -length);
    if (behind > 0 && !HasRoomFor(*document, behind, host)) return done(JobResult::kCancelled);
    const auto work = [place, length, settings, clip = CopyForJob(clip),
                       sound = CopyForJob(document->Edited())](LProgress& progress, LSplice& splice) {
        splice.start = place.start;
        splice.end = std::min(length, place.start + place.length);
        splice.selected = {place.start, place.start + place.length};
        return LSound::Render(splice.piece, progress, *BuildMix(sound, place, clip, settings),
                              QStringLiteral("Mixing the selected audio"));
    };
    RunSplice(document, host, QStringLiteral("Pasting Mix"), label, work, std::move(done));
}

void RegisterMixing() { gPasteMix = &PasteMixNow; }

}  // namespace ondarix
