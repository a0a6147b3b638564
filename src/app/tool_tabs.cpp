// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/tool_tabs.h"

#include <QTabBar>
#include <QToolBar>

#include "app/commands.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

const QString kToolSection = QStringLiteral("MainWindow");
const QString kToolTabName = QStringLiteral("ToolTab");
constexpr int kToolIcon = 22;

struct LShortText {
    int id;
    const char* text;
};
constexpr LShortText kShortTexts[] = {
    {kCmdConvertRate, "Sample Rate"},
    {kCmdHistory, "History"},
    {kCmdSilence, "Silence"},
    {kCmdSilenceAtCursor, "Insert Silence"},
    {kCmdLoop, "Loop"},
    {kCmdGoToStart, "Start"},
    {kCmdGoToEnd, "End"},
    {kCmdGoToSelectionStart, "Selection Start"},
    {kCmdGoToSelectionEnd, "Selection End"},
    {kCmdNextBookmark, "Next Bookmark"},
    {kCmdPreviousBookmark, "Previous Bookmark"},
    {kCmdZoomToSelection, "Zoom Selection"},
    {kCmdVerticalIn, "Vertical In"},
    {kCmdVerticalOut, "Vertical Out"},
    {kCmdAddRegion, "Add Region"},
    {kCmdExportRegions, "Export Regions"},
    {kCmdTabs, "Tabs"},
    {kCmdTile, "Tile"},
};

QToolBar* Page(LMenuId menu, const std::function<QAction*(int id)>& actionOf, QWidget* parent) {
    auto* page = new QToolBar(parent);
    page->setIconSize({kToolIcon, kToolIcon});
    page->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    page->setContextMenuPolicy(Qt::PreventContextMenu);
    for (const LCommandRow& row : CommandTable()) {
        QAction* action = actionOf(row.id);
        if (row.menu != menu || !(row.flags & kInToolbar) || !action) continue;
        if (row.flags & kSeparatorBefore && !page->actions().isEmpty()) page->addSeparator();
        page->addAction(action);
    }
    return page;
}

}  // namespace

QString ShortText(int id) {
    for (const LShortText& row : kShortTexts)
        if (row.id == id) return QString::fromUtf8(row.text);
    const LCommandRow* row = FindCommand(id);
    return row ? PlainText(*row).section(QStringLiteral(" ("), 0, 0) : QString();
}

LToolTabs::LToolTabs(const std::function<QAction*(int id)>& actionOf, QWidget* parent) : QTabWidget(parent) {
    setObjectName(QStringLiteral("toolTabs"));
    setAccessibleName(QStringLiteral("Tools"));
    setDocumentMode(true);
    setFocusPolicy(Qt::NoFocus);
    tabBar()->setFocusPolicy(Qt::NoFocus);
    tabBar()->setDrawBase(false);
    for (int i = 0; i < kMenus; ++i) {
        const auto menu = static_cast<LMenuId>(i);
        QToolBar* page = Page(menu, actionOf, this);
        if (page->actions().isEmpty()) {
            delete page;
            continue;
        }
        const QString title = QString::fromUtf8(MenuTitle(menu)).remove(QLatin1Char('&'));
        page->setAccessibleName(title);
        addTab(page, title);
    }
    const QString stored = GetSettingString(kToolSection, kToolTabName, QStringLiteral("Edit"));
    for (int i = 0; i < count(); ++i)
        if (tabText(i) == stored) setCurrentIndex(i);
    connect(this, &QTabWidget::currentChanged, this,
            [this](int index) { SetSettingString(kToolSection, kToolTabName, tabText(index)); });
}

// What does not fit stands behind the arrow at the right end.
QSize LToolTabs::minimumSizeHint() const { return {160, QTabWidget::minimumSizeHint().height()}; }

}  // namespace ondarix
