// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

#include "display/wave_columns_level.h"
#include "sound/readers.h"
#include "sound/sound.h"

namespace ondarix {

// What one pixel column shows of one channel, in sample values. From a graph `top` is never negative and
// `bottom` never positive; from samples they are the column's largest and smallest sample as they are.
struct LWaveColumn {
    float top = 0;
    float bottom = 0;
    bool operator==(const LWaveColumn&) const = default;
};

// Columns of even width over the whole time axis, numbered from `origin` on: column k covers the frames
// [origin + k * frames / columns, origin + (k + 1) * frames / columns), rounded down. A view that moves by
// whole columns shows the same columns, so that they can be kept. {0, 1, 1} is one column a sample.
struct LColumnGrid {
    int64_t origin = 0;
    int64_t frames = 1;  // at least 1, in
    int columns = 1;     // so many columns
    int64_t Edge(int64_t column) const;
    // The first column that shows `frame`: no column before it holds a part of it.
    int64_t ColumnOf(int64_t frame) const;
    bool FromSamples() const { return frames / columns < kPeakBlockFrames; }
    bool operator==(const LColumnGrid&) const = default;
};

// Columns of a sound, from the peak graphs of its segments; from the samples where less than one record falls
// to a column. Keeps a merged level of each working file that it has read (64 records in one), so that a long
// sound costs the same at every zoom. One thread.
class LWaveColumns {
  public:
    LWaveColumns();
    ~LWaveColumns();
    LWaveColumns(const LWaveColumns&) = delete;
    LWaveColumns& operator=(const LWaveColumns&) = delete;

    // Makes a copy of the list of segments. What was kept of working files stays.
    void SetSound(const LSound& sound);
    int Channels() const { return sound_.channels; }
    int64_t Length() const { return length_; }
    // Notices files that have grown or gone; before the first of several calls of Columns.
    void Refresh();
    // The columns [first, first + count), which may reach outside the sound (zeros): column after column, one
    // entry a channel, count * Channels() in all.
    void Columns(const LColumnGrid& grid, int64_t first, int count, LWaveColumn* out);
    // False: Columns has to read whole graphs first, once. Estimate does not: a lower bound of the columns.
    bool IsReady(const LColumnGrid& grid, int64_t first, int count);
    void Estimate(const LColumnGrid& grid, int64_t first, int count, LWaveColumn* out);

    // All in one: `columns` columns over [startFrame, startFrame + frames). Empty when there is nothing in
    // view.
    std::vector<LWaveColumn> Compute(const LSound& sound, int64_t startFrame, int64_t frames, int columns);
    // Forgets what was kept: numbers are used again.
    void Forget();
    // Asked while a graph is read as a whole; true gives up, and columns are then lower bounds.
    void SetStop(std::function<bool()> stop) { stop_ = std::move(stop); }

  private:
    struct Piece {
        int64_t base, length, offset;
        uint16_t id;
        float gain;
    };
    LGraphLevel& LevelOf(uint16_t id);
    void CloseOldFiles();
    template <typename Use>
    void ForPieces(int64_t from, int64_t to, Use use);
    void FromGraphs(const LColumnGrid& grid, int64_t first, int count, bool exact, LWaveColumn* out);
    void FromSamples(const LColumnGrid& grid, int64_t first, int count, LWaveColumn* out);

    LSound sound_;
    int64_t length_ = 0;
    std::vector<Piece> pieces_;  // segments with sound in them
    std::unique_ptr<LSoundReader> reader_;
    std::unordered_map<uint32_t, std::unique_ptr<LGraphLevel>> levels_;
    uint64_t uses_ = 0;
    std::function<bool()> stop_;
};

}  // namespace ondarix
