// SPDX-License-Identifier: GPL-3.0-or-later
#include "gen/settings.h"

#include <QJsonArray>

#include "cli/terminal.h"

namespace ondarix {
namespace {

// Keeps one value on one line, and can be undone.
QString Escaped(const QString& text) {
    QString line;
    for (const QChar c : text) {
        switch (c.unicode()) {
            case '\\':
                line += "\\\\";
                break;
            case '\t':
                line += "\\t";
                break;
            case '\n':
                line += "\\n";
                break;
            case '\r':
                line += "\\r";
                break;
            default:
                line += c;
        }
    }
    return line;
}

QString NoName(const LArguments& arguments) {
    return arguments.operands[0].isEmpty() || arguments.operands[1].isEmpty()
               ? QString("settings: the section or the name is empty")
               : QString();
}

QJsonArray RowsToJson(const QList<SettingRow>& rows) {
    QJsonArray array;
    for (const SettingRow& row : rows) {
        array += QJsonObject{{"section", row.section}, {"name", row.name}, {"value", row.value}};
    }
    return array;
}

}  // namespace

ExitStatus RunSettingsGet(const LArguments& arguments, LContext& context) {
    const QString section = arguments.operands[0];
    const QString name = arguments.operands[1];
    if (!NoName(arguments).isEmpty()) return context.console.Fail(NoName(arguments), ExitStatus::kUsage);
    auto value = GetSettingLongString(SettingsKeyPath(section), name);
    const bool isStored = value.has_value();
    if (!isStored && arguments.operands.size() == 3) value = arguments.operands[2];
    if (!value) {
        return context.console.Fail(QString("settings: nothing is stored as %1 %2").arg(section, name));
    }
    context.console.Print(*value);
    context.console.Result() = {
        {"section", section}, {"name", name}, {"value", *value}, {"stored", isStored}};
    return ExitStatus::kSuccess;
}

ExitStatus RunSettingsSet(const LArguments& arguments, LContext& context) {
    const QString section = arguments.operands[0];
    const QString name = arguments.operands[1];
    if (!NoName(arguments).isEmpty()) return context.console.Fail(NoName(arguments), ExitStatus::kUsage);
    if (!SetSettingString(section, name, arguments.operands[2])) {
        return context.console.Fail(QString("settings: %1 %2 cannot be written").arg(section, name));
    }
    context.console.Result() = {{"section", section}, {"name", name}, {"value", arguments.operands[2]}};
    return ExitStatus::kSuccess;
}

ExitStatus RunSettingsDelete(const LArguments& arguments, LContext& context) {
    const QString section = arguments.operands[0];
    const QString name = arguments.operands[1];
    if (!NoName(arguments).isEmpty()) return context.console.Fail(NoName(arguments), ExitStatus::kUsage);
    if (!DeleteSetting(section, name)) {
        return context.console.Fail(QString("settings: nothing is stored as %1 %2").arg(section, name));
    }
    context.console.Result() = {{"section", section}, {"name", name}};
    return ExitStatus::kSuccess;
}

ExitStatus RunSettingsList(const LArguments& arguments, LContext& context) {
    const QList<SettingRow> rows = ListSettings(arguments.operands.value(0));
    for (const SettingRow& row : rows) {
        context.console.Print(Escaped(row.section) + '\t' + Escaped(row.name) + '\t' + Escaped(row.value));
    }
    context.console.Result()["settings"] = RowsToJson(rows);
    return ExitStatus::kSuccess;
}

ExitStatus RunSettingsExport(const LArguments& /*arguments*/, LContext& context) {
    context.console.PrintText(ExportSettings());
    context.console.Result()["settings"] = RowsToJson(ListSettings());
    return ExitStatus::kSuccess;
}

}  // namespace ondarix
