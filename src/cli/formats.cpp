// SPDX-License-Identifier: GPL-3.0-or-later
#include <QJsonArray>

#include "cli/terminal.h"
#include "formats/registry.h"

namespace ondarix {
namespace {

QStringList SplitExtensions(const char* extensions) {
    return QString::fromLatin1(extensions).split(' ', Qt::SkipEmptyParts);
}

QString FormatLine(const QStringList& extensions, const QString& what) {
    return QString("  %1 %2").arg(extensions.join(' '), -24).arg(what);
}

QJsonArray ReadersToJson(LConsole& console) {
    QJsonArray readers;
    for (const LReaderRow& row : ReaderTable()) {
        if (!row.open) continue;
        QStringList extensions = SplitExtensions(row.extensions);
        if (extensions.isEmpty()) extensions += "*";
        console.Print(FormatLine(extensions, row.what));
        readers += QJsonObject{{"extensions", QJsonArray::fromStringList(extensions)}, {"what", row.what}};
    }
    return readers;
}

QJsonArray WritersToJson(LConsole& console) {
    QJsonArray writers;
    for (const LWriterRow& row : WriterTable()) {
        if (!row.create) continue;
        const QStringList extensions = SplitExtensions(row.extensions);
        console.Print(
            FormatLine(extensions, QString("%1, at most %2 channels").arg(row.what).arg(row.maxChannels)));
        writers += QJsonObject{{"extensions", QJsonArray::fromStringList(extensions)},
                               {"what", row.what},
                               {"maxChannels", row.maxChannels},
                               {"keepsMarkers", row.keepsMarkers},
                               {"settingsSection", row.settingsSection}};
    }
    return writers;
}

}  // namespace

// Only what this build can do: rows of the tables that have no reader or writer yet are left out.
ExitStatus RunFormats(const LArguments& /*arguments*/, LContext& context) {
    LConsole& console = context.console;
    console.Print("Can be opened:");
    const QJsonArray readers = ReadersToJson(console);
    console.Print("Can be saved:");
    const QJsonArray writers = WritersToJson(console);
    console.Result() = {{"readers", readers}, {"writers", writers}};
    return ExitStatus::kSuccess;
}

}  // namespace ondarix
