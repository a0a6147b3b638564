// SPDX-License-Identifier: GPL-3.0-or-later
#include <QJsonArray>
#include <algorithm>

#include "cli/effect_words.h"
#include "cli/terminal.h"
#include "effects/presets.h"

namespace ondarix {
namespace {

// Effects whose parameters follow the channels are shown as they are for stereo.
constexpr LSoundFormat kShownFormat = {44100, 2};

const char* TypeName(LParamType type) {
    switch (type) {
        case LParamType::kChoice:
            return "choice";
        case LParamType::kDouble:
            return "number";
        case LParamType::kDb:
            return "level";
        case LParamType::kBool:
            return "switch";
        default:
            return "integer";
    }
}

QJsonObject ParameterToJson(const LEffectParam& param) {
    QJsonObject json{{"id", param.id},
                     {"name", param.name},
                     {"type", TypeName(param.type)},
                     {"default", ParamToJson(param, param.value)}};
    if (!param.unit.isEmpty()) json["unit"] = param.unit;
    if (!param.choices.isEmpty()) json["choices"] = QJsonArray::fromStringList(param.choices);
    if (param.type == LParamType::kBool || param.type == LParamType::kChoice) return json;
    json["minimum"] = ParamToJson(param, param.minimum);
    json["maximum"] = ParamToJson(param, param.maximum);
    return json;
}

QJsonArray ParametersToJson(const LEffect& effect) {
    QJsonArray array;
    LEffectParam param;
    for (int i = 0; i < effect.GetParameterCount(); ++i)
        if (effect.GetParameterInfo(i, param)) array += ParameterToJson(param);
    return array;
}

QJsonArray MoreToJson(const LEffect& effect) {
    QJsonArray array;
    for (const LEffectOption& option : effect.GetOptions()) {
        QJsonObject json{{"id", option.id}, {"help", option.help}};
        if (!option.value.isEmpty()) json["default"] = OptionToJson(option);
        array += json;
    }
    return array;
}

// Calls `use` with each preset's name, whether it is the user's, and the effect that is set to it.
template <typename F>
void ForEachPreset(const LEffect& effect, F&& use) {
    const qsizetype builtIn = effect.GetPresetCount();
    const QStringList names = PresetNames(effect);
    for (qsizetype i = 0; i < names.size(); ++i) {
        const std::unique_ptr<LEffect> copy = effect.Clone();
        if (LoadPreset(*copy, names[i]) == LPresetResult::kDone) use(names[i], i >= builtIn, *copy);
    }
}

QJsonArray PresetsToJson(const LEffect& effect) {
    QJsonArray array;
    ForEachPreset(effect, [&](const QString& name, bool own, const LEffect& set) {
        array += QJsonObject{{"name", name}, {"own", own}, {"values", ValuesToJson(set)}};
    });
    return array;
}

QJsonObject ToJson(const LEffectRow& row, const LEffect& effect) {
    return {{"id", row.id},
            {"name", QString::fromUtf8(row.name)},
            {"type", row.type},
            {"help", QString::fromUtf8(row.help)},
            {"undoName", QString::fromUtf8(row.undoName)},
            {"stereoOnly", (row.flags & kEffectStereoOnly) != 0},
            {"measuresFirst", effect.NeedsMeasure()},
            {"inChain", (row.flags & kEffectInChain) != 0},
            {"stored", row.type != 0},
            {"followsFormat", FollowsFormat(effect)},
            {"parameters", ParametersToJson(effect)},
            {"options", MoreToJson(effect)},
            {"presets", PresetsToJson(effect)}};
}

// Rows of cells in columns as wide as their longest cell; the last column ends where it ends.
QString Columns(const QList<QStringList>& rows) {
    QList<qsizetype> widths;
    for (const QStringList& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (qsizetype i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    QString text;
    for (const QStringList& row : rows) {
        QString line;
        for (qsizetype i = 0; i < row.size(); ++i) line += "  " + row[i].leftJustified(widths[i]);
        while (line.endsWith(' ')) line.chop(1);
        text += line + '\n';
    }
    return text;
}

QString RangeText(const LEffectParam& param) {
    if (param.type == LParamType::kBool) return "on or off";
    if (!param.choices.isEmpty()) return "one of those below";
    return QString("%1 to %2").arg(ParamText(param, param.minimum, false), ParamText(param, param.maximum));
}

QString ParametersText(const LEffect& effect) {
    QList<QStringList> rows;
    QString choices;
    LEffectParam param;
    for (int i = 0; i < effect.GetParameterCount(); ++i) {
        if (!effect.GetParameterInfo(i, param)) continue;
        rows += {param.id, RangeText(param), "default " + ParamText(param, param.value), param.name};
        if (!param.choices.isEmpty()) choices += QString("Choices of %1:\n").arg(param.id);
        for (const QString& choice : param.choices) choices += "  " + choice + '\n';
    }
    QList<QStringList> more;
    for (const LEffectOption& option : effect.GetOptions()) more += {option.id, option.help};
    return (rows.isEmpty() ? QString() : "Parameters:\n" + Columns(rows) + choices) +
           (more.isEmpty() ? QString() : "Values:\n" + Columns(more));
}

// With the values that are not the defaults.
QString PresetsText(const LEffect& effect) {
    QList<QStringList> rows;
    ForEachPreset(effect, [&](const QString& name, bool own, const LEffect& set) {
        rows += {OneLine(name), ValuesText(set, &effect) + (own ? " (own)" : "")};
    });
    return rows.isEmpty() ? QString() : "Presets:\n" + Columns(rows);
}

QString DetailsText(const LEffectRow& row, const LEffect& effect) {
    QString text = QString("%1: %2\n%3.\n").arg(row.id, row.name, QString::fromUtf8(row.help));
    if (row.flags & kEffectStereoOnly) text += "For stereo sounds only.\n";
    if (effect.NeedsMeasure()) text += "Measures the sound before it begins.\n";
    if (row.type == 0) text += "Cannot be stored in a chain.\n";
    if (FollowsFormat(effect))
        text += "The parameters follow the channels of the sound; these are for stereo.\n";
    return text + ParametersText(effect) + PresetsText(effect);
}

}  // namespace

ExitStatus RunEffects(const LArguments& arguments, LContext& context) {
    std::vector<const LEffectRow*> rows;
    for (const QString& name : arguments.operands) {
        rows.push_back(FindEffect(name));
        if (!rows.back())
            return context.console.Fail(
                QString("effects: there is no effect \"%1\" (see: ondarix-cli effects)").arg(name),
                ExitStatus::kUsage);
    }
    const bool all = rows.empty();
    for (const LEffectRow& row : EffectTable())
        if (all && row.make) rows.push_back(&row);
    QJsonArray array;
    QList<QStringList> lines;
    QString details;
    for (const LEffectRow* row : rows) {
        const std::unique_ptr<LEffect> effect = row->make();
        effect->SetFormat(kShownFormat);
        if (context.console.IsJson()) array += ToJson(*row, *effect);
        lines += {row->id, QString::fromUtf8(row->help)};
        if (!all) details += (details.isEmpty() ? "" : "\n") + DetailsText(*row, *effect);
    }
    context.console.Result()["effects"] = array;
    context.console.PrintText(all ? Columns(lines) : details);
    return ExitStatus::kSuccess;
}

}  // namespace ondarix
