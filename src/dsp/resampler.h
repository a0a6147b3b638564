// SPDX-License-Identifier: GPL-3.0-or-later
// Sample rate conversion by a polyphase filter: linear phase, without delay (frame 0 stays frame 0).
//
// Each phase has 63 taps, counted in periods of the lower of the two rates, of a least-squares low-pass. With
// frequencies as parts of the lower rate: flat within 0.001 dB up to 0.42 and 0.1 dB up to 0.45, at least
// 110 dB down from 0.55, 126 dB from 0.56 and 136 dB from 0.57. So what a conversion adds to the sound is
// below -110 dB from 0 to 0.45 and below -130 dB from 0 to 0.43. Each phase is scaled to a gain of exactly 1
// at 0 Hz.
//
// A frame of the output depends on its number and on the input alone: not on how much is made at once, nor on
// what was made before. One thread at a time.
#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace ondarix {

// `frames` at the rate `from` as a count at the rate `to`, rounded to the nearest, halves up; limited to what
// the type holds. Rates and `frames` at least 1 and 0.
int64_t ScaledLength(int64_t frames, int64_t from, int64_t to);

class LResampler {
  public:
    // Fills `frames` interleaved frames of the input from frame `first`, which may be negative: zeros for
    // what is not there. Called with ranges that mostly, not always, join on to each other.
    using Fetch = std::function<void(float* dest, int64_t first, int64_t frames)>;

    // Rates at least 1, not equal; channels at least 1.
    LResampler(int32_t from, int32_t to, int channels, Fetch fetch);
    ~LResampler();
    LResampler(const LResampler&) = delete;
    LResampler& operator=(const LResampler&) = delete;

    // Interleaved output frames from number `first`, which may be negative. Finite for finite input.
    void Produce(float* dest, int64_t first, int64_t frames);
    // How many output frames from 0 can be made of the first `available` input frames without the need of a
    // later one.
    int64_t Ready(int64_t available) const;

  private:
    class Stage;
    std::vector<std::unique_ptr<Stage>> stages_;  // the last one makes the output
};

}  // namespace ondarix
