// SPDX-License-Identifier: GPL-3.0-or-later
// The columns of a list, and their state in the settings. [ui]
#pragma once
#include <QTreeView>
#include <span>

namespace ondarix {

struct LListColumn {
    const char* id;  // in the settings, permanent
    const char* title;
    int width;              // pixels, at first
    bool isNumber = false;  // sorted by number
    bool isEditable = false;
};

// Brings widths, order and sorting of the columns back as the settings section `name` has them ("Columns":
// "time=120;label=280" from left to right; "SortedBy": "time", or "-time" downwards, or "" for the list's own
// order), and stores them there from now on. Call when `view` has its model.
void KeepColumns(QTreeView& view, std::span<const LListColumn> columns, const QString& name);

}  // namespace ondarix
