// SPDX-License-Identifier: GPL-3.0-or-later
// Parts of the sound as files of their own. They show the sound as it is at their place among the operations,
// and are written when all have succeeded.
#include <QFileInfo>

#include "cli/edit_operations.h"
#include "display/silence_finder.h"
#include "formats/registry.h"
#include "gen/text.h"
#include "sound/marks.h"

namespace ondarix {
namespace {

using Places = std::vector<int64_t>;

QString StemOf(LEditSession& session) { return QFileInfo(session.Doc().path).completeBaseName(); }

JobResult SplitAt(LEditSession& session, const Places& positions, const QString& folder) {
    return session.WriteLater(PiecesAt(session.Doc().sound.Length(), positions, StemOf(session)), folder);
}

JobResult SplitAtStep(const LEditStep& step, const Places& at, LEditSession& session) {
    return SplitAt(session, at, step.texts[0]);
}

JobResult SplitBookmarksStep(const LEditStep& step, const Places&, LEditSession& session) {
    if (session.Doc().bookmarks.empty()) return session.Fault("there are no bookmarks");
    return session.WriteLater(PiecesAtBookmarks(session.Doc()), step.texts[0]);
}

// The borders become bookmarks, as in the editor.
JobResult SplitMarked(LEditSession& session, JobResult marked, const QString& folder) {
    if (marked == JobResult::kCancelled) return session.Fault("the sound is too short for that");
    if (marked != JobResult::kSuccess) return marked;
    return session.WriteLater(PiecesAtBookmarks(session.Doc()), folder);
}

JobResult SplitPartsStep(const LEditStep& step, const Places&, LEditSession& session) {
    const JobResult marked = MarkEqualParts(session.Doc(), session.host, static_cast<int>(step.number));
    return SplitMarked(session, marked, step.texts[0]);
}

JobResult SplitIntervalsStep(const LEditStep& step, const Places& at, LEditSession& session) {
    return SplitMarked(session, MarkIntervals(session.Doc(), session.host, at[0]), step.texts[0]);
}

// In the middle of each silence that lies between two sounds.
JobResult SplitSilencesStep(const LEditStep& step, const Places& at, LEditSession& session) {
    const LSound& sound = session.Doc().sound;
    LSilenceSettings settings;
    if (!at.empty()) {
        settings.thresholdDb = step.decibels;
        settings.minSilenceMs = FramesToMs(at[0], sound.sampleRate);
    }
    const auto silences = FindSilences(sound, settings, session.context.progress);
    if (session.context.progress.IsCancelled()) return JobResult::kCancelled;
    Places positions;
    for (const LSelection& one : silences) {
        if (one.start > 0 && one.end < sound.Length()) positions.push_back(one.start + one.Length() / 2);
    }
    return SplitAt(session, positions, step.texts[0]);
}

JobResult SplitChannelsStep(const LEditStep& step, const Places&, LEditSession& session) {
    LSoundDocument& document = session.Doc();
    if (document.sound.channels < 2) return session.Fault("the sound has only one channel");
    const JobResult split = SplitChannels(document, session.host);
    const auto made = std::exchange(session.host.added, {});
    if (split != JobResult::kSuccess) return split;
    for (const LSoundDocumentRef& one : made) {
        const JobResult result =
            session.WriteLater(one, {{0, one->sound.Length(), one->title}}, step.texts[0]);
        if (result != JobResult::kSuccess) return result;
    }
    return JobResult::kSuccess;
}

JobResult ExportRegionsStep(const LEditStep& step, const Places&, LEditSession& session) {
    std::vector<LPiece> pieces;
    for (const LRegion& one : session.Doc().regions)
        pieces.push_back({one.startFrame, one.endFrame, one.name});
    if (pieces.empty()) return session.Fault("there are no regions");
    return session.WriteLater(pieces, step.texts[0]);
}

JobResult AssembleStep(const LEditStep& step, const Places&, LEditSession& session) {
    const QFileInfo file(step.texts[0]);
    const QString extension = LowerExtension(step.texts[0]);
    if (!FormatCanBeWritten(extension))
        return session.Fault(
            QString("\"%1\" has no extension of a kind that can be written").arg(step.texts[0]));
    std::vector<LRegionRef> regions;
    for (const LRegion& one : session.Doc().regions) regions.push_back({&session.Doc(), one.serial});
    if (regions.empty()) return session.Fault("there are no regions");
    LSoundDocumentRef made(new LSoundDocument);
    const JobResult assembled = AssembleRegions(regions, step.number, made->sound, session.context.progress);
    if (assembled != JobResult::kSuccess) return assembled;
    const int64_t length = made->sound.Length();
    return session.WriteLater(std::move(made), {{0, length, file.completeBaseName()}}, file.path(),
                              '.' + file.suffix());
}

constexpr LEditRow kPieceSteps[] = {
    {"split-at", "OQ+", "FOLDER AT...", "write the parts between these places as files", &SplitAtStep},
    {"split-bookmarks", "O", "FOLDER", "write the parts between bookmarks", &SplitBookmarksStep},
    {"split-parts", "KO", "COUNT FOLDER", "write equal parts; their borders become the bookmarks",
     &SplitPartsStep},
    {"split-intervals", "LO", "EVERY FOLDER", "write parts of a length; their borders become the bookmarks",
     &SplitIntervalsStep},
    {"split-silences", "O[DL", "FOLDER [DB LEAST]", "write the parts between silences (-48 500ms)",
     &SplitSilencesStep},
    {"split-channels", "O", "FOLDER", "write each channel", &SplitChannelsStep},
    {"export-regions", "O", "FOLDER", "write each region under its name", &ExportRegionsStep},
    {"assemble", "MF", "GAPMS FILE", "write all regions into one file, with so many ms of silence between",
     &AssembleStep},
};

}  // namespace

std::span<const LEditRow> PieceSteps() { return kPieceSteps; }

}  // namespace ondarix
