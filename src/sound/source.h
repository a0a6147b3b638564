// SPDX-License-Identifier: GPL-3.0-or-later
// The pull interface of the engine: file readers, views of a sound, converters, effects and players are all
// sources of interleaved 32-bit floats, full scale 1.0, louder values legal. A source is used by one thread
// at a time; only its reference count is atomic.
#pragma once
#include <atomic>
#include <cstdint>

#include "sound/format.h"

namespace ondarix {

enum LSoundError : uint8_t {
    kSourceGood = 0,
    kSourceEmpty = 1,      // the shared source that stands for nothing; a reader over an empty sound
    kSourceBadHeader = 3,  // opened, but its header is unusable, or an invalid format was asked for
    kSourceCannotOpen = 4,
    kSourceUnsupported = 5,  // a known container with a coding that is not supported
    kSourceRefused = 7,      // a coding that is deliberately refused
};

// Queries that this program asks.
enum LSourceQuery : uint32_t {
    // Whether a limiter lowers the block that it gave last; uint32_t* or null: how many blocks that were too
    // loud it has given so far. [any]
    kQueryLimited = 7,
    kQueryIntegerBits = 101,  // uint32_t*: width of the integer samples that are being decoded
};

inline constexpr float kUnknownPeak = 16.0f;  // peak bound of wrappers that know nothing better

class LSoundSource {
  public:
    // Rate below 1 becomes 44100, channels 0 become 1; both set the error kSourceBadHeader.
    LSoundSource(int64_t rate, int channelCount);
    virtual ~LSoundSource() = default;
    LSoundSource(const LSoundSource&) = delete;
    LSoundSource& operator=(const LSoundSource&) = delete;

    // Fills `frames` interleaved frames and answers the address past the last float written. What the source
    // cannot supply is zero: before frame 0 (a negative position), past the end, and after a failure.
    virtual float* Read(float* dest, int32_t frames) = 0;
    virtual int64_t GetPosition() = 0;  // frames; the next to be read
    virtual int64_t GetLength() = 0;    // frames; may grow while IsGrowing()
    // Past the end: clamped to the length, unless a source says otherwise.
    virtual void Seek(int64_t /*frame*/) {}
    // Queries by number that only some sources answer.
    virtual bool Query(uint32_t /*id*/, void* /*result*/) { return false; }
    virtual int32_t Adjust(int32_t value, uint32_t, uint32_t) { return value; }
    virtual bool IsGrowing() { return false; }
    // Blocks until a growing source may have more.
    virtual void WaitForData(uint32_t ms);

    LSoundFormat Format() const { return {static_cast<int32_t>(sampleRate), channels}; }
    // Zeroes `frames` frames and answers the address past them.
    float* Silence(float* dest, int64_t frames) const;

    uint32_t sampleRate;
    uint8_t channels;
    float peak = kUnknownPeak;  // largest absolute sample that can come out
    uint8_t error = kSourceGood;
    std::atomic<uint32_t> refCount{0};
};

// The counted handle that owns sources. Never null: an empty handle points to the shared empty source
// (rate 11025, mono, error kSourceEmpty). Assigning a handle to itself or from an empty handle changes
// nothing; Reset() lets go.
class LSoundSourceRef {
  public:
    LSoundSourceRef();
    explicit LSoundSourceRef(LSoundSource* source);  // takes a new source; null stands for empty
    LSoundSourceRef(const LSoundSourceRef& other);
    LSoundSourceRef(LSoundSourceRef&& other) noexcept;
    LSoundSourceRef& operator=(const LSoundSourceRef& other);
    LSoundSourceRef& operator=(LSoundSourceRef&& other) noexcept;
    ~LSoundSourceRef();

    void Reset();
    bool IsEmpty() const;
    bool IsUsable() const { return source_->error == kSourceGood; }
    LSoundSource* operator->() const { return source_; }
    LSoundSource& operator*() const { return *source_; }
    LSoundSource* Get() const { return source_; }

    static LSoundSource* EmptySource();

  private:
    void Release();
    LSoundSource* source_;
};

template <typename T, typename... Args>
LSoundSourceRef MakeSource(Args&&... args) {
    return LSoundSourceRef(new T(static_cast<Args&&>(args)...));
}

// A source that failed before it had a format: 11025 Hz, mono, silence.
LSoundSourceRef FailedSource(LSoundError error);

}  // namespace ondarix
