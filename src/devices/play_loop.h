// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <atomic>

#include "devices/play_chain.h"
#include "devices/play_wrapper.h"

namespace ondarix {

// The child over and over, joint to joint without a frame between. Frame n is frame n modulo its length; so
// positions never go back. While the child grows there is one pass, the first.
class LLoopSource final : public LPlayWrapper {
  public:
    // Longer than any sound, and short enough to be counted on from.
    static constexpr int64_t kEndless = int64_t{1} << 60;

    LLoopSource(LSoundSourceRef child, int64_t passes);  // at least 1, or kLoopForever
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override;
    void Seek(int64_t frame) override;

    void SetPasses(int64_t passes) { wish_.store(passes); }  // [any]
    // The pass that is being read is the last one. [any]
    void EndPass() { wish_.store(kThisOne); }
    // As they were when the source was last read or asked. [any]
    int64_t PassFrames() const { return passFrames_.load(std::memory_order_relaxed); }  // 0: not known
    int64_t AllFrames() const { return allFrames_.load(std::memory_order_relaxed); }

  private:
    static constexpr int64_t kThisOne = 0;
    int64_t Passes(int64_t passFrames);

    std::atomic<int64_t> wish_;  // passes, kLoopForever or kThisOne
    std::atomic<int64_t> passFrames_{0}, allFrames_{0};
    int64_t position_ = 0;
};

}  // namespace ondarix
