// SPDX-License-Identifier: GPL-3.0-or-later
// Pieces of a sound, or regions, each saved as a file of its own.
#pragma once
#include <optional>

#include "formats/format_record.h"
#include "sound/marks.h"

namespace ondarix {

struct LPieceTarget {
    QString folder;     // full path; asked to be created when it is missing
    QString extension;  // ".wav"
    // How a ".wav" is coded; none: as the document's own file, or as the settings say.
    std::optional<LFormatRecord> record = {};
    bool shaping = true;  // of 8- and 16-bit samples
};

// Whether a file can bear the name, an extension behind it, on any common system: some text without slashes,
// control characters and the signs \ : * ? " < > |, no dot or blank at its end, no name of a device, at most
// 240 bytes of UTF-8.
bool IsFileName(const QString& name);

// Writes each piece under its name, in order; the files are named in `written`. A name that came before (in
// any case) is numbered: "name (2)". Asks before a file is replaced ("No" leaves that one out). A name that
// is not valid stops before anything is written, with the message that belongs to regions. A failure or a
// stop in the middle leaves what is written. ".wav" files have the coding of the document's file where the
// setting SaveSameFileFormat says so, otherwise the one that WAV files are saved in.
JobResult SavePieces(const LSoundDocument& document, const std::vector<LPiece>& pieces,
                     const LPieceTarget& target, LEditHost& host, QStringList& written);
// Regions of any documents to the folder and format; stores both as ExportRegionFolder, ExportRegionFormat.
JobResult ExportRegions(const std::vector<LRegionRef>& regions, const LPieceTarget& target, LEditHost& host,
                        QStringList& written);
// Each as a new document, named as it is.
JobResult RegionsToNew(const std::vector<LRegionRef>& regions, LEditHost& host);
// The selection (all when there is none) under the next free "%s-region-%0*d" beside the file, or in
// `folder` when it is not empty; the counter grows after each (SaveRegionCount, from 1; SaveRegionDigits, 3).
// An empty extension: that of the document's file where it can be written, otherwise ".wav". `saved`: the
// path.
JobResult SaveNumberedRegion(const LSoundDocument& document, const LPieceTarget& target, LEditHost& host,
                             QString& saved);

// Opens `path` as "Insert File" does, converts it and puts it at the cursor; remembers InsertFileFormat and
// InsertFileDir.
JobResult InsertFile(LSoundDocument& document, const QString& path, LEditHost& host);

}  // namespace ondarix
