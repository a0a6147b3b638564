// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/jack_server.h"

#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <sys/file.h>

#include <QDir>

namespace ondarix::test {
namespace {

constexpr int kJackReadyMs = 2 * kPatienceMs;
constexpr int kJackRecorderDelayMs = 200;
constexpr int kRecorderTries = 3;
constexpr const char* kSharedMemory = "/dev/shm";

bool CanRunInRealTime() {
    bool can = false;
    std::thread([&] {
        sched_param parameters{};
        parameters.sched_priority = 20;
        can = pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters) == 0;
    }).join();
    return can;
}

// The library has room for eight names on a machine, and one whose server was killed is free for a server of
// the same name only: so the tests of all processes share few. The lock of one, which ends with this process.
constexpr int kMostServers = 6;
int TakeName(QString& name) {
    int lock = -1;
    WaitUntil(30 * kPatienceMs, [&] {
        for (int i = 0; i < kMostServers; ++i) {
            name = QStringLiteral("ondarix-test-%1").arg(i);
            const QString path = QDir::temp().filePath(name + QStringLiteral(".lock"));
            lock = ::open(path.toLocal8Bit().constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
            if (lock >= 0 && ::flock(lock, LOCK_EX | LOCK_NB) == 0) return true;
            if (lock >= 0) ::close(lock);
        }
        return false;
    });
    return lock;
}

}  // namespace

JackServer::JackServer(int rate, int bufferFrames, int channels)
    : rate_(rate),
      bufferFrames_(bufferFrames),
      channels_(channels),
      lock_(TakeName(name_)),
      environment_{{QStringLiteral("JACK_DEFAULT_SERVER"), name_},
                   {QStringLiteral("JACK_NO_START_SERVER"), QStringLiteral("1")},
                   {QStringLiteral("JACK_NO_AUDIO_RESERVATION"), QStringLiteral("1")}} {}

JackServer::~JackServer() {
    recorder_.Kill();
    Stop();
    ::close(lock_);
}

// On a busy machine a server that does not wait for its clients repeats their last buffer, and is late itself
// where it is not in real time: neither is a fault of what is tested.
bool JackServer::Start() {
    RemoveSharedMemory();  // of one of this name that was killed
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
    return started && WaitUntil(kJackReadyMs, [&] {
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
    const auto isConnected = [&] {
        return Tool(QStringLiteral("jack_lsp"),
                    {QStringLiteral("-c"), QStringLiteral("system:monitor_%1").arg(channels)})
            .text.contains(QStringLiteral("   "));
    };
    // A busy server may have dropped it before it was connected.
    for (int tries = 0; tries < kRecorderTries; ++tries) {
        recorder_.Kill();
        if (recorder_.Start(environment_, QStringLiteral("jack_capture"), arguments) &&
            WaitUntil(kPatienceMs, isConnected))
            return true;
    }
    return false;
}

std::vector<float> JackServer::StopRecording() {
    // What was played last is still on its way to the recorder, which drops what it has not got.
    std::this_thread::sleep_for(std::chrono::milliseconds(kJackRecorderDelayMs));
    recorder_.Stop(SIGINT);
    return ReadFloatWav(recording_);
}

}  // namespace ondarix::test
