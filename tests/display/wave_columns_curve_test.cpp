// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/wave_columns_curve.h"

#include <cmath>
#include <numbers>
#include <vector>

#include "gtest/gtest.h"

namespace ondarix {
namespace {

TEST(Curve, FollowsSinesBetweenTheirSamplesAndPassesThroughAllOfThem) {
    for (const double ofNyquist : {0.01, 0.2, 0.5, 0.7, 0.8}) {
        for (const double phase : {0.0, 0.9, 2.1}) {
            const auto signal = [&](double at) {
                return std::sin(std::numbers::pi * ofNyquist * at + phase);
            };
            std::vector<float> samples(120);
            for (size_t i = 0; i < samples.size(); ++i)
                samples[i] = static_cast<float>(signal(static_cast<double>(i)));
            for (size_t at = kCurveReach; at + kCurveReach < samples.size(); ++at) {
                ASSERT_EQ(CurveAt(&samples[at], 0), samples[at]);
                for (double part = 0.03; part < 1; part += 0.0711)
                    ASSERT_NEAR(static_cast<double>(CurveAt(&samples[at], part)),
                                signal(static_cast<double>(at) + part), 0.001)
                        << ofNyquist;
            }
        }
    }
}

TEST(Curve, ShowsThePeakBetweenTwoSamples) {
    // A quarter of the sampling rate, sampled off its peaks: the samples reach 0.707 of it.
    std::vector<float> samples(64);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<float>(std::sin(std::numbers::pi * (static_cast<double>(i) / 2 + 0.25)));
    float most = 0;
    for (double part = 0; part < 1; part += 0.01) most = std::max(most, CurveAt(&samples[32], part));
    EXPECT_NEAR(most, 1.0f, 0.002f);
}

}  // namespace
}  // namespace ondarix
