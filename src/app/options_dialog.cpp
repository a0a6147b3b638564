// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/options_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QScrollArea>
#include <QSpinBox>
#include <QVBoxLayout>
#include <algorithm>

#include "app/command_search.h"
#include "app/options_device.h"
#include "app/theme.h"
#include "gen/paths.h"
#include "gen/settings.h"
#include "gen/text.h"

namespace ondarix {
namespace {

constexpr int kPageListWidth = 150;
constexpr int kLongestNumber = 160;

QString PlainLabel(const LOptionRow& row) {
    QString text = QString::fromUtf8(row.label);
    text.remove(QLatin1Char('&'));
    return text.endsWith(QLatin1Char(':')) ? text.chopped(1) : text;
}

QString DefaultOf(const LOptionRow& row) {
    return row.kind == LOptionKind::kFolder ? DataFolder() : QString::fromUtf8(row.fallback);
}

// Every word in the row's texts, or near enough in its label.
bool FitsOption(const LOptionRow& row, const QString& query) {
    const QString label = PlainLabel(row);
    const QString all = QString::fromUtf8(row.page) + QLatin1Char(' ') + label + QLatin1Char(' ') +
                        QString::fromUtf8(row.help) + QLatin1Char(' ') + QString::fromUtf8(row.choices);
    for (const QString& word : query.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        if (!all.contains(word, Qt::CaseInsensitive) && FitOf(word, label) == 0) return false;
    return true;
}

QLabel* AddHelp(const LOptionRow& row, QBoxLayout* layout, int indent) {
    if (!*row.help) return nullptr;
    auto* help = new QLabel(QString::fromUtf8(row.help));
    help->setTextFormat(Qt::PlainText);
    help->setWordWrap(true);
    help->setForegroundRole(QPalette::PlaceholderText);
    QFont small = help->font();
    small.setPointSizeF(small.pointSizeF() * 0.9);
    help->setFont(small);
    help->setIndent(indent);
    layout->addWidget(help);
    return help;
}

// The label above, or in the line of a short editor.
void AddLabelled(const LOptionRow& row, QBoxLayout* layout, QWidget* editor, bool above) {
    auto* label = new QLabel(QString::fromUtf8(row.label));
    label->setBuddy(editor);
    if (above) {
        layout->addWidget(label);
        layout->addWidget(editor);
        return;
    }
    auto* line = new QHBoxLayout;
    line->addWidget(label);
    line->addWidget(editor);
    line->addStretch(1);
    layout->addLayout(line);
}

}  // namespace

LOptionsDialog::LOptionsDialog(QWidget* owner, LMessageHost* messages)
    : QDialog(owner), boxes_(this), messages_(messages ? *messages : boxes_) {
    setObjectName(QStringLiteral("LOptionsDialog"));
    setWindowTitle(QStringLiteral("Options"));
    auto* layout = new QVBoxLayout(this);
    filter_ = new QLineEdit(this);
    filter_->setPlaceholderText(QStringLiteral("Find an option"));
    filter_->setAccessibleName(QStringLiteral("Find an option"));
    filter_->setClearButtonEnabled(true);
    layout->addWidget(filter_);
    auto* middle = new QHBoxLayout;
    pages_ = new QListWidget(this);
    pages_->setAccessibleName(QStringLiteral("Subjects"));
    pages_->setFixedWidth(kPageListWidth);
    pages_->setSpacing(2);
    stack_ = new QStackedWidget(this);
    middle->addWidget(pages_);
    middle->addWidget(stack_, 1);
    layout->addLayout(middle, 1);
    refusal_ = new QLabel(this);
    refusal_->setTextFormat(Qt::PlainText);
    refusal_->setWordWrap(true);
    refusal_->hide();
    layout->addWidget(refusal_);
    BuildPages();
    auto* buttons =
        new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Apply, this);
    apply_ = buttons->button(QDialogButtonBox::Apply);
    auto* defaults = buttons->addButton(QStringLiteral("De&faults"), QDialogButtonBox::ResetRole);
    defaults->setToolTip(QStringLiteral("The first values of this page"));
    layout->addWidget(buttons);

    connect(filter_, &QLineEdit::textChanged, this, &LOptionsDialog::Filter);
    connect(pages_, &QListWidget::currentRowChanged, stack_, &QStackedWidget::setCurrentIndex);
    connect(buttons, &QDialogButtonBox::accepted, this, &LOptionsDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &LOptionsDialog::reject);
    connect(apply_, &QPushButton::clicked, this, &LOptionsDialog::Apply);
    connect(defaults, &QPushButton::clicked, this, &LOptionsDialog::ShowDefaults);
    pages_->setCurrentRow(0);
    Follow();
    resize(640, 440);
}

void LOptionsDialog::BuildPages() {
    QVBoxLayout* rows = nullptr;
    const char* page = "";
    for (const LOptionRow& row : OptionTable()) {
        if (!IsRegistered(row.subsystem)) continue;
        if (QLatin1String(row.page) != QLatin1String(page)) {
            page = row.page;
            auto* scroll = new QScrollArea(stack_);
            scroll->setWidgetResizable(true);
            scroll->setFrameShape(QFrame::NoFrame);
            scroll->setFocusPolicy(Qt::NoFocus);
            auto* inside = new QWidget(scroll);
            rows = new QVBoxLayout(inside);
            rows->setContentsMargins(12, 4, 12, 4);
            rows->setSpacing(12);
            rows->setAlignment(Qt::AlignTop);
            scroll->setWidget(inside);
            stack_->addWidget(scroll);
            pages_->addItem(QString::fromUtf8(page));
        }
        auto* block = new QWidget;
        LControl control = MakeControl(row, block);
        control.row = &row;
        control.block = block;
        control.page = stack_->count() - 1;
        control.before = StoredOption(row);
        control.editor->setObjectName(QString::fromUtf8(row.name));
        control.editor->setAccessibleName(PlainLabel(row));
        control.editor->setAccessibleDescription(QString::fromUtf8(row.help));
        control.show(control.before);
        rows->addWidget(block);
        controls_.push_back(std::move(control));
    }
}

LOptionsDialog::LControl LOptionsDialog::MakeControl(const LOptionRow& row, QWidget* block) {
    if (row.kind == LOptionKind::kFolder) return MakeFolder(row, block);
    if (row.kind == LOptionKind::kDevice) return MakeDevice(row, block);
    auto* layout = new QVBoxLayout(block);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(3);
    LControl control;
    int indent = 0;
    if (row.kind == LOptionKind::kSwitch) {
        auto* box = new QCheckBox(QString::fromUtf8(row.label));
        layout->addWidget(box);
        indent = 24;
        control.editor = box;
        control.value = [box] { return box->isChecked() ? QStringLiteral("1") : QStringLiteral("0"); };
        control.show = [box](const QString& text) { box->setChecked(text == QLatin1String("1")); };
        connect(box, &QCheckBox::toggled, this, &LOptionsDialog::Follow);
    } else if (row.kind == LOptionKind::kNumber) {
        auto* spin = new QSpinBox;
        spin->setRange(row.least, row.most);
        spin->setSuffix(QString::fromUtf8(row.choices));
        spin->setMaximumWidth(kLongestNumber);
        AddLabelled(row, layout, spin, false);
        control.editor = spin;
        control.value = [spin] { return QString::number(spin->value()); };
        control.show = [spin](const QString& text) { spin->setValue(text.toInt()); };
        connect(spin, &QSpinBox::valueChanged, this, &LOptionsDialog::Follow);
    } else if (row.kind == LOptionKind::kChoice) {
        auto* combo = new QComboBox;
        combo->addItems(QString::fromUtf8(row.choices).split(QLatin1Char('|')));
        AddLabelled(row, layout, combo, false);
        control.editor = combo;
        control.value = [combo] { return QString::number(combo->currentIndex()); };
        control.show = [combo](const QString& text) { combo->setCurrentIndex(text.toInt()); };
        connect(combo, &QComboBox::currentIndexChanged, this, &LOptionsDialog::Follow);
    } else {
        auto* line = new QLineEdit;
        line->setMaxLength(kFixedTextLength);
        AddLabelled(row, layout, line, true);
        control.editor = line;
        control.value = [line] { return line->text().trimmed(); };
        control.show = [line](const QString& text) { line->setText(text); };
        connect(line, &QLineEdit::textChanged, this, &LOptionsDialog::Follow);
    }
    AddHelp(row, layout, indent);
    return control;
}

LOptionsDialog::LControl LOptionsDialog::MakeFolder(const LOptionRow& row, QWidget* block) {
    auto* layout = new QVBoxLayout(block);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(3);
    auto* line = new QLineEdit;
    auto* browse = new QPushButton(QStringLiteral("&Browse..."));
    browse->setAutoDefault(false);
    auto* label = new QLabel(QString::fromUtf8(row.label));
    label->setBuddy(line);
    auto* together = new QHBoxLayout;
    together->addWidget(line, 1);
    together->addWidget(browse);
    layout->addWidget(label);
    layout->addLayout(together);
    AddHelp(row, layout, 0);
    LControl control;
    control.editor = line;
    control.value = [line] {
        const QString text = QDir::fromNativeSeparators(line->text().trimmed());
        return text.isEmpty() ? text : QDir::cleanPath(text);
    };
    control.show = [line](const QString& text) { line->setText(QDir::toNativeSeparators(text)); };
    connect(line, &QLineEdit::textChanged, this, &LOptionsDialog::Follow);
    connect(browse, &QPushButton::clicked, line, [this, line] {
        const QString folder =
            QFileDialog::getExistingDirectory(this, QStringLiteral("Working Folder"), line->text());
        if (!folder.isEmpty()) line->setText(QDir::toNativeSeparators(folder));
    });
    return control;
}

void LOptionsDialog::ShowPage(const QString& title) {
    for (int page = 0; page < pages_->count(); ++page)
        if (pages_->item(page)->text() == title) pages_->setCurrentRow(page);
}

LOptionsDialog::LControl LOptionsDialog::MakeDevice(const LOptionRow& row, QWidget* block) {
    auto* layout = new QVBoxLayout(block);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(3);
    auto* device = new LDeviceOption(messages_, block);
    auto* label = new QLabel(QString::fromUtf8(row.label));
    label->setBuddy(device->Choice());
    layout->addWidget(label);
    layout->addWidget(device);
    AddHelp(row, layout, 0);
    LControl control;
    control.editor = device->Choice();
    control.value = [device] { return device->Value(); };
    control.show = [device](const QString& text) { device->SetValue(text); };
    connect(device->Choice(), &QComboBox::currentIndexChanged, this, &LOptionsDialog::Follow);
    return control;
}

bool LOptionsDialog::Counts(const LControl& control) const {
    QString name = QString::fromUtf8(control.row->onlyWith);
    if (name.isEmpty()) return true;
    const bool wanted = !name.startsWith(QLatin1Char('!'));
    if (!wanted) name.remove(0, 1);
    for (const LControl& other : controls_)
        if (QLatin1String(other.row->section) == QLatin1String(control.row->section) &&
            name == QLatin1String(other.row->name))
            return (other.value() == QLatin1String("1")) == wanted;
    return true;
}

// Enables what counts, and "Apply" when there is something to store.
void LOptionsDialog::Follow() {
    bool changed = false;
    for (const LControl& control : controls_) {
        const bool counts = Counts(control);
        const auto children = control.block->findChildren<QWidget*>();
        for (QWidget* part : children)
            if (!qobject_cast<QLabel*>(part) || static_cast<QLabel*>(part)->buddy()) part->setEnabled(counts);
        changed = changed || control.value() != control.before;
    }
    if (apply_) apply_->setEnabled(changed);
    refusal_->hide();
}

void LOptionsDialog::Filter(const QString& query) {
    QSet<int> withRows;
    for (const LControl& control : controls_) {
        const bool fits = FitsOption(*control.row, query);
        control.block->setVisible(fits);
        if (fits) withRows.insert(control.page);
    }
    int first = -1;
    for (int page = pages_->count() - 1; page >= 0; --page) {
        pages_->item(page)->setHidden(!withRows.contains(page));
        if (withRows.contains(page)) first = page;
    }
    if (first >= 0 && !withRows.contains(pages_->currentRow())) pages_->setCurrentRow(first);
}

void LOptionsDialog::ShowDefaults() {
    for (const LControl& control : controls_)
        if (control.page == pages_->currentRow()) control.show(DefaultOf(*control.row));
}

void LOptionsDialog::Complain(const LControl& control, const QString& why) {
    filter_->clear();
    pages_->setCurrentRow(control.page);
    control.editor->setFocus();
    refusal_->setText(why);
    refusal_->show();
}

bool LOptionsDialog::Apply() {
    for (const LControl& control : controls_) {
        if (control.value() == control.before || !Counts(control)) continue;
        const QString why = WhyNotOption(*control.row, control.value());
        if (why.isEmpty()) continue;
        Complain(control, why);
        return false;
    }
    bool stored = false;
    for (LControl& control : controls_) {
        const QString value = control.value();
        if (value == control.before || !Counts(control)) continue;
        if (!SetSettingString(QLatin1String(control.row->section), QLatin1String(control.row->name), value)) {
            Complain(control, QStringLiteral("The settings cannot be written."));
            return false;
        }
        control.before = value;
        stored = true;
    }
    Follow();
    if (!stored) return true;
    ApplyTheme(StoredTheme());
    Q_EMIT Applied();
    return true;
}

void LOptionsDialog::accept() {
    if (Apply()) QDialog::accept();
}

}  // namespace ondarix
