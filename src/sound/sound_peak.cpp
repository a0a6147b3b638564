// SPDX-License-Identifier: GPL-3.0-or-later
// What is known of a sound without reading its samples.
#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "dsp/peak.h"
#include "gen/bytes.h"
#include "sound/cache_state.h"
#include "sound/readers.h"

namespace ondarix {

namespace {

constexpr int64_t kGraphChunkRecords = 0x2000;
constexpr float kSurelyBelow =
    0.999969482421875f;  // 1 - 1/32768: at or below it nothing need be known exactly
constexpr float kSurelyAbove = 1.000001f;
constexpr float kRoundingRoom = 1.000001f;  // of the products with the scale

// A stretch of a working file whose largest magnitude is not known well enough.
struct OpenStretch {
    const LSoundSegment* segment;
    int64_t from, to;  // frames of the file
    float bound;
};

float UpperBound(uint16_t p, float gain) {
    if (p == 0) return 0.0f;
    if (p == 65535) return std::numeric_limits<float>::infinity();
    return (static_cast<float>(p) + 1.0f) * kPeakInverse * gain * kRoundingRoom;
}

bool IsOpen(uint16_t p, float gain) {
    if (p == 65535) return true;
    return UpperBound(p, gain) > kSurelyBelow && static_cast<float>(p) * kPeakInverse * gain <= kSurelyAbove;
}

class SoundPeakFinder {
  public:
    explicit SoundPeakFinder(LSoundFormat format) : format_(format) {}
    bool AddSegment(const LSoundSegment& segment);  // false: no graph
    float Finish();

  private:
    void AddRecords(const LSoundSegment& segment, int64_t firstBlock, const std::vector<LPeakPair>& pairs);
    void AddBlock(const LSoundSegment& segment, int64_t block, uint16_t p);
    float ExactPeak(const OpenStretch& stretch);

    LSoundFormat format_;
    int64_t begin_ = 0, end_ = 0;  // frames of the file that the segment covers
    float known_ = 0.0f;
    std::vector<OpenStretch> open_;
    std::unique_ptr<LCacheFileReader> reader_;
    std::vector<float> frames_;
};

bool SoundPeakFinder::AddSegment(const LSoundSegment& segment) {
    const uint16_t id = segment.cacheRef.cacheId;
    const int64_t fileFrames =
        std::max<int64_t>(FileSizeOf(CacheFileName(id, ".aud")), 0) / format_.FrameBytes();
    begin_ = std::max<int64_t>(segment.offset, 0);
    end_ = std::min(segment.EndInFile(), fileFrames);  // behind the file there is silence
    if (begin_ >= end_ || segment.gain == 0.0f) return true;
    LFileBytes graph(CacheFileName(id, ".grf"));
    if (!graph.IsOpen() || !std::isfinite(segment.gain)) return false;
    const int64_t last = (end_ + kPeakBlockFrames - 1) / kPeakBlockFrames;
    std::vector<LPeakPair> pairs;
    for (int64_t block = begin_ / kPeakBlockFrames; block < last; block += kGraphChunkRecords) {
        const int64_t records = std::min(kGraphChunkRecords, last - block);
        pairs.resize(static_cast<size_t>(records * format_.channels));
        const auto size = static_cast<int64_t>(pairs.size() * sizeof(LPeakPair));
        if (!graph.ReadExactlyAt(block * format_.FrameBytes(), pairs.data(), size)) return false;
        AddRecords(segment, block, pairs);
    }
    return true;
}

void SoundPeakFinder::AddRecords(const LSoundSegment& segment, int64_t firstBlock,
                                 const std::vector<LPeakPair>& pairs) {
    uint16_t most = 0;
    for (const LPeakPair& pair : pairs) most = std::max({most, pair.max, pair.min});
    const float gain = std::fabs(segment.gain);
    const int64_t records = static_cast<int64_t>(pairs.size()) / format_.channels;
    const bool inside =
        firstBlock * kPeakBlockFrames >= begin_ && (firstBlock + records) * kPeakBlockFrames <= end_;
    if (inside && UpperBound(most, gain) <= std::max(kSurelyBelow, known_)) {
        known_ = std::max(known_, UpperBound(most, gain));
        return;
    }
    for (int64_t record = 0; record < records; ++record) {
        uint16_t p = 0;
        for (int channel = 0; channel < format_.channels; ++channel) {
            const LPeakPair& pair = pairs[static_cast<size_t>(record * format_.channels + channel)];
            p = std::max({p, pair.max, pair.min});
        }
        AddBlock(segment, firstBlock + record, p);
    }
}

void SoundPeakFinder::AddBlock(const LSoundSegment& segment, int64_t block, uint16_t p) {
    const float gain = std::fabs(segment.gain);
    const float bound = UpperBound(p, gain);
    if (bound <= known_) return;
    const int64_t from = block * kPeakBlockFrames, to = from + kPeakBlockFrames;
    const bool partial = from < begin_ || to > end_;
    if (!partial && !IsOpen(p, gain)) {
        known_ = bound;
        return;
    }
    OpenStretch stretch{&segment, std::max(from, begin_), std::min(to, end_), bound};
    if (!open_.empty() && open_.back().segment == &segment &&
        stretch.from - open_.back().to <= kBlockFrames) {  // one read costs less than two
        open_.back().to = stretch.to;
        open_.back().bound = std::max(open_.back().bound, bound);
    } else {
        open_.push_back(stretch);
    }
}

float SoundPeakFinder::ExactPeak(const OpenStretch& stretch) {
    const uint16_t id = stretch.segment->cacheRef.cacheId;
    if (!reader_ || reader_->Id() != id) reader_ = std::make_unique<LCacheFileReader>(id, format_);
    reader_->SetGain(stretch.segment->gain);
    reader_->Seek(stretch.from);
    frames_.resize(static_cast<size_t>(kBlockFrames) * format_.channels);
    float most = 0.0f;
    for (int64_t left = stretch.to - stretch.from; left > 0;) {
        const auto piece = static_cast<int32_t>(std::min<int64_t>(left, kBlockFrames));
        reader_->Read(frames_.data(), piece);
        most = std::max(most, MaxMagnitude(frames_.data(), int64_t{piece} * format_.channels));
        left -= piece;
    }
    return most;
}

float SoundPeakFinder::Finish() {
    std::sort(open_.begin(), open_.end(), [](const auto& a, const auto& b) { return a.bound > b.bound; });
    for (const OpenStretch& stretch : open_) {
        if (stretch.bound <= known_) break;
        known_ = std::max(known_, ExactPeak(stretch));
    }
    return known_;
}

}  // namespace

float SoundPeak(const LSound& sound) {
    if (!sound.Format().IsValid()) return kUnknownPeak;
    SoundPeakFinder finder(sound.Format());
    for (const LSoundSegment* at = sound.segments.get(); at; at = at->next.get()) {
        if (at->length <= 0 || at->IsSilent()) continue;
        if (!finder.AddSegment(*at)) return kUnknownPeak;
    }
    return finder.Finish();
}

bool IsOnDisk(const LSound& sound) {
    uint16_t seen = kSilenceId;
    for (const LSoundSegment* at = sound.segments.get(); at; at = at->next.get()) {
        const uint16_t id = at->cacheRef.cacheId;
        if (at->length <= 0 || at->IsSilent() || id == seen) continue;
        if (!at->cacheRef.IsOfThisFolder() || FileSizeOf(CacheFileName(id, ".aud")) < 0) return false;
        seen = id;
    }
    return true;
}

bool IsOnIntegerGrid(const LSound& sound, int bits) {
    for (const LSoundSegment* at = sound.segments.get(); at; at = at->next.get()) {
        if (at->length <= 0 || at->IsSilent()) continue;
        const uint32_t source = CacheSourceBits(at->cacheRef.cacheId);
        if (at->gain != 1.0f || source == 0 || source != static_cast<uint32_t>(bits)) return false;
    }
    return true;
}

}  // namespace ondarix
