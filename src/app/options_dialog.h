// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QDialog>
#include <span>

namespace ondarix {

enum class LOptionKind : uint8_t { kSwitch, kNumber, kText, kChoice, kFolder };

// One setting of the options dialog: control, storage and help follow from the row.
struct LOptionRow {
    const char* page;
    LOptionKind kind;
    const char* section;
    const char* name;
    const char* label;  // with the mnemonic
    const char* help;
    const char* fallback;  // the default as it would be stored
    int least, most;       // of a number
    const char* choices;   // "a|b|c", stored by place
};
std::span<const LOptionRow> OptionTable();

// "Options": a page for each subject; stored when accepted. [ui]
class LOptionsDialog final : public QDialog {
    Q_OBJECT
  public:
    explicit LOptionsDialog(QWidget* owner);
};

}  // namespace ondarix
