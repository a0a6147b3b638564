// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <vector>

#include "sound/source.h"

namespace ondarix {

// What was given to the device lately, so that a source that takes another's place in the middle of the sound
// can be faded into from what would have been heard. Under the engine's lock.
class LPlaybackTap {
  public:
    static constexpr int kMostChannels = 32;  // sounds with more pass unseen

    // Nothing was heard: zeros, at the beginning. The memory stays.
    void Reset();
    // The next block goes in a straight line, over all its frames, from what the ring holds there.
    void ArmFade() { fade_ = true; }
    void CancelFade() { fade_ = false; }
    uint32_t Place() const { return at_; }
    void Return(uint32_t place) { at_ = place; }
    // Forwards or back, in samples.
    void Move(int64_t samples) { at_ = (at_ + static_cast<uint32_t>(samples)) & kMask; }
    // Fades the block when that is due, and keeps it.
    void Pass(float* block, int32_t frames, int channels);

  private:
    static constexpr uint32_t kSize = 0x200000, kMask = kSize - 1;  // floats
    std::vector<float> ring_;
    uint32_t at_ = 0;
    bool fade_ = false;
    bool used_ = false;
};

// The child, seen by a tap, which outlives it. A seek moves the tap's place by as much.
class LTapSource final : public LSoundSource {
  public:
    LTapSource(LSoundSourceRef child, LPlaybackTap& tap);
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override { return child_->GetPosition(); }
    int64_t GetLength() override { return child_->GetLength(); }
    void Seek(int64_t frame) override;
    bool Query(uint32_t id, void* result) override { return child_->Query(id, result); }
    bool IsGrowing() override { return child_->IsGrowing(); }
    void WaitForData(uint32_t ms) override { child_->WaitForData(ms); }

  private:
    LSoundSourceRef child_;
    LPlaybackTap& tap_;
};

}  // namespace ondarix
