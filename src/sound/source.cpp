// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/source.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <thread>
#include <utility>

namespace ondarix {

namespace {

// Silence without a length, for what could not be opened.
class LNothingSource final : public LSoundSource {
  public:
    explicit LNothingSource(LSoundError reason) : LSoundSource(11025, 1) { error = reason; }
    float* Read(float* dest, int32_t frames) override { return Silence(dest, frames); }
    int64_t GetPosition() override { return 0; }
    int64_t GetLength() override { return 0; }
};

}  // namespace

LSoundSource::LSoundSource(int64_t rate, int channelCount) : sampleRate(44100), channels(1) {
    if (rate >= 1 && rate <= std::numeric_limits<int32_t>::max()) {
        sampleRate = static_cast<uint32_t>(rate);
    } else {
        error = kSourceBadHeader;
    }
    if (channelCount >= 1 && channelCount <= 255) {
        channels = static_cast<uint8_t>(channelCount);
    } else {
        error = kSourceBadHeader;
    }
}

void LSoundSource::WaitForData(uint32_t ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

float* LSoundSource::Silence(float* dest, int64_t frames) const {
    return std::fill_n(dest, std::max<int64_t>(frames, 0) * channels, 0.0f);
}

// The empty source is never counted, so that threads which hold nothing do not share a cache line.

LSoundSource* LSoundSourceRef::EmptySource() {
    static LSoundSource* const empty = new LNothingSource(kSourceEmpty);
    return empty;
}

LSoundSourceRef::LSoundSourceRef() : source_(EmptySource()) {}

LSoundSourceRef::LSoundSourceRef(LSoundSource* source) : source_(source ? source : EmptySource()) {
    if (!IsEmpty()) source_->refCount.fetch_add(1, std::memory_order_relaxed);
}

LSoundSourceRef::LSoundSourceRef(const LSoundSourceRef& other) : LSoundSourceRef(other.source_) {}

LSoundSourceRef::LSoundSourceRef(LSoundSourceRef&& other) noexcept
    : source_(std::exchange(other.source_, EmptySource())) {}

LSoundSourceRef& LSoundSourceRef::operator=(const LSoundSourceRef& other) {
    if (other.source_ == source_ || other.IsEmpty()) return *this;
    LSoundSourceRef copy(other);
    std::swap(source_, copy.source_);
    return *this;
}

LSoundSourceRef& LSoundSourceRef::operator=(LSoundSourceRef&& other) noexcept {
    if (this == &other || other.IsEmpty()) return *this;
    LSoundSourceRef taken(std::move(other));
    std::swap(source_, taken.source_);
    return *this;
}

LSoundSourceRef::~LSoundSourceRef() { Release(); }

void LSoundSourceRef::Reset() { Release(); }

bool LSoundSourceRef::IsEmpty() const { return source_ == EmptySource(); }

void LSoundSourceRef::Release() {
    LSoundSource* const old = std::exchange(source_, EmptySource());
    if (old == source_) return;
    if (old->refCount.fetch_sub(1, std::memory_order_acq_rel) == 1) delete old;
}

LSoundSourceRef FailedSource(LSoundError error) { return MakeSource<LNothingSource>(error); }

}  // namespace ondarix
