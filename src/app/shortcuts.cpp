// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/shortcuts.h"

#include <optional>

#include "gen/settings.h"

namespace ondarix {
namespace {

const QString kKeySection = QStringLiteral("CustomKeys");
const QString kNoKey = QStringLiteral("none");

// Without what is no key: a hand-written value must not give a command an unknown key.
QList<QKeySequence> KeysOfText(const QString& text) {
    QList<QKeySequence> keys = QKeySequence::listFromString(text, QKeySequence::PortableText);
    keys.removeIf([](const QKeySequence& key) {
        return key.isEmpty() || key[0].key() == Qt::Key_unknown || key.toString().isEmpty();
    });
    return keys;
}

QList<QKeySequence> TableKeys(int id) {
    const LCommandRow* row = FindCommand(id);
    return row ? KeysOfText(QString::fromUtf8(row->shortcut)) : QList<QKeySequence>();
}

// Nullopt where the text says nothing that can be used.
std::optional<QList<QKeySequence>> UserKeys(const QString& stored) {
    if (stored == kNoKey) return QList<QKeySequence>();
    const QList<QKeySequence> keys = KeysOfText(stored);
    if (keys.isEmpty()) return std::nullopt;
    return keys;
}

void WriteKeys(const LCommandRow& row, const QList<QKeySequence>& keys) {
    const QString name = QString::number(row.id);
    if (keys == TableShortcuts(row))
        DeleteSetting(kKeySection, name);
    else
        SetSettingString(
            kKeySection, name,
            keys.isEmpty() ? kNoKey : QKeySequence::listToString(keys, QKeySequence::PortableText));
}

}  // namespace

// Where there is no recording, playing in a loop has the key of recording a stream.
QList<QKeySequence> TableShortcuts(const LCommandRow& row) {
    constexpr int kRecordStream = 3049;
    if (!IsRegistered(LSubsystem::kRecording)) {
        if (row.id == kRecordStream) return {};
        if (row.id == kCmdLoop) return TableKeys(kRecordStream);
    }
    return KeysOfText(QString::fromUtf8(row.shortcut));
}

QHash<int, QList<QKeySequence>> AllShortcuts() {
    QHash<QString, QString> stored;
    for (const SettingRow& one : ListSettings(kKeySection)) stored.insert(one.name, one.value);
    QHash<int, QList<QKeySequence>> all;
    for (const LCommandRow& row : CommandTable())
        all.insert(row.id, UserKeys(stored.value(QString::number(row.id))).value_or(TableShortcuts(row)));
    return all;
}

QList<QKeySequence> ShortcutsOf(const LCommandRow& row) {
    const QString stored = GetSettingString(kKeySection, QString::number(row.id), {});
    return UserKeys(stored).value_or(TableShortcuts(row));
}

bool HasOwnShortcuts(const LCommandRow& row) { return ShortcutsOf(row) != TableShortcuts(row); }

void StoreShortcuts(int id, const QList<QKeySequence>& keys) {
    const auto all = AllShortcuts();
    for (const LCommandRow& row : CommandTable()) {
        if (row.id == id) {
            WriteKeys(row, keys);
            continue;
        }
        QList<QKeySequence> left = all.value(row.id);
        if (left.removeIf([&](const QKeySequence& key) { return keys.contains(key); }) > 0)
            WriteKeys(row, left);
    }
}

void ResetShortcuts(int id) {
    if (const LCommandRow* row = FindCommand(id)) StoreShortcuts(id, TableShortcuts(*row));
}

void ResetShortcuts() {
    for (const SettingRow& one : ListSettings(kKeySection)) DeleteSetting(kKeySection, one.name);
}

int CommandOfKey(const QKeySequence& key) {
    if (key.isEmpty()) return 0;
    const auto all = AllShortcuts();
    for (const LCommandRow& row : CommandTable())
        if (IsVisible(row) && all.value(row.id).contains(key)) return row.id;
    return 0;
}

}  // namespace ondarix
