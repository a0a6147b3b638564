// SPDX-License-Identifier: GPL-3.0-or-later
// Music under a voice: as long as the voice with what is heard before and behind it, quieter while somebody
// speaks.
#pragma once
#include "effects/mix.h"

namespace ondarix {

// Section PasteBackground. Levels in dB, kMinusInfinityDb for silence; times in ms.
struct LBackgroundSettings {
    enum LLeadIn : uint8_t { kNoLeadIn, kLeadInTime };
    enum LLeadOut : uint8_t { kNoLeadOut, kLeadOutTime, kTotalTime };
    enum LAdjust : uint8_t { kFadeOutAtTime, kAdjustLeadIn };

    bool fixedVolume = true;  // the music stands at volumeDb, otherwise at its own level
    LDbByte volumeDb{-6};
    bool duck = false;  // while the voice sounds, the music stands at duckDb
    LDbByte duckDb{-14};
    LChoiceByte leadIn{kNoLeadIn};  // kLeadInTime: the music begins leadInMs before the voice, at leadInDb
    int32_t leadInMs = 5000;
    LDbByte leadInDb{0};
    // kLeadOutTime: it goes on for leadOutMs behind the voice, at leadOutDb, and fades out. kTotalTime:
    // leadOutMs counts from the start of the whole, and leadOutAdjust says what follows.
    LChoiceByte leadOut{kNoLeadOut};
    int32_t leadOutMs = 5000;
    LDbByte leadOutDb{0};
    // kFadeOutAtTime: by then the music has faded out, under the voice or behind it. kAdjustLeadIn: the
    // lead-in becomes as long as is needed for everything to take that time, and ends with the voice.
    LChoiceByte leadOutAdjust{kFadeOutAtTime};
    bool operator==(const LBackgroundSettings&) const = default;
};
inline constexpr const char* kBackgroundSection = "PasteBackground";
class LBackgroundForm final : public LSettingsForm<LBackgroundForm, LBackgroundSettings> {
  public:
    static std::span<const LParamRow<LBackgroundSettings>> Rows();
    QString GetName() const override { return QStringLiteral("Background Music"); }
};

// How the settings work out for a voice, in frames of the result.
struct LBackgroundPlan {
    int64_t leadIn = 0;                  // the voice begins here
    int64_t voice = 0;                   // its length
    int64_t leadOut = 0;                 // frames behind it
    int64_t fadeStart = 0, fadeEnd = 0;  // of the music; nothing of it from fadeEnd on
    int64_t Length() const { return leadIn + voice + leadOut; }
};

inline constexpr const char* kLeadInTitle = "Start Lead In not applicable";
// False: they cannot be had together; `fault` is the message's text.
bool PlanBackground(int64_t voiceFrames, int32_t rate, const LBackgroundSettings& settings,
                    LBackgroundPlan& plan, QString& fault);

// What is heard and what is written: the voice as it is, and the music from the start to plan.fadeEnd,
// converted, and from its start again as often as it is shorter. The music is
//
//   fade * (lead * w + bed * (1 - w))
//
// with the bed's level going between its level in pauses and the one under the voice by LDuckFollower; w the
// weight of lead-in and lead-out, going in straight lines to 0 over the last second of the lead-in and up
// over the first of the lead-out (a quarter of it, when that is less); fade a straight line over 10 ms at the
// start and from plan.fadeStart to plan.fadeEnd.
LSoundSourceRef BuildBackgroundMix(const LSound& voice, const LSound& background, const LBackgroundPlan& plan,
                                   const LBackgroundSettings& settings);

// The selection, or everything, is the voice. One undo step `label` ("Mix with File", "Paste Background
// Music"); what comes of it is selected where something was. Marks go with the voice.
void MixBackground(const LSoundDocumentRef& document, LEditHost& host, const LSound& background,
                   const LBackgroundSettings& settings, const QString& label, LApplied done = {});

}  // namespace ondarix
