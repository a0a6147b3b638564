// SPDX-License-Identifier: GPL-3.0-or-later
// Questions about files that are written one by one, and about sounds that are joined.
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/input_dialogs.h"
#include "app/input_form.h"
#include "formats/file_types.h"
#include "formats/registry.h"
#include "gen/settings.h"
#include "gen/text.h"

namespace ondarix {
namespace {

// The types that a writer is there for; each item's data is its first extension.
void AddWritableFormats(QComboBox& combo, const QString& chosen) {
    for (const LFileTypeRow& row : SaveFileTypes()) {
        QStringList extensions = QString::fromUtf8(row.pattern).remove(u'*').split(u';');
        if (!FormatCanBeWritten(extensions[0])) continue;
        combo.addItem(QtFilter(row), extensions[0]);
        if (extensions.contains(chosen)) combo.setCurrentIndex(combo.count() - 1);
    }
}

QString StoredFormat(const QString& section, const QString& name) {
    QString extension = GetSettingString(section, name, QStringLiteral(".wav")).toLower();
    return extension.startsWith(u'.') ? extension : u'.' + extension;
}

void BrowseFolder(QWidget* owner, QLineEdit& edit) {
    QFileDialog dialog(owner, QStringLiteral("Choose Folder"), edit.text());
    dialog.setObjectName(QStringLiteral("folderDialog"));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    if (dialog.exec() == QDialog::Accepted)
        edit.setText(QDir::toNativeSeparators(dialog.selectedFiles().value(0)));
}

QLineEdit* AddFolder(LInputForm& form, const QString& folder) {
    auto* row = new QWidget(&form.Dialog());
    auto* edit = new QLineEdit(folder, row);
    edit->setMinimumWidth(300);
    auto* browse = new QPushButton(QStringLiteral("&Browse..."), row);
    browse->setObjectName(QStringLiteral("browse"));
    browse->setAutoDefault(false);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(edit, 1);
    layout->addWidget(browse);
    QObject::connect(browse, &QPushButton::clicked, row, [edit, row] { BrowseFolder(row->window(), *edit); });
    form.Row(QStringLiteral("&Folder:"), QStringLiteral("folder"), row, edit);
    return edit;
}

// A list whose ticked rows are the answer, in their order; Alt+Up and Alt+Down, the buttons or the mouse
// move a row.
class LOrderList final : public QWidget {
  public:
    LOrderList(const QStringList& titles, QWidget* parent) : QWidget(parent), list_(new QListWidget(this)) {
        list_->setDragDropMode(QAbstractItemView::InternalMove);
        for (qsizetype i = 0; i < titles.size(); ++i) {
            auto* item = new QListWidgetItem(titles[i], list_);
            item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
            item->setCheckState(Qt::Checked);
            item->setData(Qt::UserRole, static_cast<int>(i));
        }
        list_->setCurrentRow(0);
        auto* layout = new QHBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(list_, 1);
        auto* buttons = new QVBoxLayout;
        AddMove(*buttons, QStringLiteral("Move &Up"), QStringLiteral("moveUp"), Qt::Key_Up, -1);
        AddMove(*buttons, QStringLiteral("Move &Down"), QStringLiteral("moveDown"), Qt::Key_Down, 1);
        buttons->addStretch(1);
        layout->addLayout(buttons);
    }
    QListWidget* List() { return list_; }
    QList<int> Chosen() const {
        QList<int> chosen;
        for (int i = 0; i < list_->count(); ++i)
            if (list_->item(i)->checkState() == Qt::Checked)
                chosen.append(list_->item(i)->data(Qt::UserRole).toInt());
        return chosen;
    }

  private:
    void AddMove(QVBoxLayout& column, const QString& text, const QString& name, Qt::Key key, int by) {
        auto* button = new QPushButton(text, this);
        button->setObjectName(name);
        button->setAutoDefault(false);
        column.addWidget(button);
        connect(button, &QPushButton::clicked, this, [this, by] { Move(by); });
        auto* action = new QAction(this);
        action->setShortcut(QKeySequence(Qt::ALT | key));
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        connect(action, &QAction::triggered, this, [this, by] { Move(by); });
        addAction(action);
    }
    void Move(int by) {
        const int from = list_->currentRow(), to = from + by;
        if (from < 0 || to < 0 || to >= list_->count()) return;
        list_->insertItem(to, list_->takeItem(from));
        list_->setCurrentRow(to);
    }

    QListWidget* list_;
};

}  // namespace

std::optional<LPieceTarget> AskPieceTarget(QWidget* owner, const QString& title, const QString& section,
                                           const QString& folderName, const QString& formatName) {
    LInputForm form(owner, QStringLiteral("pieceTargetDialog"), title);
    QLineEdit* folder = AddFolder(
        form,
        QDir::toNativeSeparators(GetSettingString(
            section, folderName,
            GetSettingString(QStringLiteral("Settings"), QStringLiteral("SaveAsDir"), QDir::homePath()))));
    QComboBox* format = form.Choice(QStringLiteral("F&ormat:"), QStringLiteral("format"), {}, 0);
    AddWritableFormats(*format, StoredFormat(section, formatName));
    form.refuse = [&] {
        const QString path = QDir::fromNativeSeparators(folder->text().trimmed());
        if (!QDir::isAbsolutePath(path)) return QStringLiteral("Type the full path of a folder.");
        if (QFileInfo(path).exists() && !QFileInfo(path).isDir())
            return QStringLiteral("There is a file with this name, not a folder.");
        return QString();
    };
    if (format->count() == 0 || !form.Run()) return std::nullopt;
    const LPieceTarget target{QDir::cleanPath(QDir::fromNativeSeparators(folder->text().trimmed())),
                              format->currentData().toString()};
    SetSettingString(section, folderName, target.folder);
    SetSettingString(section, formatName, target.extension);
    return target;
}

QList<int> AskJoin(QWidget* owner, const QStringList& titles) {
    LInputForm form(owner, QStringLiteral("joinDialog"), QStringLiteral("Join"));
    form.Note(QStringLiteral("The ticked sounds come behind the active one, in this order."));
    auto* order = new LOrderList(titles, &form.Dialog());
    form.Row(QStringLiteral("&Sounds:"), QStringLiteral("sounds"), order, order->List());
    form.refuse = [order] {
        return order->Chosen().isEmpty() ? QStringLiteral("Tick at least one sound.") : QString();
    };
    return form.Run() ? order->Chosen() : QList<int>();
}

}  // namespace ondarix
