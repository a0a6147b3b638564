// SPDX-License-Identifier: GPL-3.0-or-later
// Sources that lie, block or give no numbers, formats that no device has, and callers that are never quiet:
// the player stays whole, and every call of it comes back.
#include <cmath>
#include <limits>
#include <random>

#include "devices/player_fixture.h"

namespace ondarix::test {
namespace {

constexpr int kBlockedMs = 500;

class HostileTest : public PlayerTest {
  protected:
    // A call of the interface thread.
    template <typename Call>
    auto Timed(Call call) {
        QElapsedTimer timer;
        timer.start();
        struct LNoteTime {
            ~LNoteTime() { longest = std::max(longest, timer.elapsed()); }
            QElapsedTimer& timer;
            qint64& longest;
        } note{timer, longestMs_};
        return call();
    }
    void TearDown() override {
        Timed([this] { player_.Stop(); });
        EXPECT_LT(longestMs_, kPatienceMs);
        EXPECT_EQ(events_.started, events_.stopped);
        PlayerTest::TearDown();
    }
    bool Play(LSoundSourceRef source) {
        return Timed([&] { return player_.Play(std::move(source)); });
    }
    void Swap(const LSoundSourceRef& source) {
        Timed([&] {
            player_.Suspend();
            player_.SwapSource(source);
            player_.ResyncAfterSwap();
            player_.ResumeFeed();
        });
    }
    // Something of everything, for so long.
    void Harass(int ms) {
        QElapsedTimer timer;
        timer.start();
        for (int turn = 0; !timer.hasExpired(ms); ++turn) {
            const int64_t places[] = {0, 4000, -5, 1 << 20, INT64_MAX, INT64_MIN, 77};
            Timed([&] { player_.SetPositionFrames(places[turn % 7]); });
            if (turn % 3 == 0) Timed([&] { player_.SetPositionMs(places[(turn + 3) % 7]); });
            if (turn % 4 == 1) Timed([&] { player_.Pause(); });
            if (turn % 4 == 3) Timed([&] { player_.Resume(); });
            Timed([&] { player_.SetVolume(static_cast<int8_t>(turn)); });
            player_.GetPositionFrames();
            LetPass(7);
        }
        Timed([&] { player_.Resume(); });
    }
    qint64 longestMs_ = 0;
};

TEST_F(HostileTest, ManyChannelsAreAllHeard) {
    for (const uint8_t channels : {uint8_t{33}, uint8_t{255}}) {
        const LSoundFormat format{8000, channels};
        ASSERT_TRUE(Play(Numbered(2400, format, SixteenBits))) << int{channels};
        ASSERT_TRUE(WaitForEnd());
        const std::vector<float> played = Played();
        EXPECT_EQ(played.size(), size_t{2400} * channels);
        EXPECT_EQ(Mismatches(played, channels, SixteenBits), 0) << int{channels};
        ASSERT_FALSE(events_.levels.empty());
        EXPECT_EQ(events_.levels.back().size(), channels);
    }
}

TEST_F(HostileTest, RatesThatNoDeviceHas) {
    for (const int64_t rate :
         {int64_t{1}, int64_t{7}, int64_t{384000}, int64_t{2147483647}, int64_t{4294967295}})
        for (const bool limited : {false, true}) {
            auto source =
                new FunctionSource({48000, 2}, int64_t{1} << 40, SixteenBits, limited ? 4.0f : 0.5f);
            source->sampleRate = static_cast<uint32_t>(rate);
            EXPECT_EQ(Play(LSoundSourceRef(source)), rate <= INT32_MAX);
            if (!player_.IsPlaying()) continue;
            LetPass(60);
            Timed([&] { player_.SetPositionMs(20'000); });
            LetPass(60);
            EXPECT_GE(player_.GetPositionFrames(), 20 * rate);
            Timed([&] { player_.Stop(); });
        }
}

// Position and length as a broken reader may tell them.
class LyingSource final : public LSoundSource {
  public:
    using Tale = std::function<int64_t(int64_t turn)>;
    LyingSource(Tale length, Tale position)
        : LSoundSource(48000, 2), length_(std::move(length)), position_(std::move(position)) {
        peak = 0.5f;
    }
    float* Read(float* dest, int32_t frames) override { return Silence(dest, frames); }
    int64_t GetPosition() override { return position_(turn_++); }
    int64_t GetLength() override { return length_(turn_++); }

  private:
    Tale length_, position_;
    int64_t turn_ = 0;
};

TEST_F(HostileTest, LengthsAndPositionsThatCannotBe) {
    const LyingSource::Tale tales[] = {
        [](int64_t) { return int64_t{-1}; },
        [](int64_t) { return INT64_MIN; },
        [](int64_t) { return INT64_MAX; },
        [](int64_t turn) { return 200'000 - turn * 1000; },
        [](int64_t turn) { return turn % 2 ? INT64_MAX : INT64_MIN; },
        [](int64_t turn) { return static_cast<int64_t>(static_cast<uint64_t>(turn) * 0x123456789abcdef); },
    };
    for (const auto& length : tales)
        for (const auto& position : tales) {
            Play(MakeSource<LyingSource>(length, position));
            Harass(25);
            Swap(MakeSource<LyingSource>(position, length));
            LetPass(5);
            Timed([&] { player_.Stop(); });
        }
}

TEST_F(HostileTest, ASoundThatShrinksWhileItPlaysEnds) {
    auto source = MakeSource<FunctionSource>(kStereo, int64_t{480'000}, NumberedA);
    ASSERT_TRUE(Play(source));
    ASSERT_TRUE(WaitForPosition(2000));
    static_cast<FunctionSource*>(source.Get())->length = 1000;
    ASSERT_TRUE(WaitForEnd());
    EXPECT_EQ(events_.stopped, 1);
    ASSERT_TRUE(Play(source));
    ASSERT_TRUE(WaitForEnd());
}

class BlockingSource final : public LSoundSource {
  public:
    BlockingSource() : LSoundSource(48000, 2) { peak = 0.5f; }
    float* Read(float* dest, int32_t frames) override {
        ++begun;
        QThread::msleep(kBlockedMs);
        for (int ms = 0; isHeld && ms < kPatienceMs; ++ms) QThread::msleep(1);
        wasLeft = wasLeft || isHeld;
        position_ += frames;
        return Silence(dest, frames);
    }
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return int64_t{1} << 40; }
    void Seek(int64_t frame) override { position_ = frame; }
    // While it is held no read ends, unless whoever holds it waits for one.
    inline static std::atomic<bool> isHeld{false}, wasLeft{false};
    inline static std::atomic<int> begun{0};  // reads, of all

  private:
    int64_t position_ = 0;
};

// What needs the source waits for the read that is under way, once; what needs none does not wait.
TEST_F(HostileTest, ASourceThatBlocksIsWaitedForOnce) {
    ASSERT_TRUE(Play(MakeSource<BlockingSource>()));
    // The read under way when it is called, and one that begins when it has what it needs.
    const auto readsDuring = [](const std::function<void()>& call) {
        const int before = BlockingSource::begun;
        call();
        return BlockingSource::begun - before;
    };
    BlockingSource::isHeld = true;
    ASSERT_TRUE(WaitFor([] { return BlockingSource::begun > 0; }));
    player_.Pause();
    player_.Resume();
    player_.SetVolume(-5);
    player_.GetPositionFrames();
    EXPECT_FALSE(BlockingSource::wasLeft);
    BlockingSource::isHeld = false;
    EXPECT_LE(readsDuring([&] { player_.SetPositionFrames(100'000); }), 2);
    LetPass(100);
    // A swap waits a second time, for what the new sound is faded into.
    EXPECT_LE(readsDuring([&] { Swap(MakeSource<BlockingSource>()); }), 3);
    LetPass(100);
    EXPECT_LE(readsDuring([&] { player_.SetLowLatency(true); }), 2);
    player_.SetLowLatency(false);
    LetPass(100);
    Timed([&] { player_.Stop(); });
    const auto dying = std::make_unique<LSoundPlayer>();
    ASSERT_TRUE(dying->Play(MakeSource<BlockingSource>()));
    LetPass(100);
}

TEST_F(HostileTest, WhatIsNoNumberIsSilence) {
    constexpr float kInfinite = std::numeric_limits<float>::infinity();
    const auto broken = [](int64_t frame, int channel) {
        if (frame >= 4800 && frame < 9600 && frame % 3 == channel) return std::nanf("");
        if (frame >= 14400 && frame < 15000) return channel ? kInfinite : -kInfinite;
        return SixteenBits(frame, channel);
    };
    for (const float peak : {0.5f, 4.0f}) {
        ASSERT_TRUE(Play(MakeSource<FunctionSource>(kStereo, int64_t{24000}, broken, peak)));
        ASSERT_TRUE(WaitForEnd());
        const std::vector<float> played = Played();
        ASSERT_EQ(played.size(), 48000u);
        int64_t beyond = 0, wrong = 0;
        for (size_t i = 0; i < played.size(); ++i) {
            const auto frame = static_cast<int64_t>(i / 2);
            beyond += !(std::abs(played[i]) <= 1.0f);
            // The limiter lowers the blocks of a 35th of a second around what is infinite.
            if (frame < 4800 || (frame >= 9600 && frame < 12000) || frame >= 18000)
                wrong += played[i] != SixteenBits(frame, static_cast<int>(i % 2));
        }
        EXPECT_EQ(beyond, 0) << "peak " << peak;
        EXPECT_EQ(wrong, 0) << "peak " << peak;
    }
}

TEST_F(HostileTest, SwapsSeeksAndVolumesWithoutAPause) {
    const auto sound = [](int64_t frame, int channel) { return SixteenBits(frame, channel); };
    ASSERT_TRUE(Play(Numbered(48000 * 3600, kStereo, sound)));
    QElapsedTimer timer;
    timer.start();
    for (int swap = 0; swap < 100; ++swap) {
        Swap(Numbered(48000 * 3600, kStereo, sound));
        for (int db = -120; db <= 0; db += 8) player_.SetVolume(static_cast<int8_t>(db));
        LetPass(5);
    }
    // It went on meanwhile: what was taken is a good part of what the clock has asked for.
    EXPECT_GT(player_.GetPositionFrames(), timer.elapsed() * 48 / 10);
    for (int i = 0; i < 1000; ++i) Timed([&] { player_.SetPositionFrames(i * 1000); });
    LetPass(100);
    EXPECT_GE(player_.GetPositionFrames(), 999'000);
    Timed([&] { player_.Stop(); });
}

TEST_F(HostileTest, TenPlayAtOnce) {
    struct LOne {
        LSoundPlayer player;
        QString path;
        LSoundFormat format;
    };
    std::vector<std::unique_ptr<LOne>> all;
    constexpr int32_t kRates[] = {8000, 11025, 44100, 48000, 96000};
    for (int i = 0; i < 10; ++i) {
        all.push_back(std::make_unique<LOne>());
        LOne& one = *all.back();
        one.path = folder_.filePath(QString::number(i));
        one.format = {kRates[i % 5], static_cast<uint8_t>(i % 3 + 1)};
        one.player.SelectDevice(FileDevice(one.path));
        ASSERT_TRUE(
            Timed([&] { return one.player.Play(Numbered(one.format.sampleRate, one.format, SixteenBits)); }));
    }
    EXPECT_TRUE(WaitFor([&] {
        return std::none_of(all.begin(), all.end(), [](const auto& one) { return one->player.IsPlaying(); });
    }));
    for (const auto& one : all) {
        const std::vector<float> played = FileOf(one->path);
        EXPECT_EQ(played.size(), static_cast<size_t>(one->format.sampleRate) * one->format.channels);
        EXPECT_EQ(Mismatches(played, one->format.channels, SixteenBits), 0);
    }
}

// Every call in any order, players that end in whatever state they are in, under one seed.
TEST_F(HostileTest, CallsInAnyOrder) {
    std::mt19937 random(20240229);
    const auto below = [&](int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); };
    const auto source = [&] {
        const LSoundFormat formats[] = {kStereo, {44100, 1}, {96000, 40}, {8000, 6}};
        return MakeSource<FunctionSource>(formats[below(4)], int64_t{below(4) * 20000}, SixteenBits,
                                          below(2) ? 0.5f : 2.0f);
    };
    auto player = std::make_unique<LSoundPlayer>();
    player->SetListener(&events_, 4711);
    const std::function<void()> calls[] = {
        [&] { player->Play(source()); },
        [&] { player->Play(source()); },
        [&] { player->Play({}); },
        [&] { player->Stop(); },
        [&] { player->SetPositionFrames(below(80000) - 100); },
        [&] { player->SetPositionFrames(below(80000)); },
        [&] { player->SetPositionMs(below(3000)); },
        [&] { player->Pause(); },
        [&] { player->Resume(); },
        [&] { player->Suspend(); },
        [&] { player->SwapSource(source(), 0.5 * below(5)); },
        [&] { player->ResyncAfterSwap(); },
        [&] { player->ResumeFeed(); },
        [&] { player->ResumeFeed(); },
        [&] { player->SetVolume(static_cast<int8_t>(below(256) - 128)); },
        [&] { player->SetLowLatency(below(2) == 0); },
        [&] { player->SetLimiterEnabled(below(2) == 0); },
        [&] { player->ResetClipped(); },
        [&] {
            player->SelectDevice(below(3) ? LDeviceSelection{} : FileDevice(QStringLiteral("/dev/full")));
        },
        [&] {
            LetPass(below(8));
            EXPECT_GE(player->GetPositionFrames(), 0);
        },
        [&] {
            if (below(6)) return;
            const bool plays = player->IsPlaying();
            player = std::make_unique<LSoundPlayer>();
            player->SetListener(&events_, 4711);
            events_.stopped += plays;  // a player that is destroyed does not tell
        },
    };
    QElapsedTimer timer;
    timer.start();
    int turns = 0;
    for (; turns <= 200 || !timer.hasExpired(4000); ++turns)
        Timed(calls[below(static_cast<int>(std::size(calls)))]);
    player->Stop();
    player->SetListener(nullptr);
    EXPECT_EQ(events_.started, events_.stopped);
}

}  // namespace
}  // namespace ondarix::test
