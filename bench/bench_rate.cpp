// SPDX-License-Identifier: GPL-3.0-or-later
// Rate conversion beside "sox rate -v" and libsoxr's best quality on one core: flatness, what is added to a
// tone, the worst alias of a sweep, and speed.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <string>
#include <vector>

#include "bench.h"
#include "dsp/resampler.h"

namespace {

using namespace ondarix;

constexpr int64_t kSeconds = 60;

// Interleaved, of `seconds`.
std::vector<float> Sine(double hz, int rate, int channels, int64_t seconds) {
    std::vector<float> samples;
    for (int64_t i = 0; i < seconds * rate; ++i) {
        const double v = 0.5 * std::sin(2 * std::numbers::pi * hz * static_cast<double>(i) / rate);
        samples.insert(samples.end(), static_cast<size_t>(channels), static_cast<float>(v));
    }
    return samples;
}

// Passes what is made on in blocks, as a saver does.
template <typename F>
void Convert(const std::vector<float>& input, int from, int to, int channels, F&& take) {
    const auto frames = static_cast<int64_t>(input.size()) / channels;
    LResampler resampler(from, to, channels, [&](float* dest, int64_t first, int64_t count) {
        const int64_t start = std::clamp<int64_t>(-first, 0, count);
        const int64_t end = std::clamp<int64_t>(frames - first, start, count);
        std::fill_n(dest, start * channels, 0.0f);
        std::copy_n(input.begin() + (first + start) * channels, (end - start) * channels,
                    dest + start * channels);
        std::fill_n(dest + end * channels, (count - end) * channels, 0.0f);
    });
    const int64_t length = ScaledLength(frames, from, to);
    std::vector<float> block(static_cast<size_t>(8192 * channels));
    for (int64_t at = 0; at < length; at += 8192) {
        const int64_t piece = std::min<int64_t>(8192, length - at);
        resampler.Produce(block.data(), at, piece);
        take(block.data(), piece * channels);
    }
}

std::vector<float> Ours(const std::vector<float>& input, int from, int to) {
    std::vector<float> made;
    Convert(input, from, to, 1,
            [&](const float* block, int64_t count) { made.insert(made.end(), block, block + count); });
    return made;
}

std::string FileName(const char* name) { return std::string("/tmp/ondarix-bench-rate-") + name; }

void WriteFile(const std::vector<float>& samples) {
    std::FILE* const file = std::fopen(FileName("in").c_str(), "wb");
    std::fwrite(samples.data(), 4, samples.size(), file);
    std::fclose(file);
}

bool RunSox(int from, int to, int channels, const std::string& target, const std::string& effect) {
    const std::string layout = " -t f32 -c " + std::to_string(channels);
    const std::string command = "sox -V1 --single-threaded" + layout + " -r " + std::to_string(from) + " " +
                                FileName("in") + layout + " -r " + std::to_string(to) + " " + target + effect;
    return std::system(command.c_str()) == 0;
}

std::vector<float> Theirs(const std::vector<float>& input, int from, int to) {
    WriteFile(input);
    RunSox(from, to, 1, FileName("out"), " rate -v");
    std::vector<float> made(static_cast<size_t>(ScaledLength(static_cast<int64_t>(input.size()), from, to)));
    std::FILE* const file = std::fopen(FileName("out").c_str(), "rb");
    if (file == nullptr) return made;
    made.resize(std::fread(made.data(), 4, made.size(), file));
    std::fclose(file);
    return made;
}

// Where `made` holds a sine of amplitude 0.5: its gain, and the RMS of everything else below it, in dB. The
// ends are left out.
struct Tone {
    double gainDb, noiseDb;
};

Tone Measure(const std::vector<float>& made, double hz, int rate) {
    constexpr size_t kEdge = 2000;
    double ss = 0, sc = 0, cc = 0, ys = 0, yc = 0, yy = 0;
    for (size_t i = kEdge; i + kEdge < made.size(); ++i) {
        const double angle = 2 * std::numbers::pi * hz * static_cast<double>(i) / rate;
        const double s = std::sin(angle), c = std::cos(angle), y = made[i];
        ss += s * s, sc += s * c, cc += c * c, ys += y * s, yc += y * c, yy += y * y;
    }
    // The sine and cosine that come nearest by least squares.
    const double det = ss * cc - sc * sc;
    const double a = (ys * cc - yc * sc) / det, b = (yc * ss - ys * sc) / det;
    double rest = 0;
    for (size_t i = kEdge; i + kEdge < made.size(); ++i) {
        const double angle = 2 * std::numbers::pi * hz * static_cast<double>(i) / rate;
        rest += std::pow(made[i] - a * std::sin(angle) - b * std::cos(angle), 2);
    }
    const double count = static_cast<double>(made.size() - 2 * kEdge);
    return {20 * std::log10(std::hypot(a, b) / 0.5), 10 * std::log10(rest / count / 0.125 + 1e-30)};
}

// RMS in dB below the sine.
double LevelDb(const std::vector<float>& made) {
    double sum = 0, count = 0;
    for (size_t i = 2000; i + 2000 < made.size(); ++i, ++count) sum += std::pow(double{made[i]}, 2);
    return 10 * std::log10(sum / count / 0.125 + 1e-30);
}

bool Quality(int from, int to) {
    const double lower = std::min(from, to);
    double flat = 0;
    for (int percent = 1; percent <= 45; ++percent) {
        const double hz = percent * 0.01 * lower;
        const double gain = Measure(Ours(Sine(hz, from, 1, 1), from, to), hz, to).gainDb;
        if (std::fabs(gain) > std::fabs(flat)) flat = gain;
    }
    std::printf("%6d to %6d: gain up to 0.45 of the lower rate within %+.4f dB\n", from, to, flat);
    bool good = std::fabs(flat) <= 0.1;
    for (const double hz : {997.0, 10000.0, 19000.0}) {
        if (hz > 0.45 * lower) continue;
        const auto tone = Sine(hz, from, 1, 3);
        const double ours = Measure(Ours(tone, from, to), hz, to).noiseDb;
        std::printf("%6d to %6d: %5.0f Hz, noise %8.1f dB, sox %8.1f dB\n", from, to, hz, ours,
                    Measure(Theirs(tone, from, to), hz, to).noiseDb);
        good &= ours <= -130;
    }
    if (0.55 * to >= 0.5 * from) return good;  // nothing there that could alias
    double ours = -999, theirs = -999;
    for (double hz = 0.55 * to; hz < 0.5 * from; hz += 0.0371 * to) {
        const auto high = Sine(hz, from, 1, 1);
        ours = std::max(ours, LevelDb(Ours(high, from, to)));
        theirs = std::max(theirs, LevelDb(Theirs(high, from, to)));
    }
    std::printf("%6d to %6d: worst alias     %8.1f dB, sox %8.1f dB\n", from, to, ours, theirs);
    return good && ours <= -110;
}

// ffmpeg with libsoxr; false where it was built without.
bool RunSoxr(int from, int to) {
    const std::string command = "ffmpeg -v quiet -y -threads 1 -f f32le -ac 2 -ar " + std::to_string(from) +
                                " -i " + FileName("in") + " -af aresample=" + std::to_string(to) +
                                ":resampler=soxr:precision=28 -f f32le /dev/null";
    return std::system(command.c_str()) == 0;
}

bool Speed(int from, int to, double limit, double soxrLimit) {
    const auto input = Sine(997, from, 2, kSeconds);
    WriteFile(input);
    const double ours = bench::BestMs(5, [&] { Convert(input, from, to, 2, [](const float*, int64_t) {}); });
    // Time of reading and writing without a conversion is not sox's fault.
    const double copying = bench::BestMs(3, [&] { RunSox(from, from, 2, "/dev/null", ""); });
    const double all = bench::BestMs(3, [&] { RunSox(from, to, 2, "/dev/null", " rate -v"); });
    std::printf("%6d to %6d: %.0f times real time, sox %.0f\n", from, to, kSeconds * 1000 / ours,
                kSeconds * 1000 / (all - copying));
    bool good = bench::Report("time for stereo against sox rate -v", ours / (all - copying), "times", limit);
    if (!RunSoxr(from, to)) return good;
    const double soxrCopying = bench::BestMs(3, [&] { RunSoxr(from, from); });
    const double soxr = bench::BestMs(3, [&] { RunSoxr(from, to); });
    good &= bench::Report("time for stereo against libsoxr at 28 bits", ours / (soxr - soxrCopying), "times",
                          soxrLimit);
    return good;
}

}  // namespace

int main() {
    bool good = true;
    struct Pair {
        int from, to;
        double limit, soxrLimit;  // of the time, against each
    };
    // Where the rate falls by much the others get there by cheap halves first.
    constexpr Pair kPairs[] = {{44100, 48000, 0.5, 1.3},
                               {48000, 44100, 0.5, 1.3},
                               {96000, 44100, 0.5, 1.6},
                               {48000, 8000, 1.0, 2.0},
                               {44100, 44101, 0.5, 1.3}};
    for (const Pair& pair : kPairs) good &= Quality(pair.from, pair.to);
    for (const Pair& pair : kPairs) good &= Speed(pair.from, pair.to, pair.limit, pair.soxrLimit);
    for (const char* name : {"in", "out"}) std::remove(FileName(name).c_str());
    return good ? 0 : 1;
}
