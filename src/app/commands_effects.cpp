// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/commands.h"

namespace ondarix {
namespace effects_rows {

using enum LNeed;
using enum LSubsystem;
constexpr LMenuId kIn = LMenuId::kEffects;
constexpr uint16_t kTool = kInToolbar;

constexpr LCommandRow kEffectRows[] = {
    {kCmdAmplify, kIn, 0, "&Amplify...", "amplify", "", kContent, kTool | kInContext | kInPanel, kEffects},
    {kCmdNormalize, kIn, 0, "&Normalize...", "normalize", "", kContent, kTool | kInPanel, kEffects},
    {kCmdAutoNormalize, kIn, 0, "A&uto Normalize", "", "", kContent, kPlain, kEffects},
    {kCmdAmplifyChannels, kIn, 0, "Amplify Advanced (&Separate Channels)...", "", "", kContent, kPlain,
     kEffects},
    {kCmdHeading, kIn, 0, "&Fade", "", "", kNothing, kPlain, kEffects},
    {kCmdFadeIn, kIn, 1, "Fade &In...", "fadein", "Alt+I", kContent, kTool | kInContext | kInPanel, kEffects},
    {kCmdFadeOut, kIn, 1, "Fade &Out...", "fadeout", "Alt+O", kContent, kTool | kInContext | kInPanel,
     kEffects},
    {kCmdFadeInTrim, kIn, 1, "Fade In and &Trim...", "", "", kContent, kSeparatorBefore, kEffects},
    {kCmdFadeOutTrim, kIn, 1, "Fade Out and T&rim...", "", "", kContent, kPlain, kEffects},
    {kCmdFadeInClip, kIn, 1, "Fade In Clip &Start...", "", "", kContent, kPlain, kEffects},
    {kCmdFadeOutClip, kIn, 1, "Fade Out Clip &End...", "", "", kContent, kPlain, kEffects},
    {kCmdEnvelope, kIn, 0, "&Envelope...", "", "", kContent, kPlain, kEnvelopes},
    {kCmdHeading, kIn, 0, "Cr&ossfade", "", "", kNothing, kPlain, kCrossfades},
    {kCmdCrossfade, kIn, 1, "&Crossfade...", "", "", kContent, kPlain, kCrossfades},
    {kCmdCrossfadeOther, kIn, 1, "Crossfade to &Other Clip...", "", "", kContent, kPlain, kCrossfades},
    {kCmdCrossfadeLoop, kIn, 1, "Crossfade &Loop...", "", "", kContent, kPlain, kCrossfades},
    {kCmdReverse, kIn, 0, "&Reverse", "reverse", "", kContent, kTool | kSeparatorBefore, kEffects},
    {kCmdMute, kIn, 0, "&Mute", "mute", "", kContent, kPlain, kEffects},
    {kCmdDcOffset, kIn, 0, "&DC Offset Correction", "", "", kContent, kPlain, kEffects},
    {kCmdHeading, kIn, 0, "C&hannels", "", "", kNothing, kPlain, kEffects},
    {kCmdChannelSwap, kIn, 1, "Channel &Swap", "", "", kContent, kPlain, kEffects},
    {kCmdPhaseInversion, kIn, 1, "L/R Channel &Phase Inversion", "", "", kContent, kPlain, kEffects},
    {4005, kIn, 0, "Re&verb...", "", "", kContent, kSeparatorBefore, kDelayEffects},
    {4009, kIn, 0, "Automatic Gain Control (Quick)", "", "", kContent, kSeparatorBefore, kDynamics},
    {4060, kIn, 0, "Automatic Gain Control (Advanced)...", "", "", kContent, kPlain, kDynamics},
    {4011, kIn, 0, "High-Pass Filter...", "", "", kContent, kSeparatorBefore, kFilterEffects},
    {4045, kIn, 0, "Low-Pass Filter...", "", "", kContent, kPlain, kFilterEffects},
    {kCmdHeading, kIn, 0, "C&leanup", "", "", kNothing, kPlain, kCleanup},
    {4010, kIn, 1, "Multi-band Noise Gating... (faster speed, average quality)", "", "", kContent, kPlain,
     kCleanup},
    {4024, kIn, 1, "Auto Spectral Subtraction... (slower speed, best quality)", "", "", kContent, kPlain,
     kCleanup},
    {4026, kIn, 1, "Grab Noise Sample from Selected Area for Spectral Subtraction", "", "", kSelection,
     kPlain, kCleanup},
    {4027, kIn, 1, "Spectral Subtraction based on Noise Sample", "", "", kContent, kPlain, kCleanup},
    {4043, kIn, 1, "Silence Gaps with Noise Gates...", "", "", kContent, kPlain, kCleanup},
    {4046, kIn, 1, "Noise Removal Wizard...", "", "", kContent, kPlain, kCleanup},
    {4047, kIn, 1, "De-esser...", "", "", kContent, kPlain, kCleanup},
    {4061, kIn, 1, "Reduce Reverb", "", "", kContent, kPlain, kCleanup},
    {4067, kIn, 0, "Noise Gate...", "", "", kContent, kPlain, kDynamics},
    {kCmdEffectChain, kIn, 0, "Effect &Chain...", "", "", kNothing, kSeparatorBefore, kEffectChains},
    {kCmdApplyChain, kIn, 0, "A&pply Effect Chain...", "", "", kContent, kPlain, kEffectChains},
};

}  // namespace effects_rows

std::span<const LCommandRow> EffectCommandRows() { return effects_rows::kEffectRows; }

}  // namespace ondarix
