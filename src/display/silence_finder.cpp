// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/silence_finder.h"

#include <algorithm>
#include <cmath>

#include "dsp/peak.h"
#include "gen/bytes.h"

namespace ondarix {
namespace {

constexpr int64_t kSilenceWindowMs = 30;
constexpr int64_t kSilenceRecordsAtOnce = 0x4000;

// Puts together what is said of one stretch after the other.
class SilenceCollector {
  public:
    SilenceCollector(int64_t least, int64_t margin) : least_(least), margin_(margin) {}

    // The next `frames` frames, in the order of the sound.
    void Add(int64_t frames, bool silent) {
        if (!silent) {
            Close(false);
            start_ = at_ + frames;
        }
        at_ += frames;
    }
    std::vector<LSelection> Finish() {
        Close(true);
        return std::move(found_);
    }

  private:
    void Close(bool atEnd) {
        if (at_ - start_ < std::max<int64_t>(least_, 1)) return;
        const int64_t start = start_ == 0 ? 0 : start_ + margin_;
        const int64_t end = atEnd ? at_ : at_ - margin_;
        if (start < end) found_.push_back({start, end});
    }

    int64_t least_, margin_;
    int64_t at_ = 0;     // frames taken so far
    int64_t start_ = 0;  // of the silence that is open
    std::vector<LSelection> found_;
};

class SilenceScanner {
  public:
    SilenceScanner(const LSound& sound, double thresholdDb, LProgress& progress)
        : channels_(sound.channels),
          threshold_(std::pow(10.0, thresholdDb / 20)),
          progress_(progress),
          pairs_(static_cast<size_t>(kSilenceRecordsAtOnce * channels_)) {}

    bool AddSegment(const LSoundSegment& segment, SilenceCollector& collector);  // false: cancelled

  private:
    // The peak that is still silent in a working file read with this gain.
    uint16_t LimitFor(float gain) const {
        const double magnitude = threshold_ / std::fabs(static_cast<double>(gain));
        return PeakFromMagnitude(static_cast<float>(std::min(magnitude, 1e9)));
    }

    int channels_;
    double threshold_;  // as a magnitude
    LProgress& progress_;
    std::vector<LPeakPair> pairs_;
};

// The largest peak of a record, all channels and both signs.
uint16_t PeakOfRecord(const LPeakPair* pairs, int channels) {
    uint16_t most = 0;
    for (int c = 0; c < channels; ++c) most = std::max({most, pairs[c].max, pairs[c].min});
    return most;
}

bool SilenceScanner::AddSegment(const LSoundSegment& segment, SilenceCollector& collector) {
    if (segment.length <= 0) return true;
    if (segment.IsSilent() || segment.gain == 0.0f) {
        collector.Add(segment.length, true);
        return true;
    }
    const uint16_t limit = LimitFor(segment.gain);
    const int64_t end = segment.EndInFile(), recordBytes = int64_t{channels_} * 4;
    int64_t frame = std::clamp<int64_t>(0, segment.offset, end);
    collector.Add(frame - segment.offset, true);  // what lies before the file reads as silence
    LFileBytes graph(segment.cacheRef.IsOfThisFolder() ? CacheFileName(segment.cacheRef.cacheId, ".grf")
                                                       : QString());
    while (frame < end) {
        if (progress_.IsCancelled()) return false;
        const int64_t first = frame / kPeakBlockFrames;
        const int64_t wanted =
            std::min(kSilenceRecordsAtOnce, (end + kPeakBlockFrames - 1) / kPeakBlockFrames - first);
        const int64_t got =
            graph.ReadAt(first * recordBytes, pairs_.data(), wanted * recordBytes) / recordBytes;
        if (got <= 0) break;
        for (int64_t i = 0; i < got; ++i) {
            const int64_t next = std::min(end, (first + i + 1) * kPeakBlockFrames);
            collector.Add(next - frame, PeakOfRecord(pairs_.data() + i * channels_, channels_) <= limit);
            frame = next;
        }
    }
    if (frame < end) collector.Add(end - frame, false);
    return true;
}

}  // namespace

std::vector<LSelection> FindSilences(const LSound& sound, const LSilenceSettings& settings,
                                     LProgress& progress) {
    if (!sound.Format().IsValid()) return {};
    const int64_t least = std::max(settings.minSilenceMs, kSilenceWindowMs);
    const int64_t margin = std::max<int64_t>(settings.marginMs, 0);
    SilenceCollector collector(MsToFrames(least, sound.sampleRate), MsToFrames(margin, sound.sampleRate));
    SilenceScanner scanner(sound, std::clamp(settings.thresholdDb, -90.0, 0.0), progress);
    const double total = static_cast<double>(std::max<int64_t>(sound.Length(), 1));
    int64_t done = 0;
    for (const LSoundSegment* segment = sound.segments.get(); segment; segment = segment->next.get()) {
        if (!scanner.AddSegment(*segment, collector)) return {};
        done += segment->length;
        progress.SetFraction(static_cast<double>(done) / total);
    }
    return collector.Finish();
}

}  // namespace ondarix
