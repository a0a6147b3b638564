// SPDX-License-Identifier: GPL-3.0-or-later
// Sees what must not happen while InRealTimeCall(): memory taken or given back, locks, files, waits. Every
// test of this program fails in which that happens, on whatever thread.
#pragma once
#include <cstdint>
#include <string>

namespace ondarix::test {

struct LRealTimeOffences {
    uint32_t memory = 0, locks = 0, files = 0, waits = 0;
    std::string text;  // the calls and where they came from
    uint32_t Total() const { return memory + locks + files + waits; }
};
// Those since the last call.
LRealTimeOffences TakeRealTimeOffences();

// Sanitizers put their own functions in the places of those that are watched: with that of addresses only
// operator new is seen, with that of threads nothing.
#if defined(__SANITIZE_THREAD__)
inline constexpr bool kSeesNew = false, kSeesAll = false;
#elif defined(__SANITIZE_ADDRESS__)
inline constexpr bool kSeesNew = true, kSeesAll = false;
#else
inline constexpr bool kSeesNew = true, kSeesAll = true;
#endif

}  // namespace ondarix::test
