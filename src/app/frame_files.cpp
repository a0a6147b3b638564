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

// "tone_1.wav" of "tone.wav".
QString DuplicateTitle(const QString& path) {
    const QFileInfo file(path);
    const QString suffix = file.suffix().isEmpty() ? QString() : QLatin1Char('.') + file.suffix();
    return file.completeBaseName() + QStringLiteral("_1") + suffix;
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
    document.bookmarks = std::move(loaded.bookmarks);
    document.path = path;
    document.file = facts;
    document.title = QFileInfo(path).fileName();
    document.readOnly = loaded.readOnly;
    document.attachment = std::make_shared<LForeignChunks>(std::move(loaded.foreignChunks));
    return true;
}

bool LMainFrame::IsOpen(const QString& path) {
    const auto sounds = Sounds();
    return std::any_of(sounds.begin(), sounds.end(),
                       [&](LSoundWindow* window) { return window->Document().path == path; });
}

// The end may have been asked for while the sound before this one was loaded.
bool LMainFrame::OpenSound(const QString& path) {
    if (closing_) return false;
    const QString full = QFileInfo(path).absoluteFilePath();
    enum { kDuplicate, kLoad, kCancel };
    int answer = kLoad;
    if (MayOpenMore() && IsOpen(full))
        answer = messages_->Ask(
            QStringLiteral("File Already Open"),
            QStringLiteral("This file is already open. Would you like to create a duplicate file?"),
            {QStringLiteral("Create Duplicate"), QStringLiteral("Load File"), QStringLiteral("Cancel")},
            kCancel);
    if (answer == kCancel || closing_) return false;
    LSoundDocumentRef document(new LSoundDocument);
    if (!LoadInto(*document, full, static_cast<int>(Sounds().size()))) return false;
    document->PushUndo(QStringLiteral("Load File"), false);
    if (answer == kDuplicate) {
        document->path.clear();
        document->title = DuplicateTitle(full);
        document->readOnly = false;
    }
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

void LMainFrame::OpenRecent(int index) {
    const QString path = RecentFiles().value(index);
    if (path.isEmpty()) return;
    if (!OpenSound(path) && !QFileInfo::exists(path)) ForgetRecentFile(path);
}

QString LMainFrame::NextTitle() {
    return GetSettingString(QStringLiteral("Settings"), QStringLiteral("FileNameFormat"),
                            QStringLiteral("Untitled_%autonumber%"))
        .replace(QStringLiteral("%autonumber%"), QString::number(++untitled_));
}

LSoundWindow* LMainFrame::AddSound(LSoundDocumentRef document) {
    // The base of the history: without one the first change could not be undone.
    if (document->HistorySlots().empty()) document->PushUndo(QStringLiteral("New File"), false);
    auto* window = new LSoundWindow(std::move(document), *this);
    window->mayClose = [this](LSoundWindow& sound) { return closing_ || MayClose(sound); };
    ConnectSound(*window);
    ConnectPlayback(*window);
    connect(window, &QObject::destroyed, this, &LMainFrame::SoundsChanged, Qt::QueuedConnection);
    area_->Place(window, windowIcon());
    window->View().setFocus();
    SoundsChanged();
    return window;
}

// What is asked for by mouse in the window goes the way of the commands.
void LMainFrame::ConnectSound(LSoundWindow& window) {
    connect(&window, &LSoundWindow::SelectionChanged, this, &LMainFrame::ShowSelected);
    connect(&window, &LSoundWindow::Hint, this, &LMainFrame::ShowHint);
    connect(&window, &LSoundWindow::CancelRequested, this,
            [this, &window] { jobs_->AskToCancel(window.Document()); });
    connect(&window.View(), &LWaveView::SampleEditingChanged, this, &LMainFrame::RefreshChecks);
    connect(
        &window, &LSoundWindow::ContextMenuRequested, this,
        [this, &window](QPoint global, const LViewPlace& place) { ShowContextMenu(window, global, place); });
    connect(&window, &LSoundWindow::ChannelClicked, this, [this, &window](int channel) {
        const LSoundDocument& document = window.Document();
        const bool alone = document.channelEditMode == LSoundDocument::kEditsChannel;
        RunCommand(alone && document.editedChannel == channel ? kCmdEditWhole
                                                              : kCmdEditFirstChannel + channel);
    });
    connect(&window, &LSoundWindow::RenameBookmarkRequested, this, [this](uint index) {
        contextPlace_ = LViewPlace{.bookmarkIndex = index};
        RunCommand(kCmdRenameHere);
    });
    connect(&window, &LSoundWindow::RenameRegionRequested, this, [this](uint serial) {
        contextPlace_ = LViewPlace{.regionSerial = serial};
        RunCommand(kCmdRenameHere);
    });
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
    if (RefuseWhileBusy(window.Document())) return false;
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
    if (RefuseWhileBusy(document) || !MayOverwrite(document, path)) return false;
    LSaveRequest request;
    request.sound = &document.sound;
    request.path = path;
    request.record = record;
    request.documentReadOnly = document.readOnly;
    request.bookmarks = &document.bookmarks;
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
    document.MarkSaved();
    window.fileRecord = RecordOfFile(path);
    RememberRecentFile(document.path);
    DocumentChanged(document);
    Q_EMIT notifier_.ListChanged();
    return true;
}

void LMainFrame::SaveAll() {
    for (LSoundWindow* window : Sounds())
        if (window->Document().isModified && !RefuseWhileBusy(window->Document()) && !Save(*window)) return;
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
    const LSoundDocument& document = window.Document();
    if (document.isBusy) Activate(window);
    if (!MayEndJob(document)) return false;
    if (document.isModified) {
        Activate(window);
        enum { kSave, kDiscard, kCancel };
        const int answer = messages_->Ask(
            QStringLiteral("Ondarix"),
            QStringLiteral("Save the changes to \"%1\" before it is closed?").arg(document.title),
            {QStringLiteral("&Save"), QStringLiteral("&Discard"), QStringLiteral("Cancel")}, kCancel);
        if (answer == kDiscard) return true;
        if (answer != kSave || !Save(window)) return false;
    }
    return MayLoseRegions(document);
}

// No file of a sound holds them.
bool LMainFrame::MayLoseRegions(const LSoundDocument& document) {
    const QString section = QStringLiteral("Settings"), name = QStringLiteral("RegionsWarnUserWhenClosing");
    if (document.regions.empty() || !GetSettingBool(section, name, true)) return true;
    enum { kClose, kCancel };
    bool quiet = false;
    const int answer =
        messages_->Ask(QStringLiteral("Ondarix"),
                       QStringLiteral("The regions of \"%1\" are not saved with it. Close it all the same?")
                           .arg(document.title),
                       {QStringLiteral("&Close"), QStringLiteral("Cancel")}, kCancel,
                       QStringLiteral("Do not warn of regions any more"), &quiet);
    if (quiet && answer == kClose) SetSettingBool(section, name, false);
    return answer == kClose;
}

// Everything is asked before anything goes.
bool LMainFrame::CanClose() {
    for (LSoundWindow* window : Sounds())
        if (!MayClose(*window)) return false;
    return true;
}

void LMainFrame::CloseAll() {
    if (!CanClose()) return;
    for (LSoundWindow* window : Sounds()) {
        window->mayClose = nullptr;
        window->parentWidget()->close();
    }
}

}  // namespace ondarix
