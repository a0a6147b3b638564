// SPDX-License-Identifier: GPL-3.0-or-later
// Against the real ALSA library, with PCMs that write what they are given to a file (they take everything at
// once) and with one that plays in real time through a PulseAudio server.
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <ctime>

#include "devices/alsa_list.h"
#include "devices/attempts.h"
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

constexpr const char* kPlaysToFile = "pcm.!default { type plug slave.pcm \"fo\" }\n";
constexpr const char* kPlaysToPulse = "pcm.!default { type pulse }\n";

std::vector<float> PlayedFloats(const LAlsaConfig& config) {
    return FloatsOf(config.Played(), 4, &FloatFromF32);
}

TEST(Alsa, WhatIsTooLoudForSixteenBitsStaysAtFullScale) {
    class LLoud final : public LSoundSource {
      public:
        LLoud() : LSoundSource(48000, 1) {}
        float* Read(float* dest, int32_t frames) override {
            for (int32_t i = 0; i < frames; ++i) *dest++ = position_++ % 2 ? -1.5f : 1.5f;
            return dest;
        }
        int64_t GetPosition() override { return position_; }
        int64_t GetLength() override { return 9600; }

      private:
        int64_t position_ = 0;
    };
    const LAlsaConfig config(Only("only", "S16_LE", 48000, 1));
    const LScopedEnvironment environment(config.Environment());
    LSoundDevice device;
    device.SetSelection(AlsaSelection(QStringLiteral("only")));
    ASSERT_TRUE(device.Open(LSoundSourceRef(new LLoud)));
    device.Start();
    for (int i = 0; i < 2; ++i) device.Write(4800);
    device.MarkEnd(true);
    ASSERT_TRUE(WaitUntil([&] { return !device.IsDrained(); }));
    device.Close();
    const QByteArray bytes = config.Played();
    int64_t loud = 0;
    for (int at = 0; at + 1 < bytes.size(); at += 2) {
        const auto value = static_cast<int16_t>(static_cast<uint8_t>(bytes[at]) | bytes[at + 1] << 8);
        if (value != 0) ++loud;
        EXPECT_TRUE(value == 0 || value == 32767 || value == -32768) << value;
    }
    EXPECT_EQ(loud, 9600);
}

// A PCM that takes all at once is served by the clock: no faster while it plays, no faster while it is
// paused, and without keeping a processor busy.
TEST(Alsa, APcmThatWaitsForNobodyIsServedByTheClock) {
    const LAlsaConfig config(kPlaysToFile);
    const LScopedEnvironment environment(config.Environment());
    LSoundDevice device;
    device.SetSelection(AlsaSelection());
    bool paused = false;
    QElapsedTimer whole, pause;
    const std::clock_t before = std::clock();
    whole.start();
    const LPlayLog log = PlayAll(device, new LKnownNoise(48000, 2, 48000), [&] {
        if (!paused && device.PlayedFrames() > 24000) {
            paused = device.Pause();
            pause.start();
        }
        if (pause.isValid() && pause.elapsed() > 500) device.Resume();
    });
    const double seconds = static_cast<double>(whole.elapsed()) / 1000;
    const double busy = static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
    EXPECT_TRUE(log.drained && log.monotonic && paused);
    EXPECT_EQ(log.gaps, 0u);
    EXPECT_GT(seconds, 1.2);
    EXPECT_LT(busy, 0.3 * seconds);
    const std::vector<float> recorded = PlayedFloats(config);
    EXPECT_LT(static_cast<double>(recorded.size()) / 2, (seconds + 0.15) * 48000);
    const int64_t at = FindNoise(recorded, 2, 4800, ExactValue);
    ASSERT_GE(at, 0);
    const int64_t first = MatchingFrames(recorded, 2, at, 4800, 48000 - 4800, ExactValue);
    const int64_t rest = 48000 - 4800 - first;
    const int64_t again = FindNoise(recorded, 2, 4800 + first, ExactValue);
    ASSERT_GT(again, at + first + 12000);
    EXPECT_EQ(MatchingFrames(recorded, 2, again, 4800 + first, rest, ExactValue), rest);
}

TEST(Alsa, EveryRateAndEveryNumberOfChannelsOfAWideDevice) {
    for (const auto& [rate, channels] :
         {std::pair{8000, 1}, {12000, 2}, {44100, 2}, {96000, 10}, {44100, 33}, {22050, 255}}) {
        SCOPED_TRACE(rate);
        const LAlsaConfig config(kPlaysToFile);
        const LScopedEnvironment environment(config.Environment());
        LSoundDevice device;
        device.SetSelection(AlsaSelection());
        const LPlayLog log = PlayAll(device, new LKnownNoise(rate, channels, rate / 2));
        ExpectWholeAndExact(log, PlayedFloats(config), rate, channels, rate / 2);
    }
}

TEST(Alsa, ANarrowDeviceGetsItsChannelsAndSaysWhichRateItTakes) {
    const LAlsaConfig config(Only("only", "FLOAT_LE", 48000, 2));
    const LScopedEnvironment environment(config.Environment());
    LSoundDevice device;
    device.SetSelection(AlsaSelection(QStringLiteral("only")));
    for (const int channels : {1, 10, 33, 255}) {
        LLevelBytes levels;
        const LPlayLog log =
            PlayAll(device, new LKnownNoise(48000, channels, 9600), [&] { device.Levels(levels); });
        EXPECT_TRUE(log.drained) << channels;
        EXPECT_EQ(levels.size(), 2u) << channels;
    }
    for (const int rate : {44100, 12000, 192000, 1}) {
        EXPECT_FALSE(device.Open(LSoundSourceRef(new LKnownNoise(rate, 2, 100)))) << rate;
        EXPECT_EQ(device.GetStatus(), kDeviceRateUnsupported) << rate;
        EXPECT_EQ(device.PreferredRate(rate), 48000) << rate;
    }
}

TEST(Alsa, WhatOnlyTheLibraryCanConvertIsMapped) {
    const LAlsaConfig config(Only("only", "U8", 48000, 2));
    const LScopedEnvironment environment(config.Environment());
    LSoundDevice device;
    device.SetSelection(AlsaSelection(QStringLiteral("only")));
    const LPlayLog log = PlayAll(device, new LKnownNoise(48000, 2, 24000));
    EXPECT_TRUE(log.drained);
    EXPECT_GE(config.Played().size(), 2 * 24000);
}

TEST(Alsa, APcmThatIsNotThereFallsBackToTheDefaultAndThatOneIsRefused) {
    LSoundDevice device;
    device.SetSelection(AlsaSelection(QStringLiteral("no_such_pcm")));
    {
        const LAlsaConfig config(kPlaysToFile);
        const LScopedEnvironment environment(config.Environment());
        const LPlayLog log = PlayAll(device, new LKnownNoise(48000, 2, 24000));
        ExpectWholeAndExact(log, PlayedFloats(config), 48000, 2, 24000);
        EXPECT_TRUE(AlsaBackend().answers());
    }
    const LAlsaConfig without("pcm.!default { type hw card 31 }\n");
    const LScopedEnvironment environment(without.Environment());
    EXPECT_FALSE(device.Open(LSoundSourceRef(new LKnownNoise(48000, 2, 100))));
    EXPECT_EQ(device.GetStatus(), kDeviceRefused);
    if (!QFile::exists(QStringLiteral("/proc/asound/card0"))) {
        EXPECT_FALSE(AlsaBackend().answers());
    }
}

TEST(Alsa, PcmsOfAConfigurationAreListedAndThePlumbingIsNot) {
    const LAlsaConfig config(
        "pcm.desk { type plug slave.pcm \"nul\" hint { show on description \"Desk\" } }\n" +
        QByteArray(kPlaysToFile));
    const LScopedEnvironment environment(config.Environment());
    QStringList texts;
    for (const LDeviceInfo& device : AlsaBackend().list(LDeviceDirection::kPlayback)) {
        EXPECT_FALSE(device.isDefault);
        if (!device.selection.id.startsWith(QStringLiteral("hw:"))) texts << DeviceText(device.selection);
    }
    texts.sort();
    EXPECT_EQ(texts, QStringList({QStringLiteral("[ALSA] Desk"), QStringLiteral("[ALSA] fo"),
                                  QStringLiteral("[ALSA] nul")}));
}

TEST(Alsa, NodesThatComeAndGoAreTold) {
    const QTemporaryDir folder;
    const QString nodes = folder.filePath(QStringLiteral("snd"));
    std::atomic<int> changes{0};
    const LDeviceNodeWatch watch(nodes, [&] { ++changes; });
    const auto told = [&](const std::function<bool()>& change) {
        const int before = changes;
        EXPECT_TRUE(change());
        return WaitUntil([&] { return changes > before; });
    };
    const auto node = [&](const char* name) {
        QFile file(nodes + QLatin1String(name));
        return file.open(QIODevice::WriteOnly);
    };
    QFile other(folder.filePath(QStringLiteral("other")));
    EXPECT_TRUE(other.open(QIODevice::WriteOnly));
    QThread::msleep(500);
    EXPECT_EQ(changes, 0) << "another folder's news";
    EXPECT_TRUE(told([&] { return QDir().mkdir(nodes); }));
    EXPECT_TRUE(told([&] { return node("/controlC0"); }));
    EXPECT_TRUE(told([&] { return QFile::remove(nodes + QStringLiteral("/controlC0")); }));
    EXPECT_TRUE(told([&] { return QDir().rmdir(nodes); }));
    EXPECT_TRUE(told([&] { return QDir().mkdir(nodes); }));
    EXPECT_TRUE(told([&] { return node("/controlC1"); }));
}

// A PCM in real time, behind which stands a server that can die and hang.
class AlsaInRealTime : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(server_.Start());
        device_.SetSelection(AlsaSelection());
    }
    bool BeginToPlay(int ms) {
        if (!device_.Open(source_)) return false;
        device_.Start();
        QElapsedTimer clock;
        for (clock.start(); clock.elapsed() < ms; QThread::msleep(2))
            if (device_.HasFreeBlock()) device_.Write(device_.BlockFrames());
        return device_.GetStatus() == kDeviceGood;
    }

    LPulseServer server_;
    LAlsaConfig config_{kPlaysToPulse};
    LScopedEnvironment serverEnvironment_{server_.Environment()};
    LScopedEnvironment environment_{config_.Environment()};
    LSoundSourceRef source_{new LKnownNoise(48000, 2, 480000)};
    LSoundDevice device_;
};

TEST_F(AlsaInRealTime, WhatIsPlayedIsHeardBitForBit) {
    InOneOfSeveral([&] {
        LPulseRecorder recorder(server_);
        ASSERT_TRUE(recorder.Start(QStringLiteral("out.monitor"), 48000, 2));
        std::vector<int64_t> leads;
        std::vector<std::pair<int64_t, int64_t>> moments;  // heard, recorded
        const LPlayLog log = PlayAll(device_, new LKnownNoise(48000, 2, 96000), [&] {
            moments.emplace_back(device_.PlayedFrames(), recorder.Frames());
        });
        QThread::msleep(300);
        recorder.Interrupt();
        const int64_t at = ExpectWholeAndExact(log, recorder.Samples(), 48000, 2, 96000);
        for (const auto& [heard, frames] : moments)
            if (heard >= 24000 && heard < 91200) leads.push_back(heard - (frames - at + 4800));
        std::sort(leads.begin(), leads.end());
        ASSERT_GT(leads.size(), 20u);
        EXPECT_LT(std::abs(leads[leads.size() / 2]), 4800);
    });
}

TEST_F(AlsaInRealTime, ASeekIsHeardFromItsFirstFrame) {
    InOneOfSeveral([&] {
        LPulseRecorder recorder(server_);
        ASSERT_TRUE(recorder.Start(QStringLiteral("out.monitor"), 48000, 2));
        source_->Seek(0);
        ASSERT_TRUE(BeginToPlay(500));
        source_->Seek(240000);
        device_.SetPlayedBase(240000);
        QElapsedTimer clock;
        for (clock.start(); clock.elapsed() < kPatienceMs && device_.PlayedFrames() < 240000 + 24000;
             QThread::msleep(2))
            if (device_.HasFreeBlock()) device_.Write(device_.BlockFrames());
        device_.Close();
        recorder.Interrupt();
        const std::vector<float> recorded = recorder.Samples();
        const int64_t at = FindNoise(recorded, 2, 4800, ExactValue);
        ASSERT_GE(at, 0);
        const int64_t before = MatchingFrames(recorded, 2, at, 4800, 96000, ExactValue);
        const int64_t again = FindNoise(recorded, 2, 240000, ExactValue);
        ASSERT_GE(again, at + before);
        EXPECT_LT(again - at - before, 48000) << "silence between";
        EXPECT_GT(MatchingFrames(recorded, 2, again, 240000, 96000, ExactValue), 12000);
    });
}

TEST_F(AlsaInRealTime, ADeviceThatIsTakenAwayIsReported) {
    ASSERT_TRUE(BeginToPlay(300));
    server_.Kill();
    EXPECT_TRUE(WaitUntil([&] { return device_.GetStatus() == kDeviceLost; }));
    QElapsedTimer clock;
    clock.start();
    device_.Close();
    EXPECT_LT(clock.elapsed(), kPatienceMs);
    ASSERT_TRUE(server_.Start());
    device_.ClearStatus();
    EXPECT_TRUE(WaitUntil([&] { return BeginToPlay(300); }));
}

TEST_F(AlsaInRealTime, ADeviceThatHangsHoldsNobodyUp) {
    ASSERT_TRUE(BeginToPlay(300));
    server_.Freeze();
    QElapsedTimer clock;
    clock.start();
    device_.SetPlayedBase(0);
    device_.Close();
    EXPECT_LT(clock.restart(), kPatienceMs);
    EXPECT_FALSE(device_.Open(source_));
    EXPECT_LT(clock.restart(), kPatienceMs);
    AlsaBackend().answers();
    EXPECT_LT(clock.restart(), kPatienceMs);
    AlsaBackend().list(LDeviceDirection::kPlayback);
    EXPECT_LT(clock.restart(), kPatienceMs);
    server_.Thaw();
    EXPECT_TRUE(WaitUntil(AlsaBackend().answers));
}

}  // namespace
}  // namespace ondarix::test
