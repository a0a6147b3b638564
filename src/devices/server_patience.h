// SPDX-License-Identifier: GPL-3.0-or-later
// How long a server is waited for that takes connections and says nothing. It may be frozen, and it may just
// be slow on a machine that is fully busy, which looks the same: so the first one who asks waits for a good
// part of a second, and who asks soon after that in vain, as the steps of one start of playing do, only for a
// moment.
#pragma once
#include <algorithm>
#include <atomic>

#include "gen/clock.h"

namespace ondarix {

class LServerPatience {
  public:
    // What of `usual` milliseconds may be waited now.
    int Ms(int usual) const { return WasSilent() ? std::min(usual, kMomentMs) : usual; }
    // It has not answered in that time. A moment in vain does not prolong what it comes from.
    void NoteSilence() {
        if (!WasSilent()) silentNs_ = MonotonicNs();
    }
    void NoteAnswer() { silentNs_ = kNever; }

  private:
    static constexpr int kMomentMs = 100;
    static constexpr int64_t kRememberNs = 3 * kNsPerSecond / 2;
    static constexpr int64_t kNever = -1;
    bool WasSilent() const {
        const int64_t at = silentNs_;
        return at != kNever && MonotonicNs() - at < kRememberNs;
    }
    std::atomic<int64_t> silentNs_{kNever};
};

}  // namespace ondarix
