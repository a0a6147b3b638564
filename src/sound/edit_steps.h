// SPDX-License-Identifier: GPL-3.0-or-later
// What the edit commands share: each changes sound, marks and positions together, inside a change. For the
// files of the commands only.
#pragma once
#include "sound/edits.h"

namespace ondarix {

// What is selected, otherwise the whole of what is edited.
LSelection SelectionOrAll(const LSoundDocument& document);
// Marks stay where they are while one channel is edited alone.
bool MovesMarks(const LSoundDocument& document);
void ShiftMarks(LSoundDocument& document, int64_t pos, int64_t delta);
// For [start, end) giving way to `added` frames: marks at `end` go with what follows.
void ShiftMarksForReplace(LSoundDocument& document, int64_t start, int64_t end, int64_t added);
// Positions adjusted, too.
void DeleteFrames(LSoundDocument& document, int64_t start, int64_t end);
// `inserted`, of the same format, is selected afterwards.
void ReplaceFrames(LSoundDocument& document, int64_t start, int64_t end, const LSound& inserted);
// What a job tells that could not write its working file.
void ReportWriteFailure(LProgress& progress);
// A job that writes a working file; a failure is told.
JobResult RunEditJob(LEditHost& host, const QString& title, const std::function<JobResult(LProgress&)>& work);
// `out` becomes `sound` in `format`: at once where it is so already, otherwise as a job.
JobResult ConvertForEdit(LEditHost& host, const QString& title, const LSound& sound, LSoundFormat format,
                         LSound& out);
// A change of the whole sound; one channel alone is edited no longer when it succeeds.
JobResult ChangeWhole(LSoundDocument& document, const QString& label, LEditHost& host,
                      const std::function<JobResult()>& change);
// A document of the program that holds `sound`.
JobResult AddNewDocument(LEditHost& host, const LSound& sound, const QString& title);

}  // namespace ondarix
