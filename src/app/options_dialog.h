// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QStackedWidget>
#include <functional>
#include <span>
#include <vector>

#include "app/commands.h"
#include "app/window_messages.h"

namespace ondarix {

enum class LOptionKind : uint8_t { kSwitch, kNumber, kText, kChoice, kFolder, kDevice };

// One setting of the options dialog: control, storage and help follow from the row.
struct LOptionRow {
    const char* page;
    LOptionKind kind;
    const char* section;
    const char* name;
    const char* label;  // with the mnemonic
    const char* help;
    const char* fallback;       // the default as it would be stored; of a folder "" for the program's own
    int least = 0, most = 0;    // of a number or choice
    const char* choices = "";   // "a|b|c", stored by place; the unit behind a number
    const char* onlyWith = "";  // the switch of the same section that must be on, with "!" off
    LSubsystem subsystem = LSubsystem::kEditor;  // hidden while that is not there
};
std::span<const LOptionRow> OptionTable();

// As stored now, otherwise the fallback; within the row's range.
QString StoredOption(const LOptionRow& row);
// Empty: can be stored. Otherwise why not, as a sentence.
QString WhyNotOption(const LOptionRow& row, const QString& value);

// "Options": a page for each subject; what was changed is stored when accepted or applied, and the theme is
// put on at once. [ui]
class LOptionsDialog final : public QDialog {
    Q_OBJECT
  public:
    // `messages`: where failures of the audio test are told; null: in boxes over the dialog.
    explicit LOptionsDialog(QWidget* owner, LMessageHost* messages = nullptr);
    void accept() override;
    // By its title; another one than there are: nothing.
    void ShowPage(const QString& title);
    // False: something cannot be stored, which is shown, and nothing was.
    bool Apply();

  Q_SIGNALS:
    void Applied();  // something was stored

  private:
    struct LControl {
        const LOptionRow* row = nullptr;
        int page = 0;
        QWidget* block = nullptr;   // all of the row
        QWidget* editor = nullptr;  // its object name is that of the setting
        std::function<QString()> value;
        std::function<void(const QString&)> show;
        QString before;
    };
    void BuildPages();
    LControl MakeControl(const LOptionRow& row, QWidget* block);
    LControl MakeFolder(const LOptionRow& row, QWidget* block);
    LControl MakeDevice(const LOptionRow& row, QWidget* block);
    void Filter(const QString& query);
    void Follow();
    void ShowDefaults();
    bool Counts(const LControl& control) const;
    void Complain(const LControl& control, const QString& why);

    LWindowMessages boxes_;
    LMessageHost& messages_;
    QLineEdit* filter_ = nullptr;
    QListWidget* pages_ = nullptr;
    QStackedWidget* stack_ = nullptr;
    QLabel* refusal_ = nullptr;
    QPushButton* apply_ = nullptr;
    std::vector<LControl> controls_;
};

}  // namespace ondarix
