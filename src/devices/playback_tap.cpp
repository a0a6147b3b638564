// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/playback_tap.h"

#include <algorithm>
#include <utility>

namespace ondarix {

void LPlaybackTap::Reset() {
    if (ring_.empty()) {
        ring_.resize(kSize);
    } else if (used_) {
        std::fill(ring_.begin(), ring_.end(), 0.0f);
    }
    at_ = 0;
    fade_ = used_ = false;
}

void LPlaybackTap::Pass(float* block, int32_t frames, int channels) {
    const bool fade = std::exchange(fade_, false);
    if (channels > kMostChannels || ring_.empty()) return;
    used_ = true;
    for (int32_t frame = 0; frame < frames; ++frame) {
        const float rising = static_cast<float>(frame) / static_cast<float>(frames);
        for (int c = 0; c < channels; ++c, ++block, at_ = (at_ + 1) & kMask) {
            if (fade) *block = ring_[at_] * (1.0f - rising) + *block * rising;
            ring_[at_] = *block;
        }
    }
}

LTapSource::LTapSource(LSoundSourceRef child, LPlaybackTap& tap)
    : LSoundSource(child->sampleRate, child->channels), child_(std::move(child)), tap_(tap) {
    error = child_->error;
    peak = child_->peak;
}

float* LTapSource::Read(float* dest, int32_t frames) {
    float* const end = child_->Read(dest, frames);
    tap_.Pass(dest, frames, channels);
    return end;
}

void LTapSource::Seek(int64_t frame) {
    // Positions that cannot be wrap around as the ring does.
    const auto before = static_cast<uint64_t>(child_->GetPosition());
    child_->Seek(frame);
    tap_.Move(static_cast<int64_t>((static_cast<uint64_t>(child_->GetPosition()) - before) * channels));
}

}  // namespace ondarix
