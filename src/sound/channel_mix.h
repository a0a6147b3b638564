// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <vector>

#include "sound/source.h"

namespace ondarix {

// Gains of one output channel: only inputs that take part.
struct LMixPart {
    int input;
    float gain;
};
using LMixMatrix = std::vector<std::vector<LMixPart>>;  // one row an output channel

// How `from` channels become `to`, both at least 1.
// - Mono is copied to all channels; all channels are averaged to mono.
// - 2 to 8 channels stand for the speakers of the WAVE order (left, right, centre, LFE, back and side pairs;
// 4
//   is a pair in front and one behind). A speaker that the target lacks is folded into its neighbours by the
//   coefficients of ITU-R BS.775: centre and surrounds at -3 dB, LFE left out. When a row's gains add up to
//   more than 1, all are lowered so that full scale everywhere stays full scale.
// - With more channels than that, channel n goes to channel n, or to n modulo `to`, averaged.
// Channels of the target that nothing goes to are silent.
LMixMatrix MixMatrix(int from, int to);

class LChannelMixSource final : public LSoundSource {
  public:
    LChannelMixSource(LSoundSourceRef child, int channelCount);
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override { return child_->GetPosition(); }
    int64_t GetLength() override { return child_->GetLength(); }
    void Seek(int64_t frame) override { child_->Seek(frame); }
    bool Query(uint32_t id, void* result) override;
    bool IsGrowing() override { return child_->IsGrowing(); }
    void WaitForData(uint32_t ms) override { child_->WaitForData(ms); }

  private:
    LSoundSourceRef child_;
    LMixMatrix matrix_;
    bool onlyCopies_;  // no sample has another value than one of the child's
    std::vector<float> block_;
};

// `source` itself when it has so many channels already.
LSoundSourceRef MixChannels(LSoundSourceRef source, int channels);

}  // namespace ondarix
