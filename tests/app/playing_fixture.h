// SPDX-License-Identifier: GPL-3.0-or-later
// A real frame that plays on a device without sound.
#pragma once
#include "app/playback.h"
#include "devices/device_list.h"
#include "waiting.h"
#include "window_fixture.h"

namespace ondarix {

class PlayingTest : public WindowTest {
  protected:
    void SetUp() override {
        WindowTest::SetUp();
        StoreOutput(QStringLiteral("[Null] Without Sound"));
    }
    void TearDown() override {
        frame->Playback().Stop();
        WindowTest::TearDown();
    }
    LPlayback& Playback() { return frame->Playback(); }
    bool PlaysSoon(LPlayState state = LPlayState::kPlaying) {
        return PumpUntil([&] { return Playback().State() == state; });
    }
    template <typename T>
    T& Child(const char* name) {
        T* child = frame->findChild<T*>(QLatin1String(name));
        EXPECT_NE(child, nullptr) << name;
        return *child;
    }
};

}  // namespace ondarix
