// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

namespace ondarix {

// Quantises to 16 or 8 bits with second-order error feedback (0.9, 0.45) and an idle mode: after a run of
// zeros the level that wakes it is nearly halved, so that a silent passage stays silent. The error is taken
// against the plain input. State lives as long as the output, across blocks.
class LNoiseShaper {
  public:
    static constexpr int kMaxChannels = 16;
    static constexpr int kRateAbove = 8000;  // Hz; at this rate and below plain rounding is used

    // Interleaved; `channels` 1 to 16 and the same in each call. Little-endian bytes out.
    void Quantise16(const float* from, uint8_t* to, int64_t frames, int channels);
    void Quantise8(const float* from, uint8_t* to, int64_t frames, int channels);

    int32_t SilentRun(int channel) const { return channels_[static_cast<size_t>(channel)].silentRun; }

  private:
    struct Channel {
        float error1 = 0, error2 = 0;
        int32_t silentRun = 1;
    };
    std::array<Channel, kMaxChannels> channels_{};
};

}  // namespace ondarix
