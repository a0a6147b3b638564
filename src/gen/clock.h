// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <cstdint>

namespace ondarix {

// Milliseconds since the machine was started, suspended time included (CLOCK_BOOTTIME). [any]
uint64_t TickCountMs();

// Seconds since 1970, UTC. [any]
int64_t UnixTime();

}  // namespace ondarix
