// SPDX-License-Identifier: GPL-3.0-or-later
// The questions which file and which coding. They remember the folder and the type last used.
#pragma once
#include <QString>
#include <QStringList>
#include <QWidget>
#include <optional>

#include "formats/format_record.h"
#include "sound/format.h"

namespace ondarix {

// Any number of files; empty: cancelled.
QStringList AskOpenFiles(QWidget* parent);
// Starts at `proposal`, a full path or a bare name. Empty: cancelled. The answer has an extension that can be
// written.
QString AskSaveFile(QWidget* parent, const QString& proposal);
// The filters of the save dialog: the types that a writer is there for.
QStringList SaveFilters();

// A coding of WAV files that can be chosen.
struct LWavCoding {
    const char* label;
    uint16_t tag, bits;
};
extern const LWavCoding kWavCodings[7];
// `present` is chosen first. Empty: cancelled.
std::optional<LFormatRecord> AskWavFormat(QWidget* parent, LSoundFormat format, const LFormatRecord& present);

}  // namespace ondarix
