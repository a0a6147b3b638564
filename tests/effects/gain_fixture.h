// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "effects/effect.h"
#include "formats/wav_source.h"
#include "sound/sound_fixture.h"

namespace ondarix::test {

inline std::vector<float> NoiseFrames(int64_t frames, int channels, unsigned seed = 1) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> level(-0.9f, 0.9f);
    std::vector<float> samples(static_cast<size_t>(frames * channels));
    for (float& sample : samples) sample = level(random);
    return samples;
}

inline std::vector<float> SineFrames(int64_t frames, int channels, double hertz, int rate,
                                     double offset = 0) {
    std::vector<float> samples;
    for (int64_t i = 0; i < frames; ++i)
        for (int c = 0; c < channels; ++c)
            samples.push_back(static_cast<float>(
                offset +
                0.5 * std::sin(2 * std::numbers::pi * hertz * (c + 1) * static_cast<double>(i) / rate)));
    return samples;
}

struct LTestSound {
    std::string name;
    std::vector<float> samples;
    LSoundFormat format;
    int64_t Frames() const { return static_cast<int64_t>(samples.size()) / format.channels; }
};

// Somebody who speaks, 48 kHz.
inline LTestSound SpokenWords() {
    const LSoundSourceRef file = OpenWav(QStringLiteral("/usr/share/sounds/alsa/Front_Center.wav"));
    EXPECT_TRUE(file->error == kSourceGood && file->GetLength() > 10'000);
    return {"speech", ReadFrames(*file, file->GetLength()), file->Format()};
}

// Noise, sines and speech over the channel counts and rates that differ in the code or are at an end.
inline const std::vector<LTestSound>& TestSounds() {
    static const std::vector<LTestSound> sounds = [] {
        std::vector<LTestSound> all = {SpokenWords()};
        for (const int channels : {1, 2, 3, 6, 8, 33, 255}) {
            const int64_t frames = channels > 8 ? 700 : 20'011;
            const auto count = static_cast<uint8_t>(channels);
            const std::string tail = " of " + std::to_string(channels) + " channels";
            all.push_back({"noise" + tail, NoiseFrames(frames, channels), {44100, count}});
            all.push_back({"sine" + tail, SineFrames(frames, channels, 441, 196000), {196000, count}});
        }
        all.push_back({"rate 1", NoiseFrames(50, 2), {1, 2}});
        all.push_back({"one frame", NoiseFrames(1, 2), {8000, 2}});
        return all;
    }();
    return sounds;
}

inline LSoundSourceRef Open(const LTestSound& sound, float peak = 1.0f) {
    LSoundSourceRef source = MakeSource<LVectorSource>(sound.samples, sound.format);
    source->peak = peak;
    return source;
}

inline std::vector<float> Through(const LEffect& effect, const LTestSound& sound, int32_t block = 1000) {
    const LSoundSourceRef filter = effect.CreateFilter(Open(sound));
    EXPECT_EQ(filter->GetLength(), sound.Frames()) << sound.name;
    return ReadFrames(*filter, sound.Frames(), block);
}

// `gain(frame, channel)` in double, the formula as it is written down.
template <typename Gain>
void ExpectGains(const std::vector<float>& out, const LTestSound& sound, Gain gain, double tolerance) {
    ASSERT_EQ(out.size(), sound.samples.size());
    double worst = 0;
    for (size_t i = 0; i < out.size(); ++i) {
        const auto frame = static_cast<int64_t>(i) / sound.format.channels;
        const int channel = static_cast<int>(static_cast<int64_t>(i) % sound.format.channels);
        worst = std::max(worst, std::fabs(out[i] - sound.samples[i] * gain(frame, channel)));
    }
    EXPECT_LE(worst, tolerance) << sound.name;
}

// The samples are the same for any size of the blocks, from any place on, and within the peak bound.
inline void ExpectSameFromAnywhere(const LEffect& effect, const LTestSound& sound) {
    const std::vector<float> whole = Through(effect, sound, 8192);
    for (const int32_t block : {1, 7, 64, 1000})
        EXPECT_EQ(Through(effect, sound, block), whole) << sound.name << ", blocks of " << block;
    float peak = 0;
    for (const float sample : sound.samples) peak = std::max(peak, std::fabs(sample));
    const LSoundSourceRef filter = effect.CreateFilter(Open(sound, peak));
    for (const float sample : whole) ASSERT_LE(std::fabs(sample), filter->peak) << sound.name;
    for (const int64_t from : {sound.Frames() / 2, sound.Frames() - 1, int64_t{0}}) {
        filter->Seek(from);
        ASSERT_EQ(filter->GetPosition(), from);
        const std::vector<float> rest = ReadFrames(*filter, sound.Frames() - from, 333);
        EXPECT_TRUE(std::equal(rest.begin(), rest.end(), whole.begin() + from * sound.format.channels))
            << sound.name << " from " << from;
    }
}

}  // namespace ondarix::test
