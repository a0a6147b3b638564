// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/k_weighting.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <numbers>

#include "dsp/wide.h"

namespace ondarix {
namespace {

constexpr double kPublishedRate = 48000;
// ITU-R BS.1770-4, Annex 1, tables 1 and 2.
constexpr LBiquad kPublishedShelf = {1.53512485958697, -2.69169618940638, 1.19839281085285, -1.69065929318241,
                                     0.73248077421585};
constexpr LBiquad kPublishedHighPass = {1.0, -2.0, 1.0, -1.99004745483398, 0.99007225036621};
constexpr double kHighestShare = 0.49;  // of the rate: the poles' frequency stays below half of it
constexpr double kNegligible = 1e-100;

// c0 + c1 s + c2 s^2, with s = (1 - 1/z) / (1 + 1/z).
struct LPolynomial {
    double c0, c1, c2;
    static LPolynomial Of(double d0, double d1, double d2) {
        return {d0 + d1 + d2, 2 * (d0 - d2), d0 - d1 + d2};
    }
};

LBiquad MovedTo(const LBiquad& published, double rate) {
    if (rate == kPublishedRate) return published;
    const LPolynomial over = LPolynomial::Of(published.b0, published.b1, published.b2);
    const LPolynomial under = LPolynomial::Of(1, published.a1, published.a2);
    const double warped = std::sqrt(under.c0 / under.c2);  // tan(pi f / rate) of the poles
    const double hz = std::min(kPublishedRate / std::numbers::pi * std::atan(warped), kHighestShare * rate);
    const double r = warped / std::tan(std::numbers::pi * hz / rate);
    // The same polynomials in r s, and back to powers of 1/z.
    const auto back = [r](const LPolynomial& p) {
        const double c1 = p.c1 * r, c2 = p.c2 * r * r;
        return LPolynomial{p.c0 + c1 + c2, 2 * (p.c0 - c2), p.c0 - c1 + c2};
    };
    const LPolynomial b = back(over), a = back(under);
    return {b.c0 / a.c0, b.c1 / a.c0, b.c2 / a.c0, a.c1 / a.c0, a.c2 / a.c0};
}

}  // namespace

LKWeighting KWeightingFor(int64_t rate) {
    const auto hz = static_cast<double>(std::max<int64_t>(rate, 1));
    return {MovedTo(kPublishedShelf, hz), MovedTo(kPublishedHighPass, hz)};
}

void LKWeightedPair::Settle() {
    for (LPairOfDoubles* state : {&x1_, &x2_, &m1_, &m2_, &y1_, &y2_}) {
        for (int i = 0; i < 2; ++i) {
            if (!std::isfinite((*state)[i])) return Reset();
            if (std::fabs((*state)[i]) < kNegligible) (*state)[i] = 0;
        }
    }
}

ONDARIX_WIDE LPairOfDoubles KWeightedEnergy(LKWeightedPair& filter, const float* one, const float* other,
                                            int64_t frames, int stride) {
    LKWeightedPair local = filter;
    LPairOfDoubles sum{};
    for (int64_t i = 0; i < frames; ++i, one += stride, other += stride) {
        const LPairOfDoubles y = local.Next(LPairOfDoubles{double{*one}, double{*other}});
        sum += y * y;
    }
    filter = local;
    return sum;
}

}  // namespace ondarix
