// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/normalize.h"

#include <cmath>
#include <new>
#include <utility>

#include "dsp/loudness.h"
#include "effects/effect_table.h"
#include "effects/feed.h"
#include "effects/gain.h"
#include "effects/stack.h"
#include "effects/stored_values.h"
#include "effects/true_peak_limiter.h"
#include "sound/wrappers.h"

namespace ondarix {
namespace {

using LNormalizeRow = LParamRow<LNormalizeParams>;
constexpr const char* kNormalizeMethods =
    "Peak|Average Loudness (RMS)|Peak Loudness (RMS)|Perceived Loudness (dBA)|"
    "Integrated Loudness (EBU Method)|Loudness (ITU-R BS.1770-4)";
constexpr LChoiceByte kStandardChoice{static_cast<uint8_t>(LNormalizeMethod::kStandard)};
constexpr int kLevelRow = 1;

constexpr LNormalizeRow kNormalizeRows[] = {
    {"method", "Method", &LNormalizeParams::method, 0, 5, "", "NormalizeMethod", kNormalizeMethods},
    {"level", "Level", &LNormalizeParams::levelDb, -60, 0, "dB", "NormalizeTargetPeak"},
    {"percentile", "Percentile", &LNormalizeParams::percentile, 0, 100, "%", "NormalizePercentile"},
    {"window", "Window Length", &LNormalizeParams::windowMs, 1, 10000, "ms", "NormalizeWindow"},
    {"loudness", "Loudness", &LNormalizeParams::loudness, -60, -5, "LUFS", "NormalizeLoudness"},
    {"ceiling", "True Peak Ceiling", &LNormalizeParams::ceilingDb, -20, 0, "dBTP", "NormalizeCeiling"},
};
constexpr LPresetRow<LNormalizeParams> kNormalizePresets[] = {
    {"EBU R 128 (-23 LUFS)", {.method = kStandardChoice, .loudness = -23}},
    {"Podcast (-16 LUFS)", {.method = kStandardChoice, .loudness = -16}},
    {"Streaming (-14 LUFS)", {.method = kStandardChoice, .loudness = -14}},
};

constexpr LEffectRow kNormalizeEffectRows[] = {
    {0, "normalize", "Normalize", "Normalize", 4002, kEffectPlain, "Settings",
     [] { return std::unique_ptr<LEffect>(new LNormalizeEffect); },
     "Bring the sound to a level by its peak or its loudness"},
    {0, "auto-normalize", "Auto Normalize", "Auto Normalize", 4003, kEffectNoDialog, "",
     [] { return std::unique_ptr<LEffect>(new LAutoNormalizeEffect); },
     "Normalize with the values that were used last"},
};

constexpr int64_t kGateBlockMs = 400;
constexpr double kLeastPeakPercent = 0.1;

double NormalizeLinear(double db) { return std::pow(10.0, db * 0.05); }

bool MeasuresAlike(const LNormalizeParams& one, const LNormalizeParams& other) {
    return one.method == other.method && one.percentile == other.percentile && one.windowMs == other.windowMs;
}

}  // namespace

std::span<const LEffectRow> NormalizeEffectRows() { return kNormalizeEffectRows; }

std::span<const LNormalizeRow> LNormalizeEffect::Rows() { return kNormalizeRows; }
std::span<const LPresetRow<LNormalizeParams>> LNormalizeEffect::Presets() { return kNormalizePresets; }

bool LNormalizeEffect::GetParameterInfo(int index, LEffectParam& out) const {
    if (!LTableEffect::GetParameterInfo(index, out)) return false;
    out.isStoredLinear = index == kLevelRow;
    return true;
}

QString LNormalizeEffect::SetOption(const QString& name, const QString& value) {
    if (name.compare(QLatin1String("percent"), Qt::CaseInsensitive) != 0)
        return LTableEffect::SetOption(name, value);
    LEffectParam percent;
    percent.type = LParamType::kDouble;
    percent.minimum = kLeastPeakPercent;
    percent.maximum = 100;
    percent.unit = QStringLiteral("%");
    const auto number = ParseParam(percent, value);
    if (!number)
        return QStringLiteral("percent: \"%1\" is no value from %2 to %3")
            .arg(value, ParamText(percent, percent.minimum), ParamText(percent, percent.maximum));
    SetParameter(kLevelRow, 20 * std::log10(*number / 100));
    return {};
}

double LNormalizeEffect::Target() const {
    switch (params.Method()) {
        case LNormalizeMethod::kStandard:
            return NormalizeLinear(params.loudness);
        case LNormalizeMethod::kRunningGate:
            return NormalizeLinear(params.levelDb) / std::pow(10.0, -1.15);
        default:
            return NormalizeLinear(params.levelDb);
    }
}

bool LNormalizeEffect::IsMeasured() const { return found_ && MeasuresAlike(found_->asked, params); }

// Samples that are no numbers may make the measure none, or endless: what would silence the sound.
bool LNormalizeEffect::HasLevel() const {
    return IsMeasured() && found_->level != 0 && std::isfinite(found_->level);
}

std::vector<LEffectOption> LNormalizeEffect::GetOptions() const {
    return {{QStringLiteral("percent"), {}, QStringLiteral("the level in percent, 0.1 to 100: 90%")}};
}

float LNormalizeEffect::Gain() const {
    if (!HasLevel()) return 1;
    const auto gain = static_cast<float>(Target() / found_->level);
    return std::isfinite(gain) ? gain : 1;
}

std::optional<double> LNormalizeEffect::MeasuredLevel() const {
    if (!HasLevel()) return std::nullopt;
    return found_->level;
}

LSoundSourceRef LNormalizeEffect::CreateFilter(LSoundSourceRef source) const {
    if (!HasLevel()) return source;
    const float gain = Gain();
    LSoundSourceRef louder = Amplify(std::move(source), gain);
    if (params.Method() == LNormalizeMethod::kRunningGate)
        return LimitPeaks(std::move(louder), kRunningGateCeiling);
    const double ceiling = NormalizeLinear(params.ceilingDb);
    if (params.Method() == LNormalizeMethod::kStandard && found_->truePeak * double{gain} > ceiling)
        return LimitTruePeaks(std::move(louder), static_cast<float>(ceiling));
    return louder;
}

std::unique_ptr<LLevelMeasure> LNormalizeEffect::MakeMeasure(LSoundFormat format) const {
    const int channels = format.channels;
    switch (params.Method()) {
        case LNormalizeMethod::kAverage:
            return std::make_unique<LRmsMeasure>(channels);
        case LNormalizeMethod::kLoudWindows:
            return std::make_unique<LLoudWindowsMeasure>(
                channels, MillisecondsToFrames(format.sampleRate, params.windowMs), params.percentile);
        case LNormalizeMethod::kPerceived:
            return std::make_unique<LPerceivedMeasure>(format.sampleRate, channels);
        case LNormalizeMethod::kRunningGate:
            return std::make_unique<LRunningGateMeasure>(
                format.sampleRate, channels, MillisecondsToFrames(format.sampleRate, kGateBlockMs));
        default:
            return std::make_unique<LPeakMeasure>(channels);
    }
}

JobResult LNormalizeEffect::MeasureLevel(LSoundSource& source, LProgress& progress, LFound& found) const {
    const auto measure = MakeMeasure(source.Format());
    const bool isQuick = params.Method() == LNormalizeMethod::kPeak;
    const JobResult result = FeedFrom(
        source, progress, [&](const float* block, int64_t frames) { measure->Feed(block, frames); }, isQuick);
    found.level = measure->Finish();
    return result;
}

JobResult LNormalizeEffect::MeasureLoudness(LSoundSource& source, LProgress& progress, LFound& found) const {
    LLoudnessMeter meter(source.sampleRate, source.channels, {.truePeak = true});
    const JobResult result =
        FeedFrom(source, progress, [&](const float* block, int64_t frames) { meter.Feed(block, frames); });
    const LLoudness loudness = meter.Finish();
    found.level = std::isfinite(loudness.integrated) ? NormalizeLinear(loudness.integrated) : 0;
    found.truePeak = static_cast<double>(loudness.TruePeak());
    return result;
}

JobResult LNormalizeEffect::Measure(const LOpenSource& open, LProgress& progress) {
    found_.reset();
    progress.SetStatus(params.Method() == LNormalizeMethod::kPeak
                           ? QStringLiteral("Finding Peak for Normalization")
                           : QStringLiteral("Finding Average Volume (RMS) for Normalization"),
                       0);
    LFound found{.asked = params};
    try {
        LSoundSourceRef source = open();
        if (!source.IsUsable() && source->error != kSourceEmpty) return JobResult::kFailed;
        const JobResult result = params.Method() == LNormalizeMethod::kStandard
                                     ? MeasureLoudness(*source, progress, found)
                                     : MeasureLevel(*source, progress, found);
        if (result != JobResult::kSuccess) return result;
    } catch (const std::bad_alloc&) {
        return JobResult::kFailed;
    }
    found_ = found;
    return JobResult::kSuccess;
}

QString LNormalizeEffect::BatchText() const {
    LEffectParam method;
    GetParameterInfo(0, method);
    return QStringLiteral("Normalize Peak Level (%) = %1, Method = %2")
        .arg(std::lround(NormalizeLinear(params.levelDb) * 100))
        .arg(ParamText(method, method.value));
}

JobResult LAutoNormalizeEffect::Measure(const LOpenSource& open, LProgress& progress) {
    normalize_ = {};
    LoadStoredValues(normalize_, kNormalizeEffectRows[0]);
    return normalize_.Measure(open, progress);
}

}  // namespace ondarix
