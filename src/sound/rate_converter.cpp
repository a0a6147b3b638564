// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/rate_converter.h"

#include <algorithm>
#include <utility>

#include "sound/channel_mix.h"

namespace ondarix {

namespace {

constexpr float kDoubledUpTo = 8.0f;

}  // namespace

LRateConverterSource::LRateConverterSource(LSoundSourceRef child, int32_t rate)
    : LSoundSource(rate, child->channels),
      child_(std::move(child)),
      resampler_(static_cast<int32_t>(child_->sampleRate), static_cast<int32_t>(sampleRate), channels,
                 [this](float* dest, int64_t first, int64_t frames) { Fetch(dest, first, frames); }) {
    if (error == kSourceGood) error = child_->error;
    peak = child_->peak <= kDoubledUpTo ? child_->peak * 2 : child_->peak;
    position_ = ScaledLength(std::max<int64_t>(child_->GetPosition(), 0), child_->sampleRate, sampleRate);
}

void LRateConverterSource::Fetch(float* dest, int64_t first, int64_t frames) {
    if (first < 0) {
        const int64_t silent = std::min(-first, frames);
        dest = child_->Silence(dest, silent);
        first += silent;
        frames -= silent;
    }
    const int64_t real = std::clamp<int64_t>(child_->GetLength() - first, 0, frames);
    if (real > 0) {
        if (child_->GetPosition() != first) child_->Seek(first);
        if (child_->GetPosition() == first) {
            dest = child_->Read(dest, static_cast<int32_t>(real));
        } else {
            dest = child_->Silence(dest, real);
        }
    }
    child_->Silence(dest, frames - real);
}

float* LRateConverterSource::Read(float* dest, int32_t frames) {
    if (position_ < 0) {
        const auto silent = static_cast<int32_t>(std::min<int64_t>(-position_, frames));
        dest = Silence(dest, silent);
        position_ += silent;
        frames -= silent;
    }
    const int64_t real = frames > 0 ? std::clamp<int64_t>(GetLength() - position_, 0, frames) : 0;
    resampler_.Produce(dest, position_, real);
    position_ += frames;
    return Silence(dest + real * channels, frames - real);
}

int64_t LRateConverterSource::GetLength() {
    const bool growing = child_->IsGrowing();
    const int64_t frames = child_->GetLength();
    const int64_t length = ScaledLength(std::max<int64_t>(frames, 0), child_->sampleRate, sampleRate);
    return growing ? std::min(length, resampler_.Ready(frames)) : length;
}

void LRateConverterSource::Seek(int64_t frame) { position_ = std::min(frame, GetLength()); }

LSoundSourceRef ConvertRate(LSoundSourceRef source, int32_t rate) {
    if (static_cast<int32_t>(source->sampleRate) == rate) return source;
    return MakeSource<LRateConverterSource>(std::move(source), rate);
}

LSoundSourceRef ConvertToFormat(LSoundSourceRef source, LSoundFormat target) {
    if (!target.IsValid()) return {};
    if (target.channels < source->channels) source = MixChannels(std::move(source), target.channels);
    source = ConvertRate(std::move(source), target.sampleRate);
    return MixChannels(std::move(source), target.channels);
}

}  // namespace ondarix
