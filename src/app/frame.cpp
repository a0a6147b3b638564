// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/frame.h"

#include <QCloseEvent>
#include <QDialog>
#include <QGuiApplication>
#include <QMdiSubWindow>
#include <QScreen>
#include <QStatusBar>
#include <QToolBar>
#include <algorithm>

#include "app/desktop_theme.h"
#include "app/effect_dc_offer.h"
#include "app/mpris.h"
#include "app/playback.h"
#include "app/shortcuts.h"
#include "app/sleep_inhibitor.h"
#include "app/theme.h"
#include "app/window_messages.h"
#include "gen/settings.h"
#include "sound/clipboard.h"

namespace ondarix {
namespace {

const QString kPlaceSection = QStringLiteral("MainWindow");
constexpr int kDiskIntervalMs = 5000;
constexpr int kFarthestPixel = 1 << 20;  // of a place that can be meant

}  // namespace

LMainFrame::LMainFrame() : messages_(std::make_unique<LWindowMessages>(this)) {
    ApplyTheme(StoredTheme());
    setObjectName(QStringLiteral("mainFrame"));
    setWindowTitle(QStringLiteral("Ondarix Sound Editor"));
    setWindowIcon(ProgramIcon());
    setAcceptDrops(true);
    desktopClipboard_ = std::make_unique<LDesktopClipboard>(this);
    Clipboard().SetSystem(desktopClipboard_.get());
    playback_ = std::make_unique<LPlayback>(*this);
    jobs_ = std::make_unique<LDocumentJobs>(static_cast<LDocumentJobOwner&>(*this));
    area_ = new LSoundArea(this);
    setCentralWidget(area_);
    connect(area_, &QMdiArea::subWindowActivated, this, [this] {
        if (closing_) return;
        RefreshActions();
        Q_EMIT notifier_.ActiveChanged();
    });
    connect(&area_->StartScreen(), &LStartScreen::CommandChosen, this, &LMainFrame::RunCommand,
            Qt::QueuedConnection);
    BuildActions();
    BuildMenus();
    BuildTools();
    BuildStatusBar();
    BuildPlayer();
    connect(desktopClipboard_.get(), &LDesktopClipboard::Changed, this, &LMainFrame::RefreshActions);
    ConnectPlayback();
    RestorePlace();
    RefreshActions();
    area_->ShowStart();
}

LMainFrame::~LMainFrame() {
    closing_ = true;
    jobs_->CancelAll();
    area_->disconnect(this);
    for (const QPointer<QDialog>& window : std::as_const(beside_)) delete window;
    Clipboard().SetSystem(nullptr);
    Clipboard().Clear();
}

void LMainFrame::AfterStartup() {
    desktopTheme_ = std::make_unique<LDesktopTheme>();
    connect(&diskTimer_, &QTimer::timeout, this, &LMainFrame::ShowDisk);
    diskTimer_.start(kDiskIntervalMs);
    ShowDisk();
    ShowRecentFiles();
    StartPlayerServices();
    new LDcOffsetOffers(*this, this);
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

// --- Tools around the waves

bool LMainFrame::ShowsTools() const { return !toolBar_->isHidden(); }

void LMainFrame::ShowTools(bool on) {
    toolBar_->setVisible(on);
    SetSettingBool(kPlaceSection, QStringLiteral("Tools"), on);
    RefreshChecks();
}

bool LMainFrame::ShowsSidePanel() const { return !sidePanel_->isHidden(); }

void LMainFrame::ShowSidePanel(bool on) {
    sidePanel_->setVisible(on);
    SetSettingBool(kPlaceSection, QStringLiteral("SidePanel"), on);
    RefreshChecks();
}

void LMainFrame::ShowBeside(const char* name, const std::function<QDialog*()>& make) {
    QPointer<QDialog>& window = beside_[QLatin1String(name)];
    if (!window) {
        window = make();
        window->setAttribute(Qt::WA_DeleteOnClose);
    }
    window->show();
    window->raise();
    window->activateWindow();
}

void LMainFrame::SettingsChanged() {
    const auto keys = AllShortcuts();
    for (auto action = actions_.cbegin(); action != actions_.cend(); ++action)
        if (FindCommand(action.key())) action.value()->setShortcuts(keys.value(action.key()));
    if (themes_) ApplyTheme(StoredTheme());
    const bool inDb = GetSettingBool(QStringLiteral("Settings"), QStringLiteral("ShowDBLines"), false);
    for (LSoundWindow* sound : Sounds()) sound->View().SetShowsDb(inDb);
    RefreshActions();
}

// --- Events

void LMainFrame::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange && area_) {
        area_->Paint();
        for (auto action = actions_.cbegin(); action != actions_.cend(); ++action)
            if (const LCommandRow* row = FindCommand(action.key()); row && *row->icon)
                action.value()->setIcon(ThemedIcon(QString::fromUtf8(row->icon)));
    }
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        QMetaObject::invokeMethod(
            this, [this] { CheckFilesOnDisk(); }, Qt::QueuedConnection);
    QMainWindow::changeEvent(event);
}

// The key of a command that cannot run now comes through to here, and its hint says why.
void LMainFrame::keyPressEvent(QKeyEvent* event) {
    const int id = CommandOfKey(QKeySequence(event->keyCombination()));
    const LCommandRow* row = FindCommand(id);
    if (row && IsVisible(*row) && !IsAvailable(id) && id != kCmdStop) RunCommand(id);
    QMainWindow::keyPressEvent(event);
}

void LMainFrame::closeEvent(QCloseEvent* event) {
    // Disabled: a job runs, and what it works on is not to be saved or let go under it.
    if (!closing_ && (!isEnabled() || !CanClose())) {
        event->ignore();
        return;
    }
    const bool forced = closing_;
    closing_ = true;
    jobs_->CancelAll();
    playback_->Stop();
    StorePlace();
    for (const QPointer<QDialog>& window : std::as_const(beside_))
        if (window) window->close();
    // What other programs may still want of the clipboard takes a while, and the end does not wait when it
    // is the system that asks.
    if (!forced) desktopClipboard_->RenderAll();
    event->accept();
}

}  // namespace ondarix
