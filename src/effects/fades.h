// SPDX-License-Identifier: GPL-3.0-or-later
// Envelopes of two points over a whole sound, and the commands that fade a part of a document.
#pragma once
#include "effects/apply.h"
#include "effects/param_table.h"

namespace ondarix {

struct LFadeParams {
    LChoiceByte type;  // LCurve
    bool operator==(const LFadeParams&) const = default;
};

class LFadeInEffect final : public LTableEffect<LFadeInEffect, LFadeParams> {
  public:
    static std::span<const LParamRow<LFadeParams>> Rows();
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override;
    QString GetName() const override { return QStringLiteral("Fade In"); }
    int32_t GetType() const override { return 0; }
};

class LFadeOutEffect final : public LTableEffect<LFadeOutEffect, LFadeParams> {
  public:
    static std::span<const LParamRow<LFadeParams>> Rows();
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override;
    QString GetName() const override { return QStringLiteral("Fade Out"); }
    int32_t GetType() const override { return 0; }
};

inline constexpr const char* kFadeInAndTrimName = "Fade In and Trim";
inline constexpr const char* kFadeOutAndTrimName = "Fade Out and Trim";
inline constexpr const char* kFadeInClipStartName = "Fade In Clip Start";
inline constexpr const char* kFadeOutClipEndName = "Fade Out Clip End";
inline constexpr const char* kClipFadeText = "Enter the duration and the start time of the fade.";
inline constexpr const char* kNoFadeDurationText = "Fade duration should not be 0.";

// The following are jobs as ApplyEffects is one; `type` is an LCurve. Marks move with the sound.

// Over the selection, otherwise over everything; then what lies before (behind) it is cut. One undo step.
void FadeInAndTrim(const LSoundDocumentRef& document, LEditHost& host, uint8_t type, LApplied done = {});
void FadeOutAndTrim(const LSoundDocumentRef& document, LEditHost& host, uint8_t type, LApplied done = {});

struct LClipFade {
    int64_t start = -1;    // frame; -1: a fade in begins with the clip, a fade out ends with it
    int64_t duration = 0;  // frames, cut at the end of the clip; 0 is refused with kNoFadeDurationText
    uint8_t type = 0;      // LCurve
};
// Whatever is selected, which stays: what comes before a fade in, and behind a fade out, is silent.
// kCancelled where the start lies behind the end of the clip.
void FadeInClipStart(const LSoundDocumentRef& document, LEditHost& host, const LClipFade& fade,
                     LApplied done = {});
void FadeOutClipEnd(const LSoundDocumentRef& document, LEditHost& host, const LClipFade& fade,
                    LApplied done = {});

}  // namespace ondarix
