// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "dsp/resampler.h"
#include "sound/source.h"

namespace ondarix {

// The child at another rate. Its length is the child's, scaled and rounded; the filter runs on over zeros
// past the child's end, so that nothing of the last frames is lost. While the child grows, the length covers
// only frames that no later input can change. A child that cannot be moved counts as silent where it does not
// stand. The peak bound is the child's, doubled when it was at most 8: a filter overshoots.
class LRateConverterSource final : public LSoundSource {
  public:
    LRateConverterSource(LSoundSourceRef child, int32_t rate);
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override;
    void Seek(int64_t frame) override;
    bool Query(uint32_t id, void* result) override {
        return id == kQueryLimited && child_->Query(id, result);
    }
    bool IsGrowing() override { return child_->IsGrowing(); }
    void WaitForData(uint32_t ms) override { child_->WaitForData(ms); }

  private:
    void Fetch(float* dest, int64_t first, int64_t frames);

    LSoundSourceRef child_;
    LResampler resampler_;
    int64_t position_ = 0;
};

// `source` itself when it has that rate already.
LSoundSourceRef ConvertRate(LSoundSourceRef source, int32_t rate);

// Rate and channels; what there is less of is converted at the rate change. An empty handle for a target that
// is not valid.
LSoundSourceRef ConvertToFormat(LSoundSourceRef source, LSoundFormat target);

}  // namespace ondarix
