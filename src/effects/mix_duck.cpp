// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/mix_duck.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ondarix {
namespace {

constexpr float kAbsentDb = -50, kFullRangeDb = 20;
// Behind a place so many hops still count; a few blocks' worth of them is kept.
constexpr int64_t kBehindHops = LDuckFollower::kHoldHops + LDuckFollower::kReleaseHops;
constexpr size_t kMostHops = 4096;

int64_t FloorDivide(int64_t a, int64_t b) { return a / b - (a % b < 0 ? 1 : 0); }

}  // namespace

LDuckFollower::LDuckFollower(LSoundSourceRef voice)
    : voice_(std::move(voice)),
      hopFrames_(std::max(1, static_cast<int32_t>(voice_->sampleRate / kHopsASecond))),
      block_(static_cast<size_t>(hopFrames_) * voice_->channels) {}

float LDuckFollower::ReadHop(int64_t hop) {
    const int64_t start = hop * hopFrames_;
    if (hop < 0 || start >= voice_->GetLength()) return 0;
    if (voice_->GetPosition() != start) voice_->Seek(start);
    voice_->Read(block_.data(), hopFrames_);
    float loudest = 0;
    for (const float sample : block_) loudest = std::max(loudest, std::fabs(sample));
    if (loudest <= 0) return 0;
    return std::clamp((20 * std::log10(loudest) - kAbsentDb) / kFullRangeDb, 0.0f, 1.0f);
}

float LDuckFollower::Presence(int64_t hop) {
    const auto known = static_cast<int64_t>(presence_.size());
    if (hop < base_ || hop > base_ + known + kBehindHops) {
        presence_.clear();
        base_ = hop;
    }
    while (base_ + static_cast<int64_t>(presence_.size()) <= hop) {
        if (presence_.size() >= kMostHops) {
            const size_t dropped = kMostHops / 2;
            presence_.erase(presence_.begin(), presence_.begin() + static_cast<int64_t>(dropped));
            base_ += static_cast<int64_t>(dropped);
        }
        presence_.push_back(ReadHop(base_ + static_cast<int64_t>(presence_.size())));
    }
    return presence_[static_cast<size_t>(hop - base_)];
}

float LDuckFollower::Node(int64_t hop) {
    float amount = 0;
    for (int64_t behind = -kBehindHops; behind < 0; ++behind) {
        const int64_t away = std::max<int64_t>(0, -1 - behind - kHoldHops);
        const float ramp = static_cast<float>(away) / kReleaseHops;
        amount = std::max(amount, Presence(hop + behind) - ramp);
    }
    for (int64_t ahead = 0; ahead < kAttackHops; ++ahead)
        amount = std::max(amount, Presence(hop + ahead) - static_cast<float>(ahead) / kAttackHops);
    return amount;
}

void LDuckFollower::Amounts(int64_t first, int32_t frames, float* amounts) {
    int64_t hop = FloorDivide(first, hopFrames_);
    auto within = static_cast<int32_t>(first - hop * hopFrames_);
    for (int32_t i = 0; i < frames;) {
        if (!hasNode_ || hop != node_) {
            const bool follows = hasNode_ && hop == node_ + 1;
            at_ = follows ? next_ : Node(hop);
            next_ = Node(hop + 1);
            node_ = hop;
            hasNode_ = true;
        }
        const float step = (next_ - at_) / static_cast<float>(hopFrames_);
        for (; within < hopFrames_ && i < frames; ++within, ++i)
            amounts[i] = at_ + step * static_cast<float>(within);
        within = 0;
        ++hop;
    }
}

}  // namespace ondarix
