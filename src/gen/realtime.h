// SPDX-License-Identifier: GPL-3.0-or-later
// Marks what a sound server calls on its real-time thread: no allocation, lock, file or log in there.
// Whatever would break that can ask, and tests that replace operator new do.
#pragma once

namespace ondarix {

inline thread_local int realTimeDepth = 0;

class LRealTimeScope {
  public:
    LRealTimeScope() { ++realTimeDepth; }
    ~LRealTimeScope() { --realTimeDepth; }
    LRealTimeScope(const LRealTimeScope&) = delete;
    LRealTimeScope& operator=(const LRealTimeScope&) = delete;
};

inline bool InRealTimeCall() { return realTimeDepth > 0; }

}  // namespace ondarix
