// SPDX-License-Identifier: GPL-3.0-or-later
// Settings, working files, help and the manual.
#include <fcntl.h>
#include <pty.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QRegularExpression>
#include <QSet>
#include <cstring>
#include <thread>

#include "cli/plain_wav.h"
#include "cli/program.h"

namespace ondarix::test {
namespace {

QString RepositoryFile(const QString& name) {
    return QDir::cleanPath(QFileInfo(__FILE__).absolutePath() + "/../../" + name);
}

TEST(CliSettings, StoreAndListAnyText) {
    const Home home;
    const QString values[] = {"1",      "",   " blank ends ", "tab\tand\nline",   "back\\slash",
                              "grün ♪", "-5", "--help",       QString(5000, 'x'), "=[]"};
    int index = 0;
    for (const QString& value : values) {
        const QString name = QString("Name%1").arg(index++);
        ASSERT_EQ(home.Run({"settings", "set", "--", "Trial", name, value}).status, 0) << name.toStdString();
        EXPECT_EQ(home.Run({"settings", "get", "Trial", name}).out, value.toUtf8() + '\n');
        EXPECT_EQ(home.Run({"settings", "get", "--json", "Trial", name}).Json()["value"].toString(), value);
    }
    ASSERT_EQ(home.Run({"settings", "set", "Other", "Name", "last"}).status, 0);
    const QJsonArray all = home.Run({"settings", "list", "--json"}).Json()["settings"].toArray();
    EXPECT_EQ(all.size(), std::ssize(values) + 1);
    const QByteArray listed = home.Run({"settings", "list", "Trial"}).out;
    EXPECT_EQ(listed.count('\n'), std::ssize(values));
    EXPECT_TRUE(listed.contains("Trial\tName3\ttab\\tand\\nline\n")) << listed.toStdString();
    const QByteArray exported = home.Run({"settings", "export"}).out;
    EXPECT_TRUE(exported.contains("[Other]\n") && exported.contains("grün ♪"));

    EXPECT_EQ(home.Run({"settings", "get", "Trial", "Absent"}).status, 2);
    const Outcome fallback = home.Run({"settings", "get", "Trial", "Absent", "fallback"});
    EXPECT_EQ(fallback.status, 0);
    EXPECT_EQ(fallback.out, "fallback\n");
    EXPECT_EQ(home.Run({"settings", "delete", "Trial", "Name0"}).status, 0);
    EXPECT_EQ(home.Run({"settings", "delete", "Trial", "Name0"}).status, 2);
    EXPECT_EQ(home.Run({"settings", "get", "Trial", "Name0"}).status, 2);
}

TEST(CliSettings, TwoProcessesLoseNothing) {
    const Home home;
    const auto write = [&](const QString& prefix) {
        for (int i = 0; i < 20; ++i) {
            EXPECT_EQ(home.Run({"settings", "set", "Trial", prefix + QString::number(i), prefix}).status, 0);
        }
    };
    std::thread other(write, "a");
    write("b");
    other.join();
    EXPECT_EQ(home.Run({"settings", "list", "--json", "Trial"}).Json()["settings"].toArray().size(), 40);
}

// A set of files as the editor leaves it: numbered, with no record of a source.
void PlaceWorkingFiles(const QString& folder, int id) {
    const QString base = folder + '/' + QString::number(id);
    WriteFile(base + ".aud", QByteArray(4096, '\0'));
    WriteFile(base + ".grf", QByteArray(16, '\0'));
}

TEST(CliCache, ListsAndCleansTheEditorsFolder) {
    const Home home;
    const QJsonObject before = home.Run({"cache", "list", "--json"}).Json();
    const QString folder = before["folder"].toString();
    ASSERT_TRUE(folder.startsWith(home.HomeFolder())) << folder.toStdString();
    EXPECT_EQ(before["entries"].toArray().size(), 0);
    ASSERT_TRUE(QDir().mkpath(folder));
    PlaceWorkingFiles(folder, 3);
    PlaceWorkingFiles(folder, 70);
    const QJsonObject listed = home.Run({"cache", "list", "--json"}).Json();
    EXPECT_EQ(listed["entries"].toArray().size(), 2);
    EXPECT_EQ(listed["bytes"].toInteger(), 2 * (4096 + 16));
    EXPECT_EQ(home.Run({"cache", "list"}).out.count('\n'), 3);
    // A run with working files of its own leaves these alone.
    WriteFile(home.File("in.wav"), NoiseWav(1, 1, 16, 8000, 1, 100, 0.5).ToBytes());
    EXPECT_EQ(home.Run({"convert", "in.wav", "out.wav"}).status, 0);
    EXPECT_EQ(home.Run({"cache", "list", "--json"}).Json()["entries"].toArray().size(), 2);

    // An editor that is running holds the lock.
    const int lock = open((folder + "/cache.lock").toUtf8().constData(), O_RDWR | O_CREAT, 0600);
    ASSERT_EQ(flock(lock, LOCK_EX | LOCK_NB), 0);
    const Outcome refused = home.Run({"cache", "clean", "all"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.ErrorLines(), 1);
    EXPECT_EQ(home.Run({"cache", "list", "--json"}).Json()["entries"].toArray().size(), 2);
    EXPECT_EQ(home.Run({"convert", "in.wav", "out.wav"}).status, 0);
    close(lock);

    const QJsonObject cleaned = home.Run({"cache", "clean", "all", "--json"}).Json();
    EXPECT_EQ(cleaned["left"].toInt(), 0);
    EXPECT_EQ(cleaned["freedBytes"].toInteger(), listed["bytes"].toInteger());
    EXPECT_EQ(home.Leftovers(), QStringList());
}

TEST(CliHelp, IsThereForEveryCommandAndInTheManual) {
    const Home home;
    const QJsonObject help = home.Run({"help", "--json"}).Json();
    QString manual = FileContent(RepositoryFile("data/man/ondarix-cli.1"));
    manual.remove('\\');
    const QString guide = FileContent(RepositoryFile("docs/command-line.md"));
    const QByteArray overview = home.Run({"--help"}).out;
    EXPECT_GE(help["commands"].toArray().size(), 10);
    for (const auto& row : help["commands"].toArray()) {
        const QString name = row.toObject()["name"].toString();
        const Outcome own = home.Run(name.split(' ') + QStringList{"--help"});
        EXPECT_EQ(own.status, 0) << name.toStdString();
        EXPECT_TRUE(own.out.contains(row.toObject()["usage"].toString().toUtf8())) << own.out.toStdString();
        EXPECT_EQ(own.out, home.Run(QStringList{"help"} + name.split(' ')).out);
        EXPECT_TRUE(overview.contains(name.toUtf8())) << name.toStdString();
        EXPECT_TRUE(manual.contains(name)) << "manual page: " << name.toStdString();
        EXPECT_TRUE(guide.contains(name)) << "guide: " << name.toStdString();
        QJsonArray options = row.toObject()["options"].toArray();
        for (const auto& option : help["commonOptions"].toArray()) options += option;
        for (const auto& option : options) {
            const QString word = option.toObject()["name"].toString();
            EXPECT_TRUE(own.out.contains(word.toUtf8())) << word.toStdString();
            EXPECT_TRUE(manual.contains(word)) << "manual page: " << word.toStdString();
            EXPECT_TRUE(guide.contains(word)) << "guide: " << word.toStdString();
        }
        for (const auto& operation : row.toObject()["operations"].toArray()) {
            const QString word = operation.toObject()["name"].toString();
            EXPECT_TRUE(own.out.contains("\n  " + word.toUtf8())) << word.toStdString();
            EXPECT_TRUE(manual.contains(QRegularExpression("\n\\.BI? " + word + "[ \n]")))
                << "manual page: " << word.toStdString();
            EXPECT_TRUE(guide.contains('`' + word)) << "guide: " << word.toStdString();
        }
        for (const QByteArray& line : own.out.split('\n')) EXPECT_LE(line.size(), 110) << line.toStdString();
    }
    EXPECT_EQ(home.Run({"--version"}).out, "ondarix-cli " ONDARIX_VERSION "\n");
    EXPECT_EQ(home.Run({"--version", "--json"}).Json()["version"].toString(), ONDARIX_VERSION);
}

// On a terminal a percentage is shown and taken away again; into a pipe nothing is written.
TEST(CliProgress, IsShownOnTerminalsOnly) {
    const Home home;
    WriteFile(home.File("in.wav"), NoiseWav(1, 1, 16, 44100, 2, 3'000'000 / 4, 0.5).ToBytes());
    EXPECT_EQ(home.Run({"convert", "--progress", "in.wav", "out.wav"}).err, "");

    int terminal = -1;
    const QByteArray homeSetting = "ONDARIX_HOME=" + home.HomeFolder().toUtf8();
    const QByteArray in = home.File("in.wav").toUtf8(), out = home.File("out.wav").toUtf8();
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        execl("/usr/bin/env", "env", homeSetting.constData(), ONDARIX_CLI, "convert", "--progress",
              in.constData(), out.constData(), nullptr);
        _exit(127);
    }
    ASSERT_GT(child, 0);
    QByteArray shown;
    char block[4096];
    for (ssize_t count; (count = read(terminal, block, sizeof block)) > 0;) shown.append(block, count);
    int status = -1;
    waitpid(child, &status, 0);
    close(terminal);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(shown.contains("% Saving...")) << shown.toStdString();
    EXPECT_TRUE(shown.endsWith("\r\033[K")) << shown.toStdString();
    EXPECT_FALSE(shown.contains('\n')) << shown.toStdString();
}

// Opening and saving take the same memory for a second and for an hour.
TEST(CliMemory, DoesNotGrowWithTheSound) {
    const Home home;
    // Extended on disk: what this process holds would count for its child too.
    QByteArray header = NoiseWav(1, 1, 8, 8000, 1, 0, 0.5).ToBytes();
    const uint32_t size = 30'000'000;
    std::memcpy(header.data() + 40, &size, sizeof size);
    WriteFile(home.File("in.wav"), header);
    ASSERT_TRUE(QFile::resize(home.File("in.wav"), 44 + int64_t{size}));
    const QByteArray homeSetting = "ONDARIX_HOME=" + home.HomeFolder().toUtf8();
    const QByteArray in = home.File("in.wav").toUtf8(), out = home.File("out.wav").toUtf8();
    const pid_t child = fork();
    if (child == 0) {
        execl("/usr/bin/env", "env", homeSetting.constData(), ONDARIX_CLI, "edit", in.constData(),
              out.constData(), "repeat", "0", "1000", "1000", nullptr);
        _exit(127);
    }
    int status = -1;
    rusage usage = {};
    ASSERT_EQ(wait4(child, &status, 0, &usage), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(QFileInfo(home.File("out.wav")).size(), 44 + 31'000'000);
#ifdef __SANITIZE_ADDRESS__
    constexpr long kMostKiB = 250 * 1024;
#else
    constexpr long kMostKiB = 60 * 1024;
#endif
    EXPECT_LT(usage.ru_maxrss, kMostKiB);
}

}  // namespace
}  // namespace ondarix::test
