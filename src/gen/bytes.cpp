// SPDX-License-Identifier: GPL-3.0-or-later
#include "gen/bytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>

#include <algorithm>
#include <cerrno>

namespace ondarix {

LFileBytes::LFileBytes(const QString& path) {
    // O_NONBLOCK: opening a FIFO without a writer would wait for one.
    const int fd = open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        errno_ = errno;
        return;
    }
    struct stat facts {};
    if (fstat(fd, &facts) == 0 && S_ISREG(facts.st_mode)) {
        fd_ = fd;
        return;
    }
    errno_ = S_ISDIR(facts.st_mode) ? EISDIR : ENXIO;
    close(fd);
}

LFileBytes::~LFileBytes() {
    if (fd_ >= 0) close(fd_);
}

int64_t LFileBytes::ReadAt(int64_t offset, void* dest, int64_t bytes) {
    if (fd_ < 0 || offset < 0) return 0;
    int64_t done = 0;
    while (done < bytes) {
        const ssize_t got =
            pread(fd_, static_cast<char*>(dest) + done, static_cast<size_t>(bytes - done), offset + done);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        done += got;
    }
    return done;
}

int64_t LFileBytes::Size() {
    struct stat facts {};
    return fd_ >= 0 && fstat(fd_, &facts) == 0 ? facts.st_size : 0;
}

int64_t LMemoryBytes::ReadAt(int64_t offset, void* dest, int64_t bytes) {
    if (offset < 0 || offset >= Size() || bytes <= 0) return 0;
    const int64_t count = std::min(bytes, Size() - offset);
    std::memcpy(dest, bytes_.data() + offset, static_cast<size_t>(count));
    return count;
}

bool WriteExactlyAt(int fd, int64_t offset, const void* from, int64_t bytes) {
    int64_t done = 0;
    while (done < bytes) {
        const ssize_t put = pwrite(fd, static_cast<const char*>(from) + done,
                                   static_cast<size_t>(bytes - done), offset + done);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return false;
        done += put;
    }
    return true;
}

}  // namespace ondarix
