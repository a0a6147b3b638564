// SPDX-License-Identifier: GPL-3.0-or-later
// Against the real ALSA library, with PCMs that write what they are given to a file (they take everything at
// once) and with one that plays in real time through a PulseAudio server.
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <ctime>

#include "devices/alsa_list.h"
#include "devices/device_list.h"
#include "devices/played_sound.h"
#include "devices/sound_servers.h"
#include "dsp/sample_convert.h"
#include "gtest/gtest.h"

namespace ondarix::test {
namespace {

LDeviceSelection AlsaSelection(const QString& pcm = {}) {
    return {LDeviceMode::kAlsa, pcm, QStringLiteral("test")};
}

// A PCM that takes one format only, over the one that writes a file.
QByteArray Only(const QByteArray& name, const QByteArray& format, int rate, int channels) {
    return "pcm." + name + " { type plug slave { pcm \"fo\" format " + format + " rate " +
           QByteArray::number(rate) + " channels " + QByteArray::number(channels) + " } }\n";
}

std::vector<float> FloatsOf(const QByteArray& bytes, int sampleBytes,
                            void (*convert)(const uint8_t*, float*, int64_t)) {
    std::vector<float> samples(static_cast<size_t>(bytes.size() / sampleBytes));
    convert(reinterpret_cast<const uint8_t*>(bytes.constData()), samples.data(),
            static_cast<int64_t>(samples.size()));
    return samples;
}

struct LSampleForm {
    const char* name;
    int bytes;
    void (*convert)(const uint8_t*, float*, int64_t);
};

class AlsaFormat : public ::testing::TestWithParam<LSampleForm> {};

TEST_P(AlsaFormat, SixteenBitsComeOutAsTheyWentIn) {
    const LSampleForm form = GetParam();
    const LAlsaConfig config(Only("only", form.name, 48000, 2));
    const LScopedEnvironment environment(config.Environment());
    LSoundDevice device;
    device.SetSelection(AlsaSelection(QStringLiteral("only")));
    const LPlayLog log = PlayAll(device, new LKnownNoise(48000, 2, 48000));
    auto recorded = FloatsOf(config.Played(), form.bytes, form.convert);
    for (float& sample : recorded)  // to the nearest value of 16 bits, closer than half a step of 24
        if (const float value = std::nearbyint(sample * 32767.0f) * kPcm16Step;
            std::abs(value - sample) < 0.5f / 8388607.0f)
            sample = value;
    ExpectWholeAndExact(log, recorded, 48000, 2, 48000);
}

INSTANTIATE_TEST_SUITE_P(All, AlsaFormat,
                         ::testing::Values(LSampleForm{"FLOAT_LE", 4, &FloatFromF32},
                                           LSampleForm{"S32_LE", 4, &FloatFromPcm32},
                                           LSampleForm{"S24_3LE", 3, &FloatFromPcm24},
                                           LSampleForm{"S16_LE", 2, &FloatFromPcm16}),
                         [](const auto& form) { return std::string(form.param.name); });

}  // namespace
}  // namespace ondarix::test
