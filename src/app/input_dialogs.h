// SPDX-License-Identifier: GPL-3.0-or-later
// Small questions that commands ask before they work. Each is modal over `owner`, remembers its last answer
// in the settings, and answers nothing when it is cancelled. Times are typed as "1:02.5", "500 ms", "44100
// frames" or plain seconds. [ui]
#pragma once
#include <QString>
#include <QWidget>
#include <optional>

#include "display/silence_finder.h"
#include "formats/sound_pieces.h"
#include "sound/document.h"

namespace ondarix {

std::optional<int64_t> AskSilenceLength(QWidget* owner, LSoundFormat format);            // frames, above 0
std::optional<LSelection> AskTimeRange(QWidget* owner, const LSoundDocument& document);  // inside the sound
std::optional<int64_t> AskPosition(QWidget* owner, const LSoundDocument& document);      // frames
std::optional<int64_t> AskRepeatCount(QWidget* owner);                                   // 1 to 9999
std::optional<int32_t> AskSampleRate(QWidget* owner, int32_t present);                   // Hz
std::optional<LSoundFormat> AskNewFile(QWidget* owner);
std::optional<QString> AskName(QWidget* owner, const QString& title, const QString& label,
                               const QString& name);
// Of bookmarks and parts.
struct LPartsAnswer {
    int parts = 0;         // 0: intervals
    int64_t interval = 0;  // frames
};
std::optional<LPartsAnswer> AskParts(QWidget* owner, const LSoundDocument& document);
std::optional<LSilenceSettings> AskSilences(QWidget* owner, const QString& title);
// Folder and format of files that are written one by one; `section` and the two names say where the last
// answer is kept.
std::optional<LPieceTarget> AskPieceTarget(QWidget* owner, const QString& title, const QString& section,
                                           const QString& folderName, const QString& formatName);
// Which of the other open sounds come behind this one, in which order; empty: cancelled.
QList<int> AskJoin(QWidget* owner, const QStringList& titles);

}  // namespace ondarix
