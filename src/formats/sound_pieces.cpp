// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/sound_pieces.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QStandardPaths>
#include <algorithm>

#include "formats/load.h"
#include "formats/registry.h"
#include "formats/save.h"
#include "formats/wav_sink.h"
#include "formats/wav_source.h"
#include "gen/part_progress.h"
#include "gen/settings.h"
#include "gen/text.h"
#include "sound/edits.h"

namespace ondarix {

namespace {

constexpr qsizetype kLongestFileName = 240;  // bytes; leaves room for two extensions below 255
constexpr const char* kGeneralSection = "Settings";

struct PieceJob {
    const LSoundDocument* document;
    LPiece piece;
    QString path;
    std::optional<LFormatRecord> record = {};
    bool shaping = true;
};

// Names of devices are taken with any extension behind them.
bool IsDeviceName(const QString& name) {
    const QString stem = name.section(u'.', 0, 0).trimmed().toUpper();
    for (const char* one : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"})
        if (stem == QLatin1String(one)) return true;
    const bool port = stem.startsWith(QLatin1String("COM")) || stem.startsWith(QLatin1String("LPT"));
    return port && stem.size() == 4 && QStringLiteral("123456789\u00B9\u00B2\u00B3").contains(stem.back());
}

bool CheckName(const QString& name, LEditHost& host) {
    if (IsFileName(name)) return true;
    host.Messages().Tell(
        "Invalid File Name",
        QStringLiteral(
            "The name of the region \"%1\" contains characters that are not valid for a file name. "
            "Please rename it with a new name that contains text only and try again.")
            .arg(name));
    return false;
}

JobResult MakeFolder(const QString& folder, LEditHost& host) {
    if (!folder.isEmpty() && QFileInfo(folder).isDir()) return JobResult::kSuccess;
    const QString question = "The destination folder does not exist. Create it?";
    if (!folder.isEmpty() && host.Messages().Ask("Destination Folder", question, {"Yes", "No"}, 1) != 0)
        return JobResult::kCancelled;
    if (!folder.isEmpty() && QDir().mkpath(folder)) return JobResult::kSuccess;
    host.Messages().Tell("Unable to create directory",
                         QStringLiteral("Unable to create '%1'. Region export failed.").arg(folder));
    return JobResult::kFailed;
}

// Where each job writes. Names that differ in case only would be one file elsewhere.
void ChoosePaths(std::vector<PieceJob>& jobs, const LPieceTarget& target) {
    QSet<QString> taken;
    for (const PieceJob& job : jobs) taken.insert(job.piece.name.toCaseFolded());
    QSet<QString> used;
    for (PieceJob& job : jobs) {
        QString name = job.piece.name;
        for (int number = 2; used.contains(name.toCaseFolded()); ++number) {
            const QString next = QStringLiteral("%1 (%2)").arg(job.piece.name).arg(number);
            if (!taken.contains(next.toCaseFolded())) name = next;
        }
        used.insert(name.toCaseFolded());
        job.path = QDir(target.folder).filePath(name + target.extension);
        job.record = target.record;
        job.shaping = target.shaping;
    }
}

// Asks about each file that is there; those that are to stay are left out.
void AskToReplace(std::vector<PieceJob>& jobs, LEditHost& host) {
    std::erase_if(jobs, [&](const PieceJob& job) {
        if (!QFileInfo::exists(job.path)) return false;
        const QString text =
            QStringLiteral(
                "The region \"%1\" already exists in the output folder. Do you want to replace it?")
                .arg(QFileInfo(job.path).completeBaseName());
        return host.Messages().Ask("Replace File", text, {"Replace", "No"}, 1) != 0;
    });
}

// The coding of the document's own file, as far as it can be written.
LFormatRecord RecordForPiece(const LSoundDocument& document) {
    const LSoundFormat format = document.sound.Format();
    LFormatRecord stored = WavRecordFor(format);
    if (LowerExtension(document.path) != QLatin1String(".wav") ||
        !GetSettingBool(kGeneralSection, "SaveSameFileFormat", true))
        return stored;
    LFileBytes file(document.path);
    if (!file.IsOpen()) return stored;
    const LWavHeader header = ReadWavHeader(file);
    if (header.error != kSourceGood) return stored;
    const int whole = header.tag == 3 ? 32 : std::clamp((header.bits + 7) / 8 * 8, 8, 32);
    const LFormatRecord same = LFormatRecord::Plain(
        header.tag, static_cast<uint16_t>(whole), static_cast<uint32_t>(format.sampleRate), format.channels);
    return StoredWavBits(same) != 0 ? same : stored;
}

JobResult SaveOne(const PieceJob& job, LProgress& progress, LEditHost& host) {
    static const LBookmarks kNoBookmarks;  // what an older file of the name had is not of this sound
    const LSound& whole = job.document->sound;
    LSound sound(whole.sampleRate, whole.channels);
    whole.CopyRange(job.piece.start, job.piece.end, sound);
    LSaveRequest request;
    request.sound = &sound;
    request.path = job.path;
    request.record = job.record ? *job.record : RecordForPiece(*job.document);
    request.shaping = job.shaping;
    request.bookmarks = &kNoBookmarks;
    progress.SetStatus(QFileInfo(job.path).fileName(), 1);
    const SaveResult result = SaveSound(request, progress, host.Messages()).result;
    if (result == SaveResult::kSuccess) return JobResult::kSuccess;
    return result == SaveResult::kCancelled ? JobResult::kCancelled : JobResult::kFailed;
}

JobResult RunPieceJobs(std::vector<PieceJob> jobs, LEditHost& host, QStringList& written) {
    if (jobs.empty()) return JobResult::kCancelled;
    return host.RunJob("Saving...", [&](LProgress& progress) {
        for (size_t i = 0; i < jobs.size(); ++i) {
            const auto count = static_cast<double>(jobs.size()), done = static_cast<double>(i);
            LPartProgress share(progress, done / count, (done + 1) / count);
            const JobResult saved = SaveOne(jobs[i], share, host);
            if (saved != JobResult::kSuccess) return saved;
            written.append(jobs[i].path);
        }
        return JobResult::kSuccess;
    });
}

JobResult SaveJobs(std::vector<PieceJob> jobs, const LPieceTarget& target, LEditHost& host,
                   QStringList& written) {
    if (jobs.empty()) return JobResult::kCancelled;
    for (const PieceJob& job : jobs)
        if (!CheckName(job.piece.name, host)) return JobResult::kFailed;
    const JobResult folder = MakeFolder(target.folder, host);
    if (folder != JobResult::kSuccess) return folder;
    ChoosePaths(jobs, target);
    AskToReplace(jobs, host);
    return RunPieceJobs(std::move(jobs), host, written);
}

LPiece PieceOf(const LRegion& region) { return {region.startFrame, region.endFrame, region.name}; }

QString ExtensionForRegion(const LSoundDocument& document, const LPieceTarget& target) {
    if (!target.extension.isEmpty()) return target.extension;
    const QString own = LowerExtension(document.path);
    return FormatCanBeWritten(own) ? own : QStringLiteral(".wav");
}

QString FolderForRegion(const LSoundDocument& document, const LPieceTarget& target) {
    if (!target.folder.isEmpty()) return target.folder;
    if (!document.path.isEmpty()) return QFileInfo(document.path).absolutePath();
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
}

}  // namespace

bool IsFileName(const QString& name) {
    if (name.isEmpty() || name.endsWith(u'.') || name.endsWith(u' ') || name.trimmed().isEmpty())
        return false;
    if (!name.isValidUtf16() || name.toUtf8().size() > kLongestFileName || IsDeviceName(name)) return false;
    return std::none_of(name.begin(), name.end(), [](QChar c) {
        return c.unicode() < 0x20 || c.unicode() == 0x7F || QStringLiteral("/\\:*?\"<>|").contains(c);
    });
}

JobResult SavePieces(const LSoundDocument& document, const std::vector<LPiece>& pieces,
                     const LPieceTarget& target, LEditHost& host, QStringList& written) {
    std::vector<PieceJob> jobs;
    jobs.reserve(pieces.size());
    for (const LPiece& piece : pieces) jobs.push_back({&document, piece, {}});
    return SaveJobs(std::move(jobs), target, host, written);
}

JobResult ExportRegions(const std::vector<LRegionRef>& regions, const LPieceTarget& target, LEditHost& host,
                        QStringList& written) {
    std::vector<PieceJob> jobs;
    for (const LRegionRef& ref : regions) {
        if (const LRegion* region = FindRegion(*ref.document, ref.serial))
            jobs.push_back({ref.document, PieceOf(*region), {}});
    }
    SetSettingString(kGeneralSection, "ExportRegionFolder", target.folder);
    SetSettingString(kGeneralSection, "ExportRegionFormat", target.extension);
    return SaveJobs(std::move(jobs), target, host, written);
}

JobResult RegionsToNew(const std::vector<LRegionRef>& regions, LEditHost& host) {
    JobResult result = JobResult::kCancelled;
    for (const LRegionRef& ref : regions) {
        const LRegion* region = FindRegion(*ref.document, ref.serial);
        if (!region) continue;
        result = PiecesToNew(*ref.document, host, {PieceOf(*region)});
        if (result != JobResult::kSuccess) break;
    }
    return result;
}

JobResult SaveNumberedRegion(const LSoundDocument& document, const LPieceTarget& target, LEditHost& host,
                             QString& saved) {
    const LSelection range =
        document.HasSelection() ? document.EditRange() : LSelection{0, document.sound.Length()};
    const QString base = BaseTitle(document), extension = ExtensionForRegion(document, target);
    const QString folder = FolderForRegion(document, target);
    const int digits = std::clamp(GetSettingInt(kGeneralSection, "SaveRegionDigits", 3), 1, 9);
    int64_t number = std::max(GetSettingInt(kGeneralSection, "SaveRegionCount", 1), 1);
    const auto name = [&] { return RegionFileName(base, static_cast<int>(number), digits); };
    const auto path = [&] { return QDir(folder).filePath(name() + extension); };
    if (!CheckName(name(), host)) return JobResult::kFailed;
    const JobResult made = MakeFolder(folder, host);
    if (made != JobResult::kSuccess) return made;
    while (QFileInfo::exists(path()) && number < INT32_MAX) ++number;
    QStringList written;
    const JobResult result =
        RunPieceJobs({{&document, {range.start, range.end, name()}, path()}}, host, written);
    if (result != JobResult::kSuccess) return result;
    SetSettingInt(static_cast<int32_t>(std::min<int64_t>(number + 1, INT32_MAX)), kGeneralSection,
                  "SaveRegionCount");
    saved = written.first();
    return result;
}

JobResult InsertFile(LSoundDocument& document, const QString& path, LEditHost& host) {
    const QString label = QStringLiteral("Insert File"), full = QFileInfo(path).absoluteFilePath();
    LLoadedSound loaded;
    const JobResult result = host.RunJob(
        label, [&](LProgress& progress) { return LoadSound(full, 0, loaded, progress, host.Messages()); });
    if (result != JobResult::kSuccess) return result;
    if (loaded.takenOver || loaded.sound.Length() == 0) return JobResult::kCancelled;
    const JobResult inserted =
        InsertSound(document, host, loaded.sound, document.cursor, document.cursor, label);
    if (inserted != JobResult::kSuccess) return inserted;
    SetSettingString(kGeneralSection, "InsertFileFormat", LowerExtension(full).mid(1));
    SetSettingString(kGeneralSection, "InsertFileDir", QFileInfo(full).absolutePath());
    return inserted;
}

}  // namespace ondarix
