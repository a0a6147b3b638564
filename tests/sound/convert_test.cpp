// SPDX-License-Identifier: GPL-3.0-or-later
// The rate and channel converters over sources.
#include <cmath>
#include <numbers>

#include "sound/channel_mix.h"
#include "sound/rate_converter.h"
#include "sound_fixture.h"

namespace ondarix {
namespace {

std::vector<float> Sines(int64_t frames, LSoundFormat format) {
    std::vector<float> samples;
    for (int64_t i = 0; i < frames; ++i) {
        for (int c = 0; c < format.channels; ++c) {
            const double turns = 997.0 * (c + 1) * static_cast<double>(i) / format.sampleRate;
            samples.push_back(static_cast<float>(std::sin(2 * std::numbers::pi * turns)));
        }
    }
    return samples;
}

TEST(RateConverter, ReadsTheSameWhateverTheBlocksAndSeeks) {
    const LSoundFormat format{44100, 2};
    for (const int32_t rate : {48000, 8000, 44101, 96000}) {
        const auto child = MakeSource<LVectorSource>(Sines(5000, format), format);
        LRateConverterSource source(child, rate);
        const int64_t length = ScaledLength(5000, 44100, rate);
        ASSERT_EQ(source.GetLength(), length);
        EXPECT_EQ(source.Format(), (LSoundFormat{rate, 2}));
        const std::vector<float> whole = ReadFrames(source, length + 100, 100000);
        EXPECT_EQ(std::count(whole.end() - 200, whole.end(), 0.0f), 200) << "silence behind the end";
        const std::vector<float> want = Sines(length, {rate, 2});
        for (int64_t i = 800; i < 2 * length - 800; ++i) {
            const auto at = static_cast<size_t>(i);
            ASSERT_NEAR(whole[at], want[at], 1e-5f) << rate << ", " << i;
        }
        EXPECT_NE(whole[static_cast<size_t>(2 * length - 1)], 0.0f) << "the last frame is not lost";
        for (const int64_t start : {int64_t{0}, int64_t{1}, length / 2, length - 3, int64_t{17}}) {
            source.Seek(start);
            ASSERT_EQ(source.GetPosition(), start);
            const std::vector<float> part = ReadFrames(source, length + 100 - start, 37);
            EXPECT_TRUE(std::equal(part.begin(), part.end(), whole.begin() + 2 * start)) << start;
        }
        source.Seek(-20);
        const std::vector<float> early = ReadFrames(source, 60, 7);
        EXPECT_EQ(std::count(early.begin(), early.begin() + 40, 0.0f), 40);
        EXPECT_TRUE(std::equal(early.begin() + 40, early.end(), whole.begin()));
        source.Seek(length + 1000);
        EXPECT_EQ(source.GetPosition(), length);
    }
}

TEST(RateConverter, FollowsAGrowingChild) {
    const std::vector<float> samples = Sines(7000, {48000, 1});
    LRateConverterSource finished(MakeSource<LVectorSource>(samples, LSoundFormat{48000, 1}), 11025);
    const std::vector<float> want = ReadFrames(finished, finished.GetLength());
    auto* const vector = new LVectorSource(samples, {48000, 1});
    vector->growing = true;
    LRateConverterSource source{LSoundSourceRef(vector), 11025};
    std::vector<float> all;
    for (int rounds = 0; rounds < 20; ++rounds) {
        const bool growing = source.IsGrowing();
        const std::vector<float> more = ReadFrames(source, source.GetLength() - source.GetPosition(), 64);
        all.insert(all.end(), more.begin(), more.end());
        if (!growing) break;
        source.WaitForData(0);
    }
    EXPECT_EQ(all, want);
}

TEST(RateConverter, PassesOnBoundsAndFaults) {
    const LSoundFormat format{8000, 1};
    const auto child = MakeSource<LVectorSource>(std::vector<float>(10), format);
    EXPECT_EQ(ConvertRate(child, 8000).Get(), child.Get());
    for (const auto& [bound, want] : {std::pair{0.5f, 1.0f}, {8.0f, 16.0f}, {9.0f, 9.0f}, {16.0f, 16.0f}}) {
        child->peak = bound;
        EXPECT_EQ(LRateConverterSource(child, 16000).peak, want);
    }
    child->error = kSourceUnsupported;
    EXPECT_EQ(ConvertToFormat(child, {16000, 2})->error, kSourceUnsupported);
    EXPECT_TRUE(ConvertToFormat(child, {0, 2}).IsEmpty());
    auto stuck = new LVectorSource(std::vector<float>(3000, 1.0f), format);
    stuck->canSeek = false;
    LRateConverterSource source{LSoundSourceRef(stuck), 16000};
    source.Seek(2000);
    EXPECT_EQ(ReadFrames(source, 100), std::vector<float>(100)) << "silent where it does not stand";
}

std::vector<float> MixOf(const std::vector<float>& frame, int to) {
    const LSoundFormat format{44100, static_cast<uint8_t>(frame.size())};
    return ReadFrames(*MixChannels(MakeSource<LVectorSource>(frame, format), to), 1);
}

TEST(ChannelMix, FollowsTheTable) {
    const float d = std::sqrt(0.5f);
    const float pair = 1 + 2 * d;  // left, centre and one surround at full scale
    struct {
        std::vector<float> in, out;
    } const rows[] = {
        {{0.3f}, {0.3f, 0.3f, 0.3f}},
        {{0.5f, 0.25f}, {0.375f}},
        {{1, 2, 3, 4, 5, 9}, {4}},
        {{0.5f, 0.25f}, {0.5f, 0.25f, 0, 0, 0, 0}},
        {{1, 0, 0, 0, 0, 0}, {1 / pair, 0}},
        {{0, 0, 1, 0, 0, 0}, {d / pair, d / pair}},
        {{0, 0, 0, 1, 0, 0}, {0, 0}},  // LFE
        {{0, 0, 0, 0, 0, 1}, {0, d / pair}},
        {{1, 1, 1, 1, 1, 1}, {1, 1}},
        {{0, 0, 0, 1}, {0, d / (1 + d)}},
        {{0, 0, 0, 0, 1, 0, 1, 0}, {0, 0, 0, 0, 1, 0}},
        {{1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6, 0, 0}},
        {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, {5, 6}},
    };
    for (const auto& row : rows) {
        const std::vector<float> made = MixOf(row.in, static_cast<int>(row.out.size()));
        for (size_t i = 0; i < made.size(); ++i) {
            EXPECT_NEAR(made[i], row.out[i], 1e-6f) << row.in.size() << " to " << row.out.size() << ", " << i;
        }
    }
}

TEST(ChannelMix, NeverPassesFullScaleNorLosesAChannelButTheLfe) {
    for (int from = 1; from <= 12; ++from) {
        for (int to = 1; to <= 12; ++to) {
            std::vector<int> uses(static_cast<size_t>(from));
            for (const auto& row : MixMatrix(from, to)) {
                float sum = 0;
                for (const LMixPart& part : row) {
                    ++uses[static_cast<size_t>(part.input)];
                    sum += part.gain;
                }
                EXPECT_LE(sum, 1.000001f) << from << " to " << to;
            }
            for (int i = 0; i < from; ++i) {
                const bool lfe = i == 3 && from >= 6 && from <= 8 && to > 1 && to < 6;
                EXPECT_EQ(uses[static_cast<size_t>(i)] == 0, lfe) << from << " to " << to << ", " << i;
            }
        }
    }
}

class ConvertSound : public SoundCacheTest {};

TEST_F(ConvertSound, RateAndChannelsTogether) {
    const LSoundFormat format{44100, 2};
    const LSound sound = Write(Sines(30000, format), format);
    const auto made = ConvertToFormat(MakeSource<LSoundReader>(sound), {48000, 1});
    EXPECT_EQ(made->Format(), (LSoundFormat{48000, 1}));
    ASSERT_EQ(made->GetLength(), ScaledLength(30000, 44100, 48000));
    const std::vector<float> samples = ReadFrames(*made, made->GetLength());
    const std::vector<float> want = Sines(made->GetLength(), {48000, 2});
    for (size_t i = 100; i < samples.size() - 100; ++i) {
        ASSERT_NEAR(samples[i], (want[2 * i] + want[2 * i + 1]) / 2, 1e-5f) << i;
    }
}

}  // namespace
}  // namespace ondarix
