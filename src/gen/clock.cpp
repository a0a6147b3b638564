// SPDX-License-Identifier: GPL-3.0-or-later
#include "gen/clock.h"

#include <ctime>

namespace ondarix {

uint64_t TickCountMs() {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000 + static_cast<uint64_t>(now.tv_nsec) / 1000000;
}

int64_t MonotonicNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * kNsPerSecond + now.tv_nsec;
}

int64_t UnixTime() { return static_cast<int64_t>(time(nullptr)); }

}  // namespace ondarix
