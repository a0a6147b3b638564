// SPDX-License-Identifier: GPL-3.0-or-later
// Scrolling the window of a ten-hour stereo sound of 10,000 pieces, 1,920 pixels wide, at every zoom from all
// of it down to single samples: the time from moving the view to its whole paint, as a ratio to a frame of 16
// ms.
#include <QApplication>
#include <QFile>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <random>

#include "app/sound_window.h"
#include "app/theme.h"
#include "sound/cache_writer.h"

using namespace ondarix;

namespace {

constexpr double kFrameMs = 16;
constexpr int64_t kFrames = 10LL * 3600 * 44100;
constexpr int kFiles = 10, kPieces = 10000, kMoves = 40;

class LQuietHost final : public LEditHost, private LMessageHost {
  public:
    LMessageHost& Messages() override { return *this; }
    JobResult RunJob(const QString&, const std::function<JobResult(LProgress&)>&) override {
        return JobResult::kCancelled;
    }
    bool AddDocument(LSoundDocumentRef) override { return false; }

  private:
    void Tell(const QString&, const QString&) override {}
    int Ask(const QString&, const QString&, const QStringList&, int safe, const QString&, bool*) override {
        return safe;
    }
};

// When the first paint of a widget was over.
class LFirstPaint final : public QObject {
  public:
    explicit LFirstPaint(QObject* of) : of_(of) { QCoreApplication::instance()->installEventFilter(this); }
    bool eventFilter(QObject* object, QEvent* event) override {
        if (painting_ && !done) done = std::chrono::steady_clock::now();
        painting_ = painting_ || (object == of_ && event->type() == QEvent::Paint);
        return false;
    }
    std::optional<std::chrono::steady_clock::time_point> done;

  private:
    QObject* of_;
    bool painting_ = false;
};

double Since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// A working file with a graph; its samples are noise at the start and one hole on disk behind that.
uint16_t MakeFile(int64_t frames, std::mt19937& random) {
    const uint16_t id = AllocateCacheId();
    QFile aud(CacheFileName(id, ".aud")), grf(CacheFileName(id, ".grf"));
    if (!aud.open(QIODevice::WriteOnly) || !grf.open(QIODevice::WriteOnly)) return kNoCacheId;
    std::vector<float> noise(2 * 441000);
    for (float& sample : noise) sample = static_cast<float>(random() % 2000) / 1000 - 1;
    aud.write(reinterpret_cast<const char*>(noise.data()), static_cast<qint64>(noise.size() * sizeof(float)));
    aud.resize(frames * 8);
    std::vector<LPeakPair> block(2 * 8192);
    for (int64_t left = (frames + 255) / 256; left > 0; left -= 8192) {
        for (LPeakPair& pair : block)
            pair = {static_cast<uint16_t>(random() % 4000), static_cast<uint16_t>(random() % 4000)};
        grf.write(reinterpret_cast<const char*>(block.data()), std::min<int64_t>(left, 8192) * 8);
    }
    return id;
}

LSound MakeSound() {
    std::mt19937 random(1);
    std::vector<LSoundCacheRef> files;
    for (int i = 0; i < kFiles; ++i)
        files.push_back(LSoundCacheRef::Adopt(MakeFile(kFrames / kFiles, random)));
    LSound sound(44100, 2);
    const int64_t length = kFrames / kPieces;
    for (int i = 0; i < kPieces; ++i) {
        LSound piece;
        const int64_t offset =
            static_cast<int64_t>(random() % static_cast<uint64_t>(kFrames / kFiles - length));
        // Every other one has samples to show.
        piece.SetSingleSegment({files[random() % kFiles], i % 2 == 0 ? 0 : offset, length}, 44100, 2);
        sound.Insert(0, piece);
    }
    return sound;
}

double Percentile(std::vector<double> times, double part) {
    std::sort(times.begin(), times.end());
    return times[static_cast<size_t>(part * static_cast<double>(times.size() - 1))];
}

void Paint() {
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

struct LTimes {
    std::vector<double> scroll, zoom;
    int late = 0;  // paints that did not have all their columns yet
};

void ScrollAt(LSoundWindow& window, int64_t frames, LTimes& times) {
    const int64_t piece = kFrames / kPieces;
    const int64_t at = ((kFrames - frames) / 3 / piece / 2 * 2 + 1) * piece + 1000;  // in one with samples
    auto start = std::chrono::steady_clock::now();
    window.Range().Show(at, frames);
    Paint();
    times.zoom.push_back(Since(start));
    window.Complete();
    Paint();
    for (int i = 1; i <= kMoves && frames < kFrames; ++i) {
        const double pixels = i % 10 == 0 ? 300 : 12 + i;
        const auto by = static_cast<int64_t>(pixels * static_cast<double>(frames) / window.View().width());
        start = std::chrono::steady_clock::now();
        window.Range().MoveTo(window.Range().Start() + std::max<int64_t>(1, by));
        Paint();
        times.scroll.push_back(Since(start));
        times.late += !window.View().IsComplete();
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ApplyTheme(LThemeChoice::kLight);
    if (!OpenPrivateCache()) return std::puts("no working folder"), 1;
    int result = 0;
    {
        LSoundDocumentRef document(new LSoundDocument);
        document->sound = MakeSound();
        LQuietHost host;
        {  // what the first window of a program costs is measured elsewhere
            LSoundDocumentRef small(new LSoundDocument);
            small->sound = LSound(44100, 2);
            small->sound.InsertSilence(0, 44100);
            LSoundWindow window(small, host);
            window.show();
            Paint();
        }
        auto start = std::chrono::steady_clock::now();
        LSoundWindow window(document, host);
        const double made = Since(start);
        window.resize(1920 + 66, 1000);
        LFirstPaint paint(&window.View());
        window.show();
        Paint();
        const double first =
            std::chrono::duration<double, std::milli>(paint.done.value_or(start) - start).count();
        window.Complete();
        const double exact = Since(start);
        Paint();
        LTimes all;
        std::printf("%14s %10s %10s %10s\n", "frames/pixel", "zoom", "scroll 50%", "scroll 95%");
        for (int64_t frames = kFrames; frames > 16; frames /= 2) {
            LTimes times;
            ScrollAt(window, frames, times);
            if (times.scroll.empty()) times.scroll = times.zoom;
            std::printf("%14.3f %7.2f ms %7.2f ms %7.2f ms\n",
                        static_cast<double>(frames) / window.View().width(), times.zoom[0],
                        Percentile(times.scroll, 0.5), Percentile(times.scroll, 0.95));
            all.scroll.insert(all.scroll.end(), times.scroll.begin(), times.scroll.end());
            all.zoom.insert(all.zoom.end(), times.zoom.begin(), times.zoom.end());
            all.late += times.late;
            if (Percentile(times.scroll, 0.95) >= kFrameMs) result = 1;
        }
        std::printf("window made %.1f ms, first paint %.1f ms (something is shown), exact after %.1f ms\n",
                    made, first, exact);
        std::printf(
            "zoom 95%%: %.2f of a frame; scroll 95%%: %.2f of a frame; %d of %zu paints before their "
            "columns\n",
            Percentile(all.zoom, 0.95) / kFrameMs, Percentile(all.scroll, 0.95) / kFrameMs, all.late,
            all.scroll.size());
    }
    CloseCache();
    return result;
}
