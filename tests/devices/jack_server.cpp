// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/jack_server.h"

#include <pthread.h>
#include <sched.h>

#include <QDir>
#include <atomic>

namespace ondarix::test {
namespace {

constexpr int kReadyMs = 10'000;
constexpr int kRecorderDelayMs = 200;
constexpr const char* kSharedMemory = "/dev/shm";
std::atomic<int> serversMade{0};

bool CanRunInRealTime() {
    bool can = false;
    std::thread([&] {
        sched_param parameters{};
        parameters.sched_priority = 20;
        can = pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters) == 0;
    }).join();
    return can;
}

}  // namespace

JackServer::JackServer(int rate, int bufferFrames, int channels)
    : rate_(rate),
      bufferFrames_(bufferFrames),
      channels_(channels),
      name_(QStringLiteral("ondarix-%1-%2").arg(::getpid()).arg(++serversMade)),
      environment_{{QStringLiteral("JACK_DEFAULT_SERVER"), name_},
                   {QStringLiteral("JACK_NO_START_SERVER"), QStringLiteral("1")},
                   {QStringLiteral("JACK_NO_AUDIO_RESERVATION"), QStringLiteral("1")}} {}

JackServer::~JackServer() {
    recorder_.Kill();
    Stop();
}

// On a busy machine a server that does not wait for its clients repeats their last buffer, and is late itself
// where it is not in real time: neither is a fault of what is tested.
bool JackServer::Start() {
    const QString ports = QString::number(channels_);
    QStringList arguments = {CanRunInRealTime() ? QStringLiteral("-R") : QStringLiteral("-r"),
                             QStringLiteral("-S"),
                             QStringLiteral("-m"),
                             QStringLiteral("-t"),
                             QStringLiteral("4000"),
                             QStringLiteral("-n"),
                             name_,
                             QStringLiteral("-d"),
                             QStringLiteral("dummy"),
                             QStringLiteral("-r"),
                             QString::number(rate_),
                             QStringLiteral("-p"),
                             QString::number(bufferFrames_),
                             QStringLiteral("-C"),
                             ports,
                             QStringLiteral("-P"),
                             ports,
                             QStringLiteral("-m")};
    const bool started = server_.Start(environment_, QStringLiteral("jackd"), arguments);
    return started && WaitUntil(kReadyMs, [&] {
               return server_.IsRunning() &&
                      Tool(QStringLiteral("jack_lsp"), {})
                          .text.contains(QStringLiteral("system:playback_%1").arg(channels_));
           });
}

// A killed server leaves the segments that all its clients share; their names hold no more than a number.
void JackServer::NoteSharedMemory() {
    QFile maps(QStringLiteral("/proc/%1/maps").arg(server_.Pid()));
    if (!maps.open(QIODevice::ReadOnly)) return;
    for (const QByteArray& line : maps.readAll().split('\n')) {
        const qsizetype path = line.indexOf("/dev/shm/jack-");
        if (path >= 0 && !line.contains("registry"))
            memory_ += QString::fromUtf8(line.mid(path).split(' ')[0]);
    }
}

void JackServer::RemoveSharedMemory() {
    for (const QString& path : memory_) QFile::remove(path);
    memory_.clear();
    QDir folder(QString::fromUtf8(kSharedMemory));
    const QStringList named = {QStringLiteral("jack_sem.*_%1_*").arg(name_),
                               QStringLiteral("jack_%1_*").arg(name_)};
    for (const QString& file : folder.entryList(named, QDir::Files | QDir::System)) folder.remove(file);
}

void JackServer::Stop() {
    NoteSharedMemory();
    server_.Stop();
    RemoveSharedMemory();
}

void JackServer::Kill() {
    NoteSharedMemory();
    server_.Kill();
    RemoveSharedMemory();
}

void JackServer::UseHere() const {
    for (const auto& [name, value] : environment_) qputenv(name.toUtf8().constData(), value.toUtf8());
}

bool JackServer::StartRecording(const QString& wavPath, int channels) {
    recording_ = wavPath;
    QFile::remove(wavPath);
    QStringList arguments = {QStringLiteral("--no-stdin"), QStringLiteral("-as"),    QStringLiteral("-f"),
                             QStringLiteral("wav"),        QStringLiteral("-b"),     QStringLiteral("FLOAT"),
                             QStringLiteral("-c"),         QString::number(channels)};
    for (int c = 1; c <= channels; ++c)
        arguments += {QStringLiteral("-p"), QStringLiteral("system:monitor_%1").arg(c)};
    arguments += wavPath;
    return recorder_.Start(environment_, QStringLiteral("jack_capture"), arguments) &&
           WaitUntil(kReadyMs, [&] {
               const QString ports =
                   Tool(QStringLiteral("jack_lsp"),
                        {QStringLiteral("-c"), QStringLiteral("system:monitor_%1").arg(channels)})
                       .text;
               return ports.contains(QStringLiteral("   "));
           });
}

std::vector<float> JackServer::StopRecording() {
    // What was played last is still on its way to the recorder, which drops what it has not got.
    std::this_thread::sleep_for(std::chrono::milliseconds(kRecorderDelayMs));
    recorder_.Stop(SIGINT);
    return ReadFloatWav(recording_);
}

}  // namespace ondarix::test
