// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/wave_view_columns.h"

#include <algorithm>

namespace ondarix {

void LColumnStore::SetSound(uint64_t number) {
    sound_ = number;
    std::fill(states_.begin(), states_.end(), State::kNothing);
}

void LColumnStore::Show(const LColumnGrid& grid, int64_t first, int count) {
    std::vector<LWaveColumn> columns(static_cast<size_t>(count) * static_cast<size_t>(channels_));
    std::vector<State> states(static_cast<size_t>(count), State::kNothing);
    const int64_t from = std::max(first, first_), to = std::min(first + count, first_ + Count());
    if (grid == grid_ && from < to) {
        std::copy_n(states_.begin() + (from - first_), to - from, states.begin() + (from - first));
        std::copy_n(columns_.begin() + (from - first_) * channels_, (to - from) * channels_,
                    columns.begin() + (from - first) * channels_);
    }
    grid_ = grid;
    first_ = first;
    columns_ = std::move(columns);
    states_ = std::move(states);
}

std::pair<int64_t, int64_t> LColumnStore::Take(const LColumnBatch& batch) {
    if (batch.sound != sound_ || !(batch.grid == grid_)) return {0, 0};
    if (batch.channels != channels_) {
        channels_ = batch.channels;
        columns_.assign(states_.size() * static_cast<size_t>(channels_), {});
        std::fill(states_.begin(), states_.end(), State::kNothing);
    }
    const int64_t from = std::max(batch.first, first_);
    const int64_t to = std::min(batch.first + batch.Count(), first_ + Count());
    for (int64_t column = from; column < to; ++column) {
        State& state = states_[static_cast<size_t>(column - first_)];
        if (batch.coarse && state == State::kExact) continue;
        state = batch.coarse ? State::kCoarse : State::kExact;
        std::copy_n(batch.columns.begin() + (column - batch.first) * channels_, channels_,
                    columns_.begin() + (column - first_) * channels_);
    }
    return {from, std::max(from, to)};
}

std::pair<int64_t, int64_t> LColumnStore::Missing() const {
    const auto open = [](State state) { return state != State::kExact; };
    const auto from = std::find_if(states_.begin(), states_.end(), open);
    if (from == states_.end()) return {first_, first_};
    const auto to = std::find_if(states_.rbegin(), states_.rend(), open).base();
    return {first_ + (from - states_.begin()), first_ + (to - states_.begin())};
}

const LWaveColumn* LColumnStore::At(int64_t column) const {
    const int64_t at = column - first_;
    if (at < 0 || at >= Count() || states_[static_cast<size_t>(at)] == State::kNothing) return nullptr;
    return columns_.data() + at * channels_;
}

}  // namespace ondarix
