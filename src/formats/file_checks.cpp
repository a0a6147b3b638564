// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/file_checks.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFileInfo>

namespace ondarix {

bool IsReadOnlyFile(const QString& path) {
    const QByteArray name = QFile::encodeName(path);
    struct stat facts;
    if (stat(name.constData(), &facts) != 0) return false;
    const bool anyWriteBit = (facts.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0;
    return !anyWriteBit || faccessat(AT_FDCWD, name.constData(), W_OK, AT_EACCESS) != 0;
}

bool IsHeldByAnother(const QString& path) {
    const int fd = open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) return false;
    bool held = flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    struct flock record {};
    record.l_type = F_WRLCK;
    record.l_whence = SEEK_SET;
    if (!held && fcntl(fd, F_OFD_GETLK, &record) == 0) held = record.l_type != F_UNLCK;
    close(fd);
    return held;
}

QString ResolveLinks(const QString& path) {
    constexpr int kMaxLinks = 40;
    QString at = QFileInfo(path).absoluteFilePath();
    for (int links = 0; links < kMaxLinks; ++links) {
        const QFileInfo info(at);
        if (!info.isSymbolicLink()) return at;
        at = QFileInfo(info.symLinkTarget()).absoluteFilePath();
    }
    return path;
}

}  // namespace ondarix
