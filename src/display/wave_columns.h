// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "dsp/peak.h"
#include "sound/sound.h"

namespace ondarix {

// What one pixel column shows of one channel, in sample values. From a graph `top` is never negative and
// `bottom` never positive; from samples they are the column's largest and smallest sample as they are.
struct LWaveColumn {
    float top = 0;
    float bottom = 0;
};

// Columns of one view of a sound, from the peak graphs of its segments; from the samples where less than one
// record falls to a column. Keeps a merged level of each working file that it has read (64 records in one),
// so that a long sound costs the same at every zoom. One thread.
class LWaveColumns {
  public:
    LWaveColumns();
    ~LWaveColumns();
    // `columns` columns over [startFrame, startFrame + frames), which may reach outside the sound (zeros):
    // column after column, one entry a channel. Empty when there is nothing in view.
    std::vector<LWaveColumn> Compute(const LSound& sound, int64_t startFrame, int64_t frames, int columns);
    // Forgets what was kept: numbers are used again.
    void Forget();

  private:
    struct Level;
    Level& LevelOf(uint16_t id, int channels);
    void FromGraphs(const LSound& sound, int64_t startFrame, int64_t frames, int columns,
                    std::vector<LWaveColumn>& out);
    void FromSamples(const LSound& sound, int64_t startFrame, int64_t frames, int columns,
                     std::vector<LWaveColumn>& out);

    std::vector<std::unique_ptr<Level>> levels_;
};

}  // namespace ondarix
