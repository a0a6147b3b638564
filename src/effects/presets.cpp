// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/presets.h"

#include <algorithm>

#include "gen/settings.h"
#include "gen/text.h"

namespace ondarix {
namespace {

const QString kPresetCount = QStringLiteral("PresetCount");
const QString kPresetValues = QStringLiteral("Values");

QString OwnerSection(const LPresetOwner& owner) { return QStringLiteral("EffectPresets\\") + owner.name; }

QString PresetSection(const LPresetOwner& owner, const QString& name) {
    return OwnerSection(owner) + QLatin1Char('\\') + name;
}

// Letters of one look are one letter, however they were typed.
QString PlainName(const QString& name) { return name.trimmed().normalized(QString::NormalizationForm_C); }

bool MayNotStand(char32_t letter) {
    switch (QChar::category(letter)) {
        case QChar::Other_Control:
        case QChar::Separator_Line:
        case QChar::Separator_Paragraph:
            return true;
        case QChar::Other_Format:  // invisible, or turns the direction of what follows;
            return letter != 0x200C && letter != 0x200D;  // the two that join letters belong to words
        default:
            return letter == U'\\';  // parts the sections of the settings
    }
}

bool IsPresetName(const QString& plain) {
    if (plain.isEmpty() || plain.size() > kFixedTextLength || !plain.isValidUtf16()) return false;
    const QList<uint> letters = plain.toUcs4();
    return std::none_of(letters.begin(), letters.end(), [](uint letter) { return MayNotStand(letter); });
}

// -1: none.
qsizetype FindName(const QStringList& names, const QString& plain) {
    for (qsizetype i = 0; i < names.size(); ++i)
        if (PlainName(names[i]).compare(plain, Qt::CaseInsensitive) == 0) return i;
    return -1;
}

// The list as it is to be; entries behind it that were there before go.
bool WriteNames(const LPresetOwner& owner, const QStringList& names) {
    const QString section = OwnerSection(owner);
    const int before = std::clamp(GetSettingInt(section, kPresetCount, 0), 0, kMostPresets);
    bool written = true;
    for (int i = 0; i < names.size(); ++i)
        written = SetSettingString(section, QString::number(i), names[i]) && written;
    written = written && SetSettingInt(static_cast<int32_t>(names.size()), section, kPresetCount);
    for (int i = static_cast<int>(names.size()); written && i < before; ++i)
        DeleteSetting(section, QString::number(i));
    return written;
}

}  // namespace

LPresetOwner PresetOwner(const LEffect& effect) {
    LPresetOwner owner{effect.GetName(), {}};
    for (int i = 0; i < effect.GetPresetCount(); ++i) owner.builtIn += effect.GetPresetName(i);
    return owner;
}

QStringList UserPresets(const LPresetOwner& owner) {
    const QString section = OwnerSection(owner);
    const int count = std::clamp(GetSettingInt(section, kPresetCount, 0), 0, kMostPresets);
    QStringList names;
    for (int i = 0; i < count; ++i) {
        const QString name = GetSettingString(section, QString::number(i), {});
        if (IsPresetName(PlainName(name)) && FindName(names, PlainName(name)) < 0) names += name;
    }
    return names;
}

LPresetResult SavePresetText(const LPresetOwner& owner, const QString& name, const QString& values,
                             bool overwrite) {
    const QString plain = PlainName(name);
    if (!IsPresetName(plain)) return LPresetResult::kInvalidName;
    if (FindName(owner.builtIn, plain) >= 0) return LPresetResult::kBuiltInName;
    QStringList names = UserPresets(owner);
    const qsizetype found = FindName(names, plain);
    if (found >= 0 && !overwrite) return LPresetResult::kExists;
    if (found < 0 && names.size() >= kMostPresets) return LPresetResult::kFailed;
    // Values before the name: what is listed can be loaded.
    if (!SetSettingString(PresetSection(owner, found >= 0 ? names[found] : plain), kPresetValues, values))
        return LPresetResult::kFailed;
    if (found >= 0) return LPresetResult::kDone;
    names += plain;
    return WriteNames(owner, names) ? LPresetResult::kDone : LPresetResult::kFailed;
}

std::optional<QString> PresetTextOf(const LPresetOwner& owner, const QString& name) {
    const QStringList names = UserPresets(owner);
    const qsizetype found = FindName(names, PlainName(name));
    if (found < 0) return std::nullopt;
    return GetSettingLongString(SettingsKeyPath(PresetSection(owner, names[found])), kPresetValues);
}

LPresetResult DeleteUserPreset(const LPresetOwner& owner, const QString& name) {
    const QString plain = PlainName(name);
    QStringList names = UserPresets(owner);
    const qsizetype found = FindName(names, plain);
    if (found < 0)
        return FindName(owner.builtIn, plain) >= 0 ? LPresetResult::kNotYours : LPresetResult::kUnknown;
    const QString section = PresetSection(owner, names[found]);
    names.removeAt(found);
    if (!WriteNames(owner, names)) return LPresetResult::kFailed;
    DeleteSetting(section, kPresetValues);
    return LPresetResult::kDone;
}

QStringList UserPresets(const LEffect& effect) { return UserPresets(PresetOwner(effect)); }

LPresetResult SaveUserPreset(const LEffect& effect, const QString& name, bool overwrite) {
    return SavePresetText(PresetOwner(effect), name, effect.PresetText(), overwrite);
}

LPresetResult LoadUserPreset(LEffect& effect, const QString& name) {
    const std::optional<QString> values = PresetTextOf(PresetOwner(effect), name);
    return values && effect.SetPresetText(*values) ? LPresetResult::kDone : LPresetResult::kUnknown;
}

LPresetResult DeleteUserPreset(const LEffect& effect, const QString& name) {
    return DeleteUserPreset(PresetOwner(effect), name);
}

LPresetResult LoadPreset(LEffect& effect, const QString& name) {
    const qsizetype builtIn = FindName(PresetOwner(effect).builtIn, PlainName(name));
    if (builtIn < 0) return LoadUserPreset(effect, name);
    effect.SetPreset(static_cast<int>(builtIn));
    return LPresetResult::kDone;
}

LPresetMessage PresetMessage(LPresetResult result, const LPresetOwner& owner, const QString& name) {
    const QString invalid = QStringLiteral("Invalid Preset Name");
    const QString plain = PlainName(name);
    switch (result) {
        case LPresetResult::kDone:
            return {};
        case LPresetResult::kInvalidName:
            return {invalid, QStringLiteral("Please enter a name of at most %1 characters, without a "
                                            "backslash or invisible characters.")
                                 .arg(kFixedTextLength)};
        case LPresetResult::kBuiltInName:
            return {invalid, QStringLiteral("You are not allowed to have a user preset name '%1' same as "
                                            "%2's given preset name")
                                 .arg(plain, owner.name)};
        case LPresetResult::kExists:
            return {QStringLiteral("Preset Already Exists"),
                    QStringLiteral("'%1'  already exists. Do you want to overwrite it?").arg(plain)};
        case LPresetResult::kNotYours:
            return {QStringLiteral("Delete Not Permitted"),
                    QStringLiteral("You can't delete the '%1' Preset. You are only allowed to delete the "
                                   "user-defined presets.")
                        .arg(plain)};
        case LPresetResult::kUnknown:
            return {invalid, QStringLiteral("There is no preset '%1'.").arg(plain)};
        case LPresetResult::kFailed:
            break;
    }
    return {QStringLiteral("Save Preset"), QStringLiteral("The presets cannot be written.")};
}

QString DeletePresetQuestion(const QString& name) { return QStringLiteral("Delete preset '%1'?").arg(name); }

}  // namespace ondarix
