// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <cstdint>

namespace ondarix {

// Milliseconds since the machine was started, suspended time included (CLOCK_BOOTTIME). [any]
uint64_t TickCountMs();

inline constexpr int64_t kNsPerSecond = 1'000'000'000;
// Nanoseconds of the clock that sound servers use too (CLOCK_MONOTONIC). [rt]
int64_t MonotonicNs();

// Seconds since 1970, UTC. [any]
int64_t UnixTime();

}  // namespace ondarix
