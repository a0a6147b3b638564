// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/player_bar.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QSlider>
#include <algorithm>

#include "app/commands.h"
#include "app/sound_window.h"
#include "app/theme.h"
#include "devices/device_list.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

constexpr int kPlayerIcon = 20, kPlayerSpacing = 2, kPlayerGap = 8;
constexpr int kQuietestDb = -60, kLoudestDb = 0, kVolumeStepDb = 1, kVolumePageDb = 6, kVolumeWidth = 90;
constexpr int kLongestDevice = 170, kShortestBar = 200;
const QString kPlayerSection = QStringLiteral("MainWindow");
const QString kUnmutedName = QStringLiteral("UnmutedVolume");

// "1.25x", as it stands on the button.
QString ShortSpeed(int index) {
    const QString label = PlayLabel(index);
    return label.startsWith(QStringLiteral("Play Speed")) ? label.section(QLatin1Char(' '), -1)
                                                          : QStringLiteral("1x");
}

QString SpeedEntry(int index) {
    return index == kNormalSpeed ? QStringLiteral("Play Speed Normal") : PlayLabel(index);
}

// Keys that a control of the bar wants for itself while it has the focus, although commands have them too.
bool IsOwnKey(const QObject* control, int key) {
    if (key == Qt::Key_Space) return true;
    if (!qobject_cast<const QAbstractSlider*>(control)) return false;
    return (key >= Qt::Key_Home && key <= Qt::Key_PageDown);
}

}  // namespace

LPlayerBar::LPlayerBar(LPlayback& playback, LFrameDocuments& documents, QWidget* parent)
    : QWidget(parent),
      playback_(playback),
      documents_(documents),
      row_(new QHBoxLayout(this)),
      choices_(this) {
    setObjectName(QStringLiteral("playerBar"));
    setAccessibleName(QStringLiteral("Player"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    row_->setContentsMargins(6, 3, 6, 3);
    row_->setSpacing(kPlayerSpacing);
    row_->setSizeConstraint(QLayout::SetNoConstraint);
    AddTransport();
    AddSpeeds();
    row_->addSpacing(kPlayerGap);
    time_ = new LTimeDisplay(this);
    row_->addWidget(time_);
    row_->addSpacing(kPlayerGap);
    meter_ = new LLevelMeter(this);
    row_->addWidget(meter_, 1);
    row_->addSpacing(kPlayerGap);
    AddVolume();
    AddDevices();
    for (QWidget* child : findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly))
        child->installEventFilter(this);
    Connect();
    ShowState();
    ShowSettings();
}

// Clicks leave the keyboard with the waveform; Tab brings it here.
QToolButton* LPlayerBar::AddButton(const char* name, const char* icon, const QString& text) {
    auto* button = new QToolButton(this);
    button->setObjectName(QLatin1String(name));
    button->setIcon(ThemedIcon(QLatin1String(icon)));
    button->setProperty("drawing", QLatin1String(icon));
    button->setIconSize({kPlayerIcon, kPlayerIcon});
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    button->setToolTip(text);
    button->setAccessibleName(text);
    row_->addWidget(button);
    return button;
}

void LPlayerBar::AddTransport() {
    rewind_ = AddButton("playerRewind", "rewind", QStringLiteral("Rewind (hold)"));
    play_ = AddButton("playerPlay", "play", PlayLabel(kNormalSpeed));
    stop_ = AddButton("playerStop", "stop", QStringLiteral("Stop"));
    forward_ = AddButton("playerForward", "forward", QStringLiteral("Fast forward (hold)"));
    row_->addSpacing(kPlayerGap);
    loop_ = AddButton("playerLoop", "loop", QStringLiteral("Turn loop on or off (Ctrl + F9)"));
    loop_->setAccessibleName(QStringLiteral("Loop"));
    loop_->setCheckable(true);
    scrub_ = AddButton("playerScrub", "scrub", QStringLiteral("Turn scrub on or off (F6)"));
    scrub_->setAccessibleName(QStringLiteral("Scrub"));
    scrub_->setCheckable(true);
    connect(play_, &QToolButton::clicked, this, [this] { documents_.RunCommand(kCmdPlay); });
    connect(stop_, &QToolButton::clicked, this, [this] { documents_.RunCommand(kCmdStop); });
    connect(loop_, &QToolButton::clicked, this, [this] { playback_.SetLoop(!playback_.Loop()); });
    connect(scrub_, &QToolButton::clicked, this, [this] {
        documents_.RunCommand(kCmdScrub);
        ShowState();  // the click has turned the mark, whatever came of it
    });
    for (auto [button, manner] :
         {std::pair{rewind_, LPlayManner::kRewind}, {forward_, LPlayManner::kForward}}) {
        connect(button, &QToolButton::pressed, this, [this, manner = manner] { Hold(manner, true); });
        connect(button, &QToolButton::released, this, [this, manner = manner] { Hold(manner, false); });
    }
}

void LPlayerBar::Hold(LPlayManner manner, bool on) {
    if (on)
        playback_.SetManner(manner);
    else if (playback_.Manner() == manner)
        playback_.SetManner(LPlayManner::kPlain);
}

void LPlayerBar::AddSpeeds() {
    speed_ = AddButton("playerSpeed", "", QStringLiteral("Play Speed"));
    speed_->setToolButtonStyle(Qt::ToolButtonTextOnly);
    speed_->setPopupMode(QToolButton::InstantPopup);
    speeds_ = new QMenu(speed_);
    auto* group = new QActionGroup(speeds_);
    for (int index = 0; index < kPlaySpeeds; ++index) {
        QAction* action = speeds_->addAction(SpeedEntry(index));
        action->setCheckable(true);
        group->addAction(action);
        connect(action, &QAction::triggered, this, [this, index] { playback_.SetSpeedIndex(index); });
    }
    speed_->setMenu(speeds_);
    const QFontMetrics metrics(speed_->font());
    speed_->setFixedWidth(metrics.horizontalAdvance(QStringLiteral("1.25x")) + 26);
}

void LPlayerBar::AddVolume() {
    mute_ = AddButton("playerMute", "volume", QStringLiteral("Mute"));
    mute_->setCheckable(true);
    connect(mute_, &QToolButton::clicked, this, &LPlayerBar::ToggleMute);
    volume_ = new QSlider(Qt::Horizontal, this);
    volume_->setObjectName(QStringLiteral("playerVolume"));
    volume_->setAccessibleName(QStringLiteral("Volume"));
    volume_->setFocusPolicy(Qt::TabFocus);
    volume_->setRange(kQuietestDb, kLoudestDb);
    volume_->setSingleStep(kVolumeStepDb);
    volume_->setPageStep(kVolumePageDb);
    volume_->setFixedWidth(kVolumeWidth);
    row_->addWidget(volume_);
    connect(volume_, &QAbstractSlider::valueChanged, this, [this](int db) { playback_.SetVolume(db); });
}

void LPlayerBar::AddDevices() {
    device_ = AddButton("playerDevice", "device", QStringLiteral("Output device"));
    device_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    device_->setPopupMode(QToolButton::InstantPopup);
    devices_ = new QMenu(device_);
    devices_->setObjectName(QStringLiteral("playerDevices"));
    device_->setMenu(devices_);
    deviceGroup_ = new QActionGroup(devices_);
    connect(devices_, &QMenu::aboutToShow, this, [this] {
        choices_.Follow();
        FillDevices();
    });
    connect(devices_, &QMenu::aboutToHide, this, [this] { choices_.EndFollow(); });
    connect(&choices_, &LOutputChoices::Changed, this, &LPlayerBar::FillDevices);
}

void LPlayerBar::Connect() {
    connect(&playback_, &LPlayback::StateChanged, this, &LPlayerBar::ShowState);
    connect(&playback_, &LPlayback::PositionChanged, this, &LPlayerBar::ShowPosition);
    connect(&playback_, &LPlayback::SettingsChanged, this, &LPlayerBar::ShowSettings);
    connect(&playback_, &LPlayback::LevelsChanged, this, [this] { meter_->SetLevels(playback_.Levels()); });
    connect(&playback_, &LPlayback::ClippedChanged, this, [this] {
        if (!playback_.HasClipped()) meter_->ResetClipped();
    });
    connect(meter_, &LLevelMeter::ClippedReset, &playback_, &LPlayback::ResetClipped);
    LDocumentNotifier& notifier = documents_.Notifier();
    connect(&notifier, &LDocumentNotifier::ActiveChanged, this, &LPlayerBar::ShowSound);
    connect(&notifier, &LDocumentNotifier::ListChanged, this, &LPlayerBar::ShowSound);
    connect(&notifier, &LDocumentNotifier::DocumentChanged, this, &LPlayerBar::ShowSound);
    connect(&notifier, &LDocumentNotifier::SelectionChanged, this,
            [this] { ShowPosition(playback_.Position()); });
}

// --- What is shown

void LPlayerBar::ShowSound() { ShowState(); }

void LPlayerBar::ShowState() {
    const LPlayState state = playback_.State();
    const bool plays = state == LPlayState::kPlaying;
    const bool can = documents_.IsAvailable(kCmdPlay) || state != LPlayState::kStopped;
    for (QToolButton* button : {rewind_, play_, forward_, scrub_}) button->setEnabled(can);
    stop_->setEnabled(state != LPlayState::kStopped);
    const QString drawing = plays ? QStringLiteral("pause") : QStringLiteral("play");
    if (play_->property("drawing").toString() != drawing) {
        play_->setProperty("drawing", drawing);
        play_->setIcon(ThemedIcon(drawing));
    }
    const QString text = plays ? QStringLiteral("Pause (Space)") : PlayLabel(playback_.SpeedIndex());
    play_->setToolTip(text);
    play_->setAccessibleName(text);
    scrub_->setChecked(playback_.Manner() == LPlayManner::kScrub);
    if (!plays) meter_->Fall();
    ShowPosition(playback_.Position());
}

// While nothing plays, where it would begin.
void LPlayerBar::ShowPosition(int64_t frame) {
    LSoundWindow* sound = playback_.State() == LPlayState::kStopped ? nullptr : playback_.Sound();
    if (!sound) sound = documents_.ActiveSound();
    if (!sound) return time_->Show(0, 0, 0);
    const LSoundDocument& document = sound->Document();
    const bool holds = frame >= 0 && sound == playback_.Sound();
    time_->Show(holds ? frame : document.cursor, document.sound.Length(), document.sound.sampleRate);
}

void LPlayerBar::ShowSettings() {
    loop_->setChecked(playback_.Loop());
    const int index = playback_.SpeedIndex();
    speed_->setText(ShortSpeed(index));
    speed_->setToolTip(SpeedEntry(index));
    speed_->setAccessibleName(SpeedEntry(index));
    if (index >= 0 && index < kPlaySpeeds) speeds_->actions()[index]->setChecked(true);
    ShowVolume();
    const QString device = ChosenOutputText();
    const int room = kLongestDevice - kPlayerIcon - 20;
    const QString shown = fontMetrics()
                              .elidedText(device, Qt::ElideRight, room)
                              .replace(QLatin1Char('&'), QStringLiteral("&&"));
    device_->setToolTip(QStringLiteral("Output device: %1").arg(device));
    device_->setAccessibleDescription(device);
    if (playback_.State() != LPlayState::kPlaying) play_->setToolTip(PlayLabel(index));
    if (shown == device_->text() && !folds_.empty()) return;
    device_->setText(shown);
    MakeFolds();
    Fold();
}

void LPlayerBar::ShowVolume() {
    const int db = playback_.Volume();
    const bool muted = db <= kNoSignalDb;
    mute_->setChecked(muted);
    const QString drawing = muted ? QStringLiteral("mute") : QStringLiteral("volume");
    mute_->setProperty("drawing", drawing);
    mute_->setIcon(ThemedIcon(drawing));
    mute_->setToolTip(muted ? QStringLiteral("Muted; click to hear again") : QStringLiteral("Mute"));
    const QSignalBlocker quiet(volume_);
    if (!muted) volume_->setValue(db);
    volume_->setToolTip(muted ? QStringLiteral("Muted") : QStringLiteral("Volume: %1 dB").arg(db));
    volume_->setAccessibleDescription(volume_->toolTip());
}

void LPlayerBar::ToggleMute() {
    const int db = playback_.Volume();
    if (db > kNoSignalDb) {
        SetSettingInt(db, kPlayerSection, kUnmutedName);
        playback_.SetVolume(kNoSignalDb);
    } else {
        playback_.SetVolume(
            std::clamp(GetSettingInt(kPlayerSection, kUnmutedName, 0), kQuietestDb, kLoudestDb));
    }
    ShowVolume();
}

// --- Devices

void LPlayerBar::FillDevices() {
    const QString chosen = ChosenOutputText();
    QStringList texts = choices_.Texts();
    if (!texts.contains(chosen, Qt::CaseInsensitive)) texts.append(chosen);
    devices_->clear();
    for (const QString& text : texts) {
        const bool missing = choices_.IsKnown() && !choices_.IsThere(text);
        QString entry = missing ? text + QStringLiteral(" (not connected)") : text;
        QAction* action = devices_->addAction(entry.replace(QLatin1Char('&'), QStringLiteral("&&")));
        action->setCheckable(true);
        deviceGroup_->addAction(action);
        action->setChecked(text.compare(chosen, Qt::CaseInsensitive) == 0);
        connect(action, &QAction::triggered, this, [this, text] { ChooseDevice(text); });
    }
    if (!choices_.IsKnown()) devices_->addAction(QStringLiteral("Looking for devices..."))->setEnabled(false);
    devices_->addSeparator();
    QAction* options = devices_->addAction(QStringLiteral("Audio Options..."));
    connect(options, &QAction::triggered, this, [this] {
        if (playback_.openOptions) playback_.openOptions();
    });
}

void LPlayerBar::ChooseDevice(const QString& text) {
    if (text != ChosenOutputText()) {
        StoreOutput(text);
        playback_.DeviceChanged();
    }
    ShowSettings();
}

// --- Narrow windows

void LPlayerBar::MakeFolds() {
    // Measured as the parts are when nothing is folded.
    for (size_t i = folded_; i-- > 0;) folds_[i].apply(false);
    folded_ = 0;
    folds_.clear();
    const auto leave = [this](QWidget* part) {
        folds_.push_back({part, [part](bool small) { part->setVisible(!small); },
                          std::max(part->minimumSizeHint().width(), part->minimumWidth()) + kPlayerSpacing});
    };
    folds_.push_back({device_,
                      [this](bool small) {
                          device_->setToolButtonStyle(small ? Qt::ToolButtonIconOnly
                                                            : Qt::ToolButtonTextBesideIcon);
                      },
                      device_->sizeHint().width() - stop_->sizeHint().width()});
    const int whole = time_->sizeHint().width();
    time_->SetLengthShown(false);
    const int half = time_->sizeHint().width();
    time_->SetLengthShown(true);
    folds_.push_back({time_, [this](bool small) { time_->SetLengthShown(!small); }, whole - half});
    leave(volume_);
    leave(device_);
    folds_.back().gain = stop_->sizeHint().width() + kPlayerSpacing;
    leave(scrub_);
    leave(meter_);
    leave(loop_);
    leave(rewind_);
    leave(forward_);
    leave(mute_);
    row_->invalidate();
    unfolded_ = row_->minimumSize().width();
}

void LPlayerBar::Fold() {
    size_t wanted = 0;
    for (int now = unfolded_; wanted < folds_.size() && now > width(); ++wanted) now -= folds_[wanted].gain;
    for (; folded_ < wanted; ++folded_) folds_[folded_].apply(true);
    while (folded_ > wanted) folds_[--folded_].apply(false);
}

QSize LPlayerBar::minimumSizeHint() const { return {kShortestBar, row_->minimumSize().height()}; }

// --- Events

void LPlayerBar::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    Fold();
}

void LPlayerBar::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() != QEvent::PaletteChange) return;
    for (auto* button : findChildren<QToolButton*>())
        button->setIcon(ThemedIcon(button->property("drawing").toString()));
}

bool LPlayerBar::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride &&
        IsOwnKey(watched, static_cast<QKeyEvent*>(event)->key()) &&
        static_cast<QKeyEvent*>(event)->modifiers() == Qt::NoModifier) {
        event->accept();
        return true;
    }
    if (event->type() == QEvent::Wheel && watched == mute_) {
        QCoreApplication::sendEvent(volume_, event);
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

// Escape gives the keyboard back to the waveform.
void LPlayerBar::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Escape || !documents_.ActiveSound()) return QWidget::keyPressEvent(event);
    documents_.ActiveSound()->View().setFocus();
}

}  // namespace ondarix
