// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/custom_keys.h"

#include <QDialogButtonBox>
#include <QEvent>
#include <QGridLayout>
#include <QHeaderView>
#include <QSet>
#include <QTimer>
#include <QVBoxLayout>

#include "app/command_search.h"
#include "app/shortcuts.h"

namespace ondarix {
namespace {

constexpr int kNameColumn = 0, kKeyColumn = 1, kPlaceColumn = 2;

QString NativeKeys(const QList<QKeySequence>& keys) {
    QStringList texts;
    for (const QKeySequence& key : keys) texts.append(key.toString(QKeySequence::NativeText));
    return texts.join(QStringLiteral(", "));
}

// The title of the menu that the key opens, empty: none.
QString MenuOfKey(const QKeySequence& key) {
    for (int i = 0; i < kMenus; ++i) {
        const QString title = QString::fromUtf8(MenuTitle(static_cast<LMenuId>(i)));
        if (QKeySequence::mnemonic(title) == key) return QString(title).remove(QLatin1Char('&'));
    }
    return {};
}

QPushButton* AddButton(QBoxLayout* row, const char* text, const char* help) {
    auto* button = new QPushButton(QString::fromUtf8(text));
    button->setToolTip(QString::fromUtf8(help));
    button->setAutoDefault(false);
    row->addWidget(button);
    return button;
}

}  // namespace

LCustomKeysDialog::LCustomKeysDialog(LFrameDocuments& frame) : QDialog(frame.Window()), frame_(frame) {
    setObjectName(QStringLiteral("LCustomKeysDialog"));
    setWindowTitle(QStringLiteral("Custom Keys"));
    Build();
    Fill();
    resize(680, 560);
    filter_->setFocus();
}

void LCustomKeysDialog::Build() {
    auto* layout = new QVBoxLayout(this);
    filter_ = new QLineEdit(this);
    filter_->setPlaceholderText(QStringLiteral("Find a command or a key"));
    filter_->setAccessibleName(QStringLiteral("Find a command or a key"));
    filter_->setClearButtonEnabled(true);
    layout->addWidget(filter_);

    list_ = new QTreeWidget(this);
    list_->setHeaderLabels({QStringLiteral("Command"), QStringLiteral("Keys"), QStringLiteral("Menu")});
    list_->setAccessibleName(QStringLiteral("Commands and their keys"));
    list_->setRootIsDecorated(false);
    list_->setUniformRowHeights(true);
    list_->setAllColumnsShowFocus(true);
    list_->header()->setStretchLastSection(true);
    list_->setColumnWidth(kNameColumn, 290);
    list_->setColumnWidth(kKeyColumn, 150);
    layout->addWidget(list_, 1);

    auto* keyRow = new QHBoxLayout;
    key_ = new QKeySequenceEdit(this);
    key_->installEventFilter(this);
    key_->setAccessibleName(QStringLiteral("New key"));
    auto* label = new QLabel(QStringLiteral("Press the &new key:"), this);
    label->setBuddy(key_);
    keyRow->addWidget(label);
    keyRow->addWidget(key_, 1);
    assign_ = AddButton(keyRow, "&Assign", "The command's only key");
    add_ = AddButton(keyRow, "A&dd", "One more key beside those that the command has");
    layout->addLayout(keyRow);
    conflict_ = new QLabel(this);
    conflict_->setTextFormat(Qt::PlainText);
    conflict_->setWordWrap(true);
    conflict_->setMinimumHeight(fontMetrics().height() + 4);
    layout->addWidget(conflict_);

    auto* lower = new QHBoxLayout;
    remove_ = AddButton(lower, "Re&move Keys", "The command then has no key");
    reset_ = AddButton(lower, "&Reset", "Back to the keys that the command had at first");
    QPushButton* resetAll = AddButton(lower, "Reset A&ll...", "All commands back to their first keys");
    lower->addStretch(1);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    lower->addWidget(buttons);
    layout->addLayout(lower);

    connect(filter_, &QLineEdit::textChanged, this, &LCustomKeysDialog::Filter);
    connect(list_, &QTreeWidget::currentItemChanged, this, [this] { ShowChosen(); });
    connect(key_, &QKeySequenceEdit::keySequenceChanged, this, [this] { ShowConflict(); });
    connect(assign_, &QPushButton::clicked, this, [this] { Assign(false); });
    connect(add_, &QPushButton::clicked, this, [this] { Assign(true); });
    connect(remove_, &QPushButton::clicked, this, [this] { Store({}); });
    connect(reset_, &QPushButton::clicked, this, &LCustomKeysDialog::ResetOne);
    connect(resetAll, &QPushButton::clicked, this, &LCustomKeysDialog::ResetAll);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

// Keys that the user has changed stand out.
void LCustomKeysDialog::Fill() {
    const LCommandRow* chosen = Chosen();
    const int id = chosen ? chosen->id : 0;
    const auto keys = AllShortcuts();
    list_->clear();
    for (const LCommandRow& row : CommandTable()) {
        if (!IsVisible(row)) continue;
        auto* item = new QTreeWidgetItem(list_);
        item->setText(kNameColumn, PlainText(row));
        item->setText(kKeyColumn, NativeKeys(keys.value(row.id)));
        item->setText(kPlaceColumn, MenuPath(row));
        item->setData(kNameColumn, Qt::UserRole, row.id);
        if (HasOwnShortcuts(row)) {
            QFont strong = item->font(kKeyColumn);
            strong.setBold(true);
            item->setFont(kKeyColumn, strong);
            item->setToolTip(kKeyColumn, QStringLiteral("Your own key"));
        }
    }
    Filter(filter_->text());
    Choose(id);
}

void LCustomKeysDialog::Choose(int id) {
    QTreeWidgetItem* wanted = nullptr;
    for (int i = 0; i < list_->topLevelItemCount(); ++i) {
        QTreeWidgetItem* item = list_->topLevelItem(i);
        if (item->isHidden()) continue;
        if (!wanted || item->data(kNameColumn, Qt::UserRole).toInt() == id) wanted = item;
    }
    list_->setCurrentItem(wanted);
    if (wanted) list_->scrollToItem(wanted);
    ShowChosen();
}

void LCustomKeysDialog::Filter(const QString& query) {
    QSet<int> fitting;
    for (const LCommandRow* row : SearchCommands(query)) fitting.insert(row->id);
    for (int i = 0; i < list_->topLevelItemCount(); ++i) {
        QTreeWidgetItem* item = list_->topLevelItem(i);
        const bool keyFits = item->text(kKeyColumn).contains(query.trimmed(), Qt::CaseInsensitive);
        const bool shown = fitting.contains(item->data(kNameColumn, Qt::UserRole).toInt()) || keyFits;
        item->setHidden(!shown);
    }
    const QTreeWidgetItem* current = list_->currentItem();
    if (!current || current->isHidden()) Choose(0);
}

const LCommandRow* LCustomKeysDialog::Chosen() const {
    const QTreeWidgetItem* item = list_->currentItem();
    return item && !item->isHidden() ? FindCommand(item->data(kNameColumn, Qt::UserRole).toInt()) : nullptr;
}

void LCustomKeysDialog::ShowChosen() {
    const LCommandRow* row = Chosen();
    key_->setEnabled(row);
    remove_->setEnabled(row && !ShortcutsOf(*row).isEmpty());
    reset_->setEnabled(row && HasOwnShortcuts(*row));
    key_->clear();
    ShowConflict();
}

// The editor would wait for the rest of a sequence.
bool LCustomKeysDialog::eventFilter(QObject* watched, QEvent* event) {
    if (watched == key_ && event->type() == QEvent::KeyRelease && !Typed().isEmpty())
        QTimer::singleShot(0, this, [this] {
            key_->setKeySequence(Typed());
            ShowConflict();
        });
    return QDialog::eventFilter(watched, event);
}

// One key with its modifiers: of a sequence the beginning would already run something.
QKeySequence LCustomKeysDialog::Typed() const {
    const QKeySequence typed = key_->keySequence();
    return typed.isEmpty() ? typed : QKeySequence(typed[0]);
}

void LCustomKeysDialog::ShowConflict() {
    const QKeySequence key = Typed();
    const LCommandRow* chosen = Chosen();
    const int id = CommandOfKey(key);
    const QString menu = MenuOfKey(key);
    const bool isHere = chosen && id == chosen->id;
    assign_->setEnabled(chosen && !key.isEmpty() && menu.isEmpty());
    add_->setEnabled(chosen && !key.isEmpty() && menu.isEmpty() && !isHere);
    QString text;
    if (key.isEmpty())
        text = QString();
    else if (!menu.isEmpty())
        text = QStringLiteral("%1 opens the menu \"%2\".").arg(key.toString(QKeySequence::NativeText), menu);
    else if (id != 0)
        text = QStringLiteral("%1 runs \"%2\" now.")
                   .arg(key.toString(QKeySequence::NativeText), CommandPath(*FindCommand(id)));
    else
        text = QStringLiteral("%1 is free.").arg(key.toString(QKeySequence::NativeText));
    conflict_->setText(text);
}

bool LCustomKeysDialog::MayTake(const QKeySequence& key) {
    const int id = CommandOfKey(key);
    if (id == 0 || id == Chosen()->id) return true;
    const QString text = QStringLiteral("%1 runs \"%2\" now. Take it away from there?")
                             .arg(key.toString(QKeySequence::NativeText), CommandPath(*FindCommand(id)));
    return frame_.EditHost().Messages().Ask(QStringLiteral("Custom Keys"), text,
                                            {QStringLiteral("Take Away"), QStringLiteral("Cancel")}, 1) == 0;
}

void LCustomKeysDialog::Assign(bool beside) {
    const LCommandRow* row = Chosen();
    const QKeySequence key = Typed();
    if (!row || key.isEmpty() || !MayTake(key)) return;
    QList<QKeySequence> keys = beside ? ShortcutsOf(*row) : QList<QKeySequence>();
    if (!keys.contains(key)) keys.append(key);
    Store(keys);
}

void LCustomKeysDialog::Store(const QList<QKeySequence>& keys) {
    const LCommandRow* row = Chosen();
    if (!row) return;
    StoreShortcuts(row->id, keys);
    Fill();
    Q_EMIT Changed();
}

void LCustomKeysDialog::ResetOne() {
    const LCommandRow* row = Chosen();
    if (!row) return;
    for (const QKeySequence& key : TableShortcuts(*row))
        if (!MayTake(key)) return;
    ResetShortcuts(row->id);
    Fill();
    Q_EMIT Changed();
}

void LCustomKeysDialog::ResetAll() {
    const QString text = QStringLiteral("Give all commands their first keys back? Your own keys are lost.");
    if (frame_.EditHost().Messages().Ask(QStringLiteral("Custom Keys"), text,
                                         {QStringLiteral("Reset All"), QStringLiteral("Cancel")}, 1) != 0)
        return;
    ResetShortcuts();
    Fill();
    Q_EMIT Changed();
}

}  // namespace ondarix
