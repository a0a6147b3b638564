// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QAction>
#include <QTabWidget>
#include <functional>

namespace ondarix {

// Above the waves: a tab for each menu with the commands of its that are flagged for it, icon over text.
// [ui]
class LToolTabs final : public QTabWidget {
    Q_OBJECT
  public:
    // `actionOf` answers the action of a visible command.
    LToolTabs(const std::function<QAction*(int id)>& actionOf, QWidget* parent);

    QSize minimumSizeHint() const override;
};

// What fits below an icon.
QString ShortText(int id);

}  // namespace ondarix
