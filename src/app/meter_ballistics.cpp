// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/meter_ballistics.h"

#include <algorithm>

namespace ondarix {
namespace {

constexpr int8_t kLimitedDb = 1;  // what a channel shows while the limiter lowers it

// The loudest of the channels that share a row.
int8_t LevelOfRow(const LLevelBytes& levels, size_t row, size_t rows) {
    const size_t first = row * levels.size() / rows, end = (row + 1) * levels.size() / rows;
    return *std::max_element(levels.begin() + static_cast<ptrdiff_t>(first),
                             levels.begin() + static_cast<ptrdiff_t>(end));
}

}  // namespace

void LMeterBallistics::Put(const LLevelBytes& levels) {
    if (!levels.empty()) rows_ = static_cast<int>(std::min<size_t>(levels.size(), kMeterRows));
    for (size_t row = 0; row < kMeterRows; ++row) {
        LState& state = states_[row];
        const bool shown = row < static_cast<size_t>(rows_);
        if (!shown) state = {};
        if (levels.empty() || !shown) {
            state.level = kMeterFloorDb;
            continue;
        }
        const int8_t level = LevelOfRow(levels, row, static_cast<size_t>(rows_));
        clipped_ = clipped_ || level >= kLimitedDb;
        state.level = std::clamp<double>(level, kMeterFloorDb, kMeterTopDb);
        state.bar = std::max(state.bar, state.level);
        if (state.level < state.hold) continue;
        state.hold = state.level;
        state.heldSeconds = 0;
    }
}

bool LMeterBallistics::Advance(double seconds) {
    bool moves = false;
    for (LState& state : states_) {
        state.bar = std::max(state.level, state.bar - kMeterFallPerSecond * seconds);
        const double before = std::max(state.heldSeconds, kMeterHoldSeconds);
        state.heldSeconds += seconds;
        const double falling = std::max(0.0, state.heldSeconds - before);
        state.hold = std::max(state.bar, state.hold - kMeterHoldFallPerSecond * falling);
        moves = moves || state.bar > kMeterFloorDb || state.hold > kMeterFloorDb;
    }
    return moves;
}

}  // namespace ondarix
