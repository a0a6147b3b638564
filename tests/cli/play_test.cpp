// SPDX-License-Identifier: GPL-3.0-or-later
// The real program plays: into a file, without sound, and on the four sound servers, whose own recorders tell
// what was heard.
#include <QJsonArray>
#include <cmath>
#include <csignal>
#include <cstring>
#include <numbers>
#include <thread>

#include "cli/plain_wav.h"
#include "cli/program.h"
#include "devices/jack_server.h"
#include "devices/pipewire_server.h"
#include "devices/sound_servers.h"
#include "dsp/sample_convert.h"

namespace ondarix::test {
namespace {

std::vector<float> Floats(const QByteArray& bytes) {
    std::vector<float> samples(static_cast<size_t>(bytes.size() / 4));
    if (!samples.empty()) std::memcpy(samples.data(), bytes.constData(), samples.size() * 4);
    return samples;
}

// Noise in 16 bits, made by another program; `silence` seconds before it.
PlainWav SoxNoise(const QString& path, int rate, double seconds, double silence = 0) {
    RunTool("sox", {"-V1", "-R", "-n", "-r", QString::number(rate), "-c", "2", "-b", "16", path, "synth",
                    QString::number(seconds), "whitenoise", "vol", "0.9", "pad", QString::number(silence)});
    return ReadPlainWav(path);
}

// Frames [from, to) as the engine sees them.
std::vector<float> Expected(const PlainWav& wav, int64_t from, int64_t to) {
    std::vector<float> samples;
    for (int64_t i = from * wav.channels; i < to * wav.channels; ++i) {
        int16_t value = 0;
        std::memcpy(&value, wav.data.constData() + i * 2, 2);
        samples.push_back(static_cast<float>(value) * kPcm16Step);
    }
    return samples;
}

TEST(CliPlay, AFileDeviceGetsTheSamplesOfTheFile) {
    const Home home;
    const PlainWav wav = SoxNoise(home.File("in.wav"), 44100, 0.5);
    const int64_t frames = wav.Frames();
    const auto play = [&](const QStringList& options, const std::vector<float>& wanted) {
        const Outcome outcome =
            home.Run(QStringList{"play", "in.wav", "--device", "file:out.raw", "--json"} + options);
        ASSERT_EQ(outcome.status, 0) << outcome.err.toStdString();
        const auto got = Floats(FileContent(home.File("out.raw")));
        EXPECT_EQ(got.size(), wanted.size());
        EXPECT_TRUE(got == wanted) << options.join(' ').toStdString();
        const QJsonObject json = outcome.Json();
        EXPECT_EQ(json["frames"].toInteger(), std::ssize(wanted) / 2);
        EXPECT_NEAR(json["seconds"].toDouble(), static_cast<double>(wanted.size()) / 2 / 44100, 1e-9);
        EXPECT_EQ(json["sampleRate"].toInt(), 44100);
        EXPECT_EQ(json["deviceRate"].toInt(), 44100);
        EXPECT_EQ(json["channels"].toInt(), 2);
        EXPECT_EQ(json["backend"].toString(), "Null");
        EXPECT_EQ(json["cancelled"].toBool(true), false);
    };
    play({}, Expected(wav, 0, frames));
    play({"--from", "1000", "--to", "end-250ms"}, Expected(wav, 1000, frames - 11025));
    std::vector<float> thrice;
    for (int pass = 0; pass < 3; ++pass) {
        const auto once = Expected(wav, 777, 5000);
        thrice.insert(thrice.end(), once.begin(), once.end());
    }
    play({"--from", "777", "--to", "5000", "--loop", "3"}, thrice);
    play({"--from", "300", "--to", "300"}, {});
    std::vector<float> softer = Expected(wav, 0, 4000);
    for (float& sample : softer) sample *= std::pow(10.0f, -6.0f / 20);
    home.Run({"play", "in.wav", "--to", "4000", "--volume", "-6", "--device", "file:out.raw"});
    const auto heard = Floats(FileContent(home.File("out.raw")));
    ASSERT_EQ(heard.size(), softer.size());
    for (size_t i = 0; i < heard.size(); ++i) ASSERT_NEAR(heard[i], softer[i], 1e-6);
    EXPECT_EQ(home.Leftovers(), QStringList());
}

// Into a pipe the size cannot be written afterwards: it looks as if the file still grew.
TEST(CliPlay, AFileWhoseHeaderWasLeftOpenComesToItsEnd) {
    const Home home;
    SoxNoise(home.File("in.wav"), 44100, 0.5);
    RunTool("sh", {"-c", "ffmpeg -loglevel error -i '" + home.File("in.wav") + "' -f wav - > '" +
                             home.File("piped.wav") + "'"});
    const Outcome outcome = home.Run({"play", "piped.wav", "--device", "file:out.raw"});
    EXPECT_EQ(outcome.status, 0) << outcome.err.toStdString();
    EXPECT_EQ(FileContent(home.File("out.raw")).size(), 22050 * 2 * 4);
}

TEST(CliPlay, SpeedChangesTheLengthAndATapeThePitchToo) {
    const Home home;
    RunTool("sox", {"-V1", "-n", "-r", "48000", "-c", "1", "-b", "16", home.File("in.wav"), "synth", "1",
                    "sine", "500", "vol", "0.5"});
    for (const bool tape : {false, true}) {
        QStringList words = {"play", "in.wav", "--speed", "2", "--device", "file:out.raw"};
        if (tape) words += "--tape";
        const Outcome outcome = home.Run(words);
        ASSERT_EQ(outcome.status, 0) << outcome.err.toStdString();
        EXPECT_EQ(outcome.out.count('\n'), 1);
        EXPECT_TRUE(outcome.out.startsWith("Playing in.wav (48000 Hz, ")) << outcome.out.toStdString();
        EXPECT_TRUE(outcome.out.contains("[Null] file:out.raw")) << outcome.out.toStdString();
        const auto out = Floats(FileContent(home.File("out.raw")));
        const size_t step = out.size() / 24000;  // mono may be played on two channels
        ASSERT_EQ(out.size(), 24000 * step);
        int turns = 0;
        for (size_t i = step; i < out.size(); i += step) turns += out[i - step] < 0 && out[i] >= 0;
        EXPECT_NEAR(turns, tape ? 500 : 250, 2);
    }
}

TEST(CliPlay, WhatCannotBeIsToldInOneLine) {
    const Home home;
    SoxNoise(home.File("in.wav"), 8000, 0.1);
    WriteFile(home.File("text.wav"), "no sound at all");
    struct Case {
        QStringList words;
        int status;
        const char* text;
    };
    const Case cases[] = {
        {{}, 64, "missing"},
        {{"in.wav", "in.wav"}, 64, "unexpected"},
        {{"in.wav", "--speed", "0.05"}, 64, "--speed"},
        {{"in.wav", "--speed", "nan"}, 64, "--speed"},
        {{"in.wav", "--speed", "fast"}, 64, "--speed"},
        {{"in.wav", "--loop", "0"}, 64, "--loop"},
        {{"in.wav", "--loop", "-1"}, 64, "--loop"},
        {{"in.wav", "--loop", "ever"}, 64, "--loop"},
        {{"in.wav", "--volume", "1"}, 64, "--volume"},
        {{"in.wav", "--volume", "-128"}, 64, "--volume"},
        {{"in.wav", "--from", "here"}, 64, "--from"},
        {{"in.wav", "--from", "801"}, 2, "outside the sound"},
        {{"in.wav", "--to", "-1"}, 2, "outside the sound"},
        {{"in.wav", "--from", "500", "--to", "20"}, 2, "--to lies before"},
        {{"absent.wav"}, 2, "File Not Found"},
        {{"text.wav"}, 2, "no sound file"},
        {{"in.wav", "--device", "No Such Device"}, 2, "ondarix-cli devices"},
        {{"in.wav", "--device", "file:absent/out.raw"}, 2, "cannot be opened"},
        {{"in.wav", "--device", "file:/dev/full"}, 2, "can take no more"},
    };
    for (const Case& one : cases) {
        const Outcome outcome =
            home.Run(QStringList{"play"} + one.words +
                     QStringList{"--device", "null"}.mid(one.words.contains("--device") ? 2 : 0));
        const std::string line = one.words.join(' ').toStdString() + ": " + outcome.err.toStdString();
        EXPECT_EQ(outcome.status, one.status) << line;
        EXPECT_EQ(outcome.ErrorLines(), 1) << line;
        EXPECT_TRUE(outcome.err.contains(one.text)) << line;
    }
    const QJsonObject json = home.Run({"play", "--json", "in.wav", "--device", "No Such"}).Json();
    EXPECT_EQ(json["status"].toInt(), 2);
    EXPECT_TRUE(json["error"].toString().contains("No Such"));
}

TEST(CliPlay, ASignalStopsIt) {
    const Home home;
    SoxNoise(home.File("in.wav"), 44100, 0.25);
    for (const int number : {SIGINT, SIGTERM}) {
        QFile::remove(home.File("out.raw"));
        const auto process =
            home.Start({"play", "in.wav", "--loop", "forever", "--device", "file:out.raw", "--json"});
        // Two passes at least.
        ASSERT_TRUE(WaitUntil([&] { return QFile(home.File("out.raw")).size() > 4 * 2 * 2 * 12'000; }));
        ASSERT_EQ(kill(static_cast<pid_t>(process->processId()), number), 0);
        const Outcome outcome = Wait(*process);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, "ondarix-cli: cancelled\n");
        const QJsonObject json = outcome.Json();
        EXPECT_TRUE(json["cancelled"].toBool());
        EXPECT_GT(json["frames"].toInteger(), 22'050);
        EXPECT_LE(json["frames"].toInteger(), QFile(home.File("out.raw")).size() / 8);
    }
}

// A recorder that has written its header and goes on writing.
TEST(CliPlay, AFileIsPlayedWhileItGrows) {
    const Home home;
    const PlainWav wav = SoxNoise(home.File("whole.wav"), 44100, 1.5);
    const QByteArray header = PlainWav{1, 16, 44100, 2, {}}.ToBytes();
    QFile file(home.File("in.wav"));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
    constexpr qint64 kFirst = 4 * 10'000;
    file.write(header + wav.data.left(kFirst));
    const auto process = home.Start({"play", "in.wav", "--device", "file:out.raw", "--json"});
    ASSERT_TRUE(WaitUntil([&] { return QFile(home.File("out.raw")).size() >= 2 * kFirst; }));
    EXPECT_EQ(process->state(), QProcess::Running);
    for (qint64 at = kFirst; at < wav.data.size(); at += 4 * 4000) {
        file.write(wav.data.mid(at, 4 * 4000));
        std::this_thread::sleep_for(std::chrono::milliseconds(40));
    }
    const QByteArray finished = PlainWav{1, 16, 44100, 2, wav.data}.ToBytes().left(header.size());
    file.seek(0);
    file.write(finished);
    file.close();
    const Outcome outcome = Wait(*process);
    EXPECT_EQ(outcome.status, 0) << outcome.err.toStdString();
    EXPECT_EQ(outcome.Json()["frames"].toInteger(), wav.Frames());
    const auto got = Floats(FileContent(home.File("out.raw")));
    EXPECT_TRUE(got == Expected(wav, 0, wav.Frames())) << got.size() / 2 << " of " << wav.Frames();
}

// --- Servers. The sound begins with a tenth of a second of silence, while they settle.

// Where `wanted` begins in what was recorded, both interleaved: its frame, or -1. 32 frames settle it.
int64_t FindIn(const std::vector<float>& recorded, const std::vector<float>& wanted, size_t channels) {
    const size_t probe = 32 * channels;
    for (size_t at = 0; at + probe <= recorded.size(); at += channels) {
        const auto begin = recorded.begin() + static_cast<std::ptrdiff_t>(at);
        if (std::equal(wanted.begin(), wanted.begin() + static_cast<std::ptrdiff_t>(probe), begin))
            return static_cast<int64_t>(at / channels);
    }
    return -1;
}

void ExpectHeard(const std::vector<float>& recorded, const PlainWav& wav, int64_t silence) {
    const auto wanted = Expected(wav, silence, wav.Frames());
    const int64_t at = FindIn(recorded, wanted, 2);
    ASSERT_GE(at, 0) << "not in the " << recorded.size() << " samples that were recorded";
    const auto begin = recorded.begin() + 2 * at;
    ASSERT_GE(recorded.end() - begin, std::ssize(wanted));
    EXPECT_TRUE(std::equal(wanted.begin(), wanted.end(), begin));
}

// The number of drop-outs.
int PlayOn(const Home& home, const QString& device, const QString& backend, int deviceRate) {
    const Outcome outcome = home.Run({"play", "in.wav", "--device", device, "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err.toStdString();
    const QJsonObject json = outcome.Json();
    EXPECT_EQ(json["backend"].toString(), backend);
    EXPECT_EQ(json["deviceRate"].toInt(), deviceRate);
    EXPECT_EQ(json["frames"].toInteger(), ReadPlainWav(home.File("in.wav")).Frames());
    return json["gaps"].toInt();
}

// What the recorder of a server hears of "in.wav". On a machine that is too busy the server misses its time
// and says so; it gets two more chances then.
struct Recorder {
    std::function<bool()> start;
    std::function<std::vector<float>()> stop;
};
std::vector<float> HearOn(const Home& home, const QString& device, const QString& backend, int deviceRate,
                          const Recorder& recorder) {
    std::vector<float> heard;
    int gaps = 1;
    for (int attempt = 0; attempt < 3 && gaps > 0; ++attempt) {
        EXPECT_TRUE(recorder.start());
        gaps = PlayOn(home, device, backend, deviceRate);
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        heard = recorder.stop();
    }
    EXPECT_EQ(gaps, 0);
    return heard;
}

// How far a recording of a sine, from its middle on, is from the nearest sine of that frequency, in dB.
double SineToRest(const std::vector<float>& recorded, double hertz, double rate) {
    const auto length = static_cast<int64_t>(recorded.size() / 2);
    const int64_t frames = std::llround(rate / 4);
    int64_t loud = 0;
    while (loud < length && std::fabs(recorded[static_cast<size_t>(2 * loud)]) < 0.1f) ++loud;
    const int64_t first = loud + std::llround(rate / 8);
    if (first + frames > length) return 0;
    // Over a whole number of periods both parts stand at right angles.
    double a = 0, b = 0, rest = 0;
    const auto part = [&](int64_t n) { return 2 * std::numbers::pi * hertz * static_cast<double>(n) / rate; };
    const auto sample = [&](int64_t n) {
        return static_cast<double>(recorded[static_cast<size_t>(2 * (first + n))]);
    };
    for (int64_t n = 0; n < frames; ++n) {
        a += sample(n) * std::sin(part(n)) * 2 / static_cast<double>(frames);
        b += sample(n) * std::cos(part(n)) * 2 / static_cast<double>(frames);
    }
    for (int64_t n = 0; n < frames; ++n)
        rest += std::pow(sample(n) - a * std::sin(part(n)) - b * std::cos(part(n)), 2);
    return 10 * std::log10((a * a + b * b) / 2 / (rest / static_cast<double>(frames)));
}

constexpr double kSineHertz = 1000;
void MakeSine(const QString& path) {
    RunTool("sox", {"-V1", "-n", "-r", "44100", "-c", "2", "-b", "24", path, "synth", "1", "sine", "1000",
                    "vol", "0.9", "pad", "0.2"});
}

LEnvironment For(const ServerEnvironment& variables, std::initializer_list<const char*> names) {
    LEnvironment chosen;
    for (const auto& [name, value] : variables)
        for (const char* one : names)
            if (name == QLatin1String(one)) chosen.emplace_back(name.toUtf8(), value.toUtf8());
    return chosen;
}

TEST(CliPlayOnServers, PulseAudioHearsTheFileBitForBit) {
    LPulseServer server;
    ASSERT_TRUE(server.Start());
    const LScopedEnvironment environment(server.Environment());
    const Home home;
    const PlainWav wav = SoxNoise(home.File("in.wav"), 48000, 1, 0.1);
    LPulseRecorder recorder(server);
    const auto stop = [&] {
        recorder.Interrupt();
        return recorder.Samples();
    };
    const Recorder monitor{[&] { return recorder.Start("out.monitor", 48000, 2); }, stop};
    ExpectHeard(HearOn(home, "pulseaudio", "PulseAudio", 48000, monitor), wav, 4800);

    const QJsonObject devices = home.Run({"devices", "--json"}).Json();
    bool listed = false, answers = false;
    for (const auto& one : devices["outputs"].toArray()) {
        const QJsonObject device = one.toObject();
        if (device["backend"].toString() != "PulseAudio" || device["id"].toString() != "out") continue;
        listed = true;
        EXPECT_EQ(device["channels"].toInt(), 2);
        EXPECT_EQ(device["rate"].toInt(), 48000);
        EXPECT_EQ(
            home.Run({"play", "in.wav", "--to", "1000", "--device", device["device"].toString()}).status, 0);
    }
    for (const auto& one : devices["backends"].toArray())
        answers |= one.toObject()["name"] == "PulseAudio" && one.toObject()["answers"].toBool();
    EXPECT_TRUE(listed && answers) << home.Run({"devices"}).out.toStdString();
    EXPECT_TRUE(home.Run({"devices"}).out.contains("[PulseAudio] "));
}

TEST(CliPlayOnServers, AServerThatDiesEndsItWithAReason) {
    LPulseServer server;
    ASSERT_TRUE(server.Start());
    const LScopedEnvironment environment(server.Environment());
    const Home home;
    SoxNoise(home.File("in.wav"), 48000, 1);
    const auto process = home.Start({"play", "in.wav", "--loop", "forever", "--device", "pulseaudio"});
    ASSERT_TRUE(process->waitForReadyRead(10'000));
    server.Kill();
    const Outcome outcome = Wait(*process);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.ErrorLines(), 1) << outcome.err.toStdString();
    EXPECT_TRUE(outcome.err.contains("has gone")) << outcome.err.toStdString();
    const Outcome again = home.Run({"play", "in.wav", "--device", "pulseaudio"});
    EXPECT_EQ(again.status, 2);
    EXPECT_EQ(again.ErrorLines(), 1) << again.err.toStdString();
}

TEST(CliPlayOnServers, JackHearsTheFileBitForBitAndOtherRatesConverted) {
    JackServer server(48000, 2048);
    ASSERT_TRUE(server.Start());
    const LScopedEnvironment environment(For(
        server.Environment(), {"JACK_DEFAULT_SERVER", "JACK_NO_START_SERVER", "JACK_NO_AUDIO_RESERVATION"}));
    const Home home;
    const PlainWav wav = SoxNoise(home.File("in.wav"), 48000, 1, 0.1);
    const Recorder recorder{[&] { return server.StartRecording(home.File("heard.wav")); },
                            [&] { return server.StopRecording(); }};
    ExpectHeard(HearOn(home, "jack", "JACK", 48000, recorder), wav, 4800);

    MakeSine(home.File("in.wav"));
    EXPECT_GT(SineToRest(HearOn(home, "jack", "JACK", 48000, recorder), kSineHertz, 48000), 90);
}

TEST(CliPlayOnServers, PipeWireHearsTheFileBitForBitAndOtherRatesConverted) {
    PipeWireServer server;
    ASSERT_TRUE(server.Start());
    const LScopedEnvironment environment(
        For(server.Environment(), {"PIPEWIRE_RUNTIME_DIR", "DBUS_SESSION_BUS_ADDRESS"}));
    const Home home;
    const PlainWav wav = SoxNoise(home.File("in.wav"), 48000, 1, 0.1);
    const Recorder recorder{[&] { return server.StartRecording(home.File("heard.wav")); },
                            [&] { return server.StopRecording(); }};
    ExpectHeard(HearOn(home, "pipewire", "PipeWire", 48000, recorder), wav, 4800);

    MakeSine(home.File("in.wav"));  // which the server converts
    EXPECT_GT(SineToRest(HearOn(home, "pipewire", "PipeWire", 44100, recorder), kSineHertz, 48000), 90);
}

TEST(CliPlayOnServers, AlsaIsGivenTheFileBitForBit) {
    // What the PCM writes is as wide as a float holds.
    const LAlsaConfig config(
        "pcm.!default { type plug slave { pcm \"fo\" format FLOAT_LE rate 44100 channels 2 } }\n");
    const LScopedEnvironment environment(config.Environment());
    const Home home;
    const PlainWav wav = SoxNoise(home.File("in.wav"), 44100, 0.5, 0.1);
    EXPECT_EQ(PlayOn(home, "alsa", "ALSA", 44100), 0);
    ExpectHeard(Floats(config.Played()), wav, 4410);
}

}  // namespace
}  // namespace ondarix::test
