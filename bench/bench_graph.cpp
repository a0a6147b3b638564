// SPDX-License-Identifier: GPL-3.0-or-later
// The peak graph of an hour of stereo at 44.1 kHz, from blocks that stay in the processor's cache.
#include <random>
#include <vector>

#include "bench.h"
#include "dsp/peak.h"

int main() {
    using namespace ondarix;
    constexpr int64_t kBlocks = 128;  // 32768 frames
    constexpr int64_t kHour = 3600LL * 44100;
    std::mt19937 random(1);
    std::uniform_real_distribution<float> level(-1.0f, 1.0f);
    bool good = true;
    for (int channels : {1, 2, 6}) {
        std::vector<float> frames(static_cast<size_t>(kBlocks * kPeakBlockFrames * channels));
        for (float& v : frames) v = level(random);
        std::vector<LPeakPair> records(static_cast<size_t>(kBlocks * channels));
        const double ms = bench::BestMs(3, [&] {
            for (int64_t done = 0; done < kHour; done += kBlocks * kPeakBlockFrames) {
                PeaksOfBlocks(frames.data(), kBlocks, channels, records.data());
            }
        });
        char what[64];
        std::snprintf(what, sizeof what, "peak graph of an hour, %d channels", channels);
        good &= bench::Report(what, ms, "ms", channels == 2 ? 130 : 1e9);
    }
    return good ? 0 : 1;
}
