// SPDX-License-Identifier: GPL-3.0-or-later
// Each edit command on a document of 10,000 segments over ten hours, with the whole frame around it: undo
// entry, marks, settings, disk check. A picture frame lasts 16 ms.
#include <QDir>
#include <QTemporaryDir>
#include <algorithm>
#include <array>
#include <fstream>
#include <string>

#include "bench.h"
#include "sound/cache_writer.h"
#include "sound/edits.h"
#include "sound/snap.h"

namespace {

using namespace ondarix;

constexpr int kSegments = 10000;
constexpr int64_t kTenHours = int64_t{36000} * 44100;
constexpr double kFrameMs = 16.0;

class LQuietHost final : public LEditHost, public LMessageHost {
  public:
    LMessageHost& Messages() override { return *this; }
    JobResult RunJob(const QString&, const std::function<JobResult(LProgress&)>& work) override {
        LNullProgress progress;
        return work(progress);
    }
    bool AddDocument(LSoundDocumentRef) override { return true; }
    void Tell(const QString&, const QString&) override {}
    int Ask(const QString&, const QString&, const QStringList&, int safe, const QString&, bool*) override {
        return safe;
    }
};

int64_t ResidentKiB() {
    std::ifstream status("/proc/self/status");
    std::string word;
    int64_t value = 0;
    while (status >> word) {
        if (word == "VmRSS:" && status >> value) return value;
    }
    return 0;
}

// Pieces of one file and of silence in turn, as after ten thousand edits.
LSound ManyPieces(const LSound& file) {
    LSound sound = file;
    sound.Clear();
    auto* tail = &sound.segments;
    const int64_t length = kTenHours / kSegments;
    for (int i = 0; i < kSegments; ++i) {
        *tail = std::make_unique<LSoundSegment>(i % 2 ? LSoundSegment::Silent(length)
                                                      : LSoundSegment(file.segments->cacheRef, i, length));
        tail = &(*tail)->next;
    }
    return sound;
}

struct LBench {
    LSoundDocument document;
    LQuietHost host;
    LClipboardStore clipboard;
    bool good = true;

    template <typename F>
    void Measure(const char* what, F&& command) {
        double best = 1e300;
        for (int run = 0; run < 15; ++run) {
            document.Select(kTenHours / 4 + 3, 3 * (kTenHours / 4) + 5);
            JobResult result = JobResult::kFailed;
            best = std::min(best, bench::BestMs(1, [&] { result = command(); }));
            if (result != JobResult::kSuccess) {
                std::printf("%s did not succeed\n", what);
                good = false;
            }
            document.Undo();
        }
        good &= bench::Report(what, best / kFrameMs, "frames", 0.5);
    }
};

}  // namespace

int main() {
    QTemporaryDir folder;
    qputenv("ONDARIX_HOME", folder.path().toUtf8());
    if (!SetCacheFolder(folder.filePath("numbers"))) return 1;
    LSound file;
    {
        LCacheFileWriter writer({44100, 2}, &file);
        const std::vector<float> block(2 * 400000, 0.25f);
        writer.Write(block.data(), 400000);
    }
    LBench bench;
    LSoundDocument& document = bench.document;
    LQuietHost& host = bench.host;
    LClipboardStore& clipboard = bench.clipboard;
    document.sound = ManyPieces(file);
    document.path = folder.filePath("ten hours.wav");
    for (uint32_t i = 0; i < 1000; ++i) {
        LBookmark mark;
        mark.name = QString("Bookmark %1").arg(i);
        mark.index = i + 1;
        mark.SetPosition(i * (kTenHours / 1000), 44100);
        document.bookmarks.push_back(mark);
    }
    document.PushUndo("Load File", false);
    const int64_t before = ResidentKiB();
    for (int i = 0; i < 30; ++i) InsertSilence(document, host, kTenHours / 2 + i, 10);
    bench.good &= bench::Report("memory of 30 undo entries",
                                static_cast<double>(ResidentKiB() - before) / 1024, "MiB", 64);
    // Of each step the best of some rounds, and of those the slowest.
    constexpr int kSteps = 30;
    std::array<double, kSteps> undo, redo;
    undo.fill(1e300);
    redo.fill(1e300);
    for (int round = 0; round < 8; ++round) {
        for (double& best : undo)
            best = std::min(best, bench::BestMs(1, [&] { UndoChange(document, host); }));
        for (double& best : redo)
            best = std::min(best, bench::BestMs(1, [&] { RedoChange(document, host); }));
    }
    const auto slowest = [](const auto& steps) {
        return *std::max_element(steps.begin(), steps.end()) / kFrameMs;
    };
    bench.good &= bench::Report("slowest of 30 undos in a row", slowest(undo), "frames", 0.5);
    bench.good &= bench::Report("slowest of 30 redos in a row", slowest(redo), "frames", 0.5);

    bench.Measure("Copy", [&] { return CopySelection(document, host, clipboard); });
    bench.Measure("Cut", [&] { return CutSelection(document, host, clipboard); });
    bench.Measure("Delete", [&] { return DeleteSelection(document, host); });
    bench.Measure("Paste of 5,000 segments", [&] { return PasteClip(document, host, clipboard); });
    bench.Measure("Paste Cycle", [&] { return PasteCycle(document, host, clipboard); });
    bench.Measure("Duplicate", [&] { return DuplicateSelection(document, host); });
    bench.Measure("Move", [&] { return MoveSelection(document, host, 10); });
    bench.Measure("Trim", [&] { return TrimToSelection(document, host); });
    bench.Measure("Trim Start", [&] { return TrimStart(document, host); });
    bench.Measure("Trim End", [&] { return TrimEnd(document, host); });
    bench.Measure("Edit Silence", [&] { return SilenceSelection(document, host); });
    bench.Measure("Insert Silence", [&] { return InsertSilence(document, host, kTenHours - 9, 44100); });
    bench.Measure("Repeat Loop, twice", [&] { return RepeatLoop(document, host, 2); });
    bench.Measure("Join", [&] { return JoinSounds(document, host, {file}); });
    const float drawn[64] = {};
    bench.Measure("Edit Samples", [&] { return WriteSamples(document, host, kTenHours / 2, drawn, 32); });
    LSnapOptions options;
    options.boundaries = false;
    const int64_t pos = kTenHours / 2;
    const double snap =
        bench::BestMs(15, [&] { SnapPosition(document.sound, pos, pos - 44100, pos + 44100, options); });
    bench.good &= bench::Report("snapping within two seconds", snap / kFrameMs, "frames", 0.5);
    return bench.good ? 0 : 1;
}
