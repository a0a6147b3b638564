// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>

#include "devices/jack_server.h"
#include "devices/player_fixture.h"

namespace ondarix::test {
namespace {

// A server that takes one rate only: the player converts, and tells places in the frames of its source.
TEST_F(PlayerTest, WhatTheDeviceRefusesIsConverted) {
    JackServer server(48000, 256);
    ASSERT_TRUE(server.Start());
    server.UseHere();
    player_.SelectDevice({LDeviceMode::kJack, {}, QStringLiteral("JACK")});
    const QString recording = folder_.filePath(QStringLiteral("heard.wav"));
    for (const int32_t rate : {44100, 12000, 96000}) {
        events_ = RecordingEvents();
        const auto tone = [rate](int64_t frame, int) {
            return static_cast<float>(0.5 * std::sin(2 * M_PI * 1000 * static_cast<double>(frame) / rate));
        };
        ASSERT_TRUE(server.StartRecording(recording));
        ASSERT_TRUE(WaitFor([&] {
            return player_.Play(Numbered(rate, {rate, 2}, tone));
        })) << rate
            << ": " << player_.LastStatus();
        EXPECT_EQ(player_.Device().Rate(), 48000);
        ASSERT_TRUE(WaitForEnd());
        ExpectMonotonic(rate);
        EXPECT_EQ(events_.milliseconds.back(), 1000);
        EXPECT_EQ(player_.GetPositionFrames(), rate);

        // A second of that tone at the server's rate: 1000 waves up through zero, with the power of a sine.
        const auto heard = server.StopRecording();
        int waves = 0;
        double power = 0;
        for (size_t i = 2; i < heard.size(); i += 2) {
            waves += heard[i - 2] <= 0 && heard[i] > 0;
            power += double{heard[i]} * double{heard[i]};
        }
        EXPECT_NEAR(waves, 1000, 5) << rate;
        EXPECT_NEAR(power, 48000 * 0.125, 60) << rate;
    }
}

}  // namespace
}  // namespace ondarix::test
