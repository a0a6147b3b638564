// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/effect.h"

#include <QLocale>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace ondarix {
namespace {

constexpr double kPresetTolerance = 0.01;

uint16_t FieldTag(int index) { return static_cast<uint16_t>(kFirstFieldTag + index); }

void PutField(const LEffectParam& param, uint16_t tag, LLsdfWriter& writer) {
    switch (param.type) {
        case LParamType::kDouble:
            return writer.PutF32(tag, static_cast<float>(param.value));
        case LParamType::kDb:
            return writer.PutByte(tag, static_cast<uint8_t>(static_cast<int8_t>(param.value)));
        case LParamType::kBool:
        case LParamType::kChoice:
            return writer.PutByte(tag, static_cast<uint8_t>(param.value));
        default: {
            const double inside = std::clamp<double>(param.value, std::numeric_limits<int32_t>::min(),
                                                     std::numeric_limits<int32_t>::max());
            return writer.PutU32(tag, static_cast<uint32_t>(static_cast<int32_t>(inside)));
        }
    }
}

// The shortest decimal that gives `value` back: 0.1 stored as a float comes back as the double 0.1, not as
// the float's neighbour of it.
double FromStoredFloat(float value) {
    if (!std::isfinite(value)) return value;
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value).ptr;
    double wide = value;
    std::from_chars(text, end, wide);
    return wide;
}

// Of the chunk that the reader stands at; nothing where it has another type.
std::optional<double> TakeField(LParamType type, LLsdfReader& reader) {
    if (type == LParamType::kDouble) {
        const auto value = reader.F32();
        return value ? std::optional<double>(FromStoredFloat(*value)) : std::nullopt;
    }
    if (type == LParamType::kDb || type == LParamType::kBool || type == LParamType::kChoice) {
        const auto value = reader.Byte();
        if (!value) return std::nullopt;
        return type == LParamType::kDb ? static_cast<double>(static_cast<int8_t>(*value)) : *value;
    }
    const auto value = reader.U32();
    if (!value) return std::nullopt;
    return static_cast<int32_t>(*value);
}

// A value of the type's own width at the front of `bytes`, which moves on; nothing where they end.
template <typename T>
std::optional<double> TakeFixed(std::span<const uint8_t>& bytes) {
    if (bytes.size() < sizeof(T)) return std::nullopt;
    T value;
    std::memcpy(&value, bytes.data(), sizeof(T));
    bytes = bytes.subspan(sizeof(T));
    return static_cast<double>(value);
}

std::optional<double> TakeFixed(LParamType type, std::span<const uint8_t>& bytes) {
    switch (type) {
        case LParamType::kDouble:
            return TakeFixed<double>(bytes);
        case LParamType::kDb:
            return TakeFixed<int8_t>(bytes);
        case LParamType::kBool:
        case LParamType::kChoice:
            return TakeFixed<uint8_t>(bytes);
        case LParamType::kInt64:
            return TakeFixed<int64_t>(bytes);
        case LParamType::kU16:
            return TakeFixed<uint16_t>(bytes);
        default:
            return TakeFixed<int32_t>(bytes);
    }
}

// Numbers for people and for presets; digits are never grouped, so that "1,000" is no number.
const QLocale& PlainNumbers() {
    static const QLocale locale = [] {
        QLocale plain = QLocale::c();
        plain.setNumberOptions(QLocale::OmitGroupSeparator | QLocale::RejectGroupSeparator);
        return plain;
    }();
    return locale;
}

QString NumberText(double value) {
    // Whole numbers without an exponent, as far as a double tells them from their neighbours.
    if (value == std::floor(value) && std::abs(value) < 1e15)
        return QString::number(static_cast<qint64>(value));
    return PlainNumbers().toString(value, 'g', QLocale::FloatingPointShortest);
}

bool IsSilentDb(const LEffectParam& param, double value) {
    return param.type == LParamType::kDb && value <= kMinusInfinityDb;
}

std::optional<double> ParseChoice(const LEffectParam& param, const QString& text) {
    std::optional<double> found;
    for (int i = 0; i < param.choices.size(); ++i) {
        if (param.choices[i].compare(text, Qt::CaseInsensitive) == 0) return i;
        if (!text.isEmpty() && param.choices[i].startsWith(text, Qt::CaseInsensitive)) {
            if (found) return std::nullopt;
            found = i;
        }
    }
    return found;
}

}  // namespace

QString ParamText(const LEffectParam& param, double value, bool withUnit) {
    if (param.type == LParamType::kBool) return value != 0 ? QStringLiteral("on") : QStringLiteral("off");
    if (param.type == LParamType::kChoice && value >= 0 && value < static_cast<double>(param.choices.size()))
        return param.choices[static_cast<int>(value)];
    QString text = IsSilentDb(param, value) ? QStringLiteral("-inf") : NumberText(value);
    if (withUnit && !param.unit.isEmpty())
        text += (param.unit == QLatin1String("%") ? QString() : QStringLiteral(" ")) + param.unit;
    return text;
}

std::optional<double> ParseParam(const LEffectParam& param, const QString& text) {
    QString word = text.trimmed();
    if (param.type == LParamType::kBool) {
        for (const char* yes : {"on", "yes", "true", "1"})
            if (word.compare(QLatin1String(yes), Qt::CaseInsensitive) == 0) return 1;
        for (const char* no : {"off", "no", "false", "0"})
            if (word.compare(QLatin1String(no), Qt::CaseInsensitive) == 0) return 0;
        return std::nullopt;
    }
    if (param.type == LParamType::kChoice)
        if (const auto choice = ParseChoice(param, word)) return choice;
    if (!param.unit.isEmpty() && word.endsWith(param.unit, Qt::CaseInsensitive))
        word = word.chopped(param.unit.size()).trimmed();
    if (param.type == LParamType::kDb && word.compare(QLatin1String("-inf"), Qt::CaseInsensitive) == 0)
        return kMinusInfinityDb;
    bool isNumber = false;
    const double value = PlainNumbers().toDouble(word, &isNumber);
    if (!isNumber || !std::isfinite(value) || value < param.minimum || value > param.maximum)
        return std::nullopt;
    if (param.type != LParamType::kDouble && value != std::floor(value)) return std::nullopt;
    return value;
}

void LEffect::Save(LLsdfWriter& writer) const {
    LEffectParam param;
    for (int i = 0; i < GetParameterCount(); ++i)
        if (GetParameterInfo(i, param)) PutField(param, FieldTag(i), writer);
}

void LEffect::Load(LLsdfReader& reader) {
    LEffectParam param;
    while (const auto chunk = reader.Next()) {
        const int index = chunk->id - kFirstFieldTag;
        if (!GetParameterInfo(index, param)) continue;
        if (const auto value = TakeField(param.type, reader)) SetParameter(index, *value);
    }
}

void LEffect::LoadFixed(std::span<const uint8_t> bytes) {
    LEffectParam param;
    for (int i = 0; i < GetParameterCount(); ++i) {
        if (!GetParameterInfo(i, param)) return;
        const auto value = TakeFixed(param.type, bytes);
        if (!value) return;
        SetParameter(i, *value);
    }
}

int LEffect::GetCurrentPreset() const {
    const std::unique_ptr<LEffect> other = Clone();
    LEffectParam mine, its;
    for (int preset = 0; preset < GetPresetCount(); ++preset) {
        other->SetPreset(preset);
        bool same = GetParameterCount() > 0 || other->PresetText() == PresetText();
        for (int i = 0; same && i < GetParameterCount(); ++i) {
            GetParameterInfo(i, mine);
            other->GetParameterInfo(i, its);
            const double off = std::abs(mine.value - its.value);
            same = mine.type == LParamType::kDouble ? off <= kPresetTolerance : off == 0;
        }
        if (same) return preset;
    }
    return -1;
}

QString LEffect::SetOption(const QString& name, const QString& value) {
    LEffectParam param;
    QStringList known;
    for (int i = 0; i < GetParameterCount(); ++i) {
        if (!GetParameterInfo(i, param)) continue;
        known += param.id;
        if (param.id.compare(name, Qt::CaseInsensitive) != 0) continue;
        if (const auto number = ParseParam(param, value)) {
            SetParameter(i, *number);
            return {};
        }
        if (!param.choices.isEmpty())
            return QStringLiteral("%1: \"%2\" is none of %3").arg(param.id, value, param.choices.join(", "));
        return QStringLiteral("%1: \"%2\" is no value from %3 to %4")
            .arg(param.id, value, ParamText(param, param.minimum), ParamText(param, param.maximum));
    }
    for (const LEffectOption& option : GetOptions()) known += option.id;
    return known.isEmpty()
               ? QStringLiteral("\"%1\" is no parameter: there are none").arg(name)
               : QStringLiteral("\"%1\" is no parameter; there are %2").arg(name, known.join(", "));
}

QString LEffect::PresetText() const {
    QStringList values;
    LEffectParam param;
    for (int i = 0; i < GetParameterCount(); ++i)
        if (GetParameterInfo(i, param)) values += NumberText(param.value);
    return values.join(QLatin1Char(' '));
}

bool LEffect::SetPresetText(const QString& text) {
    std::vector<double> values;
    for (const QString& word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        bool isNumber = false;
        values.push_back(PlainNumbers().toDouble(word, &isNumber));
        if (!isNumber || !std::isfinite(values.back())) return false;
    }
    const auto count = static_cast<size_t>(GetParameterCount());
    if (values.empty() != (count == 0)) return false;
    if (values.size() < count) SetDefaults();
    for (size_t i = 0; i < std::min(values.size(), count); ++i) SetParameter(static_cast<int>(i), values[i]);
    return true;
}

void LEffect::SaveStored(LLsdfWriter& writer) const {
    SaveCommonPart(*this, writer);
    Save(writer);
}

void LEffect::LoadStored(LLsdfReader& reader) {
    if (LoadCommonPart(*this, reader)) Load(reader);
}

void SaveCommonPart(const LEffect& effect, LLsdfWriter& writer) {
    const uint8_t off = effect.enabled ? 0 : 1;
    writer.Open(kEffectGroupTag);
    writer.PutByte(kFirstFieldTag, effect.bypass != 0 ? effect.bypass : off);
    writer.PutU32(kStoredWordTag, effect.storedWord);
    writer.CloseChunk();
}

bool LoadCommonPart(LEffect& effect, LLsdfReader& reader) {
    auto chunk = reader.Next();
    while (chunk && (chunk->id != kEffectGroupTag || !reader.Enter())) chunk = reader.Next();
    if (!chunk) return false;
    while (const auto field = reader.Next()) {
        if (field->id == kFirstFieldTag) effect.bypass = reader.Byte().value_or(effect.bypass);
        if (field->id == kStoredWordTag) effect.storedWord = reader.U32().value_or(effect.storedWord);
    }
    reader.Leave();
    return true;
}

}  // namespace ondarix
