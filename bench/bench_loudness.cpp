// SPDX-License-Identifier: GPL-3.0-or-later
// Loudness of 60 minutes of stereo at 44.1 kHz beside the plain loop that the standard's formulas make,
// beside libebur128 (loaded where it is there) and beside ffmpeg's filter, all on one core and with the same
// result.
#include <dlfcn.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "bench.h"
#include "dsp/loudness.h"

namespace {

using namespace ondarix;

constexpr int kRate = 44100;
constexpr int64_t kSeconds = 3600;
constexpr int64_t kBlock = 8192;
constexpr int64_t kFrames = kRate * kSeconds;

// Ten seconds of noise whose level changes every second; repeated.
std::vector<float> Noise() {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> values(-1, 1);
    std::vector<float> samples(static_cast<size_t>(kRate) * 10 * 2);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = values(random) * 0.03f * static_cast<float>(1 + i / (kRate * 2));
    return samples;
}

template <typename F>
void InBlocks(const std::vector<float>& samples, F&& feed) {
    const auto frames = static_cast<int64_t>(samples.size() / 2);
    for (int64_t at = 0; at < kFrames;) {
        const int64_t within = at % frames;
        const int64_t piece = std::min({kBlock, frames - within, kFrames - at});
        feed(samples.data() + within * 2, piece);
        at += piece;
    }
}

// Both filters in direct form, channel by channel and sample by sample, and the gates over a list of blocks.
double PlainLoop(const std::vector<float>& samples) {
    struct State {
        double x1 = 0, x2 = 0, m1 = 0, m2 = 0, y1 = 0, y2 = 0;
    };
    const auto [s, h] = KWeightingFor(kRate);
    State states[2];
    std::vector<double> tenths;
    double sum = 0;
    int64_t filled = 0;
    InBlocks(samples, [&](const float* block, int64_t frames) {
        for (int64_t i = 0; i < frames; ++i) {
            for (int c = 0; c < 2; ++c) {
                State& t = states[c];
                const double x = static_cast<double>(block[i * 2 + c]);
                const double m = s.b0 * x + s.b1 * t.x1 + s.b2 * t.x2 - s.a1 * t.m1 - s.a2 * t.m2;
                const double y = h.b0 * m + h.b1 * t.m1 + h.b2 * t.m2 - h.a1 * t.y1 - h.a2 * t.y2;
                t = {x, t.x1, m, t.m1, y, t.y1};
                sum += y * y;
            }
            if (++filled == kRate / 10) {
                tenths.push_back(sum / (kRate / 10.0));
                sum = 0;
                filled = 0;
            }
        }
    });
    double gate = MeanSquareOf(-70), level = 0;
    for (int pass = 0; pass < 2; ++pass) {
        double total = 0, count = 0;
        for (size_t i = 3; i < tenths.size(); ++i) {
            const double mean = (tenths[i] + tenths[i - 1] + tenths[i - 2] + tenths[i - 3]) / 4;
            if (mean <= gate) continue;
            total += mean;
            count += 1;
        }
        level = total / count;
        gate = level / 10;
    }
    return LufsOf(level);
}

double Ours(const std::vector<float>& samples, LLoudnessWants wants) {
    LLoudnessMeter meter(kRate, 2, wants);
    InBlocks(samples, [&](const float* block, int64_t frames) { meter.Feed(block, frames); });
    return meter.Finish().integrated;
}

// NaN where the library is not there.
double Libebur128(const std::vector<float>& samples) {
    static void* const library = dlopen("libebur128.so.1", RTLD_NOW);
    if (library == nullptr) return std::nan("");
    const auto init =
        reinterpret_cast<void* (*)(unsigned, unsigned long, int)>(dlsym(library, "ebur128_init"));
    const auto add =
        reinterpret_cast<int (*)(void*, const float*, size_t)>(dlsym(library, "ebur128_add_frames_float"));
    const auto result = reinterpret_cast<int (*)(void*, double*)>(dlsym(library, "ebur128_loudness_global"));
    const auto destroy = reinterpret_cast<void (*)(void**)>(dlsym(library, "ebur128_destroy"));
    constexpr int kIntegrated = 5;
    void* state = init(2, kRate, kIntegrated);
    InBlocks(samples,
             [&](const float* block, int64_t frames) { add(state, block, static_cast<size_t>(frames)); });
    double lufs = 0;
    result(state, &lufs);
    destroy(&state);
    return lufs;
}

std::string FileName() { return "/tmp/ondarix-bench-loudness"; }

bool RunFfmpeg(const std::string& filter) {
    const std::string command =
        "ffmpeg -v quiet -y -threads 1 -f f32le -ac 2 -ar 44100 -i " + FileName() + filter + " -f null -";
    return std::system(command.c_str()) == 0;
}

void WriteFile(const std::vector<float>& samples) {
    std::FILE* const file = std::fopen(FileName().c_str(), "wb");
    InBlocks(samples, [&](const float* block, int64_t frames) {
        std::fwrite(block, 8, static_cast<size_t>(frames), file);
    });
    std::fclose(file);
}

}  // namespace

int main() {
    const std::vector<float> samples = Noise();
    double plainLufs = 0, ourLufs = 0, theirLufs = 0;
    const double plain = bench::BestMs(3, [&] { plainLufs = PlainLoop(samples); });
    const double ours = bench::BestMs(3, [&] { ourLufs = Ours(samples, {}); });
    const double withPeaks = bench::BestMs(2, [&] { Ours(samples, {.truePeak = true}); });
    std::printf(
        "60 minutes: plain loop %.0f ms (%.3f LUFS), ours %.0f ms (%.3f LUFS), with true peak %.0f ms\n",
        plain, plainLufs, ours, ourLufs, withPeaks);
    bool good = bench::Report("difference to the plain loop", std::fabs(ourLufs - plainLufs), "LU", 0.01);
    good &= bench::Report("time against the plain loop", ours / plain, "times", 1.5);
    const double theirs = bench::BestMs(2, [&] { theirLufs = Libebur128(samples); });
    if (!std::isnan(theirLufs)) {
        std::printf("libebur128 %.0f ms (%.3f LUFS)\n", theirs, theirLufs);
        good &= bench::Report("difference to libebur128", std::fabs(ourLufs - theirLufs), "LU", 0.1);
        good &= bench::Report("time against libebur128", ours / theirs, "times", 0.5);
    }
    WriteFile(samples);
    if (RunFfmpeg("")) {
        const double reading = bench::BestMs(2, [&] { RunFfmpeg(""); });
        const double all = bench::BestMs(2, [&] { RunFfmpeg(" -af ebur128"); });
        std::printf("ffmpeg %.0f ms, of which reading %.0f ms\n", all, reading);
        good &= bench::Report("time against ffmpeg's ebur128", ours / (all - reading), "times", 0.5);
    }
    std::remove(FileName().c_str());
    return good ? 0 : 1;
}
