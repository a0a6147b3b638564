// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/chain_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cerrno>

namespace ondarix {
namespace {

constexpr int64_t kLargestChainFile = 1 << 28;  // bytes
constexpr auto kChainKind = static_cast<uint32_t>(LsdfFileKind::kEffectChain);

bool SyncChainFile(const QByteArray& name) {
    const int fd = open(name.constData(), O_RDONLY | O_CLOEXEC);
    const bool synced = fd >= 0 && fsync(fd) == 0;
    if (fd >= 0) close(fd);
    return synced;
}

// A new file of our own in `folder`; nobody else's is written over.
QByteArray MakePartFile(const QString& folder) {
    const QByteArray start = QFile::encodeName(folder) + "/.ecf-" + QByteArray::number(getpid()) + "-";
    for (int attempt = 0; attempt < 100; ++attempt) {
        QByteArray name = start + QByteArray::number(attempt) + "-part";
        const int fd = open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) {
            close(fd);
            return name;
        }
        if (errno != EEXIST) break;
    }
    return {};
}

bool WriteChainTo(const QByteArray& name, const LEffectChain& chain) {
    LLsdfWriter writer(QFile::decodeName(name), kChainKind, kChainVersion);
    chain.Save(writer);
    writer.Close();
    return !writer.Failed();
}

}  // namespace

bool ReadEffectChain(std::shared_ptr<LByteSource> bytes, LEffectChain& chain) {
    LLsdfReader reader(std::move(bytes), kChainKind);
    if (!reader.IsValid() || reader.FormatVersion() != kChainVersion) return false;
    chain.Load(reader);
    return true;
}

LChainRead ReadEffectChainFile(const QString& path, LEffectChain& chain) {
    const auto file = std::make_shared<LFileBytes>(path);
    if (!file->IsOpen()) return LChainRead::kCannotOpen;
    if (file->Size() > kLargestChainFile) return LChainRead::kNoChain;
    return ReadEffectChain(file, chain) ? LChainRead::kRead : LChainRead::kNoChain;
}

LChainWrite WriteEffectChainFile(const QString& path, const LEffectChain& chain) {
    const std::vector<const LEffect*> effects = chain.Effects();
    if (effects.empty()) return LChainWrite::kEmpty;
    if (std::any_of(effects.begin(), effects.end(), [](const LEffect* one) { return one->GetType() == 0; }))
        return LChainWrite::kUnstorable;
    // Behind a link the file that it names is replaced, not the link.
    const QFileInfo named(path);
    const QString target = named.isSymLink() && named.exists() ? named.canonicalFilePath() : path;
    const QByteArray name = QFile::encodeName(target);
    struct stat old;
    const bool exists = lstat(name.constData(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode)) return LChainWrite::kFailed;
    const QByteArray part = MakePartFile(QFileInfo(target).absolutePath());
    if (part.isEmpty()) return LChainWrite::kFailed;
    const bool done = WriteChainTo(part, chain) && SyncChainFile(part) &&
                      (!exists || chmod(part.constData(), old.st_mode & 0777) == 0) &&
                      rename(part.constData(), name.constData()) == 0;
    if (!done) unlink(part.constData());
    return done ? LChainWrite::kWritten : LChainWrite::kFailed;
}

LChainMessage ChainMessage(LChainRead result) {
    if (result == LChainRead::kRead) return {};
    return {QStringLiteral("Read Error"), QStringLiteral("Can not open file to load the effects.")};
}

LChainMessage ChainMessage(LChainWrite result) {
    const QString title = QStringLiteral("Write Error");
    switch (result) {
        case LChainWrite::kWritten:
            return {};
        case LChainWrite::kEmpty:
            return {QStringLiteral("Save Effect Chain"),
                    QStringLiteral("No effects added, please add some effects and then try again.")};
        case LChainWrite::kUnstorable:
            return {title, QStringLiteral("The chain holds an effect that cannot be kept in a file.")};
        case LChainWrite::kFailed:
            break;
    }
    return {title, QStringLiteral("Can not open file to save the effects.")};
}

}  // namespace ondarix
