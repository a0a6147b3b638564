// SPDX-License-Identifier: GPL-3.0-or-later
// How a level meter moves: up at once, down at a steady pace, with a mark that stays at the peak for a while.
#pragma once
#include <array>

#include "devices/device_types.h"

namespace ondarix {

inline constexpr double kMeterFloorDb = -60, kMeterTopDb = 3;  // of the scale
inline constexpr int kMeterRows = 8;
inline constexpr double kMeterFallPerSecond = 26;  // dB, of a bar
inline constexpr double kMeterHoldSeconds = 1.5;
inline constexpr double kMeterHoldFallPerSecond = 20;  // dB, of a mark after it was held

class LMeterBallistics {
  public:
    // The newest levels, one a channel; more channels than rows are shown as the loudest of neighbours. None:
    // everything falls to nothing.
    void Put(const LLevelBytes& levels);
    // Time goes on. False: there is nothing left that could move.
    bool Advance(double seconds);

    int Rows() const { return rows_; }
    double BarDb(int row) const { return states_[static_cast<size_t>(row)].bar; }
    double HoldDb(int row) const { return states_[static_cast<size_t>(row)].hold; }
    // The limiter was at work since the last reset.
    bool HasClipped() const { return clipped_; }
    void ResetClipped() { clipped_ = false; }

  private:
    struct LState {
        double level = kMeterFloorDb, bar = kMeterFloorDb, hold = kMeterFloorDb;
        double heldSeconds = 0;
    };
    std::array<LState, kMeterRows> states_{};
    int rows_ = 2;
    bool clipped_ = false;
};

}  // namespace ondarix
