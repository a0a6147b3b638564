// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/cache_writer.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <QFile>
#include <algorithm>
#include <utility>

#include "gen/bytes.h"
#include "sound/cache_state.h"

namespace ondarix {

namespace {

int CreateCacheFile(const QString& name) {
    if (name.isEmpty()) return -1;
    return ::open(QFile::encodeName(name).constData(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
}

}  // namespace

LCacheFileWriter::LCacheFileWriter(LSoundFormat format, LSound* owner)
    : LCacheFileWriter(format, LSoundCacheRef::Adopt(AllocateCacheId()), owner) {}

LCacheFileWriter::LCacheFileWriter(LSoundFormat format, LSoundCacheRef ref, LSound* owner)
    : LSoundSink(format), ref_(std::move(ref)), owner_(owner), max_(format.channels), min_(format.channels) {
    OpenFiles();
}

LCacheFileWriter::~LCacheFileWriter() { Finish(); }

LSoundSinkRef CreateCacheWriter(int32_t rate, uint8_t channels, LSound* owner) {
    return MakeSink<LCacheFileWriter>(LSoundFormat{rate, channels}, owner);
}

void LCacheFileWriter::OpenFiles() {
    if (channels == 0 || ref_.cacheId >= kNoCacheId) {
        flags |= kFailed;
        return;
    }
    aud_ = CreateCacheFile(CacheFileName(ref_.cacheId, ".aud"));
    grf_ = CreateCacheFile(CacheFileName(ref_.cacheId, ".grf"));
    if (aud_ < 0 || grf_ < 0) flags |= kFailed;
}

// Not in memory, where the room would be filled with zeros first.
void LCacheFileWriter::Expect(int64_t frames) {
    int64_t bytes = 0;
    struct statfs disk {};
    if (frames <= 0 || HasFailed() || finished_ || hasReserve_ ||
        __builtin_mul_overflow(frames, int64_t{channels} * 4, &bytes) || ::fstatfs(aud_, &disk) != 0 ||
        disk.f_type == TMPFS_MAGIC)
        return;
    hasReserve_ = ::fallocate(aud_, FALLOC_FL_KEEP_SIZE, 0, bytes) == 0;
}

void LCacheFileWriter::Write(const float* src, int32_t frames) {
    if (!src || frames <= 0 || HasFailed() || finished_) return;
    const int64_t frameBytes = int64_t{channels} * 4;
    int64_t offset = 0, end = 0;
    if (__builtin_mul_overflow(position_, frameBytes, &offset) ||
        __builtin_add_overflow(offset, frames * frameBytes, &end) ||
        !WriteExactlyAt(aud_, offset, src, frames * frameBytes)) {
        flags |= kFailed;
        return;
    }
    UpdateGraph(src, frames);
    framesWritten = std::max(framesWritten, position_);
    FlushRecords();
}

// `position_` runs along, so that a record is known by the block that it ends.
void LCacheFileWriter::UpdateGraph(const float* src, int64_t frames) {
    while (frames > 0) {
        if (inBlock_ == 0 && frames >= kPeakBlockFrames) {
            const int64_t blocks = frames / kPeakBlockFrames;
            const size_t before = records_.size();
            records_.resize(before + static_cast<size_t>(blocks * channels));
            PeaksOfBlocks(src, blocks, channels, records_.data() + before);
            src += blocks * kPeakBlockFrames * channels;
            position_ += blocks * kPeakBlockFrames;
            frames -= blocks * kPeakBlockFrames;
            continue;
        }
        const int64_t piece = std::min<int64_t>(frames, kPeakBlockFrames - inBlock_);
        Accumulate(src, piece);
        src += piece * channels;
        position_ += piece;
        frames -= piece;
        if (inBlock_ == kPeakBlockFrames) EmitRecord();
    }
}

void LCacheFileWriter::Accumulate(const float* src, int64_t frames) {
    AccumulatePeaks(src, frames, channels, max_.data(), min_.data());
    inBlock_ += static_cast<int32_t>(frames);
}

void LCacheFileWriter::EmitRecord() {
    for (size_t channel = 0; channel < channels; ++channel) {
        records_.push_back({PeakFromMagnitude(max_[channel]), PeakFromMagnitude(-min_[channel])});
    }
    std::fill(max_.begin(), max_.end(), 0.0f);
    std::fill(min_.begin(), min_.end(), 0.0f);
    inBlock_ = 0;
}

void LCacheFileWriter::FlushRecords() {
    if (records_.empty()) return;
    const int64_t recordBytes = int64_t{channels} * 4;
    const auto bytes = static_cast<int64_t>(records_.size() * sizeof(LPeakPair));
    if (!WriteExactlyAt(grf_, recordsFrom_ * recordBytes, records_.data(), bytes)) flags |= kFailed;
    recordsFrom_ += bytes / recordBytes;
    records_.clear();
}

void LCacheFileWriter::ReadBack(int64_t from, int64_t to) {
    std::vector<float> frames(static_cast<size_t>(std::max<int64_t>(to - from, 0) * channels), 0.0f);
    if (frames.empty()) return;
    const auto bytes = frames.size() * sizeof(float);
    if (::pread(aud_, frames.data(), bytes, from * channels * 4) < 0) flags |= kFailed;
    Accumulate(frames.data(), to - from);
}

void LCacheFileWriter::EnterBlock() {
    recordsFrom_ = position_ / kPeakBlockFrames;
    ReadBack(recordsFrom_ * kPeakBlockFrames, position_);
}

void LCacheFileWriter::LeaveBlock() {
    const int64_t blockStart = position_ - inBlock_;
    if (inBlock_ > 0) {
        ReadBack(position_, std::min(blockStart + kPeakBlockFrames, framesWritten));
        EmitRecord();
        // A place behind the end where nothing has been written has no record.
        if (blockStart >= framesWritten) records_.resize(records_.size() - channels);
    }
    FlushRecords();
}

void LCacheFileWriter::Seek(int64_t frame) {
    frame = std::max<int64_t>(frame, 0);
    if (frame == position_ || HasFailed() || finished_) return;
    LeaveBlock();
    position_ = frame;
    EnterBlock();
}

void LCacheFileWriter::Truncate(int64_t frames) {
    frames = std::max<int64_t>(frames, 0);
    if (frames > framesWritten || HasFailed() || finished_) return;
    LeaveBlock();
    const int64_t records = (frames + kPeakBlockFrames - 1) / kPeakBlockFrames;
    if (::ftruncate(aud_, frames * channels * 4) != 0 || ::ftruncate(grf_, records * channels * 4) != 0) {
        flags |= kFailed;
    }
    framesWritten = position_ = frames;
    EnterBlock();
}

void LCacheFileWriter::SetTailSource(LSoundSourceRef tail, int64_t frames) {
    tail_ = std::move(tail);
    tailFrames_ = frames;
}

void LCacheFileWriter::WriteTail() {
    if (tail_.IsEmpty() || tail_->channels != channels) return;
    std::vector<float> block(static_cast<size_t>(kBlockFrames) * channels);
    if (tailFrames_ > 0) Seek(framesWritten);
    while (tailFrames_ > 0 && !HasFailed()) {
        const auto frames = static_cast<int32_t>(std::min<int64_t>(tailFrames_, kBlockFrames));
        tail_->Read(block.data(), frames);
        Write(block.data(), frames);
        tailFrames_ -= frames;
    }
    tail_.Reset();
}

void LCacheFileWriter::Finish() {
    if (finished_) return;
    const bool opened = aud_ >= 0 && grf_ >= 0;
    if (opened) {
        WriteTail();
        LeaveBlock();
        // A write that the disk had no room for may have left part of a frame.
        if ((HasFailed() || hasReserve_) && ::ftruncate(aud_, framesWritten * channels * 4) != 0)
            flags |= kFailed;
    }
    finished_ = true;
    const LSoundFormat format{static_cast<int32_t>(sampleRate), channels};
    if (opened && !WriteCacheInfo(ref_.cacheId, format, sourceBits_)) flags |= kFailed;
    for (int* fd : {&aud_, &grf_}) {
        if (*fd >= 0 && ::close(std::exchange(*fd, -1)) != 0) flags |= kFailed;
    }
    if (opened && owner_) {
        owner_->SetSingleSegment(LSoundSegment(ref_, 0, framesWritten), format.sampleRate, format.channels);
    }
}

}  // namespace ondarix
