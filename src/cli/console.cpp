// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/console.h"

#include <QJsonDocument>
#include <cstdio>

namespace ondarix {

QString OneLine(const QString& text) {
    QString line;
    line.reserve(text.size());
    for (const QChar c : text) {
        if (c == '\n' || c == '\r' || c == '\t' || c == QChar::LineSeparator ||
            c == QChar::ParagraphSeparator) {
            if (!line.isEmpty() && !line.endsWith(' ')) line += ' ';
        } else if (c.category() == QChar::Other_Control) {
            line += '?';
        } else {
            line += c;
        }
    }
    return line.trimmed();
}

void LConsole::Print(const QString& line) { PrintText(line + '\n'); }

void LConsole::PrintText(const QString& text) {
    if (json_) return;
    const QByteArray bytes = text.toUtf8();
    if (std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout) !=
        static_cast<size_t>(bytes.size())) {
        writeFailed_ = true;
    }
}

void LConsole::WriteError(const QString& text) {
    const QByteArray line = "ondarix-cli: " + OneLine(text).toUtf8() + '\n';
    std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stderr);
}

void LConsole::Warn(const QString& text) { WriteError(text); }

ExitStatus LConsole::Fail(const QString& text, ExitStatus status) {
    WriteError(text);
    result_["error"] = text;
    return status;
}

ExitStatus LConsole::Finish(ExitStatus status) {
    if (json_) {
        if (status != ExitStatus::kSuccess) result_["status"] = static_cast<int>(status);
        const QByteArray document = QJsonDocument(result_).toJson();
        if (std::fwrite(document.constData(), 1, static_cast<size_t>(document.size()), stdout) !=
            static_cast<size_t>(document.size())) {
            writeFailed_ = true;
        }
    }
    if (std::fflush(stdout) != 0) writeFailed_ = true;
    if (!writeFailed_ || status != ExitStatus::kSuccess) return status;
    WriteError("the result cannot be written to standard output");
    return ExitStatus::kFailed;
}

}  // namespace ondarix
