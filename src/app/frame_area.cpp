// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/frame_area.h"

#include <QAction>
#include <QMdiSubWindow>
#include <QMenu>
#include <QResizeEvent>
#include <QTabBar>

#include "app/start_trace.h"
#include "app/theme.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

const QString kAreaSection = QStringLiteral("Settings");
const QString kTabsName = QStringLiteral("SoundsAsTabs");
constexpr int kStairPixels = 28, kStairs = 8;

// Tab leaves the sound for what stands around it; Qt's own kind of window goes round within itself for ever.
class LSoundFrame final : public QMdiSubWindow {
  protected:
    bool focusNextPrevChild(bool next) override {
        QWidget* const from = window()->focusWidget();
        for (QWidget* to = from; to;) {
            to = next ? to->nextInFocusChain() : to->previousInFocusChain();
            if (to == from) break;
            if (!TakesTab(*to)) continue;
            window()->setAttribute(Qt::WA_KeyboardFocusChange);
            to->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
            return true;
        }
        return QMdiSubWindow::focusNextPrevChild(next);
    }

  private:
    bool TakesTab(const QWidget& widget) const {
        if ((widget.focusPolicy() & Qt::TabFocus) != Qt::TabFocus || widget.focusProxy()) return false;
        if (!widget.isVisible() || !widget.isEnabled() || widget.isAncestorOf(this)) return false;
        const QWidget* window = &widget;
        while (window && !qobject_cast<const QMdiSubWindow*>(window)) window = window->parentWidget();
        return !window || (window == this && &widget != this);  // no other sound
    }
};

}  // namespace

LSoundArea::LSoundArea(QWidget* parent) : QMdiArea(parent), start_(new LStartScreen(viewport())) {
    setObjectName(QStringLiteral("soundArea"));
    setAccessibleName(QStringLiteral("Open sounds"));
    setFrameShape(QFrame::NoFrame);
    setOption(QMdiArea::DontMaximizeSubWindowOnActivation);
    setTabsClosable(true);
    setTabsMovable(true);
    setDocumentMode(true);
    if (GetSettingBool(kAreaSection, kTabsName, false)) setViewMode(TabbedView);
    Paint();
}

// The style takes the title bars of inner windows from the colour of selected text.
void LSoundArea::Paint() {
    setBackground(WaveColours().area);
    QPalette calm;
    calm.setColor(QPalette::Active, QPalette::Highlight, WaveColours().titleBar);
    calm.setColor(QPalette::Inactive, QPalette::Highlight, WaveColours().titleBar);
    setPalette(calm);
}

void LSoundArea::ShowTabs(bool on) {
    SetSettingBool(kAreaSection, kTabsName, on);
    if (on == ShowsTabs()) return;
    QMdiSubWindow* current = currentSubWindow();
    setViewMode(on ? TabbedView : SubWindowView);
    for (QMdiSubWindow* window : subWindowList()) on ? window->showMaximized() : window->showNormal();
    if (current) setActiveSubWindow(current);
    // What was a tab had no place of its own.
    if (!on && current) tileSubWindows();
    FocusSound();
    ShowTabTitles();
}

void LSoundArea::Tile() {
    ShowTabs(false);
    tileSubWindows();
    FocusSound();
}

void LSoundArea::Cascade() {
    ShowTabs(false);
    cascadeSubWindows();
    FocusSound();
}

// While the windows change their shape, Qt gives the focus to whatever stands first in one of them.
void LSoundArea::FocusSound() {
    if (QMdiSubWindow* current = currentSubWindow()) current->widget()->setFocus();
}

// Qt takes a "&" of the title for the mark of a key, and that key away from the menus.
void LSoundArea::ShowTabTitles() {
    auto* tabs = findChild<QTabBar*>();
    const QList<QMdiSubWindow*> windows = subWindowList();
    if (!tabs || tabs->count() != windows.size()) return;
    for (int i = 0; i < tabs->count(); ++i) {
        QString title = windows[i]->widget() ? windows[i]->widget()->accessibleName() : QString();
        if (windows[i]->isWindowModified()) title += QLatin1Char('*');
        title.replace(QLatin1Char('&'), QStringLiteral("&&"));
        if (tabs->tabText(i) != title) tabs->setTabText(i, title);
    }
}

bool LSoundArea::eventFilter(QObject* watched, QEvent* event) {
    const bool done = QMdiArea::eventFilter(watched, event);
    if (event->type() == QEvent::WindowTitleChange || event->type() == QEvent::ModifiedChange)
        ShowTabTitles();
    return done;
}

QMdiSubWindow* LSoundArea::Place(QWidget* sound, const QIcon& icon) {
    const auto others = static_cast<int>(subWindowList().size());
    const bool maximize = GetSettingBool(kAreaSection, QStringLiteral("MaximizeWindows"), false) ||
                          (currentSubWindow() && currentSubWindow()->isMaximized());
    auto* child = new LSoundFrame;
    child->setAttribute(Qt::WA_DeleteOnClose);
    child->setWidget(sound);
    addSubWindow(child);
    child->setWindowIcon(icon);
    // Qt's own entry for closing has the same shortcut as the command, and two of them cancel each other.
    for (QAction* action : child->systemMenu()->actions()) action->setShortcuts(QList<QKeySequence>());
    start_->hide();
    if (maximize || ShowsTabs()) {
        child->showMaximized();
    } else {
        const int step = kStairPixels * (others % kStairs);
        child->setGeometry(viewport()->rect().adjusted(step, step, 0, 0));
        child->show();
    }
    setActiveSubWindow(child);
    ShowTabTitles();
    viewport()->update();
    return child;
}

void LSoundArea::ShowStart() {
    const bool empty = subWindowList().isEmpty();
    start_->setGeometry(viewport()->rect());
    start_->setVisible(empty);
    if (empty) start_->raise();
}

void LSoundArea::resizeEvent(QResizeEvent* event) {
    const QSize before = event->oldSize(), now = event->size();
    for (QMdiSubWindow* window : subWindowList()) {
        QRect place = window->geometry();
        if (!before.isValid() || window->isMaximized() || window->isMinimized()) continue;
        if (place.right() + 1 == before.width()) place.setRight(now.width() - 1);
        if (place.bottom() + 1 == before.height()) place.setBottom(now.height() - 1);
        if (place.width() > 80 && place.height() > 60) window->setGeometry(place);
    }
    QMdiArea::resizeEvent(event);
    start_->setGeometry(viewport()->rect());
}

void LSoundArea::paintEvent(QPaintEvent* event) {
    QMdiArea::paintEvent(event);
    TraceStart("window");
}

}  // namespace ondarix
