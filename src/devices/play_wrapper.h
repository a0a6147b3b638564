// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <utility>

#include "sound/source.h"

namespace ondarix {

// What the links of a play chain share: they grow, wait and answer as the sound does.
class LPlayWrapper : public LSoundSource {
  public:
    bool Query(uint32_t id, void* result) override { return child_->Query(id, result); }
    int32_t Adjust(int32_t value, uint32_t low, uint32_t high) override {
        return child_->Adjust(value, low, high);
    }
    bool IsGrowing() override { return child_->IsGrowing(); }
    void WaitForData(uint32_t ms) override { child_->WaitForData(ms); }

  protected:
    explicit LPlayWrapper(LSoundSourceRef child)
        : LSoundSource(child->sampleRate, child->channels), child_(std::move(child)) {
        error = child_->error;
        peak = child_->peak;
    }
    // `frames` frames of the child from `first` on, zeros where it has none.
    float* ReadChild(float* dest, int64_t first, int64_t frames);

    LSoundSourceRef child_;
};

}  // namespace ondarix
