// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "devices/play_wrapper.h"
#include "dsp/time_stretch.h"

namespace ondarix {

// A speed as whole numbers, so that positions are counted exactly.
struct LPlayRatio {
    static constexpr int64_t kUnit = 1'000'000;
    int64_t parts = kUnit;               // of kUnit
    static LPlayRatio Of(double speed);  // held to 0.1 to 5; 1 for what is no number
    bool IsOne() const { return parts == kUnit; }
    int64_t ToChild(int64_t played) const;  // frame that lies there, to the nearest
    int64_t FromChild(int64_t frame) const;
};

// The child as a tape that runs faster or slower: pitch and all. The frames that come out depend on their
// position alone.
class LTapeSource final : public LPlayWrapper {
  public:
    LTapeSource(LSoundSourceRef child, LPlayRatio speed);
    float* Read(float* dest, int32_t frames) override { return converted_->Read(dest, frames); }
    int64_t GetPosition() override { return converted_->GetPosition(); }
    int64_t GetLength() override { return converted_->GetLength(); }
    void Seek(int64_t frame) override { converted_->Seek(frame); }

  private:
    LSoundSourceRef converted_;
};

// The child faster or slower at its pitch.
class LStretchSource final : public LPlayWrapper {
  public:
    LStretchSource(LSoundSourceRef child, LPlayRatio speed);
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override;
    void Seek(int64_t frame) override { position_ = std::min(frame, GetLength()); }

  private:
    LPlayRatio speed_;
    LTimeStretch stretch_;
    int64_t position_ = 0;
};

// The child itself at speed 1.
LSoundSourceRef PlayAtSpeed(LSoundSourceRef child, LPlayRatio speed, bool keepPitch);

}  // namespace ondarix
