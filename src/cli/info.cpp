// SPDX-License-Identifier: GPL-3.0-or-later
#include <QFileInfo>
#include <QJsonArray>
#include <algorithm>
#include <cmath>
#include <cstring>

#include "cli/level.h"
#include "cli/positions.h"
#include "cli/sound_files.h"
#include "formats/registry.h"
#include "formats/save.h"
#include "formats/wav_source.h"
#include "gen/text.h"

namespace ondarix {
namespace {

struct LFileFacts {
    QString path;
    QString container, coding;
    LSoundFormat format;
    int64_t frames = 0;
    int64_t bytes = 0;
    bool isGrowing = false;  // its length is not final: it is still being written, or was cut off
    LForeignChunks chunks;
    bool isMeasured = false;
    LLevels levels;
};

QString WavCodingText(const LWavHeader& header) {
    if (const LCoding* coding = FindCoding(header.tag, header.bits)) return coding->text;
    if (header.tag == 1) return QString("PCM %1-bit").arg(header.bits);
    if (header.tag == 3) return QString("float %1-bit").arg(header.bits);
    return QString("format tag %1").arg(header.tag);
}

void DescribeContainer(LSoundSource& source, LFileFacts& facts) {
    LFileBytes file(facts.path);
    const LWavHeader header = file.IsOpen() ? ReadWavHeader(file) : LWavHeader{};
    if (header.error == kSourceGood) {
        facts.container = "WAV";
        facts.coding = WavCodingText(header);
        facts.chunks = ReadForeignChunks(file);
        return;
    }
    facts.container = LowerExtension(facts.path).mid(1).toUpper();
    uint32_t bits = 0;
    facts.coding =
        source.Query(kQueryIntegerBits, &bits) && bits ? QString("%1-bit").arg(bits) : QString("decoded");
}

// Why the file cannot be described; empty when it could. A cancel is left to the caller to see.
QString Describe(const QString& path, bool measure, LContext& context, LFileFacts& facts) {
    const QFileInfo info(path);
    facts.path = path;
    facts.bytes = info.size();
    QString fault;
    LSoundSourceRef source = OpenFile(path, context, fault);
    if (!fault.isEmpty()) return fault;
    facts.format = source->Format();
    facts.isGrowing = source->IsGrowing();
    facts.frames = source->GetLength();
    DescribeContainer(*source, facts);
    if (measure) {
        context.progress.SetStatus(path, 0);
        facts.isMeasured = MeasureLevels(*source, context.progress, facts.levels) == JobResult::kSuccess;
        context.progress.Clear();
    }
    return {};
}

QJsonObject LevelsToJson(const LLevels& levels) {
    // JSON has no infinity: a silent sound has null for its level.
    const auto db = [](double linear) {
        return linear > 0 ? QJsonValue(LevelDb(linear)) : QJsonValue(QJsonValue::Null);
    };
    QJsonArray channels;
    for (size_t i = 0; i < levels.peaks.size(); ++i) {
        channels += QJsonObject{{"peak", static_cast<double>(levels.peaks[i])},
                                {"peakDb", db(levels.peaks[i])},
                                {"rms", levels.RmsOf(i)},
                                {"rmsDb", db(levels.RmsOf(i))}};
    }
    return {{"peak", static_cast<double>(levels.Peak())},
            {"peakDb", db(levels.Peak())},
            {"peakFrame", levels.peakFrame < 0 ? QJsonValue(QJsonValue::Null) : JsonInt(levels.peakFrame)},
            {"rms", levels.Rms()},
            {"rmsDb", db(levels.Rms())},
            {"notFinite", JsonInt(levels.notFinite)},
            {"perChannel", channels}};
}

QString ChunkName(const LForeignChunk& chunk) { return QString::fromLatin1(chunk.id, sizeof chunk.id); }

QJsonObject ToJson(const LFileFacts& facts) {
    constexpr const char* kPlaces[] = {"beforeFormat", "beforeData", "afterData"};
    QJsonArray chunks;
    for (const LForeignChunk& chunk : facts.chunks.chunks) {
        chunks += QJsonObject{{"id", ChunkName(chunk)},
                              {"bytes", JsonInt(chunk.size)},
                              {"place", kPlaces[static_cast<size_t>(chunk.place)]}};
    }
    const double seconds =
        static_cast<double>(facts.frames) / static_cast<double>(std::max(facts.format.sampleRate, 1));
    QJsonObject json{{"path", facts.path},
                     {"container", facts.container},
                     {"coding", facts.coding},
                     {"sampleRate", facts.format.sampleRate},
                     {"channels", facts.format.channels},
                     {"frames", JsonInt(facts.frames)},
                     {"seconds", seconds},
                     {"bytes", JsonInt(facts.bytes)},
                     {"growing", facts.isGrowing},
                     {"foreignChunks", chunks}};
    if (facts.isMeasured) json["level"] = LevelsToJson(facts.levels);
    return json;
}

QString DbText(double linear) {
    return linear > 0 ? QString::number(LevelDb(linear), 'f', 2) + " dBFS" : QString("-inf dBFS");
}

void PrintFacts(const LFileFacts& facts, LConsole& console) {
    const auto line = [&](const char* name, const QString& value) {
        console.Print(QString("  %1 %2").arg(QString(name), -9).arg(value));
    };
    console.Print(OneLine(facts.path));
    line("Format", facts.container + ", " + facts.coding);
    line("Rate", QString("%1 Hz").arg(facts.format.sampleRate));
    line("Channels", ChannelCountText(facts.format.channels));
    line("Length", QString("%1 (%2 frames)%3")
                       .arg(TimeText(facts.frames, facts.format.sampleRate))
                       .arg(facts.frames)
                       .arg(facts.isGrowing ? ", not final" : ""));
    line("Size", QString("%1 bytes").arg(facts.bytes));
    QStringList chunks;
    for (const LForeignChunk& chunk : facts.chunks.chunks) {
        chunks += QString("\"%1\" (%2 bytes)").arg(OneLine(ChunkName(chunk))).arg(chunk.size);
    }
    if (!chunks.isEmpty()) line("Keeps", chunks.join(", "));
    if (!facts.isMeasured) return;
    const LLevels& levels = facts.levels;
    QString peak = DbText(levels.Peak());
    if (levels.peakFrame >= 0) {
        peak += QString(" at %1 (frame %2)")
                    .arg(TimeText(levels.peakFrame, facts.format.sampleRate))
                    .arg(levels.peakFrame);
    }
    line("Peak", peak);
    line("RMS", DbText(levels.Rms()));
    if (levels.notFinite > 0) line("Invalid", QString("%1 samples are no numbers").arg(levels.notFinite));
}

}  // namespace

ExitStatus RunInfo(const LArguments& arguments, LContext& context) {
    LConsole& console = context.console;
    QJsonArray files;
    int failed = 0;
    for (const QString& path : arguments.operands) {
        LFileFacts facts;
        const QString fault = Describe(path, arguments.Has("--level"), context, facts);
        if (context.progress.IsCancelled()) return context.Ended(JobResult::kCancelled, {});
        if (!fault.isEmpty()) {
            ++failed;
            console.Fail(fault);
            files += QJsonObject{{"path", path}, {"error", fault}};
            continue;
        }
        PrintFacts(facts, console);
        files += ToJson(facts);
    }
    console.Result()["files"] = files;
    return failed ? ExitStatus::kFailed : ExitStatus::kSuccess;
}

}  // namespace ondarix
