// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/target_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFileInfo>
#include <vector>

#include "formats/file_checks.h"
#include "gen/bytes.h"
#include "gen/paths.h"

namespace ondarix {

namespace {

constexpr const char* kPartSuffix = ".ondarix-part";
constexpr qsizetype kLongestName = 200;  // bytes of the target's name; the whole stays below 255
constexpr int kPartAttempts = 16;
constexpr int64_t kCopyBlock = 1 << 20;

// At most so many bytes, and no part of a UTF-8 sequence.
QByteArray CutName(QByteArray name, qsizetype bytes) {
    if (name.size() <= bytes) return name;
    while (bytes > 0 && (static_cast<uint8_t>(name[bytes]) & 0xC0) == 0x80) --bytes;
    return name.first(bytes);
}

bool CopyContent(const QString& from, int to) {
    LFileBytes file(from);
    if (!file.IsOpen()) return false;
    std::vector<char> block(kCopyBlock);
    int64_t at = 0;
    for (;;) {
        const int64_t got = file.ReadAt(at, block.data(), kCopyBlock);
        if (got > 0 && !WriteExactlyAt(to, at, block.data(), got)) return false;
        at += got;
        if (got < kCopyBlock) break;
    }
    return at == file.Size() && ftruncate(to, at) == 0 && fsync(to) == 0;
}

// A file whose lock can be had belongs to nobody: its owner held it from the beginning.
void RemoveIfAbandoned(int folder, const char* name) {
    const int fd = openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return;
    struct stat facts;
    if (fstat(fd, &facts) == 0 && S_ISREG(facts.st_mode) && flock(fd, LOCK_EX | LOCK_NB) == 0)
        unlinkat(folder, name, 0);
    close(fd);
}

// "PID" or "PID-N", so that no other file is taken for a left-over.
bool IsPartNumber(const QByteArray& text) {
    for (char c : text) {
        if ((c < '0' || c > '9') && c != '-') return false;
    }
    return !text.isEmpty();
}

}  // namespace

LTargetFile::LTargetFile(const QString& target) : target_(ResolveLinks(target)) {
    folder_ = QFile::encodeName(QFileInfo(target_).absolutePath());
    oldFd_ = open(QFile::encodeName(target_).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    struct stat facts;
    const bool exists = stat(QFile::encodeName(target_).constData(), &facts) == 0;
    if (exists && !S_ISREG(facts.st_mode)) return;
    OpenBeside(exists);
    if (fd_ < 0 && exists && (errno == EACCES || errno == EPERM || errno == EROFS)) OpenInPlace();
}

LTargetFile::~LTargetFile() {
    Abandon();
    if (oldFd_ >= 0) close(oldFd_);
}

void LTargetFile::RemoveStale(const QByteArray& prefix) const {
    DIR* folder = opendir(folder_.constData());
    if (!folder) return;
    while (const dirent* entry = readdir(folder)) {
        const QByteArray name(entry->d_name);
        if (!name.startsWith(prefix) || !name.endsWith(kPartSuffix)) continue;
        const qsizetype middle = name.size() - prefix.size() - static_cast<qsizetype>(strlen(kPartSuffix));
        if (middle > 0 && IsPartNumber(name.mid(prefix.size(), middle)))
            RemoveIfAbandoned(dirfd(folder), entry->d_name);
    }
    closedir(folder);
}

// The lock is taken right after the file is made; one that a clean-up took in between has lost its name and
// another is made.
void LTargetFile::OpenBeside(bool exists) {
    const QByteArray base = QFile::encodeName(QFileInfo(target_).fileName());
    const QByteArray prefix = '.' + CutName(base, kLongestName) + '.';
    RemoveStale(prefix);
    for (int attempt = 0; attempt < kPartAttempts; ++attempt) {
        const QByteArray number =
            QByteArray::number(getpid()) + (attempt ? '-' + QByteArray::number(attempt) : "");
        const QByteArray path = folder_ + '/' + prefix + number + kPartSuffix;
        const int fd = open(path.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, exists ? 0600 : 0666);
        if (fd < 0 && errno == EEXIST) continue;
        if (fd < 0) return;
        struct stat facts;
        if (flock(fd, LOCK_EX | LOCK_NB) == 0 && fstat(fd, &facts) == 0 && facts.st_nlink > 0) {
            fd_ = fd;
            writePath_ = QFile::decodeName(path);
            return;
        }
        close(fd);
    }
}

void LTargetFile::OpenInPlace() {
    const QByteArray name = QFile::encodeName(target_);
    const QString scratch = TempFolder();
    if (scratch.isEmpty()) return;
    QByteArray folder = QFile::encodeName(scratch + QStringLiteral("/backup-XXXXXX"));
    const int target = open(name.constData(), O_RDWR | O_CLOEXEC);
    if (target < 0) return;
    if (!mkdtemp(folder.data())) {
        close(target);
        return;
    }
    backupPath_ = QFile::decodeName(folder) + u'/' + QFileInfo(target_).fileName();
    const int backup = open(QFile::encodeName(backupPath_).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    const bool copied = backup >= 0 && CopyContent(target_, backup);
    if (backup >= 0) close(backup);
    if (copied) {
        fd_ = target;
        writePath_ = target_;
        return;
    }
    close(target);
    unlink(QFile::encodeName(backupPath_).constData());
    rmdir(folder.constData());
    backupPath_.clear();
}

void LTargetFile::KeepOldFacts() const {
    struct stat old;
    if (oldFd_ < 0 || fstat(oldFd_, &old) != 0) return;
    const bool sameOwner = fchown(fd_, old.st_uid, old.st_gid) == 0;
    // Without the owner the bits that lend his rights must not go along.
    if (fchmod(fd_, old.st_mode & (sameOwner ? 07777 : 0777)) != 0) return;
}

bool LTargetFile::Commit() {
    if (fd_ < 0) return false;
    if (backupPath_.isEmpty()) {
        KeepOldFacts();
        if (fsync(fd_) != 0) return false;
        if (rename(QFile::encodeName(writePath_).constData(), QFile::encodeName(target_).constData()) != 0)
            return false;
        const int folder = open(folder_.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (folder >= 0) {
            fsync(folder);
            close(folder);
        }
    } else {
        if (fsync(fd_) != 0) return false;
        unlink(QFile::encodeName(backupPath_).constData());
        rmdir(QFile::encodeName(QFileInfo(backupPath_).path()).constData());
    }
    close(fd_);
    fd_ = -1;
    return true;
}

bool LTargetFile::Abandon() {
    if (fd_ < 0) return true;
    bool restored = true;
    if (backupPath_.isEmpty()) {
        unlink(QFile::encodeName(writePath_).constData());
    } else if ((restored = CopyContent(backupPath_, fd_))) {
        unlink(QFile::encodeName(backupPath_).constData());
        rmdir(QFile::encodeName(QFileInfo(backupPath_).path()).constData());
    }
    close(fd_);
    fd_ = -1;
    return restored;
}

}  // namespace ondarix
