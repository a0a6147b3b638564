// SPDX-License-Identifier: GPL-3.0-or-later
// The points of an envelope as people write them.
#pragma once
#include <QString>
#include <cstdint>
#include <vector>

namespace ondarix {

// Where a point lies in a sound that need not be known yet: frames + seconds + share of its length.
struct LEnvelopePlace {
    static constexpr float kMostGain = 100.0f;  // linear, +40 dB; the least is 0
    // Frames before the start and behind it; the distance of two places still fits 64 bits.
    static constexpr int64_t kFarthest = int64_t{1} << 61;
    int64_t frames = 0;
    double seconds = 0;
    double share = 0;  // 1.0: the end
    float gain = 1;
    bool operator==(const LEnvelopePlace&) const = default;

    int64_t FrameIn(int64_t rate, int64_t length) const;  // the nearest one, within kFarthest
};

// "0:100%,1.5s:0.5,50%:-6dB,end-200ms:0dB,end:0": place and gain of each point. A place is a sum of frames,
// times in s or ms, shares of the length in %, and "end"; a gain a factor, a percentage or dB, of which
// "-inf dB" is silence. Why it cannot be read, with `out` as it was; empty: it could.
QString ParseEnvelope(const QString& text, std::vector<LEnvelopePlace>& out);
// The text that gives the same places again.
QString EnvelopeText(const std::vector<LEnvelopePlace>& places);

}  // namespace ondarix
