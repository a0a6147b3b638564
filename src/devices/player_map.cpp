// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/player_map.h"

#include <algorithm>
#include <cmath>

#include "dsp/resampler.h"

namespace ondarix {

void LPlayMap::Begin(int64_t device, int64_t given, int32_t givenRate, int32_t deviceRate) {
    device_ = device;
    given_ = given;
    givenRate_ = givenRate;
    deviceRate_ = deviceRate;
    before_ = static_cast<double>(givenRate) / deviceRate;
}

void LPlayMap::Continue(int64_t device, int64_t given, int32_t givenRate, double scale) {
    before_ = static_cast<double>(givenRate_) / deviceRate_ * scale;
    device_ = device;
    given_ = given;
    givenRate_ = givenRate;
}

int64_t LPlayMap::ToGiven(int64_t device) const {
    const int64_t passed = device - device_;
    if (passed < 0) return std::max<int64_t>(0, given_ + std::llround(static_cast<double>(passed) * before_));
    return given_ + ToGivenRate(passed);
}

int64_t LPlayMap::ToDeviceRate(int64_t given) const {
    return givenRate_ == deviceRate_ ? given : ScaledLength(given, givenRate_, deviceRate_);
}

int64_t LPlayMap::ToGivenRate(int64_t device) const {
    return givenRate_ == deviceRate_ ? device : ScaledLength(device, deviceRate_, givenRate_);
}

}  // namespace ondarix
