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
}

QMdiSubWindow* LSoundArea::Place(QWidget* sound, const QIcon& icon) {
    const auto others = static_cast<int>(subWindowList().size());
    const bool maximize = GetSettingBool(kAreaSection, QStringLiteral("MaximizeWindows"), false) ||
                          (currentSubWindow() && currentSubWindow()->isMaximized());
    QMdiSubWindow* child = addSubWindow(sound);
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
