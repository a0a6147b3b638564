// SPDX-License-Identifier: GPL-3.0-or-later
// Positions as people read them, and the steps of a time scale.
#pragma once
#include <QString>
#include <cstdint>

namespace ondarix {

// "h:mm:ss.mmm", rounded to the nearest millisecond; negative positions with a leading minus.
QString TimeText(int64_t frame, int32_t sampleRate);

// A scale's step in units of `perSecond` to the second, so that every label is exact.
struct LTimeStep {
    int64_t units = 1;
    int64_t perSecond = 1;  // 1 or a power of ten up to a million
    int minorParts = 5;     // unlabelled parts of one step
    double Seconds() const { return static_cast<double>(units) / static_cast<double>(perSecond); }
};
// The smallest step that is at least `seconds` long.
LTimeStep TimeStepFor(double seconds);
// The label of the n-th multiple of a step: as many decimals as the step needs, hours only from one hour on.
QString TimeStepLabel(const LTimeStep& step, int64_t n);

// "44.1 kHz", "Mono", "1.5 GB" for the status bar.
QString RateText(int32_t sampleRate);
QString ChannelsText(int channels);
QString BytesText(int64_t bytes);

}  // namespace ondarix
