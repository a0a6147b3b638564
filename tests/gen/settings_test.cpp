// SPDX-License-Identifier: GPL-3.0-or-later
#include "gen/settings.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <cfloat>
#include <thread>

#include "gen/paths.h"
#include "gen/settings_worker.h"

namespace ondarix {

int RunSettingsWorker(const QString& name, int count) {
    bool good = true;
    for (int i = 0; i < count; ++i) {
        good &= SetSettingInt(i, QStringLiteral("Worker"), name + QString::number(i));
        good &= SetSettingString(QStringLiteral("Worker"), QStringLiteral("Shared"), name);
    }
    return good ? 0 : 1;
}

namespace {

const QString kSection = QStringLiteral("Settings");

class Settings : public ::testing::Test {
  protected:
    void SetUp() override { qputenv("ONDARIX_HOME", QFile::encodeName(home_.path())); }
    void TearDown() override { qunsetenv("ONDARIX_HOME"); }
    static void Store(const QString& text) {
        ASSERT_TRUE(SetSettingString(kSection, QStringLiteral("v"), text));
    }
    static int32_t Int() { return GetSettingInt(kSection, QStringLiteral("v"), 77); }
    static bool Bool(bool fallback) { return GetSettingBool(kSection, QStringLiteral("v"), fallback); }
    static double Double() { return GetSettingDouble(kSection, QStringLiteral("v"), 7.5); }
    QTemporaryDir home_;
};

TEST_F(Settings, ReadTextAsTheirTypeSays) {
    EXPECT_EQ(Int(), 77);
    Store({});
    EXPECT_EQ(Int(), 77);
    EXPECT_TRUE(Bool(true));
    EXPECT_EQ(Double(), 7.5);
    EXPECT_EQ(GetSettingString(kSection, QStringLiteral("v"), QStringLiteral("x")), QString());  // present

    const std::pair<const char*, int32_t> ints[] = {{"abc", 0},
                                                    {" -12x", -12},
                                                    {"+5", 5},
                                                    {"0x10", 0},
                                                    {"99999999999999999999", INT32_MAX},
                                                    {"-99999999999999999999", INT32_MIN},
                                                    {"-2147483648", INT32_MIN}};
    for (const auto& [text, value] : ints) {
        Store(QLatin1String(text));
        EXPECT_EQ(Int(), value) << text;
    }
    const std::pair<const char*, bool> bools[] = {
        {"0x1", false}, {"01", false}, {"yes", true}, {"1", true}, {" 0", true}};
    for (const auto& [text, value] : bools) {
        Store(QLatin1String(text));
        EXPECT_EQ(Bool(!value), value) << text;
    }
    const std::pair<const char*, double> doubles[] = {
        {"1.5 dB", 1.5}, {"-.5e1x", -5}, {"1e999", DBL_MAX}, {"-1e999", -DBL_MAX},
        {"1e-999", 0},   {"inf", 0},     {"nan", 0},         {"0x10", 0},
        {"+-5", 0},      {".", 0},       {"1,5", 1}};
    for (const auto& [text, value] : doubles) {
        Store(QLatin1String(text));
        EXPECT_EQ(Double(), value) << text;
    }
    Store(QString(1 << 20, u'9'));  // takes no time that grows with the square
    EXPECT_EQ(Double(), DBL_MAX);
}

// Against C's own formatting, in the locale of C.
TEST_F(Settings, WriteTheTextFormsThatOthersRead) {
    for (const double value :
         {0.1, -123.456, 1.0 / 3, 1e22, 1e300, 5e-324, -0.0, 0.99999999999999999, 44100.0}) {
        char expected[400];
        std::snprintf(expected, sizeof expected, "%.16f", value);
        SetSettingDouble(kSection, QStringLiteral("d"), value);
        EXPECT_EQ(GetSettingLongString(SettingsKeyPath(kSection), QStringLiteral("d")),
                  QLatin1String(expected));
    }
    SetSettingDouble(kSection, QStringLiteral("d"), 0.1);
    SetSettingBool(kSection, QStringLiteral("b"), true);
    SetSettingInt(-3, kSection, QStringLiteral("i"));
    SetSettingString(QStringLiteral("Two\\lines"), QStringLiteral("n"), QStringLiteral("a\nb\\"));
    EXPECT_EQ(ExportSettings(), QStringLiteral("[Settings]\nb=1\nd=0.1000000000000000\ni=-3\n\n"
                                               "[Two\\\\lines]\nn=a\\nb\\\\\n"));
}

TEST_F(Settings, LongTextIsCutByTheFixedReadOnly) {
    const QString text(5000, u'ä');
    Store(text);
    EXPECT_EQ(GetSettingString(kSection, QStringLiteral("v"), {}), text.left(259));
    EXPECT_EQ(GetSettingLongString(SettingsKeyPath(kSection), QStringLiteral("v")), text);
    EXPECT_TRUE(SettingExists(kSection, QStringLiteral("v")));
    const QString pair = QString(258, u'a') + QString::fromUtf8("\U0001F600");
    Store(pair);
    EXPECT_EQ(GetSettingString(kSection, QStringLiteral("v"), {}), QString(258, u'a'));
}

TEST_F(Settings, NamesCompareWithoutCaseAndOldNamesAreConvertedOnce) {
    Store(QStringLiteral("1"));
    EXPECT_TRUE(SettingExists(QStringLiteral("SETTINGS"), QStringLiteral("V")));
    EXPECT_EQ(ListSettings(QStringLiteral("settings")).size(), 1);

    SetSettingString(kSection, QStringLiteral("SuppressSaveFormatPrompt"), QStringLiteral("0"));
    EXPECT_TRUE(DeleteSetting(kSection, QStringLiteral("SaveFormatPrompt")));  // under its old name
    EXPECT_FALSE(DeleteSetting(kSection, QStringLiteral("SaveFormatPrompt")));
    SetSettingString(kSection, QStringLiteral("SuppressSaveFormatPrompt"), QStringLiteral("0"));
    ConvertOldSettings();
    EXPECT_FALSE(SettingExists(kSection, QStringLiteral("SuppressSaveFormatPrompt")));
    EXPECT_EQ(GetSettingInt(kSection, QStringLiteral("SaveFormatPrompt"), 0), 1);
}

void WriteFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

QStringList PutAside() {
    QStringList names = QDir(ConfigFolder()).entryList({QStringLiteral("settings.db.broken-*")});
    names.removeIf([](const QString& name) { return name.endsWith(QLatin1String("-wal")); });
    return names;
}

void HammerFromManyProcessesAndThreads() {
    constexpr int kProcesses = 6, kThreads = 4, kEach = 60;
    std::vector<std::unique_ptr<QProcess>> workers;
    for (int i = 0; i < kProcesses; ++i) {
        workers.push_back(std::make_unique<QProcess>());
        workers.back()->start(
            QStringLiteral("/proc/self/exe"),
            {QStringLiteral("--settings-worker"), QStringLiteral("p%1_").arg(i), QString::number(kEach)});
    }
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([i] { EXPECT_EQ(RunSettingsWorker(QStringLiteral("t%1_").arg(i), kEach), 0); });
    for (std::thread& thread : threads) thread.join();
    for (const auto& worker : workers) {
        ASSERT_TRUE(worker->waitForFinished(60000));
        EXPECT_EQ(worker->exitCode(), 0) << worker->readAllStandardError().toStdString();
    }
    EXPECT_EQ(ListSettings(QStringLiteral("Worker")).size(), (kProcesses + kThreads) * kEach + 1);
}

// All find no database and race for its making, then write at once.
TEST_F(Settings, ManyProcessesAndThreadsLoseNothing) { HammerFromManyProcessesAndThreads(); }

// All find it broken: it is put aside once, and nobody moves the fresh one away under the others.
TEST_F(Settings, ManyProcessesPutABrokenDatabaseAsideOnce) {
    WriteFile(ConfigFolder() + QLatin1String("/settings.db"), QByteArray(8192, 'z'));
    HammerFromManyProcessesAndThreads();
    EXPECT_EQ(PutAside().size(), 1);
}

TEST_F(Settings, DamageThatShowsLateIsPutAsideToo) {
    for (int i = 0; i < 300; ++i) SetSettingString(kSection, QString::number(i), QString(200, u'x'));
    const QString path = ConfigFolder() + QLatin1String("/settings.db");
    const QByteArray first = qgetenv("ONDARIX_HOME");
    QTemporaryDir other;
    qputenv("ONDARIX_HOME", QFile::encodeName(other.path()));
    EXPECT_EQ(Int(), 77);  // the first database is closed now, its log worked in
    qputenv("ONDARIX_HOME", first);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_GT(file.size(), 20 * 4096);
    file.seek(4096);  // the head stays good
    file.write(QByteArray(static_cast<qsizetype>(file.size() - 4096), '\xA5'));
    file.close();

    EXPECT_EQ(GetSettingString(kSection, QStringLiteral("7"), QStringLiteral("fallback")),
              QStringLiteral("fallback"));
    EXPECT_TRUE(SetSettingInt(5, kSection, QStringLiteral("v")));
    EXPECT_EQ(Int(), 5);
    EXPECT_EQ(PutAside().size(), 1);
}

TEST_F(Settings, AFolderThatIsRemovedOrCannotBeIsNoCrash) {
    Store(QStringLiteral("5"));
    ASSERT_TRUE(QDir(ConfigFolder()).removeRecursively());
    EXPECT_EQ(Int(), 77);
    Store(QStringLiteral("6"));
    EXPECT_TRUE(QFile::exists(ConfigFolder() + QLatin1String("/settings.db")));
    EXPECT_EQ(Int(), 6);

    qputenv("ONDARIX_HOME", "/proc/nowhere");
    EXPECT_FALSE(SetSettingInt(1, kSection, QStringLiteral("v")));
    EXPECT_EQ(Int(), 77);
}

TEST(Paths, RuntimeFolderIsPrivateShortAndNotALink) {
    QTemporaryDir home;
    qputenv("ONDARIX_HOME", QFile::encodeName(home.path()));
    const QString run = RuntimeFolder();
    struct stat facts {};
    ASSERT_EQ(stat(qPrintable(run), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0700U);

    QTemporaryDir other;
    ASSERT_TRUE(QDir().rmdir(run));
    ASSERT_TRUE(QFile::link(other.path(), run));
    EXPECT_EQ(RuntimeFolder(), QString());

    const QString deep = home.path() + QLatin1Char('/') + QString(200, u'd');
    qputenv("ONDARIX_HOME", QFile::encodeName(deep));
    const QString shortened = RuntimeFolder();
    EXPECT_FALSE(shortened.isEmpty());
    EXPECT_LT(shortened.size(), 68);
    QDir().rmdir(shortened);
    qunsetenv("ONDARIX_HOME");
}

}  // namespace
}  // namespace ondarix
