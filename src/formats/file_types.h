// SPDX-License-Identifier: GPL-3.0-or-later
// The tables of file types, as data: dialogs, registry, command line and tests walk them.
#pragma once
#include <QString>
#include <QStringList>
#include <span>

namespace ondarix {

struct LFileTypeRow {
    const char* label;
    const char* pattern;  // "*.aif;*.aiff;*.aifc"
};
std::span<const LFileTypeRow> SaveFileTypes();
std::span<const LFileTypeRow> OpenFileTypes();  // starts with "Audio Files"
QList<LFileTypeRow> OpenSoundFileTypes();       // without the project entries
QStringList ShellExtensions();                  // claimed on the shell, without dots
QStringList DefaultShellExtensions();           // of those, taken by default
// "Wave (*.wav)" as Qt wants filters: label (with no pattern of its own) and the patterns in brackets,
// separated by blanks.
QString QtFilter(const LFileTypeRow& row);

}  // namespace ondarix
