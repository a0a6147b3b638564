// SPDX-License-Identifier: GPL-3.0-or-later
// The push interface of the engine: whatever takes samples to keep them.
#pragma once
#include <atomic>
#include <cstdint>

#include "sound/format.h"

namespace ondarix {

// The destructor finalises the output (headers with the true sizes), so whether everything arrived is known
// only after it;
// Finish() does the same where somebody has to know. One thread at a time.
class LSoundSink {
  public:
    static constexpr uint8_t kFailed = 1;  // bit 0 of `flags`

    explicit LSoundSink(LSoundFormat format)
        : sampleRate(static_cast<uint32_t>(format.sampleRate)), channels(format.channels) {}
    virtual ~LSoundSink() = default;
    LSoundSink(const LSoundSink&) = delete;
    LSoundSink& operator=(const LSoundSink&) = delete;

    // Appends interleaved frames; a null `src` is ignored. A short write sets kFailed, nothing else.
    virtual void Write(const float* src, int32_t frames) = 0;
    // Cuts the output back to `frames` frames when that is no more than was written; negative means 0.
    virtual void Truncate(int64_t /*frames*/) {}
    // Does what the destructor would do, so that a failure while finalising can be seen: a full disk often
    // shows only here. Further calls do nothing; nothing may be written afterwards.
    virtual void Finish() {}

    bool HasFailed() const { return (flags & kFailed) != 0; }

    int64_t framesWritten = 0;
    uint32_t sampleRate;
    uint8_t channels;
    uint8_t flags = 0;
    std::atomic<uint32_t> refCount{0};
};

// Counted handle; may be null, which counts as failed.
class LSoundSinkRef {
  public:
    LSoundSinkRef() = default;
    explicit LSoundSinkRef(LSoundSink* sink);
    LSoundSinkRef(const LSoundSinkRef& other);
    LSoundSinkRef(LSoundSinkRef&& other) noexcept;
    LSoundSinkRef& operator=(const LSoundSinkRef& other);
    LSoundSinkRef& operator=(LSoundSinkRef&& other) noexcept;
    ~LSoundSinkRef();
    void Reset();
    bool IsUsable() const { return sink_ && !sink_->HasFailed(); }
    LSoundSink* operator->() const { return sink_; }
    LSoundSink* Get() const { return sink_; }

  private:
    LSoundSink* sink_ = nullptr;
};

template <typename T, typename... Args>
LSoundSinkRef MakeSink(Args&&... args) {
    return LSoundSinkRef(new T(static_cast<Args&&>(args)...));
}

}  // namespace ondarix
