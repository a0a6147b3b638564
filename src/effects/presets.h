// SPDX-License-Identifier: GPL-3.0-or-later
// The user's own presets, kept in the settings under the effect's name:
//
//   EffectPresets\<effect>            PresetCount, and "0", "1"... the presets' names in their order
//   EffectPresets\<effect>\<preset>   Values: LEffect::PresetText
//
// Names keep the spelling in which they were saved; which one is meant does not depend on case. [any]
#pragma once
#include "effects/effect.h"

namespace ondarix {

enum class LPresetResult : uint8_t {
    kDone,
    kInvalidName,  // empty, blank, longer than 259 units, a backslash or control characters
    kBuiltInName,  // to save: one that the effect comes with
    kExists,       // to save without overwriting
    kNotYours,     // to delete: one that the effect comes with
    kUnknown,      // to load or delete: there is none, or its values are none of this effect's
    kFailed,       // the settings cannot be written
};

inline constexpr int kMostPresets = 1000;  // of one effect; more are kFailed

QStringList UserPresets(const LEffect& effect);
LPresetResult SaveUserPreset(const LEffect& effect, const QString& name, bool overwrite);
// `effect` unchanged unless kDone.
LPresetResult LoadUserPreset(LEffect& effect, const QString& name);
LPresetResult DeleteUserPreset(const LEffect& effect, const QString& name);
// By name, the built-in ones first, as lists show them: the command line's --preset.
LPresetResult LoadPreset(LEffect& effect, const QString& name);

// The same for what is no LEffect: a name of what the presets are of, the names that it comes with, and the
// values as one line.
struct LPresetOwner {
    QString name;
    QStringList builtIn;
};
LPresetOwner PresetOwner(const LEffect& effect);
QStringList UserPresets(const LPresetOwner& owner);
LPresetResult SavePresetText(const LPresetOwner& owner, const QString& name, const QString& values,
                             bool overwrite);
std::optional<QString> PresetTextOf(const LPresetOwner& owner, const QString& name);
LPresetResult DeleteUserPreset(const LPresetOwner& owner, const QString& name);

// What the user is told or asked; nothing for kDone.
struct LPresetMessage {
    QString title, text;
};
LPresetMessage PresetMessage(LPresetResult result, const LPresetOwner& owner, const QString& name);
QString DeletePresetQuestion(const QString& name);  // "Delete preset '%s'?"
inline constexpr const char* kPresetNameTitle = "Enter Preset Name";
inline constexpr const char* kOverwriteButton = "Overwrite";  // for kExists; the other one is "No"

}  // namespace ondarix
