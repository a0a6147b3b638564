// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/save.h"

#include <QFileInfo>

#include "formats/file_checks.h"
#include "formats/registry.h"
#include "formats/save_steps.h"
#include "gen/settings.h"
#include "gen/text.h"
#include "sound/bookmark_file.h"
#include "sound/readers.h"

namespace ondarix {

LSaveOutcome (*gSaveProject)(const LSaveRequest&, LProgress&, LMessageHost&) = nullptr;

namespace {

constexpr const char* kSaveErrorTitle = "Error saving file";

// A check answers true when the save may go on; otherwise it has told why and set the result.
bool Stop(LSaveOutcome& outcome, SaveResult result, bool offerSaveAs = false) {
    outcome.result = result;
    outcome.offerSaveAs = offerSaveAs;
    return false;
}

bool CheckContent(const LSaveRequest& request, LSaveOutcome& outcome, LMessageHost& host) {
    if (request.sound && request.sound->Length() > 0) return true;
    host.Tell("Cannot Save Empty Files", "This file does not contain any audio data and cannot be saved.");
    return Stop(outcome, SaveResult::kEmptyFile);
}

// Working files may have been removed behind the program's back. Their silence must not take the place of
// the user's file unasked.
bool CheckSamples(const LSaveRequest& request, LSaveOutcome& outcome, LMessageHost& host) {
    if (IsOnDisk(*request.sound)) return true;
    const QString text =
        QStringLiteral(
            "Samples of this sound are missing from the working folder \"%1\". They would be "
            "saved as silence.")
            .arg(CacheFolder());
    if (host.Ask(kSaveErrorTitle, text, {"Save Anyway", "Cancel"}, 1) == 0) return true;
    return Stop(outcome, SaveResult::kCancelled);
}

bool CheckSpace(const LSaveRequest& request, LSaveOutcome& outcome, LMessageHost& host) {
    const QString text =
        QStringLiteral(
            "Cannot save the file \"%1\" because there is not enough free disk space. Please "
            "try saving the file to a different location or making more space by removing "
            "unwanted files then try again.")
            .arg(request.path);
    if (CheckDiskSpace(*request.sound, QFileInfo(request.path).absolutePath(), text, host)) return true;
    return Stop(outcome, SaveResult::kFailed, true);
}

bool CheckDocument(const LSaveRequest& request, LSaveOutcome& outcome, LMessageHost& host) {
    if (!request.documentReadOnly) return true;
    const QString text = "File is read-only. Would you like to remove the restriction?";
    if (host.Ask("Read only file", text, {"Cancel", "Continue"}, 0) != 1)
        return Stop(outcome, SaveResult::kCancelled);
    outcome.readOnlyDropped = true;
    return true;
}

bool CheckTarget(const LSaveRequest& request, LSaveOutcome& outcome, LMessageHost& host) {
    const QFileInfo target(ResolveLinks(request.path));
    if (!target.exists()) return true;
    if (!target.isFile()) {
        host.Tell(kSaveErrorTitle,
                  QStringLiteral("\"%1\" is no file and cannot be replaced by one.").arg(request.path));
        return Stop(outcome, SaveResult::kFailed);
    }
    if (IsReadOnlyFile(target.filePath())) {
        host.Tell("Read only file",
                  QStringLiteral("The file %1 is a read only file. You cannot overwrite this "
                                 "file. Please save it under a different name")
                      .arg(request.path));
        return Stop(outcome, SaveResult::kReadOnly, true);
    }
    if (IsHeldByAnother(target.filePath())) {
        host.Tell("File in use",
                  QStringLiteral("The file %1 is in use by another application. Please save it "
                                 "under a different name.")
                      .arg(request.path));
        return Stop(outcome, SaveResult::kFailed);
    }
    return true;
}

bool CheckType(const QString& extension, LSaveOutcome& outcome, LMessageHost& host) {
    if (extension == ".ra" || extension == ".ram" || extension == ".rm") {
        const QString text =
            "Saving in real audio file format is not supported. Do you want to save in another format (wav, "
            "mp3, "
            "gsm, vox) instead?";
        const bool change = host.Ask(kSaveErrorTitle, text, {"Change Format", "Cancel"}, 1) == 0;
        return Stop(outcome, SaveResult::kCancelled, change);
    }
    if (FormatCanBeWritten(extension) || (extension == ".odxp" && gSaveProject)) return true;
    host.Tell(kSaveErrorTitle,
              extension.isEmpty()
                  ? QStringLiteral("The name of the file has no extension that tells its format.")
                  : QStringLiteral("Ondarix cannot write files of the type \"%1\".").arg(extension));
    return Stop(outcome, SaveResult::kEncodingFailed);
}

void SaveBookmarks(const LSaveRequest& request, LMessageHost& host) {
    const QString file = BookmarkFileOf(request.path);
    if (WriteBookmarkFile(file, *request.bookmarks)) return;
    host.Tell(kSaveErrorTitle, QStringLiteral("\"%1\" is saved, but its bookmarks could not be written to "
                                              "the file \"%2\".")
                                   .arg(request.path, file));
}

}  // namespace

bool DownmixFor(const QString& extension, LSound& sound, LSaveOutcome& outcome, LProgress& progress,
                LMessageHost& host) {
    if (FormatCanSaveChannels(extension, sound.channels)) return true;
    const int most = MaximumChannelsOf(extension);
    const QString format = extension.mid(1).toUpper(), key = "DontAskToDownmix" + format;
    if (!GetSettingBool("Settings", key, false)) {
        const QString text =
            QStringLiteral(
                "Your audio has %1, but Ondarix can only save up to %2 in %3 format. In order to save "
                "to this format, the audio must be downmixed.")
                .arg(ChannelCountText(sound.channels), ChannelCountText(most), format);
        bool dontAsk = false;
        const int answer =
            host.Ask(QStringLiteral("Downmix to %1?").arg(ChannelCountText(most)), text,
                     {"Downmix to Save", "Cancel"}, 1, "Don't ask again for this format", &dontAsk);
        if (answer != 0) return Stop(outcome, SaveResult::kCancelled);
        if (dontAsk) SetSettingBool("Settings", key, true);
    }
    const JobResult mixed =
        sound.ConvertFormat(sound, sound.sampleRate, static_cast<uint8_t>(most), progress);
    if (mixed == JobResult::kSuccess) return true;
    if (mixed == JobResult::kCancelled) return Stop(outcome, SaveResult::kCancelled);
    host.Tell(kSaveErrorTitle,
              QStringLiteral("The audio could not be downmixed to %1.").arg(ChannelCountText(most)));
    return Stop(outcome, SaveResult::kFailed);
}

const char* SaveResultName(SaveResult result) {
    switch (result) {
        case SaveResult::kSuccess:
            return "Success";
        case SaveResult::kCancelled:
            return "Cancelled";
        case SaveResult::kEmptyFile:
            return "EmptyFile";
        case SaveResult::kReadOnly:
            return "ReadOnly";
        case SaveResult::kEncodingFailed:
            return "EncodingFailed";
        case SaveResult::kFailed:
            break;
    }
    return "Failed";
}

LSaveOutcome SaveSound(const LSaveRequest& request, LProgress& progress, LMessageHost& host) {
    LSaveOutcome outcome;
    const QString extension = LowerExtension(request.path);
    const bool goesOn = CheckContent(request, outcome, host) && CheckSpace(request, outcome, host) &&
                        CheckDocument(request, outcome, host) && CheckTarget(request, outcome, host) &&
                        CheckType(extension, outcome, host) && CheckSamples(request, outcome, host);
    if (!goesOn) return outcome;
    if (extension == ".odxp") {
        LSaveOutcome saved = gSaveProject(request, progress, host);
        saved.readOnlyDropped |= outcome.readOnlyDropped;
        return saved;
    }
    LSound sound(*request.sound);
    if (DownmixFor(extension, sound, outcome, progress, host))
        outcome.result = WriteSound(sound, request, extension, progress, host);
    if (outcome.result == SaveResult::kSuccess && request.bookmarks) SaveBookmarks(request, host);
    return outcome;
}

int SourceBitRate(LSoundFormat format) {
    constexpr int64_t kMost = 320;
    const int64_t rate = int64_t{format.channels} * format.sampleRate * 16 / 1000;
    return static_cast<int>(rate < kMost ? rate : kMost);
}

QString RegionFileName(const QString& base, int number, int digits) {
    return QStringLiteral("%1-region-%2").arg(base, QString::number(number).rightJustified(digits, u'0'));
}

QString ChannelCountText(int channels) {
    if (channels == 1) return "1 channel (Mono)";
    if (channels == 2) return "2 channels (Stereo)";
    if (channels == 6) return "6 channels (5.1 Surround)";
    if (channels == 8) return "8 channels (7.1 Surround)";
    return QString::number(channels) + " channels";
}

}  // namespace ondarix
