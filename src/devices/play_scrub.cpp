// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>

#include "devices/play_chain.h"

namespace ondarix {
namespace {

constexpr double kFastestScrub = 4.0;
constexpr double kSecondsToFull = 0.03;  // from rest to the largest speed
constexpr double kApproachSeconds = 0.04;
constexpr double kSlowestApproach = 0.02;  // so that it arrives
constexpr double kFullGainSpeed = 0.25;
constexpr int64_t kScrubWindow = 4096;
constexpr int64_t kAround = 4;  // frames that an interpolated one is made of
constexpr float kCubicOvershoot = 1.25f;

float GainOf(double velocity) {
    const double share = std::min(std::fabs(velocity) / kFullGainSpeed, 1.0);
    return static_cast<float>(share * share * (3.0 - 2.0 * share));
}

}  // namespace

LScrubSource::LScrubSource(LSoundSourceRef sound, int64_t frame)
    : LSoundSource(sound->sampleRate, sound->channels),
      sound_(std::move(sound)),
      target_(frame),
      soundFrame_(frame),
      frame_(frame),
      acceleration_(kFastestScrub / (kSecondsToFull * sampleRate)),
      approach_(kApproachSeconds * sampleRate),
      window_(static_cast<size_t>(kScrubWindow) * channels) {
    error = sound_->error;
    peak = sound_->peak < kUnknownPeak ? sound_->peak * kCubicOvershoot : sound_->peak;
}

int64_t LScrubSource::GetLength() { return int64_t{1} << 60; }

// The speed that leaves room to stop at the target is half of what the acceleration would allow: what is
// left takes up that it changes in steps.
void LScrubSource::Step(int64_t target) {
    const double way = static_cast<double>(target - frame_) - part_;
    const double distance = std::fabs(way);
    const double speed = std::min(
        {kFastestScrub, distance / approach_ + kSlowestApproach, std::sqrt(acceleration_ * distance)});
    const double change = std::copysign(speed, way) - velocity_;
    velocity_ += std::clamp(change, -acceleration_, acceleration_);
    if (distance <= 2 * acceleration_ && std::fabs(velocity_) <= 2 * acceleration_) {
        velocity_ = 0;
        frame_ = target;
        part_ = 0;
        return;
    }
    part_ += velocity_;
    const double whole = std::floor(part_);
    frame_ += static_cast<int64_t>(whole);
    part_ -= whole;
}

const float* LScrubSource::Around() {
    const int64_t first = frame_ - 1;
    if (first < windowFirst_ || first + kAround > windowFirst_ + windowFrames_) {
        const int64_t ahead = velocity_ < 0 ? kScrubWindow - 2 * kAround : kAround;
        windowFirst_ = first - ahead;
        windowFrames_ = kScrubWindow;
        const int64_t before = std::clamp<int64_t>(-windowFirst_, 0, windowFrames_);
        float* const real = sound_->Silence(window_.data(), before);
        if (before < windowFrames_) {
            const int64_t from = windowFirst_ + before;
            const int64_t there = std::clamp<int64_t>(length_ - from, 0, windowFrames_ - before);
            if (there > 0 && sound_->GetPosition() != from) sound_->Seek(from);
            float* const end = there > 0 ? sound_->Read(real, static_cast<int32_t>(there)) : real;
            sound_->Silence(end, windowFrames_ - before - there);
        }
    }
    return window_.data() + (first - windowFirst_) * channels;
}

// By the cubic through the two frames in the middle with the slopes that their neighbours give: E. Catmull
// and R. Rom, "A class of local interpolating splines", 1974.
void LScrubSource::Interpolate(float* dest, float gain) {
    const float* const at = Around();
    const auto t = static_cast<float>(part_);
    for (int c = 0; c < channels; ++c) {
        const float a = at[c], b = at[c + channels], d = at[c + 2 * channels], e = at[c + 3 * channels];
        const float slope = 0.5f * (d - a), bend = a - 2.5f * b + 2 * d - 0.5f * e;
        const float twist = 0.5f * (e - a) + 1.5f * (b - d);
        dest[c] = gain * (b + t * (slope + t * (bend + t * twist)));
    }
}

float* LScrubSource::Read(float* dest, int32_t frames) {
    const int64_t length = std::max<int64_t>(sound_->GetLength(), 0);
    if (length != length_) windowFrames_ = 0;  // it may hold silence where there is sound now
    length_ = length;
    const int64_t target = std::clamp<int64_t>(target_.load(std::memory_order_relaxed), 0, length);
    for (int32_t i = 0; i < frames; ++i, dest += channels) {
        Step(target);
        const float gain = GainOf(velocity_);
        if (gain > 0)
            Interpolate(dest, gain);
        else
            Silence(dest, 1);
    }
    position_ += frames;
    soundFrame_.store(std::clamp<int64_t>(frame_, 0, length), std::memory_order_relaxed);
    return dest;
}

}  // namespace ondarix
