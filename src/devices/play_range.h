// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "devices/play_wrapper.h"

namespace ondarix {

// The frames [start, end) of the child, or those of them that are there; `end` -1: to the child's end, also
// as that moves. Silence around them.
class LRangeSource final : public LPlayWrapper {
  public:
    LRangeSource(LSoundSourceRef child, int64_t start, int64_t end);
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override;
    void Seek(int64_t frame) override;
    bool IsGrowing() override;

  private:
    int64_t start_, end_;
    int64_t position_ = 0;
};

}  // namespace ondarix
