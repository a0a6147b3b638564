// SPDX-License-Identifier: GPL-3.0-or-later
// What playing costs: the whole way of the samples against a plain copy of them and against real time, seeks
// and swaps, and the beginning and the processor time on each sound system that answers here.
#include <sys/resource.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QTemporaryDir>
#include <cstring>
#include <thread>

#include "bench.h"
#include "devices/device_list.h"
#include "devices/player.h"
#include "sound/cache_writer.h"
#include "sound/readers.h"

namespace {

using namespace ondarix;
using namespace std::chrono_literals;

constexpr LSoundFormat kFormat = {48000, 2};
constexpr int kSeconds = 300;
constexpr int64_t kFrames = int64_t{kSeconds} * kFormat.sampleRate;
constexpr int32_t kPeriod = 1024;  // of a device

void Fill(LSound& sound, float peak) {
    std::vector<float> block(static_cast<size_t>(kBlockFrames) * kFormat.channels);
    for (size_t i = 0; i < block.size(); ++i) block[i] = peak * static_cast<float>(i % 1000) / 999;
    LCacheFileWriter writer(kFormat, &sound);
    for (int64_t at = 0; at < kFrames; at += kBlockFrames)
        writer.Write(block.data(), static_cast<int32_t>(std::min<int64_t>(kBlockFrames, kFrames - at)));
}

// Reader, ring, device: what cannot be left out.
void CopyAll(const LSound& sound) {
    LSoundReader reader(sound);
    std::vector<float> ring(static_cast<size_t>(kBlockFrames) * kFormat.channels), taken(ring.size());
    for (int64_t at = 0; at < kFrames; at += kBlockFrames) {
        reader.Read(ring.data(), kBlockFrames);
        std::memcpy(taken.data(), ring.data(), ring.size() * sizeof(float));
    }
}

void PlayAll(const LSound& sound, LDeviceMode mode, float factor) {
    LPlaybackTap tap;
    tap.Reset();
    LSoundSourceRef given = MakeSource<LSoundReader>(sound);
    const LPlayStack stack = StackForDevice(given, true, kFormat.sampleRate, tap);
    LPlayQueue queue;
    queue.SetVolume(factor);
    queue.Configure(kFormat, QueueRules(mode, kFormat, kPeriod));
    queue.SetPaused(false);
    std::vector<float> taken(static_cast<size_t>(kPeriod) * kFormat.channels);
    for (int64_t at = 0; at < kFrames; at += kPeriod) {
        while (queue.HasFreeBlock()) queue.Write(*stack.top, queue.BlockFrames());
        queue.Take(taken.data(), kPeriod, kPeriod);
    }
}

bool MeasurePath() {
    LSound quiet, loud;
    Fill(quiet, 0.5f);
    Fill(loud, 1.5f);
    const double plain = bench::BestMs(3, [&] { CopyAll(quiet); });
    std::printf("%-44s %10.3f ms\n", "plain copy of a second of stereo", plain / kSeconds);
    bool good = true;
    const auto path = [&](const char* what, const LSound& sound, LDeviceMode mode, float factor,
                          double limit) {
        const double ms = bench::BestMs(3, [&] { PlayAll(sound, mode, factor); });
        std::printf("%-44s %10.3f times the copy\n", what, ms / plain);
        good &= bench::Report("  of real time", ms / (10.0 * kSeconds), "%", limit);
    };
    path("all of the path, PipeWire's queue", quiet, LDeviceMode::kPipeWire, 1.0f, 1.0);
    path("the same, JACK's queue", quiet, LDeviceMode::kJack, 1.0f, 1.0);
    path("with a volume", quiet, LDeviceMode::kPipeWire, 0.5f, 1.0);
    path("with peaks to be limited", loud, LDeviceMode::kPipeWire, 1.0f, 1.0);
    quiet.Clear();
    loud.Clear();
    return good;
}

template <typename Done>
bool Until(Done done) {
    const auto begin = std::chrono::steady_clock::now();
    while (!done()) {
        if (std::chrono::steady_clock::now() - begin > 2s) return false;
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(100us);
    }
    return true;
}

struct LTimes {
    double best = 1e9, sum = 0, worst = 0;
    int count = 0;
    void Add(double ms) {
        best = std::min(best, ms);
        worst = std::max(worst, ms);
        sum += ms;
        ++count;
    }
    double Mean() const { return sum / count; }
};

bool MeasureSeeksAndSwaps() {
    LSound sound;
    Fill(sound, 0.5f);
    LSoundPlayer player;
    player.SelectDevice({});
    player.Play(MakeSource<LSoundReader>(sound));
    LTimes call, heard, swap;
    bool good = true;
    for (int i = 0; i < 50; ++i) {
        const int64_t place = int64_t{i} * 37 % kSeconds * kFormat.sampleRate;
        heard.Add(bench::BestMs(1, [&] {
            call.Add(bench::BestMs(1, [&] { player.SetPositionFrames(place); }));
            good &= Until([&] { return player.GetPositionFrames() > place; });
        }));
        auto other = MakeSource<LSoundReader>(sound);
        swap.Add(bench::BestMs(1, [&] {
            player.Suspend();
            player.SwapSource(std::move(other));
            player.ResyncAfterSwap();
            player.ResumeFeed();
        }));
    }
    player.Stop();
    sound.Clear();
    std::printf("%-44s %10.3f ms, worst %.3f\n", "call of a seek", call.Mean(), call.worst);
    std::printf("%-44s %10.3f ms, worst %.3f\n", "swap of the source, four calls", swap.Mean(), swap.worst);
    good &= bench::Report("seek until the first frame is heard", heard.Mean(), "ms", 60.0);
    return good;
}

double ProcessorMs() {
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    const auto ms = [](const timeval& time) {
        return 1000.0 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1000;
    };
    return ms(used.ru_utime) + ms(used.ru_stime);
}

void MeasureServer(const LBackendRow& row, const LSound& sound) {
    LTimes play, heard;
    double share = 0;
    LSoundPlayer player;
    player.SelectDevice({row.mode, {}, {}});
    for (int i = 0; i < 3; ++i) {
        auto source = MakeSource<LSoundReader>(sound);
        bool played = false;
        heard.Add(bench::BestMs(1, [&] {
            play.Add(bench::BestMs(1, [&] { played = player.Play(std::move(source)); }));
            played = played && Until([&] { return player.GetPositionFrames() > 0; });
        }));
        if (!played) return void(std::printf("%s does not play\n", row.name));
        Until([&, end = std::chrono::steady_clock::now() + 300ms] {
            return std::chrono::steady_clock::now() > end;
        });
        const double before = ProcessorMs();
        const auto end = std::chrono::steady_clock::now() + 1500ms;
        while (std::chrono::steady_clock::now() < end) {
            QCoreApplication::processEvents();
            std::this_thread::sleep_for(30ms);
        }
        share += (ProcessorMs() - before) / 1500.0 * 100 / 3;
        player.Stop();
    }
    std::printf("%-12s Play() %7.1f ms, first frame heard after %7.1f ms (worst %.1f), processor %.2f %%\n",
                row.name, play.Mean(), heard.Mean(), heard.worst, share);
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    QTemporaryDir folder;
    qputenv("ONDARIX_HOME", folder.path().toUtf8());
    if (!SetCacheFolder(folder.path())) return 1;
    bool good = MeasurePath();
    good &= MeasureSeeksAndSwaps();
    LSound sound;
    Fill(sound, 0.5f);
    for (const LBackendRow* row : Backends())
        if (row->answers()) MeasureServer(*row, sound);
    sound.Clear();
    return good ? 0 : 1;
}
