// SPDX-License-Identifier: GPL-3.0-or-later
// Menus, tools and status bar of the frame, from the table of the commands.
#include <QMenuBar>
#include <QStatusBar>
#include <QToolBar>

#include "app/frame.h"
#include "app/recent_files.h"
#include "app/shortcuts.h"
#include "app/side_panel.h"
#include "app/theme.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

constexpr int kRecentInMenu = 5;  // the others stand in a menu below

// Where the next row of a menu goes: into the menu itself or below its last heading.
struct LMenuPlace {
    QMenu* menu = nullptr;
    QMenu* below = nullptr;
    bool separate = false;  // asked for by a row that is hidden

    QMenu* At(const LCommandRow& row) { return row.level > 0 && below ? below : menu; }
};

// Only where something of it is visible.
bool HeadingIsNeeded(std::span<const LCommandRow> rows, size_t heading) {
    for (size_t i = heading + 1; i < rows.size(); ++i) {
        if (rows[i].level <= rows[heading].level || rows[i].menu != rows[heading].menu) return false;
        if (IsVisible(rows[i])) return true;
    }
    return false;
}

void AddSeparator(LMenuPlace& place, QMenu* menu, const LCommandRow& row) {
    const bool wanted = row.flags & kSeparatorBefore || (menu == place.menu && place.separate);
    if (menu == place.menu) place.separate = false;
    if (wanted && !menu->isEmpty()) menu->addSeparator();
}

}  // namespace

void LMainFrame::BuildActions() {
    themes_ = new QActionGroup(this);
    const auto keys = AllShortcuts();
    for (const LCommandRow& row : CommandTable()) {
        if (!IsVisible(row)) continue;
        auto* action = new QAction(QString::fromUtf8(row.text), this);
        action->setObjectName(QStringLiteral("command%1").arg(row.id));
        if (*row.icon) action->setIcon(ThemedIcon(QString::fromUtf8(row.icon)));
        action->setIconText(ShortText(row.id));
        action->setShortcuts(keys.value(row.id));
        action->setCheckable(row.flags & kCheckable);
        action->setProperty("command", row.id);
        if (row.id >= kCmdThemeSystem && row.id <= kCmdThemeDark) themes_->addAction(action);
        connect(action, &QAction::triggered, this, [this, id = row.id] {
            RunCommand(id);
            if (!closing_) RefreshChecks();  // the click has turned the mark, whatever came of it
        });
        actions_.insert(row.id, action);
        addAction(action);
    }
    for (int i = 0; i < kMostRecentFiles; ++i) {
        auto* action = new QAction(this);
        action->setObjectName(QStringLiteral("recent%1").arg(i));
        connect(action, &QAction::triggered, this, [this, i] { RunCommand(kCmdFirstRecent + i); });
        actions_.insert(kCmdFirstRecent + i, action);
    }
}

void LMainFrame::BuildMenus() {
    LMenuPlace places[kMenus];
    const auto rows = MenuTable();
    for (int i = 0; i < kMenus; ++i) {
        const QString title = QString::fromUtf8(MenuTitle(static_cast<LMenuId>(i)));
        places[i].menu = new QMenu(title, this);
        places[i].menu->setObjectName(QString(title).remove(QLatin1Char('&')).toLower() +
                                      QStringLiteral("Menu"));
        places[i].menu->setToolTipsVisible(true);
    }
    viewMenu_ = places[static_cast<int>(LMenuId::kView)].menu;
    for (size_t i = 0; i < rows.size(); ++i) {
        const LCommandRow& row = rows[i];
        if (row.menu == LMenuId::kContext) continue;
        LMenuPlace& place = places[static_cast<int>(row.menu)];
        if (row.flags & kRecentBefore) {
            place.menu->addSeparator();
            auto* none = place.menu->addAction(QStringLiteral("No Recent Files"));
            none->setEnabled(false);
            actions_.insert(kCmdNoRecent, none);
            for (int k = 0; k < kRecentInMenu; ++k) place.menu->addAction(actions_[kCmdFirstRecent + k]);
            moreRecent_ = place.menu->addMenu(QStringLiteral("More Recent Files"));
            for (int k = kRecentInMenu; k < kMostRecentFiles; ++k)
                moreRecent_->addAction(actions_[kCmdFirstRecent + k]);
        }
        QMenu* menu = place.At(row);
        if (row.id == kCmdHeading) {
            if (!HeadingIsNeeded(rows, i)) continue;
            AddSeparator(place, place.menu, row);
            place.below = place.menu->addMenu(QString::fromUtf8(row.text));
            place.below->setToolTipsVisible(true);
        } else if (QAction* action = ActionOf(row.id)) {
            AddSeparator(place, menu, row);
            menu->addAction(action);
        } else if (menu == place.menu && row.flags & kSeparatorBefore) {
            place.separate = true;
        }
    }
    for (const LMenuPlace& place : places) {
        if (place.menu->isEmpty())
            delete place.menu;
        else
            menuBar()->addMenu(place.menu);
    }
    connect(places[0].menu, &QMenu::aboutToShow, this, &LMainFrame::ShowRecentFiles);
    connect(viewMenu_, &QMenu::aboutToShow, this, &LMainFrame::ShowOpenWindows);
}

// Built at its first use.
QMenu* LMainFrame::ContextMenu() {
    if (contextMenu_) return contextMenu_;
    contextMenu_ = new QMenu(this);
    contextMenu_->setObjectName(QStringLiteral("contextMenu"));
    LMenuId menu = LMenuId::kEdit;
    for (const LCommandRow& row : CommandTable()) {
        QAction* action = ActionOf(row.id);
        if (!action || !(row.flags & kInContext || row.menu == LMenuId::kContext)) continue;
        if (row.menu != menu || row.flags & kSeparatorBefore) contextMenu_->addSeparator();
        menu = row.menu;
        contextMenu_->addAction(action);
    }
    return contextMenu_;
}

void LMainFrame::ShowContextMenu(LSoundWindow& window, QPoint global, const LViewPlace& place) {
    Activate(window);
    contextPlace_ = place;
    RefreshActions();
    ContextMenu()->popup(global);
}

void LMainFrame::BuildTools() {
    const auto actionOf = [this](int id) { return ActionOf(id); };
    tools_ = new LToolTabs(actionOf, this);
    toolBar_ = addToolBar(QStringLiteral("Tools"));
    toolBar_->setObjectName(QStringLiteral("toolbar"));
    toolBar_->setAccessibleName(QStringLiteral("Tools"));
    toolBar_->setMovable(false);
    toolBar_->setContextMenuPolicy(Qt::PreventContextMenu);
    toolBar_->toggleViewAction()->setVisible(false);
    tools_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    toolBar_->addWidget(tools_);
    const QString section = QStringLiteral("MainWindow");
    toolBar_->setVisible(GetSettingBool(section, QStringLiteral("Tools"), true));

    auto* panel = new LSidePanel(actionOf, this);
    sidePanel_ = panel;
    addDockWidget(Qt::LeftDockWidgetArea, panel);
    panel->setVisible(GetSettingBool(section, QStringLiteral("SidePanel"), true));
    connect(panel, &LSidePanel::Closed, this, [this] {
        if (!closing_) ShowSidePanel(false);
    });
    setContextMenuPolicy(Qt::NoContextMenu);
}

void LMainFrame::BuildStatusBar() {
    const auto label = [this](const char* objectName, const char* accessible, int stretch) {
        auto* text = new QLabel(this);
        text->setObjectName(QLatin1String(objectName));
        text->setAccessibleName(QLatin1String(accessible));
        text->setContentsMargins(6, 0, 6, 0);
        statusBar()->addPermanentWidget(text, stretch);
        return text;
    };
    position_ = label("statusPosition", "Cursor", 0);
    selection_ = label("statusSelection", "Selection", 0);
    length_ = label("statusLength", "Length", 0);
    format_ = label("statusFormat", "Format", 0);
    disk_ = label("statusDisk", "Free disk space", 0);
}

}  // namespace ondarix
