// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <cstdint>
#include <vector>

#include "gen/progress.h"
#include "sound/source.h"

namespace ondarix {

// Levels of a whole sound, full scale 1.0. Samples that are no finite numbers are counted and left out.
struct LLevels {
    std::vector<float> peaks;     // for each channel, the largest absolute sample
    std::vector<double> squares;  // for each channel, the sum of squares
    int64_t frames = 0;
    int64_t peakFrame = -1;  // first frame of the largest sample of all; -1: all is silent
    int64_t notFinite = 0;   // samples

    float Peak() const;
    double Rms() const;  // over all channels
    double RmsOf(size_t channel) const;
};

// Reads `source` from its start to its end.
JobResult MeasureLevels(LSoundSource& source, LProgress& progress, LLevels& levels);

// 20 log10 of a linear level; minus infinity for 0.
double LevelDb(double linear);

}  // namespace ondarix
