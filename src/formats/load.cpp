// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/load.h"

#include <QFileInfo>

#include "formats/file_checks.h"
#include "formats/registry.h"
#include "gen/text.h"
#include "sound/bookmark_file.h"
#include "sound/readers.h"

namespace ondarix {

bool (*gOpenProject)(const QString&, LMessageHost&) = nullptr;
bool (*gOpenPlaylist)(const QString&, bool, LProgress&, LMessageHost&) = nullptr;

namespace {

constexpr int64_t kWorkingDiskMargin = 0x6400000;  // 100 MiB
constexpr int64_t kSuspiciousFrames = 0x7FFFFFFF;  // what a reader of 32-bit lengths ends at
constexpr const char* kLoadErrorTitle = "Error loading file";

bool IsAnyOf(const QString& extension, std::initializer_list<const char*> list) {
    return std::any_of(list.begin(), list.end(),
                       [&](const char* one) { return extension == QLatin1String(one); });
}

QString LoadFailureText(const QString& path, const QString& extension) {
    if (IsAnyOf(extension, {".dvf", ".msv"})) {
        return QStringLiteral(
                   "Cannot open the file \"%1\". It is possible you do not have the Sony plugin installed or "
                   "your "
                   "recorder is not supported. The plugin comes with the software of the recorder, on its "
                   "disc or "
                   "from the support pages of Sony.")
            .arg(path);
    }
    if (extension == ".cda") {
        return QStringLiteral(
                   "Ondarix could not open the file \"%1\" for editing. To open .cda files please use \"Load "
                   "Audio "
                   "CD Track\" option from the File menu.")
            .arg(path);
    }
    return QStringLiteral("Ondarix could not open the file \"%1\" for editing.").arg(path);
}

JobResult TellLoadFailure(const QString& path, const QString& extension, LMessageHost& host) {
    host.Tell(kLoadErrorTitle, LoadFailureText(path, extension));
    return JobResult::kFailed;
}

// Files that hold other files. True when the load ends here, with `result`.
bool LoadElsewhere(const QString& path, const QString& extension, LLoadedSound& loaded, LProgress& progress,
                   LMessageHost& host, JobResult& result) {
    const bool playlist = IsAnyOf(extension, {".m3u", ".pls", ".xml"});
    if (!playlist && !IsAnyOf(extension, {".odxp", ".aup", ".stlp"})) return false;
    if (playlist && gOpenPlaylist) {
        const QString text = "Load contents of the playlist separately?";
        const int answer = host.Ask("Loading Playlist", text, {"Load as one", "Load Separately"}, 0);
        loaded.takenOver = gOpenPlaylist(path, answer == 1, progress, host);
    } else if (!playlist && gOpenProject) {
        loaded.takenOver = gOpenProject(path, host);
    }
    result = loaded.takenOver ? JobResult::kSuccess : TellLoadFailure(path, extension, host);
    return true;
}

void WarnOfWorkingDisk(const LSourceFacts& facts, LMessageHost& host) {
    const int64_t forFile = FreeBytes(QFileInfo(facts.path).absolutePath());
    if (IsWorkingDiskShort(FreeBytes(CacheFolder()), forFile, facts.size))
        host.Tell(kLowDiskTitle, kWorkingDiskWarning);
}

bool HasRoomToDecode(LSoundSource& source) {
    const int64_t samples = source.GetLength() * source.channels + kRenderReserveSamples;
    return FreeBytes(CacheFolder()) / int64_t{sizeof(float)} >= samples;
}

// A file that changed while it was read, or still grows, is not taken for the decode of what it is now.
JobResult Decode(const LSourceFacts& facts, LLoadedSound& loaded, LProgress& progress, LMessageHost& host) {
    const LSoundSourceRef source = OpenSoundSource(facts.path, progress);
    if (!source.IsUsable()) return TellLoadFailure(facts.path, LowerExtension(facts.path), host);
    bool growing = source->IsGrowing();
    const JobResult rendered = LSound::Render(loaded.sound, progress, *source);
    if (rendered == JobResult::kFailed) {
        if (HasRoomToDecode(*source)) return TellLoadFailure(facts.path, LowerExtension(facts.path), host);
        host.Tell(kLowDiskTitle, kLowDiskActionText);
    }
    if (rendered != JobResult::kSuccess) return rendered;
    growing |= source->IsGrowing();
    const uint16_t id = loaded.sound.segments ? loaded.sound.segments->cacheRef.cacheId : kNoCacheId;
    if (!growing && SameSourceFile(facts, LSourceFacts::Of(facts.path))) RegisterSource(id, facts);
    return JobResult::kSuccess;
}

JobResult TakeSound(const LSourceFacts& facts, LLoadedSound& loaded, LProgress& progress,
                    LMessageHost& host) {
    LSoundFormat format;
    LSoundSegment segment;
    loaded.fromCache = FindCachedSource(facts, format, segment);
    if (!loaded.fromCache) return Decode(facts, loaded, progress, host);
    loaded.sound.SetSingleSegment(segment, format.sampleRate, format.channels);
    return JobResult::kSuccess;
}

// The side file may be older than the sound, or of another program: what it says is made to fit.
void LoadBookmarks(const QString& path, LLoadedSound& loaded, LMessageHost& host) {
    const QString file = BookmarkFileOf(path);
    const int32_t rate = loaded.sound.sampleRate;
    if (ReadBookmarkFile(file, rate, loaded.bookmarks) == LBookmarkRead::kDamaged) {
        host.Tell("Bookmarks",
                  QStringLiteral("The bookmarks of \"%1\" could not be read, because the file \"%2\" is "
                                 "damaged. It will be kept under a name that ends in \".bad\" when "
                                 "bookmarks are saved.")
                      .arg(path, file));
    }
    const int64_t length = loaded.sound.Length();
    for (LBookmark& one : loaded.bookmarks) {
        const int64_t position = ScalePosition(one.position, rate, one.sampleRate);
        one.SetPosition(std::min(position, length), rate);
    }
}

}  // namespace

bool IsWorkingDiskShort(int64_t freeForCache, int64_t freeForFile, int64_t fileBytes) {
    if (freeForCache == INT64_MAX) return false;
    return freeForCache - kWorkingDiskMargin < std::min(freeForFile, std::max<int64_t>(fileBytes, 0));
}

JobResult LoadSound(const QString& path, int openDocuments, LLoadedSound& loaded, LProgress& progress,
                    LMessageHost& host) {
    if (openDocuments >= kMaxOpenDocuments) {
        host.Tell("Error",
                  "Maximum file count exceeded.  Please close some files before loading more files.");
        return JobResult::kFailed;
    }
    const QFileInfo info(path);
    const QString extension = LowerExtension(path);
    if (!info.exists()) {
        host.Tell("File Not Found.", QStringLiteral("File Not Found: \"%1\".").arg(path));
        return JobResult::kFailed;
    }
    if (extension == ".cda") {
        host.Tell(kLoadErrorTitle,
                  "To open .cda files please use \"Load Audio CD Track\" option from the File menu.");
        return JobResult::kFailed;
    }
    JobResult result = JobResult::kFailed;
    if (LoadElsewhere(path, extension, loaded, progress, host, result)) return result;
    if (!info.isFile()) return TellLoadFailure(path, extension, host);

    progress.SetStatus("Loading Audio File Source", 0);
    const LSourceFacts facts = LSourceFacts::Of(path);
    WarnOfWorkingDisk(facts, host);
    result = TakeSound(facts, loaded, progress, host);
    if (result != JobResult::kSuccess) return result;
    if (extension == ".wav") loaded.foreignChunks = ReadForeignChunks(path);
    if (loaded.foreignChunks.lost) {
        host.Tell(kLowDiskTitle,
                  QStringLiteral("The file \"%1\" holds data of other programs beside its sound that "
                                 "could not be kept, because there is not enough free disk space in "
                                 "the temporary folder. Saving will leave it out.")
                      .arg(path));
    }
    LoadBookmarks(path, loaded, host);
    loaded.readOnly = IsReadOnlyFile(path);
    if (loaded.sound.Length() == kSuspiciousFrames) {
        host.Tell("File Size Limit Exceeded",
                  "The file may have exceeded the maximum allowed size.\r\n\r\nPlease confirm the file has "
                  "loaded correctly before continuing.");
    }
    return JobResult::kSuccess;
}

}  // namespace ondarix
