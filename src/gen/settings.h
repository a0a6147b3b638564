// SPDX-License-Identifier: GPL-3.0-or-later
// The user's preferences: text values by section and name, in one SQLite database (settings.db, WAL) that
// is read and written at the moment of use. A setting has no declaration: name, section and the default at
// the place of use are all there is. Everything here is safe from any thread and from several processes at
// once, but not for a real-time call-back. Sections and names compare without regard to the case of ASCII
// letters; other letters compare exactly. A database that is damaged is put aside, and all settings answer
// their defaults from then on. A failing read gives the default, a failing write false.
#pragma once
#include <QList>
#include <QString>
#include <optional>

namespace ondarix {

// Decimal text; "abc" reads 0, only an empty or absent value gives the default. Out of range: clamped.
int32_t GetSettingInt(const QString& section, const QString& name, int32_t fallback);
bool SetSettingInt(int32_t value, const QString& section, const QString& name);
// Written "1" or "0". Read: empty or absent is the default, a first character of '0' false, any other true.
bool GetSettingBool(const QString& section, const QString& name, bool fallback);
bool SetSettingBool(const QString& section, const QString& name, bool value);
// "%.16f", always with a decimal point.
double GetSettingDouble(const QString& section, const QString& name, double fallback);
bool SetSettingDouble(const QString& section, const QString& name, double value);
// Cut to 259 UTF-16 units; the default only when the value is absent.
QString GetSettingString(const QString& section, const QString& name, const QString& fallback);
// Any length, up to the first NUL. `keyPath` is the whole path, see SettingsKeyPath.
std::optional<QString> GetSettingLongString(const QString& keyPath, const QString& name);
bool SetSettingString(const QString& section, const QString& name, const QString& text);
// Deletes one value; when it is absent, the value under the name that it had in earlier versions.
// True when something was deleted.
bool DeleteSetting(const QString& section, const QString& name);
bool SettingExists(const QString& section, const QString& name);

// "Software\Vellmark Works\Ondarix\<section>"
QString SettingsKeyPath(const QString& section);

struct SettingRow {
    QString section, name, value;
};
// All values below the program's own root, or of one section; ordered by section, then name.
QList<SettingRow> ListSettings(const QString& section = {});

// All values as readable text: "[section]" lines, each followed by its "name=value" lines; backslash and line
// breaks are written \\, \n and \r.
QString ExportSettings();

// A setting that changed its name and meaning: when the old value is there, it is converted once, written
// under the new name, and the old one deleted.
struct SettingConversion {
    const char* section;
    const char* oldName;
    const char* newName;
    QString (*convert)(const QString& oldValue);
};
// The conversions of this version, which DeleteSetting knows too. Run once at start.
void ConvertOldSettings();

}  // namespace ondarix
