// SPDX-License-Identifier: GPL-3.0-or-later
#include <QFileInfo>
#include <algorithm>

#include "gen/text.h"
#include "sound/edits.h"
#include "sound/marks.h"

namespace ondarix {

namespace {

constexpr qsizetype kRoomForPart = 24;  // of a title, for what is put behind it

QString NumberedName(const QString& title, int64_t number, int64_t count) {
    const auto digits = QString::number(count).size();
    return title.left(kFixedTextLength - kRoomForPart) + u'_' +
           QString::number(number).rightJustified(digits, u'0');
}

LSoundDocumentRef NewDocument(LSound sound, const QString& title) {
    LSoundDocumentRef document(new LSoundDocument);
    document->sound = std::move(sound);
    document->title = CutToFixedText(title);
    document->isModified = document->isModifiedSinceLastAutosave = true;
    return document;
}

QString ChannelName(const QString& title, int channel, int channels) {
    if (channels != 2) return NumberedName(title, channel + 1, channels);
    return title + (channel == 0 ? QStringLiteral("_Left") : QStringLiteral("_Right"));
}

}  // namespace

QString BaseTitle(const LSoundDocument& document) {
    return document.path.isEmpty() ? document.title : QFileInfo(document.path).completeBaseName();
}

std::vector<LPiece> PiecesAt(int64_t length, std::vector<int64_t> positions, const QString& title) {
    positions.push_back(length);
    std::sort(positions.begin(), positions.end());
    std::vector<LPiece> pieces;
    int64_t start = 0;
    for (const int64_t position : positions) {
        const int64_t end = std::clamp<int64_t>(position, 0, length);
        if (end <= start) continue;
        pieces.push_back({start, end, {}});
        start = end;
    }
    const auto count = static_cast<int64_t>(pieces.size());
    for (int64_t i = 0; i < count; ++i)
        pieces[static_cast<size_t>(i)].name = NumberedName(title, i + 1, count);
    return pieces;
}

std::vector<LPiece> PiecesAtBookmarks(const LSoundDocument& document) {
    LBookmarks marks = document.bookmarks;
    std::stable_sort(marks.begin(), marks.end(),
                     [](const LBookmark& a, const LBookmark& b) { return a.position < b.position; });
    const QString title = BaseTitle(document);
    const int64_t length = document.sound.Length();
    std::vector<LPiece> pieces;
    LPiece piece{0, 0, title};
    const auto close = [&](int64_t end) {
        piece.end = end;
        if (piece.end > piece.start) pieces.push_back(piece);
    };
    for (const LBookmark& mark : marks) {
        if (mark.position < 0 || mark.position >= length) continue;
        if (mark.position == piece.start && piece.name != title) continue;  // a second one at one place
        close(mark.position);
        piece = {mark.position, 0, CutToFixedText(title + u'_' + mark.name)};
    }
    close(length);
    return pieces;
}

JobResult PiecesToNew(const LSoundDocument& document, LEditHost& host, const std::vector<LPiece>& pieces) {
    for (const LPiece& piece : pieces) {
        LSound sound(document.sound.sampleRate, document.sound.channels);
        document.sound.CopyRange(piece.start, piece.end, sound);
        if (!host.AddDocument(NewDocument(std::move(sound), piece.name))) return JobResult::kFailed;
    }
    return pieces.empty() ? JobResult::kCancelled : JobResult::kSuccess;
}

JobResult SplitChannels(const LSoundDocument& document, LEditHost& host) {
    const int channels = document.sound.channels;
    if (channels < 2 || document.sound.Length() == 0) return JobResult::kCancelled;
    std::vector<LSound> sounds(static_cast<size_t>(channels));
    const JobResult split = host.RunJob("Split Channels", [&](LProgress& progress) {
        for (int channel = 0; channel < channels; ++channel) {
            const JobResult extracted =
                ExtractChannel(document.sound, channel, sounds[static_cast<size_t>(channel)], progress);
            if (extracted != JobResult::kSuccess) return extracted;
        }
        return JobResult::kSuccess;
    });
    if (split != JobResult::kSuccess) return split;
    const QString title = BaseTitle(document).left(kFixedTextLength - kRoomForPart);
    for (int channel = 0; channel < channels; ++channel) {
        LSound& sound = sounds[static_cast<size_t>(channel)];
        if (!host.AddDocument(NewDocument(std::move(sound), ChannelName(title, channel, channels))))
            return JobResult::kFailed;
    }
    return JobResult::kSuccess;
}

}  // namespace ondarix
