// SPDX-License-Identifier: GPL-3.0-or-later
// What a sound can be normalized by. Each is fed the sound in pieces of any size and then tells its level,
// linear, full scale 1.0; 0 or no number: there is nothing to normalize. [any], one thread at a time.
#pragma once
#include <array>
#include <cstdint>
#include <vector>

#include "dsp/biquad.h"
#include "dsp/k_weighting.h"

namespace ondarix {

class LLevelMeasure {
  public:
    virtual ~LLevelMeasure() = default;
    virtual void Feed(const float* block, int64_t frames) = 0;  // interleaved
    virtual double Finish() = 0;
};

// Levels in whole dB, -127 to 127, where -127 is silence.
int WholeDb(double meanSquare);
double LinearOfWholeDb(int db);

// The largest magnitude.
class LPeakMeasure final : public LLevelMeasure {
  public:
    explicit LPeakMeasure(int channels) : channels_(channels) {}
    void Feed(const float* block, int64_t frames) override;
    double Finish() override { return peak_; }
    int64_t PeakFrame() const { return peakFrame_; }  // the first that has it; -1: all is silent

  private:
    int channels_;
    float peak_ = 0;
    int64_t frames_ = 0, peakFrame_ = -1;
};

// The mean square over everything, in whole dB.
class LRmsMeasure : public LLevelMeasure {
  public:
    explicit LRmsMeasure(int channels) : channels_(channels) {}
    void Feed(const float* block, int64_t frames) override;
    double Finish() override;

  private:
    int channels_;
    double squares_ = 0;
    int64_t samples_ = 0;
};

// RMS windows by their level in whole dB: that of the loudest windows which make up what lies above the
// percentile. Windows below kLeastDb do not count.
class LLoudWindowsMeasure final : public LLevelMeasure {
  public:
    static constexpr int kLeastDb = -48, kBins = 58;
    LLoudWindowsMeasure(int channels, int64_t windowFrames, double percentile);
    void Feed(const float* block, int64_t frames) override;
    double Finish() override;  // the last window may be a part

  private:
    void EndWindow();

    int channels_;
    int64_t windowFrames_;
    double percentile_;
    double squares_ = 0;
    int64_t frames_ = 0;  // of the window
    std::array<int64_t, kBins> bins_{};
};

// LRmsMeasure behind five peaking filters that come near the A-weighting.
class LPerceivedMeasure final : public LRmsMeasure {
  public:
    LPerceivedMeasure(int64_t rate, int channels);
    void Feed(const float* block, int64_t frames) override;

  private:
    int channels_;
    std::vector<LPeakingFilter> filters_;
    std::vector<float> filtered_;
};

// A gated level of this program's own behind the K-weighting: each frame counts with its most positive
// channel, and the blocks are gated by the level so far.
class LRunningGateMeasure final : public LLevelMeasure {
  public:
    // `blockFrames`: 400 ms. Blocks begin a quarter of that apart.
    LRunningGateMeasure(int64_t rate, int channels, int64_t blockFrames);
    void Feed(const float* block, int64_t frames) override;
    double Finish() override { return level_; }
    double LeastLevel() const { return least_; }  // that the running level has had; 0: none

  private:
    struct LBlock {
        double squares = 0;
        int64_t frames = 0;
        int64_t start = 0;  // first frame
    };
    void Weigh(const float* block, int64_t frames);  // into `loudest_`
    int64_t ToNextEdge() const;                      // frames up to where a block begins or ends, at least 1
    void EndBlock(LBlock& block);

    int channels_;
    int64_t blockFrames_;
    std::vector<LKWeightedPair> filters_;  // of two channels each
    std::vector<double> loudest_;          // of each frame
    std::array<LBlock, 4> blocks_;
    int64_t frames_ = 0;
    double level_ = 0, least_ = 0;
    int64_t count_ = 0;
};

}  // namespace ondarix
