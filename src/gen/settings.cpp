// SPDX-License-Identifier: GPL-3.0-or-later
#include "gen/settings.h"

#include <locale.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>

#include "gen/settings_store.h"
#include "gen/text.h"

namespace ondarix {
namespace {

const QString kKeyRoot = QStringLiteral("Software\\Vellmark Works\\Ondarix\\");

bool IsBlank(QChar unit) { return unit == QLatin1Char(' ') || (unit >= u'\t' && unit <= u'\r'); }

// Decimal text as C reads it: leading blanks, a sign, digits up to the first other character; 0 without
// digits.
int32_t IntFromText(const QString& text) {
    qsizetype at = 0;
    while (at < text.size() && IsBlank(text.at(at))) ++at;
    const bool negative = at < text.size() && text.at(at) == QLatin1Char('-');
    if (negative || (at < text.size() && text.at(at) == QLatin1Char('+'))) ++at;
    int64_t value = 0;
    constexpr int64_t kBeyond = int64_t{1} << 32;
    for (; at < text.size() && text.at(at) >= QLatin1Char('0') && text.at(at) <= QLatin1Char('9'); ++at) {
        value = std::min(value * 10 + (text.at(at).unicode() - u'0'), kBeyond);
    }
    constexpr int64_t kLowest = std::numeric_limits<int32_t>::min();
    constexpr int64_t kHighest = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(std::clamp(negative ? -value : value, kLowest, kHighest));
}

// The longest prefix that is a decimal number, 0 without one; the decimal sign is a point in every language.
// Never infinite and never no number: "inf", "nan" and hexadecimal digits are garbage like any other.
double DoubleFromText(const QString& text) {
    static const locale_t kPlain = newlocale(LC_ALL_MASK, "C", nullptr);
    const QByteArray latin = text.toLatin1();
    const char* from = latin.constData();
    while (IsBlank(QLatin1Char(*from))) ++from;
    const char* digits = *from == '-' || *from == '+' ? from + 1 : from;
    const bool decimal = (*digits >= '0' && *digits <= '9') || *digits == '.';
    const bool hexadecimal = digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X');
    if (!decimal || hexadecimal) return 0;
    constexpr double kHighest = std::numeric_limits<double>::max();
    return std::clamp(strtod_l(from, nullptr, kPlain), -kHighest, kHighest);
}

constexpr SettingConversion kConversions[] = {
    {"Settings", "SuppressSaveFormatPrompt", "SaveFormatPrompt",
     [](const QString&) { return QStringLiteral("1"); }},
};

std::optional<QString> ReadText(const QString& section, const QString& name) {
    return GetSettingLongString(SettingsKeyPath(section), name);
}

QString Escaped(QString text) {
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    text.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    return text.replace(QLatin1Char('\r'), QLatin1String("\\r"));
}

}  // namespace

QString SettingsKeyPath(const QString& section) { return kKeyRoot + section; }

int32_t GetSettingInt(const QString& section, const QString& name, int32_t fallback) {
    const std::optional<QString> text = ReadText(section, name);
    return text && !text->isEmpty() ? IntFromText(*text) : fallback;
}

bool SetSettingInt(int32_t value, const QString& section, const QString& name) {
    return SetSettingString(section, name, QString::number(value));
}

bool GetSettingBool(const QString& section, const QString& name, bool fallback) {
    const std::optional<QString> text = ReadText(section, name);
    return text && !text->isEmpty() ? text->at(0) != QLatin1Char('0') : fallback;
}

bool SetSettingBool(const QString& section, const QString& name, bool value) {
    return SetSettingString(section, name, value ? QStringLiteral("1") : QStringLiteral("0"));
}

double GetSettingDouble(const QString& section, const QString& name, double fallback) {
    const std::optional<QString> text = ReadText(section, name);
    return text && !text->isEmpty() ? DoubleFromText(*text) : fallback;
}

bool SetSettingDouble(const QString& section, const QString& name, double value) {
    char text[400];  // the largest value has 309 digits before the point
    const auto [end, error] = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 16);
    return error == std::errc() && SetSettingString(section, name, QString::fromLatin1(text, end - text));
}

QString GetSettingString(const QString& section, const QString& name, const QString& fallback) {
    return CutToFixedText(ReadText(section, name).value_or(fallback));
}

std::optional<QString> GetSettingLongString(const QString& keyPath, const QString& name) {
    std::optional<QString> text = LSettingsStore::Instance().Read(keyPath, name);
    if (!text) return std::nullopt;
    if (const qsizetype nul = text->indexOf(QChar::Null); nul >= 0) text->truncate(nul);
    return text;
}

bool SetSettingString(const QString& section, const QString& name, const QString& text) {
    return LSettingsStore::Instance().Write(SettingsKeyPath(section), name, text);
}

bool DeleteSetting(const QString& section, const QString& name) {
    const QString key = SettingsKeyPath(section);
    if (LSettingsStore::Instance().Delete(key, name)) return true;
    for (const SettingConversion& conversion : kConversions) {
        const bool same = section.compare(QLatin1String(conversion.section), Qt::CaseInsensitive) == 0 &&
                          name.compare(QLatin1String(conversion.newName), Qt::CaseInsensitive) == 0;
        if (same) return LSettingsStore::Instance().Delete(key, QLatin1String(conversion.oldName));
    }
    return false;
}

bool SettingExists(const QString& section, const QString& name) {
    return ReadText(section, name).has_value();
}

QList<SettingRow> ListSettings(const QString& section) {
    QList<SettingRow> rows;
    LSettingsStore::Instance().List(
        kKeyRoot, [&](const QString& key, const QString& name, const QString& value) {
            const QString itsSection = key.mid(kKeyRoot.size());
            if (section.isEmpty() || itsSection.compare(section, Qt::CaseInsensitive) == 0)
                rows.push_back({itsSection, name, value});
        });
    return rows;
}

QString ExportSettings() {
    QString text, section;
    const QList<SettingRow> rows = ListSettings();
    for (const SettingRow& row : rows) {
        if (row.section.compare(section, Qt::CaseInsensitive) != 0 || text.isEmpty()) {
            text += (text.isEmpty() ? QString() : QStringLiteral("\n")) + QLatin1Char('[') +
                    Escaped(row.section) + QLatin1String("]\n");
            section = row.section;
        }
        text += Escaped(row.name) + QLatin1Char('=') + Escaped(row.value) + QLatin1Char('\n');
    }
    return text;
}

void ConvertOldSettings() {
    for (const SettingConversion& conversion : kConversions) {
        const QString section = QLatin1String(conversion.section);
        const QString oldName = QLatin1String(conversion.oldName);
        if (!SettingExists(section, oldName)) continue;
        const QString value = conversion.convert(ReadText(section, oldName).value_or(QString()));
        if (SetSettingString(section, QLatin1String(conversion.newName), value))
            LSettingsStore::Instance().Delete(SettingsKeyPath(section), oldName);
    }
}

}  // namespace ondarix
