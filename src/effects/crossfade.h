// SPDX-License-Identifier: GPL-3.0-or-later
// Two clips joined by a fade: the first one's end fades out while the second one's beginning fades in.
#pragma once
#include <utility>
#include <vector>

#include "dsp/envelope.h"
#include "effects/apply.h"
#include "effects/mix_form.h"

namespace ondarix {

// Section CrossFade. Times in ms.
struct LCrossfadeSettings {
    int32_t fadeOutMs = 1000, fadeInMs = 1000;
    int32_t gapMs = -1000;  // silence from the end of one to the start of the other; negative: they overlap
    LChoiceByte fadeOutCurve{3}, fadeInCurve{3};  // LCurve
    // Of two clips: where the fade-out begins in the first, which is cut where it ends, and what the second
    // is cut before. -1: the fade-out ends with the clip; nothing is cut.
    int32_t fadeOutStartMs = -1, fadeInStartMs = -1;
    bool beatMatch = false, phaseMatch = false;
    bool operator==(const LCrossfadeSettings&) const = default;
};
inline constexpr const char* kCrossfadeSection = "CrossFade";
inline constexpr const char* kCrossfadePresets = "Crossfade";  // under EffectPresets
class LCrossfadeForm final : public LSettingsForm<LCrossfadeForm, LCrossfadeSettings> {
  public:
    static std::span<const LParamRow<LCrossfadeSettings>> Rows();
    QString GetName() const override { return QLatin1String(kCrossfadePresets); }
};

// What the dialog offers beside the values themselves.
void MirrorFadeIn(LCrossfadeSettings& settings);   // the fade-out takes length and type of the fade-in
void MirrorFadeOut(LCrossfadeSettings& settings);  // the fade-in those of the fade-out
// Both as long as the longer one, over each other for that time, with the curves whose powers add up to 1: as
// loud as each other in the middle of the overlap.
void SmoothAtCenter(LCrossfadeSettings& settings);
LCrossfadeSettings LastCrossfade();
bool StoreCrossfade(const LCrossfadeSettings& settings);

// The settings fitted to two clips, or to one as a loop, in frames.
struct LCrossfadePlan {
    int64_t outEnd = 0;   // the first clip is cut here
    int64_t inStart = 0;  // the second one before here
    int64_t gap = 0;      // from outEnd to where inStart comes
    int64_t fadeOut = 0, fadeIn = 0;
    int64_t mostOverlap = 0;  // that the clips allow
    LCurve fadeOutCurve = LCurve::kSinusoidal, fadeInCurve = LCurve::kSinusoidal;

    int64_t Overlap() const { return gap < 0 ? -gap : 0; }
    int64_t InAt() const { return outEnd + gap; }  // frame of the result where inStart comes
    // Of the result, which counts as the first clip does: where anything is faded.
    int64_t ZoneStart() const;
    int64_t ZoneEnd() const;
    // The overlap less by so much, and fades that were as long as the overlap with it.
    void Shift(int64_t frames);
};
// Fades and overlap are no longer than the clips, whose lengths count at one rate.
LCrossfadePlan PlanCrossfade(int64_t firstFrames, int64_t secondFrames, int32_t rate,
                             const LCrossfadeSettings& settings);
// For one clip whose end runs into its own beginning: fades and overlap are half of it at most.
LCrossfadePlan PlanLoop(int64_t frames, int32_t rate, const LCrossfadeSettings& settings);
// Moves the start of the second clip as BeatMatch and PhaseMatch ask: first the beat, then the phase. Both
// sources have one format. Nothing without an overlap.
void MatchClips(LSoundSource& first, LSoundSource& second, const LCrossfadeSettings& settings,
                LCrossfadePlan& plan);

// A stretch of the result, in order: samples of a clip as they are, or what is faded.
struct LFadePart {
    LSoundSourceRef source;  // exactly `length` frames; of what is faded: limited
    int64_t length = 0;
    const char* phase = nullptr;  // what progress tells while it is rendered; null: nothing is faded
    LSound kept;                  // then; where the clip needed no conversion
};
// `second` is converted while it is read.
std::vector<LFadePart> CrossfadeParts(const LSound& first, const LSound& second, const LCrossfadePlan& plan);
std::vector<LFadePart> LoopParts(const LSound& loop, const LCrossfadePlan& plan);
// The parts in a row: what is heard and what is written.
LSoundSourceRef JoinParts(const std::vector<LFadePart>& parts, LSoundFormat format);

// For dialogs: the whole result of a crossfade to another clip, which is converted, and of a loop.
LSoundSourceRef BuildCrossfade(const LSound& first, const LSound& second, const LCrossfadeSettings& settings,
                               LCrossfadePlan* plan = nullptr);
LSoundSourceRef BuildLoop(const LSound& loop, const LCrossfadeSettings& settings,
                          LCrossfadePlan* plan = nullptr);
// The two clips of a crossfade on a selection: its halves, so that the cut to be smoothed is in the middle.
std::pair<LSound, LSound> HalvesOf(const LSound& sound, LSelection range);

// --- The commands; each one undo step. `done` as for ApplyEffects.

// The halves of the selection are laid over each other: what follows moves forward by the overlap. Marks in
// the first half stay, those behind it go with the sound. kCancelled without a selection of two frames.
void CrossfadeSelection(const LSoundDocumentRef& document, LEditHost& host,
                        const LCrossfadeSettings& settings, LApplied done = {});
// `other` behind the document's sound. What is faded is selected afterwards.
void CrossfadeToClip(const LSoundDocumentRef& document, LEditHost& host, const LSound& other,
                     const LCrossfadeSettings& settings, LApplied done = {});
// The selection, or everything, shorter by the overlap: its end runs into what follows its beginning.
void CrossfadeLoop(const LSoundDocumentRef& document, LEditHost& host, const LCrossfadeSettings& settings,
                   LApplied done = {});

}  // namespace ondarix
