// SPDX-License-Identifier: GPL-3.0-or-later
// The keys of commands: the user's own where there are any, otherwise the table's. Settings section
// "CustomKeys", one name a command number, portable text; "none" for a command without a key. [ui]
#pragma once
#include <QHash>
#include <QKeySequence>
#include <QList>

#include "app/commands.h"

namespace ondarix {

QList<QKeySequence> ShortcutsOf(const LCommandRow& row);
// Of all commands by their numbers, with one look into the settings.
QHash<int, QList<QKeySequence>> AllShortcuts();
QList<QKeySequence> TableShortcuts(const LCommandRow& row);  // the first ones, of the table
// Others than the table's.
bool HasOwnShortcuts(const LCommandRow& row);
// Taken away from other commands that had them.
void StoreShortcuts(int id, const QList<QKeySequence>& keys);
void ResetShortcuts(int id);  // to the table's, taken away from commands that have them meanwhile
void ResetShortcuts();
// Which command the key runs now; 0: none.
int CommandOfKey(const QKeySequence& key);

}  // namespace ondarix
