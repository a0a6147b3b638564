// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <functional>
#include <vector>

#include "dsp/peak.h"

namespace ondarix {

// One peak graph on disk with a merged level of it in memory. One thread.
class LGraphLevel {
  public:
    static constexpr int64_t kMerge = 64;  // records in one entry of the merged level
    // From so many records on, a stretch is taken from the merged level and only its ends record by record.
    static constexpr int64_t kLevelFromRecords = 4 * kMerge;

    LGraphLevel(uint16_t cacheId, int channelCount);
    ~LGraphLevel();
    LGraphLevel(const LGraphLevel&) = delete;
    LGraphLevel& operator=(const LGraphLevel&) = delete;

    // False: the number stands for another file by now, or for none. Takes over what a recording has added or
    // cut back in between.
    bool Refresh();
    // The descriptor can be given back; the next use opens the file again.
    void CloseFile();
    bool IsOpen() const { return fd_ >= 0; }
    // Folds the records [first, end) into one pair a channel.
    void FoldRange(int64_t first, int64_t end, LPeakPair* into);
    // A quick lower bound of FoldRange: one read of a few records in the middle.
    void FoldSome(int64_t first, int64_t end, LPeakPair* into);
    // Whether FoldRange over a long stretch answers without reading all of the graph first.
    bool IsMerged() const { return mergedRecords_ == records_; }
    int64_t Records() const { return records_; }

    uint64_t lastUse = 0;
    // Asked while the merged level is built; true leaves it as far as it is.
    std::function<bool()>* stop = nullptr;

  private:
    struct Identity {
        ino_t inode = 0;
        dev_t device = 0;
        int64_t bytes = -1;
        timespec written{};
    };
    bool EnsureOpen();
    int64_t ReadRecords(int64_t first, int64_t count, LPeakPair* dest);
    void FoldRecords(int64_t first, int64_t end, LPeakPair* into);
    void ExtendMerged();
    void TakeSize(int64_t bytes);

    uint16_t id_;
    int channels_;
    int fd_ = -1;
    Identity identity_;
    int64_t records_ = 0;            // whole records in the file
    std::vector<LPeakPair> merged_;  // maxima of kMerge records each
    int64_t mergedRecords_ = 0;      // records that `merged_` stands for
    std::vector<LPeakPair> window_;  // records read last
    int64_t windowFirst_ = 0, windowEnd_ = 0;
    int64_t readAhead_ = 0;
};

}  // namespace ondarix
