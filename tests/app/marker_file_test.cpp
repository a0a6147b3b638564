// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/marker_file.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <ctime>

#include "gen/bytes.h"

namespace ondarix {
namespace {

TEST(Marker, AMachineThatKeptRunningMeansACrash) {
    const LRunStamp left{1'000'000, 50'000};
    struct {
        uint32_t seconds, tick;
        bool crash;
    } const cases[] = {
        {1'000'100, 150'000, true},  {1'000'100, 152'000, true},  {1'000'100, 148'000, true},
        {1'000'100, 152'001, false}, {1'000'100, 147'999, false}, {1'000'100, 30'000, false},  // restarted
        {1'000'000, 50'000, true},
    };
    for (const auto& row : cases)
        EXPECT_EQ(EndedWithoutRestart(left, {row.seconds, row.tick}), row.crash) << row.tick;
    // The tick count wraps after 49.7 days, and the seconds in 2106.
    EXPECT_TRUE(EndedWithoutRestart({1000, 4'294'967'000}, {1001, 704}));
    EXPECT_TRUE(EndedWithoutRestart({4'294'967'295, 1000}, {1, 3000}));
}

class MarkerFile : public testing::Test {
  protected:
    void Leave(const QByteArray& bytes) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    // As a run that began `ms` ago on a machine that was started `bootShiftMs` later than this one.
    static QByteArray Stamp(int secondsAgo, int shiftMs) {
        timespec boot{};
        clock_gettime(CLOCK_BOOTTIME, &boot);
        const int64_t tick = boot.tv_sec * 1000 + boot.tv_nsec / 1000000 - secondsAgo * 1000 + shiftMs;
        QByteArray bytes(8, '\0');
        StoreLe(bytes.data(), static_cast<uint32_t>(time(nullptr) - secondsAgo));
        StoreLe(bytes.data() + 4, static_cast<uint32_t>(tick));
        return bytes;
    }
    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("marker"));
};

TEST_F(MarkerFile, LivesAsLongAsTheRun) {
    LMarkerFile marker;
    EXPECT_FALSE(marker.Begin(path));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    ASSERT_EQ(bytes.size(), 8);
    EXPECT_NEAR(LoadLe<uint32_t>(bytes.constData()), static_cast<double>(time(nullptr)), 2);
    EXPECT_EQ(file.permissions() & (QFile::ReadOther | QFile::ReadGroup), QFile::Permissions());
    marker.End();
    EXPECT_FALSE(QFile::exists(path));
}

TEST_F(MarkerFile, ARunThatDiedIsAskedAboutOnce) {
    Leave(Stamp(30, 0));
    LMarkerFile first;
    EXPECT_TRUE(first.Begin(path));
    first.End();
    LMarkerFile second;
    EXPECT_FALSE(second.Begin(path));
    second.End();
}

TEST_F(MarkerFile, RestartsAndRubbishAreNotAskedAbout) {
    const QByteArray stamps[] = {Stamp(30, -600000), Stamp(30, 1000).left(7), QByteArray()};
    for (const QByteArray& stamp : stamps) {
        Leave(stamp);
        LMarkerFile marker;
        EXPECT_FALSE(marker.Begin(path));
        EXPECT_EQ(QFile(path).size(), 8);
        marker.End();
        EXPECT_FALSE(QFile::exists(path));
    }
}

TEST_F(MarkerFile, OfARunningProcessIsLeftAlone) {
    LMarkerFile running;
    EXPECT_FALSE(running.Begin(path));
    {
        LMarkerFile other;
        EXPECT_FALSE(other.Begin(path));
        other.End();
    }
    EXPECT_TRUE(QFile::exists(path));
    running.End();
    EXPECT_FALSE(QFile::exists(path));
}

TEST_F(MarkerFile, NeverFollowsALink) {
    const QString target = folder.filePath(QStringLiteral("target"));
    ASSERT_TRUE(QFile::link(target, path));
    LMarkerFile marker;
    EXPECT_FALSE(marker.Begin(path));
    EXPECT_FALSE(QFile::exists(target));
}

}  // namespace
}  // namespace ondarix
