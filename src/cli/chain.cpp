// SPDX-License-Identifier: GPL-3.0-or-later
#include <QFileInfo>
#include <QJsonArray>

#include "cli/effect_words.h"
#include "cli/sound_files.h"
#include "cli/terminal.h"
#include "effects/chain_file.h"
#include "gen/text.h"

namespace ondarix {
namespace {

QJsonArray ChainToJson(const LEffectList& effects) {
    QJsonArray array;
    for (const auto& effect : effects) array += EffectToJson(*effect);
    return array;
}

// "1  amplify  gain=50%"
QString ChainText(const LEffectList& effects) {
    QString text;
    int number = 0;
    for (const auto& effect : effects) {
        QStringList facts;
        if (!effect->enabled || effect->bypass != 0) facts += "(off)";
        facts += IsUnknown(*effect) ? QString("unknown to this version") : ValuesText(*effect);
        const QString line =
            QString("%1  %2 %3").arg(++number, 3).arg(EffectId(*effect), -24).arg(facts.join(' '));
        text += line + "\n";
    }
    return text;
}

// Of the words behind OUT. `status`: of a fault.
QString BuildChain(const QStringList& words, LEffectList& effects, ExitStatus& status) {
    QString error;
    status = ExitStatus::kUsage;
    const std::vector<LEffectWords> items = ParseEffectWords(words, error);
    if (!error.isEmpty()) return error;
    for (const LEffectWords& item : items) {
        if (!item.row) continue;
        if (item.row->type == 0)
            return QString("%1 cannot be stored in a chain").arg(QLatin1String(item.row->id));
        if (!BuildForAnyLayout(item, error)) return error;
    }
    status = ExitStatus::kFailed;
    for (const LEffectWords& item : items) {
        error = item.row ? QString() : ReadChain(item.chain, effects);
        if (!error.isEmpty()) return error;
        if (item.row) effects.push_back(BuildForAnyLayout(item, error));
    }
    return effects.empty() ? ChainMessage(LChainWrite::kEmpty).text : QString();
}

// Empty when it is written.
QString WriteChain(const QString& path, const LEffectList& effects) {
    LEffectChain chain;
    for (const auto& effect : effects)
        if (!chain.Add(effect->Clone()))
            return QString("a chain holds at most %1 effects").arg(LEffectChain::kMostEffects);
    const LChainWrite written = WriteEffectChainFile(path, chain);
    if (written == LChainWrite::kWritten) return {};
    return QString("\"%1\": %2").arg(path, ChainMessage(written).text);
}

// Why nothing can be written there; empty when it can be tried.
QString CheckChainFile(const QString& path, bool noClobber) {
    const QFileInfo info(path);
    const QString extension = QString(".") + kChainExtension;
    if (LowerExtension(path) != extension) return QString("\"%1\" does not end in %2").arg(path, extension);
    if (info.isDir()) return QString("\"%1\" is a folder").arg(path);
    if (noClobber && (info.exists() || info.isSymLink())) return QString("\"%1\" exists").arg(path);
    if (!QFileInfo(info.path()).isDir()) return QString("there is no folder \"%1\"").arg(info.path());
    return {};
}

}  // namespace

QString ReadChain(const QString& path, LEffectList& effects) {
    const QFileInfo info(path);
    if (!info.exists()) return QString("File Not Found: \"%1\".").arg(path);
    if (!info.isFile()) return QString("\"%1\" is not a regular file").arg(path);
    LEffectChain chain;
    const LChainRead read = ReadEffectChainFile(path, chain);
    if (read == LChainRead::kNoChain) return QString("\"%1\" is no chain of effects").arg(path);
    if (read != LChainRead::kRead) return QString("\"%1\": %2").arg(path, ChainMessage(read).text);
    while (auto effect = chain.Remove(0)) effects.push_back(std::move(effect));
    return {};
}

ExitStatus RunChainShow(const LArguments& arguments, LContext& context) {
    const QString path = arguments.operands[0];
    LEffectList effects;
    const QString fault = ReadChain(path, effects);
    if (!fault.isEmpty()) return context.console.Fail(fault);
    context.console.Result()["path"] = path;
    context.console.Result()["effects"] = ChainToJson(effects);
    context.console.PrintText(ChainText(effects));
    return ExitStatus::kSuccess;
}

ExitStatus RunChainMake(const LArguments& arguments, LContext& context) {
    const QString path = arguments.operands[0];
    LEffectList effects;
    ExitStatus status = ExitStatus::kFailed;
    QString fault = BuildChain(arguments.operands.mid(1), effects, status);
    if (!fault.isEmpty()) return context.console.Fail("chain make: " + fault, status);
    fault = CheckChainFile(path, arguments.Has(kNoClobberOption.name));
    if (fault.isEmpty()) fault = WriteChain(path, effects);
    if (!fault.isEmpty()) return context.console.Fail(fault);
    context.console.Result()["output"] = path;
    context.console.Result()["effects"] = ChainToJson(effects);
    return ExitStatus::kSuccess;
}

}  // namespace ondarix
