// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/pipewire_server.h"

namespace ondarix::test {
namespace {

constexpr int kPipeWireReadyMs = 10'000;
constexpr int kPipeWireRecorderDelayMs = 200;
// Of a message bus without any service that could be started by a name.
constexpr const char* kBus =
    "<busconfig><type>session</type><listen>unix:path=%1/bus</listen><policy context=\"default\">"
    "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/><allow own=\"*\"/></policy>"
    "</busconfig>";
constexpr const char* kPositions[] = {"FL", "FR", "FC", "LFE", "RL", "RR", "SL", "SR"};

}  // namespace

PipeWireServer::PipeWireServer() {
    const QString path = folder_.path();
    for (const char* name :
         {"XDG_RUNTIME_DIR", "PIPEWIRE_RUNTIME_DIR", "HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME"})
        environment_.emplace_back(QString::fromUtf8(name), path);
    environment_.emplace_back(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                              QStringLiteral("unix:path=%1/bus").arg(path));
}

PipeWireServer::~PipeWireServer() {
    recorder_.Kill();
    Stop();
    bus_.Stop();
}

bool PipeWireServer::Start() {
    const QString path = folder_.path();
    if (!bus_.IsRunning()) {
        QFile config(path + QStringLiteral("/bus.conf"));
        if (!config.open(QIODevice::WriteOnly)) return false;
        config.write(QString::fromUtf8(kBus).arg(path).toUtf8());
        config.close();
        if (!bus_.Start(environment_, QStringLiteral("dbus-daemon"),
                        {QStringLiteral("--config-file=") + config.fileName(), QStringLiteral("--nofork"),
                         QStringLiteral("--nopidfile")}) ||
            !WaitUntil(kPipeWireReadyMs, [&] { return QFile::exists(path + QStringLiteral("/bus")); }))
            return false;
    }
    return server_.Start(environment_, QStringLiteral("pipewire"), {},
                         path + QStringLiteral("/pipewire.log")) &&
           WaitUntil(kPipeWireReadyMs,
                     [&] {
                         return Tool(QStringLiteral("pw-cli"), {QStringLiteral("info"), QStringLiteral("0")})
                                    .status == 0;
                     }) &&
           manager_.Start(environment_, QStringLiteral("wireplumber"), {},
                          path + QStringLiteral("/wireplumber.log")) &&
           AddSink(QStringLiteral("out"), QStringLiteral("Test Output")) && WaitUntil(kPipeWireReadyMs, [&] {
               return Tool(QStringLiteral("pw-metadata"), {})
                   .text.contains(QStringLiteral("default.audio.sink"));
           });
}

void PipeWireServer::Stop() {
    manager_.Stop();
    server_.Stop();
}

void PipeWireServer::Kill() {
    server_.Kill();
    manager_.Kill();
}

bool PipeWireServer::AddSink(const QString& name, const QString& description, int channels) {
    QStringList positions;
    for (int c = 0; c < channels; ++c)
        positions += channels <= 8 ? QString::fromUtf8(kPositions[c]) : QStringLiteral("AUX%1").arg(c);
    const QString properties =
        QStringLiteral(
            "{ factory.name=support.null-audio-sink node.name=%1 node.description=\"%2\" "
            "media.class=Audio/Sink object.linger=true audio.position=[%3] audio.rate=48000 }")
            .arg(name, description, positions.join(QLatin1Char(' ')));
    const auto made = Tool(QStringLiteral("pw-cli"),
                           {QStringLiteral("create-node"), QStringLiteral("adapter"), properties});
    return made.status == 0 && WaitUntil(kPipeWireReadyMs, [&] {
               return Tool(QStringLiteral("pw-link"), {QStringLiteral("-i")}).text.contains(name + u':');
           });
}

bool PipeWireServer::RemoveNode(const QString& name) {
    return Tool(QStringLiteral("pw-cli"), {QStringLiteral("destroy"), name}).status == 0;
}

void PipeWireServer::UseHere() const {
    for (const char* name : {"PIPEWIRE_RUNTIME_DIR", "DBUS_SESSION_BUS_ADDRESS"})
        for (const auto& [key, value] : environment_)
            if (key == QLatin1String(name)) qputenv(name, value.toUtf8());
}

bool PipeWireServer::StartRecording(const QString& wavPath, const QString& sink, int channels, int rate) {
    recorder_.Kill();
    recording_ = wavPath;
    QFile::remove(wavPath);
    const QStringList arguments = {QStringLiteral("--target"),
                                   sink,
                                   QStringLiteral("-P"),
                                   QStringLiteral("{ stream.capture.sink=true node.name=recorder }"),
                                   QStringLiteral("--rate"),
                                   QString::number(rate),
                                   QStringLiteral("--channels"),
                                   QString::number(channels),
                                   QStringLiteral("--format"),
                                   QStringLiteral("f32"),
                                   wavPath};
    return recorder_.Start(environment_, QStringLiteral("pw-record"), arguments) &&
           WaitUntil(kPipeWireReadyMs, [&] {
               const QString links = Tool(QStringLiteral("pw-link"), {QStringLiteral("-l")}).text;
               return links.contains(QStringLiteral("|-> recorder:")) && QFile(wavPath).size() > 8192;
           });
}

std::vector<float> PipeWireServer::StopRecording() {
    // What was played last is still on its way to the recorder, which drops what it has not got.
    std::this_thread::sleep_for(std::chrono::milliseconds(kPipeWireRecorderDelayMs));
    recorder_.Stop(SIGINT);
    return ReadFloatWav(recording_);
}

}  // namespace ondarix::test
