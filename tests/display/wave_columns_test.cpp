// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/wave_columns.h"

#include <QFile>
#include <QTemporaryDir>
#include <cmath>
#include <random>

#include "gtest/gtest.h"

namespace ondarix {
namespace {

void WriteWhole(const QString& path, const void* bytes, size_t count) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    ASSERT_EQ(file.write(static_cast<const char*>(bytes), static_cast<qint64>(count)),
              static_cast<qint64>(count));
}

// The graph as it is defined, from interleaved samples.
std::vector<LPeakPair> GraphOf(const std::vector<float>& samples, size_t channels) {
    const size_t frames = samples.size() / channels;
    std::vector<float> high((frames + 255) / 256 * channels), low(high.size());
    for (size_t i = 0; i < samples.size(); ++i) {
        const size_t at = i / channels / 256 * channels + i % channels;
        high[at] = std::max(high[at], samples[i]);
        low[at] = std::max(low[at], -samples[i]);
    }
    const auto peak = [](float v) {
        const auto whole = static_cast<uint16_t>(std::min(65535.0f, v * 4134.916f));
        return v > 0 ? std::max<uint16_t>(whole, 1) : uint16_t{0};
    };
    std::vector<LPeakPair> pairs(high.size());
    for (size_t i = 0; i < high.size(); ++i) pairs[i] = {peak(high[i]), peak(low[i])};
    return pairs;
}

// Noise whose loudness wanders, so that neighbouring records differ.
std::vector<float> Noise(int64_t frames, size_t channels, uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<float> samples(static_cast<size_t>(frames) * channels);
    float level = 0.5f;
    for (size_t i = 0; i < samples.size(); ++i) {
        if (i % 97 == 0) level = static_cast<float>(random() % 1000) / 1000.0f;
        samples[i] = level * (static_cast<float>(random() % 20001) / 10000.0f - 1.0f);
    }
    return samples;
}

class WaveColumns : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(home_.isValid());
        qputenv("ONDARIX_HOME", home_.path().toUtf8());
        ASSERT_TRUE(OpenPrivateCache());
    }
    void TearDown() override { CloseCache(); }

    LSound SoundOf(const std::vector<float>& samples, uint8_t channels) {
        const uint16_t id = AllocateCacheId();
        WriteWhole(CacheFileName(id, ".aud"), samples.data(), samples.size() * sizeof(float));
        const auto graph = GraphOf(samples, channels);
        WriteWhole(CacheFileName(id, ".grf"), graph.data(), graph.size() * sizeof(LPeakPair));
        LSound sound(44100, channels);
        const auto frames = static_cast<int64_t>(samples.size() / channels);
        sound.SetSingleSegment({LSoundCacheRef::Adopt(id), 0, frames}, 44100, channels);
        return sound;
    }

    QTemporaryDir home_;
    LWaveColumns columns_;
};

// What the columns must be, from every record that shares a frame with the column, segment by segment.
std::vector<LWaveColumn> FromRecords(const LSound& sound, const std::vector<LPeakPair>& graph, int64_t start,
                                     int64_t frames, int columns) {
    const int channels = sound.channels;
    std::vector<LWaveColumn> out(static_cast<size_t>(columns * channels));
    int64_t base = 0;
    for (auto* segment = sound.segments.get(); segment;
         base += segment->length, segment = segment->next.get()) {
        if (segment->cacheRef.IsSilence()) continue;
        for (int column = 0; column < columns; ++column) {
            const auto edge = [&](int c) { return start + frames * c / columns; };
            const int64_t from = std::max(edge(column), base);
            const int64_t to = std::min(edge(column + 1), base + segment->length);
            if (from >= to) continue;
            const int64_t first = (from - base + segment->offset) / 256;
            const int64_t last = (to - 1 - base + segment->offset) / 256;
            for (int64_t record = first; record <= last; ++record)
                for (int c = 0; c < channels; ++c) {
                    const LPeakPair& pair = graph[static_cast<size_t>(record * channels + c)];
                    LWaveColumn& at = out[static_cast<size_t>(column * channels + c)];
                    at.top = std::max(at.top, static_cast<float>(pair.max) * 0.00024184288f * segment->gain);
                    at.bottom =
                        std::min(at.bottom, -static_cast<float>(pair.min) * 0.00024184288f * segment->gain);
                }
        }
    }
    return out;
}

void ExpectSame(const std::vector<LWaveColumn>& got, const std::vector<LWaveColumn>& expected,
                const char* what) {
    ASSERT_EQ(got.size(), expected.size()) << what;
    for (size_t i = 0; i < got.size(); ++i) {
        ASSERT_NEAR(got[i].top, expected[i].top, 1e-6) << what << ", column entry " << i;
        ASSERT_NEAR(got[i].bottom, expected[i].bottom, 1e-6) << what << ", column entry " << i;
    }
}

TEST_F(WaveColumns, GraphViewsEqualTheRecordsThatTheyTouch) {
    const auto samples = Noise(3000011, 2, 5);
    const auto graph = GraphOf(samples, 2);
    LSound sound = SoundOf(samples, 2);
    const auto check = [&](const char* what) {
        for (const auto& [start, frames, columns] : {std::tuple{int64_t{0}, sound.Length(), 7},
                                                     {int64_t{0}, sound.Length(), 1600},
                                                     {123456, 700000, 333},
                                                     {777, 2000000, 9},
                                                     {-300000, 4000000, 100},
                                                     {sound.Length() - 5000, 400000, 50}})
            ExpectSame(columns_.Compute(sound, start, frames, columns),
                       FromRecords(sound, graph, start, frames, columns), what);
    };
    check("one segment");
    sound.Delete(1000000, 1100300);
    sound.ScaleRangePercent(200000, 900000, 37);
    sound.InsertSilence(500000, 77777);
    LSound piece;
    sound.CopyRange(10000, 650000, piece);
    sound.Insert(1234567, piece);
    check("after edits");
    sound.DeleteHead(300);
    check("beginning inside a record");
}

TEST_F(WaveColumns, ANegativeGainTurnsTheGraphOver) {
    std::vector<float> samples(100000, 0.25f);
    std::fill(samples.begin() + 50000, samples.end(), -0.5f);
    LSound sound = SoundOf(samples, 1);
    sound.ScalePercent(-100);
    const auto columns = columns_.Compute(sound, 0, sound.Length(), 10);
    ASSERT_EQ(columns.size(), 10u);
    EXPECT_EQ(columns[0].top, 0.0f);
    EXPECT_NEAR(columns[0].bottom, -0.25f, 0.001f);
    EXPECT_NEAR(columns[9].top, 0.5f, 0.001f);
    EXPECT_EQ(columns[9].bottom, 0.0f);
}

TEST_F(WaveColumns, CloseViewsShowTheSamplesThemselves) {
    const auto samples = Noise(50000, 2, 9);
    LSound sound = SoundOf(samples, 2);
    sound.ScaleRangePercent(10000, 20000, 50);
    const auto sampleAt = [&](int64_t frame, int c) {
        if (frame < 0 || frame >= 50000) return 0.0f;
        const float gain = frame >= 10000 && frame < 20000 ? 0.5f : 1.0f;
        return samples[static_cast<size_t>(frame * 2 + c)] * gain;
    };
    for (const auto& [start, frames, count] : {std::tuple<int64_t, int64_t, int>{9000, 20000, 100},
                                               {0, 50000, 1600},
                                               {19990, 37, 37},
                                               {30000, 20, 1600},
                                               {-15, 45, 90},
                                               {49980, 60, 30}}) {
        const auto got = columns_.Compute(sound, start, frames, count);
        ASSERT_EQ(got.size(), static_cast<size_t>(count) * 2);
        for (int column = 0; column < count; ++column)
            for (int c = 0; c < 2; ++c) {
                const int64_t first = start + frames * column / count;
                const int64_t end = std::max(first + 1, start + frames * (column + 1) / count);
                float top = -9, bottom = 9;
                for (int64_t f = first; f < end; ++f) {
                    if (f < 0 || f >= 50000) continue;
                    top = std::max(top, sampleAt(f, c));
                    bottom = std::min(bottom, sampleAt(f, c));
                }
                if (top < bottom) top = bottom = 0;
                const LWaveColumn& at = got[static_cast<size_t>(column * 2 + c)];
                ASSERT_EQ(at.top, top) << start << "+" << frames << " column " << column;
                ASSERT_EQ(at.bottom, bottom) << start << "+" << frames << " column " << column;
            }
    }
    EXPECT_TRUE(columns_.Compute(sound, 0, 0, 100).empty());
    EXPECT_TRUE(columns_.Compute(sound, 0, 100, 0).empty());
}

TEST_F(WaveColumns, LongViewsGoThroughTheMergedLevel) {
    // Only the graph is needed here: 40 million frames of it, with a working file that is one hole.
    std::mt19937 random(3);
    std::vector<LPeakPair> graph(160000);
    for (LPeakPair& pair : graph)
        pair = {static_cast<uint16_t>(random() % 3000), static_cast<uint16_t>(random() % 3000)};
    const uint16_t id = AllocateCacheId();
    QFile aud(CacheFileName(id, ".aud"));
    ASSERT_TRUE(aud.open(QIODevice::WriteOnly) && aud.resize(160000LL * 256 * 4));
    WriteWhole(CacheFileName(id, ".grf"), graph.data(), graph.size() * sizeof(LPeakPair));
    LSound sound(44100, 1);
    sound.SetSingleSegment({LSoundCacheRef::Adopt(id), 0, 160000LL * 256}, 44100, 1);
    for (const int columns : {3, 10, 100, 600, 1600})
        ExpectSame(columns_.Compute(sound, 1000, 39000000, columns),
                   FromRecords(sound, graph, 1000, 39000000, columns), "long");
}

TEST_F(WaveColumns, FollowsAFileThatGrowsAndANumberThatIsUsedAgain) {
    const std::vector<LPeakPair> quiet(4000, LPeakPair{100, 100}), loud(8000, LPeakPair{4000, 3000});
    const uint16_t id = AllocateCacheId();
    const QString path = CacheFileName(id, ".grf");
    WriteWhole(path, quiet.data(), quiet.size() * sizeof(LPeakPair));
    LSound sound(44100, 1);
    sound.SetSingleSegment({LSoundCacheRef::Adopt(id), 0, 8000LL * 256}, 44100, 1);
    const auto top = [&](size_t column) { return columns_.Compute(sound, 0, sound.Length(), 4)[column].top; };
    EXPECT_NEAR(top(0), 100 / 4134.916f, 1e-5);
    EXPECT_EQ(top(3), 0.0f) << "not recorded yet";
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Append));
        file.write(reinterpret_cast<const char*>(loud.data()), 4000 * sizeof(LPeakPair));
    }
    EXPECT_NEAR(top(0), 100 / 4134.916f, 1e-5);
    EXPECT_NEAR(top(3), 4000 / 4134.916f, 1e-5);
    ASSERT_TRUE(QFile::remove(path));
    WriteWhole(path, loud.data(), loud.size() * sizeof(LPeakPair));
    EXPECT_NEAR(top(0), 4000 / 4134.916f, 1e-5);
    ASSERT_TRUE(QFile::remove(path));
    EXPECT_EQ(top(0), 0.0f) << "gone from disk";
}

}  // namespace
}  // namespace ondarix
