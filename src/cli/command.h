// SPDX-License-Identifier: GPL-3.0-or-later
// One table of subcommands, from which parsing, help, the machine-readable help and the manual's test come.
#pragma once
#include <QHash>
#include <QString>
#include <QStringList>
#include <span>
#include <vector>

namespace ondarix {

struct LContext;

enum class ExitStatus : int { kSuccess = 0, kCancelled = 1, kFailed = 2, kUsage = 64 };

struct LOptionRow {
    const char* name;   // "--bits"
    const char* value;  // what it takes, for the help ("CODING"); empty: a switch
    const char* help;
};
inline constexpr LOptionRow kProgressOption = {"--progress", "", "show a percentage on the terminal"};

// A command line after parsing: what belongs to the subcommand.
struct LArguments {
    QStringList operands;
    QHash<QString, QString> options;  // by the option's full name
    bool Has(const char* option) const { return options.contains(QString::fromLatin1(option)); }
    QString Value(const char* option) const { return options.value(QString::fromLatin1(option)); }
};

inline constexpr int kAnyNumber = -1;

// An operation of a command that takes several, for the help.
struct LOperationHelp {
    const char* name;
    const char* operands;
    const char* help;  // one line
};

struct LCommandRow {
    const char* name;                     // one word or two: "info", "cache list"
    const char* operands;                 // "IN OUT OPERATION..."
    const char* summary;                  // one line, no full stop
    const char* details;                  // the rest of the help, lines ready to be shown; may be empty
    std::span<const LOptionRow> options;  // beside kCommonOptions
    int minOperands;
    int maxOperands;  // kAnyNumber: no limit
    ExitStatus (*run)(const LArguments& arguments, LContext& context);
    std::vector<LOperationHelp> (*operations)() = nullptr;
    // Options whose place counts: they stay among the operands, name and value as two words, as often as they
    // are given.
    std::span<const LOptionRow> placed = {};
};

// Every row, in the order of the help.
std::span<const LCommandRow> Commands();
std::span<const LOptionRow> CommonOptions();

struct LParsedLine {
    const LCommandRow* command = nullptr;
    LArguments arguments;
    QString error;  // empty: usable
};
// `words` are the arguments of the program without its own name. A word that begins with '-' and a digit or a
// point is no option, so that positions before the start can be given; "--" ends the options.
LParsedLine ParseLine(const QStringList& words);

// "ondarix-cli convert [OPTION]... IN OUT"
QString UsageLine(const LCommandRow& command);
QString CommandHelp(const LCommandRow& command);
QString ProgramHelp();

// One function for each row; each in a file named after its first word.
ExitStatus RunInfo(const LArguments& arguments, LContext& context);
ExitStatus RunConvert(const LArguments& arguments, LContext& context);
ExitStatus RunEdit(const LArguments& arguments, LContext& context);
ExitStatus RunEffects(const LArguments& arguments, LContext& context);
ExitStatus RunApply(const LArguments& arguments, LContext& context);
ExitStatus RunChainShow(const LArguments& arguments, LContext& context);
ExitStatus RunChainMake(const LArguments& arguments, LContext& context);
ExitStatus RunPlay(const LArguments& arguments, LContext& context);
ExitStatus RunLoudness(const LArguments& arguments, LContext& context);
ExitStatus RunDevices(const LArguments& arguments, LContext& context);
ExitStatus RunCacheList(const LArguments& arguments, LContext& context);
ExitStatus RunCacheClean(const LArguments& arguments, LContext& context);
ExitStatus RunSettingsGet(const LArguments& arguments, LContext& context);
ExitStatus RunSettingsSet(const LArguments& arguments, LContext& context);
ExitStatus RunSettingsDelete(const LArguments& arguments, LContext& context);
ExitStatus RunSettingsList(const LArguments& arguments, LContext& context);
ExitStatus RunSettingsExport(const LArguments& arguments, LContext& context);
ExitStatus RunFormats(const LArguments& arguments, LContext& context);
ExitStatus RunHelp(const LArguments& arguments, LContext& context);

}  // namespace ondarix
