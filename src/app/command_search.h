// SPDX-License-Identifier: GPL-3.0-or-later
// Finding commands by what they are called. [ui]
#pragma once
#include <vector>

#include "app/commands.h"

namespace ondarix {

// How well `word` fits `text`, both in any case; 0: not at all. From best to least: the same, its beginning,
// the beginning of a word in it, anywhere in it, the first letters of its words, a word of it with one letter
// wrong, missing, too many or two exchanged, its letters in order with others between.
int FitOf(const QString& word, const QString& text);

// The visible commands that every word of the query fits: by name first, then by the way through the menus,
// the keys, the number and the hint. Best first, otherwise in menu order; all for an empty query.
std::vector<const LCommandRow*> SearchCommands(const QString& query);

QString MenuPath(const LCommandRow& row);  // "Edit > Split", without the command itself

// What a command lacks that is not available now, as a sentence.
QString WhyUnavailable(const LCommandRow& row, bool soundIsOpen);

}  // namespace ondarix
