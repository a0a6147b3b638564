// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/side_panel.h"

#include <QKeyEvent>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/commands.h"

namespace ondarix {
namespace {

QLabel* GroupTitle(LMenuId menu, QWidget* parent) {
    auto* title = new QLabel(QString::fromUtf8(MenuTitle(menu)).remove(QLatin1Char('&')), parent);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    title->setContentsMargins(6, 8, 6, 2);
    return title;
}

QToolButton* PanelButton(QAction* action, QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setDefaultAction(action);
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    return button;
}

}  // namespace

LSidePanel::LSidePanel(const std::function<QAction*(int id)>& actionOf, QWidget* parent)
    : QDockWidget(QStringLiteral("Commands"), parent) {
    setObjectName(QStringLiteral("sidePanel"));
    setAccessibleName(QStringLiteral("Side panel of commands"));
    setAllowedAreas(Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea);
    setFeatures(DockWidgetClosable | DockWidgetMovable);
    auto* content = new QWidget;
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(2, 0, 2, 4);
    column->setSpacing(0);
    LMenuId group = LMenuId::kContext;
    for (const LCommandRow& row : CommandTable()) {
        QAction* action = actionOf(row.id);
        if (!(row.flags & kInPanel) || !action) continue;
        if (row.menu != group) column->addWidget(GroupTitle(row.menu, content));
        group = row.menu;
        column->addWidget(PanelButton(action, content));
        column->itemAt(column->count() - 1)->widget()->installEventFilter(this);
    }
    column->addStretch(1);
    auto* scroll = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->verticalScrollBar()->setAccessibleName(QStringLiteral("Position in the side panel"));
    scroll->setWidget(content);
    scroll->setMinimumWidth(content->sizeHint().width() + 16);
    setWidget(scroll);
}

// The space bar presses the button that the keyboard is at, rather than to play.
bool LSidePanel::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride &&
        static_cast<QKeyEvent*>(event)->keyCombination() == QKeyCombination(Qt::Key_Space)) {
        event->accept();
        return true;
    }
    return QDockWidget::eventFilter(watched, event);
}

void LSidePanel::closeEvent(QCloseEvent* event) {
    QDockWidget::closeEvent(event);
    Q_EMIT Closed();
}

}  // namespace ondarix
