// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <utility>
#include <vector>

#include "display/wave_columns_worker.h"

namespace ondarix {

// The columns that one view has of a sound. What stays in view when it moves is kept; the rest is asked for
// and comes by and by. [ui]
class LColumnStore {
  public:
    void SetSound(uint64_t number);
    // The columns [first, first + count) of `grid` are wanted from now on.
    void Show(const LColumnGrid& grid, int64_t first, int count);
    // Takes in what belongs here; answers the columns that are others now, [from, to) by number, from == to:
    // none.
    std::pair<int64_t, int64_t> Take(const LColumnBatch& batch);
    // What is not there exactly yet, [from, to); from == to: nothing.
    std::pair<int64_t, int64_t> Missing() const;
    // One entry a channel; null: not there.
    const LWaveColumn* At(int64_t column) const;
    int Channels() const { return channels_; }
    int64_t First() const { return first_; }
    int Count() const { return static_cast<int>(states_.size()); }

  private:
    enum class State : uint8_t { kNothing, kCoarse, kExact };
    uint64_t sound_ = 0;
    LColumnGrid grid_;
    int64_t first_ = 0;
    int channels_ = 1;
    std::vector<LWaveColumn> columns_;
    std::vector<State> states_;
};

}  // namespace ondarix
