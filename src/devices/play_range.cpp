// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/play_range.h"

#include <algorithm>

namespace ondarix {

float* LPlayWrapper::ReadChild(float* dest, int64_t first, int64_t frames) {
    const int64_t before = std::clamp<int64_t>(-first, 0, frames);
    dest = Silence(dest, before);
    first += before;
    frames -= before;
    const int64_t real = std::clamp<int64_t>(child_->GetLength() - first, 0, frames);
    if (real > 0) {
        if (child_->GetPosition() != first) child_->Seek(first);
        dest = child_->Read(dest, static_cast<int32_t>(real));
    }
    return Silence(dest, frames - real);
}

LRangeSource::LRangeSource(LSoundSourceRef child, int64_t start, int64_t end)
    : LPlayWrapper(std::move(child)), start_(std::max<int64_t>(start, 0)), end_(end) {
    if (end_ >= 0) end_ = std::max(end_, start_);
}

float* LRangeSource::Read(float* dest, int32_t frames) {
    const int64_t before = std::clamp<int64_t>(-position_, 0, frames);
    const int64_t real = std::clamp<int64_t>(GetLength() - position_, 0, frames) - before;
    dest = Silence(dest, before);
    if (real > 0) dest = ReadChild(dest, start_ + position_ + before, real);
    position_ += frames;
    return Silence(dest, frames - before - std::max<int64_t>(real, 0));
}

int64_t LRangeSource::GetLength() {
    const int64_t length = child_->GetLength();
    return std::max<int64_t>((end_ < 0 ? length : std::min(end_, length)) - start_, 0);
}

void LRangeSource::Seek(int64_t frame) { position_ = std::min(frame, GetLength()); }

bool LRangeSource::IsGrowing() { return child_->IsGrowing() && (end_ < 0 || child_->GetLength() < end_); }

}  // namespace ondarix
