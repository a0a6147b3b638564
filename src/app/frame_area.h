// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QMdiArea>

#include "app/start_screen.h"

namespace ondarix {

// The area of the sounds, as windows or as tabs; the start screen covers it while there is none. Windows that
// reach to its right or lower side keep doing so when it changes its size. [ui]
class LSoundArea final : public QMdiArea {
    Q_OBJECT
  public:
    explicit LSoundArea(QWidget* parent);

    LStartScreen& StartScreen() { return *start_; }
    // Setting "SoundsAsTabs".
    bool ShowsTabs() const { return viewMode() == TabbedView; }
    void ShowTabs(bool on);
    void Tile();
    void Cascade();
    // A window at the end of the staircase, or a tab.
    QMdiSubWindow* Place(QWidget* sound, const QIcon& icon);
    void ShowStart();  // or hides it, by whether anything is open
    // In the colours of the present theme.
    void Paint();

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void FocusSound();
    void ShowTabTitles();

    LStartScreen* start_;
};

}  // namespace ondarix
