// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/player_stack.h"

#include <algorithm>
#include <utility>

#include "sound/rate_converter.h"

namespace ondarix {

int64_t PlaceOf(LSoundSource& source) {
    return std::clamp(source.GetPosition(), -kFarthestFrame, kFarthestFrame);
}

void LPlayStack::Release() {
    limiter = nullptr;
    top.Reset();
    given.Reset();
}

LPlayStack StackForDevice(LSoundSourceRef given, bool limit, int32_t deviceRate, LPlaybackTap& tap) {
    LPlayStack stack;
    stack.given = given;
    if (limit && !(given->peak <= kPlayLimit)) {
        stack.limiter = new LPeakLimiterSource(std::move(given), kPlayLimit);
        given = LSoundSourceRef(stack.limiter);
    }
    stack.top = MakeSource<LTapSource>(ConvertRate(std::move(given), deviceRate), tap);
    return stack;
}

}  // namespace ondarix
