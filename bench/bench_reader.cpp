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

constexpr int64_t kFrames = 3600LL * 44100;
constexpr int kRuns = 3;

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

void FillSound(LSound& sound) {
    LCacheFileWriter writer({44100, 2}, &sound);
    for (size_t i = 0; i < gBlock.size(); ++i) gBlock[i] = static_cast<float>(i % 1000) / 999;
    for (int64_t at = 0; at < kFrames; at += kBlockFrames) {
        writer.Write(gBlock.data(), static_cast<int32_t>(std::min<int64_t>(kBlockFrames, kFrames - at)));
    }
}

}  // namespace

int main(int argc, char** argv) {
    QTemporaryDir temporary;
    if (!SetCacheFolder(argc > 1 ? QString::fromLocal8Bit(argv[1]) : temporary.path())) return 1;
    LSound file;
    FillSound(file);
    const QString name = CacheFileName(file.segments->cacheRef.cacheId, ".aud");
    // 10,000 pieces, in order and shuffled.
    constexpr int64_t kPieces = 10000, kPiece = kFrames / kPieces;
    LSound cut, shuffled, louder = file;
    louder.ScalePercent(50);
    for (int64_t i = kPieces; i-- > 0;) {
        LSound piece;
        file.CopyRange(kPiece * i, kPiece * (i + 1), piece);
        cut.Insert(0, piece);
        file.CopyRange(kPiece * (i * 7919 % kPieces), kPiece * (i * 7919 % kPieces + 1), piece);
        shuffled.Insert(0, piece);
    }
    ReadPlainly(name);
    const double plain = bench::BestMs(kRuns, [&] { ReadPlainly(name); });
    const auto against = [](double base, const auto& run) { return bench::BestMs(kRuns, run) / base; };
    const auto show = [](const char* what, double value, const char* unit) {
        std::printf("%-44s %10.3f %s\n", what, value, unit);
    };
    show("plain loop over an hour of stereo", plain, "ms");
    bool good = true;
    good &= bench::Report("one working file", against(plain, [&] { ReadAll(file); }), "times", 1.2);
    good &= bench::Report("10,000 segments in order", against(plain, [&] { ReadAll(cut); }), "times", 1.2);
    good &=
        bench::Report("10,000 segments shuffled", against(plain, [&] { ReadAll(shuffled); }), "times", 1.2);
    show("one working file with a gain", against(plain, [&] { ReadAll(louder); }), "times");
    show("peak bound, graph only", bench::BestMs(3, [&] { SoundPeak(louder); }), "ms");
    show("peak bound, full scale everywhere", bench::BestMs(3, [&] { SoundPeak(file); }), "ms");
    show("limiter over one working file",
         against(plain,
                 [&] {
                     LPeakLimiterSource limiter(MakeSource<LSoundReader>(file), 0.5f);
                     for (int64_t at = 0; at < kFrames; at += kBlockFrames)
                         limiter.Read(gBlock.data(), kBlockFrames);
                 }),
         "times");
    const double copied = bench::BestMs(2, [&] { CopyPlainly(name, temporary.filePath("copy")); });
    show("plain copy of the working file", copied, "ms");
    show("render of it, with its graph",
         against(copied,
                 [&] {
                     LSound result;
                     LNullProgress progress;
                     LSoundReader reader(file);
                     LSound::Render(result, progress, reader);
                 }),
         "times");
    for (LSound* sound : {&file, &cut, &shuffled, &louder}) sound->Clear();
    return good ? 0 : 1;
}
