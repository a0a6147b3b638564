// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QAction>
#include <QDockWidget>
#include <functional>

namespace ondarix {

// At the side: the commands flagged for it, in groups by their menus. [ui]
class LSidePanel final : public QDockWidget {
    Q_OBJECT
  public:
    LSidePanel(const std::function<QAction*(int id)>& actionOf, QWidget* parent);

  Q_SIGNALS:
    void Closed();  // by the user

  protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
};

}  // namespace ondarix
