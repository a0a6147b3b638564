// SPDX-License-Identifier: GPL-3.0-or-later
// What a crossfade is asked for over: two clips, or one whose end runs into its beginning; and the stretch of
// the result that is heard before it is made. [any]
#pragma once
#include "app/effect_preview.h"
#include "effects/crossfade.h"

namespace ondarix {

enum class LCrossfadeKind : uint8_t {
    kSelection,  // the halves of what is selected
    kOther,      // to another sound
    kLoop,       // the end to the beginning
};

struct LCrossfadeJoin {
    LCrossfadeKind kind = LCrossfadeKind::kSelection;
    LSound first, second;  // of a loop the same

    // The settings that count: two halves have no starts of their own.
    LCrossfadeSettings Counting(const LCrossfadeSettings& settings) const;
    // As the settings give it, before beats and phases are matched.
    LCrossfadePlan Plan(const LCrossfadeSettings& settings) const;
    // The whole result and, in `plan`, how it came out.
    LSoundSourceRef Build(const LCrossfadeSettings& settings, LCrossfadePlan& plan) const;
    // Frames of the second clip at the rate of the first.
    int64_t SecondLength() const;
};

// A stretch around the join, kJoinSeconds before and behind what is faded; around a loop's it goes on with
// the beginning.
inline constexpr int kJoinSeconds = 2;
struct LJoinRange {
    int64_t start = 0, end = 0;  // of the result
    int64_t goesOn = 0;          // frames from the beginning of the result behind it
};
LJoinRange RangeOfJoin(const LCrossfadeJoin& join, const LCrossfadePlan& plan, int64_t resultLength);
// What is heard of the result. Beats and phases are matched on a worker.
LPreviewStack PreviewOfJoin(const LCrossfadeJoin& join, const LCrossfadeSettings& settings);
// The same place without the fades: one clip behind the other. The second only where it has the format of the
// first.
LSound PlainJoin(const LCrossfadeJoin& join, const LCrossfadePlan& plan);

}  // namespace ondarix
