// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/wave_columns_curve.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <vector>

namespace ondarix {
namespace {

constexpr int kCurvePhases = 512;
constexpr int kCurveTaps = 2 * kCurveReach;
constexpr double kKaiserBeta = 7.5;

double BesselI0(double x) {
    double sum = 1, term = 1;
    for (int k = 1; term > sum * 1e-12; ++k) {
        term *= x / (2 * k) * (x / (2 * k));
        sum += term;
    }
    return sum;
}

double WindowedSinc(double x) {
    const double edge = x / kCurveReach;
    if (std::fabs(edge) >= 1) return 0;
    const double window = BesselI0(kKaiserBeta * std::sqrt(1 - edge * edge)) / BesselI0(kKaiserBeta);
    const double angle = std::numbers::pi * x;
    return x == 0 ? 1 : std::sin(angle) / angle * window;
}

using CurvePhase = std::array<float, kCurveTaps>;

const std::vector<CurvePhase>& CurveTable() {
    static const std::vector<CurvePhase> table = [] {
        std::vector<CurvePhase> phases(kCurvePhases + 1);
        for (int p = 0; p <= kCurvePhases; ++p)
            for (int tap = 0; tap < kCurveTaps; ++tap) {
                const double x = static_cast<double>(p) / kCurvePhases - (tap + 1 - kCurveReach);
                const bool atSample = p % kCurvePhases == 0;  // exactly, whatever sin(n pi) rounds to
                phases[static_cast<size_t>(p)][static_cast<size_t>(tap)] =
                    static_cast<float>(atSample ? (std::fabs(x) < 0.5 ? 1 : 0) : WindowedSinc(x));
            }
        return phases;
    }();
    return table;
}

}  // namespace

float CurveAt(const float* samples, double part) {
    const auto& table = CurveTable();
    const double at = std::clamp(part, 0.0, 1.0) * kCurvePhases;
    const auto phase = std::min<size_t>(static_cast<size_t>(at), kCurvePhases - 1);
    const auto between = static_cast<float>(at - static_cast<double>(phase));
    const float* from = samples + 1 - kCurveReach;
    float before = 0, after = 0;
    for (size_t tap = 0; tap < kCurveTaps; ++tap) {
        before += from[tap] * table[phase][tap];
        after += from[tap] * table[phase + 1][tap];
    }
    return before + (after - before) * between;
}

}  // namespace ondarix
