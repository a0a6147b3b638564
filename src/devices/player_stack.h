// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "devices/playback_tap.h"
#include "sound/wrappers.h"

namespace ondarix {

// Largest sample that is played without the limiter.
inline constexpr float kPlayLimit = 0.999969482421875f;  // 1 - 1/32768

// Where a source says that it stands, as far as a position can be believed: sums of such never overflow.
inline constexpr int64_t kFarthestFrame = int64_t{1} << 60;
int64_t PlaceOf(LSoundSource& source);

// What a player puts over the source that it was given: a limiter where peaks are too high or not known, a
// rate converter where the device has another rate, and the tap, whose frames are those of the device.
struct LPlayStack {
    LSoundSourceRef given, top;
    LPeakLimiterSource* limiter = nullptr;  // part of `top`; null: none needed
    void Release();
};
LPlayStack StackForDevice(LSoundSourceRef given, bool limit, int32_t deviceRate, LPlaybackTap& tap);

}  // namespace ondarix
