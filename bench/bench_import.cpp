// SPDX-License-Identifier: GPL-3.0-or-later
// Importing an hour of stereo 16-bit sound against a plain loop that does no more than it must, and against
// other programs that turn the same file into 32-bit floats. Everything is measured in one run, in one
// folder: bench_import [folder], /dev/shm by default.
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "bench.h"
#include "dsp/peak.h"
#include "dsp/sample_convert.h"
#include "formats/registry.h"
#include "formats/wav_sink.h"
#include "sound/cache.h"
#include "sound/sound.h"

using namespace ondarix;

namespace {

constexpr int kSampleRate = 44100;
constexpr int kChannels = 2;
constexpr int64_t kFrames = int64_t{kSampleRate} * 3600;
constexpr int kRuns = 3;

void MakeHour(const QString& path) {
    constexpr int32_t kBlock = kSampleRate * 10;
    std::vector<float> block(size_t{kBlock} * kChannels);
    std::mt19937 random(1);
    for (size_t i = 0; i < block.size(); ++i) {
        const float noise = static_cast<float>(random() % 2048) / 8192.0f - 0.125f;
        block[i] = 0.7f * std::sin(static_cast<float>(i / kChannels) * 0.0313f) + noise;
    }
    LWavSinkOptions options;
    options.shaper = false;
    LWavSink sink(path, LFormatRecord::Plain(1, 16, kSampleRate, kChannels), options);
    for (int64_t done = 0; done < kFrames; done += kBlock) sink.Write(block.data(), kBlock);
}

// Reads, converts, writes floats and peak records, in blocks; nothing is asked, checked or reported.
void PlainLoop(const QString& from, const QString& to) {
    constexpr int64_t kBlock = 8192, kRecords = kBlock / kPeakBlockFrames;
    const int in = open(qPrintable(from), O_RDONLY);
    const int out = open(qPrintable(to + ".f32"), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int graph = open(qPrintable(to + ".peaks"), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    std::vector<int16_t> shorts(kBlock * kChannels);
    std::vector<float> floats(kBlock * kChannels);
    std::vector<LPeakPair> peaks(kRecords * kChannels);
    lseek(in, 44, SEEK_SET);
    for (;;) {
        const ssize_t got = read(in, shorts.data(), shorts.size() * sizeof(int16_t));
        if (got <= 0) break;
        const int64_t samples = got / 2, blocks = samples / kChannels / kPeakBlockFrames;
        for (int64_t i = 0; i < samples; ++i)
            floats[static_cast<size_t>(i)] = static_cast<float>(shorts[static_cast<size_t>(i)]) * kPcm16Step;
        PeaksOfBlocks(floats.data(), blocks, kChannels, peaks.data());
        const auto bytes = static_cast<size_t>(samples) * sizeof(float);
        const auto graphBytes = static_cast<size_t>(blocks * kChannels) * sizeof(LPeakPair);
        if (write(out, floats.data(), bytes) < 0 || write(graph, peaks.data(), graphBytes) < 0) break;
    }
    for (int fd : {in, out, graph}) close(fd);
}

// Seconds of the fastest run; `clear` takes away what a run left, which is not measured.
template <typename Clear, typename F>
double BestSeconds(Clear&& clear, F&& run) {
    double best = 1e300;
    for (int i = 0; i < kRuns; ++i) {
        best = std::min(best, bench::BestMs(1, run) / 1000);
        clear();
    }
    return best;
}

bool Import(const QString& path, LSound& sound) {
    LNullProgress progress;
    const LSoundSourceRef source = OpenSoundSource(path, progress);
    return LSound::Render(sound, progress, *source) == JobResult::kSuccess && sound.Length() == kFrames;
}

double PeakMemoryMb() {
    QFile status("/proc/self/status");
    if (!status.open(QIODevice::ReadOnly)) return 1e9;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:")) return line.mid(6).trimmed().split(' ')[0].toDouble() / 1024.0;
    }
    return 1e9;
}

bool ReportAtLeast(const char* what, double value, double least) {
    std::printf("%-44s %10.3f %-6s at least %.3f%s\n", what, value, "", least,
                value >= least ? "" : "  MISSED");
    return value >= least;
}

}  // namespace

int main(int argc, char** argv) {
    const QString folder = QString::fromLocal8Bit(argc > 1 ? argv[1] : "/dev/shm") + "/ondarix-bench-" +
                           QString::number(getpid());
    QDir().mkpath(folder);
    setenv("ONDARIX_HOME", qPrintable(folder + "/home"), 1);
    const QString wav = folder + "/hour.wav", out = folder + "/out";
    MakeHour(wav);
    bool good = OpenCache();

    LSound sound;
    const auto removeOutput = [&] {
        for (const char* end : {"", ".f32", ".peaks"}) QFile::remove(out + end);
    };
    const auto secondsOf = [&](const QString& command) {
        return BestSeconds(removeOutput, [&] { good &= system(qPrintable(command)) == 0; });
    };
    const double ours = BestSeconds([&] { sound.Clear(); }, [&] { good &= Import(wav, sound); });
    const double memory = PeakMemoryMb();
    CloseCache();
    const double plain = BestSeconds(removeOutput, [&] { PlainLoop(wav, out); });
    std::printf("%-44s %10.3f s\n%-44s %10.3f s\n", "plain loop", plain, "import", ours);
    good &= bench::Report("import / plain loop", ours / plain, "", 1.3);
    good &= bench::Report("largest memory of the import", memory, "MB", 60);

    if (!QStandardPaths::findExecutable("sox").isEmpty()) {
        const double sox = secondsOf("sox " + wav + " -t f32 " + out);
        std::printf("%-44s %10.3f s\n", "sox", sox);
        good &= ReportAtLeast("sox / import", sox / ours, 1.7);
    }
    if (!QStandardPaths::findExecutable("ffmpeg").isEmpty()) {
        const double ffmpeg =
            secondsOf("ffmpeg -v error -y -i " + wav + " -c:a pcm_f32le -f f32le " + out + " </dev/null");
        std::printf("%-44s %10.3f s\n%-44s %10.3f\n", "ffmpeg", ffmpeg, "ffmpeg / import", ffmpeg / ours);
    }
    QDir(folder).removeRecursively();
    return good ? 0 : 1;
}
