// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/plain_rounding.h"

#include <vector>

#include "dsp/sample_convert.h"
#include "sound/readers.h"
#include "sound/wrappers.h"

namespace ondarix {
namespace {

class LRoundedSource final : public LSoundSource {
  public:
    LRoundedSource(LSoundSourceRef child, int bits)
        : LSoundSource(child->sampleRate, child->channels), child_(std::move(child)), bits_(bits) {
        peak = child_->peak;
    }
    float* Read(float* dest, int32_t frames) override {
        float* const end = child_->Read(dest, frames);
        const int64_t count = end - dest;
        integers_.resize(static_cast<size_t>(count) * 2);
        if (bits_ == 8) {
            Pcm8FromFloat(dest, integers_.data(), count);
            FloatFromPcm8(integers_.data(), dest, count);
        } else {
            Pcm16FromFloat(dest, integers_.data(), count);
            FloatFromPcm16(integers_.data(), dest, count);
        }
        return end;
    }
    int64_t GetPosition() override { return child_->GetPosition(); }
    int64_t GetLength() override { return child_->GetLength(); }
    void Seek(int64_t frame) override { child_->Seek(frame); }

  private:
    LSoundSourceRef child_;
    int bits_;
    std::vector<uint8_t> integers_;
};

}  // namespace

JobResult RoundToIntegers(LSound& sound, int bits, LProgress& progress) {
    if (sound.IsEmpty() || IsOnIntegerGrid(sound, bits)) return JobResult::kSuccess;
    LSoundSourceRef reader = MakeSource<LSoundReader>(sound);
    reader->peak = SoundPeak(sound);
    LRoundedSource rounded(LimitPeaks(std::move(reader), kPcmPeakBound), bits);
    LSound result;
    const JobResult ended = LSound::Render(result, progress, rounded, "Rounding...");
    if (ended != JobResult::kSuccess) return ended;
    if (result.segments) SetCacheSourceBits(result.segments->cacheRef.cacheId, static_cast<uint32_t>(bits));
    sound = std::move(result);
    return ended;
}

}  // namespace ondarix
