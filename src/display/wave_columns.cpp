// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/wave_columns.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "display/graph_cursor.h"
#include "sound/readers.h"

namespace ondarix {
namespace {

constexpr int64_t kMerge = 64;              // records in one entry of a level
constexpr int64_t kRecordsAtOnce = 0x2000;  // most that one read takes
// From so many records a column on, the merged level is read and only the column's ends record by record.
constexpr int64_t kLevelFromRecords = 4 * kMerge;

// Where the columns of a view begin, exactly: no error adds up over the width.
struct LColumnGrid {
    int64_t start, frames;
    int columns;
    int64_t Edge(int64_t column) const {
        return start + frames / columns * column + frames % columns * column / columns;
    }
    // The first column that shows `frame`, which lies inside the view.
    int ColumnOf(int64_t frame) const {
        const double guess = static_cast<double>(frame - start) * columns / static_cast<double>(frames);
        int column = static_cast<int>(std::clamp(guess, 0.0, columns - 1.0));
        while (column > 0 && Edge(column) > frame) --column;
        while (column + 1 < columns && Edge(column + 1) <= frame) ++column;
        while (column > 0 && Edge(column - 1) == Edge(column)) --column;
        return column;
    }
};

void FoldPairs(LPeakPair* into, const LPeakPair* pairs, int64_t count, int channels) {
    LPeakPair most[256];
    MaxPairs(most, channels, pairs, count, std::max<int64_t>(count, 1));
    for (int c = 0; c < channels && count > 0; ++c) {
        into[c].max = std::max(into[c].max, most[c].max);
        into[c].min = std::max(into[c].min, most[c].min);
    }
}

}  // namespace

// One peak graph. The open descriptor keeps the file's identity: a number that is used again has another
// file, even where the system gives the same inode number out once more.
struct LWaveColumns::Level {
    Level(uint16_t cacheId, int channelCount) : id(cacheId), channels(channelCount) {
        fd = open(CacheFileName(id, ".grf").toUtf8().constData(), O_RDONLY | O_CLOEXEC);
        Refresh();
    }
    ~Level() {
        if (fd >= 0) close(fd);
    }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

    bool IsCurrent() const;
    void Refresh();
    int64_t ReadRecords(int64_t first, int64_t count, LPeakPair* dest) const;
    void FoldRecords(int64_t first, int64_t end, LPeakPair* into);
    void FoldRange(int64_t first, int64_t end, LPeakPair* into);
    void ExtendMerged();

    uint16_t id;
    int channels;
    int fd = -1;
    int64_t records = 0;            // whole records in the file
    std::vector<LPeakPair> merged;  // maxima of kMerge records each
    int64_t mergedRecords = 0;      // records that `merged` stands for
    std::vector<LPeakPair> window;  // records read last
    int64_t windowFirst = 0, windowEnd = 0;
    int64_t readAhead = kRecordsAtOnce;
};

bool LWaveColumns::Level::IsCurrent() const {
    struct stat named {
    }, held{};
    return fd >= 0 && stat(CacheFileName(id, ".grf").toUtf8().constData(), &named) == 0 &&
           fstat(fd, &held) == 0 && named.st_ino == held.st_ino && named.st_dev == held.st_dev;
}

// A file may have grown, or been cut back, while it is being recorded.
void LWaveColumns::Level::Refresh() {
    struct stat held {};
    const int64_t now = fd >= 0 && fstat(fd, &held) == 0 ? held.st_size / (int64_t{channels} * 4) : 0;
    if (now == records) return;
    if (now < records) mergedRecords = 0;
    mergedRecords = std::min(mergedRecords, now) / kMerge * kMerge;
    merged.resize(static_cast<size_t>(mergedRecords / kMerge * channels));
    windowFirst = windowEnd = 0;
    records = now;
}

int64_t LWaveColumns::Level::ReadRecords(int64_t first, int64_t count, LPeakPair* dest) const {
    const int64_t recordBytes = int64_t{channels} * 4;
    const ssize_t got = pread(fd, dest, static_cast<size_t>(count * recordBytes), first * recordBytes);
    return got > 0 ? got / recordBytes : 0;
}

void LWaveColumns::Level::FoldRecords(int64_t first, int64_t end, LPeakPair* into) {
    end = std::min(end, records);
    while (first < end) {
        if (first < windowFirst || first >= windowEnd) {
            const int64_t from = first / kMerge * kMerge;
            window.resize(static_cast<size_t>(kRecordsAtOnce * channels));
            windowFirst = from;
            windowEnd = from + ReadRecords(from, std::min(readAhead, records - from), window.data());
            if (first >= windowEnd) return;
        }
        const int64_t upTo = std::min(end, windowEnd);
        FoldPairs(into, window.data() + (first - windowFirst) * channels, upTo - first, channels);
        first = upTo;
    }
}

void LWaveColumns::Level::ExtendMerged() {
    if (mergedRecords == records) return;
    std::vector<LPeakPair> block(static_cast<size_t>(kRecordsAtOnce * channels));
    merged.resize(static_cast<size_t>((records + kMerge - 1) / kMerge * channels));
    int64_t first = mergedRecords / kMerge * kMerge;
    while (first < records) {
        const int64_t got = ReadRecords(first, std::min(kRecordsAtOnce, records - first), block.data());
        if (got <= 0) break;
        MaxPairs(merged.data() + first / kMerge * channels, channels, block.data(), got, kMerge);
        first += kRecordsAtOnce;
    }
    mergedRecords = records;
}

// Folds the records [first, end): whole groups from the merged level where the stretch is long.
void LWaveColumns::Level::FoldRange(int64_t first, int64_t end, LPeakPair* into) {
    first = std::clamp<int64_t>(first, 0, records);
    end = std::clamp<int64_t>(end, first, records);
    if (end - first < kLevelFromRecords) {
        readAhead = std::clamp<int64_t>(16 * (end - first), kMerge, kRecordsAtOnce);
        FoldRecords(first, end, into);
        return;
    }
    ExtendMerged();
    readAhead = kMerge;
    const int64_t firstGroup = (first + kMerge - 1) / kMerge, endGroup = end / kMerge;
    FoldRecords(first, firstGroup * kMerge, into);
    FoldPairs(into, merged.data() + firstGroup * channels, endGroup - firstGroup, channels);
    FoldRecords(endGroup * kMerge, end, into);
}

LWaveColumns::LWaveColumns() = default;
LWaveColumns::~LWaveColumns() = default;

void LWaveColumns::Forget() { levels_.clear(); }

LWaveColumns::Level& LWaveColumns::LevelOf(uint16_t id, int channels) {
    for (const auto& level : levels_)
        if (level->id == id && level->channels == channels) return *level;
    levels_.push_back(std::make_unique<Level>(id, channels));
    return *levels_.back();
}

std::vector<LWaveColumn> LWaveColumns::Compute(const LSound& sound, int64_t startFrame, int64_t frames,
                                               int columns) {
    if (frames <= 0 || columns <= 0 || sound.channels == 0) return {};
    std::vector<LWaveColumn> out(static_cast<size_t>(columns) * sound.channels);
    if (frames / columns < kPeakBlockFrames)
        FromSamples(sound, startFrame, frames, columns, out);
    else
        FromGraphs(sound, startFrame, frames, columns, out);
    return out;
}

void LWaveColumns::FromGraphs(const LSound& sound, int64_t startFrame, int64_t frames, int columns,
                              std::vector<LWaveColumn>& out) {
    std::erase_if(levels_, [](const auto& level) { return !level->IsCurrent(); });
    for (const auto& level : levels_) level->Refresh();
    const LColumnGrid grid{startFrame, frames, columns};
    const int channels = sound.channels;
    std::vector<LPeakPair> peaks(static_cast<size_t>(channels));
    int64_t base = 0;
    for (const LSoundSegment* segment = sound.segments.get(); segment; segment = segment->next.get()) {
        const int64_t from = std::max(base, startFrame);
        const int64_t to = std::min(base + segment->length, startFrame + frames);
        const int64_t toFile = segment->offset - base;
        base += segment->length;
        if (from >= to || segment->cacheRef.cacheId >= kNoCacheId) continue;
        Level& level = LevelOf(segment->cacheRef.cacheId, channels);
        const float gain = std::fabs(segment->gain);
        for (int column = grid.ColumnOf(from); column < columns && grid.Edge(column) < to; ++column) {
            const int64_t first = std::max(from, grid.Edge(column)) + toFile;
            const int64_t last = std::min(to, grid.Edge(column + 1)) + toFile - 1;
            std::fill(peaks.begin(), peaks.end(), LPeakPair{});
            level.FoldRange(first / kPeakBlockFrames, last / kPeakBlockFrames + 1, peaks.data());
            LWaveColumn* at = out.data() + static_cast<ptrdiff_t>(column) * channels;
            for (int c = 0; c < channels; ++c) {
                LPeakPair peak = peaks[static_cast<size_t>(c)];
                if (segment->gain < 0) std::swap(peak.max, peak.min);  // turned over
                at[c].top = std::max(at[c].top, MagnitudeFromPeak(peak.max) * gain);
                at[c].bottom = std::min(at[c].bottom, -MagnitudeFromPeak(peak.min) * gain);
            }
        }
    }
}

void LWaveColumns::FromSamples(const LSound& sound, int64_t startFrame, int64_t frames, int columns,
                               std::vector<LWaveColumn>& out) {
    const LColumnGrid grid{startFrame, frames, columns};
    const int channels = sound.channels;
    const int64_t length = sound.Length();
    const int64_t from = std::max<int64_t>(0, startFrame), to = std::min(length, startFrame + frames);
    if (from >= to) return;
    LSoundReader reader(sound);
    std::vector<float> block(static_cast<size_t>(kBlockFrames) * sound.channels);
    std::vector<float> high(sound.channels), low(sound.channels);
    int64_t blockFirst = from, blockEnd = from;
    reader.Seek(from);
    for (int column = grid.ColumnOf(from); column < columns && grid.Edge(column) < to; ++column) {
        // A column narrower than a frame shows the frame that it lies in.
        const int64_t first = std::max(from, grid.Edge(column));
        const int64_t end = std::min(to, std::max(first + 1, grid.Edge(column + 1)));
        std::fill(high.begin(), high.end(), -std::numeric_limits<float>::infinity());
        std::fill(low.begin(), low.end(), std::numeric_limits<float>::infinity());
        for (int64_t frame = first; frame < end;) {
            if (frame >= blockEnd) {
                blockFirst = blockEnd;
                blockEnd += std::min<int64_t>(kBlockFrames, to - blockEnd);
                reader.Read(block.data(), static_cast<int32_t>(blockEnd - blockFirst));
            }
            const int64_t upTo = std::min(end, blockEnd);
            AccumulatePeaks(block.data() + (frame - blockFirst) * channels, upTo - frame, channels,
                            high.data(), low.data());
            frame = upTo;
        }
        LWaveColumn* at = out.data() + static_cast<ptrdiff_t>(column) * channels;
        for (size_t c = 0; c < high.size(); ++c)
            if (high[c] >= low[c]) at[c] = {high[c], low[c]};  // otherwise all of it was NaN
    }
}

}  // namespace ondarix
