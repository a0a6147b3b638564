// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/edit_session.h"

#include <QDir>
#include <QFileInfo>

#include "formats/registry.h"
#include "gen/text.h"

namespace ondarix {
namespace {

// The same for every way to write it, also when the file is not there yet.
QString FilePath(const QString& folder, const QString& name) {
    const QString real = QFileInfo(folder).canonicalFilePath();
    const QString base = real.isEmpty() ? QFileInfo(folder).absoluteFilePath() : real;
    return QDir::cleanPath(base + '/' + name).toCaseFolded();
}

QString FilePath(const QString& path) { return FilePath(QFileInfo(path).path(), QFileInfo(path).fileName()); }

}  // namespace

JobResult LCommandLineHost::RunJob(const QString& /*title*/,
                                   const std::function<JobResult(LProgress&)>& work) {
    if (refused_) return JobResult::kFailed;
    return work(context_.progress);
}

bool LCommandLineHost::AddDocument(LSoundDocumentRef document) {
    added.push_back(std::move(document));
    return true;
}

void LCommandLineHost::Tell(const QString& title, const QString& text) {
    hasSpoken = true;
    context_.host.Tell(title, text);
}

int LCommandLineHost::Ask(const QString& title, const QString& text, const QStringList& buttons, int safe,
                          const QString& dontAskText, bool* dontAskAgain) {
    if (title == "Destination Folder") return 0;
    if (title == "Replace File" && !noClobber_) return 0;
    if (title == "Replace File") {
        refused_ = true;
        Tell(title, "a file is there already, and --no-clobber is given");
        return safe;
    }
    if (title == "Channel Length Changes") {
        Tell(title, text.section(". Would", 0, 0) + '.');
        return 0;
    }
    hasSpoken = true;
    return context_.host.Ask(title, text, buttons, safe, dontAskText, dontAskAgain);
}

LEditSession::LEditSession(LContext& runContext, LLoadedSound& loaded, const QString& input,
                           const LOutputFile& output)
    : context(runContext), document(new LSoundDocument), host(runContext, output.noClobber), output_(output) {
    document->sound = std::move(loaded.sound);
    document->bookmarks = std::move(loaded.bookmarks);
    document->path = QFileInfo(input).absoluteFilePath();
    document->title = QFileInfo(input).fileName();
    document->PushUndo("Load File", false);
    taken_.insert(FilePath(input));
    if (!output.IsNone()) taken_.insert(FilePath(output.path));
}

JobResult LEditSession::Fault(const QString& text) {
    fault_ = text;
    return JobResult::kFailed;
}

JobResult LEditSession::Done(JobResult result) const {
    const bool nothing =
        result == JobResult::kCancelled && !context.progress.IsCancelled() && !host.hasSpoken;
    return nothing ? JobResult::kSuccess : result;
}

bool LEditSession::HasSelection() {
    if (document->HasSelection()) return true;
    Fault("nothing is selected");
    return false;
}

JobResult LEditSession::Load(const QString& path, LSound& sound) {
    LLoadedSound loaded;
    const JobResult result = LoadSound(path, 0, loaded, context.progress, context.host);
    if (result != JobResult::kSuccess) {
        const QStringList notes = context.host.TakeNotes();
        Fault(notes.isEmpty() ? QString("\"%1\" cannot be opened").arg(path) : notes.last());
        return result;
    }
    sound = std::move(loaded.sound);
    return result;
}

JobResult LEditSession::WriteLater(LSoundDocumentRef source, const std::vector<LPiece>& pieces,
                                   const QString& folder, const QString& extension) {
    if (pieces.empty()) return Fault("there is nothing to write");
    QSet<QString> own;
    for (const LPiece& piece : pieces) {
        if (!IsFileName(piece.name))
            return Fault(QString("\"%1\" cannot be the name of a file").arg(piece.name));
        const QString path = FilePath(folder, piece.name + extension);
        if (taken_.contains(path))
            return Fault(QString("the file \"%1\" is read or written otherwise in the same run")
                             .arg(QDir(folder).filePath(piece.name + extension)));
        own.insert(path);
    }
    taken_.unite(own);
    const LSound& sound = source->sound;
    LPieceTarget target{QFileInfo(folder).absoluteFilePath(), extension};
    target.record = LFormatRecord::Plain(output_.coding->tag, output_.coding->bits,
                                         static_cast<uint32_t>(sound.sampleRate), sound.channels);
    target.shaping = !output_.noShaping;
    files_.push_back({std::move(source), pieces, target});
    return JobResult::kSuccess;
}

JobResult LEditSession::WriteLater(LSoundDocumentRef source, const std::vector<LPiece>& pieces,
                                   const QString& folder) {
    const QString wanted = LowerExtension(output_.IsNone() ? document->path : output_.path);
    return WriteLater(std::move(source), pieces, folder, FormatCanBeWritten(wanted) ? wanted : ".wav");
}

JobResult LEditSession::WriteLater(const std::vector<LPiece>& pieces, const QString& folder) {
    LSoundDocumentRef copy(new LSoundDocument);
    copy->sound = document->sound;
    return WriteLater(std::move(copy), pieces, folder);
}

ExitStatus LEditSession::WriteFiles() {
    for (const LFiles& files : files_) {
        const QString& folder = files.target.folder;
        if (!QFileInfo(folder).isDir() && !QDir().mkpath(folder))
            return context.console.Fail(QString("the folder \"%1\" cannot be made").arg(folder));
    }
    for (const LFiles& files : files_) {
        const JobResult result = SavePieces(*files.source, files.pieces, files.target, host, written);
        if (result != JobResult::kSuccess) {
            return context.Ended(result,
                                 QString("files in \"%1\" cannot be written").arg(files.target.folder));
        }
    }
    return ExitStatus::kSuccess;
}

void LEditSession::GiveBack(LLoadedSound& loaded) {
    loaded.sound = document->sound;
    loaded.bookmarks = document->bookmarks;
}

}  // namespace ondarix
