// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/reverse.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>
#include <vector>

#include "dsp/gain.h"
#include "sound/wrapper_source.h"

namespace ondarix {
namespace {

constexpr int64_t kReverseBlock = 8192;  // frames

// Blocks lie at multiples of kReverseBlock of what is given out, so that the places where the child is moved
// to, and with them the samples of a child with a memory, do not depend on how much is read at once. Two are
// kept: a reversing parent asks for pieces of two, from back to front, and comes to each of them twice; were
// they read again, each of several reverses in a row would double the work.
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

    struct LBlock {
        int64_t start = -1, frames = 0;  // of what is given out
        std::vector<float> samples;      // as the child gives them
    };

    int64_t GiveReversed(float* dest, int64_t frames) {
        const LBlock& block = BlockAt(position_ - position_ % kReverseBlock);
        const int64_t passed = position_ - block.start;
        const int64_t given = std::min(frames, block.frames - passed);
        ReverseFrames(block.samples.data() + (block.frames - passed - given) * channels, dest, given,
                      channels);
        return given;
    }

    const LBlock& BlockAt(int64_t start) {
        for (const LBlock& block : blocks_)
            if (block.start == start) return block;
        const auto away = [start](const LBlock& block) {
            return block.start < 0 ? std::numeric_limits<int64_t>::max() : std::abs(block.start - start);
        };
        LBlock& block = away(blocks_[0]) > away(blocks_[1]) ? blocks_[0] : blocks_[1];
        Load(block, start);
        return block;
    }

    void Load(LBlock& block, int64_t start) {
        block.start = -1;
        block.frames = std::min(kReverseBlock, length_ - start);
        block.samples.resize(static_cast<size_t>(block.frames * channels));
        child_->Seek(length_ - start - block.frames);
        child_->Read(block.samples.data(), static_cast<int32_t>(block.frames));
        block.start = start;
    }

    int64_t length_;
    int64_t position_ = 0;
    LBlock blocks_[2];
};

}  // namespace

LSoundSourceRef LReverseEffect::CreateFilter(LSoundSourceRef source) const {
    if (source.IsEmpty() || !source.IsUsable() || source->GetLength() <= 1) return source;
    return MakeSource<LReverseSource>(std::move(source));
}

}  // namespace ondarix
