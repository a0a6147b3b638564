// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/sink.h"

#include <utility>

namespace ondarix {

LSoundSinkRef::LSoundSinkRef(LSoundSink* sink) : sink_(sink) {
    if (sink_) sink_->refCount.fetch_add(1, std::memory_order_relaxed);
}

LSoundSinkRef::LSoundSinkRef(const LSoundSinkRef& other) : LSoundSinkRef(other.sink_) {}

LSoundSinkRef::LSoundSinkRef(LSoundSinkRef&& other) noexcept : sink_(std::exchange(other.sink_, nullptr)) {}

LSoundSinkRef& LSoundSinkRef::operator=(const LSoundSinkRef& other) {
    if (other.sink_ == sink_ || !other.sink_) return *this;
    LSoundSinkRef copy(other);
    std::swap(sink_, copy.sink_);
    return *this;
}

LSoundSinkRef& LSoundSinkRef::operator=(LSoundSinkRef&& other) noexcept {
    if (this == &other || !other.sink_) return *this;
    LSoundSinkRef taken(std::move(other));
    std::swap(sink_, taken.sink_);
    return *this;
}

LSoundSinkRef::~LSoundSinkRef() { Reset(); }

void LSoundSinkRef::Reset() {
    LSoundSink* const old = std::exchange(sink_, nullptr);
    if (old && old->refCount.fetch_sub(1, std::memory_order_acq_rel) == 1) delete old;
}

}  // namespace ondarix
