// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/wave_columns_worker.h"

#include <QDir>
#include <atomic>

#include "gtest/gtest.h"
#include "sound/sound_fixture.h"

namespace ondarix {
namespace {

class ColumnsWorker : public SoundCacheTest {
  protected:
    // Pieces of so many short files, each as loud as its number.
    LSound Pieces(int files, int64_t frames = 3000) {
        LSound sound(44100, 1);
        for (int i = 0; i < files; ++i)
            sound.Insert(sound.Length(), Write(std::vector<float>(static_cast<size_t>(frames),
                                                                  static_cast<float>(i + 1) / 1000.0f),
                                               {44100, 1}));
        return sound;
    }
    // All columns that have come, by number.
    static std::vector<float> Tops(LWaveColumnsWorker& worker, int view, int64_t first, int count) {
        std::vector<float> tops(static_cast<size_t>(count), -1.0f);
        for (const LColumnBatch& batch : worker.Fetch(view))
            for (int i = 0; i < batch.Count(); ++i)
                tops[static_cast<size_t>(batch.first + i - first)] =
                    batch.columns[static_cast<size_t>(i * batch.channels)].top;
        return tops;
    }
};

TEST_F(ColumnsWorker, GivesWhatTheColumnsThemselvesGive) {
    const LSound sound = Pieces(300);
    std::atomic<int> arrived = 0;
    LWaveColumnsWorker worker([&] { ++arrived; });
    worker.SetSound(sound);
    LWaveColumns columns;
    columns.SetSound(sound);
    for (const LColumnGrid& grid : {LColumnGrid{0, 900000, 1600}, {0, 1600 * 100, 1600}, {0, 1, 1}}) {
        const int64_t first = grid.columns == 1 ? 2990 : 7;
        worker.Ask(0, grid, first, 700);
        ASSERT_TRUE(worker.Wait(0, -1));
        std::vector<LWaveColumn> direct(700);
        columns.Refresh();
        columns.Columns(grid, first, 700, direct.data());
        const auto got = Tops(worker, 0, first, 700);
        for (size_t i = 0; i < got.size(); ++i) ASSERT_EQ(got[i], direct[i].top) << grid.frames << ", " << i;
    }
    EXPECT_GT(arrived, 3);
}

TEST_F(ColumnsWorker, ManyFilesDoNotUseUpTheDescriptors) {
    const LSound sound = Pieces(400);
    LWaveColumns columns;
    const auto all = columns.Compute(sound, 0, sound.Length(), 400);
    for (size_t i = 0; i < all.size(); ++i)
        ASSERT_NEAR(all[i].top, static_cast<float>(i + 1) / 1000.0f, 0.001f) << i;
    columns.Refresh();
    EXPECT_LT(QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System).size(), 150);
    // What was closed is opened again where it is needed.
    EXPECT_EQ(columns.Compute(sound, 0, sound.Length(), 400), all);
}

TEST_F(ColumnsWorker, TheLaterRequestCountsAndAnotherSoundForgetsBoth) {
    const LSound loud = Write(std::vector<float>(5'000'000, 0.5f), {44100, 1});
    const LSound quiet = Write(std::vector<float>(5'000'000, 0.25f), {44100, 1});
    LWaveColumnsWorker worker([] {});
    const uint64_t first = worker.SetSound(loud);
    for (int i = 0; i < 50; ++i) worker.Ask(0, {0, 5'000'000, 20'000}, i * 10, 20'000);
    worker.Ask(0, {0, 5'000'000, 1000}, 0, 1000);
    ASSERT_TRUE(worker.Wait(0, 10'000));
    int columns = 0;
    for (const LColumnBatch& batch : worker.Fetch(0)) {
        EXPECT_EQ(batch.sound, first);
        if (batch.grid.columns == 1000) columns += batch.Count();
    }
    EXPECT_EQ(columns, 1000);
    worker.Ask(0, {0, 5'000'000, 20'000}, 0, 20'000);
    const uint64_t second = worker.SetSound(quiet);
    worker.Ask(0, {0, 5'000'000, 500}, 0, 500);
    worker.Ask(1, {0, 5'000'000, 300}, 0, 300);
    ASSERT_TRUE(worker.Wait(0, 10'000));
    ASSERT_TRUE(worker.Wait(1, 10'000));
    int late = 0;
    for (const LColumnBatch& batch : worker.Fetch(0))
        if (batch.sound == second)
            EXPECT_NEAR(batch.columns[0].top, 0.25f, 0.001f);
        else
            ++late;
    EXPECT_LE(late, 1) << "at most what was under way";
    for (const float top : Tops(worker, 1, 0, 300)) ASSERT_NEAR(top, 0.25f, 0.001f);
}

TEST_F(ColumnsWorker, AChannelThatIsEditedStandsInItsPlace) {
    std::vector<float> samples(20000);
    for (size_t i = 0; i < samples.size(); ++i) samples[i] = i % 2 ? 0.5f : 0.25f;
    const LSound stereo = Write(samples, {44100, 2});
    const LSound edited = Write(std::vector<float>(10000, 0.75f), {44100, 1});
    LWaveColumnsWorker worker([] {});
    worker.SetSound(stereo, &edited, 1);
    worker.Ask(0, {0, 10000, 10}, 0, 10);
    ASSERT_TRUE(worker.Wait(0, -1));
    const auto batches = worker.Fetch(0);
    ASSERT_FALSE(batches.empty());
    for (const LColumnBatch& batch : batches) {
        EXPECT_EQ(batch.channels, 2);
        EXPECT_NEAR(batch.columns[0].top, 0.25f, 0.001f);
        EXPECT_NEAR(batch.columns[1].top, 0.75f, 0.001f);
    }
}

TEST_F(ColumnsWorker, AGraphOfHoursIsShownRoughlyFirstAndThenExactly) {
    // Only the graph is needed: 80 million frames of it.
    std::vector<LPeakPair> graph(312500, LPeakPair{1000, 500});
    graph[100] = {4000, 500};
    const uint16_t id = AllocateCacheId();
    QFile aud(CacheFileName(id, ".aud")), grf(CacheFileName(id, ".grf"));
    ASSERT_TRUE(aud.open(QIODevice::WriteOnly) && aud.resize(80'000'000LL * 4) &&
                grf.open(QIODevice::WriteOnly));
    grf.write(reinterpret_cast<const char*>(graph.data()),
              static_cast<qint64>(graph.size() * sizeof(LPeakPair)));
    grf.close();
    LSound sound(44100, 1);
    sound.SetSingleSegment({LSoundCacheRef::Adopt(id), 0, 80'000'000}, 44100, 1);
    LWaveColumnsWorker worker([] {});
    worker.SetSound(sound);
    worker.Ask(0, {0, 80'000'000, 100}, 0, 100);
    ASSERT_TRUE(worker.Wait(0, -1));
    const auto batches = worker.Fetch(0);
    ASSERT_GE(batches.size(), 2u);
    EXPECT_TRUE(batches[0].coarse);
    EXPECT_EQ(batches[0].Count(), 100);
    const float usual = 1000 / kPeakScale, peak = 4000 / kPeakScale;
    for (const LWaveColumn& column : batches[0].columns) EXPECT_NEAR(column.top, usual, 1e-4f);
    EXPECT_FALSE(batches.back().coarse);
    EXPECT_NEAR(batches[1].columns[0].top, peak, 1e-4f) << "the loud place near its start is found";
    EXPECT_NEAR(batches[1].columns[1].top, usual, 1e-4f);
}

}  // namespace
}  // namespace ondarix
