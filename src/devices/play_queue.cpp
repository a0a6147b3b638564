// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/play_queue.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "gen/clock.h"
#include "gen/realtime.h"

namespace ondarix {
namespace {

constexpr int64_t kMostSamples = int64_t{16} << 20;
constexpr int32_t kLeastBlocks = 4;
constexpr float kNoSignalPeak = 4.467e-7f;
// The counters start a second or so before they wrap around, so that this happens in every play, not after a
// day of playing.
constexpr uint32_t kFirstFrame = 0u - 50000u;
constexpr int kReadAttempts = 1000;

void DropNoNumbers(float* samples, size_t count) {
    for (size_t i = 0; i < count; ++i)
        samples[i] = std::abs(samples[i]) <= std::numeric_limits<float>::max() ? samples[i] : 0.0f;
}

int32_t FrameCount(int64_t frames) { return static_cast<int32_t>(std::min<int64_t>(frames, INT32_MAX)); }

}  // namespace

int8_t LevelByte(float peak) {
    if (!(peak >= kNoSignalPeak)) return kNoSignalDb;
    const double db = std::trunc(20.0 * std::log10(static_cast<double>(peak)) - 0.5);
    if (db < -126) return kNoSignalDb;
    return static_cast<int8_t>(std::min(db, 127.0));
}

float VolumeFactor(int8_t db) {
    return db <= kNoSignalDb ? 0.0f : static_cast<float>(std::pow(10.0, db / 20.0));
}

LQueueRules QueueRules(LDeviceMode mode, LSoundFormat format, int32_t bufferFrames) {
    const int32_t rate = format.sampleRate;
    LQueueRules rules;
    const auto blocks = [&](int64_t block, int64_t count) {
        rules.blockFrames = static_cast<int32_t>(std::clamp<int64_t>(block, 1, kBlockFrames));
        rules.capacityFrames = FrameCount(rules.blockFrames * count);
    };
    switch (mode) {
        case LDeviceMode::kAlsa:
            blocks(std::clamp(rate / 10, 20, kBlockFrames), 64);
            break;
        case LDeviceMode::kPulseAudio:
            blocks(int64_t{rate} * 30 / 1000, 32);
            break;
        case LDeviceMode::kJack: {
            const int32_t buffer = std::max(1, bufferFrames);
            blocks(int64_t{buffer} * std::max(1, rate / buffer / 30), 1);
            rules.capacityFrames = kBlockFrames;
            break;
        }
        case LDeviceMode::kPipeWire:
            rules = {kBlockFrames, FrameCount(int64_t{rate} * 5)};
            break;
        case LDeviceMode::kNull:
            blocks(rate / 50, 16);
            break;
    }
    rules.capacityFrames =
        FrameCount(std::min<int64_t>(rules.capacityFrames, kMostSamples / std::max<int>(1, format.channels)));
    rules.capacityFrames = std::max(rules.capacityFrames, kLeastBlocks * rules.blockFrames);
    return rules;
}

LPlayQueue::LPlayQueue() { Configure({}, QueueRules(LDeviceMode::kNull, {}, 0)); }

void LPlayQueue::Configure(LSoundFormat format, LQueueRules rules) {
    format_ = format;
    rules_ = rules;
    const uint32_t size = std::bit_ceil(static_cast<uint32_t>(rules.capacityFrames + rules.blockFrames));
    mask_ = size - 1;
    ring_.assign(static_cast<size_t>(size) * format.channels, 0.0f);
    work_.resize(static_cast<size_t>(rules.blockFrames) * format.channels);
    span_ = Pack(kFirstFrame, kFirstFrame);
    released_ = kFirstFrame;
    writtenFrames_ = 0;
    takenFrames_ = silentFrames_ = heldFrames_ = 0;
    primed_ = beginning_ + 1;
    asked_ = 0;
    gain_ = volume_;
    momentTaken_ = momentDelay_ = 0;
    momentNs_ = MonotonicNs();
    latestHeard_ = 0;
    paused_ = true;
    ended_ = false;
    status_ = kDeviceGood;
    gaps_ = 0;
    taken_.Reset();
    const std::lock_guard guard(readLock_);
    base_ = baseFrames_ = 0;
    recordFrames_ = std::clamp(format.sampleRate / 33, 16, std::max(16, rules.blockFrames));
    const size_t count = static_cast<size_t>(size / static_cast<uint32_t>(recordFrames_)) + 256;
    records_.assign(count, {});
    recordPeaks_.assign(count * format.channels, 0.0f);
    nextRecord_ = 0;
}

int32_t LPlayQueue::RoomFrames() const {
    const int32_t limit = limitFrames_.load(std::memory_order_relaxed);
    if (limit <= 0) return rules_.capacityFrames;
    return static_cast<int32_t>(
        std::min<int64_t>(std::max<int64_t>(limit, 2 * int64_t{AskedFrames()}), rules_.capacityFrames));
}

int32_t LPlayQueue::BlockFrames() const {
    if (limitFrames_.load(std::memory_order_relaxed) <= 0) return rules_.blockFrames;
    return std::clamp(RoomFrames() / 4, 1, rules_.blockFrames);
}

bool LPlayQueue::HasFreeBlock() const {
    const uint32_t written = Written(span_.load(std::memory_order_relaxed));
    const uint32_t held = written - released_.load(std::memory_order_acquire);
    const int32_t block = BlockFrames();
    return held + static_cast<uint32_t>(rules_.blockFrames) <= mask_ + 1 &&
           WaitingFrames() + block <= std::max(RoomFrames(), block);
}

void LPlayQueue::CopyIn(const float* from, uint32_t at, int32_t frames) {
    const uint32_t first = std::min(static_cast<uint32_t>(frames), mask_ + 1 - (at & mask_));
    const size_t channels = format_.channels;
    std::copy_n(from, first * channels, ring_.data() + (at & mask_) * channels);
    std::copy_n(from + first * channels, (static_cast<uint32_t>(frames) - first) * channels, ring_.data());
}

void LPlayQueue::CopyOut(float* to, uint32_t at, int32_t frames) const {
    const uint32_t first = std::min(static_cast<uint32_t>(frames), mask_ + 1 - (at & mask_));
    const size_t channels = format_.channels;
    std::copy_n(ring_.data() + (at & mask_) * channels, first * channels, to);
    std::copy_n(ring_.data(), (static_cast<uint32_t>(frames) - first) * channels, to + first * channels);
}

void LPlayQueue::Measure(float* samples, int32_t frames, bool isLimited) {
    const std::lock_guard guard(readLock_);
    int64_t start = writtenFrames_.load(std::memory_order_relaxed);
    const size_t channels = format_.channels;
    for (int32_t done = 0; done < frames; done += recordFrames_) {
        const int32_t now = std::min(recordFrames_, frames - done);
        float* peaks = recordPeaks_.data() + nextRecord_ * channels;
        std::fill_n(peaks, channels, 0.0f);
        for (int32_t frame = 0; frame < now; ++frame)
            for (size_t c = 0; c < channels; ++c) peaks[c] = std::max(peaks[c], std::abs(*samples++));
        records_[nextRecord_] = {start, start + now, isLimited};
        start += now;
        nextRecord_ = (nextRecord_ + 1) % records_.size();
    }
}

void LPlayQueue::Write(LSoundSource& source, int32_t frames) {
    frames = std::min(frames, BlockFrames());
    if (frames <= 0) return;
    uint32_t loudBefore = 0, loudAfter = 0;
    source.Query(kQueryLimited, &loudBefore);
    source.Read(work_.data(), frames);
    source.Query(kQueryLimited, &loudAfter);
    DropNoNumbers(work_.data(), static_cast<size_t>(frames) * format_.channels);
    Measure(work_.data(), frames, loudAfter != loudBefore);
    ended_.store(false, std::memory_order_relaxed);
    uint64_t span = span_.load(std::memory_order_relaxed);
    CopyIn(work_.data(), Written(span), frames);
    writtenFrames_.fetch_add(frames, std::memory_order_relaxed);
    while (!span_.compare_exchange_weak(span,
                                        Pack(Claimed(span), Written(span) + static_cast<uint32_t>(frames)),
                                        std::memory_order_release, std::memory_order_relaxed)) {
    }
}

int64_t LPlayQueue::Drop(int32_t keepFrames) {
    if (keepFrames <= 0) {  // before the queue is empty, which is then no gap
        ended_.store(false, std::memory_order_relaxed);
        beginning_.fetch_add(1, std::memory_order_relaxed);  // odd: nothing is given
    }
    uint64_t span = span_.load(std::memory_order_acquire);
    uint32_t left = 0;
    do {
        left = std::min(Written(span) - Claimed(span), static_cast<uint32_t>(std::max(0, keepFrames)));
    } while (!span_.compare_exchange_weak(span, Pack(Claimed(span), Claimed(span) + left),
                                          std::memory_order_acq_rel, std::memory_order_acquire));
    if (keepFrames <= 0) beginning_.fetch_add(1, std::memory_order_release);
    const uint32_t dropped = Written(span) - Claimed(span) - left;
    const std::lock_guard guard(readLock_);
    const int64_t written = writtenFrames_.fetch_sub(dropped, std::memory_order_relaxed) - dropped;
    for (LRecord& record : records_) {
        record.end = std::min(record.end, written);
        record.start = std::min(record.start, record.end);
    }
    return dropped;
}

void LPlayQueue::SetBase(int64_t frame) {
    const std::lock_guard guard(readLock_);
    base_ = frame;
    baseFrames_ = writtenFrames_.load(std::memory_order_relaxed);
}

void LPlayQueue::Rebase(int64_t frame) {
    const std::lock_guard guard(readLock_);
    base_ = frame;
    baseFrames_ = Heard();
}

bool LPlayQueue::IsPrimed(uint32_t beginning, uint32_t waiting, int32_t frames) const {
    if (primed_ == beginning) return true;
    if (waiting == 0 || (beginning & 1)) return false;
    return waiting >= static_cast<uint32_t>(frames) || ended_.load(std::memory_order_acquire) ||
           int64_t{waiting} + BlockFrames() > RoomFrames() || heldFrames_ >= format_.sampleRate / 10;
}

int32_t LPlayQueue::Claim(int32_t frames, uint32_t& at) {
    uint64_t span = span_.load(std::memory_order_acquire);
    for (;;) {
        at = Claimed(span);
        const uint32_t waiting = Written(span) - at;
        const uint32_t beginning = beginning_.load(std::memory_order_relaxed);
        if (!IsPrimed(beginning, waiting, frames)) {
            if (waiting > 0) heldFrames_ += frames;
            return 0;
        }
        const uint32_t count = std::min(static_cast<uint32_t>(frames), waiting);
        if (count == 0) return 0;
        if (!span_.compare_exchange_weak(span, Pack(at + count, Written(span)), std::memory_order_acq_rel,
                                         std::memory_order_acquire))
            continue;
        primed_ = beginning;
        heldFrames_ = 0;
        return static_cast<int32_t>(count);
    }
}

void LPlayQueue::Scale(float* samples, int32_t frames) {
    const float target = volume_.load(std::memory_order_relaxed);
    const size_t channels = format_.channels;
    if (gain_ == target) {
        if (target == 1.0f) return;
        for (size_t i = 0; i < static_cast<size_t>(frames) * channels; ++i) samples[i] *= target;
        return;
    }
    const float step = (target - gain_) / static_cast<float>(frames);
    for (int32_t frame = 1; frame <= frames; ++frame)
        for (size_t c = 0; c < channels; ++c) *samples++ *= gain_ + step * static_cast<float>(frame);
    gain_ = target;
}

int32_t LPlayQueue::Take(float* dest, int32_t frames, int64_t delayFrames) {
    const LRealTimeScope realTime;
    if (frames <= 0) return 0;
    const bool paused = paused_.load(std::memory_order_relaxed);
    NoteAsked(frames);
    uint32_t at = 0;
    const int32_t count = paused ? 0 : Claim(frames, at);
    const int64_t block = BlockFrames();
    const int64_t blocksBefore = takenFrames_ / block;
    if (count > 0) {
        CopyOut(dest, at, count);
        released_.store(at + static_cast<uint32_t>(count), std::memory_order_release);
        Scale(dest, count);
        takenFrames_ += count;
        silentFrames_ = 0;
    }
    std::fill_n(dest + static_cast<size_t>(count) * format_.channels,
                static_cast<size_t>(frames - count) * format_.channels, 0.0f);
    silentFrames_ += frames - count;
    NoteMoment(takenFrames_, std::max<int64_t>(0, delayFrames - silentFrames_));
    const bool empty = !paused && count < frames;
    if (empty) NoteEmpty();
    if (empty || takenFrames_ / block != blocksBefore) taken_.Set();
    return count;
}

void LPlayQueue::NoteAsked(int32_t frames) {
    const int32_t before = asked_.load(std::memory_order_relaxed);
    asked_.store(std::max(frames, before - before / 8), std::memory_order_relaxed);
}

void LPlayQueue::NoteEmpty() {
    const uint32_t beginning = beginning_.load(std::memory_order_relaxed);
    if (primed_ != beginning) return;
    if (!ended_.load(std::memory_order_acquire)) CountGap();
    primed_ = beginning + 1;
}

void LPlayQueue::NoteMoment(int64_t taken, int64_t delayFrames) {
    // A sequence lock whose contents are atomic themselves; release on each keeps them behind the odd serial.
    const uint32_t serial = momentSerial_.load(std::memory_order_relaxed);
    momentSerial_.store(serial + 1, std::memory_order_relaxed);
    momentTaken_.store(taken, std::memory_order_release);
    momentDelay_.store(delayFrames, std::memory_order_release);
    momentNs_.store(MonotonicNs(), std::memory_order_release);
    momentSerial_.store(serial + 2, std::memory_order_release);
}

void LPlayQueue::Fail(LDeviceStatus status) {
    uint16_t good = kDeviceGood;
    status_.compare_exchange_strong(good, status, std::memory_order_acq_rel);
    taken_.Set();
}

int64_t LPlayQueue::WaitingFrames() const {
    const uint64_t span = span_.load(std::memory_order_acquire);
    return Written(span) - Claimed(span);
}

int64_t LPlayQueue::Heard() const {
    int64_t taken = 0, delay = 0, ns = 0;
    uint32_t before = 1;
    // A taker that was put aside while it wrote must not be waited for: a reader of higher priority could
    // keep it from going on.
    for (int attempt = 0; before & 1; ++attempt) {
        if (attempt == kReadAttempts) return latestHeard_.load(std::memory_order_relaxed);
        before = momentSerial_.load(std::memory_order_acquire);
        taken = momentTaken_.load(std::memory_order_acquire);
        delay = momentDelay_.load(std::memory_order_acquire);
        ns = momentNs_.load(std::memory_order_acquire);
        if (momentSerial_.load(std::memory_order_relaxed) != before) before = 1;
    }
    const double passed = static_cast<double>(MonotonicNs() - ns) / static_cast<double>(kNsPerSecond);
    const auto since = static_cast<int64_t>(passed * format_.sampleRate);
    const int64_t heard = std::clamp<int64_t>(taken - delay + since, 0, taken);
    int64_t latest = latestHeard_.load(std::memory_order_relaxed);
    while (latest < heard && !latestHeard_.compare_exchange_weak(latest, heard, std::memory_order_relaxed)) {
    }
    return std::max(latest, heard);
}

int64_t LPlayQueue::QueuedFrames() const {
    return std::max<int64_t>(0, writtenFrames_.load(std::memory_order_relaxed) - Heard());
}

int64_t LPlayQueue::Played() const {
    const std::lock_guard guard(readLock_);
    return base_ + std::max<int64_t>(0, Heard() - baseFrames_);
}

void LPlayQueue::Levels(LLevelBytes& levels) const {
    const size_t channels = format_.channels;
    levels.assign(channels, kNoSignalDb);
    if (paused_.load(std::memory_order_relaxed)) return;
    const int64_t heard = Heard();
    const float volume = volume_.load(std::memory_order_relaxed);
    const std::lock_guard guard(readLock_);
    for (size_t i = 0; i < records_.size(); ++i) {
        if (heard < records_[i].start || heard >= records_[i].end) continue;
        for (size_t c = 0; c < channels; ++c)
            levels[c] =
                records_[i].isLimited ? kLimitedLevelDb : LevelByte(recordPeaks_[i * channels + c] * volume);
        return;
    }
}

}  // namespace ondarix
