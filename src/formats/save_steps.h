// SPDX-License-Identifier: GPL-3.0-or-later
// The parts of a save after its checks.
#pragma once
#include "formats/save.h"
#include "sound/source.h"

namespace ondarix {

// Asks before the channels are mixed down where the format cannot hold them all, unless told not to ask any
// more ("DontAskToDownmixOGG" in "Settings"). True leaves in `sound` what is to be saved; otherwise the
// outcome has its result.
bool DownmixFor(const QString& extension, LSound& sound, LSaveOutcome& outcome, LProgress& progress,
                LMessageHost& host);

// Writes `sound` in the format of the extension to the request's path. Tells what went wrong.
SaveResult WriteSound(const LSound& sound, const LSaveRequest& request, const QString& extension,
                      LProgress& progress, LMessageHost& host);

// A reader over the sound; a peak limiter stands over it where the file could not hold the peaks. A sound
// that was decoded from samples of the very width it is written at passes untouched, as does every sound
// within full scale that goes to a float file.
LSoundSourceRef SourceForSaving(const LSound& sound, const LFormatRecord& record, bool& limited);

// Whether reading the file back gives the samples of the sound, bit for bit: float files, and integers of
// the width that all of it was decoded from.
bool IsWrittenExactly(const LSound& sound, const LFormatRecord& record);

}  // namespace ondarix
