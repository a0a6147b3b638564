// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QPushButton>
#include <QVBoxLayout>
#include <QWidget>

namespace ondarix {

// What stands where no sound is open: opening, a new file and the files used last. [ui]
class LStartScreen final : public QWidget {
    Q_OBJECT
  public:
    explicit LStartScreen(QWidget* parent);
    void ShowRecentFiles(const QStringList& files);

  Q_SIGNALS:
    void CommandChosen(int id);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    QVBoxLayout* recent_;
    QWidget* recentBox_;
    QStringList shown_;
};

}  // namespace ondarix
