// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/play_skip.h"

#include <algorithm>
#include <cmath>

namespace ondarix {
namespace {

constexpr int64_t kFadeFrames = 256;
constexpr double kLargestFactor = 1e6;

int64_t StepOf(double factor) {
    const double held = std::clamp(factor, -kLargestFactor, kLargestFactor);
    const int64_t step = std::llround(held * static_cast<double>(LSkipSource::kPieceFrames));
    return step != 0 ? step : LSkipSource::kPieceFrames;
}

}  // namespace

LSkipSource::LSkipSource(LSoundSourceRef child, int64_t origin, double factor)
    : LPlayWrapper(std::move(child)),
      origin_(std::max<int64_t>(origin, 0)),
      step_(StepOf(factor)),
      old_(static_cast<size_t>(kFadeFrames) * channels) {
    GetLength();
}

int64_t LSkipSource::Frames(int64_t childFrames) const {
    const int64_t way = step_ > 0 ? childFrames - origin_ : origin_;
    if (way <= 0) return 0;
    const int64_t pieces = (way - 1) / std::abs(step_) + 1;
    if (step_ < 0) return pieces * kPieceFrames;
    return (pieces - 1) * kPieceFrames + std::min(kPieceFrames, childFrames - Begin(pieces - 1));
}

int64_t LSkipSource::GetLength() {
    const int64_t length = child_->GetLength();
    childFrames_.store(length, std::memory_order_relaxed);
    return Frames(length);
}

// Over `frames` frames of a piece, the first of which is its frame `from`.
void LSkipSource::Fade(float* dest, int64_t piece, int64_t from, int64_t frames) {
    ReadChild(old_.data(), Begin(piece - 1) + kPieceFrames + from, frames);
    for (int64_t i = 0; i < frames; ++i) {
        const float share = static_cast<float>(from + i) / static_cast<float>(kFadeFrames);
        for (int64_t at = i * channels; at < (i + 1) * channels; ++at) {
            const float before = old_[static_cast<size_t>(at)];
            dest[at] = before + share * (dest[at] - before);
        }
    }
}

float* LSkipSource::Read(float* dest, int32_t frames) {
    const int64_t before = std::clamp<int64_t>(-position_, 0, frames);
    int64_t real = std::clamp<int64_t>(GetLength() - position_, before, frames) - before;
    const int64_t behind = frames - before - real;
    dest = Silence(dest, before);
    for (int64_t at = position_ + before; real > 0;) {
        const int64_t piece = at / kPieceFrames, from = at % kPieceFrames;
        const int64_t count = std::min(real, kPieceFrames - from);
        float* const end = ReadChild(dest, Begin(piece) + from, count);
        if (piece > 0 && from < kFadeFrames) Fade(dest, piece, from, std::min(count, kFadeFrames - from));
        dest = end;
        at += count;
        real -= count;
    }
    position_ += frames;
    return Silence(dest, behind);
}

int64_t LSkipSource::ToChild(int64_t played) const {
    const int64_t length = childFrames_.load(std::memory_order_relaxed);
    if (played >= Frames(length)) return step_ < 0 ? 0 : length;
    played = std::max<int64_t>(played, 0);
    return std::min(Begin(played / kPieceFrames) + played % kPieceFrames, length);
}

int64_t LSkipSource::FromChild(int64_t frame) const {
    const int64_t all = Frames(childFrames_.load(std::memory_order_relaxed));
    if (all == 0) return 0;
    const int64_t way = (frame - origin_) * (step_ > 0 ? 1 : -1), step = std::abs(step_);
    int64_t piece = std::clamp<int64_t>(way / step, 0, (all - 1) / kPieceFrames);
    // Wound back, the nearest piece that begins at or before the frame.
    if (step_ < 0 && Begin(piece) > frame && (piece + 1) * kPieceFrames < all) ++piece;
    const int64_t inPiece = std::clamp<int64_t>(frame - Begin(piece), 0, kPieceFrames - 1);
    return std::min(piece * kPieceFrames + inPiece, all);
}

}  // namespace ondarix
