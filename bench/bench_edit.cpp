// SPDX-License-Identifier: GPL-3.0-or-later
// Each edit that rearranges, on a sound of 10,000 segments over one working file.
#include <QTemporaryDir>

#include "bench.h"
#include "sound/cache_writer.h"
#include "sound/sound.h"

namespace {

using namespace ondarix;

constexpr int kSegments = 10000;

LSound CutIntoPieces(const LSound& file) {
    LSound sound = file;
    for (int i = 1; i < kSegments; ++i) sound.InsertSilence(i * 16, 0);
    // Every other piece is silence of no length: take those out and keep the cuts.
    for (auto* link = &sound.segments; *link;) {
        if ((*link)->length == 0) {
            *link = std::move((*link)->next);
        } else {
            link = &(*link)->next;
        }
    }
    return sound;
}

template <typename F>
bool Measure(const char* what, const LSound& sound, F&& edit) {
    double best = 1e300;
    for (int run = 0; run < 15; ++run) {
        LSound work = sound;
        best = std::min(best, bench::BestMs(1, [&] { edit(work); }));
    }
    return bench::Report(what, best, "ms", 1.0);
}

}  // namespace

int main() {
    QTemporaryDir folder;
    if (!SetCacheFolder(folder.path())) return 1;
    LSound file;
    {
        LCacheFileWriter writer({44100, 2}, &file);
        const std::vector<float> block(16 * 2 * kSegments, 0.25f);
        writer.Write(block.data(), 16 * kSegments);
    }
    const LSound sound = CutIntoPieces(file);
    int count = 0;
    for (auto* at = sound.segments.get(); at; at = at->next.get()) ++count;
    std::printf("%d segments\n", count);
    const int64_t n = sound.Length(), a = n / 4 + 3, b = 3 * n / 4 + 5;
    LSound out;
    bool good = true;
    good &= Measure("copy", sound, [&](LSound& s) {
        LSound copy = s;
        out = std::move(copy);
    });
    good &= Measure("CopyRange of half", sound, [&](LSound& s) { s.CopyRange(a, b, out); });
    good &= Measure("CopyRange of all", sound, [&](LSound& s) { s.CopyRange(0, n, out); });
    good &= Measure("Delete half", sound, [&](LSound& s) { s.Delete(a, b); });
    good &= Measure("Delete all", sound, [&](LSound& s) { s.Delete(0, n); });
    good &= Measure("Keep half", sound, [&](LSound& s) { s.Keep(a, b); });
    good &= Measure("InsertSilence at the end", sound, [&](LSound& s) { s.InsertSilence(n - 3, 100); });
    good &= Measure("Insert of one segment", sound, [&](LSound& s) { s.Insert(n - 3, file); });
    good &= Measure("Insert of 10,000 segments", sound, [&](LSound& s) { s.Insert(a, sound); });
    good &= Measure("Replace half", sound, [&](LSound& s) { s.Replace(a, b, file); });
    good &= Measure("Silence half", sound, [&](LSound& s) { s.Silence(a, b); });
    good &= Measure("Repeat half", sound, [&](LSound& s) { s.Repeat(a, b, 1); });
    good &= Measure("ScaleRangePercent of half", sound, [&](LSound& s) { s.ScaleRangePercent(a, b, 50); });
    good &= Measure("ScaleRangePercent of all", sound, [&](LSound& s) { s.ScaleRangePercent(0, n, 50); });
    good &= Measure("ScalePercent", sound, [&](LSound& s) { s.ScalePercent(50); });
    out.Clear();
    return good ? 0 : 1;
}
