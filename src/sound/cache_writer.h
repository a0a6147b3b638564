// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <memory>
#include <vector>

#include "dsp/peak.h"
#include "sound/sink.h"
#include "sound/sound.h"

namespace ondarix {

// Writes a new working file with its peak graph beside it. Readers may follow it while it grows: frames are
// on disk when Write returns, records of whole blocks too. Finish writes the partial block and the facts,
// and makes the owner sound this one segment.
class LCacheFileWriter final : public LSoundSink {
  public:
    // Allocates a number. `owner` may be null, and must outlive the writer otherwise.
    LCacheFileWriter(LSoundFormat format, LSound* owner);
    ~LCacheFileWriter() override;
    void Write(const float* src, int32_t frames) override;
    void Truncate(int64_t frames) override;
    void Seek(int64_t frame);  // graph position is frame / 256 blocks
    // Read from and written behind the rest when finishing: `frames` frames.
    void SetTailSource(LSoundSourceRef tail, int64_t frames);
    void Finish() override;
    uint16_t Id() const { return ref_.cacheId; }
    LSoundCacheRef Ref() const { return ref_; }

  private:
    void FlushGraph();
    void UpdateGraph(const float* src, int32_t frames);

    LSoundCacheRef ref_;
    LSound* owner_;
    int aud_ = -1, grf_ = -1;
    int64_t position_ = 0;    // frames; where the next Write goes
    int64_t graphBlock_ = 0;  // the record that the accumulators belong to
    int32_t inBlock_ = 0;     // frames accumulated
    std::vector<float> max_, min_;
    std::vector<LPeakPair> records_;
    LSoundSourceRef tail_;
    int64_t tailFrames_ = 0;
    bool finished_ = false;
};

// Pumps `source` from where it stands to its end into `sink`: blocks of kBlockFrames, fraction at most every
// 50 ms, cancel asked each block. Follows a growing source until it ends or is cancelled when `follow`.
JobResult PumpSource(LSoundSource& source, LSoundSink& sink, LProgress& progress, bool follow = false);

}  // namespace ondarix
