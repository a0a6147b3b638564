// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <numbers>
#include <random>

#include "sound/snap.h"
#include "sound_fixture.h"

namespace ondarix {
namespace {

constexpr LSnapOptions kNothing{
    .boundaries = false, .beats = false, .silentValleys = false, .zeroCrossings = false};

class SnapTest : public SoundCacheTest {
  protected:
    // Noise whose level follows `levels`, one a block of 256 frames.
    LSound Levels(const std::vector<float>& levels, int channels = 1) {
        std::vector<float> samples;
        for (const float level : levels) {
            for (int i = 0; i < 256 * channels; ++i) samples.push_back(i / channels % 2 ? -level : level);
        }
        return Write(samples, {44100, static_cast<uint8_t>(channels)});
    }
};

TEST_F(SnapTest, EndsAndNarrowWindowsComeFirst) {
    const LSound sound = Levels({1, 0, 1});
    EXPECT_EQ(SnapPosition(sound, 0, -10, 700, {}), 0);
    EXPECT_EQ(SnapPosition(sound, -3, -10, 700, {}), 0);
    EXPECT_EQ(SnapPosition(sound, 768, 0, 900, {}), 768);
    EXPECT_EQ(SnapPosition(sound, 5000, 0, 9000, {}), 768);
    EXPECT_EQ(SnapPosition(sound, 512, 510, 513, {}), 512);
    EXPECT_EQ(SnapPosition(sound, 300, 0, 768, kNothing), 300);
    EXPECT_EQ(SnapPosition(LSound(), 5, 0, 100, {}), 0);
}

TEST_F(SnapTest, TheNearestBoundaryInTheWindowWins) {
    LSound sound = Levels(std::vector<float>(40, 0.5f));
    sound.InsertSilence(1000, 300);
    sound.Insert(3000, Levels({1}));
    EXPECT_EQ(SnapPosition(sound, 1100, 900, 1400, {}), 1000);
    EXPECT_EQ(SnapPosition(sound, 1160, 900, 1400, {}), 1300);
    EXPECT_EQ(SnapPosition(sound, 1100, 1001, 1400, {}), 1300);
    EXPECT_EQ(SnapPosition(sound, 3300, 3200, 3400, {}), 3256);
    LSnapOptions options = kNothing;
    EXPECT_EQ(SnapPosition(sound, 1100, 900, 1400, options), 1100);
    options.beats = true;
    const std::vector<int64_t> beats{100, 950, 1390, 1401};
    options.beatList = &beats;
    EXPECT_EQ(SnapPosition(sound, 1100, 900, 1400, options), 950);
    EXPECT_EQ(SnapPosition(sound, 1200, 900, 1400, options), 1390);
    EXPECT_EQ(SnapPosition(sound, 1200, 1000, 1380, options), 1200);
    options.boundaries = true;
    EXPECT_EQ(SnapPosition(sound, 1100, 900, 1400, options), 1000) << "a boundary comes before a beat";
}

TEST_F(SnapTest, ValleysAreWhereTheLevelRisesAfterFalling) {
    //                            0     1     2     3     4     5     6     7     8     9     10    11
    const LSound sound = Levels({0.9f, 0.1f, 0.3f, 0.2f, 0.4f, 0.5f, 0.6f, 0.3f, 0.3f, 0.7f, 0.2f, 0.1f});
    LSnapOptions options = kNothing;
    options.silentValleys = true;
    const int64_t all = sound.Length();
    EXPECT_EQ(SnapPosition(sound, 600, 0, all, options), 4 * 256) << "the longest rise, over three blocks";
    options.preferNearest = true;
    EXPECT_EQ(SnapPosition(sound, 600, 0, all, options), 2 * 256);
    EXPECT_EQ(SnapPosition(sound, 2000, 0, all, options), 9 * 256) << "flat before it rises";
    EXPECT_EQ(SnapPosition(sound, 700, 600, 1000, options), 700) << "none in the window";
    const std::vector<int64_t> beats{2200};
    options.preferNearest = false;
    options.beats = true;
    options.beatList = &beats;
    EXPECT_EQ(SnapPosition(sound, 600, 0, all, options), 9 * 256) << "the valley nearest to the beat";
    LSound moved = sound;
    moved.Delete(0, 100);  // blocks no longer begin at multiples of 256
    moved.ScaleBy(-0.5f);
    options.beats = false;
    EXPECT_EQ(SnapPosition(moved, 600, 0, all, options), 4 * 256 - 100);
    LSound gap = Levels({0.5f, 0.5f});
    gap.InsertSilence(300, 5000);
    options.preferNearest = true;
    EXPECT_EQ(SnapPosition(gap, 1000, 0, gap.Length(), options), 5300) << "where the sound sets in again";
    QFile::remove(CacheFileName(sound.segments->cacheRef.cacheId, ".grf"));
    EXPECT_EQ(SnapPosition(sound, 600, 0, all, options), 600) << "no graph";
}

TEST_F(SnapTest, ZeroCrossingsAreUpwardInAllChannelsAndTheNearest) {
    std::mt19937 random(3);
    std::vector<float> samples(2 * 60000);
    for (float& sample : samples)
        sample = static_cast<float>(static_cast<int>(random() % 2001) - 1000) / 1000;
    // Sparse crossings: the second channel rises rarely.
    for (size_t i = 0; i < 60000; ++i)
        samples[2 * i + 1] = i / 500 % 2 ? 0.5f : i % 500 == 499 ? 0.0f : -0.5f;
    LSound sound = Write(samples, {44100, 2});
    sound.ScaleBy(0.25f);
    LSnapOptions options = kNothing;
    options.zeroCrossings = true;
    const auto crosses = [&](size_t at) {
        return samples[2 * at - 2] <= 0 && samples[2 * at] > 0 && samples[2 * at - 1] <= 0 &&
               samples[2 * at + 1] > 0;
    };
    int found = 0;
    for (int round = 0; round < 300; ++round) {
        const auto pos = static_cast<int64_t>(1 + random() % 59999);
        const int64_t near = pos - static_cast<int64_t>(random() % 30000);
        const int64_t far = pos + 4 + static_cast<int64_t>(random() % 30000);
        int64_t best = pos, distance = std::numeric_limits<int64_t>::max();
        for (int64_t at = std::max<int64_t>(near, 1); at <= std::min<int64_t>(far, 59999); ++at) {
            if (!crosses(static_cast<size_t>(at)) || std::abs(at - pos) >= distance) continue;
            distance = std::abs(at - pos);
            best = at;
        }
        found += best != pos ? 1 : 0;
        const int64_t snapped = SnapPosition(sound, pos, near, far, options);
        ASSERT_EQ(std::abs(snapped - pos), std::abs(best - pos)) << pos << " in " << near << " to " << far;
        ASSERT_TRUE(best == pos || crosses(static_cast<size_t>(snapped)));
    }
    EXPECT_GT(found, 100);
}

}  // namespace
}  // namespace ondarix
