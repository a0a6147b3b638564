// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/playback_tap.h"

#include "devices/player_fixture.h"
#include "devices/player_map.h"

namespace ondarix::test {
namespace {

TEST(PlaybackTap, FadesOverOneBlockFromWhatItHolds) {
    LPlaybackTap tap;
    tap.Reset();
    LTapSource old(Numbered(9000), tap);
    std::vector<float> block(2000 * 2);
    old.Read(block.data(), 2000);
    EXPECT_EQ(block[3999], NumberedA(1999, 1));
    old.Seek(1200);  // its place in the ring goes with it
    tap.ArmFade();
    LSoundSourceRef child = Numbered(9000, kStereo, NumberedB);
    child->Seek(1200);
    LTapSource fresh(child, tap);
    fresh.Read(block.data(), 500);
    for (int i = 0; i < 500; ++i) {
        const float b = static_cast<float>(i) / 500;
        for (int c = 0; c < 2; ++c)
            EXPECT_NEAR(block[static_cast<size_t>(i * 2 + c)],
                        NumberedA(1200 + i, c) * (1 - b) + NumberedB(1200 + i, c) * b, 1e-6f);
    }
    fresh.Read(block.data(), 500);
    EXPECT_EQ(block[0], NumberedB(1700, 0));
    tap.CancelFade();
    fresh.Seek(0);
    fresh.Read(block.data(), 1);
    EXPECT_EQ(block[0], NumberedB(0, 0));
}

TEST(PlaybackTap, HoldsTwoMiSamplesAndGoesRound) {
    LPlaybackTap tap;
    tap.Reset();
    LTapSource old(MakeSource<FunctionSource>(LSoundFormat{48000, 3}, int64_t{1} << 30, SixteenBits), tap);
    std::vector<float> block(8000 * 3);
    for (int i = 0; i < 300; ++i) old.Read(block.data(), 8000);  // 7.2 million samples
    const int64_t back = 0x200000 / 3 - 8000;
    old.Seek(old.GetPosition() - back);
    const int64_t at = old.GetPosition();
    tap.ArmFade();
    LTapSource silent(Numbered(0, {48000, 3}), tap);
    silent.Read(block.data(), 4000);
    for (int i = 0; i < 4000; ++i)
        for (int c = 0; c < 3; ++c)
            ASSERT_NEAR(block[static_cast<size_t>(i * 3 + c)],
                        SixteenBits(at + i, c) * (1 - static_cast<float>(i) / 4000), 1e-6f);
}

TEST(PlaybackTap, MoreThanThirtyTwoChannelsPassUnseen) {
    LPlaybackTap tap;
    tap.Reset();
    for (const int channels : {33, 32}) {
        LTapSource source(Numbered(5000, {48000, static_cast<uint8_t>(channels)}), tap);
        tap.ArmFade();
        std::vector<float> block(100 * static_cast<size_t>(channels));
        source.Read(block.data(), 100);
        EXPECT_EQ(tap.Place(), channels == 33 ? 0u : 3200u);
        EXPECT_EQ(block[0] == NumberedA(0, 0), channels == 33);  // the fade was given up, or is from silence
        source.Read(block.data(), 1);
        EXPECT_EQ(block[0], NumberedA(100, 0));
    }
}

TEST(PlayerMap, IsExactMonotonicAndWithoutDriftAtAnyRates) {
    const int32_t rates[] = {8000, 11025, 44100, 48000, 96000, 192000};
    for (const int32_t given : rates) {
        for (const int32_t device : rates) {
            LPlayMap map;
            const int64_t begin = map.ToDeviceRate(0) + 12345;
            map.Begin(begin, 777, given, device);
            EXPECT_EQ(map.ToGiven(begin), 777);
            const int64_t hours = int64_t{device} * 36000;
            EXPECT_EQ(map.ToGiven(begin + hours), 777 + int64_t{given} * 36000);
            // A second before the swap was two seconds of a sound that counts double now.
            map.Continue(begin + hours, 1000000, given, 2.0);
            EXPECT_EQ(map.ToGiven(begin + hours - device), 1000000 - 2 * given);
            int64_t last = 0;
            for (int64_t frame = begin + hours - 500; frame < begin + hours + 500; ++frame) {
                EXPECT_GE(map.ToGiven(frame), last);
                last = map.ToGiven(frame);
            }
        }
    }
}

}  // namespace
}  // namespace ondarix::test
