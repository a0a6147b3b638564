// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/wave_columns_worker.h"

#include <algorithm>
#include <chrono>

namespace ondarix {
namespace {

constexpr int kPieceColumns = 240;  // computed between two looks at what is asked

}  // namespace

LWaveColumnsWorker::LWaveColumnsWorker(std::function<void()> arrived)
    : LBackgroundThread("wave"), arrived_(std::move(arrived)) {
    const auto ended = [this] { return IsCancelled(); };
    columns_.SetStop(ended);
    editedColumns_.SetStop(ended);
    Start();
}

LWaveColumnsWorker::~LWaveColumnsWorker() { Stop(); }

uint64_t LWaveColumnsWorker::SetSound(const LSound& sound, const LSound* edited, int editedChannel) {
    auto next = std::make_shared<Sound>();
    next->whole.CopyFrom(sound);
    next->whole.SetLosslessMode(nullptr);
    if (edited) {
        next->edited.CopyFrom(*edited);
        next->edited.SetLosslessMode(nullptr);
        next->editedChannel = editedChannel;
    }
    next->number = ++sounds_;
    const std::lock_guard hold(lock_);
    sound_ = std::move(next);
    for (Request& request : requests_) request.serial = 0;
    for (auto& batches : batches_) batches.clear();
    done_.notify_all();
    return sounds_;
}

void LWaveColumnsWorker::Ask(int view, const LColumnGrid& grid, int64_t first, int count) {
    {
        const std::lock_guard hold(lock_);
        requests_[static_cast<size_t>(view)] = {grid, first, count, ++serials_};
    }
    dirty_.Set();
}

std::vector<LColumnBatch> LWaveColumnsWorker::Fetch(int view) {
    const std::lock_guard hold(lock_);
    return std::exchange(batches_[static_cast<size_t>(view)], {});
}

bool LWaveColumnsWorker::Wait(int view, int ms) {
    std::unique_lock hold(lock_);
    const auto idle = [&] { return requests_[static_cast<size_t>(view)].serial == 0; };
    if (ms >= 0) return done_.wait_for(hold, std::chrono::milliseconds(ms), idle);
    done_.wait(hold, idle);
    return true;
}

bool LWaveColumnsWorker::IsWanted(int view, uint64_t serial) {
    const std::lock_guard hold(lock_);
    return requests_[static_cast<size_t>(view)].serial == serial && !IsCancelled();
}

void LWaveColumnsWorker::Run() {
    while (!IsCancelled()) {
        Request request;
        int view = 0;
        {
            const std::lock_guard hold(lock_);
            while (view < kViews && requests_[static_cast<size_t>(view)].serial == 0) ++view;
            if (view < kViews) {
                request = requests_[static_cast<size_t>(view)];
                if (working_ != sound_) {
                    working_ = sound_;
                    request.serial = 0;  // looked at again with the new sound in place
                }
            }
        }
        if (view == kViews) {
            WaitForHandle(dirty_.Handle(), kWaitForever);
        } else if (request.serial == 0) {
            columns_.SetSound(working_->whole);
            editedColumns_.SetSound(working_->edited);
        } else if (Work(view, request)) {
            const std::lock_guard hold(lock_);
            Request& held = requests_[static_cast<size_t>(view)];
            if (held.serial == request.serial) held.serial = 0;
            done_.notify_all();
        }
    }
}

// False when something else is asked by now.
bool LWaveColumnsWorker::Work(int view, const Request& request) {
    columns_.Refresh();
    editedColumns_.Refresh();
    if (!columns_.IsReady(request.grid, request.first, request.count)) {
        LColumnBatch batch;
        Compute(request, request.first, request.count, false, batch);
        if (!Deliver(view, request.serial, std::move(batch))) return false;
    }
    for (int done = 0; done < request.count; done += kPieceColumns) {
        if (!IsWanted(view, request.serial)) return false;
        const int count = std::min(kPieceColumns, request.count - done);
        LColumnBatch batch;
        Compute(request, request.first + done, count, true, batch);
        if (!Deliver(view, request.serial, std::move(batch))) return false;
        // The first views are waited for; the others let them go first.
        if (view > 0) {
            const std::lock_guard hold(lock_);
            if (requests_[0].serial != 0) return false;
        }
    }
    return true;
}

void LWaveColumnsWorker::Compute(const Request& request, int64_t first, int count, bool exact,
                                 LColumnBatch& batch) {
    batch.sound = working_->number;
    batch.grid = request.grid;
    batch.first = first;
    batch.channels = std::max<int>(1, columns_.Channels());
    batch.coarse = !exact;
    batch.columns.resize(static_cast<size_t>(count) * static_cast<size_t>(batch.channels));
    const auto compute = [&](LWaveColumns& columns, LWaveColumn* out) {
        if (exact)
            columns.Columns(request.grid, first, count, out);
        else
            columns.Estimate(request.grid, first, count, out);
    };
    if (columns_.Channels() > 0) compute(columns_, batch.columns.data());
    if (working_->editedChannel < 0 || working_->editedChannel >= batch.channels) return;
    std::vector<LWaveColumn> edited(static_cast<size_t>(count) *
                                    static_cast<size_t>(std::max(1, editedColumns_.Channels())));
    compute(editedColumns_, edited.data());
    for (size_t i = 0; i < static_cast<size_t>(count); ++i)
        batch
            .columns[i * static_cast<size_t>(batch.channels) + static_cast<size_t>(working_->editedChannel)] =
            edited[i * static_cast<size_t>(editedColumns_.Channels())];
}

bool LWaveColumnsWorker::Deliver(int view, uint64_t serial, LColumnBatch batch) {
    {
        const std::lock_guard hold(lock_);
        if (requests_[static_cast<size_t>(view)].serial != serial || IsCancelled()) return false;
        batches_[static_cast<size_t>(view)].push_back(std::move(batch));
    }
    arrived_();
    return true;
}

}  // namespace ondarix
