// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include "app/frame_documents.h"
#include "app/list_view.h"

namespace ondarix {

// What the windows have in common that list something of the open sounds: a heading, the list, its buttons;
// they stand beside the frame, remember their place and follow every change of the documents. None keeps a
// pointer to a sound: all are asked for again at the moment of use. [ui]
class LListWindow : public QDialog {
  public:
    ~LListWindow() override;

  protected:
    // `name` is the settings section of place and columns, `size` the first size.
    LListWindow(LFrameDocuments& frame, const QString& title, const QString& name,
                std::span<const LListColumn> columns, QSize size);

    // Brings the list and the buttons up to date.
    virtual void ShowRows() = 0;
    // The sound whose changes Ctrl+Z and Ctrl+Y take back here; null: none.
    virtual LSoundDocument* Shown() = 0;

    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

    // Below the buttons that are there; `help` is its tool tip.
    QPushButton* AddButton(const QString& text, const char* name, const QString& help,
                           const std::function<void()>& act);
    void AddButtonSpace();  // between two groups
    // With the other changes of this moment, once; at once when the list is to be used.
    void ShowSoon();
    void ShowNow();
    // Before the rows of one sound are shown: where it is another than before, the keys of the rows that are
    // there mean nothing to it.
    void ListOnly(const LSoundDocument* document);
    bool ListsOnly(const LSoundDocument& document) const { return &document == listed_; }
    std::vector<LSoundDocumentRef> Documents();
    LSoundWindow* WindowOf(const LSoundDocument& document);
    // Selects, or sets the cursor where both are equal, and brings it into view.
    void SelectIn(LSoundDocument& document, int64_t start, int64_t end, int64_t cursor);

    LFrameDocuments& frame_;
    QVBoxLayout* top_;  // above the list
    QLabel* heading_;
    LListView* list_;

  private:
    void AddUndoKeys();
    void RestorePlace(QSize first);
    void StorePlace();

    QString name_;
    QVBoxLayout* buttons_;
    QTimer pending_;
    bool placed_ = false;
    const void* listed_ = nullptr;  // only compared
};

}  // namespace ondarix
