// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/snap.h"

#include <algorithm>
#include <optional>

#include "dsp/peak.h"
#include "gen/bytes.h"
#include "sound/readers.h"

namespace ondarix {

namespace {

constexpr float kFlatLevel = 1.1920929e-7f;  // changes of the level below it count as none
constexpr int64_t kGraphRecordsAtOnce = 4096;

struct LSnapWindow {
    int64_t near, far;
    bool Holds(int64_t pos) const { return pos >= near && pos <= far; }
};

// Keeps the candidate nearest to `pos`; of two equally near the first.
class LNearest {
  public:
    LNearest(int64_t pos, LSnapWindow window) : pos_(pos), window_(window) {}
    void Offer(int64_t candidate) {
        if (!window_.Holds(candidate)) return;
        if (!best_ || std::abs(candidate - pos_) < std::abs(*best_ - pos_)) best_ = candidate;
    }
    std::optional<int64_t> Best() const { return best_; }

  private:
    int64_t pos_;
    LSnapWindow window_;
    std::optional<int64_t> best_;
};

std::optional<int64_t> NearestBoundary(const LSound& sound, int64_t pos, LSnapWindow window) {
    LNearest nearest(pos, window);
    int64_t base = 0;
    for (const LSoundSegment* at = sound.segments.get(); at && base <= window.far; at = at->next.get()) {
        if (base > 0 && at->length > 0) nearest.Offer(base);
        base += at->length;
    }
    return nearest.Best();
}

std::optional<int64_t> NearestBeat(const std::vector<int64_t>& beats, int64_t pos, LSnapWindow window) {
    LNearest nearest(pos, window);
    const auto behind = std::lower_bound(beats.begin(), beats.end(), pos);
    if (behind != beats.begin()) nearest.Offer(*(behind - 1));
    if (behind != beats.end()) nearest.Offer(*behind);
    return nearest.Best();
}

// Walks the levels of consecutive blocks and finds where they rise after falling.
class LValleyFinder {
  public:
    LValleyFinder(int64_t pos, LSnapWindow window, bool preferNearest)
        : nearest_(pos, window), window_(window), preferNearest_(preferNearest) {}

    void Level(int64_t start, float level) {
        if (hasLevel_ && level < last_ - kFlatLevel) {
            EndRise(start);
            fell_ = true;
        } else if (hasLevel_ && level > last_ + kFlatLevel) {
            if (fell_) riseStart_ = start;
            fell_ = false;
        }
        last_ = level;
        hasLevel_ = true;
    }
    std::optional<int64_t> Finish() {
        EndRise(window_.far);
        return preferNearest_ ? nearest_.Best() : longest_;
    }

  private:
    void EndRise(int64_t end) {
        if (!riseStart_) return;
        nearest_.Offer(*riseStart_);
        if (window_.Holds(*riseStart_) && end - *riseStart_ > longestLength_) {
            longestLength_ = end - *riseStart_;
            longest_ = riseStart_;
        }
        riseStart_.reset();
    }

    LNearest nearest_;
    LSnapWindow window_;
    bool preferNearest_;
    bool hasLevel_ = false, fell_ = false;
    float last_ = 0;
    std::optional<int64_t> riseStart_, longest_;
    int64_t longestLength_ = 0;
};

float LevelOf(const LPeakPair* record, int channels) {
    uint16_t most = 0;
    for (int channel = 0; channel < channels; ++channel)
        most = std::max({most, record[channel].max, record[channel].min});
    return most == 0 ? 0.0f : MagnitudeFromPeak(most);
}

// The blocks of a segment that starts at `base` of the sound, as far as they reach into the window.
void ScanSegment(const LSoundSegment& segment, int64_t base, int channels, LSnapWindow window,
                 LValleyFinder& finder) {
    const int64_t from = std::max(base, window.near), to = std::min(base + segment.length, window.far);
    if (segment.IsSilent() || !segment.cacheRef.IsOfThisFolder()) return finder.Level(from, 0.0f);
    LFileBytes graph(CacheFileName(segment.cacheRef.cacheId, ".grf"));
    if (!graph.IsOpen()) return;
    const int64_t inFile = segment.offset - base;
    const int64_t first = std::max<int64_t>(from + inFile, 0) / kPeakBlockFrames;
    const int64_t last = (std::max<int64_t>(to + inFile, 0) + kPeakBlockFrames - 1) / kPeakBlockFrames;
    std::vector<LPeakPair> records;
    for (int64_t block = first; block < last; block += kGraphRecordsAtOnce) {
        const int64_t wanted = std::min(kGraphRecordsAtOnce, last - block);
        records.resize(static_cast<size_t>(wanted * channels));
        const int64_t recordBytes = int64_t{channels} * int64_t{sizeof(LPeakPair)};
        const int64_t got =
            graph.ReadAt(block * recordBytes, records.data(), wanted * recordBytes) / recordBytes;
        for (int64_t i = 0; i < got; ++i) {
            const int64_t start = std::max((block + i) * kPeakBlockFrames - inFile, from);
            finder.Level(start, LevelOf(records.data() + i * channels, channels) * std::abs(segment.gain));
        }
        if (got < wanted)
            return finder.Level(std::max((block + got) * kPeakBlockFrames - inFile, from), 0.0f);
    }
}

std::optional<int64_t> FindValley(const LSound& sound, int64_t pos, LSnapWindow window, bool preferNearest) {
    LValleyFinder finder(pos, window, preferNearest);
    int64_t base = 0;
    for (const LSoundSegment* at = sound.segments.get(); at && base < window.far; at = at->next.get()) {
        if (at->length > 0 && base + at->length > window.near)
            ScanSegment(*at, base, sound.channels, window, finder);
        base += at->length;
    }
    return finder.Finish();
}

// Frames of a window, read block by block around a place.
class LCrossingFinder {
  public:
    LCrossingFinder(const LSound& sound, LSnapWindow window)
        : channels_(sound.channels), first_(std::max<int64_t>(window.near, 1)) {
        LSound part;
        end_ = std::min(window.far, sound.Length() - 1) + 1;
        if (first_ < end_) sound.CopyRange(first_ - 1, end_, part);
        reader_ = std::make_unique<LSoundReader>(part);
        block_.resize(static_cast<size_t>(kBlockFrames + 1) * static_cast<size_t>(channels_));
    }

    std::optional<int64_t> Nearest(int64_t pos) {
        int64_t ahead = std::max(pos, first_), back = std::min(pos, end_);
        std::optional<int64_t> found;
        while (!found && (ahead < end_ || back > first_)) {
            if (ahead < end_) {
                found = FirstIn(ahead, std::min(ahead + kBlockFrames, end_));
                ahead += kBlockFrames;
            }
            if (back > first_) {
                const int64_t from = std::max(back - kBlockFrames, first_);
                const auto before = LastIn(from, back);
                if (before && (!found || pos - *before < *found - pos)) found = before;
                back = from;
            }
        }
        return found;
    }

  private:
    void Load(int64_t from, int64_t to) {
        reader_->Seek(from - first_);  // with the frame before `from`
        reader_->Read(block_.data(), static_cast<int32_t>(to - from + 1));
    }
    bool Crosses(int64_t frame) const {
        const float* before = block_.data() + frame * channels_;
        for (int channel = 0; channel < channels_; ++channel) {
            if (!(before[channel] <= 0.0f && before[channel + channels_] > 0.0f)) return false;
        }
        return true;
    }
    std::optional<int64_t> FirstIn(int64_t from, int64_t to) {
        Load(from, to);
        for (int64_t frame = 0; frame < to - from; ++frame) {
            if (Crosses(frame)) return from + frame;
        }
        return std::nullopt;
    }
    std::optional<int64_t> LastIn(int64_t from, int64_t to) {
        Load(from, to);
        for (int64_t frame = to - from - 1; frame >= 0; --frame) {
            if (Crosses(frame)) return from + frame;
        }
        return std::nullopt;
    }

    int channels_;
    int64_t first_, end_ = 0;  // frames that a crossing may be at
    std::unique_ptr<LSoundReader> reader_;
    std::vector<float> block_;
};

}  // namespace

int64_t SnapPosition(const LSound& sound, int64_t pos, int64_t near, int64_t far,
                     const LSnapOptions& options) {
    const int64_t length = sound.Length();
    if (pos <= 0) return 0;
    if (pos >= length) return length;
    const LSnapWindow window{std::max<int64_t>(near, 0), std::min(far, length)};
    if (far - near < 4 || window.far - window.near < 4) return pos;
    if (options.boundaries) {
        if (const auto boundary = NearestBoundary(sound, pos, window)) return *boundary;
    }
    int64_t result = pos;
    bool preferNearest = options.preferNearest;
    if (options.beats && options.beatList) {
        if (const auto beat = NearestBeat(*options.beatList, pos, window)) {
            result = *beat;
            preferNearest = true;
        }
    }
    if (options.silentValleys) result = FindValley(sound, result, window, preferNearest).value_or(result);
    if (options.zeroCrossings) result = LCrossingFinder(sound, window).Nearest(result).value_or(result);
    return result;
}

}  // namespace ondarix
