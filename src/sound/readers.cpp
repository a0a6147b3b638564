// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/readers.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

namespace ondarix {

namespace {

constexpr size_t kIdleFiles = 4;

// Bytes read, fewer only at the end of the file or on an error.
int64_t ReadUpTo(int fd, void* dest, int64_t bytes, int64_t offset) {
    int64_t done = 0;
    while (done < bytes) {
        const ssize_t got =
            ::pread(fd, static_cast<char*>(dest) + done, static_cast<size_t>(bytes - done), offset + done);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        done += got;
    }
    return done;
}

}  // namespace

// --- LSilenceSource

LSilenceSource::LSilenceSource(LSoundFormat format, int64_t length)
    : LSoundSource(format.sampleRate, format.channels), length_(length) {
    peak = 0.0f;
}

float* LSilenceSource::Read(float* dest, int32_t frames) {
    position_ += frames;
    return Silence(dest, frames);
}

// --- LCacheFileReader

LCacheFileReader::LCacheFileReader(uint16_t id, LSoundFormat format, float gain)
    : LCacheFileReader(CacheFileName(id, ".aud"), format, gain) {
    id_ = id;
}

LCacheFileReader::LCacheFileReader(const QString& path, LSoundFormat format, float gain)
    : LSoundSource(format.sampleRate, format.channels), gain_(gain) {
    if (!path.isEmpty()) fd_ = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
}

LCacheFileReader::~LCacheFileReader() {
    if (fd_ >= 0) ::close(fd_);
}

int64_t LCacheFileReader::GetLength() {
    struct stat facts {};
    return fd_ >= 0 && ::fstat(fd_, &facts) == 0 ? facts.st_size / (int64_t{channels} * 4) : 0;
}

float* LCacheFileReader::Read(float* dest, int32_t frames) {
    const int64_t frameBytes = int64_t{channels} * 4;
    int64_t left = std::max(frames, 0);
    if (position_ < 0) {
        const int64_t before = std::min(left, position_ < -left ? left : -position_);
        dest = Silence(dest, before);
        position_ += before;
        left -= before;
    }
    if (left > 0 && fd_ >= 0 && position_ <= std::numeric_limits<int64_t>::max() / frameBytes - left) {
        const int64_t got = ReadUpTo(fd_, dest, left * frameBytes, position_ * frameBytes) / frameBytes;
        if (gain_ != 1.0f) {
            for (int64_t i = 0; i < got * channels; ++i) dest[i] *= gain_;
        }
        dest += got * channels;
        position_ += got;
        left -= got;
    }
    position_ += left;
    return Silence(dest, left);
}

// --- LSegmentSource

LSegmentSource::LSegmentSource(const LSoundSegment& segment, LSoundFormat format,
                               std::unique_ptr<LCacheFileReader> reuse)
    : LSoundSource(format.sampleRate, format.channels), offset_(segment.offset), length_(segment.length) {
    if (segment.IsSilent()) {
        silence_ = std::make_unique<LSilenceSource>(format, segment.length);
        offset_ = 0;
    } else if (reuse && reuse->Id() == segment.cacheRef.cacheId) {
        file_ = std::move(reuse);
        file_->SetGain(segment.gain);
    } else {
        file_ = std::make_unique<LCacheFileReader>(segment.cacheRef.cacheId, format, segment.gain);
    }
    Seek(0);
}

LSegmentSource::~LSegmentSource() = default;

float* LSegmentSource::Read(float* dest, int32_t frames) {
    if (file_) return file_->Read(dest, frames);
    return silence_ ? silence_->Read(dest, frames) : Silence(dest, frames);
}

int64_t LSegmentSource::GetPosition() {
    if (file_) return file_->GetPosition() - offset_;
    return silence_ ? silence_->GetPosition() : 0;
}

void LSegmentSource::Seek(int64_t frame) {
    if (file_) file_->Seek(offset_ + frame);
    if (silence_) silence_->Seek(frame);
}

std::unique_ptr<LCacheFileReader> LSegmentSource::TakeFileReader() { return std::move(file_); }

// --- LSoundReader

LSoundReader::LSoundReader(const LSound& sound)
    : LSoundSource(sound.sampleRate, sound.channels), sound_(sound), length_(sound_.Length()) {
    sound_.SetLosslessMode(nullptr);  // the copy must stay as it is
    if (sound_.IsEmpty()) error = kSourceEmpty;
}

LSoundReader::~LSoundReader() = default;

bool LSoundReader::FindSegment() {
    if (position_ >= length_) return false;
    if (!current_ || position_ < base_) {
        current_ = sound_.segments.get();
        base_ = 0;
    }
    while (current_ && position_ - base_ >= current_->length) {
        base_ += current_->length;
        current_ = current_->next.get();
    }
    return current_ != nullptr;
}

void LSoundReader::TakeFile() {
    const uint16_t id = current_->cacheRef.cacheId;
    if (!file_ || file_->Id() != id) {
        if (file_) idle_.push_back(std::move(file_));
        const auto open =
            std::find_if(idle_.begin(), idle_.end(), [id](const auto& file) { return file->Id() == id; });
        if (open != idle_.end()) {
            file_ = std::move(*open);
            idle_.erase(open);
        } else {
            file_ = std::make_unique<LCacheFileReader>(id, sound_.Format());
        }
        if (idle_.size() > kIdleFiles) idle_.erase(idle_.begin());
    }
    file_->SetGain(current_->gain);
}

float* LSoundReader::Read(float* dest, int32_t frames) {
    for (int64_t left = frames; left > 0;) {
        int64_t piece = left;
        bool silent = true;
        if (position_ < 0) {
            piece = position_ < -left ? left : -position_;
        } else if (FindSegment()) {
            piece = std::min(left, current_->length - (position_ - base_));
            silent = current_->IsSilent() || !current_->cacheRef.IsOfThisFolder();
        }
        if (silent) {
            dest = Silence(dest, piece);
        } else {
            TakeFile();
            file_->Seek(current_->offset + (position_ - base_));
            dest = file_->Read(dest, static_cast<int32_t>(piece));
        }
        position_ += piece;
        left -= piece;
    }
    return dest;
}

}  // namespace ondarix
