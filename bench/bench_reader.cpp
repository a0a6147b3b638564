// SPDX-License-Identifier: GPL-3.0-or-later
// Reading a sound against a plain loop over its working file with the same block, and rendering it again.
#include <fcntl.h>
#include <unistd.h>

#include <QFile>
#include <QTemporaryDir>

#include "bench.h"
#include "dsp/peak.h"
#include "sound/cache_writer.h"
#include "sound/readers.h"
#include "sound/wrappers.h"

namespace {

using namespace ondarix;

constexpr int64_t kFrames = 10 * 60 * 44100;
constexpr int kRuns = 7;

std::vector<float> gBlock(static_cast<size_t>(kBlockFrames) * 2);

void ReadPlainly(const QString& name) {
    const int fd = ::open(QFile::encodeName(name).constData(), O_RDONLY);
    for (int64_t at = 0; at < kFrames; at += kBlockFrames) {
        if (::pread(fd, gBlock.data(), gBlock.size() * 4, at * 8) <= 0) break;
    }
    ::close(fd);
}

void CopyPlainly(const QString& from, const QString& to) {
    const int in = ::open(QFile::encodeName(from).constData(), O_RDONLY);
    const int out = ::open(QFile::encodeName(to).constData(), O_RDWR | O_CREAT | O_TRUNC, 0600);
    for (int64_t at = 0; at < kFrames; at += kBlockFrames) {
        const ssize_t got = ::pread(in, gBlock.data(), gBlock.size() * 4, at * 8);
        if (got <= 0 || ::pwrite(out, gBlock.data(), static_cast<size_t>(got), at * 8) != got) break;
    }
    ::close(in);
    ::close(out);
    ::unlink(QFile::encodeName(to).constData());
}

void ReadAll(const LSound& sound) {
    LSoundReader reader(sound);
    for (int64_t at = 0; at < kFrames; at += kBlockFrames) reader.Read(gBlock.data(), kBlockFrames);
}

void FillSound(LSound& sound, float level) {
    LCacheFileWriter writer({44100, 2}, &sound);
    for (size_t i = 0; i < gBlock.size(); ++i) gBlock[i] = level * static_cast<float>(i % 1000) / 999;
    for (int64_t at = 0; at < kFrames; at += kBlockFrames) {
        writer.Write(gBlock.data(), static_cast<int32_t>(std::min<int64_t>(kBlockFrames, kFrames - at)));
    }
}

}  // namespace

int main(int argc, char** argv) {
    QTemporaryDir temporary;
    if (!SetCacheFolder(argc > 1 ? QString::fromLocal8Bit(argv[1]) : temporary.path())) return 1;
    LSound file, other;
    FillSound(file, 1.0f);
    FillSound(other, 0.5f);
    const QString name = CacheFileName(file.segments->cacheRef.cacheId, ".aud");
    LSound cut = file, mixed;
    for (int i = 1; i < 10000; ++i)
        cut.Insert(kFrames / 10000 * i + 1, LSound());  // splits, and inserts nothing
    for (int i = 0; i < 10000; ++i) {
        LSound piece;
        (i % 2 ? file : other).CopyRange(kFrames / 10000 * i, kFrames / 10000 * (i + 1), piece);
        mixed.Insert(mixed.Length(), piece);
    }
    ReadPlainly(name);
    const double plain = bench::BestMs(kRuns, [&] { ReadPlainly(name); });
    std::printf("%-44s %10.3f ms\n", "plain loop over ten minutes of stereo", plain);
    bool good = true;
    good &=
        bench::Report("one working file", bench::BestMs(kRuns, [&] { ReadAll(file); }) / plain, "times", 1.2);
    good &= bench::Report("10,000 segments of one file", bench::BestMs(kRuns, [&] { ReadAll(cut); }) / plain,
                          "times", 1.2);
    std::printf("%-44s %10.3f times\n", "10,000 segments of two files in turn",
                bench::BestMs(kRuns, [&] { ReadAll(mixed); }) / plain);
    LSound louder = file;
    louder.ScalePercent(50);
    std::printf("%-44s %10.3f times\n", "one working file with a gain",
                bench::BestMs(kRuns, [&] { ReadAll(louder); }) / plain);
    std::printf("%-44s %10.3f ms\n", "peak bound, graph only", bench::BestMs(3, [&] { SoundPeak(other); }));
    std::printf("%-44s %10.3f ms\n", "peak bound, every block at full scale",
                bench::BestMs(3, [&] { SoundPeak(file); }));
    std::printf("%-44s %10.3f times\n", "limiter over one working file",
                bench::BestMs(3, [&] {
                    LPeakLimiterSource limiter(MakeSource<LSoundReader>(file), 0.5f);
                    for (int64_t at = 0; at < kFrames; at += kBlockFrames)
                        limiter.Read(gBlock.data(), kBlockFrames);
                }) / plain);
    const double copied = bench::BestMs(3, [&] { CopyPlainly(name, temporary.filePath("copy")); });
    std::printf("%-44s %10.3f ms\n", "plain copy of the working file", copied);
    std::printf("%-44s %10.3f times\n", "render of it, with its graph", bench::BestMs(3, [&] {
                                                                            LSound result;
                                                                            LNullProgress progress;
                                                                            LSoundReader reader(file);
                                                                            LSound::Render(result, progress,
                                                                                           reader);
                                                                        }) / copied);
    for (LSound* sound : {&file, &other, &cut, &mixed, &louder}) sound->Clear();
    return good ? 0 : 1;
}
