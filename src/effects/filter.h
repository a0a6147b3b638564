// SPDX-License-Identifier: GPL-3.0-or-later
// What an effect is made of while it works: a source that changes the samples passing through it. Built once
// for each pass and thrown away; used by one thread at a time.
#pragma once
#include <utility>

#include "sound/source.h"

namespace ondarix {

// The largest sample magnitude that saving, and every result of an effect, holds; louder is limited.
inline constexpr float kResultPeak = 0.999969482421875f;  // 1 - 2^-15

// `error` of a filter: kSourceGood, or one of these.
inline constexpr uint8_t kFilterSourceFailed = 2;
inline constexpr uint8_t kFilterBadFormat = 3;

class LSoundFilter : public LSoundSource {
  public:
    // Without a source (an empty handle): 44100 Hz, mono, peak bound 16; it reads zeros, which the effect
    // still runs over, so that tails and generators work. Otherwise rate, channels and peak bound of the
    // source; derived classes raise the bound where they may raise levels.
    explicit LSoundFilter(LSoundSourceRef source);

    // A block of the source, changed by Process. 0 frames move nothing.
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override;
    int64_t GetLength() override;
    // Moves the source and forgets what the filter remembers of the samples before.
    void Seek(int64_t frame) override;
    // All but the width of integer samples, which a changed sample has no more.
    bool Query(uint32_t id, void* result) override;
    int32_t Adjust(int32_t value, uint32_t low, uint32_t high) override;
    bool IsGrowing() override { return HasSource() && source_->IsGrowing(); }
    void WaitForData(uint32_t ms) override;

  protected:
    // `block`: frames * channels interleaved samples, changed in place; `position`: frame of the first.
    virtual void Process(float* block, int32_t frames, int64_t position) = 0;
    // As fresh: delay lines, phases and gains as they were when the filter was built.
    virtual void Reset() {}
    bool HasSource() const { return !source_.IsEmpty(); }

    LSoundSourceRef source_;

  private:
    int64_t position_ = 0;  // without a source
};

// `source` itself where it has failed (its error says why), otherwise a new Filter over it. What an effect's
// CreateFilter ends with.
template <typename Filter, typename... Args>
LSoundSourceRef WrapInFilter(LSoundSourceRef source, Args&&... args) {
    if (!source.IsEmpty() && !source.IsUsable()) return source;
    return MakeSource<Filter>(std::move(source), static_cast<Args&&>(args)...);
}

}  // namespace ondarix
