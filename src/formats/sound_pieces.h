// SPDX-License-Identifier: GPL-3.0-or-later
// Pieces of a sound, or regions, each saved as a file of its own.
#pragma once
#include "sound/marks.h"

namespace ondarix {

struct LPieceTarget {
    QString folder;     // full path; asked to be created when it is missing
    QString extension;  // ".wav"
};

// False for an empty name and one with characters that a file name cannot hold on any system.
bool IsFileName(const QString& name);

// Writes each piece under its name, in order; the files are named in `written`. Asks before a file is
// replaced ("No" leaves that one out). A name that is not valid stops before anything is written, with the
// message that belongs to regions.
JobResult SavePieces(const LSoundDocument& document, const std::vector<LPiece>& pieces,
                     const LPieceTarget& target, LEditHost& host, QStringList& written);
// Regions of any documents to the folder and format; stores both as ExportRegionFolder, ExportRegionFormat.
JobResult ExportRegions(const std::vector<LRegionRef>& regions, const LPieceTarget& target, LEditHost& host,
                        QStringList& written);
// Each as a new document, named as it is.
JobResult RegionsToNew(const std::vector<LRegionRef>& regions, LEditHost& host);
// The selection (all when there is none) under the next free "%s-region-%0*d" beside the file, or in
// `folder` when it is not empty; the counter grows after each. `saved`: the path.
JobResult SaveNumberedRegion(const LSoundDocument& document, const LPieceTarget& target, LEditHost& host,
                             QString& saved);

// Opens `path` as "Insert File" does, converts it and puts it at the cursor; remembers InsertFileFormat and
// InsertFileDir.
JobResult InsertFile(LSoundDocument& document, const QString& path, LEditHost& host);

}  // namespace ondarix
