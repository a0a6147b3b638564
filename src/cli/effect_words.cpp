// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/effect_words.h"

#include <QLocale>
#include <algorithm>

#include "effects/presets.h"

namespace ondarix {
namespace {

// Numbers of channels for which the parameters of an effect may be others, the usual one first.
constexpr uint8_t kLayouts[] = {2, 1, 6, 8, 4, 3, 5, 7, 255};
constexpr int32_t kTrialRate = 44100;

bool Is(const QString& word, const LOptionRow& option) { return word == QLatin1String(option.name); }

// The word behind the option at `index`, which is gone past.
QString TakeValue(const QStringList& words, qsizetype& index, QString& error) {
    const QString& option = words[index];
    QString value = ++index < words.size() ? words[index] : QString();
    if (value.isEmpty()) error = QString("%1 needs a value").arg(option);
    return value;
}

QString TakeAssignment(const QString& word, LEffectWords& effect) {
    const QString id = effect.row->id;
    const qsizetype sign = word.indexOf('=');
    if (sign < 0 && FindEffect(word))
        return QString("%1: another effect follows behind --then, not \"%2\" alone").arg(id, word);
    if (sign < 1) return QString("%1: \"%2\" is not NAME=VALUE").arg(id, word);
    const QString name = word.first(sign);
    for (const auto& [before, value] : effect.values) {
        if (before.compare(name, Qt::CaseInsensitive) == 0)
            return QString("%1: %2 is given twice").arg(id, name);
    }
    if (sign + 1 == word.size()) return QString("%1: %2= needs a value").arg(id, name);
    effect.values.emplace_back(name, word.sliced(sign + 1));
    return {};
}

// Of a word behind the name of an effect, or behind a chain.
QString TakeWord(const QStringList& words, qsizetype& index, LEffectWords& effect) {
    QString error;
    const QString& word = words[index];
    if (!effect.row) return QString("\"%1\" cannot follow a chain; --then can").arg(word);
    if (!Is(word, kPresetOption)) return TakeAssignment(word, effect);
    if (!effect.preset.isEmpty()) return QString("%1: --preset is given twice").arg(effect.row->id);
    effect.preset = TakeValue(words, index, error);
    return error.isEmpty() ? error : QString("%1: %2").arg(effect.row->id, error);
}

QString TakeEffect(const QStringList& words, qsizetype& index, LEffectWords& effect) {
    QString error;
    if (Is(words[index], kChainOption)) {
        effect.chain = TakeValue(words, index, error);
        return error;
    }
    for (const LOptionRow& option : {kThenOption, kPresetOption}) {
        if (Is(words[index], option))
            return QString("%1 must stand behind an effect").arg(QLatin1String(option.name));
    }
    effect.row = FindEffect(words[index]);
    if (effect.row) return {};
    return QString("there is no effect \"%1\" (see: ondarix-cli effects)").arg(words[index]);
}

QStringList ParameterIds(const LEffect& effect) {
    QStringList ids;
    LEffectParam param;
    for (int i = 0; i < effect.GetParameterCount(); ++i)
        if (effect.GetParameterInfo(i, param)) ids += param.id;
    return ids;
}

// Times in seconds are understood where the parameter counts milliseconds.
QString InMilliseconds(const LEffect& effect, const QString& name, const QString& value) {
    if (!value.endsWith('s', Qt::CaseInsensitive) || value.endsWith("ms", Qt::CaseInsensitive)) return value;
    LEffectParam param;
    for (int i = 0; i < effect.GetParameterCount(); ++i) {
        if (!effect.GetParameterInfo(i, param) || param.id.compare(name, Qt::CaseInsensitive) != 0) continue;
        bool isNumber = false;
        const double seconds = QLocale::c().toDouble(value.chopped(1), &isNumber);
        if (isNumber && param.unit == "ms") return QLocale::c().toString(seconds * 1000, 'g', 12);
    }
    return value;
}

QString UsePreset(LEffect& effect, const QString& name) {
    if (LoadPreset(effect, name) == LPresetResult::kDone) return {};
    const QStringList names = PresetNames(effect);
    if (names.isEmpty()) return QString("there is no preset \"%1\": there are none").arg(name);
    return QString("there is no preset \"%1\"; there are %2").arg(name, names.join(", "));
}

}  // namespace

std::vector<LEffectWords> ParseEffectWords(const QStringList& words, QString& error) {
    std::vector<LEffectWords> effects;
    bool begins = true;
    for (qsizetype index = 0; index < words.size() && error.isEmpty(); ++index) {
        const bool isThen = Is(words[index], kThenOption);
        if (begins || Is(words[index], kChainOption)) {
            effects.emplace_back();
            error = TakeEffect(words, index, effects.back());
            begins = false;
        } else if (isThen) {
            begins = true;
        } else {
            error = TakeWord(words, index, effects.back());
        }
    }
    if (error.isEmpty() && effects.empty()) error = "no effect is given (see: ondarix-cli effects)";
    if (error.isEmpty() && begins) error = "an effect must follow --then";
    return effects;
}

bool FollowsFormat(const LEffect& effect) {
    const auto ids = [&](uint8_t channels) {
        const std::unique_ptr<LEffect> copy = effect.Clone();
        copy->SetFormat({kTrialRate, channels});
        return ParameterIds(*copy);
    };
    const QStringList first = ids(kLayouts[0]);
    return std::any_of(std::begin(kLayouts) + 1, std::end(kLayouts),
                       [&](uint8_t channels) { return ids(channels) != first; });
}

std::unique_ptr<LEffect> BuildEffect(const LEffectWords& words, LSoundFormat format, QString& error) {
    std::unique_ptr<LEffect> effect = words.row->make();
    effect->SetFormat(format);
    if (!words.preset.isEmpty()) error = UsePreset(*effect, words.preset);
    for (const auto& [name, value] : words.values) {
        if (!error.isEmpty()) break;
        error = effect->SetOption(name, InMilliseconds(*effect, name, value));
    }
    if (error.isEmpty()) return effect;
    error = QString("%1: %2").arg(QLatin1String(words.row->id), error);
    return nullptr;
}

std::unique_ptr<LEffect> BuildForAnyLayout(const LEffectWords& words, QString& error) {
    QString first;
    for (const uint8_t channels : kLayouts) {
        QString fault;
        if (auto effect = BuildEffect(words, {kTrialRate, channels}, fault)) return effect;
        if (first.isEmpty()) first = fault;
    }
    error = first;
    return nullptr;
}

QStringList PresetNames(const LEffect& effect) { return PresetOwner(effect).builtIn + UserPresets(effect); }

QJsonValue ParamToJson(const LEffectParam& param, double value) {
    if (param.type == LParamType::kBool) return value != 0;
    if (param.type == LParamType::kChoice) return ParamText(param, value);
    if (param.type == LParamType::kDb && value <= kMinusInfinityDb) return QJsonValue::Null;
    return value;
}

QJsonValue OptionToJson(const LEffectOption& option) {
    bool isNumber = false;
    const double number = QLocale::c().toDouble(option.value, &isNumber);
    return isNumber ? QJsonValue(number) : QJsonValue(option.value);
}

QJsonObject ValuesToJson(const LEffect& effect) {
    QJsonObject values;
    LEffectParam param;
    for (int i = 0; i < effect.GetParameterCount(); ++i)
        if (effect.GetParameterInfo(i, param)) values[param.id] = ParamToJson(param, param.value);
    for (const LEffectOption& option : effect.GetOptions())
        if (!option.value.isEmpty()) values[option.id] = OptionToJson(option);
    return values;
}

QString ValuesText(const LEffect& effect, const LEffect* basis) {
    QStringList values;
    LEffectParam param, before;
    for (int i = 0; i < effect.GetParameterCount(); ++i) {
        if (!effect.GetParameterInfo(i, param)) continue;
        if (basis && basis->GetParameterInfo(i, before) && before.value == param.value) continue;
        QString value = ParamText(param, param.value);
        if (param.choices.isEmpty()) value.remove(' ');
        if (value.contains(' ')) value = '"' + value + '"';
        values += param.id + '=' + value;
    }
    const auto given = [](const LEffect& one) {
        QStringList words;
        for (const LEffectOption& option : one.GetOptions())
            if (!option.value.isEmpty()) words += option.id + '=' + option.value;
        return words;
    };
    const QStringList known = basis ? given(*basis) : QStringList();
    for (const QString& word : given(effect))
        if (!known.contains(word)) values += word;
    return values.join(' ');
}

QJsonObject EffectToJson(const LEffect& effect) {
    QJsonObject json{{"id", EffectId(effect)},    {"name", effect.GetName()},
                     {"type", effect.GetType()},  {"on", effect.enabled && effect.bypass == 0},
                     {"enabled", effect.enabled}, {"bypassed", effect.bypass != 0}};
    if (IsUnknown(effect))
        json["unknown"] = true;
    else
        json["values"] = ValuesToJson(effect);
    return json;
}

bool IsUnknown(const LEffect& effect) { return dynamic_cast<const LUnknownEffect*>(&effect) != nullptr; }

QString EffectId(const LEffect& effect) {
    for (const LEffectRow& row : EffectTable()) {
        if (!row.make) continue;
        const bool same = effect.GetType() != 0 ? row.type == effect.GetType()
                                                : row.type == 0 && effect.GetName() == row.name;
        if (same) return row.id;
    }
    return QString("type-%1").arg(effect.GetType());
}

}  // namespace ondarix
