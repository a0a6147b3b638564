// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/true_peak_limiter.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "dsp/peak.h"
#include "dsp/true_peak.h"
#include "sound/wrapper_source.h"

namespace ondarix {
namespace {

constexpr uint32_t kBlocksPerSecond = 35;
constexpr int32_t kLeastBlock = 64, kMostBlock = 8192;

// The sound in blocks that begin at multiples of their length. A block has the target t = limit / peak, at
// most 1; over block k the gain goes in a straight line from min(t[k-1], t[k]) to min(t[k], t[k+1]), so that
// it is down before a loud block begins. What the last frames of a block hold between them is known, and
// counted, with the next block, whose target the line has all but reached there. The frames before the place
// of a seek are read too: what comes out at a place does not depend on where reading began.
class LTruePeakLimiter final : public LWrapperSource {
  public:
    LTruePeakLimiter(LSoundSourceRef child, float limit)
        : LWrapperSource(std::move(child)),
          limit_(limit),
          blockFrames_(
              std::clamp(static_cast<int32_t>(sampleRate / kBlocksPerSecond), kLeastBlock, kMostBlock)),
          meter_(sampleRate, channels) {
        peak = std::min(peak, limit);
        for (auto* block : {&ahead_, &now_}) block->resize(static_cast<size_t>(blockFrames_) * channels);
        position_ = child_->GetPosition();
    }

    float* Read(float* dest, int32_t frames) override {
        while (frames > 0) {
            if (!primed_) Prime();
            if (used_ == blockFrames_) NextBlock();
            const int32_t piece = std::min(frames, blockFrames_ - used_);
            dest = std::copy_n(now_.data() + int64_t{used_} * channels, int64_t{piece} * channels, dest);
            used_ += piece;
            position_ += piece;
            frames -= piece;
        }
        return dest;
    }
    int64_t GetPosition() override { return position_; }
    void Seek(int64_t frame) override {
        child_->Seek(frame);
        position_ = child_->GetPosition();
        primed_ = false;
    }
    bool Query(uint32_t id, void* result) override {
        return id != kQueryIntegerBits && LWrapperSource::Query(id, result);
    }

  private:
    // Two blocks are read before the one of the position: one for its target, one for what lies between its
    // frames and the next.
    void Prime() {
        const int64_t rest = position_ % blockFrames_;
        const int64_t start = position_ - (rest < 0 ? rest + blockFrames_ : rest);
        const int64_t first = start <= 0 ? start : std::max<int64_t>(0, start - 2 * int64_t{blockFrames_});
        meter_.Reset();
        child_->Seek(first);
        gainEnd_ = targetAhead_ = 1;
        for (int64_t at = first; at <= start; at += blockFrames_) {
            const float before = targetAhead_;
            targetAhead_ = ReadAhead();
            gainEnd_ = std::min(before, targetAhead_);
        }
        primed_ = true;
        NextBlock();
        used_ = static_cast<int32_t>(position_ - start);
    }
    float ReadAhead() {
        child_->Read(ahead_.data(), blockFrames_);
        meter_.ResetPeaks();
        meter_.Feed(ahead_.data(), blockFrames_);
        const float most = meter_.Peak();
        return most > limit_ ? limit_ / most : 1.0f;
    }
    void NextBlock() {
        std::swap(now_, ahead_);
        used_ = 0;
        const float target = std::exchange(targetAhead_, ReadAhead());
        const float start = std::exchange(gainEnd_, std::min(target, targetAhead_));
        if (start == 1.0f && gainEnd_ == 1.0f) return;
        const float step = (gainEnd_ - start) / static_cast<float>(blockFrames_);
        float* at = now_.data();
        for (int32_t frame = 0; frame < blockFrames_; ++frame) {
            const float gain = start + step * static_cast<float>(frame);
            for (int channel = 0; channel < channels; ++channel, ++at)
                *at = std::clamp(*at * gain, -limit_, limit_);
        }
    }

    float limit_;
    int32_t blockFrames_;
    LTruePeakMeter meter_;
    std::vector<float> ahead_, now_;  // blockFrames_ * channels each
    float gainEnd_ = 1, targetAhead_ = 1;
    int32_t used_ = 0;  // frames of `now_` that are given already
    int64_t position_ = 0;
    bool primed_ = false;
};

}  // namespace

LSoundSourceRef LimitTruePeaks(LSoundSourceRef source, float limit) {
    if (!source.IsUsable()) return source;
    return MakeSource<LTruePeakLimiter>(std::move(source), limit);
}

}  // namespace ondarix
