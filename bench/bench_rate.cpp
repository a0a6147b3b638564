// SPDX-License-Identifier: GPL-3.0-or-later
// Rate conversion beside "sox rate -v" on one core: a 997 Hz sine, a tone that would alias, and speed.
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

std::vector<float> Ours(const std::vector<float>& input, int from, int to, int channels) {
    const auto frames = static_cast<int64_t>(input.size()) / channels;
    LResampler resampler(from, to, channels, [&](float* dest, int64_t first, int64_t count) {
        for (int64_t i = first * channels; i < (first + count) * channels; ++i) {
            *dest++ = i >= 0 && i < frames * channels ? input[static_cast<size_t>(i)] : 0.0f;
        }
    });
    const int64_t length = ScaledLength(frames, from, to);
    std::vector<float> made(static_cast<size_t>(length * channels));
    for (int64_t at = 0; at < length; at += 8192) {
        resampler.Produce(made.data() + at * channels, at, std::min<int64_t>(8192, length - at));
    }
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

// RMS of what is left of `made` when `wanted` is taken away, its ends left out, in dB below the sine.
double NoiseDb(const std::vector<float>& made, const std::vector<float>& wanted) {
    double sum = 0, count = 0;
    for (size_t i = 2000; i + 2000 < std::min(made.size(), wanted.size()); ++i, ++count) {
        sum += std::pow(double{made[i]} - double{wanted[i]}, 2);
    }
    return 10 * std::log10(sum / count / 0.125 + 1e-30);
}

void Quality(int from, int to) {
    const auto tone = Sine(997, from, 1, 3), wanted = Sine(997, to, 1, 3);
    std::printf("%6d to %6d: 997 Hz noise %8.1f dB, sox %8.1f dB\n", from, to,
                NoiseDb(Ours(tone, from, to, 1), wanted), NoiseDb(Theirs(tone, from, to), wanted));
    if (0.55 * to >= 0.5 * from) return;  // nothing there that could alias
    double ours = -999, theirs = -999;
    const std::vector<float> silence(wanted.size());
    for (double hz = 0.55 * to; hz < 0.5 * from; hz += 0.0371 * to) {
        const auto high = Sine(hz, from, 1, 1);
        ours = std::max(ours, NoiseDb(Ours(high, from, to, 1), silence));
        theirs = std::max(theirs, NoiseDb(Theirs(high, from, to), silence));
    }
    std::printf("%6d to %6d: worst alias  %8.1f dB, sox %8.1f dB\n", from, to, ours, theirs);
}

bool Speed(int from, int to) {
    const auto input = Sine(997, from, 2, kSeconds);
    WriteFile(input);
    const double ours = bench::BestMs(3, [&] { Ours(input, from, to, 2); });
    // Time of reading and writing without a conversion is not sox's fault.
    const double copying = bench::BestMs(3, [&] { RunSox(from, from, 2, "/dev/null", ""); });
    const double all = bench::BestMs(3, [&] { RunSox(from, to, 2, "/dev/null", " rate -v"); });
    std::printf("%6d to %6d: %.0f times real time, sox %.0f\n", from, to, kSeconds * 1000 / ours,
                kSeconds * 1000 / (all - copying));
    return bench::Report("time for stereo against sox rate -v", ours / (all - copying), "times", 1.0);
}

}  // namespace

int main() {
    bool good = true;
    constexpr int kPairs[][2] = {
        {44100, 48000}, {48000, 44100}, {96000, 44100}, {48000, 8000}, {44100, 44101}};
    for (const auto& pair : kPairs) Quality(pair[0], pair[1]);
    for (const auto& pair : kPairs) good &= Speed(pair[0], pair[1]);
    for (const char* name : {"in", "out"}) std::remove(FileName(name).c_str());
    return good ? 0 : 1;
}
