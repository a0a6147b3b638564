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
// and makes the owner sound this one segment. One thread.
class LCacheFileWriter final : public LSoundSink {
  public:
    // Allocates a number. `owner` may be null, and must outlive the writer otherwise.
    LCacheFileWriter(LSoundFormat format, LSound* owner);
    // Over a number that has been allocated; shares the reference.
    LCacheFileWriter(LSoundFormat format, LSoundCacheRef ref, LSound* owner);
    ~LCacheFileWriter() override;
    void Write(const float* src, int32_t frames) override;
    void Truncate(int64_t frames) override;
    // So many frames are going to be written, more or less: takes their room on disk at once, which is faster
    // than block by block. Before the first Write. The length of the file does not show it.
    void Expect(int64_t frames);
    // Where the next Write goes, 0 or more. What lies between the end and there is silence. Records of blocks
    // that are written in part again are made anew from the file.
    void Seek(int64_t frame);
    // Read from and written behind the rest when finishing: `frames` frames.
    void SetTailSource(LSoundSourceRef tail, int64_t frames);
    // For the facts: see CacheSourceBits.
    void SetSourceBits(uint32_t bits) { sourceBits_ = bits; }
    void Finish() override;
    uint16_t Id() const { return ref_.cacheId; }
    LSoundCacheRef Ref() const { return ref_; }

  private:
    void OpenFiles();
    void UpdateGraph(const float* src, int64_t frames);
    void Accumulate(const float* src, int64_t frames);
    void EmitRecord();
    void FlushRecords();
    void EnterBlock();  // accumulators of what the file has of the block before position_
    void LeaveBlock();  // the record of a block that is left before its end
    void ReadBack(int64_t from, int64_t to);
    void WriteTail();

    LSoundCacheRef ref_;
    LSound* owner_;
    int aud_ = -1, grf_ = -1;
    int64_t position_ = 0;     // frames; where the next Write goes
    int64_t recordsFrom_ = 0;  // block that records_ begin with
    int32_t inBlock_ = 0;      // frames of the present block that the accumulators cover
    std::vector<float> max_, min_;
    std::vector<LPeakPair> records_;
    LSoundSourceRef tail_;
    int64_t tailFrames_ = 0;
    uint32_t sourceBits_ = 0;
    bool finished_ = false;
    bool hasReserve_ = false;  // room behind the end
};

// A writer over a new number as a handle; `owner` as above.
LSoundSinkRef CreateCacheWriter(int32_t rate, uint8_t channels, LSound* owner);

// Pumps `source` from where it stands to its end into `sink`: blocks of kPumpFrames, fraction at most every
// 50 ms, cancel asked each block, both on this thread. Follows a growing source until it ends or is cancelled
// when `follow`. A sink that has failed ends it with kFailed. A long source that does not grow is read on
// another thread meanwhile, and may stand further on than what has been written when this ends early.
inline constexpr int32_t kPumpFrames = kBlockFrames;
JobResult PumpSource(LSoundSource& source, LSoundSink& sink, LProgress& progress, bool follow = false);
// The same on this thread alone: for sinks that take less time than handing blocks over.
JobResult PumpSourceHere(LSoundSource& source, LSoundSink& sink, LProgress& progress, bool follow = false);

}  // namespace ondarix
