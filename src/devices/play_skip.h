// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <atomic>
#include <vector>

#include "devices/play_wrapper.h"

namespace ondarix {

// The sound as it is heard while it is wound: pieces of it that run forwards, each a fixed way from the one
// before, with short crossfades between them. Ends where no further piece begins inside the child.
class LSkipSource final : public LPlayWrapper {
  public:
    static constexpr int64_t kPieceFrames = 8000;
    // The first piece begins at `origin`, the next one kPieceFrames * factor frames from there.
    LSkipSource(LSoundSourceRef child, int64_t origin, double factor);
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override;
    void Seek(int64_t frame) override { position_ = std::min(frame, GetLength()); }
    bool IsGrowing() override { return step_ > 0 && child_->IsGrowing(); }

    // Frame of the child at frame `played` of this, and the other way round; at the end the child's start or
    // end. By its length as it was last known. [any]
    int64_t ToChild(int64_t played) const;
    int64_t FromChild(int64_t frame) const;

  private:
    int64_t Begin(int64_t piece) const { return origin_ + piece * step_; }
    int64_t Frames(int64_t childFrames) const;
    void Fade(float* dest, int64_t piece, int64_t from, int64_t frames);

    int64_t origin_, step_;
    int64_t position_ = 0;
    std::atomic<int64_t> childFrames_{0};
    std::vector<float> old_;  // what the piece before would have gone on with
};

}  // namespace ondarix
