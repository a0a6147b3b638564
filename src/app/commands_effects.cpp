// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/commands.h"

namespace ondarix {
namespace effects_rows {

using enum LNeed;
constexpr LMenuId kIn = LMenuId::kEffects;
constexpr LSubsystem kSub = LSubsystem::kEffects;

constexpr LCommandRow kEffectRows[] = {
    {4001, kIn, 0, "&Amplify...", "", "", kContent, kInContext, kSub},
    {4005, kIn, 0, "Re&verb...", "", "", kContent, kPlain, kSub},
    {4006, kIn, 0, "Fade &In...", "", "Alt+I", kContent, kInContext, kSub},
    {4007, kIn, 0, "Fade &Out...", "", "Alt+O", kContent, kInContext, kSub},
    {4009, kIn, 0, "Automatic Gain Control (Quick)", "", "", kContent, kSeparatorBefore, kSub},
    {4060, kIn, 0, "Automatic Gain Control (Advanced)...", "", "", kContent, kPlain, kSub},
    {kCmdHeading, kIn, 0, "&Cleanup", "", "", kNothing, kPlain, kSub},
    {4010, kIn, 1, "Multi-band Noise Gating... (faster speed, average quality)", "", "", kContent, kPlain,
     kSub},
    {4011, kIn, 1, "High-Pass Filter...", "", "", kContent, kPlain, kSub},
    {4045, kIn, 1, "Low-Pass Filter...", "", "", kContent, kPlain, kSub},
    {4018, kIn, 1, "DC Offset Correction", "", "", kContent, kPlain, kSub},
    {4024, kIn, 1, "Auto Spectral Subtraction... (slower speed, best quality)", "", "", kContent, kPlain,
     kSub},
    {4026, kIn, 1, "Grab Noise Sample from Selected Area for Spectral Subtraction", "", "", kSelection,
     kPlain, kSub},
    {4027, kIn, 1, "Spectral Subtraction based on Noise Sample", "", "", kContent, kPlain, kSub},
    {4028, kIn, 0, "&Effect Chain...", "", "", kContent, kPlain, kSub},
    {4043, kIn, 1, "Silence Gaps with Noise Gates...", "", "", kContent, kPlain, kSub},
    {4046, kIn, 1, "Noise Removal Wizard...", "", "", kContent, kPlain, kSub},
    {4047, kIn, 1, "De-esser...", "", "", kContent, kPlain, kSub},
    {4057, kIn, 0, "Channel Swap", "", "", kContent, kSeparatorBefore, kSub},
    {4058, kIn, 0, "L/R Channel Phase Inversion", "", "", kContent, kPlain, kSub},
    {4061, kIn, 0, "Reduce Reverb", "", "", kContent, kPlain, kSub},
    {4067, kIn, 0, "Noise Gate...", "", "", kContent, kPlain, kSub},
};

}  // namespace effects_rows

std::span<const LCommandRow> EffectCommandRows() { return effects_rows::kEffectRows; }

}  // namespace ondarix
