// SPDX-License-Identifier: GPL-3.0-or-later
#include "dsp/time_stretch.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "dsp/resampler.h"
#include "dsp/wide.h"

namespace ondarix {

namespace {

constexpr int64_t kHopMs = 24, kReachMs = 16;
constexpr int64_t kShortestHop = 16, kShortestReach = 8;
constexpr int32_t kFineRate = 48000;  // from twice of this on a first search takes frames together
constexpr int kStretchLanes = 8, kStretchSums = 4;
typedef float LStretchLanes
    __attribute__((vector_size(kStretchLanes * sizeof(float)), aligned(4), may_alias));

inline __attribute__((always_inline)) const LStretchLanes& StretchLanesAt(const float* from) {
    return *reinterpret_cast<const LStretchLanes*>(from);
}

inline __attribute__((always_inline)) float Product(const float* a, const float* b, int64_t count) {
    LStretchLanes sums[kStretchSums] = {};
    int64_t i = 0;
    for (; i + kStretchSums * kStretchLanes <= count; i += kStretchSums * kStretchLanes)
        for (int s = 0; s < kStretchSums; ++s)
            sums[s] += StretchLanesAt(a + i + s * kStretchLanes) * StretchLanesAt(b + i + s * kStretchLanes);
    const LStretchLanes sum = (sums[0] + sums[1]) + (sums[2] + sums[3]);
    float total = ((sum[0] + sum[4]) + (sum[1] + sum[5])) + ((sum[2] + sum[6]) + (sum[3] + sum[7]));
    for (; i < count; ++i) total += a[i] * b[i];
    return total;
}

// Adds to each score how much of `target`, `count` samples, is in `from` at that place.
ONDARIX_WIDE void AddProducts(const float* target, const float* from, int64_t count, float* scores,
                              int64_t places) {
    for (int64_t place = 0; place < places; ++place) scores[place] += Product(target, from + place, count);
}

void TakeTogether(const float* from, float* to, int64_t count, int64_t step) {
    for (int64_t i = 0; i < count; ++i, from += step) {
        float sum = 0;
        for (int64_t k = 0; k < step; ++k) sum += from[k];
        to[i] = sum;
    }
}

// Of `places` the one with the largest score over the root of its energy; `usual` unless another is better.
int64_t BestPlace(const float* scores, const double* energyBefore, int64_t places, int64_t count,
                  int64_t usual) {
    const auto likeness = [&](int64_t place) {
        const double energy = energyBefore[place + count] - energyBefore[place];
        return energy > 1e-12 ? static_cast<double>(scores[place]) / std::sqrt(energy) : 0.0;
    };
    int64_t best = usual;
    double most = likeness(usual);
    most += std::fabs(most) * 1e-6;
    for (int64_t place = 0; place < places; ++place) {
        const double now = likeness(place);
        if (now > most) {
            most = now;
            best = place;
        }
    }
    return best;
}

void SumEnergy(std::vector<double>& before, const float* samples, int64_t count) {
    double sum = 0;
    for (int64_t i = 0; i < count; ++i) {
        sum += static_cast<double>(samples[i]) * static_cast<double>(samples[i]);
        before[static_cast<size_t>(i + 1)] += sum;
    }
}

}  // namespace

LTimeStretch::LTimeStretch(int32_t rate, int channels, int64_t from, int64_t to, Fetch fetch)
    : channels_(channels),
      from_(from),
      to_(to),
      fetch_(std::move(fetch)),
      hop_(std::max(kShortestHop, rate * kHopMs / 1000)),
      reach_(std::max(kShortestReach, rate * kReachMs / 1000)),
      coarse_(std::max(1, rate / kFineRate)) {
    const auto hop = static_cast<size_t>(hop_), room = static_cast<size_t>(2 * (hop_ + reach_));
    const auto width = static_cast<size_t>(channels_);
    for (size_t i = 0; i < hop; ++i) {
        const double turn = std::numbers::pi * static_cast<double>(i) / static_cast<double>(hop_);
        rise_.push_back(static_cast<float>(0.5 - 0.5 * std::cos(turn)));
    }
    input_.resize(room * width);
    tail_.resize(hop * width);
    block_.resize(hop * width);
    planes_.resize(std::min<size_t>(width, 2));
    for (LPlane& plane : planes_) {
        plane.input.resize(room);
        plane.tail.resize(hop);
        plane.coarseInput.resize(room);
        plane.coarseTail.resize(hop);
    }
    scores_.resize(static_cast<size_t>(2 * reach_ + 1));
    energy_.resize(room + 1);
}

int64_t LTimeStretch::Place(int64_t piece) const { return ScaledLength(piece * hop_, to_, from_); }

// The planes of `frames` interleaved frames, from frame `at` of the held input on.
void LTimeStretch::Mix(const float* from, int64_t frames, int64_t at) {
    for (size_t p = 0; p < planes_.size(); ++p) {
        float* const to = planes_[p].input.data() + at;
        const float odd = p == 0 ? 1.0f : -1.0f;
        for (int64_t i = 0; i < frames; ++i) {
            const float* const frame = from + i * channels_;
            float sum = 0;
            for (int c = 0; c < channels_; ++c) sum += c % 2 == 0 ? frame[c] : odd * frame[c];
            to[i] = sum;
        }
    }
}

void LTimeStretch::Hold(int64_t first) {
    const int64_t room = 2 * (hop_ + reach_), have = base_ + held_;
    if (first < base_ || first > have) {
        held_ = 0;
    } else {
        const int64_t gone = first - base_;
        held_ = have - first;
        std::copy_n(input_.data() + gone * channels_, held_ * channels_, input_.data());
        for (LPlane& plane : planes_) std::copy_n(plane.input.data() + gone, held_, plane.input.data());
    }
    base_ = first;
    float* const missing = input_.data() + held_ * channels_;
    if (held_ < room) fetch_(missing, base_ + held_, room - held_);
    Mix(missing, room - held_, held_);
    held_ = room;
}

void LTimeStretch::KeepTail(int64_t at) {
    std::copy_n(input_.data() + at * channels_, hop_ * channels_, tail_.data());
    for (LPlane& plane : planes_) std::copy_n(plane.input.data() + at, hop_, plane.tail.data());
}

void LTimeStretch::Restart(int64_t piece) {
    Hold(Place(piece) - hop_ - reach_);
    KeepTail(hop_ + reach_);
    piece_ = piece;
}

int64_t LTimeStretch::Best() {
    int64_t low = 0, high = 2 * reach_;  // both may be the best
    if (coarse_ > 1) {
        const int64_t places = high / coarse_ + 1, count = hop_ / coarse_;
        std::fill(scores_.begin(), scores_.end(), 0.0f);
        std::fill(energy_.begin(), energy_.end(), 0.0);
        for (LPlane& plane : planes_) {
            TakeTogether(plane.input.data(), plane.coarseInput.data(), places + count - 1, coarse_);
            TakeTogether(plane.tail.data(), plane.coarseTail.data(), count, coarse_);
            AddProducts(plane.coarseTail.data(), plane.coarseInput.data(), count, scores_.data(), places);
            SumEnergy(energy_, plane.coarseInput.data(), places + count - 1);
        }
        const int64_t found = BestPlace(scores_.data(), energy_.data(), places, count, reach_ / coarse_);
        low = std::max<int64_t>(0, (found - 1) * coarse_);
        high = std::min(2 * reach_, (found + 1) * coarse_);
    }
    const int64_t places = high - low + 1;
    std::fill_n(scores_.begin(), places, 0.0f);
    std::fill(energy_.begin(), energy_.end(), 0.0);
    for (const LPlane& plane : planes_) {
        AddProducts(plane.tail.data(), plane.input.data() + low, hop_, scores_.data(), places);
        SumEnergy(energy_, plane.input.data() + low, places + hop_ - 1);
    }
    const int64_t usual = std::clamp<int64_t>(reach_ - low, 0, places - 1);
    return low + BestPlace(scores_.data(), energy_.data(), places, hop_, usual);
}

void LTimeStretch::MakeBlock() {
    Hold(Place(piece_ + 1) - hop_ - reach_);
    const int64_t begin = Best();
    const float* const next = input_.data() + begin * channels_;
    for (int64_t i = 0; i < hop_; ++i) {
        const float rise = rise_[static_cast<size_t>(i)];
        for (int64_t at = i * channels_; at < (i + 1) * channels_; ++at) {
            const float old = tail_[static_cast<size_t>(at)];
            block_[static_cast<size_t>(at)] = old + rise * (next[at] - old);
        }
    }
    KeepTail(begin + hop_);
    blockPiece_ = piece_++;
}

void LTimeStretch::Produce(float* dest, int64_t first, int64_t frames) {
    while (frames > 0) {
        const int64_t piece = first / hop_, used = first % hop_;
        if (piece != blockPiece_) {
            if (piece != piece_) Restart(piece);
            MakeBlock();
        }
        const int64_t count = std::min(frames, hop_ - used);
        dest = std::copy_n(block_.data() + used * channels_, count * channels_, dest);
        first += count;
        frames -= count;
    }
}

int64_t LTimeStretch::Ready(int64_t available) const {
    const int64_t usable = available - hop_ - reach_ - from_ / to_ - 1;  // where a place may be, rounded
    if (usable <= 0) return 0;
    return ScaledLength(usable, from_, to_) / hop_ * hop_;
}

}  // namespace ondarix
