// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QAbstractTableModel>
#include <functional>
#include <span>
#include <vector>

#include "app/list_columns.h"

namespace ondarix {

struct LListRow {
    uint32_t key = 0;        // names the row while the list changes; unique
    QStringList texts;       // a column each
    QList<int64_t> numbers;  // what columns that are numbers are sorted by, a column each
    bool isPresent = false;  // stands out
    bool operator==(const LListRow&) const = default;
};

// Rows of a list, sorted by any column or in the order given. Ten thousand rows are no burden: nothing is
// kept for a row but its texts. [ui]
class LListModel final : public QAbstractTableModel {
    Q_OBJECT
  public:
    LListModel(std::span<const LListColumn> columns, QObject* parent);

    // In their own order. Where keys and order are the same as before, only what differs is drawn again.
    void SetRows(std::vector<LListRow> rows);
    // Before rows of something else, whose keys mean nothing to those that are there. What was typed into a
    // cell and not yet told is dropped.
    void Clear();
    const LListRow& Row(int row) const { return rows_[order_[static_cast<size_t>(row)]]; }
    int RowOf(uint32_t key) const;  // -1: none
    // Called, after the editor has closed, with what was typed into a cell.
    std::function<void(uint32_t key, int column, const QString& text)> edited;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    void sort(int column, Qt::SortOrder order) override;

  private:
    const LListColumn& Column(int column) const { return columns_[static_cast<size_t>(column)]; }
    std::vector<size_t> Sorted(const std::vector<LListRow>& rows) const;
    std::vector<size_t> SortedByText(const std::vector<LListRow>& rows, std::vector<size_t> order) const;

    std::span<const LListColumn> columns_;
    std::vector<LListRow> rows_;  // in their own order
    std::vector<size_t> order_;   // as shown
    int sortColumn_ = -1;
    Qt::SortOrder sortOrder_ = Qt::AscendingOrder;
    int clearings_ = 0;
};

}  // namespace ondarix
