// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QListView>

#include "app/effect_chain_model.h"

namespace ondarix {

// The list of a chain: a box, the name, and the values below it. Alt+Up and Alt+Down and the mouse move a
// row, Space switches it on and off. [ui]
class LEffectChainList final : public QListView {
    Q_OBJECT
  public:
    explicit LEffectChainList(QWidget* parent);

    LEffectChainModel& Effects() { return *model_; }
    int Row() const { return currentIndex().row(); }  // -1: none
    void Choose(int row);                             // the last one where it is gone
    void MoveChosen(int step);                        // by one row, up where negative

  Q_SIGNALS:
    void Chosen();   // another row, or none
    void Opened();   // Enter or a double click on a row
    void Deleted();  // Del

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

  private:
    LEffectChainModel* model_;
};

}  // namespace ondarix
