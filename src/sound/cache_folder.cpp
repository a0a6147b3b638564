// SPDX-License-Identifier: GPL-3.0-or-later
// Which folder the cache lies in and who owns it.
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <utility>

#include "gen/paths.h"
#include "gen/settings.h"
#include "sound/cache_state.h"

namespace ondarix {

namespace {

constexpr char kLockName[] = "/cache.lock";

// The number and the place in kCacheExtensions of a file's name.
std::optional<std::pair<uint16_t, int>> ParseCacheName(const char* name) {
    const char* const dot = std::strchr(name, '.');
    if (!dot || dot == name || (name[0] == '0' && dot != name + 1)) return std::nullopt;
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(name, dot, number);
    if (error != std::errc() || end != dot || number >= kNoCacheId) return std::nullopt;
    int place = 0;
    for (const char* extension : kCacheExtensions) {
        if (std::strcmp(dot, extension) == 0) return std::pair{static_cast<uint16_t>(number), place};
        ++place;
    }
    return std::nullopt;
}

void ForgetAllNumbers(LCacheTable& table) {
    table.overrides.clear();
    for (int id = 0; id < kCacheNumbers; ++id) {
        table.refs[static_cast<size_t>(id)].store(0, std::memory_order_relaxed);
        table.ForgetNumber(static_cast<uint16_t>(id));
    }
    table.scanned = false;
}

// Moves to `folder` with the lock `fd` (-1: looks at it only), and leaves the folder before.
void EnterFolder(const QString& folder, int fd, bool isPrivate) {
    LCacheTable& table = CacheTable();
    QString oldPrivate;
    int oldFd = -1;
    {
        const std::lock_guard guard(table.lock);
        if (table.isPrivate) oldPrivate = table.folder;
        oldFd = std::exchange(table.lockFd, fd);
        table.folder = folder;
        table.owned = fd >= 0;
        table.isPrivate = isPrivate;
        ForgetAllNumbers(table);
        ++table.epoch;
    }
    if (!oldPrivate.isEmpty()) QDir(oldPrivate).removeRecursively();
    if (oldFd >= 0) ::close(oldFd);
}

FolderLock MoveTo(const QString& path, bool isPrivate) {
    const QString folder = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    if (OwnsCache() && CacheFolder() == folder) return FolderLock::kTaken;
    if (path.isEmpty() || !QDir().mkpath(folder)) return FolderLock::kUnwritable;
    int fd = -1;
    const FolderLock result = TakeFolderLock(folder, fd);
    if (result == FolderLock::kTaken) EnterFolder(folder, fd, isPrivate);
    return result;
}

QString WorkingFolder() {
    if (GetSettingBool("Settings", "UseDefaultWorkingDir", true)) return DataFolder();
    const QString chosen = GetSettingString("Settings", "WorkingFolder", DataFolder());
    return chosen.isEmpty() ? DataFolder() : chosen;
}

// Folders of processes that have ended without removing theirs: nobody holds the lock.
void RemoveAbandonedFolders(const QString& parent) {
    static const QRegularExpression pattern("\\A[0-9]+-[0-9a-f]{8}\\z");
    const auto entries = QDir(parent).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks);
    for (const QFileInfo& entry : entries) {
        if (!pattern.match(entry.fileName()).hasMatch()) continue;
        int fd = -1;
        if (TakeFolderLock(entry.filePath(), fd) != FolderLock::kTaken) continue;
        QDir(entry.filePath()).removeRecursively();
        ::close(fd);
    }
}

}  // namespace

LCacheFiles ListCacheFiles(const QString& folder) {
    LCacheFiles files;
    DIR* const dir = folder.isEmpty() ? nullptr : ::opendir(QFile::encodeName(folder).constData());
    if (!dir) return files;
    while (const dirent* entry = ::readdir(dir)) {
        if (const auto parsed = ParseCacheName(entry->d_name)) {
            files[parsed->first] = static_cast<uint8_t>(files[parsed->first] | 1 << parsed->second);
        }
    }
    ::closedir(dir);
    return files;
}

FolderLock TakeFolderLock(const QString& folder, int& fd) {
    const QByteArray name = QFile::encodeName(folder + kLockName);
    fd = ::open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0) return FolderLock::kUnwritable;
    if (::flock(fd, LOCK_EX | LOCK_NB) == 0) return FolderLock::kTaken;
    const bool held = errno == EWOULDBLOCK;
    ::close(std::exchange(fd, -1));
    return held ? FolderLock::kHeld : FolderLock::kUnwritable;
}

int64_t FileSizeOf(const QString& path) {
    struct stat facts {};
    if (path.isEmpty() || ::stat(QFile::encodeName(path).constData(), &facts) != 0) return -1;
    return S_ISREG(facts.st_mode) ? int64_t{facts.st_size} : -1;
}

// The folder "soundcache" is made and left empty as long as the working folder is another one.
bool OpenCache() {
    const QString data = DataFolder();
    if (data.isEmpty()) return false;
    const QString first = data + "/soundcache";
    if (QDir().mkpath(first) && !OwnsCache()) EnterFolder(first, -1, false);
    FolderLock result = MoveTo(WorkingFolder(), false);
    if (result == FolderLock::kUnwritable) {
        SetSettingBool("Settings", "UseDefaultWorkingDir", true);
        result = MoveTo(data, false);
    }
    if (result != FolderLock::kTaken && !OwnsCache()) EnterFolder({}, -1, false);
    return result == FolderLock::kTaken;
}

bool OpenPrivateCache() {
    const QString parent = DataFolder() + "/private";
    if (DataFolder().isEmpty() || !QDir().mkpath(parent)) return false;
    // Held while a folder exists that its owner has not locked yet.
    const int guard =
        ::open(QFile::encodeName(parent + kLockName).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (guard < 0) return false;
    while (::flock(guard, LOCK_EX) != 0 && errno == EINTR) {
    }
    RemoveAbandonedFolders(parent);
    const QString folder = QString("%1/%2-%3")
                               .arg(parent)
                               .arg(::getpid())
                               .arg(QRandomGenerator::system()->generate(), 8, 16, QChar('0'));
    const bool opened = MoveTo(folder, true) == FolderLock::kTaken;
    ::close(guard);
    return opened;
}

void OpenCacheForListing() { EnterFolder(QDir::cleanPath(WorkingFolder()), -1, false); }

bool SetCacheFolder(const QString& folder) { return MoveTo(folder, false) == FolderLock::kTaken; }

void CloseCache() { EnterFolder({}, -1, false); }

QString CacheFolder() {
    LCacheTable& table = CacheTable();
    const std::lock_guard guard(table.lock);
    return table.folder;
}

uint32_t CacheEpoch() { return CacheTable().epoch.load(std::memory_order_relaxed); }

bool OwnsCache() {
    LCacheTable& table = CacheTable();
    const std::lock_guard guard(table.lock);
    return table.owned;
}

}  // namespace ondarix
