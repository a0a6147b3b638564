// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/silence_finder.h"

#include <QFile>
#include <QTemporaryDir>
#include <chrono>
#include <cmath>
#include <random>

#include "dsp/peak.h"
#include "patience.h"
#include "sound/sound_fixture.h"

namespace ondarix {
namespace {

class Silence : public SoundCacheTest {
  protected:
    std::vector<LSelection> Find(const LSound& sound, LSilenceSettings settings) {
        LNullProgress progress;
        return FindSilences(sound, settings, progress);
    }
    LSound FromSamples(std::vector<float> samples, LSoundFormat format) {
        LVectorSource source(std::move(samples), format);
        LNullProgress progress;
        LSound sound;
        EXPECT_EQ(LSound::Render(sound, progress, source), JobResult::kSuccess);
        return sound;
    }
};

// By definition, from samples: stretches without a sample above the threshold in which at least `least`
// frames lie. A sample counts by its peak unit.
std::vector<LSelection> SilencesOf(const std::vector<float>& samples, int channels, double db,
                                   int64_t least) {
    const auto limit = PeakFromMagnitude(static_cast<float>(std::pow(10, db / 20)));
    const auto frames = static_cast<int64_t>(samples.size()) / channels;
    std::vector<LSelection> found;
    int64_t start = 0;
    for (int64_t f = 0; f <= frames; ++f) {
        bool loud = f == frames;
        for (int c = 0; c < channels && f < frames; ++c)
            loud |= PeakFromMagnitude(std::fabs(samples[static_cast<size_t>(f * channels + c)])) > limit;
        if (!loud) continue;
        if (f - start >= least) found.push_back({start, f});
        start = f + 1;
    }
    return found;
}

// Noise and near-silence in turns, never shorter than a second so that records at the borders decide nothing.
std::vector<float> Turns(int64_t frames, int channels, int rate, uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<float> samples(static_cast<size_t>(frames * channels));
    bool loud = random() % 2;
    int64_t left = 0;
    for (int64_t f = 0; f < frames; ++f) {
        if (left-- <= 0) {
            loud = !loud;
            left = rate + static_cast<int64_t>(random() % static_cast<uint32_t>(rate));
        }
        const float level = loud ? 0.5f : 0.002f;
        for (int c = 0; c < channels; ++c)
            samples[static_cast<size_t>(f * channels + c)] =
                level * (static_cast<float>(random() % 20001) / 10000.0f - 1.0f);
    }
    return samples;
}

TEST_F(Silence, BordersAreExactToOneRecord) {
    for (const auto& [rate, channels] : {std::pair{44100, 1}, {48000, 2}, {8000, 6}}) {
        const auto samples = Turns(rate * 40, channels, rate, static_cast<uint32_t>(rate));
        const LSound sound = FromSamples(samples, {rate, static_cast<uint8_t>(channels)});
        const auto expected = SilencesOf(samples, channels, -40, rate / 2);
        const auto found = Find(sound, {-40, 500, 0});
        ASSERT_EQ(found.size(), expected.size()) << rate;
        ASSERT_GT(found.size(), 8U);
        for (size_t i = 0; i < found.size(); ++i) {
            // Never into the sound, and at most a record away from it.
            EXPECT_GE(found[i].start, expected[i].start);
            EXPECT_LE(found[i].end, expected[i].end);
            EXPECT_LT(found[i].start - expected[i].start, kPeakBlockFrames);
            EXPECT_LT(expected[i].end - found[i].end, kPeakBlockFrames);
        }
        // The same after the sound was put together from pieces that begin anywhere in a record.
        LSound pieces(rate, static_cast<uint8_t>(channels));
        for (int64_t at = 0; at < sound.Length(); at += rate * 3 + 101) {
            LSound piece;
            sound.CopyRange(at, std::min(sound.Length(), at + rate * 3 + 101), piece);
            pieces.Insert(pieces.Length(), piece);
        }
        const auto again = Find(pieces, {-40, 500, 0});
        ASSERT_EQ(again.size(), expected.size());
        for (size_t i = 0; i < again.size(); ++i) {
            EXPECT_GE(again[i].start, expected[i].start);
            EXPECT_LE(again[i].end, expected[i].end);
            EXPECT_LE(std::abs(again[i].start - found[i].start), kPeakBlockFrames);
        }
    }
}

TEST_F(Silence, LengthsMarginsAndThresholdsHold) {
    const int rate = 25600;  // 100 records a second
    std::vector<float> samples(static_cast<size_t>(rate) * 10, 0.5f);
    const auto quiet = [&](int fromRecord, int toRecord, float level) {
        std::fill(samples.begin() + fromRecord * 256, samples.begin() + toRecord * 256, level);
    };
    quiet(0, 60, 0.0f);      // 600 ms at the start
    quiet(200, 249, 0.0f);   // 490 ms
    quiet(300, 350, 0.01f);  // 500 ms at -40 dB
    quiet(500, 503, 0.0f);   // 30 ms, the window
    quiet(600, 602, 0.0f);   // less
    quiet(900, 1000, 0.0f);  // a second at the end
    const LSound sound = FromSamples(samples, {rate, 1});
    const auto records = [&](const LSound& of, LSilenceSettings settings) {
        std::vector<std::pair<int64_t, int64_t>> found;
        for (const LSelection& one : Find(of, settings)) found.emplace_back(one.start / 256, one.end / 256);
        return found;
    };
    using Records = std::vector<std::pair<int64_t, int64_t>>;
    EXPECT_EQ(records(sound, {-48, 500, 0}), (Records{{0, 60}, {900, 1000}}));
    EXPECT_EQ(records(sound, {-39, 500, 0}), (Records{{0, 60}, {300, 350}, {900, 1000}}));
    EXPECT_EQ(records(sound, {-41, 490, 0}), (Records{{0, 60}, {200, 249}, {900, 1000}}));
    EXPECT_EQ(records(sound, {-48, 0, 0}), (Records{{0, 60}, {200, 249}, {500, 503}, {900, 1000}}));
    // What borders on sound keeps its margin, the two ends of the sound have none.
    EXPECT_EQ(records(sound, {-39, 500, 100}), (Records{{0, 50}, {310, 340}, {910, 1000}}));
    EXPECT_EQ(records(sound, {-39, 500, 5000}), Records{});
    EXPECT_EQ(records(sound, {0, 500, 0}), (Records{{0, 1000}}));

    LSound louder(sound);
    louder.ScaleBy(-2.0f);  // what lay at -40 dB lies at -34
    EXPECT_EQ(records(louder, {-39, 500, 0}), (Records{{0, 60}, {900, 1000}}));
    EXPECT_EQ(records(louder, {-33, 500, 0}), (Records{{0, 60}, {300, 350}, {900, 1000}}));
    louder.InsertSilence(60 * 256, 256 * 1000);  // a segment of silence joins what lies before it
    EXPECT_EQ(records(louder, {-39, 500, 0}), (Records{{0, 1060}, {1900, 2000}}));
    louder.ScaleBy(0.0f);
    EXPECT_EQ(records(louder, {-90, 500, 0}), (Records{{0, 2000}}));
    EXPECT_TRUE(Find(LSound(44100, 2), {}).empty());
}

TEST_F(Silence, WhatHasNoGraphCountsAsSound) {
    const LSound sound = FromSamples(std::vector<float>(44100 * 4), {44100, 1});
    ASSERT_EQ(Find(sound, {}).size(), 1U);
    QFile graph(CacheFileName(sound.segments->cacheRef.cacheId, ".grf"));
    ASSERT_TRUE(graph.resize(4 * 300));
    const auto part = Find(sound, {});
    ASSERT_EQ(part.size(), 1U);
    EXPECT_EQ(part[0].end, 300 * 256);
    ASSERT_TRUE(graph.remove());
    EXPECT_TRUE(Find(sound, {}).empty());
}

// What the silence effect of sox leaves of a sound with a quiet head is the sound from where the silence
// ends.
TEST_F(Silence, HeadEndsWhereSoxEndsIt) {
    std::vector<float> samples(44100 * 6);
    for (size_t i = 100000; i < samples.size(); ++i)
        samples[i] = 0.8f * std::sin(static_cast<float>(i) * 0.3f);
    const QString raw = MakeFile("head.f32", {reinterpret_cast<const char*>(samples.data()),
                                              static_cast<qsizetype>(samples.size() * sizeof(float))});
    const QByteArray command =
        "sox -r 44100 -c 1 -t f32 " + raw.toUtf8() + " -t f32 " + raw.toUtf8() + ".out silence 1 1s -40d";
    ASSERT_EQ(system(command.constData()), 0);
    const int64_t left = QFileInfo(raw + ".out").size() / 4;
    const auto found = Find(FromSamples(samples, {44100, 1}), {-40, 500, 0});
    ASSERT_EQ(found.size(), 1U);
    const int64_t headOfSox = static_cast<int64_t>(samples.size()) - left;
    EXPECT_LE(found[0].end, headOfSox);
    EXPECT_LT(headOfSox - found[0].end, kPeakBlockFrames);
}

// Ten hours of stereo: the graph alone, as such a file would have it. The bound is loose for slow machines.
TEST_F(Silence, TenHoursTakeMilliseconds) {
    LSound sound = FromSamples(std::vector<float>(2 * 44100, 0.5f), {44100, 2});
    const int64_t frames = int64_t{44100} * 36000;
    const uint16_t id = sound.segments->cacheRef.cacheId;
    QFile graph(CacheFileName(id, ".grf"));
    ASSERT_TRUE(graph.open(QIODevice::WriteOnly));
    std::vector<LPeakPair> pairs(static_cast<size_t>(frames / 256 + 1) * 2, {2000, 2000});
    for (size_t second = 10; second < 36000; second += 10)
        std::fill_n(pairs.begin() + static_cast<ptrdiff_t>(second * 172 * 2), 344, LPeakPair{1, 0});
    graph.write(reinterpret_cast<const char*>(pairs.data()),
                static_cast<qint64>(pairs.size() * sizeof(LPeakPair)));
    graph.close();
    LSoundSegment segment(sound.segments->cacheRef, 0, frames);
    sound.SetSingleSegment(segment, 44100, 2);
    ASSERT_EQ(sound.Length(), frames);
    const auto start = std::chrono::steady_clock::now();
    const auto found = Find(sound, {});
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(found.size(), 3599U);
    EXPECT_LT(took.count(), test::kPatienceMs);
    RecordProperty("milliseconds", static_cast<int>(took.count()));
}

}  // namespace
}  // namespace ondarix
