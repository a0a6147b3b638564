// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/envelope.h"

#include <limits>

#include "effects/fades.h"
#include "effects/gain_fixture.h"

namespace ondarix::test {
namespace {

// The curves as they are defined, x frames behind a point with the gain `from` and len - x before one with
// `to`.
double CurveAt(int interpolation, double from, double to, double len, double x) {
    const double d = to - from, y = len - x, q = std::numbers::pi / (2 * len);
    const bool rising = d > 0;
    switch (interpolation) {
        case 0:
            return from + x * d / len;
        case 1:
            return rising ? from + d * std::exp(x * 4 / len - 4) : to - d * std::exp(y * 4 / len - 4);
        case 2:
            return rising ? from + d - d * std::exp(y * 4 / len - 4) : from + d * std::exp(x * 4 / len - 4);
        default:
            return rising ? from + d * std::sin(x * q) : to - d * std::sin(y * q);
    }
}

double EnvelopeAt(int interpolation, const std::vector<LEnvelopePoint>& points, int64_t frame) {
    if (frame < points.front().frame) return points.front().gain;
    for (size_t i = 0; i + 1 < points.size(); ++i) {
        const LEnvelopePoint &a = points[i], &b = points[i + 1];
        if (frame < a.frame || frame >= b.frame) continue;
        return CurveAt(interpolation, a.gain, b.gain, static_cast<double>(b.frame - a.frame),
                       static_cast<double>(frame - a.frame));
    }
    return points.back().gain;
}

// Full scale for a very long time.
class LOnes final : public LSoundSource {
  public:
    LOnes() : LSoundSource(44100, 1) {}
    float* Read(float* dest, int32_t count) override {
        position_ += count;
        return std::fill_n(dest, count, 1.0f);
    }
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return int64_t{1} << 40; }
    void Seek(int64_t frame) override { position_ = frame; }

  private:
    int64_t position_ = 0;
};

LEnvelopeEffect Envelope(int interpolation, const std::vector<LEnvelopePoint>& points, int64_t length = 0) {
    LEnvelopeEffect effect;
    effect.SetParameter(0, interpolation);
    effect.SetPoints(points, length);
    return effect;
}

TEST(EnvelopeTest, FollowsTheFormulasOverEverySound) {
    for (const LTestSound& sound : TestSounds()) {
        const int64_t n = sound.Frames();
        std::vector<std::vector<LEnvelopePoint>> shapes = {
            {{0, 0.0f}, {n, 1.0f}},
            {{0, 1.0f}, {n, 0.0f}},
            {{n / 10, 0.3f}, {n / 3, 0.9f}, {n / 3 + 1, 0.1f}, {n / 2, 0.1f}, {n - n / 10, 1.0f}},
            {{-n, 0.0f}, {3 * n, 1.0f}},
            {{n / 2, 0.25f}},
            {{n / 4, 1.0f}, {n / 4, 0.0f}, {n / 2, 0.5f}, {n / 2, 1.0f}},
        };
        for (auto& shape : shapes)  // of the shortest sounds some are out of order
            std::stable_sort(shape.begin(), shape.end(),
                             [](const auto& a, const auto& b) { return a.frame < b.frame; });
        for (int interpolation = 0; interpolation < 4; ++interpolation) {
            for (size_t i = 0; i < shapes.size(); ++i) {
                SCOPED_TRACE("interpolation " + std::to_string(interpolation) + ", shape " +
                             std::to_string(i));
                const LEnvelopeEffect effect = Envelope(interpolation, shapes[i]);
                ExpectGains(
                    Through(effect, sound), sound,
                    [&](int64_t frame, int) { return EnvelopeAt(interpolation, shapes[i], frame); }, 5e-7);
                if (i == 2) ExpectSameFromAnywhere(effect, sound);
            }
        }
    }
}

TEST(EnvelopeTest, StaysTrueOverHoursAndLoudGains) {
    // 80 hours in one segment, looked into at some places.
    const int64_t frames = int64_t{44100} * 3600 * 80;
    for (int interpolation = 0; interpolation < 4; ++interpolation) {
        for (const auto& [from, to] : {std::pair{0.0f, 4.0f}, {4.0f, 0.5f}}) {
            const LEnvelopeEffect effect = Envelope(interpolation, {{0, from}, {frames, to}});
            const LSoundSourceRef filter = effect.CreateFilter(MakeSource<LOnes>());
            for (const int64_t at : {int64_t{0}, int64_t{12345}, frames / 2, frames - 100, frames + 5}) {
                filter->Seek(at);
                for (const float gain : ReadFrames(*filter, 1))
                    EXPECT_NEAR(gain, EnvelopeAt(interpolation, {{0, from}, {frames, to}}, at), 2e-6);
            }
        }
    }
}

TEST(EnvelopeTest, HasTheSmallStepOfAnExponential) {
    const LTestSound ones = {"ones", std::vector<float>(1000, 1.0f), {1000, 1}};
    LFadeInEffect in;
    in.SetParameter(0, 1);
    EXPECT_NEAR(Through(in, ones).front(), std::exp(-4.0), 1e-6) << "does not start from absolute zero";
    LFadeOutEffect out;
    out.SetParameter(0, 1);
    EXPECT_EQ(Through(out, ones).front(), 1.0f);
    EXPECT_GT(Through(out, ones).back(), std::exp(-4.0));
}

TEST(FadeTest, RunsOverTheWholeSoundWhateverItsLength) {
    for (const LTestSound& sound : TestSounds()) {
        const int64_t n = sound.Frames();
        for (int type = 0; type < 4; ++type) {
            LFadeInEffect in;
            LFadeOutEffect out;
            in.SetParameter(0, type);
            out.SetParameter(0, type);
            ExpectGains(
                Through(in, sound), sound,
                [&](int64_t i, int) { return CurveAt(type, 0, 1, double(n), double(i)); }, 5e-7);
            ExpectGains(
                Through(out, sound), sound,
                [&](int64_t i, int) { return CurveAt(type, 1, 0, double(n), double(i)); }, 5e-7);
            ExpectSameFromAnywhere(in, sound);
        }
    }
}

TEST(EnvelopeTest, LeavesTheSourceAloneWhereThereIsNothingToDo) {
    const LSoundSourceRef source = Open(TestSounds()[0]);
    EXPECT_EQ(LEnvelopeEffect().CreateFilter(source).Get(), source.Get());
    EXPECT_EQ(Envelope(0, {}).CreateFilter(source).Get(), source.Get());
    LEnvelopeEffect unknown = Envelope(0, {{0, 0.5f}});
    unknown.params.interpolation.index = 4;
    EXPECT_EQ(unknown.CreateFilter(source).Get(), source.Get());
    const LSoundSourceRef failed = FailedSource(kSourceCannotOpen);
    EXPECT_EQ(Envelope(0, {{0, 0.5f}}).CreateFilter(failed).Get(), failed.Get());
    const LTestSound nothing = {"nothing", {}, {44100, 2}};
    EXPECT_TRUE(Through(Envelope(3, {{0, 0.0f}, {0, 1.0f}, {9, 0.0f}}, 10), nothing).empty());
}

TEST(EnvelopeTest, ReadsPointsAsPeopleWriteThem) {
    LEnvelopeEffect effect;
    ASSERT_EQ(effect.SetOption("points", "0:100%, 1.5s:0.5,50%:-6dB,end-200ms:-INF dB ,end:0dB,7+1s:2"), "");
    const std::vector<LEnvelopePoint> points = effect.PointsFor(8000, 80'000);
    const float half = std::pow(10.0f, -0.3f);
    const std::vector<LEnvelopePoint> expected = {{0, 1.0f},      {8007, 2.0f},   {12'000, 0.5f},
                                                  {40'000, half}, {78'400, 0.0f}, {80'000, 1.0f}};
    ASSERT_EQ(points.size(), expected.size());
    for (size_t i = 0; i < points.size(); ++i) {
        EXPECT_EQ(points[i].frame, expected[i].frame) << i;
        EXPECT_FLOAT_EQ(points[i].gain, expected[i].gain) << i;
    }
    const std::vector<LEnvelopePlace> before = effect.Places();
    for (const char* bad : {"", "0", "0:", ":1", "x:1", "0:x", "0:-1", "0:101", "0:nan", "0:inf", "1e5:1",
                            "0:1,", "1.2.3s:1", ".:1", "5 m:1", "--5:1", "0:+41dB", "9999999999999999999:1"})
        EXPECT_NE(effect.SetOption("points", bad), "") << bad;
    EXPECT_EQ(effect.Places(), before);
    EXPECT_EQ(effect.SetOption("Interpolation", "sin"), "");
    EXPECT_EQ(effect.params.interpolation.index, 3);
}

TEST(EnvelopeTest, KeepsItsPointsInAPresetForAnyLength) {
    std::mt19937_64 random(5);
    for (int round = 0; round < 300; ++round) {
        const int64_t length = 1 + static_cast<int64_t>(random() % (int64_t{1} << (1 + round % 44)));
        std::vector<LEnvelopePoint> points;
        for (int i = 0; i < 5; ++i)
            points.push_back({static_cast<int64_t>(random() % static_cast<uint64_t>(length + 1)),
                              static_cast<float>(random() % 1000) / 37.0f});
        std::stable_sort(points.begin(), points.end(),
                         [](const auto& a, const auto& b) { return a.frame < b.frame; });
        const LEnvelopeEffect effect = Envelope(round % 4, points, length);
        EXPECT_EQ(effect.PointsFor(44100, length), points);
        LEnvelopeEffect loaded;
        ASSERT_TRUE(loaded.SetPresetText(effect.PresetText())) << effect.PresetText().toStdString();
        EXPECT_EQ(loaded.Places(), effect.Places());
        EXPECT_EQ(loaded.params, effect.params);
        EXPECT_EQ(loaded.PointsFor(44100, 2 * length)[2].frame, 2 * points[2].frame);
    }
    LEnvelopeEffect effect;
    ASSERT_EQ(effect.SetOption("points", "end-0.25s:0.1,10%+30:1,-2.5s:0"), "");
    LEnvelopeEffect loaded;
    ASSERT_TRUE(loaded.SetPresetText(effect.PresetText()));
    EXPECT_EQ(loaded.Places(), effect.Places());
    for (const char* bad : {"", "1", "x 0:1", "1 0", "99999999999 0:1"})
        EXPECT_FALSE(loaded.SetPresetText(bad)) << bad;
    EXPECT_EQ(loaded.Places(), effect.Places());
}

TEST(EnvelopeTest, TakesPlacesAndGainsThatAreNone) {
    constexpr int64_t kFarthest = LEnvelopePlace::kFarthest;
    constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
    LEnvelopeEffect effect;
    effect.SetPlaces({{kMost, 1e300, 5, std::nanf("")},
                      {std::numeric_limits<int64_t>::min(), -1e300, -5, -3.0f},
                      {0, std::nan(""), 0, std::numeric_limits<float>::infinity()}});
    const std::vector<LEnvelopePoint> points = effect.PointsFor(196000, kMost);
    EXPECT_EQ(points.front(), (LEnvelopePoint{-kFarthest, 0.0f}));
    EXPECT_EQ(points[1], (LEnvelopePoint{0, LEnvelopePlace::kMostGain}));
    EXPECT_EQ(points.back(), (LEnvelopePoint{kFarthest, 1.0f}));
    for (const float sample : Through(effect, TestSounds()[1])) ASSERT_TRUE(std::isfinite(sample));
}

}  // namespace
}  // namespace ondarix::test
