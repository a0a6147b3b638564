// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/frame.h"

#include <QApplication>
#include <QCloseEvent>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QPainter>
#include <QResizeEvent>
#include <QScreen>
#include <QShortcut>
#include <QStatusBar>
#include <QToolBar>
#include <algorithm>

#include "app/commands.h"
#include "app/desktop_theme.h"
#include "app/recent_files.h"
#include "app/start_trace.h"
#include "app/theme.h"
#include "app/time_text.h"
#include "app/window_messages.h"
#include "gen/phase.h"
#include "gen/settings.h"
#include "sound/cache.h"

namespace ondarix {
namespace {

const QString kPlaceSection = QStringLiteral("MainWindow");
constexpr int kRecentInMenu = 5;  // the others stand in a menu below
constexpr int kDiskIntervalMs = 5000;
constexpr int kFarthestPixel = 1 << 20;  // of a place that can be meant

// The area of the sounds; says what can be done where there are none. Windows that reach to its right or
// lower side keep doing so when it changes its size.
class LSoundArea final : public QMdiArea {
  public:
    using QMdiArea::QMdiArea;

  protected:
    void resizeEvent(QResizeEvent* event) override {
        const QSize before = event->oldSize(), now = event->size();
        for (QMdiSubWindow* window : subWindowList()) {
            QRect place = window->geometry();
            if (!before.isValid() || window->isMaximized() || window->isMinimized()) continue;
            if (place.right() + 1 == before.width()) place.setRight(now.width() - 1);
            if (place.bottom() + 1 == before.height()) place.setBottom(now.height() - 1);
            if (place.width() > 80 && place.height() > 60) window->setGeometry(place);
        }
        QMdiArea::resizeEvent(event);
    }

    void paintEvent(QPaintEvent* event) override {
        QMdiArea::paintEvent(event);
        TraceStart("window");
        if (!subWindowList().isEmpty()) return;
        QPainter painter(viewport());
        QFont large = font();
        large.setPointSizeF(large.pointSizeF() * 1.5);
        const QRect middle = viewport()->rect();
        const int side = 72;
        ProgramIcon().paint(&painter, middle.center().x() - side / 2, middle.center().y() - side - 16, side,
                            side);
        painter.setFont(large);
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(middle.adjusted(0, 44, 0, 0), Qt::AlignCenter,
                         QStringLiteral("Drop sound files here"));
        painter.setFont(font());
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(middle.adjusted(0, 100, 0, 0), Qt::AlignCenter,
                         QStringLiteral("or press Ctrl+O to choose them"));
    }
};

QString HintFor(const LCommandRow& row) {
    QString name = QString::fromUtf8(row.text).remove(QLatin1Char('&'));
    if (name.endsWith(QStringLiteral("..."))) name.chop(3);
    return QStringLiteral("Open an audio file to use %1").arg(name);
}

}  // namespace

LMainFrame::LMainFrame() : messages_(std::make_unique<LWindowMessages>(this)) {
    ApplyTheme(StoredTheme());
    setObjectName(QStringLiteral("mainFrame"));
    setWindowTitle(QStringLiteral("Ondarix Sound Editor"));
    setWindowIcon(ProgramIcon());
    setAcceptDrops(true);
    area_ = new LSoundArea(this);
    area_->setObjectName(QStringLiteral("soundArea"));
    area_->setAccessibleName(QStringLiteral("Open sounds"));
    area_->setFrameShape(QFrame::NoFrame);
    area_->setOption(QMdiArea::DontMaximizeSubWindowOnActivation);
    PaintArea();
    setCentralWidget(area_);
    connect(area_, &QMdiArea::subWindowActivated, this, [this] {
        if (!closing_) RefreshActions();
    });
    // The keys of windows within a window, beside Ctrl+Tab that the area knows itself.
    new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_F6), area_, area_, &QMdiArea::activateNextSubWindow,
                  Qt::WindowShortcut);
    new QShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_F6), area_, area_,
                  &QMdiArea::activatePreviousSubWindow, Qt::WindowShortcut);
    BuildActions();
    BuildMenus();
    BuildToolbar();
    BuildStatusBar();
    RestorePlace();
    RefreshActions();
}

LMainFrame::~LMainFrame() {
    closing_ = true;
    area_->disconnect(this);
}

// The style takes the title bars of inner windows from the colour of selected text.
void LMainFrame::PaintArea() {
    area_->setBackground(WaveColours().area);
    QPalette calm;
    calm.setColor(QPalette::Active, QPalette::Highlight, WaveColours().titleBar);
    calm.setColor(QPalette::Inactive, QPalette::Highlight, WaveColours().titleBar);
    area_->setPalette(calm);
}

void LMainFrame::BuildActions() {
    themes_ = new QActionGroup(this);
    for (const LCommandRow& row : CommandTable()) {
        auto* action = new QAction(QString::fromUtf8(row.text), this);
        action->setObjectName(QStringLiteral("command%1").arg(row.id));
        if (*row.icon) action->setIcon(ThemedIcon(QString::fromUtf8(row.icon)));
        if (*row.shortcut)
            action->setShortcuts(QKeySequence::listFromString(QString::fromUtf8(row.shortcut)));
        action->setCheckable(row.flags & kCheckable);
        action->setProperty("command", row.id);
        if (row.id >= kCmdThemeSystem && row.id <= kCmdThemeDark) themes_->addAction(action);
        connect(action, &QAction::triggered, this, [this, id = row.id] { RunCommand(id); });
        actions_.insert(row.id, action);
        addAction(action);
    }
    for (int i = 0; i < kMostRecentFiles; ++i) {
        auto* action = new QAction(this);
        action->setObjectName(QStringLiteral("recent%1").arg(i));
        connect(action, &QAction::triggered, this, [this, i] { RunCommand(kCmdFirstRecent + i); });
        actions_.insert(kCmdFirstRecent + i, action);
    }
    const auto dB = GetSettingBool(QStringLiteral("Settings"), QStringLiteral("ShowDBLines"), false);
    actions_[kCmdShowDb]->setChecked(dB);
    actions_[kCmdThemeSystem + static_cast<int>(StoredTheme())]->setChecked(true);
}

void LMainFrame::BuildMenus() {
    static constexpr const char* kTitles[] = {"&File", "&Edit", "&View", "&Help"};
    QMenu* menus[4];
    for (int i = 0; i < 4; ++i) {
        menus[i] = menuBar()->addMenu(QString::fromUtf8(kTitles[i]));
        menus[i]->setToolTipsVisible(true);
    }
    menus[0]->setObjectName(QStringLiteral("fileMenu"));
    for (const LCommandRow& row : CommandTable()) {
        QMenu* menu = menus[static_cast<int>(row.menu)];
        if (row.flags & kRecentBefore) {
            menu->addSeparator();
            auto* none = menu->addAction(QStringLiteral("No Recent Files"));
            none->setEnabled(false);
            actions_.insert(kCmdNoRecent, none);
            for (int i = 0; i < kRecentInMenu; ++i) menu->addAction(actions_[kCmdFirstRecent + i]);
            moreRecent_ = menu->addMenu(QStringLiteral("More Recent Files"));
            for (int i = kRecentInMenu; i < kMostRecentFiles; ++i)
                moreRecent_->addAction(actions_[kCmdFirstRecent + i]);
        }
        if (row.flags & kSeparatorBefore && !menu->isEmpty()) menu->addSeparator();
        menu->addAction(actions_[row.id]);
    }
    connect(menus[0], &QMenu::aboutToShow, this, &LMainFrame::ShowRecentFiles);
    viewMenu_ = menus[2];
    connect(viewMenu_, &QMenu::aboutToShow, this, &LMainFrame::ShowOpenWindows);
}

void LMainFrame::BuildToolbar() {
    auto* bar = addToolBar(QStringLiteral("Tools"));
    bar->setObjectName(QStringLiteral("toolbar"));
    bar->setAccessibleName(QStringLiteral("Tools"));
    bar->setMovable(false);
    bar->setIconSize({22, 22});
    for (const LCommandRow& row : CommandTable()) {
        if (!(row.flags & kInToolbar)) continue;
        if (row.flags & kSeparatorBefore) bar->addSeparator();
        bar->addAction(actions_[row.id]);
    }
    bar->setContextMenuPolicy(Qt::PreventContextMenu);
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

void LMainFrame::AfterStartup() {
    desktopTheme_ = std::make_unique<LDesktopTheme>();
    connect(&diskTimer_, &QTimer::timeout, this, &LMainFrame::ShowDisk);
    diskTimer_.start(kDiskIntervalMs);
    ShowDisk();
    ShowRecentFiles();
}

void LMainFrame::RestorePlace() {
    const auto value = [](const char* name) {
        return std::clamp(GetSettingInt(kPlaceSection, QLatin1String(name), 0), -kFarthestPixel,
                          kFarthestPixel);
    };
    const QRect stored(value("Left"), value("Top"), value("Width"), value("Height"));
    bool visible = false;
    for (const QScreen* screen : QGuiApplication::screens()) {
        const QRect part = screen->availableGeometry().intersected(stored);
        visible = visible || (part.width() >= 100 && part.height() >= 60);
    }
    if (visible && stored.width() >= 320 && stored.height() >= 200)
        setGeometry(stored);
    else
        resize(1200, 760);
    if (GetSettingBool(kPlaceSection, QStringLiteral("Maximized"), true)) setWindowState(Qt::WindowMaximized);
}

void LMainFrame::StorePlace() const {
    const QRect place = isMaximized() || isMinimized() || isFullScreen() ? normalGeometry() : geometry();
    SetSettingBool(kPlaceSection, QStringLiteral("Maximized"), isMaximized());
    if (!place.isValid()) return;
    SetSettingInt(place.left(), kPlaceSection, QStringLiteral("Left"));
    SetSettingInt(place.top(), kPlaceSection, QStringLiteral("Top"));
    SetSettingInt(place.width(), kPlaceSection, QStringLiteral("Width"));
    SetSettingInt(place.height(), kPlaceSection, QStringLiteral("Height"));
}

LSoundWindow* LMainFrame::ActiveSound() {
    auto* active = area_->currentSubWindow();
    return active ? qobject_cast<LSoundWindow*>(active->widget()) : nullptr;
}

QList<LSoundWindow*> LMainFrame::Sounds() {
    QList<LSoundWindow*> sounds;
    for (const QMdiSubWindow* window : area_->subWindowList())
        if (auto* sound = qobject_cast<LSoundWindow*>(window->widget())) sounds.append(sound);
    return sounds;
}

bool LMainFrame::IsAvailable(int id) {
    const LCommandRow* row = FindCommand(id);
    if (!row) return id >= kCmdFirstRecent && id < kCmdFirstRecent + kMostRecentFiles;
    LSoundWindow* sound = ActiveSound();
    switch (row->need) {
        case LNeed::kNothing:
            return true;
        case LNeed::kSound:
            return sound != nullptr;
        case LNeed::kSelection:
            return sound && !sound->Document().EditRange().IsEmpty();
        case LNeed::kClip:
            return clip_ != nullptr;
    }
    return false;
}

void LMainFrame::RefreshActions() {
    const bool open = ActiveSound() != nullptr;
    for (const LCommandRow& row : CommandTable()) {
        QAction* action = actions_[row.id];
        action->setEnabled(IsAvailable(row.id));
        const QString text = QString::fromUtf8(row.text).remove(QLatin1Char('&'));
        const QString keys = action->shortcut().toString(QKeySequence::NativeText);
        const bool wantsFile = !open && row.need != LNeed::kNothing && row.need != LNeed::kClip;
        action->setToolTip(wantsFile        ? HintFor(row)
                           : keys.isEmpty() ? text
                                            : QStringLiteral("%1 (%2)").arg(text, keys));
        action->setStatusTip(wantsFile ? HintFor(row) : QString());
    }
    ShowStatus();
}

void LMainFrame::ShowStatus() {
    LSoundWindow* sound = ActiveSound();
    for (QLabel* label : {position_, selection_, length_, format_}) label->setVisible(sound != nullptr);
    if (!sound) return;
    const LSoundDocument& document = sound->Document();
    const int32_t rate = document.sound.sampleRate;
    const LSelection& selection = document.EditRange();
    position_->setText(QStringLiteral("Cursor %1").arg(TimeText(sound->View().Cursor(), rate)));
    selection_->setText(selection.IsEmpty()
                            ? QStringLiteral("No selection")
                            : QStringLiteral("Selection %1 \u2013 %2 (%3)")
                                  .arg(TimeText(selection.start, rate), TimeText(selection.end, rate),
                                       TimeText(selection.Length(), rate)));
    length_->setText(QStringLiteral("Length %1").arg(TimeText(document.sound.Length(), rate)));
    format_->setText(RateText(rate) + QStringLiteral(", ") + ChannelsText(document.sound.channels));
}

void LMainFrame::ShowDisk() {
    const QString folder = CacheFolder();
    const int64_t bytes = folder.isEmpty() ? INT64_MAX : FreeBytes(folder);
    disk_->setText(bytes == INT64_MAX ? QString() : QStringLiteral("%1 free").arg(BytesText(bytes)));
}

void LMainFrame::ShowRecentFiles() {
    const QStringList files = RecentFiles();
    for (int i = 0; i < kMostRecentFiles; ++i) {
        QAction* action = actions_[kCmdFirstRecent + i];
        action->setVisible(i < files.size());
        if (i >= files.size()) continue;
        QString path = fontMetrics().elidedText(files[i], Qt::ElideMiddle, 420);
        action->setText(QStringLiteral("&%1  %2")
                            .arg((i + 1) % 10)
                            .arg(path.replace(QLatin1Char('&'), QStringLiteral("&&"))));
        action->setToolTip(files[i]);
    }
    actions_[kCmdNoRecent]->setVisible(files.isEmpty());
    moreRecent_->menuAction()->setVisible(files.size() > kRecentInMenu);
}

void LMainFrame::ShowOpenWindows() {
    qDeleteAll(windowActions_);
    windowActions_ = {};
    if (Sounds().isEmpty()) return;
    windowActions_.append(viewMenu_->addSeparator());
    for (QMdiSubWindow* window : area_->subWindowList()) {
        const auto* sound = qobject_cast<const LSoundWindow*>(window->widget());
        if (!sound) continue;
        QString title = sound->accessibleName();
        if (window->isWindowModified()) title += QLatin1Char('*');
        QAction* action = viewMenu_->addAction(title.replace(QLatin1Char('&'), QStringLiteral("&&")));
        action->setCheckable(true);
        action->setChecked(window == area_->currentSubWindow());
        connect(action, &QAction::triggered, window, [this, window] { area_->setActiveSubWindow(window); });
        windowActions_.append(action);
    }
}

void LMainFrame::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange && area_) {
        PaintArea();
        for (QAction* action : actions_)
            if (!action->icon().isNull()) {
                const LCommandRow* row = FindCommand(action->property("command").toInt());
                if (row) action->setIcon(ThemedIcon(QString::fromUtf8(row->icon)));
            }
    }
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        QMetaObject::invokeMethod(
            this, [this] { CheckFilesOnDisk(); }, Qt::QueuedConnection);
    QMainWindow::changeEvent(event);
}

void LMainFrame::closeEvent(QCloseEvent* event) {
    // Disabled: a job runs, and what it works on is not to be saved or let go under it.
    if (!closing_ && (!isEnabled() || !CanClose())) {
        event->ignore();
        return;
    }
    closing_ = true;
    StorePlace();
    event->accept();
}

}  // namespace ondarix
