// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/wave_columns_level.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "display/graph_cursor.h"
#include "sound/cache.h"

namespace ondarix {
namespace {

constexpr int64_t kRecordsAtOnce = 0x2000;  // most that one read takes

void FoldPairs(LPeakPair* into, const LPeakPair* pairs, int64_t count, int channels) {
    LPeakPair most[256];
    MaxPairs(most, channels, pairs, count, std::max<int64_t>(count, 1));
    for (int c = 0; c < channels && count > 0; ++c) {
        into[c].max = std::max(into[c].max, most[c].max);
        into[c].min = std::max(into[c].min, most[c].min);
    }
}

}  // namespace

LGraphLevel::LGraphLevel(uint16_t cacheId, int channelCount) : id_(cacheId), channels_(channelCount) {
    if (EnsureOpen()) Refresh();
}

LGraphLevel::~LGraphLevel() { CloseFile(); }

void LGraphLevel::CloseFile() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
}

bool LGraphLevel::EnsureOpen() {
    if (fd_ < 0) fd_ = open(CacheFileName(id_, ".grf").toUtf8().constData(), O_RDONLY | O_CLOEXEC);
    return fd_ >= 0;
}

// An open descriptor keeps the file's identity: a number that is used again has another file, even where the
// system gives the same inode number out once more. Without one, size and time of writing have to be the
// same.
bool LGraphLevel::Refresh() {
    struct stat named {
    }, held{};
    if (stat(CacheFileName(id_, ".grf").toUtf8().constData(), &named) != 0) return false;
    if (fd_ >= 0) {
        if (fstat(fd_, &held) != 0 || named.st_ino != held.st_ino || named.st_dev != held.st_dev)
            return false;
    } else if (named.st_ino != identity_.inode || named.st_dev != identity_.device ||
               named.st_size != identity_.bytes || named.st_mtim.tv_sec != identity_.written.tv_sec ||
               named.st_mtim.tv_nsec != identity_.written.tv_nsec) {
        return false;
    }
    identity_ = {named.st_ino, named.st_dev, named.st_size, named.st_mtim};
    TakeSize(named.st_size);
    return true;
}

void LGraphLevel::TakeSize(int64_t bytes) {
    const int64_t now = bytes / (int64_t{channels_} * 4);
    if (now == records_) return;
    if (now < records_) mergedRecords_ = 0;
    mergedRecords_ = std::min(mergedRecords_, now) / kMerge * kMerge;
    merged_.resize(static_cast<size_t>(mergedRecords_ / kMerge * channels_));
    windowFirst_ = windowEnd_ = 0;
    records_ = now;
}

int64_t LGraphLevel::ReadRecords(int64_t first, int64_t count, LPeakPair* dest) {
    if (!EnsureOpen()) return 0;
    const int64_t recordBytes = int64_t{channels_} * 4;
    const ssize_t got = pread(fd_, dest, static_cast<size_t>(count * recordBytes), first * recordBytes);
    return got > 0 ? got / recordBytes : 0;
}

void LGraphLevel::FoldRecords(int64_t first, int64_t end, LPeakPair* into) {
    end = std::min(end, records_);
    while (first < end) {
        if (first < windowFirst_ || first >= windowEnd_) {
            const int64_t from = first / kMerge * kMerge;
            window_.resize(static_cast<size_t>(kRecordsAtOnce * channels_));
            windowFirst_ = from;
            windowEnd_ = from + ReadRecords(from, std::min(readAhead_, records_ - from), window_.data());
            if (first >= windowEnd_) return;
        }
        const int64_t upTo = std::min(end, windowEnd_);
        FoldPairs(into, window_.data() + (first - windowFirst_) * channels_, upTo - first, channels_);
        first = upTo;
    }
}

void LGraphLevel::ExtendMerged() {
    if (IsMerged()) return;
    std::vector<LPeakPair> block(static_cast<size_t>(kRecordsAtOnce * channels_));
    merged_.resize(static_cast<size_t>((records_ + kMerge - 1) / kMerge * channels_));
    int64_t first = mergedRecords_ / kMerge * kMerge;
    while (first < records_) {
        if (stop && *stop && (*stop)()) {
            mergedRecords_ = first;
            return;
        }
        const int64_t got = ReadRecords(first, std::min(kRecordsAtOnce, records_ - first), block.data());
        if (got <= 0) break;
        MaxPairs(merged_.data() + first / kMerge * channels_, channels_, block.data(), got, kMerge);
        first += kRecordsAtOnce;
    }
    mergedRecords_ = records_;
}

void LGraphLevel::FoldRange(int64_t first, int64_t end, LPeakPair* into) {
    first = std::clamp<int64_t>(first, 0, records_);
    end = std::clamp<int64_t>(end, first, records_);
    if (end - first < kLevelFromRecords) {
        readAhead_ = std::clamp<int64_t>(16 * (end - first), kMerge, kRecordsAtOnce);
        FoldRecords(first, end, into);
        return;
    }
    ExtendMerged();
    if (!IsMerged()) return;
    readAhead_ = kMerge;
    const int64_t firstGroup = (first + kMerge - 1) / kMerge, endGroup = end / kMerge;
    FoldRecords(first, firstGroup * kMerge, into);
    FoldPairs(into, merged_.data() + firstGroup * channels_, endGroup - firstGroup, channels_);
    FoldRecords(endGroup * kMerge, end, into);
}

void LGraphLevel::FoldSome(int64_t first, int64_t end, LPeakPair* into) {
    first = std::clamp<int64_t>(first, 0, records_);
    end = std::clamp<int64_t>(end, first, records_);
    readAhead_ = kMerge;
    const int64_t from = end - first <= kMerge ? first : (first + end) / 2 / kMerge * kMerge;
    FoldRecords(std::max(from, first), std::min(end, from + kMerge), into);
}

}  // namespace ondarix
