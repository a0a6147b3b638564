// SPDX-License-Identifier: GPL-3.0-or-later
// Real sound servers for tests, each on a private run-time folder, without hardware and without a session.
// They die with the test, also when that crashes. Needs GoogleTest and Qt Core only.
#pragma once
#include <QByteArray>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "patience.h"

namespace ondarix::test {

using LEnvironment = std::vector<std::pair<QByteArray, QByteArray>>;

// Asks every 5 ms until it is so, at most `ms` milliseconds.
bool WaitUntil(const std::function<bool()>& holds, int ms = kPatienceMs);

// Sets variables of this process, and gives back what they were.
class LScopedEnvironment {
  public:
    explicit LScopedEnvironment(const LEnvironment& variables);
    ~LScopedEnvironment();
    LScopedEnvironment(const LScopedEnvironment&) = delete;
    LScopedEnvironment& operator=(const LScopedEnvironment&) = delete;

  private:
    LEnvironment before_;
    QByteArrayList unset_;
};

// A program that runs until it is told to end: a server, a recorder.
class LHelperProcess {
  public:
    LHelperProcess() = default;
    virtual ~LHelperProcess();
    LHelperProcess(const LHelperProcess&) = delete;
    LHelperProcess& operator=(const LHelperProcess&) = delete;

    // False: no such program. Its output goes into `log`, or nowhere.
    bool Start(const QString& program, const QStringList& arguments, const LEnvironment& environment,
               const QString& log = {});
    void Stop();       // SIGTERM; after 3 s, and where it is frozen, SIGKILL
    void Interrupt();  // SIGINT, and waits for the end
    void Kill();
    void Freeze();  // SIGSTOP
    void Thaw();
    qint64 Pid() const { return process_ ? process_->processId() : 0; }
    bool IsRunning() const { return Pid() != 0; }

  private:
    void End(int signal);
    std::unique_ptr<QProcess> process_;
    bool frozen_ = false;
};

// Standard output of a command that ends by itself; empty after 10 s or when it fails.
QByteArray OutputOf(const QString& program, const QStringList& arguments, const LEnvironment& environment);

// PulseAudio with a null sink "out" ("out.monitor" records what it plays).
class LPulseServer : public LHelperProcess {
  public:
    // True when it answers. `sinks`: arguments of one null sink each.
    bool Start(const QStringList& sinks = {QStringLiteral("sink_name=out rate=48000 channels=2")});
    // What clients need: PULSE_SERVER, a home and a run-time folder of its own.
    LEnvironment Environment() const;
    QByteArray Control(const QStringList& arguments) const;  // pactl
    QString Path(const QString& name) const { return folder_.filePath(name); }

  private:
    QTemporaryDir folder_;
};

// Writes what a source of a PulseAudio server hears into a file, as floats.
class LPulseRecorder : public LHelperProcess {
  public:
    explicit LPulseRecorder(const LPulseServer& server) : server_(server) {}
    ~LPulseRecorder() override { LHelperProcess::Stop(); }
    // True when it is connected. One recorder at a time.
    bool Start(const QString& source, int rate, int channels, const QString& channelMap = {});
    // All that was recorded, interleaved; it goes on.
    std::vector<float> Samples() const;
    int64_t Frames() const;  // recorded so far

  private:
    const LPulseServer& server_;
    QString file_;
    int channels_ = 1;
};

// A configuration file for the ALSA library with PCMs that need no sound card. "nul" takes everything at
// once, "fo" also writes it to File(); `more` is configuration text that is added ("pcm.!default {...}").
class LAlsaConfig {
  public:
    explicit LAlsaConfig(const QByteArray& more = {});
    LEnvironment Environment() const;  // ALSA_CONFIG_PATH
    QString File() const { return folder_.filePath(QStringLiteral("played.raw")); }
    QByteArray Played() const;  // the contents of File()

  private:
    QTemporaryDir folder_;
};

}  // namespace ondarix::test
