// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/wave_columns.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace ondarix {
namespace {

constexpr size_t kFilesKeptOpen = 64;
__extension__ using Wide = __int128;

}  // namespace

int64_t LColumnGrid::Edge(int64_t column) const {
    Wide edge = Wide{column} * frames;
    edge = edge >= 0 ? edge / columns : -((-edge + columns - 1) / columns);
    return origin + static_cast<int64_t>(edge);
}

int64_t LColumnGrid::ColumnOf(int64_t frame) const {
    Wide column = Wide{frame - origin} * columns;
    column = column >= 0 ? column / frames : -((-column + frames - 1) / frames);
    auto at = static_cast<int64_t>(column);
    while (Edge(at) > frame) --at;
    while (Edge(at + 1) <= frame) ++at;
    while (Edge(at - 1) == Edge(at)) --at;
    return at;
}

LWaveColumns::LWaveColumns() = default;
LWaveColumns::~LWaveColumns() = default;

void LWaveColumns::Forget() { levels_.clear(); }

void LWaveColumns::SetSound(const LSound& sound) {
    sound_.CopyFrom(sound);
    sound_.SetLosslessMode(nullptr);  // the copy must stay as it is
    reader_.reset();
    pieces_.clear();
    length_ = 0;
    for (const LSoundSegment* segment = sound_.segments.get(); segment; segment = segment->next.get()) {
        if (segment->cacheRef.cacheId < kNoCacheId && segment->cacheRef.IsOfThisFolder() &&
            segment->length > 0)
            pieces_.push_back(
                {length_, segment->length, segment->offset, segment->cacheRef.cacheId, segment->gain});
        length_ += segment->length;
    }
}

void LWaveColumns::Refresh() {
    std::erase_if(levels_, [](const auto& level) { return !level.second->Refresh(); });
    CloseOldFiles();
}

// Sounds may be made of more working files than a program may have open.
void LWaveColumns::CloseOldFiles() {
    std::vector<LGraphLevel*> open;
    for (const auto& level : levels_)
        if (level.second->IsOpen()) open.push_back(level.second.get());
    if (open.size() <= kFilesKeptOpen) return;
    std::sort(open.begin(), open.end(), [](auto* a, auto* b) { return a->lastUse > b->lastUse; });
    for (size_t i = kFilesKeptOpen / 2; i < open.size(); ++i) open[i]->CloseFile();
}

LGraphLevel& LWaveColumns::LevelOf(uint16_t id) {
    auto& level = levels_[static_cast<uint32_t>(id) << 8 | sound_.channels];
    if (!level) {
        level = std::make_unique<LGraphLevel>(id, sound_.channels);
        level->stop = &stop_;
        if (levels_.size() % kFilesKeptOpen == 0) CloseOldFiles();
    }
    level->lastUse = ++uses_;
    return *level;
}

// Calls use(piece, from, to) for what lies in [from, to) of each piece.
template <typename Use>
void LWaveColumns::ForPieces(int64_t from, int64_t to, Use use) {
    auto at = std::upper_bound(pieces_.begin(), pieces_.end(), from,
                               [](int64_t frame, const Piece& piece) { return frame < piece.base; });
    if (at != pieces_.begin()) --at;
    for (; at != pieces_.end() && at->base < to; ++at) {
        const int64_t first = std::max(at->base, from), end = std::min(at->base + at->length, to);
        if (first < end) use(*at, first, end);
    }
}

bool LWaveColumns::IsReady(const LColumnGrid& grid, int64_t first, int count) {
    if (grid.FromSamples() || grid.frames / grid.columns < LGraphLevel::kLevelFromRecords * kPeakBlockFrames)
        return true;
    bool ready = true;
    ForPieces(grid.Edge(first), grid.Edge(first + count), [&](const Piece& piece, int64_t, int64_t) {
        // A short one is read whole as quickly as a part of it.
        LGraphLevel& level = LevelOf(piece.id);
        ready = ready && (level.IsMerged() || level.Records() < 0x10000);
    });
    return ready;
}

void LWaveColumns::Columns(const LColumnGrid& grid, int64_t first, int count, LWaveColumn* out) {
    std::fill_n(out, static_cast<size_t>(count) * sound_.channels, LWaveColumn{});
    if (grid.FromSamples())
        FromSamples(grid, first, count, out);
    else
        FromGraphs(grid, first, count, true, out);
}

void LWaveColumns::Estimate(const LColumnGrid& grid, int64_t first, int count, LWaveColumn* out) {
    std::fill_n(out, static_cast<size_t>(count) * sound_.channels, LWaveColumn{});
    FromGraphs(grid, first, count, false, out);
}

std::vector<LWaveColumn> LWaveColumns::Compute(const LSound& sound, int64_t startFrame, int64_t frames,
                                               int columns) {
    if (frames <= 0 || columns <= 0 || sound.channels == 0) return {};
    SetSound(sound);
    Refresh();
    std::vector<LWaveColumn> out(static_cast<size_t>(columns) * sound.channels);
    Columns({startFrame, frames, columns}, 0, columns, out.data());
    return out;
}

void LWaveColumns::FromGraphs(const LColumnGrid& grid, int64_t first, int count, bool exact,
                              LWaveColumn* out) {
    const int channels = sound_.channels;
    std::vector<LPeakPair> peaks(static_cast<size_t>(channels));
    const auto fold = [&](const Piece& piece, int64_t from, int64_t to) {
        LGraphLevel& level = LevelOf(piece.id);
        const float gain = std::fabs(piece.gain);
        const int64_t toFile = piece.offset - piece.base;
        for (int64_t column = std::max(first, grid.ColumnOf(from));
             column < first + count && grid.Edge(column) < to; ++column) {
            const int64_t begin = std::max(from, grid.Edge(column)) + toFile;
            const int64_t last = std::min(to, grid.Edge(column + 1)) + toFile - 1;
            std::fill(peaks.begin(), peaks.end(), LPeakPair{});
            if (exact)
                level.FoldRange(begin / kPeakBlockFrames, last / kPeakBlockFrames + 1, peaks.data());
            else
                level.FoldSome(begin / kPeakBlockFrames, last / kPeakBlockFrames + 1, peaks.data());
            LWaveColumn* at = out + (column - first) * channels;
            for (int c = 0; c < channels; ++c) {
                LPeakPair peak = peaks[static_cast<size_t>(c)];
                if (piece.gain < 0) std::swap(peak.max, peak.min);  // turned over
                at[c].top = std::max(at[c].top, MagnitudeFromPeak(peak.max) * gain);
                at[c].bottom = std::min(at[c].bottom, -MagnitudeFromPeak(peak.min) * gain);
            }
        }
    };
    ForPieces(grid.Edge(first), grid.Edge(first + count), fold);
}

void LWaveColumns::FromSamples(const LColumnGrid& grid, int64_t firstColumn, int count, LWaveColumn* out) {
    const int channels = sound_.channels;
    const int64_t viewFrom = grid.Edge(firstColumn), viewTo = grid.Edge(firstColumn + count);
    const int64_t from = std::max<int64_t>(0, viewFrom),
                  to = std::min(length_, std::max(viewTo, viewFrom + 1));
    if (from >= to) return;
    if (!reader_) reader_ = std::make_unique<LSoundReader>(sound_);
    std::vector<float> block(static_cast<size_t>(kBlockFrames) * sound_.channels);
    std::vector<float> high(sound_.channels), low(sound_.channels);
    int64_t blockFirst = from, blockEnd = from;
    reader_->Seek(from);
    for (int64_t column = std::max(firstColumn, grid.ColumnOf(from)); column < firstColumn + count;
         ++column) {
        if (grid.Edge(column) >= to) break;
        // A column narrower than a frame shows the frame that it lies in.
        const int64_t first = std::max(from, grid.Edge(column));
        const int64_t end = std::min(to, std::max(first + 1, grid.Edge(column + 1)));
        std::fill(high.begin(), high.end(), -std::numeric_limits<float>::infinity());
        std::fill(low.begin(), low.end(), std::numeric_limits<float>::infinity());
        for (int64_t frame = first; frame < end;) {
            if (frame >= blockEnd) {
                blockFirst = blockEnd;
                blockEnd += std::min<int64_t>(kBlockFrames, to - blockEnd);
                reader_->Read(block.data(), static_cast<int32_t>(blockEnd - blockFirst));
            }
            const int64_t upTo = std::min(end, blockEnd);
            AccumulatePeaks(block.data() + (frame - blockFirst) * channels, upTo - frame, channels,
                            high.data(), low.data());
            frame = upTo;
        }
        LWaveColumn* at = out + (column - firstColumn) * channels;
        for (size_t c = 0; c < high.size(); ++c)
            if (high[c] >= low[c]) at[c] = {high[c], low[c]};  // otherwise all of it was NaN
    }
}

}  // namespace ondarix
