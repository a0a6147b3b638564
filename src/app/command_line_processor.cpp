// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/command_line_processor.h"

#include <unistd.h>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringDecoder>
#include <QUrl>
#include <algorithm>
#include <array>

#include "app/commands.h"
#include "app/shortcuts.h"
#include "gen/bytes.h"
#include "gen/text.h"

namespace ondarix {
namespace {

bool SameSwitch(const QString& argument, const char* name) {
    return argument.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
}

// One walk through the arguments.
struct LSwitchWalk {
    LFrameActions& frame;
    const QStringList& arguments;
    qsizetype next = 0;
    bool ended = false;
    bool commanded = false;  // a command has run, and may have begun a job
    QString listener;
    int code = LCommandLineProcessor::kSuccess;
    QString reply;

    bool HasNext() const { return next < arguments.size(); }
    QString Take() { return HasNext() ? arguments[next++] : QString(); }
};

// --- What each switch does

void SaveSwitch(LSwitchWalk& walk) { walk.frame.SaveActive(); }

void SaveAsSwitch(LSwitchWalk& walk) {
    const QString path = walk.Take();
    if (!path.isEmpty()) walk.frame.SaveActiveAs(path);
}

void ExitSwitch(LSwitchWalk& walk) {
    if (walk.frame.CanClose()) walk.frame.PostClose(true);
}

// An empty text, and one that is no size a window can have, keeps the present size.
std::optional<int> WindowSize(const QString& text) {
    constexpr int kMaxWindowSize = 32767;
    bool ok = false;
    const int size = text.toInt(&ok);
    return ok && size > 0 && size <= kMaxWindowSize ? std::optional(size) : std::nullopt;
}

void WindowSwitch(LSwitchWalk& walk) {
    if (!walk.HasNext()) return;
    const auto width = WindowSize(walk.Take());
    if (!walk.HasNext()) return;
    const auto height = WindowSize(walk.Take());
    if (width || height) walk.frame.ResizeClient(width, height);
}

struct BatchValueRow {
    const char* name;
    QString LBatchRequest::*value;
    const char* title;
    const char* text;
};
constexpr BatchValueRow kBatchValues[] = {
    {"-inpdir", &LBatchRequest::inputFolder, "Input folder name not given",
     "No input folder name is given for batch conversion in command-line arguments, but '-inpdir' command "
     "has "
     "been used."},
    {"-destdir", &LBatchRequest::outputFolder, "Output folder name not given",
     "No output folder name is given for batch conversion in command-line arguments, but '-destdir' command "
     "has been used."},
    {"-output", &LBatchRequest::outputFormat, "Output format type not given",
     "No output format type is given for batch conversion in command-line arguments, but '-output' command "
     "has been used."},
};

const BatchValueRow* BatchValueOf(const QString& argument) {
    for (const BatchValueRow& row : kBatchValues)
        if (SameSwitch(argument, row.name)) return &row;
    return nullptr;
}

bool IsBatchFile(const QString& path) { return LowerExtension(path) == QLatin1String(".odxb"); }

void AddBatchArgument(LBatchRequest& request, const QString& argument) {
    if (SameSwitch(argument, "-run")) {
        request.runAtOnce = true;
    } else if (SameSwitch(argument, "-quit")) {
        request.runAtOnce = request.quitWhenDone = true;
    } else if (IsBatchFile(argument)) {
        request.batchFile = QDir::current().absoluteFilePath(argument);
    } else if (!argument.isEmpty()) {
        request.files.append(argument);
    }
}

void BatchSwitch(LSwitchWalk& walk) {
    walk.ended = true;
    LBatchRequest request;
    while (walk.HasNext()) {
        const QString argument = walk.Take();
        const BatchValueRow* row = BatchValueOf(argument);
        if (!row) {
            AddBatchArgument(request, argument);
        } else if (walk.HasNext()) {
            request.*row->value = walk.Take();
        } else {
            walk.frame.Tell(QLatin1String(row->title), QLatin1String(row->text));
            return;
        }
    }
    walk.frame.StartBatch(request);
}

void ListSwitch(LSwitchWalk& walk) {
    const QString path = walk.Take();
    LFileBytes file(path);
    if (path.isEmpty() || !file.IsOpen() || file.Size() > kListBytes) return;
    QByteArray text(file.Size(), '\0');
    text.truncate(file.ReadAt(0, text.data(), text.size()));
    const QDir folder = QFileInfo(path).absoluteDir();
    for (const QString& line : PathsOfList(text)) {
        if (!walk.frame.MayOpenMore()) return;
        walk.frame.OpenSound(folder.absoluteFilePath(line));
    }
}

// A number, or the text of the command as its menu shows it.
const LCommandRow* CommandNamed(const QString& name) {
    bool isNumber = false;
    const int id = name.toInt(&isNumber);
    const LCommandRow* row = isNumber ? FindCommand(id) : FindCommand(name);
    return row && IsVisible(*row) ? row : nullptr;
}

// What comes after a command that did not run was meant for its result, and is left out.
void CommandSwitch(LSwitchWalk& walk) {
    const QString name = walk.Take();
    const LCommandRow* row = CommandNamed(name);
    if (name.isEmpty()) {
        walk.code = LCommandLineProcessor::kNoData;
        walk.reply = QStringLiteral("Command Not Specified.");
    } else if (!row) {
        walk.code = LCommandLineProcessor::kNoCommand;
        walk.reply = QStringLiteral("There is no command \"%1\".").arg(name);
    } else {
        const bool ran = walk.frame.RunCommand(row->id);
        walk.code = ran ? LCommandLineProcessor::kSuccess : LCommandLineProcessor::kNotNow;
        walk.reply =
            ran ? PlainText(*row) : QStringLiteral("\"%1\" is not available now.").arg(PlainText(*row));
    }
    walk.commanded = walk.code == LCommandLineProcessor::kSuccess;
    walk.ended = !walk.commanded;
}

void OpenPath(LSwitchWalk& walk, const QString& path) {
    const QString extension = LowerExtension(path);
    if (extension.isEmpty()) return;
    if (extension == QLatin1String(".odxp")) {
        walk.frame.OpenProject(path);
    } else if (IsBatchFile(path)) {
        LBatchRequest request;
        request.batchFile = QDir::current().absoluteFilePath(path);
        walk.frame.StartBatch(request);
    } else {
        walk.frame.OpenSound(path);
    }
}

// --- The table

enum class Takes : uint8_t { kNothing, kPath, kText, kTwoTexts, kBatch };
enum class Window : uint8_t { kUntouched, kMustAccept, kForward };

struct SwitchRow {
    const char* name;
    Takes takes;
    Window window;  // kForward: must accept work too, and comes forward first
    void (*run)(LSwitchWalk&);
};
constexpr SwitchRow kSwitches[] = {
    {"-block", Takes::kNothing, Window::kUntouched, [](LSwitchWalk&) {}},
    {"-save", Takes::kNothing, Window::kForward, SaveSwitch},
    {"-saveas", Takes::kPath, Window::kForward, SaveAsSwitch},
    {"-close", Takes::kNothing, Window::kMustAccept,
     [](LSwitchWalk& walk) { walk.frame.HideToBackground(); }},
    {"-exit", Takes::kNothing, Window::kMustAccept, ExitSwitch},
    {"-play", Takes::kNothing, Window::kMustAccept, [](LSwitchWalk& walk) { walk.frame.Play(-1, -1); }},
    {"-record", Takes::kNothing, Window::kMustAccept, [](LSwitchWalk& walk) { walk.frame.Record(); }},
    {"-stop", Takes::kNothing, Window::kMustAccept, [](LSwitchWalk& walk) { walk.frame.StopAll(); }},
    {"-restart", Takes::kNothing, Window::kMustAccept,
     [](LSwitchWalk& walk) { walk.frame.RestartPlayback(); }},
    {"-minimize", Takes::kNothing, Window::kMustAccept, [](LSwitchWalk& walk) { walk.frame.Minimize(); }},
    {"-maximize", Takes::kNothing, Window::kMustAccept, [](LSwitchWalk& walk) { walk.frame.Maximize(); }},
    {"-restore", Takes::kNothing, Window::kMustAccept, [](LSwitchWalk& walk) { walk.frame.Restore(); }},
    {"-window", Takes::kTwoTexts, Window::kForward, WindowSwitch},
    {"-batch", Takes::kBatch, Window::kForward, BatchSwitch},
    {"-list", Takes::kPath, Window::kForward, ListSwitch},
    {"-command", Takes::kText, Window::kMustAccept, CommandSwitch},
    {"-runedit", Takes::kNothing, Window::kUntouched, [](LSwitchWalk&) {}},
    {"-addlistener", Takes::kText, Window::kUntouched,
     [](LSwitchWalk& walk) { walk.listener = CutToFixedText(walk.Take()); }},
};

const SwitchRow* SwitchOf(const QString& argument) {
    for (const SwitchRow& row : kSwitches)
        if (SameSwitch(argument, row.name)) return &row;
    return nullptr;
}

int RunSwitches(LFrameActions& frame, const QStringList& arguments, QString& reply) {
    LSwitchWalk walk{frame, arguments, 0, false, false, {}, LCommandLineProcessor::kSuccess, {}};
    while (walk.HasNext() && !walk.ended) {
        const QString argument = walk.Take();
        const SwitchRow* row = SwitchOf(argument);
        const Window window = row ? row->window : Window::kForward;
        if (window != Window::kUntouched && !frame.CanAcceptWork()) {
            if (row && row->run == CommandSwitch) walk.code = LCommandLineProcessor::kNotNow;
            break;
        }
        // What stands here is meant for the result of what is still computed.
        const bool saves = row && (row->run == SaveSwitch || row->run == SaveAsSwitch);
        if (window != Window::kUntouched && (saves || walk.commanded) && !frame.WaitForJob()) {
            walk.code = LCommandLineProcessor::kNotNow;
            walk.reply = QStringLiteral("The job before \"%1\" did not end well.").arg(argument);
            break;
        }
        if (window == Window::kForward) frame.BringForward();
        row ? row->run(walk) : OpenPath(walk, argument);
    }
    if (!walk.listener.isEmpty()) frame.AddListener(walk.listener);
    reply = walk.reply;
    return walk.code;
}

// --- Single requests

QString StateText(const LProgramState& state) {
    QJsonObject facts{{QStringLiteral("pid"), getpid()},
                      {QStringLiteral("open"), QJsonArray::fromStringList(state.open)},
                      {QStringLiteral("listeners"), QJsonArray::fromStringList(state.listeners)}};
    if (!state.active.isEmpty()) facts[QStringLiteral("active")] = state.active;
    if (!state.playback.isEmpty()) facts[QStringLiteral("playback")] = state.playback;
    return QString::fromUtf8(QJsonDocument(facts).toJson(QJsonDocument::Compact));
}

QJsonObject CommandFacts(const LCommandRow& row, LFrameActions& frame) {
    return {{QStringLiteral("id"), row.id},
            {QStringLiteral("text"), PlainText(row)},
            {QStringLiteral("path"), CommandPath(row)},
            {QStringLiteral("keys"), QKeySequence::listToString(ShortcutsOf(row))},
            {QStringLiteral("available"), frame.IsAvailable(row.id)}};
}

// The answer has room for the short form of all commands, and for the long form of one menu.
QString CommandsText(LFrameActions& frame, const QString& menu) {
    QJsonArray commands;
    for (const LCommandRow& row : CommandTable()) {
        const QString title = QString::fromUtf8(MenuTitle(row.menu)).remove(QLatin1Char('&'));
        if (!IsVisible(row) || row.menu == LMenuId::kContext) continue;
        if (menu.isEmpty())
            commands.append(
                QJsonObject{{QStringLiteral("id"), row.id}, {QStringLiteral("text"), PlainText(row)}});
        else if (title.compare(menu, Qt::CaseInsensitive) == 0)
            commands.append(CommandFacts(row, frame));
    }
    return QString::fromUtf8(QJsonDocument(commands).toJson(QJsonDocument::Compact));
}

// --- Portable arguments

QString PortablePath(const QString& argument, const QDir& folder, bool mustExist) {
    if (argument.startsWith(QLatin1String("file:"), Qt::CaseInsensitive)) {
        QString path = QUrl(argument).toLocalFile();
        if (!path.isEmpty()) return path;
    }
    if (argument.isEmpty() || !QDir::isRelativePath(argument)) return argument;
    const QString absolute = QDir::cleanPath(folder.absoluteFilePath(argument));
    return mustExist && !QFileInfo::exists(absolute) ? argument : absolute;
}

// What the arguments after a switch are.
QList<Takes> TakenBy(const SwitchRow& row) {
    if (row.takes == Takes::kTwoTexts) return {Takes::kText, Takes::kText};
    if (row.takes == Takes::kPath || row.takes == Takes::kText) return {row.takes};
    return {};
}

QList<Takes> TakenInBatch(const QString& argument) {
    const BatchValueRow* row = BatchValueOf(argument);
    if (!row) return {};
    return {row->value == &LBatchRequest::outputFormat ? Takes::kText : Takes::kPath};
}

}  // namespace

int LCommandLineProcessor::Process(const QStringList& arguments, QString& reply) {
    reply.clear();
    const QStringList rest = arguments.mid(1);
    if (rest.isEmpty()) {
        reply = QStringLiteral("Command Not Specified.");
        return kNoCommand;
    }
    if (SameSwitch(rest[0], "-testapi")) {
        reply = rest.size() > 1 ? QStringLiteral("API Test OK [%1].").arg(rest[1])
                                : QStringLiteral("API Test Fail (No data).");
        return rest.size() > 1 ? kSuccess : kNoData;
    }
    if (SameSwitch(rest[0], "-version")) {
        reply = QStringLiteral(ONDARIX_VERSION);
    } else if (SameSwitch(rest[0], "-state")) {
        reply = StateText(state_ ? state_() : LProgramState());
    } else if (SameSwitch(rest[0], "-commands")) {
        reply = CommandsText(frame_, rest.value(1));
    } else {
        return RunSwitches(frame_, rest, reply);
    }
    return kSuccess;
}

QString LinkArgument(const QStringList& arguments) {
    const bool isLink = arguments.size() == 2 && arguments[1].startsWith(QLatin1String("vmk.ondarix:"));
    return isLink ? arguments[1] : QString();
}

QStringList MakeArgumentsPortable(const QStringList& arguments, const QString& currentFolder) {
    const QDir folder(currentFolder);
    QStringList portable = arguments.mid(0, 1);
    QList<Takes> taken;
    bool inBatch = false;
    for (const QString& argument : arguments.mid(1)) {
        if (!taken.isEmpty()) {
            const bool isPath = taken.takeFirst() == Takes::kPath;
            portable.append(isPath ? PortablePath(argument, folder, false) : argument);
            continue;
        }
        const SwitchRow* row = inBatch ? nullptr : SwitchOf(argument);
        if (row) taken = TakenBy(*row);
        if (inBatch) taken = TakenInBatch(argument);
        inBatch |= row && row->takes == Takes::kBatch;
        portable.append(argument.startsWith(u'-') ? argument : PortablePath(argument, folder, true));
    }
    return portable;
}

QStringList PathsOfList(const QByteArray& text) {
    if (text.size() > kListBytes) return {};
    const auto marked = QStringConverter::encodingForData(text);
    QStringDecoder decode(marked.value_or(QStringConverter::Utf8));
    QString decoded = decode(text);
    if (decode.hasError()) decoded = QString::fromLatin1(text);
    decoded.replace(u'\r', u'\n');
    QStringList paths;
    for (const QString& line : decoded.split(u'\n', Qt::SkipEmptyParts))
        if (!line.trimmed().isEmpty()) paths.append(line);
    return paths;
}

}  // namespace ondarix
