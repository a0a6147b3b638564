// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/loudness.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ondarix {
namespace {

constexpr double kAbsoluteGate = -70;  // LUFS
constexpr double kRelativeGate = 0.1;  // -10 LU
constexpr double kRangeGate = 0.01;    // -20 LU
constexpr double kRangeLow = 0.10, kRangeHigh = 0.95;
constexpr double kClassesPerLu = 100;
constexpr double kLoudestClass = 30;  // LUFS; what is louder is put there
constexpr auto kClasses = static_cast<size_t>((kLoudestClass - kAbsoluteGate) * kClassesPerLu);
constexpr double kSurroundWeight = 1.41;

float Most(const std::vector<float>& values) {
    return values.empty() ? 0.0f : *std::max_element(values.begin(), values.end());
}

void WidenPeaks(const float* block, int64_t frames, std::vector<float>& peaks) {
    const size_t channels = peaks.size();
    for (int64_t i = 0; i < frames; ++i)
        for (size_t c = 0; c < channels; ++c) {
            const float magnitude = std::fabs(*block++);
            peaks[c] = magnitude > peaks[c] ? magnitude : peaks[c];
        }
}

}  // namespace

double LufsOf(double meanSquare) {
    return meanSquare > 0 ? -0.691 + 10 * std::log10(meanSquare) : kNoLoudness;
}
double MeanSquareOf(double lufs) { return std::pow(10.0, (lufs + 0.691) / 10); }

float LLoudness::SamplePeak() const { return Most(samplePeaks); }
float LLoudness::TruePeak() const { return Most(truePeaks); }

double LoudnessWeight(int channel, int channels) {
    if (channels <= 3 || channels > 8) return 1;
    if (channels == 4) return channel < 2 ? 1 : kSurroundWeight;
    if (channel < 3) return 1;
    return channels > 5 && channel == 3 ? 0 : kSurroundWeight;
}

// --- LLoudnessCourse

void LLoudnessCourse::Add(float lufs) {
    if (filled_ == tenths_ || steps_.empty()) {
        if (steps_.size() == kMostSteps) {
            for (size_t i = 0; i < kMostSteps / 2; ++i)
                steps_[i] = std::max(steps_[2 * i], steps_[2 * i + 1]);
            steps_.resize(kMostSteps / 2);
            tenths_ *= 2;
        }
        steps_.push_back(lufs);
        filled_ = 1;
        return;
    }
    steps_.back() = std::max(steps_.back(), lufs);
    ++filled_;
}

// --- LHistogram

void LLoudnessMeter::LHistogram::Add(double meanSquare) {
    const double above = (LufsOf(meanSquare) - kAbsoluteGate) * kClassesPerLu;
    if (!(above >= 0)) return;
    if (classes_.empty()) classes_.resize(kClasses);
    LClass& of = classes_[static_cast<size_t>(std::min(above, double{kClasses - 1}))];
    ++of.blocks;
    of.energy += meanSquare;
}

LLoudnessMeter::LClass LLoudnessMeter::LHistogram::Above(double meanSquare) const {
    LClass all;
    for (const LClass& of : classes_) {
        if (of.blocks == 0 || of.Mean() <= meanSquare) continue;
        all.blocks += of.blocks;
        all.energy += of.energy;
    }
    return all;
}

double LLoudnessMeter::LHistogram::Percentile(double share, double meanSquare) const {
    const int64_t blocks = Above(meanSquare).blocks;
    int64_t left = std::llround(share * static_cast<double>(blocks - 1));
    for (const LClass& of : classes_) {
        if (of.blocks == 0 || of.Mean() <= meanSquare) continue;
        if (left < of.blocks) return of.Mean();
        left -= of.blocks;
    }
    return 0;
}

// --- LLoudnessMeter

LLoudnessMeter::LLoudnessMeter(int64_t rate, int channels, LLoudnessWants wants)
    : rate_(std::max<int64_t>(rate, 1)), channels_(std::max(channels, 1)), keepsCourse_(wants.course) {
    const LKWeightedPair filter(KWeightingFor(rate_));
    std::vector<int> counted;
    for (int c = 0; c < channels_; ++c)
        if (LoudnessWeight(c, channels_) > 0) counted.push_back(c);
    for (size_t i = 0; i < counted.size(); i += 2) {
        const bool pair = i + 1 < counted.size();
        const int one = counted[i], other = pair ? counted[i + 1] : one;
        groups_.push_back({one, other, LoudnessWeight(one, channels_),
                           pair ? LoudnessWeight(other, channels_) : 0.0, filter});
    }
    if (!wants.truePeak) return;
    truePeaks_ = std::make_unique<LTruePeakMeter>(rate_, channels_);
    samplePeaks_.resize(static_cast<size_t>(channels_));
}

int64_t LLoudnessMeter::TenthEnd() const { return ((tenths_ + 1) * rate_ + 5) / 10; }

void LLoudnessMeter::Feed(const float* block, int64_t frames) {
    if (truePeaks_) {
        truePeaks_->Feed(block, frames);
        WidenPeaks(block, frames, samplePeaks_);
    }
    while (frames > 0) {
        const int64_t piece = std::min(frames, TenthEnd() - frames_);
        FeedWithin(block, piece);
        block += piece * channels_;
        frames -= piece;
        while (frames_ == TenthEnd()) EndTenth();
    }
}

void LLoudnessMeter::FeedWithin(const float* block, int64_t frames) {
    for (LGroup& group : groups_) {
        const LPairOfDoubles energy =
            KWeightedEnergy(group.filter, block + group.one, block + group.other, frames, channels_);
        now_.energy += energy[0] * group.oneWeight;
        if (group.otherWeight > 0) now_.energy += energy[1] * group.otherWeight;
        group.filter.Settle();
    }
    if (!std::isfinite(now_.energy)) now_.energy = 0;
    now_.frames += frames;
    frames_ += frames;
}

double LLoudnessMeter::MeanSquare(int tenths) const {
    if (tenths_ < tenths) return -1;
    LTenth sum;
    for (int i = 1; i <= tenths; ++i) {
        const LTenth& tenth = ring_[static_cast<size_t>((tenths_ - i) % kTenthsShortTerm)];
        sum.energy += tenth.energy;
        sum.frames += tenth.frames;
    }
    return sum.frames > 0 ? sum.energy / static_cast<double>(sum.frames) : -1;
}

void LLoudnessMeter::EndTenth() {
    ring_[static_cast<size_t>(tenths_ % kTenthsShortTerm)] = std::exchange(now_, {});
    ++tenths_;
    const double momentary = MeanSquare(kTenthsMomentary), shortTerm = MeanSquare(kTenthsShortTerm);
    blocks_.Add(momentary);
    shortTerms_.Add(shortTerm);
    momentaryMost_ = std::max(momentaryMost_, momentary);
    shortTermMost_ = std::max(shortTermMost_, shortTerm);
    if (!keepsCourse_) return;
    momentary_.Add(static_cast<float>(LufsOf(momentary)));
    shortTerm_.Add(static_cast<float>(LufsOf(shortTerm)));
}

LLoudness LLoudnessMeter::Finish() {
    LLoudness found;
    found.frames = frames_;
    found.momentaryMax = LufsOf(momentaryMost_);
    found.shortTermMax = LufsOf(shortTermMost_);
    if (const LClass heard = blocks_.Above(0); heard.blocks > 0) {
        const double gate = heard.Mean() * kRelativeGate;
        found.relativeGate = LufsOf(gate);
        found.integrated = LufsOf(blocks_.Above(gate).Mean());
    }
    if (const LClass heard = shortTerms_.Above(0); heard.blocks > 0) {
        const double gate = heard.Mean() * kRangeGate;
        found.rangeLow = LufsOf(shortTerms_.Percentile(kRangeLow, gate));
        found.rangeHigh = LufsOf(shortTerms_.Percentile(kRangeHigh, gate));
        found.range = found.rangeHigh - found.rangeLow;
    }
    if (!truePeaks_) return found;
    truePeaks_->Flush();
    found.samplePeaks = samplePeaks_;
    for (int c = 0; c < channels_; ++c) found.truePeaks.push_back(truePeaks_->Peak(c));
    return found;
}

}  // namespace ondarix
