// SPDX-License-Identifier: GPL-3.0-or-later
// One effect over ten minutes of stereo, from working file to working file, beside a plain copy of the same
// bytes and beside sox doing the like on WAV files of floats. Figures are the fastest of several rounds, each
// of which runs all of them in turn.
#include <fcntl.h>
#include <unistd.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <cmath>
#include <functional>
#include <string>

#include "bench.h"
#include "effects/effect_table.h"
#include "effects/stack.h"
#include "sound/cache_writer.h"

namespace {

using namespace ondarix;

constexpr int kRate = 44100, kSeconds = 600, kRounds = 7, kSoxRounds = 2;
constexpr double kMostOfCopy = 1.5, kMostOfSox = 0.5;

struct EffectCase {
    const char* name;
    const char* id;  // in the table
    const char* options;
    const char* sox;
};
constexpr EffectCase kCases[] = {
    {"amplify", "amplify", "gain=50", "vol 0.5"},
    {"fade-out", "fade-out", "", "fade t 0 600 600"},
    {"reverse", "reverse", "", "reverse"},
    {"dc-offset", "dc-offset", "", "dcshift -0.01"},
    {"normalize", "normalize", "level=-1", "gain -n -1"},
    {"normalize-0", "normalize", "level=0", "gain -n"},  // the limiter stands behind it
};

// A tone with noise, an offset and a level that comes and goes: nothing that a shortcut could know.
LSound MakeSound() {
    LSound sound;
    LCacheFileWriter writer({kRate, 2}, &sound);
    std::vector<float> block(size_t{2} * kRate);
    uint32_t seed = 1;
    for (int second = 0; second < kSeconds; ++second) {
        const float level = 0.3f + 0.2f * std::sin(static_cast<float>(second) * 0.1f);
        for (size_t i = 0; i < block.size(); ++i) {
            seed = seed * 1664525u + 1013904223u;
            const float noise = static_cast<float>(seed >> 8) / 16777216.0f - 0.5f;
            block[i] = 0.01f + level * std::sin(static_cast<float>(i / 2) * 0.0627f) + 0.1f * noise;
        }
        writer.Write(block.data(), kRate);
    }
    writer.Finish();
    return sound;
}

// 32-bit float, so that sox reads the very samples.
bool WriteWav(const LSound& sound, const QString& path) {
    QFile file(path), samples(CacheFileName(sound.segments->cacheRef.cacheId, ".aud"));
    if (!file.open(QIODevice::WriteOnly) || !samples.open(QIODevice::ReadOnly)) return false;
    const auto dataBytes = static_cast<uint32_t>(samples.size());
    const auto put = [&](uint32_t value, int bytes) {
        file.write(reinterpret_cast<const char*>(&value), bytes);
    };
    file.write("RIFF", 4), put(36 + dataBytes, 4), file.write("WAVEfmt ", 8), put(16, 4), put(3, 2),
        put(2, 2);
    put(kRate, 4), put(kRate * 8, 4), put(8, 2), put(32, 2), file.write("data", 4), put(dataBytes, 4);
    return file.write(samples.readAll()) == dataBytes;
}

double TimeOf(const std::function<void()>& run) { return bench::BestMs(1, run); }

// The blocks of the pump, read and written on one thread.
double CopyMs(const QString& from, const QString& to) {
    const double ms = TimeOf([&] {
        const int in = ::open(QFile::encodeName(from).constData(), O_RDONLY | O_CLOEXEC);
        const int out =
            ::open(QFile::encodeName(to).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        std::vector<char> block(static_cast<size_t>(kPumpFrames) * 8);
        for (ssize_t got = 0; (got = ::read(in, block.data(), block.size())) > 0;)
            if (::write(out, block.data(), static_cast<size_t>(got)) != got) std::abort();
        ::close(in);
        ::close(out);
    });
    QFile::remove(to);
    return ms;
}

double ApplyMs(const EffectCase& one, const LSound& sound) {
    const LEffectRow* row = FindEffect(QString::fromLatin1(one.id));
    if (!row) return 1e300;
    const auto effect = row->make();
    effect->SetFormat(sound.Format());
    if (const QStringList option = QString::fromLatin1(one.options).split(u'='); option.size() == 2)
        effect->SetOption(option[0], option[1]);
    LSound result;
    bool done = false;
    const double ms = TimeOf([&] {
        LNullProgress progress;
        LEffect* const used[] = {effect.get()};
        const LEffect* const stacked[] = {effect.get()};
        done = MeasureEffects(sound, used, progress) == JobResult::kSuccess &&
               LSound::Render(result, progress, *BuildEffectStack(sound, stacked)) == JobResult::kSuccess;
    });
    return done && result.Length() == sound.Length() ? ms : 1e300;
}

double SoxMs(const EffectCase& one, const QString& in, const QString& out) {
    bool done = false;
    const double ms = TimeOf([&] {
        QProcess sox;
        sox.start(QStringLiteral("sox"),
                  QStringList{"-D", in, out} + QString::fromLatin1(one.sox).split(u' '));
        done = sox.waitForFinished(-1) && sox.exitCode() == 0;
    });
    QFile::remove(out);
    return done ? ms : 1e300;
}

bool ReportCase(const EffectCase& one, double ours, double copy, double sox) {
    if (ours > 1e200 || sox > 1e200) {
        std::printf("%-12s did not run (%s)\n", one.name, ours > 1e200 ? "ours" : "sox");
        return false;
    }
    std::printf("%-12s %8.1f ms, copy %8.1f ms, sox %8.1f ms\n", one.name, ours, copy, sox);
    const bool near = bench::Report((std::string(one.name) + " beside the copy").c_str(), ours / copy,
                                    "times", kMostOfCopy);
    return bench::Report((std::string(one.name) + " beside sox").c_str(), ours / sox, "times", kMostOfSox) &&
           near;
}

}  // namespace

int main() {
    QTemporaryDir folder;
    if (!SetCacheFolder(folder.filePath("cache"))) return 1;
    bool good = true;
    {
        const LSound sound = MakeSound();
        const QString wav = folder.filePath("in.wav"), out = folder.filePath("out.wav");
        const QString working = CacheFileName(sound.segments->cacheRef.cacheId, ".aud");
        if (!WriteWav(sound, wav)) return 1;
        double copy = 1e300;
        std::vector<double> ours(std::size(kCases), 1e300), sox(std::size(kCases), 1e300);
        for (int round = 0; round < kRounds; ++round) {
            copy = std::min(copy, CopyMs(working, folder.filePath("copy.aud")));
            for (size_t i = 0; i < std::size(kCases); ++i) {
                ours[i] = std::min(ours[i], ApplyMs(kCases[i], sound));
                if (round < kSoxRounds) sox[i] = std::min(sox[i], SoxMs(kCases[i], wav, out));
            }
        }
        for (size_t i = 0; i < std::size(kCases); ++i) good &= ReportCase(kCases[i], ours[i], copy, sox[i]);
    }
    CloseCache();
    return good ? 0 : 1;
}
