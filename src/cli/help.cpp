// SPDX-License-Identifier: GPL-3.0-or-later
#include <QJsonArray>

#include "cli/command.h"
#include "cli/terminal.h"

namespace ondarix {
namespace {

// `placed`: of the options that stay among the arguments.
QJsonArray OptionsToJson(std::span<const LOptionRow> rows, bool placed = false) {
    QJsonArray array;
    for (const LOptionRow& row : rows) {
        QJsonObject option{{"name", row.name}, {"help", row.help}};
        if (*row.value) option["value"] = row.value;
        if (placed) option["placed"] = true;
        array += option;
    }
    return array;
}

QJsonArray AllOptionsToJson(const LCommandRow& command) {
    QJsonArray array = OptionsToJson(command.placed, true);
    for (const auto& option : OptionsToJson(command.options)) array += option;
    return array;
}

QJsonArray OperationsToJson(const LCommandRow& command) {
    QJsonArray array;
    for (const LOperationHelp& row : command.operations()) {
        array += QJsonObject{{"name", row.name}, {"operands", row.operands}, {"help", row.help}};
    }
    return array;
}

}  // namespace

ExitStatus RunHelp(const LArguments& arguments, LContext& context) {
    const QString topic = arguments.operands.join(' ');
    QString text = topic.isEmpty() ? ProgramHelp() : QString();
    QJsonArray commands;
    for (const LCommandRow& row : Commands()) {
        const QString name = row.name;
        if (!topic.isEmpty() && name != topic && !name.startsWith(topic + ' ')) continue;
        if (!topic.isEmpty()) text += (text.isEmpty() ? "" : "\n") + CommandHelp(row);
        QJsonObject command{{"name", name},
                            {"usage", UsageLine(row)},
                            {"summary", row.summary},
                            {"details", row.details},
                            {"options", AllOptionsToJson(row)}};
        if (row.operations) command["operations"] = OperationsToJson(row);
        commands += command;
    }
    if (commands.isEmpty()) {
        return context.console.Fail(QString("help: unknown command \"%1\"").arg(topic), ExitStatus::kUsage);
    }
    context.console.Result() = {{"version", ONDARIX_VERSION},
                                {"commonOptions", OptionsToJson(CommonOptions())},
                                {"commands", commands}};
    context.console.PrintText(text);
    return ExitStatus::kSuccess;
}

}  // namespace ondarix
