// SPDX-License-Identifier: GPL-3.0-or-later
// One sound becomes several: documents, or files in a folder.
#include <QFileInfo>

#include "app/frame_handlers.h"
#include "app/input_dialogs.h"
#include "display/silence_finder.h"
#include "formats/sound_pieces.h"
#include "sound/marks.h"

namespace ondarix {
namespace {

// The title without an extension.
QString StemOf(const LSoundDocument& document) { return QFileInfo(document.title).completeBaseName(); }

// Names no file: the first one that does not hold is asked for by the saving itself.
void SaveParts(LCommandCall& call, const std::vector<LPiece>& pieces) {
    const auto target = AskPieceTarget(&call.frame, QStringLiteral("Split"), QStringLiteral("Splitting"),
                                       QStringLiteral("SaveFolder"), QStringLiteral("OutputFormat"));
    if (!target) return;
    QStringList written;
    if (SavePieces(call.Document(), pieces, *target, call.Host(), written) == JobResult::kSuccess)
        call.frame.ShowHint(QStringLiteral("%1 files written to %2").arg(written.size()).arg(target->folder));
}

void SplitAtCursor(LCommandCall& call) {
    const LSoundDocument& document = call.Document();
    PiecesToNew(document, call.Host(),
                PiecesAt(document.sound.Length(), {document.cursor}, StemOf(document)));
}

// In the middle of each silence.
void SplitAtSilences(LCommandCall& call) {
    const auto settings = AskSilences(&call.frame, QStringLiteral("Split at Silences"));
    if (!settings) return;
    std::vector<LSelection> silences;
    const LSoundDocument& document = call.Document();
    const JobResult result =
        call.Host().RunJob(QStringLiteral("Detecting Silence"), [&](LProgress& progress) {
            silences = FindSilences(document.sound, *settings, progress);
            return progress.IsCancelled() ? JobResult::kCancelled : JobResult::kSuccess;
        });
    if (result != JobResult::kSuccess) return;
    const int64_t length = document.sound.Length();
    std::vector<int64_t> positions;
    for (const LSelection& silence : silences)
        if (silence.start > 0 && silence.end < length)
            positions.push_back(silence.start + silence.Length() / 2);
    if (positions.empty()) {
        call.frame.ShowHint(QStringLiteral("No silence between two sounds was found"));
        return;
    }
    SaveParts(call, PiecesAt(length, positions, StemOf(document)));
}

void SplitAtBookmarks(LCommandCall& call) { SaveParts(call, PiecesAtBookmarks(call.Document())); }

void SplitIntoParts(LCommandCall& call) {
    const auto answer = AskParts(&call.frame, call.Document());
    if (!answer) return;
    const JobResult marked = answer->parts > 0
                                 ? MarkEqualParts(call.Document(), call.Host(), answer->parts)
                                 : MarkIntervals(call.Document(), call.Host(), answer->interval);
    if (marked == JobResult::kSuccess) SaveParts(call, PiecesAtBookmarks(call.Document()));
}

void SaveRegionAs(LCommandCall& call) {
    const auto target =
        AskPieceTarget(&call.frame, QStringLiteral("Save Selected Region As"), QStringLiteral("Settings"),
                       QStringLiteral("SaveRegionFolder"), QStringLiteral("SaveRegionFormat"));
    if (!target) return;
    QString saved;
    if (SaveNumberedRegion(call.Document(), *target, call.Host(), saved) == JobResult::kSuccess)
        call.frame.ShowHint(QStringLiteral("Saved as %1").arg(saved));
}

constexpr LCommandHandler kSplitHandlers[] = {
    {kCmdSplitAtCursor, SplitAtCursor},
    {kCmdSplitAtSilences, SplitAtSilences},
    {kCmdSplitAtBookmarks, SplitAtBookmarks},
    {kCmdSplitChannels, [](LCommandCall& call) { SplitChannels(call.Document(), call.Host()); }},
    {kCmdSplitParts, SplitIntoParts},
    {kCmdSaveRegionAs, SaveRegionAs},
};

}  // namespace

std::span<const LCommandHandler> SplitHandlers() { return kSplitHandlers; }

}  // namespace ondarix
