// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QDialog>
#include <QKeySequenceEdit>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>

#include "app/commands.h"
#include "app/frame_documents.h"

namespace ondarix {

// "Custom Keys": the visible commands and their keys. What is assigned counts at once. [ui]
class LCustomKeysDialog final : public QDialog {
    Q_OBJECT
  public:
    explicit LCustomKeysDialog(LFrameDocuments& frame);
    void Choose(int id);  // the command whose keys are shown

  Q_SIGNALS:
    void Changed();  // the keys of some command are others

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void Build();
    void Fill();
    void Filter(const QString& query);
    void ShowChosen();
    void ShowConflict();
    void Store(const QList<QKeySequence>& keys);
    void Assign(bool beside);
    bool MayTake(const QKeySequence& key);
    void ResetOne();
    void ResetAll();
    QKeySequence Typed() const;
    const LCommandRow* Chosen() const;

    LFrameDocuments& frame_;
    QLineEdit* filter_ = nullptr;
    QTreeWidget* list_ = nullptr;
    QKeySequenceEdit* key_ = nullptr;
    QLabel* conflict_ = nullptr;
    QPushButton *assign_ = nullptr, *add_ = nullptr, *remove_ = nullptr, *reset_ = nullptr;
};

}  // namespace ondarix
