// SPDX-License-Identifier: GPL-3.0-or-later
// A process of a test's own sound server. It leads a process group, so that nothing that it started outlives
// it, and dies with the thread that started it, also when the test crashes. Qt Core and the system only.
#pragma once
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QtEndian>
#include <chrono>
#include <functional>
#include <thread>
#include <vector>

#include "patience.h"

namespace ondarix::test {

// Asks every few milliseconds; false when it was not so within `ms`, kPatienceMs for what must come.
inline bool WaitUntil(int ms, const std::function<bool()>& is) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (!is()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

// Whether a server counts as there that is asked while it is frozen and thaws a third of a second later. An
// attempt says something only where the answer took that long.
template <typename Server>
bool IsThereThoughSlow(Server& server, bool (*answers)()) {
    return WaitUntil(kPatienceMs, [&] {
        server.Freeze();
        std::thread thaw([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(350));
            server.Thaw();
        });
        const auto begin = std::chrono::steady_clock::now();
        const bool isThere = answers();
        const auto took = std::chrono::steady_clock::now() - begin;
        thaw.join();
        return isThere && took > std::chrono::milliseconds(300);
    });
}

// Names and values that a client of a server needs.
using ServerEnvironment = std::vector<std::pair<QString, QString>>;

class ServerProcess {
  public:
    ~ServerProcess() { Kill(); }

    bool Start(const ServerEnvironment& environment, const QString& program, const QStringList& arguments,
               const QString& log = QProcess::nullDevice()) {
        QProcessEnvironment all = QProcessEnvironment::systemEnvironment();
        for (const auto& [name, value] : environment) all.insert(name, value);
        process_.setProcessEnvironment(all);
        process_.setProcessChannelMode(QProcess::MergedChannels);
        process_.setStandardOutputFile(log, QIODevice::Append);
        process_.setChildProcessModifier([] {
            ::setpgid(0, 0);
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        });
        process_.start(program, arguments);
        return process_.waitForStarted();
    }
    void Signal(int number) {
        if (process_.state() != QProcess::NotRunning) ::kill(-Group(), number);
    }
    // Asks it to end, and kills it when it does not.
    void Stop(int number = SIGTERM) {
        Signal(SIGCONT);
        Signal(number);
        if (process_.state() != QProcess::NotRunning && !process_.waitForFinished(kPatienceMs)) Kill();
    }
    void Kill() {
        if (process_.state() == QProcess::NotRunning) return;
        Signal(SIGKILL);
        process_.waitForFinished(kPatienceMs);
    }
    bool IsRunning() const { return process_.state() != QProcess::NotRunning; }
    qint64 Pid() const { return process_.processId(); }

  private:
    pid_t Group() const { return static_cast<pid_t>(process_.processId()); }
    QProcess process_;
};

// Runs a tool to its end: what it wrote, or nothing with status -1 when it took too long.
struct ToolResult {
    int status = -1;
    QString text;
};
inline ToolResult RunTool(const ServerEnvironment& environment, const QString& program,
                          const QStringList& arguments, int ms = kPatienceMs) {
    QProcess process;
    QProcessEnvironment all = QProcessEnvironment::systemEnvironment();
    for (const auto& [name, value] : environment) all.insert(name, value);
    process.setProcessEnvironment(all);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(ms)) {
        process.kill();
        process.waitForFinished(1000);
        return {};
    }
    return {process.exitCode(), QString::fromUtf8(process.readAll())};
}

// The samples of a WAV file of 32-bit floats, also of one whose recorder did not get to finish the header.
inline std::vector<float> ReadFloatWav(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    const QByteArray bytes = file.readAll();
    const qsizetype data = bytes.indexOf("data");
    if (data < 0) return {};
    std::vector<float> samples(static_cast<size_t>((bytes.size() - data - 8) / 4));
    std::copy_n(bytes.constData() + data + 8, samples.size() * 4, reinterpret_cast<char*>(samples.data()));
    return samples;
}

}  // namespace ondarix::test
