// SPDX-License-Identifier: GPL-3.0-or-later
#include <QJsonArray>
#include <cmath>

#include "cli/positions.h"
#include "cli/sound_files.h"
#include "effects/loudness_report.h"

namespace ondarix {
namespace {

struct LLoudnessRange {
    std::optional<LPosition> from, to;
};

// JSON has no infinity: where there is no loudness stands null.
QJsonValue LoudnessJson(double lufs) { return std::isfinite(lufs) ? QJsonValue(lufs) : QJsonValue(); }

QJsonValue DbJson(float linear) {
    return linear > 0 ? QJsonValue(20 * std::log10(double{linear})) : QJsonValue();
}

QJsonArray DbArray(const std::vector<float>& linear) {
    QJsonArray values;
    for (const float value : linear) values += DbJson(value);
    return values;
}

QJsonObject ReportJson(const QString& path, const LLoudnessReport& report) {
    const LLoudness& loudness = report.loudness;
    return {{"path", path},
            {"frames", JsonInt(loudness.frames)},
            {"integrated", LoudnessJson(loudness.integrated)},
            {"momentaryMax", LoudnessJson(loudness.momentaryMax)},
            {"shortTermMax", LoudnessJson(loudness.shortTermMax)},
            {"range", loudness.range},
            {"rangeLow", LoudnessJson(loudness.rangeLow)},
            {"rangeHigh", LoudnessJson(loudness.rangeHigh)},
            {"relativeGate", LoudnessJson(loudness.relativeGate)},
            {"truePeak", DbJson(loudness.TruePeak())},
            {"samplePeak", DbJson(loudness.SamplePeak())},
            {"truePeaks", DbArray(loudness.truePeaks)},
            {"samplePeaks", DbArray(loudness.samplePeaks)}};
}

QString PeaksText(float most, const std::vector<float>& channels, const QString& unit) {
    if (channels.size() < 2) return PeakText(most, unit);
    QStringList each;
    for (const float peak : channels) each += PeakText(peak, {}).trimmed();
    return QString("%1 (channels: %2)").arg(PeakText(most, unit), each.join(", "));
}

void PrintReport(const QString& path, const LLoudness& loudness, LConsole& console) {
    const auto line = [&](const char* name, const QString& value) {
        console.Print(QString("  %1 %2").arg(QString(name), -11).arg(value));
    };
    console.Print(OneLine(path));
    line("Integrated", LufsText(loudness.integrated));
    line("Momentary", LufsText(loudness.momentaryMax) + " at most");
    line("Short-term", LufsText(loudness.shortTermMax) + " at most");
    line("Range", QString("%1 LU (%2 to %3)")
                      .arg(loudness.range, 0, 'f', 1)
                      .arg(LufsText(loudness.rangeLow), LufsText(loudness.rangeHigh)));
    line("True peak", PeaksText(loudness.TruePeak(), loudness.truePeaks, "dBTP"));
    line("Sample peak", PeaksText(loudness.SamplePeak(), loudness.samplePeaks, "dBFS"));
}

// Why the file cannot be measured; empty when it was, or when it was cancelled.
QString MeasureFile(const QString& path, const LLoudnessRange& range, LContext& context,
                    LLoudnessReport& report) {
    QString fault;
    LSoundSourceRef source = OpenFile(path, context, fault);
    if (!fault.isEmpty()) return fault;
    const int64_t length = source->GetLength();
    const auto rate = static_cast<int32_t>(source->sampleRate);
    const int64_t from = range.from ? range.from->Resolve(length, rate) : 0;
    const int64_t to = range.to ? range.to->Resolve(length, rate) : length;
    for (const int64_t frame : {from, to})
        if (frame < 0 || frame > length)
            return QString("%1: frame %2 lies outside the sound, which has %3")
                .arg(path)
                .arg(frame)
                .arg(length);
    if (to < from) return path + ": --to lies before --from";
    context.progress.SetStatus(path, 0);
    JobResult result = JobResult::kFailed;
    report = MeasureLoudness([&] { return source; }, context.progress, result, from, to);
    context.progress.Clear();
    return result == JobResult::kFailed ? path + " cannot be measured" : QString();
}

}  // namespace

ExitStatus RunLoudness(const LArguments& arguments, LContext& context) {
    LConsole& console = context.console;
    LLoudnessRange range;
    for (const auto& [option, place] : {std::pair{"--from", &range.from}, {"--to", &range.to}}) {
        if (!arguments.Has(option)) continue;
        *place = ParsePosition(arguments.Value(option));
        if (!*place)
            return console.Fail(QString("%1: \"%2\" is no position").arg(option, arguments.Value(option)),
                                ExitStatus::kUsage);
    }
    QJsonArray files;
    int failed = 0;
    for (const QString& path : arguments.operands) {
        LLoudnessReport report;
        const QString fault = MeasureFile(path, range, context, report);
        if (context.progress.IsCancelled()) return context.Ended(JobResult::kCancelled, {});
        if (!fault.isEmpty()) {
            ++failed;
            console.Fail(fault);
            files += QJsonObject{{"path", path}, {"error", fault}};
            continue;
        }
        PrintReport(path, report.loudness, console);
        files += ReportJson(path, report);
    }
    console.Result()["files"] = files;
    return failed ? ExitStatus::kFailed : ExitStatus::kSuccess;
}

}  // namespace ondarix
