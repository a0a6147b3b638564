// SPDX-License-Identifier: GPL-3.0-or-later
// Loudness by ITU-R BS.1770-4 with the meters of EBU Tech 3341 (momentary, short-term, integrated) and the
// range of EBU Tech 3342. The sound is fed in pieces of any size; the memory does not grow with its length.
// [any], one thread at a time. Loudness is in LUFS, minus infinity where there is none: silence, or a sound
// shorter than the window.
#pragma once
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "dsp/k_weighting.h"
#include "dsp/true_peak.h"

namespace ondarix {

inline constexpr double kNoLoudness = -std::numeric_limits<double>::infinity();

struct LLoudness {
    double integrated = kNoLoudness;
    double momentaryMax = kNoLoudness;  // of windows of 400 ms
    double shortTermMax = kNoLoudness;  // of windows of 3 s
    double range = 0;                   // LU
    double rangeLow = kNoLoudness, rangeHigh = kNoLoudness;
    double relativeGate = kNoLoudness;  // below which blocks do not count
    std::vector<float> samplePeaks;     // for each channel, full scale 1.0; where peaks were asked for
    std::vector<float> truePeaks;
    int64_t frames = 0;

    float SamplePeak() const;
    float TruePeak() const;
};

// What a channel counts for among `channels` in the order of WAVE files: 0 for the low-frequency
// channel, 1.41 for those at the sides and behind, otherwise 1. Above 8 channels nothing is known, and all
// count 1.
double LoudnessWeight(int channel, int channels);

// The course of a loudness in steps of equal length, each the largest of what falls into it. A course that
// grows beyond kMostSteps gets steps of twice the length.
class LLoudnessCourse {
  public:
    static constexpr size_t kMostSteps = 1 << 16;
    void Add(float lufs);  // the next tenth of a second
    const std::vector<float>& Steps() const { return steps_; }
    double StepSeconds() const { return 0.1 * tenths_; }

  private:
    std::vector<float> steps_;
    int tenths_ = 1;  // in a step
    int filled_ = 0;  // of the last step
};

struct LLoudnessWants {
    bool truePeak = false;
    bool course = false;
};

class LLoudnessMeter {
  public:
    LLoudnessMeter(int64_t rate, int channels, LLoudnessWants wants = {});
    void Feed(const float* block, int64_t frames);  // interleaved
    // Of all that was fed. What is fed later counts on, but the peaks between the samples were told as if
    // silence followed.
    LLoudness Finish();

    const LLoudnessCourse& Momentary() const { return momentary_; }
    const LLoudnessCourse& ShortTerm() const { return shortTerm_; }

  private:
    // Gating needs all blocks again once the end is known: counts and energies of blocks by loudness, so that
    // only the blocks of one narrow class are judged together.
    struct LClass {
        int64_t blocks = 0;
        double energy = 0;
        double Mean() const { return energy / static_cast<double>(blocks); }
    };
    class LHistogram {
      public:
        void Add(double meanSquare);
        LClass Above(double meanSquare) const;  // of all classes whose mean is above
        // The mean square below which `share` of the blocks above `meanSquare` lie.
        double Percentile(double share, double meanSquare) const;

      private:
        std::vector<LClass> classes_;
    };
    struct LGroup {  // channels that are filtered together
        int one, other;
        double oneWeight, otherWeight;
        LKWeightedPair filter;
    };
    struct LTenth {
        double energy = 0;
        int64_t frames = 0;
    };
    static constexpr int kTenthsShortTerm = 30, kTenthsMomentary = 4;

    void FeedWithin(const float* block, int64_t frames);  // no further than the end of this tenth
    void EndTenth();
    double MeanSquare(int tenths) const;  // of the newest; negative: there are not so many, or no frames
    int64_t TenthEnd() const;

    int64_t rate_;
    int channels_;
    bool keepsCourse_;
    std::vector<LGroup> groups_;
    std::array<LTenth, kTenthsShortTerm> ring_{};
    LTenth now_;
    int64_t tenths_ = 0;  // that have ended
    int64_t frames_ = 0;
    double momentaryMost_ = 0, shortTermMost_ = 0;
    LHistogram blocks_, shortTerms_;
    LLoudnessCourse momentary_, shortTerm_;
    std::unique_ptr<LTruePeakMeter> truePeaks_;
    std::vector<float> samplePeaks_;
};

// -0.691 + 10 log10 of the weighted mean square; and back.
double LufsOf(double meanSquare);
double MeanSquareOf(double lufs);

}  // namespace ondarix
