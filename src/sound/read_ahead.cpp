// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/read_ahead.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <utility>

namespace ondarix {

namespace {

constexpr int64_t kRingBytes = int64_t{1} << 20;  // stays in the cache between the two threads
constexpr int64_t kFewestBlocks = 4, kMostBlocks = 16;

}  // namespace

LReadAhead::LReadAhead(LSoundSource& source) : LBackgroundThread("PUMP"), source_(source) {
    const int64_t samples = int64_t{kBlockFrames} * source.channels;
    blocks_.resize(static_cast<size_t>(std::clamp(kRingBytes / (samples * 4), kFewestBlocks, kMostBlocks)));
    for (Block& block : blocks_) block.samples.resize(static_cast<size_t>(samples));
}

LReadAhead::~LReadAhead() { Close(); }

bool LReadAhead::Start() { return LBackgroundThread::Start(); }

bool LReadAhead::Fill(Block& block) {
    block.position = source_.GetPosition();
    block.end = source_.GetLength();
    block.frames = 0;
    if (block.position >= block.end) return false;
    int64_t left = 0;
    if (__builtin_sub_overflow(block.end, block.position, &left)) left = kBlockFrames;
    const auto frames = static_cast<int32_t>(std::min<int64_t>(left, kBlockFrames));
    source_.Read(block.samples.data(), frames);
    block.frames = frames;
    return true;
}

size_t LReadAhead::Free() const { return blocks_.size() - (read_ - taken_ + (holds_ ? 1 : 0)); }

bool LReadAhead::WaitForRoom() {
    std::unique_lock lock(mutex_);
    if (Free() == 0) canRead_.wait(lock, [this] { return closing_ || Free() >= Half(); });
    return !closing_;
}

void LReadAhead::Run() {
    while (WaitForRoom()) {
        bool more = false, failed = false;
        try {
            more = Fill(blocks_[read_ % blocks_.size()]);
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        const std::lock_guard guard(mutex_);
        failed_ = failed;
        atEnd_ = !more;
        if (!failed) ++read_;
        if (atEnd_ || read_ - taken_ >= Half()) canTake_.notify_one();
        if (atEnd_) return;
    }
}

const LReadAhead::Block* LReadAhead::Next(int ms) {
    std::unique_lock lock(mutex_);
    if (std::exchange(holds_, false) && Free() >= Half()) canRead_.notify_one();
    if (taken_ == read_ && !atEnd_) {
        const auto ready = [this] { return atEnd_ || read_ - taken_ >= Half(); };
        canTake_.wait_for(lock, std::chrono::milliseconds(ms), ready);
    }
    if (taken_ == read_) return nullptr;
    holds_ = true;
    return &blocks_[taken_++ % blocks_.size()];
}

bool LReadAhead::HasFailed() {
    const std::lock_guard guard(mutex_);
    return failed_ && taken_ == read_;
}

void LReadAhead::Close() {
    {
        const std::lock_guard guard(mutex_);
        closing_ = true;
    }
    canRead_.notify_one();
    Stop();
}

}  // namespace ondarix
