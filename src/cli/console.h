// SPDX-License-Identifier: GPL-3.0-or-later
// What the program writes: results on standard output, one line for each fault on standard error, or one JSON
// document on standard output.
#pragma once
#include <QJsonObject>
#include <QString>

#include "cli/command.h"

namespace ondarix {

// Without line breaks and control characters, so that a file name cannot break a line or drive the terminal.
QString OneLine(const QString& text);

// long and long long are two types to QJsonValue's constructors.
inline QJsonValue JsonInt(int64_t value) { return QJsonValue(static_cast<qint64>(value)); }

class LConsole {
  public:
    explicit LConsole(bool json) : json_(json) {}

    bool IsJson() const { return json_; }
    // A line of the result as text; nothing in a JSON run.
    void Print(const QString& line);
    // Several lines that end in a line break, as they stand; nothing in a JSON run.
    void PrintText(const QString& text);
    // The document of a JSON run.
    QJsonObject& Result() { return result_; }

    // A remark that changes no status.
    void Warn(const QString& text);
    // The one line of a run that does not succeed; answers `status`.
    ExitStatus Fail(const QString& text, ExitStatus status = ExitStatus::kFailed);

    // Writes what is still due. A result that cannot be written makes a success a failure.
    ExitStatus Finish(ExitStatus status);

  private:
    void WriteError(const QString& text);

    bool json_;
    bool writeFailed_ = false;
    QJsonObject result_;
};

}  // namespace ondarix
