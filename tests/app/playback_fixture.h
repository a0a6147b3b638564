// SPDX-License-Identifier: GPL-3.0-or-later
// A frame whose output is a file, so that every sample that was played can be looked at.
#pragma once
#include <cmath>
#include <cstring>
#include <vector>

#include "app/playback.h"
#include "devices/device_list.h"
#include "waiting.h"
#include "window_fixture.h"

namespace ondarix {

class PlaybackTest : public WindowTest {
  protected:
    static constexpr int64_t kRate = 48000, kFrames = 2 * kRate;

    void SetUp() override {
        WindowTest::SetUp();
        StoreOutput(QStringLiteral("file:") + In("played.raw"));
        SetSettingBool(QStringLiteral("Settings"), QStringLiteral("ReduceVolWhenRewind"), false);
    }

    LPlayback& Player() { return frame->Playback(); }
    bool Plays() { return Player().State() == LPlayState::kPlaying; }
    bool Stopped() { return Player().State() == LPlayState::kStopped; }
    bool PlaysTo(int64_t position, int ms = 2 * test::kPatienceMs) {
        return PumpUntil([&] { return Player().Position() >= position; }, ms);
    }
    bool WaitForEnd(int ms = 3 * test::kPatienceMs) {
        return PumpUntil([&] { return Stopped(); }, ms);
    }

    // Frame n has the value (n + 1) / 2^20.
    static float Value(int64_t frame_) { return static_cast<float>(frame_ + 1) * 0x1p-20f; }
    static int64_t FrameOf(float value) { return std::llround(std::ldexp(double{value}, 20)) - 1; }

    QString MakeFloats(const char* name, const std::vector<float>& samples) const {
        QFile raw(In("samples.raw"));
        EXPECT_TRUE(raw.open(QIODevice::WriteOnly));
        raw.write(reinterpret_cast<const char*>(samples.data()),
                  static_cast<qint64>(samples.size() * sizeof(float)));
        raw.close();
        Sox({"-t", "raw", "-e", "floating-point", "-b", "32", "-r", QString::number(kRate), "-c", "1",
             In("samples.raw"), "-e", "floating-point", In(name)});
        return In(name);
    }
    LSoundWindow* OpenNumbered(const char* name = "numbered.wav", int64_t frames = kFrames) {
        std::vector<float> samples(static_cast<size_t>(frames));
        for (int64_t n = 0; n < frames; ++n) samples[static_cast<size_t>(n)] = Value(n);
        return Open(MakeFloats(name, samples));
    }

    // What has been played since the device was opened last.
    std::vector<float> Played() const {
        QFile file(In("played.raw"));
        if (!file.open(QIODevice::ReadOnly)) return {};
        const QByteArray bytes = file.readAll();
        std::vector<float> samples(static_cast<size_t>(bytes.size()) / sizeof(float));
        if (!samples.empty()) std::memcpy(samples.data(), bytes.constData(), samples.size() * sizeof(float));
        return samples;
    }
    // As frames of the numbered sound.
    std::vector<int64_t> PlayedFrames() const {
        std::vector<int64_t> frames;
        for (const float value : Played()) frames.push_back(FrameOf(value));
        return frames;
    }
    static std::vector<int64_t> Range(int64_t start, int64_t end) {
        std::vector<int64_t> frames;
        for (int64_t n = start; n < end; ++n) frames.push_back(n);
        return frames;
    }

    bool Run(int id) { return frame->RunCommand(id); }
    void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(&frame->ActiveSound()->View(), key, modifiers);
    }
    QString Status() const { return frame->findChild<QLabel*>(QStringLiteral("statusPosition"))->text(); }
};

}  // namespace ondarix
