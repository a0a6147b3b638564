// SPDX-License-Identifier: GPL-3.0-or-later
// A row for each parameter and each preset of an effect; dialog, storage, presets, batch line, command line,
// help and tests follow from them. An effect is a struct of parameters, two tables and CreateFilter:
//
//   struct DelayParams { int32_t gainPercent = 50; int64_t timeMs = 1000;
//                        bool operator==(const DelayParams&) const = default; };
//   constexpr LParamRow<DelayParams> kDelayRows[] = {
//       {"gain", "Gain", &DelayParams::gainPercent, 1, 100, "%", "DelayGain"},
//       {"time", "Time", &DelayParams::timeMs, 1, 4000, "ms", "DelayTime"}};
//   constexpr LPresetRow<DelayParams> kDelayPresets[] = {{"Double Up", {100, 100}}};
//   class LDelayEffect final : public LTableEffect<LDelayEffect, DelayParams> { ... };
#pragma once
#include <algorithm>
#include <cmath>
#include <span>
#include <type_traits>
#include <variant>

#include "effects/effect.h"

namespace ondarix {

// A level in whole dB, kMinusInfinityDb for silence.
struct LDbByte {
    int8_t db = 0;
    bool operator==(const LDbByte&) const = default;
};
// A number of a list.
struct LChoiceByte {
    uint8_t index = 0;
    bool operator==(const LChoiceByte&) const = default;
};

template <typename P>
struct LParamRow {
    using Member = std::variant<int32_t P::*, double P::*, bool P::*, int64_t P::*, uint16_t P::*,
                                LDbByte P::*, LChoiceByte P::*>;
    const char* id;
    const char* name;
    Member member;
    double least, most;
    const char* unit = "";
    const char* setting = "";
    const char* choices = "";  // separated by "|"
};

template <typename P>
struct LPresetRow {
    const char* name;
    P values;
};

// Derived gives `static std::span<const LParamRow<P>> Rows()`, and may give Presets() and Defaults().
template <typename Derived, typename P>
class LTableEffect : public LEffect {
  public:
    std::unique_ptr<LEffect> Clone() const override {
        return std::make_unique<Derived>(static_cast<const Derived&>(*this));
    }
    int GetParameterCount() const override { return static_cast<int>(Derived::Rows().size()); }
    void SetParameter(int index, double value) override {
        const auto rows = Derived::Rows();
        if (index < 0 || index >= static_cast<int>(rows.size()) || std::isnan(value)) return;
        const LParamRow<P>& row = rows[static_cast<size_t>(index)];
        // Minus infinity in dB lies below the range and is kept.
        const bool silent = std::holds_alternative<LDbByte P::*>(row.member) && value <= kMinusInfinityDb;
        const double inside = silent ? kMinusInfinityDb : std::clamp(value, row.least, row.most);
        std::visit([&](auto member) { Put(params.*member, inside); }, row.member);
    }
    bool GetParameterInfo(int index, LEffectParam& out) const override {
        const auto rows = Derived::Rows();
        if (index < 0 || index >= static_cast<int>(rows.size())) return false;
        const LParamRow<P>& row = rows[static_cast<size_t>(index)];
        out = {};
        out.id = QLatin1String(row.id);
        out.name = QString::fromUtf8(row.name);
        out.unit = QString::fromUtf8(row.unit);
        out.setting = QLatin1String(row.setting);
        out.minimum = row.least;
        out.maximum = row.most;
        if (*row.choices) out.choices = QString::fromUtf8(row.choices).split(QLatin1Char('|'));
        std::visit([&](auto member) { Tell(params.*member, out); }, row.member);
        return true;
    }
    int GetPresetCount() const override { return static_cast<int>(Derived::Presets().size()); }
    QString GetPresetName(int index) const override {
        const auto rows = Derived::Presets();
        if (index < 0 || index >= static_cast<int>(rows.size())) return {};
        return QString::fromUtf8(rows[static_cast<size_t>(index)].name);
    }
    void SetPreset(int index) override {
        const auto rows = Derived::Presets();
        if (index >= 0 && index < static_cast<int>(rows.size()))
            params = rows[static_cast<size_t>(index)].values;
    }
    void SetDefaults() override { params = P{}; }

    static std::span<const LPresetRow<P>> Presets() { return {}; }

    P params;

  private:
    static void Put(LDbByte& field, double value) { field.db = static_cast<int8_t>(std::lround(value)); }
    static void Put(LChoiceByte& field, double value) {
        field.index = static_cast<uint8_t>(std::lround(value));
    }
    static void Put(bool& field, double value) { field = value != 0; }
    static void Put(double& field, double value) { field = value; }
    template <typename T>
    static void Put(T& field, double value) {
        field = static_cast<T>(std::llround(value));
    }
    static void Tell(const LDbByte& field, LEffectParam& out) {
        out.type = LParamType::kDb;
        out.value = field.db;
    }
    static void Tell(const LChoiceByte& field, LEffectParam& out) {
        out.type = LParamType::kChoice;
        out.value = field.index;
    }
    template <typename T>
    static void Tell(const T& field, LEffectParam& out) {
        out.value = static_cast<double>(field);
        if constexpr (std::is_same_v<T, bool>)
            out.type = LParamType::kBool;
        else if constexpr (std::is_same_v<T, double>)
            out.type = LParamType::kDouble;
        else if constexpr (std::is_same_v<T, int64_t>)
            out.type = LParamType::kInt64;
        else if constexpr (std::is_same_v<T, uint16_t>)
            out.type = LParamType::kU16;
        else
            out.type = LParamType::kInt;
    }
};

// An effect without parameters.
struct LNoParams {
    bool operator==(const LNoParams&) const = default;
};
template <typename Derived>
class LPlainEffect : public LTableEffect<Derived, LNoParams> {
  public:
    static std::span<const LParamRow<LNoParams>> Rows() { return {}; }
};

}  // namespace ondarix
