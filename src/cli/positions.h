// SPDX-License-Identifier: GPL-3.0-or-later
// Places in a sound as people type them.
#pragma once
#include <QString>
#include <cstdint>
#include <optional>

namespace ondarix {

// Nothing that the command line does with positions and lengths goes beyond this many frames, so sums of a
// few of them stay exact; at 192 kHz it is over 370 years.
inline constexpr int64_t kMostFrames = int64_t{1} << 51;
inline constexpr int64_t kMostSeconds = 1'000'000'000;

// From the start of the sound or from its end: frames, or a time that becomes the nearest frame.
struct LPosition {
    bool fromEnd = false;
    bool isTime = false;
    bool negative = false;
    int64_t whole = 0;        // frames, or seconds
    int64_t nanoseconds = 0;  // 0 to 999999999

    // The frame in a sound of `length` frames at `rate` Hz. May lie outside the sound.
    int64_t Resolve(int64_t length, int32_t rate) const;
};

// "12345", "1.5s", "250ms", "1:02.5" (minutes, seconds), "0:01:02.5", each with an optional '-' before it;
// "end", "end-1.5s", "end+100". Digits beyond the nanosecond are dropped. Nothing for other text and for
// what goes beyond the limits above.
std::optional<LPosition> ParsePosition(const QString& text);

// "h:mm:ss.mmm" of so many frames, to the nearest millisecond.
QString TimeText(int64_t frames, int64_t rate);

}  // namespace ondarix
