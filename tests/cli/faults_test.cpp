// SPDX-License-Identifier: GPL-3.0-or-later
// What goes wrong: status, exactly one line, and nothing written or left behind.
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QThread>
#include <csignal>
#include <thread>

#include "cli/plain_wav.h"
#include "cli/program.h"
#include "patience.h"

#include <linux/capability.h>

namespace ondarix::test {
namespace {

QByteArray SmallWav() { return NoiseWav(7, 1, 16, 44100, 2, 5000, 0.5).ToBytes(); }

// Even root obeys the permissions of files in such a process.
void ObeyPermissions() {
    prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0);
    prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0);
}

std::function<void()> LimitFileSize(rlim_t bytes) {
    return [bytes] {
        const rlimit limit{bytes, bytes};
        setrlimit(RLIMIT_FSIZE, &limit);
    };
}

void ExpectFailure(const Home& home, const QStringList& line, int status,
                   const std::function<void()>& inChild = {}) {
    const QStringList before = home.FileNames();
    const std::string shown = line.join(' ').toStdString();
    const Outcome plain = home.Run(line, inChild);
    EXPECT_EQ(plain.status, status) << shown;
    EXPECT_EQ(plain.ErrorLines(), 1) << shown << '\n' << plain.err.toStdString();
    EXPECT_TRUE(plain.err.startsWith("ondarix-cli: ") && plain.err.size() > 20) << plain.err.toStdString();
    EXPECT_EQ(plain.out, "") << shown;
    const Outcome json = home.Run(line + QStringList{"--json"}, inChild);
    EXPECT_EQ(json.status, status) << shown;
    EXPECT_FALSE(json.Json()["error"].toString().isEmpty()) << shown;
    EXPECT_EQ(json.Json()["status"].toInt(), status) << shown;
    EXPECT_EQ(home.FileNames(), before) << shown;
    EXPECT_EQ(home.Leftovers(), QStringList()) << shown;
}

TEST(CliFaults, WrongUsage) {
    const Home home;
    WriteFile(home.File("in.wav"), SmallWav());
    for (const char* line : {"",
                             "frobnicate",
                             "--loud",
                             "info",
                             "convert in.wav",
                             "convert in.wav out.wav more.wav",
                             "edit in.wav out.wav",
                             "convert in.wav out.wav --bits",
                             "convert in.wav out.wav --bits 12",
                             "convert in.wav out.au --bits 16",
                             "convert in.wav out.wav --bits=16 --bits=24",
                             "convert in.wav out.wav --progress=yes",
                             "info --bits 16 in.wav",
                             "info -x in.wav",
                             "cache",
                             "cache wipe",
                             "cache clean",
                             "cache clean 5",
                             "cache clean everything",
                             "settings",
                             "settings get Settings",
                             "settings set Settings Name",
                             "help frobnicate",
                             "formats wav"}) {
        ExpectFailure(home, QString(line).split(' ', Qt::SkipEmptyParts), 64);
    }
    ExpectFailure(home, {"settings", "get", "", "Name"}, 64);
}

TEST(CliFaults, InputsThatAreNoSoundFiles) {
    const Home home;
    WriteFile(home.File("truncated.wav"), SmallWav().left(30));
    WriteFile(home.File("no-data.wav"), SmallWav().left(36));
    WriteFile(home.File("empty.wav"), "");
    WriteFile(home.File("text.wav"), QByteArray("This is no sound.\n").repeated(100));
    WriteFile(home.File("notes.txt"), "Not a sound either\n");
    WriteFile(home.File("noextension"), SmallWav());
    WriteFile(home.File("secret.wav"), SmallWav());
    QByteArray channels = SmallWav();
    channels[22] = channels[23] = 0;
    WriteFile(home.File("no-channels.wav"), channels);
    ASSERT_EQ(chmod(home.File("secret.wav").toUtf8().constData(), 0), 0);
    ASSERT_TRUE(QDir(home.FilesFolder()).mkdir("folder.wav"));
    ASSERT_EQ(mkfifo(home.File("pipe.wav").toUtf8().constData(), 0600), 0);
    for (const char* name :
         {"absent.wav", "absent/in.wav", "truncated.wav", "no-data.wav", "empty.wav", "text.wav", "notes.txt",
          "noextension", "secret.wav", "no-channels.wav", "folder.wav", "pipe.wav", "bad\nname\x1b[1m.wav"}) {
        ExpectFailure(home, {"info", name}, 2, &ObeyPermissions);
        ExpectFailure(home, {"info", "--level", name}, 2, &ObeyPermissions);
        ExpectFailure(home, {"convert", name, "out.wav"}, 2, &ObeyPermissions);
    }
}

// Samples that are missing at the end are no reason to refuse the rest.
TEST(CliFaults, CutOffSamplesAreReadAsFarAsTheyGo) {
    const Home home;
    WriteFile(home.File("in.wav"), SmallWav().left(44 + 2000 * 4));
    const Outcome outcome = home.Run({"convert", "in.wav", "out.wav"});
    EXPECT_EQ(outcome.status, 0) << outcome.err.toStdString();
    EXPECT_EQ(ReadPlainWav(home.File("out.wav")).data.left(8000), SmallWav().mid(44, 8000));
}

TEST(CliFaults, InfoTellsOfEveryFile) {
    const Home home;
    WriteFile(home.File("a.wav"), SmallWav());
    WriteFile(home.File("c.wav"), SmallWav());
    const Outcome outcome = home.Run({"info", "--json", "a.wav", "b.wav", "c.wav"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.ErrorLines(), 1);
    const QJsonArray files = outcome.Json()["files"].toArray();
    ASSERT_EQ(files.size(), 3);
    EXPECT_EQ(files[0]["frames"].toInteger(), 5000);
    EXPECT_TRUE(files[1]["error"].isString());
    EXPECT_EQ(files[2]["frames"].toInteger(), 5000);
}

TEST(CliFaults, OutputsThatCannotBeWritten) {
    const Home home;
    WriteFile(home.File("in.wav"), SmallWav());
    WriteFile(home.File("old.wav"), "kept as it is");
    ASSERT_TRUE(QDir(home.FilesFolder()).mkdir("folder.wav"));
    ASSERT_TRUE(QDir(home.FilesFolder()).mkdir("closed"));
    ASSERT_EQ(chmod(home.File("old.wav").toUtf8().constData(), 0444), 0);
    ASSERT_EQ(chmod(home.File("closed").toUtf8().constData(), 0555), 0);
    for (const char* name : {"nowhere/out.wav", "folder.wav", "out", "out.xyz", "out.ra", "old.wav",
                             "closed/out.wav", "in.wav/out.wav"}) {
        ExpectFailure(home, {"convert", "in.wav", name}, 2, &ObeyPermissions);
    }
    ExpectFailure(home, {"convert", "--no-clobber", "in.wav", "old.wav"}, 2);
    EXPECT_EQ(FileContent(home.File("old.wav")), "kept as it is");
}

// Looking at a file needs no folder of its own; editing one does.
TEST(CliFaults, AHomeThatCannotBeWritten) {
    const Home home;
    WriteFile(home.File("in.wav"), SmallWav());
    ASSERT_EQ(chmod(home.HomeFolder().toUtf8().constData(), 0555), 0);
    ExpectFailure(home, {"convert", "in.wav", "out.wav"}, 2, &ObeyPermissions);
    ExpectFailure(home, {"settings", "set", "Trial", "Name", "1"}, 2, &ObeyPermissions);
    ExpectFailure(home, {"cache", "clean", "all"}, 2, &ObeyPermissions);
    EXPECT_EQ(home.Run({"info", "--level", "in.wav"}, &ObeyPermissions).status, 0);
    EXPECT_EQ(home.Run({"settings", "get", "Trial", "Name", "x"}, &ObeyPermissions).out, "x\n");
}

// The working file fits, the result does not: the limit on the size of files is met while saving.
TEST(CliFaults, AFullDiskLeavesTheOldFile) {
    const Home home;
    WriteFile(home.File("in.wav"), SmallWav());
    WriteFile(home.File("out.wav"), "the old file");
    ExpectFailure(home, {"edit", "in.wav", "out.wav", "insert-silence", "end", "2000000"}, 2,
                  LimitFileSize(300'000));
    ExpectFailure(home, {"convert", "in.wav", "out.wav"}, 2, LimitFileSize(10'000));
    EXPECT_EQ(FileContent(home.File("out.wav")), "the old file");
}

// Met while a step writes a working file of its own.
TEST(CliFaults, AFullDiskAmongTheStepsIsNamed) {
    const Home home;
    WriteFile(home.File("in.wav"), SmallWav());
    WriteFile(home.File("long.wav"), NoiseWav(8, 1, 16, 22050, 1, 8000, 0.5).ToBytes());
    for (const char* steps :
         {"convert-rate 96000", "copy convert-rate 96000", "join long.wav join long.wav"}) {
        const QStringList line = QStringList{"edit", "in.wav", "-"} + QString(steps).split(' ');
        ExpectFailure(home, line, 2, LimitFileSize(45'000));
        EXPECT_TRUE(home.Run(line, LimitFileSize(45'000)).err.contains("working folder")) << steps;
    }
}

TEST(CliFaults, AResultThatCannotBePrintedIsAFailure) {
    const Home home;
    auto process = home.Start({"formats"}, [] { close(STDOUT_FILENO); });
    const Outcome outcome = Wait(*process);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.ErrorLines(), 1);
}

bool WaitUntil(const std::function<bool()>& condition) {
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > 20'000) return false;
        QThread::msleep(2);
    }
    return true;
}

// Twice, as timeout(1) does it.
void ExpectCancelled(const Home& home, QProcess& process, int signal) {
    const auto id = static_cast<pid_t>(process.processId());
    ASSERT_EQ(kill(id, signal), 0);
    QThread::msleep(1);
    kill(id, signal);
    QElapsedTimer timer;
    timer.start();
    const Outcome outcome = Wait(process);
    EXPECT_LT(timer.elapsed(), kPatienceMs);
    EXPECT_EQ(outcome.status, 1) << outcome.err.toStdString();
    EXPECT_EQ(outcome.err, "ondarix-cli: cancelled\n");
    EXPECT_EQ(outcome.Json()["status"].toInt(), 1);
    EXPECT_EQ(home.FileNames(), (QStringList{"in.wav", "out.wav"}));
    EXPECT_EQ(FileContent(home.File("out.wav")), "the old file");
    EXPECT_EQ(home.Leftovers(), QStringList());
}

TEST(CliFaults, ASignalWhileOpeningLeavesNothing) {
    const Home home;
    PlainWav wav = NoiseWav(7, 1, 8, 44100, 1, 100, 0.5);
    wav.data = QByteArray(100'000'000, '\x90');
    WriteFile(home.File("in.wav"), wav.ToBytes());
    WriteFile(home.File("out.wav"), "the old file");
    auto process = home.Start({"convert", "--json", "in.wav", "out.wav"});
    ASSERT_TRUE(WaitUntil([&] { return !home.Leftovers().isEmpty(); }));
    ExpectCancelled(home, *process, SIGINT);
}

TEST(CliFaults, ASignalWhileSavingLeavesTheOldFile) {
    const Home home;
    WriteFile(home.File("in.wav"), SmallWav());
    WriteFile(home.File("out.wav"), "the old file");
    auto process = home.Start({"edit", "--json", "in.wav", "out.wav", "insert-silence", "end", "3600s"});
    ASSERT_TRUE(WaitUntil([&] { return home.FileNames().size() > 2; }));
    ExpectCancelled(home, *process, SIGTERM);
}

TEST(CliFaults, SeveralRunsAtOnceDoNotDisturbEachOther) {
    const Home home;
    std::vector<std::unique_ptr<QProcess>> runs;
    const QByteArray content = NoiseWav(9, 1, 16, 44100, 2, 500'000, 0.5).ToBytes();
    WriteFile(home.File("in.wav"), content);
    for (int i = 0; i < 4; ++i) {
        runs.push_back(home.Start({"convert", "in.wav", QString("out%1.wav").arg(i)}));
    }
    for (const auto& run : runs) EXPECT_EQ(Wait(*run).status, 0);
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(FileContent(home.File(QString("out%1.wav").arg(i))) == content) << i;
    }
    EXPECT_EQ(home.Leftovers(), QStringList());
}

}  // namespace
}  // namespace ondarix::test
