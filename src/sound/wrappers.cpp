// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/wrappers.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "dsp/peak.h"

namespace ondarix {

namespace {

int64_t FloorTo(int64_t value, int64_t step) {
    const int64_t rest = value % step;
    return value - (rest < 0 ? rest + step : rest);
}

// A straight line from `start` to `end` over the block, held to the limit against the rounding of the
// products.
template <int kChannels>
void ApplyRamp(float* block, int32_t frames, int channelCount, float start, float end, float limit) {
    const int channels = kChannels > 0 ? kChannels : channelCount;
    const float step = (end - start) / static_cast<float>(frames);
    for (int32_t frame = 0; frame < frames; ++frame) {
        const float gain = start + step * static_cast<float>(frame);
        for (int channel = 0; channel < channels; ++channel) {
            float v = block[frame * channels + channel] * gain;
            v = v > limit ? limit : v;
            block[frame * channels + channel] = v < -limit ? -limit : v;
        }
    }
}

}  // namespace

// --- LGainSource

LGainSource::LGainSource(LSoundSourceRef child, float gain)
    : LSoundSource(child->sampleRate, child->channels), child_(std::move(child)), gain_(gain) {
    error = child_->error;
    if (child_->peak != kUnknownPeak || gain == 1.0f) peak = child_->peak * std::fabs(gain);
}

float* LGainSource::Read(float* dest, int32_t frames) {
    float* const end = child_->Read(dest, frames);
    if (gain_ != 1.0f) {
        for (float* at = dest; at != end; ++at) *at *= gain_;
    }
    return end;
}

// --- LPeakLimiterSource

LPeakLimiterSource::LPeakLimiterSource(LSoundSourceRef child, float limit)
    : LSoundSource(child->sampleRate, child->channels), child_(std::move(child)), limit_(limit) {
    error = child_->error;
    peak = std::min(child_->peak, limit);
    const uint32_t share = child_->IsGrowing() ? 70 : 35;
    blockFrames_ = std::clamp(static_cast<int32_t>(sampleRate / share), 16, 8192);
    for (auto* block : {&ahead_, &now_}) block->resize(static_cast<size_t>(blockFrames_) * channels);
    position_ = child_->GetPosition();
}

float LPeakLimiterSource::TargetOf(const float* block) const {
    const float p = MaxMagnitude(block, static_cast<int64_t>(ahead_.size()));
    return p > limit_ ? limit_ / p : 1.0f;
}

float LPeakLimiterSource::ReadAhead() {
    child_->Read(ahead_.data(), blockFrames_);
    return TargetOf(ahead_.data());
}

void LPeakLimiterSource::Prime() {
    const int64_t start = FloorTo(position_, blockFrames_);
    const int64_t first = start > 0 ? start - blockFrames_ : start;  // before frame 0 there is silence
    origin_ = start;
    gainEnd_ = 1.0f;
    if (child_->GetPosition() != first) child_->Seek(first);
    if (child_->GetPosition() != first) {
        child_->Seek(position_);
        origin_ = position_ = child_->GetPosition();
    } else if (first < start) {
        gainEnd_ = ReadAhead();
    }
    used_ = static_cast<int32_t>(position_ - origin_);
    targetAhead_ = ReadAhead();
    gainEnd_ = std::min(gainEnd_, targetAhead_);
    if (targetAhead_ < 1.0f) clipped_.store(true, std::memory_order_relaxed);
    primed_ = true;
    NextBlock();
}

bool LPeakLimiterSource::Advance(float target) {
    targetNow_ = std::exchange(targetAhead_, target);
    gainStart_ = std::exchange(gainEnd_, std::min(targetNow_, targetAhead_));
    if (targetAhead_ < 1.0f) clipped_.store(true, std::memory_order_relaxed);
    const bool lowers = gainStart_ != 1.0f || gainEnd_ != 1.0f;
    lowered_.store(lowers, std::memory_order_relaxed);
    if (targetNow_ < 1.0f) loudBlocks_.fetch_add(1, std::memory_order_relaxed);
    return lowers;
}

void LPeakLimiterSource::Lower(float* block) const {
    const auto ramp = channels == 1 ? ApplyRamp<1> : channels == 2 ? ApplyRamp<2> : ApplyRamp<0>;
    ramp(block, blockFrames_, channels, gainStart_, gainEnd_, limit_);
}

void LPeakLimiterSource::NextBlock() {
    std::swap(now_, ahead_);
    if (Advance(ReadAhead())) Lower(now_.data());
}

float* LPeakLimiterSource::ReadBlocks(float* dest, int32_t blocks) {
    const auto blockSamples = static_cast<int64_t>(ahead_.size());
    std::copy_n(ahead_.data(), blockSamples, dest);
    child_->Read(dest + blockSamples, (blocks - 1) * blockFrames_);
    for (; blocks > 0; --blocks, dest += blockSamples)
        if (Advance(blocks > 1 ? TargetOf(dest + blockSamples) : ReadAhead())) Lower(dest);
    return dest;
}

float* LPeakLimiterSource::Read(float* dest, int32_t frames) {
    while (frames > 0) {
        if (!primed_) Prime();
        int32_t piece = 0;
        if (used_ == blockFrames_ && frames >= 2 * blockFrames_) {
            piece = frames - frames % blockFrames_;
            dest = ReadBlocks(dest, piece / blockFrames_);
        } else {
            if (used_ == blockFrames_) {
                NextBlock();
                used_ = 0;
            }
            piece = std::min(frames, blockFrames_ - used_);
            dest = std::copy_n(now_.data() + int64_t{used_} * channels, int64_t{piece} * channels, dest);
            used_ += piece;
        }
        position_ += piece;
        frames -= piece;
    }
    return dest;
}

int64_t LPeakLimiterSource::GetLength() {
    const bool growing = child_->IsGrowing();
    const int64_t length = child_->GetLength();
    if (!growing) return length;
    return std::max(position_, origin_ + FloorTo(length - origin_, blockFrames_) - blockFrames_);
}

void LPeakLimiterSource::Seek(int64_t frame) {
    if (frame == position_) return;
    child_->Seek(frame);
    position_ = child_->GetPosition();
    primed_ = false;
}

bool LPeakLimiterSource::Query(uint32_t id, void* result) {
    if (id == kQueryIntegerBits) return false;  // it is here because something has to be lowered
    if (id != kQueryLimited) return child_->Query(id, result);
    if (result) *static_cast<uint32_t*>(result) = loudBlocks_.load(std::memory_order_relaxed);
    return lowered_.load(std::memory_order_relaxed);
}

LSoundSourceRef LimitPeaks(LSoundSourceRef source, float limit) {
    if (source->peak <= limit) return source;
    return MakeSource<LPeakLimiterSource>(std::move(source), limit);
}

}  // namespace ondarix
