// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QFrame>
#include <QLineEdit>
#include <QListView>
#include <QStandardItemModel>

#include "app/frame_documents.h"

namespace ondarix {

// The command search: a line, and below it the commands that fit what is typed, with their keys and, where
// one is not available, why. Enter or a click runs one, Escape closes. The frame makes it once. [ui]
class LSearchBar final : public QFrame {
    Q_OBJECT
  public:
    explicit LSearchBar(LFrameDocuments& frame);
    // Empty, at the top of the frame; a second time closes it.
    void Open();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    void Show(const QString& query);
    void Place();
    void Move(int rows);
    void RunCurrent();
    void Describe();
    bool TakeKey(const QKeyEvent& event);

    LFrameDocuments& frame_;
    QLineEdit* line_;
    QListView* list_;
    QStandardItemModel* model_;
};

}  // namespace ondarix
