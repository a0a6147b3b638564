// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/sound_servers.h"

#include <signal.h>
#include <sys/prctl.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcessEnvironment>
#include <QThread>
#include <cstring>

#include "gtest/gtest.h"

namespace ondarix::test {
namespace {

constexpr int kStopMs = 3000;
constexpr int kCommandMs = kPatienceMs;
constexpr int kPulseReadyMs = kPatienceMs;

QProcessEnvironment With(const LEnvironment& variables) {
    QProcessEnvironment all = QProcessEnvironment::systemEnvironment();
    for (const auto& [name, value] : variables)
        all.insert(QString::fromLocal8Bit(name), QString::fromLocal8Bit(value));
    return all;
}

QByteArray Contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void WriteText(const QString& path, const QByteArray& text) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    ASSERT_EQ(file.write(text), text.size());
}

}  // namespace

bool WaitUntil(const std::function<bool()>& holds, int ms) {
    QElapsedTimer clock;
    clock.start();
    while (!holds()) {
        if (clock.elapsed() > ms) return false;
        QThread::msleep(5);
    }
    return true;
}

LScopedEnvironment::LScopedEnvironment(const LEnvironment& variables) {
    for (const auto& [name, value] : variables) {
        if (qEnvironmentVariableIsSet(name.constData()))
            before_.emplace_back(name, qgetenv(name.constData()));
        else
            unset_ << name;
        qputenv(name.constData(), value);
    }
}

LScopedEnvironment::~LScopedEnvironment() {
    for (const auto& [name, value] : before_) qputenv(name.constData(), value);
    for (const QByteArray& name : unset_) qunsetenv(name.constData());
}

LHelperProcess::~LHelperProcess() { Stop(); }

bool LHelperProcess::Start(const QString& program, const QStringList& arguments,
                           const LEnvironment& environment, const QString& log) {
    Stop();
    process_ = std::make_unique<QProcess>();
    process_->setProcessEnvironment(With(environment));
    process_->setProcessChannelMode(QProcess::MergedChannels);
    process_->setStandardOutputFile(log.isEmpty() ? QProcess::nullDevice() : log);
    process_->setStandardInputFile(QProcess::nullDevice());
    process_->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    process_->start(program, arguments);
    if (process_->waitForStarted(kCommandMs)) return true;
    process_.reset();
    return false;
}

void LHelperProcess::End(int signal) {
    if (!process_) return;
    if (process_->processId() > 0) kill(static_cast<pid_t>(process_->processId()), signal);
    if (!process_->waitForFinished(kStopMs)) {
        process_->kill();
        process_->waitForFinished(kStopMs);
    }
    process_.reset();
    frozen_ = false;
}

void LHelperProcess::Stop() { End(frozen_ ? SIGKILL : SIGTERM); }
void LHelperProcess::Interrupt() { End(SIGINT); }
void LHelperProcess::Kill() { End(SIGKILL); }

void LHelperProcess::Freeze() {
    frozen_ = true;
    kill(static_cast<pid_t>(Pid()), SIGSTOP);
}

void LHelperProcess::Thaw() {
    frozen_ = false;
    kill(static_cast<pid_t>(Pid()), SIGCONT);
}

QByteArray OutputOf(const QString& program, const QStringList& arguments, const LEnvironment& environment) {
    QProcess process;
    process.setProcessEnvironment(With(environment));
    process.start(program, arguments, QIODevice::ReadOnly);
    const bool ended = process.waitForFinished(kCommandMs);
    if (!ended) process.kill();
    if (!ended) process.waitForFinished(kStopMs);
    return ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0
               ? process.readAllStandardOutput()
               : QByteArray();
}

LEnvironment LPulseServer::Environment() const {
    const QByteArray home = QFile::encodeName(folder_.path());
    return {{"HOME", home},
            {"XDG_RUNTIME_DIR", home},
            {"XDG_CONFIG_HOME", home + "/config"},
            {"PULSE_RUNTIME_PATH", home + "/pulse"},
            {"PULSE_SERVER", "unix:" + home + "/pulse/native"}};
}

QByteArray LPulseServer::Control(const QStringList& arguments) const {
    return OutputOf(QStringLiteral("pactl"), arguments, Environment());
}

bool LPulseServer::Start(const QStringList& sinks) {
    QDir(folder_.path()).mkpath(QStringLiteral("config"));
    QStringList arguments = {QStringLiteral("-n"),
                             QStringLiteral("--daemonize=no"),
                             QStringLiteral("--exit-idle-time=-1"),
                             QStringLiteral("--use-pid-file=no"),
                             QStringLiteral("--realtime=no"),
                             QStringLiteral("--high-priority=no")};
    // Else an idle null sink runs two seconds ahead, which what begins then has to wait for.
    for (const QString& sink : sinks)
        arguments << QStringLiteral("-L")
                  << QStringLiteral("module-null-sink norewinds=1 format=float32le ") + sink;
    arguments << QStringLiteral("-L")
              << QStringLiteral("module-native-protocol-unix auth-anonymous=1 socket=%1")
                     .arg(Path(QStringLiteral("pulse/native")));
    LEnvironment own = Environment();
    own.pop_back();  // or it thinks that it is to be a client
    return LHelperProcess::Start(QStringLiteral("pulseaudio"), arguments, own,
                                 Path(QStringLiteral("server.log"))) &&
           WaitUntil([this] { return !Control({QStringLiteral("info")}).isEmpty(); }, kPulseReadyMs);
}

bool LPulseRecorder::Start(const QString& source, int rate, int channels, const QString& channelMap) {
    file_ = server_.Path(QStringLiteral("recorded-%1.f32").arg(source));
    channels_ = channels;
    QFile::remove(file_);
    QStringList arguments = {QStringLiteral("-d"),
                             source,
                             QStringLiteral("--raw"),
                             QStringLiteral("--format=float32le"),
                             QStringLiteral("--rate=%1").arg(rate),
                             QStringLiteral("--channels=%1").arg(channels),
                             QStringLiteral("--latency-msec=20"),
                             file_};
    if (!channelMap.isEmpty()) arguments << QStringLiteral("--channel-map=") + channelMap;
    return LHelperProcess::Start(QStringLiteral("parec"), arguments, server_.Environment()) &&
           WaitUntil(
               [this] {
                   return !server_
                               .Control({QStringLiteral("list"), QStringLiteral("short"),
                                         QStringLiteral("source-outputs")})
                               .isEmpty();
               },
               kPulseReadyMs);
}

int64_t LPulseRecorder::Frames() const {
    return QFile(file_).size() / static_cast<int64_t>(sizeof(float)) / channels_;
}

std::vector<float> LPulseRecorder::Samples() const {
    const QByteArray bytes = Contents(file_);
    std::vector<float> samples(static_cast<size_t>(bytes.size()) / sizeof(float));
    std::memcpy(samples.data(), bytes.constData(), samples.size() * sizeof(float));
    return samples;
}

LAlsaConfig::LAlsaConfig(const QByteArray& more) {
    WriteText(folder_.filePath(QStringLiteral("alsa.conf")),
              "</usr/share/alsa/alsa.conf>\n"
              "pcm.nul { type null }\n"
              "pcm.fo { type file file \"" +
                  QFile::encodeName(File()) +
                  "\" format \"raw\" slave.pcm \"nul\" }\n"
                  "ctl.!default { type null }\n" +
                  more + '\n');
}

LEnvironment LAlsaConfig::Environment() const {
    return {{"ALSA_CONFIG_PATH", QFile::encodeName(folder_.filePath(QStringLiteral("alsa.conf")))}};
}

QByteArray LAlsaConfig::Played() const { return Contents(File()); }

}  // namespace ondarix::test
