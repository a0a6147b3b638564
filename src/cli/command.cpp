// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/command.h"

#include <algorithm>

namespace ondarix {
namespace {

const LOptionRow* FindOption(const LCommandRow& command, const QString& name) {
    for (const auto rows : {command.placed, command.options, CommonOptions()}) {
        for (const LOptionRow& row : rows) {
            if (name == row.name) return &row;
        }
    }
    return nullptr;
}

bool LooksLikeNumber(const QString& word) {
    return word.size() > 1 && word[0] == '-' && ((word[1] >= '0' && word[1] <= '9') || word[1] == '.');
}

bool IsOption(const QString& word) { return word.size() > 1 && word[0] == '-' && !LooksLikeNumber(word); }

// The row that the first words name, and how many words its name has. Two words go before one.
const LCommandRow* FindCommand(const QStringList& words, qsizetype& used) {
    for (qsizetype count = std::min<qsizetype>(2, words.size()); count > 0; --count) {
        const QString name = QStringList(words.first(count)).join(' ');
        for (const LCommandRow& row : Commands()) {
            if (name == row.name) {
                used = count;
                return &row;
            }
        }
    }
    return nullptr;
}

// Why no row fits: a group's first word alone, a wrong second word, or an unknown first one.
QString UnknownCommand(const QStringList& words) {
    QStringList group;
    for (const LCommandRow& row : Commands()) {
        const QStringList name = QString::fromLatin1(row.name).split(' ');
        if (name.size() == 2 && name[0] == words[0]) group += name[1];
    }
    if (group.isEmpty()) return QString("unknown command \"%1\" (see: ondarix-cli help)").arg(words[0]);
    return QString("%1: one of %2 must follow (see: ondarix-cli help %1)").arg(words[0], group.join(", "));
}

// Takes the option at `index`, and its value where it has one. Answers why not, empty when it could.
QString TakeOption(const QStringList& words, qsizetype& index, LParsedLine& line) {
    const QString name = words[index] == "-h" ? QString("--help") : words[index].section('=', 0, 0);
    const bool inlineValue = words[index].contains('=');
    const LOptionRow* row = FindOption(*line.command, name);
    const QString command = QString::fromLatin1(line.command->name);
    if (!row) {
        return QString("%1: unknown option \"%2\" (see: ondarix-cli help %1)").arg(command, words[index]);
    }
    const bool isPlaced = std::any_of(line.command->placed.begin(), line.command->placed.end(),
                                      [&](const LOptionRow& one) { return &one == row; });
    if (line.arguments.options.contains(name)) return QString("%1: %2 is given twice").arg(command, name);
    QString value;
    if (*row->value) {
        if (!inlineValue && index + 1 >= words.size()) {
            return QString("%1: %2 needs a value (%3)").arg(command, name, row->value);
        }
        value = inlineValue ? words[index].section('=', 1) : words[++index];
    } else if (inlineValue) {
        return QString("%1: %2 takes no value").arg(command, name);
    }
    if (isPlaced) {
        line.arguments.operands += name;
        if (*row->value) line.arguments.operands += value;
    } else {
        line.arguments.options.insert(name, value);
    }
    return {};
}

QString CheckOperandCount(const LParsedLine& line) {
    const LCommandRow& command = *line.command;
    const auto count = line.arguments.operands.size();
    if (count < command.minOperands) {
        return QString("%1: an argument is missing (usage: %2)").arg(command.name, UsageLine(command));
    }
    if (command.maxOperands != kAnyNumber && count > command.maxOperands) {
        return QString("%1: unexpected argument \"%2\" (usage: %3)")
            .arg(command.name, line.arguments.operands[command.maxOperands], UsageLine(command));
    }
    return {};
}

// A line for each, or two where the left side is long.
QString OperationLines(const std::vector<LOperationHelp>& rows) {
    constexpr qsizetype kColumn = 34;
    QString text;
    for (const LOperationHelp& row : rows) {
        QString left = QString("  %1 %2").arg(row.name, row.operands);
        if (left.size() > kColumn) left += '\n' + QString(kColumn, ' ');
        text += QString("%1 %2\n").arg(left, -static_cast<int>(kColumn)).arg(row.help);
    }
    return text;
}

QString OptionLines(std::span<const LOptionRow> rows) {
    QString text;
    for (const LOptionRow& row : rows) {
        const QString left = QString(row.name) + (*row.value ? " " + QString(row.value) : QString());
        text += QString("  %1 %2\n").arg(left, -20).arg(row.help);
    }
    return text;
}

}  // namespace

LParsedLine ParseLine(const QStringList& words) {
    LParsedLine line;
    qsizetype index = 0;
    // Options may stand before the command's name too; they are looked at once the command is known.
    QStringList before;
    while (index < words.size() && IsOption(words[index]) && words[index] != "--") before += words[index++];
    if (index >= words.size()) {
        line.error = before.isEmpty()
                         ? QString("no command is given (see: ondarix-cli help)")
                         : QString("no command after \"%1\" (see: ondarix-cli help)").arg(before[0]);
        return line;
    }
    qsizetype used = 0;
    line.command = FindCommand(words.mid(index), used);
    if (!line.command) {
        line.error = UnknownCommand(words.mid(index));
        return line;
    }
    const QStringList rest = before + words.mid(index + used);
    bool optionsEnded = false;
    for (qsizetype i = 0; i < rest.size() && line.error.isEmpty(); ++i) {
        if (!optionsEnded && rest[i] == "--") {
            optionsEnded = true;
        } else if (!optionsEnded && IsOption(rest[i])) {
            line.error = TakeOption(rest, i, line);
        } else {
            line.arguments.operands += rest[i];
        }
    }
    if (line.error.isEmpty() && !line.arguments.Has("--help")) line.error = CheckOperandCount(line);
    return line;
}

QString UsageLine(const LCommandRow& command) {
    return QString("ondarix-cli %1 [OPTION]... %2").arg(command.name, command.operands).trimmed();
}

QString CommandHelp(const LCommandRow& command) {
    QString text = QString("Usage: %1\n%2.\n").arg(UsageLine(command), command.summary);
    if (*command.details) text += '\n' + QString::fromUtf8(command.details);
    if (command.operations) text += "\nOperations:\n" + OperationLines(command.operations());
    if (!command.placed.empty()) text += "\nAmong the arguments:\n" + OptionLines(command.placed);
    text += "\nOptions:\n" + OptionLines(command.options) + OptionLines(CommonOptions());
    return text;
}

QString ProgramHelp() {
    QString text =
        "Usage: ondarix-cli COMMAND [OPTION]... [ARGUMENT]...\n"
        "The Ondarix sound editor without a window.\n\nCommands:\n";
    for (const LCommandRow& row : Commands()) {
        text += QString("  %1 %2\n").arg(QString(row.name), -16).arg(row.summary);
    }
    text += "\nOptions of every command:\n" + OptionLines(CommonOptions());
    text += QString("  %1 %2\n").arg(QString("--version"), -20).arg("print the program's version");
    text +=
        "\nExit status: 0 success, 1 cancelled, 2 failed, 64 wrong usage.\n"
        "\"ondarix-cli help COMMAND\" tells more about a command.\n";
    return text;
}

}  // namespace ondarix
