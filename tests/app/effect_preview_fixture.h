// SPDX-License-Identifier: GPL-3.0-or-later
// A frame whose sounds go into a file, and the samples of what is edited in it.
#pragma once
#include <random>

#include "app/effect_preview.h"
#include "effects/stack.h"
#include "playback_fixture.h"
#include "sound/readers.h"

namespace ondarix {

class EffectPreviewTest : public PlaybackTest {
  protected:
    static std::vector<float> SamplesOf(const LSound& sound) {
        std::vector<float> samples(static_cast<size_t>(sound.Length()) * sound.channels);
        LSoundReader reader(sound);
        reader.Read(samples.data(), static_cast<int32_t>(sound.Length()));
        return samples;
    }
    // Stereo noise, as a file of floats.
    LSoundWindow* OpenNoise(int64_t frames, uint32_t seed = 1) {
        std::mt19937 random(seed);
        std::uniform_real_distribution<float> level(-0.8f, 0.8f);
        std::vector<float> samples(static_cast<size_t>(frames) * 2);
        for (float& sample : samples) sample = level(random) + 0.1f;
        QFile raw(In("noise.raw"));
        EXPECT_TRUE(raw.open(QIODevice::WriteOnly));
        raw.write(reinterpret_cast<const char*>(samples.data()),
                  static_cast<qint64>(samples.size() * sizeof(float)));
        raw.close();
        Sox({"-t", "raw", "-e", "floating-point", "-b", "32", "-r", QString::number(kRate), "-c", "2",
             In("noise.raw"), "-e", "floating-point", In("noise.wav")});
        return Open(In("noise.wav"));
    }
    // What the preview of the whole sound works on.
    static LPreviewSoundRef SoundOf(LSoundWindow& window) {
        return std::make_shared<LPreviewSound>(LEffectOperation::Of(window.Document())->Range());
    }
    std::unique_ptr<LEffectPreview> MakePreview(LPreviewSoundRef sound, std::function<LPreviewStack()> make) {
        return std::make_unique<LEffectPreview>(Player(), frame->EditHost(), std::move(sound),
                                                std::move(make));
    }
    bool HasPlayed(size_t samples, int ms = 20000) {
        return PumpUntil([&] { return QFile(In("played.raw")).size() >= qint64(samples * sizeof(float)); },
                         ms);
    }
    size_t PlayedSoFar() const { return static_cast<size_t>(QFile(In("played.raw")).size()) / sizeof(float); }
    bool WorksOff() {
        return PumpUntil([&] { return !frame->ActiveSound()->Document().isBusy; }, 20000);
    }
};

// The first place at which what was played is not `expected` of its frame any more, from `from` on.
template <typename Expected>
size_t FirstOther(const std::vector<float>& played, size_t from, Expected expected) {
    while (from < played.size() && played[from] == expected(from)) ++from;
    return from;
}

}  // namespace ondarix
