// SPDX-License-Identifier: GPL-3.0-or-later
// Columns of one screen of a ten-hour stereo sound at every zoom: the view must keep up with the display.
#include <QFile>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>

#include "display/wave_columns.h"

using namespace ondarix;

namespace {

constexpr int kColumns = 1600;
constexpr int64_t kFrames = 10LL * 3600 * 44100;

// Samples are one hole on disk; only the graph takes room.
bool MakeSound(LSound& sound) {
    const uint16_t id = AllocateCacheId();
    QFile aud(CacheFileName(id, ".aud")), grf(CacheFileName(id, ".grf"));
    if (!aud.open(QIODevice::WriteOnly) || !aud.resize(kFrames * 8) || !grf.open(QIODevice::WriteOnly))
        return false;
    std::mt19937 random(1);
    std::vector<LPeakPair> block(2 * 8192);
    for (int64_t left = (kFrames + 255) / 256; left > 0; left -= 8192) {
        for (LPeakPair& pair : block)
            pair = {static_cast<uint16_t>(random() % 4000), static_cast<uint16_t>(random() % 4000)};
        const int64_t bytes = std::min<int64_t>(left, 8192) * 8;
        if (grf.write(reinterpret_cast<const char*>(block.data()), bytes) != bytes) return false;
    }
    sound.SetSingleSegment({LSoundCacheRef::Adopt(id), 0, kFrames}, 44100, 2);
    return true;
}

double MsOf(LWaveColumns& columns, const LSound& sound, int64_t start, int64_t frames) {
    const auto before = std::chrono::steady_clock::now();
    const auto got = columns.Compute(sound, start, frames, kColumns);
    const std::chrono::duration<double, std::milli> spent = std::chrono::steady_clock::now() - before;
    return got.size() == kColumns * 2 ? spent.count() : 1e9;
}

}  // namespace

int main() {
    LSound sound(44100, 2);
    if (!OpenPrivateCache() || !MakeSound(sound)) return std::puts("no working folder"), 1;
    double slowest = 0, first = 0;
    int64_t slowestAt = 0;
    {
        LWaveColumns columns;
        first = MsOf(columns, sound, 0, kFrames);
        for (int64_t frames = kFrames; frames > 16; frames = frames * 4 / 5)
            for (const int64_t start : {int64_t{0}, (kFrames - frames) / 3, kFrames - frames}) {
                const double ms = MsOf(columns, sound, start, frames);
                if (ms > slowest) slowest = ms, slowestAt = frames;
            }
    }
    std::printf("first %.2f ms, slowest of all later zooms %.2f ms (%.1f frames a column), limit 16 ms\n",
                first, slowest, static_cast<double>(slowestAt) / kColumns);
    sound.Clear();
    CloseCache();
    return slowest < 16 ? 0 : 1;
}
