// SPDX-License-Identifier: GPL-3.0-or-later
// The engine without a window.
#include <unistd.h>
#include <QFile>

#include <algorithm>
#include <new>

#include "cli/terminal.h"
#include "effects/mix.h"
#include "gen/phase.h"

namespace ondarix {
namespace {

void OnOutOfMemory() {
    constexpr char kText[] = "ondarix-cli: out of memory\n";
    const auto written = write(STDERR_FILENO, kText, sizeof kText - 1);
    static_cast<void>(written);
    _exit(static_cast<int>(ExitStatus::kFailed));  // the next run removes the private folder
}

bool WantsJson(const QStringList& words) {
    const auto end = std::find(words.begin(), words.end(), QString("--"));
    return std::find(words.begin(), end, QString("--json")) != end;
}

ExitStatus RunLine(const QStringList& words, const QString& badWord) {
    const bool json = WantsJson(words);
    QStringList plain = words;
    plain.removeAll("--json");
    if (badWord.isEmpty() && plain.size() == 1 && plain[0] == "--version") {
        LConsole console(json);
        console.Result()["version"] = ONDARIX_VERSION;
        console.Print("ondarix-cli " ONDARIX_VERSION);
        return console.Finish(ExitStatus::kSuccess);
    }
    const bool wholeHelp = plain.size() == 1 && (plain[0] == "--help" || plain[0] == "-h");
    LParsedLine line = ParseLine(wholeHelp ? QStringList{"help"} : words);
    if (!badWord.isEmpty()) line.error = QString("\"%1\" is not valid UTF-8").arg(badWord);
    LContext context(json, line.arguments.Has("--progress"));
    if (!line.error.isEmpty()) {
        return context.console.Finish(context.console.Fail(line.error, ExitStatus::kUsage));
    }
    const bool wantsHelp = line.arguments.Has("--help");
    if (wantsHelp) line.arguments.operands = QString(line.command->name).split(' ');
    return context.console.Finish((wantsHelp ? &RunHelp : line.command->run)(line.arguments, context));
}

}  // namespace
}  // namespace ondarix

int main(int argc, char** argv) {
    using namespace ondarix;
    std::set_new_handler(&OnOutOfMemory);
    RegisterThreadTag("MAIN");
    CatchSignals();
    RegisterMixing();
    QStringList words;
    QString badWord;
    for (int i = 1; i < argc; ++i) {
        words += QFile::decodeName(argv[i]);
        // A name that does not come back as it was would mean another file.
        if (QFile::encodeName(words.last()) != argv[i]) badWord = words.last();
    }
    return static_cast<int>(RunLine(words, badWord));
}
