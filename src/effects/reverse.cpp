// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/reverse.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "dsp/gain.h"
#include "sound/wrapper_source.h"

namespace ondarix {
namespace {

constexpr int64_t kReverseBlock = 8192;  // frames

// Blocks lie at multiples of kReverseBlock of what is given out, so that the places where the child is moved
// to, and with them the samples of a child with a memory, do not depend on how much is read at once.
class LReverseSource final : public LWrapperSource {
  public:
    explicit LReverseSource(LSoundSourceRef child)
        : LWrapperSource(std::move(child)), length_(child_->GetLength()) {}

    float* Read(float* dest, int32_t frames) override {
        for (int64_t left = frames; left > 0;) {
            const int64_t given =
                position_ < 0 || position_ >= length_ ? GiveSilence(dest, left) : GiveReversed(dest, left);
            dest += given * channels;
            position_ += given;
            left -= given;
        }
        return dest;
    }
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return length_; }
    void Seek(int64_t frame) override { position_ = std::min(frame, length_); }
    bool IsGrowing() override { return false; }

  private:
    int64_t GiveSilence(float* dest, int64_t frames) const {
        const int64_t given = position_ < 0 && frames > -position_ ? -position_ : frames;
        Silence(dest, given);
        return given;
    }

    int64_t GiveReversed(float* dest, int64_t frames) {
        LoadBlock(position_ - position_ % kReverseBlock);
        const int64_t passed = position_ - blockStart_;
        const int64_t given = std::min(frames, blockFrames_ - passed);
        ReverseFrames(block_.data() + (blockFrames_ - passed - given) * channels, dest, given, channels);
        return given;
    }

    void LoadBlock(int64_t start) {
        if (start == blockStart_) return;
        blockStart_ = start;
        blockFrames_ = std::min(kReverseBlock, length_ - start);
        block_.resize(static_cast<size_t>(blockFrames_ * channels));
        child_->Seek(length_ - start - blockFrames_);
        child_->Read(block_.data(), static_cast<int32_t>(blockFrames_));
    }

    int64_t length_;
    int64_t position_ = 0;
    int64_t blockStart_ = -1, blockFrames_ = 0;  // of what is given out
    std::vector<float> block_;                   // as the child gives it
};

}  // namespace

LSoundSourceRef LReverseEffect::CreateFilter(LSoundSourceRef source) const {
    if (source.IsEmpty() || !source.IsUsable() || source->GetLength() <= 1) return source;
    return MakeSource<LReverseSource>(std::move(source));
}

}  // namespace ondarix
