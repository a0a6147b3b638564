// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/play_chain.h"

#include <cmath>
#include <functional>
#include <numbers>
#include <vector>

#include "gtest/gtest.h"

namespace ondarix::test {
namespace {

using Wave = std::function<float(int64_t frame, int channel)>;

float Noise(int64_t frame, int channel) {
    auto x = static_cast<uint64_t>(frame * 255 + channel + 1) * 0x9E3779B97F4A7C15u;
    x ^= x >> 29;
    return static_cast<float>(static_cast<int64_t>(x * 0xBF58476D1CE4E5B9u >> 40) - (1 << 23)) / (1 << 23);
}

// A sound by formula, which may grow.
class WaveSource final : public LSoundSource {
  public:
    WaveSource(int64_t frames, Wave wave = Noise, int channelCount = 2, int rate = 44100)
        : LSoundSource(rate, channelCount), length(frames), wave_(std::move(wave)) {
        peak = 1.0f;
    }
    float* Read(float* dest, int32_t frames) override {
        for (int32_t i = 0; i < frames; ++i, ++position_)
            for (int c = 0; c < channels; ++c)
                *dest++ = position_ >= 0 && position_ < length ? wave_(position_, c) : 0.0f;
        return dest;
    }
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return length; }
    void Seek(int64_t frame) override { position_ = std::min(frame, length); }
    bool IsGrowing() override { return growing; }
    void WaitForData(uint32_t ms) override { waited = ms; }
    bool Query(uint32_t id, void*) override { return id == 7; }

    int64_t length;
    bool growing = false;
    uint32_t waited = 0;

  private:
    Wave wave_;
    int64_t position_ = 0;
};

LPlayRequest RequestOf(int64_t frames, Wave wave = Noise, int channels = 2) {
    LPlayRequest request;
    request.sound = MakeSource<WaveSource>(frames, std::move(wave), channels);
    return request;
}

std::vector<float> ReadOn(LSoundSource& source, int64_t frames, int32_t block = kBlockFrames) {
    std::vector<float> out(static_cast<size_t>(frames * source.channels));
    float* at = out.data();
    for (int64_t left = frames; left > 0; left -= block)
        at = source.Read(at, static_cast<int32_t>(std::min<int64_t>(block, left)));
    EXPECT_EQ(at, out.data() + out.size());
    return out;
}

struct ChainKind {
    const char* name;
    std::function<void(LPlayRequest&)> set;
    bool seekIsExact = true;
};

const ChainKind kKinds[] = {
    {"range", [](LPlayRequest& r) { r.start = 1000, r.end = 30001; }},
    {"loop", [](LPlayRequest& r) { r.start = 77, r.end = 1234, r.loops = 30; }},
    {"endless", [](LPlayRequest& r) { r.first = 20000, r.loops = kLoopForever; }},
    {"slow tape", [](LPlayRequest& r) { r.speed = 0.2, r.keepPitch = false; }},
    {"fast tape", [](LPlayRequest& r) { r.speed = 5, r.keepPitch = false, r.loops = 3; }},
    {"odd tape", [](LPlayRequest& r) { r.speed = 1.37, r.keepPitch = false, r.start = 5; }},
    {"rewind", [](LPlayRequest& r) { r.first = 40000, r.skip = -1.5; }},
    {"forward", [](LPlayRequest& r) { r.first = 100, r.skip = 1.5; }},
    {"stretch", [](LPlayRequest& r) { r.speed = 0.5; }, false},
    {"endless stretch", [](LPlayRequest& r) { r.speed = 2, r.loops = kLoopForever; }, false},
};

TEST(PlayChain, AnyBlockSizeAndASeekGiveTheSameSamples) {
    for (const ChainKind& kind : kKinds) {
        LPlayRequest request = RequestOf(50000);
        kind.set(request);
        const LPlayChain chain(request);
        LSoundSource& source = *chain.Source();
        const int64_t begin = source.GetPosition();
        const int64_t frames = std::min<int64_t>(source.GetLength() - begin, 60000) + 500;
        const std::vector<float> whole = ReadOn(source, frames);
        for (const int32_t block : {1, 61, 1153, 8191}) {
            const LPlayChain again(request);
            EXPECT_EQ(ReadOn(*again.Source(), frames, block), whole) << kind.name << ", blocks of " << block;
        }
        if (!kind.seekIsExact) continue;
        for (const int64_t place : {int64_t{12345}, int64_t{3}, int64_t{6000}, int64_t{0}}) {
            source.Seek(begin + place);
            EXPECT_EQ(source.GetPosition(), begin + place);
            const std::vector<float> part = ReadOn(source, 700, 300);
            EXPECT_TRUE(std::equal(part.begin(), part.end(), whole.begin() + place * 2))
                << kind.name << place;
        }
    }
}

TEST(PlayChain, PassesFollowEachOtherFrameByFrame) {
    LPlayRequest request = RequestOf(5000);
    request.start = 100;
    request.end = 1100;
    request.first = 700;
    request.loops = 3;
    const LPlayChain chain(request);
    LSoundSource& source = *chain.Source();
    EXPECT_EQ(source.GetPosition(), 600);
    EXPECT_EQ(source.GetLength(), 3000);
    const std::vector<float> out = ReadOn(source, 2500, 333);
    for (int64_t n = 0; n < 2500; ++n) {
        const int64_t played = 600 + n, sound = 100 + played % 1000;
        ASSERT_EQ(out[static_cast<size_t>(2 * n)], played < 3000 ? Noise(sound, 0) : 0.0f) << n;
        ASSERT_EQ(chain.ToSound(played), played < 3000 ? sound : 1100) << n;
        if (played >= 3000) continue;
        ASSERT_EQ(chain.FromSound(sound, played), played);
    }
    EXPECT_EQ(chain.FromSound(1099, 2000), 2999);
    EXPECT_EQ(chain.FromSound(0, 2500), 2000);
    EXPECT_EQ(chain.FromSound(4000, 2500), 3000);
}

TEST(PlayChain, LoopingIsTurnedOnAndOffWhileItPlays) {
    LPlayRequest request = RequestOf(1000);
    LPlayChain chain(request);
    LSoundSource& source = *chain.Source();
    EXPECT_FALSE(chain.IsLooping());
    ReadOn(source, 1000);
    EXPECT_EQ(source.GetLength(), 1000);
    chain.SetLooping(true);
    EXPECT_GT(source.GetLength() - source.GetPosition(), int64_t{1} << 50);
    EXPECT_EQ(ReadOn(source, 1)[0], Noise(0, 0));
    ReadOn(source, 1499);
    chain.SetLooping(false);
    EXPECT_EQ(source.GetLength(), 3000);
    ReadOn(source, 500);
    chain.SetLooping(true);
    source.Read(std::vector<float>(200).data(), 100);
    source.Seek(3000);
    chain.SetLooping(false);  // nothing of the fourth pass has been read
    EXPECT_EQ(source.GetLength(), 3000);
    chain.SetLooping(true);
    ReadOn(source, 3700);
    chain.SetLooping(false, 4200);  // the fifth is heard, the seventh has been read
    EXPECT_EQ(source.GetLength(), 5000);
    EXPECT_EQ(chain.ToSound(4999), 999);
    EXPECT_EQ(chain.ToSound(6000), 1000);
}

TEST(PlayChain, PlacesAreFoundAgainAtEverySpeed) {
    for (int index = 0; index < kPlaySpeeds; ++index) {
        LPlayRequest request = RequestOf(100'000);
        request.start = 1000;
        request.end = 51'001;
        request.loops = 4;
        request.speed = PlaySpeedFactor(index);
        request.keepPitch = index % 2 == 0;
        const LPlayChain chain(request);
        const double speed = request.speed, once = 50'001 / speed;
        EXPECT_EQ(chain.Source()->GetLength(), std::llround(4 * once));
        for (int pass = 0; pass < 4; ++pass) {
            const int64_t played = std::llround((pass + 0.5) * once);
            for (const int64_t frame : {1000, 1001, 20'000, 51'000}) {
                const int64_t there = chain.FromSound(frame, played);
                EXPECT_NEAR(static_cast<double>(chain.ToSound(there)), static_cast<double>(frame),
                            speed + 0.5);
                EXPECT_NEAR(static_cast<double>(there),
                            (pass * 50'001.0 + static_cast<double>(frame - 1000)) / speed, 1.01);
            }
        }
    }
    EXPECT_EQ(PlaySpeedFactor(9), 1.0);
    EXPECT_EQ(PlaySpeedFactor(-1), 1.0);
}

Wave Sine(double hertz) {
    return [=](int64_t n, int) {
        return static_cast<float>(0.5 *
                                  std::sin(2 * std::numbers::pi * hertz * static_cast<double>(n) / 44100));
    };
}

TEST(PlayChain, ATapeRunsFasterWithItsPitchAndWithoutAliases) {
    for (const double speed : {0.1, 0.5, 1.25, 3.0, 5.0}) {
        for (const double hertz : {300.0, 10'000.0}) {
            LPlayRequest request = RequestOf(200'000, Sine(hertz), 1);
            request.speed = speed;
            request.keepPitch = false;
            const LPlayChain chain(request);
            LSoundSource& source = *chain.Source();
            EXPECT_EQ(source.GetLength(), std::llround(200'000 / speed));
            EXPECT_EQ(source.sampleRate, 44100u);
            source.Seek(2000);
            const std::vector<float> out = ReadOn(source, 30'000);
            const double heard = hertz * speed;
            double worst = 0;
            for (size_t i = 0; i < out.size(); ++i) {
                const double phase = 2 * std::numbers::pi * heard * static_cast<double>(i + 2000) / 44100;
                const double wanted = heard < 20'000 ? 0.5 * std::sin(phase) : 0.0;
                worst = std::max(worst, std::fabs(static_cast<double>(out[i]) - wanted));
            }
            EXPECT_LT(worst, 1e-4) << speed << "x, " << hertz << " Hz";
        }
    }
}

TEST(PlayChain, AKeptPitchIsKeptOverTheJointsOfALoop) {
    // 441 frames hold a whole number of periods, so that a loop of them is one long sine.
    LPlayRequest request = RequestOf(44'100, Sine(1000), 1);
    request.loops = 5;
    request.speed = 2;
    const LPlayChain chain(request);
    EXPECT_EQ(chain.Source()->GetLength(), 5 * 22'050);
    const std::vector<float> out = ReadOn(*chain.Source(), 5 * 22'050 - 4000);
    int turns = 0;
    for (size_t i = 1; i < out.size(); ++i) turns += out[i - 1] < 0 && out[i] >= 0;
    EXPECT_NEAR(turns, static_cast<double>(out.size()) * 1000 / 44'100, 2);
}

TEST(PlayChain, AtNormalSpeedNothingIsTouchedAndErrorsPass) {
    LPlayRequest request = RequestOf(20'000);
    LPlayChain chain(request);
    EXPECT_EQ(chain.Source()->peak, 1.0f);
    EXPECT_TRUE(chain.Source()->Query(7, nullptr));
    EXPECT_FALSE(chain.Source()->Query(8, nullptr));
    const std::vector<float> out = ReadOn(*chain.Source(), 20'000, 1000);
    for (int64_t n = 0; n < 40'000; ++n) ASSERT_EQ(out[static_cast<size_t>(n)], Noise(n / 2, n % 2));
    for (const double speed : {1.0, 2.0}) {
        request.sound = FailedSource(kSourceCannotOpen);
        request.speed = speed;
        EXPECT_EQ(LPlayChain(request).Source()->error, kSourceCannotOpen);
        request.skip = 7;
        EXPECT_EQ(LPlayChain(request).Source()->error, kSourceCannotOpen);
        request.skip = 0;
    }
    // Ranges that are not there.
    request = RequestOf(1000);
    request.start = 2000;
    EXPECT_EQ(LPlayChain(request).Source()->GetLength(), 0);
    request.start = 500;
    request.end = 200;
    request.loops = kLoopForever;
    EXPECT_EQ(LPlayChain(request).Source()->GetLength(), 0);
}

// A recording that goes on is played as far as it is there, and all of it in the end.
TEST(PlayChain, FollowsASoundThatGrows) {
    for (const double speed : {1.0, 0.5, 2.0}) {
        for (const bool keepPitch : {false, true}) {
            LPlayRequest request = RequestOf(20'000);
            auto& sound = static_cast<WaveSource&>(*request.sound);
            sound.growing = true;
            request.speed = speed;
            request.keepPitch = keepPitch;
            request.start = 1000;
            request.loops = 2;
            const LPlayChain chain(request);
            LSoundSource& source = *chain.Source();
            EXPECT_TRUE(source.IsGrowing());
            source.WaitForData(17);
            EXPECT_EQ(sound.waited, 17u);
            std::vector<float> out;
            for (; sound.length < 100'000; sound.length += 9'999) {
                const int64_t there = source.GetLength() - source.GetPosition();
                EXPECT_LE(static_cast<double>(source.GetLength()) * speed, static_cast<double>(sound.length));
                const auto more = ReadOn(source, std::max<int64_t>(there, 0), 500);
                out.insert(out.end(), more.begin(), more.end());
            }
            sound.growing = false;
            const int64_t rest = source.GetLength() - source.GetPosition();
            const auto more = ReadOn(source, rest, 500);
            out.insert(out.end(), more.begin(), more.end());
            LPlayRequest complete = RequestOf(sound.length);
            complete.speed = speed;
            complete.keepPitch = keepPitch;
            complete.start = 1000;
            complete.loops = 2;
            const LPlayChain finished(complete);
            EXPECT_EQ(ReadOn(*finished.Source(), finished.Source()->GetLength()), out) << speed << keepPitch;
        }
    }
}

TEST(PlayChain, WindingPlaysPiecesOfTheSound) {
    for (const double skip : {-7.0, 7.0}) {
        LPlayRequest request = RequestOf(400'000);
        request.start = 1000;
        request.first = skip < 0 ? 301'000 : 41'000;
        request.skip = skip;
        const LPlayChain chain(request);
        LSoundSource& source = *chain.Source();
        // Back: from 300000 in steps of 56000, six pieces; forth: from 40000 to 399000, seven, 23000 left.
        EXPECT_EQ(source.GetLength(), skip < 0 ? 6 * 8000 : 7 * 8000);
        const std::vector<float> out = ReadOn(source, source.GetLength());
        for (int64_t n = 0; n < source.GetLength(); ++n) {
            const int64_t piece = n / 8000, in = n % 8000;
            const int64_t frame = request.first + piece * static_cast<int64_t>(8000 * skip) + in;
            float wanted = Noise(frame, 1);
            if (piece > 0 && in < 256) {
                const float share = static_cast<float>(in) / 256;
                wanted =
                    wanted * share + (1 - share) * Noise(frame - static_cast<int64_t>(8000 * (skip - 1)), 1);
            }
            ASSERT_NEAR(out[static_cast<size_t>(2 * n + 1)], wanted, in < 256 ? 1e-6 : 0) << n;
            ASSERT_EQ(chain.ToSound(n), frame);
            ASSERT_EQ(chain.FromSound(frame, 0), n);
        }
        EXPECT_EQ(chain.ToSound(source.GetLength()), skip < 0 ? 1000 : 400'000);
    }
}

TEST(Scrub, GoesThereSmoothlyAndIsSilentAtTheTarget) {
    auto sound = MakeSource<WaveSource>(400'000, Sine(220), 1);
    LScrubSource scrub(sound, 200'000);
    const auto still = [](const std::vector<float>& out) {
        return std::all_of(out.begin(), out.end(), [](float v) { return v == 0.0f; });
    };
    EXPECT_TRUE(still(ReadOn(scrub, 5000)));
    float before = 0;
    int64_t from = 200'000;
    for (const int64_t target : {int64_t{210'000}, int64_t{90'000}, int64_t{90'300}, int64_t{0}, int64_t{-50},
                                 int64_t{399'000}, int64_t{500'000}}) {
        scrub.SetTarget(target);
        const int64_t reached = std::clamp<int64_t>(target, 0, 400'000);
        int64_t frames = 0;
        while (scrub.SoundFrame() != reached && frames < 400'000) {
            const int64_t at = scrub.SoundFrame();
            for (const float v : ReadOn(scrub, 100)) {
                // 0.5 * 2 pi * 220 / 44100 a frame at four times the speed, and the change of the gain.
                ASSERT_LT(std::fabs(v - before), 0.085f) << target << ", after " << frames;
                before = v;
            }
            frames += 100;
            ASSERT_LE(std::abs(scrub.SoundFrame() - at), 401);
        }
        ASSERT_EQ(scrub.SoundFrame(), reached);
        // No longer than the way at full speed, and half a second to begin and end.
        EXPECT_LT(frames, std::abs(reached - from) / 4 + 22'050) << target;
        ReadOn(scrub, 200);
        EXPECT_TRUE(still(ReadOn(scrub, 3000))) << target;
        from = reached;
        before = 0;
    }
}

// A hand that goes on evenly is followed at its speed, and block sizes do not matter.
TEST(Scrub, FollowsAnEvenHandAtItsSpeed) {
    const auto follow = [](int32_t block) {
        LScrubSource scrub(MakeSource<WaveSource>(400'000, Sine(1000), 1), 10'000);
        std::vector<float> out;
        for (int step = 1; step <= 120; ++step) {  // 60 a second, as the mouse moves
            scrub.SetTarget(10'000 + step * 735);
            const auto more = ReadOn(scrub, 735, block);
            out.insert(out.end(), more.begin(), more.end());
        }
        return out;
    };
    const std::vector<float> out = follow(735);
    EXPECT_EQ(follow(49), out);
    int turns = 0;
    for (size_t i = 44'100; i + 1 < out.size(); ++i) turns += out[i] < 0 && out[i + 1] >= 0;
    EXPECT_NEAR(turns, 1000, 10);
}

TEST(Scrub, HearsWhatWasRecordedMeanwhile) {
    auto sound = MakeSource<WaveSource>(
        2000, [](int64_t, int) { return 0.5f; }, 2);
    LScrubSource scrub(sound, 1000);
    scrub.SetTarget(9000);
    ReadOn(scrub, 20'000);
    EXPECT_EQ(scrub.SoundFrame(), 2000);
    static_cast<WaveSource&>(*sound).length = 10'000;
    ReadOn(scrub, 1000);
    EXPECT_GT(scrub.SoundFrame(), 2500);
    EXPECT_NEAR(ReadOn(scrub, 10)[0], 0.5f, 1e-5f);
}

}  // namespace
}  // namespace ondarix::test
