// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/gain.h"

#include <QLocale>
#include <algorithm>
#include <cmath>
#include <utility>

#include "dsp/gain.h"
#include "effects/filter.h"

namespace ondarix {
namespace {

constexpr LParamRow<LAmplifyParams> kAmplifyRows[] = {
    {"gain", "Gain Percentage", &LAmplifyParams::gainPercent, 1, 400, "%", "AmplifyGain"},
};
constexpr LPresetRow<LAmplifyParams> kAmplifyPresets[] = {
    {"Half Volume", {50}}, {"Slightly Louder", {125}}, {"Louder", {150}}, {"Double Volume", {200}}};

// Of sounds of three channels and more, in the order of a WAV file.
constexpr const char* kSpeakerGains[] = {"FL Gain",  "FR Gain",  "Center Gain", "LFE Gain",
                                         "RL Gain ", "RR Gain ", "SL Gain",     "SR Gain"};

class LGainFilter final : public LSoundFilter {
  public:
    LGainFilter(LSoundSourceRef source, float gain) : LSoundFilter(std::move(source)), gain_(gain) {
        peak *= std::fabs(gain);
    }

  protected:
    void Process(float* block, int32_t frames, int64_t) override {
        ScaleSamples(block, int64_t{frames} * channels, gain_);
    }

  private:
    float gain_;
};

class LChannelGainsFilter final : public LSoundFilter {
  public:
    LChannelGainsFilter(LSoundSourceRef source, std::vector<float> gains)
        : LSoundFilter(std::move(source)), gains_(std::move(gains)) {
        gains_.resize(channels, 1.0f);
        float most = 0;
        for (const float gain : gains_) most = std::max(most, std::fabs(gain));
        peak *= most;
    }

  protected:
    void Process(float* block, int32_t frames, int64_t) override {
        ScaleChannels(block, frames, channels, gains_.data());
    }

  private:
    std::vector<float> gains_;
};

constexpr uint16_t kExactGainTag = kFirstFieldTag + 1;  // float; readers that do not know it take the percent

float GainOfDb(double db) { return static_cast<float>(std::pow(10.0, db / 20.0)); }

// The shortest decimal that gives the gain back: what was asked for, where that is how it was asked.
QString DbText(float gain) {
    const double db = 20 * std::log10(static_cast<double>(gain));
    QString text;
    for (int decimals = 0; decimals <= 9; ++decimals) {
        text = QString::number(db, 'f', decimals);
        if (GainOfDb(text.toDouble()) == gain) break;
    }
    return text;
}

QString ChannelGainName(int channel, int channels) {
    if (channels <= 2) return channel == 0 ? QStringLiteral("Left Gain") : QStringLiteral("Right Gain");
    if (channel < static_cast<int>(std::size(kSpeakerGains)))
        return QString::fromLatin1(kSpeakerGains[channel]);
    return QStringLiteral("Channle %1 Gain Percentage").arg(channel + 1);
}

constexpr LEffectRow kGainRows[] = {
    {1, "amplify", "Amplify", "Amplify", 4001, kEffectInChain | kEffectOwnDialog, "Settings",
     [] { return std::unique_ptr<LEffect>(new LAmplifyEffect); }, "Make the sound louder or softer"},
    {39, "amplify-channels", "Amplify Advanced (Separate Channels)", "Amplify Advanced (Separate Channels)",
     4022, kEffectInChain, "AmplifyAdvanced",
     [] { return std::unique_ptr<LEffect>(new LChannelGainsEffect); },
     "Make each channel louder or softer by itself"},
};

}  // namespace

std::span<const LEffectRow> GainEffectRows() { return kGainRows; }

std::span<const LParamRow<LAmplifyParams>> LAmplifyEffect::Rows() { return kAmplifyRows; }
std::span<const LPresetRow<LAmplifyParams>> LAmplifyEffect::Presets() { return kAmplifyPresets; }

void LAmplifyEffect::SetParameter(int index, double value) {
    if (index == 0 && !std::isnan(value)) exactGain_.reset();
    LTableEffect::SetParameter(index, value);
}

void LAmplifyEffect::SetPreset(int index) {
    if (index >= 0 && index < GetPresetCount()) exactGain_.reset();
    LTableEffect::SetPreset(index);
}

void LAmplifyEffect::SetDefaults() {
    exactGain_.reset();
    LTableEffect::SetDefaults();
}

int LAmplifyEffect::GetCurrentPreset() const { return exactGain_ ? -1 : LTableEffect::GetCurrentPreset(); }

void LAmplifyEffect::SetGain(float gain) {
    if (std::isnan(gain)) return;
    const float inside = std::clamp(gain, kLeastGain, kMostGain);
    SetParameter(0, static_cast<double>(inside) * 100.0);
    if (Gain() != inside) exactGain_ = inside;
}

float LAmplifyEffect::Gain() const {
    return exactGain_.value_or(static_cast<float>(params.gainPercent) / 100.0f);
}

void LAmplifyEffect::Save(LLsdfWriter& writer) const {
    LTableEffect::Save(writer);
    if (exactGain_) writer.PutF32(kExactGainTag, *exactGain_);
}

void LAmplifyEffect::Load(LLsdfReader& reader) {
    std::optional<float> exact;
    while (const auto chunk = reader.Next()) {
        if (chunk->id == kExactGainTag) exact = reader.F32();
        if (chunk->id != kFirstFieldTag) continue;
        if (const auto percent = reader.U32()) SetParameter(0, static_cast<int32_t>(*percent));
    }
    // The percent holds where somebody else has changed it.
    const bool isNear = exact && std::fabs(*exact * 100.0f - static_cast<float>(params.gainPercent)) < 0.51f;
    if (isNear) SetGain(*exact);
}

QString LAmplifyEffect::PresetText() const {
    QString percent = LTableEffect::PresetText();
    if (!exactGain_) return percent;
    return percent + u' ' + QLocale::c().toString(*exactGain_, 'g', QLocale::FloatingPointShortest);
}

bool LAmplifyEffect::SetPresetText(const QString& text) {
    if (!LTableEffect::SetPresetText(text)) return false;
    const QString exact = text.section(u' ', 1, 1, QString::SectionSkipEmpty);
    if (!exact.isEmpty()) SetGain(QLocale::c().toFloat(exact));
    return true;
}

QString LAmplifyEffect::SetOption(const QString& name, const QString& value) {
    const QLatin1String percentId(kAmplifyRows[0].id);
    if (name.compare(percentId, Qt::CaseInsensitive) == 0) return LTableEffect::SetOption(name, value);
    if (name.compare(QLatin1String("db"), Qt::CaseInsensitive) != 0)
        return QStringLiteral("\"%1\" is no parameter; there are %2, db").arg(name, percentId);
    QString word = value.trimmed();
    if (word.endsWith(QLatin1String("dB"), Qt::CaseInsensitive)) word = word.chopped(2).trimmed();
    bool isNumber = false;
    const double db = QLocale::c().toDouble(word, &isNumber);
    const float gain = GainOfDb(db);
    if (!isNumber || !(gain >= kLeastGain && gain <= kMostGain))
        return QStringLiteral("db: \"%1\" is no value from -40 dB to 12.04 dB").arg(value);
    SetGain(gain);
    return {};
}

std::vector<LEffectOption> LAmplifyEffect::GetOptions() const {
    return {{QStringLiteral("db"), exactGain_ ? DbText(*exactGain_) : QString(),
             QStringLiteral("the gain in dB: -6.5")}};
}

LSoundSourceRef LAmplifyEffect::CreateFilter(LSoundSourceRef source) const {
    return Amplify(std::move(source), Gain());
}

int32_t LChannelGainsEffect::Percent(int channel) const {
    return channel < static_cast<int>(percents_.size()) ? percents_[static_cast<size_t>(channel)] : 100;
}

void LChannelGainsEffect::Put(int channel, int32_t percent) {
    const auto place = static_cast<size_t>(channel);
    if (percents_.size() <= place) percents_.resize(place + 1, 100);
    percents_[place] = std::clamp(percent, 0, kMostPercent);
}

void LChannelGainsEffect::SetParameter(int index, double value) {
    if (index < 0 || index >= channels_ || std::isnan(value)) return;
    Put(index, static_cast<int32_t>(std::lround(std::clamp<double>(value, 0, kMostPercent))));
}

bool LChannelGainsEffect::GetParameterInfo(int index, LEffectParam& out) const {
    if (index < 0 || index >= channels_) return false;
    out = {};
    out.maximum = kMostPercent;
    out.value = Percent(index);
    out.id = QStringLiteral("gain%1").arg(index + 1);
    out.name = ChannelGainName(index, channels_);
    out.unit = QStringLiteral("%");
    return true;
}

void LChannelGainsEffect::Save(LLsdfWriter& writer) const {
    const int count = std::max(channels_, static_cast<int>(percents_.size()));
    for (int i = 0; i < count; ++i)
        writer.PutU32(static_cast<uint16_t>(kFirstFieldTag + i), static_cast<uint32_t>(Percent(i)));
}

void LChannelGainsEffect::Load(LLsdfReader& reader) {
    while (const auto chunk = reader.Next()) {
        const int channel = chunk->id - kFirstFieldTag;
        if (channel < 0 || channel >= kMaxChannels) continue;
        if (const auto percent = reader.U32()) Put(channel, static_cast<int32_t>(*percent));
    }
}

void LChannelGainsEffect::SetFormat(LSoundFormat format) { channels_ = std::max<int>(1, format.channels); }

LSoundSourceRef LChannelGainsEffect::CreateFilter(LSoundSourceRef source) const {
    std::vector<float> gains;
    for (const int32_t percent : percents_) gains.push_back(static_cast<float>(percent) / 100.0f);
    return AmplifyChannels(std::move(source), std::move(gains));
}

LSoundSourceRef Amplify(LSoundSourceRef source, float gain) {
    if (gain == 1.0f) return source;
    return WrapInFilter<LGainFilter>(std::move(source), gain);
}

LSoundSourceRef AmplifyChannels(LSoundSourceRef source, std::vector<float> gains) {
    const auto used = std::min<size_t>(gains.size(), source->channels);
    gains.resize(used);
    if (std::all_of(gains.begin(), gains.end(), [](float gain) { return gain == 1.0f; })) return source;
    return WrapInFilter<LChannelGainsFilter>(std::move(source), std::move(gains));
}

}  // namespace ondarix
