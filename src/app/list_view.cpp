// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/list_view.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <algorithm>

#include "gen/text.h"

namespace ondarix {
namespace {

class LCellDelegate final : public QStyledItemDelegate {
  public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&,
                          const QModelIndex& index) const override {
        auto* edit = new QLineEdit(parent);
        edit->setObjectName(QStringLiteral("cellEditor"));
        edit->setFrame(false);
        edit->setMaxLength(kFixedTextLength);
        edit->setAccessibleName(index.model()->headerData(index.column(), Qt::Horizontal).toString());
        return edit;
    }
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        return QStyledItemDelegate::sizeHint(option, index) + QSize(0, 6);
    }
};

}  // namespace

LListView::LListView(std::span<const LListColumn> columns, const QString& name, QWidget* parent)
    : QTreeView(parent), model_(new LListModel(columns, this)) {
    setObjectName(QStringLiteral("list"));
    setModel(model_);
    setItemDelegate(new LCellDelegate(this));
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setAlternatingRowColors(true);
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers);
    header()->setSortIndicatorClearable(true);
    header()->setStretchLastSection(true);
    header()->setSectionsMovable(true);
    header()->setFirstSectionMovable(true);
    setSortingEnabled(true);
    KeepColumns(*this, columns, name);
    connect(model_, &QAbstractItemModel::modelAboutToBeReset, this, &LListView::Remember);
    connect(model_, &QAbstractItemModel::modelReset, this, &LListView::Recall);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        if (selectionChange) selectionChange();
    });
}

std::vector<uint32_t> LListView::Selected() const {
    std::vector<int> rows;
    for (const QItemSelectionRange& range : selectionModel()->selection())
        for (int row = range.top(); row <= range.bottom(); ++row) rows.push_back(row);
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    std::vector<uint32_t> keys;
    keys.reserve(rows.size());
    for (const int row : rows) keys.push_back(model_->Row(row).key);
    return keys;
}

std::optional<uint32_t> LListView::Current() const {
    const QModelIndex current = currentIndex();
    if (!current.isValid() || !selectionModel()->isSelected(current)) return std::nullopt;
    return model_->Row(current.row()).key;
}

void LListView::SelectOnly(uint32_t key) {
    const int row = model_->RowOf(key);
    if (row < 0) return;
    selectionModel()->setCurrentIndex(model_->index(row, 0),
                                      QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

void LListView::EditColumn(int column) {
    if (!currentIndex().isValid()) return;
    const QModelIndex cell = model_->index(currentIndex().row(), column);
    if (!(model_->flags(cell) & Qt::ItemIsEditable)) return;
    setFocus();
    scrollTo(cell);
    edit(cell);
}

// Keys typed into an open editor that it does not use come here as well.
void LListView::keyPressEvent(QKeyEvent* event) {
    const int key = event->key();
    const bool enter = key == Qt::Key_Return || key == Qt::Key_Enter;
    if (state() == EditingState) return enter ? event->accept() : QTreeView::keyPressEvent(event);
    if (enter && choose) {
        event->accept();
        return choose();
    }
    if (key == Qt::Key_Delete && remove) {
        event->accept();
        return remove();
    }
    if (key == Qt::Key_F2 && currentIndex().isValid()) {
        event->accept();
        const bool here = model_->flags(currentIndex()) & Qt::ItemIsEditable;
        return EditColumn(here ? currentIndex().column() : 0);
    }
    QTreeView::keyPressEvent(event);
}

void LListView::mouseDoubleClickEvent(QMouseEvent* event) {
    QTreeView::mouseDoubleClickEvent(event);
    if (choose && event->button() == Qt::LeftButton && indexAt(event->pos()).isValid()) choose();
}

void LListView::Remember() {
    keptSelection_ = Selected();
    std::sort(keptSelection_.begin(), keptSelection_.end());
    keptRow_ = currentIndex().row();
    keptCurrent_ = keptRow_ < 0 ? 0 : model_->Row(keptRow_).key;
    keptScroll_ = verticalScrollBar()->value();
}

// Neighbours become one range, so that thousands of selected rows are one entry. Where all that was selected
// is gone, the row in its place becomes the current one.
void LListView::Recall() {
    const int rows = model_->rowCount(), last = model_->columnCount() - 1;
    QItemSelection selection;
    int first = -1, current = -1;
    for (int row = 0; row <= rows; ++row) {
        const bool in = row < rows && std::binary_search(keptSelection_.begin(), keptSelection_.end(),
                                                         model_->Row(row).key);
        if (in && first < 0) first = row;
        if (!in && first >= 0) {
            selection.append(QItemSelectionRange(model_->index(first, 0), model_->index(row - 1, last)));
            first = -1;
        }
        if (keptRow_ >= 0 && row < rows && model_->Row(row).key == keptCurrent_) current = row;
    }
    if (rows > 0 && keptRow_ >= 0 && current < 0) current = std::min(keptRow_, rows - 1);
    if (current >= 0)
        selectionModel()->setCurrentIndex(model_->index(current, 0), QItemSelectionModel::NoUpdate);
    selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    verticalScrollBar()->setValue(keptScroll_);
    if (selectionChange) selectionChange();
}

}  // namespace ondarix
