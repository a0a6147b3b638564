// SPDX-License-Identifier: GPL-3.0-or-later
#include "gen/settings.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
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
    Store(QStringLiteral("1.5 dB"));
    EXPECT_EQ(Double(), 1.5);
}

TEST_F(Settings, WriteTheTextFormsThatOthersRead) {
    setlocale(LC_ALL, "de_DE.UTF-8");
    SetSettingDouble(kSection, QStringLiteral("d"), 0.1);
    SetSettingBool(kSection, QStringLiteral("b"), true);
    SetSettingInt(-3, kSection, QStringLiteral("i"));
    EXPECT_EQ(GetSettingString(kSection, QStringLiteral("d"), {}), QStringLiteral("0.1000000000000000"));
    EXPECT_EQ(GetSettingString(kSection, QStringLiteral("b"), {}), QStringLiteral("1"));
    EXPECT_EQ(ExportSettings(), QStringLiteral("[Settings]\nb=1\nd=0.1000000000000000\ni=-3\n"));
    setlocale(LC_ALL, "C");
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

// Processes that all find no database race for its making, then write at once.
TEST_F(Settings, ManyProcessesAndThreadsLoseNothing) {
    constexpr int kProcesses = 6, kEach = 60;
    std::vector<std::unique_ptr<QProcess>> workers;
    for (int i = 0; i < kProcesses; ++i) {
        workers.push_back(std::make_unique<QProcess>());
        workers.back()->start(
            QStringLiteral("/proc/self/exe"),
            {QStringLiteral("--settings-worker"), QStringLiteral("p%1_").arg(i), QString::number(kEach)});
    }
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([i] { EXPECT_EQ(RunSettingsWorker(QStringLiteral("t%1_").arg(i), kEach), 0); });
    for (std::thread& thread : threads) thread.join();
    for (const auto& worker : workers) {
        ASSERT_TRUE(worker->waitForFinished(60000));
        EXPECT_EQ(worker->exitCode(), 0) << worker->readAllStandardError().toStdString();
    }
    EXPECT_EQ(ListSettings(QStringLiteral("Worker")).size(), (kProcesses + 4) * kEach + 1);
}

TEST_F(Settings, ABrokenDatabaseIsPutAsideAndAMissingFolderIsNoCrash) {
    QDir().mkpath(home_.filePath(QStringLiteral("config")));
    QFile broken(home_.filePath(QStringLiteral("config/settings.db")));
    ASSERT_TRUE(broken.open(QIODevice::WriteOnly));
    broken.write(QByteArray(8192, 'z'));
    broken.close();
    EXPECT_EQ(Int(), 77);
    Store(QStringLiteral("5"));
    EXPECT_EQ(Int(), 5);
    EXPECT_EQ(QDir(ConfigFolder()).entryList({QStringLiteral("settings.db.broken-*")}).size(), 1);

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
