// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/effect_runs.h"

#include <QHash>

namespace ondarix::test {
namespace {

QHash<QString, QByteArray> Contents(const Home& home) {
    QHash<QString, QByteArray> contents;
    for (const QString& name : home.FileNames()) {
        QFile file(home.File(name));
        contents[name] = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    return contents;
}

}  // namespace

QJsonArray AllEffects(const Home& home) {
    const Outcome outcome = home.Run({"effects", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err.toStdString();
    return outcome.Json()["effects"].toArray();
}

void ExpectRefused(const Home& home, const QStringList& line, int status, const QStringList& parts,
                   const std::function<void()>& inChild) {
    const auto before = Contents(home);
    const std::string shown = line.join(' ').toStdString();
    const Outcome outcome = home.Run(QStringList{"--json"} + line, inChild);
    EXPECT_EQ(outcome.status, status) << shown;
    EXPECT_EQ(outcome.ErrorLines(), 1) << shown << '\n' << outcome.err.toStdString();
    EXPECT_TRUE(outcome.err.startsWith("ondarix-cli: ")) << outcome.err.toStdString();
    for (const QString& part : parts)
        EXPECT_TRUE(outcome.err.contains(part.toUtf8()))
            << part.toStdString() << " in " << outcome.err.toStdString();
    EXPECT_EQ(outcome.Json()["status"].toInt(), status) << shown;
    EXPECT_TRUE(Contents(home) == before) << shown;
    EXPECT_EQ(home.Leftovers(), QStringList()) << shown;
}

}  // namespace ondarix::test
