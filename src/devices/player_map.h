// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <cstdint>

namespace ondarix {

// From the frames that the device counts, from a seek on without a break, to frames of the source that was
// given, whose rate may be another and which may be swapped for one that counts otherwise. Never goes back
// within one run, and never drifts: everything is counted from where the run or the swap began.
class LPlayMap {
  public:
    // The device's frame `device` is the source's frame `given`.
    void Begin(int64_t device, int64_t given, int32_t givenRate, int32_t deviceRate);
    // From the device's frame `device` on a new source is heard, from its frame `given`; what is heard before
    // that is told as a place in the new one, old frames times `scale`.
    void Continue(int64_t device, int64_t given, int32_t givenRate, double scale);
    int64_t ToGiven(int64_t device) const;
    // A place at the one rate as a place at the other.
    int64_t ToDeviceRate(int64_t given) const;
    int64_t ToGivenRate(int64_t device) const;

  private:
    int64_t device_ = 0, given_ = 0;
    int32_t givenRate_ = 44100, deviceRate_ = 44100;
    double before_ = 1.0;  // frames of the source for one of the device, ahead of device_
};

}  // namespace ondarix
