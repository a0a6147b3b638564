// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/system_clipboard.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QMessageBox>
#include <QTemporaryFile>
#include <QTimer>
#include <QUrl>
#include <QUuid>

#include "app/clipboard_data.h"
#include "formats/load.h"
#include "formats/registry.h"
#include "formats/wav_source.h"
#include "gen/paths.h"
#include "gen/text.h"

namespace ondarix {
namespace {

constexpr const char* kTakenFormats[] = {"audio/x-wav", "audio/wav", "audio/vnd.wave", "audio/wave"};
const QString kFilesFormat = QStringLiteral("text/uri-list");
constexpr const char* kPastingStatus = "Pasting audio...";
constexpr const char* kNoSoundText = "The data on the clipboard are not a sound that can be pasted.";
constexpr const char* kCutOffText = "The sound on the clipboard is cut off: its end did not arrive.";
constexpr const char* kEmptyText = "The sound on the clipboard is empty.";
constexpr const char* kNoRoomText = "There is not enough free disk space for the sound on the clipboard.";

QString SoundFormatOf(const QMimeData& data) {
    for (const char* format : kTakenFormats)
        if (data.hasFormat(QLatin1String(format))) return QLatin1String(format);
    return {};
}

bool HasOwnReader(const QString& path) {
    const LReaderRow* row = NextReader(LowerExtension(path), 1);
    return row && *row->extensions && row->open;
}

// Local files that a reader is there for; at most so many.
QStringList SoundFilesOf(const QMimeData& data, qsizetype most) {
    QStringList paths;
    if (!data.formats().contains(kFilesFormat)) return paths;
    for (const QUrl& url : data.urls()) {
        const QString path = url.toLocalFile();
        if (path.isEmpty() || !HasOwnReader(path) || !QFileInfo(path).isFile()) continue;
        paths.append(path);
        if (paths.size() >= most) break;
    }
    return paths;
}

JobResult Refuse(LProgress& progress, const QString& why) {
    progress.ReportError(why);
    return JobResult::kFailed;
}

// Loading asks nothing here: what it would ask is answered safely, what it tells is an error of the paste.
class LPasteMessages final : public LMessageHost {
  public:
    explicit LPasteMessages(LProgress& progress) : progress_(progress) {}
    void Tell(const QString&, const QString& text) override { progress_.ReportError(text); }
    int Ask(const QString&, const QString&, const QStringList&, int safe, const QString&, bool*) override {
        return safe;
    }

  private:
    LProgress& progress_;
};

JobResult FetchBytes(QByteArray bytes, LSound& out, LProgress& progress) {
    if (bytes.isEmpty()) return Refuse(progress, QLatin1String(kEmptyText));
    if (IsCutOffWav(bytes)) return Refuse(progress, QLatin1String(kCutOffText));
    QTemporaryFile file(TempFolder() + QStringLiteral("/ondarix-paste-XXXXXX.tmp"));
    if (!file.open() || file.write(bytes) != bytes.size() || !file.flush())
        return Refuse(progress, QLatin1String(kNoRoomText));
    bytes.clear();  // an hour of sound need not be in memory as well
    const LSoundSourceRef source = OpenWav(file.fileName());
    if (!source.IsUsable() || !source->Format().IsValid())
        return Refuse(progress, QLatin1String(kNoSoundText));
    if (source->GetLength() <= 0) return Refuse(progress, QLatin1String(kEmptyText));
    const JobResult result = LSound::Render(out, progress, *source, QLatin1String(kPastingStatus));
    return result == JobResult::kFailed ? Refuse(progress, QLatin1String(kNoRoomText)) : result;
}

JobResult FetchFiles(const QStringList& paths, LSound& out, LProgress& progress) {
    LPasteMessages messages(progress);
    LSound all;
    for (const QString& path : paths) {
        LLoadedSound loaded;
        JobResult result = LoadSound(path, 0, loaded, progress, messages);
        if (result == JobResult::kSuccess && path != paths.first())
            result = loaded.sound.ConvertFormat(loaded.sound, all.sampleRate, all.channels, progress);
        if (result != JobResult::kSuccess) return result;
        if (path == paths.first())
            all = std::move(loaded.sound);
        else
            all.Insert(all.Length(), loaded.sound);
    }
    if (all.Length() == 0) return Refuse(progress, QLatin1String(kEmptyText));
    out = std::move(all);
    return JobResult::kSuccess;
}

// Another program waits for its answer: the message comes afterwards.
void TellBeside(QWidget* owner, const QString& title, const QString& text) {
    QTimer::singleShot(0, owner, [owner, title, text] {
        auto* box = new QMessageBox(QMessageBox::Warning, title, text, QMessageBox::Ok, owner);
        box->setTextFormat(Qt::PlainText);
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setWindowModality(Qt::NonModal);
        box->show();
    });
}

// No other run of the program has it, whatever its process number.
QByteArray ProcessMark() {
    static const QByteArray mark = QUuid::createUuid().toByteArray(QUuid::WithoutBraces);
    return mark;
}

}  // namespace

LDesktopClipboard::LDesktopClipboard(QWidget* owner)
    : tell([owner](const QString& title, const QString& text) { TellBeside(owner, title, text); }),
      owner_(owner),
      clipboard_(QGuiApplication::clipboard()) {
    connect(clipboard_, &QClipboard::dataChanged, this, &LDesktopClipboard::OnDataChanged);
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive && std::exchange(changedUnseen_, false)) Q_EMIT Changed();
    });
}

LDesktopClipboard::~LDesktopClipboard() {
    disconnect(clipboard_, nullptr, this, nullptr);
    if (!offered_) return;
    static_cast<LOfferedData*>(offered_.data())->Detach();
    if (IsStillOurs()) clipboard_->clear();
}

void LDesktopClipboard::OnDataChanged() {
    stale_ = true;
    changedUnseen_ = QGuiApplication::applicationState() != Qt::ApplicationActive;
    if (!changedUnseen_) Q_EMIT Changed();
}

bool LDesktopClipboard::IsStillOurs() const { return offered_ && clipboard_->mimeData() == offered_; }

LDesktopClipboard::LOffer LDesktopClipboard::Look() const {
    const QMimeData* data = clipboard_->mimeData();
    LOffer offer;
    if (!data) return offer;
    const QStringList formats = data->formats();
    const QString markFormat = QLatin1String(kClipMarkFormat);
    // A clipboard manager may have taken the copy over, or give an older one back.
    offer.own = !mark_.isEmpty() && formats.contains(markFormat) && data->data(markFormat) == mark_;
    if (offer.own) return offer;
    offer.sound = !SoundFormatOf(*data).isEmpty() || !SoundFilesOf(*data, 1).isEmpty();
    offer.text = formats.contains(QStringLiteral("text/plain"));
    return offer;
}

// Marked as seen first: a change that comes in meanwhile is looked at again.
const LDesktopClipboard::LOffer& LDesktopClipboard::Offer() const {
    if (std::exchange(stale_, false)) offer_ = Look();
    return offer_;
}

bool LDesktopClipboard::OffersOwnClip() const { return Offer().own; }
bool LDesktopClipboard::OffersSound() const { return Offer().sound; }
bool LDesktopClipboard::OffersText() const { return Offer().text; }
QString LDesktopClipboard::Text() const { return Offer().text ? clipboard_->text() : QString(); }

bool LDesktopClipboard::Put(QMimeData* data) {
    offered_ = data;
    clipboard_->setMimeData(data);
    stale_ = true;
    return IsStillOurs();
}

bool LDesktopClipboard::Announce(LClipboardStore& store) {
    mark_ = ProcessMark() + ' ' + QByteArray::number(++copies_);
    return Put(new LClipData(owner_, store, mark_, tell));
}

bool LDesktopClipboard::OfferImage(std::function<QImage()> paint) {
    return Put(new LPictureData(owner_, std::move(paint)));
}

JobResult LDesktopClipboard::FetchSound(LSound& out, LProgress& progress) {
    constexpr qsizetype kMostFiles = 1000;
    const QMimeData* data = clipboard_->mimeData();
    if (!data) return Refuse(progress, QLatin1String(kNoSoundText));
    const QString format = SoundFormatOf(*data);
    if (!format.isEmpty()) return FetchBytes(data->data(format), out, progress);
    const QStringList paths = SoundFilesOf(*data, kMostFiles);
    return paths.isEmpty() ? Refuse(progress, QLatin1String(kNoSoundText)) : FetchFiles(paths, out, progress);
}

void LDesktopClipboard::RenderAll() {
    if (!IsStillOurs()) return;
    QMimeData* rendered = static_cast<LOfferedData*>(offered_.data())->Rendered();
    // Rendering may have taken long enough for another program to copy something.
    if (!IsStillOurs()) {
        delete rendered;
        return;
    }
    offered_ = nullptr;
    if (rendered)
        clipboard_->setMimeData(rendered);
    else
        clipboard_->clear();
}

}  // namespace ondarix
