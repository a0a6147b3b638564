// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QTreeView>
#include <optional>

#include "app/list_model.h"

namespace ondarix {

// A list with columns. Selection, current row and place stay when the rows become others. F2 edits a cell,
// Enter and a double click choose, Delete removes. [ui]
class LListView final : public QTreeView {
  public:
    // Column state is kept under `name`.
    LListView(std::span<const LListColumn> columns, const QString& name, QWidget* parent);

    LListModel& Rows() { return *model_; }
    // Keys of the selected rows, as shown from above.
    std::vector<uint32_t> Selected() const;
    bool HasSelected() const { return selectionModel()->hasSelection(); }
    // The current row, when it is selected.
    std::optional<uint32_t> Current() const;
    void SelectOnly(uint32_t key);
    // Opens the editor in the current row.
    void EditColumn(int column);

    std::function<void()> choose, remove, selectionChange;

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

  private:
    void Remember();
    void Recall();

    LListModel* model_;
    std::vector<uint32_t> keptSelection_;
    uint32_t keptCurrent_ = 0;
    int keptRow_ = -1, keptScroll_ = 0;
};

}  // namespace ondarix
