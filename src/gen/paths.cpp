// SPDX-License-Identifier: GPL-3.0-or-later
#include "gen/paths.h"

#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <cerrno>

namespace ondarix {
namespace {

constexpr auto kProgramFolder = "/Vellmark Works/Ondarix";

QString PortableHome() { return QFile::decodeName(qgetenv("ONDARIX_HOME")); }

QString Created(const QString& folder) { return QDir().mkpath(folder) ? QDir::cleanPath(folder) : QString(); }

QString UnderHomeOr(const char* below, QStandardPaths::StandardLocation location) {
    const QString home = PortableHome();
    if (!home.isEmpty()) return Created(QDir(home).absoluteFilePath(QLatin1String(below)));
    return Created(QStandardPaths::writableLocation(location) + QLatin1String(kProgramFolder));
}

// A folder that nobody else can enter: ours, no link, mode 0700.
QString CreatedPrivately(const QString& folder) {
    const QByteArray name = QFile::encodeName(folder);
    if (mkdir(name.constData(), 0700) != 0 && errno != EEXIST) return {};
    struct stat facts {};
    if (lstat(name.constData(), &facts) != 0 || !S_ISDIR(facts.st_mode) || facts.st_uid != geteuid())
        return {};
    if ((facts.st_mode & 0777) != 0700 && chmod(name.constData(), 0700) != 0) return {};
    return folder;
}

bool HoldsSocketNames(const QString& folder) {
    constexpr qsizetype kLongestFileName = 40;
    return QFile::encodeName(folder).size() + kLongestFileName <
           static_cast<qsizetype>(sizeof(sockaddr_un::sun_path));
}

QString ShortRuntimeFolder(const QString& home) {
    QString folder = QStringLiteral("/tmp/ondarix-%1").arg(geteuid());
    if (!home.isEmpty()) {
        const QByteArray digest =
            QCryptographicHash::hash(home.toUtf8(), QCryptographicHash::Sha256).toHex().left(16);
        folder += QLatin1Char('-') + QString::fromLatin1(digest);
    }
    return CreatedPrivately(folder);
}

}  // namespace

QString DataFolder() { return UnderHomeOr("data", QStandardPaths::GenericDataLocation); }

QString ConfigFolder() { return UnderHomeOr("config", QStandardPaths::GenericConfigLocation); }

QString RuntimeFolder() {
    const QString home = PortableHome().isEmpty() ? QString() : QDir(PortableHome()).absolutePath();
    if (!home.isEmpty()) {
        const QString folder = QDir::cleanPath(home + QLatin1String("/run"));
        if (!HoldsSocketNames(folder)) return ShortRuntimeFolder(home);
        return QDir().mkpath(home) ? CreatedPrivately(folder) : QString();
    }
    const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    struct stat facts {};
    const bool ours = !runtime.isEmpty() && stat(runtime.constData(), &facts) == 0 &&
                      S_ISDIR(facts.st_mode) && facts.st_uid == geteuid();
    const QString folder = QDir::cleanPath(QFile::decodeName(runtime) + QLatin1String("/ondarix"));
    return ours && HoldsSocketNames(folder) ? CreatedPrivately(folder) : ShortRuntimeFolder({});
}

QString TempFolder() {
    if (!PortableHome().isEmpty())
        return Created(QDir(PortableHome()).absoluteFilePath(QStringLiteral("tmp")));
    return QDir::tempPath();
}

}  // namespace ondarix
