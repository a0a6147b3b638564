// SPDX-License-Identifier: GPL-3.0-or-later
// What can be done now, and how menus, tools and status bar say so.
#include <QMdiSubWindow>
#include <QStatusBar>

#include "app/command_search.h"
#include "app/frame.h"
#include "app/frame_handlers.h"
#include "app/playback.h"
#include "app/recent_files.h"
#include "app/theme.h"
#include "app/time_text.h"
#include "gen/settings.h"
#include "sound/cache.h"
#include "sound/edits.h"
#include "sound/marks.h"

namespace ondarix {
namespace {

constexpr int kRecentOutsideMore = 5;
constexpr int kHintMs = 4000;

// A file without a frame leaves a list of segments all the same. Asked often, so without the sum of a long
// one.
bool HasFrames(const LSound& sound) {
    const LSoundSegment* segment = sound.segments.get();
    while (segment && segment->length == 0) segment = segment->next.get();
    return segment;
}

bool HasRegions(LMainFrame& frame) {
    for (LSoundWindow* window : frame.Sounds())
        if (!window->Document().regions.empty()) return true;
    return false;
}

// Of one channel alone: whether the sound has it.
bool HasChannel(const LSoundDocument& document, int id) {
    const int channel = id >= kCmdEditFirstChannel ? id - kCmdEditFirstChannel : 0;
    return document.sound.channels > 1 && channel < document.sound.channels;
}

// "Undo Paste" and the like.
QString ActionText(const LCommandRow& row, LSoundWindow* sound) {
    QString text = QString::fromUtf8(row.text);
    if (!sound || (row.id != kCmdUndo && row.id != kCmdRedo)) return text;
    const LSoundDocument& document = sound->Document();
    QString label = row.id == kCmdUndo ? document.UndoLabel() : document.RedoLabel();
    if (label.isEmpty()) return text;
    return QStringLiteral("%1 %2").arg(text, label.replace(QLatin1Char('&'), QStringLiteral("&&")));
}

}  // namespace

bool LMainFrame::IsAvailable(int id) {
    if (id >= kCmdFirstRecent && id < kCmdFirstRecent + kMostRecentFiles) return true;
    const LCommandRow* row = FindCommand(id);
    return row && IsVisible(*row) && MeetsNeed(row->need, id) && !IsHeldByJob(*row);
}

bool LMainFrame::MeetsNeed(LNeed need, int id) {
    LSoundWindow* sound = ActiveSound();
    LSoundDocument* document = sound ? &sound->Document() : nullptr;
    const LClipboardStore& clips = Clipboard();
    const bool pastes = clips.HasClip() || (gSynthesizeSpeech && clips.HasOnlyText());
    switch (need) {
        case LNeed::kNothing:
            return true;
        case LNeed::kSound:
            return document;
        case LNeed::kContent:
            return document && HasFrames(document->sound);
        case LNeed::kSelection:
            return document && document->HasSelection();
        case LNeed::kClip:
            return pastes;
        case LNeed::kSoundAndClip:
            return document && pastes;
        case LNeed::kUndo:
            return document && document->CanUndo();
        case LNeed::kRedo:
            return document && document->CanRedo();
        case LNeed::kRevert:
            return document && document->isModified && document->CanRevertToSaved();
        case LNeed::kBookmarks:
            return document && !document->bookmarks.empty();
        case LNeed::kRegions:
            return HasRegions(*this);
        case LNeed::kSeveral:
            return Sounds().size() > 1;
        case LNeed::kChannels:
            return document && HasChannel(*document, id);
        case LNeed::kMarks:
            return sound && MarkedRange(*sound);
        case LNeed::kPlaying:
            return playback_->State() != LPlayState::kStopped;
        case LNeed::kPlace:
            return document && contextPlace_ &&
                   (FindBookmark(*document, contextPlace_->bookmarkIndex) ||
                    FindRegion(*document, contextPlace_->regionSerial));
    }
    return false;
}

void LMainFrame::RefreshAction(const LCommandRow& row) {
    QAction* action = ActionOf(row.id);
    if (!action) return;
    LSoundWindow* sound = ActiveSound();
    const bool held = IsHeldByJob(row);
    action->setEnabled(!held && MeetsNeed(row.need, row.id));
    const QString own = PlayText(row.id);
    const QString text = own.isEmpty() ? ActionText(row, sound) : own;
    if (action->text() != text) {
        action->setText(text);
        action->setIconText(ShortText(row.id));
    }
    const QString hint = held ? BusyText(sound->Document()) : sound ? QString() : CommandHint(row);
    const QString keys = action->shortcut().toString(QKeySequence::NativeText);
    const QString plain = QString(text).remove(QLatin1Char('&'));
    const QString tip = PlayTip(row.id, keys);
    action->setToolTip(!hint.isEmpty()  ? hint
                       : !tip.isEmpty() ? tip
                       : keys.isEmpty() ? plain
                                        : QStringLiteral("%1 (%2)").arg(plain, keys));
    action->setStatusTip(hint);
}

void LMainFrame::RefreshActions() {
    if (closing_) return;
    for (const LCommandRow& row : CommandTable()) RefreshAction(row);
    RefreshChecks();
    ShowStatus();
}

// At each step of a drag: only what depends on the selection.
void LMainFrame::ShowSelected() {
    if (closing_) return;
    for (const LCommandRow& row : CommandTable())
        if (row.need == LNeed::kSelection)
            if (QAction* action = ActionOf(row.id)) action->setEnabled(IsAvailable(row.id));
    ShowStatus();
    Q_EMIT notifier_.SelectionChanged();
}

void LMainFrame::RefreshChecks() {
    const auto check = [this](int id, bool on) {
        if (QAction* action = ActionOf(id)) action->setChecked(on);
    };
    ShowPlayChecks();
    check(kCmdShowDb, GetSettingBool(QStringLiteral("Settings"), QStringLiteral("ShowDBLines"), false));
    check(kCmdThemeSystem + static_cast<int>(StoredTheme()), true);
    check(kCmdTabs, area_->ShowsTabs());
    check(kCmdHideTools, !ShowsTools());
    check(kCmdSidePanel, ShowsSidePanel());
    check(kCmdPlayerBar, ShowsPlayer());
    LSoundWindow* sound = ActiveSound();
    check(kCmdSampleEditing, sound && sound->View().SampleEditing());
    check(kCmdMonoView, sound && sound->View().MonoView());
    check(kCmdMultiChannelView, sound && !sound->View().MonoView());
    const bool alone = sound && sound->Document().channelEditMode == LSoundDocument::kEditsChannel;
    check(kCmdEditWhole, sound && !alone);
    for (int channel = 0; channel < 8; ++channel)
        check(kCmdEditFirstChannel + channel, alone && sound->Document().editedChannel == channel);
}

void LMainFrame::ShowHint(const QString& text) { statusBar()->showMessage(text, kHintMs); }

void LMainFrame::ExplainRefusal(const LCommandRow& row) {
    if (IsHeldByJob(row)) return ShowHint(BusyText(ActiveSound()->Document()));
    ShowHint(WhyUnavailable(row, ActiveSound() != nullptr));
}

void LMainFrame::ShowStatus() {
    LSoundWindow* sound = ActiveSound();
    for (QLabel* label : {position_, selection_, length_, format_}) label->setVisible(sound != nullptr);
    if (!sound) return;
    const LSoundDocument& document = sound->Document();
    const int32_t rate = document.sound.sampleRate;
    const LSelection selection = document.EditRange();
    ShowHeard();
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
    moreRecent_->menuAction()->setVisible(files.size() > kRecentOutsideMore);
    area_->StartScreen().ShowRecentFiles(files);
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

// A sound was opened, closed or renamed.
void LMainFrame::SoundsChanged() {
    if (closing_) return;
    area_->ShowStart();
    if (Sounds().isEmpty()) ShowRecentFiles();
    RefreshActions();
    Q_EMIT notifier_.ListChanged();
}

}  // namespace ondarix
