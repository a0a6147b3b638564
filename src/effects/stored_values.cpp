// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/stored_values.h"

#include <algorithm>
#include <cmath>

#include "gen/settings.h"

namespace ondarix {
namespace {

const QString kRecentSection = QStringLiteral("Settings");

QString SettingOf(const LEffectParam& param) { return param.setting.isEmpty() ? param.id : param.setting; }

double LinearOf(double db) { return std::pow(10.0, db / 20); }
double DbOf(double linear) { return 20 * std::log10(linear); }

double GetStored(const LEffectParam& param, const QString& section) {
    const QString name = SettingOf(param);
    switch (param.type) {
        case LParamType::kBool:
            return GetSettingBool(section, name, param.value != 0) ? 1 : 0;
        case LParamType::kDouble:
            if (param.isStoredLinear) return DbOf(GetSettingDouble(section, name, LinearOf(param.value)));
            return GetSettingDouble(section, name, param.value);
        case LParamType::kInt64:
            return GetSettingDouble(section, name, param.value);
        default:
            return GetSettingInt(section, name, static_cast<int32_t>(param.value));
    }
}

bool SetStored(const LEffectParam& param, const QString& section) {
    const QString name = SettingOf(param);
    switch (param.type) {
        case LParamType::kBool:
            return SetSettingBool(section, name, param.value != 0);
        case LParamType::kDouble:
            return SetSettingDouble(section, name,
                                    param.isStoredLinear ? LinearOf(param.value) : param.value);
        default:
            return SetSettingString(section, name, QString::number(std::llround(param.value)));
    }
}

QString RecentName(int index) { return QStringLiteral("RecentEffect%1").arg(index); }

}  // namespace

void LoadStoredValues(LEffect& effect, const LEffectRow& row) {
    if (!*row.section) return;
    LEffectParam param;
    for (int i = 0; i < effect.GetParameterCount(); ++i)
        if (effect.GetParameterInfo(i, param))
            effect.SetParameter(i, GetStored(param, QLatin1String(row.section)));
}

bool SaveStoredValues(const LEffect& effect, const LEffectRow& row) {
    if (!*row.section) return true;
    bool written = true;
    LEffectParam param;
    for (int i = 0; i < effect.GetParameterCount(); ++i)
        if (effect.GetParameterInfo(i, param))
            written = SetStored(param, QLatin1String(row.section)) && written;
    return written;
}

void RememberEffect(const QString& id) {
    const LEffectRow* const row = FindEffect(id);
    if (!row) return;
    QStringList ids = RecentEffects();
    ids.removeAll(QLatin1String(row->id));
    ids.prepend(QLatin1String(row->id));
    for (int i = 0; i < std::min<int>(kRecentEffects, static_cast<int>(ids.size())); ++i)
        SetSettingString(kRecentSection, RecentName(i), ids[i]);
}

QStringList RecentEffects() {
    QStringList ids;
    for (int i = 0; i < kRecentEffects; ++i) {
        const LEffectRow* const row = FindEffect(GetSettingString(kRecentSection, RecentName(i), {}));
        if (row && !ids.contains(QLatin1String(row->id))) ids += QLatin1String(row->id);
    }
    return ids;
}

}  // namespace ondarix
