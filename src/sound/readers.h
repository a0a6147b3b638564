// SPDX-License-Identifier: GPL-3.0-or-later
// Sources over a sound. Each belongs to one thread and has its own file handle, so a reader goes on
// delivering what it was made over while the original is edited or destroyed.
#pragma once
#include <memory>
#include <vector>

#include "sound/sound.h"

namespace ondarix {

// `length` frames of zeros. Positions outside are kept as they are asked for.
class LSilenceSource final : public LSoundSource {
  public:
    LSilenceSource(LSoundFormat format, int64_t length);
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return length_; }
    void Seek(int64_t frame) override { position_ = frame; }

  private:
    int64_t length_, position_ = 0;
};

// One working file times a gain. A position may lie before the start or behind the end of the file; what
// is not there, or has gone from disk, reads as silence.
class LCacheFileReader final : public LSoundSource {
  public:
    LCacheFileReader(uint16_t id, LSoundFormat format, float gain = 1.0f);
    // For a working file outside the cache, by its full path.
    LCacheFileReader(const QString& path, LSoundFormat format, float gain = 1.0f);
    ~LCacheFileReader() override;
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override;  // of the file as it is now, which may grow
    void Seek(int64_t frame) override { position_ = frame; }
    bool IsOpen() const { return fd_ >= 0; }
    // Another gain on the same open file: what a list of segments over one file needs at each boundary.
    void SetGain(float gain) { gain_ = gain; }
    uint16_t Id() const { return id_; }

  private:
    int fd_ = -1;
    uint16_t id_ = kSilenceId;
    float gain_;
    int64_t position_ = 0;
};

// One segment of a list; positions count from the segment's first frame.
class LSegmentSource final : public LSoundSource {
  public:
    // `reuse`: a reader over the same working file whose handle is taken over, or null.
    LSegmentSource(const LSoundSegment& segment, LSoundFormat format,
                   std::unique_ptr<LCacheFileReader> reuse = nullptr);
    ~LSegmentSource() override;
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override;
    int64_t GetLength() override { return length_; }
    void Seek(int64_t frame) override;
    std::unique_ptr<LCacheFileReader> TakeFileReader();

  private:
    int64_t offset_, length_;
    std::unique_ptr<LCacheFileReader> file_;
    std::unique_ptr<LSilenceSource> silence_;
};

// A whole sound through a private copy. Reading before the start and past the end is silence and never
// fails. The peak bound stays unknown here; who needs it asks SoundPeak. An empty sound gives the error
// kSourceEmpty. A few working files that the position has left stay open, for sounds that were put together
// from pieces of them.
class LSoundReader final : public LSoundSource {
  public:
    explicit LSoundReader(const LSound& sound);
    ~LSoundReader() override;
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return length_; }
    void Seek(int64_t frame) override { position_ = frame; }  // kept as it is; opens no file

  private:
    bool FindSegment();  // the one at the position; false when there is none
    void TakeFile();     // the file of `current_` becomes `file_`

    LSound sound_;
    const LSoundSegment* current_ = nullptr;
    int64_t base_ = 0;  // first frame of `current_`
    int64_t length_ = 0;
    int64_t position_ = 0;
    std::unique_ptr<LCacheFileReader> file_;
    std::vector<std::unique_ptr<LCacheFileReader>> idle_;  // the last used at the end
};

// A bound of the samples that reading `sound` gives: the largest magnitude, taken from the peak graphs and
// rounded up to their unit. Blocks that a graph cannot tell from full scale are read, so that between
// 0.99997 and 1.0 the answer is exact. kUnknownPeak where a graph is missing.
float SoundPeak(const LSound& sound);

// False when a working file of the sound has gone from disk, so that reading gives silence in its place.
bool IsOnDisk(const LSound& sound);

// True when every sample is known to come from integer samples of `bits` bits, not scaled since, or to be
// silence. Such a sound is written at that width without any change (at 32 bits as far as a float holds
// them). Another width does not do: the scales 1/127, 1/32767 and 1/8388607 have no common grid.
bool IsOnIntegerGrid(const LSound& sound, int bits);

}  // namespace ondarix
