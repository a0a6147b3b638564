// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/recent_files.h"

#include "gen/settings.h"

namespace ondarix {
namespace {

const QString kRecentSection = QStringLiteral("RecentFileList");
QString NameOf(qsizetype index) { return QStringLiteral("File%1").arg(index); }

void Store(const QStringList& files, qsizetype before) {
    for (qsizetype i = 0; i < files.size(); ++i) SetSettingString(kRecentSection, NameOf(i), files[i]);
    for (qsizetype i = files.size(); i < before; ++i) DeleteSetting(kRecentSection, NameOf(i));
}

}  // namespace

QStringList RecentFiles() {
    QStringList files;
    for (qsizetype i = 0; i < kMostRecentFiles; ++i) {
        // Not cut to a fixed length: the rest of a path would name another file, or none.
        const QString path =
            GetSettingLongString(SettingsKeyPath(kRecentSection), NameOf(i)).value_or(QString());
        if (!path.isEmpty()) files.append(path);
    }
    return files;
}

void RememberRecentFile(const QString& path) {
    if (path.isEmpty()) return;
    QStringList files = RecentFiles();
    files.removeAll(path);
    files.prepend(path);
    Store(files.mid(0, kMostRecentFiles), kMostRecentFiles);
}

void ForgetRecentFile(const QString& path) {
    QStringList files = RecentFiles();
    if (files.removeAll(path) > 0) Store(files, kMostRecentFiles);
}

}  // namespace ondarix
