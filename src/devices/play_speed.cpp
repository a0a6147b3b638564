// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/play_speed.h"

#include <algorithm>
#include <cmath>

#include "sound/rate_converter.h"

namespace ondarix {
namespace {

constexpr double kSlowest = 0.1, kFastest = 5.0;

// The same frames under another rate.
class LRelabelledSource final : public LSoundSource {
  public:
    LRelabelledSource(LSoundSourceRef child, int64_t rate)
        : LSoundSource(rate, child->channels), child_(std::move(child)) {
        error = child_->error;
        peak = child_->peak;
    }
    float* Read(float* dest, int32_t frames) override { return child_->Read(dest, frames); }
    int64_t GetPosition() override { return child_->GetPosition(); }
    int64_t GetLength() override { return child_->GetLength(); }
    void Seek(int64_t frame) override { child_->Seek(frame); }
    bool IsGrowing() override { return child_->IsGrowing(); }
    void WaitForData(uint32_t ms) override { child_->WaitForData(ms); }

  private:
    LSoundSourceRef child_;
};

}  // namespace

LPlayRatio LPlayRatio::Of(double speed) {
    if (!(speed > 0)) return {};
    return {std::llround(std::clamp(speed, kSlowest, kFastest) * kUnit)};
}

int64_t LPlayRatio::ToChild(int64_t played) const {
    return ScaledLength(std::max<int64_t>(played, 0), kUnit, parts);
}

int64_t LPlayRatio::FromChild(int64_t frame) const {
    return ScaledLength(std::max<int64_t>(frame, 0), parts, kUnit);
}

LTapeSource::LTapeSource(LSoundSourceRef child, LPlayRatio speed)
    : LPlayWrapper(std::move(child)),
      converted_(MakeSource<LRateConverterSource>(MakeSource<LRelabelledSource>(child_, speed.parts),
                                                  static_cast<int32_t>(LPlayRatio::kUnit))) {
    peak = converted_->peak;
}

LStretchSource::LStretchSource(LSoundSourceRef child, LPlayRatio speed)
    : LPlayWrapper(std::move(child)),
      speed_(speed),
      stretch_(static_cast<int32_t>(sampleRate), channels, speed.parts, LPlayRatio::kUnit,
               [this](float* dest, int64_t first, int64_t frames) { ReadChild(dest, first, frames); }),
      position_(speed.FromChild(child_->GetPosition())) {}

int64_t LStretchSource::GetLength() {
    const bool growing = child_->IsGrowing();
    const int64_t frames = child_->GetLength();
    const int64_t length = speed_.FromChild(frames);
    return growing ? std::min(length, stretch_.Ready(frames)) : length;
}

float* LStretchSource::Read(float* dest, int32_t frames) {
    const int64_t before = std::clamp<int64_t>(-position_, 0, frames);
    const int64_t real = std::clamp<int64_t>(GetLength() - position_, before, frames) - before;
    dest = Silence(dest, before);
    stretch_.Produce(dest, position_ + before, real);
    position_ += frames;
    return Silence(dest + real * channels, frames - before - real);
}

LSoundSourceRef PlayAtSpeed(LSoundSourceRef child, LPlayRatio speed, bool keepPitch) {
    if (speed.IsOne()) return child;
    if (keepPitch) return MakeSource<LStretchSource>(std::move(child), speed);
    return MakeSource<LTapeSource>(std::move(child), speed);
}

}  // namespace ondarix
