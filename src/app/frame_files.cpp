// SPDX-License-Identifier: GPL-3.0-or-later
// Opening, saving and closing of sounds.
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QMdiSubWindow>
#include <QMimeData>
#include <QUrl>

#include "app/commands.h"
#include "app/file_dialogs.h"
#include "app/frame.h"
#include "app/progress_dialog.h"
#include "app/recent_files.h"
#include "formats/load.h"
#include "formats/registry.h"
#include "formats/save.h"
#include "formats/wav_source.h"
#include "gen/settings.h"
#include "gen/text.h"

namespace ondarix {
namespace {

// The coding of a WAV file as this program would write it again; nothing for other files.
std::optional<LFormatRecord> RecordOfFile(const QString& path) {
    if (LowerExtension(path) != QStringLiteral(".wav")) return std::nullopt;
    LFileBytes file(path);
    if (!file.IsOpen()) return std::nullopt;
    const LWavHeader header = ReadWavHeader(file);
    if (header.error != kSourceGood) return std::nullopt;
    uint16_t bits = header.bits;
    if (header.tag == 1) bits = static_cast<uint16_t>(std::clamp((bits + 7) / 8 * 8, 8, 32));
    if (header.tag == 3) bits = 32;
    for (const LWavCoding& coding : kWavCodings)
        if (coding.tag == header.tag && coding.bits == bits)
            return LFormatRecord::Plain(coding.tag, coding.bits, header.sampleRate, header.channels);
    return std::nullopt;
}

QStringList LocalFiles(const QMimeData* data) {
    QStringList paths;
    for (const QUrl& url : data->urls())
        if (url.isLocalFile()) paths.append(url.toLocalFile());
    return paths;
}

}  // namespace

// --- Opening

bool LMainFrame::MayOpenMore() const {
    return !closing_ && const_cast<LMainFrame*>(this)->Sounds().size() < kMaxOpenDocuments;
}

bool LMainFrame::LoadInto(LSoundDocument& document, const QString& path, int openDocuments) {
    const LSourceFacts facts = LSourceFacts::Of(path);  // before: what changes meanwhile is seen later
    LLoadedSound loaded;
    const JobResult result = RunJob(QStringLiteral("Opening Audio File"), [&](LProgress& progress) {
        return LoadSound(path, openDocuments, loaded, progress, *messages_);
    });
    if (result != JobResult::kSuccess || loaded.takenOver) return false;
    document.sound = std::move(loaded.sound);
    document.path = path;
    document.file = facts;
    document.title = QFileInfo(path).fileName();
    document.readOnly = loaded.readOnly;
    document.attachment = std::make_shared<LForeignChunks>(std::move(loaded.foreignChunks));
    return true;
}

// The end may have been asked for while the sound before this one was loaded.
bool LMainFrame::OpenSound(const QString& path) {
    if (closing_) return false;
    const QString full = QFileInfo(path).absoluteFilePath();
    LSoundDocumentRef document(new LSoundDocument);
    if (!LoadInto(*document.Get(), full, static_cast<int>(Sounds().size()))) return false;
    AddSound(document)->fileRecord = RecordOfFile(full);
    RememberRecentFile(full);
    return true;
}

bool LMainFrame::OpenProject(const QString& path) {
    // Without anything that reads projects, loading says so.
    return gOpenProject ? gOpenProject(path, *messages_) : OpenSound(path);
}

void LMainFrame::OpenFiles(const QStringList& paths) {
    for (const QString& path : paths) {
        const bool full = !MayOpenMore();
        OpenSound(path);
        if (full) return;  // its message is there, once
    }
}

void LMainFrame::OpenCommand() { OpenFiles(AskOpenFiles(this)); }

void LMainFrame::OpenRecent(int index) {
    const QString path = RecentFiles().value(index);
    if (path.isEmpty()) return;
    if (!OpenSound(path) && !QFileInfo::exists(path)) ForgetRecentFile(path);
}

LSoundWindow* LMainFrame::AddSound(LSoundDocumentRef document) {
    auto* window = new LSoundWindow(std::move(document), *this);
    window->mayClose = [this](LSoundWindow& sound) { return closing_ || MayClose(sound); };
    connect(window, &LSoundWindow::SelectionChanged, this, &LMainFrame::RefreshActions);
    const auto others = area_->subWindowList();
    const bool maximize =
        GetSettingBool(QStringLiteral("Settings"), QStringLiteral("MaximizeWindows"), false) ||
        (area_->currentSubWindow() && area_->currentSubWindow()->isMaximized());
    QMdiSubWindow* child = area_->addSubWindow(window);
    child->setWindowIcon(windowIcon());
    // Qt's own entry for closing has the same shortcut as the command, and two of them cancel each other.
    for (QAction* action : child->systemMenu()->actions()) action->setShortcuts(QList<QKeySequence>());
    if (maximize) {
        child->showMaximized();
    } else {
        // A staircase: every title bar can be seen and reached.
        const int step = 28 * static_cast<int>(others.size() % 8);
        child->setGeometry(area_->viewport()->rect().adjusted(step, step, 0, 0));
        child->show();
    }
    area_->setActiveSubWindow(child);
    window->View().setFocus();
    area_->viewport()->update();
    RefreshActions();
    return window;
}

void LMainFrame::dragEnterEvent(QDragEnterEvent* event) {
    if (!LocalFiles(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

// After the drop has been answered: the other program does not wait for the loading.
void LMainFrame::dropEvent(QDropEvent* event) {
    const QStringList paths = LocalFiles(event->mimeData());
    event->acceptProposedAction();
    QMetaObject::invokeMethod(
        this, [this, paths] { OpenFiles(paths); }, Qt::QueuedConnection);
}

// --- Saving

// A file keeps the coding that it had, as far as the setting says so.
LFormatRecord LMainFrame::RecordFor(LSoundWindow& window) const {
    const LSoundFormat format = window.Document().sound.Format();
    const bool same = GetSettingBool(QStringLiteral("Settings"), QStringLiteral("SaveSameFileFormat"), true);
    if (!window.fileRecord || !same) return WavRecordFor(format);
    return LFormatRecord::Plain(window.fileRecord->tag, window.fileRecord->bits,
                                static_cast<uint32_t>(format.sampleRate), format.channels);
}

bool LMainFrame::Save(LSoundWindow& window) {
    const QString path = window.Document().path;
    if (path.isEmpty() || !FormatCanBeWritten(LowerExtension(path))) return AskAndSaveAs(window);
    return SaveAs(window, path, RecordFor(window));
}

bool LMainFrame::AskAndSaveAs(LSoundWindow& window) {
    const LSoundDocument& document = window.Document();
    const QString path = AskSaveFile(this, document.path.isEmpty() ? document.title : document.path);
    if (path.isEmpty()) return false;
    LFormatRecord record = RecordFor(window);
    if (LowerExtension(path) == QStringLiteral(".wav")) {
        const auto chosen = AskWavFormat(this, document.sound.Format(), record);
        if (!chosen) return false;
        record = *chosen;
    }
    return SaveAs(window, path, record);
}

bool LMainFrame::SaveAs(LSoundWindow& window, const QString& path, const LFormatRecord& record) {
    LSoundDocument& document = window.Document();
    if (!MayOverwrite(document, path)) return false;
    LSaveRequest request;
    request.sound = &document.sound;
    request.path = path;
    request.record = record;
    request.documentReadOnly = document.readOnly;
    if (document.attachment)
        request.foreignChunks = *std::static_pointer_cast<LForeignChunks>(document.attachment);
    LSaveOutcome outcome;
    RunJob(QStringLiteral("Saving..."), [&](LProgress& progress) {
        outcome = SaveSound(request, progress, *messages_);
        return outcome.result == SaveResult::kSuccess     ? JobResult::kSuccess
               : outcome.result == SaveResult::kCancelled ? JobResult::kCancelled
                                                          : JobResult::kFailed;
    });
    if (outcome.readOnlyDropped) document.readOnly = false;
    if (outcome.result != SaveResult::kSuccess) return outcome.offerSaveAs && AskAndSaveAs(window);
    document.path = QFileInfo(path).absoluteFilePath();
    document.file = LSourceFacts::Of(document.path);
    document.title = QFileInfo(path).fileName();
    document.isModified = false;
    window.fileRecord = RecordOfFile(path);
    window.ShowTitle();
    RememberRecentFile(document.path);
    RefreshActions();
    return true;
}

void LMainFrame::SaveAllCommand() {
    for (LSoundWindow* window : Sounds())
        if (window->Document().isModified && !Save(*window)) return;
}

void LMainFrame::SaveActive() {
    if (LSoundWindow* window = ActiveSound()) Save(*window);
}

void LMainFrame::SaveActiveAs(const QString& path) {
    LSoundWindow* window = ActiveSound();
    if (window && !path.isEmpty()) SaveAs(*window, QFileInfo(path).absoluteFilePath(), RecordFor(*window));
}

// --- Closing

bool LMainFrame::MayClose(LSoundWindow& window) {
    if (!window.Document().isModified) return true;
    if (auto* child = qobject_cast<QMdiSubWindow*>(window.parentWidget())) area_->setActiveSubWindow(child);
    enum { kSave, kDiscard, kCancel };
    const int answer = messages_->Ask(
        QStringLiteral("Ondarix"),
        QStringLiteral("Save the changes to \"%1\" before it is closed?").arg(window.Document().title),
        {QStringLiteral("&Save"), QStringLiteral("&Discard"), QStringLiteral("Cancel")}, kCancel);
    if (answer == kSave) return Save(window);
    return answer == kDiscard;
}

// Everything is asked before anything goes.
bool LMainFrame::CanClose() {
    for (LSoundWindow* window : Sounds())
        if (!MayClose(*window)) return false;
    return true;
}

void LMainFrame::CloseAllCommand() {
    if (!CanClose()) return;
    for (LSoundWindow* window : Sounds()) {
        window->mayClose = nullptr;
        window->parentWidget()->close();
    }
}

}  // namespace ondarix
