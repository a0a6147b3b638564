// SPDX-License-Identifier: GPL-3.0-or-later
// What each command of the frame does, and what others may ask of it.
#include <QApplication>
#include <QMessageBox>
#include <QStatusBar>

#include "app/commands.h"
#include "app/frame.h"
#include "app/progress_dialog.h"
#include "app/theme.h"
#include "gen/phase.h"
#include "gen/settings.h"

namespace ondarix {

bool LMainFrame::RunCommand(int id) {
    if (!isEnabled()) return false;
    if (!IsAvailable(id)) {
        const LCommandRow* row = FindCommand(id);
        if (row && !ActiveSound()) statusBar()->showMessage(actions_[id]->statusTip(), 4000);
        return false;
    }
    const LCommandPhase phase(id);
    LSoundWindow* sound = ActiveSound();
    switch (id) {
        case kCmdExit:
            close();
            break;
        case kCmdOpen:
            OpenCommand();
            break;
        case kCmdSave:
            Save(*sound);
            break;
        case kCmdSaveAs:
            AskAndSaveAs(*sound);
            break;
        case kCmdSaveAll:
            SaveAllCommand();
            break;
        case kCmdClose:
            sound->parentWidget()->close();
            break;
        case kCmdCloseAll:
            CloseAllCommand();
            break;
        case kCmdCut:
            CutCommand();
            break;
        case kCmdCopy:
            CopyCommand();
            break;
        case kCmdPaste:
            PasteCommand();
            break;
        case kCmdPasteToNew:
            PasteToNewCommand();
            break;
        case kCmdDelete:
            DeleteCommand();
            break;
        case kCmdTrim:
            TrimCommand();
            break;
        case kCmdSilence:
            SilenceCommand();
            break;
        case kCmdSelectAll:
            sound->View().SelectAll();
            break;
        case kCmdSelectNone:
            sound->View().SelectNone();
            break;
        case kCmdZoomIn:
            sound->View().Zoom(0.5);
            break;
        case kCmdZoomOut:
            sound->View().Zoom(2);
            break;
        case kCmdZoomFull:
            sound->Range().ShowAll();
            break;
        case kCmdZoomToSelection:
            sound->View().ZoomToSelection();
            break;
        case kCmdVerticalIn:
            sound->View().SetVerticalZoom(sound->View().VerticalZoom() * 1.5);
            break;
        case kCmdVerticalOut:
            sound->View().SetVerticalZoom(sound->View().VerticalZoom() / 1.5);
            break;
        case kCmdVerticalDefault:
            sound->View().SetVerticalZoom(1);
            break;
        case kCmdShowDb:
            ToggleDb();
            break;
        case kCmdThemeSystem:
        case kCmdThemeLight:
        case kCmdThemeDark:
            ChooseTheme(id);
            break;
        case kCmdTile:
            area_->tileSubWindows();
            break;
        case kCmdCascade:
            area_->cascadeSubWindows();
            break;
        case kCmdAbout:
            AboutCommand();
            break;
        default:
            OpenRecent(id - kCmdFirstRecent);
    }
    if (!closing_) RefreshActions();
    return true;
}

// --- Edits: each rearranges the list of segments, touches no sample and is over at once.

void LMainFrame::CopyCommand() {
    const LSoundDocument& document = ActiveSound()->Document();
    auto copied = std::make_unique<LSound>();
    document.sound.CopyRange(document.selectionStart, document.selectionEnd, *copied);
    clip_ = std::move(copied);
}

void LMainFrame::ShowEdited(LSoundWindow& window, int64_t start, int64_t end) {
    window.Document().isModified = true;
    window.Document().Select(start, end);
    window.Refresh();
}

void LMainFrame::CutCommand() {
    CopyCommand();
    DeleteCommand();
}

void LMainFrame::DeleteCommand() {
    LSoundWindow* window = ActiveSound();
    const LSelection selection = window->Document().EditRange();
    window->Document().sound.Delete(selection.start, selection.end);
    ShowEdited(*window, selection.start, selection.start);
}

void LMainFrame::TrimCommand() {
    LSoundWindow* window = ActiveSound();
    const LSelection selection = window->Document().EditRange();
    window->Document().sound.Keep(selection.start, selection.end);
    ShowEdited(*window, 0, selection.Length());
}

void LMainFrame::SilenceCommand() {
    LSoundWindow* window = ActiveSound();
    const LSelection selection = window->Document().EditRange();
    window->Document().sound.Silence(selection.start, selection.end);
    ShowEdited(*window, selection.start, selection.end);
}

// The clip in the format of the sound that takes it; false when it cannot be had.
bool LMainFrame::ClipAs(LSoundFormat format, LSound& converted) {
    converted.CopyFrom(*clip_);
    if (clip_->Format() == format) return true;
    const JobResult result = RunJob(QStringLiteral("Converting Rate"), [&](LProgress& progress) {
        return clip_->ConvertFormat(converted, format.sampleRate, format.channels, progress);
    });
    if (result == JobResult::kFailed)
        Tell(QStringLiteral("Paste"),
             QStringLiteral("The copied sound has another sample rate or another number of "
                            "channels, and could not be converted."));
    return result == JobResult::kSuccess;
}

void LMainFrame::PasteCommand() {
    LSoundWindow* window = ActiveSound();
    if (!window) return PasteToNewCommand();
    LSound pasted;
    if (!ClipAs(window->Document().sound.Format(), pasted)) return;
    const LSelection selection = window->Document().EditRange();
    window->Document().sound.Replace(selection.start, selection.end, pasted);
    ShowEdited(*window, selection.start, selection.start + pasted.Length());
}

void LMainFrame::PasteToNewCommand() {
    if (!MayOpenMore()) {
        Tell(QStringLiteral("Error"),
             QStringLiteral(
                 "Maximum file count exceeded.  Please close some files before loading more files."));
        return;
    }
    LSoundDocumentRef document(new LSoundDocument);
    document->sound.CopyFrom(*clip_);
    document->title = GetSettingString(QStringLiteral("Settings"), QStringLiteral("FileNameFormat"),
                                       QStringLiteral("Untitled_%autonumber%"))
                          .replace(QStringLiteral("%autonumber%"), QString::number(++untitled_));
    document->isModified = true;
    AddSound(document);
}

// --- View

void LMainFrame::ToggleDb() {
    const bool on = !GetSettingBool(QStringLiteral("Settings"), QStringLiteral("ShowDBLines"), false);
    actions_[kCmdShowDb]->setChecked(on);
    SetSettingBool(QStringLiteral("Settings"), QStringLiteral("ShowDBLines"), on);
    for (LSoundWindow* sound : Sounds()) sound->View().SetShowsDb(on);
}

void LMainFrame::ChooseTheme(int id) {
    const auto choice = static_cast<LThemeChoice>(id - kCmdThemeSystem);
    actions_[id]->setChecked(true);
    StoreTheme(choice);
    ApplyTheme(choice);
}

void LMainFrame::AboutCommand() {
    QMessageBox box(this);
    box.setObjectName(QStringLiteral("aboutDialog"));
    box.setWindowTitle(QStringLiteral("About Ondarix"));
    box.setIconPixmap(ProgramIcon().pixmap(72, 72));
    box.setText(QStringLiteral("<h3>Ondarix Sound Editor %1</h3>").arg(QStringLiteral(ONDARIX_VERSION)));
    box.setInformativeText(QStringLiteral(
        "Vellmark Works. Free software under the GNU General Public License, version 3 or later."));
    box.exec();
}

// --- What the command line and other processes ask

bool LMainFrame::CanAcceptWork() const {
    return !closing_ && isEnabled() && !QApplication::activeModalWidget();
}

void LMainFrame::BringForward() {
    if (isMaximized())
        showMaximized();
    else
        showNormal();
    raise();
    activateWindow();
}

void LMainFrame::PostClose(bool) {
    closing_ = true;
    QMetaObject::invokeMethod(
        this, [this] { close(); }, Qt::QueuedConnection);
}

void LMainFrame::ResizeClient(std::optional<int> width, std::optional<int> height) {
    if (isMaximized() || isMinimized() || isFullScreen()) showNormal();
    resize(width.value_or(this->width()), height.value_or(this->height()));
}

void LMainFrame::AddListener(const QString& name) {
    if (!listeners_.contains(name)) listeners_.append(name);
}

}  // namespace ondarix
