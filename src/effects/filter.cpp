// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/filter.h"

#include <utility>

namespace ondarix {

LSoundFilter::LSoundFilter(LSoundSourceRef source)
    : LSoundSource(source.IsEmpty() ? 44100 : source->sampleRate, source.IsEmpty() ? 1 : source->channels),
      source_(std::move(source)) {
    if (!HasSource()) return;
    peak = source_->peak;
    if (source_->error != kSourceGood) error = kFilterSourceFailed;
}

float* LSoundFilter::Read(float* dest, int32_t frames) {
    if (frames <= 0) return dest;
    const int64_t position = GetPosition();
    float* const end = HasSource() ? source_->Read(dest, frames) : Silence(dest, frames);
    if (!HasSource()) position_ += frames;
    Process(dest, frames, position);
    return end;
}

int64_t LSoundFilter::GetPosition() { return HasSource() ? source_->GetPosition() : position_; }

int64_t LSoundFilter::GetLength() { return HasSource() ? source_->GetLength() : 0; }

void LSoundFilter::Seek(int64_t frame) {
    if (HasSource())
        source_->Seek(frame);
    else
        position_ = frame;
    Reset();
}

bool LSoundFilter::Query(uint32_t id, void* result) {
    return id != kQueryIntegerBits && HasSource() && source_->Query(id, result);
}

int32_t LSoundFilter::Adjust(int32_t value, uint32_t low, uint32_t high) {
    return HasSource() ? source_->Adjust(value, low, high) : value;
}

void LSoundFilter::WaitForData(uint32_t ms) {
    if (HasSource()) source_->WaitForData(ms);
}

}  // namespace ondarix
