// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <utility>

#include "sound/source.h"

namespace ondarix {

// What sources over another one share: format, place, growth and answers are the child's.
class LWrapperSource : public LSoundSource {
  public:
    int64_t GetPosition() override { return child_->GetPosition(); }
    int64_t GetLength() override { return child_->GetLength(); }
    void Seek(int64_t frame) override { child_->Seek(frame); }
    bool Query(uint32_t id, void* result) override { return child_->Query(id, result); }
    int32_t Adjust(int32_t value, uint32_t low, uint32_t high) override {
        return child_->Adjust(value, low, high);
    }
    bool IsGrowing() override { return child_->IsGrowing(); }
    void WaitForData(uint32_t ms) override { child_->WaitForData(ms); }

  protected:
    explicit LWrapperSource(LSoundSourceRef child)
        : LSoundSource(child->sampleRate, child->channels), child_(std::move(child)) {
        error = child_->error;
        peak = child_->peak;
    }
    LSoundSourceRef child_;
};

}  // namespace ondarix
