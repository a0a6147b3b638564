// SPDX-License-Identifier: GPL-3.0-or-later
// All figures of a sound's loudness, for a window and for the command line.
#pragma once
#include "dsp/loudness.h"
#include "effects/effect.h"

namespace ondarix {

struct LLoudnessReport {
    LSoundFormat format;
    LLoudness loudness;
    LLoudnessCourse momentary, shortTerm;  // LUFS; minus infinity where there is none yet
};

// Of the frames from `from` to `to` of what `open` gives, both within its length; -1: its end. One pass, of
// any thread; fractions and cancelling as PumpSource. `result` other than kSuccess: an empty report.
LLoudnessReport MeasureLoudness(const LOpenSource& open, LProgress& progress, JobResult& result,
                                int64_t from = 0, int64_t to = -1);

// "-23.0 LUFS", "-inf LUFS"; and a linear peak as "-1.0 dBTP" with that unit.
QString LufsText(double lufs);
QString PeakText(float linear, const QString& unit);

}  // namespace ondarix
