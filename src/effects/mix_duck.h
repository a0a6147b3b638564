// SPDX-License-Identifier: GPL-3.0-or-later
// How strongly something is spoken at each moment, for what has to step back behind it.
#pragma once
#include <vector>

#include "sound/source.h"

namespace ondarix {

// Follows the level of a voice. In hops of 10 ms the peak p of all channels gives the presence
//
//   a = clamp((20 log10 p + 50) / 20, 0, 1)        nothing at -50 dB, all at -30 dB
//
// and the amount at a place is the largest presence around it, less a ramp for the way to it: it rises in a
// straight line over the 200 ms before a hop (the voice is read ahead, so that the music is down when the
// first word begins), stays for 300 ms behind it and falls in a straight line over 600 ms. Between the
// borders of hops it is interpolated. It depends on the voice around a place alone: not on how much is asked
// for at once, nor on what was asked for before.
class LDuckFollower {
  public:
    static constexpr int kHopsASecond = 100;
    static constexpr int kAttackHops = 20, kHoldHops = 30, kReleaseHops = 60;

    explicit LDuckFollower(LSoundSourceRef voice);
    // Amounts of 0 to 1 for `frames` frames from `first` on, which may lie outside the voice.
    void Amounts(int64_t first, int32_t frames, float* amounts);

  private:
    float Presence(int64_t hop);
    float ReadHop(int64_t hop);
    float Node(int64_t hop);  // the amount at the hop's first frame

    LSoundSourceRef voice_;
    int32_t hopFrames_;
    std::vector<float> block_;
    std::vector<float> presence_;  // of the hops from base_ on
    int64_t base_ = 0;
    int64_t node_ = 0;  // whose amounts are at hand: at this hop and at the next
    float at_ = 0, next_ = 0;
    bool hasNode_ = false;
};

}  // namespace ondarix
