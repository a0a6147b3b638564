// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/list_model.h"

#include <QCollator>
#include <QFont>
#include <QHash>
#include <algorithm>
#include <numeric>

namespace ondarix {

LListModel::LListModel(std::span<const LListColumn> columns, QObject* parent)
    : QAbstractTableModel(parent), columns_(columns) {}

void LListModel::SetRows(std::vector<LListRow> rows) {
    std::vector<size_t> order = Sorted(rows);
    const auto sameKeys = [&] {
        for (size_t i = 0; i < rows.size(); ++i)
            if (rows[order[i]].key != rows_[order_[i]].key) return false;
        return true;
    };
    if (rows.size() == rows_.size() && sameKeys()) {
        for (size_t i = 0; i < rows.size(); ++i) {
            if (rows_[order_[i]] == rows[order[i]]) continue;
            rows_[order_[i]] = rows[order[i]];
            const int row = static_cast<int>(i);
            Q_EMIT dataChanged(index(row, 0), index(row, columnCount() - 1));
        }
        rows_ = std::move(rows);
        order_ = std::move(order);
        return;
    }
    beginResetModel();
    rows_ = std::move(rows);
    order_ = std::move(order);
    endResetModel();
}

void LListModel::Clear() {
    ++clearings_;
    SetRows({});
}

int LListModel::RowOf(uint32_t key) const {
    for (size_t i = 0; i < order_.size(); ++i)
        if (rows_[order_[i]].key == key) return static_cast<int>(i);
    return -1;
}

int LListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int LListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(columns_.size());
}

QVariant LListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const LListRow& row = Row(index.row());
    const QString text = row.texts.value(index.column());
    switch (role) {
        case Qt::DisplayRole:
        case Qt::EditRole:
        case Qt::ToolTipRole:  // the cell may be too narrow for it
            return text;
        case Qt::FontRole:
            if (!row.isPresent) return {};
            {
                QFont bold;
                bold.setBold(true);
                return bold;
            }
        case Qt::AccessibleTextRole:
            return row.isPresent ? text + QStringLiteral(", present state") : text;
        default:
            return {};
    }
}

QVariant LListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section >= columnCount()) return {};
    if (role == Qt::DisplayRole) return QString::fromUtf8(Column(section).title);
    if (role == Qt::TextAlignmentRole) return int(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}

Qt::ItemFlags LListModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    const Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    return Column(index.column()).isEditable ? flags | Qt::ItemIsEditable : flags;
}

// The change may ask or refuse in a message, which must not come up while the editor is still open.
bool LListModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    const QString text = value.toString();
    if (role != Qt::EditRole || !index.isValid() || !edited) return false;
    if (text == Row(index.row()).texts.value(index.column())) return true;
    const auto tell = [this, clearings = clearings_, key = Row(index.row()).key, column = index.column(),
                       text] {
        if (edited && clearings == clearings_) edited(key, column, text);
    };
    QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
    return true;
}

// By the rules of the language, numbers in names by their value: "Bookmark 2" before "Bookmark 10".
std::vector<size_t> LListModel::SortedByText(const std::vector<LListRow>& rows,
                                             std::vector<size_t> order) const {
    QCollator collator;
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::vector<QCollatorSortKey> keys;
    keys.reserve(rows.size());
    for (const LListRow& row : rows) keys.push_back(collator.sortKey(row.texts.value(sortColumn_)));
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
        const int compared = keys[a].compare(keys[b]);
        return sortOrder_ == Qt::AscendingOrder ? compared < 0 : compared > 0;
    });
    return order;
}

std::vector<size_t> LListModel::Sorted(const std::vector<LListRow>& rows) const {
    std::vector<size_t> order(rows.size());
    std::iota(order.begin(), order.end(), size_t{0});
    if (sortColumn_ < 0 || sortColumn_ >= columnCount()) return order;
    if (!Column(sortColumn_).isNumber) return SortedByText(rows, std::move(order));
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
        const int64_t x = rows[a].numbers.value(sortColumn_), y = rows[b].numbers.value(sortColumn_);
        return sortOrder_ == Qt::AscendingOrder ? x < y : y < x;
    });
    return order;
}

void LListModel::sort(int column, Qt::SortOrder order) {
    sortColumn_ = column;
    sortOrder_ = order;
    Q_EMIT layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    std::vector<size_t> sorted = Sorted(rows_);
    std::vector<int> place(rows_.size());
    for (size_t i = 0; i < sorted.size(); ++i) place[sorted[i]] = static_cast<int>(i);
    const QModelIndexList from = persistentIndexList();
    QModelIndexList to;
    to.reserve(from.size());
    for (const QModelIndex& old : from)
        to.append(index(place[order_[static_cast<size_t>(old.row())]], old.column()));
    order_ = std::move(sorted);
    changePersistentIndexList(from, to);
    Q_EMIT layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

}  // namespace ondarix
