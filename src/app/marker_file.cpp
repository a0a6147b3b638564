// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/marker_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <cstdio>
#include <cstdlib>

#include "gen/bytes.h"
#include "gen/clock.h"
#include "gen/paths.h"

namespace ondarix {
namespace {

constexpr size_t kStampBytes = 8;
constexpr int64_t kToleranceMs = 2000;

QString UserName() {
    const QString name = qEnvironmentVariable("USER");
    return name.isEmpty() || name.contains(u'/') ? QString::number(getuid()) : name;
}

void ReportCrash() { std::fputs("ondarix: the last run ended abnormally\n", stderr); }

}  // namespace

void (*gOnCrashReported)() = &ReportCrash;

LRunStamp LRunStamp::Now() {
    return {static_cast<uint32_t>(UnixTime()), static_cast<uint32_t>(TickCountMs())};
}

bool EndedWithoutRestart(const LRunStamp& left, const LRunStamp& now) {
    const uint32_t expected = (now.timeSeconds - left.timeSeconds) * 1000 + left.tickMs;
    const int64_t difference = static_cast<int32_t>(now.tickMs - expected);
    return difference >= -kToleranceMs && difference <= kToleranceMs;
}

QString LMarkerFile::DefaultPath() {
    const QString folder = TempFolder();
    return folder.isEmpty() ? QString() : folder + QStringLiteral("/_ondarix_rl_") + UserName();
}

LMarkerFile::~LMarkerFile() {
    if (fd_ >= 0) close(fd_);
}

bool LMarkerFile::Create() {
    const QByteArray name = QFile::encodeName(path_);
    const int fd = open(name.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0) return false;
    flock(fd, LOCK_EX | LOCK_NB);
    char stamp[kStampBytes];
    const LRunStamp now = LRunStamp::Now();
    StoreLe(stamp, now.timeSeconds);
    StoreLe(stamp + 4, now.tickMs);
    WriteExactlyAt(fd, 0, stamp, sizeof stamp);
    fd_ = fd;
    return true;
}

// Reads and removes the file of an earlier run. True when that run seems to have crashed.
bool LMarkerFile::TakeOver() {
    const QByteArray name = QFile::encodeName(path_);
    const int fd = open(name.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (fd < 0) return false;
    struct stat facts {};
    const bool ours = fstat(fd, &facts) == 0 && S_ISREG(facts.st_mode) && facts.st_uid == getuid() &&
                      flock(fd, LOCK_EX | LOCK_NB) == 0;
    char stamp[kStampBytes];
    const bool whole = ours && pread(fd, stamp, sizeof stamp, 0) == static_cast<ssize_t>(sizeof stamp);
    close(fd);
    if (ours) unlink(name.constData());
    return whole &&
           EndedWithoutRestart({LoadLe<uint32_t>(stamp), LoadLe<uint32_t>(stamp + 4)}, LRunStamp::Now());
}

bool LMarkerFile::Begin(const QString& path) {
    path_ = path;
    if (path_.isEmpty() || Create() || errno != EEXIST) return false;
    const bool crashed = TakeOver();
    Create();
    return crashed;
}

void LMarkerFile::End() {
    if (fd_ < 0) return;
    unlink(QFile::encodeName(path_).constData());
    close(fd_);
    fd_ = -1;
}

}  // namespace ondarix
