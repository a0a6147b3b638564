// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <array>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "display/wave_columns.h"
#include "gen/background_thread.h"

namespace ondarix {

// Columns as they come from the worker.
struct LColumnBatch {
    uint64_t sound = 0;  // number of the sound that they show
    LColumnGrid grid;
    int64_t first = 0;
    int channels = 1;
    bool coarse = false;  // a lower bound for the time being; the same columns come again
    std::vector<LWaveColumn> columns;
    int Count() const { return static_cast<int>(columns.size()) / channels; }
};

// Computes the columns of one sound for several views on a thread of its own, since a graph of hours has to
// be read from disk before its first overview. Each view asks for one stretch at a time, a later request
// takes the place of the one before; the columns come in pieces, so that a view shows what there is.
// Everything but Run is for the thread of the views.
class LWaveColumnsWorker final : private LBackgroundThread {
  public:
    static constexpr int kViews = 2;  // the lower number is served first

    // `arrived` is called on the worker when there is something to fetch.
    explicit LWaveColumnsWorker(std::function<void()> arrived);
    ~LWaveColumnsWorker() override;

    // The sound from now on; answers its number. `edited`: the mono sound that is shown in the place of
    // channel `editedChannel`, or null. Requests that are not done yet are forgotten.
    uint64_t SetSound(const LSound& sound, const LSound* edited = nullptr, int editedChannel = 0);
    void Ask(int view, const LColumnGrid& grid, int64_t first, int count);
    std::vector<LColumnBatch> Fetch(int view);
    // Until the request of the view is done, `ms` at most; negative: without limit. True: it is.
    bool Wait(int view, int ms);

  private:
    struct Sound {
        uint64_t number = 0;
        LSound whole, edited;
        int editedChannel = -1;
    };
    struct Request {
        LColumnGrid grid;
        int64_t first = 0;
        int count = 0;
        uint64_t serial = 0;  // 0: nothing is asked
    };

    void Run() override;
    bool Work(int view, const Request& request);
    void Compute(const Request& request, int64_t first, int count, bool exact, LColumnBatch& batch);
    bool Deliver(int view, uint64_t serial, LColumnBatch batch);
    bool IsWanted(int view, uint64_t serial);

    std::function<void()> arrived_;
    LEvent dirty_{LEvent::Mode::kAutoReset};
    std::mutex lock_;
    std::condition_variable done_;
    std::shared_ptr<const Sound> sound_;
    std::array<Request, kViews> requests_;
    std::array<std::vector<LColumnBatch>, kViews> batches_;
    uint64_t serials_ = 0, sounds_ = 0;

    // Of the worker.
    std::shared_ptr<const Sound> working_;
    LWaveColumns columns_, editedColumns_;
};

}  // namespace ondarix
